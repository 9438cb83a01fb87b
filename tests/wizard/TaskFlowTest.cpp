#include "TaskFlowFixture.h"

namespace {

using TaskFlowTest = TaskFlowFixture;

} // namespace

// ---- welcome and task page ----------------------------------------------------------------

TEST_F(TaskFlowTest, StartsOnTheWelcomePageWithBackDisabled)
{
    EXPECT_EQ(flow.CurrentPage(), V::WelcomePage);
    EXPECT_EQ(view.shownComponent, V::WelcomePage);
    EXPECT_TRUE(view.welcomeDress);
    EXPECT_FALSE(view.enabled[Button::Back]);
}

TEST_F(TaskFlowTest, NextOnTheWelcomePageShowsTheTaskPickerInTheHeaderBand)
{
    toTasks(V::MigrateDatabase);
    EXPECT_EQ(view.shownComponent, V::TaskPage);
    EXPECT_FALSE(view.welcomeDress);
    EXPECT_TRUE(view.enabled[Button::Back]);
    EXPECT_EQ(view.top(), "Setup Tasks");
    EXPECT_EQ(view.header(), "Select the task you want to perform.");
    EXPECT_EQ(view.bottom(), "");
    EXPECT_EQ(view.nextCaption, "Next >");
    EXPECT_GT(view.focusGiven, 0);
}

TEST_F(TaskFlowTest, BackFromTheTaskPickerDisablesBackAndHidesTheLabels)
{
    toTasks(V::ConnectService);
    flow.Back();
    EXPECT_EQ(flow.CurrentPage(), V::WelcomePage);
    EXPECT_EQ(view.shownComponent, V::WelcomePage);
    EXPECT_FALSE(view.enabled[Button::Back]);
    for (Label l : {Label::Top, Label::Header, Label::Bottom})
        EXPECT_FALSE(view.labelVisible[l]);
}

TEST_F(TaskFlowTest, MigrationFindsTheLastAnsweringLocalInstanceAndConfirmsTheUser)
{
    toTasks(V::MigrateDatabase);
    operations.confirmedServerRewrite = "PC1\\VELDRIN";
    flow.Next();
    EXPECT_EQ(flow.LocalServerName(), "PC1\\VELDRIN");
    EXPECT_EQ(flow.DesktopDatabaseName(), "LFDesktop10");
    ASSERT_EQ(operations.calls.size(), 1u);
    EXPECT_EQ(operations.calls[0], "ConfirmUser(PC1\\VELDRIN|LFDesktop10)");
    EXPECT_EQ(flow.CurrentPage(), V::ServerPage);
    EXPECT_EQ(view.shownComponent, V::ServerPage);
    EXPECT_EQ(view.creatorOnly, false);
    EXPECT_EQ(view.checkListCalls, 1);
    EXPECT_EQ(view.top(), "Multi-User Database Setup");
    EXPECT_EQ(view.header(), "Select the database server that will host the new multi-user database.");
}

TEST_F(TaskFlowTest, AUserWhoIsNotInTheDesktopDatabaseStaysOnTheTaskPage)
{
    toTasks(V::MigrateDatabase);
    operations.failing = LfError(LfError::kObjectError513, "DBMigrateProgressCtl.ConfirmUser",
                                 "the user PC1\\alice is not a Labfolio user");
    operations.failingOperation = "ConfirmUser";
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::TaskPage);
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.shown()[0].title, "Error Clicking Next");
    EXPECT_EQ(prompter.shown()[0].text, "Sorry, the user PC1\\alice is not a Labfolio user");
    EXPECT_EQ(prompter.shown()[0].icon, MsgIcon::None);
    EXPECT_EQ(prompter.shown()[0].buttons, MsgButtons::OK);
    EXPECT_EQ(view.busyChanges, (std::vector<bool>{true, false, true, false}));
}

