#include "../analysis/memorysource.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// A ramp, independent of the block layout: channel c holds index - 1500 + 100 c.
double ramp(qint64 index, int channel = 0)
{
    return double(index - 1500 + 100 * channel);
}

// A ramp with small blocks that counts its block loads, so the cache rules can be driven
// without large data: a block loaded a second time had been evicted.
class RampSource : public MemorySource
{
public:
    RampSource(int channels, qint64 samples, int blockSize)
        : MemorySource(channels, 500, blockSize)
    {
        std::vector<std::vector<qint16>> data(static_cast<size_t>(channels));
        for (int c = 0; c < channels; ++c)
            for (qint64 i = 0; i < samples; ++i)
                data[size_t(c)].push_back(qint16(ramp(i, c)));
        setSamples(data);
    }
    qint16* loadBlock(int channel, int block) override
    {
        ++loads;
        return MemorySource::loadBlock(channel, block);
    }
    int loads = 0;
};

constexpr int kBound = 1024; // soft bound of the cache

// Gets and releases a block at once, as a reader that moves on would.
void touch(SignalSource& src, int channel, int block)
{
    ASSERT_NE(src.getBlock(channel, block), nullptr) << block;
    src.releaseBlock(channel, block);
}

TEST(BlockCacheTest, OutOfRangeGivesNullAndRepeatedGetLoadsOnce)
{
    RampSource src(2, 100, 16); // 7 blocks
    for (const auto& [c, b] : { std::pair<int, int> { 0, -1 }, { 0, 7 }, { -1, 0 }, { 2, 0 } })
        EXPECT_EQ(src.getBlock(c, b), nullptr) << c << "/" << b;
    src.releaseBlock(5, 99); // out of range release is harmless
    const qint16* a = src.getBlock(1, 6);
    EXPECT_EQ(src.getBlock(1, 6), a);
    src.releaseBlock(1, 6);
    src.releaseBlock(1, 6);
    EXPECT_EQ(src.getBlock(1, 6), a); // kept after release
    src.releaseBlock(1, 6);
    EXPECT_EQ(src.loads, 1);
}

TEST(BlockCacheTest, BlocksInUseAreNeverEvictedAndTheOldestUnusedGoesFirst)
{
    RampSource src(1, qint64(4) * 4000, 4);
    const int held = kBound + 200;
    for (int b = 0; b < held; ++b)
        ASSERT_NE(src.getBlock(0, b), nullptr);
    EXPECT_EQ(src.cachedBlockCount(), held); // grows past the bound when all are in use
    for (int b = 1; b < held; ++b)
        src.releaseBlock(0, b);
    touch(src, 0, held);
    EXPECT_EQ(src.cachedBlockCount(), held); // exactly one evicted...
    const int loads = src.loads;
    touch(src, 0, 2);
    EXPECT_EQ(src.loads, loads) << "...not block 2";
    touch(src, 0, 1);
    EXPECT_EQ(src.loads, loads + 1) << "...but block 1, the oldest unused";
    for (int b = held + 1; b < 3000; ++b)
        touch(src, 0, b);
    const int before = src.loads;
    EXPECT_EQ(src.getBlock(0, 0)[1], ramp(1));
    EXPECT_EQ(src.loads, before) << "held block was evicted";
    src.releaseBlock(0, 0);
    src.releaseBlock(0, 0);
}

TEST(ReadSamplesTest, MatchesSampleBySampleReference)
{
    RampSource src(3, 1000, 64); // 15 whole blocks and a partial one of 40
    // {start, count}: across one block edge, shorter than a run of four, zeros on both sides,
    // nothing written.
    for (const auto& [start, count] :
        { std::pair<qint64, qint64> { 63, 2 }, { 1, 3 }, { -3, 1010 }, { 10, -4 } }) {
        for (int c = 0; c < 3; ++c) {
            std::vector<double> out(size_t(std::max<qint64>(count, 0)) + 1, -12345.0);
            src.readSamples(c, start, count, out.data());
            for (qint64 i = 0; i < count; ++i) {
                const qint64 pos = start + i;
                ASSERT_EQ(out[size_t(i)], pos >= 0 && pos < 1000 ? ramp(pos, c) : 0.0) << pos;
            }
            EXPECT_EQ(out.back(), -12345.0) << "wrote past count";
        }
    }
}

TEST(MinMaxEnvelopeTest, SlotsCoverTheRangeExactlyAndWrapFoldsBackByCount)
{
    // On a ramp a slot's minimum is its first sample and its maximum its last. Slot b covers
    // [floor(b count / bins), floor((b + 1) count / bins)); 10 in 4 slots gives 2, 3, 2, 3.
    RampSource src(1, 1000, 64);
    std::vector<double> lo(200), hi(200);
    for (const auto& [count, bins] :
        { std::pair<qint64, int> { 10, 4 }, { 200, 13 }, { 200, 200 } }) {
        src.channel(0)->minMaxEnvelope(200, count, lo.data(), hi.data(), 0, bins, false);
        for (int b = 0; b < bins; ++b) {
            ASSERT_EQ(lo[size_t(b)], ramp(200 + b * count / bins)) << bins << " bins, " << b;
            ASSERT_EQ(hi[size_t(b)], ramp(200 + (b + 1) * count / bins - 1)) << bins << ", " << b;
        }
    }
    // A sweep of 200 from 900: slots 5..9 fold back to 800..999. Slots of 20 are walked in
    // steps of 2, so the last sample looked at is the 19th. Without wrap, past the end is zero.
    src.channel(0)->minMaxEnvelope(900, 200, lo.data(), hi.data(), 0, 10, true);
    for (int b = 0; b < 10; ++b) {
        const qint64 first = 900 + 20 * b - (b >= 5 ? 200 : 0);
        EXPECT_EQ(lo[size_t(b)], ramp(first)) << "slot " << b;
        EXPECT_EQ(hi[size_t(b)], ramp(first + 18)) << "slot " << b;
    }
    src.channel(0)->minMaxEnvelope(900, 200, lo.data(), hi.data(), 0, 10, false);
    EXPECT_EQ(hi[7], 0.0);
}

TEST(SignalSourceTest, SampleOfTimeRoundsHalfUp)
{
    RampSource src(1, 1500, 16); // 500 Hz: 0.95, 1.0 and -4.5 samples
    for (const auto& [t, n] :
        { std::pair<double, qint64> { 0.0009, 0 }, { 0.001, 1 }, { -0.01, -4 } })
        EXPECT_EQ(src.sampleOfTime(t), n) << t;
}

} // namespace
