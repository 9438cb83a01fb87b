#include "Terminal.h"

#include <cstdio>
#include <iostream>
#include <termios.h>
#include <unistd.h>

namespace cli {

bool Terminal::interactive() const
{
    return ::isatty(STDIN_FILENO) && ::isatty(STDERR_FILENO);
}

bool Terminal::drawsProgress() const
{
    return ::isatty(STDERR_FILENO);
}

void Terminal::endOpenLine(const std::string& next)
{
    if (m_lineOpen && (next.empty() || next[0] != '\r'))
        writeErr("\n");
    m_lineOpen = false;
}

void Terminal::out(const std::string& text)
{
    endOpenLine(text);
    writeOut(text);
}

void Terminal::err(const std::string& text)
{
    endOpenLine(text);
    writeErr(text);
    m_lineOpen = !text.empty() && text.back() != '\n';
}

std::optional<std::string> Terminal::ask(const std::string& prompt, bool hidden)
{
    endOpenLine(prompt);
    writeErr(prompt);
    return readLine(hidden);
}

void Terminal::writeOut(const std::string& text)
{
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

void Terminal::writeErr(const std::string& text)
{
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
}

std::optional<std::string> Terminal::readLine(bool hidden)
{
    termios saved{};
    const bool echoOff = hidden && ::tcgetattr(STDIN_FILENO, &saved) == 0;
    if (echoOff) {
        termios quiet = saved;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    }
    std::string line;
    const bool read = static_cast<bool>(std::getline(std::cin, line));
    if (echoOff) {
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &saved);
        writeErr("\n"); // the Enter that was not echoed
    }
    if (!read)
        return std::nullopt;
    return line;
}

} // namespace cli
