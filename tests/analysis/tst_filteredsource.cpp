#include "analysis/filteredsource.h"
#include "analysis/resampledsource.h"
#include "memorysource.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using testsignals::readAll;

TEST(FilteredSourceF64, KeepsFractionsAndSingleReadsRoundDown)
{
    MemorySource src(250, 3, { { 7, -7, 3, 4, 5, 6 } });
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

TEST(FilteredSource, AppendsPropagateThroughTheChain)
{
    MemorySource src(500, 4, { std::vector<qint16>(8, 100) });
    ResampledSource r(&src, 250);
    FilteredSource f(&r, std::make_unique<FirBlockFilter>(std::vector<double> { 0.25, 0.5, 0.25 }));
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
