#include "EngineFixture.h"

using namespace standin;

namespace {

// T-SQL in, rows out: each case runs on a database holding a small people table.
struct Case {
    const char* name;
    const char* sql;
    std::vector<std::vector<Value>> rows;
};

const char* const kSetup = R"(
CREATE TABLE [dbo].[ELN_people] (
  [person_id] int IDENTITY(1,1) NOT NULL PRIMARY KEY,
  [Username] nvarchar(100) NOT NULL,
  [is_administrator] bit NOT NULL DEFAULT 0,
  [joined] datetime NULL
)
INSERT INTO ELN_people (Username, is_administrator, joined) VALUES (N'LAB\alice', 1, '2024-01-31 08:30:00')
INSERT ELN_people (Username) VALUES ('LAB\bob')
INSERT INTO dbo.ELN_people (Username, joined) VALUES (N'LAB\carol', '2023-12-01')
)";

const std::vector<Case> kCases = {
    {"count with lower-case from", "SELECT COUNT(*) from ELN_people WHERE Username = 'LAB\\bob'", {{V(1)}}},
    {"string comparison ignores case",
     "SELECT COUNT(*) FROM ELN_people WHERE Username = 'lab\\ALICE'",
     {{V(1)}}},
    {"bracketed names and order",
     "SELECT [Username] FROM [ELN_people] ORDER BY [person_id] DESC",
     {{V("LAB\\carol")}, {V("LAB\\bob")}, {V("LAB\\alice")}}},
    {"TOP n",
     "SELECT TOP 2 Username FROM ELN_people ORDER BY Username",
     {{V("LAB\\alice")}, {V("LAB\\bob")}}},
    {"TOP (n)", "SELECT TOP (1) person_id FROM ELN_people ORDER BY person_id DESC", {{V(3)}}},
    {"identity numbering", "SELECT person_id FROM ELN_people WHERE Username = N'LAB\\carol'", {{V(3)}}},
    {"bit default", "SELECT is_administrator FROM ELN_people ORDER BY person_id", {{V(1)}, {V(0)}, {V(0)}}},
    {"three-part name of the current database", "SELECT COUNT(*) FROM Lab.dbo.ELN_people", {{V(3)}}},
    {"string concatenation with +",
     "SELECT 'user: ' + Username FROM ELN_people WHERE person_id = 2",
     {{V("user: LAB\\bob")}}},
    {"numeric + on a numeric string", "SELECT '40' + 2", {{V(42)}}},
    {"CONVERT to nvarchar truncates",
     "SELECT CONVERT(nvarchar(3), Username) FROM ELN_people WHERE person_id = 1",
     {{V("LAB")}}},
    {"CONVERT of a number", "SELECT CONVERT(nvarchar(10), 12) + 'x'", {{V("12x")}}},
    {"CAST to int", "SELECT CAST('17' AS int) + 1", {{V(18)}}},
    {"ISNULL", "SELECT ISNULL(joined, 'never') FROM ELN_people WHERE person_id = 2", {{V("never")}}},
    {"LEN ignores trailing blanks", "SELECT LEN(N'abc  ')", {{V(3)}}},
    {"datetime text", "SELECT joined FROM ELN_people WHERE person_id = 3", {{V("2023-12-01 00:00:00.000")}}},
    {"CASE",
     "SELECT CASE WHEN is_administrator = 1 THEN 'admin' ELSE 'user' END FROM ELN_people ORDER BY person_id",
     {{V("admin")}, {V("user")}, {V("user")}}},
    {"IN list and NOT LIKE",
     "SELECT COUNT(*) FROM ELN_people WHERE person_id IN (1, 3) AND Username NOT LIKE '%bob'",
     {{V(2)}}},
    {"subquery",
     "SELECT Username FROM ELN_people WHERE person_id = (SELECT MAX(person_id) FROM ELN_people)",
     {{V("LAB\\carol")}}},
    {"GROUP BY with alias = expression",
     "SELECT admins = COUNT(*) FROM ELN_people GROUP BY is_administrator ORDER BY 1",
     {{V(1)}, {V(2)}}},
    {"variables",
     "DECLARE @n int\nSET @n = 2\nSELECT Username FROM ELN_people WHERE person_id = @n",
     {{V("LAB\\bob")}}},
    {"SELECT into a variable",
     "DECLARE @u nvarchar(50)\nSELECT @u = Username FROM ELN_people WHERE person_id = 1\nSELECT @u",
     {{V("LAB\\alice")}}},
    {"statements separated only by keywords",
     "UPDATE ELN_people SET is_administrator = 1 WHERE person_id = 2 "
     "SELECT COUNT(*) FROM ELN_people WHERE is_administrator = 1",
     {{V(2)}}},
    {"UPDATE with CONVERT(nvarchar(255), newid())",
     "UPDATE ELN_people SET Username = CONVERT(nvarchar(255), newid()) WHERE person_id = 3; "
     "SELECT LEN(Username) FROM ELN_people WHERE person_id = 3",
     {{V(36)}}},
    {"DELETE", "DELETE FROM ELN_people WHERE person_id > 1; SELECT COUNT(*) FROM ELN_people", {{V(1)}}},
    {"IF / ELSE", "IF (SELECT COUNT(*) FROM ELN_people) > 2 SELECT 'many' ELSE SELECT 'few'", {{V("many")}}},
    {"IF EXISTS with BEGIN END",
     "IF EXISTS (SELECT * FROM ELN_people WHERE person_id = 9) BEGIN SELECT 1 END ELSE "
     "BEGIN SELECT 2 END",
     {{V(2)}}},
    {"DATEADD and DATEDIFF",
     "SELECT DATEDIFF(day, '2024-01-30', DATEADD(month, 1, '2024-01-31'))",
     {{V(30)}}},
    {"comments", "SELECT /* a /* nested */ comment */ 5 -- trailing\n", {{V(5)}}},
    {"sp_executesql through EXEC", "EXEC sp_executesql N'SELECT @a + 1', N'@a int', @a = 41", {{V(42)}}},
    {"EXEC of a string", "EXEC ('SELECT ''dynamic''')", {{V("dynamic")}}},
    {"temporary table",
     "CREATE TABLE #t (x int); INSERT INTO #t VALUES (7), (8); SELECT SUM(x) FROM #t",
     {{V(15)}}},
    {"WHILE with BREAK and CONTINUE",
     "DECLARE @i int, @sum int\nSET @i = 0\nSET @sum = 0\nWHILE @i < 10\nBEGIN\n  SET @i = @i + 1\n"
     "  IF @i = 3 CONTINUE\n  IF @i > 5 BREAK\n  SET @sum = @sum + @i\nEND\nSELECT @sum, @i",
     {{V(12), V(6)}}},
    {"SELECT INTO",
     "SELECT Username, is_administrator INTO admins FROM ELN_people WHERE is_administrator = 1; "
     "SELECT Username FROM admins",
     {{V("LAB\\alice")}}},
};

