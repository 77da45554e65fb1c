#include "analysis/channeldetector.h"
#include "analysis/rollingmedian.h"
#include "analysis/scalewindow.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// Each push returns the median of the positive entries of a ring of 4 as it stood before.
TEST(RollingMedian, ReturnsTheMedianBeforeThePush)
{
    const struct
    {
        std::vector<double> pushes, expected;
    } cases[] = {
        { { 0.8, 0.8, 0.8 }, { 0.0, 0.8, 0.8 } }, // one step of delay
        { { 1.0, 3.0, 2.0, 10.0 }, { 0.0, 1.0, 2.0, 2.0 } }, // even count: mean of the middle
        { { -1.0, 0.0, 0.6, 0.9, 0.3 }, { 0.0, 0.0, 0.0, 0.6, 0.75 } }, // non-positive skipped
        { { 5.0, 1.0, 1.0, 1.0, 1.0, 1.0 }, { 0.0, 5.0, 3.0, 1.0, 1.0, 1.0 } }, // oldest leaves
    };
    for (const auto& c : cases) {
        RollingMedian median(4);
        for (size_t i = 0; i < c.pushes.size(); ++i)
            EXPECT_DOUBLE_EQ(median.push(c.pushes[i]), c.expected[i]) << "push " << i;
    }
}

// A 400-sample block of four segments of constant magnitude (alternating sign, so a segment's
// RMS is its level).
ScaleWindow levels(const std::vector<double>& segmentLevels)
{
    std::vector<double> current(400, 0.0);
    for (int k = 0; k < 400; ++k)
        current[size_t(k)] = (k % 2 ? -1.0 : 1.0) * segmentLevels[size_t(k / 100)];
    ScaleWindow w(400);
    w.set({}, current, {});
    return w;
}

TEST(BlockThresholds, ReferenceSitsBelowTheFirstDoublingOfW3)
{
    // W3 sorted 4, 5, 20, 30: 5 -> 20 is the first doubling, so the reference is 5.
    const ScaleWindow w1 = levels({ 7, 6, 8, 9 }), w2 = levels({ 10, 40, 20, 30 }),
                      w3 = levels({ 30, 4, 20, 5 }), w4 = levels({ 2, 8, 4, 6 });
    const ScaleWindow* scales[4] = { &w1, &w2, &w3, &w4 };
    const BlockThresholds th = ChannelDetector::thresholds(scales);
    ASSERT_FALSE(th.flat);
    EXPECT_DOUBLE_EQ(th.t3, 1.25 * 5.0);
    EXPECT_DOUBLE_EQ(th.t2, 1.25 * 20.0); // second smallest of W2, sorted on its own
    EXPECT_DOUBLE_EQ(th.t4, 0.5 * 4.0);
    EXPECT_DOUBLE_EQ(th.t1, 7.0);

    const ScaleWindow even = levels({ 4, 5, 6, 7 }); // no doubling: the largest serves
    const ScaleWindow* evenScales[4] = { &even, &even, &even, &even };
    EXPECT_DOUBLE_EQ(ChannelDetector::thresholds(evenScales).t3, 1.25 * 7.0);

    const ScaleWindow loud = levels({ 100, 100, 100, 100 }), quiet = levels({ 3, 3, 3, 3 });
    const ScaleWindow* quietScales[4] = { &loud, &loud, &quiet, &loud }; // 3 is not above 3
    EXPECT_TRUE(ChannelDetector::thresholds(quietScales).flat);
}

// W2, W3 and W4 of 1000 samples with triangular lobes (peak at centre, zero 5 samples away).
struct Scales
{
    std::vector<double> v[3]
        = { std::vector<double>(1000), std::vector<double>(1000), std::vector<double>(1000) };
    void lobe(int centre, double height, double w3Height = 0.0)
    {
        for (int s = 0; s < 3; ++s)
            for (int d = -4; d <= 4; ++d)
                v[s][size_t(centre + d)]
                    += (s == 1 && w3Height != 0.0 ? w3Height : height) * (1.0 - std::abs(d) / 5.0);
    }
    ChannelDetector search(double t2, double t3, double t4) const
    {
        ScaleWindow w[3] = { ScaleWindow(1000), ScaleWindow(1000), ScaleWindow(1000) };
        for (int s = 0; s < 3; ++s)
            w[s].set({}, v[s], {});
        ChannelDetector d(1000);
        d.searchMaxima(w[0], w[1], w[2], 0, 999, t2, t3, t4);
        return d;
    }
};

std::vector<int> labels(const ChannelDetectorState& s)
{
    std::vector<int> at;
    for (int k = -1000; k < 2000; ++k)
        if (s.label(k) != 0)
            at.push_back(k * s.label(k));
    return at;
}

TEST(ModulusMaxima, OppositePairIsKeptAndLoneMaximumRejected)
{
    Scales sc;
    sc.lobe(100, -50.0); // a pair 10 samples apart: one QRS
    sc.lobe(110, 50.0);
    sc.lobe(600, 50.0); // nothing of the other sign within 0.15 s
    sc.lobe(900, 50.0); // opposite signs 40 samples (0.16 s) apart: both isolated
    sc.lobe(940, -50.0);
    const ChannelDetector d = sc.search(10.0, 10.0, 10.0);
    EXPECT_EQ(labels(d.state()), (std::vector<int> { -100, 110 }));
    // The neighbours of a triangular peak are turning points too (3 per lobe): the pair loses
    // 4 as redundant, each lone lobe 3 as isolated.
    EXPECT_EQ(d.state().rejectedCount, 13);
    EXPECT_EQ(d.state().rejectedAt(600), 1);
    EXPECT_EQ(d.state().rejectedAt(940), 1);
    EXPECT_EQ(d.state().rejectedAt(100), 0);

    // Below any one of the three thresholds nothing is labelled.
    const double high[3][3] = { { 60, 10, 10 }, { 10, 60, 10 }, { 10, 10, 60 } };
    for (const auto& t : high)
        EXPECT_TRUE(labels(sc.search(t[0], t[1], t[2]).state()).empty());
}

} // namespace
