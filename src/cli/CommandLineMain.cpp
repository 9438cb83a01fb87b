#include "CommandLineMain.h"

#include "CommandLine.h"
#include "ExitStatus.h"
#include "LfError.h"
#include "RestoreCommand.h"
#include "TaskCommand.h"
#include "Terminal.h"
#include "Version.h"

#include <string>
#include <vector>

namespace cli {

bool IsCommandLine(int argc, char** argv)
{
    if (argc < 2)
        return false;
    const std::string first = argv[1];
    // Every other option belongs to the window (--screenshots).
    return first.empty() || first[0] != '-' || first == "-h" || first == "--help" || first == "--version";
}

int RunCommandLine(int argc, char** argv)
{
    Terminal terminal;
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args[0] == "-h" || args[0] == "--help" || args[0] == "help") {
        terminal.out(HelpText(nullptr));
        return kDone;
    }
    if (args[0] == "--version") {
        terminal.out(std::string(version::kApplicationTitle) + " " + std::to_string(version::kMajor) + "." +
                     std::to_string(version::kMinor) + "." + std::to_string(version::kRevision) + "\n");
        return kDone;
    }
    try {
        const ParsedCommand command = ParseCommandLine(args);
        if (command.help) {
            terminal.out(HelpText(command.definition));
            return kDone;
        }
        if (command.definition->name == "restore")
            return RestoreCommand(terminal, command).Run();
        return TaskCommand(terminal, command).Run();
    } catch (const UsageError& e) {
        terminal.err(std::string("labfolio-setup: ") + e.what() + "\n" + UsageText(e.definition()));
        return kRefused;
    } catch (const LfError& e) {
        terminal.err("Sorry, " + e.description() + "\n");
        return kFailed;
    }
}

} // namespace cli
