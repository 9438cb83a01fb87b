#include "SQLServerCtl.h"

#include "UiTestSupport.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

using namespace std::chrono_literals;

namespace {

QStringList itemsOf(const QComboBox* box)
{
    QStringList items;
    for (int i = 0; i < box->count(); ++i)
        items << box->itemText(i);
    return items;
}

FakeServerManager::Server creator(bool canCreate = true)
{
    FakeServerManager::Server s;
    s.canCreateDatabases = canCreate;
    return s;
}

// The page as the frame holds it, with the frame's LocalServerName.
class ServerPageTest : public ::testing::Test {
protected:
    explicit ServerPageTest(std::vector<std::string> instances = {"MSSQLSERVER", "VELDRIN"})
        : machine(instances)
    {
    }

    void network(std::vector<std::string> names) { machine.manager->networkLists = {std::move(names)}; }
    bool waitForScanEnd(int ms = 5000)
    {
        return QTest::qWaitFor([&] { return !page->isScanPending(); }, ms);
    }

    // The servers a scan logged in to, sorted: several logins run at once, so they may reach
    // the server manager in any order.
    std::vector<std::string> probedServers() const
    {
        auto names = machine.manager->connectedServers();
        std::sort(names.begin(), names.end());
        return names;
    }

    MachineWithServers machine;
    QString localServerName = QStringLiteral("PC1\\VELDRIN");
    std::unique_ptr<SQLServerCtl> page = std::make_unique<SQLServerCtl>([this] { return localServerName; });
    QComboBox* combo = page->findChild<QComboBox*>("cmbServerList");
    QPushButton* rescan = page->findChild<QPushButton*>("mRescanButton");
    QProgressBar* progress = page->findChild<QProgressBar*>("mScanningProgress");
    QLabel* scanningLabel = page->findChild<QLabel*>("mScanningLabel");
    QTimer* timer = page->findChild<QTimer*>("mTimer");
};

class ServerPageWithoutInstances : public ServerPageTest {
protected:
    ServerPageWithoutInstances() : ServerPageTest({}) {}
};

TEST_F(ServerPageTest, HasTheControlsAndCaptionsInVerdana)
{
    ASSERT_NE(combo, nullptr);
    ASSERT_NE(rescan, nullptr);
    ASSERT_NE(progress, nullptr);
    ASSERT_NE(scanningLabel, nullptr);
    ASSERT_NE(timer, nullptr);
    auto* label = page->findChild<QLabel*>("lblServer");
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->text(), "Server Name:");
    EXPECT_EQ(rescan->text(), "Rescan");
    EXPECT_EQ(scanningLabel->text(), "Scanning for databases...");
    EXPECT_TRUE(combo->isEditable());
    EXPECT_EQ(combo->font().family(), "Verdana");
    EXPECT_EQ(label->font().family(), "Verdana");
    EXPECT_EQ(rescan->font().family(), "Verdana");
    EXPECT_EQ(scanningLabel->font().family(), "Verdana");
    EXPECT_EQ(combo->count(), 0);
    EXPECT_EQ(combo->currentText(), "");
    EXPECT_EQ(page->focusField(), combo);
}

TEST_F(ServerPageTest, NoServerOnTheNetworkGivesLocalOnceThenTheNamedInstances)
{
    network({});
    page->CheckList();
    EXPECT_EQ(itemsOf(combo), (QStringList{"(local)", "PC1\\VELDRIN"}));
    EXPECT_EQ(combo->currentText(), "PC1\\VELDRIN");
    EXPECT_TRUE(scanningLabel->isHidden());
    EXPECT_TRUE(progress->isHidden());
    EXPECT_FALSE(page->isScanPending());
    EXPECT_TRUE(machine.manager->connects().empty());
}

TEST_F(ServerPageTest, TheTextIsTheFramesLocalServerNameWhateverWasSelected)
{
    localServerName = "(local)";
    network({"SRV1"});
    page->CheckList();
    EXPECT_EQ(itemsOf(combo), (QStringList{"SRV1", "(local)", "PC1\\VELDRIN"}));
    EXPECT_EQ(combo->currentText(), "(local)");
}

