// The index rebuild as one command, and Ctrl-C half-way through it.
#include "CliE2eFixture.h"
#include "structindex_E2eSupport.h"

#include "StructureIndex.h"

#include <csignal>

namespace fs = std::filesystem;

namespace {

// The seed's structure file, made before the stand-in starts.
struct StructureFile {
    TempDir structureFolder;
};

class CliRebuildE2e : private StructureFile, public CliE2e {
protected:
    explicit CliRebuildE2e(int structures = 30) : CliE2e({desktopWith(structureFolder, structures)}) {}

    static StandinServer::Instance desktopWith(const TempDir& files, int structures)
    {
        auto instance = cliDesktopInstance();
        instance.seedArguments.push_back("--structures");
        instance.seedArguments.push_back(files.write("structures.txt", structureLines(structures)).string());
        return instance;
    }

    std::vector<std::string> rebuild() const
    {
        return {"rebuild-index", "--server",    clientHostName() + "\\VELDRIN",
                "--database",    "LFDesktop10", "--index-folder",
                index().string()};
    }

    std::vector<int64_t> molIds() { return MolIdsInKeyOrder(*machine.sa("VELDRIN", "LFDesktop10")); }
};

class LargeCliRebuildE2e : public CliRebuildE2e {
protected:
    LargeCliRebuildE2e() : CliRebuildE2e(600) {}
};

} // namespace

TEST_F(CliRebuildE2e, RebuildNumbersEveryStructureAndPrintsItsResult)
{
    const CliRun r = run(rebuild());
    ASSERT_EQ(r.status, 0) << said(r);
    EXPECT_EQ(r.out, "Build Completed\nThe wizard has successfully built the MST File.\n");
    EXPECT_NE(r.err.find("30 of 30 structures"), std::string::npos) << r.err;
    const std::vector<int64_t> ids = molIds();
    ASSERT_EQ(ids.size(), 30u);
    for (size_t i = 0; i < ids.size(); ++i)
        EXPECT_EQ(ids[i], static_cast<int64_t>(i + 1));
    EXPECT_TRUE(fs::exists(index() / "Labfolio.mst"));
}

TEST_F(CliRebuildE2e, ADryRunShowsTheIndexSummaryAndWritesNothing)
{
    const auto before = files();
    const auto idsBefore = molIds();
    const CliRun r = run({"rebuild-index", "--server", clientHostName() + "\\VELDRIN", "--database",
                          "LFDesktop10", "--index-folder", index().string(), "--dry-run"});
    ASSERT_EQ(r.status, 0) << said(r);
    EXPECT_EQ(r.out, "Ready to Build the MST File\nYou specified the following parameters:\nServer: " +
                         clientHostName() +
                         "\\VELDRIN\nDatabase: LFDesktop10\nMST File Location: " + index().string() + "\n");
    EXPECT_EQ(files(), before);
    EXPECT_EQ(molIds(), idsBefore);
}

TEST_F(CliRebuildE2e, ADatabaseThatDoesNotExistIsRefused)
{
    const CliRun r = run({"rebuild-index", "--server", clientHostName() + "\\VELDRIN", "--database",
                          "Nothing", "--index-folder", index().string()});
    EXPECT_EQ(r.status, 2) << said(r);
    EXPECT_EQ(r.err, "Database Setup: The database Nothing does not exist.\n");
}

TEST_F(LargeCliRebuildE2e, CtrlCStopsBetweenSlicesTheIndexReopensAndTheNumberedRowsAreInIt)
{
    // Held still the moment it reports its first slice, so that Ctrl-C reaches it half-way.
    cli.whileRunning = [](pid_t child, const std::string& err) {
        if (err.find(" structures") == std::string::npos)
            return false;
        ::kill(child, SIGSTOP);
        ::kill(child, SIGINT);
        ::kill(child, SIGCONT);
        return true;
    };
    const CliRun r = run(rebuild());
    ASSERT_EQ(r.status, 130) << said(r);
    EXPECT_TRUE(r.out.empty());
    EXPECT_NE(r.err.find("Stopped: "), std::string::npos) << r.err;

    const std::vector<int64_t> ids = molIds();
    const auto numbered =
        static_cast<size_t>(std::count_if(ids.begin(), ids.end(), [](int64_t id) { return id; }));
    EXPECT_GT(numbered, 0u);
    EXPECT_LT(numbered, ids.size()) << "stopped before the end";
    for (size_t i = 0; i < numbered; ++i)
        EXPECT_EQ(ids[i], static_cast<int64_t>(i + 1));

    // Nothing but the index's own files in its folder, and the index opens with every numbered row.
    for (const auto& entry : fs::directory_iterator(index()))
        EXPECT_EQ(entry.path().stem(), "Labfolio") << entry.path();
    StructureIndex reopened;
    reopened.OpenOrCreate((index() / "Labfolio.mst").string(), 0);
    EXPECT_GE(reopened.LastIdentifier(), static_cast<int64_t>(numbered));
}
