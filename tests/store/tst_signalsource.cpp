#include "store/signalsource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <ostream>
#include <vector>

namespace {

// Loads and frees seen by a source; outlives the source so destruction can be checked.
struct CacheLog
{
    int loads = 0;
    std::vector<std::pair<int, int>> freed; // (channel, block) in order of freeing
};

// An in-memory source whose samples are a function of position, with small blocks so that the
// cache rules can be driven without large data.
class MemorySource : public SignalSource
{
public:
    MemorySource(int channels, qint64 samples, int blockSize, CacheLog* log = nullptr)
        : SignalSource(channels, 500, blockSize)
        , m_log(log)
    {
        setSampleCount(samples);
        setBlockCount(int((samples + blockSize - 1) / blockSize));
    }
    ~MemorySource() override { releaseAllBlocks(); }

    // Independent of the block layout, so expected values never come from the cache.
    static qint16 valueAt(int channel, qint64 index)
    {
        return qint16((index * 37 + channel * 1000) % 60000 - 30000);
    }

    qint16* loadBlock(int channel, int block) override
    {
        if (m_failLoads)
            return nullptr;
        if (m_log)
            ++m_log->loads;
        qint16* data = new qint16[blockSize() + 1];
        data[0] = qint16(channel); // hidden tag so freeBlock can say what it freed
        for (int i = 0; i < blockSize(); ++i) {
            const qint64 pos = qint64(block) * blockSize() + i;
            data[i + 1] = pos < sampleCount() ? valueAt(channel, pos) : 0;
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

    void setFailLoads(bool fail) { m_failLoads = fail; }

private:
    CacheLog* m_log;
    bool m_failLoads = false;
    std::map<const qint16*, int> m_blockOf;
};

constexpr int kBound = 1024; // soft bound of the cache

TEST(BlockCacheTest, OutOfRangeBlocksAndChannelsGiveNull)
{
    MemorySource src(2, 100, 16); // 7 blocks
    EXPECT_EQ(src.blockCount(), 7);
    EXPECT_EQ(src.getBlock(0, -1), nullptr);
    EXPECT_EQ(src.getBlock(0, 7), nullptr);
    EXPECT_EQ(src.getBlock(-1, 0), nullptr);
    EXPECT_EQ(src.getBlock(2, 0), nullptr);
    EXPECT_EQ(src.cachedBlockCount(), 0);
    src.releaseBlock(5, 99); // out of range release is harmless
    ASSERT_NE(src.getBlock(1, 6), nullptr);
    src.releaseBlock(1, 6);
}

TEST(BlockCacheTest, RepeatedGetLoadsOnceAndKeepsBlockAfterRelease)
{
    CacheLog log;
    MemorySource src(1, 64, 16, &log);
    const qint16* a = src.getBlock(0, 2);
    const qint16* b = src.getBlock(0, 2);
    EXPECT_EQ(a, b);
    EXPECT_EQ(log.loads, 1);
    src.releaseBlock(0, 2);
    src.releaseBlock(0, 2);
    EXPECT_EQ(src.cachedBlockCount(), 1);
    EXPECT_EQ(src.getBlock(0, 2), a); // still cached
    src.releaseBlock(0, 2);
    EXPECT_EQ(log.loads, 1);
    EXPECT_TRUE(log.freed.empty());
}

TEST(BlockCacheTest, EvictsOldestUnusedOncePastTheBound)
{
    CacheLog log;
    MemorySource src(2, qint64(4) * 2048, 4, &log); // 2048 blocks per channel
    // Alternate channels so the oldest entry is told apart by channel as well as block.
    for (int i = 0; i <= kBound; ++i) {
        ASSERT_NE(src.getBlock(i % 2, i), nullptr);
        src.releaseBlock(i % 2, i);
    }
    EXPECT_EQ(src.cachedBlockCount(), kBound + 1);
    EXPECT_TRUE(log.freed.empty());

    ASSERT_NE(src.getBlock(1, 2000), nullptr);
    src.releaseBlock(1, 2000);
    ASSERT_EQ(log.freed.size(), 1u);
    EXPECT_EQ(log.freed[0], std::make_pair(0, 0));
    EXPECT_EQ(src.cachedBlockCount(), kBound + 1);

    ASSERT_NE(src.getBlock(0, 2001), nullptr);
    src.releaseBlock(0, 2001);
    ASSERT_EQ(log.freed.size(), 2u);
    EXPECT_EQ(log.freed[1], std::make_pair(1, 1));

    // An evicted block comes back through a fresh load with the right samples.
    const int loads = log.loads;
    const qint16* again = src.getBlock(0, 0);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(log.loads, loads + 1);
    EXPECT_EQ(again[3], MemorySource::valueAt(0, 3));
    src.releaseBlock(0, 0);
}

TEST(BlockCacheTest, BlockInUseIsNeverEvicted)
{
    CacheLog log;
    MemorySource src(1, qint64(4) * 4000, 4, &log);
    const qint16* held = src.getBlock(0, 0);
    ASSERT_NE(held, nullptr);
    for (int b = 1; b < 3000; ++b) {
        ASSERT_NE(src.getBlock(0, b), nullptr);
        src.releaseBlock(0, b);
    }
    for (const auto& f : log.freed)
        ASSERT_NE(f.second, 0) << "held block was freed";
    EXPECT_EQ(held[1], MemorySource::valueAt(0, 1));
    // Block 1 was the oldest unused one and went first.
    ASSERT_FALSE(log.freed.empty());
    EXPECT_EQ(log.freed.front().second, 1);
    src.releaseBlock(0, 0);
}

TEST(BlockCacheTest, GrowsPastTheBoundWhenEverythingIsInUse)
{
    CacheLog log;
    MemorySource src(1, qint64(4) * 2000, 4, &log);
    const int held = kBound + 200;
    for (int b = 0; b < held; ++b)
        ASSERT_NE(src.getBlock(0, b), nullptr);
    EXPECT_EQ(src.cachedBlockCount(), held);
    EXPECT_TRUE(log.freed.empty());

    // Once released, the next load evicts exactly the oldest, and only one.
    for (int b = 0; b < held; ++b)
        src.releaseBlock(0, b);
    ASSERT_NE(src.getBlock(0, held), nullptr);
    src.releaseBlock(0, held);
    ASSERT_EQ(log.freed.size(), 1u);
    EXPECT_EQ(log.freed[0].second, 0);
    EXPECT_EQ(src.cachedBlockCount(), held);
}

TEST(BlockCacheTest, ExtraReleaseDoesNotUnderflowTheCount)
{
    CacheLog log;
    MemorySource src(1, qint64(4) * 2000, 4, &log);
    ASSERT_NE(src.getBlock(0, 0), nullptr);
    src.releaseBlock(0, 0);
    src.releaseBlock(0, 0); // one too many
    ASSERT_NE(src.getBlock(0, 0), nullptr);
    src.releaseBlock(0, 0);
    // Block 0 is unused again, so it is the first to go once the cache is past the bound.
    for (int b = 1; b <= kBound + 1; ++b) {
        ASSERT_NE(src.getBlock(0, b), nullptr);
        src.releaseBlock(0, b);
    }
    ASSERT_FALSE(log.freed.empty());
    EXPECT_EQ(log.freed.front().second, 0);
}

TEST(BlockCacheTest, FailedLoadIsNotCachedAndReadsAsZero)
{
    MemorySource src(1, 64, 16);
    src.setFailLoads(true);
    EXPECT_EQ(src.getBlock(0, 1), nullptr);
    EXPECT_EQ(src.cachedBlockCount(), 0);
    EXPECT_EQ(src.sampleAt(0, 20), 0);
    std::vector<double> out(8, 7.0);
    src.readSamples(0, 16, 8, out.data());
    EXPECT_EQ(out, std::vector<double>(8, 0.0));
    src.setFailLoads(false);
    EXPECT_EQ(src.sampleAt(0, 20), MemorySource::valueAt(0, 20));
}

TEST(BlockCacheTest, DestructionFreesEveryBlockEvenInUse)
{
    CacheLog log;
    {
        MemorySource src(2, 256, 16, &log);
        for (int b = 0; b < 10; ++b)
            src.getBlock(b % 2, b); // some left held on purpose
        for (int b = 0; b < 5; ++b)
            src.releaseBlock(b % 2, b);
    }
    EXPECT_EQ(log.loads, 10);
    EXPECT_EQ(int(log.freed.size()), 10);
}

// readSamples against a position-by-position reference.
struct ReadCase
{
    qint64 start;
    qint64 count;
};

void PrintTo(const ReadCase& c, std::ostream* os)
{
    *os << "start " << c.start << " count " << c.count;
}

class ReadSamplesTest : public ::testing::TestWithParam<ReadCase>
{
};

TEST_P(ReadSamplesTest, MatchesSampleBySampleReference)
{
    const qint64 total = 1000; // blocks of 64: 15 whole and a partial one of 40
    MemorySource src(3, total, 64);
    const ReadCase rc = GetParam();
    for (int c = 0; c < 3; ++c) {
        std::vector<double> out(size_t(rc.count) + 1, -12345.0);
        src.readSamples(c, rc.start, rc.count, out.data());
        for (qint64 i = 0; i < rc.count; ++i) {
            const qint64 pos = rc.start + i;
            const double want = pos >= 0 && pos < total ? MemorySource::valueAt(c, pos) : 0.0;
            ASSERT_EQ(out[size_t(i)], want) << "channel " << c << " position " << pos;
        }
        EXPECT_EQ(out[size_t(rc.count)], -12345.0) << "wrote past count";
    }
}

INSTANTIATE_TEST_SUITE_P(Ranges, ReadSamplesTest,
    ::testing::Values(ReadCase { 0, 1 }, ReadCase { 0, 1000 },
        ReadCase { 63, 2 }, // across one block edge
        ReadCase { 5, 300 }, // spans several blocks
        ReadCase { 1, 3 }, // shorter than a run of four
        ReadCase { -10, 20 }, // leading zeros
        ReadCase { -64, 64 }, // wholly before the start
        ReadCase { -3, 1010 }, // zeros on both sides
        ReadCase { 990, 30 }, // trailing zeros
        ReadCase { 1000, 5 }, // starts at the end
        ReadCase { 5000, 7 })); // far past the end

TEST(ReadSamplesEdgeTest, NonPositiveCountWritesNothing)
{
    MemorySource src(1, 100, 16);
    double out[2] = { 9.0, 9.0 };
    src.readSamples(0, 10, 0, out);
    src.readSamples(0, 10, -4, out);
    EXPECT_EQ(out[0], 9.0);
    EXPECT_EQ(out[1], 9.0);
}

// minMaxEnvelope over a ramp, value = index - 1500, so a slot's minimum is the first sample
// looked at and its maximum the last one.
class RampSource : public SignalSource
{
public:
    explicit RampSource(qint64 samples)
        : SignalSource(1, 500, 64)
    {
        setSampleCount(samples);
        setBlockCount(int((samples + 63) / 64));
    }
    ~RampSource() override { releaseAllBlocks(); }
    qint16* loadBlock(int, int block) override
    {
        qint16* data = new qint16[64];
        for (int i = 0; i < 64; ++i) {
            const qint64 pos = qint64(block) * 64 + i;
            data[i] = pos < sampleCount() ? qint16(pos - 1500) : 0;
        }
        return data;
    }
};

double ramp(qint64 pos)
{
    return double(pos - 1500);
}

TEST(MinMaxEnvelopeTest, SlotsSpreadTheRemainderEvenly)
{
    // 10 samples in 4 slots: q = 2, r = 2, so the slot lengths are 2, 3, 2, 3
    // (the accumulator of 2 reaches 4 on the second and fourth slot).
    RampSource src(3000);
    std::vector<double> lo(4), hi(4);
    src.channel(0)->minMaxEnvelope(100, 10, lo.data(), hi.data(), 0, 4, false);
    const double wantLo[] = { ramp(100), ramp(102), ramp(105), ramp(107) };
    const double wantHi[] = { ramp(101), ramp(104), ramp(106), ramp(109) };
    for (int b = 0; b < 4; ++b) {
        EXPECT_EQ(lo[size_t(b)], wantLo[b]) << "slot " << b;
        EXPECT_EQ(hi[size_t(b)], wantHi[b]) << "slot " << b;
    }
}

TEST(MinMaxEnvelopeTest, SlotsCoverTheRangeExactly)
{
    // Slot b covers [floor(b * count / bins), floor((b + 1) * count / bins)); with slots of at
    // most 16 samples every sample is looked at, so the ends are exact.
    RampSource src(3000);
    for (int bins : { 13, 17, 50, 97, 199, 200 }) {
        const qint64 count = 200;
        std::vector<double> lo(static_cast<size_t>(bins)), hi(static_cast<size_t>(bins));
        src.channel(0)->minMaxEnvelope(200, count, lo.data(), hi.data(), 0, bins, false);
        for (int b = 0; b < bins; ++b) {
            const qint64 first = 200 + b * count / bins;
            const qint64 last = 200 + (b + 1) * count / bins - 1;
            ASSERT_EQ(lo[size_t(b)], ramp(first)) << bins << " bins, slot " << b;
            ASSERT_EQ(hi[size_t(b)], ramp(last)) << bins << " bins, slot " << b;
        }
    }
}

struct StrideCase
{
    qint64 slotLength; // count with bins = 1
    qint64 lastLooked; // offset of the last sample looked at, worked out by hand
};

void PrintTo(const StrideCase& c, std::ostream* os)
{
    *os << "slot of " << c.slotLength;
}

class EnvelopeStrideTest : public ::testing::TestWithParam<StrideCase>
{
};

TEST_P(EnvelopeStrideTest, LooksAtNoMoreThanSixteenSamplesPerSlot)
{
    RampSource src(3000);
    double lo = 0, hi = 0;
    src.channel(0)->minMaxEnvelope(0, GetParam().slotLength, &lo, &hi, 0, 1, false);
    EXPECT_EQ(lo, ramp(0));
    EXPECT_EQ(hi, ramp(GetParam().lastLooked));
}

// 16 -> step 1, offsets 0..15; 17 -> step 2, 0..16; 32 -> step 2, 0..30;
// 33 -> step 3, 0..30; 100 -> step 7, 0..98; 1 -> the one sample.
INSTANTIATE_TEST_SUITE_P(Lengths, EnvelopeStrideTest,
    ::testing::Values(StrideCase { 1, 0 }, StrideCase { 16, 15 }, StrideCase { 17, 16 },
        StrideCase { 32, 30 }, StrideCase { 33, 30 }, StrideCase { 100, 98 }));

TEST(MinMaxEnvelopeTest, DegenerateRequestsLeaveOutputUntouched)
{
    RampSource src(3000);
    std::vector<double> lo(8, 77.0), hi(8, 77.0);
    src.channel(0)->minMaxEnvelope(0, 0, lo.data(), hi.data(), 0, 4, false);
    src.channel(0)->minMaxEnvelope(0, 100, lo.data(), hi.data(), 0, 0, false);
    src.channel(0)->minMaxEnvelope(0, 3, lo.data(), hi.data(), 0, 4, false); // count < bins
    EXPECT_EQ(lo, std::vector<double>(8, 77.0));
    EXPECT_EQ(hi, std::vector<double>(8, 77.0));
}

TEST(MinMaxEnvelopeTest, WritesFromOffset)
{
    RampSource src(3000);
    std::vector<double> lo(6, 77.0), hi(6, 77.0);
    src.channel(0)->minMaxEnvelope(10, 4, lo.data(), hi.data(), 2, 4, false);
    EXPECT_EQ(lo[0], 77.0);
    EXPECT_EQ(lo[1], 77.0);
    for (int b = 0; b < 4; ++b) {
        EXPECT_EQ(lo[size_t(2 + b)], ramp(10 + b));
        EXPECT_EQ(hi[size_t(2 + b)], ramp(10 + b));
    }
}

TEST(MinMaxEnvelopeTest, WrapFoldsPositionsPastTheEndBackByCount)
{
    // 1000 samples; a sweep of 200 from 900: slots 5..9 lie past the end and fold to 800..999.
    // Slots of 20 are walked in steps of 2, so the last sample looked at is the 19th.
    RampSource src(1000);
    std::vector<double> lo(10), hi(10);
    src.channel(0)->minMaxEnvelope(900, 200, lo.data(), hi.data(), 0, 10, true);
    for (int b = 0; b < 10; ++b) {
        qint64 first = 900 + 20 * b;
        if (first >= 1000)
            first -= 200;
        EXPECT_EQ(lo[size_t(b)], ramp(first)) << "slot " << b;
        EXPECT_EQ(hi[size_t(b)], ramp(first + 18)) << "slot " << b;
    }
    // Without wrap the same slots read past the end, which is silence.
    src.channel(0)->minMaxEnvelope(900, 200, lo.data(), hi.data(), 0, 10, false);
    EXPECT_EQ(lo[7], 0.0);
    EXPECT_EQ(hi[7], 0.0);
}

TEST(SignalSourceTest, TimeConversionsRoundHalfUp)
{
    MemorySource src(1, 1500, 16); // 500 Hz
    EXPECT_DOUBLE_EQ(src.duration(), 3.0);
    EXPECT_DOUBLE_EQ(src.timeOfSample(250), 0.5);
    // 500 * t + 0.5, then the integer part.
    EXPECT_EQ(src.sampleOfTime(0.0), 0);
    EXPECT_EQ(src.sampleOfTime(0.0009), 0); // 0.95
    EXPECT_EQ(src.sampleOfTime(0.001), 1); // 1.0
    EXPECT_EQ(src.sampleOfTime(0.0029), 1); // 1.95
    EXPECT_EQ(src.sampleOfTime(0.003), 2); // 2.0
    EXPECT_EQ(src.sampleOfTime(10.0), 5000); // past the end is not clipped
    EXPECT_EQ(src.sampleOfTime(-0.01), -4); // -4.5 truncates toward zero
    for (qint64 i : { 0, 1, 499, 777, 1499 })
        EXPECT_EQ(src.sampleOfTime(src.timeOfSample(i)), i);
}

TEST(SignalSourceTest, GainStepFollowsRangeAndResolution)
{
    MemorySource src(1, 10, 16);
    EXPECT_DOUBLE_EQ(src.gainStep(), 2.0 / 65536.0);
    src.setGainRange(-450.0, 450.0);
    EXPECT_DOUBLE_EQ(src.gainStep(), 0.01373291015625); // 900 / 65536
    src.setResolution(12);
    EXPECT_DOUBLE_EQ(src.gainStep(), 900.0 / 4096.0);
    src.setGainRange(0.0, 1.0);
    EXPECT_DOUBLE_EQ(src.gainStep(), 1.0 / 4096.0);
    EXPECT_EQ(src.gainMin(), 0.0);
    EXPECT_EQ(src.gainMax(), 1.0);
}

TEST(SignalSourceTest, ChannelsByIndexAndName)
{
    MemorySource src(6, 10, 16); // more than a source can carry
    EXPECT_EQ(src.channelCount(), SignalSource::kMaxChannels);
    EXPECT_EQ(src.channel(-1), nullptr);
    EXPECT_EQ(src.channel(4), nullptr);
    src.channel(1)->setName("II");
    src.channel(3)->setName("II");
    src.channel(2)->setName("V5");
    EXPECT_EQ(src.channelByName("II"), src.channel(1));
    EXPECT_EQ(src.channelByName("V5")->index(), 2);
    EXPECT_EQ(src.channelByName("V5")->owner(), &src);
    EXPECT_EQ(src.channelByName("aVR"), nullptr);
}

class RecordingListener : public SignalListener
{
public:
    RecordingListener(std::vector<int>* log, int id)
        : m_log(log)
        , m_id(id)
    {
    }
    void signalChanged(SignalSource* s) override
    {
        m_log->push_back(m_id);
        if (m_removeSelf)
            s->removeListener(this);
    }
    void signalDestroyed(SignalSource*) override { m_log->push_back(-m_id); }
    bool m_removeSelf = false;

private:
    std::vector<int>* m_log;
    int m_id;
};

TEST(SignalSourceTest, ListenersAreToldInOrderAndMayLeaveWhileTold)
{
    std::vector<int> log;
    RecordingListener a(&log, 1), b(&log, 2), c(&log, 3);
    {
        MemorySource src(1, 10, 16);
        src.addListener(&a);
        src.addListener(&b);
        src.addListener(&c);
        src.addListener(&a); // no duplicates
        b.m_removeSelf = true;
        src.notifyChanged();
        EXPECT_EQ(log, (std::vector<int> { 1, 2, 3 }));
        src.notifyChanged();
        EXPECT_EQ(log, (std::vector<int> { 1, 2, 3, 1, 3 }));
        src.removeListener(&c);
        log.clear();
    }
    EXPECT_EQ(log, (std::vector<int> { -1 }));
}

} // namespace
