// Rows per second of the structure index rebuild, end to end through the progress page's
// timer against the stand-in (database read, temporary file, parse, index, MOL_ID write),
// against the toolkit's own parse + fingerprint + append rate of the same structures in the
// same process. Prints ratios, the longest tick and the peak memory.
//   structindex_bench --structures FILE [--count N]
#include <QApplication>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>
#include <sys/resource.h>
#include <vector>

#include "ChemistryLibrary.h"
#include "LfError.h"
#include "MSTFileProgressCtl.h"
#include "StandinServer.h"
#include "StructureIndex.h"
#include "TempDir.h"

namespace {

using Clock = std::chrono::steady_clock;

double seconds(Clock::duration d)
{
    return std::chrono::duration<double>(d).count();
}

long peakRssKb()
{
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return u.ru_maxrss;
}

// Times every timer event the page's timer handles: one tick each.
class TimingApplication : public QApplication {
public:
    using QApplication::QApplication;
    QObject* watched = nullptr;
    std::vector<double> ticksMs;

    bool notify(QObject* receiver, QEvent* event) override
    {
        if (receiver != watched || event->type() != QEvent::Timer)
            return QApplication::notify(receiver, event);
        auto t0 = Clock::now();
        bool handled = QApplication::notify(receiver, event);
        ticksMs.push_back(seconds(Clock::now() - t0) * 1000);
        return handled;
    }
};

std::vector<std::string> readLines(const std::string& path, size_t count)
{
    std::ifstream in(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; lines.size() < count && std::getline(in, line);)
        if (!line.empty())
            lines.push_back(line);
    return lines;
}

// The toolkit alone: files already written, then read, fingerprinted and appended, committed
// per slice of ten as the rebuild commits.
double rawRate(const std::vector<std::string>& structures)
{
    TempDir dir;
    std::vector<std::string> paths;
    for (size_t i = 0; i < structures.size(); ++i)
        paths.push_back(dir.write("s" + std::to_string(i) + ".cdxml", structures[i]).string());
    auto library = LoadChemistryLibrary();
    StructureIndex index;
    index.OpenOrCreate((dir.path() / "raw.mst").string(), 0);
    auto t0 = Clock::now();
    for (size_t i = 0; i < paths.size(); ++i) {
        auto m = library->CreateMolecule();
        try {
            m->Read(paths[i]);
        } catch (const LfError&) {
        }
        index.AddMolecule(m.get(), 0);
        if (i % 10 == 9)
            index.Commit();
    }
    index.Flush();
    return static_cast<double>(paths.size()) / seconds(Clock::now() - t0);
}

} // namespace

int main(int argc, char** argv)
{
    std::string file;
    size_t count = 5000;
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string a = argv[i];
        if (a == "--structures")
            file = argv[i + 1];
        else if (a == "--count")
            count = std::stoul(argv[i + 1]);
    }
    if (file.empty()) {
        std::cerr << "usage: structindex_bench --structures FILE [--count N]\n";
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    TimingApplication app(argc, argv);

    // The seed file is copied line by line, so that the bench holds no structures while the
    // page runs and the peak memory after the build is the build's own.
    TempDir work;
    const std::string seedFile = (work.path() / "structures.txt").string();
    {
        std::ifstream in(file, std::ios::binary);
        std::ofstream out(seedFile, std::ios::binary);
        size_t n = 0;
        for (std::string line; n < count && std::getline(in, line);)
            if (!line.empty()) {
                out << line << "\n";
                ++n;
            }
        count = n;
    }

    StandinServer::Options o;
    o.instances[0].seedArguments = {"--structures", seedFile};
    o.resolutionProtocol = false;
    std::cerr << "seeding " << count << " structures...\n";
    StandinServer server(o);
    qputenv("LABFOLIO_ODBC_INTEGRATED",
            QByteArray::fromStdString("UID=sa;PWD=" + StandinServer::saPassword()));
    qputenv("XDG_CACHE_HOME", QByteArray::fromStdString(work.str()));
    const std::string serverName = "127.0.0.1," + std::to_string(server.port());
    TempDir indexFolder;

    const long rssBefore = peakRssKb();
    MSTFileProgressCtl page;
    page.resize(480, 120);
    page.show();
    app.watched = page.findChild<QTimer*>("mTimer");
    QEventLoop loop;
    bool failed = false;
    QObject::connect(&page, &MSTFileProgressCtl::BuildFinished, &loop, &QEventLoop::quit);
    QObject::connect(&page, &MSTFileProgressCtl::BuildFailed, &loop, [&](const LfError& e) {
        std::cerr << "build failed: " << e.description() << "\n";
        failed = true;
        loop.quit();
    });
    auto t0 = Clock::now();
    page.Initialize(QString::fromStdString(serverName), "LFDesktop10",
                    QString::fromStdString(indexFolder.str()));
    loop.exec();
    const double e2eSeconds = seconds(Clock::now() - t0);
    const long rssAfter = peakRssKb();
    if (failed)
        return 1;
    const double e2eRate = static_cast<double>(count) / e2eSeconds;

    const double raw = rawRate(readLines(file, count));
    auto& ticks = app.ticksMs;
    std::sort(ticks.begin(), ticks.end());
    double sum = 0;
    for (double t : ticks)
        sum += t;
    std::printf("structures                      %zu\n", count);
    std::printf("end to end (page, stand-in)     %.0f rows/s  (%.2f s)\n", e2eRate, e2eSeconds);
    std::printf("toolkit parse+fingerprint+append %.0f rows/s\n", raw);
    std::printf("ratio end to end / toolkit      %.2f  (goal >= 0.80)\n", e2eRate / raw);
    std::printf(
        "ticks                           %zu, mean %.2f ms, p99 %.2f ms, longest %.2f ms (goal <= 16)\n",
        ticks.size(), sum / static_cast<double>(ticks.size()),
        ticks[static_cast<size_t>(static_cast<double>(ticks.size() - 1) * 0.99)], ticks.back());
    std::printf("peak memory                     %.1f MB before the build, %.1f MB after\n",
                rssBefore / 1024.0, rssAfter / 1024.0);
    return 0;
}
