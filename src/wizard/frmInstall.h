#pragma once

#include "TaskFlow.h"

#include <QWidget>

#include <cstdint>
#include <memory>
#include <string>

class BackupDirectoryCtl;
class DBMigrateProgressCtl;
class DBMigrateUpdateCtl;
class MSTFileLocationCtl;
class MSTFileProgressCtl;
class MSTFileUpdateCtl;
class Prompter;
class QFrame;
class QLabel;
class QPushButton;
class SQLDatabaseCtl;
class SQLServerCtl;
class TaskOperations;
class ServiceDirectoryCtl;
class ServiceFileCtl;
class ServiceNameCtl;
class TaskPickerCtl;
class WelcomeCtl;
class WizardPage;

// The wizard's only main window: a header band, one content area showing one page at a time,
// a bottom note and four buttons. It owns every page for the whole run and paints what the
// task flow decides; its buttons go to the flow.
class frmInstall : public QWidget, public TaskFlowView {
    Q_OBJECT
public:
    explicit frmInstall(Prompter& prompter, QWidget* parent = nullptr);
    ~frmInstall() override;

    int16_t CurrentPage() const { return m_flow->CurrentPage(); }
    TaskFlow& flow() { return *m_flow; }

    // Shared with the pages and operations.
    const std::string& LocalServerName() const { return m_flow->LocalServerName(); }
    const std::string& ServerLoginName() const { return m_flow->ServerLoginName(); }
    const std::string& ServerLoginPWD() const { return m_flow->ServerLoginPWD(); }

    WelcomeCtl* welcomePage() const { return mWelcomeCtl; }
    TaskPickerCtl* taskPickerPage() const { return mTaskPickerCtl; }
    SQLServerCtl* serverPage() const { return mSQLServerCtl; }
    SQLDatabaseCtl* databasePage() const { return mSQLDatabaseCtl; }
    MSTFileLocationCtl* indexLocationPage() const { return mMSTFileLocationCtl; }
    ServiceNameCtl* serviceNamePage() const { return mServiceNameCtl; }
    ServiceDirectoryCtl* serviceFolderPage() const { return mServiceDirectoryCtl; }
    BackupDirectoryCtl* backupFolderPage() const { return mBackupDirectoryCtl; }
    ServiceFileCtl* serviceFilePage() const { return mServiceFileCtl; }
    DBMigrateUpdateCtl* migrationSummaryPage() const { return mDBMigrateUpdateCtl; }
    MSTFileUpdateCtl* indexSummaryPage() const { return mMSTFileUpdateCtl; }
    DBMigrateProgressCtl* migrationProgressPage() const { return mDBMigrateProgressCtl; }
    MSTFileProgressCtl* indexProgressPage() const { return mMSTFileProgressCtl; }

    // Every page the frame hosts, for layout and for the rule that exactly one is visible.
    QList<WizardPage*> pages() const;

    // The rectangle an ordinary page fills: from the line under the header band to the top
    // of the bottom note.
    QRect pageRect() const;

    // Button handlers (also driven by tests).
    void cmdNext_Click();
    void cmdBack_Click();
    void cmdCancel_Click();
    void cmdDone_Click();

    // TaskFlowView
    int32_t Task() const override;
    std::string ServerName() const override;
    std::string DatabaseName() const override;
    std::string IndexPath() const override;
    bool IsBrowseClicked() const override;
    std::string ServiceName() const override;
    void SetServiceName(const std::string& name) override;
    std::string ServiceFolderPath() const override;
    std::string BackupFolderPath() const override;
    std::string ServiceFilePath() const override;
    void ShowPageComponent(int16_t page, int32_t task) override;
    void HidePageComponents() override;
    void FocusPage() override;
    void SetCreatorOnly(bool creatorOnly) override;
    void CheckServerList() override;
    void InitializeDatabasePage(const std::vector<sqlserver::DatabaseInfo>& databases) override;
    void InitializeMigrationSummary(const MigrationValues& values) override;
    void InitializeIndexSummary(const std::string& serverName, const std::string& databaseName,
                                const std::string& indexPath) override;
    void SetText(Label label, const std::string& text) override;
    void SetLabelVisible(Label label, bool visible) override;
    void SetWelcomeDress(bool welcome) override;
    void SetNextCaption(const std::string& caption) override;
    void SetButtonVisible(Button button, bool visible) override;
    void SetButtonEnabled(Button button, bool enabled) override;
    void MakeDefaultAndFocus(Button button) override;
    void SetBusy(bool busy) override;
    void CloseWindow() override;
    MsdeLogin AskMsdeLogin() override;
    void RunBlocking(const std::function<void()>& call) override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool event(QEvent* event) override;

private:
    void Form_Load();
    void layoutImages();
    void layoutBottomNote();
    int bottomNoteHeight() const;
    void layoutPages();
    void setHeaderBandVisible(bool visible);
    QLabel* label(Label label) const;
    QPushButton* button(Button button) const;
    WizardPage* pageComponent(int16_t page, int32_t task) const;

    Prompter& m_prompter;

    QFrame* Frame1;
    QLabel* lblTop;
    QLabel* lblHeader;
    QLabel* lblBottom;
    QLabel* Image1;
    QLabel* Image2;
    QFrame* Line1;
    QFrame* Line2;
    QPushButton* cmdBack;
    QPushButton* cmdNext;
    QPushButton* cmdCancel;
    QPushButton* cmdDone;

    WelcomeCtl* mWelcomeCtl;
    TaskPickerCtl* mTaskPickerCtl;
    SQLServerCtl* mSQLServerCtl;
    SQLDatabaseCtl* mSQLDatabaseCtl;
    MSTFileLocationCtl* mMSTFileLocationCtl;
    MSTFileUpdateCtl* mMSTFileUpdateCtl;
    ServiceDirectoryCtl* mServiceDirectoryCtl;
    DBMigrateUpdateCtl* mDBMigrateUpdateCtl;
    ServiceNameCtl* mServiceNameCtl;
    ServiceFileCtl* mServiceFileCtl;
    BackupDirectoryCtl* mBackupDirectoryCtl;
    DBMigrateProgressCtl* mDBMigrateProgressCtl;
    MSTFileProgressCtl* mMSTFileProgressCtl;

    WizardPage* m_shownPage = nullptr;
    std::unique_ptr<TaskOperations> m_operations;
    std::unique_ptr<TaskFlow> m_flow;
};
