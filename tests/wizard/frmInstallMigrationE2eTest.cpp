// Every task through the real window, clicking Next as a person would, against the SQL Server
// stand-in: migrating the desktop database to the multi-user server.
#include "WindowE2eFixture.h"

#include "DBMigrateProgressCtl.h"

#include <QTimer>

namespace fs = std::filesystem;

namespace {

class MigrationWindowE2e : public WindowE2e {
protected:
    explicit MigrationWindowE2e(int progressStepMillis = 50)
        : WindowE2e({desktopInstance(), multiUserInstance()}, progressStepMillis)
    {
        fs::create_directories(appData());
        for (const char* ext : {"mst", "msx", "mss", "msk", "msf"})
            dir.write(std::string("appdata/Labfolio 10.0/Labfolio.") + ext, std::string(50000, ext[2]));
    }
};

class SlowMigrationWindowE2e : public MigrationWindowE2e {
protected:
    SlowMigrationWindowE2e() : MigrationWindowE2e(300) {}
};

} // namespace

TEST_F(MigrationWindowE2e, MigratingPutsTheBackupAndTheIndexInTheSharedFoldersAndEndsOnItsResult)
{
    toMigrationSummary();
    next();

    expectResultPage();
    EXPECT_EQ(text("lblTop"), "Migration Completed");
    EXPECT_EQ(text("lblHeader"),
              "The Multi-User Setup wizard has successfully migrated the database. Click Finish to exit the "
              "wizard.");
    EXPECT_EQ(text("lblBottom"), "");
    EXPECT_TRUE(fs::exists(backup() / "Labfolio.bak"));
    for (const char* ext : {"mst", "msx", "mss", "msk", "msf"})
        EXPECT_EQ(fs::file_size(index() / (std::string("Labfolio.") + ext)), 50000u) << ext;
    EXPECT_FALSE(fs::exists(appData() / "LFDesktop.BAK")) << "the working copy goes";
    finishCloses();
}

TEST_F(SlowMigrationWindowE2e, StopDuringTheBackupEndsOnTheMigrationError)
{
    toMigrationSummary();
    // The user presses Stop once the backup has begun to report.
    QTimer stopper;
    QObject::connect(&stopper, &QTimer::timeout, [&] {
        if (window->migrationProgressPage()
                ->findChild<QLabel*>("mMessageLabel")
                ->text()
                .contains("percent processed")) {
            QTest::mouseClick(window->migrationProgressPage()->findChild<QPushButton*>("mStopButton"),
                              Qt::LeftButton);
            stopper.stop();
        }
    });
    stopper.start(20);
    next();

    expectResultPage();
    EXPECT_EQ(text("lblTop"), "Migration Aborted");
    EXPECT_EQ(text("lblHeader"), "");
    // The server's messages only: the driver's own note of the cancel says nothing more.
    EXPECT_EQ(text("lblBottom"),
              "Sorry, The backup or restore was aborted. BACKUP DATABASE is terminating abnormally.");
    EXPECT_FALSE(fs::exists(backup() / "Labfolio.bak"));
    EXPECT_FALSE(fs::exists(index() / "Labfolio.mst"));
    finishReturnsToTheTaskPicker(1);
}

TEST_F(SlowMigrationWindowE2e, CancelDuringTheMigrationAsksAndOnYesClosesTheWindowAndStopsTheBackup)
{
    toMigrationSummary();
    prompter.queueAnswer(MsgAnswer::Yes);
    QTimer canceller;
    QObject::connect(&canceller, &QTimer::timeout, [&] {
        if (window->migrationProgressPage()
                ->findChild<QLabel*>("mMessageLabel")
                ->text()
                .contains("percent processed")) {
            QTest::mouseClick(button("cmdCancel"), Qt::LeftButton);
            canceller.stop();
        }
    });
    canceller.start(20);
    next();

    ASSERT_FALSE(prompter.shown().empty());
    EXPECT_EQ(prompter.shown()[0].text, "Are you sure you want to exit Labfolio Multi-User Setup?");
    EXPECT_EQ(prompter.shown()[0].buttons, MsgButtons::YesNo);
    EXPECT_FALSE(window->isVisible());
    EXPECT_FALSE(fs::exists(backup() / "Labfolio.bak"));
    EXPECT_FALSE(fs::exists(appData() / "LFDesktop.BAK")) << "the working copy goes";
}

TEST_F(MigrationWindowE2e, AnUnreachableServerIsReportedOnTheServerPage)
{
    choose("mServeDatabaseOption");
    next();
    ASSERT_EQ(window->CurrentPage(), frmInstall::ServerPage);
    typeIn("cmbServerList", "127.0.0.1\\NOWHERE");
    next();
    EXPECT_EQ(window->CurrentPage(), frmInstall::ServerPage);
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.shown()[0].title, "Error Clicking Next");
    EXPECT_EQ(
        prompter.shown()[0].text,
        "Sorry, while testing whether the server \"127.0.0.1\\NOWHERE\" is a local server, SQL Server "
        "\"127.0.0.1\\NOWHERE\" does not exist or access denied (the SQL Server Browser on \"127.0.0.1\" "
        "does not know the instance)");
}
