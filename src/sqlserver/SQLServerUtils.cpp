#include "SQLServerUtils.h"

#include "SystemInfo.h"

namespace SQLServerUtils {
namespace {
std::string g_tokenRemainder;   // shared by every caller of NextToken
}

std::string GetInstalledInstances()
{
    return reg::readValue512(reg::Hive::LocalMachine, kSqlServerKey, "InstalledInstances").value_or("");
}

bool InstalledInstancesExist()
{
    return reg::readValue512(reg::Hive::LocalMachine, kSqlServerKey, "InstalledInstances").has_value();
}

bool RegistryKeyExists(reg::Hive hive, const std::string& keyPath)
{
    return reg::keyExists(hive, keyPath);
}

std::string GetLocalComputerName()
{
    std::string name;
    if (!sys::machine().computerName(name))
        return " ";   // a space, not an empty text: callers have always received this
    return name;
}

std::string NextToken(std::string& source, std::string& delimiters)
{
    if (!source.empty())
        g_tokenRemainder = source;
    for (;;) {
        if (g_tokenRemainder.empty())
            return "";
        const size_t p = g_tokenRemainder.find_first_of(delimiters);
        if (p == std::string::npos) {
            std::string token;
            token.swap(g_tokenRemainder);
            return token;
        }
        if (p == 0) {
            g_tokenRemainder.erase(0, 1);
            continue;
        }
        std::string token = g_tokenRemainder.substr(0, p);
        g_tokenRemainder.erase(0, p + 1);
        return token;
    }
}

std::string ServerNameForInstance(const std::string& instance, const std::string& computerName)
{
    return instance == "MSSQLSERVER" ? "(local)" : computerName + "\\" + instance;
}

}  // namespace SQLServerUtils
