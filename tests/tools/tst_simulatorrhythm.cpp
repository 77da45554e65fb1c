#include "tools/simulatorrhythm.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr double kRate = 500.0;

// Runs the rhythm alone (no waveforms) over a whole script and keeps the truth.
struct RhythmRun
{
    explicit RhythmRun(const QString& text, std::uint64_t seed = 7)
        : script(parseSimulatorScript(text, "t"))
        , schedule(script, seed)
        , rhythm(script, schedule, seed)
    {
        while (rhythm.next().time < script.seconds()) { }
        for (const WfdbAnnotation& a : rhythm.annotations()) {
            if (a.sample >= qint64(script.seconds() * kRate))
                break;
            if (a.code == 28)
                labels.append(a);
            else
                beats.append(a);
        }
    }
    int countLabel(const char* aux) const
    {
        int n = 0;
        for (const WfdbAnnotation& a : labels)
            n += a.aux == aux;
        return n;
    }
    bool inside(const char* aux, qint64 sample) const
    {
        for (int i = 0; i + 1 < labels.size(); ++i)
            if (labels[i].aux == aux && labels[i].sample <= sample
                && sample <= labels[i + 1].sample)
                return true;
        return false;
    }
    double rr(int i) const { return double(beats[i].sample - beats[i - 1].sample) / kRate; }

    SimulatorScript script;
    SimSchedule schedule;
    RhythmGenerator rhythm;
    QVector<WfdbAnnotation> beats;
    QVector<WfdbAnnotation> labels;
};

const RhythmRun& defaultDay()
{
    static const RhythmRun run(defaultSimulatorScript());
    return run;
}

TEST(SimulatorRhythm, DefaultDayHasEctopyAtRealisticRates)
{
    const RhythmRun& run = defaultDay();
    int v = 0, s = 0, couplets = 0, longPauses = 0, blocked = 0;
    for (int i = 0; i < run.beats.size(); ++i) {
        v += run.beats[i].code == 5;
        s += run.beats[i].code == 8;
        // A couplet: exactly two V in a row.
        if (i >= 2 && i + 1 < run.beats.size() && run.beats[i].code == 5
            && run.beats[i - 1].code == 5 && run.beats[i - 2].code != 5
            && run.beats[i + 1].code != 5)
            ++couplets;
        // Dropped beats of second-degree block are pauses of their own kind.
        if (i > 0 && run.rr(i) > 1.8) {
            const bool inBlock = run.inside("(BII", run.beats[i].sample);
            blocked += inBlock;
            longPauses += !inBlock && run.rr(i) > 2.0;
        }
    }
    // About 100 000 beats in a day at 60-80 bpm.
    const struct
    {
        const char* what;
        int n, least, most;
    } ranges[] = { { "beats", int(run.beats.size()), 80001, 119999 }, { "V", v, 300, 3000 },
        { "S", s, 300, 3000 }, { "couplets", couplets, 20, 60 }, { "pauses", longPauses, 3, 12 },
        { "blocked beats", blocked, 10, 1000000 } };
    for (const auto& r : ranges) {
        EXPECT_GE(r.n, r.least) << r.what;
        EXPECT_LE(r.n, r.most) << r.what;
    }
    const std::pair<const char*, int> atLeast[]
        = { { "(VT", 2 }, { "(SVTA", 2 }, { "(B", 1 }, { "(T", 1 }, { "(BII", 1 }, { "(SBR", 1 } };
    for (const auto& l : atLeast)
        EXPECT_GE(run.countLabel(l.first), l.second) << l.first;
    EXPECT_EQ(run.labels.first().aux, QByteArray("(N"));
}

