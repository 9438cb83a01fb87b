#include "WizardOperations.h"

#include "DBMigrateProgressCtl.h"
#include "MSTFileProgressCtl.h"
#include "OfflinePermissions.h"
#include "OfflineRemoval.h"
#include "SystemInfo.h"

#include <QCoreApplication>

namespace {

// Lets the window paint and Cancel ask while the engine waits for a server.
void keepWindowAlive()
{
    QCoreApplication::processEvents();
}

QString q(const std::string& text)
{
    return QString::fromStdString(text);
}

} // namespace

WizardOperations::WizardOperations(DBMigrateProgressCtl& migrationPage, MSTFileProgressCtl& indexPage,
                                   Prompter& prompter)
    : m_migrationPage(migrationPage), m_indexPage(indexPage), m_prompter(prompter)
{
}

void WizardOperations::ConfirmUser(std::string& serverName, std::string& databaseName)
{
    m_migrationPage.ConfirmUser(q(serverName), q(databaseName));
}

// The migration takes the three file paths of the service after the service name, and uses
// none of them.
void WizardOperations::Migrate(const MigrationValues& v)
{
    m_migrationPage.Migrate(q(v.SrcServerName), q(v.SrcDBName), q(v.TargetServerName), q(v.TargetDBName),
                            q(v.SrcMSTFilePath), q(v.TargetMSTFilePath), q(v.ServiceName), q(v.UDLPath),
                            q(v.ServerConfigPath), q(v.ServiceConfigPath), q(v.BackupFilePath));
}

void WizardOperations::InstallServiceConfigurationFile(const std::string& serviceConfigPath,
                                                       const std::string& serverConfigPath,
                                                       const std::string& udlPath)
{
    m_migrationPage.InstallServiceConfigurationFile(q(serviceConfigPath), q(serverConfigPath), q(udlPath));
}

void WizardOperations::InstallDesktopService()
{
    m_migrationPage.InstallDesktopService();
}

void WizardOperations::CreateOfflineDatabase(const engine::LocalServerLogin& login)
{
    m_migrationPage.CreateOfflineDatabase(login);
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

void WizardOperations::StartIndexBuild(const std::string& serverName, const std::string& databaseName,
                                       const std::string& indexFolder)
{
    m_indexPage.Initialize(q(serverName), q(databaseName), q(indexFolder));
}
