#include "classifysupport.h"

#include "analysis/averagebeatdelineator.h"
#include "analysis/beatclassifier.h"
#include "analysis/typeassignment.h"

#include <gtest/gtest.h>

using namespace classify;

namespace {

// Two channels of one class profile.
struct ScoreCase
{
    int sign;
    double amplitude, duration, p, t, ratio;
    int members;
    bool secondUnsigned; // channel 1 has no QRS sign
    double corr;
    int normal, ventricular; // expected from each test
};

ClassProfile profile(const ScoreCase& c)
{
    ClassProfile p;
    p.channels = 2;
    p.members = c.members;
    p.meanRrRatio = c.ratio;
    for (int ch = 0; ch < 2; ++ch) {
        p.qrsSign[ch] = c.sign;
        p.pPolarity[ch] = c.p;
        p.tPolarity[ch] = c.t;
        p.amplitude[ch] = c.amplitude;
        p.duration[ch] = c.duration;
    }
    if (c.secondUnsigned)
        p.qrsSign[1] = 0;
    return p;
}

} // namespace

// Per channel, normal: corr 3 + amplitude 2 + duration 2 + sign 1 + P 1 + T 1; ventricular:
// corr 3 + amplitude 3 + duration 3 + sign 1 + P 1 + T 1. Sign, P and T rows count in the
// total only when they hold. The reference is upright, P and T upright, 100 units, 80 ms.
TEST(Scoring, NormalAndVentricularTests)
{
    const ScoreCase cases[] = {
        { 1, 100, 0.08, 1, 1, 0.9, 20, false, 0.95, BeatU, BeatU }, // timing undecided
        { 1, 100, 0.08, 1, 1, 0.7, 20, false, 0.95, BeatS, BeatU }, // premature
        { 1, 100, 0.08, 1, 1, 0.7, 10, false, 0.95, BeatS, BeatU }, // ten members are enough
        { 1, 100, 0.08, 1, 1, 0.7, 9, false, 0.95, BeatU, BeatU }, // nine are not
        { 1, 100, 0.08, 1, 1, 0.7, 20, true, 0.95, BeatU, BeatU }, // and two signed channels
        // 3 + 0 + 2 + 1 with P and T differing: 6/8 is exactly 0.75 and fails; 7/9 passes.
        { 1, 150, 0.08, 0.4, -1, 1.0, 20, false, 0.95, BeatU, BeatU },
        { 1, 150, 0.08, 1, -1, 1.0, 20, false, 0.95, BeatN, BeatU },
        // 2 + 2 + 2 + 1 = 7/8; had failed P and T counted in the total, 7/10.
        { 1, 100, 0.08, 0.4, -1, 1.0, 20, false, 0.85, BeatN, BeatU },
        { -1, 300, 0.16, 1, 1, 1.0, 20, true, 0.3, BeatU, BeatU }, // V needs two channels too
        // 2 + 0 + 3 + 1 + 1 + 1 = 8/12: passes 0.6 (needs an early beat) but not 0.8.
        { -1, 100, 0.12, 0, -1, 0.8, 20, false, 0.6, BeatU, BeatV },
        { -1, 100, 0.12, 0, -1, 0.9, 20, false, 0.6, BeatU, BeatU },
        // An amplitude ratio of 15 or more is no evidence: 7/7, not 7/10.
        { -1, 1500, 0.16, 1, 1, 1.0, 20, false, 0.3, BeatU, BeatV },
        // A wide early beat of normal size and polarities: 6/9 passes 0.6; 6/12 would not.
        { 1, 100, 0.16, 1, 1, 0.8, 20, false, 0.4, BeatU, BeatV },
    };
    ClassProfile ref = profile({ 1, 100.0, 0.08, 1.0, 1.0, 1.0, 100, false, 0, 0, 0 });
    ref.type = BeatN;
    for (const ScoreCase& c : cases) {
        const double corr[4] = { c.corr, c.corr, c.corr, c.corr };
        EXPECT_EQ(normalTest(profile(c), ref, corr), c.normal) << "row " << (&c - cases);
        EXPECT_EQ(ventricularTest(profile(c), ref, corr), c.ventricular) << "row " << (&c - cases);
    }
}

