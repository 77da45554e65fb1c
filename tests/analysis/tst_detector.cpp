#include "detectsignals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

using namespace detecttest;

namespace {

std::vector<double> between(const std::vector<double>& times, double from, double to)
{
    std::vector<double> out;
    for (double t : times)
        if (t >= from && t <= to)
            out.push_back(t);
    return out;
}

// One detected beat within 2 samples of each true R in [from, to], and nothing else there.
void expectBeatsMatch(
    const DetectionRun& run, const std::vector<double>& truth, double from, double to)
{
    const std::vector<double> found = between(run.beatTimes(), from, to);
    const std::vector<double> expected = between(truth, from, to);
    ASSERT_EQ(found.size(), expected.size());
    for (size_t i = 0; i < found.size(); ++i)
        EXPECT_NEAR(found[i], expected[i], 2.0 / kRate) << "beat " << i;
}

TEST(WaveletBeatDetector, FindsEveryBeatWhileAFlatChannelNeitherDetectsNorDelays)
{
    const std::vector<double> truth = regular(0.5, 0.8, 60.0);
    const std::vector<qint16> a = ecg(truth, 60.0);
    MemorySource source(
        kRate, 1024, { a, std::vector<qint16>(a.size(), 0), ecg(truth, 60.0, -500.0, -100.0) });
    DetectionRun run(source);
    expectBeatsMatch(run, truth, 2.0, 52.0);
    EXPECT_EQ(run.detector.grade(1), 0);
    EXPECT_FALSE(run.detector.reliable(1));
    for (const Beat& beat : run.beats.beats()) {
        EXPECT_EQ(beat.channelMeasure(1, Beat::HasQrs), 0.0);
        if (beat.windowStartTime() > 10.0 && beat.windowStartTime() < 45.0) {
            EXPECT_DOUBLE_EQ(beat.getTiming(Beat::QrsShare), 1.0); // both good channels
            EXPECT_EQ(beat.channelMeasure(2, Beat::QrsPolarity), -1.0);
            EXPECT_NEAR(beat.medianRR(), 0.8, 1e-9); // the centred median of a regular rhythm
            EXPECT_NEAR(beat.rr(), 0.8, 1e-9);
        }
    }
}

TEST(WaveletBeatDetector, BeatsOfTheLastPartialBlockAreKept)
{
    // Ten blocks of 1024 samples and 2 s more: the last block holds only two or three beats, which
    // must not make every channel unreliable and turn the end of the recording into noise.
    const std::vector<double> truth = regular(0.5, 0.8, 43.0);
    const std::vector<qint16> a = ecg(truth, 43.0);
    MemorySource source(kRate, 1024, { a, a });
    DetectionRun run(source);
    expectBeatsMatch(run, truth, 30.0, 42.5);
}

TEST(WaveletBeatDetector, NothingBeforeStartPlusTwoTenths)
{
    const std::vector<qint16> a = ecg(regular(0.1, 0.8, 40.0), 40.0);
    MemorySource source(kRate, 1024, { a, a });
    DetectionRun run(source, -1, 10.0);
    for (const Beat& beat : run.beats.beats())
        EXPECT_GE(beat.timing[Beat::RTime], 10.2);
    EXPECT_FALSE(between(run.beatTimes(), 12.0, 14.0).empty());
}

TEST(WaveletBeatDetector, ReliableNeedsMoreThanFourBeatsInABlock)
{
    // Blocks of 1000 samples (4 s): RR 1.0 gives 4 records, RR 0.8 gives 5.
    for (double rr : { 1.0, 0.8 }) {
        MemorySource source(kRate, 1000, { ecg(regular(0.5, rr, 40.0), 40.0) });
        WaveletBank bank(&source);
        MemoryBeatList beats;
        WaveletBeatDetector detector(&bank, &beats);
        detector.init(&source, 0.0, 0.0, -1);
        for (int i = 0; i < 5; ++i)
            detector.processBlock();
        EXPECT_EQ(detector.reliable(0), rr < 1.0) << rr;
        EXPECT_EQ(detector.grade(0), 3) << rr;
    }
}

TEST(WaveletBeatDetector, RunningMedianLeavesOutTheBeatsOwnInterval)
{
    std::vector<double> truth { 0.5 };
    const double rrs[] = { 0.8, 1.0, 0.7, 0.9, 0.8, 0.75, 0.85 };
    for (int i = 0; truth.back() < 58.0; ++i)
        truth.push_back(truth.back() + rrs[i % 7]);
    const std::vector<qint16> a = ecg(truth, 60.0);
    MemorySource source(kRate, 1024, { a, a });
    DetectionRun run(source);
    const std::vector<Beat>& list = run.beats.beats();
    ASSERT_GT(list.size(), 8u);
    // Entries 0..4 keep the running value (the centred pass rewrites from entry 5 on): the
    // median of the positive RR of the earlier beats, computed plainly.
    std::vector<double> earlier;
    for (size_t i = 0; i < 5; ++i) {
        if (!list[i].isBeat)
            continue;
        std::vector<double> v;
        std::copy_if(earlier.begin(), earlier.end(), std::back_inserter(v),
            [](double x) { return x > 0.0; });
        std::sort(v.begin(), v.end());
        const size_t n = v.size();
        const double median = n == 0 ? 0.0 : n % 2 ? v[n / 2] : 0.5 * (v[n / 2 - 1] + v[n / 2]);
        if (i > 0) {
            EXPECT_NEAR(list[i].medianRR(), median, 1e-9) << "entry " << i;
        }
        earlier.push_back(list[i].rr());
    }
}

TEST(WaveletBeatDetector, SecondOfTwoQrsWithinRefractoryIsDropped)
{
    const std::vector<double> truth = regular(0.5, 0.8, 60.0);
    std::vector<double> extra;
    for (size_t i = 3; i < truth.size(); i += 5)
        extra.push_back(truth[i] + 0.12);
    std::vector<qint16> a = ecg(truth, 60.0);
    const std::vector<qint16> e = ecg(extra, 60.0, 500.0, 0.0);
    for (size_t i = 0; i < a.size(); ++i)
        a[i] = qint16(a[i] + e[i]);
    MemorySource source(kRate, 1024, { a });
    DetectionRun run(source);
    const std::vector<double> found = run.beatTimes();
    for (size_t i = 1; i < found.size(); ++i)
        EXPECT_GE(found[i] - found[i - 1], 0.15) << "at " << found[i];
    // The first of each close pair is the one that stays.
    expectBeatsMatch(run, truth, 5.0, 50.0);
}

TEST(WaveletBeatDetector, OutputDoesNotDependOnHowTheSourceIsRead)
{
    std::vector<double> truth { 0.4 };
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> jitter(0.45, 1.3);
    while (truth.back() < 70.0)
        truth.push_back(truth.back() + jitter(rng));
    const std::vector<qint16> a = ecg(truth, 72.0);
    std::vector<qint16> noisy = a;
    std::normal_distribution<double> noise(0.0, 25.0);
    for (qint16& x : noisy)
        x = qint16(x + noise(rng));
    MemorySource source(kRate, 1024, { a, ecg(truth, 72.0, -300.0, 60.0), noisy });
    DetectionRun plain(source);
    ASSERT_GT(plain.beats.count(), 50);

    // Same chain, every scale block read ahead and random band-pass reads in between.
    WaveletBank bank(&source);
    for (int level = 1; level <= 4; ++level)
        for (int ch = 0; ch < 3; ++ch)
            for (int blk = 0; blk < source.blockCount(); ++blk)
                if (bank.scale(level)->getBlockF64(ch, blk))
                    bank.scale(level)->releaseBlockF64(ch, blk);
    MemoryBeatList beats;
    WaveletBeatDetector detector(&bank, &beats);
    for (int round = 0; round < 2; ++round) { // a second init must start afresh
        beats.clear();
        detector.init(&source, 0.0, 0.0, -1);
        std::vector<double> scratch(600);
        while (detector.currentTime() < 72.0) {
            bank.bandPass()->readSamples(
                int(rng() % 3), qint64(rng() % 17000), 600, scratch.data());
            detector.processBlock();
        }
        detector.finish();
        EXPECT_EQ(beats.beats(), plain.beats.beats()) << "round " << round;
    }
}

TEST(WaveletBeatDetector, ForcedChannelUsesOnlyThatChannel)
{
    const std::vector<double> truth = regular(0.5, 0.8, 40.0);
    MemorySource source(kRate, 1024, { ecg(regular(0.9, 1.1, 40.0), 40.0), ecg(truth, 40.0) });
    DetectionRun run(source, 1);
    expectBeatsMatch(run, truth, 2.0, 32.0);
    for (const Beat& b : run.beats.beats())
        EXPECT_EQ(b.channelMeasure(0, Beat::HasQrs), 0.0);
}

TEST(WaveletBeatDetector, EmptyAndTinySourcesEndQuietly)
{
    for (int samples : { 0, 10, 300 }) {
        MemorySource source(kRate, 1024,
            { std::vector<qint16>(size_t(samples), 5), std::vector<qint16>(size_t(samples), -5) });
        EXPECT_EQ(DetectionRun(source).beats.count(), 0) << samples;
    }
}

} // namespace
