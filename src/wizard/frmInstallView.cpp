// frmInstall as the task flow's window: page values, page components, header band, buttons,
// pointer, the MSDE login dialog and blocking calls kept away from the window's thread.
#include "frmInstall.h"

#include "BackupDirectoryCtl.h"
#include "DBMigrateProgressCtl.h"
#include "DBMigrateUpdateCtl.h"
#include "MSTFileLocationCtl.h"
#include "MSTFileProgressCtl.h"
#include "MSTFileUpdateCtl.h"
#include "SQLDatabaseCtl.h"
#include "SQLServerCtl.h"
#include "ServiceDirectoryCtl.h"
#include "ServiceFileCtl.h"
#include "ServiceNameCtl.h"
#include "TaskPickerCtl.h"
#include "WelcomeCtl.h"
#include "frmUserInfo.h"

#include <QEventLoop>
#include <QLabel>
#include <QPushButton>

#include <exception>
#include <thread>

namespace {

QString q(const std::string& text)
{
    return QString::fromStdString(text);
}

} // namespace

int32_t frmInstall::Task() const
{
    return mTaskPickerCtl->Task();
}

std::string frmInstall::ServerName() const
{
    return mSQLServerCtl->ServerName().toStdString();
}

std::string frmInstall::DatabaseName() const
{
    return mSQLDatabaseCtl->DatabaseName().toStdString();
}

std::string frmInstall::IndexPath() const
{
    return mMSTFileLocationCtl->Path().toStdString();
}

bool frmInstall::IsBrowseClicked() const
{
    return mMSTFileLocationCtl->IsBrowseClicked();
}

std::string frmInstall::ServiceName() const
{
    return mServiceNameCtl->ServiceName().toStdString();
}

void frmInstall::SetServiceName(const std::string& name)
{
    mServiceNameCtl->setServiceName(q(name));
}

std::string frmInstall::ServiceFolderPath() const
{
    return mServiceDirectoryCtl->DirectoryPath().toStdString();
}

std::string frmInstall::BackupFolderPath() const
{
    return mBackupDirectoryCtl->DirectoryPath().toStdString();
}

std::string frmInstall::ServiceFilePath() const
{
    return mServiceFileCtl->Path().toStdString();
}

WizardPage* frmInstall::pageComponent(int16_t page, int32_t task) const
{
    switch (page) {
    case WelcomePage:
        return mWelcomeCtl;
    case TaskPage:
        return mTaskPickerCtl;
    case ServerPage:
        return mSQLServerCtl;
    case DatabasePage:
        return mSQLDatabaseCtl;
    case IndexLocationPage:
        return mMSTFileLocationCtl;
    case ServiceNamePage:
        return mServiceNameCtl;
    case ServiceFolderPage:
        return mServiceDirectoryCtl;
    case BackupFolderPage:
        return mBackupDirectoryCtl;
    case ServiceFilePage:
        return mServiceFileCtl;
    case SummaryPage:
        if (task == MigrateDatabase)
            return mDBMigrateUpdateCtl;
        return task == RebuildIndex ? mMSTFileUpdateCtl : nullptr;
    case ProgressPage:
        if (task == MigrateDatabase)
            return mDBMigrateProgressCtl;
        return task == RebuildIndex ? mMSTFileProgressCtl : nullptr;
    default:
        return nullptr;
    }
}

void frmInstall::ShowPageComponent(int16_t page, int32_t task)
{
    // The old page goes before the new one shows: exactly one is visible.
    m_shownPage = pageComponent(page, task);
    for (WizardPage* p : pages())
        if (p != m_shownPage)
            p->hide();
    if (m_shownPage) {
        m_shownPage->show();
        m_shownPage->raise();
    }
}

void frmInstall::HidePageComponents()
{
    ShowPageComponent(-1, 0);
}

void frmInstall::FocusPage()
{
    if (m_shownPage)
        m_shownPage->takeFocus();
}

void frmInstall::SetCreatorOnly(bool creatorOnly)
{
    mSQLServerCtl->setCreatorOnly(creatorOnly);
}

void frmInstall::CheckServerList()
{
    mSQLServerCtl->CheckList();
}

void frmInstall::InitializeDatabasePage(const std::vector<sqlserver::DatabaseInfo>& databases)
{
    mSQLDatabaseCtl->Initialize(databases);
}

void frmInstall::InitializeMigrationSummary(const MigrationValues& v)
{
    mDBMigrateUpdateCtl->Initialize(q(v.SrcServerName), q(v.SrcDBName), q(v.TargetServerName),
                                    q(v.TargetDBName), q(v.SrcMSTFilePath), q(v.TargetMSTFilePath),
                                    q(v.UDLPath), q(v.ServerConfigPath), q(v.ServiceConfigPath),
                                    q(v.ServiceName), q(v.BackupFilePath));
}

void frmInstall::InitializeIndexSummary(const std::string& serverName, const std::string& databaseName,
                                        const std::string& indexPath)
{
    mMSTFileUpdateCtl->Initialize(q(serverName), q(databaseName), q(indexPath));
}

QLabel* frmInstall::label(Label which) const
{
    switch (which) {
    case Label::Top:
        return lblTop;
    case Label::Header:
        return lblHeader;
    default:
        return lblBottom;
    }
}

QPushButton* frmInstall::button(Button which) const
{
    switch (which) {
    case Button::Back:
        return cmdBack;
    case Button::Next:
        return cmdNext;
    case Button::Cancel:
        return cmdCancel;
    default:
        return cmdDone;
    }
}

void frmInstall::SetText(Label which, const std::string& text)
{
    label(which)->setText(q(text));
}

void frmInstall::SetLabelVisible(Label which, bool visible)
{
    label(which)->setVisible(visible);
}

void frmInstall::SetWelcomeDress(bool welcome)
{
    setHeaderBandVisible(!welcome);
}

void frmInstall::SetNextCaption(const std::string& caption)
{
    cmdNext->setText(q(caption));
}

void frmInstall::SetButtonVisible(Button which, bool visible)
{
    button(which)->setVisible(visible);
}

void frmInstall::SetButtonEnabled(Button which, bool enabled)
{
    button(which)->setEnabled(enabled);
}

void frmInstall::MakeDefaultAndFocus(Button which)
{
    for (QPushButton* b : {cmdBack, cmdNext, cmdCancel, cmdDone})
        b->setDefault(b == button(which));
    button(which)->setFocus(Qt::OtherFocusReason);
}

// The window's own pointer: message boxes and the login dialog keep the normal one.
void frmInstall::SetBusy(bool busy)
{
    if (busy)
        setCursor(Qt::WaitCursor);
    else
        unsetCursor();
}

void frmInstall::CloseWindow()
{
    close();
}

TaskFlowView::MsdeLogin frmInstall::AskMsdeLogin()
{
    frmUserInfo dialog(m_prompter, this);
    dialog.exec();
    return {dialog.OK(), dialog.IsConnect(), dialog.MSDEName().toStdString(), dialog.MSDEUser().toStdString(),
            dialog.MSDEPWD().toStdString()};
}

// The call runs on a worker thread while a local event loop keeps the window painting and
// its buttons answering (the flow ignores a second Next meanwhile). The loop may also end
// because the application quits; the worker is still waited for, since the call uses the
// caller's variables.
void frmInstall::RunBlocking(const std::function<void()>& call)
{
    std::exception_ptr failure;
    QEventLoop loop;
    std::thread worker([&] {
        try {
            call();
        } catch (...) {
            failure = std::current_exception();
        }
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    loop.exec();
    worker.join();
    if (failure)
        std::rethrow_exception(failure);
}
