#include "analysis/resampledsource.h"
#include "memorysource.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<qint16> block(SignalSource& s, int channel, int b)
{
    const qint16* data = s.getBlock(channel, b);
    if (!data)
        return {};
    std::vector<qint16> v(data, data + s.blockSize());
    s.releaseBlock(channel, b);
    return v;
}

} // namespace

TEST(ResampledSource, ThousandToTwoFiftyIsABoxAverageOfFour)
{
    // Group sums 10, 41, -26, 3, 0, -3, -5, 7; / 4 truncates toward zero.
    MemorySource src(1000, 4,
        { { 1, 2, 3, 4, 10, 10, 10, 11, -5, -6, -7, -8, 0, 0, 0, 3, //
            0, 0, 0, 0, -1, -1, -1, 0, -5, 0, 0, 0, 1, 2, 3, 1 } });
    ResampledSource r(&src, 250);
    ASSERT_EQ(r.sampleCount(), 8);
    EXPECT_EQ(block(r, 0, 0), (std::vector<qint16> { 2, 10, -6, 0 }));
    EXPECT_EQ(block(r, 0, 1), (std::vector<qint16> { 0, 0, -1, 1 }));
}

TEST(ResampledSource, TwoHundredToTwoFiftyInterpolatesLinearly)
{
    std::vector<qint16> s;
    for (int n = 0; n < 13; ++n)
        s.push_back(qint16(7 * n - 20));
    MemorySource src(200, 5, { s });
    ResampledSource r(&src, 250);
    ASSERT_EQ(r.sampleCount(), 16); // 13 * 1.25 = 16.25
    ASSERT_EQ(r.blockCount(), 4);
    // Output i sits at source position 0.8 i: 5.6 i - 20, truncated toward zero.
    EXPECT_EQ(block(r, 0, 0), (std::vector<qint16> { -20, -14, -8, -3, 2 }));
    EXPECT_EQ(block(r, 0, 2), (std::vector<qint16> { 36, 41, 47, 52, 58 }));
    // The partial block: sample 15 is source sample 12 (64), then it heads towards zero.
    EXPECT_EQ(block(r, 0, 3), (std::vector<qint16> { 64, 12, 0, 0, 0 }));
    EXPECT_TRUE(block(r, 0, 4).empty());
}

TEST(ResampledSource, UpsamplingNeverReadsPastItsBuffer)
{
    MemorySource src(125, 4, { { 0, 100, 200, 300, 400, 500, 600, 700 } });
    ResampledSource r(&src, 250);
    ASSERT_EQ(r.blockCount(), 4);
    EXPECT_EQ(block(r, 0, 0), (std::vector<qint16> { 0, 50, 100, 150 }));
    EXPECT_EQ(block(r, 0, 3), (std::vector<qint16> { 600, 650, 700, 350 })); // 0 past the end
}

TEST(ResampledSource, OutOfRangeReadsGiveZerosAndNull)
{
    MemorySource src(500, 4, { { 4, 4, 8, 8, 6, 6, 2, 2 } });
    ResampledSource r(&src, 250);
    EXPECT_EQ(r.getBlock(0, -1), nullptr);
    EXPECT_EQ(r.getBlock(1, 0), nullptr);
    std::vector<double> v(6, -1.0);
    r.readSamples(0, -1, 6, v.data());
    EXPECT_EQ(v, (std::vector<double> { 0, 4, 8, 6, 2, 0 }));
}
