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

    virtual void out(const std::string& text);
    virtual void err(const std::string& text);
    // Shows the prompt on standard error and reads one line; no echo when hidden. Empty optional at
    // the end of the input.
    virtual std::optional<std::string> ask(const std::string& prompt, bool hidden);
};

} // namespace cli
