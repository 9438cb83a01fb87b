#include "TypeMap.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>

namespace standin {
namespace {

std::string lower(std::string s)
{
    for (auto& c : s)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

} // namespace

ColumnInfo columnInfoForType(const std::string& declaredType)
{
    ColumnInfo info;
    std::string t = lower(declaredType);
    std::string base = t;
    std::string arg;
    if (auto p = t.find('('); p != std::string::npos) {
        base = t.substr(0, p);
        auto q = t.find_first_of(",)", p);
        arg = t.substr(p + 1, q == std::string::npos ? std::string::npos : q - p - 1);
    }
    while (!base.empty() && std::isspace(static_cast<unsigned char>(base.back())))
        base.pop_back();
    if (auto sp = base.find(' '); sp != std::string::npos)
        base = base.substr(0, sp); // "nvarchar(10) collate nocase" has been cut at '('
    auto length = [&](int fallback) {
        if (arg.empty())
            return fallback;
        if (arg.find("max") != std::string::npos)
            return -1;
        int n = fallback;
        std::from_chars(arg.data(), arg.data() + arg.size(), n);
        return n;
    };
    if (base == "int" || base == "integer") {
        info.type = SqlType::Int;
        info.maxLength = 4;
    } else if (base == "bigint") {
        info.type = SqlType::BigInt;
        info.maxLength = 8;
    } else if (base == "smallint") {
        info.type = SqlType::SmallInt;
        info.maxLength = 2;
    } else if (base == "tinyint") {
        info.type = SqlType::TinyInt;
        info.maxLength = 1;
    } else if (base == "bit") {
        info.type = SqlType::Bit;
        info.maxLength = 1;
    } else if (base == "float" || base == "real" || base == "double" || base == "decimal" ||
               base == "numeric" || base == "money" || base == "smallmoney") {
        info.type = SqlType::Float;
        info.maxLength = 8;
    } else if (base == "nvarchar" || base == "nchar" || base == "sysname") {
        info.type = SqlType::NVarChar;
        info.maxLength = base == "sysname" ? 128 : length(1);
    } else if (base == "ntext" || base == "xml") {
        info.type = SqlType::NVarChar;
        info.maxLength = -1;
    } else if (base == "varchar" || base == "char") {
        info.type = SqlType::VarChar;
        info.maxLength = length(1);
    } else if (base == "text") {
        info.type = SqlType::VarChar;
        info.maxLength = -1;
    } else if (base == "time" || base == "datetimeoffset") {
        info.type = base == "time" ? SqlType::Time : SqlType::DateTimeOffset;
        info.scale = static_cast<uint8_t>(std::clamp(length(7), 0, 7));
        info.maxLength = base == "time" ? 5 : 10;
    } else if (base == "datetime" || base == "smalldatetime" || base == "datetime2" || base == "date") {
        info.type = SqlType::DateTime;
        info.maxLength = 8;
    } else if (base == "uniqueidentifier") {
        info.type = SqlType::UniqueIdentifier;
        info.maxLength = 16;
    } else if (base == "varbinary" || base == "binary" || base == "image" || base == "timestamp" ||
               base == "rowversion") {
        info.type = SqlType::VarBinary;
        info.maxLength = base == "image" ? -1 : length(1);
        if (base == "timestamp" || base == "rowversion")
            info.maxLength = 8;
    } else {
        info.type = SqlType::NVarChar;
        info.maxLength = 4000;
    }
    return info;
}

bool isCharacterType(const ColumnInfo& info)
{
    return info.type == SqlType::NVarChar || info.type == SqlType::VarChar;
}

std::string typeName(const ColumnInfo& info)
{
    auto withLength = [&](const char* n) {
        return std::string(n) + "(" +
               (info.maxLength < 0 ? std::string("max") : std::to_string(info.maxLength)) + ")";
    };
    switch (info.type) {
    case SqlType::Int:
        return "int";
    case SqlType::BigInt:
        return "bigint";
    case SqlType::SmallInt:
        return "smallint";
    case SqlType::TinyInt:
        return "tinyint";
    case SqlType::Bit:
        return "bit";
    case SqlType::Float:
        return "float";
    case SqlType::NVarChar:
        return withLength("nvarchar");
    case SqlType::VarChar:
        return withLength("varchar");
    case SqlType::DateTime:
        return "datetime";
    case SqlType::UniqueIdentifier:
        return "uniqueidentifier";
    case SqlType::VarBinary:
        return withLength("varbinary");
    case SqlType::Time:
        return "time(" + std::to_string(info.scale) + ")";
    case SqlType::DateTimeOffset:
        return "datetimeoffset(" + std::to_string(info.scale) + ")";
    }
    return "sql_variant";
}

Value normalizeValue(const Value& v, const ColumnInfo& type)
{
    if (std::holds_alternative<std::monostate>(v))
        return v;
    switch (type.type) {
    case SqlType::Int:
    case SqlType::BigInt:
    case SqlType::SmallInt:
    case SqlType::TinyInt:
    case SqlType::Bit: {
        int64_t n = 0;
        if (auto i = std::get_if<int64_t>(&v))
            n = *i;
        else if (auto d = std::get_if<double>(&v))
            n = static_cast<int64_t>(*d);
        else if (auto s = std::get_if<std::string>(&v)) {
            auto r = std::from_chars(s->data(), s->data() + s->size(), n);
            if (r.ec != std::errc())
                n = 0;
        }
        if (type.type == SqlType::Bit)
            n = n != 0;
        return n;
    }
    case SqlType::Float: {
        if (auto d = std::get_if<double>(&v))
            return *d;
        if (auto i = std::get_if<int64_t>(&v))
            return static_cast<double>(*i);
        if (auto s = std::get_if<std::string>(&v))
            return std::strtod(s->c_str(), nullptr);
        return 0.0;
    }
    case SqlType::VarBinary: {
        if (auto b = std::get_if<std::vector<uint8_t>>(&v))
            return *b;
        if (auto s = std::get_if<std::string>(&v))
            return std::vector<uint8_t>(s->begin(), s->end());
        return std::vector<uint8_t>{};
    }
    default: {
        if (auto s = std::get_if<std::string>(&v))
            return *s;
        if (auto i = std::get_if<int64_t>(&v))
            return std::to_string(*i);
        if (auto d = std::get_if<double>(&v)) {
            char buf[64];
            std::snprintf(buf, sizeof buf, "%.15g", *d);
            return std::string(buf);
        }
        if (auto b = std::get_if<std::vector<uint8_t>>(&v))
            return std::string(b->begin(), b->end());
        return v;
    }
    }
}

} // namespace standin
