#include "SQLServerUtils.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "TempDir.h"

using namespace SQLServerUtils;

namespace {

// Sets PATH for one test and puts it back.
class PathGuard {
public:
    explicit PathGuard(const std::string& path)
    {
        if (const char* v = std::getenv("PATH"))
            m_old = v;
        ::setenv("PATH", path.c_str(), 1);
    }
    ~PathGuard() { ::setenv("PATH", m_old.c_str(), 1); }

private:
    std::string m_old;
};

std::string read(const std::filesystem::path& p)
{
    std::ifstream in(p);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

} // namespace

TEST(FindOsqlExecutable, SkipsScriptsOnThePathAndTakesTheProgram)
{
    TempDir dir;
    dir.write("scripts/osql", "#! /bin/sh\necho configuration check\n");
    EXPECT_EQ(FindOsqlExecutable().find(dir.str()), std::string::npos);
    PathGuard path(dir.str() + "/scripts:" + FAKE_OSQL_DIR + ":/usr/bin");
    EXPECT_EQ(FindOsqlExecutable(), std::string(FAKE_OSQL_DIR) + "/osql");
}

TEST(FindOsqlExecutable, NothingWhenOnlyScriptsAreFound)
{
    TempDir dir;
    dir.write("scripts/osql", "#!/bin/sh\n");
    PathGuard path(dir.str() + "/scripts");
    EXPECT_EQ(FindOsqlExecutable(), "");
}

TEST(RunOsqlScript, StartsOsqlWithTheCommandLinesArgumentsAndWaitsForIt)
{
    TempDir dir;
    const auto script = dir.write("my scripts/LFOffline.sql", "SELECT 1\nGO\n");
    PathGuard path(std::string(FAKE_OSQL_DIR) + ":/usr/bin");
    int turns = 0;
    RunOsqlScript(script.string(), "PC1\\VELDRIN", "sa", "", [&] { ++turns; });
    const auto log = dir.path() / "my scripts/LFOffline.log";
    ASSERT_TRUE(std::filesystem::exists(log)); // written by the child before it ended
    EXPECT_EQ(read(log),
              "-n\n-Usa\n-P\n-SPC1\\VELDRIN\n-i\n" + script.string() + "\n-o" + log.string() + "\n");
    EXPECT_GE(turns, 1); // the caller's window had its turns during the 300 ms wait
}

TEST(RunOsqlScript, TrustedRun)
{
    TempDir dir;
    const auto script = dir.write("LFOffline.sql", "SELECT 1\n");
    PathGuard path(FAKE_OSQL_DIR);
    RunOsqlScript(script.string(), "(local)", "", "");
    EXPECT_EQ(read(dir.path() / "LFOffline.log"), "-n\n-E\n-S(local)\n-i\n" + script.string() + "\n-o" +
                                                      (dir.path() / "LFOffline.log").string() + "\n");
}

TEST(RunOsqlScript, NoOsqlAnywhereLeavesNoLog)
{
    TempDir dir;
    const auto script = dir.write("LFOffline.sql", "SELECT 1\n");
    PathGuard path(dir.str());
    EXPECT_NO_THROW(RunOsqlScript(script.string(), "(local)", "", ""));
    EXPECT_FALSE(std::filesystem::exists(dir.path() / "LFOffline.log"));
}

TEST(ShellAndWait, UnstartableCommandEndsWithoutWaiting)
{
    int turns = 0;
    EXPECT_NO_THROW(ShellAndWait("/nonexistent/tool -x", 0, [&] { ++turns; }));
    EXPECT_EQ(turns, 0);
    EXPECT_NO_THROW(ShellAndWait("", 0));
}

TEST(ShellAndWait, QuotedArgumentsArriveWhole)
{
    TempDir dir;
    const auto out = dir.path() / "a b.txt";
    ShellAndWait("/bin/sh -c \"echo done > '" + out.string() + "'\"", 0);
    EXPECT_EQ(read(out), "done\n");
}
