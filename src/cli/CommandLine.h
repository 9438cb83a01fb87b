#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace cli {

// One option of a command: a flag when it takes no value.
struct OptionDefinition {
    std::string name;      // without the leading "--"
    std::string valueName; // empty: a flag
    bool required = false;
    std::string help;
};

// A command of labfolio-setup and what it accepts.
struct CommandDefinition {
    std::string name;
    std::string summary;
    std::vector<OptionDefinition> options;
    std::string argument; // the one positional argument's name; empty: none
    std::string argumentHelp;
    std::string example;
};

// The commands, in the order the help lists them.
const std::vector<CommandDefinition>& Commands();
const CommandDefinition* FindCommand(const std::string& name);

// A command line that parsed.
struct ParsedCommand {
    const CommandDefinition* definition = nullptr;
    bool help = false;
    std::map<std::string, std::string> values; // options with a value, by name
    std::vector<std::string> flags;
    std::string argument;

    bool flag(const std::string& name) const;
    std::optional<std::string> value(const std::string& name) const;
    std::string valueOr(const std::string& name, const std::string& fallback = {}) const;
};

// A command line that did not parse; definition names the command when one was recognised.
class UsageError : public std::runtime_error {
public:
    UsageError(const std::string& message, const CommandDefinition* definition)
        : std::runtime_error(message), m_definition(definition)
    {
    }
    const CommandDefinition* definition() const { return m_definition; }

private:
    const CommandDefinition* m_definition;
};

// args: the arguments after the program's name, the command first. Raises UsageError.
ParsedCommand ParseCommandLine(const std::vector<std::string>& args);

// "Usage: labfolio-setup COMMAND ..." for one command, or for all of them.
std::string UsageText(const CommandDefinition* definition);
// The --help text of one command, or of the program.
std::string HelpText(const CommandDefinition* definition);

} // namespace cli
