#pragma once

#include "TaskOperations.h"

#include <functional>

class DBMigrateProgressCtl;
class MSTFileProgressCtl;
class Prompter;

// The operations the task flows start: the migration page's own operations (migration,
// service files, offline database), the index rebuild of its page, and the frame's offline
// grants and removal. Each runs to
// its end inside the call; the window keeps painting meanwhile, and the flow ignores further
// clicks.
class WizardOperations : public TaskOperations {
public:
    // frameLogin gives the frame's local server and MSDE login when an operation starts.
    WizardOperations(DBMigrateProgressCtl& migrationPage, MSTFileProgressCtl& indexPage, Prompter& prompter,
                     std::function<engine::LocalServerLogin()> frameLogin);

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

private:
    DBMigrateProgressCtl& m_migrationPage;
    MSTFileProgressCtl& m_indexPage;
    Prompter& m_prompter;
    std::function<engine::LocalServerLogin()> m_frameLogin;
};
