#pragma once

#include "LocalServerLogin.h"
#include "MigrationProgress.h"
#include "NetworkDrive.h"
#include "StopFlag.h"
#include "WizardPage.h"

#include <QString>

class Prompter;
class QLabel;
class QProgressBar;
class QPushButton;

// The page shown while an operation of the migration and connection engine runs, and the object
// that runs it. Its operations return when the work is done or raise LfError; meanwhile the
// work runs on a worker thread and the window stays alive (Stop, Cancel, painting).
class DBMigrateProgressCtl : public WizardPage, private engine::MigrationProgress {
    Q_OBJECT
public:
    explicit DBMigrateProgressCtl(Prompter& prompter, QWidget* parent = nullptr);
    ~DBMigrateProgressCtl() override;

    // TargetDBName, ServiceName and the three strings after it are accepted and not used.
    // Raises MigrationFinished when done (twice when the target server is this computer).
    void Migrate(const QString& SrcServerName, const QString& SrcDBName, const QString& TargetServerName,
                 const QString& TargetDBName, const QString& SrcMSTFilePath, const QString& TargetMSTFilePath,
                 const QString& ServiceName, const QString& unused1, const QString& unused2,
                 const QString& unused3, const QString& BAKPath);
    // Raises an error when the current user is not a user of the database.
    void ConfirmUser(const QString& ServerName, const QString& DBName);
    // Connects this client to the service of a service file; empty ServerConfigPath and
    // UDLPath are found from the files themselves.
    void InstallServiceConfigurationFile(const QString& ServiceConfigPath, const QString& ServerConfigPath,
                                         const QString& UDLPath);
    // Adds the desktop database to this client's services.
    void InstallDesktopService();
    // Creates the offline database on the frame's local server, through its MSDE login when
    // it holds one.
    void CreateOfflineDatabase(const engine::LocalServerLogin& login);

    // The account on whose behalf the program runs.
    QString ProcessName() const;

    // The machine that holds the file: the host of a UNC path or of the network drive; "" for a
    // local path.
    QString GetUNCPathofNetworkDrive(const QString& sFilePath);

    bool StopRequested() const { return m_stop.requested(); }
    bool ContinueRequested() const { return m_continueRequested; }

signals:
    void MigrationFinished();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void setMessage(const std::string& text) override;
    void setProgressMaximum(int maximum) override;
    void setProgressValue(int value) override;
    void migrationFinished() override;
    void runBlocking(const std::function<void()>& work) override;

    void onStop();
    void onContinue();
    void onTestConnection();
    bool onGuiThread() const;

    Prompter& m_prompter;
    QPushButton* m_testConnectionButton;
    QPushButton* m_continueButton;
    QLabel* m_restoreInstructions;
    QPushButton* m_stopButton;
    QProgressBar* m_prgStatus;
    QLabel* m_messageLabel;
    engine::StopFlag m_stop;
    engine::NetworkDrive m_networkDrive;
    bool m_continueRequested = false;
};