TEST_F(ServerPageTest, PlainListingPutsTheNetworkNamesFirstAndAddsOnlyMissingLocalNames)
{
    network({"SRV1", "PC1\\VELDRIN", "srv2"});
    page->setCreatorOnly(false);
    page->CheckList();
    EXPECT_EQ(itemsOf(combo), (QStringList{"SRV1", "PC1\\VELDRIN", "srv2", "(local)"}));
    EXPECT_EQ(combo->currentText(), "PC1\\VELDRIN");
    EXPECT_TRUE(progress->isHidden());
    EXPECT_FALSE(page->isScanPending());
    EXPECT_TRUE(machine.manager->connects().empty()) << "a plain listing probes nothing";
}

TEST_F(ServerPageTest, ProbingScanListsLocalInstancesFirstThenQualifyingServersInOrderWithDuplicates)
{
    network({"SRV1", "SRV2", "PC1\\VELDRIN", "GONE", "SRV3"});
    machine.manager->servers["SRV1"] = creator(true);
    machine.manager->servers["SRV2"] = creator(false);
    machine.manager->servers["PC1\\VELDRIN"] = creator(true);
    machine.manager->servers["SRV3"] = creator(true);
    QSignalSpy applied(page.get(), &SQLServerCtl::probeApplied);

    page->setCreatorOnly(true);
    page->CheckList();
    EXPECT_EQ(itemsOf(combo), (QStringList{"(local)", "PC1\\VELDRIN"})) << "local instances come first";
    EXPECT_EQ(combo->currentText(), "PC1\\VELDRIN");
    EXPECT_TRUE(page->isScanPending());
    EXPECT_FALSE(progress->isHidden());
    EXPECT_FALSE(scanningLabel->isHidden());
    EXPECT_EQ(progress->minimum(), 0);
    EXPECT_EQ(progress->maximum(), 5);
    EXPECT_TRUE(timer->isActive());
    EXPECT_EQ(timer->interval(), 10);

    ASSERT_TRUE(waitForScanEnd());
    EXPECT_EQ(itemsOf(combo), (QStringList{"(local)", "PC1\\VELDRIN", "SRV1", "PC1\\VELDRIN", "SRV3"}));
    EXPECT_EQ(combo->currentText(), "PC1\\VELDRIN");
    EXPECT_EQ(probedServers(), (std::vector<std::string>{"GONE", "PC1\\VELDRIN", "SRV1", "SRV2", "SRV3"}));
    for (const auto& c : machine.manager->connects()) {
        EXPECT_TRUE(c.loginSecure);
        EXPECT_EQ(c.loginTimeoutSeconds, SQLServerCtl::kProbeLoginTimeoutSeconds);
    }
    ASSERT_EQ(applied.count(), 5);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(applied.at(i).at(0).toInt(), i + 1) << "one probe per index, in order";
    EXPECT_EQ(page->scanIndex(), 6);
    EXPECT_EQ(timer->property("Tag").toString(), "6");
    EXPECT_FALSE(timer->isActive());
    EXPECT_TRUE(progress->isHidden());
    EXPECT_TRUE(scanningLabel->isHidden());
    EXPECT_FALSE(rescan->isHidden());
    EXPECT_EQ(machine.manager->liveConnections(), 0) << "every probe connection is released";
}

TEST_F(ServerPageWithoutInstances, TheFirstProbedServerOfAnEmptyListIsSelected)
{
    network({"SRV1", "SRV2"});
    machine.manager->servers["SRV1"] = creator(true);
    machine.manager->servers["SRV2"] = creator(true);
    page->setCreatorOnly(true);
    page->CheckList();
    EXPECT_EQ(combo->count(), 0);
    EXPECT_EQ(combo->currentText(), "PC1\\VELDRIN");
    ASSERT_TRUE(waitForScanEnd());
    EXPECT_EQ(itemsOf(combo), (QStringList{"SRV1", "SRV2"}));
    EXPECT_EQ(combo->currentIndex(), 0);
    EXPECT_EQ(combo->currentText(), "SRV1");
}

TEST_F(ServerPageWithoutInstances, EmptyNetworkListWithoutInstancesGivesOnlyLocal)
{
    network({});
    page->CheckList();
    EXPECT_EQ(itemsOf(combo), QStringList{"(local)"});
    EXPECT_EQ(page->AddLocalInstances(), "");
}

