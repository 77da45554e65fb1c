#include "analysis/waveletbank.h"
#include "memorysource.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using testsignals::readAll;
using testsignals::rms;
using testsignals::sine;

namespace {

// Polynomial product written independently of the bank: coefficients of x(z) y(z).
std::vector<double> polyMul(const std::vector<double>& x, const std::vector<double>& y)
{
    std::vector<double> r(x.size() + y.size() - 1, 0.0);
    for (size_t n = 0; n < r.size(); ++n)
        for (size_t i = 0; i <= n && i < x.size(); ++i)
            if (n - i < y.size())
                r[n] += x[i] * y[n - i];
    return r;
}

// Taps with 2^level - 1 zeros between them (the filter at scale 2^level).
std::vector<double> dilate(const std::vector<double>& t, int level)
{
    const size_t gap = size_t(1) << level;
    std::vector<double> r((t.size() - 1) * gap + 1, 0.0);
    for (size_t i = 0; i < t.size(); ++i)
        r[i * gap] = t[i];
    return r;
}

std::vector<double> referenceScale(int level)
{
    const std::vector<double> h = { 0.125, 0.375, 0.375, 0.125 };
    std::vector<double> q = dilate({ -2.0, 2.0 }, level - 1);
    for (int i = 0; i < level - 1; ++i)
        q = polyMul(q, dilate(h, i));
    return q;
}

} // namespace

TEST(WaveletBank, ScaleTapsAreSmoothedDifferences)
{
    EXPECT_EQ(WaveletBank::scaleTaps(1), (std::vector<double> { -2.0, 2.0 }));
    // (1, 3, 3, 1) / 8 times (-2, 0, 2), by hand.
    EXPECT_EQ(
        WaveletBank::scaleTaps(2), (std::vector<double> { -0.25, -0.75, -0.5, 0.5, 0.75, 0.25 }));
    const size_t lengths[] = { 2, 6, 14, 30 };
    for (int level = 1; level <= 4; ++level) {
        const std::vector<double> q = WaveletBank::scaleTaps(level);
        ASSERT_EQ(q.size(), lengths[level - 1]);
        const std::vector<double> ref = referenceScale(level);
        ASSERT_EQ(ref.size(), q.size());
        double sum = 0.0;
        for (size_t k = 0; k < q.size(); ++k) {
            EXPECT_NEAR(q[k], ref[k], 1e-12) << level << " " << k;
            EXPECT_NEAR(q[k], -q[q.size() - 1 - k], 1e-12); // odd symmetry: a derivative
            sum += q[k];
        }
        EXPECT_NEAR(sum, 0.0, 1e-12);
    }
    EXPECT_TRUE(WaveletBank::scaleTaps(0).empty());
    EXPECT_TRUE(WaveletBank::scaleTaps(5).empty());
}

TEST(WaveletBank, ScaleSourcesGiveTheTapsAsImpulseResponse)
{
    const int len = 64;
    MemorySource src(1, 250, len);
    std::vector<qint16> s(size_t(len) * 3, 0);
    const int at = len + 5; // near a block edge, so the response crosses it
    s[size_t(at)] = 1000;
    src.setSamples({ s });
    src.setGainRange(-450.0, 450.0);
    WaveletBank bank(&src);
    for (int level = 1; level <= 4; ++level) {
        FilteredSourceF64* w = bank.scale(level);
        ASSERT_NE(w, nullptr);
        EXPECT_EQ(w->resolution(), src.resolution());
        EXPECT_DOUBLE_EQ(w->gainStep(), src.gainStep());
        const std::vector<double> q = referenceScale(level);
        const int centre = int(q.size()) / 2;
        const std::vector<double> out = readAll(*w);
        // out[i] = sum h[k] s[i + centre - k], so the impulse shows h[k] at at - centre + k.
        for (int i = 0; i < int(out.size()); ++i) {
            const int k = i - at + centre;
            const double expected = (k >= 0 && k < int(q.size())) ? 1000.0 * q[size_t(k)] : 0.0;
            EXPECT_NEAR(out[size_t(i)], expected, 1e-9) << level << " " << i;
        }
    }
    EXPECT_EQ(bank.scale(0), nullptr);
    EXPECT_EQ(bank.scale(5), nullptr);
}

TEST(WaveletBank, TapListArithmetic)
{
    EXPECT_EQ(taplists::up({ 1, 2, 3 }), (std::vector<double> { 1, 0, 2, 0, 3 }));
    EXPECT_EQ(taplists::conv({ 1, 1 }, { 1, 2, 3 }), (std::vector<double> { 1, 3, 5, 3 }));
    // Centres 2 and 1 (lengths 5 and 3) line up: shift by one.
    EXPECT_EQ(taplists::add({ 1, 1, 1, 1, 1 }, { 10, 20, 30 }),
        (std::vector<double> { 1, 11, 21, 31, 1 }));
    // Even and odd lengths: centres 2 (length 4) and 0 (length 1).
    EXPECT_EQ(taplists::add({ 5 }, { 1, 1, 1, 1 }), (std::vector<double> { 1, 1, 6, 1 }));
}

TEST(WaveletBank, BandPassTapsAreLinearPhaseWithNoDcGain)
{
    const std::vector<double> c0 = WaveletBank::bandPassTaps();
    // Lengths grow as 70 -> 82 -> 88 -> 91 through the synthesis.
    ASSERT_EQ(c0.size(), 91u);
    double sum = 0.0;
    for (size_t k = 0; k < c0.size(); ++k) {
        EXPECT_NEAR(c0[k], c0[c0.size() - 1 - k], 1e-12);
        sum += c0[k];
    }
    EXPECT_NEAR(sum, 0.0, 1e-12);
}

TEST(WaveletBank, BandPassKeepsTheQrsBandAndDropsBaseline)
{
    const int rate = 250, n = rate * 40;
    auto gain = [&](double hz, double offset) {
        MemorySource src(1, rate, 4096);
        const std::vector<qint16> in = sine(hz, rate, n, 8000.0, offset);
        src.setSamples({ in });
        WaveletBank bank(&src);
        const std::vector<double> out = readAll(*bank.bandPass());
        std::vector<double> ref(in.begin(), in.end());
        for (double& v : ref)
            v -= offset;
        return rms(out, n / 8, n - n / 8) / rms(ref, n / 8, n - n / 8);
    };
    const double peak = gain(12.0, 0.0);
    EXPECT_GT(peak, 0.3);
    for (double hz : { 10.0, 15.0, 20.0 })
        EXPECT_GT(gain(hz, 0.0), 0.6 * peak) << hz;
    for (double hz : { 1.0, 100.0 })
        EXPECT_LT(gain(hz, 0.0), 0.1 * peak) << hz;
    // A constant offset disappears: only the sine's own (band) part remains.
    EXPECT_NEAR(gain(12.0, 5000.0), peak, 0.01);

    MemorySource dc(1, rate, 4096);
    dc.setSamples({ std::vector<qint16>(4096 * 3, 3000) });
    WaveletBank bank(&dc);
    EXPECT_EQ(bank.bandPass()->sampleAt(0, 4096 + 100), 0);
}
