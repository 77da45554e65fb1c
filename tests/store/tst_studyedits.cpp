#include "analysis/memorybeatlist.h"
#include "store/beatclass.h"
#include "store/resultkeys.h"
#include "store/resultset.h"
#include "store/studyedits.h"
#include "store/trend.h"

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
        { ResultKeys::HeartRate::kTotalBeatCount, ResultKeys::BeatCount::kTotalCountN,
            ResultKeys::BeatCount::kTotalCountV, ResultKeys::BeatCount::kTotalCountF,
            ResultKeys::BeatCount::kTotalCountS, ResultKeys::BeatCount::kTotalCountU,
            ResultKeys::kPvc.totalCount, ResultKeys::kSvpb.totalCount })
        set.insert(key, std::make_unique<ValueResult>(start));
    for (const char* key : { ResultKeys::HeartRate::kBeatCountPerHour,
             ResultKeys::kPvc.totalCountPerHour, ResultKeys::kSvpb.totalCountPerHour,
             ResultKeys::kPvc.totalCountPerMinute, ResultKeys::kSvpb.totalCountPerMinute }) {
        const int bins = QByteArray(key).endsWith("Hour") ? 2 : 120;
        auto t = std::make_unique<BinnedCount>();
        t->configure(bins == 2 ? 3600.0 : 60.0, bins);
        for (int i = 0; i < bins; ++i)
            t->setValueAt(i, start);
        set.insert(key, std::move(t));
    }
}

double value(const ResultSet& set, const char* key)
{
    return set.findAs<ValueResult>(key)->value;
}

struct CountCase
{
    int oldType;
    int newType;
    // Expected change of each counter ("key", or "key@bin"; the rest stay), worked out from
    // the rule: totals and their bins follow the new type up and the old type down; the beat
    // total only moves to/from -1.
    std::map<std::string, double> delta;
};

TEST(StudyEdits, CountersFollowTypeChanges)
{
    const double time = 3700.0; // hour bin 1, minute bin 61
    const CountCase cases[] = {
        { BeatV, BeatN,
            { { ResultKeys::BeatCount::kTotalCountV, -1 },
                { ResultKeys::BeatCount::kTotalCountN, 1 }, { ResultKeys::kPvc.totalCount, -1 },
                { "PVC/totalCountPerHour@1", -1 }, { "PVC/totalCountPerMinute@61", -1 } } },
        { BeatN, BeatS,
            { { ResultKeys::BeatCount::kTotalCountN, -1 },
                { ResultKeys::BeatCount::kTotalCountS, 1 }, { ResultKeys::kSvpb.totalCount, 1 },
                { "SVPB/totalCountPerHour@1", 1 }, { "SVPB/totalCountPerMinute@61", 1 } } },
        { BeatNone, BeatF,
            { { ResultKeys::HeartRate::kTotalBeatCount, 1 }, { "HR/beatCountPerHour@1", 1 },
                { ResultKeys::BeatCount::kTotalCountF, 1 } } },
        { BeatU, BeatNone,
            { { ResultKeys::HeartRate::kTotalBeatCount, -1 }, { "HR/beatCountPerHour@1", -1 },
                { ResultKeys::BeatCount::kTotalCountU, -1 } } },
        { BeatN, BeatN, {} },
    };
    for (const CountCase& c : cases) {
        ResultSet set;
        fillCounters(set, 10.0);
        updateBeatCounts(set, time, c.oldType, c.newType);
        auto expect = [&c](const std::string& name, double got) {
            const auto d = c.delta.find(name);
            EXPECT_EQ(got, 10.0 + (d == c.delta.end() ? 0.0 : d->second))
                << name << " " << c.oldType << "->" << c.newType;
        };
        for (const QByteArray& key : set.keys()) {
            if (const auto* v = set.findAs<ValueResult>(key))
                expect(key.toStdString(), v->value);
            else if (const auto* t = set.findAs<TTrend>(key))
                for (int i = 0; i < t->size(); ++i)
                    expect(key.toStdString() + "@" + std::to_string(i), t->valueAt(i));
        }
    }
}

TEST(StudyEdits, LoadedTrendsArePlainTrendsAndStillCount)
{
    // The study file gives back hourly bins as points of a plain trend.
    ResultSet set;
    auto t = std::make_unique<TTrend>();
    t->add(0.0, 4.0);
    t->add(3600.0, 6.0);
    set.insert(ResultKeys::kPvc.totalCountPerHour, std::move(t));
    updateBeatCounts(set, 4000.0, BeatV, BeatN);
    EXPECT_EQ(set.findAs<TTrend>(ResultKeys::kPvc.totalCountPerHour)->valueAt(1), 5.0);
    EXPECT_EQ(set.findAs<TTrend>(ResultKeys::kPvc.totalCountPerHour)->valueAt(0), 4.0);
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
    EXPECT_EQ(value(set, ResultKeys::kPvc.totalCount), 6.0);

    Beat c = at(beats, 3);
    setBeatRrAndType(beats, &classes, set, c, 1.0, BeatS);
    EXPECT_EQ(at(beats, 3).classId, 10002); // it was alone: the class stays
    EXPECT_EQ(classes.find(10002)->type, BeatS);
    EXPECT_EQ(classes.find(10002)->members, std::vector<int> { 3 });
    EXPECT_FALSE(classes.find(1000003));
}

struct RestoreCase
{
    const char* name;
    // R times of entries 0..4; entry 2 is restored; entry 1 (RR rr1) may be deleted too, then
    // the previous beat is entry 0. Then the expected RR and type of the beat and of entry 3.
    double r[5];
    double rr1;
    int type1, type3;
    bool removed1;
    double rrBeat;
    int typeBeat;
    double rrNext;
    int typeNext;
};

// Expected values by hand: interval = R difference; 0.9 x previous RR decides "normal".
const RestoreCase kRestore[] = {
    // 0.7 < 0.9 x 0.8 = 0.72 after a normal beat: U; the next beat then keeps its type V.
    { "early", { 0.0, 1.0, 1.7, 2.6, 3.4 }, 0.8, BeatN, BeatV, false, 0.7, BeatU, 0.9, BeatV },
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

TEST(StudyEdits, RestoredBeatGetsIntervalAndTypeAndSoDoesTheNext)
{
    for (const RestoreCase& c : kRestore) {
        SCOPED_TRACE(c.name);
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
        EXPECT_EQ(value(set, ResultKeys::HeartRate::kTotalBeatCount), 4.0);
        double typeTotal = 0.0;
        for (const char* k : { ResultKeys::BeatCount::kTotalCountN,
                 ResultKeys::BeatCount::kTotalCountV, ResultKeys::BeatCount::kTotalCountF,
                 ResultKeys::BeatCount::kTotalCountS, ResultKeys::BeatCount::kTotalCountU })
            typeTotal += value(set, k);
        EXPECT_EQ(typeTotal, 5 * 3.0 + 1.0);
        EXPECT_EQ(at(beats, 4).rr(), 0.8); // only the next beat is touched
    }
}

} // namespace
