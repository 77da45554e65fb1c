#include "analysis/averagebeatdelineator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace {

constexpr double kPi = 3.14159265358979323846;

// Straight lines through (time, value) points; zero outside them.
double polyline(double t, const std::vector<std::pair<double, double>>& points)
{
    for (size_t i = 1; i < points.size(); ++i) {
        const auto &a = points[i - 1], &b = points[i];
        if (t >= a.first && t <= b.first)
            return a.second + (b.second - a.second) * (t - a.first) / (b.first - a.first);
    }
    return 0.0;
}

// One averaged beat of 0.8 s with R at 0.3 s (seconds, sample units): a polyline Q-R-S that
// leaves and rejoins the baseline at known instants, P and T Hann bumps with known limits.
struct BeatShape
{
    double pStart = 0.100, pEnd = 0.200, pAmp = 120.0;
    double qrsStart = 0.260, qTime = 0.272, sTime = 0.324, qrsStop = 0.356;
    double tStart = 0.480, tEnd = 0.720, tAmp = 250.0;

    static double hann(double t, double start, double end, double amplitude)
    {
        return t <= start || t >= end
            ? 0.0
            : amplitude * 0.5 * (1.0 - std::cos(2.0 * kPi * (t - start) / (end - start)));
    }
    std::vector<double> sample(int rate) const
    {
        std::vector<double> wave(size_t(0.8 * rate + 0.5));
        for (size_t i = 0; i < wave.size(); ++i) {
            const double t = double(i) / rate;
            wave[i] = hann(t, pStart, pEnd, pAmp) + hann(t, tStart, tEnd, tAmp)
                + polyline(t,
                    { { qrsStart, 0.0 }, { qTime, -80.0 }, { 0.3, 1000.0 }, { sTime, -200.0 },
                        { qrsStop, 0.0 } });
        }
        return wave;
    }
};

AverageBeatDelineator measured(const std::vector<double>& wave, int rate, double rrSeconds)
{
    AverageBeatDelineator d;
    d.measure(wave.data(), int(wave.size()), rate, int(0.3 * rate + 0.5), int(rate * rrSeconds));
    return d;
}

::testing::AssertionResult within(int position, int rate, double low, double high)
{
    const double t = double(position) / rate;
    if (position != 0 && t >= low - 1e-9 && t <= high + 1e-9)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
        << "position " << position << " (" << t * 1000.0 << " ms) outside " << low * 1000.0
        << " .. " << high * 1000.0 << " ms";
}

// A Hann bump's slope eases to 80 % of its steepest asin(0.8) / 2 pi = 0.1476 W from either end.
const double kEightyPercent = std::asin(0.8) / (2.0 * kPi);

} // namespace

TEST(AverageBeatDelineator, SmoothingPadsWithZeros)
{
    const std::vector<double> kernel = { 1.0, 2.0, 3.0, 4.0, 5.0 };
    std::vector<double> x(11, 0.0);
    x[5] = 1.0; // an impulse reproduces the kernel centred on it
    EXPECT_EQ(AverageBeatDelineator::smooth(x, kernel),
        (std::vector<double> { 0, 0, 0, 1, 2, 3, 4, 5, 0, 0, 0 }));
    // At the edges only the kernel over the array counts: y[i] sums k[j] for j in [i - 1, i + 2].
    EXPECT_EQ(AverageBeatDelineator::smooth(std::vector<double>(4, 1.0), kernel),
        (std::vector<double> { 6, 10, 14, 12 }));
    EXPECT_TRUE(AverageBeatDelineator::smooth({}, kernel).empty());
}

class AverageBeatAtRate : public ::testing::TestWithParam<int>
{
};

TEST_P(AverageBeatAtRate, LimitsOfKnownShapes)
{
    const int rate = GetParam();
    const double step = 1.0 / 250; // the rules run at 250 Hz
    const BeatShape wide { 0.080, 0.160, 120.0, 0.240, 0.256, 0.340, 0.380, 0.520, 0.760, 250.0 };
    const struct
    {
        BeatShape shape;
        double rr;
    } cases[] = { { BeatShape(), 1.0 }, { wide, 0.8 } }; // wide: 140 ms QRS, early P, late T
    for (const auto& c : cases) {
        const BeatShape& s = c.shape;
        const AverageBeatDelineator d = measured(s.sample(rate), rate, c.rr);
        SCOPED_TRACE(&c - cases);
        EXPECT_EQ(d.rPosition, int(0.3 * rate + 0.5));
        // QRS onset: the first flat group walking back from R, one 250 Hz sample before the rise.
        EXPECT_TRUE(within(d.qrsOnset, rate, s.qrsStart - 2 * step, s.qrsStart - step));
        // QRS end: the smoothing blurs the S-to-ST corner by up to two samples.
        EXPECT_TRUE(within(d.qrsEnd, rate, s.qrsStop - 2 * step, s.qrsStop + 2 * step));
        // P onset: the 80 %-of-steepest point of the rise, moved earlier (never later) by
        // smoothing.
        EXPECT_TRUE(within(d.pOnset, rate, s.pStart - 2 * step,
            s.pStart + kEightyPercent * (s.pEnd - s.pStart) + step));
        // T peak: the crest (or trough) of a symmetric bump.
        EXPECT_TRUE(within(d.tPeak, rate, (s.tStart + s.tEnd) / 2, (s.tStart + s.tEnd) / 2));
        // T end: 80 % point of the downslope, spread by smoothing but not past W / 12 before the
        // end.
        const double tWidth = s.tEnd - s.tStart;
        if (c.rr == 1.0) {
            EXPECT_TRUE(within(
                d.tEnd, rate, s.tEnd - kEightyPercent * tWidth - step, s.tEnd - tWidth / 12));
        }
        for (int position : { d.pOnset, d.qrsOnset, d.qrsEnd, d.tPeak, d.tEnd })
            EXPECT_EQ(position % (rate / 250), 0) << "not a multiple of the reduction factor";
        EXPECT_EQ(d.pEnd, 0);
        EXPECT_EQ(d.tOnset, 0);
    }
}

