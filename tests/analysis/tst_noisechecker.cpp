#include "analysis/noisechecker.h"
#include "store/beatlist.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

// Beats held in a vector; counts writes so that "nothing changed" also means "nothing written".
class VectorBeatList : public BeatList
{
public:
    int count() const override { return int(beats.size()); }
    void clear() override { beats.clear(); }
    bool get(int index, Beat& beat) override
    {
        if (index < 0 || index >= count())
            return false;
        beat = beats[size_t(index)];
        return true;
    }
    int append(const Beat& beat) override
    {
        beats.push_back(beat);
        return count() - 1;
    }
    void replace(const Beat& beat) override
    {
        ++replaced;
        if (beat.index >= 0 && beat.index < count())
            beats[size_t(beat.index)] = beat;
    }

    // An entry whose window starts at `windowStart` seconds (R 0.2 s later); the window start
    // is set directly so that limit tests compare exact numbers.
    void add(double windowStart, double rr, bool isBeat = true, int classId = 0, int type = BeatU)
    {
        Beat b;
        b.index = count();
        b.windowStart = windowStart;
        b.windowLength = 0.5;
        b.setTiming(Beat::RTime, windowStart + 0.2);
        b.setTiming(Beat::RR, rr);
        b.isBeat = isBeat;
        b.classId = classId;
        b.type = type;
        beats.push_back(b);
    }

    std::vector<Beat> beats;
    int replaced = 0;
};

// Regular beats, one a second, windows starting at whole seconds.
void regular(VectorBeatList& list, int n)
{
    for (int i = 0; i < n; ++i)
        list.add(i, 1.0);
}

void runAll(NoiseChecker& checker, BeatList& list)
{
    checker.init(list);
    for (int guard = 0; checker.index < list.count() && guard < 100000; ++guard)
        checker.step();
    checker.finish();
}

// Small deterministic generator for irregular rhythms.
struct Lcg
{
    unsigned state;
    double next() // uniform in [0, 1)
    {
        state = state * 1664525u + 1013904223u;
        return (state >> 8) / double(1u << 24);
    }
};

} // namespace

// ---- step(): the per-entry index, worked out by hand ----------------------------------------

TEST(NoiseCheckerStep, IndexOfOneEntryByHand)
{
    // Entries at windowStart 0..30. Entry 20 looks at windowStart in (15, 25): entries 16..24.
    // Entries 15 and 25 sit exactly on the limits and must not count; they are noise with an
    // odd RR so that counting them would show.
    VectorBeatList list;
    const double rr[31] = { 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
        0.3, 0.8, 1.2, 1.0, 0.8, 1.2, 0.0, 1.0, 1.0, 2.0, 0.3, 1, 1, 1, 1, 1 };
    for (int i = 0; i < 31; ++i) {
        const bool noise = i == 15 || i == 18 || i == 22 || i == 25;
        list.add(i, rr[i], !noise);
    }
    NoiseChecker checker(list);
    checker.step();
    ASSERT_EQ(checker.index, 31);

    // Beats 16, 17, 19, 20, 23 have RR strictly inside (0, 2): 0.8 1.2 0.8 1.2 1.0; 21 (0.0)
    // and 24 (2.0) sit on the limits and don't count. Mean 1.0, deviations +-0.2 four times:
    // population variance 0.16 / 5.
    const double variation = std::sqrt(0.16 / 5.0) / 1.0;
    const double share = 2.0 / 9.0; // 18 and 22 of nine entries
    EXPECT_NEAR(checker.noiseIndex[20], share * variation, 1e-12);

    // Entry 3 sees only regular beats (0..7): zero variation.
    EXPECT_DOUBLE_EQ(checker.noiseIndex[3], 0.0);
}

