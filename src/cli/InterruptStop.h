#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

namespace cli {

class Terminal;

// Ctrl-C on a command. Before an operation has changed anything the command ends at once
// (exit status 130). While a backup, restore, copy or rebuild runs it is the Stop button: the
// operation is asked to stop, again and again until it has (a step that starts clears an
// earlier request), and ends through its own stop path. While a step that cannot stop runs (a
// script, files written together), the first Ctrl-C says so and a second one ends the command.
//
// The signal only writes a byte into a pipe; a thread of this object acts on it, outside the
// signal handler.
class InterruptStop {
public:
    static constexpr int kExitStatus = 130;

    explicit InterruptStop(Terminal& terminal);
    ~InterruptStop();
    InterruptStop(const InterruptStop&) = delete;
    InterruptStop& operator=(const InterruptStop&) = delete;

    // An operation that stops through stop() runs from now on until the next phase.
    void stoppable(std::function<void()> stop);
    // A step that cannot be stopped runs.
    void unstoppable();
    // Back to the checks: nothing under way that a stop would leave half done.
    void checks();

    // Ctrl-C was pressed while the operation could stop.
    bool stopRequested() const { return m_stopRequested.load(); }

private:
    enum class Phase { Checks, Stoppable, Unstoppable };

    void watch();
    void onInterrupt();
    void enter(Phase phase, std::function<void()> stop);

    Terminal& m_terminal;
    int m_pipe[2] = {-1, -1};
    std::thread m_watcher;
    std::mutex m_mutex;
    Phase m_phase = Phase::Checks;
    std::function<void()> m_stop;
    std::atomic<bool> m_stopRequested{false};
    bool m_warned = false;
};

} // namespace cli
