#include "analysis/memorybeatlist.h"
#include "analysis/noisechecker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

// An entry whose window starts exactly at `windowStart` seconds (R 0.2 s later).
void add(MemoryBeatList& list, double windowStart, double rr, bool isBeat = true, int classId = 0,
    int type = BeatU)
{
    Beat b;
    b.index = list.count();
    b.windowStart = windowStart;
    b.windowLength = 0.5;
    b.setTiming(Beat::RTime, windowStart + 0.2);
    b.setTiming(Beat::RR, rr);
    b.isBeat = isBeat;
    b.classId = classId;
    b.type = type;
    list.append(b);
}

// Per entry against `before`: '.' unchanged, 'x' became noise, '0' lost its RR.
std::string changes(const std::vector<Beat>& before, const std::vector<Beat>& after)
{
    std::string s;
    for (size_t i = 0; i < after.size(); ++i)
        s += after[i].isBeat != before[i].isBeat ? 'x'
            : after[i].rr() == before[i].rr()    ? '.'
            : after[i].rr() == 0.0               ? '0'
                                                 : '?';
    return s;
}

} // namespace

TEST(NoiseCheckerStep, IndexOfEntriesByHand)
{
    // Entry 20 looks at windowStart in (15, 25): entries 16..24. 15 and 25 sit on the limits and
    // are noise with an odd RR, so counting them would show.
    MemoryBeatList list;
    const double rr[31] = { 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
        0.3, 0.8, 1.2, 1.0, 0.8, 1.2, 0.0, 1.0, 1.0, 2.0, 0.3, 1, 1, 1, 1, 1 };
    for (int i = 0; i < 31; ++i)
        add(list, i, rr[i], !(i == 15 || i == 18 || i == 22 || i == 25));
    NoiseChecker checker(list);
    checker.step();
    ASSERT_EQ(checker.index, 31);
    // RR strictly inside (0, 2): 0.8 1.2 0.8 1.2 1.0 (21 and 24 sit on the limits). Mean 1.0,
    // population variance 0.16 / 5; noise share 2 of 9 entries.
    EXPECT_NEAR(checker.noiseIndex[20], 2.0 / 9.0 * std::sqrt(0.16 / 5.0), 1e-12);
    EXPECT_DOUBLE_EQ(checker.noiseIndex[3], 0.0); // regular beats only

    MemoryBeatList sparse;
    add(sparse, 10.0, 1.0);
    add(sparse, 11.0, 1.0);
    add(sparse, 30.0, 19.0); // alone, RR out of range
    for (double base : { 50.0, 70.0 }) {
        add(sparse, base, 0.9);
        add(sparse, base + 0.5, 0.5, false);
        add(sparse, base + 1.0, 0.5);
        if (base == 50.0)
            add(sparse, base + 1.5, 0.5);
    }
    NoiseChecker few(sparse);
    few.step();
    // Fewer than 3 entries: share 1; fewer than 3 RR: variation 1.
    EXPECT_DOUBLE_EQ(few.noiseIndex[0], 1.0);
    EXPECT_DOUBLE_EQ(few.noiseIndex[2], 1.0);
    // Four entries, one noise, RR 0.9 0.5 0.5: share 1/4 times the coefficient of variation.
    const double mean = 1.9 / 3.0;
    const double var = (std::pow(0.9 - mean, 2) + 2 * std::pow(0.5 - mean, 2)) / 3.0;
    EXPECT_NEAR(few.noiseIndex[3], 0.25 * std::sqrt(var) / mean, 1e-12);
    EXPECT_NEAR(few.noiseIndex[7], 1.0 / 3.0, 1e-12); // three entries, two RR only
}

namespace {

std::vector<std::pair<int, double>> everyEntry(int n, double v)
{
    std::vector<std::pair<int, double>> s;
    for (int i = 0; i < n; ++i)
        s.push_back({ i, v });
    return s;
}

} // namespace

