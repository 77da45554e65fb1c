#include "fakebeats.h"
#include "results/pranalyzer.h"

#include <gtest/gtest.h>

using namespace fakebeats;

namespace {

AverageBeatDelineator pr(int pOnset, int qrsOnset, int pEnd = 0)
{
    AverageBeatDelineator l;
    l.pOnset = pOnset;
    l.qrsOnset = qrsOnset;
    l.pEnd = pEnd;
    return l;
}

// Averages at 500 Hz on channels 0 and 1.
void add(PRAnalyzer& a, double time, int beats, AverageBeatDelineator d0, AverageBeatDelineator d1)
{
    a.addAverage(time, average(beats, 0.8, 500), { &d0, &d1 });
}

TEST(PRAnalyzer, PerChannelTrendAndMedian)
{
    Beats recording(3600.0, 2, 500);
    PRAnalyzer a;
    a.beginRecording(recording);
    // 80 samples = 160 ms, 75 = 150 ms, 90 = 180 ms; P durations 100, 90, 120 ms; no P end on 1.
    add(a, 20.0, 5, pr(50, 130, 100), pr(50, 130));
    add(a, 40.0, 8, pr(55, 130, 100), pr(50, 130));
    add(a, 60.0, 5, pr(40, 130, 100), pr(50, 130));
    add(a, 80.0, 4, pr(50, 130), pr(50, 130)); // 4 beats: nothing at all
    add(a, 90.0, 5, pr(130, 130), pr(140, 130)); // P onset not before the QRS
    add(a, 95.0, 5, pr(50, 0), pr(0, 0)); // no QRS onset
    a.finishRecording();

    const TTrend* t0 = resultOf<TTrend>(a, "PRTrend(0)");
    ASSERT_EQ(t0->size(), 3);
    EXPECT_DOUBLE_EQ(t0->timeAt(0), 20.0);
    EXPECT_DOUBLE_EQ(t0->valueAt(0), 160.0);
    EXPECT_DOUBLE_EQ(t0->valueAt(1), 150.0);
    EXPECT_DOUBLE_EQ(t0->valueAt(2), 180.0);
    EXPECT_DOUBLE_EQ(valueOf(a, "PRIntervalAvg(0)"), 160.0);
    EXPECT_DOUBLE_EQ(valueOf(a, "PDurationAvg(0)"), 100.0); // (100 - 50), (100 - 55), (100 - 40)
    EXPECT_EQ(resultOf<TTrend>(a, "PRTrend(1)")->size(), 3);
    EXPECT_DOUBLE_EQ(valueOf(a, "PDurationAvg(1)"), 0.0);
}

} // namespace
