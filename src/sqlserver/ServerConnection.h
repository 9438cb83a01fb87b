#pragma once

#include <string>
#include <vector>

#include "LfError.h"
#include "OperationControl.h"

namespace sqlserver {

// A database of the server in catalog order; canUse: the connected login may use it;
// isSystem: one of the server's own databases (master, tempdb, model, msdb).
struct DatabaseInfo {
    std::string name;
    bool canUse = false;
    bool isSystem = false;
};

// A server login; isSystem: a login the server itself owns ("sa", "##MS_...##", NT SERVICE\...).
struct LoginInfo {
    std::string name;
    bool isSystem = false;
};

// A full database backup to one file.
struct BackupSpec {
    std::string database;
    std::string setName;        // e.g. "LFDesktop10_Full"
    std::string setDescription; // e.g. "Full backup of LFDesktop10 database"
    std::string file;           // path on the server's machine
    bool checksum = false;      // WITH CHECKSUM
    bool verify = false;        // RESTORE VERIFYONLY after the backup
};

// One row of a backup's file list (RESTORE FILELISTONLY), in the backup's order.
struct BackupFileInfo {
    std::string logicalName;
    std::string physicalName;
    std::string type; // "D" data, "L" log
};

// Where a logical file of the backup goes on the server (WITH MOVE).
struct FileRelocation {
    std::string logicalName;
    std::string physicalPath;
};

// A database restore from one backup file.
struct RestoreSpec {
    std::string database;
    std::string file;
    std::vector<FileRelocation> relocations;
    bool replace = false; // WITH REPLACE: overwrite an existing database
};

// A connected server, the wizard's SQL-DMO SQLServer. Created by ServerManager::Connect for
// one operation; the destructor disconnects. Every failure raises LfError with the server's
// number and message. Not shared between threads, except OperationControl::Abort.
class ServerConnection {
public:
    virtual ~ServerConnection() = default;

    // The server's own name (@@SERVERNAME), e.g. "PC1\VELDRIN".
    virtual std::string Name() = 0;
    // The name under which this connection reports the client computer (HOST_NAME()).
    virtual std::string WorkstationName() = 0;
    // The network name of the machine the server runs on (SERVERPROPERTY('MachineName')).
    virtual std::string NetName() = 0;
    // The login may create databases (sysadmin or dbcreator, or CREATE ANY DATABASE).
    virtual bool CanCreateDatabases() = 0;

    // Every database in catalog order, with whether the connected login may use it and
    // whether it is a system database.
    virtual std::vector<DatabaseInfo> Databases() = 0;
    // Every login, with the system flag.
    virtual std::vector<LoginInfo> Logins() = 0;
    // The folder of master's primary data file, ending with the path separator the server
    // uses ("C:\...\DATA\" or "/var/opt/mssql/data/").
    virtual std::string MasterDataFolder() = 0;

    // Full backup; blocks until the server is done. Progress and abort through control; an
    // aborted backup raises the server's error and leaves no complete-looking backup set.
    virtual void Backup(const BackupSpec& request, OperationControl& control) = 0;
    // The logical and physical files recorded in a backup file.
    virtual std::vector<BackupFileInfo> ReadBackupFileList(const std::string& file) = 0;
    // Database restore; blocks until the server is done; progress and abort as for Backup.
    virtual void Restore(const RestoreSpec& request, OperationControl& control) = 0;

    // Drops the database.
    virtual void RemoveDatabase(const std::string& name) = 0;
    // Drops the login.
    virtual void RemoveLogin(const std::string& name) = 0;

    // Closes the connection now; later calls fail. Safe to call twice.
    virtual void DisConnect() = 0;
};

} // namespace sqlserver
