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
    return saved;
}
