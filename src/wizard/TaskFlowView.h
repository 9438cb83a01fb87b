#pragma once

#include "MigrationValues.h"
#include "ServerConnection.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// What the task flows need of a window: the values of its pages, showing one page, the header
// band, the four buttons and the pointer. frmInstall is one; tests use a recording fake.
class TaskFlowView {
public:
    // Page numbers, on which the flows dispatch.
    enum Page : int16_t {
        WelcomePage = 0,
        TaskPage = 1,
        ServerPage = 2,
        DatabasePage = 3,
        IndexLocationPage = 4,
        ServiceNamePage = 5,
        ServiceFolderPage = 6,
        BackupFolderPage = 7,
        SummaryPage = 8,
        ProgressPage = 9,
        LocalDatabaseNoticePage = 10,
        FinishedPage = 11,
        ServiceFilePage = 12,
    };

    // The task picker's codes.
    enum TaskCode : int32_t {
        MigrateDatabase = 1,
        ConnectService = 2,
        ConnectDesktop = 3,
        CreateOffline = 4,
        RebuildIndex = 5,
        RemoveOffline = 6,
    };

    enum class Label { Top, Header, Bottom };
    enum class Button { Back, Next, Cancel, Done };

    // What the MSDE login dialog handed back.
    struct MsdeLogin {
        bool ok = false;        // closed with OK
        bool isConnect = false; // the login was tested successfully
        std::string name;       // MSDE server name, trimmed
        std::string user;
        std::string password;
    };

    virtual ~TaskFlowView() = default;

    // Values of the pages, as the pages return them (never trimmed or checked).
    virtual int32_t Task() const = 0;
    // May connect (the default instance's own name) and raise LfError.
    virtual std::string ServerName() const = 0;
    virtual std::string DatabaseName() const = 0;
    virtual std::string IndexPath() const = 0;
    virtual bool IsBrowseClicked() const = 0;
    virtual std::string ServiceName() const = 0;
    virtual void SetServiceName(const std::string& name) = 0;
    virtual std::string ServiceFolderPath() const = 0;
    virtual std::string BackupFolderPath() const = 0;
    virtual std::string ServiceFilePath() const = 0;

    // Hides every page component and shows the one of this page number: on the summary and
    // progress pages the task's own (none for tasks without one); none for pages 10 and 11.
    virtual void ShowPageComponent(int16_t page, int32_t task) = 0;
    // Hides every page component.
    virtual void HidePageComponents() = 0;
    // Gives the page on show the input focus.
    virtual void FocusPage() = 0;
    // The server page's probing mode and its hand-over from the task picker.
    virtual void SetCreatorOnly(bool creatorOnly) = 0;
    virtual void CheckServerList() = 0;
    // The database page's list, read from the server off the window's thread.
    virtual void InitializeDatabasePage(const std::vector<sqlserver::DatabaseInfo>& databases) = 0;
    virtual void InitializeMigrationSummary(const MigrationValues& values) = 0;
    virtual void InitializeIndexSummary(const std::string& serverName, const std::string& databaseName,
                                        const std::string& indexPath) = 0;

    // Header band.
    virtual void SetText(Label label, const std::string& text) = 0;
    virtual void SetLabelVisible(Label label, bool visible) = 0;
    // The welcome page's dress: header band, bottom note and lines hidden, the side picture shown.
    virtual void SetWelcomeDress(bool welcome) = 0;

    // Buttons.
    virtual void SetNextCaption(const std::string& caption) = 0;
    virtual void SetButtonVisible(Button button, bool visible) = 0;
    virtual void SetButtonEnabled(Button button, bool enabled) = 0;
    // Default button and input focus.
    virtual void MakeDefaultAndFocus(Button button) = 0;

    // The hourglass pointer.
    virtual void SetBusy(bool busy) = 0;
    // Unloads the window; the program ends.
    virtual void CloseWindow() = 0;

    // The modal MSDE login dialog.
    virtual MsdeLogin AskMsdeLogin() = 0;

    // Runs a call that may block for seconds (a login time-out) away from the window's thread
    // and returns when it has ended, the window painting and answering meanwhile. What the
    // call raises is raised again here.
    virtual void RunBlocking(const std::function<void()>& call) = 0;
};
