#include "TdsTypes.h"

#include "TdsVersion.h"
#include "TemporalText.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace standin::tds {

const uint8_t kCollation[5] = {0x09, 0x04, 0xD0, 0x00, 0x34};

namespace {

enum WireTypeCode : uint8_t {
    Null = 0x1F,
    Int1 = 0x30,
    Bit = 0x32,
    Int2 = 0x34,
    Int4 = 0x38,
    DateTim4 = 0x3A,
    Flt4 = 0x3B,
    Money = 0x3C,
    DateTime = 0x3D,
    Flt8 = 0x3E,
    Money4 = 0x7A,
    Int8 = 0x7F,
    Guid = 0x24,
    IntN = 0x26,
    DateN = 0x28,
    TimeN = 0x29,
    DateTime2N = 0x2A,
    DateTimeOffsetN = 0x2B,
    BitN = 0x68,
    DecimalN = 0x6A,
    NumericN = 0x6C,
    FltN = 0x6D,
    MoneyN = 0x6E,
    DateTimN = 0x6F,
    Decimal = 0x37,
    Numeric = 0x3F,
    Image = 0x22,
    Text = 0x23,
    NText = 0x63,
    BigVarBinary = 0xA5,
    BigVarChar = 0xA7,
    BigBinary = 0xAD,
    BigChar = 0xAF,
    NVarChar = 0xE7,
    NChar = 0xEF,
    Xml = 0xF1,
    Udt = 0xF0,
    SqlVariant = 0x62,
};

constexpr uint64_t kPlpNull = 0xFFFFFFFFFFFFFFFFull;
constexpr uint64_t kPlpUnknownLength = 0xFFFFFFFFFFFFFFFEull;
constexpr uint16_t kMaxMarker = 0xFFFF;

using temporal::civilFromDays;
using temporal::daysFromCivil;

const int64_t kDay1900 = daysFromCivil(1900, 1, 1);
const int64_t kDay0001 = daysFromCivil(1, 1, 1);

int64_t asInteger(const Value& v)
{
    if (auto p = std::get_if<int64_t>(&v))
        return *p;
    if (auto p = std::get_if<double>(&v))
        return static_cast<int64_t>(std::llround(*p));
    if (auto p = std::get_if<std::string>(&v)) {
        size_t used = 0;
        const int64_t n = std::stoll(*p, &used);
        return n;
    }
    throw std::invalid_argument("a binary value cannot be sent in an integer column");
}

double asDouble(const Value& v)
{
    if (auto p = std::get_if<int64_t>(&v))
        return static_cast<double>(*p);
    if (auto p = std::get_if<double>(&v))
        return *p;
    if (auto p = std::get_if<std::string>(&v))
        return std::stod(*p);
    throw std::invalid_argument("a binary value cannot be sent in a float column");
}

std::string asText(const Value& v)
{
    if (auto p = std::get_if<std::string>(&v))
        return *p;
    if (auto p = std::get_if<int64_t>(&v))
        return std::to_string(*p);
    if (auto p = std::get_if<double>(&v)) {
        char buf[64];
        std::snprintf(buf, sizeof buf, "%.15g", *p);
        return buf;
    }
    const auto& b = std::get<std::vector<uint8_t>>(v);
    return std::string(b.begin(), b.end());
}

Bytes asBytes(const Value& v)
{
    if (auto p = std::get_if<std::vector<uint8_t>>(&v))
        return *p;
    const std::string s = asText(v);
    return Bytes(s.begin(), s.end());
}

bool isLong(const ColumnInfo& c)
{
    return c.maxLength < 0;
}

// The bytes a character or binary value occupies on the wire.
Bytes encodedText(const ColumnInfo& c, const Value& v)
{
    switch (c.type) {
    case SqlType::NVarChar:
        return utf8ToUtf16le(asText(v));
    case SqlType::VarChar: {
        const std::string s = utf8ToCp1252(asText(v));
        return Bytes(s.begin(), s.end());
    }
    default:
        return asBytes(v);
    }
}

void writeIntN(ByteWriter& w, uint8_t size, int64_t n)
{
    w.u8(size);
    for (uint8_t i = 0; i < size; ++i)
        w.u8(static_cast<uint8_t>(static_cast<uint64_t>(n) >> (8 * i)));
}

uint8_t intSize(SqlType t)
{
    switch (t) {
    case SqlType::TinyInt:
        return 1;
    case SqlType::SmallInt:
        return 2;
    case SqlType::BigInt:
        return 8;
    default:
        return 4;
    }
}

// Clients before TDS 7.3 know no time or datetimeoffset; real servers send them those as
// nvarchar of the value's text, and so does the stand-in.
bool sentAsText(const ColumnInfo& c, uint32_t tdsVersion)
{
    return (c.type == SqlType::Time || c.type == SqlType::DateTimeOffset) && tdsVersion < kTds73A;
}

ColumnInfo textColumn(const ColumnInfo& c)
{
    ColumnInfo t = c;
    t.type = SqlType::NVarChar;
    const int fraction = c.scale > 0 ? c.scale + 1 : 0;
    t.maxLength = (c.type == SqlType::Time ? 8 : 26) + fraction;
    return t;
}

// TIME(n) counts units of 10^-n seconds in 3 to 5 bytes.
uint8_t timeBytes(uint8_t scale)
{
    return scale <= 2 ? 3 : scale <= 4 ? 4 : 5;
}

void writeTimeUnits(ByteWriter& w, int64_t ticks, uint8_t scale)
{
    const auto units = static_cast<uint64_t>(ticks / temporal::unitsPerTick(scale));
    for (uint8_t i = 0; i < timeBytes(scale); ++i)
        w.u8(static_cast<uint8_t>(units >> (8 * i)));
}

void writeTemporal(ByteWriter& w, const ColumnInfo& c, const Value& value)
{
    temporal::Moment m;
    if (!temporal::parseMoment(asText(value), m))
        throw std::invalid_argument("not a time: \"" + asText(value) + "\"");
    int64_t days = m.days;
    int64_t ticks = temporal::roundToScale(m.ticks, c.scale);
    if (c.type == SqlType::Time) {
        w.u8(timeBytes(c.scale));
        writeTimeUnits(w, ticks % temporal::kTicksPerDay, c.scale);
        return;
    }
    // The wire carries the moment in UTC and the offset beside it.
    ticks -= m.offsetMinutes * 60 * temporal::kTicksPerSecond;
    temporal::normalizeDay(days, ticks);
    if (days < 0 || days > temporal::daysSince0001(9999, 12, 31))
        throw std::invalid_argument("a datetimeoffset outside the years 1 to 9999: \"" + asText(value) +
                                    "\"");
    w.u8(static_cast<uint8_t>(timeBytes(c.scale) + 5));
    writeTimeUnits(w, ticks, c.scale);
    for (int i = 0; i < 3; ++i)
        w.u8(static_cast<uint8_t>(static_cast<uint64_t>(days) >> (8 * i)));
    w.u16(static_cast<uint16_t>(static_cast<int16_t>(m.offsetMinutes)));
}

} // namespace

