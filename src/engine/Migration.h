#pragma once

#include <atomic>
#include <memory>
#include <string>

class Prompter;

namespace sqlserver {
class Connection;
class OperationControl;
} // namespace sqlserver

namespace engine {

class MigrationProgress;
class StopFlag;

// The migration operations of the progress page: confirm the desktop user, back the desktop
// database up, copy the backup and the structure index to their shared folders; and the restore,
// administrator and identity steps that complete a migration on the multi-user server. Plain
// C++: the page supplies the progress reporting, the Stop flag and the prompter.
class Migration {
public:
    static constexpr const char* kBackupFileName = "LFDesktop.BAK";
    // Backup 0..100, restore 100..200, then one point for each of the five index files.
    static constexpr int kProgressMaximum = 205;

    Migration(MigrationProgress& progress, StopFlag& stop, Prompter& prompter);

    // TargetDBName, ServiceName and the three strings after it are accepted and not used.
    void Migrate(const std::string& SrcServerName, const std::string& SrcDBName,
                 const std::string& TargetServerName, const std::string& TargetDBName,
                 const std::string& SrcMSTFilePath, const std::string& TargetMSTFilePath,
                 const std::string& ServiceName, const std::string& unused1, const std::string& unused2,
                 const std::string& unused3, const std::string& BAKPath);

    // Raises an error when the current user is not a user of the database.
    void ConfirmUser(const std::string& ServerName, const std::string& DBName);

    // The account on whose behalf the program runs, "DOMAIN\user".
    static std::string ProcessName();

    void BackupDatabase(const std::string& ServerName, const std::string& DBName, const std::string& BAKPath);
    void RestoreDatabase(const std::string& ServerName, const std::string& DBName,
                         const std::string& BAKPath);
    void SetAdministrator(const std::string& ServerName, const std::string& DBName);

    static int StartSession(sqlserver::Connection& connection, int ownerKey);
    static void EndSession(sqlserver::Connection& connection, int sessionKey);

    // The path up to and including its last ".", then the extension.
    static std::string ChangeExtension(const std::string& path, const std::string& extension);

    // "LFDesktop.BAK" in the shared application-data folder: the working copy of the backup.
    static std::string LocalBackupPath();

private:
    void confirmUserNow(const std::string& ServerName, const std::string& DBName);
    void say(const std::string& text);
    void advance();
    // Copies the index file unless the user keeps the one at the target; true when copied.
    bool copyIndex(const std::string& source, const std::string& target);
    void copy(const std::string& source, const std::string& target);
    // Backup (offset 0) and restore (offset 100) notifications to the page; Stop aborts.
    void watch(sqlserver::OperationControl& control, int offset);

    MigrationProgress& m_progress;
    StopFlag& m_stop;
    Prompter& m_prompter;
    std::atomic<int> m_value{0};
};

} // namespace engine
