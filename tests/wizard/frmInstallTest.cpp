#include "BackupDirectoryCtl.h"
#include "DBMigrateUpdateCtl.h"
#include "FakeServerManager.h"
#include "LfError.h"
#include "MSTFileUpdateCtl.h"
#include "RegistryFixture.h"
#include "SQLDatabaseCtl.h"
#include "SQLServerCtl.h"
#include "ScriptedPrompter.h"
#include "ServiceNameCtl.h"
#include "TaskPickerCtl.h"
#include "WelcomeCtl.h"
#include "WizardPage.h"
#include "TaskFlow.h"
#include "frmInstall.h"

#include <QApplication>
#include <QComboBox>
#include <QFontMetrics>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <gtest/gtest.h>

namespace {

class FrameTest : public ::testing::Test {
protected:
    explicit FrameTest(std::string reg = std::string(regtext::kHeader) + regtext::kInstancesMssqlVeldrin +
                                         regtext::kProductKey + regtext::kChemistryKey)
        : registry(reg)
    {
        window = std::make_unique<frmInstall>(prompter);
        window->show();
    }

    template <class T = QWidget>
    T* child(const char* name)
    {
        auto* w = window->findChild<T*>(name);
        EXPECT_NE(w, nullptr) << name;
        return w;
    }

    int visiblePages()
    {
        int n = 0;
        for (WizardPage* p : window->pages())
            n += p->isVisible();
        return n;
    }

    // No test of the frame reaches a real network.
    std::shared_ptr<FakeServerManager> servers = std::make_shared<FakeServerManager>();
    sqlserver::ScopedServerManagerOverride serverOverride{servers};
    RegistryFixture registry;
    ScriptedPrompter prompter;
    std::unique_ptr<frmInstall> window;
};

}  // namespace

TEST_F(FrameTest, StartsOnTheWelcomePageWithBackDisabledAndFinishAndBottomNoteHidden)
{
    EXPECT_EQ(window->CurrentPage(), frmInstall::WelcomePage);
    EXPECT_TRUE(window->welcomePage()->isVisible());
    EXPECT_FALSE(child<QPushButton>("cmdBack")->isEnabled());
    EXPECT_FALSE(child<QPushButton>("cmdDone")->isVisible());
    EXPECT_FALSE(child<QLabel>("lblBottom")->isVisible());
    EXPECT_FALSE(child("Frame1")->isVisible());
    EXPECT_FALSE(child("Line1")->isVisible());
    EXPECT_FALSE(child("Line2")->isVisible());
    EXPECT_TRUE(child("Image1")->isVisible());
    EXPECT_EQ(visiblePages(), 1);
}

TEST_F(FrameTest, CaptionsOfTheButtonsAndTheWindow)
{
    EXPECT_EQ(child<QPushButton>("cmdBack")->text(), "< &Back");
    EXPECT_EQ(child<QPushButton>("cmdNext")->text(), "Next >");
    EXPECT_EQ(child<QPushButton>("cmdCancel")->text(), "&Cancel");
    EXPECT_EQ(child<QPushButton>("cmdDone")->text(), "Finish");
    EXPECT_FALSE(window->windowTitle().isEmpty());
}

TEST_F(FrameTest, NextShowsTheTaskPickerAndBackReturns)
{
    QTest::mouseClick(child<QPushButton>("cmdNext"), Qt::LeftButton);
    EXPECT_EQ(window->CurrentPage(), frmInstall::TaskPage);
    EXPECT_TRUE(window->taskPickerPage()->isVisible());
    EXPECT_FALSE(window->welcomePage()->isVisible());
    EXPECT_EQ(visiblePages(), 1);
    EXPECT_TRUE(child<QPushButton>("cmdBack")->isEnabled());
    EXPECT_EQ(child<QLabel>("lblTop")->text(), "Setup Tasks");
    EXPECT_EQ(child<QLabel>("lblHeader")->text(), "Select the task you want to perform.");
    EXPECT_TRUE(child<QLabel>("lblBottom")->isVisible());
    EXPECT_TRUE(child<QLabel>("lblBottom")->text().isEmpty());
    EXPECT_TRUE(child("Frame1")->isVisible());
    EXPECT_TRUE(child("Line1")->isVisible());
    EXPECT_FALSE(child("Image1")->isVisible());
    EXPECT_EQ(child<QPushButton>("cmdNext")->text(), "Next >");

    QTest::mouseClick(child<QPushButton>("cmdBack"), Qt::LeftButton);
    EXPECT_EQ(window->CurrentPage(), frmInstall::WelcomePage);
    EXPECT_TRUE(window->welcomePage()->isVisible());
    EXPECT_EQ(visiblePages(), 1);
    EXPECT_FALSE(child<QPushButton>("cmdBack")->isEnabled());
    EXPECT_FALSE(child<QLabel>("lblTop")->isVisible());
    EXPECT_FALSE(child<QLabel>("lblHeader")->isVisible());
    EXPECT_FALSE(child<QLabel>("lblBottom")->isVisible());
}

