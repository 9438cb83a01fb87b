#include "CommandLine.h"

#include <algorithm>
#include <sstream>

namespace cli {
namespace {

constexpr const char* kProgram = "labfolio-setup";

const std::vector<OptionDefinition>& commonOptions()
{
    static const std::vector<OptionDefinition> options = {
        {"yes", "", false, "answer Yes to every confirmation"},
        {"dry-run", "", false, "run every check and show the summary, change nothing"},
        {"help", "", false, "show this help"},
    };
    return options;
}

std::vector<OptionDefinition> msdeOptions()
{
    return {
        {"msde-server", "NAME", false,
         "the local MSDE instance, when no local instance accepts your Windows login (default: this "
         "computer's VELDRIN)"},
        {"msde-user", "NAME", false, "the SQL Server login for that instance"},
        {"msde-password-file", "FILE", false,
         "read the login's password from FILE (else LABFOLIO_MSDE_PASSWORD, else it is asked)"},
    };
}

// Text broken into lines of at most kWidth columns, the lines after the first indented; the
// first starts at the given column. A continuation ends every broken line (" \\" keeps an
// example one shell command when it is pasted).
constexpr size_t kWidth = 79;

std::string wrapped(const std::string& text, size_t indent, size_t column, const std::string& continuation = {})
{
    std::string out;
    bool lineEmpty = true;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (!lineEmpty && column + 1 + word.size() + continuation.size() > kWidth) {
            out += continuation + "\n" + std::string(indent, ' ');
            column = indent;
            lineEmpty = true;
        }
        if (!lineEmpty) {
            out += ' ';
            ++column;
        }
        out += word;
        column += word.size();
        lineEmpty = false;
    }
    return out;
}

const OptionDefinition* findOption(const CommandDefinition& definition, const std::string& name)
{
    for (const auto* list : {&definition.options, &commonOptions()}) {
        const auto found = std::find_if(list->begin(), list->end(),
                                        [&](const OptionDefinition& o) { return o.name == name; });
        if (found != list->end())
            return &*found;
    }
    return nullptr;
}

std::string optionSyntax(const OptionDefinition& option)
{
    return "--" + option.name + (option.valueName.empty() ? "" : " " + option.valueName);
}

// The option list of a help text: syntax and text in two columns.
std::string optionTable(const std::vector<OptionDefinition>& options)
{
    size_t width = 0;
    for (const auto& o : options)
        width = std::max(width, optionSyntax(o).size());
    std::string out;
    for (const auto& o : options) {
        const std::string syntax = optionSyntax(o);
        out += "  " + syntax + std::string(width - syntax.size() + 2, ' ') +
               wrapped(o.help, width + 4, width + 4) + "\n";
    }
    return out;
}

constexpr const char* kExitStatuses =
    "Exit status: 0 done, 1 the operation failed, 2 bad arguments or a\ncheck "
    "refused them, 130 stopped (Ctrl-C).\n";

} // namespace

const std::vector<CommandDefinition>& Commands()
{
    static const std::vector<CommandDefinition> commands = [] {
        std::vector<CommandDefinition> c;
        c.push_back({"migrate",
                     "Migrate the desktop database to a multi-user server: back it up into the backup folder "
                     "and copy its chemical structure index into the index folder.",
                     {{"server", "S", true, "the multi-user SQL Server"},
                      {"database", "D", true, "the database name on that server"},
                      {"index-folder", "DIR", true, "the folder that receives the structure index"},
                      {"service-name", "N", true, "the name of the service"},
                      {"backup-folder", "DIR", true, "the folder that receives the backup file"},
                      {"service-folder", "DIR", false, "the folder of the service files"}},
                     "",
                     "",
                     "labfolio-setup migrate --server 'LABSRV\\LABFOLIO' --database Labfolio --index-folder "
                     "/srv/labfolio/index --service-name Labfolio --backup-folder /srv/labfolio/backup"});
        c.push_back({"connect-service",
                     "Connect this computer to an existing service, from its service file.",
                     {},
                     "FILE",
                     "the service file (.lfsvc)",
                     "labfolio-setup connect-service '/mnt/labsrv/Chemistry Lab.lfsvc'"});
        c.push_back({"connect-desktop",
                     "Connect this computer back to its desktop database.",
                     {},
                     "",
                     "",
                     "labfolio-setup connect-desktop"});
        std::vector<OptionDefinition> create = {{"group", "NAME", false,
                                                 "the Windows group of the offline users, where the built-in "
                                                 "group has a translated name (else it is asked)"}};
        for (auto& o : msdeOptions())
            create.push_back(o);
        c.push_back({"create-offline",
                     "Create the offline database on a local instance and grant the offline users access.",
                     create, "", "", "labfolio-setup create-offline --yes"});
        c.push_back({"remove-offline", "Remove the offline database and its login.", msdeOptions(), "", "",
                     "LABFOLIO_MSDE_PASSWORD=... labfolio-setup remove-offline --msde-user sa"});
        c.push_back({"rebuild-index",
                     "Rebuild a database's chemical structure index: every stored structure is indexed "
                     "again and renumbered.",
                     {{"server", "S", true, "the SQL Server"},
                      {"database", "D", true, "the database"},
                      {"index-folder", "DIR", true, "the folder of the index file"}},
                     "",
                     "",
                     "labfolio-setup rebuild-index --server 'LABSRV\\LABFOLIO' --database Labfolio "
                     "--index-folder /srv/labfolio/index"});
        c.push_back({"restore",
                     "Restore a migrated database's backup on the multi-user server, its files moved into "
                     "the server's data folder.",
                     {{"server", "S", true, "the SQL Server that receives the database"},
                      {"database", "D", true, "the database name on that server"},
                      {"backup", "FILE", true, "the backup file, as the server sees its path"},
                      {"set-administrator", "", false,
                       "then make you the database's administrator and give it a new identity"}},
                     "",
                     "",
                     "labfolio-setup restore --server 'LABSRV\\LABFOLIO' --database Labfolio --backup "
                     "/srv/labfolio/backup/Labfolio.bak --set-administrator"});
        return c;
    }();
    return commands;
}

