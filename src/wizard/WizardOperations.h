#pragma once

#include "TaskOperations.h"

class DBMigrateProgressCtl;
class MSTFileProgressCtl;
class Prompter;

// The operations the task flows start: the migration page's own operations (migration,
// service files, offline database), the index rebuild of its page, and the frame's offline
// grants and removal. Each but the rebuild runs to its end inside the call; the window keeps
// painting meanwhile, and the flow ignores further clicks.
class WizardOperations : public TaskOperations {
public:
    WizardOperations(DBMigrateProgressCtl& migrationPage, MSTFileProgressCtl& indexPage, Prompter& prompter);

    void ConfirmUser(std::string& serverName, std::string& databaseName) override;
    void Migrate(const MigrationValues& values) override;
    void InstallServiceConfigurationFile(const std::string& serviceConfigPath,
                                         const std::string& serverConfigPath,
                                         const std::string& udlPath) override;
    void InstallDesktopService() override;
    void CreateOfflineDatabase(const engine::LocalServerLogin& login) override;
    void GrantOfflinePermissions(const engine::LocalServerLogin& login) override;
    bool RemoveOfflineDatabase(const engine::LocalServerLogin& login) override;
    void StartIndexBuild(const std::string& serverName, const std::string& databaseName,
                         const std::string& indexFolder) override;

private:
    DBMigrateProgressCtl& m_migrationPage;
    MSTFileProgressCtl& m_indexPage;
    Prompter& m_prompter;
};
