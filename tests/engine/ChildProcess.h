#pragma once

#include <csignal>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// Runs a function in a forked child and returns what it wrote to its text result and its exit
// status. For what a test must not do to its own process: limit the size of the files it may
// write, or mount a file system of its own.
struct ChildResult {
    int status = -1;
    std::string text;
};

inline ChildResult runInChild(const std::function<int(std::string& text)>& body)
{
    int fds[2];
    if (::pipe(fds) != 0)
        return {};
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(fds[0]);
        std::string text;
        int code = 99;
        try {
            code = body(text);
        } catch (...) {
            text = "unexpected exception";
        }
        (void)!::write(fds[1], text.data(), text.size());
        ::_exit(code);
    }
    ::close(fds[1]);
    ChildResult r;
    char buf[4096];
    ssize_t n;
    while ((n = ::read(fds[0], buf, sizeof buf)) > 0)
        r.text.append(buf, static_cast<size_t>(n));
    ::close(fds[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return r;
}

// Files of this process may not grow beyond the limit; a write past it fails with EFBIG, as a
// write to a full disk fails with ENOSPC.
inline void limitFileSize(rlim_t bytes)
{
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, bytes};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}
