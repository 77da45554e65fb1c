// Type assignment: the scoring tests, the lone-beat and user rules, excluded types, and the
// whole of finish() on a synthetic recording.

#include "classifysupport.h"

#include "analysis/averagebeatdelineator.h"
#include "analysis/beatclassifier.h"
#include "analysis/typeassignment.h"
#include "store/beatclass.h"

#include <gtest/gtest.h>

#include <ostream>

using namespace classify;

namespace {

// A two-channel reference: upright QRS, clear upright P and T, 100 units, 80 ms.
ClassProfile reference()
{
    ClassProfile p;
    p.channels = 2;
    p.members = 100;
    p.type = BeatN;
    p.meanRrRatio = 1.0;
    for (int c = 0; c < 2; ++c) {
        p.qrsSign[c] = 1;
        p.pPolarity[c] = 1.0;
        p.tPolarity[c] = 1.0;
        p.amplitude[c] = 100.0;
        p.duration[c] = 0.08;
    }
    return p;
}

} // namespace

// Scores worked out by hand from the tables of both tests, per channel:
// normal: corr 3 + amplitude 2 + duration 2 + sign 1 + P 1 + T 1 (totals only for valid ratios);
// ventricular: corr 3 + amplitude 3 + duration 3 + sign 1 + P 1 + T 1.
// The sign, P and T rows add to score and total only when they hold.
struct ScoreCase
{
    const char* name;
    void (*edit)(ClassProfile&);
    double corr;
    int normal; // expected type from the normal test
    int ventricular; // expected type from the ventricular test
};

inline std::ostream& operator<<(std::ostream& out, const ScoreCase& c)
{
    return out << c.name;
}

class Scoring : public ::testing::TestWithParam<ScoreCase>
{
};

TEST_P(Scoring, NormalAndVentricularTests)
{
    const ScoreCase& sc = GetParam();
    ClassProfile cls = reference();
    cls.members = 20;
    sc.edit(cls);
    const double corr[4] = { sc.corr, sc.corr, sc.corr, sc.corr };
    EXPECT_EQ(normalTest(cls, reference(), corr), sc.normal);
    EXPECT_EQ(ventricularTest(cls, reference(), corr), sc.ventricular);
}

