#include "ProbeWindow.h"

#include <gtest/gtest.h>

#include <vector>

using sqlserver::ProbeWindow;

namespace {

std::vector<int> startAll(ProbeWindow& w)
{
    std::vector<int> started;
    while (auto i = w.nextToStart())
        started.push_back(*i);
    return started;
}

std::vector<int> deliverAll(ProbeWindow& w)
{
    std::vector<int> delivered;
    while (auto r = w.nextInOrder())
        delivered.push_back(r->index);
    return delivered;
}

} // namespace

TEST(ProbeWindow, StartsAtMostItsWidthInIndexOrder)
{
    ProbeWindow w(0, 9, 4);
    EXPECT_EQ(startAll(w), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(w.outstanding(), 4);
    EXPECT_EQ(w.nextToDeliver(), 0);
}

TEST(ProbeWindow, ResultsAreHandedOnInIndexOrderWhateverOrderTheyArriveIn)
{
    ProbeWindow w(0, 3, 8);
    ASSERT_EQ(startAll(w), (std::vector<int>{0, 1, 2, 3}));
    w.finished(2, true);
    w.finished(3, false);
    EXPECT_FALSE(w.nextInOrder()) << "index 0 has not answered yet";
    w.finished(0, false);
    auto first = w.nextInOrder();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->index, 0);
    EXPECT_FALSE(first->qualifies);
    EXPECT_FALSE(w.nextInOrder()) << "index 1 is still out";
    w.finished(1, true);
    std::vector<std::pair<int, bool>> rest;
    while (auto r = w.nextInOrder())
        rest.emplace_back(r->index, r->qualifies);
    EXPECT_EQ(rest, (std::vector<std::pair<int, bool>>{{1, true}, {2, true}, {3, false}}));
    EXPECT_TRUE(w.done());
    EXPECT_EQ(w.nextToDeliver(), 4);
}

TEST(ProbeWindow, ASlowFirstProbeHoldsTheWindowButNotTheProbesAlreadyStarted)
{
    ProbeWindow w(0, 5, 3);
    ASSERT_EQ(startAll(w), (std::vector<int>{0, 1, 2}));
    w.finished(1, true);
    w.finished(2, true);
    EXPECT_FALSE(w.nextToStart()) << "the window reaches from the first result not handed on";
    w.finished(0, true);
    EXPECT_EQ(deliverAll(w), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(startAll(w), (std::vector<int>{3, 4, 5}));
    EXPECT_FALSE(w.done());
}

TEST(ProbeWindow, AWidthOfOneIsTheScanOfOneProbeAtATime)
{
    ProbeWindow w(0, 2, 1);
    for (int i = 0; i <= 2; ++i) {
        EXPECT_EQ(w.nextToStart(), i);
        EXPECT_FALSE(w.nextToStart());
        w.finished(i, false);
        EXPECT_EQ(deliverAll(w), std::vector<int>{i});
    }
    EXPECT_TRUE(w.done());
}

TEST(ProbeWindow, AnEmptyRangeIsDoneAtOnceAndStrayResultsAreIgnored)
{
    ProbeWindow empty(0, -1, 8);
    EXPECT_TRUE(empty.done());
    EXPECT_FALSE(empty.nextToStart());

    ProbeWindow w(0, 1, 8);
    w.finished(0, true); // not started
    EXPECT_FALSE(w.nextInOrder());
    EXPECT_EQ(w.nextToStart(), 0);
    w.finished(0, true);
    w.finished(0, false); // a second answer for the same index changes nothing
    EXPECT_TRUE(w.nextInOrder()->qualifies);
    w.finished(0, false); // nor does one after it was handed on
    EXPECT_FALSE(w.nextInOrder());
}
