#include "TempFiles.h"

#include "ScopedEnv.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <set>

namespace fs = std::filesystem;

namespace {

TEST(TempFilesTest, TheTemporaryFolderIsTheUsersOwnAndHasNoTrailingSeparator)
{
    TempDir dir;
    ScopedEnv cache("XDG_CACHE_HOME", dir.str());
    const std::string temp = GetTempFolderPath();
    EXPECT_EQ(temp, (dir.path() / "Labfolio" / "Temp").string());
    EXPECT_TRUE(fs::is_directory(temp));
    EXPECT_NE(temp.back(), '/');
}

TEST(TempFilesTest, NamesLandBesideTheFolderWithAnAtSignToYAndSixDigits)
{
    TempDir dir;
    const std::string base = (dir.path() / "Temp").string();
    const std::regex shape(R"(Temp[@A-Y][0-9]{6}\.cdxml)");
    std::set<char> letters;
    for (int i = 0; i < 2000; ++i) {
        fs::path name = MakeUniqueTempFileName(base, "cdxml");
        EXPECT_EQ(name.parent_path(), dir.path());
        ASSERT_TRUE(std::regex_match(name.filename().string(), shape)) << name;
        letters.insert(name.filename().string()[4]);
    }
    EXPECT_TRUE(letters.count('@')); // code 64 is drawn, "Z" (90) never is
    EXPECT_FALSE(letters.count('Z'));
    EXPECT_EQ(letters.size(), 26u);
}

TEST(TempFilesTest, ANameOfAnExistingFileIsDrawnAgain)
{
    TempDir dir;
    const std::string base = (dir.path() / "Temp").string();
    std::srand(77);
    const std::string first = MakeUniqueTempFileName(base, "cdxml");
    dir.write(fs::path(first).filename().string(), "taken");
    std::srand(77); // the same draws again: the first is taken now
    const std::string second = MakeUniqueTempFileName(base, "cdxml");
    EXPECT_NE(second, first);
    EXPECT_FALSE(fs::exists(second));
}

} // namespace
