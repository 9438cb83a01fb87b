#pragma once

#include "CommandLine.h"

namespace cli {

class Terminal;

// The restore that completes a migration on the multi-user server, which no page of the window
// reaches: the backup restored under the database's name with its files moved into the server's
// data folder, and, when asked, the current user made administrator and the database given a
// new identity.
class RestoreCommand {
public:
    RestoreCommand(Terminal& terminal, const ParsedCommand& command);

    // The exit status.
    int Run();

private:
    Terminal& m_terminal;
    const ParsedCommand& m_command;
};

} // namespace cli
