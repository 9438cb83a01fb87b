// The osql-compatible tool and the wizard's script runner against the stand-in.
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "Process.h"
#include "SQLServerUtils.h"
#include "TempDir.h"
#include "sqlserver_E2eSupport.h"

namespace {

const char* kScript = "CREATE DATABASE LFOffline9\r\n"
                      "GO\r\n"
                      "USE LFOffline9\r\n"
                      "GO\r\n"
                      "CREATE TABLE OfflineCheck (a int NOT NULL)\r\n"
                      "INSERT INTO OfflineCheck (a) VALUES (1)\r\n"
                      "INSERT INTO OfflineCheck (a) VALUES (2)\r\n"
                      "PRINT 'Offline tables created.'\r\n"
                      "GO\r\n"
                      "SELECT a FROM OfflineCheck ORDER BY a\r\n"
                      "GO\r\n"
                      "SELECT * FROM missing_table\r\n"
                      "GO\r\n"
                      "PRINT 'after the error'\r\n"
                      "go\r\n";

// The tool runs in its own process, where this computer has its real name.
std::string veldrin()
{
    return clientHostName() + "\\VELDRIN";
}

std::string read(const std::filesystem::path& p)
{
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

class PathWithOsql {
public:
    PathWithOsql()
        : m_path("PATH", std::string(OSQL_DIR) + ":" + (std::getenv("PATH") ? std::getenv("PATH") : ""))
    {
    }

private:
    ScopedEnv m_path;
};

} // namespace

TEST(OsqlToolE2e, RunsEveryBatchAndWritesItsLogTheWayOsqlDoes)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    TempDir dir;
    const auto script = dir.write("LFOffline.sql", kScript);
    const auto log = dir.path() / "LFOffline.log";
    std::string error;
    auto p = proc::start(std::string(OSQL_DIR) + "/osql",
                         {"-n", "-E", "-S" + veldrin(), "-i", script.string(), "-o" + log.string()}, error);
    ASSERT_TRUE(p) << error;
    proc::waitWithCallback(*p, {});
    EXPECT_EQ(p->exitCode(), 1); // one batch failed

    const std::string text = read(log);
    EXPECT_NE(text.find("Offline tables created.\n"), std::string::npos) << text;
    EXPECT_NE(text.find(" a\n -\n 1\n 2\n\n(2 rows affected)\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("Changed database context to 'LFOffline9'."),
              text.rfind("Changed database context to 'LFOffline9'.")); // once
    EXPECT_NE(text.find("Msg 208, Level 16, State 1, Server LABHOST\\VELDRIN, Line 1\n"
                        "Invalid object name 'missing_table'.\n"),
              std::string::npos)
        << text;
    // The batch after the failed one still ran.
    EXPECT_NE(text.find("after the error\n"), std::string::npos) << text;
    EXPECT_LT(text.find("Offline tables created."), text.find("after the error"));

    auto c = m.sa("VELDRIN", "LFOffline9");
    EXPECT_EQ(c->scalar("SELECT COUNT(*) FROM OfflineCheck").toInt(), 2);
}

TEST(OsqlToolE2e, CleanScriptEndsWithExitCodeZero)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    TempDir dir;
    const auto script = dir.write("ok.sql", "PRINT 'fine'\nGO\n");
    std::string error;
    auto p = proc::start(std::string(OSQL_DIR) + "/osql",
                         {"-n", "-U" + std::string(kWizardLogin), "-P" + std::string(kWizardPassword),
                          "-S" + veldrin(), "-i", script.string(), "-o" + (dir.path() / "ok.log").string()},
                         error);
    ASSERT_TRUE(p) << error;
    proc::waitWithCallback(*p, {});
    EXPECT_EQ(p->exitCode(), 0);
    EXPECT_EQ(read(dir.path() / "ok.log"), "fine\n");
}

TEST(OsqlToolE2e, UnreachableServerIsWrittenToTheLog)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    TempDir dir;
    const auto script = dir.write("ok.sql", "PRINT 'fine'\nGO\n");
    std::string error;
    auto p = proc::start(
        std::string(OSQL_DIR) + "/osql",
        {"-n", "-E", "-SPC1\\NOPE", "-i", script.string(), "-o" + (dir.path() / "ok.log").string()}, error);
    ASSERT_TRUE(p) << error;
    proc::waitWithCallback(*p, {});
    EXPECT_EQ(p->exitCode(), 1);
    EXPECT_NE(read(dir.path() / "ok.log").find("\"PC1\\NOPE\" does not exist"), std::string::npos);
}

TEST(RunOsqlScriptE2e, TrustedRunOfAMultiBatchScriptLeavesItsLogBesideTheScript)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    PathWithOsql path;
    TempDir dir;
    const auto script = dir.write("Program Files/LFOffline.sql", kScript);
    SQLServerUtils::RunOsqlScript(script.string(), veldrin(), "", "", [] {});
    const std::string text = read(dir.path() / "Program Files/LFOffline.log");
    EXPECT_NE(text.find("Offline tables created."), std::string::npos) << text;
    EXPECT_NE(text.find("Msg 208"), std::string::npos) << text;
}

TEST(RunOsqlScriptE2e, LoginRunWithUserAndPassword)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    PathWithOsql path;
    TempDir dir;
    const auto script = dir.write("LFOffline.sql", "SELECT SUSER_SNAME() AS who\nGO\n");
    SQLServerUtils::RunOsqlScript(script.string(), veldrin(), "chemist", "Chemist-pw1");
    EXPECT_NE(read(dir.path() / "LFOffline.log").find(" chemist"), std::string::npos);
}

TEST(RunOsqlScriptE2e, MissingScriptRaisesAndRunsNothing)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    PathWithOsql path;
    TempDir dir;
    const std::string missing = (dir.path() / "LFOffline.sql").string();
    try {
        SQLServerUtils::RunOsqlScript(missing, veldrin(), "", "");
        FAIL() << "no error";
    } catch (const LfError& e) {
        EXPECT_EQ(e.number(), 0x80040201u);
        EXPECT_EQ(e.description(), "the file \"" + missing + "\" does not exist");
    }
    EXPECT_FALSE(std::filesystem::exists(dir.path() / "LFOffline.log"));
}

TEST(RunOsqlScriptE2e, PathWithoutDotRunsNothing)
{
    StandinMachine m({StandinMachine::instance("VELDRIN")});
    PathWithOsql path;
    TempDir dir;
    const auto script = dir.write("LFOffline", "CREATE DATABASE NeverMade\nGO\n");
    EXPECT_NO_THROW(SQLServerUtils::RunOsqlScript(script.string(), veldrin(), "", ""));
    for (const auto& d : m.sa("VELDRIN")->query("SELECT name FROM sys.databases"))
        EXPECT_NE(d.at(0).toText(), "NeverMade");
}
