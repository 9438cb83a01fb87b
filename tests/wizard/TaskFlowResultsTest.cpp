#include "TaskFlowFixture.h"

namespace {

using TaskFlowResultsTest = TaskFlowFixture;

constexpr uint32_t kError = LfError::kObjectError513;

} // namespace

// ---- migration ------------------------------------------------------------------------------

TEST_F(TaskFlowResultsTest, TheMigrationRunsWithTheSummarysValuesAndEndsOnItsResult)
{
    toSummary(V::MigrateDatabase);
    std::string topWhileRunning, headerWhileRunning, captionWhileRunning;
    bool nextEnabledWhileRunning = true;
    int componentWhileRunning = -1;
    operations.during = [&](const std::string& op) {
        if (op != "Migrate")
            return;
        topWhileRunning = view.top();
        headerWhileRunning = view.header();
        captionWhileRunning = view.nextCaption;
        nextEnabledWhileRunning = view.enabled[Button::Next];
        componentWhileRunning = view.shownComponent;
        EXPECT_FALSE(view.visible[Button::Next]);
        EXPECT_FALSE(view.visible[Button::Back]);
        EXPECT_TRUE(view.visible[Button::Cancel]);
        flow.MigrationFinished();
    };
    flow.Next();
    EXPECT_EQ(topWhileRunning, "Updating MST File");
    EXPECT_EQ(headerWhileRunning, "Update in Progress...");
    EXPECT_EQ(captionWhileRunning, "Finish");
    EXPECT_FALSE(nextEnabledWhileRunning);
    EXPECT_EQ(componentWhileRunning, V::ProgressPage);
    ASSERT_TRUE(operations.migrated.has_value());
    EXPECT_EQ(operations.migrated->TargetDBName, "NewDB");
    EXPECT_EQ(operations.migrated->BackupFilePath, view.backupFolder + "/NewDB.bak");

    EXPECT_EQ(flow.CurrentPage(), V::ProgressPage);
    EXPECT_EQ(view.top(), "Migration Completed");
    EXPECT_EQ(view.header(),
              "The Multi-User Setup wizard has successfully migrated the database. Click Finish to "
              "exit the wizard.");
    EXPECT_TRUE(view.labelVisible[Label::Header]);
    EXPECT_EQ(view.shownComponent, -1);
    EXPECT_TRUE(view.visible[Button::Done]);
    EXPECT_EQ(view.defaultButton, Button::Done);
    for (Button b : {Button::Next, Button::Back, Button::Cancel})
        EXPECT_FALSE(view.visible[b]);
    EXPECT_EQ(flow.DoneTag(), "Success");
    flow.Done();
    EXPECT_TRUE(view.closed);
}

TEST_F(TaskFlowResultsTest, AFailedMigrationEndsOnTheErrorResultAndFinishReturnsToTheTaskPicker)
{
    toSummary(V::MigrateDatabase);
    const std::string localServer = flow.LocalServerName();
    operations.failing =
        LfError(kError, "DBMigrateProgressCtl.Migrate", "while backing up database \"LFDesktop10\"");
    operations.failingOperation = "Migrate";
    flow.Next();
    EXPECT_EQ(view.top(), "Migration Aborted");
    EXPECT_EQ(view.header(), "");
    EXPECT_EQ(view.bottom(), "Sorry, while backing up database \"LFDesktop10\".");
    EXPECT_EQ(flow.DoneTag(), "Error");
    EXPECT_TRUE(view.visible[Button::Done]);
    EXPECT_EQ(view.defaultButton, Button::Done);
    EXPECT_EQ(view.shownComponent, -1);
    EXPECT_TRUE(prompter.shown().empty());

    flow.Done();
    EXPECT_FALSE(view.closed);
    EXPECT_EQ(flow.CurrentPage(), V::TaskPage);
    EXPECT_EQ(view.shownComponent, V::TaskPage);
    EXPECT_EQ(view.top(), "Setup Tasks");
    EXPECT_EQ(view.nextCaption, "&Next >");
    for (Button b : {Button::Back, Button::Next, Button::Cancel})
        EXPECT_TRUE(view.visible[b]);
    EXPECT_TRUE(view.enabled[Button::Back]);
    EXPECT_TRUE(view.enabled[Button::Next]);
    EXPECT_FALSE(view.visible[Button::Done]);
    // Every earlier value is kept: the same walk reaches the summary again unchanged.
    EXPECT_EQ(flow.LocalServerName(), localServer);
    EXPECT_EQ(view.databaseName, "NewDB");
    EXPECT_EQ(view.serviceName, "NewDB");
}

