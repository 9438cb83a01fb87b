#include "ShellFolders.h"

#include "LfError.h"
#include "PathUtils.h"
#include "RegistryFixture.h"

#include <gtest/gtest.h>

namespace {

const std::string kShellFolders =
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders]\r\n";

TEST(ShellFoldersTest, SubFolderNamesMajorAndMinorInPlainDecimal)
{
    EXPECT_EQ(ShellFolders::ProductSubFolder(10, 0), "Labfolio 10.0");
    EXPECT_EQ(ShellFolders::ProductSubFolder(10, 12), "Labfolio 10.12");
    EXPECT_EQ(ShellFolders::ProductSubFolder(9, 5), "Labfolio 9.5");
}

TEST(ShellFoldersTest, CommonAppDataIsJoinedWithThisVersionsSubFolder)
{
    RegistryFixture registry(std::string(regtext::kHeader) + kShellFolders +
                             "\"Common AppData\"=\"C:\\\\ProgramData\"\r\n\r\n");
    EXPECT_EQ(ShellFolders::GetCommonAppDataFolder(),
              std::string("C:\\ProgramData") + paths::Separator() + "Labfolio 10.0");
}

TEST(ShellFoldersTest, ValueEndingInBackslashGetsNoSecondOne)
{
    RegistryFixture registry(
        std::string(regtext::kHeader) + kShellFolders +
        "\"Common AppData\"=\"C:\\\\Documents and Settings\\\\All Users\\\\Application Data\\\\\"\r\n\r\n");
    EXPECT_EQ(ShellFolders::GetCommonAppDataFolder(),
              "C:\\Documents and Settings\\All Users\\Application Data\\Labfolio 10.0");
}

TEST(ShellFoldersTest, MissingValueGivesAnEmptyFolder)
{
    RegistryFixture registry(std::string(regtext::kHeader) + kShellFolders +
                             "\"Personal\"=\"C:\\\\Users\"\r\n\r\n");
    EXPECT_EQ(ShellFolders::GetCommonAppDataFolder(), "Labfolio 10.0");
}

TEST(ShellFoldersTest, MissingKeyRaisesTheNotFoundError)
{
    RegistryFixture registry(std::string(regtext::kHeader) + regtext::kProductKey);
    try {
        ShellFolders::GetCommonAppDataFolder();
        FAIL() << "no error raised";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040000u);
        EXPECT_EQ(e.source(), "");
        EXPECT_EQ(e.description(),
                  "the registry key 'SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell "
                  "Folders' cannot be found");
    }
}

} // namespace
