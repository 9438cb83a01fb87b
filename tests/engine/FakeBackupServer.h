#pragma once

#include "LfError.h"
#include "ServerManager.h"

#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

// Servers that back up and restore as the test scripts them: the backup sends its percent
// notifications, honours an abort at every notification as SQL Server does, and writes the
// backup file only when it completes.
class FakeBackupServer : public sqlserver::ServerManager {
public:
    static constexpr uint32_t kAborted = 0x80040C84u; // 3204

    // Server name -> the machine it runs on. This client is the machine "PC1".
    std::map<std::string, std::string> machines{{"PC1\\VELDRIN", "PC1"}, {"LABSRV2", "LABSRV2"}};
    std::vector<int> percents{10, 20, 30, 40, 50, 60, 70, 80, 90, 100};
    std::string backupBytes = "LFBAK001 the desktop database";
    // Called after each notification has been delivered, on the thread that runs the backup.
    std::function<void(int percent)> afterNotification;
    // The backup writes its file, then fails with this error (a set that does not verify).
    std::optional<LfError> verifyError;
    std::vector<sqlserver::BackupFileInfo> fileList{{"LFDesktop10_Data", "C:\\x\\LFDesktop10.mdf", "D"},
                                                    {"LFDesktop10_Log", "C:\\x\\LFDesktop10_log.ldf", "L"}};

    std::vector<sqlserver::BackupSpec> backups() const { return locked(m_backups); }
    std::vector<sqlserver::RestoreSpec> restores() const { return locked(m_restores); }
    std::vector<std::string> connected() const { return locked(m_connected); }

    sqlserver::NameList ListAvailableSQLServers() override { return sqlserver::NameList(); }

    std::unique_ptr<sqlserver::ServerConnection> Connect(const sqlserver::ConnectOptions& options) override
    {
        std::lock_guard lock(m_mutex);
        m_connected.push_back(options.server);
        const auto found = machines.find(options.server);
        if (found == machines.end())
            throw LfError(LfError::kObjectErrorBase, "",
                          "[SQL Server]SQL Server does not exist or access denied.");
        return std::make_unique<Connection>(*this, found->second);
    }

private:
    class Connection : public sqlserver::ServerConnection {
    public:
        Connection(FakeBackupServer& s, std::string machine) : m_s(s), m_machine(std::move(machine)) {}
        std::string Name() override { return m_machine; }
        std::string WorkstationName() override { return "PC1"; }
        std::string NetName() override { return m_machine; }
        bool CanCreateDatabases() override { return true; }
        std::vector<sqlserver::DatabaseInfo> Databases() override { return {}; }
        std::vector<sqlserver::LoginInfo> Logins() override { return {}; }
        std::string MasterDataFolder() override { return "/srv/data/"; }
        void Backup(const sqlserver::BackupSpec& request, sqlserver::OperationControl& control) override
        {
            {
                std::lock_guard lock(m_s.m_mutex);
                m_s.m_backups.push_back(request);
            }
            notify(control, "BACKUP");
            std::ofstream(request.file, std::ios::binary) << m_s.backupBytes;
            if (m_s.verifyError)
                throw *m_s.verifyError;
        }
        std::vector<sqlserver::BackupFileInfo> ReadBackupFileList(const std::string&) override
        {
            return m_s.fileList;
        }
        void Restore(const sqlserver::RestoreSpec& request, sqlserver::OperationControl& control) override
        {
            {
                std::lock_guard lock(m_s.m_mutex);
                m_s.m_restores.push_back(request);
            }
            notify(control, "RESTORE");
        }
        void RemoveDatabase(const std::string&) override {}
        void RemoveLogin(const std::string&) override {}
        void DisConnect() override {}

    private:
        void notify(sqlserver::OperationControl& control, const std::string& what)
        {
            for (int p : m_s.percents) {
                if (control.AbortRequested())
                    throw LfError(kAborted, "", what + " DATABASE is terminating abnormally.");
                if (control.onProgress)
                    control.onProgress(p, std::to_string(p) + " percent processed.");
                if (m_s.afterNotification)
                    m_s.afterNotification(p);
            }
            if (control.AbortRequested())
                throw LfError(kAborted, "", what + " DATABASE is terminating abnormally.");
        }
        FakeBackupServer& m_s;
        std::string m_machine;
    };

    template <class T> T locked(const T& v) const
    {
        std::lock_guard lock(m_mutex);
        return v;
    }

    mutable std::mutex m_mutex;
    std::vector<sqlserver::BackupSpec> m_backups;
    std::vector<sqlserver::RestoreSpec> m_restores;
    std::vector<std::string> m_connected;
};