const CommandDefinition* FindCommand(const std::string& name)
{
    for (const auto& c : Commands())
        if (c.name == name)
            return &c;
    return nullptr;
}

bool ParsedCommand::flag(const std::string& name) const
{
    return std::find(flags.begin(), flags.end(), name) != flags.end();
}

std::optional<std::string> ParsedCommand::value(const std::string& name) const
{
    const auto found = values.find(name);
    if (found == values.end())
        return std::nullopt;
    return found->second;
}

std::string ParsedCommand::valueOr(const std::string& name, const std::string& fallback) const
{
    return value(name).value_or(fallback);
}

ParsedCommand ParseCommandLine(const std::vector<std::string>& args)
{
    if (args.empty())
        throw UsageError("no command given", nullptr);
    ParsedCommand parsed;
    parsed.definition = FindCommand(args[0]);
    if (!parsed.definition)
        throw UsageError("unknown command \"" + args[0] + "\"", nullptr);
    const CommandDefinition& definition = *parsed.definition;
    auto fail = [&](const std::string& message) {
        throw UsageError(definition.name + ": " + message, &definition);
    };

    bool optionsEnded = false;
    for (size_t i = 1; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (!optionsEnded && arg == "--") {
            optionsEnded = true;
            continue;
        }
        if (!optionsEnded && (arg == "-h" || arg == "--help")) {
            parsed.help = true;
            continue;
        }
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            if (definition.argument.empty() || !parsed.argument.empty())
                fail("unexpected argument \"" + arg + "\"");
            parsed.argument = arg;
            continue;
        }
        if (arg.rfind("--", 0) != 0)
            fail("unknown option " + arg);
        const auto equals = arg.find('=');
        const std::string name = arg.substr(2, equals == std::string::npos ? std::string::npos : equals - 2);
        const OptionDefinition* option = findOption(definition, name);
        if (!option)
            fail("unknown option --" + name);
        if (option->valueName.empty()) {
            if (equals != std::string::npos)
                fail("--" + name + " takes no value");
            if (!parsed.flag(name))
                parsed.flags.push_back(name);
            continue;
        }
        if (parsed.values.count(name))
            fail("--" + name + " is given twice");
        if (equals != std::string::npos)
            parsed.values[name] = arg.substr(equals + 1);
        else if (i + 1 < args.size())
            parsed.values[name] = args[++i];
        else
            fail("--" + name + " needs a value (" + option->valueName + ")");
    }
    if (parsed.help)
        return parsed;
    for (const auto& option : definition.options)
        if (option.required && !parsed.values.count(option.name))
            fail("--" + option.name + " is missing");
    if (!definition.argument.empty() && parsed.argument.empty())
        fail(definition.argument + " is missing");
    return parsed;
}

std::string UsageText(const CommandDefinition* definition)
{
    if (!definition) {
        std::string out = std::string("Usage: ") + kProgram + " [COMMAND [OPTIONS]]\n";
        out += std::string("Commands: ");
        for (const auto& c : Commands())
            out += c.name + (&c == &Commands().back() ? "\n" : ", ");
        out += std::string("Run '") + kProgram + " COMMAND --help' for a command's options.\n";
        return out;
    }
    std::string out = std::string("Usage: ") + kProgram + " " + definition->name;
    for (const auto& o : definition->options)
        out += " " + (o.required ? optionSyntax(o) : "[" + optionSyntax(o) + "]");
    if (!definition->argument.empty())
        out += " " + definition->argument;
    out += " [--yes] [--dry-run]";
    return wrapped(out, 4, 0) + "\n";
}

std::string HelpText(const CommandDefinition* definition)
{
    if (!definition) {
        std::string out = std::string("Usage: ") + kProgram + " [COMMAND [OPTIONS]]\n\n" +
                          "Labfolio multi-user setup and administration. Without a command the wizard's "
                          "window opens;\nwith one, the task runs here, unattended, with the window's "
                          "checks and confirmations.\n\nCommands:\n";
        size_t width = 0;
        for (const auto& c : Commands())
            width = std::max(width, c.name.size());
        for (const auto& c : Commands())
            out += "  " + c.name + std::string(width - c.name.size() + 2, ' ') +
                   wrapped(c.summary, width + 4, width + 4) + "\n";
        out += "\nOptions of every command:\n" + optionTable(commonOptions());
        out += std::string("\nRun '") + kProgram + " COMMAND --help' for a command's own options.\n";
        out += std::string("The window's own options: ") + kProgram + " --screenshots DIR\n\n";
        return out + kExitStatuses;
    }
    std::string out = UsageText(definition) + "\n" + wrapped(definition->summary, 0, 0) + "\n";
    if (!definition->argument.empty())
        out += "\n  " + definition->argument + "  " + definition->argumentHelp + "\n";
    std::vector<OptionDefinition> options = definition->options;
    options.insert(options.end(), commonOptions().begin(), commonOptions().end());
    out += "\nOptions:\n" + optionTable(options);
    out += "\nExample:\n  " + wrapped(definition->example, 4, 2, " \\") + "\n\n";
    return out + kExitStatuses;
}

} // namespace cli
