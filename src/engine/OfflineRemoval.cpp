#include "OfflineRemoval.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "DataLinkFile.h"
#include "LfError.h"
#include "OfflineDatabase.h"
#include "ServerManager.h"
#include "WhileWaiting.h"

namespace engine {
namespace {

constexpr const char* kSource = "frmInstall.RemoveOfflineDatabase";
constexpr const char* kOfflineLogin = "BUILTIN\\users";
constexpr std::string_view kDataSourceKey = "data source=";

std::string lowered(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
    return s;
}

bool sameName(const std::string& a, const std::string& b)
{
    return lowered(a) == lowered(b);
}

} // namespace

OfflineRemoval::OfflineRemoval(LocalServerLogin login, OfflineLocations where,
                               SQLServerUtils::WaitCallback whileWaiting)
    : m_login(std::move(login)), m_where(std::move(where)), m_whileWaiting(std::move(whileWaiting))
{
}

std::string OfflineRemoval::ServerFromDataLinkLines(const std::vector<std::string>& lines)
{
    std::string server;
    for (const auto& line : lines) {
        const auto at = lowered(line).find(kDataSourceKey);
        if (at == std::string::npos)
            continue;
        // The wizard writes Data Source last; a file edited by hand may have keys after it.
        std::string rest = line.substr(at + kDataSourceKey.size());
        rest = rest.substr(0, rest.find(';'));
        while (!rest.empty() && std::isspace(static_cast<unsigned char>(rest.back())))
            rest.pop_back();
        server = rest;
    }
    return server;
}

OfflineRemovalResult OfflineRemoval::RemoveOfflineDatabase()
{
    try {
        const std::filesystem::path dataLink = m_where.dataLinkPath();
        std::error_code ec;
        const bool haveDataLink = std::filesystem::exists(dataLink, ec);
        // A file that names no server (empty, or without a "Data Source=" line) counts as no file:
        // the local instances are asked, and the file goes with the database.
        std::string server =
            haveDataLink ? ServerFromDataLinkLines(ReadDataLinkFileLines(dataLink, "")) : std::string();

        // Neither the file nor the registry names a server: no SQL Server is installed here, so
        // there is no offline database to remove.
        const bool noServerAnywhere = server.empty() && SQLServerUtils::GetInstalledInstances().empty();
        const OfflineRemovalResult result =
            noServerAnywhere
                ? OfflineRemovalResult::NothingToRemove
                : RunWhileWaiting(
                      [&] {
                          if (server.empty())
                              server =
                                  SQLServerUtils::FindLocalServerWithDatabase(OfflineDatabase::kDatabaseName);
                          return removeFrom(server);
                      },
                      m_whileWaiting);

        // The data link file goes only once the server has answered, so that a failed removal
        // leaves the client's offline connection as it was.
        if (haveDataLink && !std::filesystem::remove(dataLink, ec) && ec)
            throw LfError(LfError::kObjectError513, "",
                          "while deleting the file \"" + dataLink.string() + "\": " + ec.message());
        return result;
    } catch (const LfError& e) {
        throw e.withSourcePrefix(kSource);
    }
}

OfflineRemovalResult OfflineRemoval::removeFrom(const std::string& server) const
{
    sqlserver::ConnectOptions options;
    options.server = server;
    options.loginSecure = !m_login.usesLogin();
    options.user = m_login.user;
    options.password = m_login.password;
    auto connection = sqlserver::serverManager().Connect(options);
    if (!SQLServerUtils::DatabaseExists(*connection, OfflineDatabase::kDatabaseName)) {
        connection->DisConnect();
        return OfflineRemovalResult::NothingToRemove;
    }
    connection->RemoveDatabase(OfflineDatabase::kDatabaseName);
    // The offline users' login goes by its built-in English name, also where a typed-in group
    // got the grants. A login that is not there (the grants never ran) is nothing to remove.
    const auto logins = connection->Logins();
    if (std::any_of(logins.begin(), logins.end(),
                    [](const auto& l) { return sameName(l.name, kOfflineLogin); }))
        connection->RemoveLogin(kOfflineLogin);
    connection->DisConnect();
    return OfflineRemovalResult::Removed;
}

} // namespace engine