ColumnInfo wireColumn(const ColumnInfo& column)
{
    ColumnInfo c = column;
    const int32_t pageLimit = c.type == SqlType::NVarChar ? 4000 : 8000;
    const bool sized =
        c.type == SqlType::NVarChar || c.type == SqlType::VarChar || c.type == SqlType::VarBinary;
    if (sized && (c.maxLength <= 0 || c.maxLength > pageLimit))
        c.maxLength = -1;
    return c;
}

void writeTypeInfo(ByteWriter& w, const ColumnInfo& column, uint32_t tdsVersion, bool withTableName)
{
    const ColumnInfo c = wireColumn(sentAsText(column, tdsVersion) ? textColumn(column) : column);
    const bool plpAllowed = tdsVersion >= kTds72;
    switch (c.type) {
    case SqlType::Int:
    case SqlType::BigInt:
    case SqlType::SmallInt:
    case SqlType::TinyInt:
        w.u8(IntN);
        w.u8(intSize(c.type));
        return;
    case SqlType::Bit:
        w.u8(BitN);
        w.u8(1);
        return;
    case SqlType::Float:
        w.u8(FltN);
        w.u8(8);
        return;
    case SqlType::DateTime:
        w.u8(DateTimN);
        w.u8(8);
        return;
    case SqlType::UniqueIdentifier:
        w.u8(Guid);
        w.u8(16);
        return;
    case SqlType::Time:
        w.u8(TimeN);
        w.u8(c.scale);
        return;
    case SqlType::DateTimeOffset:
        w.u8(DateTimeOffsetN);
        w.u8(c.scale);
        return;
    case SqlType::NVarChar:
    case SqlType::VarChar:
    case SqlType::VarBinary:
        break;
    }
    const bool binary = c.type == SqlType::VarBinary;
    if (isLong(c) && !plpAllowed) {
        w.u8(c.type == SqlType::NVarChar ? NText : binary ? Image : Text);
        w.u32(c.type == SqlType::NVarChar ? 0x7FFFFFFE : 0x7FFFFFFF);
        if (!binary)
            w.raw(kCollation, sizeof kCollation);
        if (withTableName)
            w.u16(0); // 7.1 table name: an empty US_VARCHAR
        return;
    }
    w.u8(c.type == SqlType::NVarChar ? NVarChar : binary ? BigVarBinary : BigVarChar);
    if (isLong(c))
        w.u16(kMaxMarker);
    else
        w.u16(static_cast<uint16_t>(c.type == SqlType::NVarChar ? c.maxLength * 2 : c.maxLength));
    if (!binary)
        w.raw(kCollation, sizeof kCollation);
}

