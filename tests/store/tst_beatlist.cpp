#include "store/beatlist.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

// The simplest concrete list, to test the helpers apart from any file.
class MemoryBeatList : public BeatList
{
public:
    int count() const override { return int(beats.size()); }
    void clear() override { beats.clear(); }
    bool get(int index, Beat& beat) override
    {
        if (index < 0 || index >= count())
            return false;
        beat = beats[size_t(index)];
        return true;
    }
    int append(const Beat& beat) override
    {
        beats.push_back(beat);
        beats.back().index = count() - 1;
        return count() - 1;
    }
    void replace(const Beat& beat) override
    {
        if (beat.index >= 0 && beat.index < count())
            beats[size_t(beat.index)] = beat;
    }
    void add(double rTime, bool isBeat = true)
    {
        Beat b;
        b.timing[0] = rTime;
        b.windowStart = rTime - 0.25; // exact in binary, so boundary cases are exact
        b.isBeat = isBeat;
        append(b);
    }
    std::vector<Beat> beats;
};

TEST(BeatListWalk, SkipsNoiseEntries)
{
    MemoryBeatList list;
    // noise, beat, noise, noise, beat, noise
    const bool kinds[] = { false, true, false, false, true, false };
    for (int i = 0; i < 6; ++i)
        list.add(i, kinds[i]);
    Beat b;
    ASSERT_TRUE(list.firstBeat(b));
    EXPECT_EQ(b.index, 1);
    ASSERT_TRUE(list.lastBeat(b));
    EXPECT_EQ(b.index, 4);
    ASSERT_TRUE(list.nextBeat(1, b));
    EXPECT_EQ(b.index, 4);
    ASSERT_TRUE(list.previousBeat(4, b));
    EXPECT_EQ(b.index, 1);

    b.index = -7;
    EXPECT_FALSE(list.previousBeat(1, b)); // first beat: no neighbour before it
    EXPECT_FALSE(list.nextBeat(4, b));
    EXPECT_FALSE(list.nextBeat(5, b));
    EXPECT_EQ(b.index, -7); // untouched when nothing was found
}

TEST(BeatListWalk, EmptyAndAllNoiseLists)
{
    MemoryBeatList list;
    Beat b;
    EXPECT_FALSE(list.firstBeat(b));
    EXPECT_FALSE(list.lastBeat(b));
    EXPECT_FALSE(list.nearest(1.0, b));
    EXPECT_FALSE(list.firstWithWindowAfter(1.0, b));
    EXPECT_FALSE(list.lastBelow(1.0, b));
    list.add(1.0, false);
    list.add(2.0, false);
    EXPECT_FALSE(list.firstBeat(b));
    EXPECT_FALSE(list.lastBeat(b));
    EXPECT_TRUE(list.nearest(1.2, b)); // searches see noise entries too
    EXPECT_EQ(b.index, 0);
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
        list.add(t);
    const SearchCase sc = GetParam();
    Beat b;
    EXPECT_EQ(list.nearest(sc.time, b) ? b.index : -1, sc.nearest) << sc.time;
    EXPECT_EQ(list.firstWithWindowAfter(sc.time, b) ? b.index : -1, sc.firstAfter) << sc.time;
    EXPECT_EQ(list.lastBelow(sc.time, b) ? b.index : -1, sc.lastBelow) << sc.time;
}

INSTANTIATE_TEST_SUITE_P(Cases, BeatListSearch,
    ::testing::Values(SearchCase { -5.0, 0, 0, -1 }, // before everything
        SearchCase { 0.75, 0, 1, -1 }, // exactly the first window start
        SearchCase { 1.5, 2, 1, 0 }, // tie between 1 and the 2s: the later wins
        SearchCase { 1.4, 0, 1, 0 }, SearchCase { 2.0, 2, 3, 2 }, // equal R times: the later one
        SearchCase { 3.0, 3, 3, 2 }, // tie between 2 and 4: the later
        SearchCase { 3.75, 3, -1, 2 }, // window start equal: not above, not below
        SearchCase { 99.0, 3, -1, 3 })); // after everything

TEST(BeatListSearch, AgreesWithALinearScanOnRandomLists)
{
    std::mt19937 rng(12345);
    std::uniform_real_distribution<double> gap(0.0, 1.5);
    for (int round = 0; round < 200; ++round) {
        MemoryBeatList list;
        const int n = int(rng() % 40);
        double t = 0.0;
        for (int i = 0; i < n; ++i) {
            // Round to quarters so that equal times and exact ties really occur.
            t += std::round(gap(rng) * 4.0) / 4.0;
            list.add(t, rng() % 4 != 0);
        }
        for (int q = 0; q < 20; ++q) {
            const double time = std::round((gap(rng) * n - 1.0) * 8.0) / 8.0;
            int nearest = -1;
            int after = -1;
            int below = -1;
            for (int i = 0; i < n; ++i) {
                const Beat& b = list.beats[size_t(i)];
                if (nearest < 0
                    || std::fabs(b.timing[0] - time)
                        <= std::fabs(list.beats[size_t(nearest)].timing[0] - time))
                    nearest = i;
                if (after < 0 && b.windowStart > time)
                    after = i;
                if (b.windowStart < time)
                    below = i;
            }
            Beat found;
            EXPECT_EQ(list.nearest(time, found) ? found.index : -1, nearest) << time;
            EXPECT_EQ(list.firstWithWindowAfter(time, found) ? found.index : -1, after);
            EXPECT_EQ(list.lastBelow(time, found) ? found.index : -1, below);
        }
    }
}

} // namespace
