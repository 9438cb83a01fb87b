#include "ScreenshotTour.h"

#include "LfError.h"
#include "Prompter.h"
#include "QtPrompter.h"
#include "SQLDatabaseCtl.h"
#include "SQLServerCtl.h"
#include "SQLServerUtils.h"
#include "TaskPickerCtl.h"
#include "ServerManager.h"
#include "ServiceFile.h"
#include "TaskFlow.h"
#include "frmInstall.h"
#include "frmUserInfo.h"

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QLabel>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTimer>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QSaveFile>

#include <cstdio>
#include <cstring>
#include <functional>
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

// Answers every question of a task the tour carries out with its safe choice (No, Cancel) and
// prints it, so that no dialog waits for a person.
class TourPrompter : public Prompter {
public:
    MsgAnswer messageBox(const std::string& text, MsgButtons buttons, MsgIcon,
                         const std::string& title) override
    {
        std::printf("asked \"%s\": %s\n", title.c_str(), text.c_str());
        switch (buttons) {
        case MsgButtons::YesNo:
            return MsgAnswer::No;
        case MsgButtons::OKCancel:
            return MsgAnswer::Cancel;
        default:
            return MsgAnswer::OK;
        }
    }
    std::optional<std::string> inputBox(const std::string& prompt, const std::string& title,
                                        const std::string&) override
    {
        std::printf("asked \"%s\": %s\n", title.c_str(), prompt.c_str());
        return std::nullopt;
    }
};

// Carries a task from its summary to its result page, in a window of its own, and saves that
// page: the task's result where this machine can carry it out, its error result where not.
bool saveTaskResult(const QString& folder, const QString& name, const char* option,
                    const std::function<void(frmInstall&)>& prepare = {})
{
    TourPrompter prompter;
    frmInstall window(prompter);
    window.show();
    window.cmdNext_Click();
    window.taskPickerPage()->findChild<QRadioButton*>(option)->setChecked(true);
    if (prepare)
        prepare(window);
    window.flow().ShowSummaryPage();
    window.cmdNext_Click();
    std::printf("%s: %s\n", qPrintable(name), qPrintable(window.findChild<QLabel*>("lblTop")->text()));
    return save(window, folder, name);
}

// The result page a progress page's completion event leads to, in a window of its own: the
// picture of that page, not of a migration or build carried out.
bool saveCompletion(const QString& folder, const QString& name, const char* option,
                    const std::function<void(TaskFlow&)>& complete)
{
    TourPrompter prompter;
    frmInstall window(prompter);
    window.show();
    window.cmdNext_Click();
    window.taskPickerPage()->findChild<QRadioButton*>(option)->setChecked(true);
    complete(window.flow());
    return save(window, folder, name);
}

void chooseServiceFile(frmInstall& window, const std::string& path)
{
    window.findChild<QLineEdit*>("mServiceFileLocationTextBox")->setText(QString::fromStdString(path));
}

// Every task's result page, and the error results.
int saveResults(const QString& folder)
{
    int saved = 0;
    saved += saveCompletion(folder, "09-result-migration", "mServeDatabaseOption",
                            [](TaskFlow& flow) { flow.MigrationFinished(); });
    saved += saveCompletion(folder, "09-result-rebuild", "mRebuildMolIDsOption",
                            [](TaskFlow& flow) { flow.BuildFinished(); });
    // A rebuild on a machine whose chemistry component is missing.
    saved += saveCompletion(folder, "09-error-rebuild", "mRebuildMolIDsOption", [](TaskFlow& flow) {
        flow.BuildFailed(LfError(429, "MSTFileProgressCtl.MoleculeFromCDXML",
                                 "Active-X cannot create Strucora10.Molecule object"));
    });

    // A service of the tour's own, written by the wizard's writers, and one whose server
    // configuration file is missing.
    QTemporaryDir share;
    const std::string root = share.path().toStdString();
    try {
        engine::WriteServiceFile(root + "/Tour.lfsvc", "Tour", "Desktop", "", "ScreenshotTour");
        engine::WriteServiceFile(root + "/Broken.lfsvc", "Broken", "Client/Server",
                                 root + "/MissingConfig.xml", "ScreenshotTour");
    } catch (const LfError& e) {
        std::printf("could not write the tour's service files: %s\n", e.description().c_str());
    }
    saved += saveTaskResult(folder, "09-result-connect-service", "mConnectOption",
                            [&](frmInstall& w) { chooseServiceFile(w, root + "/Tour.lfsvc"); });
    saved += saveTaskResult(folder, "09-error-connect-service", "mConnectOption",
                            [&](frmInstall& w) { chooseServiceFile(w, root + "/Broken.lfsvc"); });
    saved += saveTaskResult(folder, "09-result-create-offline", "mCreateOfflineOption");
    saved += saveTaskResult(folder, "09-result-remove-offline", "mRemoveOfflineOption");
    return saved;
}

} // namespace

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
    if (auto* rescan = window.serverPage()->findChild<QPushButton*>("mRescanButton");
        rescan && rescan->isVisible()) {
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
    saved += saveResults(folder);

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
