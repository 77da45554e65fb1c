#include "recordingfake.h"

#include "results/model/trend.h"
#include "results/pranalyzer.h"

#include <gtest/gtest.h>

using namespace recordingfake;

namespace {

class PRAnalyzerTest : public ::testing::Test
{
protected:
    PRAnalyzerTest()
        : recording(3600.0, 2, 500)
    {
        analyzer.beginRecording(recording);
    }

    void add(double time, int beats, const Limits& ch0, const Limits& ch1)
    {
        AverageBeatDelineator d0, d1;
        ch0.applyTo(d0);
        ch1.applyTo(d1);
        analyzer.addAverage(time, average(beats, 0.8, 500), { &d0, &d1 });
    }
    double value(const char* name) const
    {
        return dynamic_cast<ValueResult*>(analyzer.results().at(name).get())->value;
    }
    const TTrend& trend(const char* name) const
    {
        return *dynamic_cast<TTrend*>(analyzer.results().at(name).get());
    }

    Recording recording;
    PRAnalyzer analyzer;
};

Limits pr(int pOnset, int qrsOnset, int pEnd = 0)
{
    Limits l;
    l.pOnset = pOnset;
    l.qrsOnset = qrsOnset;
    l.pEnd = pEnd;
    return l;
}

TEST_F(PRAnalyzerTest, PerChannelTrendAndMedian)
{
    // 500 Hz: 80 samples = 160 ms, 75 = 150 ms, 90 = 180 ms; channel 1 has no P.
    add(20.0, 5, pr(50, 130), pr(0, 130));
    add(40.0, 8, pr(55, 130), pr(0, 130));
    add(60.0, 5, pr(40, 130), pr(0, 130));
    analyzer.finishRecording();

    const TTrend& t0 = trend("PRTrend(0)");
    ASSERT_EQ(t0.size(), 3);
    EXPECT_DOUBLE_EQ(t0.timeAt(0), 20.0);
    EXPECT_DOUBLE_EQ(t0.valueAt(0), 160.0);
    EXPECT_DOUBLE_EQ(t0.valueAt(1), 150.0);
    EXPECT_DOUBLE_EQ(t0.valueAt(2), 180.0);
    EXPECT_DOUBLE_EQ(value("PRIntervalAvg(0)"), 160.0);

    EXPECT_EQ(trend("PRTrend(1)").size(), 0);
    EXPECT_DOUBLE_EQ(value("PRIntervalAvg(1)"), 0.0);
    // pEnd was never given: no P duration.
    EXPECT_DOUBLE_EQ(value("PDurationAvg(0)"), 0.0);
}

TEST_F(PRAnalyzerTest, RejectedAverages)
{
    add(20.0, 4, pr(50, 130), pr(50, 130)); // 4 beats: nothing at all
    add(40.0, 5, pr(130, 130), pr(140, 130)); // P onset not before the QRS
    add(60.0, 5, pr(50, 0), pr(0, 0)); // no QRS onset
    EXPECT_EQ(trend("PRTrend(0)").size(), 0);
    EXPECT_EQ(trend("PRTrend(1)").size(), 0);
}

TEST_F(PRAnalyzerTest, PDurationWhenAnEndIsGiven)
{
    // (pEnd - pOnset) / 500: 50 -> 100 ms, 45 -> 90 ms, 60 -> 120 ms.
    add(20.0, 5, pr(50, 130, 100), pr(0, 0));
    add(40.0, 5, pr(50, 130, 95), pr(0, 0));
    add(60.0, 5, pr(50, 130, 110), pr(0, 0));
    analyzer.finishRecording();
    EXPECT_DOUBLE_EQ(value("PDurationAvg(0)"), 100.0);
}

TEST(PRAnalyzerChannels, FewerDelineatorsThanChannelsIsHarmless)
{
    Recording recording(600.0, 3, 250);
    PRAnalyzer analyzer;
    analyzer.beginRecording(recording);
    AverageBeatDelineator d;
    pr(20, 60).applyTo(d); // 40 samples at 250 Hz = 160 ms
    analyzer.addAverage(20.0, average(6, 0.8, 250, 3), { &d });
    analyzer.finishRecording();
    EXPECT_EQ(dynamic_cast<TTrend*>(analyzer.results().at("PRTrend(0)").get())->valueAt(0), 160.0);
    EXPECT_EQ(dynamic_cast<TTrend*>(analyzer.results().at("PRTrend(2)").get())->size(), 0);
}

} // namespace
