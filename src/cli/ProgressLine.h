#pragma once

#include "MigrationProgress.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

namespace cli {

class Terminal;

// The progress page on a terminal: a bar that redraws its one line, with the step's text, when
// standard error is a terminal; otherwise one plain line for each step (and for the rebuild,
// about one a second). Steps may report from the thread that runs a server call.
class ProgressLine : public engine::MigrationProgress {
public:
    ProgressLine(Terminal& terminal, std::function<void()> finished = {});
    ~ProgressLine() override;

    void setMessage(const std::string& text) override;
    void setProgressMaximum(int maximum) override;
    void setProgressValue(int value) override;
    void migrationFinished() override;

    // Where the bar starts (a restore reports 100 to 200).
    void setProgressMinimum(int minimum);
    // The rebuild: structures done of the count, with their rate and the time left.
    void showRows(int64_t done, int64_t total);
    // Ends the bar's line, so that what follows starts on a line of its own.
    void close();

private:
    void draw(const std::string& detail, bool newStep);
    int percent() const;

    Terminal& m_terminal;
    std::function<void()> m_finished;
    std::mutex m_mutex;
    const bool m_bar;
    std::string m_message;
    int m_minimum = 0;
    int m_maximum = 100;
    int m_value = 0;
    std::chrono::steady_clock::time_point m_rowsStarted;
    std::chrono::steady_clock::time_point m_lastPlainLine;
    bool m_rowsShown = false;
};

} // namespace cli