class TranslatorTest : public EngineTest {};

} // namespace

TEST_F(TranslatorTest, TableOfStatements)
{
    auto admin = sa();
    ok(*admin, "CREATE DATABASE Lab");
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.name);
        auto s = sa("Lab");
        ok(*s, "DROP TABLE IF EXISTS ELN_people");
        ok(*s, kSetup);
        auto sink = ok(*s, c.sql);
        // The last result set is the one each case is about.
        size_t sets = 0;
        for (const auto& e : sink.events)
            if (e.kind == RecordingSink::Event::Columns)
                ++sets;
        ASSERT_GT(sets, 0u);
        EXPECT_EQ(sink.rowsOf(sets - 1), c.rows);
    }
}

TEST_F(TranslatorTest, TypesOfResultColumns)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE Types");
    ok(*s,
       "USE Types; CREATE TABLE t (i int, b bigint, f bit, n nvarchar(40), nm nvarchar(max), v varchar(12), "
       "d datetime, g uniqueidentifier, bin varbinary(16), x float)");
    ok(*s, "INSERT INTO t VALUES (1, 2, 1, N'n', N'm', 'v', GETDATE(), NEWID(), 0x0102, 1.5)");
    auto sink =
        ok(*s, "SELECT i, b, f, n, nm, v, d, g, bin, x, CONVERT(nvarchar(255), NEWID()), COUNT(*) AS c "
               "FROM t GROUP BY i, b, f, n, nm, v, d, g, bin, x");
    auto cols = sink.columnsOf(0);
    ASSERT_EQ(cols.size(), 12u);
    const std::vector<std::pair<SqlType, int32_t>> expected = {
        {SqlType::Int, 4},        {SqlType::BigInt, 8},
        {SqlType::Bit, 1},        {SqlType::NVarChar, 40},
        {SqlType::NVarChar, -1},  {SqlType::VarChar, 12},
        {SqlType::DateTime, 8},   {SqlType::UniqueIdentifier, 16},
        {SqlType::VarBinary, 16}, {SqlType::Float, 8},
        {SqlType::NVarChar, 255}, {SqlType::Int, 4}};
    for (size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(cols[i].name);
        EXPECT_EQ(cols[i].type, expected[i].first);
        EXPECT_EQ(cols[i].maxLength, expected[i].second);
    }
    EXPECT_EQ(cols[0].name, "i");
    EXPECT_EQ(cols[10].name, "");
    EXPECT_EQ(cols[11].name, "c");
    auto row = sink.rows().at(0);
    EXPECT_EQ(row[2], V(1));
    EXPECT_EQ(row[8], Value(std::vector<uint8_t>{1, 2}));
    EXPECT_EQ(row[9], Value(1.5));
    EXPECT_EQ(std::get<std::string>(row[6]).size(), 23u); // YYYY-MM-DD hh:mm:ss.fff
    EXPECT_EQ(std::get<std::string>(row[7]).size(), 36u);
}

