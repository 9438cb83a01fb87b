#include "MsdeLoginPrompt.h"

#include "LfError.h"
#include "Prompter.h"
#include "SQLServerUtils.h"
#include "ServerManager.h"
#include "Terminal.h"

#include <cstdlib>
#include <fstream>

namespace cli {
namespace {

constexpr const char* kDialogTitle = "MSDE Connection User Information";

std::string trimmed(const std::string& s)
{
    const auto first = s.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return {};
    return s.substr(first, s.find_last_not_of(" \t\r\n") - first + 1);
}

} // namespace

MsdeLoginPrompt::MsdeLoginPrompt(Terminal& terminal, Prompter& prompter, Sources sources)
    : m_terminal(terminal), m_prompter(prompter), m_sources(std::move(sources))
{
}

TaskFlowView::MsdeLogin MsdeLoginPrompt::Ask()
{
    TaskFlowView::MsdeLogin login;
    login.name = trimmed(m_sources.server.value_or(SQLServerUtils::GetLocalComputerName() + "\\VELDRIN"));
    // An empty instance name closes the dialog with OK and nothing tested.
    if (m_sources.server && m_sources.server->empty()) {
        login.ok = true;
        return login;
    }
    m_terminal.err(std::string(kDialogTitle) + ": no local instance accepts your Windows login on " +
                   login.name + ".\n");

    std::optional<std::string> user = m_sources.user;
    if (!user && m_terminal.interactive())
        user = m_terminal.ask("Please provide the user name and password to log in MSDE server.\nUser Name: ",
                              false);
    if (!user) {
        m_terminal.err("Give the SQL Server login with --msde-user NAME.\n");
        return login;
    }
    const std::optional<std::string> pwd = password();
    if (!pwd)
        return login;

    sqlserver::ConnectOptions options;
    options.server = login.name;
    options.loginSecure = false;
    options.user = trimmed(*user);
    options.password = trimmed(*pwd);
    try {
        sqlserver::serverManager().Connect(options)->DisConnect();
    } catch (const LfError& e) {
        m_prompter.messageBox(e.description(), MsgButtons::OK, MsgIcon::Information,
                              "MSDE Server connection failed");
        return login;
    }
    login.ok = true;
    login.isConnect = true;
    login.user = options.user;
    login.password = options.password;
    return login;
}

std::optional<std::string> MsdeLoginPrompt::password()
{
    if (m_sources.passwordFile) {
        std::ifstream in(*m_sources.passwordFile);
        std::string line;
        if (!in || (!std::getline(in, line) && !in.eof())) {
            m_terminal.err("The password file \"" + *m_sources.passwordFile + "\" cannot be read.\n");
            return std::nullopt;
        }
        return line;
    }
    if (const char* fromEnvironment = std::getenv(kPasswordVariable))
        return std::string(fromEnvironment);
    if (m_terminal.interactive())
        return m_terminal.ask("Password: ", true);
    m_terminal.err(std::string("Give the login's password in ") + kPasswordVariable +
                   " or with --msde-password-file FILE.\n");
    return std::nullopt;
}

} // namespace cli
