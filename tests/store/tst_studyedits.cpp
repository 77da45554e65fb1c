#include "analysis/memorybeatlist.h"
#include "results/model/resultset.h"
#include "results/model/trend.h"
#include "store/beatclass.h"
#include "store/studyedits.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

namespace {

// A beat at R time r with interval rr; windows start 0.2 s before R.
void add(MemoryBeatList& list, double r, int type, double rr, bool isBeat = true, int cls = 0)
{
    Beat b;
    b.index = list.count();
    b.windowStart = r - 0.2;
    b.windowLength = 0.5;
    b.setTiming(Beat::RTime, r);
    b.setTiming(Beat::RR, rr);
    b.setTiming(Beat::MedianRR, rr);
    b.type = isBeat ? type : BeatNone;
    b.isBeat = isBeat;
    b.classId = cls;
    list.append(b);
}

Beat at(MemoryBeatList& list, int i)
{
    Beat b;
    list.get(i, b);
    return b;
}

// Counters as a run leaves them: every total at `start`, two hour bins and 120 minute bins.
void fillCounters(ResultSet& set, double start)
{
    for (const char* key :
        { "HR/totalBeatCount", "count/totalCountN", "count/totalCountV", "count/totalCountF",
            "count/totalCountS", "count/totalCountU", "PVC/totalCount", "SVPB/totalCount" })
        set.insert(key, std::make_unique<ValueResult>(start));
    for (const char* key :
        { "HR/beatCountPerHour", "PVC/totalCountPerHour", "SVPB/totalCountPerHour" }) {
        auto t = std::make_unique<BinnedCount>();
        t->configure(3600.0, 2);
        t->setValueAt(0, start);
        t->setValueAt(1, start);
        set.insert(key, std::move(t));
    }
    for (const char* key : { "PVC/totalCountPerMinute", "SVPB/totalCountPerMinute" }) {
        auto t = std::make_unique<BinnedCount>();
        t->configure(60.0, 120);
        for (int i = 0; i < 120; ++i)
            t->setValueAt(i, start);
        set.insert(key, std::move(t));
    }
}

double value(const ResultSet& set, const char* key)
{
    return set.findAs<ValueResult>(key)->value;
}
double bin(const ResultSet& set, const char* key, int i)
{
    return set.findAs<TTrend>(key)->valueAt(i);
}

struct CountCase
{
    int oldType;
    int newType;
    // Expected change of each counter, worked out from the rule: totals and their bins
    // follow the new type up and the old type down; the beat total only moves to/from -1.
    std::map<std::string, double> delta;
};

TEST(StudyEdits, CountersFollowTypeChanges)
{
    const double time = 3700.0; // hour bin 1, minute bin 61
    const CountCase cases[] = {
        { BeatV, BeatN,
            { { "count/totalCountV", -1 }, { "count/totalCountN", 1 }, { "PVC/totalCount", -1 },
                { "PVC/totalCountPerHour@1", -1 }, { "PVC/totalCountPerMinute@61", -1 } } },
        { BeatN, BeatS,
            { { "count/totalCountN", -1 }, { "count/totalCountS", 1 }, { "SVPB/totalCount", 1 },
                { "SVPB/totalCountPerHour@1", 1 }, { "SVPB/totalCountPerMinute@61", 1 } } },
        { BeatNone, BeatF,
            { { "HR/totalBeatCount", 1 }, { "HR/beatCountPerHour@1", 1 },
                { "count/totalCountF", 1 } } },
        { BeatU, BeatNone,
            { { "HR/totalBeatCount", -1 }, { "HR/beatCountPerHour@1", -1 },
                { "count/totalCountU", -1 } } },
        { BeatN, BeatN, {} },
    };
    const std::vector<std::string> watched = { "HR/totalBeatCount", "count/totalCountN",
        "count/totalCountV", "count/totalCountF", "count/totalCountS", "count/totalCountU",
        "PVC/totalCount", "SVPB/totalCount", "HR/beatCountPerHour@1", "HR/beatCountPerHour@0",
        "PVC/totalCountPerHour@1", "PVC/totalCountPerMinute@61", "PVC/totalCountPerMinute@60",
        "SVPB/totalCountPerHour@1", "SVPB/totalCountPerMinute@61" };
    for (const CountCase& c : cases) {
        ResultSet set;
        fillCounters(set, 10.0);
        updateBeatCounts(set, time, c.oldType, c.newType);
        for (const std::string& w : watched) {
            const auto at = w.find('@');
            const double got = at == std::string::npos
                ? value(set, w.c_str())
                : bin(set, w.substr(0, at).c_str(), std::stoi(w.substr(at + 1)));
            const auto d = c.delta.find(w);
            EXPECT_EQ(got, 10.0 + (d == c.delta.end() ? 0.0 : d->second))
                << w << " " << c.oldType << "->" << c.newType;
        }
    }
}

TEST(StudyEdits, CountersStopAtZeroAndIgnoreMissingBinsAndKeys)
{
    ResultSet set;
    fillCounters(set, 0.0);
    set.remove("PVC/totalCountPerMinute");
    updateBeatCounts(set, 30.0, BeatV, BeatNone);
    EXPECT_EQ(value(set, "count/totalCountV"), 0.0);
    EXPECT_EQ(value(set, "PVC/totalCount"), 0.0);
    EXPECT_EQ(value(set, "HR/totalBeatCount"), 0.0);
    EXPECT_EQ(bin(set, "PVC/totalCountPerHour", 0), 0.0);
    // Beyond the two hour bins, and before the recording: only the totals move.
    updateBeatCounts(set, 7200.0, BeatNone, BeatV);
    updateBeatCounts(set, -1.0, BeatNone, BeatV);
    EXPECT_EQ(value(set, "PVC/totalCount"), 2.0);
    EXPECT_EQ(bin(set, "PVC/totalCountPerHour", 0), 0.0);
    EXPECT_EQ(bin(set, "PVC/totalCountPerHour", 1), 0.0);
    EXPECT_EQ(bin(set, "HR/beatCountPerHour", 1), 0.0);

    ResultSet empty; // a study without results yet
    updateBeatCounts(empty, 10.0, BeatN, BeatV);
    EXPECT_TRUE(empty.isEmpty());
}

TEST(StudyEdits, LoadedTrendsArePlainTrendsAndStillCount)
{
    // The study file gives back hourly bins as points of a plain trend.
    ResultSet set;
    auto t = std::make_unique<TTrend>();
    t->add(0.0, 4.0);
    t->add(3600.0, 6.0);
    set.insert("PVC/totalCountPerHour", std::move(t));
    updateBeatCounts(set, 4000.0, BeatV, BeatN);
    EXPECT_EQ(bin(set, "PVC/totalCountPerHour", 1), 5.0);
    EXPECT_EQ(bin(set, "PVC/totalCountPerHour", 0), 4.0);
}

TEST(StudyEdits, SingletonClassReusedOrMade)
{
    MemoryBeatList beats;
    BeatClassSet classes(nullptr, &beats);
    // Beats 0..2 in class 10001, beat 3 alone in class 10002.
    for (int i = 0; i < 4; ++i)
        add(beats, 1.0 + i, BeatN, 1.0, true, i < 3 ? 10001 : 10002);
    for (int i = 0; i < 4; ++i)
        classes.create(i < 3 ? 10001 : 10002)->add(i, false);
    ResultSet set;
    fillCounters(set, 5.0);

    Beat b = at(beats, 1);
    setBeatRrAndType(beats, &classes, set, b, 0.8, BeatV);
    EXPECT_EQ(at(beats, 1).classId, 1000001);
    EXPECT_EQ(at(beats, 1).type, BeatV);
    EXPECT_EQ(at(beats, 1).rr(), 0.8);
    ASSERT_TRUE(classes.find(1000001));
    EXPECT_EQ(classes.find(1000001)->members, std::vector<int> { 1 });
    EXPECT_EQ(classes.find(1000001)->type, BeatV);
    EXPECT_EQ(classes.find(10001)->members, (std::vector<int> { 0, 2 }));
    EXPECT_EQ(value(set, "PVC/totalCount"), 6.0);
    EXPECT_EQ(value(set, "count/totalCountN"), 4.0);

    Beat c = at(beats, 3);
    setBeatRrAndType(beats, &classes, set, c, 1.0, BeatS);
    EXPECT_EQ(at(beats, 3).classId, 10002); // it was alone: the class stays
    EXPECT_EQ(classes.find(10002)->type, BeatS);
    EXPECT_EQ(classes.find(10002)->members, std::vector<int> { 3 });
    EXPECT_FALSE(classes.find(1000003));

    // Setting the lone beat again keeps its class and doesn't duplicate the member.
    setBeatRrAndType(beats, &classes, set, b, 0.8, BeatN);
    EXPECT_EQ(at(beats, 1).classId, 1000001);
    EXPECT_EQ(classes.find(1000001)->members, std::vector<int> { 1 });
    EXPECT_EQ(value(set, "PVC/totalCount"), 5.0);
}

struct RestoreCase
{
    const char* name;
    // R times of entries 0..4; entry 2 is restored, `removed` entries are noise too.
    double r[5];
    double rr1; // RR of entry 1 (the previous beat)
    int type1; // type of entry 1
    int type3; // type of entry 3 (the next beat)
    bool removed1; // entry 1 also deleted: the previous beat is entry 0
    double rrBeat; // expected RR of the restored beat
    int typeBeat; // expected type
    double rrNext; // expected RR of the next beat
    int typeNext; // expected type of the next beat
};

// Expected values by hand: interval = R difference; 0.9 x previous RR decides "normal".
const RestoreCase kRestore[] = {
    // 0.7 < 0.9 x 0.8 = 0.72 after a normal beat: U; the next beat then keeps its type V.
    { "early", { 0.0, 1.0, 1.7, 2.6, 3.4 }, 0.8, BeatN, BeatV, false, 0.7, BeatU, 0.9, BeatV },
    // After a V beat: U, and the next keeps its type.
    { "afterV", { 0.0, 1.0, 1.8, 2.6, 3.4 }, 0.8, BeatV, BeatS, false, 0.8, BeatU, 0.8, BeatS },
    // Entry 1 removed too and 2.5 s to entry 0: a break, RR 0 and U; the next keeps V.
    { "gapAcrossRemoved", { 0.0, 1.0, 2.5, 3.3, 4.1 }, 0.8, BeatN, BeatV, true, 0.0, BeatU, 0.8,
        BeatV },
    // 2.5 s but adjacent entries: an interval; entry 1 normal with RR 0.8: 2.5 > 0.72, N.
    // The next beat, 0.8 s on, is early against 0.9 x 2.5 = 2.25 and keeps V.
    { "longAdjacent", { 0.0, 1.0, 3.5, 4.3, 5.1 }, 0.8, BeatN, BeatV, false, 2.5, BeatN, 0.8,
        BeatV },
    // Entry 1 removed, but only 1.8 s across: still an interval; entry 0 has RR 0: U.
    { "shortAcrossRemoved", { 0.0, 1.0, 1.8, 2.6, 3.4 }, 0.8, BeatN, BeatV, true, 1.8, BeatU, 0.8,
        BeatV },
};

void PrintTo(const RestoreCase& c, std::ostream* os)
{
    *os << c.name;
}

class Restore : public ::testing::TestWithParam<RestoreCase>
{
};

TEST_P(Restore, IntervalAndTypeOfBeatAndNext)
{
    const RestoreCase& c = GetParam();
    MemoryBeatList beats;
    add(beats, c.r[0], BeatN, 0.0);
    add(beats, c.r[1], c.type1, c.rr1, !c.removed1);
    add(beats, c.r[2], BeatN, 0.5, false);
    add(beats, c.r[3], c.type3, 1.6);
    add(beats, c.r[4], BeatN, 0.8);
    BeatClassSet classes(nullptr, &beats);
    ResultSet set;
    fillCounters(set, 3.0);

    ASSERT_TRUE(restoreBeat(beats, &classes, set, 2));
    const Beat b = at(beats, 2);
    EXPECT_TRUE(b.isBeat);
    EXPECT_NEAR(b.rr(), c.rrBeat, 1e-12);
    EXPECT_EQ(b.type, c.typeBeat);
    EXPECT_EQ(b.classId, 1000002);
    const Beat n = at(beats, 3);
    EXPECT_NEAR(n.rr(), c.rrNext, 1e-12);
    EXPECT_EQ(n.type, c.typeNext);
    // One more beat in all; the next beat's type moved between the per-type counters.
    EXPECT_EQ(value(set, "HR/totalBeatCount"), 4.0);
    double typeTotal = 0.0;
    for (const char* k : { "count/totalCountN", "count/totalCountV", "count/totalCountF",
             "count/totalCountS", "count/totalCountU" })
        typeTotal += value(set, k);
    EXPECT_EQ(typeTotal, 5 * 3.0 + 1.0);
    EXPECT_EQ(at(beats, 4).rr(), 0.8); // only the next beat is touched
}

INSTANTIATE_TEST_SUITE_P(Cases, Restore, ::testing::ValuesIn(kRestore),
    [](const ::testing::TestParamInfo<RestoreCase>& i) { return std::string(i.param.name); });

TEST(StudyEdits, RestoreAtEdgesAndOfRealBeats)
{
    MemoryBeatList beats;
    add(beats, 0.5, BeatN, 0.0, false); // deleted first beat
    add(beats, 1.3, BeatV, 0.8);
    add(beats, 2.1, BeatN, 0.8);
    add(beats, 2.9, BeatN, 0.8, false); // deleted last beat
    ResultSet set;
    fillCounters(set, 1.0);

    // Nothing before: a break. The next beat follows a U beat: it keeps V, RR 0.8.
    ASSERT_TRUE(restoreBeat(beats, nullptr, set, 0));
    EXPECT_EQ(at(beats, 0).rr(), 0.0);
    EXPECT_EQ(at(beats, 0).type, BeatU);
    EXPECT_EQ(at(beats, 0).classId, 0); // no classes: the class steps are skipped
    EXPECT_NEAR(at(beats, 1).rr(), 0.8, 1e-12);
    EXPECT_EQ(at(beats, 1).type, BeatV);

    // Nothing after: only the beat itself changes.
    ASSERT_TRUE(restoreBeat(beats, nullptr, set, 3));
    EXPECT_EQ(at(beats, 3).type, BeatN); // 0.8 > 0.72 after the normal beat 2
    EXPECT_EQ(value(set, "HR/totalBeatCount"), 3.0);

    // A real beat, or no entry at all: nothing happens.
    const Beat before = at(beats, 2);
    EXPECT_FALSE(restoreBeat(beats, nullptr, set, 2));
    EXPECT_FALSE(restoreBeat(beats, nullptr, set, 9));
    EXPECT_FALSE(restoreBeat(beats, nullptr, set, -1));
    EXPECT_EQ(at(beats, 2), before);
    EXPECT_EQ(value(set, "HR/totalBeatCount"), 3.0);
}

} // namespace
