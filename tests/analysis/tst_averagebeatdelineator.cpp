#include "analysis/averagebeatdelineator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

namespace {

constexpr double kPi = 3.14159265358979323846;

// A Hann bump from `start` to `end` seconds: zero outside, so its limits are exact.
double hann(double t, double start, double end, double amplitude)
{
    if (t <= start || t >= end)
        return 0.0;
    return amplitude * 0.5 * (1.0 - std::cos(2.0 * kPi * (t - start) / (end - start)));
}

// Straight lines through (time, value) points; zero outside them.
double polyline(double t, const std::vector<std::pair<double, double>>& points)
{
    for (size_t i = 1; i < points.size(); ++i) {
        const auto& a = points[i - 1];
        const auto& b = points[i];
        if (t >= a.first && t <= b.first)
            return a.second + (b.second - a.second) * (t - a.first) / (b.first - a.first);
    }
    return 0.0;
}

// One averaged beat of 0.8 s with R at 0.3 s, as RecentBeatWindow lays it out. Times in seconds;
// amplitudes in sample units. The QRS is a polyline Q-R-S that leaves and rejoins a flat
// baseline at known instants, P and T are Hann bumps with known limits and crest.
struct BeatShape
{
    double pStart = 0.100, pEnd = 0.200, pAmp = 120.0;
    double qrsStart = 0.260, qTime = 0.272, qAmp = -80.0;
    double rTime = 0.300, rAmp = 1000.0;
    double sTime = 0.324, sAmp = -200.0, qrsStop = 0.356;
    double tStart = 0.480, tEnd = 0.720, tAmp = 250.0;

    double at(double t) const
    {
        return hann(t, pStart, pEnd, pAmp) + hann(t, tStart, tEnd, tAmp)
            + polyline(t,
                { { qrsStart, 0.0 }, { qTime, qAmp }, { rTime, rAmp }, { sTime, sAmp },
                    { qrsStop, 0.0 } });
    }

    std::vector<double> sample(int rate, double seconds = 0.8) const
    {
        std::vector<double> wave(size_t(seconds * rate + 0.5));
        for (size_t i = 0; i < wave.size(); ++i)
            wave[i] = at(double(i) / rate);
        return wave;
    }
};

int peakPosition(int rate)
{
    return int(0.3 * rate + 0.5);
}

struct Limits
{
    int pOnset, qrsOnset, qrsEnd, tPeak, tEnd;
};

Limits measured(const BeatShape& shape, int rate, double rrSeconds)
{
    const std::vector<double> wave = shape.sample(rate);
    AverageBeatDelineator d;
    d.measure(wave.data(), int(wave.size()), rate, peakPosition(rate), int(rate * rrSeconds));
    EXPECT_EQ(d.rPosition, peakPosition(rate));
    EXPECT_EQ(d.pEnd, 0);
    EXPECT_EQ(d.tOnset, 0);
    return { d.pOnset, d.qrsOnset, d.qrsEnd, d.tPeak, d.tEnd };
}

// Within [low, high] seconds, as a sample position at `rate`.
::testing::AssertionResult within(int position, int rate, double low, double high)
{
    const double t = double(position) / rate;
    if (position != 0 && t >= low - 1e-9 && t <= high + 1e-9)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
        << "position " << position << " (" << t * 1000.0 << " ms) outside " << low * 1000.0
        << " .. " << high * 1000.0 << " ms";
}

// Of a Hann bump of width W, the slope is steepest a quarter in and has eased to 80 % of that
// where sin(2 pi t / W) = 0.8, i.e. at t = asin(0.8) / (2 pi) W = 0.1476 W from either end.
const double kEightyPercent = std::asin(0.8) / (2.0 * kPi);

} // namespace

// ---- the kernels and the smoothing they are used with ----------------------------------------