void writeValue(ByteWriter& w, const ColumnInfo& column, const Value& value, uint32_t tdsVersion)
{
    const ColumnInfo c = wireColumn(sentAsText(column, tdsVersion) ? textColumn(column) : column);
    const bool null = std::holds_alternative<std::monostate>(value);
    switch (c.type) {
    case SqlType::Time:
    case SqlType::DateTimeOffset:
        if (null)
            w.u8(0);
        else
            writeTemporal(w, c, value);
        return;
    case SqlType::Int:
    case SqlType::BigInt:
    case SqlType::SmallInt:
    case SqlType::TinyInt:
        if (null)
            w.u8(0);
        else
            writeIntN(w, intSize(c.type), asInteger(value));
        return;
    case SqlType::Bit:
        if (null)
            w.u8(0);
        else
            writeIntN(w, 1, asInteger(value) != 0 ? 1 : 0);
        return;
    case SqlType::Float:
        if (null) {
            w.u8(0);
        } else {
            w.u8(8);
            w.f64(asDouble(value));
        }
        return;
    case SqlType::DateTime: {
        if (null) {
            w.u8(0);
            return;
        }
        int64_t days = 0, millis = 0;
        parseDateTime(asText(value), days, millis);
        // DATETIME counts 1/300 s; 23:59:59.999 rounds into the next day, as on SQL Server.
        int64_t ticks = std::llround(static_cast<double>(millis) * 0.3);
        if (ticks >= 300LL * 86400) {
            ticks -= 300LL * 86400;
            ++days;
        }
        w.u8(8);
        w.i32(static_cast<int32_t>(days));
        w.u32(static_cast<uint32_t>(ticks));
        return;
    }
    case SqlType::UniqueIdentifier:
        if (null) {
            w.u8(0);
        } else {
            w.u8(16);
            w.raw(guidToBytes(asText(value)));
        }
        return;
    case SqlType::NVarChar:
    case SqlType::VarChar:
    case SqlType::VarBinary:
        break;
    }
    const bool plpAllowed = tdsVersion >= kTds72;
    if (isLong(c) && !plpAllowed) {
        if (null) {
            w.u8(0); // no text pointer
            return;
        }
        const Bytes data = encodedText(c, value);
        w.u8(16);
        const uint8_t pointer[16] = {};
        w.raw(pointer, sizeof pointer);
        const uint8_t timestamp[8] = {};
        w.raw(timestamp, sizeof timestamp);
        w.u32(static_cast<uint32_t>(data.size()));
        w.raw(data);
        return;
    }
    if (isLong(c)) {
        if (null) {
            w.u64(kPlpNull);
            return;
        }
        const Bytes data = encodedText(c, value);
        w.u64(data.size());
        constexpr size_t kChunk = 8000;
        for (size_t at = 0; at < data.size(); at += kChunk) {
            const size_t n = std::min(kChunk, data.size() - at);
            w.u32(static_cast<uint32_t>(n));
            w.raw(data.data() + at, n);
        }
        w.u32(0);
        return;
    }
    if (null) {
        w.u16(0xFFFF);
        return;
    }
    Bytes data = encodedText(c, value);
    // A declared (n)varchar(n) never carries more than n: clients size their buffers by it.
    const size_t limit = static_cast<size_t>(c.type == SqlType::NVarChar ? c.maxLength * 2 : c.maxLength);
    if (data.size() > limit)
        data.resize(limit);
    w.u16(static_cast<uint16_t>(data.size()));
    w.raw(data);
}