TEST_F(TaskFlowTest, MigrationWithoutAnyAnsweringLocalInstanceIsReported)
{
    toTasks(V::MigrateDatabase);
    for (auto& [name, server] : servers->servers)
        server.acceptsWindowsLogin = false;
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::TaskPage);
    EXPECT_EQ(lastPrompt().text, "Sorry, there are no local SQLServer or MSDE instances installed");
    EXPECT_TRUE(operations.calls.empty());
}

TEST_F(TaskFlowTest, ConnectingToAServiceAsksForTheServiceFile)
{
    toTasks(V::ConnectService);
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::ServiceFilePage);
    EXPECT_EQ(view.top(), "Service File Location");
    EXPECT_EQ(view.nextCaption, "&Next >");
    flow.Back();
    EXPECT_EQ(flow.CurrentPage(), V::TaskPage);
}

TEST_F(TaskFlowTest, ConnectingToTheDesktopGoesStraightToItsSummary)
{
    toTasks(V::ConnectDesktop);
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::SummaryPage);
    EXPECT_EQ(view.shownComponent, -1);
    EXPECT_EQ(view.top(), "Ready to Create Connection To Your Database");
    EXPECT_EQ(view.header(), "Click Create to create the connection.");
    EXPECT_EQ(view.bottom(),
              "Once the connection is created, choose the Labfolio Service \"Desktop\" when you start "
              "the Labfolio program to connect to your desktop database");
    EXPECT_EQ(view.nextCaption, "C&reate");
    EXPECT_TRUE(view.enabled[Button::Next]);
    flow.Back();
    EXPECT_EQ(flow.CurrentPage(), V::TaskPage);
}

// ---- offline checks -------------------------------------------------------------------------

TEST_F(TaskFlowTest, CreatingTheOfflineDatabaseWhereNoneExistsAsksNothing)
{
    toTasks(V::CreateOffline);
    flow.Next();
    EXPECT_TRUE(prompter.shown().empty());
    EXPECT_EQ(flow.LocalServerName(), "PC1\\VELDRIN");
    EXPECT_EQ(flow.CurrentPage(), V::SummaryPage);
    EXPECT_EQ(view.top(), "Ready to Create Your Offline Database");
    EXPECT_EQ(view.bottom(), "");
    EXPECT_EQ(view.nextCaption, "C&reate");
}

TEST_F(TaskFlowTest, AnExistingOfflineDatabaseIsReplacedOnlyAfterYes)
{
    putOnDefaultInstance("LFOffline9");
    for (int32_t task : {V::CreateOffline, V::RemoveOffline}) {
        toTasks(task);
        prompter.clear();
        prompter.queueAnswer(MsgAnswer::No);
        flow.Next();
        ASSERT_EQ(prompter.shown().size(), 1u);
        EXPECT_EQ(prompter.shown()[0].text, "Are you sure you want to replace the offline database?");
        EXPECT_EQ(prompter.shown()[0].title, "Create Offline Database");
        EXPECT_EQ(prompter.shown()[0].buttons, MsgButtons::YesNo);
        EXPECT_EQ(flow.CurrentPage(), V::TaskPage);
        EXPECT_EQ(view.busy, false);

        prompter.queueAnswer(MsgAnswer::Yes);
        flow.Next();
        EXPECT_EQ(flow.LocalServerName(), "(local)");
        EXPECT_EQ(flow.CurrentPage(), V::SummaryPage);
        EXPECT_EQ(view.top(), task == V::CreateOffline ? "Ready to Create Your Offline Database"
                                                       : "Ready to Remove Your Offline Database");
        flow.Back();
        flow.Back();
        ASSERT_EQ(flow.CurrentPage(), V::WelcomePage);
    }
}

TEST_F(TaskFlowTest, TheOfflineDatabaseExistenceTestComparesNamesExactly)
{
    putOnDefaultInstance("lfoffline9");
    toTasks(V::CreateOffline);
    flow.Next();
    EXPECT_TRUE(prompter.shown().empty());
    EXPECT_EQ(flow.CurrentPage(), V::SummaryPage);
}

