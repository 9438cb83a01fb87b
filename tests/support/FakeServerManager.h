#pragma once

#include "LfError.h"
#include "ServerManager.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

// A server manager with a network list and servers chosen by the test. Connect may be called
// from worker threads: everything it touches is guarded.
class FakeServerManager : public sqlserver::ServerManager {
public:
    struct Server {
        std::string reportedName; // Name()
        std::string workstationName = "PC1";   // WorkstationName(): this client as the server sees it
        std::string netName = "PC1";           // NetName(): the machine the server runs on
        bool canCreateDatabases = false;
        std::vector<sqlserver::DatabaseInfo> databases;
        std::vector<sqlserver::LoginInfo> logins;
        std::optional<LfError> databasesError;
        // SQL logins accepted (user -> password); empty: every SQL login is refused.
        std::map<std::string, std::string> sqlLogins;
        bool acceptsWindowsLogin = true;
        // The login takes this long (a server that does not answer, like a login time-out),
        // unless the test opens the gate earlier.
        std::chrono::milliseconds connectDelay{0};
    };

    // A network list to return; nullopt: the listing fails.
    std::vector<std::optional<std::vector<std::string>>> networkLists{std::vector<std::string>{}};
    std::map<std::string, Server> servers;
    // Runs at the start of every Connect, on the thread that calls it.
    std::function<void(const sqlserver::ConnectOptions&)> onConnect;

    // The listing takes this long, as the browsers' broadcast window does.
    std::chrono::milliseconds listDelay{0};

    sqlserver::NameList ListAvailableSQLServers() override
    {
        if (listDelay.count() > 0)
            std::this_thread::sleep_for(listDelay);
        std::lock_guard lock(m_mutex);
        ++m_listCalls;
        const auto& list = networkLists[std::min(m_listCalls, networkLists.size()) - 1];
        if (!list)
            throw LfError(0x800A0005u, "SQLDMO.Application", "[SQL-DMO]the network list is not available");
        return sqlserver::NameList(*list);
    }

    std::unique_ptr<sqlserver::ServerConnection> Connect(const sqlserver::ConnectOptions& options) override;

    // Lets every delayed connect finish now.
    void openGate()
    {
        std::lock_guard lock(m_mutex);
        m_gateOpen = true;
        m_gate.notify_all();
    }

    std::vector<sqlserver::ConnectOptions> connects() const
    {
        std::lock_guard lock(m_mutex);
        return m_connects;
    }
    std::vector<std::string> connectedServers() const
    {
        std::vector<std::string> names;
        for (const auto& c : connects())
            names.push_back(c.server);
        return names;
    }
    size_t listCalls() const
    {
        std::lock_guard lock(m_mutex);
        return m_listCalls;
    }
    int connectsRunning() const { return m_running; }
    int liveConnections() const { return m_live; }
    int disconnects() const { return m_disconnects; }

private:
    friend class FakeServerConnection;
    mutable std::mutex m_mutex;
    std::condition_variable m_gate;
    bool m_gateOpen = false;
    std::vector<sqlserver::ConnectOptions> m_connects;
    size_t m_listCalls = 0;
    std::atomic<int> m_running{0};
    std::atomic<int> m_live{0};
    std::atomic<int> m_disconnects{0};
};

class FakeServerConnection : public sqlserver::ServerConnection {
public:
    FakeServerConnection(FakeServerManager& manager, FakeServerManager::Server server)
        : m_manager(manager), m_server(std::move(server))
    {
        ++m_manager.m_live;
    }
    ~FakeServerConnection() override { DisConnect(); }

    std::string Name() override { return m_server.reportedName; }
    std::string WorkstationName() override { return m_server.workstationName; }
    std::string NetName() override { return m_server.netName; }
    bool CanCreateDatabases() override { return m_server.canCreateDatabases; }
    std::vector<sqlserver::DatabaseInfo> Databases() override
    {
        if (m_server.databasesError)
            throw *m_server.databasesError;
        return m_server.databases;
    }
    std::vector<sqlserver::LoginInfo> Logins() override { return m_server.logins; }
    std::string MasterDataFolder() override { return unsupported("MasterDataFolder"); }
    void Backup(const sqlserver::BackupSpec&, sqlserver::OperationControl&) override
    {
        unsupported("Backup");
    }
    std::vector<sqlserver::BackupFileInfo> ReadBackupFileList(const std::string&) override
    {
        unsupported("ReadBackupFileList");
        return {};
    }
    void Restore(const sqlserver::RestoreSpec&, sqlserver::OperationControl&) override
    {
        unsupported("Restore");
    }
    void RemoveDatabase(const std::string&) override { unsupported("RemoveDatabase"); }
    void RemoveLogin(const std::string&) override { unsupported("RemoveLogin"); }
    void DisConnect() override
    {
        if (m_connected) {
            m_connected = false;
            --m_manager.m_live;
            ++m_manager.m_disconnects;
        }
    }

private:
    static std::string unsupported(const char* what)
    {
        throw LfError(LfError::kObjectError513, "FakeServerConnection",
                      std::string(what) + " is not used here");
    }

    FakeServerManager& m_manager;
    FakeServerManager::Server m_server;
    bool m_connected = true;
};

inline std::unique_ptr<sqlserver::ServerConnection>
FakeServerManager::Connect(const sqlserver::ConnectOptions& options)
{
    ++m_running;
    struct Done {
        std::atomic<int>& running;
        ~Done() { --running; }
    } done{m_running};
    if (onConnect)
        onConnect(options);

    std::unique_lock lock(m_mutex);
    m_connects.push_back(options);
    const auto found = servers.find(options.server);
    if (found == servers.end())
        throw LfError(LfError::kObjectErrorBase, "",
                      "SQL Server \"" + options.server + "\" does not exist or access denied");
    const Server server = found->second;
    if (server.connectDelay.count() > 0)
        m_gate.wait_for(lock, server.connectDelay, [this] { return m_gateOpen; });
    lock.unlock();

    if (options.loginSecure ? !server.acceptsWindowsLogin
                            : (server.sqlLogins.count(options.user) == 0 ||
                               server.sqlLogins.at(options.user) != options.password))
        throw LfError(0x80004005u, "", "[SQL Server]Login failed for user '" + options.user + "'.");
    return std::make_unique<FakeServerConnection>(*this, server);
}
