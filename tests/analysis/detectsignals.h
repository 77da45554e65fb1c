#pragma once

#include "analysis/memorybeatlist.h"
#include "analysis/waveletbank.h"
#include "analysis/waveletbeatdetector.h"
#include "memorysource.h"

#include <cmath>
#include <memory>
#include <vector>

namespace detecttest {

constexpr int kRate = 250;

// A clean ECG-like channel: at each R time (seconds) a narrow upright QRS of `amplitude`
// samples with a small Q dip, and a T wave 0.25 s later.
inline std::vector<qint16> ecg(const std::vector<double>& rTimes, double seconds,
    double amplitude = 800.0, double tAmplitude = 150.0)
{
    const int n = int(seconds * kRate);
    std::vector<double> v(size_t(n), 0.0);
    for (double r : rTimes) {
        for (int i = std::max(0, int((r - 0.3) * kRate)); i < std::min(n, int((r + 0.6) * kRate));
             ++i) {
            const double t = double(i) / kRate - r;
            v[size_t(i)] += amplitude * std::exp(-std::pow(t / 0.012, 2.0))
                - 0.15 * amplitude * std::exp(-std::pow((t + 0.025) / 0.008, 2.0))
                + tAmplitude * std::exp(-std::pow((t - 0.25) / 0.04, 2.0));
        }
    }
    std::vector<qint16> out(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i)
        out[size_t(i)] = qint16(std::lround(v[size_t(i)]));
    return out;
}

inline std::vector<double> regular(double first, double rr, double until)
{
    std::vector<double> t;
    for (double x = first; x < until; x += rr)
        t.push_back(x);
    return t;
}

// Runs the detector over a whole source as the processing driver does.
struct DetectionRun
{
    explicit DetectionRun(MemorySource& source, int forcedChannel = -1, double startTime = 0.0)
        : bank(&source)
        , detector(&bank, &beats)
    {
        detector.init(&source, startTime, 0.0, forcedChannel);
        const double duration = double(source.sampleCount()) / source.samplingRate();
        while (detector.currentTime() < duration)
            detector.processBlock();
        detector.finish();
    }

    std::vector<double> beatTimes() const
    {
        std::vector<double> t;
        for (const Beat& b : beats.beats())
            if (b.isBeat)
                t.push_back(b.timing[Beat::RTime]);
        return t;
    }

    WaveletBank bank;
    MemoryBeatList beats;
    WaveletBeatDetector detector;
};

} // namespace detecttest
