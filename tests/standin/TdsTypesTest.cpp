#include "TdsTypes.h"
#include "TdsVersion.h"

#include <gtest/gtest.h>

using namespace standin;
using namespace standin::tds;

TEST(TdsTypes, DateTimeTextRoundTripsThroughDaysAndMillis)
{
    int64_t days = 0, ms = 0;
    parseDateTime("2024-02-29 13:45:12.123", days, ms);
    EXPECT_EQ(formatDateTime(days, ms), "2024-02-29 13:45:12.123");
    parseDateTime("1900-01-01", days, ms);
    EXPECT_EQ(days, 0);
    EXPECT_EQ(ms, 0);
    parseDateTime("1899-12-31T23:59", days, ms);
    EXPECT_EQ(days, -1);
    EXPECT_EQ(ms, (23 * 60 + 59) * 60000);
    EXPECT_THROW(parseDateTime("yesterday", days, ms), std::invalid_argument);
    EXPECT_THROW(parseDateTime("2024-13-01", days, ms), std::invalid_argument);
}

TEST(TdsTypes, DateTimeValueIsDaysSince1900AndThreeHundredthsOfASecond)
{
    ByteWriter w;
    writeValue(w, ColumnInfo{"d", SqlType::DateTime, 8, true}, std::string("1900-01-02 00:00:01.000"),
               kTds74);
    const Bytes expected{8, 1, 0, 0, 0, 44, 1, 0, 0}; // day 1, 300 ticks
    EXPECT_EQ(w.bytes(), expected);
}

TEST(TdsTypes, GuidTextMatchesSqlServersByteOrder)
{
    const Bytes b = guidToBytes("6F9619FF-8B86-D011-B42D-00C04FC964FF");
    const Bytes expected{0xFF, 0x19, 0x96, 0x6F, 0x86, 0x8B, 0x11, 0xD0,
                         0xB4, 0x2D, 0x00, 0xC0, 0x4F, 0xC9, 0x64, 0xFF};
    EXPECT_EQ(b, expected);
    EXPECT_EQ(guidFromBytes(b.data()), "6F9619FF-8B86-D011-B42D-00C04FC964FF");
    EXPECT_THROW(guidToBytes("not-a-guid"), std::invalid_argument);
}

TEST(TdsTypes, MaxColumnsArePlpFrom72AndNTextBefore)
{
    const ColumnInfo text{"t", SqlType::NVarChar, -1, true};
    ByteWriter modern;
    writeTypeInfo(modern, text, kTds74, true);
    EXPECT_EQ(modern.bytes()[0], 0xE7);
    EXPECT_EQ(modern.bytes()[1], 0xFF);
    EXPECT_EQ(modern.bytes()[2], 0xFF);
    ByteWriter old;
    writeTypeInfo(old, text, kTds71, true);
    EXPECT_EQ(old.bytes()[0], 0x63);

    ByteWriter value;
    writeValue(value, text, std::string("ab"), kTds74);
    const Bytes expected{4, 0, 0, 0, 0, 0, 0, 0, 4, 0, 0, 0, 'a', 0, 'b', 0, 0, 0, 0, 0};
    EXPECT_EQ(value.bytes(), expected);
    ByteWriter null;
    writeValue(null, text, std::monostate{}, kTds74);
    EXPECT_EQ(null.bytes(), Bytes(8, 0xFF));
}

TEST(TdsTypes, OversizedDeclaredLengthsBecomeMax)
{
    EXPECT_EQ(wireColumn({"a", SqlType::NVarChar, 5000, true}).maxLength, -1);
    EXPECT_EQ(wireColumn({"a", SqlType::VarChar, 8000, true}).maxLength, 8000);
    EXPECT_EQ(wireColumn({"a", SqlType::VarBinary, 0, true}).maxLength, -1);
}

