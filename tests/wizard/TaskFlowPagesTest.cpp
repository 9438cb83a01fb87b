#include "TaskFlowFixture.h"

#include "ServiceFile.h"

namespace {

using TaskFlowTest = TaskFlowFixture;

} // namespace

// ---- database page ------------------------------------------------------------------------

class DatabasePageTest : public TaskFlowFixture {
protected:
    void toDatabasePage(int32_t task)
    {
        toTasks(task);
        flow.Next();
        view.serverName = "LABSRV";
        flow.Next();
        ASSERT_EQ(flow.CurrentPage(), V::DatabasePage);
        prompter.clear();
    }
};

TEST_F(DatabasePageTest, AnEmptyNameIsRefused)
{
    toDatabasePage(V::MigrateDatabase);
    view.databaseName = "";
    flow.Next();
    expectInformation("Database Name", "Please provide the database name!");
    EXPECT_EQ(flow.CurrentPage(), V::DatabasePage);
}

TEST_F(DatabasePageTest, MigratingOntoAnExistingDatabaseAsksFirst)
{
    toDatabasePage(V::MigrateDatabase);
    view.databaseName = "ChemDB";
    prompter.queueAnswer(MsgAnswer::No);
    flow.Next();
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.shown()[0].text, "Are you sure you want to replace the database \"ChemDB\"?");
    EXPECT_EQ(prompter.shown()[0].title, "Database Setup");
    EXPECT_EQ(prompter.shown()[0].buttons, MsgButtons::YesNo);
    EXPECT_EQ(flow.CurrentPage(), V::DatabasePage);
    prompter.queueAnswer(MsgAnswer::Yes);
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::IndexLocationPage);
    EXPECT_EQ(view.top(), "Mst File Location");
}

TEST_F(DatabasePageTest, ANewOrDifferentlyCasedNameIsNotAskedAbout)
{
    toDatabasePage(V::MigrateDatabase);
    view.databaseName = "chemdb";
    flow.Next();
    EXPECT_TRUE(prompter.shown().empty());
    EXPECT_EQ(flow.CurrentPage(), V::IndexLocationPage);
}

TEST_F(DatabasePageTest, RebuildingAMissingDatabaseStaysAfterTheMessage)
{
    toDatabasePage(V::RebuildIndex);
    view.databaseName = "chemdb";
    flow.Next();
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.shown()[0].text, "The database chemdb does not exist.");
    EXPECT_EQ(prompter.shown()[0].title, "Database Setup");
    EXPECT_EQ(prompter.shown()[0].buttons, MsgButtons::OKCancel);
    EXPECT_EQ(flow.CurrentPage(), V::DatabasePage);

    view.databaseName = "ChemDB";
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::IndexLocationPage);
    EXPECT_EQ(view.top(), "Chemical Structure Index Location");
}

// ---- index location, service name, folders --------------------------------------------------

class IndexLocationTest : public DatabasePageTest {
protected:
    void SetUp() override
    {
        std::filesystem::create_directories(dir.path() / "share");
        toDatabasePage(V::MigrateDatabase);
        view.databaseName = "NewDB";
        flow.Next();
        ASSERT_EQ(flow.CurrentPage(), V::IndexLocationPage);
    }
};

TEST_F(IndexLocationTest, AnEmptyPathIsRefused)
{
    flow.Next();
    expectInformation("MST File Location", "Please provide a location to save the MST File!");
    EXPECT_EQ(flow.CurrentPage(), V::IndexLocationPage);
}

TEST_F(IndexLocationTest, APathWhoseFolderIsMissingIsRefused)
{
    view.indexPath = (dir.path() / "nowhere" / "index").string();
    flow.Next();
    expectInformation("MST File Location", "The specified folder to store the MST file does not exist.");
    view.indexPath = "index";
    prompter.clear();
    flow.Next();
    expectInformation("MST File Location", "The specified folder to store the MST file does not exist.");
}

TEST_F(IndexLocationTest, ATypedPathOfAnExistingFileIsAskedAboutAndABrowsedOneIsNot)
{
    view.indexPath = dir.write("share/Labfolio.mst", "index").string();
    prompter.queueAnswer(MsgAnswer::No);
    flow.Next();
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.shown()[0].text,
              "Are you sure you want to replace the file \"" + view.indexPath + "\"?");
    EXPECT_EQ(prompter.shown()[0].title, "Multi-User Database Setup");
    EXPECT_EQ(flow.CurrentPage(), V::IndexLocationPage);

    view.browseClicked = true;
    flow.Next();
    EXPECT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(flow.CurrentPage(), V::ServiceNamePage);
}

