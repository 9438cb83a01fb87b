// MSTFileProgressCtl on the offscreen platform, rebuilding against the stand-in.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include <QApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include "../structindex/FakeChemistry.h"
#include "IndexRebuild.h"
#include "MSTFileProgressCtl.h"
#include "ScopedEnv.h"
#include "TempFiles.h"
#include "structindex_E2eSupport.h"

namespace fs = std::filesystem;

namespace {

class ProgressPageE2e : public ::testing::Test {
protected:
    TempDir indexFolder;
    TempDir cache;
    ScopedEnv cacheHome{"XDG_CACHE_HOME", cache.str()};
    // The library the page uses; it outlives the page, whose worker may still be reading.
    std::shared_ptr<FakeChemistryLibrary> fake = std::make_shared<FakeChemistryLibrary>();
    std::optional<ScopedChemistryLibraryOverride> chemistry;
    MSTFileProgressCtl page;
    QSignalSpy finished{&page, &MSTFileProgressCtl::BuildFinished};
    std::vector<LfError> failures;
    QMetaObject::Connection recordFailures = QObject::connect(
        &page, &MSTFileProgressCtl::BuildFailed, &page, [this](const LfError& e) { failures.push_back(e); });

    // A failed check must not leave the page's readers waiting at the fake's gate.
    void TearDown() override { fake->reads.allowReads(-1); }

    QProgressBar* bar() const { return page.findChild<QProgressBar*>("prgStatus"); }
    QPushButton* stopButton() const { return page.findChild<QPushButton*>("mStopButton"); }
    QTimer* timer() const { return page.findChild<QTimer*>("mTimer"); }

    void start()
    {
        page.resize(480, 120);
        page.show();
        page.Initialize(kStructureServer, kStructureDatabase, QString::fromStdString(indexFolder.str()));
    }

    // Runs the event loop until done() holds or timeoutMs pass; whether it holds. (QTest's QTRY
    // macros report to QTest, and a gtest would pass on regardless.)
    template <class Done> static bool waitUntil(Done done, int timeoutMs)
    {
        QDeadlineTimer deadline(timeoutMs);
        while (!done() && !deadline.hasExpired())
            QTest::qWait(5);
        return done();
    }

    // Starts the build and, before the event loop lets the first tick run, waits until the
    // reader threads have parsed rows rows, so that every tick finds its ten rows ready.
    void startWithRowsParsed(size_t rows)
    {
        start();
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (page.rebuild()->RowsReady() < rows && std::chrono::steady_clock::now() < until)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ASSERT_EQ(page.rebuild()->RowsReady(), rows);
    }

