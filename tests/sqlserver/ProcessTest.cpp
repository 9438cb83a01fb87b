#include "Process.h"

#include <gtest/gtest.h>

#include "TempDir.h"

using proc::splitCommandLine;

TEST(CommandLine, BlanksSeparateAndQuotesGroup)
{
    EXPECT_EQ(splitCommandLine("osql -n -E -S(local) -i \"C:\\Program Files\\a.sql\" -o\"C:\\x y\\a.log\""),
              (std::vector<std::string>{"osql", "-n", "-E", "-S(local)", "-i", "C:\\Program Files\\a.sql",
                                        "-oC:\\x y\\a.log"}));
}

TEST(CommandLine, BackslashesAreLiteralUnlessBeforeAQuote)
{
    EXPECT_EQ(splitCommandLine("a\\\\b \"c\\\\\" \\\"d"), (std::vector<std::string>{"a\\\\b", "c\\", "\"d"}));
    EXPECT_EQ(splitCommandLine("-SPC1\\VELDRIN"), (std::vector<std::string>{"-SPC1\\VELDRIN"}));
}

TEST(CommandLine, EmptyQuotedArgumentAndExtraBlanks)
{
    EXPECT_EQ(splitCommandLine("  a   \"\"  b  "), (std::vector<std::string>{"a", "", "b"}));
    EXPECT_TRUE(splitCommandLine("   ").empty());
}

TEST(Process, StartsAndWaitsForAChild)
{
    TempDir dir;
    const auto marker = dir.path() / "done";
    std::string error;
    auto p = proc::start("/bin/sh", {"-c", "sleep 0.2; echo x > '" + marker.string() + "'; exit 3"}, error);
    ASSERT_TRUE(p) << error;
    EXPECT_GT(p->id(), 0);
    int calls = 0;
    proc::waitWithCallback(
        *p, [&] { ++calls; }, std::chrono::milliseconds(20));
    EXPECT_EQ(p->exitCode(), 3);
    EXPECT_TRUE(std::filesystem::exists(marker));
    EXPECT_GE(calls, 1); // the window was given its turns while the child ran
}

TEST(Process, ProgramIsLookedUpOnPath)
{
    std::string error;
    auto p = proc::start("true", {}, error);
    ASSERT_TRUE(p) << error;
    EXPECT_TRUE(p->waitFor(std::chrono::seconds(10)));
    EXPECT_EQ(p->exitCode(), 0);
}

TEST(Process, MissingProgramIsReported)
{
    std::string error;
    auto p = proc::start("/nonexistent/osql", {}, error);
    EXPECT_FALSE(p);
    EXPECT_NE(error.find("/nonexistent/osql"), std::string::npos);
}

TEST(Process, KillEndsAChild)
{
    std::string error;
    auto p = proc::start("/bin/sleep", {"30"}, error);
    ASSERT_TRUE(p) << error;
    EXPECT_FALSE(p->waitFor(std::chrono::milliseconds(50)));
    p->kill();
    EXPECT_TRUE(p->waitFor(std::chrono::seconds(10)));
    EXPECT_EQ(p->exitCode(), 128 + 9);
}

TEST(Process, OwnFolderIsThisExecutablesFolder)
{
    const std::string folder = proc::ownExecutableFolder();
    ASSERT_FALSE(folder.empty());
    EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(folder) / "sqlserver_process_test"));
}
