#pragma once

#include "sqlserver_E2eSupport.h"

#include "RegistryFixture.h"
#include "TempDir.h"

#include <string>

// A desktop instance whose database knows the user PC1\alice (the wizard runs as alice), a
// multi-user server on another machine, and the shared data folder in the test's folder.
class MigrationMachine {
public:
    MigrationMachine(const TempDir& dir, int progressStepMillis)
        : machine({desktop(), StandinMachine::instance("MULTI", "LABSRV2")}, progressStepMillis),
          registry(std::string(regtext::kHeader) +
                   "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell "
                   "Folders]\r\n\"Common AppData\"=\"" +
                   (dir.path() / "appdata").string() + "\"\r\n\r\n")
    {
        machine.system->user = "PC1\\alice";
    }

    StandinMachine machine;
    RegistryFixture registry;

private:
    static StandinServer::Instance desktop()
    {
        auto instance = StandinMachine::instance("VELDRIN", "LABHOST");
        instance.seedArguments = {"--user", "PC1\\alice"};
        return instance;
    }
};