TEST_F(IndexLocationTest, TheServiceNameIsPresetFromTheDatabaseOnlyWhenEmpty)
{
    view.indexPath = (dir.path() / "share").string() + "/";
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::ServiceNamePage);
    EXPECT_EQ(view.serviceName, "NewDB");
    EXPECT_EQ(view.top(), "Service Name");

    flow.Back();
    EXPECT_EQ(view.serviceName, "");
    view.serviceName = "Chemistry";
    flow.Next();
    EXPECT_EQ(view.serviceName, "Chemistry");
}

TEST_F(IndexLocationTest, BackFromTheServiceNameKeepsANameTheUserTyped)
{
    view.indexPath = (dir.path() / "share" / "index").string();
    flow.Next();
    view.serviceName = "Chemistry";
    flow.Back();
    EXPECT_EQ(flow.CurrentPage(), V::IndexLocationPage);
    EXPECT_EQ(view.serviceName, "Chemistry");
}

TEST_F(IndexLocationTest, ServiceNameThenBackupFolderThenSummary)
{
    view.indexPath = (dir.path() / "share" / "index").string();
    flow.Next();
    view.serviceName = "";
    flow.Next();
    expectInformation("Service Name", "Please provide a service name.");
    view.serviceName = "Chemistry";
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::BackupFolderPage);
    EXPECT_EQ(view.top(), "Backup Folder Location");

    prompter.clear();
    flow.Next();
    expectInformation("Backup Folder", "Please provide a location for the backup file.");
    view.backupFolder = (dir.path() / "missing").string();
    prompter.clear();
    flow.Next();
    expectInformation("Backup Folder", "The folder \"" + view.backupFolder + "\" does not exist.");
    view.backupFolder = (dir.path() / "share").string();
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::SummaryPage);
    EXPECT_EQ(view.shownComponent, V::SummaryPage);
    EXPECT_EQ(view.top(), "Ready to Migrate Database");
    EXPECT_EQ(view.header(), "Click Migrate to migrate the database as specified.");
    EXPECT_EQ(view.bottom(), "You specified the following parameters:");
    EXPECT_EQ(view.nextCaption, "&Migrate");
    ASSERT_TRUE(view.migrationSummary.has_value());
    EXPECT_EQ(view.migrationSummary->SrcServerName, "PC1\\VELDRIN");
    EXPECT_EQ(view.migrationSummary->SrcDBName, "LFDesktop10");
    EXPECT_EQ(view.migrationSummary->TargetServerName, "LABSRV");
    EXPECT_EQ(view.migrationSummary->TargetDBName, "NewDB");
    EXPECT_EQ(view.migrationSummary->SrcMSTFilePath, dataFolder() + "/Labfolio.mst");
    EXPECT_EQ(view.migrationSummary->ServiceName, "Chemistry");
    EXPECT_EQ(view.migrationSummary->BackupFilePath, view.backupFolder + "/NewDB.bak");
    flow.Back();
    EXPECT_EQ(flow.CurrentPage(), V::BackupFolderPage);
}

TEST_F(IndexLocationTest, TheServiceFolderPageCheckedAndLeftByTheServersPlace)
{
    view.indexPath = (dir.path() / "share" / "index").string();
    flow.Next();
    flow.ShowServiceFolderPage();
    EXPECT_EQ(view.top(), "Service Folder Location");
    flow.Next();
    expectInformation("Service Folder", "Please provide a location for the service files.");
    view.serviceFolder = (dir.path() / "missing").string();
    prompter.clear();
    flow.Next();
    expectInformation("Service Folder", "The folder \"" + view.serviceFolder + "\" does not exist.");
    view.serviceFolder = (dir.path() / "share").string();
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::BackupFolderPage);

    view.serverName = "(local)";
    flow.ShowServiceFolderPage();
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::SummaryPage);
    EXPECT_EQ(view.migrationSummary->BackupFilePath, "(local path)");
    EXPECT_EQ(view.migrationSummary->UDLPath, view.serviceFolder + "/NewDB.udl");
    // Back from the summary goes to the service folder for a local server, though the way
    // forward does not pass it.
    flow.Back();
    EXPECT_EQ(flow.CurrentPage(), V::ServiceFolderPage);
    flow.Back();
    EXPECT_EQ(flow.CurrentPage(), V::ServiceNamePage);
}

// ---- service file ----------------------------------------------------------------------------

class ServiceFileTest : public TaskFlowFixture {
protected:
    void SetUp() override
    {
        toTasks(V::ConnectService);
        flow.Next();
        ASSERT_EQ(flow.CurrentPage(), V::ServiceFilePage);
    }
};