TEST_F(TaskFlowTest, WithoutAWindowsLoginTheMsdeLoginIsAskedAndKept)
{
    for (auto& [name, server] : servers->servers)
        server.acceptsWindowsLogin = false;
    view.msdeLogin = {true, true, "PC1\\VELDRIN", "sa", "secret"};
    toTasks(V::CreateOffline);
    flow.Next();
    EXPECT_EQ(view.msdeLoginShown, 1);
    EXPECT_EQ(flow.LocalServerName(), "PC1\\VELDRIN");
    EXPECT_EQ(flow.ServerLoginName(), "sa");
    EXPECT_EQ(flow.ServerLoginPWD(), "secret");
    EXPECT_EQ(flow.CurrentPage(), V::SummaryPage);
}

TEST_F(TaskFlowTest, AnMsdeLoginThatWasNotConfirmedStaysOnTheTaskPage)
{
    for (auto& [name, server] : servers->servers)
        server.acceptsWindowsLogin = false;
    view.msdeLogin = {false, false, "PC1\\VELDRIN", "", ""};
    toTasks(V::RemoveOffline);
    flow.Next();
    expectInformation(
        "Create Offline Database",
        "You can't access the local SQL database engine to create offline database on this machine!");
    EXPECT_EQ(flow.CurrentPage(), V::TaskPage);
    EXPECT_EQ(flow.ServerLoginName(), "");
}

TEST_F(TaskFlowTest, AnMsdeLoginClosedWithoutAServerNameGoesOn)
{
    for (auto& [name, server] : servers->servers)
        server.acceptsWindowsLogin = false;
    view.msdeLogin = {true, false, "", "", ""};
    toTasks(V::CreateOffline);
    flow.Next();
    EXPECT_TRUE(prompter.shown().empty());
    EXPECT_EQ(flow.LocalServerName(), "");
    EXPECT_EQ(flow.CurrentPage(), V::SummaryPage);
}

// ---- server page --------------------------------------------------------------------------

TEST_F(TaskFlowTest, AnEmptyServerNameIsRefused)
{
    toTasks(V::RebuildIndex);
    flow.Next();
    const int focus = view.focusGiven;
    flow.Next();
    expectInformation("Server Name", "Please provide the server name!");
    EXPECT_EQ(flow.CurrentPage(), V::ServerPage);
    EXPECT_EQ(view.focusGiven, focus + 1);
}

TEST_F(TaskFlowTest, MigratingOntoThisComputerEndsOnTheNoticeWithOnlyFinish)
{
    toTasks(V::MigrateDatabase);
    flow.Next();
    view.serverName = "(local)";
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::ServerPage);
    EXPECT_FALSE(view.databaseList.has_value());
    EXPECT_EQ(view.shownComponent, -1);
    EXPECT_EQ(view.bottom(),
              "Local database has not been created. Create a local database before migrating it to a "
              "multi-user server.");
    EXPECT_EQ(view.top(), "Finish");
    EXPECT_EQ(view.header(), "Click Finish to exit the wizard.");
    EXPECT_TRUE(view.labelVisible[Label::Header]);
    EXPECT_TRUE(view.visible[Button::Done]);
    EXPECT_EQ(view.defaultButton, Button::Done);
    for (Button b : {Button::Next, Button::Back, Button::Cancel})
        EXPECT_FALSE(view.visible[b]);
    EXPECT_EQ(flow.DoneTag(), "");
    flow.Done();
    EXPECT_TRUE(view.closed);
}

TEST_F(TaskFlowTest, TheNoticeSaysSoWhenTheDesktopDatabaseIsAlreadyShared)
{
    dir.write("Labfolio 10.0/LFDesktop10.udl", "[oledb]\r\n");
    toTasks(V::MigrateDatabase);
    flow.Next();
    view.serverName = "(local)";
    flow.Next();
    EXPECT_EQ(view.bottom(),
              "Local database has already been set up as a multi-user database. Remote users can "
              "connect to it by selecting the 'Connect to an existing Service' option from their "
              "system.");
}

