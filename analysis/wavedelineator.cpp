#include "analysis/wavedelineator.h"

#include "analysis/channeldetectorstate.h"
#include "analysis/scalewindow.h"
#include "store/beat.h"
#include "store/signalsource.h"

#include <cmath>

namespace {

constexpr qint32 kNone = LeadBeatRecord::kNotFound;

bool has(qint32 position)
{
    return LeadBeatRecord::found(position);
}

bool turning23(const ScaleWindow& w, int k)
{
    return w.turningPoint(k, 2) || w.turningPoint(k, 3);
}

int signOf(double x)
{
    return x > 0.0 ? 1 : (x < 0.0 ? -1 : 0);
}

// Extremes of one scale over [from, to] at turning points: the highest value above 0 and the
// lowest below 0, each only when its magnitude is above `floor`.
struct Extremes
{
    int maxPos = kNone;
    int minPos = kNone;
};

Extremes extremesAtReach2(const ScaleWindow& w, int from, int to, double floor)
{
    Extremes e;
    double high = 0.0, low = 0.0;
    for (int k = from; k <= to; ++k) {
        const double x = w[k];
        if (!(std::fabs(x) > floor) || !w.turningPoint(k, 2))
            continue;
        if (x > high) {
            high = x;
            e.maxPos = k;
        }
        if (x < low) {
            low = x;
            e.minPos = k;
        }
    }
    return e;
}

// Walks back from `start` (exclusive of `start` - 1 first) while |W3| stays above a fifth of
// its value there: where the QRS slope has died down.
int slopeEndBackward(const ScaleWindow& w3, int start, int bound)
{
    const double limit = 0.2 * std::fabs(w3[start]);
    int k = start;
    while (std::fabs(w3[k]) > limit && k > bound)
        --k;
    return k;
}

int slopeEndForward(const ScaleWindow& w3, int start, int bound)
{
    const double limit = 0.2 * std::fabs(w3[start]);
    int k = start;
    while (std::fabs(w3[k]) > limit && k < bound)
        ++k;
    return k;
}

} // namespace

void WaveDelineator::delineate(const ScaleWindow& w2, const ScaleWindow& w3, const ScaleWindow& w4,
    double t2, double /*t3*/, double t4, int qrs, int nextQrs, double rrEstimate,
    ChannelDetectorState& state, LeadBeatRecord& record)
{
    const double rate = state.rate;
    record.qrs = qrs;
    delineateQrs(w2, w3, t2, qrs, rate, record);
    delineateP(w4, t4, qrs, rate, state, record);
    delineateT(w4, t4, qrs, nextQrs, rrEstimate, rate, record);
    helperPoints(w3, w4, rate, record);

    if (has(record.tOff)) {
        state.haveTEnd = true;
        state.lastTEnd = record.tOff;
    } else if (has(record.tPeak)) {
        state.haveTEnd = true;
        state.lastTEnd = int(record.tPeak + 0.1 * rate);
    } else {
        state.haveTEnd = false;
        state.lastTEnd = record.qrsOff;
    }
}