    // Files left where the temporary CDXML files are written.
    std::vector<fs::path> leftovers() const
    {
        std::vector<fs::path> out;
        for (const auto& e : fs::directory_iterator(fs::path(GetTempFolderPath()).parent_path()))
            if (e.is_regular_file())
                out.push_back(e.path());
        return out;
    }
};

TEST_F(ProgressPageE2e, AnEmptyTableFinishesAtTheFirstTick)
{
    StructureDesktop desk(0);
    start();
    EXPECT_EQ(bar()->maximum(), 100);
    EXPECT_TRUE(timer()->isActive());
    EXPECT_EQ(timer()->interval(), 1);
    ASSERT_TRUE(finished.wait(10000));
    EXPECT_EQ(finished.count(), 1);
    EXPECT_TRUE(failures.empty());
    EXPECT_EQ(bar()->value(), 0);
    EXPECT_FALSE(stopButton()->isEnabled());
    EXPECT_FALSE(timer()->isActive());
}

TEST_F(ProgressPageE2e, TwentyFiveRowsTakeThreeTicks)
{
    StructureDesktop desk(25);
    QSignalSpy values(bar(), &QProgressBar::valueChanged);
    startWithRowsParsed(25);
    EXPECT_EQ(bar()->maximum(), 25);
    ASSERT_TRUE(finished.wait(20000));
    ASSERT_EQ(values.count(), 3);
    EXPECT_EQ(values.at(0).at(0).toInt(), 10);
    EXPECT_EQ(values.at(1).at(0).toInt(), 20);
    EXPECT_EQ(values.at(2).at(0).toInt(), 25);
    EXPECT_EQ(finished.count(), 1);
    EXPECT_FALSE(stopButton()->isEnabled());
    auto rows = desk.molIds();
    for (size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(rows[i].second, static_cast<int64_t>(i + 1));
    EXPECT_TRUE(leftovers().empty());
}

TEST_F(ProgressPageE2e, StopMidWayLeavesTheBarAndRaisesNoEvent)
{
    StructureDesktop desk(25);
    // Stop as the user would, between the first and the second tick.
    QObject::connect(bar(), &QProgressBar::valueChanged, stopButton(), [this](int v) {
        if (v == 10)
            QTimer::singleShot(0, stopButton(), [this] { QTest::mouseClick(stopButton(), Qt::LeftButton); });
    });
    startWithRowsParsed(25);
    ASSERT_TRUE(waitUntil([this] { return !stopButton()->isEnabled(); }, 20000));
    QTest::qWait(200);
    EXPECT_EQ(bar()->value(), 10);
    EXPECT_FALSE(timer()->isActive());
    EXPECT_EQ(finished.count(), 0);
    EXPECT_TRUE(failures.empty());
    auto rows = desk.molIds();
    for (size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(rows[i].second, i < 10 ? static_cast<int64_t>(i + 1) : 0);
}

TEST_F(ProgressPageE2e, ATickTakesOnlyTheRowsParsedByThenAndGivesTheWindowBack)
{
    StructureDesktop desk(25);
    fake->reads.allowReads(0); // parsing falls behind: nothing is parsed until the test says so
    chemistry.emplace(fake);
    page.setReadAheadThreads(1); // so that the reads let through are those of the first rows
    // Should a tick wait for its rows after all, the window would be stuck: this opens the gate
    // after a while, and the check below sees that it had to.
    std::atomic<bool> forcedOpen{false};
    std::jthread watchdog([&](std::stop_token stop) {
        std::mutex m;
        std::condition_variable_any never;
        std::unique_lock lock(m);
        never.wait_for(lock, stop, std::chrono::seconds(20), [] { return false; });
        if (!stop.stop_requested()) {
            forcedOpen = true;
            fake->reads.allowReads(-1);
        }
    });
    bool eventsRanWhileBehind = false;
    QTimer::singleShot(100, &page, [&] {
        eventsRanWhileBehind = !forcedOpen;
        EXPECT_EQ(bar()->value(), 0);
        EXPECT_TRUE(timer()->isActive());
        fake->reads.allowReads(3);
    });
    start();
    // Three rows parsed, the fourth not: the ticks take the three and wait for no more.
    ASSERT_TRUE(waitUntil([this] { return bar()->value() == 3; }, 10000)) << bar()->value();
    QTest::qWait(50);
    EXPECT_EQ(bar()->value(), 3);
    EXPECT_TRUE(timer()->isActive());
    EXPECT_EQ(finished.count(), 0);
    fake->reads.allowReads(-1);
    ASSERT_TRUE(finished.wait(20000));
    EXPECT_TRUE(eventsRanWhileBehind);
    EXPECT_EQ(bar()->value(), 25);
    auto rows = desk.molIds();
    ASSERT_EQ(rows.size(), 25u);
    for (size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(rows[i].second, static_cast<int64_t>(i + 1));
}

TEST_F(ProgressPageE2e, HidingThePageStopsTheWork)
{
    StructureDesktop desk(25);
    start();
    page.hide();
    QTest::qWait(200);
    EXPECT_FALSE(timer()->isActive());
    EXPECT_FALSE(stopButton()->isEnabled());
    EXPECT_EQ(bar()->value(), 0);
    EXPECT_EQ(finished.count(), 0);
}

TEST_F(ProgressPageE2e, NullAndEmptyStructuresGetIdentifiersWithoutATemporaryFile)
{
    StructureDesktop desk(0);
    const std::string empty;
    desk.addRow(nullptr);
    desk.addRow(&empty);
    chemistry.emplace(fake);
    start();
    ASSERT_TRUE(finished.wait(10000));
    EXPECT_TRUE(fake->reads.paths().empty());
    EXPECT_TRUE(leftovers().empty());
    auto rows = desk.molIds();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].second, 1);
    EXPECT_EQ(rows[1].second, 2);
}

TEST_F(ProgressPageE2e, AMissingChemistryLibraryFailsAtTheFirstStructureAndLeavesItsFile)
{
    StructureDesktop desk(0);
    desk.addRow(nullptr);
    const std::string cdxml = structureLines(1);
    desk.addRow(&cdxml);
    chemistry.emplace(LoadChemistryLibrary((cache.path() / "absent.so").string()));
    start(); // the library is not needed before the first structure
    ASSERT_TRUE(waitUntil([this] { return !failures.empty(); }, 10000));
    ASSERT_EQ(failures.size(), 1u);
    const LfError& error = failures[0];
    EXPECT_EQ(error.number(), 429u);
    EXPECT_EQ(error.description(), "Active-X cannot create Strucora10.Molecule object");
    EXPECT_EQ(finished.count(), 0);
    EXPECT_FALSE(timer()->isActive());
    auto left = leftovers();
    ASSERT_EQ(left.size(), 1u);
    EXPECT_EQ(left[0].extension(), ".cdxml");
    // The row before the failure keeps its identifier.
    auto rows = desk.molIds();
    EXPECT_EQ(rows[0].second, 1);
    EXPECT_EQ(rows[1].second, 0);
}

TEST_F(ProgressPageE2e, TheDrawingApplicationThePageStartedIsReleasedByStop)
{
    StructureDesktop desk(25);
    chemistry.emplace(fake);
    start();
    EXPECT_EQ(fake->drawingApplicationsStarted, 1);
    EXPECT_TRUE(page.rebuild()->holdsDrawingApplication());
    page.Stop();
    EXPECT_FALSE(page.rebuild()->holdsDrawingApplication());
}

TEST_F(ProgressPageE2e, ARunningDrawingApplicationIsUsedAndNotKept)
{
    StructureDesktop desk(5);
    fake->drawingApplicationRuns = true;
    chemistry.emplace(fake);
    start();
    EXPECT_EQ(fake->drawingApplicationsStarted, 0);
    EXPECT_FALSE(page.rebuild()->holdsDrawingApplication());
    ASSERT_TRUE(finished.wait(10000));
}

TEST_F(ProgressPageE2e, ADrawingApplicationThatCannotStartFailsInitialize)
{
    StructureDesktop desk(5);
    fake->drawingApplicationFails = true;
    chemistry.emplace(fake);
    EXPECT_THROW(start(), LfError);
    EXPECT_FALSE(timer()->isActive());
    QTest::qWait(100);
    EXPECT_EQ(finished.count(), 0);
}

TEST_F(ProgressPageE2e, InitializeRaisesWhenTheIndexCannotBeMade)
{
    StructureDesktop desk(0);
    try {
        page.Initialize(kStructureServer, kStructureDatabase,
                        QString::fromStdString((indexFolder.path() / "no" / "such").string()));
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_NE(e.description().find("while opening the structure index"), std::string::npos);
    }
    EXPECT_FALSE(timer()->isActive());
}

TEST_F(ProgressPageE2e, LayoutKeepsStopRightAlignedAndTheBarFullWidth)
{
    page.show();
    page.resize(500, 120);
    QApplication::processEvents();
    EXPECT_EQ(bar()->width(), 500);
    EXPECT_EQ(stopButton()->x() + stopButton()->width(), 500);
    page.resize(300, 120);
    QApplication::processEvents();
    EXPECT_EQ(bar()->width(), 300);
    EXPECT_EQ(stopButton()->x(), 300 - stopButton()->width());
    EXPECT_EQ(stopButton()->text(), "Stop");
}

TEST_F(ProgressPageE2e, ScreenshotOfABuildInProgress)
{
    StructureDesktop desk(60);
    // Ticks take the rows parsed by then, so the bar may pass 30 in any step.
    QObject::connect(bar(), &QProgressBar::valueChanged, &page, [this, grabbed = false](int v) mutable {
        if (v >= 30 && !std::exchange(grabbed, true))
            page.grab().save(QString::fromUtf8(LF_SCREENSHOT_DIR) + "/MSTFileProgressCtl.png");
    });
    start();
    ASSERT_TRUE(finished.wait(20000));
    EXPECT_TRUE(QFile::exists(QString::fromUtf8(LF_SCREENSHOT_DIR) + "/MSTFileProgressCtl.png"));
}

} // namespace
