// Every task through the real window, clicking Next as a person would, against the SQL Server
// stand-in: connecting to a service or back to the desktop, creating and removing the
// offline database.
#include "WindowE2eFixture.h"

#include "DataLinkFile.h"
#include "SharedServiceFiles.h"
#include "ServiceList.h"

#include <fstream>

namespace fs = std::filesystem;

// ---- connect to an existing service ----------------------------------------------------------

TEST_F(WindowE2e, ConnectingToAServiceInstallsItsFilesAndEndsOnItsResult)
{
    const fs::path share = dir.path() / "share";
    const std::string service = WriteSharedService(share);

    choose("mConnectOption");
    next();
    ASSERT_EQ(window->CurrentPage(), frmInstall::ServiceFilePage);
    window->findChild<QLineEdit*>("mServiceFileLocationTextBox")->setText(QString::fromStdString(service));
    next();
    ASSERT_EQ(window->CurrentPage(), frmInstall::SummaryPage);
    EXPECT_EQ(text("lblTop"), "Ready to Create Connection To Service");
    EXPECT_EQ(text("lblBottom"), "Service File: " + service);
    next();

    expectResultPage();
    EXPECT_EQ(text("lblTop"), "Connection Completed");
    EXPECT_EQ(text("lblHeader"), "");
    EXPECT_EQ(text("lblBottom"),
              "To connect to the service, run the Labfolio program and choose the service from the "
              "list of Labfolio services that appears in the Login dialog box.");
    const auto entries =
        engine::ServiceList::Load((appData() / "LFClientConfig.xml").string(), "Test").entries();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].name, "Chemistry Lab");
    EXPECT_TRUE(fs::exists(appData() / "LabDataConfig.xml"));
    EXPECT_TRUE(fs::exists(appData() / "LabData.udl"));
    EXPECT_TRUE(prompter.shown().empty());
    finishCloses();
}

TEST_F(WindowE2e, AServiceFileWhoseServerConfigurationIsMissingEndsOnTheConnectionError)
{
    const fs::path share = dir.path() / "share";
    const std::string service = WriteSharedService(share, SharedService::WithoutServerConfiguration);

    choose("mConnectOption");
    next();
    window->findChild<QLineEdit*>("mServiceFileLocationTextBox")->setText(QString::fromStdString(service));
    next();
    ASSERT_EQ(window->CurrentPage(), frmInstall::SummaryPage);
    next();

    expectResultPage();
    EXPECT_EQ(text("lblTop"), "Connection Creation Aborted");
    EXPECT_EQ(text("lblHeader"), "");
    EXPECT_EQ(text("lblBottom"), "Sorry, the server configuration file \"" +
                                     (share / "LabDataConfig.xml").string() + "\" does not exist.");
    EXPECT_FALSE(fs::exists(appData() / "LFClientConfig.xml"));
    finishReturnsToTheTaskPicker(2);
}

// ---- connect back to the desktop database ----------------------------------------------------

TEST_F(WindowE2e, ConnectingToTheDesktopAddsTheDesktopServiceAndEndsOnItsResult)
{
    toSummary("mConnectDesktopOption");
    EXPECT_EQ(text("lblTop"), "Ready to Create Connection To Your Database");
    next();

    expectResultPage();
    EXPECT_EQ(text("lblTop"), "Connection Completed");
    EXPECT_EQ(text("lblHeader"),
              "The Multi-User Setup wizard has successfully created a connection to your local database. "
              "Click Finish to exit the wizard.");
    EXPECT_EQ(text("lblBottom"), "");
    const auto entries =
        engine::ServiceList::Load((appData() / "LFClientConfig.xml").string(), "Test").entries();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].name, "Desktop");
    finishCloses();
}

TEST_F(WindowE2e, ADamagedServiceListEndsOnTheConnectionErrorAndIsKept)
{
    fs::create_directories(appData());
    const std::string damaged = "<services><service><name>Mine</name></service";
    {
        std::ofstream(appData() / "LFClientConfig.xml") << damaged;
    }
    toSummary("mConnectDesktopOption");
    next();

    expectResultPage();
    EXPECT_EQ(text("lblTop"), "Connection Creation Aborted");
    EXPECT_EQ(text("lblBottom"), "Sorry, the service list \"" + (appData() / "LFClientConfig.xml").string() +
                                     "\" cannot be read (Error parsing end element tag at offset 44); it has "
                                     "been left as it is, repair or remove it and try again.");
    std::ifstream in(appData() / "LFClientConfig.xml");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), damaged);
    finishReturnsToTheTaskPicker(3);
}

