// Every task through the real window, clicking Next as a person would, against the SQL Server
// stand-in through unixODBC and FreeTDS: this computer's desktop instance VELDRIN, seeded with
// the desktop database, and the project's osql tool on PATH.
#include "DataLinkFile.h"
#include "LfError.h"
#include "RegistryFixture.h"
#include "ScriptedPrompter.h"
#include "ServerConfigFile.h"
#include "ServiceFile.h"
#include "ServiceList.h"
#include "TaskPickerCtl.h"
#include "TempDir.h"
#include "WizardPage.h"
#include "frmInstall.h"
#include "sqlserver_E2eSupport.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

namespace fs = std::filesystem;

namespace {

// The registry of a workstation with the desktop instance, the product and the chemistry
// component installed, and the shared application-data folder in the test's folder.
std::string machineRegistry(const fs::path& root)
{
    std::string folder = (root / "appdata").string();
    std::string escaped;
    for (char c : folder)
        escaped += c == '\\' ? std::string("\\\\") : std::string(1, c);
    return regtext::installedInstances({"VELDRIN"}) + regtext::kProductKey + regtext::kChemistryKey +
           "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell "
           "Folders]\r\n\"Common AppData\"=\"" +
           escaped + "\"\r\n\r\n";
}

// The user of the desktop database, in the form the wizard's caller account takes.
std::string desktopUser()
{
    return clientHostName() + "\\alice";
}

// This computer's desktop instance, seeded with the desktop database and its user.
StandinServer::Instance desktopInstance()
{
    auto instance = StandinMachine::instance("VELDRIN", clientHostName());
    instance.seedArguments = {"--user", desktopUser() + ":admin"};
    return instance;
}

// The multi-user server on another machine (it names itself by the loopback address, which
// this computer reaches).
StandinServer::Instance multiUserInstance()
{
    return StandinMachine::instance("MULTIUSER", "127.0.0.1");
}

class WindowE2e : public ::testing::Test {
protected:
    explicit WindowE2e(std::vector<StandinServer::Instance> instances = {desktopInstance()},
                       int progressStepMillis = 50)
        : machine(std::move(instances), progressStepMillis), registry(machineRegistry(dir.path())),
          path("PATH", std::string(OSQL_DIR) + ":" + (std::getenv("PATH") ? std::getenv("PATH") : ""))
    {
        // The tool runs in a process of its own, where this computer has its real name.
        machine.system->computer = clientHostName();
        machine.system->user = desktopUser();
        window = std::make_unique<frmInstall>(prompter);
        window->show();
        next();
    }

    QPushButton* button(const char* name) { return window->findChild<QPushButton*>(name); }
    void type(const char* box, const std::string& text)
    {
        window->findChild<QLineEdit*>(box)->setText(QString::fromStdString(text));
    }
    void typeIn(const char* comboBox, const std::string& text)
    {
        window->findChild<QComboBox*>(comboBox)->setEditText(QString::fromStdString(text));
    }
    std::string text(const char* label) { return window->findChild<QLabel*>(label)->text().toStdString(); }
    void next() { QTest::mouseClick(button("cmdNext"), Qt::LeftButton); }
    void choose(const char* option)
    {
        QTest::mouseClick(window->taskPickerPage()->findChild<QRadioButton*>(option), Qt::LeftButton);
    }
    // From the task picker to the task's summary, for the tasks whose next page is the summary.
    void toSummary(const char* option)
    {
        choose(option);
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::SummaryPage);
    }

    fs::path appData() const { return dir.path() / "appdata" / "Labfolio 10.0"; }
    std::set<std::string> databases()
    {
        std::set<std::string> names;
        for (const auto& row : machine.sa("VELDRIN")->query("SELECT name FROM sys.databases"))
            names.insert(row.at(0).toText());
        return names;
    }

    // Only Finish is offered, the pages are gone.
    void expectResultPage()
    {
        EXPECT_EQ(window->CurrentPage(), frmInstall::ProgressPage);
        EXPECT_TRUE(button("cmdDone")->isVisible());
        EXPECT_TRUE(button("cmdDone")->isDefault());
        for (const char* hidden : {"cmdNext", "cmdBack", "cmdCancel"})
            EXPECT_FALSE(button(hidden)->isVisible()) << hidden;
        for (WizardPage* page : window->pages())
            EXPECT_FALSE(page->isVisible()) << page->objectName().toStdString();
    }

    // Finish after a success closes the window.
    void finishCloses()
    {
        QTest::mouseClick(button("cmdDone"), Qt::LeftButton);
        EXPECT_FALSE(window->isVisible());
    }