void WaveDelineator::delineateQrs(const ScaleWindow& w2, const ScaleWindow& w3, double t2, int qrs,
    double rate, LeadBeatRecord& record)
{
    int maxPos = kNone, minPos = kNone;
    double high = 0.0, low = 0.0;
    for (int k = int(qrs - 0.1 * rate); k <= qrs + 0.1 * rate; ++k) {
        if (!turning23(w2, k))
            continue;
        if (w2[k] > high) {
            high = w2[k];
            maxPos = k;
        }
        if (w2[k] < low) {
            low = w2[k];
            minPos = k;
        }
    }
    if (!has(maxPos) || !has(minPos))
        return;

    const double small = 0.1 * t2;
    const double span = 0.05 * rate;

    if (minPos >= maxPos) {
        // Falling slope first: the main wave points down.
        record.qrsPolarity = -1;
        int k = maxPos;
        while (k <= minPos && w2[k] >= 0.0)
            ++k;
        const int zc = std::fabs(w2[k - 1]) < std::fabs(w2[k]) ? k - 1 : k;

        int pre = kNone;
        double lowest = -small;
        for (int m = maxPos; m >= maxPos - span; --m) {
            if (w2[m] < lowest && turning23(w2, m)) {
                lowest = w2[m];
                pre = m;
            }
        }
        bool haveFirst = false;
        int first = kNone;
        if (has(pre) && pre < maxPos) {
            record.qrsOn = int(pre - 0.015 * rate);
            int b = maxPos;
            while (w2[b] >= 0.0 && b > pre)
                --b;
            if (w2[b] < 0.0) {
                first = b + 1; // an upward wave ahead of the main one
                haveFirst = true;
            }
        } else {
            record.qrsOn = slopeEndBackward(w3, maxPos - 1, int(maxPos - span));
        }

        int post = kNone;
        double highest = small;
        for (int m = minPos; m <= minPos + span; ++m) {
            if (w2[m] > highest && turning23(w2, m)) {
                highest = w2[m];
                post = m;
            }
        }
        bool haveLast = false;
        int last = kNone;
        if (has(post) && post > minPos) {
            record.qrsOff = int(post + 0.015 * rate);
            int f = minPos;
            while (w2[f] <= 0.0 && f < post)
                ++f;
            if (w2[f] > 0.0) {
                last = f - 1; // an upward wave behind the main one
                haveLast = true;
            }
        } else {
            record.qrsOff = slopeEndForward(w3, minPos + 1, int(minPos + span));
        }

        if (haveFirst) {
            record.rPeak = first;
            record.sPeak = zc;
        } else {
            record.qPeak = zc;
            if (haveLast)
                record.rPeak = last;
            else
                record.sPeak = zc;
        }
        return;
    }

    // Rising slope first: an upright R.
    record.qrsPolarity = 1;
    int k = minPos;
    while (k <= maxPos && w2[k] <= 0.0)
        ++k;
    record.rPeak = std::fabs(w2[k - 1]) < std::fabs(w2[k]) ? k - 1 : k;

    int sPos = kNone;
    double lowest = -small;
    for (int m = maxPos; m <= maxPos + span; ++m) {
        if (w2[m] < lowest && turning23(w2, m)) {
            lowest = w2[m];
            sPos = m;
        }
    }
    if (has(sPos) && sPos > maxPos) {
        record.qrsOff = int(sPos + 0.005 * rate);
        int f = maxPos;
        while (w2[f] >= 0.0 && f < sPos)
            ++f;
        if (w2[f] < 0.0)
            record.sPeak = f - 1;
    } else {
        record.qrsOff = slopeEndForward(w3, maxPos + 1, int(maxPos + span));
    }

    int qPos = kNone;
    double highest = small;
    for (int m = minPos; m >= minPos - span; --m) {
        if (w2[m] > highest && turning23(w2, m)) {
            highest = w2[m];
            qPos = m;
        }
    }
    if (has(qPos) && qPos < minPos) {
        record.qrsOn = int(qPos - 0.005 * rate);
        int b = minPos;
        while (w2[b] <= 0.0 && b > qPos)
            --b;
        if (w2[b] > 0.0)
            record.qPeak = b + 1;
    } else {
        record.qrsOn = slopeEndBackward(w3, minPos - 1, int(minPos - span));
    }
}