TEST(SimulatorRhythm, AtrialFibrillationEpisodesLastTensOfMinutes)
{
    const RhythmRun& run = defaultDay();
    int episodes = 0;
    for (int i = 0; i < run.labels.size(); ++i) {
        if (run.labels[i].aux != "(AFIB")
            continue;
        ++episodes;
        ASSERT_LT(i + 1, run.labels.size());
        EXPECT_EQ(run.labels[i + 1].aux, QByteArray("(N"));
        const double minutes = double(run.labels[i + 1].sample - run.labels[i].sample) / kRate / 60;
        EXPECT_GE(minutes, 10.0);
        EXPECT_LE(minutes, 60.0);
    }
    EXPECT_GE(episodes, 1);
    EXPECT_LE(episodes, 2);
}

struct RrStats
{
    double mean = 0.0; // seconds
    double irregularity = -1.0; // RMS of successive differences over the mean
};

// RR statistics of runs of three N beats inside [from, to) seconds.
RrStats rrStats(const RhythmRun& run, double from, double to)
{
    double sum = 0.0, sumSq = 0.0;
    int n = 0;
    for (int i = 2; i < run.beats.size(); ++i) {
        if (run.beats[i - 2].sample < from * kRate || run.beats[i].sample >= to * kRate)
            continue;
        if (run.beats[i].code != 1 || run.beats[i - 1].code != 1 || run.beats[i - 2].code != 1)
            continue;
        const double d = run.rr(i) - run.rr(i - 1);
        sum += run.rr(i);
        sumSq += d * d;
        ++n;
    }
    if (n <= 10)
        return {};
    return { sum / n, std::sqrt(sumSq / n) / (sum / n) };
}

TEST(SimulatorRhythm, FibrillationIsIrregularAndSinusIsNot)
{
    const RhythmRun run("hours 1\nafib at 0:20:00 for 15m rate=100\n");
    EXPECT_GT(rrStats(run, 21 * 60, 34 * 60).irregularity, 0.15);
    const double sinus = rrStats(run, 2 * 60, 18 * 60).irregularity;
    EXPECT_GT(sinus, 0.0);
    EXPECT_LT(sinus, 0.06);
}

TEST(SimulatorRhythm, NightIsSlowerThanDay)
{
    // Start 09:00: hours 1-3 are late morning, hours 16-18 the small hours.
    EXPECT_NEAR(60.0 / rrStats(defaultDay(), 1 * 3600, 3 * 3600).mean, 76.0, 8.0);
    EXPECT_NEAR(60.0 / rrStats(defaultDay(), 16 * 3600, 18 * 3600).mean, 58.0, 6.0);
}

TEST(SimulatorRhythm, PrematureBeatsHaveTheirPauses)
{
    const RhythmRun run("hours 1\npvc count 40\nsvpb count 40\n", 3);
    int pvcs = 0, svpbs = 0;
    for (int i = 2; i + 2 < run.beats.size(); ++i) {
        const int code = run.beats[i].code;
        if ((code != 5 && code != 8) || run.beats[i - 1].code != 1 || run.beats[i + 1].code != 1
            || run.beats[i - 2].code != 1)
            continue;
        const double cycle = run.rr(i - 1); // the sinus cycle before
        const double coupling = run.rr(i);
        const double around = coupling + run.rr(i + 1);
        EXPECT_LT(coupling, 0.8 * cycle);
        if (code == 5) {
            // Fully compensatory: the sinus node keeps its beat.
            EXPECT_NEAR(around / cycle, 2.0, 0.2);
            ++pvcs;
        } else {
            // The SVPB resets the sinus node: less than two cycles.
            EXPECT_LT(around / cycle, 1.85);
            ++svpbs;
        }
    }
    EXPECT_GE(pvcs, 30);
    EXPECT_GE(svpbs, 30);
}

TEST(SimulatorRhythm, CrowdedRandomRhythmsAreRefused)
{
    const SimulatorScript s = parseSimulatorScript("hours 1\nafib count 5 for 20m\n", "t");
    EXPECT_THROW(SimSchedule(s, 1), SimulatorError);
}

} // namespace
