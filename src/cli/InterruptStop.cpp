#include "InterruptStop.h"

#include "Terminal.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace cli {
namespace {

constexpr char kInterrupt = 'i';
constexpr char kQuit = 'q';
constexpr int kRepeatMillis = 50;

std::atomic<int> g_interruptPipe{-1};

void onSignal(int)
{
    const int saved = errno;
    const char byte = kInterrupt;
    (void)!::write(g_interruptPipe.load(), &byte, 1);
    errno = saved;
}

// Ends the command where nothing is left half done; the text goes straight to the descriptor, as
// another thread may hold the standard streams.
[[noreturn]] void endNow()
{
    const char text[] = "\nStopped.\n";
    (void)!::write(STDERR_FILENO, text, sizeof text - 1);
    std::_Exit(InterruptStop::kExitStatus);
}

} // namespace

InterruptStop::InterruptStop(Terminal& terminal) : m_terminal(terminal)
{
    if (::pipe2(m_pipe, O_CLOEXEC) != 0)
        return; // no pipe: Ctrl-C keeps its default, which ends the program
    g_interruptPipe = m_pipe[1];
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &action, nullptr);
    m_watcher = std::thread([this] { watch(); });
}

InterruptStop::~InterruptStop()
{
    if (m_pipe[1] < 0)
        return;
    ::signal(SIGINT, SIG_DFL);
    const char byte = kQuit;
    (void)!::write(m_pipe[1], &byte, 1);
    m_watcher.join();
    g_interruptPipe = -1;
    ::close(m_pipe[0]);
    ::close(m_pipe[1]);
}

void InterruptStop::stoppable(std::function<void()> stop)
{
    enter(Phase::Stoppable, std::move(stop));
}

void InterruptStop::unstoppable()
{
    enter(Phase::Unstoppable, {});
}

void InterruptStop::checks()
{
    enter(Phase::Checks, {});
}

void InterruptStop::enter(Phase phase, std::function<void()> stop)
{
    std::lock_guard lock(m_mutex);
    m_phase = phase;
    m_stop = std::move(stop);
    m_warned = false;
}

void InterruptStop::watch()
{
    for (;;) {
        pollfd fd{m_pipe[0], POLLIN, 0};
        // While a stop is under way it is asked again now and then, until the phase ends.
        const int ready = ::poll(&fd, 1, m_stopRequested ? kRepeatMillis : -1);
        if (ready == 0) {
            std::lock_guard lock(m_mutex);
            if (m_phase == Phase::Stoppable && m_stop)
                m_stop();
            continue;
        }
        char byte = 0;
        if (ready < 0 || ::read(m_pipe[0], &byte, 1) != 1) {
            if (errno == EINTR)
                continue;
            return;
        }
        if (byte == kQuit)
            return;
        onInterrupt();
    }
}

void InterruptStop::onInterrupt()
{
    std::lock_guard lock(m_mutex);
    switch (m_phase) {
    case Phase::Checks:
        endNow();
    case Phase::Stoppable:
        if (!m_stopRequested.exchange(true))
            m_terminal.err("\nStopping...\n");
        if (m_stop)
            m_stop();
        return;
    case Phase::Unstoppable:
        if (m_warned)
            endNow();
        m_warned = true;
        m_terminal.err(
            "\nThis step cannot stop half-way; it ends by itself in a moment. Press Ctrl-C again to "
            "quit at once.\n");
        return;
    }
}

} // namespace cli
