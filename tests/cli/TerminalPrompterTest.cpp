#include "FakeTerminal.h"
#include "TerminalPrompter.h"

#include <gtest/gtest.h>

using cli::TerminalPrompter;

namespace {

MsgAnswer ask(TerminalPrompter& p)
{
    return p.messageBox("Are you sure you want to replace the offline database?", MsgButtons::YesNo,
                        MsgIcon::Information, "Create Offline Database");
}

} // namespace

TEST(TerminalPrompter, AChecksMessageIsPrintedWithItsTitle)
{
    FakeTerminal t;
    TerminalPrompter p(t, {});
    EXPECT_EQ(
        p.messageBox("Please provide the server name!", MsgButtons::OK, MsgIcon::Information, "Server Name"),
        MsgAnswer::OK);
    EXPECT_EQ(t.errText, "Server Name: Please provide the server name!\n");
    EXPECT_TRUE(t.outText.empty());
}

TEST(TerminalPrompter, WithoutATerminalAQuestionIsAnsweredNoAndSaysHowToAnswerYes)
{
    FakeTerminal t;
    TerminalPrompter p(t, {});
    EXPECT_EQ(ask(p), MsgAnswer::No);
    EXPECT_EQ(t.errText,
              "Create Offline Database: Are you sure you want to replace the offline database?\nNo one "
              "is here to answer, so the answer is No; add --yes to answer Yes.\n");
    EXPECT_TRUE(t.prompts.empty());
}

TEST(TerminalPrompter, YesAnswersEveryQuestionAndSaysSo)
{
    FakeTerminal t;
    t.someoneThere = true;
    TerminalPrompter p(t, {.yes = true});
    EXPECT_EQ(ask(p), MsgAnswer::Yes);
    EXPECT_NE(t.errText.find("offline database? Yes (--yes)"), std::string::npos);
    EXPECT_TRUE(t.prompts.empty()) << "not asked";
}

TEST(TerminalPrompter, ADryRunShowsTheQuestionWithoutAskingIt)
{
    FakeTerminal t;
    TerminalPrompter p(t, {.dryRun = true});
    EXPECT_EQ(ask(p), MsgAnswer::Yes);
    EXPECT_NE(t.errText.find("(dry run: not asked)"), std::string::npos);
}

TEST(TerminalPrompter, OnATerminalTheUserAnswersAndOnlyYesMeansYes)
{
    FakeTerminal t;
    t.someoneThere = true;
    t.answers = {"maybe", "Y"};
    TerminalPrompter p(t, {});
    EXPECT_EQ(ask(p), MsgAnswer::Yes);
    EXPECT_EQ(t.prompts,
              "Create Offline Database: Are you sure you want to replace the offline database? [y/N] "
              "Create Offline Database: Are you sure you want to replace the offline database? [y/N] ");
    t.answers = {""};
    EXPECT_EQ(ask(p), MsgAnswer::No) << "Enter takes the default, No";
    t.answers = {};
    EXPECT_EQ(ask(p), MsgAnswer::No) << "the end of the input";
}

TEST(TerminalPrompter, TheGroupNameComesFromTheOptionOrTheUser)
{
    FakeTerminal t;
    TerminalPrompter withGroup(t, {.group = std::string("Chemists")});
    EXPECT_EQ(withGroup.inputBox("Please provide a group.", "Windows user group name", "Winows group Name"),
              std::optional<std::string>("Chemists"));

    TerminalPrompter nobody(t, {});
    EXPECT_EQ(nobody.inputBox("Please provide a group.", "Windows user group name", "Winows group Name"),
              std::nullopt);
    EXPECT_NE(t.errText.find("--group is not given: taken as Cancel"), std::string::npos);

    t.someoneThere = true;
    t.answers = {"", "Labor"};
    TerminalPrompter asked(t, {});
    EXPECT_EQ(asked.inputBox("Please provide a group.", "Windows user group name", "Winows group Name"),
              std::optional<std::string>("Winows group Name"))
        << "Enter keeps the box's text";
    EXPECT_EQ(asked.inputBox("Please provide a group.", "Windows user group name", "Winows group Name"),
              std::optional<std::string>("Labor"));
}
