// The progress page on the offscreen platform: its controls, Stop, the dormant restore panel,
// and a migration run through it over fake servers while the window keeps working.
#include "DBMigrateProgressCtl.h"
#include "MigrationFixture.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

using ::testing::HasSubstr;

namespace {

class DBMigrateProgressCtlTest : public ::testing::Test, public MigrationFixture {
protected:
    DBMigrateProgressCtlTest() : page(prompter)
    {
        page.resize(536, 207);
        page.show();
    }
    template <class T> T* child(const char* name)
    {
        auto* w = page.findChild<T*>(QString::fromLatin1(name));
        EXPECT_NE(w, nullptr) << name;
        return w;
    }
    void migrate(const QString& target = QStringLiteral("LABSRV2"))
    {
        page.Migrate(QStringLiteral("PC1\\VELDRIN"), QStringLiteral("LFDesktop10"), target,
                     QStringLiteral("Labfolio"), QString::fromStdString(sourceIndex()),
                     QString::fromStdString(targetFolder()), QStringLiteral("Chemistry"), {}, {}, {},
                     QString::fromStdString(bakPath().string()));
    }
    DBMigrateProgressCtl page;
};

TEST_F(DBMigrateProgressCtlTest, ControlsHaveTheirCaptionsPlacesAndVisibility)
{
    struct Expected {
        const char* name;
        QString caption;
        QRect rect;
        bool visible;
    };
    const Expected expected[] = {
        {"mTestConnectionButton", "Test Connection", QRect(216, 160, 113, 25), false},
        {"mContinueButton", "Continue", QRect(344, 160, 97, 25), false},
        {"mStopButton", "Stop", QRect(536 - 97, 56, 97, 25), true},
    };
    for (const auto& e : expected) {
        auto* b = child<QPushButton>(e.name);
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(b->text(), e.caption) << e.name;
        EXPECT_EQ(b->geometry(), e.rect) << e.name;
        EXPECT_EQ(b->isVisible(), e.visible) << e.name;
    }
    auto* instructions = child<QLabel>("mRestoreInstructions");
    EXPECT_FALSE(instructions->isVisible());
    EXPECT_EQ(instructions->geometry(), QRect(8, 96, 433, 57));
    EXPECT_EQ(
        instructions->text(),
        "Please restore the database \"^0\" from the backup file \"^1\" from the SQL Server \"^2\".\r\nClick "
        "Test Connection to confirm that the database is properly set up. Click Continue to complete the "
        "migration.\r\n");
    auto* bar = child<QProgressBar>("prgStatus");
    EXPECT_TRUE(bar->isVisible());
    EXPECT_EQ(bar->geometry(), QRect(0, 24, 536, 25));
    EXPECT_EQ(bar->maximum(), 100);
    auto* label = child<QLabel>("mMessageLabel");
    EXPECT_TRUE(label->isVisible());
    EXPECT_TRUE(label->text().isEmpty());
    EXPECT_EQ(label->geometry(), QRect(0, 0, 441, 25));
    EXPECT_TRUE(child<QPushButton>("mStopButton")->isEnabled());
}

TEST_F(DBMigrateProgressCtlTest, ResizingKeepsStopFlushRightAndTheBarFullWidth)
{
    page.resize(700, 300);
    EXPECT_EQ(child<QPushButton>("mStopButton")->geometry(), QRect(700 - 97, 56, 97, 25));
    EXPECT_EQ(child<QProgressBar>("prgStatus")->geometry(), QRect(0, 24, 700, 25));
    EXPECT_EQ(child<QLabel>("mMessageLabel")->geometry(), QRect(0, 0, 441, 25));
    EXPECT_EQ(child<QPushButton>("mContinueButton")->geometry(), QRect(344, 160, 97, 25));
}

TEST_F(DBMigrateProgressCtlTest, StopIsDisabledForGoodAfterOnePress)
{
    QTest::mouseClick(child<QPushButton>("mStopButton"), Qt::LeftButton);
    EXPECT_TRUE(page.StopRequested());
    EXPECT_FALSE(child<QPushButton>("mStopButton")->isEnabled());
    migrate();
    EXPECT_FALSE(child<QPushButton>("mStopButton")->isEnabled());
}

TEST_F(DBMigrateProgressCtlTest, HidingThePageIsAStop)
{
    page.hide();
    EXPECT_TRUE(page.StopRequested());
    page.show();
    EXPECT_FALSE(child<QPushButton>("mStopButton")->isEnabled());
}

TEST_F(DBMigrateProgressCtlTest, ContinueOnlySetsItsFlag)
{
    EXPECT_FALSE(page.ContinueRequested());
    child<QPushButton>("mContinueButton")->click();
    EXPECT_TRUE(page.ContinueRequested());
    EXPECT_FALSE(page.StopRequested());
    EXPECT_TRUE(prompter.shown().empty());
}

TEST_F(DBMigrateProgressCtlTest, TestConnectionReportsSuccessAndFailureWithOneFullStop)
{
    auto* test = child<QPushButton>("mTestConnectionButton");
    test->setProperty("Tag", QStringLiteral("Provider=SQLOLEDB.1;Data Source=LABSRV2"));
    test->click();
    database.openError = LfError(0x80004005u, "", "Login failed for user 'alice'.");
    test->click();
    database.openError = LfError(0x80004005u, "", "the server is not there");
    test->click();
    ASSERT_EQ(prompter.shown().size(), 3u);
    EXPECT_EQ(database.connectionStrings().at(0), "Provider=SQLOLEDB.1;Data Source=LABSRV2");
    EXPECT_EQ(prompter.shown()[0].text, "Connection Succeeded.");
    EXPECT_EQ(prompter.shown()[1].text, "Sorry, Login failed for user 'alice'.");
    EXPECT_EQ(prompter.shown()[2].text, "Sorry, the server is not there.");
    for (const auto& s : prompter.shown()) {
        EXPECT_EQ(s.title, "Test Connection");
        EXPECT_EQ(s.icon, MsgIcon::Information);
    }
    EXPECT_EQ(database.closed(), 1);
}

TEST_F(DBMigrateProgressCtlTest, MigrationRunsThroughThePageAndRaisesFinished)
{
    QSignalSpy finished(&page, &DBMigrateProgressCtl::MigrationFinished);
    migrate();
    EXPECT_EQ(finished.count(), 1);
    EXPECT_EQ(child<QProgressBar>("prgStatus")->maximum(), 205);
    EXPECT_EQ(child<QProgressBar>("prgStatus")->value(), 105);
    EXPECT_EQ(child<QLabel>("mMessageLabel")->text(), "Copying Chemical Structure Index...");
    EXPECT_TRUE(std::filesystem::exists(bakPath()));
}

TEST_F(DBMigrateProgressCtlTest, LocalTargetRaisesFinishedTwiceDuringTheCall)
{
    QSignalSpy finished(&page, &DBMigrateProgressCtl::MigrationFinished);
    migrate(QStringLiteral("PC1\\VELDRIN"));
    EXPECT_EQ(finished.count(), 2);
}

TEST_F(DBMigrateProgressCtlTest, WindowKeepsWorkingAndStopEndsTheBackup)
{
    server->afterNotification = [](int) { std::this_thread::sleep_for(std::chrono::milliseconds(80)); };
    int ticks = 0;
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, [&] { ++ticks; });
    ticker.start(5);
    QTimer stopper;
    QObject::connect(&stopper, &QTimer::timeout, [&] {
        if (child<QLabel>("mMessageLabel")->text() == "30 percent processed.") {
            stopper.stop();
            QTest::mouseClick(child<QPushButton>("mStopButton"), Qt::LeftButton);
        }
    });
    stopper.start(1);
    QSignalSpy finished(&page, &DBMigrateProgressCtl::MigrationFinished);
    try {
        migrate();
        FAIL() << "the stopped migration did not fail";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), FakeBackupServer::kAborted);
    }
    EXPECT_GT(ticks, 10);
    EXPECT_EQ(finished.count(), 0);
    EXPECT_EQ(child<QLabel>("mMessageLabel")->text(), "30 percent processed.");
    EXPECT_EQ(child<QProgressBar>("prgStatus")->value(), 30);
    EXPECT_FALSE(child<QPushButton>("mStopButton")->isEnabled());
    EXPECT_FALSE(std::filesystem::exists(bakPath()));
    EXPECT_FALSE(std::filesystem::exists(localBackup()));
}

