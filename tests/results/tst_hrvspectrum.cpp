#include "results/hrvspectrum.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

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
    // Edges at ceil(256 f): 1, 11, 39 and 103.
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
