#pragma once

// Starts the SQL Server stand-in (lf-standin) for a test and stops it afterwards.
//
//   StandinServer server;                       // one default instance, sa only
//   auto cs = server.odbcConnectionString("sa", StandinServer::saPassword());
//
//   StandinServer::Options o;
//   o.instances = {{.name = "VELDRIN", .machine = "LABSRV2", .logins = {{"chemist", "Secret-1"}}}};
//   StandinServer named(o);                     // named instance on a free port
//   named.port("VELDRIN"); named.resolutionPort();
//
//   o.instances = {{.name = "MSSQLSERVER", .seedArguments = {"--login", "chemist:Secret-1"}}};
//   StandinServer seeded(o);                    // with the desktop database LFDesktop10
//
// Every instance gets its own data folder inside a temporary folder that is removed when the
// fixture goes. The constructor returns once every port listens (or throws with the server's
// output); the destructor sends SIGTERM and waits for the process. Each fixture is a separate
// process on free ports, so tests using it run in parallel.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

class StandinServer {
public:
    struct Login {
        std::string name;
        std::string password;
        bool sysadmin = false;
    };
    struct Instance {
        std::string name = "MSSQLSERVER"; // "MSSQLSERVER" is the default instance
        std::string machine = "LABHOST";  // the machine name it reports (SERVERPROPERTY, resolution)
        std::vector<Login> logins;        // created at start, besides sa
        // Seeds the desktop database LFDesktop10 before the server starts: the arguments of
        // lf-standin-seed after its --data, --machine and --instance (which the fixture gives),
        // e.g. {"--user", "LAB\\ana:admin", "--structures", path}. Empty: no seeding; {""}: seed
        // with no further arguments. See tools/standin/README.md.
        std::vector<std::string> seedArguments;
    };
    struct Options {
        std::vector<Instance> instances = {Instance{}};
        bool resolutionProtocol = true;
        uint16_t resolutionPort = 0; // 0: a free port; 1434 for FreeTDS's host\instance lookup
        int progressStepMillis = 50; // pause between BACKUP/RESTORE progress steps
    };

    StandinServer();
    explicit StandinServer(Options options);
    ~StandinServer();
    StandinServer(const StandinServer&) = delete;
    StandinServer& operator=(const StandinServer&) = delete;

    // The loopback address the server listens on: "127.0.0.1".
    const std::string& host() const { return m_host; }
    // The TCP port of an instance (by name, case-insensitive; the first when empty).
    uint16_t port(const std::string& instance = {}) const;
    // The UDP port of the resolution protocol (0 when it is off).
    uint16_t resolutionPort() const { return m_resolutionPort; }
    // The instance names, in the order given.
    std::vector<std::string> instanceNames() const;
    std::filesystem::path dataFolder(const std::string& instance = {}) const;
    // A scratch folder next to the data folders (backup files, restore targets), removed with them.
    std::filesystem::path scratchFolder() const { return m_root / "scratch"; }

    // A connection string for the FreeTDS ODBC driver straight to an instance's port (TDS 7.4,
    // UTF-8 text on the client side).
    std::string odbcConnectionString(const std::string& user, const std::string& password,
                                     const std::string& database = {},
                                     const std::string& instance = {}) const;
    // sa's password: LABFOLIO_STANDIN_SA_PASSWORD, or the stand-in's default.
    static std::string saPassword();

    pid_t pid() const { return m_pid; }
    // Sends SIGTERM and waits; returns the exit status (or 128 + signal). Later calls return
    // the same status.
    int stop();
    // What the server printed on its standard output so far.
    std::string output() const;

private:
    struct Impl;
    const Instance& find(const std::string& instance) const;
    void start();
    void seed(const Instance& instance);

    Options m_options;
    std::string m_host = "127.0.0.1";
    std::filesystem::path m_root;
    std::vector<uint16_t> m_ports;
    uint16_t m_resolutionPort = 0;
    pid_t m_pid = -1;
    int m_exitStatus = -1;
    std::unique_ptr<Impl> m_impl;
};
