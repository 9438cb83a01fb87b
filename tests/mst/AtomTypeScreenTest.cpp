// The atom-type key lets a search skip the structures whose atoms a SMARTS pattern rules out; it
// must never skip one that matches. Each pattern is searched in an index of each format version
// and compared with RDKit matching every structure one by one.
#include "IndexSnapshot.h"
#include "IndexVerifier.h"
#include "MstFixtures.h"
#include "StructureQuery.h"
#include "SubstructureSearch.h"
#include "TempDir.h"

#include <GraphMol/RWMol.h>

#include <GraphMol/SmilesParse/SmilesParse.h>

#include "rdkit/AtomTypeKey.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;
using namespace mstfixtures;

namespace {

// Functional groups as chemists write them, and the SMARTS forms the screen must read right or
// leave alone: "or", "not", recursion, rings, any bond, charges, atoms given by number.
const char* const kPatterns[] = {
    "[CX3](=O)[OX2H1]",     "[CX3]=[OX1]",          "[#6][CX3](=O)[#6]",  "[NX3][CX3](=[OX1])[#6]",
    "[SX4](=O)(=O)N",       "[N+](=O)[O-]",         "[$([NX3](=O)=O),$([NX3+](=O)[O-])]",
    "[F,Cl,Br,I]",          "[CX4][OH]",            "[c][NX3H2]",         "[#6]~[#7]",
    "[OX2H0]([#6])[#6]",    "[CX3H1](=O)[#6]",      "[NX1]#[CX2]",        "[C;!R]=[C;!R]",
    "[OX2H][c]",            "[#7][#6](=[#8])[#8]",  "[nH]",               "[n;H0]",
    "[CX3](=O)[OX2H0][#6]", "[#16X2H]",             "[NX3;H2,H1;!$(NC=O)]", "[cR2]",
    "C(=O)O",               "c:c-[OH]",             "[O-]C(=O)",          "[CH3][CH2][OH]",
    "[CH2]=[CH]",           "[#6;a][#7;A]",         "[N;+1]",             "[#8;-1]",
    "[Cl;X1]",              "[c;H1]:[c;H1]",        "[#6]@[#7]",          "[CX4;!H0]",
    "*~[#8]",               "[C&X3]=[C&X3]",        "[O;X2;H1]-[C;X4]",   "[n&H1]:c",
    "[#6]#[#6]",            "[Br,I]c",              "[!#6;!#1]=O",        "[c,n]1[c,n][c,n][c,n][c,n][c,n]1",
    "[NX3H2]-[CX4]",        "[S;D2]",               "[#7;R][#6;R]=[#8]",  "[n+]",
};

class AtomTypeScreenTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        s_dir = new TempDir;
        auto structures = demoStructures();
        const auto more = testStructures();
        structures.insert(structures.end(), more.begin(), more.end());
        const auto recs = records(structures);
        buildIndex(newest(), recs);
        buildIndex(versionOne(), recs, 0, 1);
        s_reference = new BruteForce(structures);
    }
    static void TearDownTestSuite()
    {
        delete s_reference;
        delete s_dir;
    }
    static fs::path newest() { return s_dir->path() / "Newest.mst"; }
    static fs::path versionOne() { return s_dir->path() / "Older.mst"; }

    static std::pair<std::vector<uint32_t>, SubstructureSearch::Counts> search(const fs::path& mst,
                                                                                const std::string& text)
    {
        IndexSnapshot index(mst);
        StructureQuery query(text, false);
        std::vector<uint32_t> ids;
        const auto counts = SubstructureSearch(index, query).run({}, [&](uint32_t id) { ids.push_back(id); });
        return {ids, counts};
    }

    static TempDir* s_dir;
    static BruteForce* s_reference;
};
TempDir* AtomTypeScreenTest::s_dir = nullptr;
BruteForce* AtomTypeScreenTest::s_reference = nullptr;

TEST_F(AtomTypeScreenTest, NeverSkipsAStructureThatMatches)
{
    size_t patternsWithHits = 0;
    for (const char* pattern : kPatterns) {
        const auto expected = s_reference->matches(pattern, false);
        patternsWithHits += expected.empty() ? 0 : 1;
        EXPECT_EQ(search(newest(), pattern).first, expected) << pattern;
        EXPECT_EQ(search(versionOne(), pattern).first, expected) << pattern;
    }
    EXPECT_GT(patternsWithHits, std::size(kPatterns) * 3 / 4) << "too few patterns test anything";
}