TEST_F(TaskFlowTest, ARemoteServerIsConnectedAndItsDatabasesListed)
{
    toTasks(V::MigrateDatabase);
    flow.Next();
    view.serverName = "LABSRV";
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::DatabasePage);
    ASSERT_TRUE(view.databaseList.has_value());
    ASSERT_EQ(view.databaseList->size(), 2u);
    EXPECT_EQ((*view.databaseList)[1].name, "ChemDB");
    const auto connects = servers->connects();
    EXPECT_EQ(connects.back().server, "LABSRV");
    EXPECT_TRUE(connects.back().loginSecure);
    EXPECT_EQ(connects.back().loginTimeoutSeconds, 60);
    EXPECT_EQ(servers->liveConnections(), 0);
    EXPECT_EQ(view.top(), "Multi-User Database Setup");
    EXPECT_EQ(view.header(), "Provide the name of the multi-user database you want to create.");
    EXPECT_EQ(view.nextCaption, "&Next >");
}

TEST_F(TaskFlowTest, RebuildingOnThisComputerGoesToTheDatabasePage)
{
    toTasks(V::RebuildIndex);
    flow.Next();
    view.serverName = "(local)";
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::DatabasePage);
    EXPECT_EQ(view.top(), "Rebuild SQLServer Chemical Structure Index");
}

TEST_F(TaskFlowTest, AServerThatCannotBeReachedIsReportedAndTheServerPageStays)
{
    toTasks(V::RebuildIndex);
    flow.Next();
    view.serverName = "NOWHERE";
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::ServerPage);
    EXPECT_EQ(lastPrompt().title, "Error Clicking Next");
    EXPECT_EQ(lastPrompt().text, "Sorry, SQL Server \"NOWHERE\" does not exist or access denied");
}

// ---- a click that is still running -------------------------------------------------------------

TEST_F(TaskFlowTest, ClicksWhileTheServerIsAskedAreIgnoredNotQueued)
{
    toTasks(V::MigrateDatabase);
    int16_t pageDuringWait = -1;
    view.whileBlocking = [&] {
        EXPECT_TRUE(view.busy);
        EXPECT_TRUE(flow.IsBusy());
        flow.Next();
        flow.Back();
        flow.Done();
        pageDuringWait = flow.CurrentPage();
    };
    flow.Next();
    EXPECT_EQ(pageDuringWait, V::TaskPage);
    EXPECT_EQ(flow.CurrentPage(), V::ServerPage);
    EXPECT_EQ(operations.calls.size(), 1u);
    EXPECT_EQ(view.blockingCalls, 1);
    EXPECT_FALSE(view.closed);
    EXPECT_FALSE(view.busy);
    EXPECT_FALSE(flow.IsBusy());
}

TEST_F(TaskFlowTest, CancelIsAnsweredWhileTheServerIsAsked)
{
    toTasks(V::MigrateDatabase);
    view.whileBlocking = [&] { flow.Cancel(); };
    prompter.queueAnswer(MsgAnswer::Yes);
    flow.Next();
    EXPECT_EQ(lastPrompt().text, "Are you sure you want to exit Labfolio Multi-User Setup?");
    EXPECT_TRUE(view.closed);
}

TEST_F(TaskFlowTest, TheHourglassEndsOnEveryPathOfNext)
{
    toTasks(V::RebuildIndex);
    view.busyChanges.clear();
    flow.Next(); // to the server page
    flow.Next(); // refused: no server name
    view.serverName = "NOWHERE";
    flow.Next(); // error report
    EXPECT_EQ(view.busyChanges, (std::vector<bool>{true, false, true, false, true, false}));
}
