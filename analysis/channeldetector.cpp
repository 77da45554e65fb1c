#include "analysis/channeldetector.h"

#include "analysis/scalewindow.h"
#include "analysis/wavedelineator.h"

#include <algorithm>
#include <cmath>

namespace {

int signOf(double x)
{
    return x > 0.0 ? 1 : (x < 0.0 ? -1 : 0);
}

} // namespace

ChannelDetectorState::ChannelDetectorState(int length, double samplingRate)
    : labels(size_t(3 * std::max(length, 0)), 0)
    , rejected(size_t(3 * std::max(length, 0)), 0)
    , rate(samplingRate)
    , period(1.0 / samplingRate)
    , blockLength(std::max(length, 0))
{
}

void ChannelDetectorState::reject(int position)
{
    setLabel(position, 0);
    markRejected(position);
    ++rejectedCount;
}

void ChannelDetectorState::shiftBlock()
{
    const long n = blockLength;
    std::copy(labels.begin() + n, labels.end(), labels.begin());
    std::fill(labels.end() - n, labels.end(), 0);
    std::copy(rejected.begin() + n, rejected.end(), rejected.begin());
    std::fill(rejected.end() - n, rejected.end(), 0);
}

void ChannelDetectorState::reset()
{
    *this = ChannelDetectorState(blockLength, rate);
}

ChannelDetector::ChannelDetector(int blockLength, double rate)
    : m_state(blockLength, rate)
{
}

BlockThresholds ChannelDetector::thresholds(const ScaleWindow* const scales[4])
{
    BlockThresholds th;
    const int segment = scales[2]->blockLength() / 4;
    double rms[4][4];
    for (int s = 0; s < 4; ++s) {
        for (int seg = 0; seg < 4; ++seg) {
            double sum = 0.0;
            for (int k = seg * segment; k < (seg + 1) * segment; ++k) {
                const double v = scales[s]->at(k);
                sum += v * v;
            }
            rms[s][seg] = segment > 0 ? std::sqrt(sum / segment) : 0.0;
        }
        std::sort(rms[s], rms[s] + 4);
    }
    // The reference segment sits just below the first jump to twice its W3 energy, so a few
    // noisy segments don't lift the thresholds.
    const double* w3 = rms[2];
    int i = 0;
    while (i < 3) {
        if (w3[i] > 3.0 && w3[i + 1] >= 2.0 * w3[i])
            break;
        ++i;
    }
    if (!(w3[i] > 3.0))
        return th;
    th.flat = false;
    th.t4 = 0.5 * rms[3][i];
    th.t3 = 1.25 * rms[2][i];
    th.t2 = 1.25 * rms[1][i];
    th.t1 = rms[0][i];
    return th;
}

void ChannelDetector::searchMaxima(const ScaleWindow& w2, const ScaleWindow& w3,
    const ScaleWindow& w4, int from, int to, double t2, double t3, double t4)
{
    ChannelDetectorState& s = m_state;
    const double cross = 0.05 * s.rate;
    for (int k = from; k <= to; ++k) {
        const double x4 = w4[k];
        if (std::fabs(x4) < t4 || !w4.turningPoint(k, 2))
            continue;
        const int sign4 = signOf(x4);
        for (int j = int(k - cross); j <= k + cross; ++j) {
            const double x3 = w3[j];
            if (signOf(x3) != sign4 || std::fabs(x3) < t3
                || !(w3.turningPoint(j, 2) || w3.turningPoint(j, 3)))
                continue;
            for (int m = int(j - cross); m <= j + cross; ++m) {
                const double x2 = w2[m];
                if (signOf(x2) != sign4 || std::fabs(x2) < t2
                    || !(w2.turningPoint(m, 2) || w2.turningPoint(m, 3) || w2.turningPoint(m, 4)))
                    continue;
                s.setLabel(m, signOf(x2));
            }
        }
    }

    // Isolated maxima: a QRS shows as a pair of opposite signs.
    const double isolation = 0.15 * s.rate;
    for (int k = from; k <= to; ++k) {
        const int lk = s.label(k);
        if (lk == 0)
            continue;
        bool partner = false;
        for (int m = int(k - isolation); m <= k + isolation && !partner; ++m)
            partner = s.label(m) == -lk;
        if (!partner)
            s.reject(k);
    }

    // Redundant maxima: of two of one sign close together, the one with more W3 energy stays.
    const double sameSign = 0.2 * s.rate;
    for (int k = from; k <= to; ++k) {
        if (s.label(k) == 0)
            continue;
        for (int m = int(k - sameSign); m <= k + sameSign; ++m) {
            if (m == k || s.label(m) == 0 || s.label(m) != s.label(k))
                continue;
            if (std::fabs(w3[m]) > std::fabs(w3[k]))
                s.reject(k);
            else
                s.reject(m);
        }
    }
}

int ChannelDetector::firstLabelAfter(int after) const
{
    const int end = m_state.blockLength;
    for (int p = std::max(after + 1, -m_state.blockLength); p < end; ++p)
        if (m_state.label(p) != 0)
            return p;
    return LeadBeatRecord::kNotFound;
}