TEST(AverageBeatDelineatorKernels, SymmetricAndNormalised)
{
    const std::vector<double> kernels[] = { AverageBeatDelineator::pKernel(),
        AverageBeatDelineator::qrsEndKernel(), AverageBeatDelineator::tKernel() };
    const size_t lengths[] = { 25, 81, 51 };
    const double centres[] = { 0.0813464, 0.1590852, 0.0468637 };
    for (int k = 0; k < 3; ++k) {
        const std::vector<double>& kernel = kernels[k];
        ASSERT_EQ(kernel.size(), lengths[k]);
        for (size_t i = 0; i < kernel.size(); ++i)
            EXPECT_EQ(kernel[i], kernel[kernel.size() - 1 - i]) << "kernel " << k << " tap " << i;
        EXPECT_EQ(kernel[kernel.size() / 2], centres[k]);
        // Seven-digit taps: the sum is 1 within the rounding of 81 values.
        EXPECT_NEAR(std::accumulate(kernel.begin(), kernel.end(), 0.0), 1.0, 5e-6) << k;
    }
}

TEST(AverageBeatDelineatorKernels, SmoothingCentresTheKernelAndPadsWithZeros)
{
    const std::vector<double> kernel = { 1.0, 2.0, 3.0, 4.0, 5.0 };
    // An impulse in the middle reproduces the kernel centred on it.
    std::vector<double> x(11, 0.0);
    x[5] = 1.0;
    EXPECT_EQ(AverageBeatDelineator::smooth(x, kernel),
        (std::vector<double> { 0, 0, 0, 1, 2, 3, 4, 5, 0, 0, 0 }));
    // At the edges only the part of the kernel over the array counts.
    x.assign(4, 1.0);
    // y[i] = sum of k[j] with 0 <= i + 2 - j < 4: j in [i - 1, i + 2].
    EXPECT_EQ(AverageBeatDelineator::smooth(x, kernel), (std::vector<double> { 6, 10, 14, 12 }));
    EXPECT_TRUE(AverageBeatDelineator::smooth({}, kernel).empty());
}

// ---- limits on synthetic averages -----------------------------------------------------------

class AverageBeatAtRate : public ::testing::TestWithParam<int>
{
};

TEST_P(AverageBeatAtRate, UprightWavesOfKnownShape)
{
    const int rate = GetParam();
    const int factor = rate / 250;
    const double step = 1.0 / 250; // the rules run at 250 Hz
    BeatShape shape;
    const Limits got = measured(shape, rate, 1.0);

    // QRS onset: the first flat four-sample group walking back from R lies one 250 Hz sample
    // before the polyline leaves the baseline (at 500 Hz the box average moves it by at most one
    // more, since the averaged first sample is a fraction of the 1 % threshold).
    EXPECT_TRUE(within(got.qrsOnset, rate, shape.qrsStart - 2 * step, shape.qrsStart - step));
    // QRS end: where the steep S upstroke gives way to the flat ST segment; the smoothing
    // kernel's main lobe (about +-4 samples) blurs the corner, so allow two samples either side.
    EXPECT_TRUE(within(got.qrsEnd, rate, shape.qrsStop - 2 * step, shape.qrsStop + 2 * step));
    // P onset: the 80 %-of-steepest point of the rising half, which lies 0.1476 W after the true
    // start; smoothing widens the rise, moving it earlier, never later.
    const double pWidth = shape.pEnd - shape.pStart;
    EXPECT_TRUE(within(
        got.pOnset, rate, shape.pStart - 2 * step, shape.pStart + kEightyPercent * pWidth + step));
    // T peak: the highest raw sample near the smoothed crest, which for a symmetric bump is the
    // crest itself.
    const double tCrest = (shape.tStart + shape.tEnd) / 2;
    EXPECT_TRUE(within(got.tPeak, rate, tCrest, tCrest));
    // T end: where the downslope has eased to 80 %; 0.1476 W before the true end on the raw
    // bump. The kernel (sigma about 8 samples, an eighth of this T) spreads that towards the end,
    // but not as far as the raw half-slope point, W / 12 before the end.
    const double tWidth = shape.tEnd - shape.tStart;
    EXPECT_TRUE(within(
        got.tEnd, rate, shape.tEnd - kEightyPercent * tWidth - step, shape.tEnd - tWidth / 12));

    for (int position : { got.pOnset, got.qrsOnset, got.qrsEnd, got.tPeak, got.tEnd })
        EXPECT_EQ(position % factor, 0) << "not a multiple of the reduction factor";
}

