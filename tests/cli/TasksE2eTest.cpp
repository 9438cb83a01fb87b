// Connecting to a service or back to the desktop, creating and removing the offline database,
// and restoring a migrated database, each as one command; the results on the server and on disk
// are those of the window's tests.
#include "CliE2eFixture.h"

#include "DataLinkFile.h"
#include "SharedServiceFiles.h"
#include "ServiceList.h"

namespace fs = std::filesystem;

TEST_F(CliE2e, ConnectServiceInstallsTheServiceAndPrintsItsResult)
{
    const fs::path share = dir.path() / "share";
    const std::string service = WriteSharedService(share);

    const CliRun r = run({"connect-service", service});
    ASSERT_EQ(r.status, 0) << said(r);
    EXPECT_EQ(r.out,
              "Connection Completed\nTo connect to the service, run the Labfolio program and choose the "
              "service from the list of Labfolio services that appears in the Login dialog box.\n");
    EXPECT_EQ(serviceNames(appData()), std::vector<std::string>{"Chemistry Lab"});
    EXPECT_TRUE(fs::exists(appData() / "LabDataConfig.xml"));
    EXPECT_TRUE(fs::exists(appData() / "LabData.udl"));
}

TEST_F(CliE2e, AServiceFileOfAnotherKindIsRefusedWithTheWindowsMessage)
{
    const std::string service = dir.write("share/Other.lfsvc", "<Service><name>x</name></Service>").string();
    const CliRun r = run({"connect-service", service});
    EXPECT_EQ(r.status, 2) << said(r);
    EXPECT_EQ(r.err, "Service File Path: The file \"" + service + "\" is not a recognized service file.\n");
    EXPECT_FALSE(fs::exists(appData() / "LFClientConfig.xml"));
}

TEST_F(CliE2e, AServiceWhoseServerConfigurationIsMissingFailsWithSorryAndExit1)
{
    const fs::path share = dir.path() / "share";
    const std::string service = WriteSharedService(share, SharedService::WithoutServerConfiguration);
    const CliRun r = run({"connect-service", service});
    EXPECT_EQ(r.status, 1) << said(r);
    EXPECT_EQ(r.err, "Connection Creation Aborted\nSorry, the server configuration file \"" +
                         (share / "LabDataConfig.xml").string() + "\" does not exist.\n");
    EXPECT_FALSE(fs::exists(appData() / "LFClientConfig.xml"));
}

TEST_F(CliE2e, ConnectDesktopAddsTheDesktopServiceWithoutAnyQtPlatform)
{
    cli.environment["QT_QPA_PLATFORM"] = "doesnotexist";
    const CliRun r = run({"connect-desktop"});
    ASSERT_EQ(r.status, 0) << said(r);
    EXPECT_EQ(r.out,
              "Connection Completed\nThe Multi-User Setup wizard has successfully created a connection to "
              "your local database.\n");
    EXPECT_EQ(serviceNames(appData()), std::vector<std::string>{"Desktop"});
}

TEST_F(CliE2e, CreateOfflineRunsTheScriptAndGrantsTheOfflineUsers)
{
    const CliRun r = run({"create-offline"});
    ASSERT_EQ(r.status, 0) << said(r);
    EXPECT_EQ(r.out, "Database Creation Completed\nThe Multi-User Setup wizard has successfully created your "
                     "offline database.\n");
    EXPECT_EQ(databases("VELDRIN").count("LFOffline9"), 1u);
    EXPECT_EQ(machine.sa("VELDRIN", "LFOffline9")
                  ->scalar("SELECT COUNT(*) FROM sys.database_principals WHERE name = 'OfflineUsers'")
                  .toInt(),
              1);
    const auto lines = engine::ReadDataLinkFileLines(appData() / "LFOffline9.udl", "Test");
    EXPECT_NE(lines.back().find("Data Source=" + clientHostName() + "\\VELDRIN"), std::string::npos);
}

TEST_F(CliE2e, RemovingAnExistingOfflineDatabaseAsksAndWithoutATerminalOrYesIsRefused)
{
    ASSERT_EQ(run({"create-offline"}).status, 0);

    CliRun r = run({"remove-offline"});
    EXPECT_EQ(r.status, 2) << said(r);
    EXPECT_NE(r.err.find("Create Offline Database: Are you sure you want to replace the offline database?"),
              std::string::npos)
        << r.err;
    EXPECT_NE(r.err.find("add --yes to answer Yes"), std::string::npos) << r.err;
    EXPECT_EQ(databases("VELDRIN").count("LFOffline9"), 1u) << "nothing removed";

    r = run({"remove-offline", "--yes"});
    ASSERT_EQ(r.status, 0) << said(r);
    EXPECT_EQ(r.out, "Offline Database Removal Completed\nThe offline database has been removed.\n");
    EXPECT_EQ(databases("VELDRIN").count("LFOffline9"), 0u);
    EXPECT_FALSE(fs::exists(appData() / "LFOffline9.udl"));
}

TEST_F(CliE2e, RemovingWhenThereIsNoOfflineDatabaseSaysSo)
{
    const CliRun r = run({"remove-offline"});
    ASSERT_EQ(r.status, 0) << said(r);
    EXPECT_EQ(r.out, "Offline Database Does Not Exist\n");
}

