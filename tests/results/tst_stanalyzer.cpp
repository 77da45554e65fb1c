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
    } rows[] = { { 200, 2, 4 }, { 250, 2, 5 }, { 500, 5, 10 }, { 128, 1, 2 } };
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
    const EventListResult& events(const char* name) const
    {
        return *resultOf<EventListResult>(analyzer, name);
    }

    static constexpr double kMv = 0.25;
    Beats recording;
    STAnalyzer analyzer { 1.0, 1.0 };
};

TEST_F(STEpisodes, ThreeQuartersOfTheThresholdIsNotEnoughToEnter)
{
    feedSample(20.0, 0.3); // 0.3 * 0.25 * 10 = 0.75, exactly the entry level
    ASSERT_DOUBLE_EQ(resultOf<TTrend>(analyzer, "STLevelTrend(0)")->valueAt(0), 0.75);
    EXPECT_EQ(analyzer.state(0), STAnalyzer::None);
    feed(40.0, 0.76);
    EXPECT_EQ(analyzer.state(0), STAnalyzer::Elevation);
    feed(60.0, 0.0);
    EXPECT_EQ(analyzer.state(0), STAnalyzer::None);
    feedSample(80.0, -0.3); // -0.75: not below the depression entry
    EXPECT_EQ(analyzer.state(0), STAnalyzer::None);
    feed(100.0, -0.76);
    EXPECT_EQ(analyzer.state(0), STAnalyzer::Depression);
}

// The depression's value is positive; a level exactly at the entry keeps an episode open.
TEST_F(STEpisodes, EpisodesAreWrittenWithTheirPeak)
{
    feed(100.0, 0.8); // opens at 100 s
    feed(120.0, 1.2);
    feed(140.0, 0.9); // 40 s so far, peak 1.2
    feed(160.0, 0.5); // closes
    feed(3600.0, -0.8); // opens in hour 1
    feed(3620.0, -1.5);
    feed(3640.0, -1.0);
    feedSample(3660.0, -0.3); // -0.75 is not above the entry level: stays, 60 s
    feed(3680.0, -0.5); // closes
    analyzer.finishRecording();

    const EventListResult& up = events("STElevationEvents(0)");
    ASSERT_EQ(up.events.size(), 1);
    EXPECT_DOUBLE_EQ(up.events[0].timestamp, 100.0);
    EXPECT_DOUBLE_EQ(up.events[0].duration, 40.0);
    EXPECT_NEAR(up.events[0].value, 1.2, 1e-12);
    const EventListResult& down = events("STDepressionEvents(0)");
    ASSERT_EQ(down.events.size(), 1);
    EXPECT_DOUBLE_EQ(down.events[0].timestamp, 3600.0);
    EXPECT_DOUBLE_EQ(down.events[0].duration, 60.0);
    EXPECT_NEAR(down.events[0].value, 1.5, 1e-12);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "STEventCount(0)"), 2.0);
    const BinnedCount* perHour = resultOf<BinnedCount>(analyzer, "STEventCountPerHour(0)");
    EXPECT_DOUBLE_EQ(perHour->valueAt(0), 1.0);
    EXPECT_DOUBLE_EQ(perHour->valueAt(1), 1.0);
    // Sorted -1.5 -1.0 -0.8 -0.75 -0.5 0.5 0.8 0.9 1.2: element 4 is -0.5 mm.
    EXPECT_NEAR(valueOf(analyzer, "STLevelAvg(0)"), -0.5, 1e-12);
}

TEST_F(STEpisodes, EpisodesThatAreTooShortTooLowOrUnfinishedAreNotWritten)
{
    feed(20.0, 0.8); // 40 s but only 0.9 mm
    feed(40.0, 0.9);
    feed(60.0, 0.85);
    feed(80.0, 0.1);
    feed(100.0, 2.0); // 2.0 mm but 20 s
    feed(120.0, 2.0);
    feed(140.0, 0.0);
    feed(200.0, -1.0); // 30 s exactly: written
    feed(230.0, -1.0);
    feed(240.0, 0.0);
    feed(300.0, 3.0); // still open at the end
    feed(400.0, 3.0);
    analyzer.finishRecording();

    EXPECT_EQ(events("STElevationEvents(0)").events.size(), 0);
    ASSERT_EQ(events("STDepressionEvents(0)").events.size(), 1);
    EXPECT_DOUBLE_EQ(events("STDepressionEvents(0)").events[0].duration, 30.0);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "STEventCount(0)"), 1.0);
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

TEST(STChannels, MissingLimitsOrShortArraysSkipOnlyThatChannel)
{
    Beats recording(600.0, 3, 250);
    STAnalyzer analyzer(1.0, 1.0);
    analyzer.beginRecording(recording);
    AverageBeatSnapshot a = average(5, 0.8, 250, 3, 200, 0.25);
    for (auto& ch : a.channels)
        ch[75] = 0.4; // 1.0 mm
    a.channels[2].resize(60); // point 75 lies beyond this one's end
    AverageBeatDelineator d0, d1, d2;
    d0.qrsOnset = d2.qrsOnset = 50;
    d0.qrsEnd = d2.qrsEnd = 70;
    d1.qrsOnset = 50; // no QRS end
    analyzer.addAverage(20.0, a, { &d0, &d1, &d2 });
    EXPECT_EQ(resultOf<TTrend>(analyzer, "STLevelTrend(0)")->size(), 1);
    EXPECT_EQ(resultOf<TTrend>(analyzer, "STLevelTrend(1)")->size(), 0);
    EXPECT_EQ(resultOf<TTrend>(analyzer, "STLevelTrend(2)")->size(), 0);
}

} // namespace
