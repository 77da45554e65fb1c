#include "analysis/classifierfilters.h"
#include "analysis/displayfilterchain.h"
#include "analysis/filtertables.h"
#include "memorysource.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

using testsignals::readAll;
using testsignals::rms;
using testsignals::sine;

namespace {

constexpr int kBlock = 4096;

// Gain in dB of the chain's output for a sine of `hz`, measured away from the ends of a
// recording of `seconds`. The real block length makes block-edge restarts part of the test.
double gainDb(int rate, double hz, double seconds, bool notch, bool lowPass, bool baseline,
    const QString& lowPassName = QStringLiteral("40hz"))
{
    MemorySource src(1, rate, kBlock);
    const qint64 n = qint64(seconds * rate);
    const std::vector<qint16> in = sine(hz, rate, n, 8000.0);
    src.setSamples({ in });
    DisplayFilterChain chain(&src);
    chain.setLowPassName(lowPassName);
    chain.configure(notch, lowPass, baseline);
    const std::vector<double> out = readAll(*chain.output());
    const std::vector<double> ref(in.begin(), in.end());
    const size_t skip = size_t(n / 8);
    return 20.0 * std::log10(rms(out, skip, size_t(n) - skip) / rms(ref, skip, size_t(n) - skip));
}

} // namespace

class NotchResponse : public ::testing::TestWithParam<int>
{
};

TEST_P(NotchResponse, RemovesFiftyHertzAndPassesTheRest)
{
    const int rate = GetParam();
    EXPECT_LT(gainDb(rate, 50.0, 40.0, true, false, false), -30.0);
    // The tables take out the second harmonic as well.
    EXPECT_LT(gainDb(rate, 100.0, 40.0, true, false, false), -30.0);
    for (double hz : { 10.0, 25.0, 75.0 })
        EXPECT_NEAR(gainDb(rate, hz, 40.0, true, false, false), 0.0, 1.0) << hz;
}

INSTANTIATE_TEST_SUITE_P(Rates, NotchResponse, ::testing::Values(250, 500, 1000));

class BaselineResponse : public ::testing::TestWithParam<int>
{
};

TEST_P(BaselineResponse, RemovesSlowDriftAndPassesTheQrsBand)
{
    const int rate = GetParam();
    EXPECT_LT(gainDb(rate, 0.1, 60.0, false, false, true), -20.0);
    EXPECT_NEAR(gainDb(rate, 10.0, 20.0, false, false, true), 0.0, 1.0);
}

INSTANTIATE_TEST_SUITE_P(Rates, BaselineResponse, ::testing::Values(250, 500, 1000));

struct CornerCase
{
    int rate;
    const char* name;
    double cornerHz;
};

class LowPassCorner : public ::testing::TestWithParam<CornerCase>
{
};

TEST_P(LowPassCorner, HalfPowerPointWhereTheNameSays)
{
    const CornerCase c = GetParam();
    const QString name = QString::fromLatin1(c.name);
    const double passband = gainDb(c.rate, 2.0, 20.0, false, true, false, name);
    // The 25 Hz filter at 1000 Hz keeps its 1.01 gain.
    EXPECT_NEAR(
        passband, c.rate == 1000 && c.cornerHz == 25.0 ? 20.0 * std::log10(1.01) : 0.0, 0.2);
    EXPECT_GT(gainDb(c.rate, c.cornerHz - 4.0, 20.0, false, true, false, name) - passband, -3.0);
    EXPECT_LT(gainDb(c.rate, c.cornerHz + 4.0, 20.0, false, true, false, name) - passband, -3.0);
}

INSTANTIATE_TEST_SUITE_P(Tables, LowPassCorner,
    ::testing::Values(CornerCase { 500, "40hz", 40.0 }, CornerCase { 1000, "40hz", 40.0 },
        CornerCase { 500, "25hz", 25.0 }, CornerCase { 1000, "25hz", 25.0 },
        CornerCase { 250, "25hz", 40.0 })); // one table at 250

TEST(FilterTables, SymmetricExpansionKeepsLengthAndMirror)
{
    const struct
    {
        int rate;
        const char* name;
        size_t length;
    } rows[] = { { 500, "40hz", 12 }, { 1000, "40hz", 22 }, { 500, "25hz", 19 },
        { 1000, "25hz", 34 }, { 250, "x", 62 } };
    for (const auto& r : rows) {
        const std::vector<double> t = filtertables::lowPass(r.rate, r.name).value();
        ASSERT_EQ(t.size(), r.length) << r.rate << r.name;
        for (size_t i = 0; i < t.size(); ++i)
            EXPECT_EQ(t[i], t[t.size() - 1 - i]);
    }
    // The 19-tap filter mirrors around its tenth tap.
    const std::vector<double> t19 = filtertables::lowPass(500, "25hz").value();
    EXPECT_EQ(t19[9], 0.1344537325);
    EXPECT_EQ(t19[10], 0.1283818338);

    const std::vector<double> lp = filtertables::classifierLowPass();
    ASSERT_EQ(lp.size(), 101u);
    EXPECT_EQ(lp[50], 0.3044524);
    EXPECT_EQ(lp[51], 0.2533619);
    EXPECT_NEAR(std::accumulate(lp.begin(), lp.end(), 0.0), 0.2965808, 1e-6);
    const std::vector<double> d = filtertables::classifierDerivative();
    ASSERT_EQ(d.size(), 14u);
    EXPECT_NEAR(std::accumulate(d.begin(), d.end(), 0.0), 0.0, 1e-12);
}

