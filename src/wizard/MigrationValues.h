#pragma once

#include <string>

// The eleven values of a migration, in the order the migration summary shows them; the
// migration itself takes the same values.
struct MigrationValues {
    std::string SrcServerName;
    std::string SrcDBName;
    std::string TargetServerName;
    std::string TargetDBName;
    std::string SrcMSTFilePath;
    std::string TargetMSTFilePath;
    std::string UDLPath;
    std::string ServerConfigPath;
    std::string ServiceConfigPath;
    std::string ServiceName;
    std::string BackupFilePath;
};

// What the pages and the frame hold when the migration summary is shown.
struct MigrationInputs {
    std::string localServerName;     // the desktop instance the frame found
    std::string desktopDatabaseName; // "LFDesktop10"
    std::string serverName;          // the server page
    std::string databaseName;        // the database page
    std::string appDataFolder;       // the product's shared application-data folder
    std::string indexPath;           // the index location page
    std::string serviceFolder;       // the service folder page, shown or not
    std::string serviceName;         // the service name page
    std::string backupFolder;        // the backup folder page
    bool targetIsLocal = false;      // the server runs on this computer
};

// The values, with paths joined by the file system's rule. A local target keeps its backup
// where the server already is: the backup path reads "(local path)".
MigrationValues AssembleMigrationValues(const MigrationInputs& in);
