#include "../analysis/classifysupport.h"

#include "store/beatclass.h"

#include <gtest/gtest.h>

#include <numeric>

using namespace classify;

namespace {

struct Fixture
{
    std::unique_ptr<MemorySource> signal;
    MemoryBeatList list;

    explicit Fixture(const std::vector<Placed>& placed)
        : signal(makeSignal(placed, placed.back().r + 1.0))
    {
        fillList(list, placed, signal.get());
    }
};

// Three beats of different shapes, RRs and measures, so every running mean is non-trivial.
struct ThreeBeats : Fixture
{
    ThreeBeats()
        : Fixture({ { 1.0, Shape::Normal, 0.8, 1.0 }, { 2.0, Shape::Ventricular, 0.5, 1.0 },
            { 3.0, Shape::Normal, 1.2, 0.8 } })
    {
        // Beat 1 has no QRS width on channel 0, so the duration mean there covers 0 and 2.
        Beat b;
        list.get(1, b);
        b.measureSet[0][Beat::QrsDuration] = false;
        b.setChannelMeasure(1, Beat::PPolarity, -1.0);
        list.replace(b);
        list.get(2, b);
        b.setChannelMeasure(0, Beat::QrsDuration, 0.10);
        list.replace(b);
    }
};

// Expected statistics of a set of members, computed directly as plain means.
struct Expected
{
    double qrs[2] = {}, p[2] = {}, t[2] = {}, dur[2] = {};
    int durCount[2] = {};
    double rr = 0.0, ratio = 0.0;
    std::vector<double> templ[2];
};

Expected expectedOf(Fixture& f, const std::vector<int>& members)
{
    Expected e;
    const double n = double(members.size());
    for (int c = 0; c < 2; ++c)
        e.templ[c].assign(125, 0.0);
    for (int idx : members) {
        Beat b;
        f.list.get(idx, b);
        for (int c = 0; c < 2; ++c) {
            e.qrs[c] += b.measure[c][Beat::QrsPolarity] / n;
            e.p[c] += b.measure[c][Beat::PPolarity] / n;
            e.t[c] += b.measure[c][Beat::TPolarity] / n;
            if (b.measureSet[c][Beat::QrsDuration]) {
                e.dur[c] += b.measure[c][Beat::QrsDuration];
                ++e.durCount[c];
            }
            const auto w = rawWindow(*f.signal, c, qint64((b.rInstant() - 0.2) * 250), 125);
            for (int k = 0; k < 125; ++k)
                e.templ[c][size_t(k)] += w[size_t(k)] / n;
        }
        e.rr += b.rr() / n;
        e.ratio += b.rr() / b.medianRR() / n;
    }
    for (int c = 0; c < 2; ++c)
        e.dur[c] = e.durCount[c] ? e.dur[c] / e.durCount[c] : 0.0;
    return e;
}

void expectStatistics(const BeatClass& cls, const Expected& e)
{
    for (int c = 0; c < 2; ++c) {
        EXPECT_NEAR(cls.qrsPolarity[c], e.qrs[c], 1e-9) << "channel " << c;
        EXPECT_NEAR(cls.pPolarity[c], e.p[c], 1e-9) << "channel " << c;
        EXPECT_NEAR(cls.tPolarity[c], e.t[c], 1e-9) << "channel " << c;
        EXPECT_EQ(cls.qrsCount[c], e.durCount[c]) << "channel " << c;
        EXPECT_NEAR(cls.qrsDuration[c], e.dur[c], 1e-9) << "channel " << c;
        ASSERT_EQ(cls.templ[c].size(), 125);
        for (int k = 0; k < 125; ++k)
            ASSERT_NEAR(cls.templ[c][k], e.templ[c][size_t(k)], 1e-6) << "sample " << k;
    }
    EXPECT_NEAR(cls.meanRr, e.rr, 1e-12);
    EXPECT_NEAR(cls.meanRrRatio, e.ratio, 1e-12);
}

} // namespace

TEST(BeatClassSet, IdsSpecialClassesAndIterationThatSurvivesRemoval)
{
    BeatClassSet set;
    BeatClass* a = set.create(10003);
    EXPECT_EQ(set.create(10003), a) << "creating an existing id gives the same class";
    for (int id : { 10001, 10007, 10005 })
        set.create(id);
    EXPECT_EQ(set.largestId(), 10007);
    EXPECT_EQ(set.createNext()->id, 10008);
    std::vector<int> seen;
    for (BeatClass* c = set.first(); c; c = set.next()) {
        seen.push_back(c->id);
        if (c->id == 10005)
            set.remove(10005);
    }
    EXPECT_EQ(seen, (std::vector<int> { 10001, 10003, 10005, 10007, 10008 }));
    EXPECT_EQ(set.find(10005), nullptr);
    EXPECT_EQ(set.classCount(), 4);
}

TEST(BeatClass, RunningMeansEqualPlainMeansThroughAddRemoveAndMerge)
{
    ThreeBeats f;
    BeatClassSet set(f.signal.get(), &f.list);
    BeatClass* cls = set.create(1);
    for (int i = 0; i < 3; ++i)
        cls->add(i, true);
    expectStatistics(*cls, expectedOf(f, { 0, 1, 2 }));
    ASSERT_TRUE(cls->removeMember(1, true));
    EXPECT_FALSE(cls->removeMember(1, true)) << "not a member any more";
    EXPECT_EQ(cls->members, (std::vector<int> { 0, 2 }));
    expectStatistics(*cls, expectedOf(f, { 0, 2 }));

    // A merge weighs every mean by the member counts of both sides.
    BeatClass* a = set.create(2);
    a->add(1, true);
    set.merge(2, 1);
    EXPECT_EQ(set.find(1), nullptr);
    ASSERT_EQ(set.find(2), a);
    EXPECT_EQ(a->members, (std::vector<int> { 1, 0, 2 }));
    expectStatistics(*a, expectedOf(f, { 0, 1, 2 }));
    set.merge(2, 2);
    set.merge(2, 42);
    EXPECT_EQ(set.classCount(), 1) << "self and missing merges do nothing";

    for (int i : { 0, 1, 2 })
        a->removeMember(i, true);
    expectStatistics(*a, expectedOf(f, {})); // all zero once empty
}

TEST(BeatClass, ShapeAveragesAtMostTheFirst200Members)
{
    // 200 normal beats followed by 50 ventricular ones: the shape must be the normal one.
    std::vector<Placed> p = regular(1.0, 1.0, 200);
    for (int i = 0; i < 50; ++i)
        p.push_back({ 201.0 + i, Shape::Ventricular, 1.0, 1.0 });
    Fixture f(p);
    BeatClassSet set(f.signal.get(), &f.list);
    BeatClass* cls = set.create(1);
    for (int i = 0; i < 250; ++i)
        cls->add(i, false);
    std::vector<int> first200(200);
    std::iota(first200.begin(), first200.end(), 0);
    const std::vector<double> expected = expectedOf(f, first200).templ[1];
    const QVector<double> s = cls->shape(1);
    ASSERT_EQ(s.size(), 125);
    for (int k = 0; k < 125; ++k)
        ASSERT_NEAR(s[k], expected[size_t(k)], 1e-6) << "sample " << k;
    EXPECT_EQ(cls->shape(3), QVector<double>(125, 0.0)) << "a channel the source lacks";
}
