#include "Migration.h"

#include "Connection.h"
#include "ConnectionError.h"
#include "DateUtils.h"
#include "LfError.h"
#include "MigrationProgress.h"
#include "PathUtils.h"
#include "Prompter.h"
#include "SQLServerUtils.h"
#include "ServerManager.h"
#include "ShellFolders.h"
#include "StopFlag.h"
#include "SystemInfo.h"
#include "VerifiedCopy.h"

#include <filesystem>
#include <system_error>

namespace engine {
namespace {

constexpr const char* kComponent = "DBMigrateProgressCtl";
const char* const kCompanionExtensions[] = {"msx", "mss", "msk", "msf"};

std::string quoted(const std::string& s)
{
    return "\"" + s + "\"";
}

std::string trimmed(const std::string& s)
{
    const auto first = s.find_first_not_of(' ');
    if (first == std::string::npos)
        return {};
    return s.substr(first, s.find_last_not_of(' ') - first + 1);
}

std::unique_ptr<sqlserver::ServerConnection> connectServer(const std::string& serverName)
{
    sqlserver::ConnectOptions o;
    o.server = serverName;
    o.loginSecure = true;
    o.loginTimeoutSeconds = 60;
    return sqlserver::serverManager().Connect(o);
}

std::unique_ptr<sqlserver::Connection> openDatabase(const std::string& serverName, const std::string& dbName)
{
    return sqlserver::OpenConnection(SQLServerUtils::BuildTrustedConnectionString(serverName, dbName), "",
                                     "");
}

// The major version of the server (8 for SQL Server 2000 and MSDE 2000, 9 for 2005...); 0 when
// the server cannot tell, as SQL Server 7 and MSDE 1.0 cannot.
int serverMajorVersion(const std::string& serverName)
{
    try {
        auto c = openDatabase(serverName, "master");
        auto rs = c->OpenForward("SELECT CONVERT(nvarchar(128), SERVERPROPERTY('ProductVersion'))");
        const std::string version = rs->IsEOF() ? std::string() : rs->Field(0).toText();
        rs->Close();
        c->Close();
        return std::atoi(version.c_str());
    } catch (const LfError&) {
        return 0;
    }
}

void removeQuietly(const std::string& path)
{
    // Nothing to report: the file is either gone or was never there.
    std::error_code ec;
    std::filesystem::remove(path, ec);
}

} // namespace

Migration::Migration(MigrationProgress& progress, StopFlag& stop, Prompter& prompter)
    : m_progress(progress), m_stop(stop), m_prompter(prompter)
{
}

std::string Migration::LocalBackupPath()
{
    return paths::Join(ShellFolders::GetCommonAppDataFolder(), kBackupFileName);
}

void Migration::say(const std::string& text)
{
    m_progress.setMessage(text);
}

void Migration::advance()
{
    m_progress.setProgressValue(++m_value);
}

void Migration::watch(sqlserver::OperationControl& control, int offset)
{
    // A notification of 100 percent or more ends the subscription, as releasing the server's
    // backup or restore object did.
    control.onProgress = [this, &control, offset, subscribed = true](int percent,
                                                                     const std::string& message) mutable {
        if (!subscribed)
            return;
        if (m_stop.requested())
            control.Abort();
        say(message);
        m_value = percent + offset;
        m_progress.setProgressValue(percent + offset);
        if (percent >= 100)
            subscribed = false;
    };
}

void Migration::copy(const std::string& source, const std::string& target)
{
    m_progress.runBlocking(
        [&] { CopyFileVerified(source, target, &m_stop, std::string(kComponent) + ".Migrate"); });
}

void Migration::Migrate(const std::string& SrcServerName, const std::string& SrcDBName,
                        const std::string& TargetServerName, const std::string& /*TargetDBName*/,
                        const std::string& SrcMSTFilePath, const std::string& TargetMSTFilePath,
                        const std::string& /*ServiceName*/, const std::string& /*unused1*/,
                        const std::string& /*unused2*/, const std::string& /*unused3*/,
                        const std::string& BAKPath)
{
    m_value = 0;
    m_progress.setProgressMaximum(kProgressMaximum);
    m_progress.setProgressValue(0);
    std::string localBackup;
    try {
        localBackup = LocalBackupPath();
        bool targetIsLocal = false;
        m_progress.runBlocking([&] { targetIsLocal = SQLServerUtils::IsLocalServer(TargetServerName); });
        if (!targetIsLocal) {
            say("Confirming User Access to server \"" + SrcServerName + "\"...");
            ConfirmUser(SrcServerName, SrcDBName);
            say("Backing Up Database...");
            BackupDatabase(SrcServerName, SrcDBName, localBackup);
            say("Copying Database Backup File...");
            copy(localBackup, BAKPath);
        } else {
            // The database already lives on the target machine; the frame hears of the end twice.
            m_progress.migrationFinished();
        }

        say("Copying Chemical Structure Index...");
        const std::string target =
            paths::Join(TargetMSTFilePath, std::filesystem::path(SrcMSTFilePath).filename().string());
        if (copyIndex(SrcMSTFilePath, target)) {
            for (const char* extension : kCompanionExtensions) {
                copy(ChangeExtension(SrcMSTFilePath, extension), ChangeExtension(target, extension));
                advance();
            }
        }
        m_progress.migrationFinished();
    } catch (...) {
        // The working copy is of no use once the migration has failed, and it holds the whole
        // database: it does not stay behind in the shared folder.
        if (!localBackup.empty())
            m_progress.runBlocking([&] { removeQuietly(localBackup); });
        throw;
    }
    // Removing a file of the database's size takes a moment of its own.
    m_progress.runBlocking([&] { removeQuietly(localBackup); });
}

bool Migration::copyIndex(const std::string& source, const std::string& target)
{
    std::error_code ec;
    if (std::filesystem::exists(target, ec) &&
        m_prompter.messageBox("Chemical Structure Index file(.mst) already exists in this location.  Do you "
                              "wish to overwrite it?",
                              MsgButtons::YesNo, MsgIcon::None, "Multi-user migration") != MsgAnswer::Yes)
        return false;
    copy(source, target);
    advance();
    return true;
}

void Migration::ConfirmUser(const std::string& ServerName, const std::string& DBName)
{
    m_progress.runBlocking([&] { confirmUserNow(ServerName, DBName); });
}

void Migration::confirmUserNow(const std::string& ServerName, const std::string& DBName)
{
    const std::string source = std::string(kComponent) + ".ConfirmUser";
    const std::string user = ProcessName();
    std::unique_ptr<sqlserver::Connection> connection;
    long long count = 0;
    try {
        connection = openDatabase(ServerName, DBName);
        auto rs = connection->OpenForward("SELECT COUNT(*) from ELN_people WHERE Username = '" + user + "'");
        count = rs->IsEOF() ? 0 : rs->Field(0).toInt();
        rs->Close();
    } catch (const LfError& e) {
        if (connection)
            connection->Close();
        std::string description;
        switch (e.number()) {
        case sqlserver::kServerNotFound:
            description = "the server " + quoted(ServerName) + " does not exist";
            break;
        case sqlserver::kLoginModeRefused:
            description = "SQL Server login mode is not allowed for the server " + quoted(ServerName);
            break;
        default:
            description = "while connecting to database " + quoted(DBName) + " on server " +
                          quoted(ServerName) + ", " + e.description();
        }
        throw LfError(e.number(), source + "/" + e.source(), description);
    }
    connection->Close();
    if (count == 0)
        throw LfError(LfError::kObjectError513, source,
                      "the user " + quoted(user) + " is not set up in the database " + quoted(DBName) +
                          ". Please run the Labfolio program at least once before migrating the database");
}

std::string Migration::ProcessName()
{
    // No component-services call context exists for this program, so the name always comes from
    // the system's down-level form.
    std::string name;
    sys::machine().userNameDownLevel(name);
    return name;
}

void Migration::BackupDatabase(const std::string& ServerName, const std::string& DBName,
                               const std::string& BAKPath)
{

    sqlserver::BackupSpec backup;
    backup.database = DBName;
    backup.setName = DBName + "_Full";
    backup.setDescription = "Full backup of " + DBName + " database";
    backup.file = BAKPath;
    // Page checksums exist from SQL Server 2005 on; older servers refuse the option. Every
    // version can verify the set before it is copied anywhere.
    backup.verify = true;

    m_stop.clear();
    sqlserver::OperationControl control;
    watch(control, 0);
    m_progress.runBlocking([&] {
        removeQuietly(trimmed(BAKPath));
        // The server writes the working copy; on this machine, into the shared folder, which
        // may not exist yet.
        std::error_code ec;
        std::filesystem::create_directories(std::filesystem::path(trimmed(BAKPath)).parent_path(), ec);
        auto server = connectServer(ServerName);
        backup.checksum = serverMajorVersion(ServerName) >= 9;
        {
            StopFlag::Attachment attached(m_stop, control);
            server->Backup(backup, control);
        }
        server->DisConnect();
    });
}

void Migration::RestoreDatabase(const std::string& ServerName, const std::string& DBName,
                                const std::string& BAKPath)
{
    sqlserver::OperationControl control;
    watch(control, 100);
    m_progress.runBlocking([&] {
        auto server = connectServer(ServerName);
        const std::string dataFolder = server->MasterDataFolder();
        sqlserver::RestoreSpec restore;
        restore.database = DBName;
        restore.file = BAKPath;
        restore.replace = true;
        const auto files = server->ReadBackupFileList(BAKPath);
        std::string dataName;
        std::string logName;
        if (files.size() >= 2) {
            dataName = files[0].logicalName;
            logName = files[1].logicalName;
            restore.relocations = {{dataName, dataFolder + DBName + "_Data.mdf"},
                                   {logName, dataFolder + DBName + "_LOG.ldf"}};
        }
        {
            StopFlag::Attachment attached(m_stop, control);
            server->Restore(restore, control);
        }

        // The logical names keep the product's spelling: the log's too ends in ".mdf".
        auto c = openDatabase(ServerName, DBName);
        c->Execute("ALTER DATABASE " + DBName + " MODIFY FILE (Name = [" + dataName + "], NEWName = [" +
                   DBName + "_data.mdf])");
        c->Execute("ALTER DATABASE " + DBName + " MODIFY FILE (Name = [" + logName + "], NEWName = [" +
                   DBName + "_log.mdf])");
        c->Close();
        server->DisConnect();
    });
}

void Migration::SetAdministrator(const std::string& ServerName, const std::string& DBName)
{
    m_progress.runBlocking([&] {
        auto c = openDatabase(ServerName, DBName);
        const int session = StartSession(*c, 1);
        c->Execute("UPDATE ELN_people SET is_administrator = 1 WHERE UserName = '" + ProcessName() + "'");
        c->Execute(
            "UPDATE ELN_parameters SET data = CONVERT(nvarchar(255), newid()) WHERE name = N'database guid'");
        EndSession(*c, session);
        c->Close();
    });
}

int Migration::StartSession(sqlserver::Connection& connection, int ownerKey)
{
    std::vector<sqlserver::IntParam> params{{":sessionKey", true, 0},
                                            {":ownerKey", false, ownerKey},
                                            {":clientBias", false, DateUtils::GetTimeZoneBias()}};
    connection.CallProcedure("start_session", params);
    return params[0].value;
}

void Migration::EndSession(sqlserver::Connection& connection, int sessionKey)
{
    std::vector<sqlserver::IntParam> params{{":sessionKey", false, sessionKey}};
    connection.CallProcedure("end_session", params);
}

std::string Migration::ChangeExtension(const std::string& path, const std::string& extension)
{
    return path.substr(0, path.rfind('.') + 1) + extension;
}

} // namespace engine