TEST_F(FrameTest, TheTaskPickerKeepsItsSelectionWhenTheUserComesBack)
{
    window->cmdNext_Click();
    QTest::mouseClick(window->taskPickerPage()->findChild<QRadioButton*>("mConnectOption"), Qt::LeftButton);
    window->cmdBack_Click();
    window->cmdNext_Click();
    EXPECT_EQ(window->taskPickerPage()->Task(), 2);
}

TEST_F(FrameTest, ResizingKeepsPagesInTheirRectangleAndClearOfTheButtons)
{
    window->cmdNext_Click();
    for (QSize size : {QSize(560, 380), QSize(900, 700), QSize(660, 450)}) {
        window->resize(size);
        QApplication::processEvents();
        const QRect page = window->taskPickerPage()->geometry();
        EXPECT_EQ(page, window->pageRect());
        const QRect bottom = child("lblBottom")->geometry();
        EXPECT_LE(page.bottom(), bottom.top());
        for (const char* b : {"cmdBack", "cmdNext", "cmdCancel", "cmdDone"})
            EXPECT_FALSE(page.intersects(child(b)->geometry())) << b;
        EXPECT_LE(bottom.bottom(), child("Line2")->geometry().top());
        EXPECT_GE(page.top(), child("Line1")->geometry().bottom());
        // Image2 at the right edge, the title ending where it begins.
        EXPECT_EQ(child("Image2")->geometry().right(), window->width() - 1);
        EXPECT_EQ(child("lblTop")->geometry().right() + 1, child("Image2")->x());
        EXPECT_EQ(child("Image1")->width(), child("Image2")->width());
    }
    window->cmdBack_Click();
    const QRect welcome = window->welcomePage()->geometry();
    EXPECT_EQ(welcome.left(), child("Image1")->width() + 10);
    EXPECT_LE(welcome.bottom(), child("Line2")->geometry().top());
}

TEST(FrameLoad, TheBottomNoteStartsFourLinesOfTheWindowsFontHigh)
{
    RegistryFixture registry(regtext::kHeader);
    auto servers = std::make_shared<FakeServerManager>();
    sqlserver::ScopedServerManagerOverride serverOverride{servers};
    ScriptedPrompter prompter;
    const QFont before = QApplication::font();
    QFont large = before;
    large.setPixelSize(40);
    QApplication::setFont(large);
    frmInstall window(prompter); // not shown: no layout has run yet
    QApplication::setFont(before);

    const auto* note = window.findChild<QLabel*>("lblBottom");
    const int windowLine = QFontMetrics(window.font()).boundingRect("My").height();
    ASSERT_NE(windowLine, QFontMetrics(note->font()).boundingRect("My").height())
        << "the note's own font must differ for this test to tell them apart";
    EXPECT_EQ(note->height(), (windowLine + 1) * 4);
}

TEST_F(FrameTest, TheBottomNoteIsAsTallAsItsTextAndThePagesEndAboveIt)
{
    window->flow().ShowBackupFolderPage();
    QApplication::processEvents();
    auto* note = child<QLabel>("lblBottom");
    ASSERT_TRUE(note->text().startsWith("NOTE: The location of the backup file"));
    for (int width : {900, 560, 660}) {
        window->resize(width, 450);
        QApplication::processEvents();
        EXPECT_EQ(note->height(), note->heightForWidth(note->width())) << width;
        EXPECT_LE(window->backupFolderPage()->geometry().bottom(), note->geometry().top()) << width;
        EXPECT_LE(note->geometry().bottom(), child("Line2")->geometry().top()) << width;
    }
    const int lines = note->height();

    // Another page's note, without a resize: the note and the page follow the new text.
    window->flow().ShowServiceNamePage();
    QApplication::processEvents();
    ASSERT_TRUE(note->text().startsWith("The Service Name appears"));
    EXPECT_EQ(note->height(), note->heightForWidth(note->width()));
    EXPECT_LT(note->height(), lines) << "one sentence takes fewer lines than the backup note";
    EXPECT_LE(window->serviceNamePage()->geometry().bottom(), note->geometry().top());
}

