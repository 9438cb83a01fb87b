#include "FakeTerminal.h"
#include "ProgressLine.h"

#include <gtest/gtest.h>

using cli::ProgressLine;

TEST(ProgressLine, WithoutATerminalEachStepIsOneLine)
{
    FakeTerminal t;
    {
        ProgressLine line(t);
        line.setProgressMaximum(205);
        line.setMessage("Backing Up Database...");
        line.setProgressValue(10);
        line.setMessage("10 percent processed.");
        line.setMessage("10 percent processed.");
        line.setProgressValue(20);
    }
    EXPECT_EQ(t.errText, "Backing Up Database...\n10 percent processed.\n");
}

TEST(ProgressLine, OnATerminalTheBarRedrawsOneLineWithTheStepText)
{
    FakeTerminal t;
    t.bar = true;
    {
        ProgressLine line(t);
        line.setProgressMaximum(200);
        line.setMessage("Backing Up Database...");
        line.setProgressValue(100);
    }
    EXPECT_EQ(t.errText, "\r[------------------------]   0%  Backing Up Database...\x1b[K"
                         "\r[############------------]  50%  Backing Up Database...\x1b[K\n");
}

TEST(ProgressLine, TheRebuildShowsItsStructuresAndEndsOnTheLastOne)
{
    FakeTerminal t;
    {
        ProgressLine line(t);
        line.showRows(100, 250);
        line.showRows(200, 250); // within the second: no line of its own
        line.showRows(250, 250);
    }
    EXPECT_EQ(t.errText, "100 of 250 structures\n250 of 250 structures\n");
}

TEST(ProgressLine, TheEndOfTheMigrationGoesToTheFlow)
{
    FakeTerminal t;
    int finished = 0;
    ProgressLine line(t, [&] { ++finished; });
    line.migrationFinished();
    EXPECT_EQ(finished, 1);
}

TEST(ProgressLine, ARestoreCountsFromItsOwnStart)
{
    FakeTerminal t;
    t.bar = true;
    ProgressLine line(t);
    line.setProgressMinimum(100);
    line.setProgressMaximum(200);
    line.setMessage("Restoring Database...");
    line.setProgressValue(150);
    EXPECT_NE(t.errText.find(" 50%  Restoring Database..."), std::string::npos) << t.errText;
}

TEST(ProgressLine, AQuestionDuringTheBarStartsOnALineOfItsOwn)
{
    FakeTerminal t;
    t.bar = true;
    ProgressLine line(t);
    line.setMessage("Copying Chemical Structure Index...");
    t.err("Multi-user migration: overwrite it?\n");
    EXPECT_NE(t.errText.find("Index...\x1b[K\nMulti-user migration"), std::string::npos) << t.errText;
    line.setProgressValue(10);
    line.close();
    EXPECT_EQ(t.errText.substr(t.errText.size() - 2), "K\n") << "the bar drawn again, then ended once";
}
