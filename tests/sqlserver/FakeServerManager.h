#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "LfError.h"
#include "ServerManager.h"

// Servers set up by the test: which names answer, with which databases and names; every
// Connect is recorded.
class FakeServerManager : public sqlserver::ServerManager {
public:
    struct Server {
        std::vector<sqlserver::DatabaseInfo> databases;
        std::vector<sqlserver::LoginInfo> logins;
        std::string name;
        std::string workstation = "PC1";
        std::string netName = "PC1";
        bool canCreate = true;
        bool failCatalog = false;
    };

    std::map<std::string, Server> servers; // by connect name
    std::vector<sqlserver::ConnectOptions> connects;
    std::vector<std::string> networkNames;
    int disconnects = 0;
    int open = 0;

    sqlserver::NameList ListAvailableSQLServers() override { return sqlserver::NameList(networkNames); }

    std::unique_ptr<sqlserver::ServerConnection> Connect(const sqlserver::ConnectOptions& options) override
    {
        connects.push_back(options);
        auto it = servers.find(options.server);
        if (it == servers.end())
            throw LfError(0x80040000u, "",
                          "SQL Server \"" + options.server + "\" does not exist or access denied");
        return std::make_unique<Connection>(*this, it->second);
    }

private:
    class Connection : public sqlserver::ServerConnection {
    public:
        Connection(FakeServerManager& m, Server& s) : m_m(m), m_s(s) { ++m_m.open; }
        ~Connection() override
        {
            if (m_connected)
                DisConnect();
        }
        std::string Name() override { return m_s.name; }
        std::string WorkstationName() override { return m_s.workstation; }
        std::string NetName() override { return m_s.netName; }
        bool CanCreateDatabases() override { return m_s.canCreate; }
        std::vector<sqlserver::DatabaseInfo> Databases() override
        {
            if (m_s.failCatalog)
                throw LfError(0x80040000u + 229, "", "the SELECT permission was denied");
            return m_s.databases;
        }
        std::vector<sqlserver::LoginInfo> Logins() override { return m_s.logins; }
        std::string MasterDataFolder() override { return "C:\\Data\\"; }
        void Backup(const sqlserver::BackupSpec&, sqlserver::OperationControl&) override {}
        std::vector<sqlserver::BackupFileInfo> ReadBackupFileList(const std::string&) override { return {}; }
        void Restore(const sqlserver::RestoreSpec&, sqlserver::OperationControl&) override {}
        void RemoveDatabase(const std::string&) override {}
        void RemoveLogin(const std::string&) override {}
        void DisConnect() override
        {
            if (m_connected) {
                m_connected = false;
                ++m_m.disconnects;
                --m_m.open;
            }
        }

    private:
        FakeServerManager& m_m;
        Server& m_s;
        bool m_connected = true;
    };
};
