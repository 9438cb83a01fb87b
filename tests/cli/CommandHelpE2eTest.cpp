// The commands' help and usage, as a user reads them in a terminal, from the program itself.
#include "CliProcess.h"
#include "CommandLine.h"

#include <gtest/gtest.h>

namespace {

CliRun run(const std::vector<std::string>& args)
{
    return CliProcess().run(args);
}

} // namespace

TEST(CommandHelp, EveryCommandHasItsHelpWithItsOptionsAndAnExample)
{
    for (const auto& command : cli::Commands()) {
        const CliRun r = run({command.name, "--help"});
        EXPECT_EQ(r.status, 0) << command.name << "\n" << r.err;
        EXPECT_EQ(r.out.rfind("Usage: labfolio-setup " + command.name, 0), 0u) << r.out;
        for (const auto& option : command.options)
            EXPECT_NE(r.out.find("--" + option.name), std::string::npos)
                << command.name << " " << option.name;
        for (const char* common : {"--yes", "--dry-run", "--help", "Example:", "Exit status"})
            EXPECT_NE(r.out.find(common), std::string::npos) << command.name << " " << common;
        EXPECT_TRUE(r.err.empty()) << r.err;
    }
}

TEST(CommandHelp, TheProgramsHelpNamesEveryCommandWithoutAWindow)
{
    CliProcess process;
    process.environment["QT_QPA_PLATFORM"] = "doesnotexist";
    const CliRun r = process.run({"--help"});
    EXPECT_EQ(r.status, 0) << r.err;
    for (const auto& command : cli::Commands())
        EXPECT_NE(r.out.find("  " + command.name + " "), std::string::npos) << command.name;
    EXPECT_NE(r.out.find("Without a command the wizard's window opens"), std::string::npos);
}

TEST(CommandHelp, AnUnknownOptionShowsTheCommandsUsageAndExitsWith2)
{
    const CliRun r = run({"rebuild-index", "--server", "S", "--databse", "D"});
    EXPECT_EQ(r.status, 2);
    EXPECT_TRUE(r.out.empty());
    EXPECT_NE(r.err.find("labfolio-setup: rebuild-index: unknown option --databse"), std::string::npos)
        << r.err;
    EXPECT_NE(r.err.find("Usage: labfolio-setup rebuild-index --server S --database D --index-folder DIR"),
              std::string::npos)
        << r.err;
}

TEST(CommandHelp, AnOptionWithoutItsValueShowsTheUsageAndExitsWith2)
{
    const CliRun r = run({"restore", "--server", "S", "--database", "D", "--backup"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("restore: --backup needs a value (FILE)"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("Usage: labfolio-setup restore"), std::string::npos) << r.err;
}

TEST(CommandHelp, AMissingOptionAndAnUnknownCommandExitWith2)
{
    CliRun r = run({"migrate", "--server", "S"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("migrate: --database is missing"), std::string::npos) << r.err;

    r = run({"migrat"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("unknown command \"migrat\""), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("Commands: migrate, connect-service"), std::string::npos) << r.err;
}

TEST(CommandHelp, APasswordOptionDoesNotExist)
{
    const CliRun r = run({"remove-offline", "--msde-user", "sa", "--msde-password", "secret"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("unknown option --msde-password"), std::string::npos) << r.err;
}
