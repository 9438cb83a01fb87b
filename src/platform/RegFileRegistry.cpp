#include "RegFileRegistry.h"

#include "TextEncoding.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

namespace reg {
namespace {

std::string upper(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::toupper(c); });
    return s;
}

std::string toUtf8Text(const std::string& raw)
{
    if (raw.size() >= 2 && static_cast<unsigned char>(raw[0]) == 0xFF && static_cast<unsigned char>(raw[1]) == 0xFE)
        return text::Utf16leToUtf8(raw.substr(2));
    if (raw.size() >= 3 && raw.compare(0, 3, "\xEF\xBB\xBF") == 0)
        return raw.substr(3);
    return raw;
}

std::string canonicalHive(const std::string& name)
{
    const std::string u = upper(name);
    if (u == "HKEY_LOCAL_MACHINE" || u == "HKLM")
        return "HKEY_LOCAL_MACHINE";
    if (u == "HKEY_CLASSES_ROOT" || u == "HKCR")
        return "HKEY_CLASSES_ROOT";
    if (u == "HKEY_CURRENT_USER" || u == "HKCU")
        return "HKEY_CURRENT_USER";
    if (u == "HKEY_USERS" || u == "HKU")
        return "HKEY_USERS";
    return u;
}

// "HKLM\\A\\B" -> "HKEY_LOCAL_MACHINE\\A\\B" upper-cased, without doubled or trailing backslashes.
std::string canonicalKey(const std::string& path)
{
    std::string hive = path.substr(0, path.find('\\'));
    std::string rest = path.size() > hive.size() ? path.substr(hive.size() + 1) : std::string();
    std::string out = canonicalHive(hive);
    std::string part;
    std::istringstream in(rest);
    while (std::getline(in, part, '\\'))
        if (!part.empty())
            out += "\\" + upper(part);
    return out;
}

std::string hiveName(Hive hive)
{
    return hive == Hive::ClassesRoot ? "HKEY_CLASSES_ROOT" : "HKEY_LOCAL_MACHINE";
}

// Reads a quoted string starting at s[pos] == '"'; returns the unescaped text and moves pos past it.
bool readQuoted(const std::string& s, size_t& pos, std::string& out)
{
    if (pos >= s.size() || s[pos] != '"')
        return false;
    ++pos;
    out.clear();
    while (pos < s.size()) {
        char c = s[pos++];
        if (c == '\\' && pos < s.size()) {
            out += s[pos++];
        } else if (c == '"') {
            return true;
        } else {
            out += c;
        }
    }
    return false;
}

// Comma-separated two-digit hex bytes, as regedit writes them; nullopt for anything else, so a
// damaged value is left out instead of read as something it is not.
std::optional<std::string> hexBytes(const std::string& list)
{
    std::string out;
    std::string token;
    for (char c : list + ",") {
        if (c == ',') {
            if (token.empty())
                continue;
            if (token.size() > 2)
                return std::nullopt;
            out += static_cast<char>(std::stoi(token, nullptr, 16));
            token.clear();
        } else if (std::isxdigit(static_cast<unsigned char>(c))) {
            token += c;
        } else if (c != ' ' && c != '\t') {
            return std::nullopt;
        }
    }
    return out;
}

// A hex number of 1..maxDigits digits and nothing else (dword:, the type in hex(N):).
std::optional<uint32_t> hexNumber(const std::string& digits, size_t maxDigits)
{
    if (digits.empty() || digits.size() > maxDigits ||
        !std::all_of(digits.begin(), digits.end(), [](unsigned char c) { return std::isxdigit(c); }))
        return std::nullopt;
    return static_cast<uint32_t>(std::stoul(digits, nullptr, 16));
}

// hex(2)/hex(7) data is UTF-16LE in version 5 files and the narrow code page in REGEDIT4
// files; the narrow API hands out the narrow form.
std::string narrowFromRegData(const std::string& data, bool unicodeFile)
{
    return unicodeFile ? text::Utf16leToUtf8(data) : data;
}

}  // namespace

RegFileRegistry::RegFileRegistry(std::string path)
{
    // Only a regular file is read: a folder or device named by mistake is no registry at all,
    // and the wizard then sees the empty registry of a machine without the product.
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        return;
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    if (!in || !(bytes << in.rdbuf()))
        return;
    parse(bytes.str());
}

std::unique_ptr<RegFileRegistry> RegFileRegistry::fromBytes(const std::string& bytes)
{
    std::unique_ptr<RegFileRegistry> r(new RegFileRegistry());
    r->parse(bytes);
    return r;
}

