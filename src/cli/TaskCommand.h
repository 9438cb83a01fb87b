#pragma once

#include "CommandLine.h"

#include <string>

namespace cli {

class TerminalView;
class Terminal;

// One task of the wizard run from the command line: the task flow is walked from the task
// picker to its result with the command's values on its pages, through the same checks,
// confirmations and operations as in the window; the result page becomes the command's output.
class TaskCommand {
public:
    TaskCommand(Terminal& terminal, const ParsedCommand& command);

    // The exit status.
    int Run();

    // The wizard's task code of a command; 0 for one that is not a task of the flow.
    static int32_t TaskOf(const std::string& commandName);

private:
    int showSummary(const TerminalView& view);
    int showResult(const TerminalView& view, bool failed, bool stopped, bool onResultPage);

    Terminal& m_terminal;
    const ParsedCommand& m_command;
};

} // namespace cli
