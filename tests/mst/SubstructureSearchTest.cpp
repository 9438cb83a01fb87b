#include "SubstructureSearch.h"

#include "IndexError.h"
#include "IndexSnapshot.h"
#include "MstFixtures.h"
#include "StructureIndex.h"
#include "StoredMolecule.h"
#include "StructureQuery.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <thread>

namespace fs = std::filesystem;
using namespace mstfixtures;

namespace {

struct QueryCase {
    const char* name;
    const char* query;
    bool exact;
    bool hits; // whether the structures hold it at all
};

// What the notebook's users look for: a ring, a functional group in SMARTS, a fused ring
// system, something no structure holds, one whole structure.
const QueryCase kQueries[] = {
    {"benzene", "c1ccccc1", false, true},
    {"carboxylic_acid", "[CX3](=O)[OX2H1]", false, true},
    {"naphthalene", "c1ccc2ccccc2c1", false, true},
    {"carbonyl_smarts", "[#6]=[#8]", false, true},
    {"no_hits", "[Xe]", false, false},
    {"methylbenzoquinone_exact", "CC1=CC(=O)C=CC1=O", true, true},
    {"benzene_exact", "c1ccccc1", true, false},
};

void PrintTo(const QueryCase& c, std::ostream* os)
{
    *os << c.name; // the query itself may hold brackets, which test names cannot
}

std::vector<uint32_t> search(const fs::path& mst, const std::string& text, bool exact,
                             SubstructureSearch::Options options = {})
{
    IndexSnapshot index(mst);
    StructureQuery query(text, exact);
    std::vector<uint32_t> ids;
    SubstructureSearch(index, query).run(options, [&](uint32_t id) { ids.push_back(id); });
    return ids;
}

class SubstructureSearchTest : public ::testing::TestWithParam<QueryCase> {
protected:
    TempDir dir;
    fs::path mst = dir.path() / "Labfolio.mst";

    void expectLikeBruteForce(const std::vector<std::string>& structures)
    {
        const QueryCase& c = GetParam();
        buildIndex(mst, records(structures));
        const auto expected = BruteForce(structures).matches(c.query, c.exact);
        EXPECT_EQ(!expected.empty(), c.hits) << "the table's case does not test what it says";
        EXPECT_EQ(search(mst, c.query, c.exact), expected);
        SubstructureSearch::Options threads;
        threads.threads = 4;
        EXPECT_EQ(search(mst, c.query, c.exact, threads), expected);
    }
};

TEST_P(SubstructureSearchTest, FindsWhatBruteForceFindsInTheTestStructures)
{
    expectLikeBruteForce(testStructures());
}

TEST_P(SubstructureSearchTest, FindsWhatBruteForceFindsInTheDemoStructures)
{
    expectLikeBruteForce(demoStructures());
}

INSTANTIATE_TEST_SUITE_P(Queries, SubstructureSearchTest, ::testing::ValuesIn(kQueries),
                         [](const auto& info) { return std::string(info.param.name); });

class SubstructureSearchRunTest : public ::testing::Test {
protected:
    TempDir dir;
    fs::path mst = dir.path() / "Labfolio.mst";
};

TEST_F(SubstructureSearchRunTest, StopsAfterTheLimitWithTheFirstMatches)
{
    const auto structures = testStructures();
    buildIndex(mst, records(structures), 3000); // the 30 structures a hundred times over
    const auto all = BruteForce(structures).matches("c1ccccc1", false, 3000);
    ASSERT_GT(all.size(), 600u);
    for (unsigned threads : {1u, 3u}) {
        SubstructureSearch::Options options;
        options.limit = 600;
        options.threads = threads;
        EXPECT_EQ(search(mst, "c1ccccc1", false, options),
                  std::vector<uint32_t>(all.begin(), all.begin() + 600));
    }
}

TEST_F(SubstructureSearchRunTest, ScreensOutMostStructuresBeforeMatching)
{
    const auto structures = testStructures();
    buildIndex(mst, records(structures));
    IndexSnapshot index(mst);
    StructureQuery query("c1ccc2ccccc2c1", false);
    const auto counts = SubstructureSearch(index, query).run({}, [](uint32_t) {});
    EXPECT_EQ(counts.structures, 30u);
    EXPECT_EQ(counts.screenedOut + counts.matched + counts.empty, 30u);
    EXPECT_GT(counts.screenedOut, 15u);
    EXPECT_GE(counts.matched, counts.hits);
    EXPECT_EQ(counts.hits, BruteForce(structures).matches("c1ccc2ccccc2c1", false).size());
}

TEST_F(SubstructureSearchRunTest, SeesTheLastCompletedSliceWhileARebuildAppends)
{
    const auto structures = testStructures();
    const auto recs = records(structures);
    const BruteForce reference(structures);
    buildIndex(mst, recs, 10);
    std::atomic<bool> done{false};
    std::thread rebuild([&] {
        StructureIndex index;
        index.OpenOrCreate(mst.string(), 0);
        for (size_t i = 10; i < 1500; ++i) {
            const MoleculeRecord& r = recs[i % recs.size()];
            StoredMolecule m(r);
            index.AddMolecule(r.empty() ? nullptr : &m, 0);
            if (i % 10 == 9)
                index.Commit();
        }
        index.Flush();
        done = true;
    });
    int searches = 0;
    uint64_t lastCount = 0;
    while (!done || searches == 0) {
        IndexSnapshot index(mst);
        EXPECT_EQ(index.count() % 10, 0u) << "a snapshot ends at a slice";
        EXPECT_GE(index.count(), lastCount);
        lastCount = index.count();
        StructureQuery query("[CX3](=O)[OX2H1]", false);
        std::vector<uint32_t> ids;
        SubstructureSearch(index, query).run({0, 2}, [&](uint32_t id) { ids.push_back(id); });
        EXPECT_EQ(ids, reference.matches("[CX3](=O)[OX2H1]", false, index.count()));
        ++searches;
    }
    rebuild.join();
    EXPECT_EQ(IndexSnapshot(mst).count(), 1500u);
    EXPECT_GT(searches, 1);
}

TEST_F(SubstructureSearchRunTest, AMatchingStructureThatIsDamagedEndsTheSearch)
{
    const auto structures = testStructures();
    buildIndex(mst, records(structures));
    const auto benzenes = BruteForce(structures).matches("c1ccccc1", false);
    ASSERT_FALSE(benzenes.empty());
    const uint32_t victim = benzenes.back();
    uint64_t offset = 0;
    {
        IndexSnapshot index(mst);
        IndexSnapshot::Page page;
        index.readPage(victim - 1, 1, page);
        offset = 32 + page.entries[0].offset + page.entries[0].length / 2;
    }
    {
        std::fstream f(fs::path(mst).replace_extension(".mss"),
                       std::ios::in | std::ios::out | std::ios::binary);
        f.seekp(static_cast<std::streamoff>(offset));
        f.put('\x7f');
    }
    for (unsigned threads : {1u, 4u}) {
        try {
            search(mst, "c1ccccc1", false, {0, threads});
            ADD_FAILURE() << "the damage went unnoticed";
        } catch (const IndexError& e) {
            EXPECT_EQ(e.kind(), IndexError::Kind::Damaged);
            EXPECT_EQ(e.description(), "the structure index \"" + mst.string() + "\" is damaged: structure " +
                                           std::to_string(victim) +
                                           "'s molecule in \"Labfolio.mss\" does not match its checksum");
        }
    }
}

} // namespace
