#pragma once

// Runs labfolio-setup as an administrator's script would: a child process with its standard
// input from /dev/null (no one to answer), its output captured, and neither DISPLAY nor a Qt
// platform in its environment.
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <map>
#include <optional>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

struct CliRun {
    int status = -1; // the exit status, or 128 + the signal that ended it
    std::string out;
    std::string err;
};

class CliProcess {
public:
    // Variables set for the child on top of this process's environment; an empty optional
    // removes one.
    std::map<std::string, std::optional<std::string>> environment{
        {"DISPLAY", std::nullopt}, {"WAYLAND_DISPLAY", std::nullopt}, {"QT_QPA_PLATFORM", std::nullopt}};
    // Called with the child and the standard error read so far, until it returns true: a test
    // signals the child here.
    std::function<bool(pid_t child, const std::string& err)> whileRunning;
    std::chrono::seconds timeout{120};
    // The program run: the build's, or an installed one.
    std::string program = LF_SETUP_EXE;

    CliRun run(const std::vector<std::string>& args) const
    {
        std::vector<std::string> env;
        for (char** e = environ; *e; ++e) {
            const std::string entry = *e;
            if (!environment.count(entry.substr(0, entry.find('='))))
                env.push_back(entry);
        }
        for (const auto& [name, value] : environment)
            if (value)
                env.push_back(name + "=" + *value);

        std::vector<std::string> argv{program};
        argv.insert(argv.end(), args.begin(), args.end());
        int outPipe[2], errPipe[2];
        if (::pipe2(outPipe, O_CLOEXEC) != 0 || ::pipe2(errPipe, O_CLOEXEC) != 0)
            return {};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, outPipe[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, errPipe[1], STDERR_FILENO);
        pid_t pid = -1;
        const auto cArgv = pointers(argv);
        const auto cEnv = pointers(env);
        const int spawned =
            ::posix_spawn(&pid, argv[0].c_str(), &actions, nullptr, cArgv.data(), cEnv.data());
        posix_spawn_file_actions_destroy(&actions);
        ::close(outPipe[1]);
        ::close(errPipe[1]);
        CliRun r;
        if (spawned != 0) {
            r.err = std::string("cannot start ") + argv[0] + ": " + std::strerror(spawned);
            ::close(outPipe[0]);
            ::close(errPipe[0]);
            return r;
        }
        readUntilClosed(pid, outPipe[0], errPipe[0], r);
        int status = 0;
        ::waitpid(pid, &status, 0);
        r.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        return r;
    }

private:
    static std::vector<char*> pointers(std::vector<std::string>& strings)
    {
        std::vector<char*> out;
        for (auto& s : strings)
            out.push_back(s.data());
        out.push_back(nullptr);
        return out;
    }

    void readUntilClosed(pid_t pid, int outFd, int errFd, CliRun& r) const
    {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        bool signalled = false;
        pollfd fds[2] = {{outFd, POLLIN, 0}, {errFd, POLLIN, 0}};
        std::string* sinks[2] = {&r.out, &r.err};
        int open = 2;
        while (open > 0) {
            if (std::chrono::steady_clock::now() > deadline) {
                ::kill(pid, SIGKILL);
                r.err += "\n[killed: still running after the test's time-out]";
                closeAll(fds);
                break;
            }
            if (::poll(fds, 2, 10) < 0)
                break;
            for (int i = 0; i < 2; ++i) {
                if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP)))
                    continue;
                char buf[4096];
                const ssize_t n = ::read(fds[i].fd, buf, sizeof buf);
                if (n <= 0) {
                    ::close(fds[i].fd);
                    fds[i].fd = -1;
                    --open;
                    continue;
                }
                sinks[i]->append(buf, static_cast<size_t>(n));
            }
            if (!signalled && whileRunning)
                signalled = whileRunning(pid, r.err);
        }
    }

    static void closeAll(pollfd (&fds)[2])
    {
        for (auto& fd : fds)
            if (fd.fd >= 0)
                ::close(fd.fd);
    }
};