TEST_F(ServiceFileTest, AnEmptyPathIsRefused)
{
    flow.Next();
    expectInformation("Service File Path", "Please provide a location to the service file!");
}

TEST_F(ServiceFileTest, AFileThatIsNotXmlIsRefusedWithTheParsersReason)
{
    view.serviceFile = dir.write("broken.lfsvc", "<service><name>Chem</service>").string();
    const engine::ServiceFileCheck check = engine::CheckServiceFile(view.serviceFile);
    ASSERT_FALSE(check.reason.empty());
    flow.Next();
    expectInformation("Service File Path",
                      "The file \"" + view.serviceFile + "\" is not a wellformed XML file (" + check.reason + ").");
    EXPECT_EQ(flow.CurrentPage(), V::ServiceFilePage);
}

TEST_F(ServiceFileTest, AMissingFileIsNotWellformed)
{
    view.serviceFile = (dir.path() / "none.lfsvc").string();
    flow.Next();
    EXPECT_EQ(
        lastPrompt().text.rfind("The file \"" + view.serviceFile + "\" is not a wellformed XML file (", 0),
        0u);
}

TEST_F(ServiceFileTest, ARootOtherThanLowerCaseServiceIsNotRecognized)
{
    view.serviceFile = dir.write("upper.lfsvc", "<Service><name>Chem</name></Service>").string();
    flow.Next();
    expectInformation("Service File Path",
                      "The file \"" + view.serviceFile + "\" is not a recognized service file.");
    EXPECT_EQ(flow.CurrentPage(), V::ServiceFilePage);
}

TEST_F(ServiceFileTest, AServiceFileLeadsToTheSummaryNamingIt)
{
    view.serviceFile =
        dir.write("Chem.lfsvc", "<?xml version=\"1.0\"?><service><name>Chem</name></service>").string();
    flow.Next();
    EXPECT_TRUE(prompter.shown().empty());
    EXPECT_EQ(flow.CurrentPage(), V::SummaryPage);
    EXPECT_EQ(view.top(), "Ready to Create Connection To Service");
    EXPECT_EQ(view.bottom(), "Service File: " + view.serviceFile);
    EXPECT_EQ(view.nextCaption, "C&reate");
    flow.Back();
    EXPECT_EQ(flow.CurrentPage(), V::ServiceFilePage);
}

// ---- rebuild summary, Back table, dead notice ------------------------------------------------

TEST_F(TaskFlowTest, TheRebuildSummaryShowsServerDatabaseAndFolder)
{
    toSummary(V::RebuildIndex);
    EXPECT_EQ(view.top(), "Ready to Build the MST File");
    EXPECT_EQ(view.header(), "Click Build to Build the MST File as specified.");
    EXPECT_EQ(view.nextCaption, "&Build");
    EXPECT_EQ(view.indexSummary, (std::vector<std::string>{"LABSRV", "ChemDB", view.indexPath}));
    EXPECT_EQ(view.shownComponent, V::SummaryPage);
    flow.Back();
    EXPECT_EQ(flow.CurrentPage(), V::IndexLocationPage);
    flow.Back();
    EXPECT_EQ(flow.CurrentPage(), V::DatabasePage);
    flow.Back();
    EXPECT_EQ(flow.CurrentPage(), V::ServerPage);
    flow.Back();
    EXPECT_EQ(flow.CurrentPage(), V::TaskPage);
}

TEST_F(TaskFlowTest, BackFromTheOfflineSummariesGoesToTheTaskPage)
{
    for (int32_t task : {V::ConnectDesktop, V::CreateOffline, V::RemoveOffline}) {
        view.task = task;
        flow.ShowSummaryPage();
        flow.Back();
        EXPECT_EQ(flow.CurrentPage(), V::TaskPage) << task;
    }
}

TEST_F(TaskFlowTest, TheDeadNoticePageLeadsForwardToTheFinishedPageAndBackToTheDatabase)
{
    toTasks(V::MigrateDatabase);
    flow.EnterLocalDatabaseNotice();
    flow.Back();
    EXPECT_EQ(flow.CurrentPage(), V::DatabasePage);

    flow.EnterLocalDatabaseNotice();
    flow.Next();
    EXPECT_EQ(flow.CurrentPage(), V::FinishedPage);
    EXPECT_EQ(view.top(), "Wizard Completed");
    EXPECT_EQ(view.header(),
              "The Connection wizard has successfully updated the Labfolio Workgroup. Click Finish "
              "to exit the wizard.");
    EXPECT_TRUE(view.visible[Button::Done]);
    for (Button b : {Button::Next, Button::Back, Button::Cancel})
        EXPECT_FALSE(view.visible[b]);
}
