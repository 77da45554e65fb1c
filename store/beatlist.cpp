#include "store/beatlist.h"

#include <cmath>

bool BeatList::nextBeat(int index, Beat& beat)
{
    Beat candidate;
    for (int i = index; next(i, candidate); ++i) {
        if (candidate.isBeat) {
            beat = candidate;
            return true;
        }
    }
    return false;
}

bool BeatList::previousBeat(int index, Beat& beat)
{
    Beat candidate;
    for (int i = index; previous(i, candidate); --i) {
        if (candidate.isBeat) {
            beat = candidate;
            return true;
        }
    }
    return false;
}

bool BeatList::firstBeat(Beat& beat)
{
    Beat candidate;
    if (!first(candidate))
        return false;
    if (candidate.isBeat) {
        beat = candidate;
        return true;
    }
    return nextBeat(0, beat);
}

bool BeatList::lastBeat(Beat& beat)
{
    Beat candidate;
    if (!last(candidate))
        return false;
    if (candidate.isBeat) {
        beat = candidate;
        return true;
    }
    return previousBeat(count() - 1, beat);
}

// All three searches find the first index whose key passes `above` in a list sorted by time.
template <typename Above> static int partitionPoint(BeatList& list, Above above)
{
    int lo = 0;
    int hi = list.count();
    Beat probe;
    while (lo < hi) {
        const int mid = lo + (hi - lo) / 2;
        if (!list.get(mid, probe))
            return -1;
        if (above(probe))
            hi = mid;
        else
            lo = mid + 1;
    }
    return lo;
}

bool BeatList::nearest(double rTime, Beat& beat)
{
    const int n = count();
    if (n <= 0)
        return false;
    // `after` is the first entry strictly later than rTime; the entry before it is the last one
    // at its own time.
    const int after = partitionPoint(*this, [rTime](const Beat& b) { return b.timing[0] > rTime; });
    if (after < 0)
        return false;
    if (after == n)
        return get(n - 1, beat);
    Beat later;
    if (!get(after, later))
        return false;
    if (after > 0) {
        Beat before;
        if (!get(after - 1, before))
            return false;
        if (std::fabs(later.timing[0] - rTime) > std::fabs(rTime - before.timing[0])) {
            beat = before;
            return true;
        }
    }
    // The later side wins a tie; among several entries at that same time, the last of them.
    const double t = later.timing[0];
    const int end = partitionPoint(*this, [t](const Beat& b) { return b.timing[0] > t; });
    return end > 0 && get(end - 1, beat);
}

bool BeatList::firstWithWindowAfter(double time, Beat& beat)
{
    const int i = partitionPoint(*this, [time](const Beat& b) { return b.windowStart > time; });
    if (i < 0 || i >= count())
        return false;
    return get(i, beat);
}

bool BeatList::lastBelow(double time, Beat& beat)
{
    const int i = partitionPoint(*this, [time](const Beat& b) { return b.windowStart >= time; });
    if (i <= 0)
        return false;
    return get(i - 1, beat);
}
