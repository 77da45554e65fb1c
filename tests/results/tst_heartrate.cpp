#include "results/beatcountanalyzer.h"
#include "results/heartrateanalyzer.h"
#include "tests/results/hrbeats.h"

#include <gtest/gtest.h>

#include <numeric>

using hrtest::Beats;

namespace {

// Runs one analyzer over every valid beat, as the driver would.
void runOver(ResultAnalyzer& a, Beats& beats)
{
    a.beginRecording(beats);
    Beat b;
    for (int i = 0; i < beats.count(); ++i) {
        if (beats.get(i, b) && b.isBeat)
            a.addBeat(b);
    }
    a.finishRecording();
}

template <typename T> const T* get(const ResultAnalyzer& a, const char* name)
{
    const auto it = a.results().find(name);
    return it == a.results().end() ? nullptr : dynamic_cast<const T*>(it->second.get());
}

// `n` beats at the rate `bpm`, spread over the 30-second bin from `start`.
void fillBin(Beats& beats, double start, int n, double bpm, int type = BeatN)
{
    for (int i = 0; i < n; ++i)
        beats.addAt(start + i * (30.0 / n), type, 60.0 / bpm);
}

struct AcceptanceCase
{
    double bpm;
    int beats;
    bool accepted;
};

void PrintTo(const AcceptanceCase& c, std::ostream* os)
{
    *os << c.bpm << " bpm, " << c.beats << " beats";
}

class HeartRateAcceptance : public ::testing::TestWithParam<AcceptanceCase>
{
};

// A 30-second bin of median v needs (trunc(v / 2) * 6) / 10 beats (60 % of 30 s at v):
// 70 bpm -> (35 * 6) / 10 = 21; 61.9 bpm -> trunc(30.95) = 30 -> 18; 120 -> (60*6)/10 = 36.
TEST_P(HeartRateAcceptance, BinNeedsSixtyPercentOfItsOwnRate)
{
    const AcceptanceCase c = GetParam();
    Beats beats(3600.0);
    fillBin(beats, 0.0, c.beats, c.bpm);
    HeartRateAnalyzer hr;
    runOver(hr, beats);
    const TTrend* trend = get<TTrend>(hr, "BPMTrend");
    ASSERT_TRUE(trend);
    ASSERT_EQ(trend->size(), c.accepted ? 1 : 0);
    const double expected = c.accepted ? c.bpm : 0.0;
    EXPECT_NEAR(get<ValueResult>(hr, "avgBPM")->value, expected, 1e-9);
    EXPECT_NEAR(get<EventResult>(hr, "minBPM")->value, expected, 1e-9);
    EXPECT_NEAR(get<EventResult>(hr, "maxBPM")->value, expected, 1e-9);
    // The beats count whether or not their bin is accepted.
    EXPECT_EQ(get<ValueResult>(hr, "totalBeatCount")->value, c.beats);
}

INSTANTIATE_TEST_SUITE_P(Bins, HeartRateAcceptance,
    ::testing::Values(AcceptanceCase { 70.0, 20, false }, AcceptanceCase { 70.0, 21, true },
        AcceptanceCase { 61.9, 17, false }, AcceptanceCase { 61.9, 18, true },
        AcceptanceCase { 120.0, 35, false }, AcceptanceCase { 120.0, 36, true }));

TEST(HeartRate, NeededBeatsByHand)
{
    EXPECT_EQ(HeartRateAnalyzer::neededBeats(70.0), 21);
    EXPECT_EQ(HeartRateAnalyzer::neededBeats(61.9), 18);
    EXPECT_EQ(HeartRateAnalyzer::neededBeats(59.9), 17); // trunc(29.95) = 29 -> 174 / 10
    EXPECT_EQ(HeartRateAnalyzer::neededBeats(1.0), 0);
}

TEST(HeartRate, MinimumMaximumTiesAndUpperMedian)
{
    Beats beats(3600.0);
    // Bins 0..4 at 60, 80, 60, 80, 100 bpm; bin 4 has only 20 beats where 100 bpm needs
    // (50 * 6) / 10 = 30, so it is rejected and must not become the maximum.
    fillBin(beats, 0.0, 30, 60.0);
    fillBin(beats, 30.0, 30, 80.0);
    fillBin(beats, 60.0, 30, 60.0);
    fillBin(beats, 90.0, 30, 80.0);
    fillBin(beats, 120.0, 20, 100.0);
    HeartRateAnalyzer hr;
    runOver(hr, beats);

    const TTrend* trend = get<TTrend>(hr, "BPMTrend");
    ASSERT_EQ(trend->size(), 4);
    EXPECT_EQ(trend->timeAt(1), 30.0);
    EXPECT_NEAR(trend->valueAt(1), 80.0, 1e-9);
    // Ties keep the earlier bin: the minimum is bin 0, the maximum bin 1.
    EXPECT_EQ(get<EventResult>(hr, "minBPM")->timestamp, 0.0);
    EXPECT_NEAR(get<EventResult>(hr, "minBPM")->value, 60.0, 1e-9);
    EXPECT_EQ(get<EventResult>(hr, "minBPM")->duration, 0.0);
    EXPECT_EQ(get<EventResult>(hr, "maxBPM")->timestamp, 30.0);
    EXPECT_NEAR(get<EventResult>(hr, "maxBPM")->value, 80.0, 1e-9);
    // Sorted 60 60 80 80: element 4 / 2 = 2 is 80, the upper median.
    EXPECT_NEAR(get<ValueResult>(hr, "avgBPM")->value, 80.0, 1e-9);
    EXPECT_NEAR(get<BinnedTrend>(hr, "avgBPMPerHour")->valueAt(0), 80.0, 1e-9);
    EXPECT_NEAR(get<BinnedTrend>(hr, "minBPMPerHour")->valueAt(0), 60.0, 1e-9);
    EXPECT_NEAR(get<BinnedTrend>(hr, "maxBPMPerHour")->valueAt(0), 80.0, 1e-9);
    EXPECT_EQ(get<ValueResult>(hr, "totalBeatCount")->value, 140.0);
}

TEST(HeartRate, RateFollowsTheMedianIntervalNotTheBeatsOwn)
{
    Beats beats(600.0);
    // 30 beats with median RR 1.0 s, one of them a premature V beat with RR 0.4 s.
    for (int i = 0; i < 30; ++i)
        beats.add(i + 0.2, i == 10 ? BeatV : BeatN, i == 10 ? 0.4 : 1.0, 1.0);
    HeartRateAnalyzer hr;
    runOver(hr, beats);
    EXPECT_NEAR(get<ValueResult>(hr, "avgBPM")->value, 60.0, 1e-9);
}

TEST(HeartRate, BeatsWithoutMedianCountButGiveNoRate)
{
    Beats beats(600.0);
    for (int i = 0; i < 25; ++i)
        beats.addAt(i, BeatN, 0.0); // median RR 0: a break everywhere
    HeartRateAnalyzer hr;
    runOver(hr, beats);
    EXPECT_EQ(get<TTrend>(hr, "BPMTrend")->size(), 0);
    EXPECT_EQ(get<ValueResult>(hr, "avgBPM")->value, 0.0);
    EXPECT_EQ(get<EventResult>(hr, "minBPM")->timestamp, 0.0);
    EXPECT_EQ(get<EventResult>(hr, "maxBPM")->value, 0.0);
    EXPECT_EQ(get<ValueResult>(hr, "totalBeatCount")->value, 25.0);
}

TEST(HeartRate, NinetyMinutesMakeTwoHourBins)
{
    Beats beats(5400.0);
    // A full bin at 5400 s lies beyond the recording: hour bin 1 holds it, since
    // (90 + 59) / 60 = 2 hour bins; the 30-second bins reach to 2 * 3600 s too.
    fillBin(beats, 5400.0, 30, 75.0);
    beats.addAt(10.0, BeatV, 0.0);
    HeartRateAnalyzer hr;
    runOver(hr, beats);
    const BinnedTrend* perHour = get<BinnedTrend>(hr, "beatCountPerHour");
    ASSERT_EQ(perHour->size(), 2);
    EXPECT_EQ(perHour->valueAt(0), 1.0);
    EXPECT_EQ(perHour->valueAt(1), 30.0);
    const BinnedTrend* avg = get<BinnedTrend>(hr, "avgBPMPerHour");
    ASSERT_EQ(avg->size(), 2);
    EXPECT_EQ(avg->valueAt(0), 0.0);
    EXPECT_NEAR(avg->valueAt(1), 75.0, 1e-9);
    EXPECT_EQ(get<EventResult>(hr, "maxBPM")->timestamp, 5400.0);
}

TEST(HeartRate, UnderOneMinuteHasNoHourBins)
{
    Beats beats(59.0);
    fillBin(beats, 0.0, 30, 60.0);
    HeartRateAnalyzer hr;
    runOver(hr, beats);
    for (const char* name :
        { "avgBPMPerHour", "minBPMPerHour", "maxBPMPerHour", "beatCountPerHour" })
        EXPECT_EQ(get<BinnedTrend>(hr, name)->size(), 0) << name;
    // No 30-second bins either, so no rate; the total still counts.
    EXPECT_EQ(get<TTrend>(hr, "BPMTrend")->size(), 0);
    EXPECT_EQ(get<ValueResult>(hr, "totalBeatCount")->value, 30.0);
}

TEST(HeartRate, BeginRecordingStartsAfresh)
{
    Beats beats(600.0);
    fillBin(beats, 0.0, 30, 60.0);
    HeartRateAnalyzer hr;
    runOver(hr, beats);
    runOver(hr, beats);
    EXPECT_EQ(get<ValueResult>(hr, "totalBeatCount")->value, 30.0);
    EXPECT_EQ(get<TTrend>(hr, "BPMTrend")->size(), 1);
}

TEST(BeatCount, CountsEachTypeAndIgnoresOtherCodes)
{
    Beats beats(600.0);
    // Types in order: U N N V F S S S, plus codes 5 and -1 that aren't types.
    const int types[] = { BeatU, BeatN, BeatN, BeatV, BeatF, BeatS, BeatS, BeatS, 5, -1 };
    double t = 1.0;
    for (int type : types)
        beats.addAt(t++, type, 1.0);
    BeatCountAnalyzer count;
    runOver(count, beats);
    const char* names[]
        = { "totalCountU", "totalCountN", "totalCountV", "totalCountF", "totalCountS" };
    const double expected[] = { 1, 2, 1, 1, 3 };
    ASSERT_EQ(count.results().size(), 5u);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(get<ValueResult>(count, names[i])->value, expected[i]) << names[i];
}

TEST(BeatCount, TotalOfHeartRateEqualsSumOfTypes)
{
    Beats beats(600.0);
    const int types[] = { BeatU, BeatN, BeatV, BeatF, BeatS, BeatN, BeatV };
    double t = 1.0;
    for (int type : types)
        beats.addAt(t++, type, type == BeatV ? 0.0 : 0.9);
    beats.addAt(t++, BeatN, 0.9, false); // noise: neither counts it
    HeartRateAnalyzer hr;
    BeatCountAnalyzer count;
    runOver(hr, beats);
    runOver(count, beats);
    double sum = 0.0;
    for (const auto& r : count.results())
        sum += static_cast<const ValueResult*>(r.second.get())->value;
    EXPECT_EQ(sum, 7.0);
    EXPECT_EQ(get<ValueResult>(hr, "totalBeatCount")->value, sum);
}

} // namespace
