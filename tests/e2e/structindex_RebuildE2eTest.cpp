// The structure index rebuild through unixODBC and FreeTDS against the stand-in, with the RDKit
// chemistry module.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "../structindex/FakeChemistry.h"
#include "ChemistryLibrary.h"
#include "IndexRebuild.h"
#include "ScopedEnv.h"
#include "structindex_E2eSupport.h"

namespace {

class RebuildE2e : public ::testing::Test {
protected:
    TempDir indexFolder;
    TempDir cache;
    ScopedEnv cacheHome{"XDG_CACHE_HOME", cache.str()};
    std::shared_ptr<ChemistryLibrary> library = LoadChemistryLibrary();

    std::string mst() const { return (indexFolder.path() / "Labfolio.mst").string(); }

    // Runs a whole rebuild as the page's ticks do; returns the slice sizes.
    std::vector<int> build(int slices = 1 << 30, int readers = 0, const TempDir* folder = nullptr)
    {
        IndexRebuild rebuild(*library, readers);
        rebuild.Open(kStructureServer, kStructureDatabase, (folder ? *folder : indexFolder).str());
        std::vector<int> sizes;
        while (!rebuild.AtEnd() && slices-- > 0)
            sizes.push_back(rebuild.ProcessSlice(10));
        if (rebuild.AtEnd())
            rebuild.Finish();
        return sizes;
    }

    int64_t reopenedCount() const
    {
        StructureIndex index;
        index.OpenOrCreate(mst(), 0);
        return index.Count();
    }

    static std::vector<MoleculeRecord> records(const TempDir& folder)
    {
        StructureIndex index;
        index.OpenOrCreate((folder.path() / "Labfolio.mst").string(), 0);
        std::vector<MoleculeRecord> out;
        for (int64_t i = 0; i < index.Count(); ++i)
            out.push_back(index.Record(i));
        return out;
    }
};

TEST_F(RebuildE2e, EveryRowGetsTheIdentifierTheIndexGaveItsStructure)
{
    StructureDesktop desk(205); // more than two pages of rows
    desk.addRow(nullptr);
    const std::string empty, garbage = "this is not CDXML";
    desk.addRow(&empty);
    desk.addRow(&garbage);

    auto sizes = build();
    EXPECT_EQ(sizes.size(), 21u);
    EXPECT_EQ(sizes.back(), 8);

    auto rows = desk.molIds();
    ASSERT_EQ(rows.size(), 208u);
    for (size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(rows[i].second, static_cast<int64_t>(i + 1)) << "row " << rows[i].first;

    StructureIndex index;
    index.OpenOrCreate(mst(), 0);
    ASSERT_EQ(index.Count(), 208);
    // The seeded rows repeat the sample's 30 structures: equal structures, equal records.
    EXPECT_FALSE(index.Record(0).empty());
    EXPECT_EQ(index.Record(0).binary, index.Record(30).binary);
    EXPECT_NE(index.Record(0).binary, index.Record(1).binary);
    // The NULL, the empty text and the unreadable text are entries without a structure.
    EXPECT_TRUE(index.Record(205).empty());
    EXPECT_TRUE(index.Record(206).empty());
    EXPECT_TRUE(index.Record(207).empty());
    for (const char* ext : {".msx", ".mss", ".msk", ".msf"})
        EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(mst()).replace_extension(ext)));
}

