#pragma once

#include "analysis/averagebeatdelineator.h"
#include "analysis/memorybeatlist.h"
#include "results/averagebeatsnapshot.h"
#include "store/beat.h"
#include "store/signalsource.h"

#include <cmath>
#include <memory>

// Stand-ins for a recording in the results tests: only duration, rate and channel count of
// the signal matter, and beats are made by hand.
namespace recordingfake {

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

class Recording : public MemoryBeatList
{
public:
    explicit Recording(double seconds, int channels = 2, int rate = 500)
        : m_signal(std::make_unique<FlatSignal>(channels, rate, seconds))
    {
    }
    SignalSource* signalSource() const override { return m_signal.get(); }

    // A beat whose window starts at `time` (R 0.2 s later), with its RR in seconds.
    int addAt(double time, int type, double rr)
    {
        Beat b;
        b.index = count();
        b.source = m_signal.get();
        b.windowStart = time;
        b.windowLength = 0.5;
        b.setTiming(Beat::RTime, time + 0.2);
        b.setTiming(Beat::RR, rr);
        b.setTiming(Beat::MedianRR, rr);
        b.type = type;
        return append(b);
    }

private:
    std::unique_ptr<FlatSignal> m_signal;
};

// Wave limits as a delineator would leave them (sample positions, 0 = not found).
struct Limits
{
    int pOnset = 0;
    int pEnd = 0;
    int qrsOnset = 0;
    int qrsEnd = 0;
    int tOnset = 0;
    int tPeak = 0;
    int tEnd = 0;

    void applyTo(AverageBeatDelineator& d) const
    {
        d.pOnset = pOnset;
        d.pEnd = pEnd;
        d.qrsOnset = qrsOnset;
        d.qrsEnd = qrsEnd;
        d.tOnset = tOnset;
        d.tPeak = tPeak;
        d.tEnd = tEnd;
    }
};

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

} // namespace recordingfake
