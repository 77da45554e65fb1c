#include "analysis/blockfilter.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<qint16> outputOf(const BlockFilter& f, const BlockWindow& w)
{
    std::vector<qint16> out(size_t(w.length()), qint16(-1));
    f.apply(w, out.data());
    return out;
}

} // namespace

TEST(BlockFilter, ClampRoundsAwayFromZeroAndSaturates)
{
    const std::pair<double, qint16> rows[] = { { 2.5, 3 }, { -2.5, -3 }, { -1.2, -1 },
        { 32767.4, 32767 }, { 32767.5, 32767 }, { -32768.6, -32768 } };
    for (const auto& r : rows)
        EXPECT_EQ(clampToSample(r.first), r.second) << r.first;
}

TEST(FirBlockFilter, CentreAlignsTapsAcrossBlockEdges)
{
    // out[i] = s[i+1] + 2 s[i] + 3 s[i-1]: i=0 -> 2 + 30; i=1 -> 3; i=3 -> next
    // block's 100.
    const qint16 prev[4] = { 0, 0, 0, 10 }, cur[4] = { 1, 0, 0, 0 }, next[4] = { 100, 0, 0, 0 };
    const BlockWindow w(prev, cur, next, 4);
    EXPECT_EQ(
        outputOf(FirBlockFilter({ 1.0, 2.0, 3.0 }), w), (std::vector<qint16> { 32, 3, 0, 100 }));
    // Seven taps on blocks of 2 reach past the 6-sample window: each output sums
    // 6 ones.
    const qint16 ones[2] = { 1, 1 };
    EXPECT_EQ(
        outputOf(FirBlockFilter(std::vector<double>(7, 1.0)), BlockWindow(ones, ones, ones, 2)),
        (std::vector<qint16> { 6, 6 }));
    // Double output keeps fractions; integer output rounds and clamps.
    const qint16 big[4] = { 7, -7, 20000, -20000 };
    const BlockWindow b(nullptr, big, nullptr, 4);
    double d[4];
    FirBlockFilter(std::vector<double> { 0.4 }).apply(b, d);
    EXPECT_DOUBLE_EQ(d[1], -2.8);
    EXPECT_EQ(outputOf(FirBlockFilter(std::vector<double> { 2.0 }), b),
        (std::vector<qint16> { 14, -14, 32767, -32768 }));
}

TEST(IirBlockFilter, MatchesHandComputedResponses)
{
    // y[p] = s[p] + 0.5 y[p-1] on an impulse of 1000 placed relative to the current block of 8:
    // the feedback is added, so it decays without alternating.
    const struct
    {
        int margin;
        bool backward;
        int passes, impulseAt;
        std::vector<qint16> expected;
    } cases[] = {
        { 0, false, 1, 0, { 1000, 500, 250, 125, 63, 31, 16, 8 } }, // 62.5 rounds away from zero
        // Zero state at the margin's start: an impulse within it is seen, y[-1] = 1000.
        { 2, false, 1, -1, { 500, 250, 125, 63, 31, 16, 8, 4 } },
        { 0, false, 2, 0, { 1000, 1000, 750, 500, 313, 188, 109, 63 } }, // 1000 (k+1) 0.5^k
        // Forward then backward: 1000 * 4/3 * 0.5^|p - 4|.
        { 8, true, 1, 4, { 83, 167, 333, 667, 1333, 667, 333, 167 } },
        // A margin longer than a block reaches back to the start of the previous block.
        { 100, false, 1, -8, { 4, 2, 1, 0, 0, 0, 0, 0 } },
    };
    for (const auto& c : cases) {
        std::vector<qint16> blocks(24, 0);
        blocks[size_t(8 + c.impulseAt)] = 1000;
        const BlockWindow w(blocks.data(), blocks.data() + 8, blocks.data() + 16, 8);
        EXPECT_EQ(
            outputOf(IirBlockFilter({ 1.0, 0.0 }, { 0.5 }, c.margin, c.backward, c.passes), w),
            c.expected)
            << (&c - cases);
    }
}
