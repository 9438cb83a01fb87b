#pragma once

#include "LfError.h"
#include "TaskFlowView.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

// A window for the task flows that holds the page values a test sets and records what the
// flow painted.
class FakeTaskFlowView : public TaskFlowView {
public:
    // Page values.
    int32_t task = MigrateDatabase;
    std::string serverName;
    std::optional<LfError> serverNameError; // ServerName raises this
    std::string databaseName;
    std::string indexPath;
    bool browseClicked = false;
    std::string serviceName;
    std::string serviceFolder;
    std::string backupFolder;
    std::string serviceFile;

    // What the MSDE login dialog answers; how often it was shown.
    MsdeLogin msdeLogin;
    int msdeLoginShown = 0;

    // Called in place of the blocking call's own thread, before the call runs: a test clicks
    // again here as a user would while the window waits.
    std::function<void()> whileBlocking;
    int blockingCalls = 0;

    // What the flow painted.
    std::map<Label, std::string> text;
    std::map<Label, bool> labelVisible{{Label::Top, false}, {Label::Header, false}, {Label::Bottom, false}};
    std::string nextCaption = "Next >";
    std::map<Button, bool> visible{
        {Button::Back, true}, {Button::Next, true}, {Button::Cancel, true}, {Button::Done, false}};
    std::map<Button, bool> enabled{
        {Button::Back, true}, {Button::Next, true}, {Button::Cancel, true}, {Button::Done, true}};
    std::optional<Button> defaultButton;
    bool welcomeDress = false;
    // The page component on show; -1: none.
    int shownComponent = -1;
    int focusGiven = 0;
    bool busy = false;
    std::vector<bool> busyChanges;
    bool closed = false;
    std::optional<bool> creatorOnly;
    int checkListCalls = 0;
    std::optional<std::vector<sqlserver::DatabaseInfo>> databaseList;
    std::optional<MigrationValues> migrationSummary;
    std::vector<std::string> indexSummary;

    int32_t Task() const override { return task; }
    std::string ServerName() const override
    {
        if (serverNameError)
            throw *serverNameError;
        return serverName;
    }
    std::string DatabaseName() const override { return databaseName; }
    std::string IndexPath() const override { return indexPath; }
    bool IsBrowseClicked() const override { return browseClicked; }
    std::string ServiceName() const override { return serviceName; }
    void SetServiceName(const std::string& name) override { serviceName = name; }
    std::string ServiceFolderPath() const override { return serviceFolder; }
    std::string BackupFolderPath() const override { return backupFolder; }
    std::string ServiceFilePath() const override { return serviceFile; }

    void ShowPageComponent(int16_t page, int32_t forTask) override
    {
        shownComponent = page;
        if ((page == SummaryPage || page == ProgressPage) && forTask != MigrateDatabase &&
            forTask != RebuildIndex)
            shownComponent = -1;
        if (page == LocalDatabaseNoticePage || page == FinishedPage)
            shownComponent = -1;
    }
    void HidePageComponents() override { shownComponent = -1; }
    void FocusPage() override { ++focusGiven; }
    void SetCreatorOnly(bool value) override { creatorOnly = value; }
    void CheckServerList() override { ++checkListCalls; }
    void InitializeDatabasePage(const std::vector<sqlserver::DatabaseInfo>& databases) override
    {
        databaseList = databases;
    }
    void InitializeMigrationSummary(const MigrationValues& values) override { migrationSummary = values; }
    void InitializeIndexSummary(const std::string& server, const std::string& database,
                                const std::string& path) override
    {
        indexSummary = {server, database, path};
    }

    void SetText(Label label, const std::string& value) override { text[label] = value; }
    void SetLabelVisible(Label label, bool value) override { labelVisible[label] = value; }
    void SetWelcomeDress(bool welcome) override
    {
        welcomeDress = welcome;
        for (auto& [label, shown] : labelVisible)
            shown = !welcome;
    }
    void SetNextCaption(const std::string& caption) override { nextCaption = caption; }
    void SetButtonVisible(Button button, bool value) override { visible[button] = value; }
    void SetButtonEnabled(Button button, bool value) override { enabled[button] = value; }
    void MakeDefaultAndFocus(Button button) override { defaultButton = button; }
    void SetBusy(bool value) override
    {
        busy = value;
        busyChanges.push_back(value);
    }
    void CloseWindow() override { closed = true; }
    MsdeLogin AskMsdeLogin() override
    {
        ++msdeLoginShown;
        return msdeLogin;
    }
    void RunBlocking(const std::function<void()>& call) override
    {
        ++blockingCalls;
        if (whileBlocking)
            whileBlocking();
        call();
    }

    const std::string& top() { return text[Label::Top]; }
    const std::string& header() { return text[Label::Header]; }
    const std::string& bottom() { return text[Label::Bottom]; }
};
