#include "../Process.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace proc {
namespace {

class PosixProcess : public Process {
public:
    explicit PosixProcess(pid_t pid) : m_pid(pid) {}
    ~PosixProcess() override
    {
        // Reap a child that ended unobserved so it does not linger as a zombie; a running one
        // is left alone.
        if (m_exitCode < 0)
            poll();
    }

    long id() const override { return m_pid; }

    bool waitFor(std::chrono::milliseconds timeout) override
    {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        auto pause = std::chrono::milliseconds(1);
        for (;;) {
            if (poll())
                return true;
            const auto now = std::chrono::steady_clock::now();
            if (now >= deadline)
                return false;
            std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(pause, deadline - now));
            pause = std::min(pause * 2, std::chrono::milliseconds(10));
        }
    }

    int exitCode() const override { return m_exitCode; }

    void kill() override
    {
        if (m_exitCode < 0)
            ::kill(m_pid, SIGKILL);
    }

private:
    bool poll()
    {
        if (m_exitCode >= 0)
            return true;
        int status = 0;
        pid_t r;
        do {
            r = ::waitpid(m_pid, &status, WNOHANG);
        } while (r < 0 && errno == EINTR);
        if (r == 0)
            return false;
        if (r < 0) {
            m_exitCode = 255; // not our child any more: nothing left to wait for
            return true;
        }
        if (WIFEXITED(status))
            m_exitCode = WEXITSTATUS(status);
        else if (WIFSIGNALED(status))
            m_exitCode = 128 + WTERMSIG(status);
        else
            return false;
        return true;
    }

    pid_t m_pid;
    int m_exitCode = -1;
};

} // namespace

std::string ownExecutableFolder()
{
    char buf[PATH_MAX];
    const ssize_t n = ::readlink("/proc/self/exe", buf, sizeof buf - 1);
    if (n <= 0)
        return {};
    std::string path(buf, static_cast<size_t>(n));
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash == 0 ? 1 : slash);
}

std::unique_ptr<Process> start(const std::string& program, const std::vector<std::string>& arguments,
                               std::string& error)
{
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const auto& a : arguments)
        argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);

    // A hidden child has no console to read from.
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);

    pid_t pid = 0;
    const int rc = program.find('/') == std::string::npos
                       ? ::posix_spawnp(&pid, program.c_str(), &actions, nullptr, argv.data(), environ)
                       : ::posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) {
        error = "cannot start \"" + program + "\": " + std::strerror(rc);
        return nullptr;
    }
    return std::make_unique<PosixProcess>(pid);
}

} // namespace proc
