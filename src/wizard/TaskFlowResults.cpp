// The task flows from the summary on: starting each task's operation, its result page, the
// error result, Finish and Cancel.
#include "TaskFlow.h"

#include "LfError.h"
#include "Prompter.h"
#include "TaskOperations.h"
#include "Version.h"

namespace {

using Label = TaskFlowView::Label;
using Button = TaskFlowView::Button;

// The error result's title by task; the misspellings and trailing colons are the product's.
const char* abortedTitle(int32_t task)
{
    switch (task) {
    case TaskFlowView::MigrateDatabase:
        return "Migration Aborted";
    case TaskFlowView::ConnectService:
    case TaskFlowView::ConnectDesktop:
        return "Connection Creation Aborted";
    case TaskFlowView::CreateOffline:
        return "Error on Setup Offine Database:";
    case TaskFlowView::RebuildIndex:
        return "Build of Chemical Structure Index Aborted";
    case TaskFlowView::RemoveOffline:
        return "Offine Database Removal Aborted:";
    default:
        return "";
    }
}

} // namespace

void TaskFlow::nextOnSummary(int32_t task)
{
    m_view.HidePageComponents();
    m_view.SetButtonVisible(Button::Back, false);
    m_view.SetButtonVisible(Button::Next, false);
    try {
        startOperation(task);
    } catch (const LfError& e) {
        return showErrorResult(task, e.description());
    } catch (const std::exception& e) {
        return showErrorResult(task, e.what());
    }
    m_doneTag = "Success";
}

void TaskFlow::startOperation(int32_t task)
{
    switch (task) {
    case TaskFlowView::MigrateDatabase:
        return RunMigration();
    case TaskFlowView::ConnectService:
        return RunConnectService();
    case TaskFlowView::ConnectDesktop:
        return RunConnectDesktop();
    case TaskFlowView::CreateOffline:
        return RunCreateOffline();
    case TaskFlowView::RebuildIndex:
        return RunBuildIndex();
    case TaskFlowView::RemoveOffline:
        return RemoveOfflineDatabase();
    default:
        return;
    }
}

// Every start procedure first turns the (hidden) Next button into a disabled Finish.
void TaskFlow::writeRunningHeader(const std::string& top, const std::string& header)
{
    m_view.SetText(Label::Top, top);
    m_view.SetText(Label::Header, header);
    m_view.SetNextCaption("Finish");
    m_view.SetButtonEnabled(Button::Next, false);
}

void TaskFlow::RunMigration()
{
    // The title the migration has always shown while it runs.
    writeRunningHeader("Updating MST File", "Update in Progress...");
    m_currentPage = TaskFlowView::ProgressPage;
    m_view.ShowPageComponent(TaskFlowView::ProgressPage, TaskFlowView::MigrateDatabase);
    m_operations.Migrate(m_migrationValues);
}

void TaskFlow::RunConnectService()
{
    writeRunningHeader("Connect to Service", "Connection in Progress...");
    m_currentPage = TaskFlowView::ProgressPage;
    m_operations.InstallServiceConfigurationFile(m_view.ServiceFilePath(), "", "");
    const std::string bottom =
        "To connect to the service, run the Labfolio program and choose the service from the "
        "list of Labfolio services that appears in the Login dialog box.";
    showResult("Connection Completed", "", &bottom);
}

void TaskFlow::RunConnectDesktop()
{
    writeRunningHeader("Connect to Service", "Connection in Progress...");
    m_currentPage = TaskFlowView::ProgressPage;
    m_operations.InstallDesktopService();
    const std::string bottom;
    showResult(
        "Connection Completed",
        "The Multi-User Setup wizard has successfully created a connection to your local database. Click "
        "Finish to exit the wizard.",
        &bottom);
}

void TaskFlow::RunCreateOffline()
{
    writeRunningHeader("Create Offline Database", "Offline Database Creation In Progress...");
    m_currentPage = TaskFlowView::ProgressPage;
    m_operations.CreateOfflineDatabase(localServerLogin());
    m_operations.GrantOfflinePermissions(localServerLogin());
    const std::string bottom;
    showResult(
        "Database Creation Completed",
        "The Multi-User Setup wizard has successfully created your offline database. Click Finish to exit "
        "the wizard.",
        &bottom);
}

void TaskFlow::RunBuildIndex()
{
    m_view.SetText(Label::Top, "Building MST File");
    m_view.SetText(Label::Header, "");
    m_view.SetNextCaption("Finish");
    m_view.SetButtonEnabled(Button::Next, false);
    m_view.SetText(Label::Bottom, "Build in Progress...");
    m_view.SetButtonVisible(Button::Next, false);
    m_currentPage = TaskFlowView::ProgressPage;
    m_view.ShowPageComponent(TaskFlowView::ProgressPage, TaskFlowView::RebuildIndex);
    m_operations.StartIndexBuild(m_view.ServerName(), m_view.DatabaseName(), m_view.IndexPath());
}

