#pragma once

#include <optional>
#include <string>

namespace cli {

// Where the command line meets its user: the results on standard output, messages and progress
// on standard error, answers read from standard input. Tests put a scripted one in its place.
class Terminal {
public:
    virtual ~Terminal() = default;

    // Someone is there to answer: standard input and standard error are terminals.
    virtual bool interactive() const;
    // Standard error is a terminal, where a progress bar can redraw its line.
    virtual bool drawsProgress() const;

    // Text that does not end its line (a progress bar) is ended by the next text that does not
    // redraw it, so that a question or a result never starts in the middle of the bar.
    void out(const std::string& text);
    void err(const std::string& text);
    // Shows the prompt on standard error and reads one line; no echo when hidden. Empty optional
    // at the end of the input.
    std::optional<std::string> ask(const std::string& prompt, bool hidden);
    // Ends a line left open.
    void endLine() { endOpenLine({}); }

protected:
    virtual void writeOut(const std::string& text);
    virtual void writeErr(const std::string& text);
    virtual std::optional<std::string> readLine(bool hidden);

private:
    void endOpenLine(const std::string& next);

    bool m_lineOpen = false;
};

} // namespace cli
