#include "ChemistryLibrary.h"
#include "MoleculeFromCDXML.h"
#include "ScopedEnv.h"
#include "StructureIndex.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

std::string fixture(const std::string& name)
{
    std::ifstream in(std::string(LF_TEST_DATA) + "/structindex/" + name, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        out.push_back(line);
    return out;
}

bool contains(const MoleculeRecord::Fingerprint& whole, const MoleculeRecord::Fingerprint& part)
{
    for (size_t i = 0; i < whole.size(); ++i)
        if ((part[i] & ~whole[i]) != 0)
            return false;
    return true;
}

class RdkitChemistryTest : public ::testing::Test {
protected:
    TempDir cache;
    ScopedEnv cacheHome{"XDG_CACHE_HOME", cache.str()};
    std::shared_ptr<ChemistryLibrary> library = LoadChemistryLibrary();

    MoleculeRecord read(const std::string& cdxml)
    {
        auto m = MoleculeFromCDXML(*library, cdxml);
        return m ? m->record() : MoleculeRecord{};
    }
};

TEST_F(RdkitChemistryTest, ReadsDrawnStructuresWithTheirCounts)
{
    auto structures = lines(fixture("nci30.txt"));
    ASSERT_EQ(structures.size(), 30u);
    // CC1=CC(=O)C=CC1=O, a methyl benzoquinone
    auto quinone = read(structures[0]);
    ASSERT_FALSE(quinone.empty());
    EXPECT_EQ(quinone.heavyAtoms, 9u);
    EXPECT_EQ(quinone.bonds, 9u);
    EXPECT_EQ(quinone.rings, 1u);
    // S(SC1=NC2=CC=CC=C2S1)C3=NC4=C(S3)C=CC=C4, two benzothiazoles joined by a disulfide
    auto disulfide = read(structures[1]);
    EXPECT_EQ(disulfide.heavyAtoms, 20u);
    EXPECT_EQ(disulfide.rings, 4u);
    for (const auto& s : structures)
        EXPECT_FALSE(read(s).empty());
}

TEST_F(RdkitChemistryTest, PatternFingerprintsScreenSubstructures)
{
    auto structures = lines(fixture("nci30.txt"));
    auto benzene = read(fixture("benzene.cdxml"));
    ASSERT_FALSE(benzene.empty());
    EXPECT_TRUE(contains(read(structures[1]).fingerprint, benzene.fingerprint));
    EXPECT_FALSE(contains(read(structures[0]).fingerprint, benzene.fingerprint));
    EXPECT_TRUE(contains(benzene.fingerprint, benzene.fingerprint));
}

TEST_F(RdkitChemistryTest, AStructureTheToolkitCannotParseGoesInAsItStands)
{
    auto m = MoleculeFromCDXML(*library, "this is not a CDXML document");
    ASSERT_NE(m, nullptr);
    EXPECT_TRUE(m->record().empty());

    TempDir dir;
    StructureIndex index;
    index.OpenOrCreate((dir.path() / "Labfolio.mst").string(), 0);
    index.AddMolecule(m.get(), 0);
    EXPECT_EQ(index.LastIdentifier(), 1);
    auto quinone = MoleculeFromCDXML(*library, lines(fixture("nci30.txt"))[0]);
    index.AddMolecule(quinone.get(), 0);
    index.Commit();
    EXPECT_TRUE(index.Record(0).empty());
    EXPECT_EQ(index.Record(1).binary, quinone->record().binary);
}

} // namespace