TEST_P(AverageBeatAtRate, InvertedPAndT)
{
    const int rate = GetParam();
    const double step = 1.0 / 250;
    BeatShape shape;
    shape.pAmp = -90.0;
    shape.tAmp = -200.0;
    const Limits got = measured(shape, rate, 1.0);

    const double pWidth = shape.pEnd - shape.pStart;
    EXPECT_TRUE(within(
        got.pOnset, rate, shape.pStart - 2 * step, shape.pStart + kEightyPercent * pWidth + step));
    const double tCrest = (shape.tStart + shape.tEnd) / 2;
    EXPECT_TRUE(within(got.tPeak, rate, tCrest, tCrest)); // the trough, by symmetry
    const double tWidth = shape.tEnd - shape.tStart;
    EXPECT_TRUE(within(
        got.tEnd, rate, shape.tEnd - kEightyPercent * tWidth - step, shape.tEnd - tWidth / 12));
    EXPECT_TRUE(within(got.qrsOnset, rate, shape.qrsStart - 2 * step, shape.qrsStart - step));
}

TEST_P(AverageBeatAtRate, WideQrsAndShiftedWaves)
{
    // A broad complex (140 ms) with an early, narrow P and a late T at a rate of 75 bpm.
    const int rate = GetParam();
    const double step = 1.0 / 250;
    BeatShape shape;
    shape.pStart = 0.080;
    shape.pEnd = 0.160;
    shape.qrsStart = 0.240;
    shape.qTime = 0.256;
    shape.sTime = 0.340;
    shape.qrsStop = 0.380;
    shape.tStart = 0.520;
    shape.tEnd = 0.760;
    // The T search ends at RR / 2 after the QRS end: 0.4 s covers the whole T.
    const Limits got = measured(shape, rate, 0.8);
    EXPECT_TRUE(within(got.qrsOnset, rate, shape.qrsStart - 2 * step, shape.qrsStart - step));
    EXPECT_TRUE(within(got.qrsEnd, rate, shape.qrsStop - 2 * step, shape.qrsStop + 2 * step));
    EXPECT_TRUE(within(got.pOnset, rate, shape.pStart - 2 * step,
        shape.pStart + kEightyPercent * (shape.pEnd - shape.pStart) + step));
    EXPECT_TRUE(within(got.tPeak, rate, 0.640, 0.640));
}

TEST_P(AverageBeatAtRate, FlatTopTPeakIsItsFirstSample)
{
    // A T with a flat crest from 0.58 to 0.62 s, a slow rise and a steep fall: smoothing moves
    // the crest towards the slow side, a little before 0.6 s, so the eleven raw samples looked at
    // (crest +-5) start before the plateau, and the first of the tied plateau samples, 0.58 s,
    // is the peak.
    const int rate = GetParam();
    BeatShape shape;
    shape.tAmp = 0.0;
    std::vector<double> wave = shape.sample(rate);
    for (size_t i = 0; i < wave.size(); ++i)
        wave[i] += polyline(
            double(i) / rate, { { 0.44, 0.0 }, { 0.58, 250.0 }, { 0.62, 250.0 }, { 0.68, 0.0 } });
    AverageBeatDelineator d;
    d.measure(wave.data(), int(wave.size()), rate, peakPosition(rate), rate);
    EXPECT_TRUE(within(d.tPeak, rate, 0.58, 0.58));
}

TEST_P(AverageBeatAtRate, BaselineOffsetMovesNoPOrQrsLimit)
{
    // P onset is measured on the wave less its level at the QRS onset, and the QRS rules look
    // only at differences: lifting the whole average by 300 units changes none of them.
    const int rate = GetParam();
    const Limits clean = measured(BeatShape(), rate, 1.0);
    std::vector<double> wave = BeatShape().sample(rate);
    for (double& v : wave)
        v += 300.0;
    AverageBeatDelineator d;
    d.measure(wave.data(), int(wave.size()), rate, peakPosition(rate), rate);
    EXPECT_EQ(d.pOnset, clean.pOnset);
    EXPECT_EQ(d.qrsOnset, clean.qrsOnset);
    EXPECT_EQ(d.qrsEnd, clean.qrsEnd);
}

