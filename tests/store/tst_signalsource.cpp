#include "store/signalsource.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

namespace {

// Loads and frees seen by a source; outlives the source so destruction can be checked.
struct CacheLog
{
    int loads = 0;
    std::vector<std::pair<int, int>> freed; // (channel, block) in order of freeing
};

// A ramp, independent of the block layout: channel c holds index - 1500 + 100 c.
double ramp(qint64 index, int channel = 0)
{
    return double(index - 1500 + 100 * channel);
}

// An in-memory ramp with small blocks, so the cache rules can be driven without large data.
class RampSource : public SignalSource
{
public:
    RampSource(int channels, qint64 samples, int blockSize, CacheLog* log = nullptr)
        : SignalSource(channels, 500, blockSize)
        , m_log(log)
    {
        setSampleCount(samples);
        setBlockCount(int((samples + blockSize - 1) / blockSize));
    }
    ~RampSource() override { releaseAllBlocks(); }

    qint16* loadBlock(int channel, int block) override
    {
        if (m_log)
            ++m_log->loads;
        qint16* data = new qint16[blockSize() + 1];
        data[0] = qint16(channel); // hidden tag so freeBlock can say what it freed
        for (int i = 0; i < blockSize(); ++i) {
            const qint64 pos = qint64(block) * blockSize() + i;
            data[i + 1] = pos < sampleCount() ? qint16(ramp(pos, channel)) : 0;
        }
        m_blockOf[data + 1] = block;
        return data + 1;
    }
    void freeBlock(qint16* block) override
    {
        if (m_log)
            m_log->freed.emplace_back(block[-1], m_blockOf[block]);
        m_blockOf.erase(block);
        delete[](block - 1);
    }

private:
    CacheLog* m_log;
    std::map<const qint16*, int> m_blockOf;
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
    CacheLog log;
    RampSource src(2, 100, 16, &log); // 7 blocks
    for (const auto& [c, b] : { std::pair<int, int> { 0, -1 }, { 0, 7 }, { -1, 0 }, { 2, 0 } })
        EXPECT_EQ(src.getBlock(c, b), nullptr) << c << "/" << b;
    src.releaseBlock(5, 99); // out of range release is harmless
    const qint16* a = src.getBlock(1, 6);
    EXPECT_EQ(src.getBlock(1, 6), a);
    src.releaseBlock(1, 6);
    EXPECT_EQ(src.getBlock(1, 6), a); // kept after release
    src.releaseBlock(1, 6);
    EXPECT_EQ(log.loads, 1);
    EXPECT_TRUE(log.freed.empty());
}

TEST(BlockCacheTest, BlocksInUseAreNeverEvicted)
{
    CacheLog log;
    RampSource src(1, qint64(4) * 4000, 4, &log);
    const int held = kBound + 200;
    for (int b = 0; b < held; ++b)
        ASSERT_NE(src.getBlock(0, b), nullptr);
    EXPECT_EQ(src.cachedBlockCount(), held); // grows past the bound when all are in use
    EXPECT_TRUE(log.freed.empty());
    for (int b = 1; b < held; ++b)
        src.releaseBlock(0, b);
    touch(src, 0, held);
    ASSERT_EQ(log.freed.size(), 1u); // exactly one, the oldest unused
    EXPECT_EQ(log.freed[0].second, 1);
    EXPECT_EQ(src.cachedBlockCount(), held);
    for (int b = held + 1; b < 3000; ++b)
        touch(src, 0, b);
    for (const auto& f : log.freed)
        ASSERT_NE(f.second, 0) << "held block was freed";
    EXPECT_EQ(src.getBlock(0, 0)[1], ramp(1));
    src.releaseBlock(0, 0);
    src.releaseBlock(0, 0);
}

class ReadSamplesTest : public ::testing::TestWithParam<std::pair<qint64, qint64>>
{
};

TEST_P(ReadSamplesTest, MatchesSampleBySampleReference)
{
    const auto [start, count] = GetParam();
    RampSource src(3, 1000, 64); // 15 whole blocks and a partial one of 40
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

INSTANTIATE_TEST_SUITE_P(Ranges, ReadSamplesTest,
    ::testing::Values(std::make_pair(63, 2), // across one block edge
        std::make_pair(1, 3), // shorter than a run of four
        std::make_pair(-3, 1010), // zeros on both sides
        std::make_pair(10, -4))); // nothing written

TEST(MinMaxEnvelopeTest, SlotsCoverTheRangeExactly)
{
    // On a ramp a slot's minimum is its first sample and its maximum its last. Slot b covers
    // [floor(b count / bins), floor((b + 1) count / bins)); 10 in 4 slots gives 2, 3, 2, 3.
    RampSource src(1, 3000, 64);
    for (const auto& [count, bins] :
        { std::pair<qint64, int> { 10, 4 }, { 200, 13 }, { 200, 200 } }) {
        std::vector<double> lo(static_cast<size_t>(bins)), hi(lo);
        src.channel(0)->minMaxEnvelope(200, count, lo.data(), hi.data(), 0, bins, false);
        for (int b = 0; b < bins; ++b) {
            ASSERT_EQ(lo[size_t(b)], ramp(200 + b * count / bins)) << bins << " bins, " << b;
            ASSERT_EQ(hi[size_t(b)], ramp(200 + (b + 1) * count / bins - 1)) << bins << ", " << b;
        }
    }
}

TEST(MinMaxEnvelopeTest, WrapFoldsPositionsPastTheEndBackByCount)
{
    // A sweep of 200 from 900 over 1000 samples: slots 5..9 fold back to 800..999. Slots of 20
    // are walked in steps of 2, so the last sample looked at is the 19th.
    RampSource src(1, 1000, 64);
    std::vector<double> lo(10), hi(10);
    src.channel(0)->minMaxEnvelope(900, 200, lo.data(), hi.data(), 0, 10, true);
    for (int b = 0; b < 10; ++b) {
        const qint64 first = 900 + 20 * b - (b >= 5 ? 200 : 0);
        EXPECT_EQ(lo[size_t(b)], ramp(first)) << "slot " << b;
        EXPECT_EQ(hi[size_t(b)], ramp(first + 18)) << "slot " << b;
    }
    src.channel(0)->minMaxEnvelope(900, 200, lo.data(), hi.data(), 0, 10, false);
    EXPECT_EQ(hi[7], 0.0); // without wrap, past the end is silence
}

TEST(SignalSourceTest, SampleOfTimeRoundsHalfUp)
{
    RampSource src(1, 1500, 16); // 500 Hz
    // 500 t + 0.5, then the integer part: 0.95, 1.0, -4.5.
    const std::pair<double, qint64> cases[] = { { 0.0009, 0 }, { 0.001, 1 }, { -0.01, -4 } };
    for (const auto& [t, sample] : cases)
        EXPECT_EQ(src.sampleOfTime(t), sample) << t;
}

} // namespace
