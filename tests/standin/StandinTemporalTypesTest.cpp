// time and datetimeoffset columns through the FreeTDS ODBC driver: the driver sees SQL Server's
// own types, and the values keep their scale and offset.

#include "OdbcTestClient.h"
#include "StandinServer.h"

#include <gtest/gtest.h>

namespace {

// The driver's numbers for SQL Server's time and datetimeoffset.
constexpr SQLSMALLINT kSqlServerTime = -154, kSqlServerDateTimeOffset = -155;

SQLSMALLINT columnType(OdbcStatement& s, SQLUSMALLINT column)
{
    SQLCHAR name[64];
    SQLSMALLINT nameLength = 0, type = 0, digits = 0, nullable = 0;
    SQLULEN size = 0;
    s.check(
        SQLDescribeCol(s.handle(), column, name, sizeof name, &nameLength, &type, &size, &digits, &nullable),
        "SQLDescribeCol");
    return type;
}

} // namespace

TEST(StandinTemporalTypes, ColumnsKeepTheirTypesScalesAndOffsets)
{
    StandinServer server;
    OdbcConnection c(server.odbcConnectionString("sa", StandinServer::saPassword()));
    OdbcStatement s(c);
    s.execute("CREATE DATABASE Clock");
    s.execute("CREATE TABLE Clock.dbo.t (k int, t time(3), o datetimeoffset(7), t0 time(0))");
    s.execute("INSERT INTO Clock.dbo.t VALUES (1, '10:20:30.1234', '2024-05-01 10:20:30.1234567 +02:00', "
              "'08:00:01'), (2, NULL, NULL, NULL)");
    const auto rows = s.query("SELECT t, o, t0, CAST('2023-12-31 15:00:00.4 -05:00' AS datetimeoffset(0)) "
                              "FROM Clock.dbo.t ORDER BY k");
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0][0], "10:20:30.123");
    EXPECT_EQ(rows[0][1], "2024-05-01 10:20:30.1234567 +02:00");
    EXPECT_EQ(rows[0][2], "08:00:01");
    EXPECT_EQ(rows[0][3], "2023-12-31 15:00:00 -05:00");
    for (size_t col = 0; col < 3; ++col)
        EXPECT_FALSE(rows[1][col].has_value()) << "column " << col;

    // Parameters as the driver sends them for SQL Server's own time types, read back as text.
    // FreeTDS reads no offset in a text it converts itself: it sends UTC.
    OdbcStatement p(c);
    char time[] = "11:12:13.4567", offset[] = "2024-02-29 23:30:00.25";
    SQLLEN nts = SQL_NTS;
    p.check(
        SQLBindParameter(p.handle(), 1, SQL_PARAM_INPUT, SQL_C_CHAR, kSqlServerTime, 16, 4, time, 0, &nts),
        "SQLBindParameter");
    p.check(SQLBindParameter(p.handle(), 2, SQL_PARAM_INPUT, SQL_C_CHAR, kSqlServerDateTimeOffset, 34, 2,
                             offset, 0, &nts),
            "SQLBindParameter");
    p.execute("INSERT INTO Clock.dbo.t (k, t, o) VALUES (3, ?, ?)");
    const auto sent = s.query("SELECT t, o FROM Clock.dbo.t WHERE k = 3");
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0][0], "11:12:13.457");
    EXPECT_EQ(sent[0][1], "2024-02-29 23:30:00.2500000 +00:00");

    OdbcStatement d(c);
    d.execute("SELECT t, o FROM Clock.dbo.t");
    EXPECT_EQ(columnType(d, 1), kSqlServerTime);
    EXPECT_EQ(columnType(d, 2), kSqlServerDateTimeOffset);
}