TEST_F(TaskFlowResultsTest, AnErrorDescriptionEndingInAFullStopGetsNoSecondOne)
{
    toSummary(V::ConnectDesktop);
    operations.failing =
        LfError(kError, "DBMigrateProgressCtl.InstallDesktopService", "the file is read-only.");
    operations.failingOperation = "InstallDesktopService";
    flow.Next();
    EXPECT_EQ(view.top(), "Connection Creation Aborted");
    EXPECT_EQ(view.bottom(), "Sorry, the file is read-only.");
}

TEST_F(TaskFlowResultsTest, CancelDuringAMigrationAsksAndClosesOnYes)
{
    toSummary(V::MigrateDatabase);
    operations.during = [&](const std::string& op) {
        if (op == "Migrate") {
            prompter.queueAnswer(MsgAnswer::No);
            flow.Cancel();
            EXPECT_FALSE(view.closed);
            prompter.queueAnswer(MsgAnswer::Yes);
            flow.Cancel();
        }
    };
    flow.Next();
    ASSERT_EQ(prompter.shown().size(), 2u);
    EXPECT_EQ(prompter.shown()[1].text, "Are you sure you want to exit Labfolio Multi-User Setup?");
    EXPECT_EQ(prompter.shown()[1].title, "Labfolio Multi-User Setup");
    EXPECT_EQ(prompter.shown()[1].buttons, MsgButtons::YesNo);
    EXPECT_TRUE(view.closed);
}

// ---- connections -----------------------------------------------------------------------------

TEST_F(TaskFlowResultsTest, ConnectingToAServiceInstallsItsFileAndSaysHowToUseIt)
{
    toSummary(V::ConnectService);
    std::string top, header;
    operations.during = [&](const std::string&) {
        top = view.top();
        header = view.header();
    };
    flow.Next();
    EXPECT_EQ(top, "Connect to Service");
    EXPECT_EQ(header, "Connection in Progress...");
    EXPECT_EQ(operations.calls,
              (std::vector<std::string>{"InstallServiceConfigurationFile(" + view.serviceFile + "||)"}));
    EXPECT_EQ(view.top(), "Connection Completed");
    EXPECT_EQ(view.header(), "");
    EXPECT_EQ(view.bottom(),
              "To connect to the service, run the Labfolio program and choose the service from the "
              "list of Labfolio services that appears in the Login dialog box.");
    EXPECT_EQ(flow.DoneTag(), "Success");
}

TEST_F(TaskFlowResultsTest, AServiceFileThatCannotBeInstalledEndsOnTheConnectionError)
{
    toSummary(V::ConnectService);
    operations.failing = LfError(kError, "DBMigrateProgressCtl.InstallServiceConfigurationFile",
                                 "while reading the service file");
    operations.failingOperation = "InstallServiceConfigurationFile";
    flow.Next();
    EXPECT_EQ(view.top(), "Connection Creation Aborted");
    EXPECT_EQ(view.bottom(), "Sorry, while reading the service file.");
}

TEST_F(TaskFlowResultsTest, ConnectingToTheDesktopEndsOnItsResult)
{
    toSummary(V::ConnectDesktop);
    flow.Next();
    EXPECT_EQ(operations.calls, (std::vector<std::string>{"InstallDesktopService()"}));
    EXPECT_EQ(view.top(), "Connection Completed");
    EXPECT_EQ(view.header(),
              "The Multi-User Setup wizard has successfully created a connection to your local "
              "database. Click Finish to exit the wizard.");
    EXPECT_EQ(view.bottom(), "");
}

// ---- offline database ------------------------------------------------------------------------