WireType readTypeInfo(ByteReader& r)
{
    WireType t;
    t.type = r.u8();
    switch (t.type) {
    case Null:
        t.maxLength = 0;
        return t;
    case Int1:
    case Bit:
        t.maxLength = 1;
        return t;
    case Int2:
        t.maxLength = 2;
        return t;
    case Int4:
    case DateTim4:
    case Flt4:
    case Money4:
        t.maxLength = 4;
        return t;
    case Money:
    case DateTime:
    case Flt8:
    case Int8:
        t.maxLength = 8;
        return t;
    case Guid:
    case IntN:
    case BitN:
    case FltN:
    case MoneyN:
    case DateTimN:
        t.maxLength = r.u8();
        return t;
    case DecimalN:
    case NumericN:
    case Decimal:
    case Numeric:
        t.maxLength = r.u8();
        t.precision = r.u8();
        t.scale = r.u8();
        return t;
    case DateN:
        t.maxLength = 3;
        return t;
    case TimeN:
    case DateTime2N:
    case DateTimeOffsetN:
        t.scale = r.u8();
        if (t.scale > 7)
            throw ProtocolError("a time parameter has a scale above 7");
        return t;
    case BigVarBinary:
    case BigBinary:
        t.maxLength = r.u16();
        t.plp = t.maxLength == kMaxMarker;
        return t;
    case BigVarChar:
    case BigChar:
    case NVarChar:
    case NChar:
        t.maxLength = r.u16();
        t.plp = t.maxLength == kMaxMarker;
        r.skip(5); // collation: the stand-in has one
        return t;
    case Text:
    case NText:
        t.maxLength = r.u32();
        r.skip(5);
        return t;
    case Image:
        t.maxLength = r.u32();
        return t;
    case Xml:
        if (r.u8() != 0) { // a schema collection: database, owner, collection names
            r.bVarChar();
            r.bVarChar();
            r.usVarChar();
        }
        t.plp = true;
        return t;
    default:
        throw UnsupportedType("the stand-in does not take parameters of TDS type 0x" + [&] {
            char b[4];
            std::snprintf(b, sizeof b, "%02X", t.type);
            return std::string(b);
        }());
    }
}

