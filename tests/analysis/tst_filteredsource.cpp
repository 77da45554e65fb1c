#include "analysis/filteredsource.h"
#include "analysis/filtertables.h"
#include "analysis/resampledsource.h"
#include "memorysource.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using testsignals::readAll;

namespace {

std::unique_ptr<BlockFilter> smoother()
{
    return std::make_unique<FirBlockFilter>(std::vector<double> { 0.25, 0.5, 0.25 });
}

std::vector<qint16> pseudoRandom(int count, unsigned seed)
{
    std::vector<qint16> v;
    unsigned x = seed;
    for (int i = 0; i < count; ++i) {
        x = x * 1103515245u + 12345u;
        v.push_back(qint16(int((x >> 16) % 4001) - 2000));
    }
    return v;
}

} // namespace

TEST(FilteredSource, ZerosBeyondTheRecordingGiveEdgeTransients)
{
    MemorySource src(1, 250, 4);
    src.setSamples({ std::vector<qint16>(12, 100) });
    FilteredSource f(&src, smoother());
    // Interior samples, including those at block edges, stay 100; the first and last see a
    // zero neighbour: 0.25 * 0 + 0.5 * 100 + 0.25 * 100 = 75.
    const std::vector<double> expected
        = { 75, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 75 };
    EXPECT_EQ(readAll(f), expected);
}

TEST(FilteredSource, PerChannelFiltersAndNullCopies)
{
    MemorySource src(2, 250, 4);
    src.setSamples({ { 0, 40, 0, 0 }, { 0, 40, 0, 0 } });
    src.channel(0)->setName("I");
    src.channel(1)->setName("V5");
    std::vector<std::unique_ptr<BlockFilter>> filters;
    filters.push_back(nullptr);
    filters.push_back(smoother());
    FilteredSource f(&src, std::move(filters));
    EXPECT_EQ(f.channel(1)->name(), QByteArray("V5"));
    EXPECT_EQ(f.filter(0), nullptr);
    EXPECT_EQ(readAll(f, 0), (std::vector<double> { 0, 40, 0, 0 }));
    EXPECT_EQ(readAll(f, 1), (std::vector<double> { 10, 20, 10, 0 }));
}

// Each block restarts from its own window, so the order of reading can't matter.
class ReadingOrder : public ::testing::TestWithParam<int>
{
};

TEST_P(ReadingOrder, BlocksDoNotDependOnOrder)
{
    const int which = GetParam();
    auto makeFilter = [which]() -> std::unique_ptr<BlockFilter> {
        if (which == 0)
            return std::make_unique<FirBlockFilter>(filtertables::lowPass(250, "40hz").value());
        const IirTable t
            = which == 1 ? *filtertables::baseline(250, 512) : *filtertables::notch50(250);
        return std::make_unique<IirBlockFilter>(t.b, t.a, t.margin, true);
    };
    MemorySource src(1, 250, 512);
    src.setSamples({ pseudoRandom(512 * 6, 7) });
    FilteredSource forward(&src, makeFilter());
    FilteredSource reverse(&src, makeFilter());
    std::vector<std::vector<qint16>> a(6), b(6);
    for (int k = 0; k < 6; ++k) {
        const qint16* p = forward.getBlock(0, k);
        ASSERT_NE(p, nullptr);
        a[size_t(k)].assign(p, p + 512);
        forward.releaseBlock(0, k);
    }
    for (int k = 5; k >= 0; --k) {
        const qint16* p = reverse.getBlock(0, k);
        ASSERT_NE(p, nullptr);
        b[size_t(k)].assign(p, p + 512);
        reverse.releaseBlock(0, k);
    }
    EXPECT_EQ(a, b);
}

INSTANTIATE_TEST_SUITE_P(Filters, ReadingOrder, ::testing::Values(0, 1, 2));