TEST_P(AverageBeatAtRate, UnknownRrGivesQrsLimitsOnly)
{
    const int rate = GetParam();
    const Limits got = measured(BeatShape(), rate, 0.0);
    EXPECT_NE(got.qrsOnset, 0);
    EXPECT_NE(got.qrsEnd, 0);
    EXPECT_EQ(got.pOnset, 0);
    EXPECT_EQ(got.tPeak, 0);
    EXPECT_EQ(got.tEnd, 0);
}

TEST_P(AverageBeatAtRate, PeakToPeakLimit)
{
    // Scaled to a peak-to-peak of 9.9 the wave counts as flat; at 10.0 it is measured.
    const int rate = GetParam();
    const std::vector<double> wave = BeatShape().sample(rate);
    const auto mm = std::minmax_element(wave.begin(), wave.end());
    for (const double target : { 9.9, 10.0 }) {
        std::vector<double> scaled(wave);
        for (double& v : scaled)
            v *= target / (*mm.second - *mm.first);
        // Guard against rounding just below the limit.
        if (target == 10.0)
            *std::max_element(scaled.begin(), scaled.end()) += 1e-9;
        AverageBeatDelineator d;
        d.qrsOnset = d.pOnset = d.tEnd = 77; // stale values from a previous call must go
        d.measure(scaled.data(), int(scaled.size()), rate, peakPosition(rate), rate);
        EXPECT_EQ(d.rPosition, peakPosition(rate));
        if (target < 10.0) {
            EXPECT_EQ(d.qrsOnset, 0);
            EXPECT_EQ(d.qrsEnd, 0);
            EXPECT_EQ(d.pOnset, 0);
            EXPECT_EQ(d.tPeak, 0);
            EXPECT_EQ(d.tEnd, 0);
        } else {
            EXPECT_NE(d.qrsOnset, 0);
        }
    }
}

TEST_P(AverageBeatAtRate, TruncatedAverageHasNoQrsEndOrT)
{
    // Cut 0.556 s after the start: n = 139 samples at 250 Hz, so the onset at sample 64 is not
    // below n - 75 = 64 and the QRS end (and with it the T wave) is not looked for.
    const int rate = GetParam();
    std::vector<double> wave = BeatShape().sample(rate);
    wave.resize(size_t(139 * (rate / 250)));
    AverageBeatDelineator d;
    d.measure(wave.data(), int(wave.size()), rate, peakPosition(rate), rate);
    EXPECT_EQ(d.qrsOnset, 64 * (rate / 250));
    EXPECT_EQ(d.qrsEnd, 0);
    EXPECT_EQ(d.tPeak, 0);
    EXPECT_EQ(d.tEnd, 0);
    // One sample more and the end is measured.
    wave = BeatShape().sample(rate);
    wave.resize(size_t(140 * (rate / 250)));
    d.measure(wave.data(), int(wave.size()), rate, peakPosition(rate), rate);
    EXPECT_NE(d.qrsEnd, 0);
}

TEST_P(AverageBeatAtRate, PCutOffAtTheSearchLimitIsNotFound)
{
    // The P search starts RR / 3 before the QRS onset (0.256 s). With RR = 0.36 s it starts at
    // 0.136 s, past the steepest rise of the P (0.125 s): no rising edge lies after the limit,
    // and the onset is "not found" rather than a point inside the P.
    const int rate = GetParam();
    const Limits got = measured(BeatShape(), rate, 0.36);
    EXPECT_EQ(got.pOnset, 0);
    EXPECT_NE(got.qrsOnset, 0);
}

INSTANTIATE_TEST_SUITE_P(Rates, AverageBeatAtRate, ::testing::Values(250, 500));

