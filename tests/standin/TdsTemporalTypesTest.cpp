// time and datetimeoffset on the wire: TIMEN and DATETIMEOFFSETN for TDS 7.3 clients, nvarchar
// text for older ones, and parameters read back to the same text.

#include "TdsTypes.h"
#include "TdsVersion.h"

#include <gtest/gtest.h>

using namespace standin;
using namespace standin::tds;

namespace {

ColumnInfo temporalColumn(SqlType type, uint8_t scale)
{
    ColumnInfo c{"t", type, type == SqlType::Time ? 5 : 10, true};
    c.scale = scale;
    return c;
}

Bytes typeInfo(const ColumnInfo& c, uint32_t version)
{
    ByteWriter w;
    writeTypeInfo(w, c, version, false);
    return w.bytes();
}

Bytes value(const ColumnInfo& c, const std::string& text, uint32_t version = kTds74)
{
    ByteWriter w;
    writeValue(w, c, text, version);
    return w.bytes();
}

// Reads a parameter (TYPE_INFO then value) as the server does.
std::pair<ColumnInfo, Value> parameter(const Bytes& wire)
{
    ByteReader r(wire);
    const WireType t = readTypeInfo(r);
    Value v = readValue(r, t);
    EXPECT_TRUE(r.atEnd());
    return {columnInfoOf(t), v};
}

} // namespace

TEST(TdsTemporalTypes, TimeIsUnitsOfItsScaleInThreeToFiveBytes)
{
    const ColumnInfo time3 = temporalColumn(SqlType::Time, 3);
    EXPECT_EQ(typeInfo(time3, kTds74), (Bytes{0x29, 3}));
    // 37,230,123 ms in the four bytes of scales 3 and 4
    EXPECT_EQ(value(time3, "10:20:30.123"), (Bytes{4, 0x2B, 0x16, 0x38, 0x02}));
    EXPECT_EQ(value(temporalColumn(SqlType::Time, 0), "20:00:00"), (Bytes{3, 0x40, 0x19, 0x01}));
    EXPECT_EQ(value(temporalColumn(SqlType::Time, 7), "00:00:01"), (Bytes{5, 0x80, 0x96, 0x98, 0, 0}));
    ByteWriter null;
    writeValue(null, time3, std::monostate{}, kTds74);
    EXPECT_EQ(null.bytes(), Bytes{0});
}

TEST(TdsTemporalTypes, DateTimeOffsetTravelsAsUtcWithTheOffsetBeside)
{
    const ColumnInfo dto7 = temporalColumn(SqlType::DateTimeOffset, 7);
    EXPECT_EQ(typeInfo(dto7, kTds73A), (Bytes{0x2B, 7}));
    // 08:20:30.1234567 UTC on 2024-05-01 (day 739,006 since 0001-01-01), offset +120 minutes
    EXPECT_EQ(value(dto7, "2024-05-01 10:20:30.1234567 +02:00"),
              (Bytes{10, 0x87, 0x31, 0x59, 0xEB, 0x45, 0xBE, 0x46, 0x0B, 120, 0}));
    // Negative offsets, and a local date that is a day after the UTC one.
    const ColumnInfo dto0 = temporalColumn(SqlType::DateTimeOffset, 0);
    const Bytes utc20h{8, 0x40, 0x19, 0x01, 0x44, 0x46, 0x0B};
    Bytes west = utc20h;
    west.insert(west.end(), {0xD4, 0xFE});
    EXPECT_EQ(value(dto0, "2023-12-31 15:00:00 -05:00"), west);
    Bytes east = utc20h;
    east.insert(east.end(), {0x2C, 0x01});
    EXPECT_EQ(value(dto0, "2024-01-01 01:00:00 +05:00"), east);
}

TEST(TdsTemporalTypes, ClientsBeforeTds73GetTheTextAsNvarchar)
{
    const ColumnInfo time3 = temporalColumn(SqlType::Time, 3);
    const Bytes info = typeInfo(time3, kTds72);
    EXPECT_EQ(info, (Bytes{0xE7, 24, 0, 0x09, 0x04, 0xD0, 0x00, 0x34})); // nvarchar(12)
    const Bytes text = value(time3, "10:20:30.123", kTds72);
    ASSERT_EQ(text.size(), 2u + 24u);
    EXPECT_EQ(text[0], 24);
    EXPECT_EQ(text[2], '1');
    EXPECT_EQ(text[24], '3');
    // datetimeoffset(7): "YYYY-MM-DD hh:mm:ss.fffffff +hh:mm" is 34 characters
    EXPECT_EQ(typeInfo(temporalColumn(SqlType::DateTimeOffset, 7), kTds71)[1], 68);
}

TEST(TdsTemporalTypes, ParametersKeepTheirTypeScaleAndText)
{
    auto [time, timeValue] = parameter({0x29, 3, 4, 0x2B, 0x16, 0x38, 0x02});
    EXPECT_EQ(time.type, SqlType::Time);
    EXPECT_EQ(time.scale, 3);
    EXPECT_EQ(timeValue, Value(std::string("10:20:30.123")));

    auto [dto, dtoValue] = parameter({0x2B, 0, 8, 0x40, 0x19, 0x01, 0x44, 0x46, 0x0B, 0xD4, 0xFE});
    EXPECT_EQ(dto.type, SqlType::DateTimeOffset);
    EXPECT_EQ(dto.scale, 0);
    EXPECT_EQ(dtoValue, Value(std::string("2023-12-31 15:00:00 -05:00")));

    auto [east, eastValue] = parameter({0x2B, 0, 8, 0x40, 0x19, 0x01, 0x44, 0x46, 0x0B, 0x2C, 0x01});
    EXPECT_EQ(eastValue, Value(std::string("2024-01-01 01:00:00 +05:00")));

    auto [null, nullValue] = parameter({0x29, 7, 0});
    EXPECT_EQ(null.type, SqlType::Time);
    EXPECT_EQ(nullValue, Value());
}

TEST(TdsTemporalTypes, EveryScaleRoundTrips)
{
    const std::string fraction = "1234567";
    for (uint8_t scale = 0; scale <= 7; ++scale) {
        const std::string digits = scale > 0 ? "." + fraction.substr(0, scale) : "";
        for (SqlType type : {SqlType::Time, SqlType::DateTimeOffset}) {
            const ColumnInfo c = temporalColumn(type, scale);
            const std::string text =
                type == SqlType::Time ? "23:59:58" + digits : "0001-01-02 00:30:00" + digits + " +14:00";
            Bytes wire = typeInfo(c, kTds74);
            const Bytes v = value(c, text);
            wire.insert(wire.end(), v.begin(), v.end());
            auto [info, read] = parameter(wire);
            EXPECT_EQ(info.scale, scale);
            EXPECT_EQ(read, Value(text)) << "scale " << int(scale);
        }
    }
}

TEST(TdsTemporalTypes, MalformedTimesAreProtocolErrors)
{
    // A length that does not fit the scale, more units than one day holds, a day after 9999.
    for (const Bytes& wire : {Bytes{0x29, 7, 3, 0, 0, 0}, Bytes{0x29, 0, 3, 0x80, 0x51, 0x01},
                              Bytes{0x2B, 0, 8, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0, 0}}) {
        ByteReader r(wire);
        const WireType t = readTypeInfo(r);
        EXPECT_THROW(readValue(r, t), ProtocolError);
    }
    ByteWriter w;
    EXPECT_THROW(writeValue(w, temporalColumn(SqlType::Time, 3), std::string("noon"), kTds74),
                 std::invalid_argument);
}
