// Building blocks of beat detection: the delayed median, record shifting, block thresholds
// and the modulus-maxima search on hand-made scale windows.

#include "analysis/channeldetector.h"
#include "analysis/leadbeatrecord.h"
#include "analysis/rollingmedian.h"
#include "analysis/scalewindow.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

struct MedianCase
{
    const char* name;
    std::vector<double> pushes;
    std::vector<double> expected; // the value each push returns
};

class RollingMedianTest : public ::testing::TestWithParam<MedianCase>
{
};

TEST_P(RollingMedianTest, ReturnsTheMedianBeforeThePush)
{
    RollingMedian median(4);
    const MedianCase& c = GetParam();
    for (size_t i = 0; i < c.pushes.size(); ++i) {
        EXPECT_DOUBLE_EQ(median.push(c.pushes[i]), c.expected[i]) << "push " << i;
        EXPECT_DOUBLE_EQ(median.current(), c.expected[i]);
    }
}

// Worked by hand for a ring of 4: each value is the median of the positive entries of the
// ring as it stood before the push.
INSTANTIATE_TEST_SUITE_P(Cases, RollingMedianTest,
    ::testing::Values(MedianCase { "oneStepDelay", { 0.8, 0.8, 0.8 }, { 0.0, 0.8, 0.8 } },
        MedianCase {
            "evenCountTakesMeanOfMiddle", { 1.0, 3.0, 2.0, 10.0 }, { 0.0, 1.0, 2.0, 2.0 } },
        MedianCase { "nonPositiveValuesSkipped", { -1.0, 0.0, 0.6, 0.9, 0.3 },
            { 0.0, 0.0, 0.0, 0.6, 0.75 } },
        MedianCase { "oldestValueLeavesTheRing", { 5.0, 1.0, 1.0, 1.0, 1.0, 1.0 },
            { 0.0, 5.0, 3.0, 1.0, 1.0, 1.0 } }),
    [](const ::testing::TestParamInfo<MedianCase>& info) { return info.param.name; });

TEST(LeadBeatRecord, ShiftMovesFoundPositionsOnly)
{
    LeadBeatRecord r = LeadBeatRecord::empty(-20);
    r.rPeak = -19;
    r.tOff = 80;
    r.qrsPolarity = -1;
    r.rejectedMaxima = 3;
    const LeadBeatRecord s = r.shifted(1000);
    EXPECT_EQ(s.qrs, 980);
    EXPECT_EQ(s.rPeak, 981);
    EXPECT_EQ(s.tOff, 1080);
    EXPECT_EQ(s.pPeak, LeadBeatRecord::kNotFound);
    EXPECT_EQ(s.qrsOn, LeadBeatRecord::kNotFound);
    EXPECT_EQ(s.qrsPolarity, -1);
    EXPECT_EQ(s.rejectedMaxima, 3);
}

// A window whose current block holds four segments of constant magnitude (alternating sign,
// so the RMS of a segment is its level).
ScaleWindow levels(int blockLength, const std::vector<double>& segmentLevels)
{
    std::vector<double> current(size_t(blockLength), 0.0);
    const int seg = blockLength / 4;
    for (int s = 0; s < 4; ++s)
        for (int k = s * seg; k < (s + 1) * seg; ++k)
            current[size_t(k)] = (k % 2 ? -1.0 : 1.0) * segmentLevels[size_t(s)];
    ScaleWindow w(blockLength);
    w.set({}, current, {});
    return w;
}

TEST(BlockThresholds, ReferenceSitsBelowTheFirstDoublingOfW3)
{
    // W3 sorted: 4, 5, 20, 30. 4 -> 5 is no doubling, 5 -> 20 is: reference index 1.
    const ScaleWindow w1 = levels(400, { 7, 6, 8, 9 });
    const ScaleWindow w2 = levels(400, { 10, 40, 20, 30 });
    const ScaleWindow w3 = levels(400, { 30, 4, 20, 5 });
    const ScaleWindow w4 = levels(400, { 2, 8, 4, 6 });
    const ScaleWindow* scales[4] = { &w1, &w2, &w3, &w4 };
    const BlockThresholds th = ChannelDetector::thresholds(scales);
    ASSERT_FALSE(th.flat);
    EXPECT_DOUBLE_EQ(th.t3, 1.25 * 5.0);
    EXPECT_DOUBLE_EQ(th.t2, 1.25 * 20.0); // second smallest of W2, sorted on its own
    EXPECT_DOUBLE_EQ(th.t4, 0.5 * 4.0);
    EXPECT_DOUBLE_EQ(th.t1, 7.0);
}

TEST(BlockThresholds, WithoutADoublingTheLargestSegmentServes)
{
    const ScaleWindow w = levels(400, { 4, 5, 6, 7 });
    const ScaleWindow* scales[4] = { &w, &w, &w, &w };
    const BlockThresholds th = ChannelDetector::thresholds(scales);
    ASSERT_FALSE(th.flat);
    EXPECT_DOUBLE_EQ(th.t3, 1.25 * 7.0);
}