namespace {

int64_t readLittle(ByteReader& r, size_t n, bool isSigned)
{
    if (n > 8)
        throw ProtocolError("an integer parameter is longer than 8 bytes");
    uint64_t v = 0;
    const uint8_t* p = r.take(n);
    for (size_t i = 0; i < n; ++i)
        v |= static_cast<uint64_t>(p[i]) << (8 * i);
    if (isSigned && n < 8 && (v >> (8 * n - 1)) & 1)
        v |= ~0ull << (8 * n);
    return static_cast<int64_t>(v);
}

Value fixedValue(ByteReader& r, uint8_t type, size_t size)
{
    switch (type) {
    case Int1:
        return readLittle(r, 1, false);
    case Bit:
        return static_cast<int64_t>(r.u8() != 0);
    case Int2:
    case Int4:
    case Int8:
        return readLittle(r, size, true);
    case IntN:
        return readLittle(r, size, size > 1);
    case BitN:
        return static_cast<int64_t>(r.u8() != 0);
    case Flt4:
        return static_cast<double>(r.f32());
    case Flt8:
        return r.f64();
    case FltN:
        return size == 4 ? static_cast<double>(r.f32()) : r.f64();
    case Money4:
        return static_cast<double>(r.i32()) / 10000.0;
    case Money:
    case MoneyN:
        if (size == 4)
            return static_cast<double>(r.i32()) / 10000.0;
        else {
            const uint64_t hi = r.u32();
            const uint64_t lo = r.u32();
            return static_cast<double>(static_cast<int64_t>((hi << 32) | lo)) / 10000.0;
        }
    case DateTim4: {
        const uint16_t days = r.u16();
        const uint16_t minutes = r.u16();
        return formatDateTime(days, minutes * 60000LL);
    }
    case DateTime:
    case DateTimN:
        if (size == 4) {
            const uint16_t days = r.u16();
            const uint16_t minutes = r.u16();
            return formatDateTime(days, minutes * 60000LL);
        } else {
            const int32_t days = r.i32();
            const uint32_t ticks = r.u32();
            return formatDateTime(days, std::llround(ticks * 10.0 / 3.0));
        }
    case Guid:
        if (size != 16)
            throw ProtocolError("a uniqueidentifier parameter is not 16 bytes long");
        return guidFromBytes(r.take(16));
    default:
        throw ProtocolError("unexpected fixed-size type");
    }
}

Value decimalValue(ByteReader& r, size_t size, uint8_t scale)
{
    if (size < 1)
        throw ProtocolError("an empty decimal parameter");
    const bool positive = r.u8() == 1;
    long double magnitude = 0;
    const uint8_t* p = r.take(size - 1);
    for (size_t i = size - 1; i-- > 0;)
        magnitude = magnitude * 256 + p[i];
    const long double v = magnitude / std::pow(10.0L, scale);
    return static_cast<double>(positive ? v : -v);
}

int64_t timeTicks(ByteReader& r, uint8_t scale)
{
    const auto units = readLittle(r, timeBytes(scale), false);
    const int64_t ticks = units * temporal::unitsPerTick(scale);
    if (ticks >= temporal::kTicksPerDay)
        throw ProtocolError("a time parameter lies beyond midnight");
    return ticks;
}

Value textValue(uint8_t type, const Bytes& data)
{
    switch (type) {
    case BigVarChar:
    case BigChar:
    case Text:
        return cp1252ToUtf8(std::string(data.begin(), data.end()));
    case NVarChar:
    case NChar:
    case NText:
    case Xml:
        return utf16leToUtf8(data.data(), data.size() & ~size_t{1});
    default:
        return data;
    }
}

} // namespace

Value readValue(ByteReader& r, const WireType& t)
{
    switch (t.type) {
    case Null:
        return std::monostate{};
    case Int1:
    case Bit:
    case Int2:
    case Int4:
    case DateTim4:
    case Flt4:
    case Money4:
    case Money:
    case DateTime:
    case Flt8:
    case Int8:
        return fixedValue(r, t.type, t.maxLength);
    case Guid:
    case IntN:
    case BitN:
    case FltN:
    case MoneyN:
    case DateTimN: {
        const uint8_t size = r.u8();
        if (size == 0)
            return std::monostate{};
        if (size > 16)
            throw ProtocolError("a fixed-size parameter claims more than 16 bytes");
        return fixedValue(r, t.type, size);
    }
    case DecimalN:
    case NumericN:
    case Decimal:
    case Numeric: {
        const uint8_t size = r.u8();
        if (size == 0)
            return std::monostate{};
        return decimalValue(r, size, t.scale);
    }
    case DateN: {
        const uint8_t size = r.u8();
        if (size == 0)
            return std::monostate{};
        const int64_t days = readLittle(r, 3, false);
        return formatDateTime(days + kDay0001 - kDay1900, 0);
    }
    case TimeN:
    case DateTime2N:
    case DateTimeOffsetN: {
        const uint8_t size = r.u8();
        if (size == 0)
            return std::monostate{};
        const size_t expected = timeBytes(t.scale) + (t.type == TimeN ? 0 : t.type == DateTime2N ? 3 : 5);
        if (size != expected)
            throw ProtocolError("a time parameter's length does not match its scale");
        temporal::Moment m;
        m.ticks = timeTicks(r, t.scale);
        if (t.type == TimeN)
            return temporal::formatTime(m.ticks, t.scale);
        m.days = readLittle(r, 3, false);
        if (m.days > temporal::daysSince0001(9999, 12, 31))
            throw ProtocolError("a date parameter lies after the year 9999");
        if (t.type == DateTime2N)
            return formatDateTime(m.days + kDay0001 - kDay1900, m.ticks / 10000);
        // Sent as UTC with the offset beside it; the text shows the time where it was written.
        m.offsetMinutes = static_cast<int16_t>(r.u16());
        if (m.offsetMinutes < -14 * 60 || m.offsetMinutes > 14 * 60)
            throw ProtocolError("a datetimeoffset parameter's offset is beyond 14 hours");
        m.ticks += m.offsetMinutes * 60 * temporal::kTicksPerSecond;
        temporal::normalizeDay(m.days, m.ticks);
        return temporal::dateTimeOffsetText(m, t.scale);
    }
    case BigVarBinary:
    case BigBinary:
    case BigVarChar:
    case BigChar:
    case NVarChar:
    case NChar:
    case Xml:
        if (t.plp) {
            const uint64_t total = r.u64();
            if (total == kPlpNull)
                return std::monostate{};
            Bytes data;
            for (;;) {
                const uint32_t chunk = r.u32();
                if (chunk == 0)
                    break;
                const uint8_t* p = r.take(chunk);
                data.insert(data.end(), p, p + chunk);
            }
            if (total != kPlpUnknownLength && total != data.size())
                throw ProtocolError("a (max) parameter's chunks do not add up to its length");
            return textValue(t.type, data);
        } else {
            const uint16_t size = r.u16();
            if (size == 0xFFFF)
                return std::monostate{};
            return textValue(t.type, r.bytes(size));
        }
    case Text:
    case NText:
    case Image: {
        const uint32_t size = r.u32();
        if (size == 0xFFFFFFFF)
            return std::monostate{};
        return textValue(t.type, r.bytes(size));
    }
    default:
        throw UnsupportedType("unsupported parameter type");
    }
}

