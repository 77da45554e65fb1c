#include "results/model/resultset.h"
#include "results/model/trend.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

// Counts its destructions, to check that the set owns what it holds.
class TracedValue : public ValueResult
{
public:
    TracedValue(double v, int* destroyed)
        : ValueResult(v)
        , m_destroyed(destroyed)
    {
    }
    ~TracedValue() override { ++*m_destroyed; }

private:
    int* m_destroyed;
};

TEST(ResultSet, OwnsWhatItHolds)
{
    int destroyed = 0;
    ResultSet set;
    set.insert("HR/minBPM", std::make_unique<TracedValue>(50.0, &destroyed));
    EXPECT_EQ(set.findAs<TTrend>("HR/minBPM"), nullptr); // another kind
    set.insert("HR/minBPM", std::make_unique<TracedValue>(48.0, &destroyed));
    EXPECT_EQ(destroyed, 1); // the replaced one is gone
    EXPECT_EQ(set.findAs<ValueResult>("HR/minBPM")->value, 48.0);
    set.remove("HR/minBPM");
    EXPECT_EQ(destroyed, 2);
    set.remove("HR/minBPM"); // absent: nothing happens

    set.insert("x", std::make_unique<TracedValue>(1.0, &destroyed));
    set.insert("x", nullptr); // no result means no key
    EXPECT_EQ(destroyed, 3);
    EXPECT_TRUE(set.keys().isEmpty());
    {
        ResultSet scoped;
        scoped.insert("a", std::make_unique<TracedValue>(1.0, &destroyed));
        ResultSet moved(std::move(scoped));
        EXPECT_NE(moved.find("a"), nullptr);
    }
    EXPECT_EQ(destroyed, 4);
}

// Byte order: "HR/" before "HRV/", capitals before small letters, UTF-8 last.
TEST(ResultSet, KeysComeInByteOrder)
{
    const std::vector<std::string> keys = { "HRV/SDNN", "HR/minBPM", "PVC/totalCount",
        "HR/BPMTrend", "ST/STLevelTrend(1)", "ST/STLevelTrend(0)", "count/totalCountN",
        "afib/afibEvents", "\xc3\xa9/x", "HRV/LFHFRatio" };
    ResultSet set;
    for (const std::string& key : keys)
        set.insert(QByteArray::fromStdString(key), std::make_unique<ValueResult>());
    std::vector<std::string> expected = keys;
    std::sort(expected.begin(), expected.end()); // std::string compares as unsigned bytes
    std::vector<std::string> got;
    for (const QByteArray& k : set.keys())
        got.push_back(k.toStdString());
    EXPECT_EQ(got, expected);
}

} // namespace
