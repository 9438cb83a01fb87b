#include "StandinServer.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <mutex>
#include <poll.h>
#include <random>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <strings.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace {

constexpr auto kStartTimeout = std::chrono::seconds(30);
constexpr auto kStopTimeout = std::chrono::seconds(30);

std::filesystem::path freshFolder()
{
    std::random_device rd;
    auto p = std::filesystem::temp_directory_path() /
             ("lfstandin-" + std::to_string(rd()) + "-" + std::to_string(rd()));
    std::filesystem::create_directories(p);
    return p;
}

pid_t spawn(const std::vector<std::string>& args, int stdoutFd)
{
    std::vector<char*> argv;
    for (const std::string& a : args)
        argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    if (stdoutFd >= 0)
        posix_spawn_file_actions_adddup2(&actions, stdoutFd, 1);
    pid_t pid = -1;
    const int rc = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0)
        throw std::runtime_error("cannot start " + args[0] + ": " + std::strerror(rc));
    return pid;
}

int exitCode(int status)
{
    if (WIFEXITED(status))
        return WEXITSTATUS(status);
    if (WIFSIGNALED(status))
        return 128 + WTERMSIG(status);
    return -1;
}

} // namespace

struct StandinServer::Impl {
    int readFd = -1;
    std::thread drainer;
    mutable std::mutex mutex;
    std::string output;
};

StandinServer::StandinServer() : StandinServer(Options{}) {}

StandinServer::StandinServer(Options options)
    : m_options(std::move(options)), m_impl(std::make_unique<Impl>())
{
    if (m_options.instances.empty())
        throw std::invalid_argument("StandinServer needs at least one instance");
    m_root = freshFolder();
    std::filesystem::create_directories(scratchFolder());
    try {
        for (const Instance& i : m_options.instances) {
            std::filesystem::create_directories(dataFolder(i.name));
            if (!i.seedArguments.empty())
                seed(i);
        }
        start();
    } catch (...) {
        stop();
        std::error_code ec;
        std::filesystem::remove_all(m_root, ec);
        throw;
    }
}

StandinServer::~StandinServer()
{
    stop();
    std::error_code ec;
    std::filesystem::remove_all(m_root, ec);
}

std::string StandinServer::saPassword()
{
    const char* p = std::getenv("LABFOLIO_STANDIN_SA_PASSWORD");
    return p ? p : "Labfolio-sa1";
}

const StandinServer::Instance& StandinServer::find(const std::string& instance) const
{
    if (instance.empty())
        return m_options.instances.front();
    for (const Instance& i : m_options.instances)
        if (strcasecmp(i.name.c_str(), instance.c_str()) == 0)
            return i;
    throw std::invalid_argument("the stand-in has no instance " + instance);
}

uint16_t StandinServer::port(const std::string& instance) const
{
    const Instance& i = find(instance);
    return m_ports.at(static_cast<size_t>(&i - m_options.instances.data()));
}

std::vector<std::string> StandinServer::instanceNames() const
{
    std::vector<std::string> names;
    for (const Instance& i : m_options.instances)
        names.push_back(i.name);
    return names;
}

std::filesystem::path StandinServer::dataFolder(const std::string& instance) const
{
    return m_root / ("data-" + find(instance).name);
}

std::string StandinServer::odbcConnectionString(const std::string& user, const std::string& password,
                                                const std::string& database,
                                                const std::string& instance) const
{
    std::string s = "DRIVER={FreeTDS};SERVER=" + m_host + ";PORT=" + std::to_string(port(instance)) +
                    ";TDS_Version=7.4;ClientCharset=UTF-8;UID=" + user + ";PWD={" + password + "}";
    if (!database.empty())
        s += ";DATABASE=" + database;
    return s + ";";
}

void StandinServer::seed(const Instance& instance)
{
#ifdef LF_STANDIN_SEED_EXE
    std::vector<std::string> args{LF_STANDIN_SEED_EXE, "--data",         dataFolder(instance.name).string(),
                                  "--machine",         instance.machine, "--instance",
                                  instance.name};
    for (const std::string& a : instance.seedArguments)
        if (!a.empty())
            args.push_back(a);
    const pid_t pid = spawn(args, -1);
    int status = 0;
    waitpid(pid, &status, 0);
    if (exitCode(status) != 0)
        throw std::runtime_error("lf-standin-seed failed (exit " + std::to_string(exitCode(status)) +
                                 ") for " + instance.name);
#else
    (void)instance;
    throw std::runtime_error("the seed tool lf-standin-seed is not built");
#endif
}