ColumnInfo columnInfoOf(const WireType& t)
{
    ColumnInfo c;
    c.nullable = true;
    switch (t.type) {
    case Int1:
        c.type = SqlType::TinyInt;
        break;
    case Int2:
        c.type = SqlType::SmallInt;
        break;
    case Int4:
        c.type = SqlType::Int;
        break;
    case Int8:
        c.type = SqlType::BigInt;
        break;
    case IntN:
        c.type = t.maxLength == 1   ? SqlType::TinyInt
                 : t.maxLength == 2 ? SqlType::SmallInt
                 : t.maxLength == 8 ? SqlType::BigInt
                                    : SqlType::Int;
        break;
    case Bit:
    case BitN:
        c.type = SqlType::Bit;
        break;
    case Flt4:
    case Flt8:
    case FltN:
    case Money:
    case Money4:
    case MoneyN:
    case DecimalN:
    case NumericN:
    case Decimal:
    case Numeric:
        c.type = SqlType::Float;
        break;
    case DateTim4:
    case DateTime:
    case DateTimN:
    case DateN:
    case DateTime2N:
        c.type = SqlType::DateTime;
        break;
    case TimeN:
        c.type = SqlType::Time;
        c.maxLength = 5;
        c.scale = t.scale;
        break;
    case DateTimeOffsetN:
        c.type = SqlType::DateTimeOffset;
        c.maxLength = 10;
        c.scale = t.scale;
        break;
    case Guid:
        c.type = SqlType::UniqueIdentifier;
        break;
    case BigVarChar:
    case BigChar:
        c.type = SqlType::VarChar;
        c.maxLength = t.plp ? -1 : static_cast<int32_t>(t.maxLength);
        break;
    case Text:
        c.type = SqlType::VarChar;
        c.maxLength = -1;
        break;
    case NVarChar:
    case NChar:
        c.type = SqlType::NVarChar;
        c.maxLength = t.plp ? -1 : static_cast<int32_t>(t.maxLength / 2);
        break;
    case NText:
    case Xml:
    case Null:
        c.type = SqlType::NVarChar;
        c.maxLength = -1;
        break;
    case BigVarBinary:
    case BigBinary:
        c.type = SqlType::VarBinary;
        c.maxLength = t.plp ? -1 : static_cast<int32_t>(t.maxLength);
        break;
    case Image:
        c.type = SqlType::VarBinary;
        c.maxLength = -1;
        break;
    default:
        break;
    }
    return c;
}

