// A migration of a desktop database of about 200 MB through the stand-in and the real progress
// page (offscreen): the longest time the window's event loop went without running, and the total
// time against the server's backup plus cp of the backup alone, measured in the same run.
//   build/bench/engine_migration_bench [MB]
#include "engine_MigrationMachine.h"

#include "DBMigrateProgressCtl.h"
#include "ScriptedPrompter.h"
#include "ServerManager.h"
#include "TempDir.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <random>

namespace fs = std::filesystem;

namespace {

double since(const std::chrono::steady_clock::time_point& start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Grows the desktop database by rows of 100,000 characters, doubling the table until it holds
// the wanted size.
void growDesktopDatabase(StandinMachine& machine, int megabytes)
{
    auto c = machine.sa("VELDRIN", "LFDesktop10");
    c->Execute("CREATE TABLE ELN_bulk (data nvarchar(max))");
    std::mt19937 rng(7);
    std::string text(100000, 'a');
    for (auto& ch : text)
        ch = static_cast<char>('a' + rng() % 26);
    c->Execute("INSERT INTO ELN_bulk (data) VALUES (N'" + text + "')");
    for (long rows = 1; rows * 100000 < long(megabytes) * 1000000; rows *= 2)
        c->Execute("INSERT INTO ELN_bulk (data) SELECT data FROM ELN_bulk");
    c->Execute("USE master");
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int megabytes = argc > 1 ? std::atoi(argv[1]) : 200;

    TempDir dir;
    MigrationMachine migration(dir, 0);
    StandinMachine& machine = migration.machine;
    for (const char* folder : {"baseline", "backups", "shared"})
        fs::create_directories(dir.path() / folder);
    for (const char* ext : {"mst", "msx", "mss", "msk", "msf"})
        dir.write(std::string("index/Labfolio.") + ext, std::string(1 << 20, ext[2]));
    growDesktopDatabase(machine, megabytes);

    // Baseline: the server's backup (with the same checksum and verification) and cp.
    auto start = std::chrono::steady_clock::now();
    {
        sqlserver::ConnectOptions o;
        o.server = "PC1\\VELDRIN";
        auto server = sqlserver::serverManager().Connect(o);
        sqlserver::OperationControl control;
        sqlserver::BackupSpec backup{"LFDesktop10",
                                     "LFDesktop10_Full",
                                     "Full backup of LFDesktop10 database",
                                     (dir.path() / "baseline" / "LFDesktop.BAK").string(),
                                     true,
                                     true};
        server->Backup(backup, control);
    }
    const double backupSeconds = since(start);
    const std::string cp = "cp '" + (dir.path() / "baseline" / "LFDesktop.BAK").string() + "' '" +
                           (dir.path() / "backups" / "cp.BAK").string() + "'";
    if (std::system(cp.c_str()) != 0)
        return 1;
    const double baselineSeconds = since(start);
    const auto backupBytes = fs::file_size(dir.path() / "baseline" / "LFDesktop.BAK");
    fs::remove(dir.path() / "backups" / "cp.BAK");

    ScriptedPrompter prompter;
    DBMigrateProgressCtl page(prompter);
    page.resize(536, 207);
    page.show();
    QElapsedTimer clock;
    qint64 last = 0;
    qint64 longest = 0;
    long ticks = 0;
    auto* label = page.findChild<QLabel*>(QStringLiteral("mMessageLabel"));
    QString shown;
    std::vector<std::pair<QString, double>> steps;
    QTimer watcher;
    QObject::connect(&watcher, &QTimer::timeout, [&] {
        const qint64 now = clock.nsecsElapsed();
        if (label->text() != shown && !label->text().endsWith(QLatin1String(" percent processed."))) {
            shown = label->text();
            steps.emplace_back(shown, now / 1e9);
        }
        longest = std::max(longest, now - last);
        last = now;
        ++ticks;
    });
    watcher.start(5);
    clock.start();
    start = std::chrono::steady_clock::now();
    page.Migrate(QStringLiteral("PC1\\VELDRIN"), QStringLiteral("LFDesktop10"), QStringLiteral("PC1\\MULTI"),
                 QStringLiteral("Labfolio"),
                 QString::fromStdString((dir.path() / "index" / "Labfolio.mst").string()),
                 QString::fromStdString((dir.path() / "shared").string()), QStringLiteral("Chemistry"), {},
                 {}, {}, QString::fromStdString((dir.path() / "backups" / "LFDesktop.BAK").string()));
    const double migrationSeconds = since(start);
    longest = std::max(longest, clock.nsecsElapsed() - last);

    std::printf("desktop database backup: %.0f MB\n", backupBytes / 1e6);
    std::printf("baseline: backup %.2f s + cp %.2f s = %.2f s\n", backupSeconds,
                baselineSeconds - backupSeconds, baselineSeconds);
    std::printf("migration through the page: %.2f s\n", migrationSeconds);
    std::printf("time ratio migration/baseline: %.2f\n", migrationSeconds / baselineSeconds);
    for (const auto& [text, at] : steps)
        std::printf("  at %6.2f s: %s\n", at, qPrintable(text));
    std::printf("window event loop: %ld timer events (5 ms timer), longest gap %.1f ms (goal <= 50 ms)\n",
                ticks, longest / 1e6);
    return 0;
}