TEST(TdsTypes, ParametersDecodeToTheEngineTypes)
{
    struct Case {
        Bytes wire;
        SqlType type;
        Value value;
    };
    const Case cases[] = {
        {{0x26, 4, 4, 0x2A, 0, 0, 0}, SqlType::Int, int64_t{42}},
        {{0x26, 8, 8, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, SqlType::BigInt, int64_t{-1}},
        {{0x26, 4, 0}, SqlType::Int, std::monostate{}},
        {{0x68, 1, 1, 1}, SqlType::Bit, int64_t{1}},
        {{0x6D, 8, 8, 0, 0, 0, 0, 0, 0, 0xF8, 0x3F}, SqlType::Float, 1.5},
        {{0xE7, 20, 0, 9, 4, 0xD0, 0, 0x34, 4, 0, 'h', 0, 'i', 0}, SqlType::NVarChar, std::string("hi")},
        {{0xA7, 20, 0, 9, 4, 0xD0, 0, 0x34, 1, 0, 0xE9}, SqlType::VarChar, std::string("\xC3\xA9")},
        {{0xE7, 0xFF, 0xFF, 9, 4, 0xD0, 0, 0x34, 2, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 'x', 0, 0, 0, 0, 0},
         SqlType::NVarChar,
         std::string("x")},
        {{0xA5, 10, 0, 2, 0, 0xDE, 0xAD}, SqlType::VarBinary, std::vector<uint8_t>{0xDE, 0xAD}},
        {{0x6F, 8, 8, 1, 0, 0, 0, 44, 1, 0, 0}, SqlType::DateTime, std::string("1900-01-02 00:00:01.000")},
        // datetime2(7): 10^-7 s units in 5 bytes, then days since 0001-01-01 in 3 bytes
        {{0x2A, 7, 8, 0x80, 0x96, 0x98, 0, 0, 0x5B, 0x95, 0x0A},
         SqlType::DateTime,
         std::string("1900-01-01 00:00:01.000")},
        {{0x24, 16, 16, 0xFF, 0x19, 0x96, 0x6F, 0x86, 0x8B, 0x11, 0xD0, 0xB4, 0x2D, 0x00, 0xC0, 0x4F, 0xC9,
          0x64, 0xFF},
         SqlType::UniqueIdentifier,
         std::string("6F9619FF-8B86-D011-B42D-00C04FC964FF")},
    };
    for (const Case& c : cases) {
        ByteReader r(c.wire);
        const WireType t = readTypeInfo(r);
        EXPECT_EQ(columnInfoOf(t).type, c.type);
        EXPECT_EQ(readValue(r, t), c.value) << "type 0x" << std::hex << int(c.wire[0]);
        EXPECT_TRUE(r.atEnd());
    }
}

TEST(TdsTypes, TruncatedParameterIsAProtocolError)
{
    const Bytes wire{0xE7, 20, 0, 9, 4, 0xD0, 0, 0x34, 8, 0, 'h', 0};
    ByteReader r(wire);
    const WireType t = readTypeInfo(r);
    EXPECT_THROW(readValue(r, t), ProtocolError);
}

TEST(TdsTypes, IntegerParameterLongerThanEightBytesIsAProtocolError)
{
    const Bytes wire{0x26, 8, 9, 0x6C, 0x11, 0x01, 0x39, 0x30, 0x39, 0x30, 0, 0};
    ByteReader r(wire);
    const WireType t = readTypeInfo(r);
    EXPECT_THROW(readValue(r, t), ProtocolError);
}

TEST(TdsTypes, SecondsOfOneDigitEndTheText)
{
    int64_t days = 0, ms = 0;
    parseDateTime("2020-01-02 10:20:1", days, ms);
    EXPECT_EQ(formatDateTime(days, ms), "2020-01-02 10:20:01.000");
    parseDateTime("1-01-02 10:20:3", days, ms);
    EXPECT_EQ(formatDateTime(days, ms), "0001-01-02 10:20:03.000");
    parseDateTime("2020-01-02 10:20:3.5", days, ms);
    EXPECT_EQ(ms % 60000, 3500);
}

TEST(TdsTypes, SqlVariantParametersAreRefusedNotFatal)
{
    const Bytes wire{0x62, 0, 0, 0, 0};
    ByteReader r(wire);
    EXPECT_THROW(readTypeInfo(r), UnsupportedType);
}
