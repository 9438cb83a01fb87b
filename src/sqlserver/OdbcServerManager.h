#pragma once

#include <memory>

#include "ServerManager.h"

namespace sqlserver {

class OdbcConnection;

// The server-management model over T-SQL through ODBC.
class OdbcServerManager : public ServerManager {
public:
    NameList ListAvailableSQLServers() override;
    std::unique_ptr<ServerConnection> Connect(const ConnectOptions& options) override;
};

// A connected server over one ODBC connection to master.
class OdbcServerConnection : public ServerConnection {
public:
    explicit OdbcServerConnection(std::unique_ptr<OdbcConnection> connection);
    ~OdbcServerConnection() override;

    std::string Name() override;
    std::string WorkstationName() override;
    std::string NetName() override;
    bool CanCreateDatabases() override;
    std::vector<DatabaseInfo> Databases() override;
    std::vector<LoginInfo> Logins() override;
    std::string MasterDataFolder() override;
    void Backup(const BackupSpec& request, OperationControl& control) override;
    std::vector<BackupFileInfo> ReadBackupFileList(const std::string& file) override;
    void Restore(const RestoreSpec& request, OperationControl& control) override;
    void RemoveDatabase(const std::string& name) override;
    void RemoveLogin(const std::string& name) override;
    void DisConnect() override;

private:
    OdbcConnection& connection();
    void runWithProgress(const std::string& sql, OperationControl& control);

    std::unique_ptr<OdbcConnection> m_connection;
};

// The backup statements the model sends, kept apart so that their text can be checked.
std::string backupStatement(const BackupSpec& request);
std::string restoreStatement(const RestoreSpec& request);
// "N percent processed." gives N; -1 for any other message.
int percentOf(const std::string& message);
// The folder of a file path, with its final separator ("\" or "/"), "" when there is none.
std::string folderOf(const std::string& path);
// Logins the server owns: sa, "##...##" certificate logins, NT SERVICE\ and NT AUTHORITY\ ones.
bool isSystemLogin(const std::string& name, long principalId);

} // namespace sqlserver
