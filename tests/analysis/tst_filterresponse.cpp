#include "analysis/classifierfilters.h"
#include "analysis/displayfilterchain.h"
#include "analysis/filtertables.h"
#include "memorysource.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

using testsignals::readAll;
using testsignals::rms;

namespace {

constexpr int kBlock = 4096;

// Gain in dB of the chain for a sine of `hz`, away from the ends; real blocks, so block-edge
// restarts are part of the measurement.
double gainDb(int rate, double hz, double seconds, bool notch, bool lowPass, bool baseline,
    const QString& lowPassName = QStringLiteral("40hz"))
{
    const qint64 n = qint64(seconds * rate);
    const std::vector<qint16> in = testsignals::sine(hz, rate, n, 8000.0);
    MemorySource src(rate, kBlock, { in });
    DisplayFilterChain chain(&src);
    chain.setLowPassName(lowPassName);
    chain.configure(notch, lowPass, baseline);
    const std::vector<double> out = readAll(*chain.output());
    const std::vector<double> ref(in.begin(), in.end());
    const size_t skip = size_t(n / 8);
    return 20.0 * std::log10(rms(out, skip, size_t(n) - skip) / rms(ref, skip, size_t(n) - skip));
}

} // namespace

TEST(DisplayFilterChain, NotchAndBaselineRemoveMainsAndDriftAndPassTheRest)
{
    for (int rate : { 250, 500, 1000 }) {
        EXPECT_LT(gainDb(rate, 50.0, 40.0, true, false, false), -30.0) << rate;
        EXPECT_LT(gainDb(rate, 100.0, 40.0, true, false, false), -30.0) << rate; // 2nd harmonic
        EXPECT_NEAR(gainDb(rate, 75.0, 40.0, true, false, false), 0.0, 1.0) << rate;
        EXPECT_LT(gainDb(rate, 0.1, 60.0, false, false, true), -20.0) << rate;
        EXPECT_NEAR(gainDb(rate, 10.0, 20.0, false, false, true), 0.0, 1.0) << rate;
    }
}

TEST(DisplayFilterChain, LowPassTablesAreSymmetricWithHalfPowerWhereTheNameSays)
{
    const struct
    {
        int rate;
        const char* name;
        double cornerHz;
        size_t taps; // the table's length
    } cases[] = { { 500, "40hz", 40.0, 12 }, { 1000, "40hz", 40.0, 22 }, { 500, "25hz", 25.0, 19 },
        { 1000, "25hz", 25.0, 34 },
        { 250, "25hz", 40.0, 62 } }; // one table at 250 Hz, whatever the name
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const QString name = QString::fromLatin1(c.name);
        const std::vector<double> t = filtertables::lowPass(c.rate, name).value();
        ASSERT_EQ(t.size(), c.taps);
        for (size_t i = 0; i < t.size(); ++i)
            EXPECT_EQ(t[i], t[t.size() - 1 - i]) << i;
        const double passband = gainDb(c.rate, 2.0, 20.0, false, true, false, name);
        // The 25 Hz filter at 1000 Hz keeps its 1.01 gain.
        EXPECT_NEAR(
            passband, c.rate == 1000 && c.cornerHz == 25.0 ? 20.0 * std::log10(1.01) : 0.0, 0.2);
        EXPECT_GT(gainDb(c.rate, c.cornerHz - 4, 20.0, false, true, false, name) - passband, -3.0);
        EXPECT_LT(gainDb(c.rate, c.cornerHz + 4, 20.0, false, true, false, name) - passband, -3.0);
    }
}

TEST(DisplayFilterChain, UnknownNotchNameThrowsOnlyWhereNotchesExist)
{
    for (int rate : { 250, 500, 1000, 200 }) {
        MemorySource src(rate, kBlock, { std::vector<qint16>(10) });
        DisplayFilterChain chain(&src);
        chain.configure(false, true, false);
        SignalSource* before = chain.output();
        chain.setNotchName(QStringLiteral("60hz"));
        if (rate == 200) {
            EXPECT_NO_THROW(chain.configure(true, false, false));
            EXPECT_EQ(chain.output(), &src);
            continue;
        }
        try {
            chain.configure(true, true, false);
            ADD_FAILURE() << "no error at " << rate;
        } catch (const FilterError& e) {
            EXPECT_STREQ(e.what(), "pendiente - filtro no definido");
        }
        EXPECT_EQ(chain.output(), before); // the old chain is kept
    }
}

TEST(ClassifierFilters, LowPassGainAndDerivativeOfARamp)
{
    const std::vector<double> d = filtertables::classifierDerivative();
    EXPECT_NEAR(std::accumulate(d.begin(), d.end(), 0.0), 0.0, 1e-12);

    MemorySource flat(250, kBlock, { std::vector<qint16>(kBlock * 2, 1000) });
    ClassifierSource lp = makeClassifierLowPass(&flat);
    ASSERT_EQ(lp.output->samplingRate(), 125);
    // Gain 0.2965808: 296.58 -> 297 at 250 Hz, averaged in pairs at 125 Hz.
    EXPECT_EQ(lp.output->sampleAt(0, kBlock / 2), 297);
    // The first output sees taps 0..50 only; by symmetry (0.2965808 + centre 0.3044524) / 2.
    EXPECT_EQ(lp.filtered->sampleAt(0, 0), 301);

    std::vector<qint16> r;
    for (int i = 0; i < kBlock * 2; ++i)
        r.push_back(qint16(i % 3000 * 10 - 15000));
    MemorySource ramp(250, kBlock, { r });
    ClassifierSource dv = makeClassifierDerivative(&ramp);
    // -10 * sum k h[k] = 80, worked out over the seven antisymmetric pairs.
    EXPECT_EQ(dv.filtered->sampleAt(0, 1000), 80);
    EXPECT_EQ(dv.output->sampleAt(0, 500), 80);
}
