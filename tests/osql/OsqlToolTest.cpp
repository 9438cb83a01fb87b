#include <gtest/gtest.h>

#include "OsqlArguments.h"
#include "OsqlOutput.h"
#include "OsqlScript.h"
#include "Process.h"
#include "SQLServerUtils.h"

using namespace osql;

namespace {
std::optional<Arguments> parseLine(const std::string& commandLine, std::string& error)
{
    auto args = proc::splitCommandLine(commandLine);
    args.erase(args.begin()); // the program
    return parseArguments(args, error);
}
} // namespace

TEST(OsqlArguments, TheWizardsTrustedCommandLine)
{
    std::string error;
    const auto a =
        parseLine(SQLServerUtils::OsqlCommandLine("/opt/x y/LFOffline.sql", "PC1\\VELDRIN", "", ""), error);
    ASSERT_TRUE(a) << error;
    EXPECT_TRUE(a->noNumbering);
    EXPECT_TRUE(a->trusted);
    EXPECT_EQ(a->server, "PC1\\VELDRIN");
    EXPECT_EQ(a->inputFile, "/opt/x y/LFOffline.sql");
    EXPECT_EQ(a->outputFile, "/opt/x y/LFOffline.log");
}

TEST(OsqlArguments, TheWizardsLoginCommandLine)
{
    std::string error;
    const auto a =
        parseLine(SQLServerUtils::OsqlCommandLine("/x/LFOffline.sql", "(local)", "sa", "pw"), error);
    ASSERT_TRUE(a) << error;
    EXPECT_FALSE(a->trusted);
    EXPECT_EQ(a->user, "sa");
    EXPECT_EQ(a->password, "pw");
    EXPECT_EQ(a->server, "(local)");
}

TEST(OsqlArguments, AnEmptyPasswordIsEmptyNotTheNextSwitch)
{
    std::string error;
    const auto a = parseLine(SQLServerUtils::OsqlCommandLine("/x/LFOffline.sql", "(local)", "sa", ""), error);
    ASSERT_TRUE(a) << error;
    EXPECT_TRUE(a->passwordGiven);
    EXPECT_EQ(a->password, "");
    EXPECT_EQ(a->server, "(local)");
}

TEST(OsqlArguments, SeparateValuesAndErrors)
{
    std::string error;
    auto a = parseArguments({"-E", "-S", "host,1533", "-i", "a.sql", "-o", "a.log", "-d", "db"}, error);
    ASSERT_TRUE(a) << error;
    EXPECT_EQ(a->server, "host,1533");
    EXPECT_EQ(a->database, "db");
    EXPECT_FALSE(parseArguments({"-E", "-X"}, error));
    EXPECT_NE(error.find("-X"), std::string::npos);
    EXPECT_FALSE(parseArguments({"-i", "a.sql"}, error)); // neither -E nor -U
    EXPECT_FALSE(parseArguments({"-E"}, error));          // nothing to run
}

TEST(OsqlScript, GoLinesSeparateBatches)
{
    const auto b = splitBatches(
        "CREATE TABLE t (a int)\r\ngo\r\nINSERT t VALUES (1)\nPRINT 'x'\n  GO  \n\nGO\nSELECT 1");
    ASSERT_EQ(b.size(), 3u);
    EXPECT_EQ(b[0].text, "CREATE TABLE t (a int)\n");
    EXPECT_EQ(b[0].firstLine, 1);
    EXPECT_EQ(b[1].text, "INSERT t VALUES (1)\nPRINT 'x'\n");
    EXPECT_EQ(b[1].firstLine, 3);
    EXPECT_EQ(b[2].text, "SELECT 1\n");
    EXPECT_EQ(b[2].firstLine, 8);
}

TEST(OsqlScript, GoMustStandAlone)
{
    const auto b = splitBatches("SELECT 'GO'\nGOTO x\nGO");
    ASSERT_EQ(b.size(), 1u);
    EXPECT_EQ(b[0].text, "SELECT 'GO'\nGOTO x\n");
    EXPECT_TRUE(splitBatches("").empty());
    EXPECT_TRUE(splitBatches("GO\n\nGO\n").empty());
}

TEST(OsqlScript, Utf16AndUtf8MarksAreDecoded)
{
    EXPECT_EQ(decodeScript(std::string("\xFF\xFE"
                                       "G\0O\0\xE9\0",
                                       8)),
              "GO\xC3\xA9");
    EXPECT_EQ(decodeScript(std::string("\xFE\xFF\0G\0O", 6)), "GO");
    EXPECT_EQ(decodeScript("\xEF\xBB\xBFSELECT 1"), "SELECT 1");
    EXPECT_EQ(decodeScript("SELECT 1"), "SELECT 1");
}

TEST(OsqlOutput, ErrorsCarryTheMsgHeading)
{
    sqlserver::ServerMessage m;
    m.number = 208;
    m.severity = 16;
    m.state = 1;
    m.line = 2;
    m.text = "Invalid object name 'nope'.";
    EXPECT_EQ(formatMessage(m, true, "PC1\\VELDRIN"),
              "Msg 208, Level 16, State 1, Server PC1\\VELDRIN, Line 2\nInvalid object name 'nope'.\n");
    m.procedure = "start_session";
    m.server = "SRV";
    EXPECT_EQ(formatMessage(m, true, "PC1\\VELDRIN"), "Msg 208, Level 16, State 1, Server SRV, Procedure "
                                                      "start_session, Line 2\nInvalid object name 'nope'.\n");
}

TEST(OsqlOutput, InformationalTextStandsAsIs)
{
    sqlserver::ServerMessage m;
    m.number = 0;
    m.text = "Offline database created.";
    EXPECT_EQ(formatMessage(m, false, "X"), "Offline database created.\n");
}

TEST(OsqlOutput, ResultsAsAPlainTable)
{
    using sqlserver::Value;
    EXPECT_EQ(formatTable({"name", "id"}, {{Value("master"), Value(1)}, {Value("LFOffline9"), Value()}}),
              " name       id  \n"
              " ---------- ----\n"
              " master     1   \n"
              " LFOffline9 NULL\n"
              "\n"
              "(2 rows affected)\n");
    EXPECT_EQ(rowsAffected(1), "(1 row affected)\n");
    EXPECT_EQ(rowsAffected(0), "(0 rows affected)\n");
}
