#include "OfflineDatabase.h"

#include <filesystem>

#include "DataLinkFile.h"
#include "LfError.h"
#include "WhileWaiting.h"

namespace engine {
namespace {
constexpr const char* kSource = "DBMigrateProgressCtl.CreateOfflineDatabase";
constexpr int kHiddenWindow = 0;
} // namespace

OfflineDatabase::OfflineDatabase(LocalServerLogin login, OfflineLocations where,
                                 SQLServerUtils::WaitCallback whileWaiting)
    : m_login(std::move(login)), m_where(std::move(where)), m_whileWaiting(std::move(whileWaiting))
{
}

void OfflineDatabase::CreateOfflineDatabase()
{
    try {
        const std::filesystem::path dataLink = m_where.dataLinkPath();
        const std::string server = RunWhileWaiting(
            [] { return SQLServerUtils::FindLocalServerWithDatabase(kDatabaseName); }, m_whileWaiting);

        const std::string script = m_where.scriptPath().string();
        if (m_login.usesLogin())
            RunScript(script, m_login.serverName, m_login.user, m_login.password);
        else
            RunScript(script, server, "", "");

        // The client always reaches its offline copy with Windows authentication on the server
        // the lookup found, also when the script ran with the desktop engine's login.
        std::error_code ignored; // a folder that cannot be made shows in the write's own error
        std::filesystem::create_directories(dataLink.parent_path(), ignored);
        WriteDataLinkFileFor(dataLink, server, kDatabaseName, kSource);
    } catch (const LfError& e) {
        throw e.withSourcePrefix(kSource);
    }
}

void OfflineDatabase::RunScript(const std::string& scriptPath, const std::string& server,
                                const std::string& user, const std::string& password)
{
    std::error_code ec;
    if (!std::filesystem::exists(scriptPath, ec))
        throw LfError(LfError::kObjectError513, "DBMigrateProgressCtl.RunScript",
                      "the file \"" + scriptPath + "\" does not exist");
    // The log goes beside the script: its path up to the last "." followed by ".log".
    RunAndWait(SQLServerUtils::OsqlCommandLine(scriptPath, server, user, password), kHiddenWindow);
}

void OfflineDatabase::RunAndWait(const std::string& commandLine, int windowStyle)
{
    SQLServerUtils::ShellAndWait(commandLine, windowStyle, m_whileWaiting);
}

} // namespace engine