void StandinServer::start()
{
    const auto config = m_root / "standin.ini";
    {
        std::ofstream out(config);
        out << "[server]\n";
        if (m_options.resolutionProtocol)
            out << "ssrp-port = " << m_options.resolutionPort << "\n";
        else
            out << "ssrp-port = off\n";
        for (const Instance& i : m_options.instances) {
            out << "\n[instance " << i.name << "]\nport = 0\ndata = " << dataFolder(i.name).string()
                << "\nmachine = " << i.machine << "\nprogress-step-ms = " << m_options.progressStepMillis
                << "\n";
            for (const Login& l : i.logins)
                out << "login = " << l.name << " " << l.password << (l.sysadmin ? " sysadmin" : "") << "\n";
        }
    }
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe failed");
    m_impl->readFd = fds[0];
    try {
        m_pid = spawn({LF_STANDIN_EXE, "--config", config.string()}, fds[1]);
    } catch (...) {
        close(fds[1]);
        throw;
    }
    close(fds[1]);

    // Read until every instance and the resolution protocol have announced their ports.
    m_ports.assign(m_options.instances.size(), 0);
    std::string pending;
    size_t expected = m_options.instances.size() + (m_options.resolutionProtocol ? 1 : 0);
    size_t seen = 0;
    const auto deadline = std::chrono::steady_clock::now() + kStartTimeout;
    while (seen < expected) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd p{m_impl->readFd, POLLIN, 0};
        if (left.count() <= 0 || poll(&p, 1, static_cast<int>(left.count())) <= 0)
            throw std::runtime_error("lf-standin did not start listening in time; it printed:\n" + output());
        char buf[4096];
        const ssize_t n = read(m_impl->readFd, buf, sizeof buf);
        if (n <= 0)
            throw std::runtime_error("lf-standin exited during start-up; it printed:\n" + output());
        {
            std::lock_guard lock(m_impl->mutex);
            m_impl->output.append(buf, static_cast<size_t>(n));
        }
        pending.append(buf, static_cast<size_t>(n));
        for (size_t eol; (eol = pending.find('\n')) != std::string::npos;) {
            const std::string line = pending.substr(0, eol);
            pending.erase(0, eol + 1);
            const auto colon = line.rfind(':');
            if (colon == std::string::npos)
                continue;
            const auto port = static_cast<uint16_t>(std::stoi(line.substr(colon + 1)));
            if (line.rfind("resolution protocol on udp ", 0) == 0) {
                m_resolutionPort = port;
                ++seen;
            }
            for (size_t i = 0; i < m_options.instances.size(); ++i)
                if (line.rfind("instance " + m_options.instances[i].name + " listening on ", 0) == 0) {
                    m_ports[i] = port;
                    ++seen;
                }
        }
    }
    // Keep reading, so that the server never blocks on a full pipe.
    m_impl->drainer = std::thread([impl = m_impl.get()] {
        char buf[4096];
        ssize_t n;
        while ((n = read(impl->readFd, buf, sizeof buf)) > 0) {
            std::lock_guard lock(impl->mutex);
            impl->output.append(buf, static_cast<size_t>(n));
        }
    });
}

int StandinServer::stop()
{
    if (m_pid > 0) {
        kill(m_pid, SIGTERM);
        int status = 0;
        const auto deadline = std::chrono::steady_clock::now() + kStopTimeout;
        pid_t done = 0;
        while ((done = waitpid(m_pid, &status, WNOHANG)) == 0 && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        if (done == 0) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, &status, 0);
        }
        m_exitStatus = exitCode(status);
        m_pid = -1;
    }
    if (m_impl->drainer.joinable())
        m_impl->drainer.join();
    if (m_impl->readFd >= 0) {
        close(m_impl->readFd);
        m_impl->readFd = -1;
    }
    return m_exitStatus;
}

std::string StandinServer::output() const
{
    std::lock_guard lock(m_impl->mutex);
    return m_impl->output;
}
