#include "MigrationValues.h"

#include <gtest/gtest.h>

namespace {

MigrationInputs inputs()
{
    MigrationInputs in;
    in.localServerName = "PC1\\VELDRIN";
    in.desktopDatabaseName = "LFDesktop10";
    in.serverName = "LABSRV2\\CHEM";
    in.databaseName = "ChemDB";
    in.appDataFolder = "/var/lib/labfolio/Labfolio 10.0";
    in.indexPath = "/srv/share/index";
    in.serviceFolder = "/srv/share/services";
    in.serviceName = "Chemistry";
    in.backupFolder = "/srv/share/backup/";
    return in;
}

}  // namespace

TEST(MigrationValues, RemoteTargetTakesEveryValueFromItsPage)
{
    const MigrationValues v = AssembleMigrationValues(inputs());
    EXPECT_EQ(v.SrcServerName, "PC1\\VELDRIN");
    EXPECT_EQ(v.SrcDBName, "LFDesktop10");
    EXPECT_EQ(v.TargetServerName, "LABSRV2\\CHEM");
    EXPECT_EQ(v.TargetDBName, "ChemDB");
    EXPECT_EQ(v.SrcMSTFilePath, "/var/lib/labfolio/Labfolio 10.0/Labfolio.mst");
    EXPECT_EQ(v.TargetMSTFilePath, "/srv/share/index");
    EXPECT_EQ(v.UDLPath, "/srv/share/services/ChemDB.udl");
    EXPECT_EQ(v.ServerConfigPath, "/srv/share/services/ChemDBConfig.xml");
    EXPECT_EQ(v.ServiceConfigPath, "/srv/share/services/Chemistry.lfsvc");
    EXPECT_EQ(v.ServiceName, "Chemistry");
    // A folder that already ends in a separator gets no second one.
    EXPECT_EQ(v.BackupFilePath, "/srv/share/backup/ChemDB.bak");
}

TEST(MigrationValues, LocalTargetKeepsItsBackupWhereTheServerIs)
{
    MigrationInputs in = inputs();
    in.targetIsLocal = true;
    EXPECT_EQ(AssembleMigrationValues(in).BackupFilePath, "(local path)");
}

TEST(MigrationValues, AServiceFolderPageNeverShownGivesBareFileNames)
{
    MigrationInputs in = inputs();
    in.serviceFolder.clear();
    const MigrationValues v = AssembleMigrationValues(in);
    EXPECT_EQ(v.UDLPath, "ChemDB.udl");
    EXPECT_EQ(v.ServerConfigPath, "ChemDBConfig.xml");
    EXPECT_EQ(v.ServiceConfigPath, "Chemistry.lfsvc");
}

TEST(MigrationValues, WindowsFoldersKeepTheirBackslash)
{
    MigrationInputs in = inputs();
    in.appDataFolder = "C:\\ProgramData\\Labfolio 10.0\\";
    EXPECT_EQ(AssembleMigrationValues(in).SrcMSTFilePath, "C:\\ProgramData\\Labfolio 10.0\\Labfolio.mst");
}
