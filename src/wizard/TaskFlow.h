#pragma once

#include "LocalServerLogin.h"
#include "MigrationValues.h"
#include "TaskFlowView.h"

#include <cstdint>
#include <functional>
#include <string>

class LfError;
class Prompter;
class TaskOperations;
struct PageHeader;

// The wizard's task flows: what Next and Back do on every page of every task, each check with
// its message, the confirmations, the summaries, the start of each task's operation, its
// result, Finish and Cancel. The window only shows what the flow tells it.
//
// A click that is still running (a server that takes its login time-out, an operation)
// ignores further clicks of Next, Back and Finish; Cancel is always answered.
class TaskFlow {
public:
    static constexpr const char* kDesktopDatabaseName = "LFDesktop10";
    static constexpr const char* kOfflineDatabaseName = "LFOffline9";

    TaskFlow(TaskFlowView& view, Prompter& prompter, TaskOperations& operations);

    // The window's last step of loading: the welcome page.
    void Start();

    // The four buttons.
    void Next();
    void Back();
    void Cancel();
    void Done();

    // Completion events of the progress pages.
    void MigrationFinished();
    void BuildFinished();
    void BuildFailed(const LfError& error);

    int16_t CurrentPage() const { return m_currentPage; }
    // No procedure of the wizard enters the local-database notice (page 10); Next and Back
    // still handle it, and a front end or a test may put the flow there.
    void EnterLocalDatabaseNotice() { m_currentPage = TaskFlowView::LocalDatabaseNoticePage; }

    // Shared with the pages and operations.
    const std::string& LocalServerName() const { return m_localServerName; }
    const std::string& ServerLoginName() const { return m_serverLoginName; }
    const std::string& ServerLoginPWD() const { return m_serverLoginPWD; }
    const std::string& DesktopDatabaseName() const { return m_desktopDatabaseName; }
    // cmdDone's tag: "Success" or "Error" after an operation, empty before the first.
    const std::string& DoneTag() const { return m_doneTag; }
    // A click is still running.
    bool IsBusy() const { return m_busy; }

    // The frame's show procedures.
    void ShowWelcomePage();
    void ShowTaskPage();
    void ShowServerPage();
    void ShowDatabasePage();
    void ShowIndexLocationPage();
    void ShowServiceNamePage();
    void ShowServiceFolderPage();
    void ShowBackupFolderPage();
    void ShowSummaryPage();
    void ShowServiceFilePage();

private:
    void runClick(const std::string& errorTitle, const std::function<void(int32_t task)>& body);

    // Next, one procedure per page; each returns after a failed check with the page on show.
    void nextOnWelcome();
    void nextOnTasks(int32_t task);
    bool offlineChecks();
    void nextOnServer(int32_t task);
    void nextOnDatabase(int32_t task);
    void nextOnIndexLocation(int32_t task);
    void nextOnServiceName();
    void nextOnServiceFolder();
    void nextOnBackupFolder();
    void nextOnServiceFile();
    void nextOnSummary(int32_t task);
    void backOnSummary(int32_t task);
    void showLocalTargetNotice();
    void showFinishedPage();

    // Shows a check's message (information icon, OK) and gives the page the focus.
    void refuse(const std::string& text, const std::string& title);
    // Asks Yes/No; on No the page keeps the focus.
    bool confirm(const std::string& text, const std::string& title);
    void reportClickError(const std::string& title, const std::string& description);

    void showInputPage(int16_t page);
    void applyHeader(const PageHeader& header);

    // Server calls that may take a login time-out, run away from the window's thread.
    std::string findLocalServerWithDatabase(const std::string& databaseName);
    bool isLocalServer(const std::string& serverName);
    bool databaseExists(const std::string& serverName, const std::string& databaseName);
    MigrationValues migrationValues();

    // Start procedures and results.
    void startOperation(int32_t task);
    void writeRunningHeader(const std::string& top, const std::string& header);
    void RunMigration();
    void RunConnectService();
    void RunConnectDesktop();
    void RunCreateOffline();
    void RunBuildIndex();
    void RemoveOfflineDatabase();
    engine::LocalServerLogin localServerLogin() const;
    void showResult(const std::string& top, const std::string& header, const std::string* bottom);
    void showErrorResult(int32_t task, const std::string& description);

    TaskFlowView& m_view;
    Prompter& m_prompter;
    TaskOperations& m_operations;

    int16_t m_currentPage = TaskFlowView::WelcomePage;
    std::string m_localServerName;
    std::string m_serverLoginName;
    std::string m_serverLoginPWD;
    std::string m_desktopDatabaseName;
    std::string m_doneTag;
    bool m_errorShown = false; // selects the finished page's text; nothing sets it
    bool m_busy = false;
    MigrationValues m_migrationValues; // as the summary showed them; the migration gets these
};
