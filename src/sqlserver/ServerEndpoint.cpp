#include "ServerEndpoint.h"

#include <algorithm>
#include <cctype>

#include "ConnectionError.h"
#include "SQLServerUtils.h"
#include "Ssrp.h"

namespace sqlserver {
namespace {

constexpr std::chrono::milliseconds kBrowserTimeout(1000);

std::string trim(const std::string& s)
{
    const auto b = s.find_first_not_of(" \t");
    if (b == std::string::npos)
        return {};
    return s.substr(b, s.find_last_not_of(" \t") - b + 1);
}

bool equalsNoCase(const std::string& a, const std::string& b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

} // namespace

std::optional<ServerAddress> parseServerName(const std::string& name, const std::string& computerName)
{
    std::string text = trim(name);
    if (text.size() > 4 && equalsNoCase(text.substr(0, 4), "tcp:"))
        text = text.substr(4);

    ServerAddress a;
    const auto comma = text.find(',');
    if (comma != std::string::npos) {
        const std::string port = trim(text.substr(comma + 1));
        if (port.empty() || !std::all_of(port.begin(), port.end(),
                                         [](char c) { return std::isdigit(static_cast<unsigned char>(c)); }))
            return std::nullopt;
        const long p = std::stol(port.substr(0, 6));
        if (p <= 0 || p > 65535)
            return std::nullopt;
        a.port = static_cast<int>(p);
        text = trim(text.substr(0, comma));
    }
    const auto slash = text.find('\\');
    if (slash != std::string::npos) {
        a.instance = text.substr(slash + 1);
        text = text.substr(0, slash);
        if (a.instance.empty())
            return std::nullopt;
    }
    const std::string computer = trim(computerName);
    a.local = text.empty() || text == "(local)" || text == "." || equalsNoCase(text, "localhost") ||
              (!computer.empty() && equalsNoCase(text, computer));
    a.host = a.local ? "127.0.0.1" : text;
    return a;
}

Endpoint resolveServer(const std::string& name)
{
    const auto address = parseServerName(name, SQLServerUtils::GetLocalComputerName());
    if (!address)
        throw serverNotFound(name, "the server name cannot be read");
    Endpoint e{address->host, 1433};
    if (address->port) {
        e.port = *address->port;
        return e;
    }
    const std::string instance = address->instance.empty() ? "MSSQLSERVER" : address->instance;
    const auto info = ssrp::queryInstance(address->host, instance, kBrowserTimeout);
    if (info && info->tcpPort) {
        e.port = *info->tcpPort;
        return e;
    }
    if (address->instance.empty())
        return e; // a default instance without a browser listens on the standard port
    throw serverNotFound(name, info ? "the instance does not listen on TCP"
                                    : "the SQL Server Browser on \"" + address->host +
                                          "\" does not know the instance");
}

} // namespace sqlserver
