#include "IndexFileChoice.h"

#include "TempDir.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

TEST(FileTypeDescriptionTest, DescribesAnExtensionAsWindowsDescribesOneItDoesNotKnow)
{
    EXPECT_EQ(FileTypeDescription("x.MST"), "MST File");
    EXPECT_EQ(FileTypeDescription("/data/Labfolio.mst"), "MST File");
    EXPECT_EQ(FileTypeDescription("a.b.MsT"), "MST File");
    EXPECT_EQ(FileTypeDescription("notes.msx"), "MSX File");
    EXPECT_EQ(FileTypeDescription("README"), "File");
    EXPECT_EQ(FileTypeDescription("trailing."), "File");
}

TEST(ChooseIndexFileTest, AnEmptyFolderGetsTheDefaultName)
{
    TempDir dir;
    EXPECT_EQ(ChooseIndexFile(dir.str()), (dir.path() / "Labfolio.mst").string());
}

TEST(ChooseIndexFileTest, TheDefaultFileWinsOverAnotherIndexFile)
{
    TempDir dir;
    dir.write("Another.mst", "x");
    dir.write("Labfolio.mst", "x");
    EXPECT_EQ(ChooseIndexFile(dir.str()), (dir.path() / "Labfolio.mst").string());
}

TEST(ChooseIndexFileTest, AnyCaseOfTheExtensionIsTaken)
{
    TempDir dir;
    dir.write("notes.txt", "x");
    dir.write("x.MST", "x");
    EXPECT_EQ(ChooseIndexFile(dir.str()), (dir.path() / "x.MST").string());
}

TEST(ChooseIndexFileTest, WithTwoIndexFilesTheFirstListedIsTaken)
{
    TempDir dir;
    dir.write("b.mst", "x");
    dir.write("a.Mst", "x");
    std::string first;
    for (const auto& e : fs::directory_iterator(dir.path()))
        if (first.empty())
            first = e.path().filename().string();
    EXPECT_EQ(ChooseIndexFile(dir.str()), (dir.path() / first).string());
}

TEST(ChooseIndexFileTest, AFolderNamedLikeAnIndexIsNotTaken)
{
    TempDir dir;
    fs::create_directory(dir.path() / "old.mst");
    EXPECT_EQ(ChooseIndexFile(dir.str()), (dir.path() / "Labfolio.mst").string());
}

TEST(ChooseIndexFileTest, ATrailingSeparatorIsNotDoubled)
{
    TempDir dir;
    EXPECT_EQ(ChooseIndexFile(dir.str() + "/"), dir.str() + "/Labfolio.mst");
}

} // namespace
