#include "TaskFlow.h"

#include "LfError.h"
#include "PathUtils.h"
#include "Prompter.h"
#include "ServerManager.h"
#include "ServiceFile.h"
#include "ShellFolders.h"
#include "TaskOperations.h"

#include <filesystem>
#include <functional>

namespace {

using Label = TaskFlowView::Label;
using Button = TaskFlowView::Button;

constexpr const char* kNoLocalInstances = "there are no local SQLServer or MSDE instances installed";

bool folderExists(const std::string& path)
{
    std::error_code ec;
    return !path.empty() && std::filesystem::is_directory(path, ec);
}

bool fileExists(const std::string& path)
{
    std::error_code ec;
    return !path.empty() && std::filesystem::exists(path, ec) && !std::filesystem::is_directory(path, ec);
}

// The folder that holds a path, as the file system names it: trailing separators do not
// make a folder of their own; a bare name has none.
std::string parentFolderName(std::string path)
{
    while (path.size() > 1 && (path.back() == '/' || path.back() == '\\'))
        path.pop_back();
    const auto cut = path.find_last_of("/\\");
    if (cut == std::string::npos)
        return {};
    return cut == 0 ? path.substr(0, 1) : path.substr(0, cut);
}

} // namespace

TaskFlow::TaskFlow(TaskFlowView& view, Prompter& prompter, TaskOperations& operations)
    : m_view(view), m_prompter(prompter), m_operations(operations)
{
}

void TaskFlow::Start()
{
    m_currentPage = TaskFlowView::WelcomePage;
    ShowWelcomePage();
}

// ---- messages -------------------------------------------------------------------------

void TaskFlow::refuse(const std::string& text, const std::string& title)
{
    m_prompter.messageBox(text, MsgButtons::OK, MsgIcon::Information, title);
    m_view.FocusPage();
}

bool TaskFlow::confirm(const std::string& text, const std::string& title)
{
    if (m_prompter.messageBox(text, MsgButtons::YesNo, MsgIcon::Information, title) == MsgAnswer::Yes)
        return true;
    m_view.FocusPage();
    return false;
}

void TaskFlow::reportClickError(const std::string& title, const std::string& description)
{
    m_prompter.messageBox("Sorry, " + description, MsgButtons::OK, MsgIcon::None, title);
}

// ---- Next -----------------------------------------------------------------------------

// Every click runs with the hourglass, and a click that is still running makes the next one
// a no-op rather than a queued second run. An error ends the click with a report; the page
// on show stays.
void TaskFlow::runClick(const std::string& errorTitle, const std::function<void(int32_t task)>& body)
{
    if (m_busy)
        return;
    m_busy = true;
    m_view.SetBusy(true);
    try {
        // The task as it stood when the click came; the picker cannot change it under the click.
        body(m_view.Task());
    } catch (const LfError& e) {
        reportClickError(errorTitle, e.description());
    } catch (const std::exception& e) {
        reportClickError(errorTitle, e.what());
    }
    m_view.SetBusy(false);
    m_busy = false;
}

void TaskFlow::Next()
{
    runClick("Error Clicking Next", [this](int32_t task) {
        switch (m_currentPage) {
        case TaskFlowView::WelcomePage:
            nextOnWelcome();
            break;
        case TaskFlowView::TaskPage:
            nextOnTasks(task);
            break;
        case TaskFlowView::ServerPage:
            nextOnServer(task);
            break;
        case TaskFlowView::DatabasePage:
            nextOnDatabase(task);
            break;
        case TaskFlowView::IndexLocationPage:
            nextOnIndexLocation(task);
            break;
        case TaskFlowView::ServiceNamePage:
            nextOnServiceName();
            break;
        case TaskFlowView::ServiceFolderPage:
            nextOnServiceFolder();
            break;
        case TaskFlowView::BackupFolderPage:
            nextOnBackupFolder();
            break;
        case TaskFlowView::SummaryPage:
            nextOnSummary(task);
            break;
        case TaskFlowView::LocalDatabaseNoticePage:
            showFinishedPage();
            break;
        case TaskFlowView::ServiceFilePage:
            nextOnServiceFile();
            break;
        default:
            break;
        }
    });
}

