// time and datetimeoffset in the engine: conversions, rounding to the scale, offsets, and the
// types result columns report.

#include "EngineFixture.h"

using namespace standin;

namespace {

class TemporalTypesTest : public EngineTest {};

} // namespace

TEST_F(TemporalTypesTest, CastRoundsToTheScaleAndKeepsTheOffset)
{
    auto s = sa();
    EXPECT_EQ(scalar(*s, "SELECT CAST('10:20:30.1234567' AS time(3))"), V("10:20:30.123"));
    EXPECT_EQ(scalar(*s, "SELECT CAST('10:20:30.9995' AS time(3))"), V("10:20:31.000"));
    EXPECT_EQ(scalar(*s, "SELECT CAST('10:20' AS time)"), V("10:20:00.0000000"));
    // Rounded up past the last second of the day, a time starts the next one.
    EXPECT_EQ(scalar(*s, "SELECT CAST('23:59:59.6' AS time(0))"), V("00:00:00"));
    // A date and time keeps only its time.
    EXPECT_EQ(scalar(*s, "SELECT CAST('2024-05-01 07:08:09.5' AS time(1))"), V("07:08:09.5"));
    EXPECT_EQ(scalar(*s, "SELECT CAST('2024-05-01T10:20:30.25+02:00' AS datetimeoffset(2))"),
              V("2024-05-01 10:20:30.25 +02:00"));
    EXPECT_EQ(scalar(*s, "SELECT CAST('2024-05-01 23:59:59.9 -09:30' AS datetimeoffset(0))"),
              V("2024-05-02 00:00:00 -09:30"));
    EXPECT_EQ(scalar(*s, "SELECT CAST('2024-05-01' AS datetimeoffset(0))"), V("2024-05-01 00:00:00 +00:00"));
    // To datetime: the time where it was written; a time alone falls on 1900-01-01.
    EXPECT_EQ(scalar(*s, "SELECT CAST(CAST('2024-05-01 10:20:30.5 -03:30' AS datetimeoffset) AS datetime)"),
              V("2024-05-01 10:20:30.500"));
    EXPECT_EQ(scalar(*s, "SELECT CAST('10:20' AS datetime)"), V("1900-01-01 10:20:00.000"));
}

TEST_F(TemporalTypesTest, TextThatIsNoTimeFailsWith241)
{
    auto s = sa();
    for (const char* sql : {"SELECT CAST('noon' AS time)", "SELECT CAST('25:00' AS time)",
                            "SELECT CAST('2024-05-01 10:00 +15:00' AS datetimeoffset)"}) {
        const auto errors = run(*s, sql).errors();
        ASSERT_EQ(errors.size(), 1u) << sql;
        EXPECT_EQ(errors[0].number, 241) << sql;
    }
}

TEST_F(TemporalTypesTest, ColumnsAndVariablesReportTheirTypeAndScale)
{
    auto s = sa();
    ok(*s, "CREATE DATABASE Clock");
    ok(*s, "USE Clock; CREATE TABLE t (a time(2), b datetimeoffset, c time(0))");
    ok(*s, "INSERT INTO t VALUES ('10:20:30.456', '2024-05-01 10:20:30 +05:45', '10:20:30.7')");
    auto sink = ok(*s, "SELECT a, b, c FROM t");
    const auto cols = sink.columnsOf(0);
    ASSERT_EQ(cols.size(), 3u);
    EXPECT_EQ(cols[0].type, SqlType::Time);
    EXPECT_EQ(cols[0].scale, 2);
    EXPECT_EQ(cols[1].type, SqlType::DateTimeOffset);
    EXPECT_EQ(cols[1].scale, 7);
    EXPECT_EQ(cols[2].scale, 0);
    EXPECT_EQ(sink.rows().at(0),
              (std::vector<Value>{V("10:20:30.46"), V("2024-05-01 10:20:30.0000000 +05:45"), V("10:20:31")}));

    auto variable = ok(*s, "DECLARE @t time(4) = '01:02:03'; SELECT @t AS t");
    ASSERT_EQ(variable.columnsOf(0).size(), 1u);
    EXPECT_EQ(variable.columnsOf(0)[0].type, SqlType::Time);
    EXPECT_EQ(variable.rows().at(0).at(0), V("01:02:03.0000"));
}
