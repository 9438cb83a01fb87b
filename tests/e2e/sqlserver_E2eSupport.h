#pragma once

#include "ScopedEnv.h"
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>

#include "FakeSystemInfo.h"
#include "LfError.h"
#include "OdbcConnection.h"
#include "OdbcConnectionString.h"
#include "StandinServer.h"

// The Windows identity of the wizard's user, as the stand-in knows it: a sysadmin login that
// LABFOLIO_ODBC_INTEGRATED maps every integrated login to.
inline constexpr const char* kWizardLogin = "wizard";
inline constexpr const char* kWizardPassword = "Wizard-pw1";


// This machine's name as FreeTDS reports it to the server (the client workstation name).
inline std::string clientHostName()
{
    char buf[256] = {0};
    ::gethostname(buf, sizeof buf - 1);
    std::string name = buf;
    return name.substr(0, name.find('.'));
}

// A stand-in whose instances resolve through its resolution port, on a computer named PC1,
// with integrated logins mapped to the wizard's sysadmin login.
class StandinMachine {
public:
    explicit StandinMachine(std::vector<StandinServer::Instance> instances, int progressStepMillis = 50)
        : server(options(std::move(instances), progressStepMillis)),
          browserPort("LABFOLIO_SQLBROWSER_PORT", std::to_string(server.resolutionPort())),
          integrated("LABFOLIO_ODBC_INTEGRATED",
                     std::string("UID=") + kWizardLogin + ";PWD=" + kWizardPassword),
          system(std::make_shared<FakeSystemInfo>()), systemOverride(system)
    {
        system->computer = "PC1";
    }

    static StandinServer::Instance instance(const std::string& name, const std::string& machine = "LABHOST")
    {
        StandinServer::Instance i;
        i.name = name;
        i.machine = machine;
        i.logins = {{kWizardLogin, kWizardPassword, true}, {"chemist", "Chemist-pw1", false}};
        return i;
    }

    // A connection as sa straight to an instance, for setting up and checking.
    std::unique_ptr<sqlserver::OdbcConnection> sa(const std::string& instanceName,
                                                  const std::string& database = {})
    {
        sqlserver::OdbcTarget t;
        t.driver = sqlserver::defaultOdbcDriver();
        t.endpoint = {server.host(), server.port(instanceName)};
        t.database = database;
        t.integrated = false;
        t.user = "sa";
        t.password = StandinServer::saPassword();
        return sqlserver::OdbcConnection::connect(t, 10, instanceName);
    }

    StandinServer server;
    ScopedEnv browserPort;
    ScopedEnv integrated;
    std::shared_ptr<FakeSystemInfo> system;
    sys::ScopedSystemOverride systemOverride;

private:
    static StandinServer::Options options(std::vector<StandinServer::Instance> instances, int step)
    {
        StandinServer::Options o;
        o.instances = std::move(instances);
        o.progressStepMillis = step;
        return o;
    }
};