TEST_F(RebuildE2e, ReadersParsingAheadKeepThePrimaryKeyOrder)
{
    StructureDesktop desk(230);
    const std::string garbage = "this is not CDXML";
    desk.addRow(nullptr);
    desk.addRow(&garbage);
    desk.addRow(&garbage);

    build(1 << 30, 1);
    const auto oneReader = records(indexFolder);
    TempDir other;
    build(1 << 30, 3, &other);
    const auto threeReaders = records(other);

    ASSERT_EQ(oneReader.size(), 233u);
    ASSERT_EQ(threeReaders.size(), oneReader.size());
    for (size_t i = 0; i < oneReader.size(); ++i) {
        EXPECT_EQ(threeReaders[i].binary, oneReader[i].binary) << "structure " << i + 1;
        EXPECT_EQ(threeReaders[i].fingerprint, oneReader[i].fingerprint) << "structure " << i + 1;
    }
    auto rows = desk.molIds();
    for (size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(rows[i].second, static_cast<int64_t>(i + 1));
}

TEST_F(RebuildE2e, ASliceWithAWaitLimitTakesOnlyTheRowsParsedByThen)
{
    StructureDesktop desk(25);
    FakeChemistryLibrary fake;
    fake.reads.allowReads(0);
    using Clock = IndexRebuild::Clock;
    {
        IndexRebuild rebuild(fake, 1); // the reads let through are those of the first rows
        // A failed check must not leave the readers waiting at the gate: the rebuild joins them.
        std::shared_ptr<void> openGate(nullptr, [&](void*) { fake.reads.allowReads(-1); });
        rebuild.Open(kStructureServer, kStructureDatabase, indexFolder.str());
        EXPECT_EQ(rebuild.ProcessSlice(10, Clock::now() + std::chrono::milliseconds(20)), 0);
        EXPECT_FALSE(rebuild.AtEnd(Clock::now() + std::chrono::milliseconds(20)));

        fake.reads.allowReads(4);
        const auto until = Clock::now() + std::chrono::seconds(20);
        while (rebuild.RowsReady() < 4 && Clock::now() < until)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ASSERT_EQ(rebuild.RowsReady(), 4u);
        EXPECT_EQ(rebuild.ProcessSlice(10, Clock::now()), 4);
        EXPECT_EQ(rebuild.RowsReady(), 0u);

        // Without a limit a slice waits for its rows, as a caller without a window wants.
        fake.reads.allowReads(-1);
        EXPECT_EQ(rebuild.ProcessSlice(10), 10);
        EXPECT_EQ(rebuild.ProcessSlice(10), 10);
        EXPECT_EQ(rebuild.ProcessSlice(10), 1);
        EXPECT_TRUE(rebuild.AtEnd());
        rebuild.Finish();
    }
    auto rows = desk.molIds();
    ASSERT_EQ(rows.size(), 25u);
    for (size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(rows[i].second, static_cast<int64_t>(i + 1));
    EXPECT_EQ(reopenedCount(), 25);
}

TEST_F(RebuildE2e, AStopKeepsTheIdentifiersOfTheRowsAlreadyProcessed)
{
    StructureDesktop desk(25);
    build(2);
    auto rows = desk.molIds();
    ASSERT_EQ(rows.size(), 25u);
    for (size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(rows[i].second, i < 20 ? static_cast<int64_t>(i + 1) : 0) << i;
    EXPECT_EQ(reopenedCount(), 20);
}

TEST_F(RebuildE2e, ASecondBuildIntoTheSameFolderAppendsAndContinuesTheIdentifiers)
{
    StructureDesktop desk(25);
    build();
    build();
    auto rows = desk.molIds();
    ASSERT_EQ(rows.size(), 25u);
    for (size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(rows[i].second, static_cast<int64_t>(26 + i));
    EXPECT_EQ(reopenedCount(), 50);
}

TEST_F(RebuildE2e, ABuildKilledMidWayLeavesAnIndexThatReopens)
{
    StructureDesktop desk(400);
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // The child has no stand-in for this computer's name: it names the server by address.
        execl(LF_REBUILD_CHILD, LF_REBUILD_CHILD, "127.0.0.1\\VELDRIN", kStructureDatabase,
              indexFolder.str().c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    // Kill it once some slices are written back, without letting it end.
    auto numbered = [&] {
        int n = 0;
        for (auto& [key, id] : desk.molIds())
            n += id != 0;
        return n;
    };
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    int status = 0;
    bool ended = false;
    while (!ended && numbered() < 30 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ended = waitpid(child, &status, WNOHANG) == child;
    }
    if (!ended) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    ASSERT_TRUE(WIFSIGNALED(status)) << "the build ended before it was killed";

    const int withIds = numbered();
    ASSERT_GE(withIds, 30);
    ASSERT_LT(withIds, 400);
    // Every identifier written back names a structure the index holds.
    const int64_t count = reopenedCount();
    EXPECT_GE(count, withIds);
    for (auto& [key, id] : desk.molIds())
        EXPECT_LE(id, count);

    // And the next build carries on from there.
    build();
    auto rows = desk.molIds();
    EXPECT_EQ(rows.front().second, count + 1);
    EXPECT_EQ(rows.back().second, count + 400);
}

} // namespace
