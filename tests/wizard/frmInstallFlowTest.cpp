// The task flows through the real window: buttons go to the flow, the window paints what it
// says, and a slow server never freezes it.
#include "FakeServerManager.h"
#include "MSTFileLocationCtl.h"
#include "MSTFileUpdateCtl.h"
#include "RegistryFixture.h"
#include "SQLDatabaseCtl.h"
#include "ScriptedPrompter.h"
#include "TaskPickerCtl.h"
#include "TempDir.h"
#include "frmInstall.h"

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

class FrameFlowTest : public ::testing::Test {
protected:
    FrameFlowTest()
        : registry(std::string(regtext::kHeader) + regtext::kInstancesMssqlVeldrin + regtext::kProductKey +
                   regtext::kChemistryKey)
    {
        window = std::make_unique<frmInstall>(prompter);
        window->show();
        QTest::mouseClick(button("cmdNext"), Qt::LeftButton);
    }

    QPushButton* button(const char* name) { return window->findChild<QPushButton*>(name); }
    QString text(const char* label) { return window->findChild<QLabel*>(label)->text(); }
    void choose(const char* option)
    {
        QTest::mouseClick(window->taskPickerPage()->findChild<QRadioButton*>(option), Qt::LeftButton);
    }

    // Lets the window run until the condition holds or five seconds have passed.
    template <class Condition> bool waitFor(Condition condition)
    {
        QElapsedTimer clock;
        clock.start();
        while (!condition() && clock.elapsed() < 5000)
            QApplication::processEvents(QEventLoop::AllEvents, 10);
        return condition();
    }

    TempDir dir;
    std::shared_ptr<FakeServerManager> servers = std::make_shared<FakeServerManager>();
    sqlserver::ScopedServerManagerOverride serverOverride{servers};
    RegistryFixture registry;
    ScriptedPrompter prompter;
    std::unique_ptr<frmInstall> window;
};

} // namespace

TEST_F(FrameFlowTest, ASlowServerLeavesTheWindowAnsweringAndASecondNextIsIgnored)
{
    FakeServerManager::Server slow;
    slow.reportedName = "SLOWSRV";
    slow.netName = "SLOWSRV";
    slow.databases = {{"ChemDB", true}};
    slow.connectDelay = std::chrono::seconds(30);
    servers->servers["SLOWSRV"] = slow;
    choose("mRebuildMolIDsOption");
    QTest::mouseClick(button("cmdNext"), Qt::LeftButton);
    ASSERT_EQ(window->CurrentPage(), frmInstall::ServerPage);
    window->findChild<QComboBox*>("cmbServerList")->setEditText("SLOWSRV");

    bool answered = false;
    bool hourglass = false;
    size_t connectsAfterSecondClick = 0;
    QTimer::singleShot(0, [&] {
        // Inside the first click: the server has not answered, the window still runs.
        answered = waitFor([&] { return servers->connectsRunning() == 1; });
        hourglass = window->cursor().shape() == Qt::WaitCursor;
        QTest::mouseClick(button("cmdNext"), Qt::LeftButton);
        QTest::mouseClick(button("cmdBack"), Qt::LeftButton);
        connectsAfterSecondClick = servers->connects().size();
        servers->openGate();
    });
    QTest::mouseClick(button("cmdNext"), Qt::LeftButton);

    EXPECT_TRUE(answered);
    EXPECT_TRUE(hourglass);
    EXPECT_EQ(connectsAfterSecondClick, 1u);
    EXPECT_EQ(servers->connects().size(), 1u);
    EXPECT_EQ(window->CurrentPage(), frmInstall::DatabasePage);
    EXPECT_EQ(window->findChild<QComboBox*>("cmbDatabase")->currentText(), "ChemDB");
    EXPECT_EQ(window->cursor().shape(), Qt::ArrowCursor);
    EXPECT_TRUE(prompter.shown().empty());
}

