#include "store/trend.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

namespace {

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

} // namespace

// A clone keeps the concrete class and its hidden per-bin state, and shares nothing.
TEST(Result, CloneIsAnIndependentCopyOfTheSameClass)
{
    BinnedMedian median;
    median.configure(60.0, 2);
    median.add(10.0, 70.0);
    median.add(20.0, 80.0);
    std::unique_ptr<Result> copy = median.clone();
    auto* medianCopy = dynamic_cast<BinnedMedian*>(copy.get());
    ASSERT_NE(medianCopy, nullptr);
    EXPECT_EQ(medianCopy->binCount(), 2);
    EXPECT_DOUBLE_EQ(medianCopy->binSeconds(), 60.0);
    medianCopy->add(30.0, 60.0); // the copy's sorted values now 60, 70, 80
    EXPECT_DOUBLE_EQ(medianCopy->valueAt(0), 70.0);
    EXPECT_DOUBLE_EQ(median.valueAt(0), 80.0);

    BinnedMaximum untouched;
    untouched.configure(60.0, 1);
    std::unique_ptr<Result> maxCopy = untouched.clone();
    ASSERT_NE(dynamic_cast<BinnedMaximum*>(maxCopy.get()), nullptr);
    static_cast<BinnedMaximum&>(*maxCopy).add(1.0, -1.0); // first value is stored, even below 0
    EXPECT_DOUBLE_EQ(static_cast<BinnedMaximum&>(*maxCopy).valueAt(0), -1.0);
    untouched.add(1.0, -2.0);
    EXPECT_DOUBLE_EQ(untouched.valueAt(0), -2.0);

    EventListResult list(7, "couplets");
    list.events = { EventResult(10.0, 1.2, 2.0) };
    std::unique_ptr<Result> listCopy = list.clone();
    auto* events = dynamic_cast<EventListResult*>(listCopy.get());
    ASSERT_NE(events, nullptr);
    EXPECT_EQ(events->tag(), 7);
    EXPECT_EQ(events->label(), QString("couplets"));
    events->events.clear();
    EXPECT_EQ(list.events.size(), 1);
}
