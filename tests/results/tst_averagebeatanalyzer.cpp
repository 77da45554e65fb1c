#include "recordingfake.h"

#include "analysis/recentbeatwindow.h"
#include "results/model/trend.h"
#include "results/pranalyzer.h"
#include "results/qtanalyzer.h"
#include "results/stanalyzer.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace recordingfake;

namespace {

// 200 Hz, one channel, 1 uV per unit: beats every 0.75 s from R = 1.0 s, each with a plateau
// of 100 units from 50 ms to 200 ms after R (an ST elevation of 0.1 mV, 1 mm) and 0 elsewhere.
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

// The whole road from the accumulator: counts, RR, rate and gain come from the window and
// its source, the samples from its average.
TEST(AverageBeatAnalyzer, ReadsTheAccumulator)
{
    PlateauSignal signal;
    Recording recording(120.0, 1, 500); // its rate must not be the one used
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
    for (int i = 0; i < 4; ++i)
        window.push(beatAt(&signal, i, 1.0 + 0.75 * i));
    for (ResultAnalyzer* a : std::initializer_list<ResultAnalyzer*> { &pr, &qt, &st })
        a->addAverageBeat(10.0, window, { &d });
    // Four beats: not enough for a measurement.
    EXPECT_EQ(dynamic_cast<TTrend*>(qt.results().at("RRTrend").get())->size(), 0);

    for (int i = 4; i < 10; ++i)
        window.push(beatAt(&signal, i, 1.0 + 0.75 * i));
    for (ResultAnalyzer* a : std::initializer_list<ResultAnalyzer*> { &pr, &qt, &st })
        a->addAverageBeat(20.0, window, { &d });

    const TTrend& prTrend = *dynamic_cast<TTrend*>(pr.results().at("PRTrend(0)").get());
    ASSERT_EQ(prTrend.size(), 1);
    EXPECT_DOUBLE_EQ(prTrend.valueAt(0), 100.0); // 20 samples at 200 Hz
    const TTrend& rr = *dynamic_cast<TTrend*>(qt.results().at("RRTrend").get());
    ASSERT_EQ(rr.size(), 1);
    EXPECT_DOUBLE_EQ(rr.valueAt(0), 750.0); // 0.75 s is exact in binary, so no truncation loss
    const TTrend& qtTrend = *dynamic_cast<TTrend*>(qt.results().at("QTTrend(0)").get());
    ASSERT_EQ(qtTrend.size(), 1);
    EXPECT_DOUBLE_EQ(qtTrend.valueAt(0), 400.0); // 80 samples
    const TTrend& level = *dynamic_cast<TTrend*>(st.results().at("STLevelTrend(0)").get());
    ASSERT_EQ(level.size(), 1);
    EXPECT_NEAR(level.valueAt(0), 1.0, 1e-9); // 100 units * 0.001 mV * 10 mm/mV
}

} // namespace
