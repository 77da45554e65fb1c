#include "handbeats.h"
#include "results/bigeminyanalyzer.h"
#include "results/ectopyanalyzer.h"
#include "results/model/trend.h"
#include "results/trigeminyanalyzer.h"

#include <gtest/gtest.h>

#include <vector>

using namespace handbeats;

namespace {

struct Ev
{
    double timestamp, duration, value;
};

std::vector<Ev> eventsOf(const ResultAnalyzer& a, const char* name)
{
    std::vector<Ev> out;
    if (const auto* list = resultOf<EventListResult>(a, name))
        for (const EventResult& e : list->events)
            out.push_back({ e.timestamp, e.duration, e.value });
    return out;
}

void expectEvents(const std::vector<Ev>& got, const std::vector<Ev>& want, const char* what)
{
    ASSERT_EQ(got.size(), want.size()) << what;
    for (size_t i = 0; i < want.size(); ++i) {
        EXPECT_DOUBLE_EQ(got[i].timestamp, want[i].timestamp) << what << " #" << i;
        EXPECT_DOUBLE_EQ(got[i].duration, want[i].duration) << what << " #" << i;
        EXPECT_DOUBLE_EQ(got[i].value, want[i].value) << what << " #" << i;
    }
}

// Beats one second apart from t = 10 s, so beat k has time 10 + k.
struct EctopyCase
{
    const char* pattern;
    int watched;
    double total;
    std::vector<Ev> couplets, triplets, runs;
};

class EctopySeries : public ::testing::TestWithParam<EctopyCase>
{
};

TEST_P(EctopySeries, CountsAndEvents)
{
    const EctopyCase& c = GetParam();
    HandBeatList beats;
    beats.addPattern(c.pattern);
    EctopyAnalyzer a(c.watched);
    run(a, beats);

    EXPECT_EQ(valueOf(a, "totalCount"), c.total);
    EXPECT_EQ(valueOf(a, "coupletCount"), double(c.couplets.size()));
    EXPECT_EQ(valueOf(a, "tripletCount"), double(c.triplets.size()));
    EXPECT_EQ(valueOf(a, "runCount"), double(c.runs.size()));
    expectEvents(eventsOf(a, "coupletEvents"), c.couplets, "couplets");
    expectEvents(eventsOf(a, "tripletEvents"), c.triplets, "triplets");
    expectEvents(eventsOf(a, "runEvents"), c.runs, "runs");
}

INSTANTIATE_TEST_SUITE_P(Patterns, EctopySeries,
    ::testing::Values(
        // V at 11 and 12, ended by the N at 13.
        EctopyCase { "NVVN", BeatV, 2, { { 11, 2, 2 } }, {}, {} },
        // the lone V after a couplet adds only to the total
        EctopyCase { "NVVNVN", BeatV, 3, { { 11, 2, 2 } }, {}, {} },
        EctopyCase { "NVVVN", BeatV, 3, {}, { { 11, 3, 3 } }, {} },
        EctopyCase { "NVVVVN", BeatV, 4, {}, {}, { { 11, 4, 4 } } },
        // another ectopic type ends a series like a normal beat
        EctopyCase { "NVVSN", BeatV, 2, { { 11, 2, 2 } }, {}, {} },
        EctopyCase { "NSSVN", BeatS, 2, { { 11, 2, 2 } }, {}, {} },
        EctopyCase { "NVVN", BeatS, 0, {}, {}, {} },
        // a break before the second V splits the couplet into two lone beats
        EctopyCase { "NV|VN", BeatV, 2, {}, {}, {} },
        // the break drops the open couplet at 11 unreported; V at 13 and 14 make a new one
        EctopyCase { "NVV|VVN", BeatV, 4, { { 13, 2, 2 } }, {}, {} },
        // a series still open at the end is counted but not reported
        EctopyCase { "NVVV", BeatV, 3, {}, {}, {} },
        // a noise entry is not a beat: V at 11 and 13 stay one series
        EctopyCase { "NVxVN", BeatV, 2, { { 11, 3, 2 } }, {}, {} },
        EctopyCase { "NVVVVVNVVVVN", BeatV, 9, {}, {}, { { 11, 5, 5 }, { 17, 4, 4 } } }));

TEST(Ectopy, MaxRunKeepsTheFirstOfEqualLengthsAndTheLongest)
{
    struct Row
    {
        const char* pattern;
        Ev maxRun;
    };
    const Row rows[] = {
        { "NVVVVNVVVVN", { 11, 4, 4 } }, // two runs of 4: the first stays
        { "NVVVVNVVVVVVN", { 16, 6, 6 } }, // a longer one replaces it
        { "NVVVVVVNVVVVN", { 11, 6, 6 } }, // a shorter later one does not
        { "NVVVN", { 0, 0, 0 } }, // no run at all
    };
    for (const Row& r : rows) {
        HandBeatList beats;
        beats.addPattern(r.pattern);
        EctopyAnalyzer a(BeatV);
        run(a, beats);
        const auto* m = resultOf<EventResult>(a, "maxRun");
        ASSERT_NE(m, nullptr);
        EXPECT_DOUBLE_EQ(m->timestamp, r.maxRun.timestamp) << r.pattern;
        EXPECT_DOUBLE_EQ(m->duration, r.maxRun.duration) << r.pattern;
        EXPECT_DOUBLE_EQ(m->value, r.maxRun.value) << r.pattern;
    }
}

TEST(Ectopy, BinsFallWhereEachBeatOrSeriesStarts)
{
    // Two hours; N at 3598, V at 3599 and 3600, N at 3601: the couplet starts in hour 0 and
    // its beats straddle hours 0 and 1 and minutes 59 and 60.
    HandBeatList beats(7200.0);
    beats.addPattern("NVVN", 3598.0);
    EctopyAnalyzer a(BeatV);
    run(a, beats);

    const auto* perHour = resultOf<BinnedCount>(a, "totalCountPerHour");
    const auto* perMinute = resultOf<BinnedCount>(a, "totalCountPerMinute");
    const auto* couplets = resultOf<BinnedCount>(a, "coupletCountPerHour");
    ASSERT_TRUE(perHour && perMinute && couplets);
    ASSERT_EQ(perHour->binCount(), 2);
    ASSERT_EQ(perMinute->binCount(), 120);
    EXPECT_EQ(perHour->valueAt(0), 1.0);
    EXPECT_EQ(perHour->valueAt(1), 1.0);
    EXPECT_EQ(perMinute->valueAt(59), 1.0);
    EXPECT_EQ(perMinute->valueAt(60), 1.0);
    EXPECT_EQ(couplets->valueAt(0), 1.0);
    EXPECT_EQ(couplets->valueAt(1), 0.0);
}

TEST(Ectopy, ShortRecordingHasNoBinsButStillCounts)
{
    HandBeatList beats(59.0);
    beats.addPattern("NVVVVN");
    EctopyAnalyzer a(BeatV);
    run(a, beats);
    EXPECT_EQ(resultOf<BinnedCount>(a, "totalCountPerHour")->binCount(), 0);
    EXPECT_EQ(resultOf<BinnedCount>(a, "totalCountPerMinute")->binCount(), 0);
    EXPECT_EQ(valueOf(a, "totalCount"), 4.0);
    EXPECT_EQ(valueOf(a, "runCount"), 1.0);
}

TEST(Ectopy, BeginRecordingStartsAfresh)
{
    HandBeatList beats;
    beats.addPattern("NVVN");
    EctopyAnalyzer a(BeatV);
    run(a, beats);
    HandBeatList open;
    open.addPattern("NV"); // a series left open must not leak into the next run
    run(a, open);
    HandBeatList second;
    second.addPattern("VN");
    run(a, second);
    EXPECT_EQ(valueOf(a, "totalCount"), 1.0);
    EXPECT_EQ(valueOf(a, "coupletCount"), 0.0);
}

// Bigeminy and trigeminy: beat k at 10 + k, span 0.5. A bigeminy episode starts half a span
// before the beat taken in state 1 (the V after the last N before the pattern), and ends at the
// last beat taken in state 5; trigeminy one second before the beat taken in state 2.
struct PatternCase
{
    const char* name;
    const char* pattern;
    std::vector<Ev> events;
};

class Bigeminy : public ::testing::TestWithParam<PatternCase>
{
};

TEST_P(Bigeminy, Episodes)
{
    const PatternCase& c = GetParam();
    HandBeatList beats;
    beats.addPattern(c.pattern);
    BigeminyAnalyzer a;
    run(a, beats);
    expectEvents(eventsOf(a, "bigeminyEvents"), c.events, c.name);
    EXPECT_EQ(valueOf(a, "bigeminyCount"), double(c.events.size()));
}

INSTANTIATE_TEST_SUITE_P(Automaton, Bigeminy,
    ::testing::Values(
        // states 0 1 2 3 4 5; the sixth beat N in state 5 ends it: start 11 - 0.5, end 15
        PatternCase { "minimal", "NVNVNN", { { 10.5, 4.5, 0 } } },
        PatternCase { "open at end", "NVNVN", {} }, PatternCase { "one pair short", "NVNN", {} },
        // V at 15 (state 5 -> 6) sets the end; N at 16 back to 5; V at 17 in 5 sets 17; V at
        // 18 in state 6 ends it
        PatternCase { "sustained, ended by V V", "NVNVNVNVV", { { 10.5, 6.5, 0 } } },
        PatternCase { "ended by S", "NVNVNS", { { 10.5, 4.5, 0 } } },
        // N N N then V: the start follows the V at 13
        PatternCase { "leading normals", "NNNVNVNN", { { 12.5, 4.5, 0 } } },
        PatternCase { "break resets", "NVNV|NN", {} },
        // the N that ends the first episode is in state 1, so it can open a second
        PatternCase { "back to back", "NVNVNNVNVNN", { { 10.5, 4.5, 0 }, { 15.5, 4.5, 0 } } }));

class Trigeminy : public ::testing::TestWithParam<PatternCase>
{
};

TEST_P(Trigeminy, Episodes)
{
    const PatternCase& c = GetParam();
    HandBeatList beats;
    beats.addPattern(c.pattern);
    TrigeminyAnalyzer a;
    run(a, beats);
    expectEvents(eventsOf(a, "trigeminyEvents"), c.events, c.name);
    EXPECT_EQ(valueOf(a, "trigeminyCount"), double(c.events.size()));
}

INSTANTIATE_TEST_SUITE_P(Automaton, Trigeminy,
    ::testing::Values(
        // V at 12 taken in state 2: start 11; N at 17 in state 7 sets the end; N at 18 in
        // state 8 ends it
        PatternCase { "minimal", "NNVNNVNNN", { { 11, 6, 0 } } },
        PatternCase { "open at end", "NNVNNVNN", {} },
        // V at 17 in state 7 ends it with the end set by that same beat
        PatternCase { "ended in state 7", "NNVNNVNV", { { 11, 6, 0 } } },
        // cycles 8 -> 9 -> 7 -> 8; N at 20 in 7 sets the end; V at 22 in state 9 ends it
        PatternCase { "sustained, ended in state 9", "NNVNNVNNVNNVV", { { 11, 9, 0 } } },
        PatternCase { "bigeminy is not trigeminy", "NVNVNVNVNN", {} },
        // F in state 8 ends it; the end was set by the N at 17 in state 7
        PatternCase { "F ends it", "NNVNNVNNF", { { 11, 6, 0 } } },
        PatternCase { "break resets", "NNVNN|VNNN", {} }));

TEST(Bigeminy, PerHourCountsWhereTheEpisodeStarts)
{
    // Start 3599.5 (hour 0), end 3604 (hour 1).
    HandBeatList beats(7200.0);
    beats.addPattern("NVNVNN", 3599.0);
    BigeminyAnalyzer a;
    run(a, beats);
    const auto* perHour = resultOf<BinnedCount>(a, "bigeminyCountPerHour");
    ASSERT_NE(perHour, nullptr);
    ASSERT_EQ(perHour->binCount(), 2);
    EXPECT_EQ(perHour->valueAt(0), 1.0);
    EXPECT_EQ(perHour->valueAt(1), 0.0);
}

} // namespace
