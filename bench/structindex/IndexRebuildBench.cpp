// Rows per second of the structure index rebuild, end to end through the progress page's
// timer against the stand-in (database read, temporary file, parse, index, MOL_ID write),
// against the toolkit's own parse + fingerprint + append rate of the same structures on one
// core, in the same process. The three runs (end to end with one reader thread, the toolkit
// alone, end to end with two reader threads) take turns for several rounds, so that a busy
// machine slows them alike; the ratios are of runs of the same round. Prints min/median rates
// and ratios, the ticks, the peak memory and the load average.
//   structindex_bench --structures FILE [--count N] [--rounds R]
#include <QApplication>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
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

double peakRssMb()
{
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return static_cast<double>(u.ru_maxrss) / 1024.0;
}

// CPU seconds this process and the stand-in have used so far: the cost of a run, whatever
// share of the machine the other processes leave it.
double cpuSeconds(pid_t server)
{
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    double total = static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
                   static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
    std::ifstream stat("/proc/" + std::to_string(server) + "/stat");
    std::string field;
    // utime and stime are fields 14 and 15, after the command in parentheses (no spaces in ours).
    for (int i = 1; i <= 15 && stat >> field; ++i)
        if (i >= 14)
            total += std::stod(field) / static_cast<double>(sysconf(_SC_CLK_TCK));
    return total;
}

