#include "results/model/resultset.h"
#include "results/model/trend.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

// Tells when it is destroyed, to check that the set owns what it holds.
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

TEST(ResultSet, FindInsertReplaceRemove)
{
    int destroyed = 0;
    ResultSet set;
    EXPECT_EQ(set.find("HR/minBPM"), nullptr);
    set.insert("HR/minBPM", std::make_unique<TracedValue>(50.0, &destroyed));
    auto* v = set.findAs<ValueResult>("HR/minBPM");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->value, 50.0);
    EXPECT_EQ(set.findAs<TTrend>("HR/minBPM"), nullptr); // another kind

    set.insert("HR/minBPM", std::make_unique<TracedValue>(48.0, &destroyed));
    EXPECT_EQ(destroyed, 1); // the replaced one is gone
    EXPECT_EQ(set.size(), 1);
    EXPECT_EQ(set.findAs<ValueResult>("HR/minBPM")->value, 48.0);

    set.remove("HR/minBPM");
    EXPECT_EQ(destroyed, 2);
    EXPECT_TRUE(set.isEmpty());
    set.remove("HR/minBPM"); // absent: nothing happens

    set.insert("x", std::make_unique<TracedValue>(1.0, &destroyed));
    set.insert("x", nullptr); // no result means no key
    EXPECT_EQ(destroyed, 3);
    EXPECT_EQ(set.find("x"), nullptr);
    EXPECT_TRUE(set.keys().isEmpty());

    {
        ResultSet scoped;
        scoped.insert("a", std::make_unique<TracedValue>(1.0, &destroyed));
        ResultSet moved(std::move(scoped));
        EXPECT_NE(moved.find("a"), nullptr);
    }
    EXPECT_EQ(destroyed, 4);
}

TEST(ResultSet, KeysComeInByteOrder)
{
    const std::vector<std::string> keys = { "HRV/SDNN", "HR/minBPM", "PVC/totalCount",
        "HR/BPMTrend", "ST/STLevelTrend(1)", "ST/STLevelTrend(0)", "count/totalCountN",
        "afib/afibEvents", "\xc3\xa9/x", "HRV/LFHFRatio" };
    ResultSet set;
    for (const std::string& key : keys)
        set.insert(QByteArray::fromStdString(key), std::make_unique<ValueResult>());
    std::vector<std::string> expected = keys;
    // std::string compares as unsigned bytes, independently of QByteArray.
    std::sort(expected.begin(), expected.end());
    const QList<QByteArray> got = set.keys();
    ASSERT_EQ(got.size(), int(expected.size()));
    for (int i = 0; i < got.size(); ++i)
        EXPECT_EQ(got[i].toStdString(), expected[size_t(i)]) << i;
    // Spelled out for the cases that matter to readers: "HR/" before "HRV/", capitals first.
    EXPECT_EQ(got.first(), QByteArray("HR/BPMTrend"));
    EXPECT_EQ(got[1], QByteArray("HR/minBPM"));
    EXPECT_EQ(got.last(), QByteArray("\xc3\xa9/x"));
}

} // namespace
