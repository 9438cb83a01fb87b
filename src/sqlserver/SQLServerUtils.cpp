#include "SQLServerUtils.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "LfError.h"
#include "Process.h"
#include "ServerManager.h"
#include "SystemInfo.h"

namespace SQLServerUtils {
namespace {
std::string g_tokenRemainder; // shared by every caller of NextToken
}

std::string GetInstalledInstances()
{
    return reg::readValue512(reg::Hive::LocalMachine, kSqlServerKey, "InstalledInstances").value_or("");
}

bool InstalledInstancesExist()
{
    return reg::readValue512(reg::Hive::LocalMachine, kSqlServerKey, "InstalledInstances").has_value();
}

bool RegistryKeyExists(reg::Hive hive, const std::string& keyPath)
{
    return reg::keyExists(hive, keyPath);
}

std::string GetLocalComputerName()
{
    std::string name;
    if (!sys::machine().computerName(name))
        return " "; // a space, not an empty text: callers have always received this
    return name;
}

std::string NextToken(std::string& source, std::string& delimiters)
{
    if (!source.empty())
        g_tokenRemainder = source;
    for (;;) {
        if (g_tokenRemainder.empty())
            return "";
        const size_t p = g_tokenRemainder.find_first_of(delimiters);
        if (p == std::string::npos) {
            std::string token;
            token.swap(g_tokenRemainder);
            return token;
        }
        if (p == 0) {
            g_tokenRemainder.erase(0, 1);
            continue;
        }
        std::string token = g_tokenRemainder.substr(0, p);
        g_tokenRemainder.erase(0, p + 1);
        return token;
    }
}

std::string ServerNameForInstance(const std::string& instance, const std::string& computerName)
{
    return instance == "MSSQLSERVER" ? "(local)" : computerName + "\\" + instance;
}

bool DatabaseExists(sqlserver::ServerConnection& server, const std::string& databaseName)
{
    const auto databases = server.Databases();
    const auto same = [&](const std::string& name) {
        return name.size() == databaseName.size() &&
               std::equal(name.begin(), name.end(), databaseName.begin(), [](char a, char b) {
                   return std::tolower(static_cast<unsigned char>(a)) ==
                          std::tolower(static_cast<unsigned char>(b));
               });
    };
    // Indices 1 to the count, as the management interface numbers its collections.
    const int count = static_cast<int>(databases.size());
    for (int i = 1; i <= count; ++i)
        if (same(databases[static_cast<size_t>(i - 1)].name))
            return true;
    return false;
}

std::string FindLocalServerWithDatabase(const std::string& databaseName)
{
    std::string instances = GetInstalledInstances();
    const std::string computer = GetLocalComputerName();
    std::string none;
    std::string delimiter(1, '\0');
    std::string found;
    for (std::string token = NextToken(instances, delimiter); !token.empty();
         token = NextToken(none, delimiter)) {
        const std::string connectName = token == "MSSQLSERVER" ? std::string() : computer + "\\" + token;
        std::unique_ptr<sqlserver::ServerConnection> server;
        try {
            sqlserver::ConnectOptions options;
            options.server = connectName;
            options.loginSecure = true;
            options.loginTimeoutSeconds = 10;
            server = sqlserver::serverManager().Connect(options);
        } catch (const LfError&) {
            continue; // an instance that does not answer is skipped
        }
        found = connectName.empty() ? "(local)" : connectName;
        bool exists = false;
        try {
            exists = DatabaseExists(*server, databaseName);
        } catch (const LfError&) {
            // The instance answered, so it stays the one remembered; its catalog could not be
            // read, which counts as not holding the database.
        }
        server->DisConnect();
        if (exists)
            return found;
    }
    if (found.empty())
        throw LfError(LfError::kObjectError513, "",
                      "there are no local SQLServer or MSDE instances installed");
    return found;
}

bool IsLocalServer(const std::string& serverName)
{
    try {
        sqlserver::ConnectOptions options;
        options.server = serverName;
        options.loginSecure = true;
        auto server = sqlserver::serverManager().Connect(options);
        const bool local = server->WorkstationName() == server->NetName();
        server->DisConnect();
        return local;
    } catch (const LfError& e) {
        throw LfError(e.number(), "DBMigrateProgressCtl.IsLocalServer",
                      "while testing whether the server \"" + serverName + "\" is a local server, " +
                          e.description());
    }
}

std::string BuildTrustedConnectionString(const std::string& serverName, const std::string& databaseName)
{
    return "Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial Catalog=" +
           databaseName + ";Data Source=" + serverName;
}

std::string BuildLoginConnectionString(const std::string& serverName, const std::string& databaseName,
                                       const std::string& user, const std::string& password)
{
    return "Provider=SQLOLEDB.1;Password=" + password + ";User ID=" + user +
           ";Integrated Security=SSPI;Persist Security Info=False;Initial Catalog=" + databaseName +
           ";Data Source=" + serverName;
}

std::string OsqlLogPath(const std::string& scriptPath)
{
    const auto dot = scriptPath.rfind('.');
    if (dot == std::string::npos)
        return {};
    return scriptPath.substr(0, dot) + ".log";
}

std::string OsqlCommandLine(const std::string& scriptPath, const std::string& serverName,
                            const std::string& user, const std::string& password)
{
    const std::string q = "\"";
    const std::string log = OsqlLogPath(scriptPath);
    if (!user.empty())
        return "osql -n -U" + user + " -P" + password + " -S" + serverName + " -i " + q + scriptPath + q +
               " -o" + q + log + q;
    return "osql -n -E -S" + serverName + " -i " + q + scriptPath + q + " -o" + q + log + q;
}

namespace {

#ifdef _WIN32
constexpr const char* kOsqlFile = "osql.exe";
constexpr char kPathListSeparator = ';';
#else
constexpr const char* kOsqlFile = "osql";
constexpr char kPathListSeparator = ':';
#endif

// A program, not a script: FreeTDS's osql is a shell script that only checks the ODBC
// configuration and would read nothing of ours.
bool isOurOsql(const std::filesystem::path& p)
{
    std::error_code ec;
    if (!std::filesystem::is_regular_file(p, ec))
        return false;
    std::ifstream in(p, std::ios::binary);
    char head[2] = {0, 0};
    in.read(head, 2);
    return in.gcount() == 2 && !(head[0] == '#' && head[1] == '!');
}

} // namespace

std::string FindOsqlExecutable()
{
    const std::string own = proc::ownExecutableFolder();
    if (!own.empty()) {
        const auto beside = std::filesystem::path(own) / kOsqlFile;
        if (isOurOsql(beside))
            return beside.string();
    }
    const char* path = std::getenv("PATH");
    if (!path)
        return {};
    const std::string list = path;
    size_t start = 0;
    for (;;) {
        const size_t end = list.find(kPathListSeparator, start);
        const std::string dir =
            list.substr(start, end == std::string::npos ? std::string::npos : end - start);
        if (!dir.empty()) {
            const auto candidate = std::filesystem::path(dir) / kOsqlFile;
            if (isOurOsql(candidate))
                return candidate.string();
        }
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    return {};
}

void RunOsqlScript(const std::string& scriptPath, const std::string& serverName, const std::string& user,
                   const std::string& password, const WaitCallback& whileWaiting)
{
    // The log name needs the script's extension; without one the run ends here, quietly, as
    // every other failure of this operation does.
    if (OsqlLogPath(scriptPath).empty())
        return;
    std::error_code ec;
    if (!std::filesystem::exists(scriptPath, ec))
        throw LfError(LfError::kObjectError513, "", "the file \"" + scriptPath + "\" does not exist");
    ShellAndWait(OsqlCommandLine(scriptPath, serverName, user, password), 0, whileWaiting);
}

void ShellAndWait(const std::string& commandLine, int /*windowStyle: always hidden here*/,
                  const WaitCallback& whileWaiting)
{
    auto args = proc::splitCommandLine(commandLine);
    if (args.empty())
        return;
    std::string program = args.front();
    args.erase(args.begin());
    if (program == "osql") {
        program = FindOsqlExecutable();
        if (program.empty())
            return; // no osql: the caller finds no log
    }
    std::string error;
    auto child = proc::start(program, args, error);
    if (!child)
        return; // not startable: nothing to wait for; the caller finds no log
    proc::waitWithCallback(*child, whileWaiting);
}

} // namespace SQLServerUtils