TEST_F(DBMigrateProgressCtlTest, HidingThePageDuringTheBackupStopsIt)
{
    server->afterNotification = [](int) { std::this_thread::sleep_for(std::chrono::milliseconds(50)); };
    QTimer hider;
    QObject::connect(&hider, &QTimer::timeout, [&] {
        if (child<QLabel>("mMessageLabel")->text() == "20 percent processed.") {
            hider.stop();
            page.hide();
        }
    });
    hider.start(1);
    EXPECT_THROW(migrate(), LfError);
    EXPECT_TRUE(page.StopRequested());
    EXPECT_FALSE(child<QPushButton>("mStopButton")->isEnabled());
    EXPECT_FALSE(std::filesystem::exists(bakPath()));
    EXPECT_EQ(server->backups().size(), 1u);
}

TEST_F(DBMigrateProgressCtlTest, ConfirmUserRaisesTheMissingUserError)
{
    database.peopleCount = 0;
    try {
        page.ConfirmUser(QStringLiteral("PC1\\VELDRIN"), QStringLiteral("LFDesktop10"));
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.source(), "DBMigrateProgressCtl.ConfirmUser");
        EXPECT_THAT(e.description(), HasSubstr("the user \"PC1\\alice\" is not set up"));
    }
    EXPECT_EQ(page.ProcessName(), "PC1\\alice");
}

TEST_F(DBMigrateProgressCtlTest, NetworkDriveOfAUncPathIsItsHostAndOfALocalPathEmpty)
{
    EXPECT_EQ(page.GetUNCPathofNetworkDrive(QStringLiteral("\\\\LABSRV2\\Backups\\LFDesktop.BAK")),
              "LABSRV2");
    const QString local = QString::fromStdString(dir.path().string());
    EXPECT_EQ(page.GetUNCPathofNetworkDrive(local), "");
}

} // namespace
