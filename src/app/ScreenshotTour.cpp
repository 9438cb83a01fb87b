#include "ScreenshotTour.h"

#include "LfError.h"
#include "QtPrompter.h"
#include "SQLDatabaseCtl.h"
#include "SQLServerCtl.h"
#include "SQLServerUtils.h"
#include "TaskPickerCtl.h"
#include "ServerManager.h"
#include "frmInstall.h"
#include "frmUserInfo.h"

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QTimer>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QSaveFile>

#include <cstdio>
#include <cstring>
#include <utility>

namespace {

bool save(QWidget& widget, const QString& folder, const QString& name)
{
    QApplication::processEvents();
    // Written beside the target and renamed, so a full disk never leaves half a picture.
    QSaveFile file(QDir(folder).filePath(name + ".png"));
    if (file.open(QIODevice::WriteOnly) && widget.grab().save(&file, "PNG") && file.commit())
        return true;
    std::printf("could not save %s: %s\n", qPrintable(file.fileName()), qPrintable(file.errorString()));
    return false;
}

// The database page lists what the local instance holding the desktop database offers when
// one answers; otherwise it is pictured with its empty list.
void fillDatabasePage(frmInstall& window)
{
    try {
        sqlserver::ConnectOptions options;
        options.server = SQLServerUtils::FindLocalServerWithDatabase("LFDesktop10");
        options.loginTimeoutSeconds = 3;
        auto server = sqlserver::serverManager().Connect(options);
        window.databasePage()->Initialize(*server);
    } catch (const LfError&) {
        // No server here: the page is pictured as it is.
    }
}

}  // namespace

int SaveScreenshots(frmInstall& window, const QString& folder)
{
    QDir().mkpath(folder);
    window.show();
    int saved = 0;
    saved += save(window, folder, "00-welcome");
    window.cmdNext_Click();
    saved += save(window, folder, "01-tasks");

    // Pages the tour shows directly, whichever task would lead there.
    window.serverPage()->CheckList();
    window.flow().ShowServerPage();
    if (auto* rescan = window.serverPage()->findChild<QPushButton*>("mRescanButton"); rescan && rescan->isVisible()) {
        // A probing scan, pictured while it runs: after its first answer, or a few seconds.
        QEventLoop wait;
        QObject::connect(window.serverPage(), &SQLServerCtl::probeApplied, &wait, &QEventLoop::quit);
        QObject::connect(window.serverPage(), &SQLServerCtl::scanEnded, &wait, &QEventLoop::quit);
        QTimer::singleShot(3000, &wait, &QEventLoop::quit);
        rescan->click();
        wait.exec();
    }
    saved += save(window, folder, "02-server-scanning");
    fillDatabasePage(window);
    window.flow().ShowDatabasePage();
    saved += save(window, folder, "03-database");
    window.flow().ShowIndexLocationPage();
    saved += save(window, folder, "04-index-location");
    window.flow().ShowServiceNamePage();
    saved += save(window, folder, "05-service-name");
    window.flow().ShowServiceFolderPage();
    saved += save(window, folder, "06-service-folder");
    window.flow().ShowBackupFolderPage();
    saved += save(window, folder, "07-backup-folder");
    window.flow().ShowServiceFilePage();
    saved += save(window, folder, "12-service-file");
    // The summary of three tasks; the migration's asks the server whether it is this computer,
    // so it is pictured only where a server answers.
    const std::pair<const char*, const char*> summaries[] = {
        {"mRebuildMolIDsOption", "08-summary-rebuild"},
        {"mServeDatabaseOption", "08-summary-migration"},
        {"mConnectOption", "08-summary-connect"},
    };
    for (const auto& [option, name] : summaries) {
        window.taskPickerPage()->findChild<QRadioButton*>(option)->setChecked(true);
        try {
            window.flow().ShowSummaryPage();
            saved += save(window, folder, name);
        } catch (const LfError& e) {
            std::printf("skipped %s: %s\n", name, e.description().c_str());
        }
    }

    // A task carried out to its result page: connecting back to the desktop database, which
    // on a machine without the product ends on the error result; Finish then returns to the
    // task picker.
    window.taskPickerPage()->findChild<QRadioButton*>("mConnectDesktopOption")->setChecked(true);
    window.flow().ShowSummaryPage();
    window.cmdNext_Click();
    saved += save(window, folder, "09-result-connect-desktop");
    window.cmdDone_Click();

    QtPrompter prompter(&window);
    frmUserInfo login(prompter, &window);
    login.show();
    saved += save(login, folder, "msde-login");
    login.hide();
    return saved;
}

void UseOffscreenPlatformForScreenshots(int argc, char** argv)
{
#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)
    bool screenshots = false;
    for (int i = 1; i < argc; ++i) {
        const char* a = argv[i];
        if (std::strcmp(a, "-platform") == 0 || std::strcmp(a, "--platform") == 0)
            return; // the user chose a platform
        screenshots =
            screenshots || std::strcmp(a, "--screenshots") == 0 || std::strncmp(a, "--screenshots=", 14) == 0;
    }
    const bool display =
        !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    if (screenshots && !display && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
#else
    // Windows and macOS always have a screen for the window to be drawn on.
    (void)argc;
    (void)argv;
#endif
}
