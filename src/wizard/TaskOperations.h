#pragma once

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

    virtual void CreateOfflineDatabase() = 0;
    // Grants the group access to the offline database through the connection string's
    // connection: login, database user "OfflineUsers", reader and writer roles.
    virtual void GrantOfflinePermissions(const std::string& connectionString,
                                         const std::string& groupName) = 0;
    // Removes the offline database and its login; serverLoginName and serverLoginPWD are the
    // MSDE login (empty: Windows login). True when a database was removed, false when there
    // was nothing to remove.
    virtual bool RemoveOfflineDatabase(const std::string& serverLoginName,
                                       const std::string& serverLoginPWD) = 0;

    // Starts rebuilding the structure index of the database into the folder; returns at once,
    // and the build ends with TaskFlow::BuildFinished or TaskFlow::BuildFailed.
    virtual void StartIndexBuild(const std::string& serverName, const std::string& databaseName,
                                 const std::string& indexFolder) = 0;
};