void TaskFlow::nextOnWelcome()
{
    m_view.HidePageComponents();
    m_view.SetWelcomeDress(false);
    m_view.SetButtonEnabled(Button::Back, true);
    ShowTaskPage();
}

void TaskFlow::nextOnTasks(int32_t task)
{
    if (task == TaskFlowView::MigrateDatabase) {
        // No database has an empty name: this finds the last local instance that answers.
        m_localServerName = findLocalServerWithDatabase("");
        m_desktopDatabaseName = kDesktopDatabaseName;
        m_operations.ConfirmUser(m_localServerName, m_desktopDatabaseName);
    } else if (task == TaskFlowView::CreateOffline || task == TaskFlowView::RemoveOffline) {
        if (!offlineChecks())
            return;
    }

    m_view.HidePageComponents();
    switch (task) {
    case TaskFlowView::MigrateDatabase:
    case TaskFlowView::RebuildIndex:
        m_view.SetCreatorOnly(false);
        m_view.CheckServerList();
        ShowServerPage();
        break;
    case TaskFlowView::ConnectService:
        ShowServiceFilePage();
        break;
    default:
        ShowSummaryPage();
        break;
    }
}

// The local instance that holds (or will hold) the offline database. Where no local instance
// accepts a Windows login, the MSDE login dialog asks for an SQL Server login instead.
bool TaskFlow::offlineChecks()
{
    try {
        m_localServerName = findLocalServerWithDatabase(kOfflineDatabaseName);
    } catch (const LfError& e) {
        if (e.description() != kNoLocalInstances)
            throw;
        m_localServerName.clear();
    }

    if (!m_localServerName.empty()) {
        if (databaseExists(m_localServerName, kOfflineDatabaseName) &&
            !confirm("Are you sure you want to replace the offline database?", "Create Offline Database"))
            return false;
        return true;
    }

    const TaskFlowView::MsdeLogin login = m_view.AskMsdeLogin();
    if (login.ok && login.isConnect) {
        m_serverLoginName = login.user;
        m_serverLoginPWD = login.password;
        m_localServerName = login.name;
        return true;
    }
    if (!login.name.empty()) {
        refuse("You can't access the local SQL database engine to create offline database on this machine!",
               "Create Offline Database");
        return false;
    }
    return true;
}

void TaskFlow::nextOnServer(int32_t task)
{
    const std::string server = m_view.ServerName();
    if (server.empty())
        return refuse("Please provide the server name!", "Server Name");
    if (task == TaskFlowView::MigrateDatabase && isLocalServer(server))
        return showLocalTargetNotice();

    std::vector<sqlserver::DatabaseInfo> databases;
    m_view.RunBlocking([&] {
        sqlserver::ConnectOptions options;
        options.server = server;
        options.loginSecure = true;
        options.loginTimeoutSeconds = 60;
        auto connection = sqlserver::serverManager().Connect(options);
        databases = connection->Databases();
        connection->DisConnect();
    });
    m_view.InitializeDatabasePage(databases);
    m_view.HidePageComponents();
    ShowDatabasePage();
}