// One spike v at entry k smooths to v / 10 on entries k - 4 .. k + 5; the limits are 0.09 to
// open and above 0.11 to confirm.
TEST(NoiseCheckerFinish, MarksExactlyTheConfirmedStretches)
{
    const struct
    {
        const char* name;
        int count;
        std::vector<std::pair<int, double>> spikes; // noiseIndex entries set by hand
        std::string noiseBefore; // 'x': noise beforehand
        std::vector<std::pair<int, int>> marked; // stretches expected to become noise
        std::vector<int> breakers; // entries expected to lose their RR
    } cases[] = {
        // 0.9 / 10 is exactly 0.09: touches the opening limit but never opens.
        { "ExactlyOpenLimitNeverOpens", 40, { { 20, 0.9 } }, "", {}, {} },
        // 0.09 on 16..25, then 0.12 on 26..35: the stretch opens at 26, not 16.
        { "StretchStartsAboveTheLimit", 50, { { 20, 0.9 }, { 30, 1.2 } }, "", { { 26, 35 } },
            { 36 } },
        { "ConfirmedStretch", 40, { { 20, 1.2 } }, "", { { 16, 25 } }, { 26 } },
        // Entries 26..35 at exactly 0.09 keep it open.
        { "ExactlyOpenLimitNeverCloses", 50, { { 20, 1.2 }, { 30, 0.9 } }, "", { { 16, 35 } },
            { 36 } },
        // The RR breaker is the next real beat: noise entries 26, 27 are passed over.
        { "CloseSkipsNoiseEntries", 40, { { 20, 1.2 } }, std::string(26, '.') + "xx",
            { { 16, 25 } }, { 28 } },
        // The five unsmoothed (zero) entries at the end close the stretch.
        { "StretchIntoTheUnsmoothedTail", 30, { { 24, 1.2 } }, "", { { 20, 24 } }, { 25 } },
        // Eleven entries smooth only entry 5, which can't confirm; twelve smooth 5 and 6.
        { "ElevenEntriesOneSmoothedValue", 11, everyEntry(11, 9.0), "", {}, {} },
        { "TwelveEntriesSmallestStretch", 12, everyEntry(12, 9.0), "", { { 5, 6 } }, { 7 } },
    };
    for (const auto& c : cases) {
        MemoryBeatList list;
        for (int i = 0; i < c.count; ++i)
            add(list, i, 1.0,
                !(size_t(i) < c.noiseBefore.size() && c.noiseBefore[size_t(i)] == 'x'));
        const std::vector<Beat> before = list.beats();
        NoiseChecker checker(list);
        for (auto spike : c.spikes)
            checker.noiseIndex[size_t(spike.first)] = spike.second;
        checker.index = c.count;
        checker.finish();

        std::string expected(size_t(c.count), '.');
        for (auto m : c.marked)
            for (int i = m.first; i <= m.second; ++i)
                expected[size_t(i)] = 'x';
        for (int b : c.breakers)
            expected[size_t(b)] = '0';
        EXPECT_EQ(changes(before, list.beats()), expected) << c.name;
    }
}

// Letters: N class 1 type N, RR 1.0; n the same with RR 0.0; u a U beat alone in its own class;
// c class 7 type U (several members); v alone in its class but type V; z U beat with no class
// (0); x noise entry. Expected: '.' unchanged, 'x' became noise, '0' kept with RR 0.0.
TEST(NoiseChecker, AdditionalNoiseRemovesRunsOfUniqueBeats)
{
    const struct
    {
        const char *entries, *expected;
    } cases[] = {
        { "NNuuuNN", "..xx0.." }, // a run of three
        { "NNuuNN", "......" }, // two unique beats are kept
        { "Nuuu", "...." }, // a run at the end is never treated
        { "NcucN", "....." }, // a shared class is not unique
        { "NuvuN", "....." }, // another type breaks the run
        { "NuzuuN", "......" }, // so does a classless beat
        { "NuxuuN", ".x.x0." }, // noise after a unique beat does not
        { "NuuuxN", ".xx0.." }, // trailing noise stays in the run
        // The neighbours already lack RR: the one before goes, and so does the run's last beat.
        { "nuxuxxun", "xx.x..x." }, { "uuuNuuuN", "xx0.xx0." }, // two runs
    };
    for (const auto& c : cases) {
        MemoryBeatList list;
        for (int i = 0; c.entries[i]; ++i) {
            const char e = c.entries[i];
            const int own = 1000000 + i;
            const int classId = e == 'N' || e == 'n' || e == 'x' ? 1
                : e == 'c'                                       ? 7
                : e == 'z'                                       ? 0
                                                                 : own;
            const int type = e == 'N' || e == 'n' || e == 'x' ? BeatN : e == 'v' ? BeatV : BeatU;
            add(list, 1.0 + i, e == 'n' ? 0.0 : 1.0, e != 'x', classId, type);
        }
        const std::vector<Beat> before = list.beats();
        NoiseChecker::removeAdditionalNoise(list);
        EXPECT_EQ(changes(before, list.beats()), c.expected) << c.entries;
        for (size_t i = 0; i < before.size(); ++i)
            EXPECT_EQ(list.beats()[i].classId, before[i].classId);
    }
}
