#pragma once

#include "analysis/averagebeatdelineator.h"
#include "analysis/memorybeatlist.h"
#include "results/averagebeatsnapshot.h"
#include "results/resultanalyzer.h"
#include "store/signalsource.h"
#include "store/trend.h"

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// Stand-ins for a recording in the results tests: a silent signal of a given length and beats
// made by hand.
namespace fakebeats {

class FlatSignal : public SignalSource
{
public:
    FlatSignal(int channels, int rate, double seconds)
        : SignalSource(channels, rate, 1024)
    {
        const qint64 n = qint64(std::llround(seconds * rate));
        setSampleCount(n);
        setBlockCount(int((n + blockSize() - 1) / blockSize()));
    }
    ~FlatSignal() override { releaseAllBlocks(); }
    qint16* loadBlock(int, int) override { return new qint16[size_t(blockSize())](); }
};

class Beats : public MemoryBeatList
{
public:
    explicit Beats(double seconds = 7200.0, int channels = 3, int rate = 250)
        : m_signal(std::make_unique<FlatSignal>(channels, rate, seconds))
    {
    }
    SignalSource* signalSource() const override { return m_signal.get(); }

    // A beat whose window starts at `time` (R 0.2 s later, where analyzers bin); a medianRR
    // below zero takes `rr`.
    int add(double time, double rr, int type, double medianRR = -1.0, bool isBeat = true)
    {
        Beat b;
        b.index = count();
        b.source = m_signal.get();
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

    // One beat per letter (N V S F U) every `rr` s from `start`; "|" breaks the next beat's RR
    // (0.0), "x" is a noise entry. The first beat is a break, as in a real list.
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
            const auto at = std::string("UNVFS").find(c); // positions are the BeatType values
            add(t, brk ? 0.0 : rr, at == std::string::npos ? BeatU : int(at), -1.0, !noise);
            brk = brk && noise;
            t += rr;
        }
    }

private:
    std::unique_ptr<FlatSignal> m_signal;
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

// Events compared as (timestamp, duration, value) triples.
struct Ev
{
    double timestamp, duration, value;
};

inline std::vector<Ev> eventsOf(const ResultAnalyzer& a, const char* name)
{
    std::vector<Ev> out;
    if (const auto* list = resultOf<EventListResult>(a, name))
        for (const EventResult& e : list->events)
            out.push_back({ e.timestamp, e.duration, e.value });
    return out;
}

inline void expectEvents(const std::vector<Ev>& got, const std::vector<Ev>& want, const char* what)
{
    ASSERT_EQ(got.size(), want.size()) << what;
    for (size_t i = 0; i < want.size(); ++i) {
        EXPECT_NEAR(got[i].timestamp, want[i].timestamp, 1e-9) << what << " #" << i;
        EXPECT_NEAR(got[i].duration, want[i].duration, 1e-9) << what << " #" << i;
        EXPECT_NEAR(got[i].value, want[i].value, 1e-9) << what << " #" << i;
    }
}

inline AverageBeatSnapshot average(int beats, double rr, int rate, int channels = 2,
    int length = 400, double millivoltsPerUnit = 0.001)
{
    AverageBeatSnapshot a;
    a.averagedBeatCount = beats;
    a.averageRR = rr;
    a.sampleRate = rate;
    a.millivoltsPerUnit = millivoltsPerUnit;
    a.channels.assign(size_t(channels), std::vector<double>(size_t(length), 0.0));
    return a;
}

} // namespace fakebeats
