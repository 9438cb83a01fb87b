#include "EngineInstance.h"

#include "EngineSession.h"
#include "SqlError.h"

#include <cstdlib>
#include <unistd.h>

namespace standin {
namespace {

std::string saPassword()
{
    const char* env = std::getenv("LABFOLIO_STANDIN_SA_PASSWORD");
    return env && *env ? env : "Labfolio-sa1";
}

std::string shortHostName()
{
    char name[256] = {};
    if (gethostname(name, sizeof name - 1) != 0)
        return "localhost";
    std::string host = name;
    return host.substr(0, host.find('.'));
}

ServerMessage loginFailed(const std::string& user)
{
    ServerMessage m;
    m.number = 18456;
    m.severity = 14;
    m.state = 1;
    m.text = "Login failed for user '" + user + "'.";
    return m;
}

} // namespace

EngineInstance::EngineInstance(const InstanceConfig& config)
    : m_config(config), m_catalog(config.dataFolder, saPassword())
{
    if (m_config.machineName.empty() || m_config.instanceName.empty()) {
        const auto [machine, instance] = m_catalog.identity();
        if (m_config.machineName.empty())
            m_config.machineName = machine.empty() ? shortHostName() : machine;
        if (m_config.instanceName.empty())
            m_config.instanceName = instance.empty() ? "MSSQLSERVER" : instance;
    }
}

bool EngineInstance::isDefaultInstance() const
{
    return m_config.instanceName.empty() || m_config.instanceName == "MSSQLSERVER";
}

std::string EngineInstance::serverName() const
{
    return isDefaultInstance() ? m_config.machineName : m_config.machineName + "\\" + m_config.instanceName;
}

std::string EngineInstance::versionText() const
{
    return "Microsoft SQL Server 2005 - " + m_config.productVersion + " (Labfolio stand-in on SQLite " +
           sqlite3_libversion() + ")\n\tExpress Edition on Linux\n";
}

void EngineInstance::enterDatabase(int id)
{
    std::lock_guard lock(m_useMutex);
    ++m_inUse[id];
}

void EngineInstance::leaveDatabase(int id)
{
    std::lock_guard lock(m_useMutex);
    if (--m_inUse[id] <= 0)
        m_inUse.erase(id);
}

int EngineInstance::sessionsIn(int id)
{
    std::lock_guard lock(m_useMutex);
    auto it = m_inUse.find(id);
    return it == m_inUse.end() ? 0 : it->second;
}

std::unique_ptr<Session> EngineInstance::login(const LoginRequest& request, ServerMessage& error)
{
    std::optional<LoginRecord> login = m_catalog.login(request.userName);
    std::vector<LoginRecord> groups;
    bool ok = false;
    if (request.windowsAuthenticated) {
        // The front end has checked the Windows account itself. It may come in through its
        // own login or, like every local account, through the group BUILTIN\Users.
        auto group = m_catalog.login("BUILTIN\\Users");
        const bool viaGroup = group && group->type == 'G' && !group->disabled;
        if (viaGroup)
            groups.push_back(*group); // what the group may do, its members may do
        if (login && login->type == 'U') {
            ok = true;
        } else if (!login && viaGroup) {
            login = LoginRecord{group->id, request.userName, 'U', false, group->defaultDatabase, group->sid};
            ok = true;
        }
    } else {
        ok = login && login->type == 'S' && m_catalog.checkPassword(login->id, request.password);
    }
    if (!ok || login->disabled) {
        error = loginFailed(request.userName);
        return nullptr;
    }
    const std::string wanted = request.database.empty() ? login->defaultDatabase : request.database;
    auto db = m_catalog.database(wanted.empty() ? std::string("master") : wanted);
    if (!db || !EngineSession::databaseUserFor(*this, *login, groups, *db)) {
        error = ServerMessage{};
        error.severity = 11;
        if (request.database.empty()) {
            error.number = 4064;
            error.text = "Cannot open user default database. Login failed.";
        } else {
            error.number = 4060;
            error.text =
                "Cannot open database \"" + request.database + "\" requested by the login. The login failed.";
        }
        return nullptr;
    }
    try {
        return std::make_unique<EngineSession>(*this, *login, groups, *db, request.hostName, request.appName);
    } catch (const std::exception& ex) {
        const SqlError e = asSqlError(ex);
        error = ServerMessage{e.number(), e.state(), e.severity(), e.what(), "", 1};
        return nullptr;
    }
}

std::unique_ptr<Instance> openInstance(const InstanceConfig& config)
{
    return std::make_unique<EngineInstance>(config);
}

} // namespace standin
