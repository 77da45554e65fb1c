// The delayed passes of BlockBeatDetector: corrections five entries behind the newest, when
// the neighbours on both sides are known, and the centred median RR ten entries behind.

#include "analysis/blockbeatdetector.h"

#include "store/beatlist.h"

namespace {

bool within(double x, double low, double high)
{
    return x >= low && x <= high;
}

double timeOf(const Beat& b)
{
    return b.timing[Beat::RTime];
}

} // namespace

int BlockBeatDetector::qrsChannels(const Beat& beat) const
{
    int n = 0;
    for (int ch = 0; ch < m_channelCount; ++ch)
        n = int(n + beat.measure[ch][Beat::HasQrs]);
    return n;
}

void BlockBeatDetector::lag5Correction()
{
    while (m_lag5Index < m_beatCount - 5) {
        Beat b;
        if (!m_beats->get(m_lag5Index, b))
            return;
        ++m_lag5Index;
        if (b.isBeat) {
            if (!splitInterval(b))
                moveToNoiseNeighbour(b);
        } else if (!restoreBeat(b)) {
            moveToBeatNeighbour(b);
        }
    }
}

// A beat seen in fewer than all channels that splits a regular interval in two is noise.
bool BlockBeatDetector::splitInterval(Beat& b)
{
    if (qrsChannels(b) == m_channelCount)
        return false;
    Beat p, n, m;
    if (!m_beats->previousBeat(b.index, p) || !m_beats->nextBeat(b.index, n)
        || !m_beats->nextBeat(n.index, m))
        return false;
    if (p.rr() == 0.0 || b.rr() == 0.0 || n.rr() == 0.0 || m.rr() == 0.0)
        return false;
    const double s = b.rr() + n.rr();
    if (!(s < 1.0) || !within(s, 0.9 * p.rr(), 1.1 * p.rr())
        || !within(s, 0.9 * m.rr(), 1.1 * m.rr()))
        return false;
    b.isBeat = false;
    n.setTiming(Beat::RR, s);
    m_beats->replace(b);
    m_beats->replace(n);
    return true;
}

// A beat followed by noise seen in at least as many channels, where the noise entry fits the
// rhythm better: the two swap roles.
bool BlockBeatDetector::moveToNoiseNeighbour(Beat& b)
{
    Beat c;
    if (!m_beats->get(b.index + 1, c) || c.isBeat || qrsChannels(c) < qrsChannels(b))
        return false;
    Beat p, n;
    if (!m_beats->previousBeat(b.index, p) || !m_beats->nextBeat(c.index, n))
        return false;
    const double d = timeOf(c) - timeOf(b);
    const double e = timeOf(n) - timeOf(c);
    const double s = b.rr() + d;
    if (!(s < 1.0) || !within(s, 0.95 * p.rr(), 1.05 * p.rr()) || !within(s, 0.95 * e, 1.05 * e))
        return false;
    b.isBeat = false;
    c.isBeat = true;
    c.classId = 0;
    c.setTiming(Beat::RR, s);
    n.setTiming(Beat::RR, e);
    m_beats->replace(b);
    m_beats->replace(c);
    m_beats->replace(n);
    return true;
}

// Noise in the middle of a long interval that it splits evenly, matching the rhythm on both
// sides, was a beat after all.
bool BlockBeatDetector::restoreBeat(Beat& b)
{
    Beat p, n, m;
    if (!m_beats->previousBeat(b.index, p) || !m_beats->nextBeat(b.index, n)
        || !m_beats->nextBeat(n.index, m))
        return false;
    const double d1 = timeOf(b) - timeOf(p);
    const double d2 = timeOf(n) - timeOf(b);
    if (d1 == 0.0 || d2 == 0.0 || p.rr() == 0.0 || m.rr() == 0.0)
        return false;
    if (!(d1 + d2 > 1.0) || !within(d1, 0.9 * d2, 1.1 * d2)
        || !within(d2, 0.9 * m.rr(), 1.1 * m.rr()) || !within(d1, 0.9 * p.rr(), 1.1 * p.rr()))
        return false;
    b.isBeat = true;
    b.classId = 0;
    b.setTiming(Beat::RR, d1);
    n.setTiming(Beat::RR, d2);
    m_beats->replace(b);
    m_beats->replace(n);
    return true;
}

// Noise followed by a beat seen in no more channels, where the noise entry fits the rhythm:
// the two swap roles.
bool BlockBeatDetector::moveToBeatNeighbour(Beat& b)
{
    Beat c;
    if (!m_beats->get(b.index + 1, c) || !c.isBeat)
        return false;
    Beat p, n;
    if (!m_beats->previousBeat(b.index, p) || !m_beats->nextBeat(c.index, n))
        return false;
    if (qrsChannels(b) < qrsChannels(c))
        return false;
    const double d = timeOf(b) - timeOf(p);
    const double e = timeOf(n) - timeOf(b);
    if (!(d < 1.0) || !within(d, 0.95 * p.rr(), 1.05 * p.rr()) || !within(d, 0.95 * e, 1.05 * e))
        return false;
    c.isBeat = false;
    b.isBeat = true;
    b.classId = 0;
    b.setTiming(Beat::RR, d);
    n.setTiming(Beat::RR, e);
    m_beats->replace(c);
    m_beats->replace(b);
    m_beats->replace(n);
    return true;
}

void BlockBeatDetector::lag10Median()
{
    while (m_lag10Index < m_beatCount - 10) {
        Beat b;
        if (!m_beats->get(m_lag10Index, b))
            return;
        if (b.isBeat) {
            const double rr = b.rr(), median = b.medianRR();
            const double r = rr > 0.0 && median > 0.0 ? rr / median : 0.0;
            if (m_lag10Index < 10 || (r > 0.8 && r < 1.2))
                m_normalRr.push(rr);
        }
        if (m_lag10Index >= 10) {
            Beat centre;
            if (m_beats->get(m_lag10Index - 5, centre) && centre.isBeat) {
                centre.setTiming(Beat::MedianRR, m_normalRr.current());
                m_beats->replace(centre);
            }
        }
        ++m_lag10Index;
    }
}
