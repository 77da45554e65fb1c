#include "store/studyedits.h"

#include "store/beatclass.h"
#include "store/beatlist.h"
#include "store/resultkeys.h"
#include "store/resultset.h"
#include "store/trend.h"

#include <algorithm>
#include <cmath>

namespace {

// Beats further apart than this across removed entries make no interval: the rhythm breaks.
constexpr double kBreakSeconds = 2.0;
// A beat this late after a normal one (as a share of its interval) counts as normal itself.
constexpr double kNormalRatio = 0.9;
// Classes made for one hand-typed beat take its index plus this.
constexpr int kSingletonOffset = 1000000;
constexpr double kHour = 3600.0;
constexpr double kMinute = 60.0;

void addToValue(ResultSet& results, const char* key, double delta)
{
    if (ValueResult* v = results.findAs<ValueResult>(key))
        v->value = std::max(0.0, v->value + delta);
}

// Bins are addressed by their width rather than through BinnedTrend: a trend loaded from the
// study file is a plain TTrend holding one point per bin.
void addToBin(ResultSet& results, const char* key, double binSeconds, double time, double delta)
{
    TTrend* t = results.findAs<TTrend>(key);
    if (!t)
        return;
    const double bin = std::floor(time / binSeconds);
    if (!(bin >= 0.0) || bin >= double(t->size()))
        return;
    const int i = int(bin);
    t->setValueAt(i, std::max(0.0, t->valueAt(i) + delta));
}

void countType(ResultSet& results, double time, int type, double delta)
{
    switch (type) {
    case BeatU:
        addToValue(results, ResultKeys::BeatCount::kTotalCountU, delta);
        break;
    case BeatN:
        addToValue(results, ResultKeys::BeatCount::kTotalCountN, delta);
        break;
    case BeatV:
        addToValue(results, ResultKeys::BeatCount::kTotalCountV, delta);
        addToValue(results, ResultKeys::kPvc.totalCount, delta);
        addToBin(results, ResultKeys::kPvc.totalCountPerHour, kHour, time, delta);
        addToBin(results, ResultKeys::kPvc.totalCountPerMinute, kMinute, time, delta);
        break;
    case BeatF:
        addToValue(results, ResultKeys::BeatCount::kTotalCountF, delta);
        break;
    case BeatS:
        addToValue(results, ResultKeys::BeatCount::kTotalCountS, delta);
        addToValue(results, ResultKeys::kSvpb.totalCount, delta);
        addToBin(results, ResultKeys::kSvpb.totalCountPerHour, kHour, time, delta);
        addToBin(results, ResultKeys::kSvpb.totalCountPerMinute, kMinute, time, delta);
        break;
    default:
        break;
    }
}

// The rhythm link from `prev` (a real beat, or null) to `cur`: whether the interval between
// them is a break, and otherwise its length in seconds.
struct Link
{
    bool isBreak;
    double interval;
};

Link linkBetween(const Beat* prev, const Beat& cur)
{
    if (!prev)
        return { true, 0.0 };
    const double interval = cur.rInstant() - prev->rInstant();
    if (interval == 0.0 || (cur.index > prev->index + 1 && interval > kBreakSeconds))
        return { true, interval };
    return { false, interval };
}

// A beat following `prev` at `interval` is normal when `prev` is a normal beat with an
// interval of its own and this one isn't premature against it.
bool followsNormally(const Beat& prev, double interval)
{
    return prev.rr() > 0.0 && prev.type == BeatN && interval > prev.rr() * kNormalRatio;
}

} // namespace

void updateBeatCounts(ResultSet& results, double time, int oldType, int newType)
{
    if (newType < 0 && oldType >= 0) {
        addToValue(results, ResultKeys::HeartRate::kTotalBeatCount, -1.0);
        addToBin(results, ResultKeys::HeartRate::kBeatCountPerHour, kHour, time, -1.0);
    } else if (newType >= 0 && oldType < 0) {
        addToValue(results, ResultKeys::HeartRate::kTotalBeatCount, 1.0);
        addToBin(results, ResultKeys::HeartRate::kBeatCountPerHour, kHour, time, 1.0);
    }
    countType(results, time, newType, 1.0);
    countType(results, time, oldType, -1.0);
}

void setBeatRrAndType(
    BeatList& beats, BeatClassSet* classes, ResultSet& results, Beat& beat, double rr, int type)
{
    const int oldType = beat.type;
    BeatClass* target = nullptr;
    if (classes) {
        // Leave the old class while the list still holds the beat as it was, so the class's
        // running means are reversed with the values that went in.
        BeatClass* old = beat.classId != 0 ? classes->find(beat.classId) : nullptr;
        if (old && old->id > 0) {
            old->removeMember(beat.index, true);
            if (old->members.empty())
                target = old;
        }
        if (!target)
            target = classes->create(beat.index + kSingletonOffset);
    }
    beat.setTiming(Beat::RR, rr);
    if (target)
        beat.classId = target->id;
    beat.type = type;
    beats.replace(beat);
    if (target) {
        target->setType(type);
        if (std::find(target->members.begin(), target->members.end(), beat.index)
            == target->members.end())
            target->add(beat.index, true);
    }
    updateBeatCounts(results, beat.windowStartTime(), oldType, type);
}

bool restoreBeat(BeatList& beats, BeatClassSet* classes, ResultSet& results, int index)
{
    Beat beat;
    if (!beats.get(index, beat) || beat.isBeat)
        return false;
    beat.isBeat = true;
    beat.classId = 0;
    beat.type = BeatNone;
    beats.replace(beat);

    Beat prev;
    const bool hasPrev = beats.previousBeat(index, prev);
    const Link in = linkBetween(hasPrev ? &prev : nullptr, beat);
    if (in.isBreak)
        setBeatRrAndType(beats, classes, results, beat, 0.0, BeatU);
    else
        setBeatRrAndType(beats, classes, results, beat, in.interval,
            followsNormally(prev, in.interval) ? BeatN : BeatU);

    Beat next;
    if (!beats.nextBeat(index, next))
        return true;
    const Link out = linkBetween(&beat, next);
    if (out.isBreak) {
        setBeatRrAndType(beats, classes, results, next, 0.0, BeatU);
    } else {
        const int kept = next.type < 0 ? int(BeatU) : next.type;
        setBeatRrAndType(beats, classes, results, next, out.interval,
            followsNormally(beat, out.interval) ? int(BeatN) : kept);
    }
    return true;
}
