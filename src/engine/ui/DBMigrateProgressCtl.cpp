#include "DBMigrateProgressCtl.h"

#include "ApplyLanguageFont.h"
#include "Connection.h"
#include "LfError.h"
#include "Migration.h"
#include "OfflineDatabase.h"
#include "Prompter.h"
#include "ServiceInstaller.h"
#include "ShellFolders.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QHideEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QResizeEvent>
#include <QThread>

#include <exception>
#include <thread>

namespace {

// The page's design positions are in twips, 15 to a pixel on a standard screen.
QRect fromTwips(int left, int top, int width, int height)
{
    auto px = [](int twips) { return (twips + 7) / 15; };
    return QRect(px(left), px(top), px(width), px(height));
}

std::string s(const QString& text)
{
    return text.toStdString();
}

} // namespace

DBMigrateProgressCtl::DBMigrateProgressCtl(Prompter& prompter, QWidget* parent)
    : WizardPage(parent), m_prompter(prompter),
      m_testConnectionButton(new QPushButton(QStringLiteral("Test Connection"), this)),
      m_continueButton(new QPushButton(QStringLiteral("Continue"), this)),
      m_restoreInstructions(new QLabel(this)), m_stopButton(new QPushButton(QStringLiteral("Stop"), this)),
      m_prgStatus(new QProgressBar(this)), m_messageLabel(new QLabel(this))
{
    resize(fromTwips(0, 0, 8040, 3105).size());

    m_testConnectionButton->setObjectName(QStringLiteral("mTestConnectionButton"));
    m_testConnectionButton->setGeometry(fromTwips(3240, 2400, 1692, 372));
    m_continueButton->setObjectName(QStringLiteral("mContinueButton"));
    m_continueButton->setGeometry(fromTwips(5160, 2400, 1452, 372));

    // The manual-restore panel: kept with its handlers, never shown by any operation.
    m_restoreInstructions->setObjectName(QStringLiteral("mRestoreInstructions"));
    m_restoreInstructions->setGeometry(fromTwips(120, 1440, 6492, 852));
    m_restoreInstructions->setWordWrap(true);
    m_restoreInstructions->setText(QStringLiteral(
        "Please restore the database \"^0\" from the backup file \"^1\" from the SQL Server "
        "\"^2\".\r\nClick Test Connection to confirm that the database is properly set up. Click "
        "Continue to complete the migration.\r\n"));
    for (QWidget* w : {static_cast<QWidget*>(m_testConnectionButton), static_cast<QWidget*>(m_continueButton),
                       static_cast<QWidget*>(m_restoreInstructions)})
        w->hide();

    m_stopButton->setObjectName(QStringLiteral("mStopButton"));
    m_stopButton->setGeometry(fromTwips(5160, 840, 1452, 372));
    m_prgStatus->setObjectName(QStringLiteral("prgStatus"));
    m_prgStatus->setGeometry(fromTwips(0, 360, 6612, 372));
    m_prgStatus->setRange(0, 100);
    m_prgStatus->setValue(0);
    m_prgStatus->setTextVisible(false);
    m_messageLabel->setObjectName(QStringLiteral("mMessageLabel"));
    m_messageLabel->setGeometry(fromTwips(0, 0, 6612, 372));

    LanguageUtils::ApplyLanguageFont(m_messageLabel, false, 0);
    LanguageUtils::ApplyLanguageFont(m_stopButton, false, 0);

    connect(m_stopButton, &QPushButton::clicked, this, &DBMigrateProgressCtl::onStop);
    connect(m_continueButton, &QPushButton::clicked, this, &DBMigrateProgressCtl::onContinue);
    connect(m_testConnectionButton, &QPushButton::clicked, this, &DBMigrateProgressCtl::onTestConnection);
}

DBMigrateProgressCtl::~DBMigrateProgressCtl() = default;

void DBMigrateProgressCtl::Migrate(const QString& SrcServerName, const QString& SrcDBName,
                                   const QString& TargetServerName, const QString& TargetDBName,
                                   const QString& SrcMSTFilePath, const QString& TargetMSTFilePath,
                                   const QString& ServiceName, const QString& unused1, const QString& unused2,
                                   const QString& unused3, const QString& BAKPath)
{
    engine::Migration(*this, m_stop, m_prompter)
        .Migrate(s(SrcServerName), s(SrcDBName), s(TargetServerName), s(TargetDBName), s(SrcMSTFilePath),
                 s(TargetMSTFilePath), s(ServiceName), s(unused1), s(unused2), s(unused3), s(BAKPath));
}

