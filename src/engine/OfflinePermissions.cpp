#include "OfflinePermissions.h"

#include <memory>

#include "Connection.h"
#include "LanguageUtils.h"
#include "LfError.h"
#include "OfflineDatabase.h"
#include "Prompter.h"
#include "ServerManager.h"
#include "WhileWaiting.h"

namespace engine {
namespace {

constexpr const char* kSource = "frmInstall.RunCreateOffline";
constexpr const char* kBuiltinUsers = "BUILTIN\\users";

std::string sqlLiteral(const std::string& text)
{
    std::string out = "'";
    for (char c : text) {
        out += c;
        if (c == '\'')
            out += '\'';
    }
    return out + "'";
}

std::string trimmed(const std::string& s)
{
    const auto first = s.find_first_not_of(" \t");
    if (first == std::string::npos)
        return {};
    return s.substr(first, s.find_last_not_of(" \t") - first + 1);
}

// The local instance that holds the offline database, or "" when none does. The lookup names
// the last instance that answered when none holds it, so the database is looked for there.
std::string serverHoldingOfflineDatabase()
{
    std::string server;
    try {
        server = SQLServerUtils::FindLocalServerWithDatabase(OfflineDatabase::kDatabaseName);
    } catch (const LfError&) {
        return {}; // no local instance answers: no offline database either
    }
    sqlserver::ConnectOptions options;
    options.server = server;
    options.loginTimeoutSeconds = 10;
    auto connection = sqlserver::serverManager().Connect(options);
    const bool holds = SQLServerUtils::DatabaseExists(*connection, OfflineDatabase::kDatabaseName);
    connection->DisConnect();
    return holds ? server : std::string();
}

} // namespace

OfflinePermissions::OfflinePermissions(LocalServerLogin login, uint32_t localeId, Prompter& prompter,
                                       SQLServerUtils::WaitCallback whileWaiting)
    : m_login(std::move(login)), m_localeId(localeId), m_prompter(prompter),
      m_whileWaiting(std::move(whileWaiting))
{
}

std::vector<std::string> OfflinePermissions::GrantStatements(const std::string& group)
{
    const std::string name = sqlLiteral(group);
    return {"EXEC sp_grantlogin " + name, "EXEC sp_grantdbaccess " + name + ", 'OfflineUsers'",
            "EXEC sp_addrolemember 'db_datareader', 'OfflineUsers'",
            "EXEC sp_addrolemember 'db_datawriter', 'OfflineUsers'"};
}

OfflineGrantResult OfflinePermissions::GrantOfflinePermissions()
{
    try {
        const std::string server = RunWhileWaiting(serverHoldingOfflineDatabase, m_whileWaiting);
        if (server.empty()) {
            m_prompter.messageBox("No Offline database can be found", MsgButtons::OK, MsgIcon::None, "Error");
            return OfflineGrantResult::NoOfflineDatabase;
        }
        const std::string connectionString =
            m_login.usesLogin()
                ? SQLServerUtils::BuildLoginConnectionString(server, OfflineDatabase::kDatabaseName,
                                                             m_login.user, m_login.password)
                : SQLServerUtils::BuildTrustedConnectionString(server, OfflineDatabase::kDatabaseName);
        std::unique_ptr<sqlserver::Connection> connection =
            RunWhileWaiting([&] { return sqlserver::OpenConnection(connectionString); }, m_whileWaiting);

        const std::string group = groupName();
        if (group.empty()) {
            connection->Close();
            return OfflineGrantResult::NoGroupGiven;
        }
        RunWhileWaiting(
            [&] {
                for (const auto& statement : GrantStatements(group))
                    connection->Execute(statement);
                connection->Close();
            },
            m_whileWaiting);
        return OfflineGrantResult::Granted;
    } catch (const LfError& e) {
        throw e.withSourcePrefix(kSource);
    }
}

std::string OfflinePermissions::groupName()
{
    // Only on English locales does the built-in group carry its English name.
    if (LanguageUtils::IsEnglishLcid(m_localeId))
        return kBuiltinUsers;
    const auto answer = m_prompter.inputBox(
        "Please provide a valid Windows group name that will be used for assigning offline database "
        "permission.",
        "Windows user group name", "Winows group Name");
    return trimmed(answer.value_or(std::string()));
}

} // namespace engine
