#include "CommandLine.h"

#include <gtest/gtest.h>

using cli::ParseCommandLine;
using cli::UsageError;

namespace {

std::string usageError(const std::vector<std::string>& args)
{
    try {
        ParseCommandLine(args);
    } catch (const UsageError& e) {
        return e.what();
    }
    return "(parsed)";
}

} // namespace

TEST(CommandLine, ValuesComeAfterTheOptionOrAfterAnEqualsSign)
{
    const auto c = ParseCommandLine(
        {"rebuild-index", "--server", "LAB\\SQL", "--database=Lab", "--index-folder", "/srv/a b", "--yes"});
    EXPECT_EQ(c.definition->name, "rebuild-index");
    EXPECT_EQ(c.valueOr("server"), "LAB\\SQL");
    EXPECT_EQ(c.valueOr("database"), "Lab");
    EXPECT_EQ(c.valueOr("index-folder"), "/srv/a b");
    EXPECT_TRUE(c.flag("yes"));
    EXPECT_FALSE(c.flag("dry-run"));
    EXPECT_FALSE(c.value("service-name"));
}

TEST(CommandLine, AnEmptyValueIsAValue)
{
    const auto c = ParseCommandLine({"rebuild-index", "--server=", "--database", "", "--index-folder", "x"});
    EXPECT_EQ(c.value("server"), std::optional<std::string>(""));
    EXPECT_EQ(c.value("database"), std::optional<std::string>(""));
}

TEST(CommandLine, TheServiceFileIsTheOneArgumentOfConnectService)
{
    EXPECT_EQ(ParseCommandLine({"connect-service", "/mnt/a.lfsvc"}).argument, "/mnt/a.lfsvc");
    EXPECT_EQ(ParseCommandLine({"connect-service", "--", "-odd.lfsvc"}).argument, "-odd.lfsvc");
    EXPECT_EQ(usageError({"connect-service"}), "connect-service: FILE is missing");
    EXPECT_EQ(usageError({"connect-service", "a", "b"}), "connect-service: unexpected argument \"b\"");
    EXPECT_EQ(usageError({"connect-desktop", "a"}), "connect-desktop: unexpected argument \"a\"");
}

TEST(CommandLine, MistakesAreNamed)
{
    EXPECT_EQ(usageError({}), "no command given");
    EXPECT_EQ(usageError({"rebuild"}), "unknown command \"rebuild\"");
    EXPECT_EQ(usageError({"connect-desktop", "--group", "x"}), "connect-desktop: unknown option --group");
    EXPECT_EQ(usageError({"connect-desktop", "-y"}), "connect-desktop: unknown option -y");
    EXPECT_EQ(usageError({"create-offline", "--group"}), "create-offline: --group needs a value (NAME)");
    EXPECT_EQ(usageError({"create-offline", "--yes=no"}), "create-offline: --yes takes no value");
    EXPECT_EQ(usageError({"create-offline", "--group", "a", "--group", "b"}),
              "create-offline: --group is given twice");
    EXPECT_EQ(usageError({"restore", "--server", "S", "--database", "D"}), "restore: --backup is missing");
}

TEST(CommandLine, HelpNeedsNothingElse)
{
    const auto c = ParseCommandLine({"migrate", "--help"});
    EXPECT_TRUE(c.help);
    EXPECT_TRUE(ParseCommandLine({"restore", "-h"}).help);
}

TEST(CommandLine, TheUsageShowsRequiredAndOptionalOptions)
{
    EXPECT_EQ(cli::UsageText(cli::FindCommand("create-offline")),
              "Usage: labfolio-setup create-offline [--group NAME] [--msde-server NAME]\n"
              "    [--msde-user NAME] [--msde-password-file FILE] [--yes] [--dry-run]\n");
    EXPECT_EQ(cli::UsageText(cli::FindCommand("connect-service")),
              "Usage: labfolio-setup connect-service FILE [--yes] [--dry-run]\n");
}
