// The task flows' show procedures, the server calls they make away from the window, and Back.
#include "TaskFlow.h"

#include "LfError.h"
#include "PageHeaders.h"
#include "SQLServerUtils.h"
#include "ServerManager.h"
#include "ShellFolders.h"

namespace {

using Label = TaskFlowView::Label;
using Button = TaskFlowView::Button;

} // namespace

// ---- show procedures ------------------------------------------------------------------

void TaskFlow::applyHeader(const PageHeader& header)
{
    m_view.SetText(Label::Top, header.top);
    m_view.SetText(Label::Header, header.header);
    if (header.bottom)
        m_view.SetText(Label::Bottom, *header.bottom);
    if (header.nextCaption)
        m_view.SetNextCaption(*header.nextCaption);
}

void TaskFlow::showInputPage(int16_t page)
{
    applyHeader(HeaderFor(page, m_view.Task()));
    m_currentPage = page;
    m_view.ShowPageComponent(page, m_view.Task());
    m_view.FocusPage();
}

void TaskFlow::ShowWelcomePage()
{
    m_view.SetWelcomeDress(true);
    m_view.SetButtonEnabled(Button::Back, false);
    m_currentPage = TaskFlowView::WelcomePage;
    m_view.ShowPageComponent(TaskFlowView::WelcomePage, m_view.Task());
}

void TaskFlow::ShowTaskPage()
{
    showInputPage(TaskFlowView::TaskPage);
}

void TaskFlow::ShowServerPage()
{
    m_view.SetCreatorOnly(false);
    showInputPage(TaskFlowView::ServerPage);
}

void TaskFlow::ShowDatabasePage()
{
    m_view.SetText(Label::Top, "SQL Server Database Information");
    showInputPage(TaskFlowView::DatabasePage);
}

void TaskFlow::ShowIndexLocationPage()
{
    showInputPage(TaskFlowView::IndexLocationPage);
}

void TaskFlow::ShowServiceNamePage()
{
    showInputPage(TaskFlowView::ServiceNamePage);
}

void TaskFlow::ShowServiceFolderPage()
{
    showInputPage(TaskFlowView::ServiceFolderPage);
}

void TaskFlow::ShowBackupFolderPage()
{
    showInputPage(TaskFlowView::BackupFolderPage);
}

void TaskFlow::ShowServiceFilePage()
{
    showInputPage(TaskFlowView::ServiceFilePage);
}

void TaskFlow::ShowSummaryPage()
{
    const int32_t task = m_view.Task();
    m_view.SetText(Label::Bottom, "You specified the following parameters:");
    applyHeader(SummaryHeader(task, m_view.ServiceFilePath()));
    if (task == TaskFlowView::MigrateDatabase) {
        m_migrationValues = migrationValues();
        m_view.InitializeMigrationSummary(m_migrationValues);
    } else if (task == TaskFlowView::RebuildIndex) {
        m_view.InitializeIndexSummary(m_view.ServerName(), m_view.DatabaseName(), m_view.IndexPath());
    }
    m_view.ShowPageComponent(TaskFlowView::SummaryPage, task);
    m_view.SetButtonEnabled(Button::Next, true);
    m_currentPage = TaskFlowView::SummaryPage;
}

// ---- server calls away from the window ------------------------------------------------

std::string TaskFlow::findLocalServerWithDatabase(const std::string& databaseName)
{
    std::string server;
    m_view.RunBlocking([&] { server = SQLServerUtils::FindLocalServerWithDatabase(databaseName); });
    return server;
}

bool TaskFlow::isLocalServer(const std::string& serverName)
{
    bool local = false;
    m_view.RunBlocking([&] { local = SQLServerUtils::IsLocalServer(serverName); });
    return local;
}

// Unlike the utilities' test, the flow's own test compares names exactly.
bool TaskFlow::databaseExists(const std::string& serverName, const std::string& databaseName)
{
    bool found = false;
    m_view.RunBlocking([&] {
        sqlserver::ConnectOptions options;
        options.server = serverName;
        options.loginSecure = true;
        auto server = sqlserver::serverManager().Connect(options);
        for (const sqlserver::DatabaseInfo& database : server->Databases()) {
            if (database.name == databaseName) {
                found = true;
                break;
            }
        }
        server->DisConnect();
    });
    return found;
}

MigrationValues TaskFlow::migrationValues()
{
    MigrationInputs in;
    in.localServerName = m_localServerName;
    in.desktopDatabaseName = m_desktopDatabaseName;
    in.serverName = m_view.ServerName();
    in.databaseName = m_view.DatabaseName();
    in.appDataFolder = ShellFolders::GetCommonAppDataFolder();
    in.indexPath = m_view.IndexPath();
    in.serviceFolder = m_view.ServiceFolderPath();
    in.serviceName = m_view.ServiceName();
    in.backupFolder = m_view.BackupFolderPath();
    in.targetIsLocal = isLocalServer(in.serverName);
    return AssembleMigrationValues(in);
}

// ---- Back -----------------------------------------------------------------------------

void TaskFlow::Back()
{
    runClick("Error Clicking Back", [this](int32_t task) {
        switch (m_currentPage) {
        case TaskFlowView::TaskPage:
            m_view.HidePageComponents();
            ShowWelcomePage();
            break;
        case TaskFlowView::ServerPage:
        case TaskFlowView::ServiceFilePage:
            ShowTaskPage();
            break;
        case TaskFlowView::DatabasePage:
            ShowServerPage();
            break;
        case TaskFlowView::IndexLocationPage:
        case TaskFlowView::LocalDatabaseNoticePage:
            ShowDatabasePage();
            break;
        case TaskFlowView::ServiceNamePage:
            // A name the wizard preset from the database is dropped; one the user typed stays.
            if (m_view.ServiceName() == m_view.DatabaseName())
                m_view.SetServiceName("");
            ShowIndexLocationPage();
            break;
        case TaskFlowView::ServiceFolderPage:
        case TaskFlowView::BackupFolderPage:
            ShowServiceNamePage();
            break;
        case TaskFlowView::SummaryPage:
            backOnSummary(task);
            break;
        default:
            break;
        }
    });
}

// For a local target the service folder page comes back, though the way forward skipped it.
void TaskFlow::backOnSummary(int32_t task)
{
    switch (task) {
    case TaskFlowView::MigrateDatabase:
        if (isLocalServer(m_view.ServerName()))
            ShowServiceFolderPage();
        else
            ShowBackupFolderPage();
        break;
    case TaskFlowView::ConnectService:
        ShowServiceFilePage();
        break;
    case TaskFlowView::RebuildIndex:
        ShowIndexLocationPage();
        break;
    default:
        ShowTaskPage();
        break;
    }
}