namespace {

// A list with hand-made classes on a synthetic signal.
struct Study : ListedBeats
{
    using ListedBeats::ListedBeats;
    AverageBeatDelineator delineator;

    BeatClass* makeClass(int id, int type, int from, int to) // members from..to-1
    {
        BeatClass* cls = classes.create(id);
        cls->setType(type);
        for (int m = from; m < to; ++m)
            cls->add(m, true);
        return cls;
    }
    TypeAssignment assignment()
    {
        return TypeAssignment(&list, signal.get(), &classes, &delineator);
    }
};

} // namespace

TEST(LoneBeat, TakesNOnlyWithRrLikeItsNeighbours)
{
    const struct
    {
        double prevRr, rr, nextRr;
        int expected;
    } cases[] = {
        { 1.0, 1.05, 0.0, BeatN }, // next unknown
        { 1.0, 1.1, 1.1, BeatU }, // exactly 10 % off the previous
        { 0.0, 1.0, 1.0, BeatU },
        { 1.0, 0.0, 1.0, BeatU },
    };
    for (const auto& c : cases) {
        std::vector<Placed> p = regular(1.0, 1.0, 12);
        p[5].rr = c.prevRr;
        p[6].rr = c.rr;
        p[7].rr = c.nextRr;
        p[6].shape = Shape::Ventricular; // nothing to match
        Study s(p);
        BeatClass* normal = s.makeClass(10001, BeatN, 0, 6);
        for (int m = 7; m < 12; ++m)
            normal->add(m, true);
        BeatClass* lone = s.makeClass(10002, BeatU, 6, 7);
        s.assignment().automaticRule();
        EXPECT_EQ(lone->type, c.expected) << c.prevRr << " " << c.rr << " " << c.nextRr;
    }
}

TEST(AutomaticRule, SingleClassBecomesNAndVentricularNeedsTenMembers)
{
    Study one(regular(1.0, 1.0, 5));
    BeatClass* only = one.makeClass(10001, BeatU, 0, 5);
    one.assignment().automaticRule();
    EXPECT_EQ(only->type, BeatN);

    for (int vCount : { 9, 10 }) {
        std::vector<Placed> p = regular(1.0, 1.0, 40);
        for (int i = 0; i < vCount; ++i)
            p.push_back({ 41.0 + i, Shape::Ventricular, 1.0, 1.0 });
        Study s(p);
        BeatClass* n = s.makeClass(10001, BeatU, 0, 40);
        BeatClass* v = s.makeClass(10002, BeatU, 40, 40 + vCount);
        s.assignment().automaticRule();
        EXPECT_EQ(n->type, BeatN) << "the largest class is the reference";
        EXPECT_EQ(v->type, vCount >= 10 ? BeatV : BeatU) << vCount;
    }
}

// A U class follows a same-shape V class when its ratio is below 0.85 or at most 0.05 above.
TEST(MatchTest, RegularClassFollowsAPrematureMatchOnlyWhenAsEarly)
{
    const struct
    {
        double settledRatio, ratio;
        int expected;
    } cases[] = {
        { 0.6, 1.0, BeatU }, // sustained run after a premature start
        { 0.6, 0.84, BeatV }, { 0.6, 0.86, BeatU }, // around the regular limit
        { 0.8, 0.88, BeatU }, { 0.82, 0.86, BeatV }, // 0.08 and 0.04 later than the match
    };
    for (const auto& c : cases) {
        std::vector<Placed> p = regular(1.0, 1.0, 40);
        for (int i = 0; i < 12; ++i)
            p.push_back({ 41.0 + i, Shape::Ventricular, c.settledRatio, 1.0 });
        for (int i = 0; i < 5; ++i)
            p.push_back({ 53.0 + i, Shape::Ventricular, c.ratio, 1.0 });
        Study s(p);
        s.makeClass(10001, BeatN, 0, 40);
        BeatClass* settled = s.makeClass(10002, BeatU, 40, 52);
        BeatClass* follower = s.makeClass(10003, BeatU, 52, 57);
        s.assignment().automaticRule();
        EXPECT_EQ(settled->type, BeatV);
        EXPECT_EQ(follower->type, c.expected) << c.settledRatio << " " << c.ratio;
    }
}

