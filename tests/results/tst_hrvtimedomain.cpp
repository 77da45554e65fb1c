#include "results/hrvtimedomain.h"
#include "results/model/trend.h"

#include <gtest/gtest.h>

#include <cmath>

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
    // One point only: nothing.
    const auto one = HRVTimeDomain::meanAndDeviation(nn, 5.0, 15.0);
    EXPECT_DOUBLE_EQ(one.first, 0.0);
    EXPECT_DOUBLE_EQ(one.second, 0.0);
    // Constant values: the sum-of-squares form leaves at most a rounding residue.
    const TTrend flat = trendOf({ { 1.0, 0.7 }, { 2.0, 0.7 }, { 3.0, 0.7 } });
    EXPECT_NEAR(HRVTimeDomain::meanAndDeviation(flat, 0.0, 10.0).second, 0.0, 1e-4);
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
    int total = 0;
    for (int c : h)
        total += c;
    EXPECT_EQ(total, 5);
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

// A peak at bin 2 of height 8 and a right flank 6, 4, 2, 1. Worked out by hand:
// the left side alone: n = 0 gives q = 0, 4, 8 against 1, 3, 8 (error 2); n = 1 gives
// q = 0, 0, 8 (error 10). The right side alone, q[i] = 8 (m - i) / (m - 2):
// m = 3: 57, m = 4: 25, m = 5: 10, m = 6: q = 6, 4, 2, 0 against 6, 4, 2, 1 -> 1,
// m = 7: q = 6, 4, 3, 1 -> 1 (equal, so not taken), m = 8: q = 6, 5, 4, 2, 1 -> 7, and more
// for wider bases. Best (n, m) = (0, 6), error 3: TINN = floor(6 * 1000 / 128) = 46 ms.
TEST(HRVTimeDomainTinn, ExhaustiveFitOnAHandMadeHistogram)
{
    std::vector<int> h(384, 0);
    const int bins[] = { 1, 3, 8, 6, 4, 2, 1 };
    for (int i = 0; i < 7; ++i)
        h[size_t(i)] = bins[i];
    EXPECT_DOUBLE_EQ(HRVTimeDomain::tinn(h), 46.0);
}

TEST(HRVTimeDomainTinn, SameShapeFurtherRightGivesTheSameWidth)
{
    std::vector<int> h(384, 0);
    const int bins[] = { 1, 3, 8, 6, 4, 2, 1 };
    // Shifted by 100 bins the left side gains n from 0 to 100, all of them worse than n = 100
    // (each leaves bin 100's 1 and more in error), so the base is still 6 bins.
    for (int i = 0; i < 7; ++i)
        h[size_t(100 + i)] = bins[i];
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
