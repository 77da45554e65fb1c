#include "fakebeats.h"
#include "results/heartrateanalyzer.h"

#include <gtest/gtest.h>

using namespace fakebeats;

namespace {

// `n` beats at the rate `bpm`, spread over the 30-second bin from `start`.
void fillBin(Beats& beats, double start, int n, double bpm)
{
    for (int i = 0; i < n; ++i)
        beats.add(start + i * (30.0 / n), 60.0 / bpm, BeatN);
}

// A 30-second bin of median v needs (trunc(v / 2) * 6) / 10 beats:
// 70 bpm -> (35 * 6) / 10 = 21; 61.9 -> trunc(30.95) = 30 -> 18.
TEST(HeartRate, BinNeedsSixtyPercentOfItsOwnRate)
{
    const struct
    {
        double bpm;
        int beats;
        bool accepted;
    } rows[] = { { 70.0, 20, false }, { 70.0, 21, true }, { 61.9, 17, false }, { 61.9, 18, true } };
    for (const auto& c : rows) {
        Beats beats(3600.0);
        fillBin(beats, 0.0, c.beats, c.bpm);
        HeartRateAnalyzer hr;
        run(hr, beats);
        SCOPED_TRACE(testing::Message() << c.bpm << " bpm, " << c.beats << " beats");
        ASSERT_EQ(resultOf<TTrend>(hr, "BPMTrend")->size(), c.accepted ? 1 : 0);
        const double expected = c.accepted ? c.bpm : 0.0;
        EXPECT_NEAR(valueOf(hr, "avgBPM"), expected, 1e-9);
        EXPECT_NEAR(resultOf<EventResult>(hr, "minBPM")->value, expected, 1e-9);
        // The beats count whether or not their bin is accepted.
        EXPECT_EQ(valueOf(hr, "totalBeatCount"), c.beats);
    }
}

TEST(HeartRate, MinimumMaximumTiesAndUpperMedian)
{
    // Bins 0..4 at 60, 80, 60, 80, 100 bpm; bin 4 has 20 beats where 100 bpm needs 30, so it
    // is rejected and must not become the maximum.
    Beats beats(3600.0);
    fillBin(beats, 0.0, 30, 60.0);
    fillBin(beats, 30.0, 30, 80.0);
    fillBin(beats, 60.0, 30, 60.0);
    fillBin(beats, 90.0, 30, 80.0);
    fillBin(beats, 120.0, 20, 100.0);
    HeartRateAnalyzer hr;
    run(hr, beats);

    ASSERT_EQ(resultOf<TTrend>(hr, "BPMTrend")->size(), 4);
    // Ties keep the earlier bin: the minimum is bin 0, the maximum bin 1.
    EXPECT_EQ(resultOf<EventResult>(hr, "minBPM")->timestamp, 0.0);
    EXPECT_NEAR(resultOf<EventResult>(hr, "minBPM")->value, 60.0, 1e-9);
    EXPECT_EQ(resultOf<EventResult>(hr, "maxBPM")->timestamp, 30.0);
    EXPECT_NEAR(resultOf<EventResult>(hr, "maxBPM")->value, 80.0, 1e-9);
    // Sorted 60 60 80 80: element 4 / 2 = 2 is 80, the upper median.
    EXPECT_NEAR(valueOf(hr, "avgBPM"), 80.0, 1e-9);
    EXPECT_NEAR(resultOf<BinnedTrend>(hr, "avgBPMPerHour")->valueAt(0), 80.0, 1e-9);
    EXPECT_NEAR(resultOf<BinnedTrend>(hr, "maxBPMPerHour")->valueAt(0), 80.0, 1e-9);
}

} // namespace