TEST_F(ServerPageTest, AddLocalInstancesReturnsTheLastNameAdded)
{
    EXPECT_EQ(page->AddLocalInstances(), "PC1\\VELDRIN");
    EXPECT_EQ(page->AddLocalInstances(), "") << "nothing new the second time";
    EXPECT_EQ(itemsOf(combo), (QStringList{"(local)", "PC1\\VELDRIN"}));
}

TEST_F(ServerPageTest, IsInServerListIsExactAndCaseSensitive)
{
    network({"SRV1"});
    page->CheckList();
    EXPECT_TRUE(page->IsInServerList("SRV1"));
    EXPECT_FALSE(page->IsInServerList("srv1"));
    EXPECT_FALSE(page->IsInServerList("SRV1 "));
    EXPECT_TRUE(page->IsInServerList("(local)"));
}

TEST(ServerPageInstances, LowerCaseDefaultInstanceNameIsANamedInstance)
{
    MachineWithServers machine({"mssqlserver"});
    SQLServerCtl page;
    EXPECT_EQ(page.AddLocalInstances(), "PC1\\mssqlserver");
}

TEST_F(ServerPageTest, TypingANameThenCheckListDoesNotFill)
{
    network({"SRV1"});
    combo->setEditText("MyServer");
    page->CheckList();
    EXPECT_EQ(combo->count(), 0);
    EXPECT_EQ(combo->currentText(), "MyServer");
    EXPECT_EQ(machine.manager->listCalls(), 0u);
}

TEST_F(ServerPageTest, AFilledListIsNotRefilledByCheckList)
{
    network({"SRV1"});
    page->CheckList();
    combo->setEditText("");
    page->CheckList();
    EXPECT_EQ(machine.manager->listCalls(), 1u);
    EXPECT_EQ(itemsOf(combo), (QStringList{"SRV1", "(local)", "PC1\\VELDRIN"}));
}

TEST_F(ServerPageTest, AFailingNetworkListEndsTheFillWithNothingListed)
{
    machine.manager->networkLists = {std::nullopt};
    page->CheckList();
    EXPECT_EQ(combo->count(), 0);
    EXPECT_EQ(combo->currentText(), "");
    EXPECT_FALSE(page->isScanPending());
}

TEST_F(ServerPageTest, RescanProbesAgainWithoutTheLocalInstances)
{
    machine.manager->networkLists = {std::vector<std::string>{"SRV1"},
                                     std::vector<std::string>{"SRV1", "SRV2"}};
    machine.manager->servers["SRV1"] = creator(true);
    machine.manager->servers["SRV2"] = creator(true);
    page->setCreatorOnly(false);
    page->CheckList();
    EXPECT_FALSE(rescan->isHidden());

    rescan->click();
    EXPECT_EQ(combo->count(), 0);
    EXPECT_TRUE(rescan->isHidden());
    EXPECT_TRUE(page->isScanPending());
    EXPECT_EQ(page->scanIndex(), 0);
    EXPECT_FALSE(progress->isHidden());
    EXPECT_EQ(progress->maximum(), 2);
    ASSERT_TRUE(waitForScanEnd());
    EXPECT_EQ(itemsOf(combo), (QStringList{"SRV1", "SRV2"})) << "Rescan probes even without CreatorOnly";
    EXPECT_EQ(probedServers(), (std::vector<std::string>{"SRV1", "SRV2"}));
    EXPECT_FALSE(rescan->isHidden());
}

