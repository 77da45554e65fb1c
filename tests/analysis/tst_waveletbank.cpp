#include "analysis/waveletbank.h"
#include "memorysource.h"

#include <gtest/gtest.h>

#include <vector>

using testsignals::readAll;

namespace {

// The scale-2^level filter built independently: (-2, 2) dilated, times the dilated
// (1, 3, 3, 1) / 8 smoothers of the lower levels, by plain polynomial products.
std::vector<double> referenceScale(int level)
{
    auto dilate = [](const std::vector<double>& t, int l) {
        const size_t gap = size_t(1) << l;
        std::vector<double> r((t.size() - 1) * gap + 1, 0.0);
        for (size_t i = 0; i < t.size(); ++i)
            r[i * gap] = t[i];
        return r;
    };
    std::vector<double> q = dilate({ -2.0, 2.0 }, level - 1);
    for (int l = 0; l < level - 1; ++l) {
        const std::vector<double> h = dilate({ 0.125, 0.375, 0.375, 0.125 }, l);
        std::vector<double> r(q.size() + h.size() - 1, 0.0);
        for (size_t i = 0; i < q.size(); ++i)
            for (size_t j = 0; j < h.size(); ++j)
                r[i + j] += q[i] * h[j];
        q = r;
    }
    return q;
}

} // namespace

TEST(WaveletBank, ScaleSourcesHaveTheSmoothedDifferencesAsImpulseResponse)
{
    const int len = 64;
    std::vector<qint16> s(size_t(len) * 3, 0);
    const int at = len + 5; // the response crosses a block edge
    s[size_t(at)] = 1000;
    MemorySource src(250, len, { s });
    WaveletBank bank(&src);
    for (int level = 1; level <= 4; ++level) {
        ASSERT_NE(bank.scale(level), nullptr);
        const std::vector<double> q = referenceScale(level);
        ASSERT_EQ(WaveletBank::scaleTaps(level).size(), q.size());
        const int centre = int(q.size()) / 2;
        const std::vector<double> out = readAll(*bank.scale(level));
        for (int i = 0; i < int(out.size()); ++i) {
            const int k = i - at + centre;
            const double expected = (k >= 0 && k < int(q.size())) ? 1000.0 * q[size_t(k)] : 0.0;
            EXPECT_NEAR(out[size_t(i)], expected, 1e-9) << level << " " << i;
        }
    }
    EXPECT_EQ(bank.scale(0), nullptr);
    EXPECT_EQ(bank.scale(5), nullptr);
}

TEST(WaveletBank, BandPassIsLinearPhaseAndKeepsTheQrsBand)
{
    const std::vector<double> c0 = WaveletBank::bandPassTaps();
    ASSERT_EQ(c0.size(), 91u); // 70 -> 82 -> 88 -> 91 through the synthesis
    for (size_t k = 0; k < c0.size(); ++k)
        EXPECT_NEAR(c0[k], c0[c0.size() - 1 - k], 1e-12);

    const int rate = 250, n = rate * 40;
    auto gain = [&](double hz, double offset) {
        const std::vector<qint16> in = testsignals::sine(hz, rate, n, 8000.0, offset);
        MemorySource src(rate, 4096, { in });
        WaveletBank bank(&src);
        std::vector<double> ref(in.begin(), in.end());
        for (double& v : ref)
            v -= offset;
        return testsignals::rms(readAll(*bank.bandPass()), n / 8, n - n / 8)
            / testsignals::rms(ref, n / 8, n - n / 8);
    };
    const double peak = gain(12.0, 0.0);
    EXPECT_GT(peak, 0.3);
    EXPECT_GT(gain(20.0, 0.0), 0.6 * peak);
    for (double hz : { 1.0, 100.0 })
        EXPECT_LT(gain(hz, 0.0), 0.1 * peak) << hz;
    EXPECT_NEAR(gain(12.0, 5000.0), peak, 0.01); // a constant offset disappears
}
