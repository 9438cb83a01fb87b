#include "SqlFunctions.h"

#include "Catalog.h"
#include "SqlError.h"
#include "Sqlite.h"
#include "TemporalText.h"
#include "TypeMap.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <regex>

namespace standin {
namespace {

std::string valueTypeName(const Value& v)
{
    if (std::holds_alternative<std::string>(v))
        return "varchar";
    if (std::holds_alternative<double>(v))
        return "float";
    return "int";
}

std::string display(const Value& v)
{
    ColumnInfo text;
    text.type = SqlType::NVarChar;
    auto s = normalizeValue(v, text);
    if (auto p = std::get_if<std::string>(&s))
        return *p;
    return "";
}

std::string trim(const std::string& s)
{
    size_t b = 0, e = s.size();
    while (b < e && std::isspace(static_cast<unsigned char>(s[b])))
        ++b;
    while (e > b && std::isspace(static_cast<unsigned char>(s[e - 1])))
        --e;
    return s.substr(b, e - b);
}

bool parseInteger(const std::string& text, int64_t& out)
{
    const std::string t = trim(text);
    if (t.empty())
        return true; // SQL Server converts '' to 0
    const char* b = t.data() + (t[0] == '+' ? 1 : 0);
    auto r = std::from_chars(b, t.data() + t.size(), out);
    if (t.empty())
        out = 0;
    return r.ec == std::errc() && r.ptr == t.data() + t.size();
}

bool parseDouble(const std::string& text, double& out)
{
    const std::string t = trim(text);
    if (t.empty()) {
        out = 0;
        return true;
    }
    char* end = nullptr;
    out = std::strtod(t.c_str(), &end);
    return end && *end == '\0';
}

// Reads "YYYY-MM-DD[ hh:mm[:ss[.fff]]]" (also with 'T') or "YYYYMMDD".
bool parseDateTime(const std::string& text, std::tm& tm, int& millis)
{
    static const std::regex re(
        R"(^\s*(\d{4})-?(\d{2})-?(\d{2})(?:[ T](\d{1,2}):(\d{2})(?::(\d{2})(?:\.(\d{1,7}))?)?)?\s*$)");
    std::smatch m;
    if (!std::regex_match(text, m, re))
        return false;
    tm = {};
    tm.tm_year = std::stoi(m[1]) - 1900;
    tm.tm_mon = std::stoi(m[2]) - 1;
    tm.tm_mday = std::stoi(m[3]);
    tm.tm_hour = m[4].matched ? std::stoi(m[4]) : 0;
    tm.tm_min = m[5].matched ? std::stoi(m[5]) : 0;
    tm.tm_sec = m[6].matched ? std::stoi(m[6]) : 0;
    millis = 0;
    if (m[7].matched) {
        std::string f = std::string(m[7]).substr(0, 3);
        while (f.size() < 3)
            f += '0';
        millis = std::stoi(f);
    }
    return tm.tm_mon >= 0 && tm.tm_mon < 12 && tm.tm_mday >= 1 && tm.tm_mday <= 31 && tm.tm_hour < 24 &&
           tm.tm_min < 60 && tm.tm_sec < 60;
}

std::string formatDateTime(const std::tm& tm, int millis)
{
    char buf[64];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d.%03d", tm.tm_year + 1900, tm.tm_mon + 1,
                  tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, millis);
    return buf;
}

int64_t utf8Length(const std::string& s)
{
    int64_t n = 0;
    for (unsigned char c : s)
        if ((c & 0xC0) != 0x80)
            ++n;
    return n;
}

std::string utf8Prefix(const std::string& s, int64_t chars)
{
    int64_t n = 0;
    for (size_t i = 0; i < s.size(); ++i) {
        if ((static_cast<unsigned char>(s[i]) & 0xC0) != 0x80) {
            if (n == chars)
                return s.substr(0, i);
            ++n;
        }
    }
    return s;
}

Value argValue(sqlite3_value* v)
{
    switch (sqlite3_value_type(v)) {
    case SQLITE_INTEGER:
        return static_cast<int64_t>(sqlite3_value_int64(v));
    case SQLITE_FLOAT:
        return sqlite3_value_double(v);
    case SQLITE_TEXT:
        return std::string(reinterpret_cast<const char*>(sqlite3_value_text(v)), sqlite3_value_bytes(v));
    case SQLITE_BLOB: {
        const auto* p = static_cast<const uint8_t*>(sqlite3_value_blob(v));
        return std::vector<uint8_t>(p, p + sqlite3_value_bytes(v));
    }
    default:
        return std::monostate{};
    }
}

void setResult(sqlite3_context* ctx, const Value& v)
{
    if (auto i = std::get_if<int64_t>(&v))
        sqlite3_result_int64(ctx, *i);
    else if (auto d = std::get_if<double>(&v))
        sqlite3_result_double(ctx, *d);
    else if (auto s = std::get_if<std::string>(&v))
        sqlite3_result_text(ctx, s->data(), static_cast<int>(s->size()), SQLITE_TRANSIENT);
    else if (auto b = std::get_if<std::vector<uint8_t>>(&v))
        sqlite3_result_blob(ctx, b->data(), static_cast<int>(b->size()), SQLITE_TRANSIENT);
    else
        sqlite3_result_null(ctx);
}

void setError(sqlite3_context* ctx, const SqlError& e)
{
    const std::string m =
        "lfsql:" + std::to_string(e.number()) + ":" + std::to_string(e.severity()) + ":" + e.what();
    sqlite3_result_error(ctx, m.c_str(), static_cast<int>(m.size()));
}

std::vector<Value> args(int argc, sqlite3_value** argv)
{
    std::vector<Value> out;
    for (int i = 0; i < argc; ++i)
        out.push_back(argValue(argv[i]));
    return out;
}

using PureFunction = Value (*)(const std::vector<Value>&);

template <PureFunction F> void pure(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    try {
        setResult(ctx, F(args(argc, argv)));
    } catch (const SqlError& e) {
        setError(ctx, e);
    }
}

bool isNull(const Value& v)
{
    return std::holds_alternative<std::monostate>(v);
}

Value numericOf(const Value& v, const Value& other)
{
    if (auto s = std::get_if<std::string>(&v)) {
        const bool otherFloat = std::holds_alternative<double>(other);
        if (!otherFloat) {
            int64_t n = 0;
            if (parseInteger(*s, n))
                return n;
        }
        double d = 0;
        if (parseDouble(*s, d) && otherFloat)
            return d;
        throw SqlError(245, 16,
                       "Conversion failed when converting the varchar value '" + *s + "' to data type " +
                           valueTypeName(other) + ".");
    }
    return v;
}

Value fnAdd(const std::vector<Value>& a)
{
    const Value& l = a[0];
    const Value& r = a[1];
    if (isNull(l) || isNull(r))
        return std::monostate{};
    const bool ls = std::holds_alternative<std::string>(l), rs = std::holds_alternative<std::string>(r);
    if (ls && rs)
        return std::get<std::string>(l) + std::get<std::string>(r);
    if (std::holds_alternative<std::vector<uint8_t>>(l) && std::holds_alternative<std::vector<uint8_t>>(r)) {
        auto out = std::get<std::vector<uint8_t>>(l);
        const auto& b = std::get<std::vector<uint8_t>>(r);
        out.insert(out.end(), b.begin(), b.end());
        return out;
    }
    const Value x = ls ? numericOf(l, r) : l;
    const Value y = rs ? numericOf(r, l) : r;
    if (std::holds_alternative<int64_t>(x) && std::holds_alternative<int64_t>(y))
        return std::get<int64_t>(x) + std::get<int64_t>(y);
    auto asDouble = [](const Value& v) {
        if (auto i = std::get_if<int64_t>(&v))
            return static_cast<double>(*i);
        if (auto d = std::get_if<double>(&v))
            return *d;
        return 0.0;
    };
    return asDouble(x) + asDouble(y);
}

Value fnDiv(const std::vector<Value>& a)
{
    if (isNull(a[0]) || isNull(a[1]))
        return std::monostate{};
    const Value l = std::holds_alternative<std::string>(a[0]) ? numericOf(a[0], a[1]) : a[0];
    const Value r = std::holds_alternative<std::string>(a[1]) ? numericOf(a[1], a[0]) : a[1];
    if (auto ri = std::get_if<int64_t>(&r); ri && *ri == 0)
        throw SqlError(8134, 16, "Divide by zero error encountered.");
    if (auto rd = std::get_if<double>(&r); rd && *rd == 0.0)
        throw SqlError(8134, 16, "Divide by zero error encountered.");
    if (std::holds_alternative<int64_t>(l) && std::holds_alternative<int64_t>(r))
        return std::get<int64_t>(l) / std::get<int64_t>(r);
    auto d = [](const Value& v) {
        return std::holds_alternative<int64_t>(v) ? double(std::get<int64_t>(v)) : std::get<double>(v);
    };
    return d(l) / d(r);
}

Value fnConvert(const std::vector<Value>& a)
{
    return convertValue(a[1], std::get<std::string>(a[0]));
}

Value fnNewId(const std::vector<Value>&)
{
    return newGuid();
}

Value fnGetDate(const std::vector<Value>&)
{
    return currentDateTime();
}

Value fnGetUtcDate(const std::vector<Value>&)
{
    const std::time_t t = std::time(nullptr);
    std::tm tm{};
    gmtime_r(&t, &tm);
    return formatDateTime(tm, 0);
}

Value fnLen(const std::vector<Value>& a)
{
    if (isNull(a[0]))
        return std::monostate{};
    std::string s = display(a[0]);
    while (!s.empty() && s.back() == ' ') // LEN ignores trailing blanks
        s.pop_back();
    return utf8Length(s);
}

Value fnDataLength(const std::vector<Value>& a)
{
    if (isNull(a[0]))
        return std::monostate{};
    if (auto b = std::get_if<std::vector<uint8_t>>(&a[0]))
        return static_cast<int64_t>(b->size());
    if (std::holds_alternative<int64_t>(a[0]))
        return int64_t(4);
    if (std::holds_alternative<double>(a[0]))
        return int64_t(8);
    return utf8Length(std::get<std::string>(a[0])) * 2; // nvarchar: two bytes a character
}

int64_t intArg(const Value& v)
{
    return std::get<int64_t>(normalizeValue(v, columnInfoForType("bigint")));
}

Value fnLeft(const std::vector<Value>& a)
{
    if (isNull(a[0]) || isNull(a[1]))
        return std::monostate{};
    return utf8Prefix(display(a[0]), std::max<int64_t>(0, intArg(a[1])));
}

Value fnRight(const std::vector<Value>& a)
{
    if (isNull(a[0]) || isNull(a[1]))
        return std::monostate{};
    const std::string s = display(a[0]);
    const int64_t len = utf8Length(s), n = std::max<int64_t>(0, intArg(a[1]));
    if (n >= len)
        return s;
    const std::string head = utf8Prefix(s, len - n);
    return s.substr(head.size());
}

Value fnReverse(const std::vector<Value>& a)
{
    if (isNull(a[0]))
        return std::monostate{};
    std::string s = display(a[0]);
    return std::string(s.rbegin(), s.rend());
}

Value fnCharIndex(const std::vector<Value>& a)
{
    if (isNull(a[0]) || isNull(a[1]))
        return std::monostate{};
    std::string needle = display(a[0]), hay = display(a[1]);
    for (auto* s : {&needle, &hay})
        for (auto& c : *s)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    size_t start = 0;
    if (a.size() > 2 && !isNull(a[2]))
        start = static_cast<size_t>(std::max<int64_t>(1, intArg(a[2])) - 1);
    const auto p = hay.find(needle, start);
    return p == std::string::npos ? int64_t(0) : utf8Length(hay.substr(0, p)) + 1;
}

Value fnFloor(const std::vector<Value>& a)
{
    if (auto d = std::get_if<double>(&a[0]))
        return std::floor(*d);
    return a[0];
}

Value fnCeiling(const std::vector<Value>& a)
{
    if (auto d = std::get_if<double>(&a[0]))
        return std::ceil(*d);
    return a[0];
}

// INFORMATION_SCHEMA.COLUMNS: the T-SQL type of a declared column type, and its length.
Value fnTypeName(const std::vector<Value>& a)
{
    const std::string name = typeName(columnInfoForType(display(a[0])));
    return name.substr(0, name.find('('));
}

Value fnTypeLength(const std::vector<Value>& a)
{
    const ColumnInfo info = columnInfoForType(display(a[0]));
    if (info.type == SqlType::NVarChar || info.type == SqlType::VarChar || info.type == SqlType::VarBinary)
        return int64_t(info.maxLength);
    return std::monostate{};
}

Value fnPages(const std::vector<Value>& a)
{
    std::error_code ec;
    const auto size = std::filesystem::file_size(display(a[0]), ec);
    if (ec)
        return int64_t(0);
    return static_cast<int64_t>((size + 8191) / 8192);
}

bool dateArg(const Value& v, std::tm& tm, int& ms)
{
    if (isNull(v))
        return false;
    const std::string s = display(v);
    if (!parseDateTime(s, tm, ms))
        throw SqlError(241, 16, "Conversion failed when converting date and/or time from character string.");
    return true;
}

int64_t daysFromCivil(int y, unsigned m, unsigned d)
{
    y -= m <= 2;
    const int era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

int64_t secondsOf(const std::tm& tm)
{
    return daysFromCivil(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday) * 86400 + tm.tm_hour * 3600 +
           tm.tm_min * 60 + tm.tm_sec;
}

std::string canonicalPart(const std::string& p)
{
    if (p == "yy" || p == "yyyy" || p == "year")
        return "year";
    if (p == "mm" || p == "m" || p == "month")
        return "month";
    if (p == "dd" || p == "d" || p == "day" || p == "dy" || p == "y" || p == "dayofyear")
        return "day";
    if (p == "hh" || p == "hour")
        return "hour";
    if (p == "mi" || p == "n" || p == "minute")
        return "minute";
    if (p == "ss" || p == "s" || p == "second")
        return "second";
    if (p == "ms" || p == "millisecond")
        return "millisecond";
    throw SqlError(155, 15, "'" + p + "' is not a recognized datepart option.");
}

Value fnDatePart(const std::vector<Value>& a)
{
    std::tm tm{};
    int ms = 0;
    if (!dateArg(a[1], tm, ms))
        return std::monostate{};
    const std::string p = canonicalPart(std::get<std::string>(a[0]));
    if (p == "year")
        return int64_t(tm.tm_year + 1900);
    if (p == "month")
        return int64_t(tm.tm_mon + 1);
    if (p == "day")
        return int64_t(tm.tm_mday);
    if (p == "hour")
        return int64_t(tm.tm_hour);
    if (p == "minute")
        return int64_t(tm.tm_min);
    if (p == "second")
        return int64_t(tm.tm_sec);
    return int64_t(ms);
}

Value fnDateName(const std::vector<Value>& a)
{
    return display(fnDatePart(a));
}

Value fnDateAdd(const std::vector<Value>& a)
{
    std::tm tm{};
    int ms = 0;
    if (isNull(a[1]) || !dateArg(a[2], tm, ms))
        return std::monostate{};
    const std::string p = canonicalPart(std::get<std::string>(a[0]));
    const int64_t n = intArg(a[1]);
    if (p == "year" || p == "month") {
        int64_t months = tm.tm_year * 12LL + tm.tm_mon + (p == "year" ? n * 12 : n);
        tm.tm_year = static_cast<int>(months / 12);
        tm.tm_mon = static_cast<int>(months % 12);
        static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        const int y = tm.tm_year + 1900;
        const int last =
            tm.tm_mon == 1 && ((y % 4 == 0 && y % 100 != 0) || y % 400 == 0) ? 29 : kDays[tm.tm_mon];
        tm.tm_mday = std::min(tm.tm_mday, last);
        return formatDateTime(tm, ms);
    }
    int64_t total = secondsOf(tm) * 1000 + ms;
    const int64_t unit = p == "day"      ? 86400000
                         : p == "hour"   ? 3600000
                         : p == "minute" ? 60000
                         : p == "second" ? 1000
                                         : 1;
    total += n * unit;
    const int64_t secs = total >= 0 ? total / 1000 : (total - 999) / 1000;
    ms = static_cast<int>(total - secs * 1000);
    const std::time_t t = static_cast<std::time_t>(secs);
    gmtime_r(&t, &tm);
    return formatDateTime(tm, ms);
}

Value fnDateDiff(const std::vector<Value>& a)
{
    std::tm x{}, y{};
    int mx = 0, my = 0;
    if (!dateArg(a[1], x, mx) || !dateArg(a[2], y, my))
        return std::monostate{};
    const std::string p = canonicalPart(std::get<std::string>(a[0]));
    // DATEDIFF counts boundaries crossed, not elapsed units.
    if (p == "year")
        return int64_t(y.tm_year - x.tm_year);
    if (p == "month")
        return int64_t((y.tm_year - x.tm_year) * 12 + y.tm_mon - x.tm_mon);
    const int64_t dx = daysFromCivil(x.tm_year + 1900, x.tm_mon + 1, x.tm_mday);
    const int64_t dy = daysFromCivil(y.tm_year + 1900, y.tm_mon + 1, y.tm_mday);
    if (p == "day")
        return dy - dx;
    if (p == "hour")
        return (dy * 24 + y.tm_hour) - (dx * 24 + x.tm_hour);
    if (p == "minute")
        return (dy * 1440 + y.tm_hour * 60 + y.tm_min) - (dx * 1440 + x.tm_hour * 60 + x.tm_min);
    if (p == "second")
        return secondsOf(y) - secondsOf(x);
    return (secondsOf(y) * 1000 + my) - (secondsOf(x) * 1000 + mx);
}

struct ContextName {
    FunctionContext* context;
    std::string name;
};

void contextTrampoline(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    auto* c = static_cast<ContextName*>(sqlite3_user_data(ctx));
    try {
        setResult(ctx, c->context->callContextFunction(c->name, args(argc, argv)));
    } catch (const SqlError& e) {
        setError(ctx, e);
    }
}

temporal::Moment momentOf(const Value& v)
{
    temporal::Moment moment;
    if (!temporal::parseMoment(display(v), moment))
        throw SqlError(241, 16, "Conversion failed when converting date and/or time from character string.");
    return moment;
}

} // namespace

Value convertValue(const Value& v, const std::string& type)
{
    if (isNull(v))
        return v;
    const ColumnInfo target = columnInfoForType(type);
    const std::string targetName = typeName(target);
    switch (target.type) {
    case SqlType::Int:
    case SqlType::BigInt:
    case SqlType::SmallInt:
    case SqlType::TinyInt:
    case SqlType::Bit: {
        int64_t n = 0;
        if (auto s = std::get_if<std::string>(&v)) {
            if (target.type == SqlType::Bit && (trim(*s) == "true" || trim(*s) == "TRUE"))
                return int64_t(1);
            if (target.type == SqlType::Bit && (trim(*s) == "false" || trim(*s) == "FALSE"))
                return int64_t(0);
            if (!parseInteger(*s, n))
                throw SqlError(245, 16,
                               "Conversion failed when converting the nvarchar value '" + *s +
                                   "' to data type " + targetName + ".");
        } else if (auto d = std::get_if<double>(&v)) {
            n = static_cast<int64_t>(*d);
        } else if (auto i = std::get_if<int64_t>(&v)) {
            n = *i;
        } else {
            const auto& b = std::get<std::vector<uint8_t>>(v);
            for (uint8_t byte : b)
                n = (n << 8) | byte;
        }
        if (target.type == SqlType::Bit)
            return int64_t(n != 0);
        const int64_t lo = target.type == SqlType::Int        ? INT32_MIN
                           : target.type == SqlType::SmallInt ? INT16_MIN
                           : target.type == SqlType::TinyInt  ? 0
                                                              : INT64_MIN;
        const int64_t hi = target.type == SqlType::Int        ? INT32_MAX
                           : target.type == SqlType::SmallInt ? INT16_MAX
                           : target.type == SqlType::TinyInt  ? 255
                                                              : INT64_MAX;
        if (n < lo || n > hi)
            throw SqlError(
                8115, 16, "Arithmetic overflow error converting expression to data type " + targetName + ".");
        return n;
    }
    case SqlType::Float: {
        if (auto s = std::get_if<std::string>(&v)) {
            double d = 0;
            if (!parseDouble(*s, d))
                throw SqlError(8114, 16, "Error converting data type nvarchar to " + targetName + ".");
            return d;
        }
        return normalizeValue(v, target);
    }
    case SqlType::DateTime: {
        std::tm tm{};
        int ms = 0;
        if (parseDateTime(display(v), tm, ms))
            return formatDateTime(tm, ms);
        // A time alone, or a date and time with an offset: the local date and time.
        const temporal::Moment moment = momentOf(v);
        return temporal::formatDate(moment.days) + " " +
               temporal::formatTime(moment.ticks / 10000 * 10000, 3);
    }
    case SqlType::Time:
        return temporal::timeText(momentOf(v), target.scale);
    case SqlType::DateTimeOffset:
        return temporal::dateTimeOffsetText(momentOf(v), target.scale);
    case SqlType::UniqueIdentifier: {
        static const std::regex re(
            "^\\{?([0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12})\\}?$");
        std::smatch m;
        const std::string s = trim(display(v));
        if (!std::regex_match(s, m, re))
            throw SqlError(8169, 16,
                           "Conversion failed when converting from a character string to uniqueidentifier.");
        std::string g = m[1];
        for (auto& c : g)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        return g;
    }
    case SqlType::VarBinary: {
        auto b = std::get<std::vector<uint8_t>>(normalizeValue(v, target));
        if (target.maxLength > 0 && b.size() > static_cast<size_t>(target.maxLength))
            b.resize(static_cast<size_t>(target.maxLength));
        return b;
    }
    case SqlType::NVarChar:
    case SqlType::VarChar: {
        std::string s;
        if (auto d = std::get_if<double>(&v)) {
            char buf[64];
            std::snprintf(buf, sizeof buf, "%g", *d);
            s = buf;
        } else {
            s = display(v);
        }
        if (target.maxLength > 0)
            s = utf8Prefix(s, target.maxLength);
        return s;
    }
    }
    return v;
}

void registerFunctions(sqlite3* db, FunctionContext* context)
{
    struct Pure {
        const char* name;
        int args;
        void (*fn)(sqlite3_context*, int, sqlite3_value**);
        bool deterministic;
    };
    const Pure pureFunctions[] = {
        {"lf_add", 2, pure<fnAdd>, true},
        {"lf_div", 2, pure<fnDiv>, true},
        {"lf_convert", 2, pure<fnConvert>, true},
        {"lf_convert", 3, pure<fnConvert>, true},
        {"lf_newid", 0, pure<fnNewId>, false},
        {"lf_getdate", 0, pure<fnGetDate>, false},
        {"lf_getutcdate", 0, pure<fnGetUtcDate>, false},
        {"lf_len", 1, pure<fnLen>, true},
        {"lf_datalength", 1, pure<fnDataLength>, true},
        {"lf_left", 2, pure<fnLeft>, true},
        {"lf_right", 2, pure<fnRight>, true},
        {"lf_reverse", 1, pure<fnReverse>, true},
        {"lf_charindex", 2, pure<fnCharIndex>, true},
        {"lf_charindex", 3, pure<fnCharIndex>, true},
        {"lf_floor", 1, pure<fnFloor>, true},
        {"lf_ceiling", 1, pure<fnCeiling>, true},
        {"lf_pages", 1, pure<fnPages>, false},
        {"lf_type_name", 1, pure<fnTypeName>, true},
        {"lf_type_length", 1, pure<fnTypeLength>, true},
        {"lf_datepart", 2, pure<fnDatePart>, true},
        {"lf_datename", 2, pure<fnDateName>, true},
        {"lf_dateadd", 3, pure<fnDateAdd>, true},
        {"lf_datediff", 3, pure<fnDateDiff>, true},
    };
    for (const auto& f : pureFunctions)
        sqlite3_create_function_v2(db, f.name, f.args,
                                   SQLITE_UTF8 | (f.deterministic ? SQLITE_DETERMINISTIC : 0), nullptr, f.fn,
                                   nullptr, nullptr, nullptr);
    const char* const contextFunctions[] = {"lf_global",       "lf_serverproperty",   "lf_host_name",
                                            "lf_suser_sname",  "lf_suser_name",       "lf_user_name",
                                            "lf_db_name",      "lf_app_name",         "db_id",
                                            "lf_has_dbaccess", "lf_is_srvrolemember", "lf_is_member",
                                            "lf_object_id",    "lf_objectproperty",   "lf_has_perms_by_name"};
    for (const char* name : contextFunctions) {
        auto* data = new ContextName{context, name};
        sqlite3_create_function_v2(db, name, -1, SQLITE_UTF8, data, contextTrampoline, nullptr, nullptr,
                                   [](void* p) { delete static_cast<ContextName*>(p); });
    }
}

} // namespace standin
