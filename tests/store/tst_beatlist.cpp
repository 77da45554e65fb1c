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

// The index of the beat a search found, or -1 when it found none.
int found(bool ok, const Beat& b)
{
    return ok ? b.index : -1;
}

TEST(BeatListWalk, SkipsNoiseEntries)
{
    MemoryBeatList list;
    Beat b;
    EXPECT_EQ(found(list.firstBeat(b), b), -1);
    for (int i = 0; i < 6; ++i)
        add(list, i, i == 1 || i == 4); // noise, beat, noise, noise, beat, noise
    EXPECT_EQ(found(list.firstBeat(b), b), 1);
    EXPECT_EQ(found(list.lastBeat(b), b), 4);
    EXPECT_EQ(found(list.nextBeat(1, b), b), 4);
    EXPECT_EQ(found(list.previousBeat(4, b), b), 1);
    EXPECT_EQ(found(list.previousBeat(1, b), b), -1);
    EXPECT_EQ(found(list.nextBeat(4, b), b), -1);
}

TEST(BeatListSearch, HandMadeList)
{
    // R times 1, 2, 2, 4 -> windowStart 0.75, 1.75, 1.75, 3.75 (worked out by hand). Per time:
    // the nearest R, the first windowStart above it and the last one below it.
    MemoryBeatList list;
    for (double t : { 1.0, 2.0, 2.0, 4.0 })
        add(list, t);
    const struct
    {
        double time;
        int nearest, firstAfter, lastBelow;
    } rows[] = {
        { -5.0, 0, 0, -1 }, // before everything
        { 1.5, 2, 1, 0 }, // tie between 1 and the 2s: the later wins
        { 3.75, 3, -1, 2 }, // window start equal: not above, not below
        { 99.0, 3, -1, 3 }, // after everything
    };
    Beat b;
    for (const auto& r : rows) {
        EXPECT_EQ(found(list.nearest(r.time, b), b), r.nearest) << r.time;
        EXPECT_EQ(found(list.firstWithWindowAfter(r.time, b), b), r.firstAfter) << r.time;
        EXPECT_EQ(found(list.lastBelow(r.time, b), b), r.lastBelow) << r.time;
    }
}

} // namespace
