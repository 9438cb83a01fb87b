#pragma once

#include <functional>
#include <string>

#include "LfError.h"
#include "Registry.h"

namespace sqlserver {
class ServerConnection;
}

// The one place that knows how SQL Server and MSDE instances are found and named on this
// machine.
namespace SQLServerUtils {

constexpr const char* kSqlServerKey = "SOFTWARE\\Microsoft\\Microsoft SQL Server";

// The registry's InstalledInstances multi-string: names separated by NULs, "" when unreadable.
std::string GetInstalledInstances();
// The InstalledInstances value can be read.
bool InstalledInstancesExist();
// The key opens for reading.
bool RegistryKeyExists(reg::Hive hive, const std::string& keyPath);
// This computer's name; a single space when the system cannot tell.
std::string GetLocalComputerName();

// String tokenizer with one shared remainder: a non-empty source replaces the remainder;
// leading delimiters are skipped, so an empty token is never returned; "" when exhausted.
std::string NextToken(std::string& source, std::string& delimiters);

// "(local)" for the default instance MSSQLSERVER (exact case), else computer\instance.
std::string ServerNameForInstance(const std::string& instance, const std::string& computerName);

// The connected server has a database of that name (case-insensitive).
bool DatabaseExists(sqlserver::ServerConnection& server, const std::string& databaseName);

// The local instance (from the registry's instance list) that holds the database, probing each
// with a Windows login and a 10-second login time-out: "(local)" for the default instance, else
// computer\instance. When instances answer but none holds the database, the last one that
// answered. Raises 0x80040201 "there are no local SQLServer or MSDE instances installed" when
// none answers.
std::string FindLocalServerWithDatabase(const std::string& databaseName);

// The server runs on this computer: the workstation name the server sees for this connection
// equals the server machine's network name (case-sensitive). Failures are raised again with
// source "DBMigrateProgressCtl.IsLocalServer".
bool IsLocalServer(const std::string& serverName);

// The two OLE DB connection strings the product writes and shows. The server and database are
// inserted as they stand.
std::string BuildTrustedConnectionString(const std::string& serverName, const std::string& databaseName);
// Keeps "Integrated Security=SSPI" beside the user and password on purpose.
std::string BuildLoginConnectionString(const std::string& serverName, const std::string& databaseName,
                                       const std::string& user, const std::string& password);

// The tool's output file: the script path up to its last "." + ".log"; "" when the path has no ".".
std::string OsqlLogPath(const std::string& scriptPath);
// The osql command line for a script: with -U/-P when a user is given, else -E (trusted).
std::string OsqlCommandLine(const std::string& scriptPath, const std::string& serverName,
                            const std::string& user, const std::string& password);
// The osql-compatible tool to start: "osql" beside the wizard's own executable, else the first
// "osql" on PATH that is a program rather than a script (FreeTDS installs an osql shell script
// that only checks its configuration); "" when there is none.
std::string FindOsqlExecutable();

// Called about every 50 ms while the wizard waits for a child process; the pages keep their
// window painted and their buttons working in it.
using WaitCallback = std::function<void()>;

// Runs the script with osql against the server and waits for it; the log file next to the
// script tells how it went. Raises 0x80040201 "the file \"P\" does not exist" for a missing
// script; any other failure (no log name, osql not startable) ends it quietly.
void RunOsqlScript(const std::string& scriptPath, const std::string& serverName, const std::string& user,
                   const std::string& password, const WaitCallback& whileWaiting = {});

// Starts the command line with a hidden window (style 0) and waits for it without a time limit.
// A command that cannot be started ends it without waiting. The exit code is not read.
void ShellAndWait(const std::string& commandLine, int windowStyle, const WaitCallback& whileWaiting = {});

} // namespace SQLServerUtils
