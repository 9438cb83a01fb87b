#pragma once

#include "TaskOperations.h"

// The operations of a build that does not carry the migration engine and the index rebuild:
// every one of them fails with a clear error, none pretends to have done its work.
class UnavailableOperations : public TaskOperations {
public:
    void ConfirmUser(std::string& serverName, std::string& databaseName) override;
    void Migrate(const MigrationValues& values) override;
    void InstallServiceConfigurationFile(const std::string& serviceConfigPath,
                                         const std::string& serverConfigPath,
                                         const std::string& udlPath) override;
    void InstallDesktopService() override;
    void CreateOfflineDatabase() override;
    void GrantOfflinePermissions(const engine::LocalServerLogin& login) override;
    bool RemoveOfflineDatabase(const engine::LocalServerLogin& login) override;
    void StartIndexBuild(const std::string& serverName, const std::string& databaseName,
                         const std::string& indexFolder) override;
};