void RegFileRegistry::parse(const std::string& raw)
{
    const std::string text = toUtf8Text(raw);
    // Logical lines: hex data that regedit wraps ends a physical line with a backslash and
    // goes on, indented, on the next one.
    std::vector<std::string> lines;
    {
        std::string line, pending;
        std::istringstream in(text);
        while (std::getline(in, line)) {
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            if (!pending.empty()) {
                size_t first = line.find_first_not_of(" \t");
                line = pending + (first == std::string::npos ? std::string() : line.substr(first));
                pending.clear();
            }
            const bool isHexValue = line.find("=hex") != std::string::npos;
            if (isHexValue && !line.empty() && line.back() == '\\') {
                line.pop_back();
                pending = line;
                continue;
            }
            lines.push_back(line);
        }
        if (!pending.empty())
            lines.push_back(pending);
    }

    bool unicodeFile = true;
    std::map<std::string, Value>* current = nullptr;
    for (const std::string& rawLine : lines) {
        size_t start = rawLine.find_first_not_of(" \t");
        if (start == std::string::npos)
            continue;
        const std::string line = rawLine.substr(start);
        if (line[0] == ';')
            continue;
        if (line.rfind("REGEDIT4", 0) == 0) {
            unicodeFile = false;
            continue;
        }
        if (line.rfind("Windows Registry Editor", 0) == 0)
            continue;
        if (line[0] == '[') {
            size_t close = line.rfind(']');
            std::string path = line.substr(1, close == std::string::npos ? std::string::npos : close - 1);
            if (!path.empty() && path[0] == '-') {
                current = nullptr;   // key deletion: not part of what exists
                continue;
            }
            current = &m_keys[canonicalKey(path)];
            continue;
        }
        if (!current)
            continue;
        std::string name;
        size_t pos = 0;
        if (line[0] == '@') {
            pos = 1;
        } else if (!readQuoted(line, pos, name)) {
            continue;
        }
        if (pos >= line.size() || line[pos] != '=')
            continue;
        ++pos;
        const std::string rhs = line.substr(pos);
        Value v;
        if (rhs == "-") {
            continue;   // value deletion
        } else if (!rhs.empty() && rhs[0] == '"') {
            size_t p = 0;
            std::string s;
            if (!readQuoted(rhs, p, s))
                continue;
            v.type = kTypeSz;
            v.bytes = s + std::string(1, '\0');
        } else if (rhs.rfind("dword:", 0) == 0) {
            const auto d = hexNumber(rhs.substr(6), 8);
            if (!d)
                continue;
            v.type = kTypeDword;
            v.bytes.assign(reinterpret_cast<const char*>(&*d), 4);
        } else if (rhs.rfind("hex(", 0) == 0) {
            size_t close = rhs.find("):");
            if (close == std::string::npos)
                continue;
            const auto type = hexNumber(rhs.substr(4, close - 4), 8);
            auto data = hexBytes(rhs.substr(close + 2));
            if (!type || !data)
                continue;
            v.type = *type;
            if (v.type == kTypeMultiSz || v.type == kTypeExpandSz || v.type == kTypeSz)
                *data = narrowFromRegData(*data, unicodeFile);
            v.bytes = *data;
        } else if (rhs.rfind("hex:", 0) == 0) {
            auto data = hexBytes(rhs.substr(4));
            if (!data)
                continue;
            v.type = kTypeBinary;
            v.bytes = *data;
        } else {
            continue;
        }
        (*current)[upper(name)] = v;
    }
}

long RegFileRegistry::openKey(Hive hive, const std::string& subKey, uint32_t, uint32_t, KeyHandle& key)
{
    const std::string wanted = canonicalKey(hiveName(hive) + "\\" + subKey);
    // A key exists when it is listed or when a listed key lies below it.
    auto it = m_keys.lower_bound(wanted);
    bool exists = it != m_keys.end() &&
                  (it->first == wanted || it->first.rfind(wanted + "\\", 0) == 0);
    if (!exists)
        return kFileNotFound;
    std::lock_guard lock(m_mutex);
    m_openKeys.push_back(wanted);
    key = m_openKeys.size();
    return kSuccess;
}

long RegFileRegistry::queryValue(KeyHandle key, const std::string& valueName, uint32_t* type,
                                 unsigned char* data, uint32_t* size)
{
    std::string path;
    {
        std::lock_guard lock(m_mutex);
        if (key == 0 || key > m_openKeys.size())
            return 6;   // ERROR_INVALID_HANDLE
        path = m_openKeys[key - 1];
    }
    auto k = m_keys.find(path);
    if (k == m_keys.end())
        return kFileNotFound;
    auto v = k->second.find(upper(valueName));
    if (v == k->second.end())
        return kFileNotFound;
    const Value& value = v->second;
    if (type)
        *type = value.type;
    if (!size)
        return kSuccess;
    const uint32_t needed = static_cast<uint32_t>(value.bytes.size());
    if (data && *size < needed) {
        *size = needed;
        return kMoreData;
    }
    if (data)
        std::memcpy(data, value.bytes.data(), needed);
    *size = needed;
    return kSuccess;
}

void RegFileRegistry::closeKey(KeyHandle)
{
    // Handles are indices into a small table that lives with the registry; nothing to release.
}

}  // namespace reg