TEST_F(FrameTest, CancelAsksAndNoKeepsTheWindow)
{
    prompter.queueAnswer(MsgAnswer::No);
    QTest::mouseClick(child<QPushButton>("cmdCancel"), Qt::LeftButton);
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.shown()[0].text, "Are you sure you want to exit Labfolio Multi-User Setup?");
    EXPECT_EQ(prompter.shown()[0].title, "Labfolio Multi-User Setup");
    EXPECT_EQ(prompter.shown()[0].buttons, MsgButtons::YesNo);
    EXPECT_TRUE(window->isVisible());
}

TEST_F(FrameTest, CancelYesClosesTheWindow)
{
    window->cmdNext_Click();
    prompter.queueAnswer(MsgAnswer::Yes);
    window->cmdCancel_Click();
    EXPECT_FALSE(window->isVisible());
}

TEST_F(FrameTest, FinishClosesTheWindow)
{
    window->cmdDone_Click();
    EXPECT_FALSE(window->isVisible());
}

TEST_F(FrameTest, TitleFontIsBoldAndOnePointLargerThanTheHeader)
{
    const QFont top = child("lblTop")->font();
    const QFont header = child("lblHeader")->font();
    EXPECT_TRUE(top.bold());
    EXPECT_FALSE(header.bold());
    EXPECT_EQ(top.pointSize(), header.pointSize() + 1);
}

class FrameWithoutEngine : public FrameTest {
protected:
    FrameWithoutEngine() : FrameTest(regtext::kHeader) {}
};

TEST_F(FrameWithoutEngine, TaskPickerOffersWhatTheRegistryAllows)
{
    window->cmdNext_Click();
    auto* picker = window->taskPickerPage();
    EXPECT_EQ(picker->Task(), 2);
    EXPECT_FALSE(picker->findChild<QRadioButton*>("mServeDatabaseOption")->isEnabled());
    EXPECT_FALSE(picker->findChild<QRadioButton*>("mRebuildMolIDsOption")->isEnabled());
    EXPECT_TRUE(picker->findChild<QRadioButton*>("mConnectOption")->isChecked());
}

TEST_F(FrameWithoutEngine, ConnectToAServiceLeadsToTheServiceFilePageAndBack)
{
    window->cmdNext_Click();
    ASSERT_EQ(window->taskPickerPage()->Task(), 2);
    EXPECT_TRUE(child<QPushButton>("cmdNext")->isEnabled());
    window->cmdNext_Click();
    EXPECT_EQ(window->CurrentPage(), frmInstall::ServiceFilePage);
    EXPECT_EQ(visiblePages(), 1);
    EXPECT_TRUE(window->findChild<QWidget*>("mServiceFileCtl")->isVisible());
    EXPECT_EQ(child<QLabel>("lblTop")->text(), "Service File Location");
    EXPECT_EQ(child<QPushButton>("cmdNext")->text(), "&Next >");
    EXPECT_TRUE(child<QLabel>("lblBottom")->text().startsWith("The location of the service file"));
    // Next checks the page: an empty path is refused and the page stays.
    QTest::mouseClick(child<QPushButton>("cmdNext"), Qt::LeftButton);
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.shown()[0].text, "Please provide a location to the service file!");
    EXPECT_EQ(window->CurrentPage(), frmInstall::ServiceFilePage);

    window->cmdBack_Click();
    EXPECT_EQ(window->CurrentPage(), frmInstall::TaskPage);
    EXPECT_EQ(visiblePages(), 1);
    EXPECT_EQ(child<QPushButton>("cmdNext")->text(), "Next >");
    EXPECT_TRUE(child<QPushButton>("cmdNext")->isEnabled());
}