TEST_F(TranslatorTest, SyntaxErrorsStopTheWholeBatch)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE Syn");
    auto sink = run(*s, "USE Syn; CREATE TABLE a (x int); SELECT FROM WHERE");
    auto errors = sink.errors();
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].number, 156);
    EXPECT_EQ(errors[0].severity, 15);
    EXPECT_EQ(errors[0].text, "Incorrect syntax near the keyword 'FROM'.");
    // Nothing ran: not even the USE.
    EXPECT_EQ(s->currentDatabase(), "master");
    auto sink2 = run(*s, "SELECT 1 +");
    ASSERT_EQ(sink2.errors().size(), 1u);
    EXPECT_EQ(sink2.errors()[0].number, 102);
    EXPECT_EQ(sink2.errors()[0].text, "Incorrect syntax near '+'.");
}

TEST_F(TranslatorTest, DeeplyNestedStatementsAreRefusedWithError191)
{
    auto s = sa();
    std::string nestedBlocks, negations;
    for (int i = 0; i < 3000; ++i) {
        nestedBlocks += "IF 1 = 1 BEGIN ";
        negations += "- ";
    }
    const std::string batches[] = {
        "SELECT " + std::string(5000, '('),
        "SELECT " + negations + "1",
        "IF " + std::string(5000, '(') + "1 = 1" + std::string(5000, ')') + " SELECT 1",
        nestedBlocks + "SELECT 1",
    };
    for (const std::string& batch : batches) {
        SCOPED_TRACE(batch.substr(0, 30));
        auto sink = run(*s, batch);
        auto errors = sink.errors();
        ASSERT_EQ(errors.size(), 1u);
        EXPECT_EQ(errors[0].number, 191);
        EXPECT_EQ(errors[0].severity, 15);
        EXPECT_EQ(errors[0].text,
                  "Some part of your SQL statement is nested too deeply. Rewrite the query or "
                  "break it up into smaller queries.");
    }
    // Nesting as deep as real queries go still runs.
    auto sink = run(*s, "SELECT " + std::string(40, '(') + "1" + std::string(40, ')'));
    EXPECT_TRUE(sink.errors().empty());
}

