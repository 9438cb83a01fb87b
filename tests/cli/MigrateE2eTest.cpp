// The migration as one command: the backup into the backup folder and the structure index into
// the index folder, the dry run that changes nothing, the confirmation a script must give, and
// Ctrl-C during the backup.
#include "CliE2eFixture.h"

#include <csignal>

namespace fs = std::filesystem;

namespace {

class CliMigrateE2e : public CliE2e {
protected:
    explicit CliMigrateE2e(int progressStepMillis = 50)
        : CliE2e({cliDesktopInstance(), cliMultiUserInstance()}, progressStepMillis)
    {
        for (const char* ext : {"mst", "msx", "mss", "msk", "msf"})
            dir.write(std::string("appdata/Labfolio 10.0/Labfolio.") + ext, std::string(50000, ext[2]));
    }

    std::vector<std::string> migrate(const std::vector<std::string>& extra = {}) const
    {
        std::vector<std::string> args{"migrate",  "--server",        "127.0.0.1\\MULTIUSER", "--database",
                                      "Labfolio", "--index-folder",  index().string(),       "--service-name",
                                      "Labfolio", "--backup-folder", backup().string()};
        args.insert(args.end(), extra.begin(), extra.end());
        return args;
    }
};

class SlowCliMigrateE2e : public CliMigrateE2e {
protected:
    SlowCliMigrateE2e() : CliMigrateE2e(300) {}
};

} // namespace

TEST_F(CliMigrateE2e, MigratePutsTheBackupAndTheIndexInTheSharedFolders)
{
    const CliRun r = run(migrate());
    ASSERT_EQ(r.status, 0) << said(r);
    EXPECT_EQ(r.out,
              "Migration Completed\nThe Multi-User Setup wizard has successfully migrated the database.\n");
    EXPECT_NE(r.err.find("Backing Up Database...\n"), std::string::npos) << "plain lines without a terminal";
    EXPECT_NE(r.err.find("Copying Chemical Structure Index...\n"), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find('\r'), std::string::npos) << "no bar redrawn where no terminal shows it";
    EXPECT_TRUE(fs::exists(backup() / "Labfolio.bak"));
    for (const char* ext : {"mst", "msx", "mss", "msk", "msf"})
        EXPECT_EQ(fs::file_size(index() / (std::string("Labfolio.") + ext)), 50000u) << ext;
    EXPECT_FALSE(fs::exists(appData() / "LFDesktop.BAK")) << "the working copy goes";
}

TEST_F(CliMigrateE2e, ADryRunChecksEverythingPrintsTheSummaryAndChangesNothing)
{
    machine.sa("MULTIUSER")->Execute("CREATE DATABASE Labfolio");
    const auto filesBefore = files();
    const auto desktopBefore = databases("VELDRIN");
    const auto serverBefore = databases("MULTIUSER");

    const CliRun r = run(migrate({"--dry-run"}));
    ASSERT_EQ(r.status, 0) << said(r);
    const std::string appDataIndex = (appData() / "Labfolio.mst").string();
    EXPECT_EQ(r.out,
              "Ready to Migrate Database\nYou specified the following parameters:\nMigrating from:\n"
              "  Server: " +
                  clientHostName() +
                  "\\VELDRIN\n  Database: LFDesktop10\n  Chemical Structure Index File: " + appDataIndex +
                  "\n\nMigrating to:\n  Server: 127.0.0.1\\MULTIUSER\n  Database: Labfolio\n"
                  "  Chemical Structure Index File: " +
                  index().string() + "\n\nService Name: Labfolio\nDatabase Backup File: " +
                  (backup() / "Labfolio.bak").string() + "\n");
    EXPECT_NE(r.err.find("Are you sure you want to replace the database \"Labfolio\"? (dry run: not asked)"),
              std::string::npos)
        << r.err;
    EXPECT_EQ(files(), filesBefore);
    EXPECT_EQ(databases("VELDRIN"), desktopBefore);
    EXPECT_EQ(databases("MULTIUSER"), serverBefore);
}

TEST_F(CliMigrateE2e, ReplacingADatabaseWithoutATerminalOrYesIsRefused)
{
    machine.sa("MULTIUSER")->Execute("CREATE DATABASE Labfolio");
    CliRun r = run(migrate());
    EXPECT_EQ(r.status, 2) << said(r);
    EXPECT_NE(r.err.find("Database Setup: Are you sure you want to replace the database \"Labfolio\"?\n"),
              std::string::npos)
        << r.err;
    EXPECT_TRUE(r.out.empty());
    EXPECT_FALSE(fs::exists(backup() / "Labfolio.bak"));

    r = run(migrate({"--yes"}));
    EXPECT_EQ(r.status, 0) << said(r);
    EXPECT_TRUE(fs::exists(backup() / "Labfolio.bak"));
}

TEST_F(CliMigrateE2e, AFailedCheckPrintsTheWindowsMessageAndExitsWith2)
{
    CliRun r = run({"migrate", "--server", "127.0.0.1\\MULTIUSER", "--database", "Labfolio", "--index-folder",
                    (dir.path() / "nowhere" / "index").string(), "--service-name", "Labfolio",
                    "--backup-folder", backup().string()});
    EXPECT_EQ(r.status, 2) << said(r);
    EXPECT_EQ(r.err, "MST File Location: The specified folder to store the MST file does not exist.\n");

    r = run({"migrate", "--server", "127.0.0.1\\NOWHERE", "--database", "Labfolio", "--index-folder",
             index().string(), "--service-name", "Labfolio", "--backup-folder", backup().string()});
    EXPECT_EQ(r.status, 2) << said(r);
    EXPECT_EQ(
        r.err.rfind("Error Clicking Next: Sorry, while testing whether the server \"127.0.0.1\\NOWHERE\"", 0),
        0u)
        << r.err;
}

TEST_F(SlowCliMigrateE2e, CtrlCDuringTheBackupStopsItLeavesNoFileAndExitsWith130)
{
    cli.whileRunning = [](pid_t child, const std::string& err) {
        return err.find("percent processed") != std::string::npos && ::kill(child, SIGINT) == 0;
    };
    const CliRun r = run(migrate());
    EXPECT_EQ(r.status, 130) << said(r);
    EXPECT_NE(r.err.find("Stopping...\n"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("Migration Aborted\nSorry, "), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("The backup or restore was aborted."), std::string::npos) << r.err;
    EXPECT_TRUE(r.out.empty());
    EXPECT_TRUE(fs::is_empty(backup())) << "no backup, no partial copy";
    EXPECT_TRUE(fs::is_empty(index()));
    EXPECT_FALSE(fs::exists(appData() / "LFDesktop.BAK")) << "the working copy goes";
}
