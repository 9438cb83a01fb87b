#include "WizardOperations.h"

#include "LfError.h"
#include "OfflineDatabase.h"
#include "OfflinePermissions.h"
#include "OfflineRemoval.h"
#include "ServiceInstaller.h"
#include "ShellFolders.h"
#include "SystemInfo.h"

#include <QCoreApplication>

namespace {

// Lets the window paint and Cancel ask while the engine waits for a server or the SQL tool.
void keepWindowAlive()
{
    QCoreApplication::processEvents();
}

[[noreturn]] void unavailable(const std::string& component, const std::string& operation)
{
    throw LfError(LfError::kObjectError513, component + "." + operation,
                  "the operation \"" + operation + "\" is not available in this build of the wizard");
}

} // namespace

WizardOperations::WizardOperations(Prompter& prompter, std::function<engine::LocalServerLogin()> frameLogin)
    : m_prompter(prompter), m_frameLogin(std::move(frameLogin))
{
}

void WizardOperations::ConfirmUser(std::string&, std::string&)
{
    unavailable("DBMigrateProgressCtl", "ConfirmUser");
}

void WizardOperations::Migrate(const MigrationValues&)
{
    unavailable("DBMigrateProgressCtl", "Migrate");
}

void WizardOperations::InstallServiceConfigurationFile(const std::string& serviceConfigPath,
                                                       const std::string& serverConfigPath,
                                                       const std::string& udlPath)
{
    engine::ServiceInstaller(ShellFolders::GetCommonAppDataFolder(), m_prompter, m_networkDrive)
        .InstallServiceConfigurationFile(serviceConfigPath, serverConfigPath, udlPath);
}

void WizardOperations::InstallDesktopService()
{
    engine::ServiceInstaller(ShellFolders::GetCommonAppDataFolder(), m_prompter, m_networkDrive)
        .InstallDesktopService();
}

void WizardOperations::CreateOfflineDatabase()
{
    engine::OfflineDatabase(m_frameLogin(), engine::OfflineLocations{}, keepWindowAlive)
        .CreateOfflineDatabase();
}

void WizardOperations::GrantOfflinePermissions(const engine::LocalServerLogin& login)
{
    engine::OfflinePermissions(login, sys::machine().userDefaultLcid(), m_prompter, keepWindowAlive)
        .GrantOfflinePermissions();
}

bool WizardOperations::RemoveOfflineDatabase(const engine::LocalServerLogin& login)
{
    return engine::OfflineRemoval(login, engine::OfflineLocations{}, keepWindowAlive)
               .RemoveOfflineDatabase() == engine::OfflineRemovalResult::Removed;
}

void WizardOperations::StartIndexBuild(const std::string&, const std::string&, const std::string&)
{
    unavailable("MSTFileProgressCtl", "Initialize");
}