// This machine's registry does not name the shared application-data folder, so the service
// cannot be installed.
TEST_F(FrameFlowTest, AServiceThatCannotBeInstalledEndsOnTheErrorResultAndFinishReturnsToTheTaskPicker)
{
    choose("mConnectOption");
    QTest::mouseClick(button("cmdNext"), Qt::LeftButton);
    const auto file = dir.write("Chem.lfsvc", "<service><name>Chem</name></service>");
    window->findChild<QLineEdit*>("mServiceFileLocationTextBox")
        ->setText(QString::fromStdString(file.string()));
    QTest::mouseClick(button("cmdNext"), Qt::LeftButton);
    ASSERT_EQ(window->CurrentPage(), frmInstall::SummaryPage);
    EXPECT_EQ(button("cmdNext")->text(), "C&reate");
    EXPECT_EQ(text("lblBottom"), QString::fromStdString("Service File: " + file.string()));

    QTest::mouseClick(button("cmdNext"), Qt::LeftButton);
    EXPECT_EQ(text("lblTop"), "Connection Creation Aborted");
    EXPECT_EQ(text("lblHeader"), "");
    EXPECT_EQ(text("lblBottom"),
              "Sorry, the registry key 'SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell "
              "Folders' cannot be found.");
    EXPECT_TRUE(button("cmdDone")->isVisible());
    EXPECT_TRUE(button("cmdDone")->isDefault());
    EXPECT_FALSE(button("cmdNext")->isVisible());
    EXPECT_FALSE(button("cmdBack")->isVisible());
    for (WizardPage* p : window->pages())
        EXPECT_FALSE(p->isVisible()) << p->objectName().toStdString();

    QTest::mouseClick(button("cmdDone"), Qt::LeftButton);
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->CurrentPage(), frmInstall::TaskPage);
    EXPECT_TRUE(window->taskPickerPage()->isVisible());
    EXPECT_EQ(button("cmdNext")->text(), "&Next >");
    EXPECT_TRUE(button("cmdBack")->isEnabled());
    EXPECT_TRUE(button("cmdCancel")->isVisible());
    EXPECT_FALSE(button("cmdDone")->isVisible());
    EXPECT_EQ(window->taskPickerPage()->Task(), 2);
}

TEST_F(FrameFlowTest, RebuildingTheIndexWalksEveryPageOfTheTaskToItsResult)
{
    FakeServerManager::Server lab;
    lab.reportedName = "LABSRV";
    lab.netName = "LABSRV";
    lab.databases = {{"master", false}, {"ChemDB", true}};
    servers->servers["LABSRV"] = lab;
    choose("mRebuildMolIDsOption");
    QTest::mouseClick(button("cmdNext"), Qt::LeftButton);
    window->findChild<QComboBox*>("cmbServerList")->setEditText("LABSRV");
    QTest::mouseClick(button("cmdNext"), Qt::LeftButton);
    ASSERT_EQ(window->CurrentPage(), frmInstall::DatabasePage);
    EXPECT_TRUE(window->databasePage()->isVisible());
    EXPECT_EQ(window->findChild<QComboBox*>("cmbDatabase")->count(), 1);

    window->findChild<QComboBox*>("cmbDatabase")->setEditText("Missing");
    QTest::mouseClick(button("cmdNext"), Qt::LeftButton);
    ASSERT_EQ(prompter.shown().size(), 1u);
    EXPECT_EQ(prompter.shown()[0].text, "The database Missing does not exist.");
    EXPECT_EQ(window->CurrentPage(), frmInstall::DatabasePage);

    window->findChild<QComboBox*>("cmbDatabase")->setEditText("ChemDB");
    QTest::mouseClick(button("cmdNext"), Qt::LeftButton);
    ASSERT_EQ(window->CurrentPage(), frmInstall::IndexLocationPage);
    EXPECT_TRUE(window->indexLocationPage()->isVisible());
    const std::string index = (dir.path() / "index").string();
    window->findChild<QLineEdit*>("mMSTFileLocationTextBox")->setText(QString::fromStdString(index));
    QTest::mouseClick(button("cmdNext"), Qt::LeftButton);
    ASSERT_EQ(window->CurrentPage(), frmInstall::SummaryPage);
    EXPECT_TRUE(window->indexSummaryPage()->isVisible());
    EXPECT_EQ(window->indexSummaryPage()->summaryText().toStdString(),
              "Server: LABSRV\r\nDatabase: ChemDB\r\nMST File Location: " + index);
    EXPECT_EQ(button("cmdNext")->text(), "&Build");

    QTest::mouseClick(button("cmdNext"), Qt::LeftButton);
    EXPECT_EQ(text("lblTop"), "Build of Chemical Structure Index Aborted");
    EXPECT_FALSE(window->indexSummaryPage()->isVisible());
    QTest::mouseClick(button("cmdDone"), Qt::LeftButton);
    EXPECT_EQ(window->CurrentPage(), frmInstall::TaskPage);
    EXPECT_EQ(window->taskPickerPage()->Task(), 5);
    // Every value is kept: the same pages lead to the same summary again.
    QTest::mouseClick(button("cmdNext"), Qt::LeftButton);
    QTest::mouseClick(button("cmdNext"), Qt::LeftButton);
    QTest::mouseClick(button("cmdNext"), Qt::LeftButton);
    EXPECT_EQ(window->findChild<QLineEdit*>("mMSTFileLocationTextBox")->text().toStdString(), index);
}
