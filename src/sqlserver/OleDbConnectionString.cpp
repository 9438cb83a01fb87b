#include "OleDbConnectionString.h"

#include <vector>

namespace sqlserver {
namespace {

constexpr const char* kTrustedHead =
    "Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;";
constexpr const char* kLoginHead = "Provider=SQLOLEDB.1;Password=";

// Takes "Key=" at pos and the value up to the next ";" (or the end when last).
bool takeValue(const std::string& text, size_t& pos, const std::string& key, bool last, std::string& value)
{
    if (text.compare(pos, key.size(), key) != 0)
        return false;
    pos += key.size();
    if (last) {
        value = text.substr(pos);
        pos = text.size();
        return true;
    }
    const size_t end = text.find(';', pos);
    if (end == std::string::npos)
        return false;
    value = text.substr(pos, end - pos);
    pos = end + 1;
    return true;
}

} // namespace

std::optional<OleDbConnectionInfo> parseOleDbConnectionString(const std::string& text)
{
    OleDbConnectionInfo info;
    size_t pos = 0;
    const std::string trusted = kTrustedHead;
    if (text.compare(0, trusted.size(), trusted) == 0) {
        pos = trusted.size();
    } else if (text.compare(0, std::string(kLoginHead).size(), kLoginHead) == 0) {
        pos = std::string("Provider=SQLOLEDB.1;").size();
        if (!takeValue(text, pos, "Password=", false, info.password) ||
            !takeValue(text, pos, "User ID=", false, info.user))
            return std::nullopt;
        const std::string rest = "Integrated Security=SSPI;Persist Security Info=False;";
        if (text.compare(pos, rest.size(), rest) != 0)
            return std::nullopt;
        pos += rest.size();
    } else {
        return std::nullopt;
    }
    // The server name is last and may itself hold anything but the key text before it.
    const std::string catalogKey = "Initial Catalog=";
    if (text.compare(pos, catalogKey.size(), catalogKey) != 0)
        return std::nullopt;
    pos += catalogKey.size();
    const std::string sourceKey = ";Data Source=";
    const size_t source = text.find(sourceKey, pos);
    if (source == std::string::npos)
        return std::nullopt;
    info.database = text.substr(pos, source - pos);
    info.server = text.substr(source + sourceKey.size());
    return info;
}

} // namespace sqlserver
