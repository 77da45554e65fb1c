#include "analysis/blockfilter.h"
#include "memorysource.h"

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

TEST(BlockWindow, ReadsNeighboursAndZerosOutside)
{
    const qint16 prev[3] = { 1, 2, 3 }, cur[3] = { 4, 5, 6 };
    const BlockWindow w(prev, cur, nullptr, 3);
    EXPECT_EQ(w.at(-3), 1.0);
    EXPECT_EQ(w.at(-1), 3.0);
    EXPECT_EQ(w.at(0), 4.0);
    EXPECT_EQ(w.at(2), 6.0);
    EXPECT_EQ(w.at(3), 0.0); // missing next block
    EXPECT_EQ(w.at(-4), 0.0);
    EXPECT_EQ(w.at(6), 0.0);
}

TEST(ClampToSample, RoundsAndSaturates)
{
    const struct
    {
        double in;
        qint16 out;
    } rows[] = { { 2.8, 3 }, { -2.8, -3 }, { 1.2, 1 }, { -1.2, -1 }, { 32766.4, 32766 },
        { 32767.0, 32767 }, { 1e9, 32767 }, { -32768.0, -32768 }, { -32768.2, -32768 },
        { -1e9, -32768 } };
    for (const auto& r : rows)
        EXPECT_EQ(clampToSample(r.in), r.out) << r.in;
}

TEST(FirBlockFilter, CentreAlignsTapsAcrossBlockEdges)
{
    // out[i] = 1 s[i+1] + 2 s[i] + 3 s[i-1] with centre 1.
    const qint16 prev[4] = { 0, 0, 0, 10 }, cur[4] = { 1, 0, 0, 0 }, next[4] = { 100, 0, 0, 0 };
    const BlockWindow w(prev, cur, next, 4);
    const FirBlockFilter f({ 1.0, 2.0, 3.0 });
    EXPECT_EQ(f.centre(), 1);
    // i=0: s1 + 2 s0 + 3 s-1 = 0 + 2 + 30; i=1: s2 + 2 s1 + 3 s0 = 3; i=3: s4 = 100.
    EXPECT_EQ(outputOf(f, w), (std::vector<qint16> { 32, 3, 0, 100 }));

    double d[4];
    f.apply(w, d);
    EXPECT_DOUBLE_EQ(d[0], 32.0);
    EXPECT_DOUBLE_EQ(d[3], 100.0);
}

TEST(FirBlockFilter, DoubleOutputKeepsFractionsAndIntegerOutputRoundsAndClamps)
{
    const qint16 cur[4] = { 7, -7, 20000, -20000 };
    const BlockWindow w(nullptr, cur, nullptr, 4);
    double d[4];
    FirBlockFilter(std::vector<double> { 0.4 }).apply(w, d);
    EXPECT_DOUBLE_EQ(d[0], 2.8);
    EXPECT_DOUBLE_EQ(d[1], -2.8);
    EXPECT_EQ(outputOf(FirBlockFilter(std::vector<double> { 0.4 }), w),
        (std::vector<qint16> { 3, -3, 8000, -8000 }));
    EXPECT_EQ(outputOf(FirBlockFilter(std::vector<double> { 2.0 }), w),
        (std::vector<qint16> { 14, -14, 32767, -32768 }));
}

TEST(FirBlockFilter, TapsLongerThanABlockStillWork)
{
    // Seven taps of 1 on blocks of 2: each output sums s[i-3..i+3] where the window allows.
    const qint16 prev[2] = { 1, 1 }, cur[2] = { 1, 1 }, next[2] = { 1, 1 };
    const BlockWindow w(prev, cur, next, 2);
    const FirBlockFilter f(std::vector<double>(7, 1.0));
    // i=0 sees positions -3..3, of which -2..3 are inside the 6-sample window: 6.
    // i=1 sees -2..4, of which -2..3 are inside: 6.
    EXPECT_EQ(outputOf(f, w), (std::vector<qint16> { 6, 6 }));
}