TEST(BlockThresholds, QuietW3IsFlat)
{
    const ScaleWindow loud = levels(400, { 100, 100, 100, 100 });
    const ScaleWindow quiet = levels(400, { 3, 3, 3, 3 }); // 3.0 is not above 3.0
    const ScaleWindow* scales[4] = { &loud, &loud, &quiet, &loud };
    EXPECT_TRUE(ChannelDetector::thresholds(scales).flat);
}

// Triangular lobes: a peak of `height` at `centre`, falling to zero over 5 samples each side.
void addLobe(std::vector<double>& v, int centre, double height)
{
    for (int d = -4; d <= 4; ++d)
        v[size_t(centre + d)] += height * (1.0 - std::abs(d) / 5.0);
}

struct Scales
{
    explicit Scales(int n)
        : w2(size_t(n), 0.0)
        , w3(size_t(n), 0.0)
        , w4(size_t(n), 0.0)
    {
    }
    // The same lobe on all three scales.
    void lobe(int centre, double height, double w3Height = 0.0)
    {
        addLobe(w2, centre, height);
        addLobe(w3, centre, w3Height != 0.0 ? w3Height : height);
        addLobe(w4, centre, height);
    }
    std::vector<double> w2, w3, w4;
};

std::vector<int> labelsIn(const ChannelDetectorState& s, int from, int to)
{
    std::vector<int> at;
    for (int k = from; k <= to; ++k)
        if (s.label(k) != 0)
            at.push_back(k * s.label(k));
    return at;
}

TEST(ModulusMaxima, OppositePairIsKeptAndLoneMaximumRejected)
{
    const int n = 1000;
    Scales sc(n);
    sc.lobe(100, -50.0); // a pair 10 samples apart: one QRS
    sc.lobe(110, 50.0);
    sc.lobe(600, 50.0); // a lone maximum with nothing of the other sign within 0.15 s
    ScaleWindow w2(n), w3(n), w4(n);
    w2.set({}, sc.w2, {});
    w3.set({}, sc.w3, {});
    w4.set({}, sc.w4, {});
    ChannelDetector d(n);
    d.searchMaxima(w2, w3, w4, 0, n - 1, 10.0, 10.0, 10.0);
    EXPECT_EQ(labelsIn(d.state(), 0, n - 1), (std::vector<int> { -100, 110 }));
    // The samples beside a triangular peak are turning points at reach 3 (-40 against -10 and
    // -30), so each lobe labels three samples. The pair loses the two neighbours of each peak
    // as redundant (4), the lone lobe all three as isolated (3).
    EXPECT_EQ(d.state().rejectedCount, 7);
    EXPECT_EQ(d.state().rejectedAt(600), 1);
    EXPECT_EQ(d.state().rejectedAt(99), 1);
    EXPECT_EQ(d.state().rejectedAt(100), 0);
}

TEST(ModulusMaxima, OfTwoSameSignMaximaTheOneWithMoreW3Stays)
{
    const int n = 1000;
    Scales sc(n);
    sc.lobe(200, -50.0, -30.0);
    sc.lobe(210, 50.0);
    sc.lobe(240, -50.0, -60.0); // 40 samples from the first negative one: within 0.2 s
    ScaleWindow w2(n), w3(n), w4(n);
    w2.set({}, sc.w2, {});
    w3.set({}, sc.w3, {});
    w4.set({}, sc.w4, {});
    ChannelDetector d(n);
    d.searchMaxima(w2, w3, w4, 0, n - 1, 10.0, 10.0, 10.0);
    EXPECT_EQ(labelsIn(d.state(), 0, n - 1), (std::vector<int> { 210, -240 }));
    EXPECT_EQ(d.state().rejectedAt(200), 1);
    // 199, 200, 201, 209, 211, 239 and 241 go: the peak at 200 loses to 240 (W3 60 > 30).
    EXPECT_EQ(d.state().rejectedCount, 7);
}

TEST(ModulusMaxima, BelowAnyThresholdNothingIsLabelled)
{
    const int n = 1000;
    Scales sc(n);
    sc.lobe(100, -50.0);
    sc.lobe(110, 50.0);
    ScaleWindow w2(n), w3(n), w4(n);
    w2.set({}, sc.w2, {});
    w3.set({}, sc.w3, {});
    w4.set({}, sc.w4, {});
    const double thresholds[3][3] = { { 60, 10, 10 }, { 10, 60, 10 }, { 10, 10, 60 } };
    for (const auto& t : thresholds) {
        ChannelDetector d(n);
        d.searchMaxima(w2, w3, w4, 0, n - 1, t[0], t[1], t[2]);
        EXPECT_TRUE(labelsIn(d.state(), -n, 2 * n - 1).empty());
    }
}

TEST(ChannelDetectorState, ShiftMovesLabelsOneBlockBack)
{
    ChannelDetectorState s(100);
    s.setLabel(150, 1);
    s.setLabel(-50, -1);
    s.markRejected(20);
    s.setLabel(500, 1); // outside the window: ignored
    s.shiftBlock();
    EXPECT_EQ(s.label(50), 1);
    EXPECT_EQ(s.label(-50), 0);
    EXPECT_EQ(s.rejectedAt(-80), 1);
    EXPECT_EQ(s.label(150), 0);
}

} // namespace