TEST_F(AtomTypeScreenTest, SkipsStructuresWhoseAtomsRuleThePatternOut)
{
    // Most structures with a C=O and a C-O are esters, ketones or alcohols, not acids: the
    // pattern key lets them through, the atom types do not.
    const char* acid = "[CX3](=O)[OX2H1]";
    const auto [ids, withTypes] = search(newest(), acid);
    const auto [same, keyAlone] = search(versionOne(), acid);
    ASSERT_EQ(ids, same);
    EXPECT_GE(withTypes.matched, ids.size());
    EXPECT_LT(withTypes.matched * 2, keyAlone.matched)
        << withTypes.matched << " of " << keyAlone.matched << " structures still matched one by one";
}

TEST_F(AtomTypeScreenTest, BothVersionsPassTheirCheck)
{
    for (const fs::path& mst : {newest(), versionOne()}) {
        IndexSnapshot index(mst);
        EXPECT_EQ(IndexVerifier(index).run().structures, index.count()) << mst;
    }
    EXPECT_EQ(IndexSnapshot(newest()).formatVersion(), 2u);
    EXPECT_EQ(IndexSnapshot(versionOne()).formatVersion(), 1u);
}

std::unique_ptr<RDKit::RWMol> smarts(const char* text)
{
    return std::unique_ptr<RDKit::RWMol>(RDKit::SmartsToMol(text));
}

TEST(AtomTypeKeyTest, AnAtomAsksForTheViewOfEveryConditionItJoinsWithAnd)
{
    using namespace atomtypes;
    const auto groups = queryGroups(*smarts("[#6;X4;H2]"));
    AtomType carbon;
    carbon.element = 6;
    carbon.connections = 4;
    carbon.hydrogens = 2;
    ASSERT_EQ(groups.size(), 1u);
    EXPECT_EQ(groups[0], std::vector<unsigned>{atomBit(code(carbon, kConnections | kHydrogens))});
}

TEST(AtomTypeKeyTest, ConditionsUnderOrOrNotAndRecursiveOnesAskForNothing)
{
    using namespace atomtypes;
    for (const char* pattern : {"[F,Cl]", "[!#6]", "[$(C=O)]", "*", "[R2]"})
        EXPECT_TRUE(queryGroups(*smarts(pattern)).empty()) << pattern;
    // A condition left out still leaves the others: the element of "[C;!X4]".
    AtomType carbon;
    carbon.element = 6;
    carbon.aromatic = 0;
    EXPECT_EQ(queryGroups(*smarts("[C;!X4]")), Groups{{atomBit(code(carbon, kAromatic))}});
}

TEST(AtomTypeKeyTest, ABondOfTwoPossibleTypesAsksForEither)
{
    using namespace atomtypes;
    AtomType c;
    c.element = 6;
    c.aromatic = 0;
    AtomType o = c;
    o.element = 8;
    // No bond symbol between aliphatic atoms: single or aromatic.
    const Groups groups = queryGroups(*smarts("CO"));
    const std::vector<unsigned> either{bondBit(code(c, kAromatic), RDKit::Bond::SINGLE, code(o, kAromatic)),
                                       bondBit(code(c, kAromatic), RDKit::Bond::AROMATIC, code(o, kAromatic))};
    EXPECT_NE(std::find(groups.begin(), groups.end(), either), groups.end());
    // A bond of any type asks for nothing; its atoms still do.
    EXPECT_EQ(queryGroups(*smarts("C~O")).size(), 2u);
}

TEST(AtomTypeKeyTest, OnlyPatternsNameAtomTypes)
{
    EXPECT_TRUE(StructureQuery("[CX3](=O)[OX2H1]", false).namesAtomTypes());
    EXPECT_FALSE(StructureQuery("CC(=O)O", false).namesAtomTypes()) << "SMILES atoms match by element";
    EXPECT_FALSE(StructureQuery("[F,Cl,Br,I]", false).namesAtomTypes());
}

} // namespace
