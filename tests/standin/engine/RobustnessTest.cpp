#include "EngineFixture.h"

#include <random>

using namespace standin;

// Batches made of random T-SQL fragments: every one must end in results or SQL Server-style
// errors, never in an exception or a broken session.
TEST_F(EngineTest, RandomFragmentsNeverBreakTheSession)
{
    static const char* const kWords[] = {"SELECT",
                                         "FROM",
                                         "WHERE",
                                         "INSERT",
                                         "INTO",
                                         "VALUES",
                                         "UPDATE",
                                         "SET",
                                         "DELETE",
                                         "CREATE",
                                         "TABLE",
                                         "DROP",
                                         "EXEC",
                                         "DECLARE",
                                         "@v",
                                         "@@ROWCOUNT",
                                         "int",
                                         "nvarchar",
                                         "(",
                                         ")",
                                         "(max)",
                                         ",",
                                         ";",
                                         "=",
                                         "+",
                                         "*",
                                         "'text'",
                                         "N'x'",
                                         "[t]",
                                         "t",
                                         "x",
                                         "1",
                                         "2147483648",
                                         "0x0A",
                                         "IDENTITY",
                                         "(1,",
                                         "CONVERT",
                                         "CAST",
                                         "AS",
                                         "TOP",
                                         "ORDER",
                                         "BY",
                                         "IF",
                                         "ELSE",
                                         "BEGIN",
                                         "END",
                                         "NULL",
                                         "IS",
                                         "NOT",
                                         "LIKE",
                                         "IN",
                                         "CASE",
                                         "WHEN",
                                         "THEN",
                                         "sys.databases",
                                         "dbo.",
                                         "master..",
                                         "USE",
                                         "master",
                                         "PRINT",
                                         "RETURN",
                                         "GRANT",
                                         "TO",
                                         "ON",
                                         "sp_executesql",
                                         "sp_addrolemember",
                                         "PROCEDURE",
                                         "ALTER",
                                         "ADD",
                                         "COLUMN",
                                         "DATEADD",
                                         "day",
                                         "LEN",
                                         ".",
                                         "/*",
                                         "*/",
                                         "--",
                                         "\n",
                                         "RESTORE",
                                         "HEADERONLY",
                                         "DISK",
                                         "GO",
                                         "TRAN",
                                         "COMMIT",
                                         "ROLLBACK",
                                         "\"q\""};
    constexpr size_t kCount = sizeof kWords / sizeof kWords[0];
    auto s = sa();
    ok(*s, "CREATE DATABASE Fuzz; USE Fuzz; CREATE TABLE t (x int, y nvarchar(20))");
    std::mt19937 random(20261121);
    for (int round = 0; round < 3000; ++round) {
        std::string sql;
        const int length = 1 + static_cast<int>(random() % 14);
        for (int i = 0; i < length; ++i)
            sql += std::string(kWords[random() % kCount]) + " ";
        RecordingSink sink;
        EXPECT_NO_THROW(s->executeBatch(sql, sink)) << sql;
        for (const auto& e : sink.errors()) {
            EXPECT_NE(e.number, 0) << sql;
            EXPECT_FALSE(e.text.empty()) << sql;
            EXPECT_NE(e.number, 50002) << sql << " -> " << e.text;
        }
    }
    RecordingSink rollback;
    s->executeBatch("IF @@TRANCOUNT > 0 ROLLBACK", rollback);
    EXPECT_EQ(scalar(*s, "SELECT 40 + 2"), V(42));
}
