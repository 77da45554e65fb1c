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

} // namespace

TEST(FilteredSource, PerChannelFiltersAndNullCopies)
{
    MemorySource src(2, 250, 4);
    src.setSamples({ { 0, 40, 0, 0 }, { 0, 40, 0, 0 } });
    std::vector<std::unique_ptr<BlockFilter>> filters;
    filters.push_back(nullptr);
    filters.push_back(smoother());
    FilteredSource f(&src, std::move(filters));
    EXPECT_EQ(readAll(f, 0), (std::vector<double> { 0, 40, 0, 0 }));
    EXPECT_EQ(readAll(f, 1), (std::vector<double> { 10, 20, 10, 0 }));
}

// Each block restarts from its own window, so reading order can't matter (FIR, baseline, notch).
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
    std::vector<qint16> noise;
    unsigned x = 7;
    for (int i = 0; i < 512 * 6; ++i) {
        x = x * 1103515245u + 12345u;
        noise.push_back(qint16(int((x >> 16) % 4001) - 2000));
    }
    src.setSamples({ noise });
    FilteredSource forward(&src, makeFilter()), reverse(&src, makeFilter());
    std::vector<std::vector<qint16>> a(6), b(6);
    auto take = [](FilteredSource& f, int k, std::vector<qint16>& into) {
        const qint16* p = f.getBlock(0, k);
        ASSERT_NE(p, nullptr);
        into.assign(p, p + 512);
        f.releaseBlock(0, k);
    };
    for (int k = 0; k < 6; ++k)
        take(forward, k, a[size_t(k)]);
    for (int k = 5; k >= 0; --k)
        take(reverse, k, b[size_t(k)]);
    EXPECT_EQ(a, b);
}

INSTANTIATE_TEST_SUITE_P(Filters, ReadingOrder, ::testing::Values(0, 1, 2));

TEST(FilteredSourceF64, KeepsFractionsAndSingleReadsRoundDown)
{
    MemorySource src(1, 250, 3);
    src.setSamples({ { 7, -7, 3, 4, 5, 6 } });
    FilteredSourceF64 f(&src, std::make_unique<FirBlockFilter>(std::vector<double> { 0.4 }));
    std::vector<double> v(9, -1.0);
    f.readSamples(0, -2, 9, v.data()); // across blocks and outside the recording
    const std::vector<double> expected = { 0, 0, 2.8, -2.8, 1.2, 1.6, 2.0, 2.4, 0 };
    for (size_t i = 0; i < v.size(); ++i)
        EXPECT_DOUBLE_EQ(v[i], expected[i]) << i;
    const qint16* p = f.getBlock(0, 0); // the 16-bit view agrees with single reads
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(std::vector<qint16>(p, p + 3), (std::vector<qint16> { 2, -3, 1 }));
    f.releaseBlock(0, 0);
    EXPECT_EQ(f.getBlockF64(0, 2), nullptr);
    EXPECT_EQ(f.getBlockF64(1, 0), nullptr);
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
    // The ends see a zero neighbour: 0.5 * 100 + 0.25 * 100 = 75.
    EXPECT_EQ(readAll(f), (std::vector<double> { 75, 100, 100, 75 }));
    src.append({ std::vector<qint16>(8, 100) });
    EXPECT_EQ(listener.changes, 1);
    // The old last block, cached when it saw zeros after it, is computed again.
    EXPECT_EQ(readAll(f), (std::vector<double> { 75, 100, 100, 100, 100, 100, 100, 75 }));
    f.removeListener(&listener);
}

TEST(FilteredSource, WrappedSourceLifetimeInBothOrders)
{
    auto src = std::make_unique<MemorySource>(1, 250, 4);
    src->setSamples({ std::vector<qint16>(8, 100) });
    {
        FilteredSource gone(src.get(), smoother());
        EXPECT_EQ(gone.sampleAt(0, 2), 100);
    }
    src->append({ std::vector<qint16>(4, 1) }); // a dangling listener would be called here
    FilteredSource f(src.get(), smoother());
    FilteredSourceF64 g(src.get(), smoother());
    src.reset();
    EXPECT_EQ(f.sampleCount(), 0);
    EXPECT_EQ(f.sampleAt(0, 2), 0);
    EXPECT_EQ(g.getBlockF64(0, 0), nullptr);
}