TEST(FilteredSourceF64, KeepsFractionsAndSingleReadsRoundDown)
{
    MemorySource src(1, 250, 4);
    src.setSamples({ { 7, -7, 3, 0 } });
    FilteredSourceF64 f(&src, std::make_unique<FirBlockFilter>(std::vector<double> { 0.4 }));
    std::vector<double> v(4);
    f.readSamples(0, 0, 4, v.data());
    EXPECT_DOUBLE_EQ(v[0], 2.8);
    EXPECT_DOUBLE_EQ(v[1], -2.8);
    EXPECT_DOUBLE_EQ(v[2], 1.2);
    EXPECT_EQ(f.sampleAt(0, 0), 2);
    EXPECT_EQ(f.sampleAt(0, 1), -3);
    EXPECT_EQ(f.sampleAt(0, 4), 0);
    // The 16-bit block view agrees with single reads.
    const qint16* p = f.getBlock(0, 0);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(std::vector<qint16>(p, p + 4), (std::vector<qint16> { 2, -3, 1, 0 }));
    f.releaseBlock(0, 0);

    const double* d = f.getBlockF64(0, 0);
    ASSERT_NE(d, nullptr);
    EXPECT_DOUBLE_EQ(d[0], 2.8);
    f.releaseBlockF64(0, 0);
    EXPECT_EQ(f.getBlockF64(0, 1), nullptr);
    EXPECT_EQ(f.getBlockF64(1, 0), nullptr);
}

TEST(FilteredSourceF64, ReadsAcrossBlocksAndOutsideTheRecording)
{
    MemorySource src(1, 250, 3);
    src.setSamples({ { 1, 2, 3, 4, 5, 6 } });
    FilteredSourceF64 f(&src, std::make_unique<FirBlockFilter>(std::vector<double> { 0.5 }));
    std::vector<double> v(9, -1.0);
    f.readSamples(0, -2, 9, v.data());
    EXPECT_EQ(v, (std::vector<double> { 0, 0, 0.5, 1, 1.5, 2, 2.5, 3, 0 }));
}

TEST(FilteredSourceF64, CacheStaysBoundedOverLongReads)
{
    MemorySource src(1, 250, 8);
    src.setSamples({ std::vector<qint16>(8 * 3000, 1) });
    FilteredSourceF64 f(&src, smoother());
    std::vector<double> v(8 * 3000);
    f.readSamples(0, 0, qint64(v.size()), v.data());
    EXPECT_EQ(v[100], 1.0);
    EXPECT_LE(f.cachedBlockCountF64(), 1025);
    EXPECT_LE(src.cachedBlockCount(), 1025);
}

TEST(FilteredSource, AppendsPropagateThroughTheChain)
{
    MemorySource src(1, 500, 4);
    src.setSamples({ std::vector<qint16>(8, 100) });
    ResampledSource r(&src, 250);
    FilteredSource f(&r, smoother());
    CountingListener listener;
    f.addListener(&listener);
    ASSERT_EQ(f.sampleCount(), 4);
    EXPECT_EQ(readAll(f), (std::vector<double> { 75, 100, 100, 75 }));

    src.append({ std::vector<qint16>(8, 100) });
    EXPECT_EQ(listener.changes, 1);
    EXPECT_EQ(f.sampleCount(), 8);
    EXPECT_EQ(f.blockCount(), 2);
    // The old last block, cached when it saw zeros after it, is computed again.
    EXPECT_EQ(readAll(f), (std::vector<double> { 75, 100, 100, 100, 100, 100, 100, 75 }));
    f.removeListener(&listener);
}

TEST(FilteredSource, SurvivesTheWrappedSourceGoingFirst)
{
    auto src = std::make_unique<MemorySource>(1, 250, 4);
    src->setSamples({ std::vector<qint16>(8, 100) });
    FilteredSource f(src.get(), smoother());
    FilteredSourceF64 g(src.get(), smoother());
    EXPECT_EQ(f.sampleAt(0, 2), 100);
    src.reset();
    EXPECT_EQ(f.sampleCount(), 0);
    EXPECT_EQ(f.sampleAt(0, 2), 0);
    EXPECT_EQ(g.getBlockF64(0, 0), nullptr);
}

TEST(FilteredSource, UnregistersFromTheWrappedSource)
{
    MemorySource src(1, 250, 4);
    src.setSamples({ std::vector<qint16>(4, 1) });
    {
        FilteredSource f(&src, smoother());
        FilteredSourceF64 g(&src, smoother());
        EXPECT_EQ(f.sampleAt(0, 1), 1);
    }
    // A dangling listener would be called here.
    src.append({ std::vector<qint16>(4, 1) });
    EXPECT_EQ(src.sampleCount(), 8);
}
