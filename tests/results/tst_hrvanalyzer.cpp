#include "fakebeats.h"
#include "results/hrvanalyzer.h"

#include <gtest/gtest.h>

#include <numeric>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>

using namespace fakebeats;

namespace {

// Population mean and deviation, two-pass (the analyzer uses sums of squares).
std::pair<double, double> meanSd(const std::vector<double>& v)
{
    if (v.size() < 2)
        return { 0.0, 0.0 };
    double mean = 0.0;
    for (double x : v)
        mean += x;
    mean /= double(v.size());
    double ss = 0.0;
    for (double x : v)
        ss += (x - mean) * (x - mean);
    return { mean, std::sqrt(ss / double(v.size())) };
}

TEST(HRVAnalyzerTimeDomain, AgreesWithAnIndependentComputation)
{
    // Two hours of beats, RR between 0.6 and 1.2 s, with V, S and breaks.
    Beats recording(7200.0, 1, 250);
    std::mt19937 gen(42);
    std::uniform_real_distribution<double> jitter(-0.3, 0.3);
    double t = 1.0;
    double base = 0.9;
    for (int i = 0; t < 7190.0; ++i) {
        base = std::min(1.05, std::max(0.75, base + 0.01 * jitter(gen)));
        double rr = base + 0.15 * jitter(gen);
        int type = BeatN;
        if (i % 97 == 50 || i % 131 == 70) {
            type = i % 97 == 50 ? BeatV : BeatS;
            rr = 0.5;
        }
        if (i % 500 == 0)
            rr = 0.0;
        t += rr > 0.0 ? rr : 1.0;
        recording.add(t, rr, type);
    }

    // An NN is the RR of an N beat ending a run of at least three N beats with positive RR.
    std::vector<double> nn, nnTime, diffs;
    int streak = 0;
    double prevRR = 0.0;
    for (const Beat& b : recording.beats()) {
        const bool normal = b.type == BeatN && b.rr() > 0.0;
        streak = normal ? streak + 1 : 0;
        if (streak >= 3) {
            nn.push_back(b.rr());
            nnTime.push_back(b.windowStartTime());
            diffs.push_back(b.rr() - prevRR);
        }
        prevRR = b.rr();
    }
    ASSERT_GT(nn.size(), 7000u);

    HRVAnalyzer analyzer;
    run(analyzer, recording);

    std::vector<double> ms;
    for (double v : nn)
        ms.push_back(v * 1000.0);
    const auto whole = meanSd(ms);
    EXPECT_NEAR(valueOf(analyzer, "AVGNN"), whole.first, 1e-6);
    EXPECT_NEAR(valueOf(analyzer, "SDNN"), whole.second, 1e-6);

    // Five-minute segments.
    std::map<int, std::vector<double>> segments;
    for (size_t i = 0; i < nn.size(); ++i)
        segments[int(nnTime[i] / 300.0)].push_back(ms[i]);
    std::vector<double> segmentMeans;
    double sdSum = 0.0;
    for (const auto& s : segments) {
        segmentMeans.push_back(meanSd(s.second).first);
        sdSum += meanSd(s.second).second;
    }
    EXPECT_NEAR(valueOf(analyzer, "SDANNIndex"), meanSd(segmentMeans).second, 1e-6);
    EXPECT_NEAR(valueOf(analyzer, "SDNNIndex"), sdSum / double(segments.size()), 1e-6);

    double sumSq = 0.0;
    for (double d : diffs)
        sumSq += d * d;
    EXPECT_NEAR(valueOf(analyzer, "RMSSD"), std::sqrt(sumSq / double(diffs.size())) * 1000.0, 1e-6);
}

// Many equal sines with random phases over part of a band: a single sine would give a peak
// narrower than a bin.
struct Component
{
    double firstBin, lastBin; // in 1/512 cycles per beat
    int count;
    double variance; // s^2
};

std::vector<double> bandLimitedRR(
    int beats, const std::vector<Component>& parts, double noise, unsigned seed)
{
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> phase(0.0, 2.0 * M_PI);
    std::normal_distribution<double> gauss(0.0, noise);
    std::vector<std::vector<double>> f(parts.size()), p(parts.size());
    for (size_t c = 0; c < parts.size(); ++c)
        for (int k = 0; k < parts[c].count; ++k) {
            const double bin = parts[c].firstBin
                + (parts[c].lastBin - parts[c].firstBin) * (k + 0.5) / parts[c].count;
            f[c].push_back(bin / 512.0);
            p[c].push_back(phase(gen));
        }
    std::vector<double> rr(static_cast<size_t>(beats));
    for (int j = 0; j < beats; ++j) {
        double v = 0.8 + gauss(gen);
        for (size_t c = 0; c < parts.size(); ++c) {
            const double amplitude = std::sqrt(2.0 * parts[c].variance / parts[c].count);
            for (size_t k = 0; k < f[c].size(); ++k)
                v += amplitude * std::sin(2.0 * M_PI * f[c][k] * j + p[c][k]);
        }
        rr[size_t(j)] = v;
    }
    return rr;
}

TEST(HRVAnalyzerSpectrum, KnownLowAndHighFrequencyComponents)
{
    // LF 0.0008 s^2 in bins 14-36, HF 0.0003 s^2 in 44-98, white noise 5 ms over 256 bins
    // (28 LF, 64 HF): LF / HF = 2.62, LF norm 72.4 %.
    const double noise = 0.005;
    const std::vector<double> rr
        = bandLimitedRR(9000, { { 14, 36, 24, 0.0008 }, { 44, 98, 48, 0.0003 } }, noise, 1);
    Beats recording(7200.0, 1, 250);
    double t = 1.0;
    for (double v : rr) {
        t += v;
        if (t >= 7190.0)
            break;
        recording.add(t, v, BeatN);
    }
    HRVAnalyzer analyzer;
    run(analyzer, recording);

    const double lf = 0.0008 + noise * noise * 28.0 / 256.0;
    const double hf = 0.0003 + noise * noise * 64.0 / 256.0;
    EXPECT_NEAR(valueOf(analyzer, "LFHFRatio"), lf / hf, 0.1 * lf / hf);
    EXPECT_NEAR(valueOf(analyzer, "LFNorm"), 100.0 * lf / (lf + hf), 3.0);
    EXPECT_NEAR(valueOf(analyzer, "LFNorm") + valueOf(analyzer, "HFNorm"), 100.0, 1e-9);
    // Powers in ms^2 split half the variance as above.
    const double sdnn = valueOf(analyzer, "SDNN");
    const double half = sdnn * sdnn / 2.0;
    EXPECT_NEAR(valueOf(analyzer, "LFPower") / half, lf / (0.0008 + 0.0003 + noise * noise), 0.05);
    EXPECT_LT(valueOf(analyzer, "VLFPower") + valueOf(analyzer, "ULFPower"), 0.05 * half);
    // The stored spectrum totals half of SDNN squared.
    const QVector<double>& psd = resultOf<ValueArrayResult>(analyzer, "PSD")->values;
    ASSERT_EQ(psd.size(), 256);
    EXPECT_NEAR(std::accumulate(psd.begin(), psd.end(), 0.0), half, 1e-9 * half);
}

TEST(HRVAnalyzerEdges, ConstantRhythmHasNoPowerAndAQuirkyTinn)
{
    Beats recording(3600.0, 1, 250);
    for (int i = 0; i < 200; ++i)
        recording.add(1.0 + 0.8 * i, 0.8, BeatN);
    HRVAnalyzer analyzer;
    run(analyzer, recording);

    EXPECT_NEAR(valueOf(analyzer, "AVGNN"), 800.0, 1e-9);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "SDNN"), 0.0);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "RMSSD"), 0.0);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "HRVIndex"), 1.0); // 198 NN, all in one bin
    for (const char* name : { "totalPower", "LFNorm", "LFHFRatio" })
        EXPECT_DOUBLE_EQ(valueOf(analyzer, name), 0.0) << name;
    // Bin 102: the exact fit (101, 103) has error 0, which is never kept as the best, so
    // (101, 104) wins: floor(3 * 7.8125) = 23 ms.
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "TINNIndex"), 23.0);
}

TEST(HRVAnalyzerEdges, FewerThanTwoIntervalsLeaveZerosWithOnePointPerHour)
{
    Beats recording(7200.0, 1, 250); // 2 hours
    recording.add(10.0, 0.8, BeatN);
    recording.add(10.8, 0.8, BeatN);
    recording.add(11.6, 0.8, BeatN); // one NN only
    HRVAnalyzer analyzer;
    run(analyzer, recording);

    for (const char* name :
        { "AVGNN", "SDNN", "RMSSD", "PNN50", "HRVIndex", "TINNIndex", "LFPower", "totalPower" })
        EXPECT_DOUBLE_EQ(valueOf(analyzer, name), 0.0) << name;
    const TTrend& trend = *resultOf<TTrend>(analyzer, "AVGNNPerHour");
    ASSERT_EQ(trend.size(), 2);
    EXPECT_DOUBLE_EQ(trend.valueAt(0), 0.0);
    EXPECT_DOUBLE_EQ(resultOf<BinnedCount>(analyzer, "NNCountPerHour")->valueAt(0), 1.0);
}

} // namespace