TEST_F(CliE2e, WithoutAWindowsLoginTheMsdeLoginComesFromItsOptionAndThePasswordFromAFile)
{
    // The Windows login is refused everywhere: only an SQL Server login reaches the instance.
    cli.environment["LABFOLIO_ODBC_INTEGRATED"] = "UID=nobody;PWD=wrong";
    const std::string passwordFile = dir.write("secret", std::string(kWizardPassword) + "\n").string();
    const std::string instance = clientHostName() + "\\VELDRIN";

    CliRun r = run({"create-offline", "--msde-user", kWizardLogin});
    EXPECT_EQ(r.status, 2) << said(r);
    EXPECT_NE(r.err.find("LABFOLIO_MSDE_PASSWORD"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("Create Offline Database: You can't access the local SQL database engine to create "
                         "offline database on this machine!"),
              std::string::npos)
        << r.err;

    r = run(
        {"create-offline", "--msde-user", kWizardLogin, "--msde-password-file", passwordFile, "--dry-run"});
    EXPECT_EQ(r.status, 0) << said(r);
    EXPECT_EQ(r.out, "Ready to Create Your Offline Database\n");
    EXPECT_EQ(databases("VELDRIN").count("LFOffline9"), 0u);

    cli.environment["LABFOLIO_MSDE_PASSWORD"] = "not-the-password";
    r = run({"create-offline", "--msde-user", kWizardLogin});
    EXPECT_EQ(r.status, 2) << said(r);
    EXPECT_NE(r.err.find("MSDE Server connection failed: "), std::string::npos) << r.err;
}

TEST_F(CliE2e, ADryRunOfTheDesktopConnectionShowsItsSummaryAndWritesNothing)
{
    const auto before = files();
    const CliRun r = run({"connect-desktop", "--dry-run"});
    ASSERT_EQ(r.status, 0) << said(r);
    EXPECT_EQ(r.out,
              "Ready to Create Connection To Your Database\nOnce the connection is created, choose the "
              "Labfolio Service \"Desktop\" when you start the Labfolio program to connect to your "
              "desktop database\n");
    EXPECT_EQ(files(), before);
}

// ---- restore -----------------------------------------------------------------------------------

class CliRestoreE2e : public CliE2e {
protected:
    CliRestoreE2e() : CliE2e({cliDesktopInstance(), cliMultiUserInstance()}) {}
};

TEST_F(CliRestoreE2e, RestoreMovesTheFilesAndMakesYouTheAdministratorWithANewIdentity)
{
    const std::string bak = (backup() / "Labfolio.bak").string();
    machine.sa("VELDRIN")->Execute("BACKUP DATABASE LFDesktop10 TO DISK = N'" + bak + "'");
    const std::string oldGuid = machine.sa("VELDRIN", "LFDesktop10")
                                    ->scalar("SELECT data FROM ELN_parameters WHERE name = N'database guid'")
                                    .toText();

    const CliRun r = run({"restore", "--server", "127.0.0.1\\MULTIUSER", "--database", "Labfolio", "--backup",
                          bak, "--set-administrator"});
    ASSERT_EQ(r.status, 0) << said(r);
    EXPECT_EQ(r.out,
              "Restore Completed\nThe database \"Labfolio\" has been restored on \"127.0.0.1\\MULTIUSER\", "
              "with you as its administrator and a new database identity.\n");
    ASSERT_EQ(databases("MULTIUSER").count("Labfolio"), 1u);
    auto restored = machine.sa("MULTIUSER", "Labfolio");
    EXPECT_EQ(
        restored->scalar("SELECT is_administrator FROM ELN_people WHERE UserName = '" + childUser() + "'")
            .toInt(),
        1);
    EXPECT_NE(restored->scalar("SELECT data FROM ELN_parameters WHERE name = N'database guid'").toText(),
              oldGuid);
    EXPECT_EQ(machine.sa("MULTIUSER", "Labfolio")
                  ->scalar("SELECT COUNT(*) FROM sys.database_files WHERE name = N'Labfolio_data.mdf'")
                  .toInt(),
              1);
}

TEST_F(CliRestoreE2e, RestoringOverAnExistingDatabaseNeedsYes)
{
    const std::string bak = (backup() / "Labfolio.bak").string();
    machine.sa("VELDRIN")->Execute("BACKUP DATABASE LFDesktop10 TO DISK = N'" + bak + "'");
    machine.sa("MULTIUSER")->Execute("CREATE DATABASE Labfolio");

    CliRun r =
        run({"restore", "--server", "127.0.0.1\\MULTIUSER", "--database", "Labfolio", "--backup", bak});
    EXPECT_EQ(r.status, 2) << said(r);
    EXPECT_NE(r.err.find("Database Setup: Are you sure you want to replace the database \"Labfolio\"?"),
              std::string::npos)
        << r.err;

    r = run(
        {"restore", "--server", "127.0.0.1\\MULTIUSER", "--database", "Labfolio", "--backup", bak, "--yes"});
    EXPECT_EQ(r.status, 0) << said(r);
}

TEST_F(CliRestoreE2e, AMissingBackupFailsWithSorryAndExit1)
{
    const std::string bak = (backup() / "none.bak").string();
    const CliRun r =
        run({"restore", "--server", "127.0.0.1\\MULTIUSER", "--database", "Labfolio", "--backup", bak});
    EXPECT_EQ(r.status, 1) << said(r);
    EXPECT_NE(r.err.find("Restore Aborted\nSorry, Cannot open backup device"), std::string::npos) << r.err;
    EXPECT_EQ(databases("MULTIUSER").count("Labfolio"), 0u);
}
