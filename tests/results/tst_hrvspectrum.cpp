#include "results/hrvspectrum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

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

    const auto one = HRVSpectrum::spectrum({ 0.8 });
    EXPECT_EQ(*std::max_element(one.begin(), one.end()), 0.0);
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
    EXPECT_DOUBLE_EQ(b.lfHfRatio(), 28.0 / 64.0);

    HRVSpectrum::Bands none;
    none.lf = 5.0;
    EXPECT_DOUBLE_EQ(none.lfHfRatio(), 0.0); // HF 0: ratio 0, not infinity
    EXPECT_DOUBLE_EQ(none.lfNorm(), 100.0);
    HRVSpectrum::Bands empty;
    EXPECT_DOUBLE_EQ(empty.lfNorm(), 0.0);
}

} // namespace