void WaveDelineator::delineateP(const ScaleWindow& w4, double t4, int qrs, double rate,
    const ChannelDetectorState& state, LeadBeatRecord& record)
{
    int start;
    if (state.haveTEnd && state.lastTEnd > qrs - 0.3 * rate)
        start = int(state.lastTEnd + 0.05 * rate);
    else if (has(record.qrsOn))
        start = int(record.qrsOn - 0.25 * rate);
    else if (has(record.qPeak))
        start = int(record.qPeak - 0.25 * rate);
    else if (has(record.rPeak))
        start = int(record.rPeak - 0.3 * rate);
    else
        start = int(qrs - 0.3 * rate);
    if (!state.haveTEnd && start <= state.lastTEnd)
        start = int(state.lastTEnd + 0.05 * rate);

    int end;
    if (has(record.qrsOn))
        end = int(record.qrsOn - 0.02 * rate);
    else if (has(record.qPeak))
        end = int(record.qPeak - 0.04 * rate);
    else if (has(record.rPeak))
        end = int(record.rPeak - 0.08 * rate);
    else
        end = int(qrs - 0.08 * rate);

    const Extremes e = extremesAtReach2(w4, start, end, 0.3 * t4);
    if (!has(e.maxPos) || !has(e.minPos) || std::abs(e.maxPos - e.minPos) >= 0.1 * rate)
        return;
    if (e.minPos > e.maxPos) {
        int k = e.minPos;
        while (w4[k] <= 0.0 && k >= e.maxPos)
            --k;
        if (k < e.maxPos)
            return;
        record.pPeak = std::fabs(w4[k + 1]) < std::fabs(w4[k]) ? k + 1 : k;
        record.pPolarity = -1;
        record.pOn = int(e.maxPos - 0.01 * rate);
        record.pOff = int(e.minPos + 0.01 * rate);
    } else {
        int k = e.maxPos;
        while (w4[k] >= 0.0 && k >= e.minPos)
            --k;
        if (k < e.minPos)
            return;
        record.pPeak = std::fabs(w4[k + 1]) < std::fabs(w4[k]) ? k + 1 : k;
        record.pPolarity = 1;
        record.pOn = int(e.minPos - 0.01 * rate);
        record.pOff = int(e.maxPos + 0.01 * rate);
    }
}

void WaveDelineator::delineateT(const ScaleWindow& w4, double t4, int qrs, int nextQrs,
    double rrEstimate, double rate, LeadBeatRecord& record)
{
    const double end = nextQrs - 0.1 * rate;
    const int start = int(qrs + 0.1 * rate);
    int stop;
    if (end >= qrs + 0.35 * rate) {
        stop = rrEstimate >= 0.7 ? int(qrs + 0.4 * rate) : int(qrs + rrEstimate * 0.5 * rate);
        if (stop > end)
            stop = int(end);
    } else {
        stop = int(end);
    }

    const Extremes e = extremesAtReach2(w4, start, stop, 0.5 * t4);
    if (!has(e.maxPos) || !has(e.minPos))
        return;
    if (e.minPos < e.maxPos) {
        int k = e.minPos;
        while (w4[k] <= 0.0 && k <= e.maxPos)
            ++k;
        if (k > e.maxPos)
            return;
        record.tPeak = std::fabs(w4[k - 1]) < std::fabs(w4[k]) ? k - 1 : k;
        record.tPolarity = 1;
        record.tOn = int(e.minPos - 0.02 * rate);
        record.tOff = int(e.maxPos + 0.02 * rate);
    } else {
        int k = e.maxPos;
        while (w4[k] >= 0.0 && k <= e.minPos)
            ++k;
        if (k > e.minPos)
            return;
        record.tPeak = std::fabs(w4[k - 1]) < std::fabs(w4[k]) ? k - 1 : k;
        record.tPolarity = -1;
        record.tOn = int(e.maxPos - 0.02 * rate);
        record.tOff = int(e.minPos + 0.02 * rate);
    }
}

void WaveDelineator::helperPoints(
    const ScaleWindow& w3, const ScaleWindow& w4, double rate, LeadBeatRecord& record)
{
    if (has(record.rPeak)) {
        const bool q = has(record.qPeak);
        const int limit = q ? int(record.qPeak - 0.1 * rate) : int(record.rPeak - 0.2 * rate);
        int k = q ? int(record.qPeak - 0.01 * rate) : int(record.rPeak - 0.02 * rate);
        while (k > limit && std::fabs(w4[k - 1] - w4[k + 1]) * 0.5 >= 0.1
            && std::fabs(w3[k - 1] - w3[k + 1]) * 0.5 >= 0.1)
            --k;
        if (k > limit)
            record.pqLevel = k;
    }

    int from = kNone;
    if (has(record.sPeak))
        from = int(record.sPeak + 0.01 * rate);
    else if (has(record.rPeak))
        from = int(record.rPeak + 0.05 * rate);
    if (!has(from))
        return;
    const int to = has(record.tPeak) ? int(record.tPeak - 0.05 * rate) : int(from + 0.2 * rate);
    for (int k = from; k <= to; ++k)
        if (signOf(w4[k - 2]) == signOf(w4[k + 2]))
            record.jPoint = k;
}

