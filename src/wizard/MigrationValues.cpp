#include "MigrationValues.h"

#include "PathUtils.h"

MigrationValues AssembleMigrationValues(const MigrationInputs& in)
{
    MigrationValues v;
    v.SrcServerName = in.localServerName;
    v.SrcDBName = in.desktopDatabaseName;
    v.TargetServerName = in.serverName;
    v.TargetDBName = in.databaseName;
    v.SrcMSTFilePath = paths::Join(in.appDataFolder, "Labfolio.mst");
    v.TargetMSTFilePath = in.indexPath;
    v.UDLPath = paths::Join(in.serviceFolder, in.databaseName + ".udl");
    v.ServerConfigPath = paths::Join(in.serviceFolder, in.databaseName + "Config.xml");
    v.ServiceConfigPath = paths::Join(in.serviceFolder, in.serviceName + ".lfsvc");
    v.ServiceName = in.serviceName;
    v.BackupFilePath = in.targetIsLocal ? "(local path)" : paths::Join(in.backupFolder, in.databaseName + ".bak");
    return v;
}
