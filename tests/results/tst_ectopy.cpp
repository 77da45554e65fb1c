#include "fakebeats.h"
#include "results/bigeminyanalyzer.h"
#include "results/ectopyanalyzer.h"
#include "results/trigeminyanalyzer.h"
#include "store/trend.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace fakebeats;

namespace {

// Beat k at 10 + k.
struct EctopyCase
{
    const char* pattern;
    int watched;
    double total;
    std::vector<Ev> couplets, triplets, runs;
    Ev maxRun {}; // the first of the longest
};

void PrintTo(const EctopyCase& c, std::ostream* os)
{
    *os << c.pattern;
}

class EctopySeries : public ::testing::TestWithParam<EctopyCase>
{
};

TEST_P(EctopySeries, CountsAndEvents)
{
    const EctopyCase& c = GetParam();
    Beats beats;
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
    const auto* m = resultOf<EventResult>(a, "maxRun");
    ASSERT_NE(m, nullptr);
    expectEvents({ { m->timestamp, m->duration, m->value } }, { c.maxRun }, "maxRun");
}

INSTANTIATE_TEST_SUITE_P(Patterns, EctopySeries,
    ::testing::Values(
        // V at 11 and 12, ended by the N at 13.
        EctopyCase { "NVVN", BeatV, 2, { { 11, 2, 2 } }, {}, {} },
        EctopyCase { "NVVVN", BeatV, 3, {}, { { 11, 3, 3 } }, {} },
        // another ectopic type ends a series like a normal beat
        EctopyCase { "NVVSN", BeatV, 2, { { 11, 2, 2 } }, {}, {} },
        // the break drops the open couplet at 11 unreported; V at 13 and 14 make a new one
        EctopyCase { "NVV|VVN", BeatV, 4, { { 13, 2, 2 } }, {}, {} },
        // a series still open at the end is counted but not reported
        EctopyCase { "NVVV", BeatV, 3, {}, {}, {} },
        // a noise entry is not a beat: V at 11 and 13 stay one series
        EctopyCase { "NVxVN", BeatV, 2, { { 11, 3, 2 } }, {}, {} },
        // equal longest runs: the first stays; a longer later one replaces it
        EctopyCase {
            "NVVVVNVVVVN", BeatV, 8, {}, {}, { { 11, 4, 4 }, { 16, 4, 4 } }, { 11, 4, 4 } },
        EctopyCase {
            "NVVVVNVVVVVVN", BeatV, 10, {}, {}, { { 11, 4, 4 }, { 16, 6, 6 } }, { 16, 6, 6 } }));

// Beat k at 10 + k. Bigeminy starts half a span (0.5 s) before the beat taken in state 1 (the V
// after the last N before the pattern) and ends at the last beat taken in state 5; trigeminy
// starts one second before the beat taken in state 2.
struct PatternCase
{
    const char* name;
    bool bigeminy;
    const char* pattern;
    std::vector<Ev> events;
};

class Geminy : public ::testing::TestWithParam<PatternCase>
{
};

TEST_P(Geminy, Episodes)
{
    const PatternCase& c = GetParam();
    Beats beats;
    beats.addPattern(c.pattern);
    BigeminyAnalyzer bigeminy;
    TrigeminyAnalyzer trigeminy;
    ResultAnalyzer& a = c.bigeminy ? static_cast<ResultAnalyzer&>(bigeminy) : trigeminy;
    run(a, beats);
    const char* prefix = c.bigeminy ? "bigeminy" : "trigeminy";
    expectEvents(eventsOf(a, (std::string(prefix) + "Events").c_str()), c.events, c.name);
    EXPECT_EQ(valueOf(a, (std::string(prefix) + "Count").c_str()), double(c.events.size()));
}

INSTANTIATE_TEST_SUITE_P(Automaton, Geminy,
    ::testing::Values(
        // states 0 1 2 3 4 5; the sixth beat N in state 5 ends it
        PatternCase { "bi minimal", true, "NVNVNN", { { 10.5, 4.5, 0 } } },
        PatternCase { "bi open at end", true, "NVNVN", {} },
        // V at 15 (5 -> 6) sets the end; N at 16 back to 5; V at 17 sets 17; V at 18 ends it
        PatternCase { "bi ended by V V", true, "NVNVNVNVV", { { 10.5, 6.5, 0 } } },
        PatternCase { "bi break resets", true, "NVNV|NN", {} },
        // the N that ends the first episode is in state 1, so it can open a second
        PatternCase {
            "bi back to back", true, "NVNVNNVNVNN", { { 10.5, 4.5, 0 }, { 15.5, 4.5, 0 } } },
        // V at 12 in state 2: start 11; N at 17 in state 7 sets the end; N at 18 ends it
        PatternCase { "tri minimal", false, "NNVNNVNNN", { { 11, 6, 0 } } },
        PatternCase { "tri ended in state 7", false, "NNVNNVNV", { { 11, 6, 0 } } },
        // cycles 8 -> 9 -> 7 -> 8; N at 20 in 7 sets the end; V at 22 in state 9 ends it
        PatternCase { "tri ended in state 9", false, "NNVNNVNNVNNVV", { { 11, 9, 0 } } },
        PatternCase { "bigeminy is no trigeminy", false, "NVNVNVNVNN", {} },
        PatternCase { "tri break resets", false, "NNVNN|VNNN", {} }));

} // namespace
