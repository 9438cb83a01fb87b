#pragma once

#include "LocalServerLogin.h"
#include "MigrationValues.h"

#include <string>

// The operations the task flows start, as the progress pages carry them out. Every call
// returns when its work is done (or, for the index build, has started) and raises LfError
// when it fails. Completion events reach the flow through TaskFlow::MigrationFinished,
// TaskFlow::BuildFinished and TaskFlow::BuildFailed.
class TaskOperations {
public:
    virtual ~TaskOperations() = default;

    // The current user is a user of the desktop database; raises otherwise. Both names are
    // passed by reference, as the migration page takes them.
    virtual void ConfirmUser(std::string& serverName, std::string& databaseName) = 0;
    // Shows its progress and raises the migration's completion event during the call.
    virtual void Migrate(const MigrationValues& values) = 0;

    // Installs a service from its service file; empty server configuration and data link paths
    // are derived from the files.
    virtual void InstallServiceConfigurationFile(const std::string& serviceConfigPath,
                                                 const std::string& serverConfigPath,
                                                 const std::string& udlPath) = 0;
    virtual void InstallDesktopService() = 0;

    // Creates the offline database on the frame's local server, through its MSDE login when it
    // holds one.
    virtual void CreateOfflineDatabase(const engine::LocalServerLogin& login) = 0;
    // Grants the offline users access to the offline database on the local instance that holds
    // it, through the frame's MSDE login when it holds one: the built-in group on English
    // machines, elsewhere a group the user names. Says itself when no instance holds it.
    virtual void GrantOfflinePermissions(const engine::LocalServerLogin& login) = 0;
    // Removes the offline database and its login, connecting with the frame's MSDE login when
    // it holds one. True when a database was removed, false when there was nothing to remove.
    virtual bool RemoveOfflineDatabase(const engine::LocalServerLogin& login) = 0;

    // Starts rebuilding the structure index of the database into the folder; returns at once,
    // and the build ends with TaskFlow::BuildFinished or TaskFlow::BuildFailed.
    virtual void StartIndexBuild(const std::string& serverName, const std::string& databaseName,
                                 const std::string& indexFolder) = 0;
};