    // Finish after an error leads back to the task picker with the task still chosen.
    void finishReturnsToTheTaskPicker(int32_t task)
    {
        QTest::mouseClick(button("cmdDone"), Qt::LeftButton);
        EXPECT_TRUE(window->isVisible());
        EXPECT_EQ(window->CurrentPage(), frmInstall::TaskPage);
        EXPECT_TRUE(window->taskPickerPage()->isVisible());
        EXPECT_EQ(window->taskPickerPage()->Task(), task);
        EXPECT_EQ(button("cmdNext")->text(), "&Next >");
        EXPECT_TRUE(button("cmdBack")->isEnabled());
        EXPECT_TRUE(button("cmdCancel")->isVisible());
        EXPECT_FALSE(button("cmdDone")->isVisible());
    }

    TempDir dir;
    StandinMachine machine;
    RegistryFixture registry;
    ScopedEnv path;
    ScriptedPrompter prompter;
    std::unique_ptr<frmInstall> window;
};

} // namespace

// ---- migrate the desktop database to a multi-user server --------------------------------------

class MigrationWindowE2e : public WindowE2e {
protected:
    explicit MigrationWindowE2e(int progressStepMillis = 50)
        : WindowE2e({desktopInstance(), multiUserInstance()}, progressStepMillis)
    {
        fs::create_directories(appData());
        for (const char* ext : {"mst", "msx", "mss", "msk", "msf"})
            dir.write(std::string("appdata/Labfolio 10.0/Labfolio.") + ext, std::string(50000, ext[2]));
        fs::create_directories(dir.path() / "share" / "index");
        fs::create_directories(dir.path() / "share" / "backup");
    }

    // From the task picker to the migration summary, page by page.
    void toMigrationSummary()
    {
        choose("mServeDatabaseOption");
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::ServerPage) << prompterText();
        typeIn("cmbServerList", "127.0.0.1\\MULTIUSER");
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::DatabasePage) << prompterText();
        typeIn("cmbDatabase", "Labfolio");
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::IndexLocationPage) << prompterText();
        type("mMSTFileLocationTextBox", index().string());
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::ServiceNamePage) << prompterText();
        EXPECT_EQ(window->findChild<QLineEdit*>("Text1")->text(), "Labfolio");
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::BackupFolderPage) << prompterText();
        type("mBackupDirectoryTextBox", backup().string());
        next();
        ASSERT_EQ(window->CurrentPage(), frmInstall::SummaryPage) << prompterText();
        EXPECT_EQ(text("lblTop"), "Ready to Migrate Database");
        EXPECT_EQ(button("cmdNext")->text(), "&Migrate");
    }

    std::string prompterText() const { return prompter.shown().empty() ? "" : prompter.shown().back().text; }
    fs::path index() const { return dir.path() / "share" / "index"; }
    fs::path backup() const { return dir.path() / "share" / "backup"; }
};

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

class SlowMigrationWindowE2e : public MigrationWindowE2e {
protected:
    SlowMigrationWindowE2e() : MigrationWindowE2e(300) {}
};

TEST_F(SlowMigrationWindowE2e, StopDuringTheBackupEndsOnTheMigrationError)
{
    toMigrationSummary();
    // The user presses Stop once the backup has begun to report.
    QTimer stopper;
    QObject::connect(&stopper, &QTimer::timeout, [&] {
        if (window->findChild<QLabel*>("mMessageLabel")->text().contains("percent processed")) {
            QTest::mouseClick(window->findChild<QPushButton*>("mStopButton"), Qt::LeftButton);
            stopper.stop();
        }
    });
    stopper.start(20);
    next();

    expectResultPage();
    EXPECT_EQ(text("lblTop"), "Migration Aborted");
    EXPECT_EQ(text("lblHeader"), "");
    EXPECT_EQ(text("lblBottom"), "Sorry, The backup or restore was aborted. Operation was cancelled. BACKUP "
                                 "DATABASE is terminating abnormally.");
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
        if (window->findChild<QLabel*>("mMessageLabel")->text().contains("percent processed")) {
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

// ---- connect to an existing service ----------------------------------------------------------

TEST_F(WindowE2e, ConnectingToAServiceInstallsItsFilesAndEndsOnItsResult)
{
    const fs::path share = dir.path() / "share";
    fs::create_directories(share);
    const std::string service = (share / "Chemistry Lab.lfsvc").string();
    engine::WriteServiceFile(service, "Chemistry Lab", "Client/Server",
                             (share / "LabDataConfig.xml").string(), "Test");
    engine::WriteServerConfigFile((share / "LabDataConfig.xml").string(), (share / "LabData.udl").string(),
                                  (share / "Labfolio.mst").string(), "Test");
    engine::WriteDataLinkFileFor(share / "LabData.udl", "LABSRV", "LabData", "Test");

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
    fs::create_directories(share);
    const std::string service = (share / "Chemistry Lab.lfsvc").string();
    engine::WriteServiceFile(service, "Chemistry Lab", "Client/Server",
                             (share / "LabDataConfig.xml").string(), "Test");

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