// ---- offline database ------------------------------------------------------------------------

TEST_F(WindowE2e, CreatingTheOfflineDatabaseRunsTheScriptGrantsAndEndsOnItsResult)
{
    ASSERT_EQ(databases().count("LFOffline9"), 0u);
    toSummary("mCreateOfflineOption");
    EXPECT_EQ(text("lblTop"), "Ready to Create Your Offline Database");
    EXPECT_EQ(button("cmdNext")->text(), "C&reate");
    next();

    expectResultPage();
    EXPECT_EQ(text("lblTop"), "Database Creation Completed");
    EXPECT_EQ(text("lblHeader"),
              "The Multi-User Setup wizard has successfully created your offline database. Click Finish "
              "to exit the wizard.");
    EXPECT_EQ(text("lblBottom"), "");
    EXPECT_EQ(databases().count("LFOffline9"), 1u);
    EXPECT_EQ(machine.sa("VELDRIN", "LFOffline9")
                  ->scalar("SELECT COUNT(*) FROM sys.database_principals WHERE name = 'OfflineUsers'")
                  .toInt(),
              1);
    const auto lines = engine::ReadDataLinkFileLines(appData() / "LFOffline9.udl", "Test");
    EXPECT_NE(lines.back().find("Data Source=" + clientHostName() + "\\VELDRIN"), std::string::npos);
    EXPECT_TRUE(prompter.shown().empty());
    finishCloses();
}

TEST_F(WindowE2e, AServerThatStopsBeforeCreateEndsOnTheOfflineError)
{
    toSummary("mCreateOfflineOption");
    machine.server.stop();
    next();

    expectResultPage();
    EXPECT_EQ(text("lblTop"), "Error on Setup Offine Database:");
    EXPECT_EQ(text("lblHeader"), "");
    EXPECT_EQ(text("lblBottom"), "Sorry, there are no local SQLServer or MSDE instances installed.");
    EXPECT_FALSE(fs::exists(appData() / "LFOffline9.udl"));
    finishReturnsToTheTaskPicker(4);
}

TEST_F(WindowE2e, RemovingTheOfflineDatabaseDropsItAndEndsOnItsResult)
{
    toSummary("mCreateOfflineOption");
    next();
    ASSERT_EQ(text("lblTop"), "Database Creation Completed");
    ASSERT_EQ(databases().count("LFOffline9"), 1u);
    // Start again, as a user would who runs the wizard a second time.
    window = std::make_unique<frmInstall>(prompter);
    window->show();
    next();

    choose("mRemoveOfflineOption");
    prompter.queueAnswer(MsgAnswer::Yes);
    next();
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.shown()[0].text, "Are you sure you want to replace the offline database?");
    ASSERT_EQ(window->CurrentPage(), frmInstall::SummaryPage);
    EXPECT_EQ(text("lblTop"), "Ready to Remove Your Offline Database");
    EXPECT_EQ(button("cmdNext")->text(), "&Remove");
    next();

    expectResultPage();
    EXPECT_EQ(text("lblTop"), "Offline Database Removal Completed");
    EXPECT_EQ(text("lblHeader"), "The offline database has been removed. Click Finish to exit the wizard.");
    EXPECT_EQ(databases().count("LFOffline9"), 0u);
    EXPECT_FALSE(fs::exists(appData() / "LFOffline9.udl"));
    finishCloses();
}

TEST_F(WindowE2e, RemovingWhenThereIsNoOfflineDatabaseSaysSo)
{
    toSummary("mRemoveOfflineOption");
    next();
    expectResultPage();
    EXPECT_EQ(text("lblTop"), "Offline Database Does Not Exist");
    EXPECT_EQ(text("lblHeader"), "Click Finish to exit the wizard.");
    finishCloses();
}

TEST_F(WindowE2e, AServerThatStopsBeforeRemoveEndsOnTheRemovalError)
{
    toSummary("mRemoveOfflineOption");
    machine.server.stop();
    next();

    expectResultPage();
    EXPECT_EQ(text("lblTop"), "Offine Database Removal Aborted:");
    EXPECT_EQ(text("lblBottom"), "Sorry, there are no local SQLServer or MSDE instances installed.");
    finishReturnsToTheTaskPicker(6);
}
