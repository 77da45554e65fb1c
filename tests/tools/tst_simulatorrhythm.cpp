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
    int v = 0, s = 0, couplets = 0, longPauses = 0;
    for (int i = 0; i < run.beats.size(); ++i) {
        v += run.beats[i].code == 5;
        s += run.beats[i].code == 8;
        // A couplet: exactly two V in a row.
        if (i >= 2 && i + 1 < run.beats.size() && run.beats[i].code == 5
            && run.beats[i - 1].code == 5 && run.beats[i - 2].code != 5
            && run.beats[i + 1].code != 5)
            ++couplets;
        // Dropped beats of second-degree block are pauses of their own kind.
        if (i > 0 && run.rr(i) > 2.0 && !run.inside("(BII", run.beats[i].sample))
            ++longPauses;
    }
    // About 100 000 beats in a day at 60-80 bpm.
    EXPECT_GT(run.beats.size(), 80000);
    EXPECT_LT(run.beats.size(), 120000);
    EXPECT_GE(v, 300);
    EXPECT_LE(v, 3000);
    EXPECT_GE(s, 300);
    EXPECT_LE(s, 3000);
    EXPECT_GE(couplets, 20);
    EXPECT_LE(couplets, 60);
    EXPECT_GE(longPauses, 3);
    EXPECT_LE(longPauses, 12);
    int blocked = 0;
    for (int i = 1; i < run.beats.size(); ++i)
        blocked += run.rr(i) > 1.8 && run.inside("(BII", run.beats[i].sample);
    EXPECT_GE(blocked, 10);
    EXPECT_GE(run.countLabel("(VT"), 2);
    EXPECT_GE(run.countLabel("(SVTA"), 2);
    EXPECT_GE(run.countLabel("(B"), 1);
    EXPECT_GE(run.countLabel("(T"), 1);
    EXPECT_GE(run.countLabel("(BII"), 1);
    EXPECT_GE(run.countLabel("(SBR"), 1);
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

// Successive-difference irregularity of RR inside [from, to) samples, N beats only.
double rrIrregularity(const RhythmRun& run, qint64 from, qint64 to)
{
    double sum = 0.0, sumSq = 0.0;
    int n = 0;
    for (int i = 2; i < run.beats.size(); ++i) {
        if (run.beats[i - 2].sample < from || run.beats[i].sample >= to)
            continue;
        if (run.beats[i].code != 1 || run.beats[i - 1].code != 1 || run.beats[i - 2].code != 1)
            continue;
        const double d = run.rr(i) - run.rr(i - 1);
        sum += run.rr(i);
        sumSq += d * d;
        ++n;
    }
    return n > 10 ? std::sqrt(sumSq / n) / (sum / n) : -1.0;
}

TEST(SimulatorRhythm, FibrillationIsIrregularAndSinusIsNot)
{
    const RhythmRun run("hours 1\nafib at 0:20:00 for 15m rate=100\n");
    const double af = rrIrregularity(run, qint64(21 * 60 * kRate), qint64(34 * 60 * kRate));
    const double sinus = rrIrregularity(run, qint64(2 * 60 * kRate), qint64(18 * 60 * kRate));
    EXPECT_GT(af, 0.15);
    EXPECT_GT(sinus, 0.0);
    EXPECT_LT(sinus, 0.06);
}

TEST(SimulatorRhythm, NightIsSlowerThanDay)
{
    // Start 09:00: hours 1-3 are late morning, hours 16-18 the small hours.
    const RhythmRun& run = defaultDay();
    auto meanRR = [&](double h0, double h1) {
        double sum = 0.0;
        int n = 0;
        for (int i = 1; i < run.beats.size(); ++i) {
            const double t = run.beats[i].sample / kRate / 3600.0;
            if (t >= h0 && t < h1 && run.beats[i].code == 1 && run.beats[i - 1].code == 1) {
                sum += run.rr(i);
                ++n;
            }
        }
        return sum / std::max(1, n);
    };
    const double day = meanRR(1.0, 3.0);
    const double night = meanRR(16.0, 18.0);
    EXPECT_NEAR(60.0 / day, 76.0, 8.0);
    EXPECT_NEAR(60.0 / night, 58.0, 6.0);
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

TEST(SimulatorRhythm, SameSeedSameScheduleOtherSeedOther)
{
    const QString text = "hours 2\npvc count 30\nvt count 2 for 5s\n";
    const RhythmRun a(text, 11), b(text, 11), c(text, 12);
    EXPECT_EQ(a.beats, b.beats);
    EXPECT_EQ(a.labels, b.labels);
    EXPECT_NE(a.beats, c.beats);
}

TEST(SimulatorRhythm, CrowdedRandomRhythmsAreRefused)
{
    const SimulatorScript s = parseSimulatorScript("hours 1\nafib count 5 for 20m\n", "t");
    EXPECT_THROW(SimSchedule(s, 1), SimulatorError);
}

} // namespace
