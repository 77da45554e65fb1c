#include "results/model/trend.h"

#include <QVariant>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

namespace {

TEST(ResultKind, NamesAreTheStoredWords)
{
    EXPECT_EQ(resultKindName(ResultKind::Value), QByteArray("value"));
    EXPECT_EQ(resultKindName(ResultKind::ValueArray), QByteArray("valueArray"));
    EXPECT_EQ(resultKindName(ResultKind::Event), QByteArray("event"));
    EXPECT_EQ(resultKindName(ResultKind::EventList), QByteArray("eventList"));
    EXPECT_EQ(resultKindName(ResultKind::Trend), QByteArray("trend"));
    EXPECT_TRUE(resultKindName(ResultKind(9)).isEmpty());
    EXPECT_EQ(int(ResultKind::Trend), 4);
    EXPECT_EQ(TTrend().kind(), ResultKind::Trend);
    EXPECT_EQ(BinnedCount().kind(), ResultKind::Trend);
}

struct LargestCase
{
    const char* name;
    std::vector<double> values;
    double largest;
};

class Largest : public ::testing::TestWithParam<LargestCase>
{
};

// Both the plain and the binned trend: never below zero.
TEST_P(Largest, NeverBelowZero)
{
    const LargestCase lc = GetParam();
    TTrend plain;
    BinnedSum binned;
    binned.configure(1.0, int(lc.values.size()));
    for (size_t i = 0; i < lc.values.size(); ++i) {
        plain.add(double(i) * 10.0, lc.values[i]);
        binned.add(double(i) + 0.5, lc.values[i]);
    }
    EXPECT_EQ(plain.largestValue(), lc.largest);
    EXPECT_EQ(binned.largestValue(), lc.largest);
}

INSTANTIATE_TEST_SUITE_P(Cases, Largest,
    ::testing::Values(LargestCase { "empty", {}, 0.0 },
        LargestCase { "negative", { -3.0, -1.0, -7.5 }, 0.0 },
        LargestCase { "mixed", { -3.0, 2.5, 1.0 }, 2.5 },
        LargestCase { "last", { 1.0, 2.0, 9.0 }, 9.0 }),
    [](const auto& info) { return std::string(info.param.name); });

TEST(TTrend, PointsKeepTheirOrderAndOutOfRangeIsHarmless)
{
    TTrend t;
    t.add(30.0, 72.0);
    t.add(60.0, 75.0);
    ASSERT_EQ(t.size(), 2);
    EXPECT_EQ(t.timeAt(1), 60.0);
    EXPECT_EQ(t.valueAt(0), 72.0);
    t.setValueAt(1, 80.0);
    EXPECT_EQ(t.valueAt(1), 80.0);
    t.setValueAt(2, 1.0);
    t.setValueAt(-1, 1.0);
    EXPECT_EQ(t.size(), 2);
    EXPECT_EQ(t.valueAt(2), 0.0);
    EXPECT_EQ(t.timeAt(-1), 0.0);
    EXPECT_EQ(t.timestamps().size(), t.values().size());
    t.clear();
    EXPECT_EQ(t.size(), 0);
    EXPECT_TRUE(t.timestamps().isEmpty());
}

TEST(TTrend, TravelsInAQVariantUnderItsRegisteredName)
{
    const int id = registerResultTypes();
    EXPECT_EQ(registerResultTypes(), id);
    EXPECT_EQ(QMetaType::type("TTrend*"), id);
    TTrend t;
    const QVariant v = QVariant::fromValue(&t);
    EXPECT_EQ(v.userType(), id);
    EXPECT_EQ(v.value<TTrend*>(), &t);
}

TEST(BinnedTrend, BinsStartAtMultiplesOfTheirLength)
{
    BinnedCount t;
    t.configure(60.0, 24);
    EXPECT_EQ(t.size(), 24);
    EXPECT_EQ(t.timeAt(0), 0.0);
    EXPECT_EQ(t.timeAt(1), 60.0);
    EXPECT_EQ(t.timeAt(23), 1380.0);
}

struct BinCase
{
    double time;
    int bin; // -1: dropped
};

class BinnedPlacement : public ::testing::TestWithParam<BinCase>
{
};

// 4 bins of 60 s: [0,60) [60,120) [120,180) [180,240).
TEST_P(BinnedPlacement, TimeLandsInItsBinOrIsDropped)
{
    const BinCase bc = GetParam();
    BinnedCount t;
    t.configure(60.0, 4);
    t.add(bc.time, 123.0);
    for (int i = 0; i < 4; ++i) {
        const int expected = i == bc.bin ? 1 : 0;
        EXPECT_EQ(t.binHits(i), expected) << "bin " << i;
        EXPECT_EQ(t.valueAt(i), double(expected)) << "bin " << i; // count ignores the value
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, BinnedPlacement,
    ::testing::Values(BinCase { 0.0, 0 }, BinCase { 59.999, 0 }, BinCase { 60.0, 1 },
        BinCase { 239.9, 3 }, BinCase { 240.0, -1 }, BinCase { 1e12, -1 }, BinCase { -0.001, -1 },
        BinCase { -60.0, -1 }, BinCase { NAN, -1 }, BinCase { INFINITY, -1 }));

TEST(BinnedTrend, UnconfiguredTrendDropsEverything)
{
    BinnedSum t;
    EXPECT_EQ(t.size(), 0);
    EXPECT_EQ(t.binSeconds(), 1.0);
    t.add(0.0, 5.0);
    EXPECT_EQ(t.binHits(0), 0);
    EXPECT_EQ(t.valueAt(0), 0.0);
    EXPECT_EQ(t.largestValue(), 0.0);
}

TEST(BinnedTrend, SumAddsValuesAndEditingOverwrites)
{
    BinnedSum t;
    t.configure(3600.0, 2);
    t.add(10.0, 3.0);
    t.add(3599.0, 4.5);
    t.add(3600.0, 2.0);
    EXPECT_EQ(t.valueAt(0), 7.5);
    EXPECT_EQ(t.valueAt(1), 2.0);
    EXPECT_EQ(t.binHits(0), 2);
    t.setValueAt(1, 9.0);
    EXPECT_EQ(t.valueAt(1), 9.0);
    t.setValueAt(5, 9.0); // outside: ignored
    t.clear();
    EXPECT_EQ(t.size(), 2); // clear keeps the bins, empties them
    EXPECT_EQ(t.valueAt(0), 0.0);
    EXPECT_EQ(t.binHits(0), 0);
}

TEST(BinnedTrend, MedianIsTheUpperMiddleElement)
{
    BinnedMedian t;
    t.configure(60.0, 2);
    t.add(1.0, 70.0);
    t.add(2.0, 80.0);
    EXPECT_EQ(t.valueAt(0), 80.0);
    t.add(61.0, 80.0);
    t.add(62.0, 60.0);
    t.add(63.0, 70.0);
    EXPECT_EQ(t.valueAt(1), 70.0);
    t.clear();
    t.add(1.0, 5.0);
    EXPECT_EQ(t.valueAt(0), 5.0); // nothing of the old values is left behind
}

TEST(BinnedTrend, MedianMatchesNthElementOnRandomData)
{
    std::mt19937 rng(7);
    std::uniform_int_distribution<int> value(40, 60); // narrow, so equal values are common
    for (int round = 0; round < 50; ++round) {
        BinnedMedian t;
        t.configure(10.0, 3);
        std::vector<double> bins[3];
        const int n = 1 + int(rng() % 60);
        for (int i = 0; i < n; ++i) {
            const int bin = int(rng() % 3);
            const double v = value(rng) * 0.5;
            bins[bin].push_back(v);
            t.add(bin * 10.0 + 5.0, v);
            std::vector<double> copy = bins[bin];
            const auto mid = copy.begin() + std::ptrdiff_t(copy.size() / 2);
            std::nth_element(copy.begin(), mid, copy.end());
            ASSERT_EQ(t.valueAt(bin), *mid) << "round " << round << " after " << i;
        }
    }
}

struct ExtremeCase
{
    const char* name;
    bool maximum;
    std::vector<double> values;
    double expected;
};

class Extreme : public ::testing::TestWithParam<ExtremeCase>
{
};

TEST_P(Extreme, FirstValueIsTakenWhateverItIs)
{
    const ExtremeCase ec = GetParam();
    std::unique_ptr<BinnedTrend> t;
    if (ec.maximum)
        t = std::make_unique<BinnedMaximum>();
    else
        t = std::make_unique<BinnedMinimum>();
    t->configure(60.0, 1);
    for (double v : ec.values)
        t->add(30.0, v);
    EXPECT_EQ(t->valueAt(0), ec.expected);
    // After a reset the next value is a first value again.
    t->clear();
    t->add(1.0, ec.maximum ? -50.0 : 50.0);
    EXPECT_EQ(t->valueAt(0), ec.maximum ? -50.0 : 50.0);
}

INSTANTIATE_TEST_SUITE_P(Cases, Extreme,
    ::testing::Values(ExtremeCase { "maxZeroThenNegative", true, { 0.0, -1.0 }, 0.0 },
        ExtremeCase { "maxFirstNegative", true, { -1.0 }, -1.0 },
        ExtremeCase { "maxAllNegative", true, { -5.0, -2.0, -9.0 }, -2.0 },
        ExtremeCase { "maxRising", true, { 60.0, 72.0, 65.0 }, 72.0 },
        ExtremeCase { "minZeroThenPositive", false, { 0.0, 1.0 }, 0.0 },
        ExtremeCase { "minFirstPositive", false, { 80.0 }, 80.0 },
        ExtremeCase { "minFalling", false, { 80.0, 55.0, 70.0 }, 55.0 }),
    [](const auto& info) { return std::string(info.param.name); });

// Mean and population deviation checked against a plain two-pass computation.
TEST(BinnedTrend, MeanAndDeviationAgreeWithTwoPassFormulas)
{
    std::mt19937 rng(99);
    std::normal_distribution<double> value(-0.5, 1.3);
    BinnedMean mean;
    BinnedDeviation dev;
    mean.configure(3600.0, 4);
    dev.configure(3600.0, 4);
    std::vector<double> bins[4];
    for (int i = 0; i < 400; ++i) {
        const int bin = int(rng() % 4);
        const double v = value(rng);
        bins[bin].push_back(v);
        const double time = bin * 3600.0 + double(rng() % 3600);
        mean.add(time, v);
        dev.add(time, v);
    }
    for (int b = 0; b < 4; ++b) {
        ASSERT_FALSE(bins[b].empty());
        double sum = 0.0;
        for (double v : bins[b])
            sum += v;
        const double m = sum / double(bins[b].size());
        double sq = 0.0;
        for (double v : bins[b])
            sq += (v - m) * (v - m);
        EXPECT_NEAR(mean.valueAt(b), m, 1e-12);
        EXPECT_NEAR(dev.valueAt(b), std::sqrt(sq / double(bins[b].size())), 1e-9);
        EXPECT_EQ(mean.binHits(b), int(bins[b].size()));
    }
}

TEST(BinnedTrend, DeviationOfEqualOrSingleValuesIsZero)
{
    BinnedDeviation dev;
    dev.configure(1.0, 3);
    dev.add(0.5, 42.0);
    // Three times 0.1 leaves the bracket at about -3.5e-18 in doubles (checked by hand in
    // Python): without the guard that is sqrt of a negative, NaN.
    for (int i = 0; i < 3; ++i)
        dev.add(1.5, 0.1);
    EXPECT_EQ(dev.valueAt(0), 0.0);
    EXPECT_EQ(dev.valueAt(1), 0.0);
    dev.add(2.1, 1.0);
    dev.add(2.2, 3.0);
    EXPECT_DOUBLE_EQ(dev.valueAt(2), 1.0); // mean 2, deviations +-1, divided by n
}

TEST(BinnedTrend, ReconfigureResizesAndEmpties)
{
    BinnedMean t;
    t.configure(60.0, 2);
    t.add(10.0, 4.0);
    t.configure(30.0, 5);
    EXPECT_EQ(t.size(), 5);
    EXPECT_EQ(t.timeAt(1), 30.0);
    EXPECT_EQ(t.valueAt(0), 0.0);
    t.add(10.0, 6.0);
    EXPECT_EQ(t.valueAt(0), 6.0); // the old sum is gone
    t.configure(30.0, -3);
    EXPECT_EQ(t.size(), 0);
}

// clone() must copy the hidden per-bin state too, and share nothing with the original.
TEST(BinnedTrend, CloneIsDeep)
{
    BinnedMedian median;
    median.configure(60.0, 2);
    median.add(1.0, 10.0);
    median.add(2.0, 20.0);
    std::unique_ptr<Result> copy(median.clone());
    auto* cloned = dynamic_cast<BinnedMedian*>(copy.get());
    ASSERT_NE(cloned, nullptr);
    cloned->add(3.0, 30.0);
    cloned->add(4.0, 40.0); // 10 20 30 40 -> element 2 = 30
    EXPECT_EQ(cloned->valueAt(0), 30.0);
    EXPECT_EQ(cloned->binHits(0), 4);
    EXPECT_EQ(median.valueAt(0), 20.0);
    EXPECT_EQ(median.binHits(0), 2);
    median.add(5.0, 0.0); // 0 10 20 -> 10
    EXPECT_EQ(median.valueAt(0), 10.0);
    EXPECT_EQ(cloned->valueAt(0), 30.0);

    BinnedMaximum maximum;
    maximum.configure(1.0, 1);
    std::unique_ptr<Result> maxCopy(maximum.clone());
    auto* clonedMax = dynamic_cast<BinnedMaximum*>(maxCopy.get());
    ASSERT_NE(clonedMax, nullptr);
    clonedMax->add(0.5, -3.0); // still untouched in the copy: a negative first value is taken
    EXPECT_EQ(clonedMax->valueAt(0), -3.0);
    EXPECT_EQ(maximum.valueAt(0), 0.0);

    TTrend plain(7, "label");
    plain.add(1.0, 2.0);
    std::unique_ptr<Result> plainCopy(plain.clone());
    auto* clonedPlain = dynamic_cast<TTrend*>(plainCopy.get());
    ASSERT_NE(clonedPlain, nullptr);
    EXPECT_EQ(clonedPlain->tag(), 7);
    EXPECT_EQ(clonedPlain->label(), QString("label"));
    clonedPlain->setValueAt(0, 5.0);
    EXPECT_EQ(plain.valueAt(0), 2.0);
}

} // namespace
