#pragma once

// Hand-placed beats on a synthetic 250 Hz recording, for the classification tests.

#include "memorysource.h"

#include "analysis/memorybeatlist.h"
#include "store/beat.h"
#include "store/beatclass.h"

#include <cmath>
#include <memory>
#include <vector>

namespace classify {

enum class Shape { Normal, Ventricular };

struct Placed
{
    double r; // R instant, seconds
    Shape shape; // what is drawn and measured
    double rr; // RR as detection would give it
    double median;
};

inline double gauss(double t, double centre, double sigma)
{
    const double x = (t - centre) / sigma;
    return std::exp(-0.5 * x * x);
}

// Sample value of one beat at time t (seconds), channel c.
inline double beatValue(const Placed& b, double t, int c)
{
    const double gain = c == 0 ? 1.0 : 0.7;
    switch (b.shape) {
    case Shape::Normal:
        return gain
            * (150.0 * gauss(t, b.r - 0.16, 0.02) + 1000.0 * gauss(t, b.r, 0.012)
                - 200.0 * gauss(t, b.r + 0.03, 0.01) + 300.0 * gauss(t, b.r + 0.3, 0.04));
    case Shape::Ventricular:
        return gain
            * (-1500.0 * gauss(t, b.r, 0.04) + 400.0 * gauss(t, b.r + 0.08, 0.03)
                - 400.0 * gauss(t, b.r + 0.35, 0.05));
    }
    return 0.0;
}

// A recording of `seconds` at 250 Hz with the beats drawn on `channels` channels. Blocks are
// short because a resampled source drops its last partial block.
inline std::unique_ptr<MemorySource> makeSignal(
    const std::vector<Placed>& beats, double seconds, int channels = 2, int rate = 250)
{
    const qint64 n = qint64(seconds * rate);
    std::vector<std::vector<qint16>> data(size_t(channels), std::vector<qint16>(size_t(n), 0));
    for (int c = 0; c < channels; ++c) {
        for (qint64 i = 0; i < n; ++i) {
            const double t = double(i) / rate;
            double v = 0.0;
            for (const Placed& b : beats) {
                if (std::fabs(t - b.r) < 0.6)
                    v += beatValue(b, t, c);
            }
            data[size_t(c)][size_t(i)] = qint16(std::lround(v));
        }
    }
    return std::make_unique<MemorySource>(rate, 64, data);
}

// Writes a measure whether or not the beat has a source (the accessor needs one).
inline void setMeasure(Beat& b, int channel, int slot, double value)
{
    b.measure[channel][slot] = value;
    b.measureSet[channel][slot] = true;
}

// The beat record detection would have written for a placed beat; without a source, for two
// channels.
inline Beat makeBeat(const Placed& p, int index, SignalSource* source)
{
    Beat b;
    b.index = index;
    b.source = source;
    b.windowStart = p.r - 0.2;
    b.windowLength = 0.5;
    b.setTiming(Beat::RTime, p.r);
    b.setTiming(Beat::RR, p.rr);
    b.setTiming(Beat::MedianRR, p.median);
    b.setTiming(Beat::QrsShare, 1.0);
    const int channels = source ? source->channelCount() : 2;
    for (int c = 0; c < channels && c < Beat::kChannels; ++c) {
        const bool v = p.shape == Shape::Ventricular;
        setMeasure(b, c, Beat::HasQrs, 1.0);
        setMeasure(b, c, Beat::RPeak, p.r);
        setMeasure(b, c, Beat::SPeak, v ? p.r : p.r + 0.03);
        setMeasure(b, c, Beat::QrsPolarity, v ? -1.0 : 1.0);
        setMeasure(b, c, Beat::PPolarity, v ? 0.0 : 1.0);
        setMeasure(b, c, Beat::TPolarity, v ? -1.0 : 1.0);
        setMeasure(b, c, Beat::QrsDuration, v ? 0.16 : 0.08);
    }
    return b;
}

inline void fillList(MemoryBeatList& list, const std::vector<Placed>& beats, SignalSource* source)
{
    for (size_t i = 0; i < beats.size(); ++i)
        list.append(makeBeat(beats[i], int(i), source));
}

// Regular beats every `rr` seconds from `start`, `count` of them.
inline std::vector<Placed> regular(double start, double rr, int count)
{
    std::vector<Placed> out;
    for (int i = 0; i < count; ++i)
        out.push_back({ start + i * rr, Shape::Normal, rr, rr });
    return out;
}

// Placed beats drawn on a signal (by default to 1 s past the last) and listed, with an empty
// class set over them.
struct ListedBeats
{
    explicit ListedBeats(const std::vector<Placed>& placed, double seconds = 0.0)
        : signal(makeSignal(placed, seconds > 0.0 ? seconds : placed.back().r + 1.0))
        , classes(signal.get(), &list)
    {
        fillList(list, placed, signal.get());
    }
    std::unique_ptr<MemorySource> signal;
    MemoryBeatList list;
    BeatClassSet classes;
};

// Mean-removed window of `length` samples from `start` of a channel, read straight from the
// generating formula's samples (independent of the code under test).
inline std::vector<double> rawWindow(SignalSource& s, int channel, qint64 start, int length)
{
    std::vector<double> w(size_t(length), 0.0);
    for (int i = 0; i < length; ++i) {
        const qint64 k = start + i;
        w[size_t(i)] = k >= 0 && k < s.sampleCount() ? s.sampleAt(channel, k) : 0.0;
    }
    double mean = 0.0;
    for (double x : w)
        mean += x;
    mean /= length;
    for (double& x : w)
        x -= mean;
    return w;
}

} // namespace classify
