#include "recorder/beatannotations.h"

#include "store/beatlist.h"
#include "store/resultkeys.h"
#include "store/resultset.h"

#include <algorithm>
#include <cmath>

int wfdbCodeOfBeatType(int type)
{
    switch (type) {
    case BeatN:
        return 1;
    case BeatV:
        return 5;
    case BeatS:
        return 9;
    case BeatF:
        return 6;
    default:
        return 13;
    }
}

QVector<WfdbAnnotation> beatAnnotations(BeatList& beats, const ResultSet* results, double rate)
{
    const auto toSample
        = [rate](double seconds) { return std::max<qint64>(0, std::llround(seconds * rate)); };
    QVector<WfdbAnnotation> out;
    if (results) {
        if (const auto* af = results->findAs<EventListResult>(ResultKeys::AFib::kEvents)) {
            for (const EventResult& e : af->events) {
                WfdbAnnotation on, off;
                on.code = off.code = 28;
                on.sample = toSample(e.timestamp);
                on.aux = "(AFIB";
                off.sample = toSample(e.timestamp + e.duration);
                off.aux = "(N";
                out << on << off;
            }
        }
    }
    Beat b;
    for (int i = 0; i < beats.count(); ++i) {
        if (!beats.get(i, b) || !b.isBeat)
            continue;
        WfdbAnnotation a;
        // The R instant; a beat without one sits 0.2 s into its window.
        a.sample = toSample(b.hasTiming(Beat::RTime) ? b.timing[Beat::RTime] : b.windowStart + 0.2);
        a.code = wfdbCodeOfBeatType(b.type);
        out << a;
    }
    std::stable_sort(out.begin(), out.end(),
        [](const WfdbAnnotation& x, const WfdbAnnotation& y) { return x.sample < y.sample; });
    return out;
}
