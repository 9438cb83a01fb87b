// The structure index rebuild through unixODBC and FreeTDS against the stand-in, with the RDKit
// chemistry module.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

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
    std::vector<int> build(int slices = 1 << 30)
    {
        IndexRebuild rebuild(*library);
        rebuild.Open(kStructureServer, kStructureDatabase, indexFolder.str());
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
