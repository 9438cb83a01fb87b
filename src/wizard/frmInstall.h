#pragma once

#include <QWidget>

#include <cstdint>
#include <string>

class BackupDirectoryCtl;
class DBMigrateUpdateCtl;
class MSTFileLocationCtl;
class MSTFileUpdateCtl;
class Prompter;
class QFrame;
class QLabel;
class QPushButton;
class SQLDatabaseCtl;
class SQLServerCtl;
class ServiceDirectoryCtl;
class ServiceFileCtl;
class ServiceNameCtl;
class TaskPickerCtl;
class WelcomeCtl;
class WizardPage;
struct MigrationValues;
struct PageHeader;

// The wizard's only main window: a header band, one content area showing one page at a time,
// a bottom note and four buttons. It owns every page for the whole run, keeps the number of
// the page on show and moves between pages.
class frmInstall : public QWidget {
    Q_OBJECT
public:
    // Page numbers; the task flows dispatch on them.
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

    explicit frmInstall(Prompter& prompter, QWidget* parent = nullptr);
    ~frmInstall() override;

    int16_t CurrentPage() const { return m_currentPage; }

    // Shared with the pages and operations.
    const std::string& LocalServerName() const { return m_localServerName; }
    const std::string& ServerLoginName() const { return m_serverLoginName; }
    const std::string& ServerLoginPWD() const { return m_serverLoginPWD; }

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
    void showPage(WizardPage* page, Page number);
    void showInputPage(WizardPage* page, Page number);
    void applyHeader(const PageHeader& header);
    int32_t task() const;
    MigrationValues migrationValues() const;
    void updateNextAvailability();
    void reportNextError(const std::string& description);

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

    int16_t m_currentPage = WelcomePage;
    std::string m_localServerName;
    std::string m_serverLoginName;
    std::string m_serverLoginPWD;
    std::string m_desktopDatabaseName;   // "LFDesktop10" once the task page leads to a migration
};
