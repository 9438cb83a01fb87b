#pragma once

// labfolio-setup's commands run as child processes on a workstation played by the SQL Server
// stand-in: this computer's desktop instance VELDRIN seeded with the desktop database (you as
// its user, under the name this computer gives the child), the registry in a file, the
// project's osql tool on PATH.
#include "CliProcess.h"
#include "ServiceList.h"
#include "TempDir.h"
#include "WorkstationRegistry.h"
#include "sqlserver_E2eSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <pwd.h>
#include <set>
#include <string>
#include <vector>

// The account the child runs as, "HOST\user", as the wizard names its caller.
inline std::string childUser()
{
    const passwd* pw = ::getpwuid(::geteuid());
    return clientHostName() + "\\" + (pw ? pw->pw_name : "");
}

inline StandinServer::Instance cliDesktopInstance()
{
    auto instance = StandinMachine::instance("VELDRIN", clientHostName());
    instance.seedArguments = {"--user", childUser() + ":admin"};
    return instance;
}

inline StandinServer::Instance cliMultiUserInstance()
{
    return StandinMachine::instance("MULTIUSER", "127.0.0.1");
}

class CliE2e : public ::testing::Test {
protected:
    explicit CliE2e(std::vector<StandinServer::Instance> instances = {cliDesktopInstance()},
                    int progressStepMillis = 50)
        : machine(std::move(instances), progressStepMillis)
    {
        std::filesystem::create_directories(appData());
        std::filesystem::create_directories(index());
        std::filesystem::create_directories(backup());
        const char* path = std::getenv("PATH");
        cli.environment["LABFOLIO_REGISTRY"] = dir.write("machine.reg", machineRegistry(dir.path())).string();
        cli.environment["PATH"] = std::string(OSQL_DIR) + ":" + (path ? path : "");
        cli.environment["XDG_CACHE_HOME"] = (dir.path() / "cache").string();
        // An English locale, where the offline users are the built-in group.
        cli.environment["LANG"] = "en_US.UTF-8";
        cli.environment["LC_ALL"] = std::nullopt;
        cli.environment["LC_MESSAGES"] = std::nullopt;
        cli.environment["LABFOLIO_MSDE_PASSWORD"] = std::nullopt;
    }

    CliRun run(const std::vector<std::string>& args) const { return cli.run(args); }

    std::filesystem::path appData() const { return dir.path() / "appdata" / "Labfolio 10.0"; }
    std::filesystem::path index() const { return dir.path() / "share" / "index"; }
    std::filesystem::path backup() const { return dir.path() / "share" / "backup"; }

    std::set<std::string> databases(const std::string& instance)
    {
        std::set<std::string> names;
        for (const auto& row : machine.sa(instance)->query("SELECT name FROM sys.databases"))
            names.insert(row.at(0).toText());
        return names;
    }

    // Every file under the test's folder with its size: what a command may have written.
    std::set<std::string> files() const
    {
        std::set<std::string> out;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.path()))
            if (entry.is_regular_file())
                out.insert(entry.path().string() + " " + std::to_string(entry.file_size()));
        return out;
    }

    TempDir dir;
    StandinMachine machine;
    CliProcess cli;
};

// The names in the client's service list, in its order.
inline std::vector<std::string> serviceNames(const std::filesystem::path& appData)
{
    std::vector<std::string> names;
    for (const auto& entry :
         engine::ServiceList::Load((appData / "LFClientConfig.xml").string(), "Test").entries())
        names.push_back(entry.name);
    return names;
}

// What a failed expectation shows of a run.
inline std::string said(const CliRun& r)
{
    return "exit " + std::to_string(r.status) + "\n--- stdout\n" + r.out + "--- stderr\n" + r.err;
}
