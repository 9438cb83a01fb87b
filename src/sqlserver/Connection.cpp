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
DatabaseOpener g_databaseOpener;

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

std::unique_ptr<Connection> OpenDatabase(const ConnectOptions& server, const std::string& database)
{
    DatabaseOpener opener;
    {
        std::lock_guard lock(g_mutex);
        opener = g_databaseOpener;
    }
    if (opener)
        return opener(server, database);
    OdbcTarget target;
    target.driver = defaultOdbcDriver();
    target.endpoint = resolveServer(server.server);
    target.database = database;
    target.integrated = server.loginSecure;
    target.user = server.user;
    target.password = server.password;
    return OdbcConnection::connect(target, server.loginTimeoutSeconds,
                                   server.server.empty() ? "(local)" : server.server);
}

ScopedConnectionOpenerOverride::ScopedConnectionOpenerOverride(ConnectionOpener opener,
                                                               DatabaseOpener databaseOpener)
{
    std::lock_guard lock(g_mutex);
    m_previous = std::move(g_opener);
    m_previousDatabase = std::move(g_databaseOpener);
    g_opener = std::move(opener);
    g_databaseOpener = std::move(databaseOpener);
}

ScopedConnectionOpenerOverride::~ScopedConnectionOpenerOverride()
{
    std::lock_guard lock(g_mutex);
    g_opener = std::move(m_previous);
    g_databaseOpener = std::move(m_previousDatabase);
}

} // namespace sqlserver
