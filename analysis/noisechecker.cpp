#include "analysis/noisechecker.h"

#include "store/beatlist.h"

#include <algorithm>
#include <cmath>
#include <map>

void NoiseChecker::init(BeatList& list)
{
    beats = &list;
    index = 0;
    noiseIndex.assign(size_t(std::max(0, list.count())), 0.0);
}

void NoiseChecker::step()
{
    if (!beats)
        return;
    const int n = beats->count();
    if (int(noiseIndex.size()) < n)
        noiseIndex.resize(size_t(n), 0.0);
    const int end = std::min(n, index + kBatch);
    while (index < end) {
        Beat entry;
        Beat first;
        if (!beats->get(index, entry)
            || !beats->firstWithWindowAfter(entry.windowStart - kHalfWindow, first)) {
            // Only a list out of time order (or with a nonsense time) gets here. The entry keeps
            // a score of 0 and is passed, so that a driver looping on `index` still ends.
            ++index;
            return;
        }
        noiseIndex[size_t(index)] = score(entry, first);
        ++index;
    }
}

// The share of noise entries within 5 s either side, times the coefficient of variation of the
// RR intervals there: regular rhythm scores 0 whatever the noise, and a clean stretch scores 0
// whatever the rhythm.
double NoiseChecker::score(const Beat& entry, const Beat& first)
{
    const double to = (entry.windowStart - kHalfWindow) + 2.0 * kHalfWindow;
    int total = 0;
    int noise = 0;
    int n = 0;
    double sum = 0.0;
    double sumSquares = 0.0;
    Beat b;
    for (int i = first.index; beats->get(i, b) && b.windowStart < to; ++i) {
        ++total;
        if (!b.isBeat) {
            ++noise;
            continue;
        }
        const double rr = b.timing[Beat::RR];
        if (rr > 0.0 && rr < kMaxRr) {
            ++n;
            sum += rr;
            sumSquares += rr * rr;
        }
    }
    double variation = 1.0;
    if (n >= 3) {
        const double mean = sum / n;
        const double variance = (sumSquares - mean * sum) / n;
        variation = variance > 0.0 ? std::sqrt(variance) / mean : 0.0;
    }
    const double share = total >= 3 ? double(noise) / total : 1.0;
    return share * variation;
}

void NoiseChecker::finish()
{
    if (!beats)
        return;
    const int n = beats->count();
    if (int(noiseIndex.size()) < n)
        noiseIndex.resize(size_t(n), 0.0);

    // Ten-entry moving mean; the five entries at either end stay 0.
    std::vector<double> smooth(size_t(std::max(0, n)), 0.0);
    if (n - 5 > 5) {
        for (int i = 5; i < n - 5; ++i) {
            double sum = 0.0;
            for (int j = i - 5; j <= i + 4; ++j)
                sum += noiseIndex[size_t(j)];
            smooth[size_t(i)] = sum / 10.0;
        }
    }

    // Hysteresis: a stretch opens above kOpen, counts once it passes kConfirm, and closes below
    // kOpen; a value of exactly kOpen leaves the state as it is.
    bool inside = false;
    bool confirmed = false;
    int start = 0;
    Beat b;
    for (int i = 0; i < n; ++i) {
        const double s = smooth[size_t(i)];
        if (!inside) {
            if (s > kOpen) {
                inside = true;
                confirmed = false;
                start = i;
            }
        } else if (!confirmed && s > kConfirm) {
            confirmed = true;
        } else if (s < kOpen) {
            inside = false;
            if (!confirmed)
                continue;
            // The stretch ends at the next real beat; its RR spans noise, so it must not count.
            while (beats->get(i, b) && !b.isBeat && i < n - 1)
                ++i;
            for (int k = start; k < i; ++k) {
                if (beats->get(k, b) && b.isBeat) {
                    b.isBeat = false;
                    beats->replace(b);
                }
            }
            if (beats->get(i, b)) {
                b.setTiming(Beat::RR, 0.0);
                beats->replace(b);
            }
        }
    }
    if (inside && confirmed) {
        for (int k = start; k < n - 1; ++k) {
            if (beats->get(k, b) && b.isBeat) {
                b.isBeat = false;
                beats->replace(b);
            }
        }
    }
}

void NoiseChecker::removeAdditionalNoise(BeatList& list)
{
    const int n = list.count();
    if (n <= 0)
        return;

    std::map<int, std::vector<int>> members;
    Beat b;
    for (int i = 0; i < n; ++i) {
        if (list.get(i, b) && b.isBeat && b.classId != 0 && b.type == BeatU)
            members[b.classId].push_back(i);
    }

    // 1: the only member of its class; 2: noise that follows such a beat.
    std::vector<int> mark(size_t(n), 0);
    for (const auto& cls : members) {
        if (cls.second.size() >= 2)
            continue;
        int i = cls.second.front();
        mark[size_t(i)] = 1;
        while (list.next(i, b) && !b.isBeat)
            mark[size_t(++i)] = 2;
    }

    std::vector<int> run;
    for (int i = 0; i < n; ++i) {
        if (mark[size_t(i)] == 1) {
            run.push_back(i);
        } else if (mark[size_t(i)] == 0) {
            if (run.size() > 2)
                treatRun(list, run);
            run.clear();
        }
    }
}

// A run of unique beats is noise. The beats at its edges must not keep an RR that spans it: the
// one before loses its place if it already has none, and the run's last beat stays as the RR
// breaker unless the beat after it already is one.
void NoiseChecker::treatRun(BeatList& list, const std::vector<int>& run)
{
    Beat b;
    if (list.previousBeat(run.front(), b) && b.timing[Beat::RR] == 0.0) {
        b.isBeat = false;
        list.replace(b);
    }
    for (size_t k = 0; k + 1 < run.size(); ++k) {
        if (list.get(run[k], b)) {
            b.isBeat = false;
            list.replace(b);
        }
    }
    Beat last;
    if (!list.get(run.back(), last))
        return;
    if (list.nextBeat(run.back(), b) && b.timing[Beat::RR] == 0.0)
        last.isBeat = false;
    else
        last.setTiming(Beat::RR, 0.0);
    list.replace(last);
}