std::string formatDateTime(int64_t daysSince1900, int64_t millisOfDay)
{
    int64_t y;
    unsigned m, d;
    civilFromDays(daysSince1900 + kDay1900, y, m, d);
    const int64_t h = millisOfDay / 3600000;
    const int64_t mi = millisOfDay / 60000 % 60;
    const int64_t s = millisOfDay / 1000 % 60;
    const int64_t ms = millisOfDay % 1000;
    char buf[40];
    std::snprintf(buf, sizeof buf, "%04lld-%02u-%02u %02lld:%02lld:%02lld.%03lld", static_cast<long long>(y),
                  m, d, static_cast<long long>(h), static_cast<long long>(mi), static_cast<long long>(s),
                  static_cast<long long>(ms));
    return buf;
}

void parseDateTime(const std::string& text, int64_t& daysSince1900, int64_t& millisOfDay)
{
    int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
    char sep = ' ';
    int consumed = 0;
    const int n = std::sscanf(text.c_str(), "%4d-%2d-%2d%n%c%2d:%2d%n", &y, &mo, &d, &consumed, &sep, &h, &mi,
                              &consumed);
    if (n < 3 || mo < 1 || mo > 12 || d < 1 || d > 31)
        throw std::invalid_argument("not a date and time: \"" + text + "\"");
    int64_t millis = 0;
    if (n >= 6) {
        if (sep != ' ' && sep != 'T')
            throw std::invalid_argument("not a date and time: \"" + text + "\"");
        const char* rest = text.c_str() + consumed;
        if (*rest == ':') {
            int used = 0;
            if (std::sscanf(rest + 1, "%2d%n", &s, &used) != 1)
                throw std::invalid_argument("not a date and time: \"" + text + "\"");
            rest += 1 + used; // one digit is as good as two: "10:20:3"
            if (*rest == '.') {
                ++rest;
                int digits = 0, frac = 0;
                while (*rest >= '0' && *rest <= '9' && digits < 3) {
                    frac = frac * 10 + (*rest - '0');
                    ++digits;
                    ++rest;
                }
                while (digits < 3) {
                    frac *= 10;
                    ++digits;
                }
                millis = frac;
            }
        }
        if (h > 23 || mi > 59 || s > 59)
            throw std::invalid_argument("not a date and time: \"" + text + "\"");
    } else if (n != 3) {
        throw std::invalid_argument("not a date and time: \"" + text + "\"");
    }
    daysSince1900 = daysFromCivil(y, static_cast<unsigned>(mo), static_cast<unsigned>(d)) - kDay1900;
    millisOfDay = ((h * 60LL + mi) * 60 + s) * 1000 + millis;
}

Bytes guidToBytes(const std::string& text)
{
    std::string t = text;
    if (t.size() == 38 && t.front() == '{' && t.back() == '}')
        t = t.substr(1, 36);
    if (t.size() != 36 || t[8] != '-' || t[13] != '-' || t[18] != '-' || t[23] != '-')
        throw std::invalid_argument("not a uniqueidentifier: \"" + text + "\"");
    uint8_t raw[16];
    size_t k = 0;
    for (size_t i = 0; i < 36;) {
        if (t[i] == '-') {
            ++i;
            continue;
        }
        auto hex = [&](char c) -> int {
            if (c >= '0' && c <= '9')
                return c - '0';
            if (c >= 'a' && c <= 'f')
                return c - 'a' + 10;
            if (c >= 'A' && c <= 'F')
                return c - 'A' + 10;
            throw std::invalid_argument("not a uniqueidentifier: \"" + text + "\"");
        };
        raw[k++] = static_cast<uint8_t>(hex(t[i]) * 16 + hex(t[i + 1]));
        i += 2;
    }
    return Bytes{raw[3], raw[2], raw[1],  raw[0],  raw[5],  raw[4],  raw[7],  raw[6],
                 raw[8], raw[9], raw[10], raw[11], raw[12], raw[13], raw[14], raw[15]};
}

std::string guidFromBytes(const uint8_t* b)
{
    char buf[40];
    std::snprintf(buf, sizeof buf, "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X",
                  b[3], b[2], b[1], b[0], b[5], b[4], b[7], b[6], b[8], b[9], b[10], b[11], b[12], b[13],
                  b[14], b[15]);
    return buf;
}

} // namespace standin::tds