TEST(NoiseCheckerStep, FewEntriesOrFewIntervalsCountAsFullyUncertain)
{
    VectorBeatList list;
    list.add(10.0, 1.0);
    list.add(11.0, 1.0);
    list.add(30.0, 19.0); // alone: 1 entry, RR out of range
    list.add(50.0, 0.9);
    list.add(50.5, 0.5, false);
    list.add(51.0, 0.5);
    list.add(51.5, 0.5);
    list.add(70.0, 0.9);
    list.add(70.5, 0.5, false);
    list.add(71.0, 0.5);
    NoiseChecker checker(list);
    checker.step();
    // Two entries: share 1.0 (fewer than 3 entries), variation 1.0 (fewer than 3 RR).
    EXPECT_DOUBLE_EQ(checker.noiseIndex[0], 1.0);
    EXPECT_DOUBLE_EQ(checker.noiseIndex[2], 1.0);
    // Four entries, one noise: share 0.25; three RR 0.9 0.5 0.5: mean 19/30.
    const double mean = 1.9 / 3.0;
    const double var = (std::pow(0.9 - mean, 2) + 2 * std::pow(0.5 - mean, 2)) / 3.0;
    EXPECT_NEAR(checker.noiseIndex[3], 0.25 * std::sqrt(var) / mean, 1e-12);
    // Three entries, one noise: share 1/3; two RR only: variation 1.0.
    EXPECT_NEAR(checker.noiseIndex[7], 1.0 / 3.0, 1e-12);
}

TEST(NoiseCheckerStep, BatchesOfHundredStopAtTheEnd)
{
    VectorBeatList list;
    regular(list, 250);
    NoiseChecker checker(list);
    EXPECT_EQ(checker.noiseIndex.size(), 250u);
    const int expected[] = { 100, 200, 250, 250 };
    for (int e : expected) {
        checker.step();
        EXPECT_EQ(checker.index, e);
    }
}

TEST(NoiseCheckerStep, EmptyOrUnsetListDoesNothing)
{
    NoiseChecker unset;
    unset.step();
    unset.finish();
    EXPECT_EQ(unset.index, 0);

    VectorBeatList list;
    NoiseChecker checker(list);
    checker.step();
    checker.finish();
    EXPECT_EQ(checker.index, 0);
    EXPECT_EQ(list.replaced, 0);
}

TEST(NoiseCheckerStep, OutOfOrderTimesStillEnd)
{
    // A NaN time finds no neighbourhood; the driver loops on `index` and must still get through.
    VectorBeatList list;
    regular(list, 20);
    list.beats[7].windowStart = std::nan("");
    NoiseChecker checker;
    runAll(checker, list);
    EXPECT_EQ(checker.index, 20);
}

// ---- finish(): the hysteresis, driven through hand-set indices ------------------------------

namespace {

struct HysteresisCase
{
    const char* name;
    int count;
    std::vector<std::pair<int, double>> spikes; // noiseIndex entries set to a value
    std::string noiseBefore; // 'x' marks entries that are noise beforehand
    std::string expected; // '.' unchanged, 'x' noise afterwards, '0' beat with RR 0.0
};

std::ostream& operator<<(std::ostream& os, const HysteresisCase& c)
{
    return os << c.name;
}

class NoiseHysteresis : public ::testing::TestWithParam<HysteresisCase>
{
};

std::string dots(int n)
{
    return std::string(size_t(n), '.');
}

// One spike v at entry k smooths to v / 10 on entries k - 4 .. k + 5 (the mean of i-5..i+4).
std::string withRange(std::string s, int from, int to, char c)
{
    for (int i = from; i <= to; ++i)
        s[size_t(i)] = c;
    return s;
}

} // namespace

