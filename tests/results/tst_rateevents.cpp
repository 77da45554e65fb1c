#include "fakebeats.h"
#include "results/arrhythmiaanalyzer.h"
#include "results/pauseanalyzer.h"
#include "store/trend.h"

#include <gtest/gtest.h>

#include <vector>

using namespace fakebeats;

namespace {

// The pause runs from the first beat's R (100.2 s) for the second beat's RR.
TEST(Pause, LongerThanTheIntervalOnly)
{
    const struct
    {
        double interval, rr; // s
        bool pause;
    } rows[]
        = { { 2.0, 2.0, false }, { 2.0, 2.004, true }, { 1.5, 1.6, true }, { 2.0, 0.0, false } };
    for (const auto& c : rows) {
        Beats beats;
        beats.add(100.0, 0.8, BeatN);
        beats.add(100.0 + c.rr, c.rr, BeatV);
        PauseAnalyzer a(c.interval);
        run(a, beats);
        EXPECT_EQ(valueOf(a, "pauseCount"), c.pause ? 1.0 : 0.0) << c.rr;
        expectEvents(eventsOf(a, "pauseEvents"),
            c.pause ? std::vector<Ev> { { 100.2, c.rr, c.rr } } : std::vector<Ev> {}, "pauses");
    }
}

// Median RR 0.5 s = 120 bpm, 0.375 = 160, 0.75 = 80, 1.5 = 40, 2.0 = 30, 1.6 = 37.5; `rr`
// only matters when it is 0.0.
struct RateBeat
{
    double time, medianRR, rr = 1.0;
};

struct RateCase
{
    const char* name;
    std::vector<RateBeat> beats;
    std::vector<Ev> tachy, brady; // start, duration, extreme bpm
    std::vector<double> tachyBeatsPerHour; // bins 0 and 1 of the 2-hour recording
    std::vector<double> bradyBeatsPerHour;
};

std::vector<RateBeat> steady(double from, double to, double medianRR, double step = 1.0)
{
    std::vector<RateBeat> out;
    for (double t = from; t < to - 1e-9; t += step)
        out.push_back({ t, medianRR });
    return out;
}

std::vector<RateBeat> join(std::initializer_list<std::vector<RateBeat>> parts)
{
    std::vector<RateBeat> out;
    for (const auto& p : parts)
        out.insert(out.end(), p.begin(), p.end());
    return out;
}

class Arrhythmia : public ::testing::TestWithParam<RateCase>
{
};

TEST_P(Arrhythmia, Episodes)
{
    const RateCase& c = GetParam();
    Beats beats(7200.0);
    for (const RateBeat& b : c.beats)
        beats.add(b.time, b.rr, BeatN, b.medianRR);
    ArrhythmiaAnalyzer a(40, 120, 5.0);
    run(a, beats);

    SCOPED_TRACE(c.name);
    expectEvents(eventsOf(a, "tachycardiaEvents"), c.tachy, "tachycardia");
    expectEvents(eventsOf(a, "bradycardiaEvents"), c.brady, "bradycardia");
    EXPECT_EQ(valueOf(a, "totalTachyCount"), double(c.tachy.size()));
    EXPECT_EQ(valueOf(a, "totalBradyCount"), double(c.brady.size()));
    const auto* tachyBeats = resultOf<BinnedSum>(a, "tachyBeatCountPerHour");
    const auto* bradyBeats = resultOf<BinnedSum>(a, "bradyBeatCountPerHour");
    const auto* tachyCount = resultOf<BinnedCount>(a, "tachyCountPerHour");
    const auto* bradyCount = resultOf<BinnedCount>(a, "bradyCountPerHour");
    ASSERT_TRUE(tachyBeats && bradyBeats && tachyCount && bradyCount);
    for (int h = 0; h < 2; ++h) {
        const double wantT = c.tachyBeatsPerHour.empty() ? 0.0 : c.tachyBeatsPerHour[size_t(h)];
        const double wantB = c.bradyBeatsPerHour.empty() ? 0.0 : c.bradyBeatsPerHour[size_t(h)];
        EXPECT_EQ(tachyBeats->valueAt(h), wantT) << "hour " << h;
        EXPECT_EQ(bradyBeats->valueAt(h), wantB) << "hour " << h;
        EXPECT_EQ(tachyCount->valueAt(h), wantT > 0 ? 1.0 : 0.0) << "hour " << h;
        EXPECT_EQ(bradyCount->valueAt(h), wantB > 0 ? 1.0 : 0.0) << "hour " << h;
    }
}

INSTANTIATE_TEST_SUITE_P(Episodes, Arrhythmia,
    ::testing::Values(
        // 160 bpm from 10 to 14 (5 beats), 80 at 15 ends it after exactly 5.0 s
        RateCase { "tachy of 5.0 s", join({ steady(10, 15, 0.375), steady(15, 20, 0.75) }),
            { { 10, 5.0, 160 } }, {}, { 5, 0 }, {} },
        // 160 bpm from 10, 80 bpm at 14.9: 4.9 s leaves no trace
        RateCase { "tachy of 4.9 s",
            join({ steady(10, 14.5, 0.375, 0.5), { { 14.9, 0.75 } }, steady(16, 20, 0.75) }), {},
            {}, {}, {} },
        RateCase { "exactly 120 bpm is no tachycardia", steady(10, 40, 0.5), {}, {}, {}, {} },
        RateCase { "exactly 40 bpm is no bradycardia", steady(10, 40, 1.5), {}, {}, {}, {} },
        // 30 bpm from 10 to 17, 37.5 at 14: lowest 30; 80 at 18 ends it after 8 s of 8 beats
        RateCase { "brady extreme",
            join({ steady(10, 14, 2.0), steady(14, 15, 1.6), steady(15, 18, 2.0),
                steady(18, 22, 0.75) }),
            {}, { { 10, 8.0, 30 } }, {}, { 8, 0 } },
        // the beat at 15 ends the tachycardia and opens a bradycardia at once
        RateCase { "tachy then brady",
            join({ steady(10, 15, 0.375), steady(15, 21, 2.0), steady(21, 25, 0.75) }),
            { { 10, 5.0, 160 } }, { { 15, 6.0, 30 } }, { 5, 0 }, { 6, 0 } },
        // a break at 16 drops the open episode; the new one from 16 lasts only 4 s
        RateCase { "break drops the episode",
            join({ steady(10, 16, 0.375), { { 16, 0.375, 0.0 } }, steady(17, 20, 0.375),
                steady(20, 24, 0.75) }),
            {}, {}, {}, {} },
        // from 3597 to 3602: counted in hour 1, where it ended
        RateCase { "hour of the end", join({ steady(3597, 3602, 0.375), steady(3602, 3605, 0.75) }),
            { { 3597, 5.0, 160 } }, {}, { 0, 5 }, {} }));

} // namespace