TEST_F(ServerPageTest, LeavingThePageMidScanAndComingBackContinuesFromTheSavedIndex)
{
    network({"SRV1", "SRV2", "SRV3", "SRV4"});
    for (const char* n : {"SRV1", "SRV2", "SRV3", "SRV4"})
        machine.manager->servers[n] = creator(true);
    machine.manager->servers["SRV2"].connectDelay = 10s;
    page->setMaxParallelProbes(2);
    page->resize(500, 300);
    page->show();
    page->setCreatorOnly(true);
    page->CheckList();

    // Hide while SRV2's login is still under way and SRV3 has answered behind it.
    ASSERT_TRUE(QTest::qWaitFor([&] { return machine.manager->connects().size() == 3; }, 5000));
    ASSERT_TRUE(QTest::qWaitFor([&] { return machine.manager->connectsRunning() == 1; }, 5000));
    QTest::qWait(50);
    EXPECT_EQ(itemsOf(combo), (QStringList{"(local)", "PC1\\VELDRIN", "SRV1"})) << "SRV3 waits for SRV2";
    EXPECT_TRUE(page->isProbeOutstanding());
    EXPECT_EQ(page->scanIndex(), 2) << "the index does not pass a probe that runs";
    page->hide();
    EXPECT_FALSE(timer->isActive());

    // The probe finishes in the background, and its server and the one behind it are listed
    // in order.
    machine.manager->openGate();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !page->isProbeOutstanding(); }, 5000));
    EXPECT_EQ(itemsOf(combo), (QStringList{"(local)", "PC1\\VELDRIN", "SRV1", "SRV2", "SRV3"}));
    EXPECT_EQ(page->scanIndex(), 4);

    // Nothing more happens while the page is away.
    QTest::qWait(200);
    EXPECT_FALSE(timer->isActive());
    EXPECT_EQ(page->scanIndex(), 4);
    EXPECT_EQ(machine.manager->connects().size(), 3u);
    EXPECT_TRUE(page->isScanPending());

    page->show();
    EXPECT_TRUE(timer->isActive());
    ASSERT_TRUE(waitForScanEnd());
    EXPECT_EQ(itemsOf(combo), (QStringList{"(local)", "PC1\\VELDRIN", "SRV1", "SRV2", "SRV3", "SRV4"}));
    EXPECT_EQ(machine.manager->connectedServers().size(), 4u) << "no server is probed twice";
    EXPECT_EQ(machine.manager->connectedServers().back(), "SRV4");
}

TEST_F(ServerPageTest, HidingBetweenProbesKeepsTheIndex)
{
    network({"SRV1", "SRV2", "SRV3"});
    for (const char* n : {"SRV1", "SRV2", "SRV3"})
        machine.manager->servers[n] = creator(true);
    page->setMaxParallelProbes(1);
    page->show();
    page->setCreatorOnly(true);
    QObject::connect(page.get(), &SQLServerCtl::probeApplied, page.get(), [&](int index) {
        if (index == 1)
            page->hide();
    });
    page->CheckList();
    ASSERT_TRUE(QTest::qWaitFor([&] { return page->scanIndex() == 2; }, 5000));
    QTest::qWait(100);
    EXPECT_EQ(page->scanIndex(), 2);
    EXPECT_EQ(machine.manager->connectedServers(), std::vector<std::string>{"SRV1"});
    page->show();
    ASSERT_TRUE(waitForScanEnd());
    EXPECT_EQ(machine.manager->connectedServers(), (std::vector<std::string>{"SRV1", "SRV2", "SRV3"}));
}

TEST_F(ServerPageWithoutInstances, SilentServersAreProbedSideBySideAndListedInNetworkOrder)
{
    // SRV1 takes its whole login time-out; the servers after it answer at once.
    network({"SRV1", "SRV2", "SRV3", "SRV4"});
    for (const char* n : {"SRV1", "SRV2", "SRV3", "SRV4"})
        machine.manager->servers[n] = creator(true);
    machine.manager->servers["SRV1"].connectDelay = 10s;
    machine.manager->servers["SRV3"].canCreateDatabases = false;
    QSignalSpy applied(page.get(), &SQLServerCtl::probeApplied);
    page->setCreatorOnly(true);
    page->CheckList();

    ASSERT_TRUE(QTest::qWaitFor([&] { return machine.manager->connects().size() == 4; }, 5000))
        << "every login starts while the first still waits";
    ASSERT_TRUE(QTest::qWaitFor([&] { return machine.manager->connectsRunning() == 1; }, 5000));
    QTest::qWait(50);
    EXPECT_EQ(combo->count(), 0) << "nothing overtakes the first server";
    EXPECT_EQ(applied.count(), 0);
    EXPECT_EQ(page->scanIndex(), 1);
    EXPECT_EQ(progress->value(), 0);

    machine.manager->openGate();
    ASSERT_TRUE(waitForScanEnd());
    EXPECT_EQ(itemsOf(combo), (QStringList{"SRV1", "SRV2", "SRV4"}));
    EXPECT_EQ(combo->currentIndex(), 0) << "the first listed server is selected";
    ASSERT_EQ(applied.count(), 4);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(applied.at(i).at(0).toInt(), i + 1);
    EXPECT_EQ(page->scanIndex(), 5);
}

