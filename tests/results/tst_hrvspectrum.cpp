#include "results/hrvspectrum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

// Beat-by-beat series: mean + amplitude * sin(2 pi f j) + white noise, f in cycles per beat.
std::vector<double> sineSeries(
    int n, double mean, double amplitude, double f, double noise, unsigned seed)
{
    std::mt19937 gen(seed);
    std::normal_distribution<double> gauss(0.0, noise);
    std::vector<double> x(static_cast<size_t>(n));
    for (int j = 0; j < n; ++j)
        x[size_t(j)] = mean + amplitude * std::sin(2.0 * M_PI * f * j) + gauss(gen);
    return x;
}

int peakOf(const HRVSpectrum::Psd& psd)
{
    return int(std::max_element(psd.begin(), psd.end()) - psd.begin());
}

struct PeakCase
{
    double cyclesPerBeat;
    int bin; // 512 * f, rounded by hand
};

class HRVSpectrumPeak : public ::testing::TestWithParam<PeakCase>
{
};

TEST_P(HRVSpectrumPeak, SineGivesItsPeakAtItsFrequency)
{
    const PeakCase c = GetParam();
    const auto psd = HRVSpectrum::spectrum(sineSeries(1500, 0.8, 0.03, c.cyclesPerBeat, 0.005, 7));
    EXPECT_NEAR(peakOf(psd), c.bin, 1);
}

INSTANTIATE_TEST_SUITE_P(Frequencies, HRVSpectrumPeak,
    ::testing::Values(PeakCase { 0.05, 26 }, // 25.6
        PeakCase { 0.1, 51 }, // 51.2
        PeakCase { 0.25, 128 }, // 128
        PeakCase { 0.4, 205 })); // 204.8

TEST(HRVSpectrumBurg, ModelOfAnAR1Process)
{
    // x[j] = 0.6 x[j-1] + e: the first coefficient comes out near 0.6 and the rest near 0,
    // the residual power near the variance of e (0.01^2).
    std::mt19937 gen(3);
    std::normal_distribution<double> gauss(0.0, 0.01);
    std::vector<double> x(20000);
    double prev = 0.0;
    for (double& v : x) {
        v = 0.6 * prev + gauss(gen);
        prev = v;
    }
    const auto model = HRVSpectrum::burg(x);
    ASSERT_EQ(model.a.size(), 33u);
    EXPECT_NEAR(model.a[1], 0.6, 0.03);
    for (int k = 2; k <= 32; ++k)
        EXPECT_NEAR(model.a[size_t(k)], 0.0, 0.05) << k;
    EXPECT_NEAR(model.power, 1e-4, 0.05e-4);
}

TEST(HRVSpectrumBurg, TooFewValuesOrNoVariation)
{
    const auto shortModel = HRVSpectrum::burg(std::vector<double>(31, 0.1));
    EXPECT_DOUBLE_EQ(shortModel.power, 0.0);
    for (double a : shortModel.a)
        EXPECT_DOUBLE_EQ(a, 0.0);

    const auto flat = HRVSpectrum::spectrum(std::vector<double>(500, 0.75));
    for (double v : flat)
        EXPECT_EQ(v, 0.0);
    const auto one = HRVSpectrum::spectrum({ 0.8 });
    for (double v : one)
        EXPECT_EQ(v, 0.0);
}

TEST(HRVSpectrumNormalize, TotalsHalfThePower)
{
    auto psd = HRVSpectrum::spectrum(sineSeries(800, 0.9, 0.02, 0.12, 0.01, 11));
    HRVSpectrum::normalize(psd, 2500.0); // an SDNN of 50 ms
    double sum = 0.0;
    for (double v : psd)
        sum += v;
    EXPECT_NEAR(sum, 1250.0, 1e-9);

    HRVSpectrum::Psd zero;
    zero.fill(0.0);
    HRVSpectrum::normalize(zero, 2500.0);
    EXPECT_EQ(*std::max_element(zero.begin(), zero.end()), 0.0);
}

TEST(HRVSpectrumBands, EdgesAndSums)
{
    // ceil(256 f): 0.768 -> 1, 10.24 -> 11, 38.4 -> 39, 102.4 -> 103
    EXPECT_EQ(HRVSpectrum::bandEdge(0.003), 1);
    EXPECT_EQ(HRVSpectrum::bandEdge(0.04), 11);
    EXPECT_EQ(HRVSpectrum::bandEdge(0.15), 39);
    EXPECT_EQ(HRVSpectrum::bandEdge(0.4), 103);

    HRVSpectrum::Psd psd;
    for (int i = 0; i < HRVSpectrum::kBins; ++i)
        psd[size_t(i)] = i < 103 ? 1.0 : 1000.0; // above HF counts nowhere
    const auto b = HRVSpectrum::bands(psd);
    EXPECT_DOUBLE_EQ(b.ulf, 1.0);
    EXPECT_DOUBLE_EQ(b.vlf, 10.0);
    EXPECT_DOUBLE_EQ(b.lf, 28.0);
    EXPECT_DOUBLE_EQ(b.hf, 64.0);
    EXPECT_DOUBLE_EQ(b.total, 103.0);
    EXPECT_DOUBLE_EQ(b.lfNorm(), 2800.0 / 92.0);
    EXPECT_DOUBLE_EQ(b.hfNorm(), 6400.0 / 92.0);
    EXPECT_DOUBLE_EQ(b.lfHfRatio(), 28.0 / 64.0);

    HRVSpectrum::Bands none;
    none.lf = 5.0;
    EXPECT_DOUBLE_EQ(none.lfHfRatio(), 0.0); // HF 0: ratio 0, not infinity
    EXPECT_DOUBLE_EQ(none.lfNorm(), 100.0);
    HRVSpectrum::Bands empty;
    EXPECT_DOUBLE_EQ(empty.lfNorm(), 0.0);
    EXPECT_DOUBLE_EQ(empty.hfNorm(), 0.0);
}

} // namespace
