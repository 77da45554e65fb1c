// Beat detection as the processing driver runs it (250 Hz ResampledSource, wavelet bank,
// WaveletBeatDetector) over a synthetic 3-channel 500 Hz recording made on the fly, so the
// recording itself never sits in memory. Prints wall time, beats found and peak RSS.
//   bench_detect [hours...]   (default: 6 24; goal for 24 h: 8 s, memory flat in length)

#include "analysis/resampledsource.h"
#include "analysis/waveletbank.h"
#include "analysis/waveletbeatdetector.h"
#include "benchutil.h"
#include "store/beatlist.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <vector>

namespace {

// Keeps only the newest entries (detection reads a few dozen back at most), so that the
// figure of memory shows the detector's own needs and not the list's, which on disk is a file.
class RecentBeatList : public BeatList
{
public:
    static constexpr int kKept = 256;
    int count() const override { return m_count; }
    void clear() override
    {
        m_recent.clear();
        m_count = 0;
    }
    bool get(int index, Beat& beat) override
    {
        const int first = m_count - int(m_recent.size());
        if (index < first || index >= m_count)
            return false;
        beat = m_recent[size_t(index - first)];
        return true;
    }
    int append(const Beat& beat) override
    {
        m_recent.push_back(beat);
        if (m_recent.size() > size_t(kKept))
            m_recent.pop_front();
        if (beat.isBeat)
            ++beats;
        return m_count++;
    }
    void replace(const Beat& beat) override
    {
        const int first = m_count - int(m_recent.size());
        if (beat.index >= first && beat.index < m_count)
            m_recent[size_t(beat.index - first)] = beat;
    }
    int beats = 0; // appended as beats (later corrections not counted)

private:
    std::deque<Beat> m_recent;
    int m_count = 0;
};

// Beats with a slowly varying rate (60 to 90 bpm over a 10-minute cycle); every sample is a
// pure function of its index, so any block can be made at any time.
class SyntheticCard : public SignalSource
{
public:
    static constexpr int kRate = 500;

    explicit SyntheticCard(double hours)
        : SignalSource(3, kRate, 4096)
    {
        const qint64 n = qint64(hours * 3600.0 * kRate);
        setSampleCount(n);
        setBlockCount(int((n + blockSize() - 1) / blockSize()));
        setResolution(12);
        // One beat shape sampled finely: Q dip, R, S, T.
        for (int i = 0; i < kShape; ++i) {
            const double t = double(i) / kRate - 0.3;
            m_shape.push_back(1000.0 * std::exp(-std::pow(t / 0.011, 2.0))
                - 120.0 * std::exp(-std::pow((t + 0.022) / 0.007, 2.0))
                - 200.0 * std::exp(-std::pow((t - 0.024) / 0.008, 2.0))
                + 260.0 * std::exp(-std::pow((t - 0.27) / 0.045, 2.0)));
        }
    }
    ~SyntheticCard() override { releaseAllBlocks(); }

    qint16* loadBlock(int channel, int block) override
    {
        const double gain[3] = { 1.0, -0.55, 0.75 };
        auto* out = new qint16[size_t(blockSize())];
        const qint64 first = qint64(block) * blockSize();
        quint32 noise = quint32(first * 2654435761u) ^ quint32(channel * 40503u);
        for (int i = 0; i < blockSize(); ++i) {
            const qint64 idx = first + i;
            noise = noise * 1664525u + 1013904223u;
            const double t = double(idx) / kRate;
            const double wander = 150.0 * std::sin(2.0 * M_PI * 0.25 * t);
            out[i] = idx < sampleCount()
                ? qint16(gain[channel] * beatAt(idx) + wander + double(noise >> 28) - 8.0)
                : qint16(0);
        }
        return out;
    }

private:
    static constexpr int kShape = 400; // 0.8 s around the R peak

    // The beat waveform at sample idx: beats follow a phase that advances with the rate.
    double beatAt(qint64 idx) const
    {
        const double t = double(idx) / kRate;
        const double bpm = 75.0 + 15.0 * std::sin(2.0 * M_PI * t / 600.0);
        // Phase integrated in closed form: 75 t + 15 * 600 / (2 pi) (1 - cos(2 pi t / 600)).
        const double beats
            = (75.0 * t + 15.0 * 600.0 / (2.0 * M_PI) * (1.0 - std::cos(2.0 * M_PI * t / 600.0)))
            / 60.0;
        const double frac = beats - std::floor(beats);
        const int offset = int(frac * 60.0 / bpm * kRate) - 150; // R 0.3 s into the shape
        return offset >= 0 && offset < kShape ? m_shape[size_t(offset)] : 0.0;
    }

    std::vector<double> m_shape;
};

void run(double hours)
{
    bench::Stopwatch clock;
    SyntheticCard card(hours);
    ResampledSource source(&card, 250);
    WaveletBank bank(&source);
    RecentBeatList beats;
    WaveletBeatDetector detector(&bank, &beats);
    detector.init(&source, 0.0, 0.0, -1);
    const double duration = double(source.sampleCount()) / source.samplingRate();
    while (detector.currentTime() < duration)
        detector.processBlock();
    detector.finish();
    std::printf("detect %5.1f h x 3 ch: %6.2f s, %d entries (%d appended as beats), peak RSS "
                "%.1f MB\n",
        hours, clock.seconds(), beats.count(), beats.beats, bench::peakRssMb());
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
        run(h);
    return 0;
}