TEST_F(FrameTest, EveryShowProcedureLeavesExactlyOnePageVisibleInThePageRectangle)
{
    window->cmdNext_Click();
    struct Step {
        void (TaskFlow::*show)();
        frmInstall::Page page;
        const char* name;
    };
    const Step steps[] = {
        {&TaskFlow::ShowIndexLocationPage, frmInstall::IndexLocationPage, "mMSTFileLocationCtl"},
        {&TaskFlow::ShowServiceNamePage, frmInstall::ServiceNamePage, "mServiceNameCtl"},
        {&TaskFlow::ShowServiceFolderPage, frmInstall::ServiceFolderPage, "mServiceDirectoryCtl"},
        {&TaskFlow::ShowBackupFolderPage, frmInstall::BackupFolderPage, "mBackupDirectoryCtl"},
        {&TaskFlow::ShowServiceFilePage, frmInstall::ServiceFilePage, "mServiceFileCtl"},
        {&TaskFlow::ShowTaskPage, frmInstall::TaskPage, "mTaskPickerCtl"},
    };
    for (const Step& s : steps) {
        (window->flow().*s.show)();
        EXPECT_EQ(window->CurrentPage(), s.page) << s.name;
        EXPECT_EQ(visiblePages(), 1) << s.name;
        QWidget* page = child(s.name);
        EXPECT_TRUE(page->isVisible()) << s.name;
        EXPECT_EQ(page->geometry(), window->pageRect()) << s.name;
    }
    QTest::mouseClick(window->taskPickerPage()->findChild<QRadioButton*>("mConnectOption"), Qt::LeftButton);
    window->flow().ShowSummaryPage();
    EXPECT_EQ(window->CurrentPage(), frmInstall::SummaryPage);
    EXPECT_EQ(visiblePages(), 0);
    EXPECT_EQ(child<QLabel>("lblTop")->text(), "Ready to Create Connection To Service");
}

TEST_F(FrameTest, ShowingAnInputPageGivesItsFieldTheFocus)
{
    window->activateWindow();
    QApplication::setActiveWindow(window.get());
    window->cmdNext_Click();
    window->flow().ShowServiceNamePage();
    QApplication::processEvents();
    EXPECT_EQ(QApplication::focusWidget(), child("mServiceNameCtl")->findChild<QWidget*>("Text1"));
}

TEST_F(FrameTest, RebuildingTheIndexLeadsToTheServerPageListingTheNetwork)
{
    servers->networkLists = {std::vector<std::string>{"LABSRV1", "LABSRV2\\CHEM"}};
    window->cmdNext_Click();
    QTest::mouseClick(window->taskPickerPage()->findChild<QRadioButton*>("mRebuildMolIDsOption"), Qt::LeftButton);
    ASSERT_TRUE(child<QPushButton>("cmdNext")->isEnabled());
    window->cmdNext_Click();
    EXPECT_EQ(window->CurrentPage(), frmInstall::ServerPage);
    EXPECT_EQ(visiblePages(), 1);
    EXPECT_EQ(child<QLabel>("lblTop")->text(), "Rebuild SQLServer Chemical Structure Index");
    EXPECT_EQ(child<QLabel>("lblHeader")->text(),
              "Select the database server that contains the chemical structures to index.");
    EXPECT_EQ(child<QPushButton>("cmdNext")->text(), "Next >");
    // A plain listing: network names first, then the local instances not already there.
    auto* list = child<QComboBox>("cmbServerList");
    ASSERT_GE(list->count(), 2);
    EXPECT_EQ(list->itemText(0), "LABSRV1");
    EXPECT_EQ(list->itemText(1), "LABSRV2\\CHEM");
    EXPECT_EQ(servers->listCalls(), 1u);
    // The page starts where the side picture ends and stays above the bottom note.
    const QRect page = window->serverPage()->geometry();
    EXPECT_EQ(page.left(), child("Image1")->width());
    EXPECT_EQ(page.bottom(), window->pageRect().bottom());

    window->cmdBack_Click();
    EXPECT_EQ(window->CurrentPage(), frmInstall::TaskPage);
    EXPECT_EQ(visiblePages(), 1);
    // A list once filled is not filled again when the user comes back.
    window->cmdNext_Click();
    EXPECT_EQ(servers->listCalls(), 1u);
}

TEST_F(FrameTest, DatabasePageHeaderFollowsTheTask)
{
    window->cmdNext_Click();
    window->flow().ShowDatabasePage();
    EXPECT_EQ(window->CurrentPage(), frmInstall::DatabasePage);
    EXPECT_EQ(child<QLabel>("lblTop")->text(), "Multi-User Database Setup");
    EXPECT_EQ(child<QLabel>("lblHeader")->text(), "Provide the name of the multi-user database you want to create.");
    EXPECT_EQ(child<QPushButton>("cmdNext")->text(), "&Next >");
    EXPECT_EQ(window->databasePage()->geometry().left(), child("Image1")->width());
    EXPECT_EQ(visiblePages(), 1);
    window->cmdBack_Click();
    EXPECT_EQ(window->CurrentPage(), frmInstall::ServerPage);
    EXPECT_EQ(visiblePages(), 1);
}

