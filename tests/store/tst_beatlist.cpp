#include "analysis/memorybeatlist.h"

#include <gtest/gtest.h>

namespace {

// windowStart = R - 0.25, exact in binary, so boundary cases are exact.
void add(MemoryBeatList& list, double rTime, bool isBeat = true)
{
    Beat b;
    b.index = list.count();
    b.timing[0] = rTime;
    b.windowStart = rTime - 0.25;
    b.isBeat = isBeat;
    list.append(b);
}

TEST(BeatListWalk, SkipsNoiseEntries)
{
    MemoryBeatList list;
    Beat b;
    EXPECT_FALSE(list.firstBeat(b));
    for (int i = 0; i < 6; ++i)
        add(list, i, i == 1 || i == 4); // noise, beat, noise, noise, beat, noise
    ASSERT_TRUE(list.firstBeat(b));
    EXPECT_EQ(b.index, 1);
    ASSERT_TRUE(list.lastBeat(b));
    EXPECT_EQ(b.index, 4);
    ASSERT_TRUE(list.nextBeat(1, b));
    EXPECT_EQ(b.index, 4);
    ASSERT_TRUE(list.previousBeat(4, b));
    EXPECT_EQ(b.index, 1);
    EXPECT_FALSE(list.previousBeat(1, b));
    EXPECT_FALSE(list.nextBeat(4, b));
}

struct SearchCase
{
    double time;
    int nearest; // -1: false
    int firstAfter; // first windowStart > time
    int lastBelow; // last windowStart < time
};

class BeatListSearch : public ::testing::TestWithParam<SearchCase>
{
};

// R times 1, 2, 2, 4 -> windowStart 0.75, 1.75, 1.75, 3.75 (worked out by hand).
TEST_P(BeatListSearch, HandMadeList)
{
    MemoryBeatList list;
    for (double t : { 1.0, 2.0, 2.0, 4.0 })
        add(list, t);
    const SearchCase sc = GetParam();
    Beat b;
    EXPECT_EQ(list.nearest(sc.time, b) ? b.index : -1, sc.nearest) << sc.time;
    EXPECT_EQ(list.firstWithWindowAfter(sc.time, b) ? b.index : -1, sc.firstAfter) << sc.time;
    EXPECT_EQ(list.lastBelow(sc.time, b) ? b.index : -1, sc.lastBelow) << sc.time;
}

INSTANTIATE_TEST_SUITE_P(Cases, BeatListSearch,
    ::testing::Values(SearchCase { -5.0, 0, 0, -1 }, // before everything
        SearchCase { 1.5, 2, 1, 0 }, // tie between 1 and the 2s: the later wins
        SearchCase { 3.75, 3, -1, 2 }, // window start equal: not above, not below
        SearchCase { 99.0, 3, -1, 3 })); // after everything

} // namespace