TEST_P(NoiseHysteresis, MarksExactlyTheConfirmedStretches)
{
    const HysteresisCase& c = GetParam();
    VectorBeatList list;
    regular(list, c.count);
    for (size_t i = 0; i < c.noiseBefore.size(); ++i)
        list.beats[i].isBeat = c.noiseBefore[i] != 'x';
    const std::vector<Beat> before = list.beats;

    NoiseChecker checker(list);
    for (auto spike : c.spikes)
        checker.noiseIndex[size_t(spike.first)] = spike.second;
    checker.index = c.count;
    checker.finish();

    std::string got;
    for (int i = 0; i < c.count; ++i) {
        const Beat& b = list.beats[size_t(i)];
        const Beat& old = before[size_t(i)];
        if (b.isBeat != old.isBeat)
            got += 'x';
        else if (b.rr() != old.rr())
            got += b.rr() == 0.0 ? '0' : '?';
        else
            got += '.';
    }
    EXPECT_EQ(got, c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, NoiseHysteresis,
    ::testing::Values(
        // 0.9 / 10 is exactly 0.09: touches the opening limit but never opens.
        HysteresisCase { "ExactlyOpenLimitNeverOpens", 40, { { 20, 0.9 } }, "", dots(40) },
        // 0.09 on 16..25, then 0.12 on 26..35: the stretch opens at 26, not at 16.
        HysteresisCase { "StretchStartsAboveTheLimit", 50, { { 20, 0.9 }, { 30, 1.2 } }, "",
            withRange(withRange(dots(50), 26, 35, 'x'), 36, 36, '0') },
        // 0.10 opens (entries 16..25) but never reaches 0.11: closes unmarked.
        HysteresisCase { "OpenedButNotConfirmed", 40, { { 20, 1.0 } }, "", dots(40) },
        // 0.12 opens at 16, confirms at 17, closes at 26: 16..25 noise, 26 loses its RR.
        HysteresisCase { "ConfirmedStretch", 40, { { 20, 1.2 } }, "",
            withRange(withRange(dots(40), 16, 25, 'x'), 26, 26, '0') },
        // After 16..25 at 0.12, entries 26..35 sit at exactly 0.09: that doesn't close.
        HysteresisCase { "ExactlyOpenLimitNeverCloses", 50, { { 20, 1.2 }, { 30, 0.9 } }, "",
            withRange(withRange(dots(50), 16, 35, 'x'), 36, 36, '0') },
        // The stretch ends at the next real beat: noise entries 26, 27 are passed over.
        HysteresisCase { "CloseSkipsNoiseEntries", 40, { { 20, 1.2 } }, dots(26) + "xx",
            withRange(withRange(dots(40), 16, 25, 'x'), 28, 28, '0') },
        // Two separate stretches, each with its own RR breaker.
        HysteresisCase { "TwoStretches", 60, { { 12, 1.5 }, { 40, 1.5 } }, "",
            withRange(
                withRange(withRange(withRange(dots(60), 8, 17, 'x'), 18, 18, '0'), 36, 45, 'x'), 46,
                46, '0') },
        // Near the end, the five unsmoothed (zero) entries close the stretch: with 30 entries
        // the spike at 24 smooths onto 20..24 only, and entry 25 takes RR 0.
        HysteresisCase { "StretchIntoTheUnsmoothedTail", 30, { { 24, 1.2 } }, "",
            withRange(withRange(dots(30), 20, 24, 'x'), 25, 25, '0') },
        // Ten entries: no smoothing at all, whatever the indices.
        HysteresisCase { "TenEntriesNoSmoothing", 10,
            { { 0, 9.0 }, { 1, 9.0 }, { 2, 9.0 }, { 3, 9.0 }, { 4, 9.0 }, { 5, 9.0 }, { 6, 9.0 },
                { 7, 9.0 }, { 8, 9.0 }, { 9, 9.0 } },
            "", dots(10) },
        // Eleven: only entry 5 is smoothed, so a stretch opens and closes unconfirmed.
        HysteresisCase { "ElevenEntriesOneSmoothedValue", 11,
            { { 0, 9.0 }, { 1, 9.0 }, { 2, 9.0 }, { 3, 9.0 }, { 4, 9.0 }, { 5, 9.0 }, { 6, 9.0 },
                { 7, 9.0 }, { 8, 9.0 }, { 9, 9.0 }, { 10, 9.0 } },
            "", dots(11) },
        // Twelve: entries 5 and 6 open and confirm; 7 closes.
        HysteresisCase { "TwelveEntriesSmallestStretch", 12,
            { { 0, 9.0 }, { 1, 9.0 }, { 2, 9.0 }, { 3, 9.0 }, { 4, 9.0 }, { 5, 9.0 }, { 6, 9.0 },
                { 7, 9.0 }, { 8, 9.0 }, { 9, 9.0 }, { 10, 9.0 }, { 11, 9.0 } },
            "", withRange(withRange(dots(12), 5, 6, 'x'), 7, 7, '0') }),
    [](const ::testing::TestParamInfo<HysteresisCase>& info) { return info.param.name; });

TEST(NoiseHysteresisLimits, SmoothedValueIsExactlyTheLimit)
{
    // The cases above depend on one spike of 0.9 averaging to exactly 0.09.
    EXPECT_EQ((0.0 + 0.9) / 10.0, NoiseChecker::kOpen);
}

// ---- step() and finish() together on rhythms -------------------------------------------------

TEST(NoiseCheckerRhythm, RegularRhythmWithScatteredNoiseIsUntouched)
{
    // Every 7th entry is noise but the rhythm is perfectly regular: variation 0, index 0.
    VectorBeatList list;
    for (int i = 0; i < 300; ++i)
        list.add(0.8 * i, 0.8, i % 7 != 3);
    const std::vector<Beat> before = list.beats;
    NoiseChecker checker;
    runAll(checker, list);
    // Zero up to the rounding of the one-pass variance (0.8 s has no exact binary form).
    for (double v : checker.noiseIndex)
        EXPECT_NEAR(v, 0.0, 1e-6);
    EXPECT_EQ(list.replaced, 0);
    EXPECT_EQ(list.beats, before);
}

TEST(NoiseCheckerRhythm, IrregularRhythmKeepsItsBeats)
{
    // An AF-like rhythm: RR uniform in 0.4..1.2 s (coefficient of variation about 0.29), with an
    // artefact entry every 4 s or so. The noise share in 10 s stays near 2.5 of 16 entries, so
    // the index stays near 0.045, half the opening limit: no real beat may be taken.
    VectorBeatList list;
    Lcg rng { 12345u };
    double t = 0.5;
    double lastArtefact = 0.0;
    for (int i = 0; i < 2000; ++i) {
        const double rr = 0.4 + 0.8 * rng.next();
        t += rr;
        list.add(t, rr);
        if (t - lastArtefact > 4.0) {
            list.add(t + 0.15, 0.15, false);
            lastArtefact = t;
        }
    }
    const std::vector<Beat> before = list.beats;
    NoiseChecker checker;
    runAll(checker, list);
    double highest = 0.0;
    for (double v : checker.noiseIndex)
        highest = std::max(highest, v);
    EXPECT_LT(highest, NoiseChecker::kOpen);
    EXPECT_EQ(list.replaced, 0);
    EXPECT_EQ(list.beats, before);
}

TEST(NoiseCheckerRhythm, NoisyStretchIsRemovedAndClosed)
{
    // 0..40 s regular at 1 Hz; 40..60 s a burst where detections alternate between real-looking
    // beats with erratic RR and noise entries; then regular again to 100 s.
    VectorBeatList list;
    for (int i = 0; i < 40; ++i)
        list.add(i, 1.0);
    Lcg rng { 777u };
    double t = 40.0;
    bool noise = false;
    while (t < 60.0) {
        const double rr = 0.2 + 1.2 * rng.next();
        t += rr / 2;
        list.add(t, rr, !noise);
        noise = !noise;
    }
    const int burstEnd = list.count();
    for (int i = 61; i < 100; ++i)
        list.add(i, 1.0);
    const std::vector<Beat> before = list.beats;

    NoiseChecker checker;
    runAll(checker, list);

    // Half the entries in the burst are noise and the RR vary widely: the index there is far
    // above 0.11, so every beat well inside the burst goes.
    for (int i = 0; i < list.count(); ++i) {
        const Beat& b = list.beats[size_t(i)];
        if (b.windowStart > 45.0 && b.windowStart < 55.0) {
            EXPECT_FALSE(b.isBeat) << "entry " << i << " at " << b.windowStart;
        }
        // Beats more than one 10 s window away see clean rhythm only.
        if (b.windowStart < 30.0 || b.windowStart > 70.0) {
            EXPECT_EQ(b, before[size_t(i)]) << "entry " << i;
        }
    }
    // Exactly one beat took RR 0.0, and it is the first real beat after the last removed entry.
    int lastRemoved = -1;
    int zeroRr = -1;
    for (int i = 0; i < list.count(); ++i) {
        if (before[size_t(i)].isBeat && !list.beats[size_t(i)].isBeat)
            lastRemoved = i;
        if (list.beats[size_t(i)].rr() == 0.0) {
            EXPECT_EQ(zeroRr, -1) << "second RR breaker at " << i;
            zeroRr = i;
        }
    }
    ASSERT_GE(lastRemoved, burstEnd - 4);
    int expectedBreaker = lastRemoved + 1;
    while (!list.beats[size_t(expectedBreaker)].isBeat)
        ++expectedBreaker;
    EXPECT_EQ(zeroRr, expectedBreaker);
    EXPECT_TRUE(list.beats[size_t(zeroRr)].isBeat);
}

// ---- removeAdditionalNoise ------------------------------------------------------------------

namespace {

struct RemovalCase
{
    const char* name;
    // N: class 1 type N, RR 1.0; n: the same with RR 0.0; u: a U beat alone in its (private)
    // class; c: class 7 type U, which has several members; v: alone in its class but type V;
    // z: U beat with no class (0); x: noise entry.
    std::string entries;
    std::string expected; // '.' unchanged, 'x' became noise, '0' kept with RR 0.0
};

std::ostream& operator<<(std::ostream& os, const RemovalCase& c)
{
    return os << c.name;
}

class AdditionalNoise : public ::testing::TestWithParam<RemovalCase>
{
};

} // namespace

TEST_P(AdditionalNoise, RemovesRunsOfUniqueBeats)
{
    const RemovalCase& c = GetParam();
    VectorBeatList list;
    for (size_t i = 0; i < c.entries.size(); ++i) {
        const double t = 1.0 + double(i);
        const int privateId = 1000000 + int(i);
        switch (c.entries[i]) {
        case 'N':
            list.add(t, 1.0, true, 1, BeatN);
            break;
        case 'n':
            list.add(t, 0.0, true, 1, BeatN);
            break;
        case 'u':
            list.add(t, 1.0, true, privateId, BeatU);
            break;
        case 'c':
            list.add(t, 1.0, true, 7, BeatU);
            break;
        case 'v':
            list.add(t, 1.0, true, privateId, BeatV);
            break;
        case 'z':
            list.add(t, 1.0, true, 0, BeatU);
            break;
        case 'x':
            list.add(t, 1.0, false, 1, BeatN);
            break;
        default:
            FAIL() << "bad case letter";
        }
    }
    const std::vector<Beat> before = list.beats;
    NoiseChecker::removeAdditionalNoise(list);

    std::string got;
    for (size_t i = 0; i < list.beats.size(); ++i) {
        const Beat& b = list.beats[i];
        const Beat& old = before[i];
        if (b.isBeat != old.isBeat)
            got += 'x';
        else if (b.rr() != old.rr())
            got += b.rr() == 0.0 ? '0' : '?';
        else
            got += '.';
        EXPECT_EQ(b.classId, old.classId);
        EXPECT_EQ(b.type, old.type);
    }
    EXPECT_EQ(got, c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, AdditionalNoise,
    ::testing::Values(RemovalCase { "RunOfThree", "NNuuuNN", "..xx0.." },
        RemovalCase { "RunOfFour", "NuuuuN", ".xxx0." },
        RemovalCase { "TwoUniqueBeatsAreKept", "NNuuNN", "......" },
        RemovalCase { "RunAtTheEndIsNeverTreated", "Nuuu", "...." },
        RemovalCase { "SharedClassIsNotUnique", "NcucN", "....." },
        RemovalCase { "OtherTypeBreaksTheRun", "NuvuN", "....." },
        RemovalCase { "ClasslessBeatBreaksTheRun", "NuzuuN", "......" },
        RemovalCase { "NoiseAfterUniqueBeatDoesNotBreak", "NuxuuN", ".x.x0." },
        RemovalCase { "TrailingNoiseStaysInTheRun", "NuuuxN", ".xx0.." },
        RemovalCase { "NoiseAfterNormalBeatBreaks", "NuuNxuN", "......." },
        // The beats around the run already have RR 0.0: the one before goes, and so does the
        // run's last beat, since the following beat already breaks the RR.
        RemovalCase { "NeighboursWithoutRr", "nuxuxxun", "xx.x..x." },
        RemovalCase { "TwoRuns", "uuuNuuuN", "xx0.xx0." },
        RemovalCase { "NoRunAtAll", "NNNxNN", "......" }, RemovalCase { "Empty", "", "" }),
    [](const ::testing::TestParamInfo<RemovalCase>& info) { return info.param.name; });