namespace {

// A machine whose registry also names the shared application-data folder.
class SummaryTest : public FrameTest {
protected:
    SummaryTest()
        : FrameTest(std::string(regtext::kHeader) + regtext::kInstancesMssqlVeldrin + regtext::kProductKey +
                    regtext::kChemistryKey +
                    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell "
                    "Folders]\r\n\"Common AppData\"=\"/var/lib/common\"\r\n")
    {
        window->cmdNext_Click();
        child<QComboBox>("cmbServerList")->setEditText("LABSRV2\\CHEM");
        child<QComboBox>("cmbDatabase")->setEditText("ChemDB");
        child<QLineEdit>("mMSTFileLocationTextBox")->setText("/srv/share/index");
        child<QLineEdit>("Text1")->setText("Chemistry");
        child<QLineEdit>("mServiceDirectoryTextBox")->setText("/srv/share/services");
        child<QLineEdit>("mBackupDirectoryTextBox")->setText("/srv/share/backup");
        FakeServerManager::Server remote;
        remote.workstationName = "PC1";
        remote.netName = "LABSRV2";
        servers->servers["LABSRV2\\CHEM"] = remote;
    }

    void choose(const char* option)
    {
        QTest::mouseClick(window->taskPickerPage()->findChild<QRadioButton*>(option), Qt::LeftButton);
    }
};

}  // namespace

TEST_F(SummaryTest, RebuildSummaryShowsServerDatabaseAndFolder)
{
    choose("mRebuildMolIDsOption");
    window->flow().ShowSummaryPage();
    EXPECT_EQ(window->CurrentPage(), frmInstall::SummaryPage);
    EXPECT_EQ(visiblePages(), 1);
    EXPECT_TRUE(window->indexSummaryPage()->isVisible());
    EXPECT_EQ(window->indexSummaryPage()->summaryText(),
              "Server: LABSRV2\\CHEM\r\nDatabase: ChemDB\r\nMST File Location: /srv/share/index");
    EXPECT_EQ(child<QLabel>("lblTop")->text(), "Ready to Build the MST File");
    EXPECT_EQ(child<QLabel>("lblBottom")->text(), "You specified the following parameters:");
    EXPECT_EQ(child<QPushButton>("cmdNext")->text(), "&Build");
    EXPECT_EQ(window->indexSummaryPage()->geometry(), window->pageRect());
}

TEST_F(SummaryTest, MigrationSummaryToARemoteServerNamesTheBackupFile)
{
    window->flow().ShowSummaryPage();
    EXPECT_EQ(visiblePages(), 1);
    EXPECT_TRUE(window->migrationSummaryPage()->isVisible());
    const QString text = window->migrationSummaryPage()->summaryText();
    EXPECT_TRUE(text.contains("\r\n  Server: LABSRV2\\CHEM\r\n  Database: ChemDB\r\n")) << text.toStdString();
    EXPECT_TRUE(text.contains("  Chemical Structure Index File: /var/lib/common/Labfolio 10.0/Labfolio.mst\r\n"))
        << text.toStdString();
    EXPECT_TRUE(text.contains("Service Name: Chemistry\r\n")) << text.toStdString();
    EXPECT_TRUE(text.endsWith("Database Backup File: /srv/share/backup/ChemDB.bak")) << text.toStdString();
    EXPECT_EQ(child<QLabel>("lblTop")->text(), "Ready to Migrate Database");
    EXPECT_EQ(child<QPushButton>("cmdNext")->text(), "&Migrate");
}

TEST_F(SummaryTest, MigrationSummaryToThisComputerKeepsTheBackupLocal)
{
    servers->servers["LABSRV2\\CHEM"].netName = "PC1";
    window->flow().ShowSummaryPage();
    EXPECT_TRUE(window->migrationSummaryPage()->summaryText().endsWith("Database Backup File: (local path)"));
}

TEST_F(SummaryTest, AServerThatCannotBeAskedIsReportedWithTheLocalServerTestsWords)
{
    child<QComboBox>("cmbServerList")->setEditText("NOWHERE");
    try {
        window->flow().ShowSummaryPage();
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.source(), "DBMigrateProgressCtl.IsLocalServer");
        EXPECT_EQ(e.description().rfind("while testing whether the server \"NOWHERE\" is a local server, ", 0), 0u);
    }
}
