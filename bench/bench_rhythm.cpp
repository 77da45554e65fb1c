// Rhythm analyzers over a synthetic day: ectopy, bigeminy, trigeminy, pauses, brady/tachy and
// atrial fibrillation, each timed on its own pass over the beats. AF re-walks the 30 s around
// every beat, so it is the one to watch.
//   bench_rhythm [hours]   (default: 24)

#include "analysis/memorybeatlist.h"
#include "benchutil.h"
#include "results/afibanalyzer.h"
#include "results/arrhythmiaanalyzer.h"
#include "results/bigeminyanalyzer.h"
#include "results/ectopyanalyzer.h"
#include "results/pauseanalyzer.h"
#include "results/trigeminyanalyzer.h"
#include "store/signalsource.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>

namespace {

class NoSignal : public SignalSource
{
public:
    explicit NoSignal(double seconds)
        : SignalSource(3, 500, 4096)
    {
        setSampleCount(qint64(seconds * 500.0));
    }
    qint16* loadBlock(int, int) override { return nullptr; }
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
    const double seconds = hours * 3600.0;
    NoSignal signal(seconds);
    Beats beats(&signal);

    // Alternating hours of sinus rhythm with 3 % V beats and of irregular AF-like intervals.
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    double r = 0.5;
    double prev = -1.0;
    while (r < seconds) {
        const bool af = int(r / 3600.0) % 2 == 1;
        Beat b;
        b.index = beats.count();
        b.source = &signal;
        b.windowStart = r - 0.2;
        b.windowLength = 0.5;
        b.setTiming(Beat::RTime, r);
        b.setTiming(Beat::RR, prev < 0.0 ? 0.0 : r - prev);
        b.setTiming(Beat::MedianRR, 0.8);
        b.type = !af && unit(rng) < 0.03 ? BeatV : BeatN;
        for (int c = 0; c < 3; ++c)
            b.setChannelMeasure(c, Beat::PPolarity, af ? 0.0 : 1.0);
        beats.append(b);
        prev = r;
        r += af ? 0.45 + 0.5 * unit(rng) : 0.8;
    }
    std::printf("bench_rhythm: %.1f h, %d beats\n", hours, beats.count());

    struct Entry
    {
        const char* name;
        std::unique_ptr<ResultAnalyzer> analyzer;
    };
    Entry entries[] = { { "PVC", std::make_unique<EctopyAnalyzer>(BeatV) },
        { "bigeminy", std::make_unique<BigeminyAnalyzer>() },
        { "trigeminy", std::make_unique<TrigeminyAnalyzer>() },
        { "pause", std::make_unique<PauseAnalyzer>(2.0) },
        { "arrhythmia", std::make_unique<ArrhythmiaAnalyzer>(40, 120, 5.0) },
        { "afib", std::make_unique<AFibAnalyzer>() } };
    for (Entry& e : entries) {
        bench::Stopwatch watch;
        e.analyzer->beginRecording(beats);
        Beat b;
        for (int i = 0; beats.get(i, b); ++i)
            e.analyzer->addBeat(b);
        e.analyzer->finishRecording();
        std::printf("  %-10s %8.3f s\n", e.name, watch.seconds());
    }
    const auto& res = entries[5].analyzer->results();
    const auto* total = dynamic_cast<const ValueResult*>(res.at("afibTotalTime").get());
    std::printf(
        "  afib total %.0f s of %.0f s irregular\n", total ? total->value : -1.0, seconds / 2.0);
    std::printf("  peak memory %.1f MB\n", bench::peakRssMb());
    return 0;
}
