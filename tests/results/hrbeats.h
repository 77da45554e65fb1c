#pragma once

#include "analysis/memorybeatlist.h"
#include "store/beat.h"
#include "store/signalsource.h"

#include <cmath>
#include <memory>

namespace hrtest {

// A flat recording of a given length: only its duration, rate and channels matter here.
class FlatSource : public SignalSource
{
public:
    FlatSource(int channels, int rate, double seconds)
        : SignalSource(channels, rate, 4096)
    {
        const qint64 n = qint64(std::llround(seconds * rate));
        setSampleCount(n);
        setBlockCount(int((n + blockSize() - 1) / blockSize()));
    }
    ~FlatSource() override { releaseAllBlocks(); }
    qint16* loadBlock(int, int) override { return new qint16[size_t(blockSize())](); }
};

// Beats in memory on a recording of `seconds`.
class Beats : public MemoryBeatList
{
public:
    explicit Beats(double seconds, int channels = 2, int rate = 500)
        : m_source(std::make_unique<FlatSource>(channels, rate, seconds))
    {
    }
    SignalSource* signalSource() const override { return m_source.get(); }

    // A beat detected at R time `r`: window from r - 0.2 s, 0.5 s long.
    int add(double r, int type, double rr = 0.0, double medianRR = 0.0, bool isBeat = true)
    {
        Beat b;
        b.index = count();
        b.source = m_source.get();
        b.windowStart = r - 0.2;
        b.windowLength = 0.5;
        b.setTiming(Beat::RTime, r);
        b.setTiming(Beat::RR, rr);
        b.setTiming(Beat::MedianRR, medianRR);
        b.type = type;
        b.isBeat = isBeat;
        return append(b);
    }
    // A beat whose window starts at `time` (the time analyzers bin by).
    int addAt(double time, int type, double medianRR, bool isBeat = true)
    {
        const int i = add(time + 0.2, type, medianRR, medianRR, isBeat);
        Beat b;
        get(i, b);
        b.windowStart = time; // exactly, whatever r - 0.2 rounds to
        replace(b);
        return i;
    }

private:
    std::unique_ptr<FlatSource> m_source;
};

} // namespace hrtest
