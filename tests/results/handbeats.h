#pragma once

#include "analysis/memorybeatlist.h"
#include "results/resultanalyzer.h"
#include "store/signalsource.h"

#include <string>

namespace handbeats {

// A signal with a length and channels but no samples: enough for the analyzers' bin sizes.
class SilentSource : public SignalSource
{
public:
    SilentSource(double seconds, int channels)
        : SignalSource(channels, 250, 1024)
    {
        setSampleCount(qint64(seconds * 250.0 + 0.5));
    }
    qint16* loadBlock(int, int) override { return nullptr; }
};

// Beats made by hand: `time` is the window start (R - 0.2 s), which the analyzers read.
class HandBeatList : public MemoryBeatList
{
public:
    explicit HandBeatList(double seconds = 7200.0, int channels = 3)
        : m_source(seconds, channels)
    {
    }
    SignalSource* signalSource() const override { return &m_source; }

    // Appends a beat; a medianRR below zero takes `rr`.
    int add(double time, double rr, int type, double medianRR = -1.0, bool isBeat = true)
    {
        Beat b;
        b.index = count();
        b.source = &m_source;
        b.windowStart = time;
        b.windowLength = 0.5;
        b.setTiming(Beat::RTime, time + 0.2);
        b.setTiming(Beat::RR, rr);
        b.setTiming(Beat::MedianRR, medianRR < 0.0 ? rr : medianRR);
        b.type = type;
        b.isBeat = isBeat;
        // Detection writes a P polarity on every channel, 0 when it finds no P wave.
        for (int c = 0; c < b.channelCount(); ++c)
            b.setChannelMeasure(c, Beat::PPolarity, 0.0);
        return append(b);
    }

    // One beat per letter (N V S F U) every `rr` seconds from `start`; "|" gives the next beat
    // an rr of 0.0 (a break), "x" is a noise entry that is not a beat. The first beat is a
    // break, as in a real list.
    void addPattern(const std::string& pattern, double start = 10.0, double rr = 1.0)
    {
        double t = start;
        bool brk = count() == 0;
        for (char c : pattern) {
            if (c == '|') {
                brk = true;
                continue;
            }
            const bool noise = c == 'x';
            add(t, brk ? 0.0 : rr, noise ? BeatU : typeOf(c), -1.0, !noise);
            if (!noise)
                brk = false;
            t += rr;
        }
    }

    void setType(int index, int type)
    {
        Beat b;
        if (get(index, b)) {
            b.type = type;
            replace(b);
        }
    }

    static int typeOf(char c)
    {
        switch (c) {
        case 'N':
            return BeatN;
        case 'V':
            return BeatV;
        case 'S':
            return BeatS;
        case 'F':
            return BeatF;
        default:
            return BeatU;
        }
    }

private:
    mutable SilentSource m_source;
};

// Runs one analyzer over the valid beats in order, as the results driver does.
inline void run(ResultAnalyzer& analyzer, BeatList& beats)
{
    analyzer.beginRecording(beats);
    Beat b;
    for (int i = 0; beats.get(i, b); ++i) {
        if (b.isBeat)
            analyzer.addBeat(b);
    }
    analyzer.finishRecording();
}

template <typename T> const T* resultOf(const ResultAnalyzer& analyzer, const char* name)
{
    const auto it = analyzer.results().find(name);
    return it == analyzer.results().end() ? nullptr : dynamic_cast<const T*>(it->second.get());
}

inline double valueOf(const ResultAnalyzer& analyzer, const char* name)
{
    const auto* v = resultOf<ValueResult>(analyzer, name);
    return v ? v->value : -1.0;
}

} // namespace handbeats
