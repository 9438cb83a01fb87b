// The server page's probing scan over a network of silent servers: each name is a loopback
// port that accepts the connection and never answers, so every login waits for its whole
// time-out. Scans with one probe at a time (the page as it was) and with the page's parallel
// probes run in the same process, through the real ODBC client stack; the ratio is printed.
//   bench_server_scan [servers]   (default 10)
#include "OdbcServerManager.h"
#include "SQLServerCtl.h"
#include "ServerManager.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

// A TCP port on loopback whose connections are completed by the kernel and never read.
class SilentServer {
public:
    SilentServer()
    {
        m_fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof a;
        if (m_fd < 0 || ::bind(m_fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 ||
            ::listen(m_fd, 64) != 0 || ::getsockname(m_fd, reinterpret_cast<sockaddr*>(&a), &length) != 0) {
            std::perror("silent server");
            std::exit(2);
        }
        m_port = ntohs(a.sin_port);
    }
    ~SilentServer() { ::close(m_fd); }
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;
    int port() const { return m_port; }

private:
    int m_fd = -1;
    int m_port = 0;
};

// The network list names the silent servers; logins go through the real ODBC manager.
class SilentNetwork : public sqlserver::ServerManager {
public:
    explicit SilentNetwork(std::vector<std::string> names) : m_names(std::move(names)) {}
    sqlserver::NameList ListAvailableSQLServers() override { return sqlserver::NameList(m_names); }
    std::unique_ptr<sqlserver::ServerConnection> Connect(const sqlserver::ConnectOptions& options) override
    {
        return m_odbc.Connect(options);
    }

private:
    std::vector<std::string> m_names;
    sqlserver::OdbcServerManager m_odbc;
};

struct ScanFigures {
    double seconds = 0;
    qint64 longestPauseMs = 0; // the longest the window's event loop was kept from a 10 ms timer
};

ScanFigures timeScan(int probesAtOnce)
{
    SQLServerCtl page;
    page.setMaxParallelProbes(probesAtOnce);
    page.setCreatorOnly(true);

    QElapsedTimer sinceTick;
    qint64 longest = 0;
    QTimer heartbeat;
    heartbeat.setInterval(10);
    QObject::connect(&heartbeat, &QTimer::timeout, [&] { longest = std::max(longest, sinceTick.restart()); });

    QEventLoop wait;
    QObject::connect(&page, &SQLServerCtl::scanEnded, &wait, &QEventLoop::quit);
    QElapsedTimer clock;
    clock.start();
    sinceTick.start();
    heartbeat.start();
    page.CheckList();
    if (page.isScanPending())
        wait.exec();
    return {clock.elapsed() / 1000.0, longest};
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM",
            qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    // No Windows identity here: the probes log in as an SQL user, which a silent server never
    // gets to refuse.
    if (qEnvironmentVariableIsEmpty("LABFOLIO_ODBC_INTEGRATED"))
        qputenv("LABFOLIO_ODBC_INTEGRATED", "UID=wizard;PWD=Wizard-1");
    QApplication app(argc, argv);

    const int count = argc > 1 ? std::max(1, std::atoi(argv[1])) : 10;
    std::vector<std::unique_ptr<SilentServer>> silent;
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) {
        silent.push_back(std::make_unique<SilentServer>());
        names.push_back("127.0.0.1," + std::to_string(silent.back()->port()));
    }
    sqlserver::ScopedServerManagerOverride network{std::make_shared<SilentNetwork>(names)};

    std::printf("probing scan of %d silent servers, login time-out %d s\n", count,
                SQLServerCtl::kProbeLoginTimeoutSeconds);
    const ScanFigures serial = timeScan(1);
    std::printf("  one probe at a time:      %6.1f s  (window paused at most %lld ms)\n", serial.seconds,
                static_cast<long long>(serial.longestPauseMs));
    const ScanFigures parallel = timeScan(SQLServerCtl::kMaxParallelProbes);
    std::printf("  up to %2d probes at once:  %6.1f s  (window paused at most %lld ms)\n",
                SQLServerCtl::kMaxParallelProbes, parallel.seconds,
                static_cast<long long>(parallel.longestPauseMs));
    std::printf("  speed-up: %.1fx; the parallel scan took %.2f login time-outs\n",
                serial.seconds / std::max(parallel.seconds, 0.001),
                parallel.seconds / SQLServerCtl::kProbeLoginTimeoutSeconds);
    return 0;
}
