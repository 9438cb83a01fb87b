#include "OdbcServerManager.h"

#include <cctype>

#include "ConnectionError.h"
#include "LfError.h"
#include "OdbcConnection.h"
#include "ServerEndpoint.h"
#include "Ssrp.h"

namespace sqlserver {
namespace {

// master 1, tempdb 2, model 3, msdb 4.
constexpr long long kLastSystemDatabaseId = 4;

// How long the server list waits for browsers to answer a broadcast.
constexpr std::chrono::milliseconds kBroadcastWindow(1500);

bool startsWithNoCase(const std::string& s, const std::string& prefix)
{
    if (s.size() < prefix.size())
        return false;
    for (size_t i = 0; i < prefix.size(); ++i)
        if (std::toupper(static_cast<unsigned char>(s[i])) !=
            std::toupper(static_cast<unsigned char>(prefix[i])))
            return false;
    return true;
}

// Relays the messages of a backup or restore to the caller's control: percents as progress,
// everything else as plain messages.
class ProgressVisitor : public BatchVisitor {
public:
    explicit ProgressVisitor(OperationControl& control) : m_control(control) {}
    void message(const ServerMessage& m, bool isError) override
    {
        if (isError)
            return;
        const int percent = percentOf(m.text);
        if (percent >= 0) {
            if (m_control.onProgress)
                m_control.onProgress(percent, m.text);
        } else if (m_control.onMessage) {
            m_control.onMessage(m.text);
        }
    }

private:
    OperationControl& m_control;
};

} // namespace

std::string backupStatement(const BackupSpec& request)
{
    // STATS = 10: a notification for every tenth, as the wizard's progress bar expects.
    std::string sql = "BACKUP DATABASE " + quoteIdentifier(request.database) +
                      " TO DISK = " + quoteText(request.file) + " WITH INIT, NAME = " + quoteText(request.setName) +
                      ", DESCRIPTION = " + quoteText(request.setDescription);
    if (request.checksum)
        sql += ", CHECKSUM";
    sql += ", STATS = 10";
    return sql;
}

std::string restoreStatement(const RestoreSpec& request)
{
    std::string sql = "RESTORE DATABASE " + quoteIdentifier(request.database) +
                      " FROM DISK = " + quoteText(request.file) + " WITH ";
    for (const auto& r : request.relocations)
        sql += "MOVE " + quoteText(r.logicalName) + " TO " + quoteText(r.physicalPath) + ", ";
    if (request.replace)
        sql += "REPLACE, ";
    sql += "STATS = 10";
    return sql;
}

int percentOf(const std::string& message)
{
    size_t i = 0;
    while (i < message.size() && message[i] == ' ')
        ++i;
    const size_t digits = i;
    while (i < message.size() && std::isdigit(static_cast<unsigned char>(message[i])))
        ++i;
    if (i == digits || i - digits > 3)
        return -1;
    if (message.compare(i, 9, " percent ") != 0)
        return -1;
    return std::stoi(message.substr(digits, i - digits));
}

std::string folderOf(const std::string& path)
{
    const auto sep = path.find_last_of("\\/");
    return sep == std::string::npos ? std::string() : path.substr(0, sep + 1);
}

bool isSystemLogin(const std::string& name, long principalId)
{
    return principalId == 1 ||
           (name.size() >= 4 && name.rfind("##", 0) == 0 && name.compare(name.size() - 2, 2, "##") == 0) ||
           startsWithNoCase(name, "NT SERVICE\\") || startsWithNoCase(name, "NT AUTHORITY\\");
}

NameList OdbcServerManager::ListAvailableSQLServers()
{
    std::vector<std::string> names;
    for (const auto& info : ssrp::broadcast(kBroadcastWindow)) {
        const std::string name = ssrp::displayName(info);
        bool seen = false;
        for (const auto& n : names)
            seen = seen || n == name;
        if (!seen)
            names.push_back(name);
    }
    return NameList(std::move(names));
}

std::unique_ptr<ServerConnection> OdbcServerManager::Connect(const ConnectOptions& options)
{
    OdbcTarget target;
    target.driver = defaultOdbcDriver();
    target.endpoint = resolveServer(options.server);
    target.database = "master";
    target.integrated = options.loginSecure;
    target.user = options.user;
    target.password = options.password;
    const std::string shown = options.server.empty() ? "(local)" : options.server;
    return std::make_unique<OdbcServerConnection>(
        OdbcConnection::connect(target, options.loginTimeoutSeconds, shown));
}

OdbcServerConnection::OdbcServerConnection(std::unique_ptr<OdbcConnection> connection)
    : m_connection(std::move(connection))
{
}

OdbcServerConnection::~OdbcServerConnection() = default;

OdbcConnection& OdbcServerConnection::connection()
{
    if (!m_connection)
        throw LfError(kClientFailure, "", "the server is not connected");
    return *m_connection;
}

std::string OdbcServerConnection::Name()
{
    return connection().scalar("SELECT @@SERVERNAME").toText();
}

std::string OdbcServerConnection::WorkstationName()
{
    return connection().scalar("SELECT HOST_NAME()").toText();
}

std::string OdbcServerConnection::NetName()
{
    return connection().scalar("SELECT CONVERT(nvarchar(128), SERVERPROPERTY('MachineName'))").toText();
}

bool OdbcServerConnection::CanCreateDatabases()
{
    const auto roles =
        connection().query("SELECT IS_SRVROLEMEMBER('sysadmin'), IS_SRVROLEMEMBER('dbcreator')");
    if (!roles.empty())
        for (const auto& v : roles.front())
            if (v.toInt() == 1)
                return true;
    // A permission granted outside the two roles; servers that predate HAS_PERMS_BY_NAME
    // (MSDE, SQL Server 2000) only know the roles.
    try {
        return connection().scalar("SELECT HAS_PERMS_BY_NAME(NULL, NULL, 'CREATE ANY DATABASE')").toInt() ==
               1;
    } catch (const LfError&) {
        return false;
    }
}

std::vector<DatabaseInfo> OdbcServerConnection::Databases()
{
    std::vector<DatabaseInfo> out;
    // The server gives its own databases the identifiers 1 to 4 and never hands them to a
    // database it creates or restores; that mark holds whatever the system databases are named.
    for (const auto& row : connection().query(
             "SELECT name, HAS_DBACCESS(name), database_id FROM sys.databases ORDER BY database_id"))
        out.push_back(DatabaseInfo{row.at(0).toText(), row.at(1).toInt() == 1,
                                   row.at(2).toInt() <= kLastSystemDatabaseId});
    return out;
}

std::vector<LoginInfo> OdbcServerConnection::Logins()
{
    std::vector<LoginInfo> out;
    for (const auto& row : connection().query("SELECT name, principal_id FROM sys.server_principals WHERE "
                                              "type IN ('S', 'U', 'G') ORDER BY name")) {
        const std::string name = row.at(0).toText();
        out.push_back(LoginInfo{name, isSystemLogin(name, static_cast<long>(row.at(1).toInt()))});
    }
    return out;
}

std::string OdbcServerConnection::MasterDataFolder()
{
    const Value path = connection().scalar(
        "SELECT physical_name FROM sys.master_files WHERE database_id = 1 AND file_id = 1");
    if (path.isNull())
        throw LfError(kClientFailure, "", "the server does not report where the master database lives");
    return folderOf(path.toText());
}

void OdbcServerConnection::runWithProgress(const std::string& sql, OperationControl& control)
{
    OdbcConnection& c = connection();
    control.setCanceller([&c] { c.Cancel(); });
    struct Detach {
        OperationControl& control;
        ~Detach() { control.setCanceller({}); }
    } detach{control};
    ProgressVisitor visitor(control);
    try {
        c.runBatch(sql, visitor, false, [&control] { return control.AbortRequested(); });
    } catch (const LfError& e) {
        // A stop that lands just as a wait for the server begins or ends is carried out by the
        // driver on the stopping thread, and the server's abort message is gone before this
        // thread can read it; clients may also discard what the server sends before it
        // acknowledges a cancel. The operation was aborted all the same, and says so.
        if (control.AbortRequested() && e.number() == kClientFailure)
            throw LfError(kBackupAborted, e.source(), "The backup or restore was aborted.");
        throw;
    }
}

void OdbcServerConnection::Backup(const BackupSpec& request, OperationControl& control)
{
    runWithProgress(backupStatement(request), control);
    if (request.verify) {
        std::string verify = "RESTORE VERIFYONLY FROM DISK = " + quoteText(request.file);
        if (request.checksum)
            verify += " WITH CHECKSUM";
        BatchVisitor ignore;
        connection().runBatch(verify, ignore);
    }
}

std::vector<BackupFileInfo> OdbcServerConnection::ReadBackupFileList(const std::string& file)
{
    class FileList : public BatchVisitor {
    public:
        std::vector<std::string> names;
        std::vector<BackupFileInfo> files;
        void columns(const std::vector<std::string>& n) override { names = n; }
        void row(const std::vector<Value>& v) override
        {
            BackupFileInfo f;
            for (size_t i = 0; i < names.size() && i < v.size(); ++i) {
                if (names[i] == "LogicalName")
                    f.logicalName = v[i].toText();
                else if (names[i] == "PhysicalName")
                    f.physicalName = v[i].toText();
                else if (names[i] == "Type")
                    f.type = v[i].toText();
            }
            files.push_back(std::move(f));
        }
    } list;
    connection().runBatch("RESTORE FILELISTONLY FROM DISK = " + quoteText(file), list);
    return std::move(list.files);
}

void OdbcServerConnection::Restore(const RestoreSpec& request, OperationControl& control)
{
    runWithProgress(restoreStatement(request), control);
}

void OdbcServerConnection::RemoveDatabase(const std::string& name)
{
    connection().Execute("DROP DATABASE " + quoteIdentifier(name));
}

void OdbcServerConnection::RemoveLogin(const std::string& name)
{
    connection().Execute("DROP LOGIN " + quoteIdentifier(name));
}

void OdbcServerConnection::DisConnect()
{
    m_connection.reset();
}

} // namespace sqlserver