void DBMigrateProgressCtl::ConfirmUser(const QString& ServerName, const QString& DBName)
{
    engine::Migration(*this, m_stop, m_prompter).ConfirmUser(s(ServerName), s(DBName));
}

void DBMigrateProgressCtl::InstallServiceConfigurationFile(const QString& ServiceConfigPath,
                                                           const QString& ServerConfigPath,
                                                           const QString& UDLPath)
{
    engine::ServiceInstaller(ShellFolders::GetCommonAppDataFolder(), m_prompter, m_networkDrive)
        .InstallServiceConfigurationFile(s(ServiceConfigPath), s(ServerConfigPath), s(UDLPath));
}

void DBMigrateProgressCtl::InstallDesktopService()
{
    engine::ServiceInstaller(ShellFolders::GetCommonAppDataFolder(), m_prompter, m_networkDrive)
        .InstallDesktopService();
}

void DBMigrateProgressCtl::CreateOfflineDatabase(const engine::LocalServerLogin& login)
{
    // The window keeps painting, and Cancel asking, while the SQL tool runs the script.
    engine::OfflineDatabase(login, engine::OfflineLocations{}, [] {
        QCoreApplication::processEvents();
    }).CreateOfflineDatabase();
}

QString DBMigrateProgressCtl::ProcessName() const
{
    return QString::fromStdString(engine::Migration::ProcessName());
}

QString DBMigrateProgressCtl::GetUNCPathofNetworkDrive(const QString& sFilePath)
{
    return QString::fromStdString(m_networkDrive.GetUNCPathofNetworkDrive(s(sFilePath)));
}

void DBMigrateProgressCtl::resizeEvent(QResizeEvent* event)
{
    WizardPage::resizeEvent(event);
    m_stopButton->move(width() - m_stopButton->width(), m_stopButton->y());
    m_prgStatus->resize(width(), m_prgStatus->height());
}

void DBMigrateProgressCtl::hideEvent(QHideEvent* event)
{
    WizardPage::hideEvent(event);
    // Leaving the page (Back, Cancel) asks the running operation to stop; a minimised window
    // does not.
    if (!event->spontaneous())
        onStop();
}

void DBMigrateProgressCtl::onStop()
{
    m_stopButton->setEnabled(false);
    m_stop.request();
}

void DBMigrateProgressCtl::onContinue()
{
    m_continueRequested = true;
}

void DBMigrateProgressCtl::onTestConnection()
{
    const std::string connectionString = s(m_testConnectionButton->property("Tag").toString());
    std::string failure;
    runBlocking([&] {
        try {
            sqlserver::OpenConnection(connectionString, "", "")->Close();
        } catch (const LfError& e) {
            failure = e.description();
            if (failure.empty() || failure.back() != '.')
                failure += ".";
        }
    });
    m_prompter.messageBox(failure.empty() ? "Connection Succeeded." : "Sorry, " + failure, MsgButtons::OK,
                          MsgIcon::Information, "Test Connection");
}

bool DBMigrateProgressCtl::onGuiThread() const
{
    return QThread::currentThread() == thread();
}

void DBMigrateProgressCtl::setMessage(const std::string& text)
{
    const QString message = QString::fromStdString(text);
    if (!onGuiThread()) {
        QMetaObject::invokeMethod(
            this, [this, message] { setMessage(s(message)); }, Qt::QueuedConnection);
        return;
    }
    // Painted now, so that the text stands while its step runs.
    m_messageLabel->setText(message);
    m_messageLabel->repaint();
}

void DBMigrateProgressCtl::setProgressMaximum(int maximum)
{
    m_prgStatus->setMaximum(maximum);
}

void DBMigrateProgressCtl::setProgressValue(int value)
{
    if (!onGuiThread()) {
        QMetaObject::invokeMethod(
            this, [this, value] { setProgressValue(value); }, Qt::QueuedConnection);
        return;
    }
    m_prgStatus->setValue(std::min(value, m_prgStatus->maximum()));
    update();
}

void DBMigrateProgressCtl::migrationFinished()
{
    emit MigrationFinished();
}

void DBMigrateProgressCtl::runBlocking(const std::function<void()>& work)
{
    // The caller waits here, as it would for the blocking call itself, while the window keeps
    // handling its events; what the worker reported is shown before the call returns.
    QEventLoop loop;
    std::exception_ptr error;
    std::thread worker([&] {
        try {
            work();
        } catch (...) {
            error = std::current_exception();
        }
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    loop.exec();
    worker.join();
    if (error)
        std::rethrow_exception(error);
}