// The wizard does not migrate onto this computer's own engine; it says why and offers only
// Finish, which acts on the outcome of the last operation.
void TaskFlow::showLocalTargetNotice()
{
    const std::string udl = paths::Join(ShellFolders::GetCommonAppDataFolder(), "LFDesktop10.udl");
    m_view.SetText(Label::Bottom,
                   fileExists(udl)
                       ? "Local database has already been set up as a multi-user database. Remote users "
                         "can connect to it by selecting the 'Connect to an existing Service' option "
                         "from their system."
                       : "Local database has not been created. Create a local database before migrating "
                         "it to a multi-user server.");
    m_view.SetButtonVisible(Button::Done, true);
    m_view.SetButtonVisible(Button::Next, false);
    m_view.SetButtonVisible(Button::Back, false);
    m_view.SetButtonVisible(Button::Cancel, false);
    m_view.HidePageComponents();
    m_view.SetText(Label::Top, "Finish");
    m_view.SetText(Label::Header, "Click Finish to exit the wizard.");
    m_view.SetLabelVisible(Label::Header, true);
    m_view.MakeDefaultAndFocus(Button::Done);
}

void TaskFlow::nextOnDatabase(int32_t task)
{
    const std::string database = m_view.DatabaseName();
    if (database.empty())
        return refuse("Please provide the database name!", "Database Name");
    if (task == TaskFlowView::MigrateDatabase && databaseExists(m_view.ServerName(), database) &&
        !confirm("Are you sure you want to replace the database \"" + database + "\"?", "Database Setup"))
        return;
    if (task == TaskFlowView::RebuildIndex && !databaseExists(m_view.ServerName(), database)) {
        m_prompter.messageBox("The database " + database + " does not exist.", MsgButtons::OKCancel,
                              MsgIcon::Information, "Database Setup");
        m_view.FocusPage();
        return;
    }
    m_view.HidePageComponents();
    ShowIndexLocationPage();
}

void TaskFlow::nextOnIndexLocation(int32_t task)
{
    const std::string path = m_view.IndexPath();
    if (path.empty())
        return refuse("Please provide a location to save the MST File!", "MST File Location");
    if (!folderExists(parentFolderName(path)))
        return refuse("The specified folder to store the MST file does not exist.", "MST File Location");
    // A file the user picked with Browse is meant to be replaced; a typed one is asked about.
    if (fileExists(path) && !m_view.IsBrowseClicked() &&
        !confirm("Are you sure you want to replace the file \"" + path + "\"?", "Multi-User Database Setup"))
        return;
    m_view.HidePageComponents();
    if (task == TaskFlowView::MigrateDatabase) {
        if (m_view.ServiceName().empty())
            m_view.SetServiceName(m_view.DatabaseName());
        ShowServiceNamePage();
    } else {
        ShowSummaryPage();
    }
}

void TaskFlow::nextOnServiceName()
{
    if (m_view.ServiceName().empty())
        return refuse("Please provide a service name.", "Service Name");
    m_view.HidePageComponents();
    ShowBackupFolderPage();
}

void TaskFlow::nextOnServiceFolder()
{
    const std::string folder = m_view.ServiceFolderPath();
    if (folder.empty())
        return refuse("Please provide a location for the service files.", "Service Folder");
    if (!folderExists(folder))
        return refuse("The folder \"" + folder + "\" does not exist.", "Service Folder");
    const bool local = isLocalServer(m_view.ServerName());
    m_view.HidePageComponents();
    if (local)
        ShowSummaryPage();
    else
        ShowBackupFolderPage();
}

void TaskFlow::nextOnBackupFolder()
{
    const std::string folder = m_view.BackupFolderPath();
    if (folder.empty())
        return refuse("Please provide a location for the backup file.", "Backup Folder");
    if (!folderExists(folder))
        return refuse("The folder \"" + folder + "\" does not exist.", "Backup Folder");
    m_view.HidePageComponents();
    ShowSummaryPage();
}

void TaskFlow::nextOnServiceFile()
{
    const std::string path = m_view.ServiceFilePath();
    if (path.empty())
        return refuse("Please provide a location to the service file!", "Service File Path");
    const engine::ServiceFileCheck check = engine::CheckServiceFile(path);
    if (!check)
        return refuse(check.message, "Service File Path");
    m_view.HidePageComponents();
    ShowSummaryPage();
}