TEST_F(ServerPageWithoutInstances, NoMoreThanTheBoundOfLoginsRunAtOnce)
{
    std::vector<std::string> names;
    for (int i = 1; i <= SQLServerCtl::kMaxParallelProbes + 4; ++i) {
        names.push_back("SRV" + std::to_string(i));
        machine.manager->servers[names.back()] = creator(true);
        machine.manager->servers[names.back()].connectDelay = 10s;
    }
    network(names);
    // Shared with the callback: probes still connecting after a failed assertion has ended the
    // test must not reach into its finished frame.
    auto mostAtOnce = std::make_shared<std::atomic<int>>(0);
    machine.manager->onConnect = [manager = machine.manager.get(),
                                  mostAtOnce](const sqlserver::ConnectOptions&) {
        const int now = manager->connectsRunning();
        for (int seen = *mostAtOnce; now > seen && !mostAtOnce->compare_exchange_weak(seen, now);)
            ;
    };
    page->setCreatorOnly(true);
    page->CheckList();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return machine.manager->connectsRunning() == SQLServerCtl::kMaxParallelProbes; }, 5000));
    QTest::qWait(100);
    EXPECT_EQ(machine.manager->connects().size(), size_t(SQLServerCtl::kMaxParallelProbes));

    machine.manager->openGate();
    ASSERT_TRUE(waitForScanEnd(10000));
    EXPECT_EQ(combo->count(), int(names.size()));
    EXPECT_LE(mostAtOnce->load(), SQLServerCtl::kMaxParallelProbes);
}

TEST_F(ServerPageWithoutInstances, ARescanDropsTheResultOfAProbeFromTheScanBefore)
{
    machine.manager->networkLists = {std::vector<std::string>{"OLD"}, std::vector<std::string>{"NEW"}};
    machine.manager->servers["OLD"] = creator(true);
    machine.manager->servers["OLD"].connectDelay = 10s;
    machine.manager->servers["NEW"] = creator(true);
    page->setCreatorOnly(true);
    page->CheckList();
    ASSERT_TRUE(QTest::qWaitFor([&] { return machine.manager->connectsRunning() == 1; }, 5000));

    rescan->click();
    machine.manager->openGate();
    ASSERT_TRUE(waitForScanEnd());
    ASSERT_TRUE(QTest::qWaitFor([&] { return machine.manager->connectsRunning() == 0; }, 5000));
    QTest::qWait(50); // the stale result, had it been applied, would have arrived by now
    EXPECT_EQ(itemsOf(combo), QStringList{"NEW"});
}

TEST_F(ServerPageTest, AProbeThatTakesItsLoginTimeOutDoesNotFreezeTheWindow)
{
    network({"SLOW"});
    machine.manager->servers["SLOW"] = creator(true);
    machine.manager->servers["SLOW"].connectDelay = 5s;

    // At the start of the probe, a timer event is posted to the user-interface thread; the
    // window answers when that event is delivered while the login is still under way.
    QElapsedTimer sincePosted;
    std::atomic<bool> posted{false};
    qint64 deliveredAfterMs = -1;
    bool probeRunningAtDelivery = false;
    machine.manager->onConnect = [&](const sqlserver::ConnectOptions&) {
        sincePosted.start();
        QTimer::singleShot(0, page.get(), [&] {
            deliveredAfterMs = sincePosted.elapsed();
            probeRunningAtDelivery = machine.manager->connectsRunning() == 1;
        });
        posted = true;
    };

    page->setCreatorOnly(true);
    page->CheckList();
    ASSERT_TRUE(QTest::qWaitFor([&] { return deliveredAfterMs >= 0; }, 10000));
    EXPECT_TRUE(posted);
    EXPECT_TRUE(probeRunningAtDelivery);
    EXPECT_LT(deliveredAfterMs, 1000);

    // Typing goes on meanwhile, and the server still arrives.
    combo->setEditText("SOMEWHERE");
    machine.manager->openGate();
    ASSERT_TRUE(waitForScanEnd());
    EXPECT_EQ(itemsOf(combo), (QStringList{"(local)", "PC1\\VELDRIN", "SLOW"}));
    EXPECT_EQ(combo->currentText(), "SOMEWHERE");
}

