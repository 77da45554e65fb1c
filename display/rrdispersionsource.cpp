#include "display/rrdispersionsource.h"

#include "store/beatlist.h"

#include <algorithm>
#include <cmath>

RRDispersionSource::RRDispersionSource(
    BeatList* beats, double offsetSeconds, double binWidth, int binCount)
    : m_binWidth(binWidth > 0.0 ? binWidth : 0.02)
    , m_binCount(std::max(1, binCount))
{
    if (!beats)
        return;
    // The interval to the previous real beat, so noise entries between two beats don't split it.
    Beat b;
    double previous = -1.0;
    for (int i = 0; beats->get(i, b); ++i) {
        if (!b.isBeat)
            continue;
        const double t = b.rInstant();
        if (previous >= 0.0 && t > previous) {
            m_times.append(t + offsetSeconds);
            m_rr.append(t - previous);
        }
        previous = t;
    }
}

QVector<int> RRDispersionSource::counts(double time, double sliceSeconds) const
{
    QVector<int> out(m_binCount, 0);
    auto from = std::lower_bound(m_times.begin(), m_times.end(), time);
    auto to = std::lower_bound(from, m_times.end(), time + sliceSeconds);
    for (auto it = from; it != to; ++it) {
        const int bin = int(std::floor(m_rr[int(it - m_times.begin())] / m_binWidth));
        if (bin >= 0 && bin < m_binCount)
            ++out[bin];
    }
    return out;
}