// The frame's local server and MSDE login, as the offline operations take them.
engine::LocalServerLogin TaskFlow::localServerLogin() const
{
    return {m_localServerName, m_serverLoginName, m_serverLoginPWD};
}

void TaskFlow::RemoveOfflineDatabase()
{
    m_currentPage = TaskFlowView::ProgressPage;
    if (m_operations.RemoveOfflineDatabase(localServerLogin()))
        showResult("Offline Database Removal Completed",
                   "The offline database has been removed. Click Finish to exit the wizard.", nullptr);
    else
        showResult("Offline Database Does Not Exist", "Click Finish to exit the wizard.", nullptr);
}

// ---- results --------------------------------------------------------------------------

// bottom: null leaves the bottom note as it is.
void TaskFlow::showResult(const std::string& top, const std::string& header, const std::string* bottom)
{
    m_view.SetButtonVisible(Button::Done, true);
    m_view.SetButtonVisible(Button::Next, false);
    m_view.SetButtonVisible(Button::Back, false);
    m_view.SetButtonVisible(Button::Cancel, false);
    m_view.HidePageComponents();
    m_view.SetText(Label::Top, top);
    m_view.SetText(Label::Header, header);
    if (bottom)
        m_view.SetText(Label::Bottom, *bottom);
    m_view.SetLabelVisible(Label::Header, true);
    m_view.MakeDefaultAndFocus(Button::Done);
}

void TaskFlow::MigrationFinished()
{
    const std::string bottom;
    showResult("Migration Completed",
               "The Multi-User Setup wizard has successfully migrated the database. Click Finish to exit the "
               "wizard.",
               &bottom);
}

void TaskFlow::BuildFinished()
{
    const std::string bottom;
    showResult("Build Completed",
               "The wizard has successfully built the MST File. Click Finish to exit the wizard.", &bottom);
}

void TaskFlow::BuildFailed(const LfError& error)
{
    showErrorResult(TaskFlowView::RebuildIndex, error.description());
}

void TaskFlow::showErrorResult(int32_t task, const std::string& description)
{
    m_view.SetButtonVisible(Button::Done, true);
    m_doneTag = "Error";
    m_view.HidePageComponents();
    m_view.SetButtonVisible(Button::Next, false);
    m_view.SetButtonVisible(Button::Back, false);
    m_view.SetButtonVisible(Button::Cancel, false);
    m_view.SetText(Label::Top, abortedTitle(task));
    m_view.SetText(Label::Header, "");
    const bool endsWithStop = !description.empty() && description.back() == '.';
    m_view.SetText(Label::Bottom, "Sorry, " + description + (endsWithStop ? "" : "."));
    m_view.MakeDefaultAndFocus(Button::Done);
}

// The finished page after the local-database notice; no flow leads there today.
void TaskFlow::showFinishedPage()
{
    m_view.SetText(Label::Top, "Updating the Labfolio Server");
    m_view.SetText(Label::Top, "Wizard Completed");
    m_view.SetText(Label::Header,
                   m_errorShown
                       ? "The error has occured during this operation. Please check the log file. Click "
                         "Finish to exit the wizard."
                       : "The Connection wizard has successfully updated the Labfolio Workgroup. Click "
                         "Finish to exit the wizard.");
    m_view.HidePageComponents();
    m_view.SetButtonVisible(Button::Next, false);
    m_view.SetButtonVisible(Button::Back, false);
    m_view.SetButtonVisible(Button::Cancel, false);
    m_view.SetButtonVisible(Button::Done, true);
    m_view.MakeDefaultAndFocus(Button::Done);
    m_currentPage = TaskFlowView::FinishedPage;
}

// ---- Finish and Cancel ----------------------------------------------------------------

void TaskFlow::Done()
{
    if (m_busy)
        return;
    if (m_doneTag != "Error")
        return m_view.CloseWindow();
    // After an error the user may try again with every value kept.
    m_view.SetButtonVisible(Button::Back, true);
    m_view.SetButtonEnabled(Button::Back, true);
    m_view.SetButtonVisible(Button::Next, true);
    m_view.SetButtonEnabled(Button::Next, true);
    m_view.SetButtonVisible(Button::Done, false);
    m_view.SetButtonVisible(Button::Cancel, true);
    ShowTaskPage();
    m_view.SetNextCaption("&Next >");
}

// Answered even while an operation runs: stopping a migration in order is its page's Stop.
void TaskFlow::Cancel()
{
    const std::string title = version::kApplicationTitle;
    if (m_prompter.messageBox("Are you sure you want to exit " + title + "?", MsgButtons::YesNo,
                              MsgIcon::Question, title) == MsgAnswer::Yes)
        m_view.CloseWindow();
}