TEST_F(TranslatorTest, RuntimeErrorsEndOnlyTheirStatement)
{
    auto s = sa();
    auto sink = run(*s, "SELECT * FROM missing_table\nSELECT 2");
    auto errors = sink.errors();
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].number, 208);
    EXPECT_EQ(errors[0].text, "Invalid object name 'missing_table'.");
    EXPECT_EQ(errors[0].line, 1);
    EXPECT_EQ(sink.rows(), (std::vector<std::vector<Value>>{{V(2)}}));
    auto conv = run(*s, "SELECT CONVERT(int, 'abc')");
    ASSERT_EQ(conv.errors().size(), 1u);
    EXPECT_EQ(conv.errors()[0].number, 245);
}

TEST_F(TranslatorTest, UnsupportedStatementsNameWhatIsMissing)
{
    auto s = sa();
    auto sink = run(*s, "WAITFOR TIME '23:00'");
    ASSERT_EQ(sink.errors().size(), 1u);
    EXPECT_EQ(sink.errors()[0].number, 50000);
    EXPECT_EQ(sink.errors()[0].severity, 16);
    EXPECT_EQ(sink.errors()[0].text, "The SQL Server stand-in does not support the WAITFOR TIME statement.");
    auto unknownFunction = run(*s, "SELECT SOUNDEX('x')");
    ASSERT_EQ(unknownFunction.errors().size(), 1u);
    EXPECT_EQ(unknownFunction.errors()[0].number, 195);
    EXPECT_EQ(unknownFunction.errors()[0].text, "'soundex' is not a recognized built-in function name.");
}

TEST_F(TranslatorTest, PrintUseAndRowCounts)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE Other");
    auto sink =
        ok(*s, "PRINT 'hello'\nUSE Other\nCREATE TABLE t (x int)\nINSERT INTO t VALUES (1), (2), (3)\n"
               "SET NOCOUNT ON\nUPDATE t SET x = 0");
    auto msgs = sink.messages();
    ASSERT_EQ(msgs.size(), 2u);
    EXPECT_EQ(msgs[0].text, "hello");
    EXPECT_EQ(msgs[0].number, 0);
    EXPECT_EQ(msgs[1].number, 5701);
    EXPECT_EQ(msgs[1].text, "Changed database context to 'Other'.");
    EXPECT_EQ(s->currentDatabase(), "Other");
    bool changed = false;
    std::vector<DoneInfo> dones;
    for (const auto& e : sink.events) {
        if (e.kind == RecordingSink::Event::DatabaseChanged) {
            changed = true;
            EXPECT_EQ(e.text, "master");
            EXPECT_EQ(e.text2, "Other");
        }
        if (e.kind == RecordingSink::Event::Done)
            dones.push_back(e.done);
    }
    EXPECT_TRUE(changed);
    ASSERT_EQ(dones.size(), 4u); // USE, CREATE TABLE, INSERT, UPDATE
    EXPECT_FALSE(dones[0].hasRowCount);
    EXPECT_TRUE(dones[2].hasRowCount);
    EXPECT_EQ(dones[2].rowCount, 3u);
    EXPECT_FALSE(dones[3].hasRowCount); // NOCOUNT
}

TEST_F(TranslatorTest, SessionOptionsThatClientsSendOnConnecting)
{
    auto s = sa();
    ok(*s, "SET TEXTSIZE 2147483647; SET ANSI_NULLS ON; SET QUOTED_IDENTIFIER ON\nSET DATEFORMAT mdy\n"
           "SET LANGUAGE us_english; SET TRANSACTION ISOLATION LEVEL READ COMMITTED; SET ROWCOUNT 0;"
           "SET IMPLICIT_TRANSACTIONS OFF; SET XACT_ABORT ON");
    auto rowcount = run(*s, "SET ROWCOUNT 5");
    ASSERT_EQ(rowcount.errors().size(), 1u);
    EXPECT_EQ(rowcount.errors()[0].number, 50000);
    EXPECT_EQ(rowcount.errors()[0].text,
              "The SQL Server stand-in does not support SET ROWCOUNT other than 0.");
}