TEST(AverageBeatDelineator, ReductionAveragesPairsAt500Hz)
{
    // A ripple of +-40 units that flips sign inside every pair of 500 Hz samples (and from pair
    // to pair) vanishes in the pairwise mean, so the limits are exactly those of the clean wave;
    // picking every other sample instead would leave a 125 Hz square wave of 80 units, which
    // hides the flat PR segment from the 1 % and 2 % rules.
    const Limits clean = measured(BeatShape(), 500, 1.0);
    std::vector<double> wave = BeatShape().sample(500);
    for (size_t i = 0; i < wave.size(); ++i)
        wave[i] += ((i % 2 == 0) == (i / 2 % 2 == 0)) ? 40.0 : -40.0;
    AverageBeatDelineator d;
    d.measure(wave.data(), int(wave.size()), 500, 150, 500);
    EXPECT_EQ(d.qrsOnset, clean.qrsOnset);
    EXPECT_EQ(d.qrsEnd, clean.qrsEnd);
    EXPECT_EQ(d.pOnset, clean.pOnset);
    EXPECT_EQ(d.tPeak, clean.tPeak);
    EXPECT_EQ(d.tEnd, clean.tEnd);
}

TEST(AverageBeatDelineator, NoisyAverageKeepsItsLimits)
{
    // Small deterministic noise (+-3 units, well under 1 % of the QRS) must not move the limits
    // by more than the tolerances of the clean shape plus one sample.
    BeatShape shape;
    std::vector<double> wave = shape.sample(250);
    unsigned state = 99u;
    for (double& v : wave) {
        state = state * 1664525u + 1013904223u;
        v += 6.0 * ((state >> 8) / double(1u << 24) - 0.5);
    }
    AverageBeatDelineator d;
    d.measure(wave.data(), int(wave.size()), 250, 75, 250);
    EXPECT_TRUE(within(d.qrsOnset, 250, shape.qrsStart - 0.012, shape.qrsStart));
    EXPECT_TRUE(within(d.qrsEnd, 250, shape.qrsStop - 0.012, shape.qrsStop + 0.012));
    EXPECT_TRUE(within(d.tPeak, 250, 0.6 - 0.02, 0.6 + 0.02));
}

TEST(AverageBeatDelineator, NonsenseInputGivesNothing)
{
    const std::vector<double> wave = BeatShape().sample(250);
    const int n = int(wave.size());
    struct Call
    {
        const double* data;
        int length, rate, r, rr;
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<double> withNan(wave);
    withNan[10] = nan;
    const Call calls[] = {
        { nullptr, n, 250, 75, 250 },
        { wave.data(), 0, 250, 75, 250 },
        { wave.data(), -5, 250, 75, 250 },
        { wave.data(), n, 0, 75, 250 },
        { wave.data(), n, 250, -3, 250 },
        { wave.data(), n, 250, n + 40, 250 },
        { withNan.data(), n, 250, 75, 250 },
    };
    for (const Call& c : calls) {
        SCOPED_TRACE(&c - calls);
        AverageBeatDelineator d;
        d.measure(c.data, c.length, c.rate, c.r, c.rr);
        EXPECT_EQ(d.rPosition, c.r);
        EXPECT_EQ(d.qrsOnset + d.qrsEnd + d.pOnset + d.tPeak + d.tEnd, 0);
    }
    // Odd but harmless calls: whatever is found must lie inside the array given.
    const std::vector<double> slow = BeatShape().sample(125);
    const Call odd[] = {
        { wave.data(), 20, 250, 10, 250 }, { wave.data(), n, 250, 75, 1 << 30 },
        { wave.data(), n, 250, n - 1, 250 }, { wave.data(), n, 250, 75, -250 },
        { slow.data(), int(slow.size()), 125, 38, 125 }, // below 250 Hz: worked on as it stands
    };
    for (const Call& c : odd) {
        SCOPED_TRACE(&c - odd);
        AverageBeatDelineator d;
        d.measure(c.data, c.length, c.rate, c.r, c.rr);
        for (int position : { d.pOnset, d.qrsOnset, d.qrsEnd, d.tPeak, d.tEnd }) {
            EXPECT_GE(position, 0);
            EXPECT_LT(position, c.length);
        }
    }
}