TEST_F(TaskFlowResultsTest, CreatingTheOfflineDatabaseGrantsOnTheInstanceThatHoldsIt)
{
    putOnDefaultInstance("LFOffline9");
    toTasks(V::CreateOffline);
    flow.Next();
    ASSERT_EQ(flow.CurrentPage(), V::SummaryPage);
    std::string top, header;
    operations.during = [&](const std::string& op) {
        if (op == "CreateOfflineDatabase") {
            top = view.top();
            header = view.header();
        }
    };
    flow.Next();
    EXPECT_EQ(top, "Create Offline Database");
    EXPECT_EQ(header, "Offline Database Creation In Progress...");
    EXPECT_EQ(operations.calls, (std::vector<std::string>{"CreateOfflineDatabase((local)||)",
                                                          "GrantOfflinePermissions((local)||)"}));
    EXPECT_EQ(view.top(), "Database Creation Completed");
    EXPECT_EQ(view.header(),
              "The Multi-User Setup wizard has successfully created your offline database. Click "
              "Finish to exit the wizard.");
    EXPECT_EQ(view.bottom(), "");
}

// Where no local instance answers a Windows login, the MSDE login dialog's answers reach the
// offline operations.
class OfflineWithMsdeLogin : public TaskFlowFixture {
protected:
    void SetUp() override
    {
        for (auto& [name, server] : servers->servers)
            server.acceptsWindowsLogin = false;
        view.msdeLogin = {true, true, "PC1\\VELDRIN", "sa", "pw"};
    }

    void run(int32_t task)
    {
        toTasks(task);
        flow.Next();
        ASSERT_EQ(flow.CurrentPage(), V::SummaryPage);
        flow.Next();
    }
};

TEST_F(OfflineWithMsdeLogin, TheCreationAndTheGrantsUseIt)
{
    run(V::CreateOffline);
    EXPECT_EQ(operations.calls, (std::vector<std::string>{"CreateOfflineDatabase(PC1\\VELDRIN|sa|pw)",
                                                          "GrantOfflinePermissions(PC1\\VELDRIN|sa|pw)"}));
    EXPECT_EQ(view.top(), "Database Creation Completed");
}

TEST_F(OfflineWithMsdeLogin, TheRemovalUsesIt)
{
    run(V::RemoveOffline);
    EXPECT_EQ(operations.calls, (std::vector<std::string>{"RemoveOfflineDatabase(PC1\\VELDRIN|sa|pw)"}));
    EXPECT_EQ(view.top(), "Offline Database Removal Completed");
}

TEST_F(TaskFlowResultsTest, AFailedGrantEndsOnTheOfflineError)
{
    toSummary(V::CreateOffline);
    operations.failing = LfError(kError, "frmInstall.RunCreateOffline", "login failed for user 'sa'");
    operations.failingOperation = "GrantOfflinePermissions";
    flow.Next();
    EXPECT_EQ(view.top(), "Error on Setup Offine Database:");
    EXPECT_EQ(view.bottom(), "Sorry, login failed for user 'sa'.");
    EXPECT_EQ(flow.DoneTag(), "Error");
}

TEST_F(TaskFlowResultsTest, AFailedOfflineCreationKeepsTheProductsTitle)
{
    toSummary(V::CreateOffline);
    operations.failing = LfError(kError, "DBMigrateProgressCtl.CreateOfflineDatabase",
                                 "the file \"/opt/labfolio/LFOffline.sql\" does not exist");
    operations.failingOperation = "CreateOfflineDatabase";
    flow.Next();
    EXPECT_EQ(view.top(), "Error on Setup Offine Database:");
    EXPECT_EQ(view.bottom(), "Sorry, the file \"/opt/labfolio/LFOffline.sql\" does not exist.");
    EXPECT_EQ(flow.DoneTag(), "Error");
}

TEST_F(TaskFlowResultsTest, RemovingTheOfflineDatabaseSaysWhetherThereWasOne)
{
    toSummary(V::RemoveOffline);
    EXPECT_EQ(view.nextCaption, "&Remove");
    view.text[Label::Bottom] = "kept";
    flow.Next();
    EXPECT_EQ(operations.calls, (std::vector<std::string>{"RemoveOfflineDatabase(PC1\\VELDRIN||)"}));
    EXPECT_EQ(view.top(), "Offline Database Removal Completed");
    EXPECT_EQ(view.header(), "The offline database has been removed. Click Finish to exit the wizard.");
    EXPECT_EQ(view.bottom(), "kept");
}

TEST_F(TaskFlowResultsTest, NothingToRemoveHasItsOwnResult)
{
    operations.removed = false;
    toSummary(V::RemoveOffline);
    flow.Next();
    EXPECT_EQ(view.top(), "Offline Database Does Not Exist");
    EXPECT_EQ(view.header(), "Click Finish to exit the wizard.");
    EXPECT_EQ(flow.DoneTag(), "Success");
}