TEST_F(ServerPageTest, ServerNameOfLocalIsTheDefaultInstancesOwnName)
{
    machine.manager->servers[""] = creator(false);
    machine.manager->servers[""].reportedName = "PC1";
    combo->setEditText("(local)");
    EXPECT_EQ(page->ServerName(), "PC1");
    ASSERT_EQ(machine.manager->connects().size(), 1u);
    EXPECT_EQ(machine.manager->connects()[0].server, "");
    EXPECT_TRUE(machine.manager->connects()[0].loginSecure);
    EXPECT_EQ(machine.manager->liveConnections(), 0);
}

TEST_F(ServerPageTest, ServerNameOfAnyOtherTextIsTheTextUnchanged)
{
    combo->setEditText("  Srv1\\Inst ");
    EXPECT_EQ(page->ServerName(), "  Srv1\\Inst ");
    combo->setEditText("(LOCAL)");
    EXPECT_EQ(page->ServerName(), "(LOCAL)");
    EXPECT_TRUE(machine.manager->connects().empty());
}

TEST_F(ServerPageTest, ServerNameRaisesWhenTheLocalInstanceCannotBeReached)
{
    combo->setEditText("(local)");
    try {
        page->ServerName();
        FAIL() << "no error raised";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040000u);
        EXPECT_EQ(e.source(), "SQLServerCtl.errSource");
        EXPECT_EQ(e.description(), "while getting the name of the local server instance, "
                                   "SQL Server \"\" does not exist or access denied");
    }
}

TEST_F(ServerPageTest, ResizeStretchesTheListToTheRightBorderOnly)
{
    page->show();
    page->resize(600, 300);
    EXPECT_EQ(combo->x() + combo->width(), 600);
    const QRect label = page->findChild<QLabel*>("lblServer")->geometry();
    const QRect button = rescan->geometry();
    page->resize(400, 300);
    EXPECT_EQ(combo->x() + combo->width(), 400);
    EXPECT_EQ(page->findChild<QLabel*>("lblServer")->geometry(), label);
    EXPECT_EQ(rescan->geometry(), button);
    const int width = combo->width();
    page->resize(combo->x() - 1, 300);
    EXPECT_EQ(combo->width(), width) << "a page narrower than the list's left edge leaves it alone";
}

TEST_F(ServerPageTest, TheFocusGoesToTheServerList)
{
    page->show();
    page->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(page.get()));
    page->takeFocus();
    EXPECT_TRUE(combo->hasFocus());
}

} // namespace

// The network list takes the browsers' broadcast window to come in. Meanwhile the window keeps
// handling its events (a timer, a repaint), but the user's input waits for the list.
TEST_F(ServerPageTest, TheWindowKeepsWorkingWhileTheNetworkIsAsked)
{
    network({"LABSRV1"});
    machine.manager->listDelay = std::chrono::milliseconds(300);
    bool returned = false;
    bool deliveredBeforeTheListIsIn = false;
    QTimer::singleShot(0, [&] { deliveredBeforeTheListIsIn = !returned; });
    page->CheckList();
    returned = true;
    EXPECT_TRUE(deliveredBeforeTheListIsIn);
    EXPECT_EQ(combo->itemText(0), "LABSRV1");
}

TEST_F(ServerPageTest, RescanAsksTheNetworkWithoutFreezingTheWindow)
{
    network({});
    page->CheckList();
    ASSERT_TRUE(rescan->isVisibleTo(page.get()));
    machine.manager->networkLists = {std::vector<std::string>{}, std::vector<std::string>{"LABSRV1"}};
    machine.manager->listDelay = std::chrono::milliseconds(300);
    bool returned = false;
    bool deliveredBeforeTheListIsIn = false;
    QTimer::singleShot(0, [&] { deliveredBeforeTheListIsIn = !returned; });
    rescan->click();
    returned = true;
    EXPECT_TRUE(deliveredBeforeTheListIsIn);
    EXPECT_TRUE(page->isScanPending());
}
