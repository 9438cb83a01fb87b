#include "ScreenshotTour.h"

#include "frmInstall.h"

#include <QApplication>
#include <QDir>
#include <QPixmap>

namespace {

bool save(frmInstall& window, const QString& folder, const QString& name)
{
    QApplication::processEvents();
    const QString path = QDir(folder).filePath(name + ".png");
    return window.grab().save(path);
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
    window.ShowIndexLocationPage();
    saved += save(window, folder, "04-index-location");
    window.ShowServiceNamePage();
    saved += save(window, folder, "05-service-name");
    window.ShowServiceFolderPage();
    saved += save(window, folder, "06-service-folder");
    window.ShowBackupFolderPage();
    saved += save(window, folder, "07-backup-folder");
    window.ShowServiceFilePage();
    saved += save(window, folder, "12-service-file");
    window.ShowSummaryPage();
    saved += save(window, folder, "08-summary");
    return saved;
}
