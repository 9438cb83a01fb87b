// A migration run through the real progress page against the SQL Server stand-in, on the
// offscreen platform: the page keeps painting while the server backs up, and a picture of it is
// taken mid-backup.
#include "engine_MigrationMachine.h"

#include "DBMigrateProgressCtl.h"
#include "ScriptedPrompter.h"
#include "TempDir.h"

#include <QDir>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>

#include <gtest/gtest.h>

#include <filesystem>

namespace fs = std::filesystem;

TEST(ProgressPageE2e, MigrationThroughThePageKeepsTheWindowAliveAndShowsTheBackup)
{
    TempDir dir;
    MigrationMachine migration(dir, 150);
    StandinMachine& machine = migration.machine;
    fs::create_directories(dir.path() / "backups");
    fs::create_directories(dir.path() / "shared");
    for (const char* ext : {"mst", "msx", "mss", "msk", "msf"})
        dir.write(std::string("index/Labfolio.") + ext, ext);

    ScriptedPrompter prompter;
    DBMigrateProgressCtl page(prompter);
    page.resize(536, 207);
    page.show();
    auto* label = page.findChild<QLabel*>(QStringLiteral("mMessageLabel"));
    auto* bar = page.findChild<QProgressBar*>(QStringLiteral("prgStatus"));
    ASSERT_TRUE(label && bar);

    int ticks = 0;
    QString picture;
    std::vector<QString> seen;
    QTimer watcher;
    QObject::connect(&watcher, &QTimer::timeout, [&] {
        ++ticks;
        if (seen.empty() || seen.back() != label->text())
            seen.push_back(label->text());
        if (picture.isEmpty() && label->text() == QLatin1String("50 percent processed.")) {
            const QString folder = QStringLiteral(SCREENSHOT_DIR);
            QDir().mkpath(folder);
            picture = folder + QStringLiteral("/progress-mid-backup.png");
            page.grab().save(picture);
        }
    });
    watcher.start(10);

    QSignalSpy finished(&page, &DBMigrateProgressCtl::MigrationFinished);
    page.Migrate(QStringLiteral("PC1\\VELDRIN"), QStringLiteral("LFDesktop10"), QStringLiteral("PC1\\MULTI"),
                 QStringLiteral("Labfolio"),
                 QString::fromStdString((dir.path() / "index" / "Labfolio.mst").string()),
                 QString::fromStdString((dir.path() / "shared").string()), QStringLiteral("Chemistry"), {},
                 {}, {}, QString::fromStdString((dir.path() / "backups" / "LFDesktop.BAK").string()));

    EXPECT_EQ(finished.count(), 1);
    EXPECT_FALSE(picture.isEmpty());
    EXPECT_TRUE(fs::exists(picture.toStdString()));
    // Ten reports 150 ms apart: the window ran its timer throughout.
    EXPECT_GT(ticks, 50);
    EXPECT_NE(std::find(seen.begin(), seen.end(), QStringLiteral("Backing Up Database...")), seen.end());
    EXPECT_NE(std::find(seen.begin(), seen.end(), QStringLiteral("50 percent processed.")), seen.end());
    EXPECT_EQ(bar->value(), 105);
    EXPECT_TRUE(fs::exists(dir.path() / "backups" / "LFDesktop.BAK"));
    EXPECT_FALSE(fs::exists(dir.path() / "appdata" / "Labfolio 10.0" / "LFDesktop.BAK"));
    EXPECT_TRUE(fs::exists(dir.path() / "shared" / "Labfolio.msf"));
}
