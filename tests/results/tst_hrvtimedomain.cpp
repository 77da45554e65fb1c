#include "results/hrvtimedomain.h"
#include "store/trend.h"

#include <gtest/gtest.h>

#include <numeric>

namespace {

TTrend trendOf(std::initializer_list<std::pair<double, double>> points)
{
    TTrend t;
    for (const auto& p : points)
        t.add(p.first, p.second);
    return t;
}

TEST(HRVTimeDomainRange, EndsAreExcluded)
{
    // Points at exactly `from` and `to` are outside: only 10 s and 20 s remain.
    const TTrend nn = trendOf({ { 0.0, 0.6 }, { 10.0, 0.8 }, { 20.0, 1.0 }, { 3600.0, 1.4 } });
    const auto r = HRVTimeDomain::meanAndDeviation(nn, 0.0, 3600.0);
    EXPECT_NEAR(r.first, 900.0, 1e-9); // (800 + 1000) / 2
    EXPECT_NEAR(r.second, 100.0, 1e-9); // population deviation of 800, 1000
    EXPECT_EQ(HRVTimeDomain::meanAndDeviation(nn, 5.0, 15.0).first, 0.0); // one point: nothing
}

TEST(HRVTimeDomainSuccessive, FiftyMillisecondsExactlyIsNotCounted)
{
    const TTrend d = trendOf({ { 1.0, 0.05 }, { 2.0, -0.06 }, { 3.0, 0.02 }, { 4.0, 0.0 } });
    const auto r = HRVTimeDomain::rmssdAndPnn50(d, 0.0, 10.0);
    // sqrt((0.0025 + 0.0036 + 0.0004 + 0) / 4) = sqrt(0.001625) = 0.0403113 s
    EXPECT_NEAR(r.first, 40.3113, 1e-4);
    // Only |-0.06| is above 0.05: 1 of 4.
    EXPECT_DOUBLE_EQ(r.second, 25.0);
}

TEST(HRVTimeDomainHistogram, BinsOfOneHundredTwentyEighthSecond)
{
    const QVector<double> nn = { 0.0, 1.0 / 128.0, 0.5, 0.5 + 1.0 / 256.0, 2.99, 3.0, 3.5 };
    const std::vector<int> h = HRVTimeDomain::histogram(nn);
    ASSERT_EQ(h.size(), 384u);
    EXPECT_EQ(h[0], 1);
    EXPECT_EQ(h[1], 1);
    EXPECT_EQ(h[64], 2); // 0.5 s and 0.5 + half a bin
    EXPECT_EQ(h[382], 1); // 2.99 * 128 = 382.72
    EXPECT_EQ(h[383], 0); // 3.0 s is past the last bin
    EXPECT_EQ(std::accumulate(h.begin(), h.end(), 0), 5);
}

TEST(HRVTimeDomainHistogram, TriangularIndexUsesTheFirstHighestBin)
{
    std::vector<int> h(384, 0);
    h[100] = 7;
    h[120] = 7;
    h[101] = 3;
    EXPECT_EQ(HRVTimeDomain::peakBin(h), 100);
    EXPECT_DOUBLE_EQ(HRVTimeDomain::triangularIndex(30, h), 4.0); // floor(30 / 7)
    EXPECT_DOUBLE_EQ(HRVTimeDomain::triangularIndex(30, std::vector<int>(384, 0)), 0.0);
}

// Peak 8 at bin 2. Left side: n = 0 gives q = 0 4 8 vs 1 3 8 (error 2), n = 1 error 10. Right,
// q[i] = 8 (m - i) / (m - 2): m = 6 gives 6 4 2 0 vs 6 4 2 1 (error 1), m = 7 ties (not taken),
// the rest are worse. Best (0, 6): TINN = floor(6 * 1000 / 128) = 46 ms.
TEST(HRVTimeDomainTinn, ExhaustiveFitOnAHandMadeHistogram)
{
    std::vector<int> h(384, 0);
    const int bins[] = { 1, 3, 8, 6, 4, 2, 1 };
    for (int i = 0; i < 7; ++i)
        h[size_t(i)] = bins[i];
    EXPECT_DOUBLE_EQ(HRVTimeDomain::tinn(h), 46.0);
}

TEST(HRVTimeDomainTinn, NoPairWhenThePeakIsTheFirstBin)
{
    std::vector<int> h(384, 0);
    h[0] = 5;
    h[1] = 2;
    EXPECT_DOUBLE_EQ(HRVTimeDomain::tinn(h), 0.0);
    EXPECT_DOUBLE_EQ(HRVTimeDomain::tinn(std::vector<int>(384, 0)), 0.0);
}

} // namespace