// y[p] = s[p] + 0.5 y[p-1]: the feedback term is added, so an impulse decays without alternating.
struct IirCase
{
    const char* name;
    int margin;
    bool backward;
    int passes;
    int impulseAt; // position of a 1000 impulse relative to the current block
    std::vector<qint16> expected;
};

class IirHandCases : public ::testing::TestWithParam<IirCase>
{
};

TEST_P(IirHandCases, MatchesHandComputedResponse)
{
    const IirCase& c = GetParam();
    const int len = 8;
    std::vector<qint16> blocks(3 * len, 0);
    blocks[size_t(len + c.impulseAt)] = 1000;
    const BlockWindow w(blocks.data(), blocks.data() + len, blocks.data() + 2 * len, len);
    const IirBlockFilter f({ 1.0, 0.0 }, { 0.5 }, c.margin, c.backward, c.passes);
    EXPECT_EQ(outputOf(f, w), c.expected) << c.name;
}

INSTANTIATE_TEST_SUITE_P(Iir, IirHandCases,
    ::testing::Values(
        // 1000 * 0.5^k, 62.5 rounds away from zero.
        IirCase { "forward", 0, false, 1, 0, { 1000, 500, 250, 125, 63, 31, 16, 8 } },
        // Zero state at the block start: an earlier impulse beyond the margin is not seen.
        IirCase { "outside margin", 2, false, 1, -3, { 0, 0, 0, 0, 0, 0, 0, 0 } },
        // Within the margin it is: y[-1] = 1000, so the block starts at 500.
        IirCase { "inside margin", 2, false, 1, -1, { 500, 250, 125, 63, 31, 16, 8, 4 } },
        // Two passes: 1000 (k+1) 0.5^k.
        IirCase { "two passes", 0, false, 2, 0, { 1000, 1000, 750, 500, 313, 188, 109, 63 } },
        // Forward then backward: 1000 * 4/3 * 0.5^|p - 4|, symmetric around the impulse.
        IirCase { "backward", 8, true, 1, 4, { 83, 167, 333, 667, 1333, 667, 333, 167 } },
        // A margin longer than a block reaches back to the start of the previous block.
        IirCase { "long margin", 100, false, 1, -8, { 4, 2, 1, 0, 0, 0, 0, 0 } }),
    [](const ::testing::TestParamInfo<IirCase>& info) {
        std::string n = info.param.name;
        for (char& ch : n)
            if (ch == ' ')
                ch = '_';
        return n;
    });

TEST(IirBlockFilter, ClampsAndUsesOrderFromNumerator)
{
    const IirBlockFilter f({ 4.0, 0.0, 0.0 }, { 0.0, 0.0 }, 0, false);
    EXPECT_EQ(f.order(), 2);
    const qint16 cur[3] = { 10000, -10000, 5 };
    EXPECT_EQ(outputOf(f, BlockWindow(nullptr, cur, nullptr, 3)),
        (std::vector<qint16> { 32767, -32768, 20 }));
}

TEST(FirBlockFilter, GroupedEvaluationEqualsThePlainSumExactly)
{
    // Odd tap counts leave a remainder after the groups of four; zero taps are skipped.
    std::vector<double> taps;
    for (int k = 0; k < 31; ++k)
        taps.push_back(k % 5 == 2 ? 0.0 : std::sin(0.7 * k + 0.3) / (k + 1));
    const int len = 64;
    std::vector<qint16> s(size_t(len) * 3);
    unsigned x = 99;
    for (qint16& v : s) {
        x = x * 1103515245u + 12345u;
        v = qint16(int(x >> 17) % 20001 - 10000);
    }
    const BlockWindow w(s.data(), s.data() + len, s.data() + 2 * len, len);
    for (int centre : { 0, 15, 30 }) {
        std::vector<double> out(static_cast<size_t>(len));
        FirBlockFilter(taps, centre).apply(w, out.data());
        for (int i = 0; i < len; ++i) {
            double sum = 0.0;
            for (int k = 0; k < int(taps.size()); ++k)
                sum += taps[size_t(k)] * double(s[size_t(len + i + centre - k)]);
            EXPECT_EQ(out[size_t(i)], sum) << centre << " " << i;
        }
    }
}
