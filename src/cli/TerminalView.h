#pragma once

#include "TaskFlowView.h"

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace cli {

// The wizard's window for a command: its pages hold the values of the command's options, and
// what the flow shows (the header texts, the summary, the result) is kept for the command to
// print. Blocking calls run in place: there is no window to keep painting.
class TerminalView : public TaskFlowView {
public:
    struct Values {
        int32_t task = 0;
        std::string serverName;
        std::string databaseName;
        std::string indexPath;
        std::string serviceName;
        std::string serviceFolder;
        std::string backupFolder;
        std::string serviceFile;
    };

    TerminalView(Values values, std::function<MsdeLogin()> askMsdeLogin);

    int32_t Task() const override { return m_values.task; }
    std::string ServerName() const override { return m_values.serverName; }
    std::string DatabaseName() const override { return m_values.databaseName; }
    std::string IndexPath() const override { return m_values.indexPath; }
    // A path on the command line is typed, never picked with Browse.
    bool IsBrowseClicked() const override { return false; }
    std::string ServiceName() const override { return m_values.serviceName; }
    void SetServiceName(const std::string& name) override { m_values.serviceName = name; }
    std::string ServiceFolderPath() const override { return m_values.serviceFolder; }
    std::string BackupFolderPath() const override { return m_values.backupFolder; }
    std::string ServiceFilePath() const override { return m_values.serviceFile; }

    void ShowPageComponent(int16_t /*page*/, int32_t /*task*/) override {}
    void HidePageComponents() override {}
    void FocusPage() override {}
    void SetCreatorOnly(bool /*creatorOnly*/) override {}
    void CheckServerList() override {}
    void InitializeDatabasePage(const std::vector<sqlserver::DatabaseInfo>& /*databases*/) override {}
    void InitializeMigrationSummary(const MigrationValues& values) override;
    void InitializeIndexSummary(const std::string& serverName, const std::string& databaseName,
                                const std::string& indexPath) override;

    void SetText(Label label, const std::string& text) override { m_text[label] = text; }
    void SetLabelVisible(Label /*label*/, bool /*visible*/) override {}
    void SetWelcomeDress(bool /*welcome*/) override {}

    void SetNextCaption(const std::string& /*caption*/) override {}
    void SetButtonVisible(Button button, bool visible) override;
    void SetButtonEnabled(Button /*button*/, bool /*enabled*/) override {}
    void MakeDefaultAndFocus(Button /*button*/) override {}

    void SetBusy(bool /*busy*/) override {}
    void CloseWindow() override {}
    MsdeLogin AskMsdeLogin() override { return m_askMsdeLogin(); }
    void RunBlocking(const std::function<void()>& call) override { call(); }

    // What the header band holds now.
    std::string text(Label label) const;
    // Finish is offered: a result (or the notice that ends a migration onto this computer).
    bool finishOffered() const { return m_finishOffered; }
    // The summary page's box, as the window's summary pages word it; empty for tasks without one.
    const std::string& summary() const { return m_summary; }

private:
    Values m_values;
    std::function<MsdeLogin()> m_askMsdeLogin;
    std::map<Label, std::string> m_text;
    bool m_finishOffered = false;
    std::string m_summary;
};

} // namespace cli
