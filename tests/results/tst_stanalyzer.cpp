#include "fakebeats.h"
#include "results/stanalyzer.h"

#include <gtest/gtest.h>

using namespace fakebeats;

namespace {

// The level is the point 20 ms after the QRS end less the baseline 10 ms before its onset.
TEST(STAnalyzer, LevelIsReadAtTheRightSamples)
{
    const struct
    {
        int rate, baselineBefore, pointAfter; // samples
    } rows[] = { { 250, 2, 5 }, { 128, 1, 2 } }; // 128 Hz truncates 1.28 and 2.56 samples
    for (const auto& c : rows) {
        Beats recording(3600.0, 1, c.rate);
        STAnalyzer analyzer(1.0, 1.0);
        analyzer.beginRecording(recording);
        AverageBeatSnapshot a = average(5, 0.8, c.rate, 1, 400, 0.01);
        // Every sample distinct, so a position off by one gives another level.
        for (size_t i = 0; i < a.channels[0].size(); ++i)
            a.channels[0][i] = 0.001 * double(i * i);
        AverageBeatDelineator d;
        d.qrsOnset = 100;
        d.qrsEnd = 130;
        analyzer.addAverage(20.0, a, { &d });
        const double b = 100 - c.baselineBefore, p = 130 + c.pointAfter;
        const TTrend* trend = resultOf<TTrend>(analyzer, "STLevelTrend(0)");
        ASSERT_EQ(trend->size(), 1);
        EXPECT_NEAR(trend->valueAt(0), 0.001 * (p * p - b * b) * 0.01 * 10.0, 1e-9) << c.rate;
    }
}

// Levels are fed straight in: baseline sample 0, the point sample level / (mv * 10).
class STEpisodes : public ::testing::Test
{
protected:
    STEpisodes()
        : recording(7200.0, 1, 250)
    {
        analyzer.beginRecording(recording);
    }

    void feed(double time, double level, int beats = 5)
    {
        feedSample(time, level / (kMv * 10.0), beats);
    }
    void feedSample(double time, double sample, int beats = 5)
    {
        AverageBeatSnapshot a = average(beats, 0.8, 250, 1, 200, kMv);
        AverageBeatDelineator d;
        d.qrsOnset = 50; // baseline 48
        d.qrsEnd = 70; // point 75
        a.channels[0][75] = sample;
        analyzer.addAverage(time, a, { &d });
    }

    static constexpr double kMv = 0.25;
    Beats recording;
    STAnalyzer analyzer { 1.0, 1.0 };
};

// Entry above 0.75 mm, exit below it; written when the peak reaches 1 mm and it lasts 30 s.
TEST_F(STEpisodes, EntryExitPeakAndLength)
{
    feedSample(20.0, 0.3); // 0.3 * 0.25 * 10 = 0.75, exactly the entry level
    EXPECT_EQ(analyzer.state(0), STAnalyzer::None);
    feed(100.0, 0.8); // opens at 100 s
    EXPECT_EQ(analyzer.state(0), STAnalyzer::Elevation);
    feed(120.0, 1.2);
    feed(140.0, 0.9); // 40 s, peak 1.2
    feed(160.0, 0.5);
    EXPECT_EQ(analyzer.state(0), STAnalyzer::None);
    feed(200.0, 0.8); // 40 s but only 0.9 mm
    feed(240.0, 0.9);
    feed(260.0, 0.1);
    feed(300.0, 2.0); // 2.0 mm but 20 s
    feed(320.0, 2.0);
    feed(340.0, 0.0);
    feed(3600.0, -0.8); // opens in hour 1
    EXPECT_EQ(analyzer.state(0), STAnalyzer::Depression);
    feed(3620.0, -1.5);
    feedSample(3660.0, -0.3); // -0.75 is not above the entry level: stays, 60 s
    feed(3680.0, -0.5);
    feed(4000.0, -1.0); // 30 s exactly: written
    feed(4030.0, -1.0);
    feed(4040.0, 0.0);
    feed(5000.0, 3.0); // still open at the end
    feed(5100.0, 3.0);
    analyzer.finishRecording();

    expectEvents(eventsOf(analyzer, "STElevationEvents(0)"), { { 100.0, 40.0, 1.2 } }, "up");
    expectEvents(eventsOf(analyzer, "STDepressionEvents(0)"),
        { { 3600.0, 60.0, 1.5 }, { 4000.0, 30.0, 1.0 } }, "down");
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "STEventCount(0)"), 3.0);
    const BinnedCount* perHour = resultOf<BinnedCount>(analyzer, "STEventCountPerHour(0)");
    EXPECT_DOUBLE_EQ(perHour->valueAt(0), 1.0);
    EXPECT_DOUBLE_EQ(perHour->valueAt(1), 2.0);
    // 20 levels sorted: -1.5 -1 -1 -0.8 -0.75 -0.5 0 0 0.1 0.5 | 0.75 ...: element 10 is 0.75.
    EXPECT_NEAR(valueOf(analyzer, "STLevelAvg(0)"), 0.75, 1e-12);
}

TEST_F(STEpisodes, ArtefactLimitsAndSmallAverages)
{
    feedSample(20.0, 8.0); // 20.0 mm: kept
    feedSample(40.0, 8.2); // 20.5 mm: dropped
    feedSample(60.0, -8.0); // -20.0 mm: kept
    feedSample(80.0, -8.2); // dropped
    feed(100.0, 1.0, 4); // 4 beats: ignored
    const TTrend& trend = *resultOf<TTrend>(analyzer, "STLevelTrend(0)");
    ASSERT_EQ(trend.size(), 2);
    EXPECT_DOUBLE_EQ(trend.valueAt(0), 20.0);
    EXPECT_DOUBLE_EQ(trend.valueAt(1), -20.0);
    EXPECT_EQ(resultOf<BinnedMean>(analyzer, "STLevelPerHour(0)")->binHits(0), 2); // the same two
}

} // namespace
