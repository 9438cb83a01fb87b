#include "MoleculeFromCDXML.h"

#include "FakeChemistry.h"
#include "ScopedEnv.h"
#include "TempDir.h"
#include "TempFiles.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

class MoleculeFromCDXMLTest : public ::testing::Test {
protected:
    TempDir cache;
    ScopedEnv cacheHome{"XDG_CACHE_HOME", cache.str()};
    FakeChemistryLibrary library;
    fs::path tempParent = fs::path(GetTempFolderPath()).parent_path();

    std::vector<fs::path> leftFiles() const
    {
        std::vector<fs::path> files;
        for (const auto& e : fs::directory_iterator(tempParent))
            if (e.is_regular_file())
                files.push_back(e.path());
        return files;
    }
};

TEST_F(MoleculeFromCDXMLTest, EmptyTextGivesNoneWithoutAFileOrTheLibrary)
{
    library.createError = kCannotCreateObject; // would raise if asked
    EXPECT_EQ(MoleculeFromCDXML(library, ""), nullptr);
    EXPECT_TRUE(library.reads.paths().empty());
    EXPECT_TRUE(leftFiles().empty());
}

TEST_F(MoleculeFromCDXMLTest, TheLibraryReadsATemporaryCopyThatIsThenDeleted)
{
    auto m = MoleculeFromCDXML(library, "<CDXML>benzene</CDXML>");
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->record().binary, "mol:<CDXML>benzene</CDXML>");
    ASSERT_EQ(library.reads.paths().size(), 1u);
    const fs::path read = library.reads.paths()[0];
    EXPECT_EQ(read.parent_path(), tempParent);
    EXPECT_EQ(read.filename().string().substr(0, 4), "Temp");
    EXPECT_EQ(read.extension(), ".cdxml");
    EXPECT_FALSE(fs::exists(read));
    EXPECT_TRUE(leftFiles().empty());
}

TEST_F(MoleculeFromCDXMLTest, AStructureTheLibraryCannotReadIsReturnedAsItStands)
{
    auto m = MoleculeFromCDXML(library, "unreadable");
    ASSERT_NE(m, nullptr);
    EXPECT_TRUE(m->record().empty());
    EXPECT_TRUE(leftFiles().empty());
}

TEST_F(MoleculeFromCDXMLTest, AMissingLibraryRaises429AndLeavesTheFileBehind)
{
    library.createError = kCannotCreateObject;
    try {
        MoleculeFromCDXML(library, "<CDXML/>");
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 429u);
        EXPECT_EQ(e.description(), "Active-X cannot create Strucora10.Molecule object");
    }
    auto left = leftFiles();
    ASSERT_EQ(left.size(), 1u);
    EXPECT_EQ(left[0].extension(), ".cdxml");
}

TEST_F(MoleculeFromCDXMLTest, OtherCreationErrorsKeepTheirNumber)
{
    library.createError = 0x80070005;
    library.createErrorText = "access is denied";
    try {
        MoleculeFromCDXML(library, "<CDXML/>");
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80070005u);
        EXPECT_EQ(e.description(), "while creating the Strucora10.Molecule object: access is denied");
    }
}

TEST_F(MoleculeFromCDXMLTest, AModuleThatCannotBeLoadedActsAsAMissingLibrary)
{
    auto missing = LoadChemistryLibrary((cache.path() / "no-such-module.so").string());
    try {
        MoleculeFromCDXML(*missing, "<CDXML/>");
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 429u);
        EXPECT_EQ(e.description(), "Active-X cannot create Strucora10.Molecule object");
    }
    EXPECT_EQ(leftFiles().size(), 1u);
    EXPECT_NE(missing->AttachDrawingApplication(), nullptr);
}

} // namespace