std::string loadAverage()
{
    std::ifstream in("/proc/loadavg");
    std::string one, five, fifteen;
    in >> one >> five >> fifteen;
    return one + " " + five + " " + fifteen;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n == 0 ? 0 : n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

double minimum(const std::vector<double>& v)
{
    return v.empty() ? 0 : *std::min_element(v.begin(), v.end());
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

struct EndToEnd {
    double rate = 0;
    std::vector<double> ticksMs; // the last one is the final tick (index synced, identifiers written)
};

// One whole build through the page into a new index folder; every row's MOL_ID is written again.
EndToEnd endToEnd(TimingApplication& app, const std::string& serverName, size_t count, int readers)
{
    TempDir indexFolder;
    MSTFileProgressCtl page;
    page.setReadAheadThreads(readers);
    page.resize(480, 120);
    page.show();
    app.watched = page.findChild<QTimer*>("mTimer");
    app.ticksMs.clear();
    QEventLoop loop;
    bool failed = false;
    QObject::connect(&page, &MSTFileProgressCtl::BuildFinished, &loop, &QEventLoop::quit);
    QObject::connect(&page, &MSTFileProgressCtl::BuildFailed, &loop, [&](const LfError& e) {
        std::cerr << "build failed: " << e.description() << "\n";
        failed = true;
        loop.quit();
    });
    const auto t0 = Clock::now();
    page.Initialize(QString::fromStdString(serverName), "LFDesktop10",
                    QString::fromStdString(indexFolder.str()));
    loop.exec();
    const double elapsed = seconds(Clock::now() - t0);
    app.watched = nullptr;
    if (failed)
        std::exit(1);
    return {static_cast<double>(count) / elapsed, std::move(app.ticksMs)};
}

// The toolkit alone on one core: each structure read from a file already written, fingerprinted
// and appended, committed per slice of ten as the rebuild commits. The files are written a
// thousand at a time, untimed, so that neither memory nor disk holds them all.
double rawRate(ChemistryLibrary& library, const std::string& file, size_t count)
{
    TempDir dir;
    StructureIndex index;
    index.OpenOrCreate((dir.path() / "raw.mst").string(), 0);
    std::ifstream in(file, std::ios::binary);
    Clock::duration timed{};
    size_t done = 0;
    for (;;) {
        std::vector<std::filesystem::path> paths;
        for (std::string line; paths.size() < 1000 && done + paths.size() < count && std::getline(in, line);)
            if (!line.empty())
                paths.push_back(dir.write("s" + std::to_string(paths.size()) + ".cdxml", line));
        if (paths.empty())
            break;
        const auto t0 = Clock::now();
        for (const auto& path : paths) {
            auto m = library.CreateMolecule();
            try {
                m->Read(path.string());
            } catch (const LfError&) {
                // Added as it stands, as the rebuild does.
            }
            index.AddMolecule(m.get(), 0);
            if (++done % 10 == 0)
                index.Commit();
        }
        timed += Clock::now() - t0;
        for (const auto& path : paths)
            std::filesystem::remove(path);
    }
    const auto t0 = Clock::now();
    index.Flush();
    timed += Clock::now() - t0;
    return static_cast<double>(done) / seconds(timed);
}

void printTicks(const char* name, const std::vector<EndToEnd>& runs)
{
    std::vector<double> during, finals;
    for (const auto& run : runs) {
        if (run.ticksMs.empty())
            continue;
        during.insert(during.end(), run.ticksMs.begin(), run.ticksMs.end() - 1);
        finals.push_back(run.ticksMs.back());
    }
    std::sort(during.begin(), during.end());
    double sum = 0;
    for (double t : during)
        sum += t;
    const size_t n = during.size();
    std::printf("ticks, %-24s %zu, mean %.2f ms, p99 %.2f ms, longest %.2f ms (goal <= 16); "
                "final tick (sync, last write-back) longest %.2f ms\n",
                name, n, n ? sum / static_cast<double>(n) : 0.0,
                n ? during[static_cast<size_t>(static_cast<double>(n - 1) * 0.99)] : 0.0,
                n ? during.back() : 0.0,
                finals.empty() ? 0.0 : *std::max_element(finals.begin(), finals.end()));
}

} // namespace

int main(int argc, char** argv)
{
    std::string file;
    size_t count = 5000;
    int rounds = 3;
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string a = argv[i];
        if (a == "--structures")
            file = argv[i + 1];
        else if (a == "--count")
            count = std::stoul(argv[i + 1]);
        else if (a == "--rounds")
            rounds = std::max(1, std::stoi(argv[i + 1]));
    }
    if (file.empty()) {
        std::cerr << "usage: structindex_bench --structures FILE [--count N] [--rounds R]\n";
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    TimingApplication app(argc, argv);
    const std::string loadBefore = loadAverage();

    // The seed file is copied line by line, so that the bench holds no structures while the
    // page runs and the peak memory is the build's own.
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
    const auto seedStart = Clock::now();
    StandinServer server(o);
    const double seedSeconds = seconds(Clock::now() - seedStart);
    qputenv("LABFOLIO_ODBC_INTEGRATED",
            QByteArray::fromStdString("UID=sa;PWD=" + StandinServer::saPassword()));
    qputenv("XDG_CACHE_HOME", QByteArray::fromStdString(work.str()));
    const std::string serverName = "127.0.0.1," + std::to_string(server.port());
    auto library = LoadChemistryLibrary();

    // Round r runs the three in the order rotated by r: each comes first, second and third.
    enum Kind { OneReader, Raw, TwoReaders };
    const std::array<Kind, 3> order = {OneReader, Raw, TwoReaders};
    std::vector<EndToEnd> one, two;
    std::vector<double> raw, ratio, stretch;
    std::array<double, 3> cpu{}; // CPU seconds of each kind, all rounds
    const double rssBefore = peakRssMb();
    double rssAfterFirstBuild = 0;
    for (int r = 0; r < rounds; ++r) {
        double rawThisRound = 0;
        for (size_t i = 0; i < order.size(); ++i) {
            const Kind kind = order[(i + static_cast<size_t>(r)) % order.size()];
            const double cpuBefore = cpuSeconds(server.pid());
            switch (kind) {
            case OneReader:
                one.push_back(endToEnd(app, serverName, count, 1));
                break;
            case TwoReaders:
                two.push_back(endToEnd(app, serverName, count, 2));
                break;
            case Raw:
                rawThisRound = rawRate(*library, seedFile, count);
                raw.push_back(rawThisRound);
                break;
            }
            cpu[kind] += cpuSeconds(server.pid()) - cpuBefore;
            if (r == 0 && i == 0)
                rssAfterFirstBuild = peakRssMb();
        }
        ratio.push_back(one.back().rate / rawThisRound);
        stretch.push_back(two.back().rate / rawThisRound);
        std::cerr << "round " << r + 1 << ": one reader " << static_cast<long>(one.back().rate)
                  << " rows/s, toolkit " << static_cast<long>(rawThisRound) << " rows/s, two readers "
                  << static_cast<long>(two.back().rate) << " rows/s\n";
    }

    auto rates = [](const std::vector<EndToEnd>& runs) {
        std::vector<double> v;
        for (const auto& run : runs)
            v.push_back(run.rate);
        return v;
    };
    std::printf("structures %zu, rounds %d, seeded in %.1f s; load average %s before, %s after\n", count,
                rounds, seedSeconds, loadBefore.c_str(), loadAverage().c_str());
    std::printf("rows/s (min / median)\n");
    std::printf("  end to end, one reader thread   %7.0f / %7.0f\n", minimum(rates(one)), median(rates(one)));
    std::printf("  end to end, two reader threads  %7.0f / %7.0f\n", minimum(rates(two)), median(rates(two)));
    std::printf("  toolkit alone, one core         %7.0f / %7.0f\n", minimum(raw), median(raw));
    std::printf("ratios of the same round (min / median)\n");
    std::printf("  one reader / toolkit            %5.2f / %5.2f  (goal >= 0.80)\n", minimum(ratio),
                median(ratio));
    std::printf("  two readers / toolkit           %5.2f / %5.2f  (stretch >= 1.50)\n", minimum(stretch),
                median(stretch));
    const double rows = static_cast<double>(count) * rounds / 1000.0;
    std::printf("CPU per row, this process and the stand-in (ms): one reader %.2f, two readers %.2f, "
                "toolkit alone %.2f\n",
                cpu[OneReader] / rows, cpu[TwoReaders] / rows, cpu[Raw] / rows);
    printTicks("one reader thread", one);
    printTicks("two reader threads", two);
    std::printf("peak memory %.1f MB before the builds, %.1f MB after the first, %.1f MB at the end\n",
                rssBefore, rssAfterFirstBuild, peakRssMb());
    return 0;
}
