#include "ProgressLine.h"

#include "Terminal.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sys/ioctl.h>
#include <unistd.h>

namespace cli {
namespace {

constexpr int kBarWidth = 24;

int terminalColumns()
{
    winsize size{};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 80;
}

std::string duration(double seconds)
{
    const long s = std::lround(seconds);
    if (s < 60)
        return std::to_string(s) + " s";
    if (s < 3600)
        return std::to_string(s / 60) + " min " + std::to_string(s % 60) + " s";
    return std::to_string(s / 3600) + " h " + std::to_string(s % 3600 / 60) + " min";
}

} // namespace

ProgressLine::ProgressLine(Terminal& terminal, std::function<void()> finished)
    : m_terminal(terminal), m_finished(std::move(finished)), m_bar(terminal.drawsProgress())
{
}

ProgressLine::~ProgressLine()
{
    close();
}

void ProgressLine::setMessage(const std::string& text)
{
    std::lock_guard lock(m_mutex);
    if (text == m_message)
        return;
    m_message = text;
    draw({}, true);
}

void ProgressLine::setProgressMinimum(int minimum)
{
    std::lock_guard lock(m_mutex);
    m_minimum = minimum;
}

void ProgressLine::setProgressMaximum(int maximum)
{
    std::lock_guard lock(m_mutex);
    m_maximum = maximum;
}

void ProgressLine::setProgressValue(int value)
{
    std::lock_guard lock(m_mutex);
    m_value = value;
    if (m_bar && !m_message.empty())
        draw({}, false);
}

void ProgressLine::migrationFinished()
{
    if (m_finished)
        m_finished();
}

void ProgressLine::showRows(int64_t done, int64_t total)
{
    std::lock_guard lock(m_mutex);
    const auto now = std::chrono::steady_clock::now();
    const bool first = !m_rowsShown;
    if (first) {
        m_rowsShown = true;
        m_rowsStarted = now;
        m_lastPlainLine = now;
    }
    m_minimum = 0;
    m_maximum = static_cast<int>(std::max<int64_t>(total, 1));
    m_value = static_cast<int>(std::min(done, total));
    const double seconds = std::chrono::duration<double>(now - m_rowsStarted).count();
    std::string detail = std::to_string(done) + " of " + std::to_string(total) + " structures";
    if (seconds >= 1 && done > 0) {
        const double rate = done / seconds;
        detail += ", " + std::to_string(std::lround(rate)) + "/s";
        if (done < total)
            detail += ", " + duration((total - done) / rate) + " left";
    }
    // Without a bar, the first line, then a line a second is enough to follow, and the last one
    // says it is done.
    const bool plainLineDue = first || now - m_lastPlainLine >= std::chrono::seconds(1) || done == total;
    if (!m_bar && !plainLineDue)
        return;
    m_lastPlainLine = now;
    draw(detail, !m_bar);
}

void ProgressLine::close()
{
    std::lock_guard lock(m_mutex);
    m_terminal.endLine();
}

int ProgressLine::percent() const
{
    if (m_maximum <= m_minimum)
        return 0;
    const int value = std::clamp(m_value, m_minimum, m_maximum);
    return (value - m_minimum) * 100 / (m_maximum - m_minimum);
}

// Called with the mutex held.
void ProgressLine::draw(const std::string& detail, bool newStep)
{
    const std::string text =
        detail.empty() ? m_message : (m_message.empty() ? detail : m_message + " " + detail);
    if (!m_bar) {
        if (newStep)
            m_terminal.err(text + "\n");
        return;
    }
    const int pct = percent();
    const int filled = pct * kBarWidth / 100;
    std::string line = "[" + std::string(filled, '#') + std::string(kBarWidth - filled, '-') + "] ";
    line += (pct < 10 ? "  " : pct < 100 ? " " : "") + std::to_string(pct) + "%  " + text;
    const size_t room = static_cast<size_t>(std::max(terminalColumns() - 1, 20));
    if (line.size() > room)
        line.resize(room);
    // Back to the line's start, the new text, and the rest of the old one cleared.
    m_terminal.err("\r" + line + "\x1b[K");
}

} // namespace cli