TEST_F(TranslatorTest, TransactionsCommitAndRollBack)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE Tx; USE Tx; CREATE TABLE t (x int)");
    ok(*s, "BEGIN TRAN; INSERT INTO t VALUES (1); ROLLBACK");
    EXPECT_EQ(scalar(*s, "SELECT COUNT(*) FROM t"), V(0));
    ok(*s, "BEGIN TRANSACTION; INSERT INTO t VALUES (1); SELECT @@TRANCOUNT");
    ok(*s, "COMMIT TRANSACTION");
    EXPECT_EQ(scalar(*s, "SELECT COUNT(*) FROM t"), V(1));
    EXPECT_EQ(scalar(*s, "SELECT @@TRANCOUNT"), V(0));
    auto stray = run(*s, "COMMIT");
    ASSERT_EQ(stray.errors().size(), 1u);
    EXPECT_EQ(stray.errors()[0].number, 3902);
}

TEST_F(TranslatorTest, EveryBatchEndsWithADone)
{
    auto s = sa();
    auto sink = ok(*s, "DECLARE @x int; SET @x = 1");
    ASSERT_FALSE(sink.events.empty());
    EXPECT_EQ(sink.events.back().kind, RecordingSink::Event::Done);
    auto use = ok(*s, "USE master");
    EXPECT_EQ(use.events.back().kind, RecordingSink::Event::Done);
}

TEST_F(TranslatorTest, DefaultsThatCallFunctions)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE Defaults; USE Defaults\n"
           "CREATE TABLE ELN_parameters (name nvarchar(255) NOT NULL, data nvarchar(255) DEFAULT "
           "(CONVERT(nvarchar(255), "
           "newid())), created datetime NOT NULL DEFAULT (getdate()), n int DEFAULT 5)\n"
           "INSERT INTO ELN_parameters (name) VALUES (N'database guid')");
    auto row = ok(*s, "SELECT LEN(data), LEN(CONVERT(nvarchar(30), created)), n FROM ELN_parameters").rows();
    EXPECT_EQ(row, (std::vector<std::vector<Value>>{{V(36), V(23), V(5)}}));
}

TEST_F(TranslatorTest, TextLongerThanItsColumnIsRefused)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE Len; USE Len; CREATE TABLE t (code nvarchar(3), bin varbinary(2), free "
           "nvarchar(max))");
    ok(*s, "INSERT INTO t VALUES (N'abc', 0x0102, N'" + std::string(5000, 'x') + "')");
    auto tooLong = run(*s, "INSERT INTO t (code) VALUES (N'abcd')");
    ASSERT_EQ(tooLong.errors().size(), 1u);
    EXPECT_EQ(tooLong.errors()[0].number, 8152);
    EXPECT_EQ(tooLong.errors()[0].text, "String or binary data would be truncated.");
    EXPECT_EQ(run(*s, "UPDATE t SET bin = 0x010203").errors().at(0).number, 8152);
    EXPECT_EQ(scalar(*s, "SELECT COUNT(*) FROM t"), V(1));
}

TEST_F(TranslatorTest, TryCatchHandsTheErrorToTheCatchBlock)
{
    auto s = sa();
    auto sink = ok(*s, "BEGIN TRY\n  SELECT 1\n  SELECT CONVERT(int, 'x')\n  SELECT 2\nEND TRY\nBEGIN CATCH\n"
                       "  SELECT ERROR_NUMBER(), ERROR_LINE(), ERROR_MESSAGE()\nEND CATCH\nSELECT 3");
    EXPECT_TRUE(sink.errors().empty());
    EXPECT_EQ(sink.rowsOf(0), (std::vector<std::vector<Value>>{{V(1)}}));
    EXPECT_EQ(sink.rowsOf(1),
              (std::vector<std::vector<Value>>{
                  {V(245), V(3),
                   V("Conversion failed when converting the nvarchar value 'x' to data type int.")}}));
    EXPECT_EQ(sink.rowsOf(2), (std::vector<std::vector<Value>>{{V(3)}}));
    auto clean = ok(*s, "BEGIN TRY SELECT 5 END TRY BEGIN CATCH SELECT 6 END CATCH");
    EXPECT_EQ(clean.rows(), (std::vector<std::vector<Value>>{{V(5)}}));
}
