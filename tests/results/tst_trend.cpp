#include "results/model/trend.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

namespace {

TEST(ResultKind, NamesAreTheStoredWords)
{
    const char* words[] = { "value", "valueArray", "event", "eventList", "trend" };
    for (int k = 0; k < 5; ++k)
        EXPECT_EQ(resultKindName(ResultKind(k)), QByteArray(words[k]));
    EXPECT_TRUE(resultKindName(ResultKind(9)).isEmpty());
}

TEST(Trend, LargestValueIsNeverBelowZero)
{
    const std::pair<std::vector<double>, double> rows[] = {
        { { -3.0, -1.0, -7.5 }, 0.0 },
        { { -3.0, 2.5, 1.0 }, 2.5 },
        { { 1.0, 2.0, 9.0 }, 9.0 },
    };
    for (const auto& r : rows) {
        TTrend plain;
        BinnedSum binned;
        binned.configure(1.0, int(r.first.size()));
        for (size_t i = 0; i < r.first.size(); ++i) {
            plain.add(double(i) * 10.0, r.first[i]);
            binned.add(double(i) + 0.5, r.first[i]);
        }
        EXPECT_EQ(plain.largestValue(), r.second);
        EXPECT_EQ(binned.largestValue(), r.second);
    }
}

// 4 bins of 60 s: [0,60) [60,120) [120,180) [180,240); -1: dropped.
TEST(BinnedTrend, TimeLandsInItsBinOrIsDropped)
{
    const std::pair<double, int> rows[] = { { 59.999, 0 }, { 60.0, 1 }, { 239.9, 3 }, { 240.0, -1 },
        { -0.001, -1 }, { NAN, -1 }, { INFINITY, -1 } };
    for (const auto& r : rows) {
        BinnedCount t;
        t.configure(60.0, 4);
        t.add(r.first, 123.0);
        for (int i = 0; i < 4; ++i) // a count ignores the value
            EXPECT_EQ(t.valueAt(i), i == r.second ? 1.0 : 0.0) << r.first << " bin " << i;
    }
    BinnedSum unconfigured;
    unconfigured.add(0.0, 5.0);
    EXPECT_EQ(unconfigured.size(), 0);
    EXPECT_EQ(unconfigured.valueAt(0), 0.0);
}

// The upper middle element, as nth_element at size / 2 finds it.
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

TEST(BinnedTrend, ExtremesTakeTheFirstValueWhateverItIs)
{
    const struct
    {
        bool maximum;
        std::vector<double> values;
        double expected;
    } rows[] = {
        { true, { -1.0 }, -1.0 }, // a negative first value, not the empty 0
        { true, { -5.0, -2.0, -9.0 }, -2.0 },
        { false, { 0.0, 1.0 }, 0.0 },
        { false, { 80.0, 55.0, 70.0 }, 55.0 },
    };
    for (const auto& r : rows) {
        std::unique_ptr<BinnedTrend> t;
        if (r.maximum)
            t = std::make_unique<BinnedMaximum>();
        else
            t = std::make_unique<BinnedMinimum>();
        t->configure(60.0, 1);
        for (double v : r.values)
            t->add(30.0, v);
        EXPECT_EQ(t->valueAt(0), r.expected);
        t->clear(); // after a reset the next value is a first value again
        t->add(1.0, r.maximum ? -50.0 : 50.0);
        EXPECT_EQ(t->valueAt(0), r.maximum ? -50.0 : 50.0);
    }
}

// Against a plain two-pass mean and population deviation.
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
        double sum = 0.0, sq = 0.0;
        for (double v : bins[b])
            sum += v;
        const double m = sum / double(bins[b].size());
        for (double v : bins[b])
            sq += (v - m) * (v - m);
        EXPECT_NEAR(mean.valueAt(b), m, 1e-12);
        EXPECT_NEAR(dev.valueAt(b), std::sqrt(sq / double(bins[b].size())), 1e-9);
    }
}

TEST(BinnedTrend, DeviationOfEqualOrSingleValuesIsZero)
{
    BinnedDeviation dev;
    dev.configure(1.0, 2);
    dev.add(0.5, 42.0);
    // Three times 0.1 leaves the sum-of-squares bracket at about -3.5e-18: sqrt would give NaN.
    for (int i = 0; i < 3; ++i)
        dev.add(1.5, 0.1);
    EXPECT_EQ(dev.valueAt(0), 0.0);
    EXPECT_EQ(dev.valueAt(1), 0.0);
}

TEST(BinnedTrend, ReconfigureResizesAndEmpties)
{
    BinnedMean t;
    t.configure(60.0, 2);
    t.add(10.0, 4.0);
    t.configure(30.0, 5);
    EXPECT_EQ(t.size(), 5);
    EXPECT_EQ(t.timeAt(1), 30.0);
    t.add(10.0, 6.0);
    EXPECT_EQ(t.valueAt(0), 6.0); // the old sum is gone
    t.configure(30.0, -3);
    EXPECT_EQ(t.size(), 0);
}

// clone() copies the hidden per-bin state too, and shares nothing with the original.
TEST(BinnedTrend, CloneIsDeep)
{
    BinnedMedian median;
    median.configure(60.0, 1);
    median.add(1.0, 10.0);
    median.add(2.0, 20.0);
    std::unique_ptr<Result> copy(median.clone());
    auto* cloned = dynamic_cast<BinnedMedian*>(copy.get());
    ASSERT_TRUE(cloned);
    cloned->add(3.0, 30.0);
    cloned->add(4.0, 40.0); // 10 20 30 40 -> 30
    EXPECT_EQ(cloned->valueAt(0), 30.0);
    median.add(5.0, 0.0); // 0 10 20 -> 10
    EXPECT_EQ(median.valueAt(0), 10.0);
    EXPECT_EQ(cloned->valueAt(0), 30.0);
}

} // namespace