TEST_F(TaskFlowResultsTest, AFailedRemovalKeepsTheProductsTitle)
{
    toSummary(V::RemoveOffline);
    operations.failing = LfError(0x80040000u, "", "SQL Server \"(local)\" does not exist or access denied");
    operations.failingOperation = "RemoveOfflineDatabase";
    flow.Next();
    EXPECT_EQ(view.top(), "Offine Database Removal Aborted:");
    EXPECT_EQ(view.bottom(), "Sorry, SQL Server \"(local)\" does not exist or access denied.");
}

// ---- index rebuild ---------------------------------------------------------------------------

TEST_F(TaskFlowResultsTest, TheIndexBuildStartsAndEndsByItsEvent)
{
    toSummary(V::RebuildIndex);
    flow.Next();
    EXPECT_EQ(operations.calls,
              (std::vector<std::string>{"StartIndexBuild(LABSRV|ChemDB|" + view.indexPath + ")"}));
    EXPECT_EQ(view.top(), "Building MST File");
    EXPECT_EQ(view.bottom(), "Build in Progress...");
    EXPECT_EQ(view.shownComponent, V::ProgressPage);
    EXPECT_FALSE(view.visible[Button::Next]);
    EXPECT_TRUE(view.visible[Button::Cancel]);
    EXPECT_FALSE(view.visible[Button::Done]);
    EXPECT_EQ(flow.DoneTag(), "Success");

    flow.BuildFinished();
    EXPECT_EQ(view.top(), "Build Completed");
    EXPECT_EQ(view.header(),
              "The wizard has successfully built the MST File. Click Finish to exit the wizard.");
    EXPECT_EQ(view.bottom(), "");
    EXPECT_TRUE(view.visible[Button::Done]);
    EXPECT_FALSE(view.visible[Button::Cancel]);
    EXPECT_EQ(view.shownComponent, -1);
}

TEST_F(TaskFlowResultsTest, AnIndexBuildThatFailsLaterEndsOnItsErrorResult)
{
    toSummary(V::RebuildIndex);
    flow.Next();
    flow.BuildFailed(
        LfError(0x800A01ADu, "MSTFileProgressCtl.mTimer_Timer", "ActiveX component can't create object"));
    EXPECT_EQ(view.top(), "Build of Chemical Structure Index Aborted");
    EXPECT_EQ(view.bottom(), "Sorry, ActiveX component can't create object.");
    EXPECT_EQ(flow.DoneTag(), "Error");
    flow.Done();
    EXPECT_EQ(flow.CurrentPage(), V::TaskPage);
    EXPECT_FALSE(view.closed);
}

TEST_F(TaskFlowResultsTest, AnIndexBuildThatCannotStartEndsOnItsErrorResult)
{
    toSummary(V::RebuildIndex);
    operations.failing = LfError(kError, "MSTFileProgressCtl.Initialize", "while opening \"ChemDB\"");
    operations.failingOperation = "StartIndexBuild";
    flow.Next();
    EXPECT_EQ(view.top(), "Build of Chemical Structure Index Aborted");
    EXPECT_EQ(flow.DoneTag(), "Error");
}

// ---- Finish and Cancel -----------------------------------------------------------------------

TEST_F(TaskFlowResultsTest, CancelNoKeepsTheWindowAndYesClosesIt)
{
    prompter.queueAnswer(MsgAnswer::No);
    flow.Cancel();
    EXPECT_FALSE(view.closed);
    EXPECT_EQ(lastPrompt().icon, MsgIcon::Question);
    flow.Cancel();
    EXPECT_TRUE(view.closed);
}

TEST_F(TaskFlowResultsTest, ASuccessAfterAnErrorMakesFinishCloseAgain)
{
    toSummary(V::ConnectDesktop);
    operations.failing = LfError(kError, "", "no");
    operations.failingOperation = "InstallDesktopService";
    flow.Next();
    flow.Done();
    ASSERT_EQ(flow.CurrentPage(), V::TaskPage);
    flow.Next();
    ASSERT_EQ(flow.CurrentPage(), V::SummaryPage);
    flow.Next();
    EXPECT_EQ(flow.DoneTag(), "Success");
    flow.Done();
    EXPECT_TRUE(view.closed);
}
