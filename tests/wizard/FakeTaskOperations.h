#pragma once

#include "LfError.h"
#include "TaskOperations.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

// Operations that record how they were called; a test decides what each does (raise an
// error, raise a completion event) through its hook.
class FakeTaskOperations : public TaskOperations {
public:
    // Every call, as "Name(arg|arg)".
    std::vector<std::string> calls;
    // Raised by the next call of the operation of that name.
    std::optional<LfError> failing;
    std::string failingOperation;
    // Runs inside the call (a completion event, a click while the operation runs).
    std::function<void(const std::string& operation)> during;
    bool removed = true;
    std::optional<MigrationValues> migrated;
    std::string confirmedServerRewrite; // ConfirmUser writes this back into the server name

    void ConfirmUser(std::string& serverName, std::string& databaseName) override
    {
        record("ConfirmUser", {serverName, databaseName});
        if (!confirmedServerRewrite.empty())
            serverName = confirmedServerRewrite;
    }
    void Migrate(const MigrationValues& values) override
    {
        migrated = values;
        record("Migrate", {values.TargetServerName, values.TargetDBName});
    }
    void InstallServiceConfigurationFile(const std::string& serviceConfigPath,
                                         const std::string& serverConfigPath,
                                         const std::string& udlPath) override
    {
        record("InstallServiceConfigurationFile", {serviceConfigPath, serverConfigPath, udlPath});
    }
    void InstallDesktopService() override { record("InstallDesktopService", {}); }
    void CreateOfflineDatabase(const engine::LocalServerLogin& login) override
    {
        record("CreateOfflineDatabase", {login.serverName, login.user, login.password});
    }
    void GrantOfflinePermissions(const engine::LocalServerLogin& login) override
    {
        record("GrantOfflinePermissions", {login.serverName, login.user, login.password});
    }
    bool RemoveOfflineDatabase(const engine::LocalServerLogin& login) override
    {
        record("RemoveOfflineDatabase", {login.serverName, login.user, login.password});
        return removed;
    }
    void StartIndexBuild(const std::string& server, const std::string& database,
                         const std::string& folder) override
    {
        record("StartIndexBuild", {server, database, folder});
    }

private:
    void record(const std::string& name, const std::vector<std::string>& args)
    {
        std::string call = name + "(";
        for (size_t i = 0; i < args.size(); ++i)
            call += (i ? "|" : "") + args[i];
        calls.push_back(call + ")");
        if (during)
            during(name);
        if (failing && failingOperation == name) {
            LfError error = *failing;
            failing.reset();
            throw error;
        }
    }
};
