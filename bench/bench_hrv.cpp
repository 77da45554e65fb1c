// HRV of a synthetic day: NN selection over every beat, then the time domain, the exhaustive
// TINN fit and the order-32 Burg spectra of the whole recording and of each hour. Also the
// TINN fit alone on its worst histogram (peak in the middle of the 384 bins).
//   bench_hrv [hours]   (default: 24)

#include "analysis/memorybeatlist.h"
#include "benchutil.h"
#include "results/hrvanalyzer.h"
#include "results/hrvtimedomain.h"
#include "store/signalsource.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace {

class FlatSignal : public SignalSource
{
public:
    explicit FlatSignal(double seconds)
        : SignalSource(3, 500, 4096)
    {
        const qint64 n = qint64(seconds * 500.0);
        setSampleCount(n);
        setBlockCount(int((n + blockSize() - 1) / blockSize()));
    }
    ~FlatSignal() override { releaseAllBlocks(); }
    qint16* loadBlock(int, int) override { return new qint16[size_t(blockSize())](); }
};

class Beats : public MemoryBeatList
{
public:
    explicit Beats(SignalSource* s)
        : m_signal(s)
    {
    }
    SignalSource* signalSource() const override { return m_signal; }

private:
    SignalSource* m_signal;
};

} // namespace

int main(int argc, char** argv)
{
    const double hours = argc > 1 ? std::atof(argv[1]) : 24.0;
    FlatSignal signal(hours * 3600.0);
    Beats beats(&signal);
    std::mt19937 gen(1);
    std::normal_distribution<double> noise(0.0, 0.03);
    double t = 0.5;
    for (int j = 0; t < hours * 3600.0 - 2.0; ++j) {
        const double rr = 0.85 + 0.05 * std::sin(j * 0.3) + 0.04 * std::sin(j * 0.02) + noise(gen);
        t += rr;
        Beat b;
        b.index = j;
        b.windowStart = t - 0.2;
        b.windowLength = 0.5;
        b.setTiming(Beat::RTime, t);
        b.setTiming(Beat::RR, rr);
        b.type = (j % 211 == 0) ? BeatV : BeatN;
        beats.append(b);
    }

    bench::Stopwatch all;
    HRVAnalyzer analyzer;
    analyzer.beginRecording(beats);
    Beat b;
    for (int i = 0; i < beats.count(); ++i)
        if (beats.get(i, b))
            analyzer.addBeat(b);
    const double collect = all.seconds();
    analyzer.finishRecording();
    std::printf("hrv: %.0f h, %d beats, %d NN: collect %.3f s, finish %.3f s, total %.3f s\n",
        hours, beats.count(), analyzer.nnSeries().size(), collect, all.seconds() - collect,
        all.seconds());

    // Worst case for the fit: peak at bin 192, a broad histogram.
    std::vector<int> h(384, 0);
    for (int i = 0; i < 384; ++i)
        h[size_t(i)] = int(5000.0 * std::exp(-std::pow((i - 192) / 60.0, 2.0)));
    bench::Stopwatch fit;
    const double tinn = HRVTimeDomain::tinn(h);
    std::printf("tinn worst case: %.3f s (TINN %.0f ms)\n", fit.seconds(), tinn);
    std::printf("peak RSS %.1f MB\n", bench::peakRssMb());
    return 0;
}