TEST_P(AverageBeatAtRate, SearchLimits)
{
    const int rate = GetParam();
    const std::vector<double> wave = BeatShape().sample(rate);
    // Unknown RR: QRS limits only.
    AverageBeatDelineator d = measured(wave, rate, 0.0);
    EXPECT_NE(d.qrsOnset * d.qrsEnd, 0);
    EXPECT_EQ(d.pOnset + d.tPeak + d.tEnd, 0);
    // RR 0.36 s: the P search starts at 0.256 - 0.12 = 0.136 s, past the P's steepest rise
    // (0.125 s), so there is no onset rather than a point inside the P.
    d = measured(wave, rate, 0.36);
    EXPECT_EQ(d.pOnset, 0);
    EXPECT_NE(d.qrsOnset, 0);
    // Cut to 139 samples at 250 Hz: the onset at 64 is not below n - 75, so no QRS end or T.
    std::vector<double> cut(wave.begin(), wave.begin() + 139 * (rate / 250));
    d = measured(cut, rate, 1.0);
    EXPECT_EQ(d.qrsOnset, 64 * (rate / 250));
    EXPECT_EQ(d.qrsEnd + d.tPeak + d.tEnd, 0);
    cut.assign(wave.begin(), wave.begin() + 140 * (rate / 250)); // one sample more and it is
    EXPECT_NE(measured(cut, rate, 1.0).qrsEnd, 0);
}

TEST_P(AverageBeatAtRate, PeakToPeakBelowTenIsFlat)
{
    const int rate = GetParam();
    const std::vector<double> wave = BeatShape().sample(rate);
    const auto mm = std::minmax_element(wave.begin(), wave.end());
    for (const double target : { 9.9, 10.0 }) {
        std::vector<double> scaled(wave);
        for (double& v : scaled)
            v *= target / (*mm.second - *mm.first);
        *std::max_element(scaled.begin(), scaled.end()) += 1e-9; // not just below by rounding
        AverageBeatDelineator d;
        d.qrsOnset = d.pOnset = d.tEnd = 77; // stale values from a previous call must go
        d.measure(scaled.data(), int(scaled.size()), rate, int(0.3 * rate + 0.5), rate);
        if (target < 10.0) {
            EXPECT_EQ(d.qrsOnset + d.qrsEnd + d.pOnset + d.tPeak + d.tEnd, 0);
        } else {
            EXPECT_NE(d.qrsOnset, 0);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Rates, AverageBeatAtRate, ::testing::Values(250, 500));

TEST(AverageBeatDelineator, NonsenseInputGivesNothing)
{
    const std::vector<double> wave = BeatShape().sample(250), slow = BeatShape().sample(125);
    const int n = int(wave.size());
    std::vector<double> withNan(wave);
    withNan[10] = std::numeric_limits<double>::quiet_NaN();
    const struct
    {
        const double* data;
        int length, rate, r, rr;
        bool nothing; // else whatever is found must lie inside the array
    } calls[] = {
        { nullptr, n, 250, 75, 250, true }, { wave.data(), 0, 250, 75, 250, true },
        { wave.data(), n, 0, 75, 250, true }, { wave.data(), n, 250, -3, 250, true },
        { wave.data(), n, 250, n + 40, 250, true }, { withNan.data(), n, 250, 75, 250, true },
        { wave.data(), 20, 250, 10, 250, false }, { wave.data(), n, 250, 75, 1 << 30, false },
        { wave.data(), n, 250, n - 1, 250, false }, { wave.data(), n, 250, 75, -250, false },
        { slow.data(), int(slow.size()), 125, 38, 125, false }, // below 250 Hz: taken as it is
    };
    for (const auto& c : calls) {
        SCOPED_TRACE(&c - calls);
        AverageBeatDelineator d;
        d.measure(c.data, c.length, c.rate, c.r, c.rr);
        if (c.nothing) {
            EXPECT_EQ(d.rPosition, c.r);
            EXPECT_EQ(d.qrsOnset + d.qrsEnd + d.pOnset + d.tPeak + d.tEnd, 0);
        }
        for (int position : { d.pOnset, d.qrsOnset, d.qrsEnd, d.tPeak, d.tEnd }) {
            EXPECT_GE(position, 0);
            EXPECT_LE(position, std::max(c.length - 1, 0));
        }
    }
}