TEST(DisplayFilterChain, BuildsOneStagePerSwitchInOrder)
{
    MemorySource src(2, 250, kBlock);
    src.setSamples({ std::vector<qint16>(100), std::vector<qint16>(100) });
    src.channel(0)->setName("II");
    DisplayFilterChain chain(&src);
    EXPECT_EQ(chain.notchName(), QStringLiteral("50hz"));
    EXPECT_EQ(chain.lowPassName(), QStringLiteral("40hz"));
    EXPECT_EQ(chain.output(), &src);

    chain.configure(true, true, true);
    EXPECT_EQ(chain.filterCount(), 3);
    auto* last = dynamic_cast<FilteredSource*>(chain.output());
    ASSERT_NE(last, nullptr);
    EXPECT_NE(dynamic_cast<IirBlockFilter*>(const_cast<BlockFilter*>(last->filter(0))), nullptr);
    auto* middle = dynamic_cast<FilteredSource*>(last->wrapped());
    ASSERT_NE(middle, nullptr);
    EXPECT_NE(dynamic_cast<const FirBlockFilter*>(middle->filter(0)), nullptr);
    EXPECT_EQ(last->channel(0)->name(), QByteArray("II"));

    chain.configure(false, true, false);
    EXPECT_EQ(chain.filterCount(), 1);
    chain.configure(false, false, false);
    EXPECT_EQ(chain.output(), &src);
}

TEST(DisplayFilterChain, UnknownNotchNameThrowsOnlyWhereNotchesExist)
{
    for (int rate : { 250, 500, 1000, 200 }) {
        MemorySource src(1, rate, kBlock);
        src.setSamples({ std::vector<qint16>(10) });
        DisplayFilterChain chain(&src);
        chain.configure(false, true, false);
        SignalSource* before = chain.output();
        chain.setNotchName(QStringLiteral("60hz"));
        if (rate == 200) {
            EXPECT_NO_THROW(chain.configure(true, false, false));
            EXPECT_EQ(chain.output(), &src); // no table at this rate: no filter
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

TEST(DisplayFilterChain, UnknownLowPassNameGivesAFilterWithoutTaps)
{
    MemorySource src(1, 500, kBlock);
    src.setSamples({ std::vector<qint16>(50, 300) });
    DisplayFilterChain chain(&src);
    chain.setLowPassName(QStringLiteral("33hz"));
    chain.configure(false, true, false);
    EXPECT_EQ(chain.filterCount(), 1);
    EXPECT_EQ(readAll(*chain.output()), std::vector<double>(50, 0.0));
}

TEST(DisplayFilterChain, OtherRatesAddNoFilters)
{
    MemorySource src(1, 128, kBlock);
    src.setSamples({ std::vector<qint16>(10, 5) });
    DisplayFilterChain chain(&src);
    chain.configure(true, true, true);
    EXPECT_EQ(chain.filterCount(), 0);
    EXPECT_EQ(chain.output(), &src);
}

TEST(ClassifierFilters, LowPassKeepsItsGainAtHalfTheRate)
{
    MemorySource src(1, 250, kBlock);
    src.setSamples({ std::vector<qint16>(kBlock * 2, 1000) });
    ClassifierSource lp = makeClassifierLowPass(&src);
    ASSERT_EQ(lp.output->samplingRate(), 125);
    ASSERT_EQ(lp.output->sampleCount(), kBlock);
    // 1000 * 0.2965808 = 296.58, rounded to 297 at 250 Hz, averaged in pairs at 125 Hz.
    EXPECT_EQ(lp.output->sampleAt(0, kBlock / 2), 297);
    // The first output at 250 Hz sees taps 0..50 only (zeros before the recording): by symmetry
    // they sum to (0.2965808 + 0.3044524) / 2, so 1000 gives 300.5 -> 301.
    EXPECT_EQ(lp.filtered->sampleAt(0, 0), 301);
}

TEST(ClassifierFilters, DerivativeOfARampIsConstant)
{
    MemorySource src(1, 250, kBlock);
    std::vector<qint16> ramp;
    for (int i = 0; i < kBlock * 2; ++i)
        ramp.push_back(qint16(i % 3000 * 10 - 15000));
    src.setSamples({ ramp });
    ClassifierSource d = makeClassifierDerivative(&src);
    // Sum over k of h[k] (i + 7 - k) * 10 = -10 * sum k h[k] = 80 (worked out over the seven
    // antisymmetric pairs: (2k - 13) h[k] sums to -8).
    EXPECT_EQ(d.filtered->sampleAt(0, 1000), 80);
    EXPECT_EQ(d.output->sampleAt(0, 500), 80);
    EXPECT_EQ(d.output->blockSize(), kBlock);
}
