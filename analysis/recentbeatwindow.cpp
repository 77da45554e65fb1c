#include "analysis/recentbeatwindow.h"

#include "store/signalsource.h"

#include <algorithm>

RecentBeatWindow::RecentBeatWindow(double span, bool skipLast, SignalSource* source)
    : m_span(span)
    , m_skipLast(skipLast)
{
    setSource(source);
}

void RecentBeatWindow::setSource(SignalSource* source)
{
    m_source = source;
    const int rate = source ? source->samplingRate() : 0;
    m_length = int(0.8 * rate + 0.5);
    m_peakPosition = int(0.3 * rate + 0.5);
    m_channels = source ? std::min(source->channelCount(), int(Beat::kChannels)) : 0;
    m_stale = true;
}

void RecentBeatWindow::push(const Beat& beat)
{
    m_beats.push_back(beat);
    const double limit = beat.windowStart - m_span;
    while (!m_beats.empty() && m_beats.front().windowStart <= limit)
        m_beats.pop_front();
    m_stale = true;
}

void RecentBeatWindow::clear()
{
    m_beats.clear();
    m_stale = true;
}

int RecentBeatWindow::count()
{
    if (m_stale)
        recompute();
    return m_accepted;
}

const std::vector<double>& RecentBeatWindow::average(int channel)
{
    if (m_stale)
        recompute();
    if (channel < 0 || channel >= m_channels)
        return m_empty;
    return m_average[channel];
}

int RecentBeatWindow::referenceChannel()
{
    if (m_stale)
        recompute();
    return m_refChannel;
}

int RecentBeatWindow::referencePeakSlot()
{
    if (m_stale)
        recompute();
    return m_refSlot;
}

// The channel where most beats have a clear upward R, or a clear downward S when that is the
// more common picture; the lower channel wins ties.
void RecentBeatWindow::chooseReference()
{
    int bestUp = -1, upChannel = 0, bestDown = -1, downChannel = 0;
    for (int c = 0; c < m_channels; ++c) {
        int up = 0, down = 0;
        for (const Beat& b : m_beats) {
            const int polarity = int(b.measure[c][Beat::QrsPolarity]);
            if (b.measureSet[c][Beat::RPeak] && polarity == 1)
                ++up;
            if (b.measureSet[c][Beat::SPeak] && polarity == -1)
                ++down;
        }
        if (up > bestUp) {
            bestUp = up;
            upChannel = c;
        }
        if (down > bestDown) {
            bestDown = down;
            downChannel = c;
        }
    }
    if (bestDown > bestUp) {
        m_refChannel = downChannel;
        m_refSlot = Beat::SPeak;
    } else {
        m_refChannel = upChannel;
        m_refSlot = Beat::RPeak;
    }
}

static double ratioOf(const Beat& b)
{
    const double rr = b.timing[Beat::RR];
    const double median = b.timing[Beat::MedianRR];
    return rr > 0.0 && median > 0.0 ? rr / median : 0.0;
}

bool RecentBeatWindow::accepted(size_t i) const
{
    const Beat& b = m_beats[i];
    const int polarity = m_refSlot == Beat::RPeak ? 1 : -1;
    if (!b.measureSet[m_refChannel][m_refSlot]
        || int(b.measure[m_refChannel][Beat::QrsPolarity]) != polarity)
        return false;
    double widest = 0.0;
    for (int c = 0; c < m_channels; ++c) {
        if (b.measure[c][Beat::HasQrs] != 0.0)
            widest = std::max(widest, b.measure[c][Beat::QrsDuration]);
    }
    const double a = b.timing[Beat::RR];
    const double r = ratioOf(b);
    if (m_skipLast && i + 1 < m_beats.size()) {
        // A beat followed by an early one may be the start of an ectopic couple.
        const Beat& following = m_beats[i + 1];
        const double nextRr = following.timing[Beat::RR];
        if (nextRr > 0.0 && nextRr < 0.45 && ratioOf(following) < 0.85)
            return false;
    }
    return a > 0.25 && a < 2.0 && r > 0.9 && r < 2.0 && widest < 0.18;
}

void RecentBeatWindow::recompute()
{
    m_stale = false;
    m_accepted = 0;
    m_averageRR = 0.0;
    for (int c = 0; c < m_channels; ++c)
        m_average[c].assign(size_t(m_length), 0.0);
    if (m_channels == 0 || m_length == 0)
        return;
    chooseReference();
    if (m_beats.size() < 2)
        return;

    size_t used = m_beats.size();
    if (m_skipLast)
        --used;
    std::vector<size_t> chosen;
    for (size_t i = 0; i < used; ++i) {
        if (accepted(i))
            chosen.push_back(i);
    }
    if (chosen.empty())
        return;

    m_accepted = int(chosen.size());
    const int rate = m_source->samplingRate();
    std::vector<double> w(static_cast<size_t>(m_length));
    double rrSum = 0.0;
    for (size_t i : chosen) {
        const Beat& b = m_beats[i];
        rrSum += b.timing[Beat::RR];
        const double peak = b.measure[m_refChannel][m_refSlot];
        const qint64 start = qint64((peak - 0.3) * rate + 0.5);
        for (int c = 0; c < m_channels; ++c) {
            m_source->readSamples(c, start, m_length, w.data());
            double mean = 0.0;
            for (double x : w)
                mean += x;
            mean /= m_length;
            for (int k = 0; k < m_length; ++k)
                m_average[c][size_t(k)] += (w[size_t(k)] - mean) / m_accepted;
        }
    }
    m_averageRR = rrSum / m_accepted;
}
