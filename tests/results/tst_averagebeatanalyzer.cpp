#include "analysis/recentbeatwindow.h"
#include "fakebeats.h"
#include "results/pranalyzer.h"
#include "results/qtanalyzer.h"
#include "results/stanalyzer.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace fakebeats;

namespace {

// 200 Hz, 1 uV per unit: R every 0.75 s from 1.0 s, each followed by a plateau of 100 units
// (0.1 mV, 1 mm of ST elevation) from 50 ms to 200 ms after R.
class PlateauSignal : public SignalSource
{
public:
    static constexpr int kRate = 200;

    PlateauSignal()
        : SignalSource(1, kRate, 512)
    {
        const qint64 n = 120 * kRate;
        setSampleCount(n);
        setBlockCount(int((n + blockSize() - 1) / blockSize()));
        setGainRange(-32.768, 32.768); // 65.536 mV over 2^16 steps: 0.001 mV per unit
    }
    ~PlateauSignal() override { releaseAllBlocks(); }
    qint16* loadBlock(int, int block) override
    {
        auto* out = new qint16[size_t(blockSize())]();
        for (int i = 0; i < blockSize(); ++i) {
            const double t = double(qint64(block) * blockSize() + i) / kRate;
            const double sinceR = t - (1.0 + 0.75 * std::floor((t - 1.0) / 0.75));
            out[i] = (t >= 1.0 && sinceR >= 0.05 && sinceR < 0.2) ? 100 : 0;
        }
        return out;
    }
};

Beat beatAt(SignalSource* source, int index, double r)
{
    Beat b;
    b.index = index;
    b.source = source; // gives the channel count that the measures need
    b.windowStart = r - 0.2;
    b.windowLength = 0.5;
    b.setTiming(Beat::RTime, r);
    b.setTiming(Beat::RR, 0.75);
    b.setTiming(Beat::MedianRR, 0.75);
    b.setChannelMeasure(0, Beat::HasQrs, 1.0);
    b.setChannelMeasure(0, Beat::RPeak, r);
    b.setChannelMeasure(0, Beat::QrsPolarity, 1.0);
    b.setChannelMeasure(0, Beat::QrsDuration, 0.08);
    b.type = BeatN;
    return b;
}

// Counts, RR, rate and gain come from the window and its source, the samples from its average.
TEST(AverageBeatAnalyzer, ReadsTheAccumulator)
{
    PlateauSignal signal;
    Beats recording(120.0, 1, 500); // its rate must not be the one used
    RecentBeatWindow window(20.0, false, &signal);
    PRAnalyzer pr;
    QTAnalyzer qt(QTAnalyzer::Bazett);
    STAnalyzer st(1.0, 1.0);
    for (ResultAnalyzer* a : std::initializer_list<ResultAnalyzer*> { &pr, &qt, &st })
        a->beginRecording(recording);

    // Peak at sample 60 of the average: baseline 48 lies 60 ms before R, point 72 lies 60 ms
    // after it, on the plateau.
    AverageBeatDelineator d;
    d.pOnset = 30;
    d.qrsOnset = 50;
    d.qrsEnd = 68;
    d.tEnd = 130;
    // Four beats are not enough for a measurement; ten are.
    for (int beats : { 4, 10 }) {
        for (int i = window.heldBeats(); i < beats; ++i)
            window.push(beatAt(&signal, i, 1.0 + 0.75 * i));
        for (ResultAnalyzer* a : std::initializer_list<ResultAnalyzer*> { &pr, &qt, &st })
            a->addAverageBeat(beats * 2.0, window, { &d });
    }
    const TTrend* trends[] = { resultOf<TTrend>(pr, "PRTrend(0)"), resultOf<TTrend>(qt, "RRTrend"),
        resultOf<TTrend>(qt, "QTTrend(0)"), resultOf<TTrend>(st, "STLevelTrend(0)") };
    // PR 20 samples at 200 Hz; RR 0.75 s (exact in binary); QT 80 samples; ST 100 units *
    // 0.001 mV * 10 mm/mV.
    const double expected[] = { 100.0, 750.0, 400.0, 1.0 };
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(trends[i]->size(), 1) << i;
        EXPECT_NEAR(trends[i]->valueAt(0), expected[i], 1e-9) << i;
    }
}

} // namespace