INSTANTIATE_TEST_SUITE_P(Cases, Scoring,
    ::testing::Values(
        // Identical: normal 10/10; ventricular 0/9.
        ScoreCase { "Identical", [](ClassProfile&) {}, 0.95, BeatN, BeatU },
        // Same shape, timing between the normal and premature limits.
        ScoreCase { "NormalShapeUndecidedTiming", [](ClassProfile& p) { p.meanRrRatio = 0.9; },
            0.95, BeatU, BeatU },
        ScoreCase { "NormalShapePremature", [](ClassProfile& p) { p.meanRrRatio = 0.7; }, 0.95,
            BeatS, BeatU },
        ScoreCase { "PrematureNeedsTenMembers",
            [](ClassProfile& p) {
                p.meanRrRatio = 0.7;
                p.members = 9;
            },
            0.95, BeatU, BeatU },
        ScoreCase { "PrematureNeedsTwoChannels",
            [](ClassProfile& p) {
                p.meanRrRatio = 0.7;
                p.qrsSign[1] = 0;
            },
            0.95, BeatU, BeatU },
        // Amplitude 1.5 x: normal corr 3/3 + amplitude 0/2 + width 2/2 + sign 1/1, P and T
        // differ: 6/8 is exactly 0.75. Ventricular: amplitude 1/3 + T 1/1 of 10.
        ScoreCase { "NormalAtExactlyThreeQuartersFails",
            [](ClassProfile& p) {
                for (int c = 0; c < 2; ++c) {
                    p.amplitude[c] = 150.0;
                    p.pPolarity[c] = 0.4;
                    p.tPolarity[c] = -1.0;
                }
            },
            0.95, BeatU, BeatU },
        // As above with the P wave agreeing: 7/9.
        ScoreCase { "NormalJustAboveThreeQuarters",
            [](ClassProfile& p) {
                for (int c = 0; c < 2; ++c) {
                    p.amplitude[c] = 150.0;
                    p.tPolarity[c] = -1.0;
                }
            },
            0.95, BeatN, BeatU },
        // corr 2/3 + amplitude 2/2 + width 2/2 + sign 1/1 with P and T differing: 7/8. Had the
        // failed P and T rows counted in the total it would be 7/10, below 0.75.
        ScoreCase { "NormalMissingPAndTCostNothing",
            [](ClassProfile& p) {
                for (int c = 0; c < 2; ++c) {
                    p.pPolarity[c] = 0.4;
                    p.tPolarity[c] = -1.0;
                }
            },
            0.85, BeatN, BeatU },
        // Wide, large, inverted, no P, T opposed: ventricular 12/12.
        ScoreCase { "ClearlyVentricular",
            [](ClassProfile& p) {
                for (int c = 0; c < 2; ++c) {
                    p.qrsSign[c] = -1;
                    p.amplitude[c] = 300.0;
                    p.duration[c] = 0.16;
                    p.pPolarity[c] = 0.0;
                    p.tPolarity[c] = -1.0;
                }
                p.meanRrRatio = 1.0;
            },
            0.3, BeatU, BeatV },
        ScoreCase { "VentricularNeedsTwoChannels",
            [](ClassProfile& p) {
                for (int c = 0; c < 2; ++c) {
                    p.qrsSign[c] = -1;
                    p.amplitude[c] = 300.0;
                    p.duration[c] = 0.16;
                }
                p.qrsSign[1] = 0;
            },
            0.3, BeatU, BeatU },
        // corr 0.6 (+2), amplitude normal (0/3), width 1.5 (+3), sign (+1), P (+1), T (+1):
        // 8/12 passes 0.6 but not 0.8, so it takes an early beat to call it ventricular.
        ScoreCase { "MiddleScoreEarly",
            [](ClassProfile& p) {
                for (int c = 0; c < 2; ++c) {
                    p.qrsSign[c] = -1;
                    p.duration[c] = 0.12;
                    p.pPolarity[c] = 0.0;
                    p.tPolarity[c] = -1.0;
                }
                p.meanRrRatio = 0.8;
            },
            0.6, BeatU, BeatV },
        ScoreCase { "MiddleScoreOnTime",
            [](ClassProfile& p) {
                for (int c = 0; c < 2; ++c) {
                    p.qrsSign[c] = -1;
                    p.duration[c] = 0.12;
                    p.pPolarity[c] = 0.0;
                    p.tPolarity[c] = -1.0;
                }
                p.meanRrRatio = 0.9;
            },
            0.6, BeatU, BeatU },
        // An amplitude ratio of 15 or more is no evidence either way: ventricular corr 3/3 +
        // width 3/3 + sign 1/1 = 7/7. Counted as an amplitude row scoring 0 it would be 7/10,
        // not enough for a class on time.
        ScoreCase { "AmplitudeRatioOutOfRangeIsIgnored",
            [](ClassProfile& p) {
                for (int c = 0; c < 2; ++c) {
                    p.qrsSign[c] = -1;
                    p.amplitude[c] = 1500.0;
                    p.duration[c] = 0.16;
                }
            },
            0.3, BeatU, BeatV },
        // A wide early beat of normal size and the reference's polarities (the common PVC of a
        // lead where it points the same way): corr 3/3 + amplitude 0/3 + width 3/3 = 6/9 per
        // channel passes 0.6 with a ratio of 0.8. With the unmet sign, P and T rows in the
        // total it would be 6/12 and stay U.
        ScoreCase { "VentricularAbsentEvidenceCostsNothing",
            [](ClassProfile& p) {
                for (int c = 0; c < 2; ++c)
                    p.duration[c] = 0.16;
                p.meanRrRatio = 0.8;
            },
            0.4, BeatU, BeatV }),
    [](const auto& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------------------------------------

namespace {

// A list with hand-made classes on a synthetic signal.
struct Study
{
    std::vector<Placed> placed;
    std::unique_ptr<MemorySource> signal;
    MemoryBeatList list;
    BeatClassSet classes;
    AverageBeatDelineator delineator;

    explicit Study(std::vector<Placed> p)
        : placed(std::move(p))
        , signal(makeSignal(placed, placed.back().r + 1.0))
        , classes(signal.get(), &list)
    {
        fillList(list, placed, signal.get());
    }
    BeatClass* makeClass(int id, int type, const std::vector<int>& members)
    {
        BeatClass* cls = classes.create(id);
        cls->setType(type);
        for (int m : members)
            cls->add(m, true);
        return cls;
    }
    TypeAssignment assignment()
    {
        return TypeAssignment(&list, signal.get(), &classes, &delineator);
    }
};

} // namespace

struct LoneCase
{
    const char* name;
    double prevRr, rr, nextRr;
    int expected;
};

inline std::ostream& operator<<(std::ostream& out, const LoneCase& c)
{
    return out << c.name;
}

class LoneBeat : public ::testing::TestWithParam<LoneCase>
{
};

TEST_P(LoneBeat, TakesNOnlyWithRrLikeItsNeighbours)
{
    const LoneCase& lc = GetParam();
    std::vector<Placed> p = regular(1.0, 1.0, 12);
    p[5].rr = lc.prevRr;
    p[6].rr = lc.rr;
    p[7].rr = lc.nextRr;
    p[6].shape = Shape::Ventricular; // nothing to match
    Study s(p);
    std::vector<int> normals;
    for (int i = 0; i < 12; ++i) {
        if (i != 6)
            normals.push_back(i);
    }
    s.makeClass(10001, BeatN, normals);
    BeatClass* lone = s.makeClass(10002, BeatU, { 6 });
    s.assignment().automaticRule();
    EXPECT_EQ(lone->type, lc.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, LoneBeat,
    ::testing::Values(LoneCase { "LikeBoth", 1.0, 1.05, 1.0, BeatN },
        LoneCase { "NextUnknown", 1.0, 1.05, 0.0, BeatN },
        LoneCase { "AtTenPercentOfPrevious", 1.0, 1.1, 1.1, BeatU },
        LoneCase { "UnlikeNext", 1.0, 1.0, 0.8, BeatU },
        LoneCase { "PreviousUnknown", 0.0, 1.0, 1.0, BeatU },
        LoneCase { "OwnRrUnknown", 1.0, 0.0, 1.0, BeatU }),
    [](const auto& info) { return std::string(info.param.name); });

TEST(LoneBeat, FirstBeatOfTheListHasNoPreviousAndStaysU)
{
    std::vector<Placed> p = regular(1.0, 1.0, 8);
    p[0].shape = Shape::Ventricular;
    Study s(p);
    s.makeClass(10001, BeatN, { 1, 2, 3, 4, 5, 6, 7 });
    BeatClass* lone = s.makeClass(10002, BeatU, { 0 });
    EXPECT_EQ(s.assignment().loneBeatType(*lone), BeatU);
}

TEST(AutomaticRule, SingleClassBecomesN)
{
    Study s(regular(1.0, 1.0, 5));
    BeatClass* only = s.makeClass(10001, BeatU, { 0, 1, 2, 3, 4 });
    s.assignment().automaticRule();
    EXPECT_EQ(only->type, BeatN);
}

class VentricularClassSize : public ::testing::TestWithParam<int>
{
};

TEST_P(VentricularClassSize, NeedsTenMembersForTheVentricularTest)
{
    // 40 normal beats every second, then ventricular beats every second; the ventricular
    // class has no match among settled classes, so below 10 members it stays U.
    const int vCount = GetParam();
    std::vector<Placed> p = regular(1.0, 1.0, 40);
    for (int i = 0; i < vCount; ++i)
        p.push_back({ 41.0 + i, Shape::Ventricular, 1.0, 1.0 });
    Study s(p);
    std::vector<int> n, v;
    for (int i = 0; i < 40; ++i)
        n.push_back(i);
    for (int i = 0; i < vCount; ++i)
        v.push_back(40 + i);
    s.makeClass(10001, BeatU, n);
    BeatClass* vClass = s.makeClass(10002, BeatU, v);
    std::vector<double> progress;
    s.assignment().automaticRule([&](double x) { progress.push_back(x); });
    EXPECT_EQ(s.classes.find(10001)->type, BeatN) << "largest class is the reference";
    EXPECT_EQ(vClass->type, vCount >= 10 ? BeatV : BeatU);
    ASSERT_EQ(progress.size(), 4u);
    EXPECT_DOUBLE_EQ(progress[1], 50.0);
    EXPECT_DOUBLE_EQ(progress[3], 100.0);
}

INSTANTIATE_TEST_SUITE_P(Sizes, VentricularClassSize, ::testing::Values(9, 10));

TEST(MatchTest, UClassFollowsTheSettledClassItMatches)
{
    // Two ventricular classes of the same shape: the larger is settled as V first, the
    // smaller (on time, but not later than the V class by more than 0.05) follows it.
    std::vector<Placed> p = regular(1.0, 1.0, 40);
    for (int i = 0; i < 17; ++i)
        p.push_back({ 41.0 + i, Shape::Ventricular, 1.0, 1.0 });
    Study s(p);
    std::vector<int> n, v, w;
    for (int i = 0; i < 40; ++i)
        n.push_back(i);
    for (int i = 0; i < 12; ++i)
        v.push_back(40 + i);
    for (int i = 12; i < 17; ++i)
        w.push_back(40 + i);
    s.makeClass(10001, BeatN, n);
    BeatClass* big = s.makeClass(10002, BeatU, v);
    BeatClass* small = s.makeClass(10003, BeatU, w);
    s.assignment().automaticRule();
    EXPECT_EQ(big->type, BeatV);
    EXPECT_EQ(small->type, BeatV);
}

struct FollowCase
{
    const char* name;
    double settledRatio; // RR / median RR of the larger, ventricular class
    double ratio; // of the smaller U class of the same shape
    int expected;
};

inline std::ostream& operator<<(std::ostream& out, const FollowCase& c)
{
    return out << c.name;
}

class MatchFollow : public ::testing::TestWithParam<FollowCase>
{
};

// A class on time does not follow a clearly more premature ectopic match: it follows only when
// its ratio is below 0.85, or not more than 0.05 above the match's. This is what leaves the
// later beats of a sustained VT (whose median RR has caught up with the run) as U.
TEST_P(MatchFollow, RegularClassFollowsAPrematureMatchOnlyWhenAsEarly)
{
    const FollowCase& c = GetParam();
    std::vector<Placed> p = regular(1.0, 1.0, 40);
    for (int i = 0; i < 12; ++i)
        p.push_back({ 41.0 + i, Shape::Ventricular, c.settledRatio, 1.0 });
    for (int i = 0; i < 5; ++i)
        p.push_back({ 53.0 + i, Shape::Ventricular, c.ratio, 1.0 });
    Study s(p);
    std::vector<int> n, v, w;
    for (int i = 0; i < 40; ++i)
        n.push_back(i);
    for (int i = 40; i < 52; ++i)
        v.push_back(i);
    for (int i = 52; i < 57; ++i)
        w.push_back(i);
    s.makeClass(10001, BeatN, n);
    BeatClass* settled = s.makeClass(10002, BeatU, v);
    BeatClass* follower = s.makeClass(10003, BeatU, w);
    ASSERT_NEAR(follower->meanRrRatio, c.ratio, 1e-9);
    s.assignment().automaticRule();
    EXPECT_EQ(settled->type, BeatV);
    EXPECT_EQ(follower->type, c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, MatchFollow,
    ::testing::Values(FollowCase { "SustainedRunAfterPrematureStart", 0.6, 1.0, BeatU },
        FollowCase { "BelowTheRegularLimit", 0.6, 0.84, BeatV },
        FollowCase { "JustAboveTheRegularLimit", 0.6, 0.86, BeatU },
        FollowCase { "AsEarlyAsTheMatch", 0.6, 0.62, BeatV },
        FollowCase { "RegularMatch", 0.96, 1.0, BeatV }),
    [](const ::testing::TestParamInfo<FollowCase>& info) { return info.param.name; });

// ---------------------------------------------------------------------------------------------

struct UserCase
{
    const char* name;
    double rr; // of the tested beat; median RR 1.0
    double next; // RR of the following beat
    bool compensatory;
    bool moves; // out of the N class
};

inline std::ostream& operator<<(std::ostream& out, const UserCase& c)
{
    return out << c.name;
}

class UserRule : public ::testing::TestWithParam<UserCase>
{
};

TEST_P(UserRule, EarlyBeatsLeaveTheNClass)
{
    const UserCase& uc = GetParam();
    std::vector<Placed> p = regular(1.0, 1.0, 6);
    const double ratio = (100 - 20) * 0.01;
    p[3].rr = uc.rr;
    p[4].rr = uc.next;
    Study s(p);
    BeatClass* normal = s.makeClass(10001, BeatN, { 0, 1, 2, 3, 4, 5 });
    s.assignment().userRule(ratio, uc.compensatory);
    if (!uc.moves) {
        EXPECT_EQ(s.classes.classCount(), 1);
        EXPECT_EQ(normal->memberCount(), 6);
        return;
    }
    ASSERT_EQ(s.classes.classCount(), 2);
    const BeatClass* moved = s.classes.find(10002);
    ASSERT_NE(moved, nullptr);
    EXPECT_EQ(moved->type, BeatS);
    EXPECT_EQ(moved->members, std::vector<int> { 3 });
    EXPECT_EQ(normal->members, (std::vector<int> { 0, 1, 2, 4, 5 }));
    EXPECT_DOUBLE_EQ(moved->meanRr, uc.rr);
}

INSTANTIATE_TEST_SUITE_P(Cases, UserRule,
    ::testing::Values(UserCase { "ExactlyAtTheRatioIsEarly", (100 - 20) * 0.01, 1.0, false, true },
        UserCase { "JustLaterIsNot", 0.81, 1.0, false, false },
        UserCase { "CompensatedPause", 0.7, 1.3, true, true },
        UserCase { "NoPauseWhenRequired", 0.7, 1.0, true, false }),
    [](const auto& info) { return std::string(info.param.name); });

TEST(UserRule, OnTimeBeatsLeaveTheSClassAndEdgesAreLeftAlone)
{
    std::vector<Placed> p = regular(1.0, 1.0, 6);
    for (int i : { 0, 2, 5 })
        p[size_t(i)].rr = 0.7; // early; 0 and 5 lack a neighbour and are not looked at
    Study s(p);
    BeatClass* sClass = s.makeClass(10001, BeatS, { 0, 1, 2, 3, 4, 5 });
    s.makeClass(10009, BeatV, {});
    s.assignment().userRule(0.8, false);
    const BeatClass* moved = s.classes.find(10010);
    ASSERT_NE(moved, nullptr) << "the new class follows the largest id";
    EXPECT_EQ(moved->type, BeatN);
    EXPECT_EQ(moved->members, (std::vector<int> { 1, 3, 4 }));
    EXPECT_EQ(sClass->members, (std::vector<int> { 0, 2, 5 }));
}

TEST(ExcludedTypes, BecomeNNeverU)
{
    Study s(regular(1.0, 1.0, 5));
    BeatClass* v = s.makeClass(10001, BeatV, { 0 });
    BeatClass* u = s.makeClass(10002, BeatU, { 1 });
    BeatClass* sv = s.makeClass(10003, BeatS, { 2 });
    const bool exclude[5] = { true, false, true, false, false };
    s.assignment().excludeTypes(exclude);
    EXPECT_EQ(v->type, BeatN);
    EXPECT_EQ(u->type, BeatN);
    EXPECT_EQ(sv->type, BeatS);
}

// ---------------------------------------------------------------------------------------------

namespace {

// 60 normal beats at 0.8 s with 12 ventricular beats at 0.55 s followed by a pause.
std::vector<Placed> mixedRecording()
{
    std::vector<Placed> p;
    double t = 1.0;
    for (int i = 0; i < 100; ++i) {
        const bool v = i > 10 && i % 7 == 0 && i < 96;
        if (v) {
            t += 0.55;
            p.push_back({ t, Shape::Ventricular, 0.55, 0.8 });
            t += 1.05;
            p.push_back({ t, Shape::Normal, 1.05, 0.8 });
        } else {
            t += 0.8;
            p.push_back({ t, Shape::Normal, 0.8, 0.8 });
        }
    }
    return p;
}

} // namespace

class Finish : public ::testing::TestWithParam<bool>
{
};

TEST_P(Finish, WritesClassAndTypeToEveryMemberBeat)
{
    const bool excludeV = GetParam();
    const std::vector<Placed> p = mixedRecording();
    auto signal = makeSignal(p, p.back().r + 1.0);
    MemoryBeatList list;
    fillList(list, p, signal.get());
    BeatClassSet classes(signal.get(), &list);
    BeatClassifier classifier;
    classifier.excludeType[BeatV] = excludeV;
    classifier.init(&list, signal.get(), &classes);
    while (classifier.index() < list.count())
        classifier.step();
    classifier.finish();

    int wrong = 0, vSeen = 0;
    for (size_t i = 0; i < p.size(); ++i) {
        const Beat& b = list.beats()[i];
        ASSERT_GT(b.classId, 0) << "beat " << i;
        const BeatClass* cls = classes.find(b.classId);
        ASSERT_NE(cls, nullptr) << "beat " << i;
        EXPECT_EQ(b.type, cls->type) << "beat " << i;
        const int truth = p[i].shape == Shape::Ventricular && !excludeV ? BeatV : BeatN;
        vSeen += p[i].shape == Shape::Ventricular;
        wrong += b.type != truth;
    }
    EXPECT_GE(vSeen, 10);
    EXPECT_EQ(wrong, 0);
}

INSTANTIATE_TEST_SUITE_P(ExcludeV, Finish, ::testing::Bool());
