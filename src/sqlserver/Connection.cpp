#include "Connection.h"

#include <mutex>

#include "ConnectionError.h"
#include "LfError.h"
#include "OdbcConnection.h"
#include "OleDbConnectionString.h"
#include "ServerEndpoint.h"

namespace sqlserver {
namespace {

std::unique_ptr<Connection> openOdbc(const std::string& oleDb, const std::string& /*user*/,
                                     const std::string& /*password*/, int loginTimeoutSeconds)
{
    const auto info = parseOleDbConnectionString(oleDb);
    if (!info)
        throw LfError(kClientFailure, "",
                      "the connection string is not one of the two forms the wizard writes");
    OdbcTarget target;
    target.driver = defaultOdbcDriver();
    target.endpoint = resolveServer(info->server);
    target.database = info->database;
    // Both forms say Integrated Security=SSPI, which wins over any user name, as it did with
    // SQLOLEDB: the Windows identity logs in and the name and password ride along unused.
    target.integrated = true;
    return OdbcConnection::connect(target, loginTimeoutSeconds, info->server);
}

std::mutex g_mutex;
ConnectionOpener g_opener;

} // namespace

std::unique_ptr<Connection> OpenConnection(const std::string& oleDbConnectionString, const std::string& user,
                                           const std::string& password, int loginTimeoutSeconds)
{
    ConnectionOpener opener;
    {
        std::lock_guard lock(g_mutex);
        opener = g_opener;
    }
    if (opener)
        return opener(oleDbConnectionString, user, password, loginTimeoutSeconds);
    return openOdbc(oleDbConnectionString, user, password, loginTimeoutSeconds);
}

ScopedConnectionOpenerOverride::ScopedConnectionOpenerOverride(ConnectionOpener opener)
{
    std::lock_guard lock(g_mutex);
    m_previous = std::move(g_opener);
    g_opener = std::move(opener);
}

ScopedConnectionOpenerOverride::~ScopedConnectionOpenerOverride()
{
    std::lock_guard lock(g_mutex);
    g_opener = std::move(m_previous);
}

} // namespace sqlserver