void WaveDelineator::fillBeat(Beat& beat, SignalSource* source, const LeadBeatRecord* records,
    qint64 position, double rate, double medianRr)
{
    beat.source = source;
    beat.setTiming(Beat::RTime, double(position) / rate);
    beat.setTiming(Beat::RR, 0.0);
    beat.setTiming(Beat::MedianRR, medianRr);
    const int channels = source ? std::min(source->channelCount(), int(Beat::kChannels)) : 0;
    auto t = [rate](qint32 x) { return double(x) / rate; };
    for (int ch = 0; ch < channels; ++ch) {
        const LeadBeatRecord& r = records[ch];
        const qint32 peaks[] = { r.pPeak, r.qPeak, r.rPeak, r.sPeak, r.tPeak };
        for (int i = 0; i < 5; ++i)
            if (has(peaks[i]))
                beat.setChannelMeasure(ch, Beat::PPeak + i, t(peaks[i]));
        beat.setChannelMeasure(ch, Beat::PPolarity, r.pPolarity);
        beat.setChannelMeasure(ch, Beat::QrsPolarity, r.qrsPolarity);
        beat.setChannelMeasure(ch, Beat::TPolarity, r.tPolarity);

        const bool on = has(r.qrsOn), off = has(r.qrsOff);
        if (on && off)
            beat.setChannelMeasure(ch, Beat::QrsDuration, t(r.qrsOff) - t(r.qrsOn));
        else if (on && has(r.sPeak))
            beat.setChannelMeasure(ch, Beat::QrsDuration, t(r.sPeak) + 0.02 - t(r.qrsOn));
        else if (on && has(r.rPeak))
            beat.setChannelMeasure(ch, Beat::QrsDuration, t(r.rPeak) + 0.04 - t(r.qrsOn));
        else if (off && has(r.qPeak))
            beat.setChannelMeasure(ch, Beat::QrsDuration, t(r.qrsOff) - (t(r.qPeak) - 0.02));
        else if (off && has(r.rPeak))
            beat.setChannelMeasure(ch, Beat::QrsDuration, t(r.qrsOff) - (t(r.rPeak) - 0.04));

        if (has(r.pOn) && on)
            beat.setChannelMeasure(ch, Beat::PRInterval, t(r.qrsOn) - t(r.pOn));
        else if (has(r.pOn) && has(r.qPeak))
            beat.setChannelMeasure(ch, Beat::PRInterval, t(r.qPeak) - 0.01 - t(r.pOn));
        else if (has(r.pPeak)) {
            const double pStart = t(r.pPeak) - 0.01;
            if (on)
                beat.setChannelMeasure(ch, Beat::PRInterval, t(r.qrsOn) - pStart);
            else if (has(r.qPeak))
                beat.setChannelMeasure(ch, Beat::PRInterval, t(r.qPeak) - 0.01 - pStart);
            else if (has(r.rPeak))
                beat.setChannelMeasure(ch, Beat::PRInterval, t(r.rPeak) - 0.02 - pStart);
        }

        double qStart = 0.0;
        bool haveStart = true;
        if (on)
            qStart = t(r.qrsOn);
        else if (has(r.qPeak))
            qStart = t(r.qPeak) - 0.01;
        else if (has(r.rPeak))
            qStart = t(r.rPeak) - 0.02;
        else
            haveStart = false;
        if (haveStart && has(r.tOff))
            beat.setChannelMeasure(ch, Beat::QTInterval, t(r.tOff) - qStart);
        else if (haveStart && has(r.tPeak))
            beat.setChannelMeasure(ch, Beat::QTInterval, t(r.tPeak) + 0.1 - qStart);

        beat.setChannelMeasure(ch, Beat::HasQrs, r.qrsPolarity != 0 ? 1.0 : 0.0);
    }
    beat.windowStart = beat.timing[Beat::RTime] - 0.2;
    beat.windowLength = 0.5;
}