void ChannelDetector::detectBlock(
    const ScaleWindow* const scales[4], std::vector<LeadBeatRecord>& out)
{
    ChannelDetectorState& s = m_state;
    const BlockThresholds th = thresholds(scales);
    if (th.flat) {
        // A disconnected lead: forget the rhythm so the next real block starts afresh.
        s.rrEstimate = 0.75;
        s.haveLabel = false;
        s.haveQrs = false;
        s.haveTEnd = false;
        s.shiftBlock();
        return;
    }
    s.rejectedCount = 0;
    searchMaxima(*scales[1], *scales[2], *scales[3], 0, s.blockLength - 1, th.t2, th.t3, th.t4);
    pair(scales, th, out);
    s.shiftBlock();
}

void ChannelDetector::pair(
    const ScaleWindow* const scales[4], const BlockThresholds& th, std::vector<LeadBeatRecord>& out)
{
    ChannelDetectorState& s = m_state;
    const ScaleWindow& w2 = *scales[1];
    const int L = s.blockLength;

    // Positions kept from the last block move one block into the past. A label taken up
    // afresh below is already in this block's terms.
    if (s.haveLabel)
        s.labelPos -= L;
    if (s.haveQrs)
        s.lastQrs -= L;
    if (s.haveTEnd)
        s.lastTEnd -= L;
    // A waiting label that fell out of the window can't be paired any more.
    if (s.haveLabel && s.labelPos < -L)
        s.haveLabel = false;
    if (!s.haveLabel) {
        const int first = firstLabelAfter(-1);
        if (LeadBeatRecord::found(first)) {
            s.labelPos = first;
            s.haveLabel = true;
        }
    }
    if (!s.haveLabel)
        return;

    const double refractory = 0.15;
    bool searched = false;
    while (true) {
        const int next = firstLabelAfter(s.labelPos);
        if (!LeadBeatRecord::found(next))
            return; // the partner may come with the next block
        const int first = s.label(s.labelPos);
        const int second = s.label(next);
        if (first == second || next - s.labelPos >= 0.15 * s.rate) {
            s.reject(s.labelPos);
            s.labelPos = next;
            if (s.labelPos < -L) {
                s.haveLabel = false;
                return;
            }
            continue;
        }

        // The R position: the zero crossing of W2 between the two maxima.
        int r = (s.labelPos + next) / 2;
        const bool rising = first <= second;
        for (int k = s.labelPos; k <= next; ++k) {
            if (rising ? w2[k] > 0.0 : w2[k] < 0.0) {
                r = k;
                break;
            }
        }

        int afterPos = next; // step 9 continues behind this position
        double rr = 0.0;
        bool handled = false;
        if (s.haveQrs) {
            rr = (r - s.lastQrs) * s.period;
            if (rr > 0.0 && rr < refractory) {
                s.setLabel(s.labelPos, 0);
                s.setLabel(next, 0);
                s.markRejected(next);
                ++s.rejectedCount;
                handled = true;
            }
        }
        if (!handled && !searched && rr > s.rrEstimate * 1.4) {
            // A long gap: look again with lower thresholds for a beat that was missed.
            const int from = std::max(int(s.lastQrs + 0.15 * s.rate), int(0.5 * s.rate) - L);
            const int to = int(r - 0.15 * s.rate);
            searchMaxima(*scales[1], *scales[2], *scales[3], from, to, th.t2 * 0.7, th.t3 * 0.7,
                th.t4 * 0.7);
            searched = true;
            const int start = std::max(s.lastQrs, -L);
            afterPos = s.label(start) != 0 ? start : firstLabelAfter(start);
            handled = true;
        }
        if (!handled) {
            if (s.haveQrs) {
                LeadBeatRecord record = LeadBeatRecord::empty(s.lastQrs);
                if (s.lastQrs > -L + int(0.5 * s.rate)) {
                    WaveDelineator::delineate(*scales[1], *scales[2], *scales[3], th.t2, th.t3,
                        th.t4, s.lastQrs, r, s.rrEstimate, s, record);
                    int sum = 0;
                    for (int k = s.lastQrs + int(-0.3 * s.rate); k < s.lastQrs + 0.3 * s.rate; ++k)
                        sum += s.rejectedAt(k);
                    record.rejectedMaxima = sum;
                }
                out.push_back(record);
            }
            s.lastQrs = r;
            s.haveQrs = true;
            searched = false;
            if (rr > 0.75 * s.rrEstimate && rr < 1.4 * s.rrEstimate)
                s.rrEstimate = 0.2 * rr + 0.8 * s.rrEstimate;
        }

        if (!LeadBeatRecord::found(afterPos)) {
            s.haveLabel = false;
            return;
        }
        s.labelPos = firstLabelAfter(afterPos);
        if (!LeadBeatRecord::found(s.labelPos) || s.labelPos < -L) {
            s.haveLabel = false;
            return;
        }
    }
}
