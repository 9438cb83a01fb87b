#pragma once

namespace cli {

// Whether the arguments ask for a command (or the commands' help) rather than the window.
bool IsCommandLine(int argc, char** argv);

// Runs the command the arguments name, without any window, display or Qt platform; returns the
// exit status.
int RunCommandLine(int argc, char** argv);

} // namespace cli
