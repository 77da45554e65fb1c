// Reads every block of W1..W4 and the band-pass of a synthetic 3-channel 500 Hz recording
// through a 250 Hz ResampledSource, as beat detection does. Prints wall time and peak RSS.
//   bench_wavelet [hours...]   (default: 6 24)

#include "analysis/resampledsource.h"
#include "analysis/waveletbank.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

// ECG-like samples made on the fly, so the recording never sits in memory: one beat template
// (QRS and T wave) repeated at 72 bpm, a slow respiratory baseline and a little noise.
class SyntheticSource : public SignalSource
{
public:
    static constexpr int kRate = 500;
    static constexpr int kBeat = 417; // samples per beat, about 72 bpm

    explicit SyntheticSource(double hours)
        : SignalSource(3, kRate, 4096)
    {
        const qint64 n = qint64(hours * 3600.0 * kRate);
        setSampleCount(n);
        setBlockCount(int((n + blockSize() - 1) / blockSize()));
        setGainRange(-450.0, 450.0);
        for (int i = 0; i < kBeat; ++i) {
            const double t = double(i) / kRate;
            const double qrs = 1200.0 * std::exp(-std::pow((t - 0.20) / 0.012, 2.0));
            const double q = -150.0 * std::exp(-std::pow((t - 0.18) / 0.008, 2.0));
            const double tw = 300.0 * std::exp(-std::pow((t - 0.45) / 0.05, 2.0));
            m_beat.push_back(qrs + q + tw);
        }
        const int wanderPeriod = kRate * 5; // 0.2 Hz
        for (int i = 0; i < wanderPeriod; ++i)
            m_wander.push_back(250.0 * std::sin(2.0 * M_PI * i / wanderPeriod));
    }
    ~SyntheticSource() override { releaseAllBlocks(); }

    qint16* loadBlock(int channel, int block) override
    {
        const double gain[3] = { 1.0, -0.6, 0.8 };
        auto* out = new qint16[size_t(blockSize())];
        const qint64 first = qint64(block) * blockSize();
        quint32 noise = quint32(first * 2654435761u) ^ quint32(channel * 40503);
        for (int i = 0; i < blockSize(); ++i) {
            const qint64 idx = first + i;
            noise = noise * 1664525u + 1013904223u;
            const double v = gain[channel] * m_beat[size_t(idx % kBeat)]
                + m_wander[size_t(idx % qint64(m_wander.size()))] + double(noise >> 28) - 8.0;
            out[i] = idx < sampleCount() ? qint16(v) : qint16(0);
        }
        return out;
    }

private:
    std::vector<double> m_beat;
    std::vector<double> m_wander;
};

long peakRssKiB()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmHWM:", 0) == 0)
            return std::strtol(line.c_str() + 6, nullptr, 10);
    return -1;
}

void run(double hours)
{
    const auto start = std::chrono::steady_clock::now();
    SyntheticSource raw(hours);
    ResampledSource at250(&raw, 250);
    WaveletBank bank(&at250);
    double check = 0.0;
    for (int b = 0; b < at250.blockCount(); ++b) {
        for (int c = 0; c < at250.channelCount(); ++c) {
            for (int level = 1; level <= WaveletBank::kScales; ++level) {
                FilteredSourceF64* w = bank.scale(level);
                if (const double* d = w->getBlockF64(c, b)) {
                    check += d[b % w->blockSize()];
                    w->releaseBlockF64(c, b);
                }
            }
            if (const qint16* p = bank.bandPass()->getBlock(c, b)) {
                check += p[b % bank.bandPass()->blockSize()];
                bank.bandPass()->releaseBlock(c, b);
            }
        }
    }
    const double seconds
        = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("%5.1f h: %d blocks x 3 channels at 250 Hz, %.2f s wall, peak RSS %ld MiB "
                "(checksum %.1f)\n",
        hours, at250.blockCount(), seconds, peakRssKiB() / 1024, check);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<double> hours;
    for (int i = 1; i < argc; ++i)
        hours.push_back(std::atof(argv[i]));
    if (hours.empty())
        hours = { 6.0, 24.0 };
    for (double h : hours)
        if (h > 0.0)
            run(h);
    return 0;
}