TEST(UserRule, EarlyBeatsLeaveTheNClass)
{
    const struct
    {
        double rr, next; // of the tested beat and the following one; median 1.0
        bool compensatory, moves;
    } cases[] = {
        { 0.8, 1.0, false, true }, // exactly at the ratio is early
        { 0.81, 1.0, false, false }, { 0.7, 1.3, true, true }, // a compensating pause
        { 0.7, 1.0, true, false }, // no pause where one is required
    };
    for (const auto& c : cases) {
        std::vector<Placed> p = regular(1.0, 1.0, 6);
        p[3].rr = c.rr;
        p[4].rr = c.next;
        Study s(p);
        BeatClass* normal = s.makeClass(10001, BeatN, 0, 6);
        s.assignment().userRule(prematurityRatioOfPercent(20.0), c.compensatory);
        const BeatClass* moved = s.classes.find(10002);
        ASSERT_EQ(moved != nullptr, c.moves) << c.rr << " " << c.next;
        if (!moved)
            continue;
        EXPECT_EQ(moved->type, BeatS);
        EXPECT_EQ(moved->members, std::vector<int> { 3 });
        EXPECT_EQ(normal->members, (std::vector<int> { 0, 1, 2, 4, 5 }));
        EXPECT_DOUBLE_EQ(moved->meanRr, c.rr);
    }
}

TEST(ExcludedTypes, BecomeNNeverU)
{
    Study s(regular(1.0, 1.0, 5));
    BeatClass* v = s.makeClass(10001, BeatV, 0, 1);
    BeatClass* u = s.makeClass(10002, BeatU, 1, 2);
    BeatClass* sv = s.makeClass(10003, BeatS, 2, 3);
    const bool exclude[5] = { true, false, true, false, false };
    s.assignment().excludeTypes(exclude);
    EXPECT_EQ(v->type, BeatN);
    EXPECT_EQ(u->type, BeatN);
    EXPECT_EQ(sv->type, BeatS);
}

// 100 beats at 0.8 s with ventricular beats at 0.55 s, each followed by a pause.
TEST(TypeAssignment, FinishWritesClassAndTypeToEveryMemberBeat)
{
    std::vector<Placed> p;
    double t = 1.0;
    for (int i = 0; i < 100; ++i) {
        if (i > 10 && i % 7 == 0 && i < 96) {
            p.push_back({ t += 0.55, Shape::Ventricular, 0.55, 0.8 });
            p.push_back({ t += 1.05, Shape::Normal, 1.05, 0.8 });
        } else {
            p.push_back({ t += 0.8, Shape::Normal, 0.8, 0.8 });
        }
    }
    ListedBeats s(p);
    BeatClassifier classifier;
    classifier.init(&s.list, s.signal.get(), &s.classes);
    while (classifier.index() < s.list.count())
        classifier.step();
    classifier.finish();
    int wrong = 0;
    for (size_t i = 0; i < p.size(); ++i) {
        const Beat& b = s.list.beats()[i];
        const BeatClass* cls = s.classes.find(b.classId);
        ASSERT_NE(cls, nullptr) << "beat " << i;
        EXPECT_EQ(b.type, cls->type) << "beat " << i;
        wrong += b.type != (p[i].shape == Shape::Ventricular ? BeatV : BeatN);
    }
    EXPECT_EQ(wrong, 0);
}
