#include "fakebeats.h"
#include "results/afibanalyzer.h"
#include "results/afibdetector.h"

#include <gtest/gtest.h>

#include <random>

#include <algorithm>
#include <numeric>
#include <vector>

using namespace fakebeats;

namespace {

// Fourteen beats from t = 100 s, intervals rising and falling by 1/16 s (no jumps). Beat 0 stays
// out; beats 1..13 sorted: .5 .5 .5625 .5625 .625 .625 .6875 .6875 .75 .75 .8125 .8125 .875,
// q1 = [3] = 0.5625, q3 = [9] = 0.75: (0.1875 / 1.3125) * 100 = 100 / 7.
const double kIntervals[14] = { 0.5, 0.5, 0.5625, 0.625, 0.6875, 0.75, 0.8125, 0.875, 0.8125, 0.75,
    0.6875, 0.625, 0.5625, 0.5 };
const int kScored = 7; // its window (t - 15, t + 15) holds the whole list

struct ScoreCase
{
    const char* name;
    std::vector<int> vBeats; // beats made V
    double pIndicator; // channel 0, on every beat
    int negativeP; // beats 1..negativeP get -1.0 on channel 1
    double longInterval; // replaces the intervals of beats 1..4 when not 0
    bool jumpy; // alternate 0.5 and 0.75: every interval a jump
    double score;
};

void makeWindow(const ScoreCase& c, Beats& beats)
{
    double t = 100.0;
    for (int i = 0; i < 14; ++i) {
        double rr = kIntervals[i];
        if (c.jumpy)
            rr = i % 2 ? 0.5 : 0.75;
        if (c.longInterval != 0.0 && i >= 1 && i <= 4)
            rr = c.longInterval;
        t += rr;
        const bool isV = std::count(c.vBeats.begin(), c.vBeats.end(), i) > 0;
        Beat b;
        beats.add(t, rr, isV ? BeatV : BeatN);
        beats.get(i, b);
        b.setChannelMeasure(0, Beat::PPolarity, c.pIndicator);
        if (i >= 1 && i <= c.negativeP)
            b.setChannelMeasure(1, Beat::PPolarity, -1.0);
        beats.replace(b);
    }
}

class AFibScore : public ::testing::TestWithParam<ScoreCase>
{
};

TEST_P(AFibScore, QuartileDispersionUnlessRuledOut)
{
    const ScoreCase& c = GetParam();
    Beats beats(7200.0, 3);
    makeWindow(c, beats);
    Beat scored;
    ASSERT_TRUE(beats.get(kScored, scored));
    EXPECT_NEAR(AFibDetector::scoreAt(beats, scored, 3), c.score, 1e-9) << c.name;

    // The detector stores it under the beat's index, and nothing elsewhere.
    AFibDetector d;
    d.begin(beats);
    d.addBeat(scored);
    ASSERT_EQ(d.scores().size(), 14u);
    EXPECT_NEAR(d.scores()[kScored], c.score, 1e-9);
    EXPECT_EQ(d.scores()[0], 0.0);
}

INSTANTIATE_TEST_SUITE_P(Rules, AFibScore,
    ::testing::Values(ScoreCase { "irregular", {}, 0.0, 0, 0.0, false, 100.0 / 7.0 },
        // a P indicator of 0.9 truncates to 0: no P wave
        ScoreCase { "weak P truncated", {}, 0.9, 0, 0.0, false, 100.0 / 7.0 },
        // 13 of 13 beats with P: 1.0 > 0.4
        ScoreCase { "consistent P", {}, 1.0, 0, 0.0, false, 0.0 },
        // |-6| / 13 = 0.46 > 0.4 on channel 1; |-5| / 13 = 0.38 is not
        ScoreCase { "negative P on six", {}, 0.0, 6, 0.0, false, 0.0 },
        ScoreCase { "negative P on five", {}, 0.0, 5, 0.0, false, 100.0 / 7.0 },
        // V at 2: beats 2 and 3 stay out. Left: .5 .6875 .75 .8125 .875 .8125 .75 .6875 .625
        // .5625 .5, sorted .5 .5 .5625 .625 .6875 .6875 .75 .75 .8125 .8125 .875, n = 11:
        // q1 = [2] = .5625, q3 = [8] = .8125: 0.25 / 1.375 * 100 = 200 / 11
        ScoreCase { "V and the beat after it", { 2 }, 0.0, 0, 0.0, false, 200.0 / 11.0 },
        // V at 2 and 5: 9 usable beats
        ScoreCase { "nine usable beats", { 2, 5 }, 0.0, 0, 0.0, false, 0.0 },
        // four intervals of 2.0 s count as beats but not as intervals: 9 intervals
        ScoreCase { "too few intervals", {}, 0.0, 0, 2.0, false, 0.0 },
        // 0.75 then 0.5 and so on: every interval is a jump, 13 / 13 > 0.8,
        // where the quartiles alone would give (0.75 - 0.5) / 1.25 = 20 %
        ScoreCase { "jumps are ectopy", {}, 0.0, 0, 0.0, true, 0.0 }));

// Blocks of score 13 over beats [a, b), one beat per second at time = index: the 10-beat mean
// (i - 5 .. i + 4) first exceeds 10 at a + 3 (8 of 10 inside, 10.4) and falls below 10 at
// b - 2 (7 inside, 9.1), so a block makes the episode (a + 3, b - 2).
std::vector<double> blocks(
    int n, std::initializer_list<std::pair<int, int>> spans, double score = 13.0)
{
    std::vector<double> s(size_t(n), 0.0);
    for (const auto& span : spans)
        for (int i = span.first; i < span.second; ++i)
            s[size_t(i)] = score;
    return s;
}

struct EpisodeCase
{
    const char* name;
    std::vector<double> scores;
    std::vector<AFibDetector::Episode> episodes;
};

class AFibEpisodes : public ::testing::TestWithParam<EpisodeCase>
{
};

TEST_P(AFibEpisodes, SmoothMergeAndDrop)
{
    const EpisodeCase& c = GetParam();
    std::vector<double> times(c.scores.size());
    std::iota(times.begin(), times.end(), 0.0);
    const auto got = AFibDetector::episodesFrom(c.scores, times);
    ASSERT_EQ(got.size(), c.episodes.size()) << c.name;
    for (size_t i = 0; i < got.size(); ++i) {
        EXPECT_EQ(got[i].first, c.episodes[i].first) << c.name;
        EXPECT_EQ(got[i].second, c.episodes[i].second) << c.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, AFibEpisodes,
    ::testing::Values(
        // all 11: inside but never strong
        EpisodeCase { "never strong", std::vector<double>(100, 11.0), {} },
        // from 50 on: enters at 53 with 10.4 and turns strong at 55, so it starts at 53
        EpisodeCase {
            "starts at the first value over 10", blocks(100, { { 50, 100 } }), { { 53, 95 } } },
        // (10, 110) and (170, 270): gap 60 > 260 * 0.2 = 52, kept apart
        EpisodeCase { "gap of 60 s stays", blocks(290, { { 7, 112 }, { 167, 272 } }),
            { { 10, 110 }, { 170, 270 } } },
        // (10, 110), (120, 128) and (140, 150): the first takes the second, and the grown
        // episode takes the third (140 * 0.2 = 28 > 12), which (120, 128) alone would not
        EpisodeCase { "merge chains", blocks(170, { { 7, 112 }, { 117, 130 }, { 137, 152 } }),
            { { 10, 150 } } },
        // (20, 28) is 8 s long: dropped alone
        EpisodeCase { "short dropped", blocks(60, { { 17, 30 } }), {} },
        EpisodeCase { "empty", {}, {} }));

} // namespace

// Episodes from the irregularity of the intervals: fibrillation-like intervals (with V beats,
// whose intervals are left out) make one episode that covers them within a window's reach, while
// sinus rhythm with an early beat in every eight makes none. (With one in five, three of five
// successive changes are large and the median calls it irregular: a known limit.)
TEST(AFibIrregular, EpisodeCoversFibrillationNotEctopy)
{
    Beats beats(2000.0, 3);
    std::mt19937 rng(9);
    std::uniform_real_distribution<double> af(0.45, 1.0);
    double t = 10.0;
    const auto add = [&](double rr, int type) { beats.add(t += rr, rr, type, 0.8); };
    for (int i = 0; i < 100; ++i)
        add(0.8, BeatN);
    const double afFrom = t;
    for (int i = 0; i < 300; ++i)
        add(i % 25 == 12 ? 0.45 : af(rng), i % 25 == 12 ? BeatV : BeatN);
    const double afTo = t;
    for (int i = 0; i < 300; ++i)
        add(i % 8 == 2 ? 0.5 : i % 8 == 3 ? 1.1 : 0.8, i % 8 == 2 ? BeatS : BeatN);

    AFibAnalyzer analyzer;
    run(analyzer, beats);
    const auto& events = resultOf<EventListResult>(analyzer, "afibEvents")->events;
    ASSERT_EQ(events.size(), 1);
    const double start = events[0].timestamp;
    const double end = start + events[0].duration;
    EXPECT_NEAR(start, afFrom, 30.0);
    EXPECT_NEAR(end, afTo, 30.0);
    EXPECT_DOUBLE_EQ(resultOf<ValueResult>(analyzer, "afibTotalTime")->value, end - start);

    // The literal rule scores the same list its own way; it is still there.
    AFibAnalyzer literal(true);
    run(literal, beats);
    EXPECT_FALSE(resultOf<EventListResult>(literal, "afibEvents")->events.empty());
}
