#include "fakebeats.h"
#include "results/qtanalyzer.h"

#include <gtest/gtest.h>

using namespace fakebeats;

namespace {

TEST(QTAnalyzer, CorrectionFormulasByHand)
{
    const struct
    {
        int formula;
        double qt, rr, expected;
    } rows[] = {
        { 0, 0.400, 0.64, 0.5 }, // Bazett: 0.4 / sqrt(0.64)
        { 1, 0.400, 0.512, 0.5 }, // Fridericia: cube root of 0.512 is 0.8
        { 2, 0.400, 0.75, 0.435 }, // Hodges: 80 bpm, (80 - 60) * 1.75 ms
        { 3, 0.400, 0.75, 0.4385 }, // Framingham: 0.25 * 0.154
        { 100, 0.400, 1.0, 0.3704202 }, // log10(600) / 3 * 0.4
        { 7, 0.400, 0.8, 0.0 }, // unknown formula
    };
    for (const auto& c : rows)
        EXPECT_NEAR(QTAnalyzer::correct(c.qt, c.rr, c.formula), c.expected, 2e-6) << c.formula;
}

// Averages at 500 Hz; channel 0 gets the limits, channel 1 the same without a T end.
void add(QTAnalyzer& a, double time, int beats, double rr, AverageBeatDelineator d0)
{
    AverageBeatDelineator d1 = d0;
    d1.tEnd = 0;
    a.addAverage(time, average(beats, rr, 500), { &d0, &d1 });
}

AverageBeatDelineator qrs(int onset, int end, int tEnd, int tPeak = 0)
{
    AverageBeatDelineator l;
    l.qrsOnset = onset;
    l.qrsEnd = end;
    l.tEnd = tEnd;
    l.tPeak = tPeak;
    return l;
}

TEST(QTAnalyzer, TrendsInWholeMillisecondsAndCorrectionOfTheMedians)
{
    Beats recording(3600.0, 2, 500);
    QTAnalyzer a(QTAnalyzer::Bazett);
    a.beginRecording(recording);
    add(a, 20.0, 5, 0.81, qrs(100, 150, 290, 250)); // QT 380, QRS 100, peak to end 80 ms
    add(a, 40.0, 6, 0.64, qrs(100, 145, 300, 250)); // QT 400, QRS 90, peak to end 100 ms
    add(a, 60.0, 9, 1.0, qrs(100, 155, 310, 250)); // QT 420, QRS 110, peak to end 120 ms
    a.finishRecording();

    const TTrend* rr = resultOf<TTrend>(a, "RRTrend");
    ASSERT_EQ(rr->size(), 3);
    EXPECT_DOUBLE_EQ(rr->timeAt(1), 40.0);
    EXPECT_DOUBLE_EQ(rr->valueAt(0), 810.0);
    const TTrend* qt = resultOf<TTrend>(a, "QTTrend(0)");
    ASSERT_EQ(qt->size(), 3);
    EXPECT_DOUBLE_EQ(qt->valueAt(0), 380.0);
    // Each point: 0.38 / 0.9 = 0.42222, 0.40 / 0.8 = 0.5, 0.42 / 1 = 0.42, truncated.
    const TTrend* qtc = resultOf<TTrend>(a, "QTcTrend(0)");
    ASSERT_EQ(qtc->size(), 3);
    EXPECT_DOUBLE_EQ(qtc->valueAt(0), 422.0);
    EXPECT_DOUBLE_EQ(qtc->valueAt(1), 500.0);
    EXPECT_DOUBLE_EQ(qtc->valueAt(2), 420.0);
    // Medians RR 0.81, QT 0.40; QTc is Bazett of these (0.4 / 0.9 -> 444), not the median of
    // the corrected values (422).
    EXPECT_DOUBLE_EQ(valueOf(a, "RRIntervalAvg"), 810.0);
    EXPECT_DOUBLE_EQ(valueOf(a, "QTIntervalAvg(0)"), 400.0);
    EXPECT_DOUBLE_EQ(valueOf(a, "QTcIntervalAvg(0)"), 444.0);
    EXPECT_DOUBLE_EQ(valueOf(a, "QRSIntervalAvg(0)"), 100.0);
    EXPECT_DOUBLE_EQ(valueOf(a, "TPeakToEndIntervalAvg(0)"), 100.0);
    EXPECT_DOUBLE_EQ(valueOf(a, "TDurationAvg(0)"), 0.0); // tOnset never found
    // Channel 1 has no T end: no QT, but its QRS counts.
    EXPECT_EQ(resultOf<TTrend>(a, "QTTrend(1)")->size(), 0);
    EXPECT_DOUBLE_EQ(valueOf(a, "QTcIntervalAvg(1)"), 0.0);
    EXPECT_DOUBLE_EQ(valueOf(a, "QRSIntervalAvg(1)"), 100.0);
}

TEST(QTAnalyzer, AveragesThatCannotBeMeasuredAddNothing)
{
    Beats recording(3600.0, 2, 500);
    QTAnalyzer a(QTAnalyzer::Bazett);
    a.beginRecording(recording);
    add(a, 20.0, 4, 0.8, qrs(100, 150, 300)); // too few beats
    add(a, 40.0, 12, 0.0, qrs(100, 150, 300)); // no RR
    add(a, 60.0, 12, 0.8, qrs(100, 100, 90)); // QRS end not after onset, T end before it
    add(a, 80.0, 12, 0.8, qrs(0, 150, 300)); // no QRS onset
    EXPECT_EQ(resultOf<TTrend>(a, "RRTrend")->size(), 2); // the last two only
    EXPECT_EQ(resultOf<TTrend>(a, "QTTrend(0)")->size(), 0);
    a.finishRecording();
    EXPECT_DOUBLE_EQ(valueOf(a, "QRSIntervalAvg(0)"), 0.0);
}

// Two points give no median; the final QTc uses the formula the analyzer was built with.
TEST(QTAnalyzer, MediansNeedThreePointsAndUseTheChosenFormula)
{
    for (int points : { 2, 3 }) {
        Beats recording(600.0, 2, 500);
        QTAnalyzer a(QTAnalyzer::Framingham);
        a.beginRecording(recording);
        for (int i = 1; i <= points; ++i)
            add(a, 20.0 * i, 5, 0.75, qrs(100, 150, 300)); // QT 0.4 s
        a.finishRecording();
        EXPECT_EQ(resultOf<TTrend>(a, "QTTrend(0)")->size(), points);
        // Framingham at RR 0.75: 0.4 + 0.25 * 0.154 = 0.4385 -> 438
        EXPECT_DOUBLE_EQ(valueOf(a, "QTcIntervalAvg(0)"), points == 3 ? 438.0 : 0.0);
        EXPECT_DOUBLE_EQ(valueOf(a, "RRIntervalAvg"), points == 3 ? 750.0 : 0.0);
    }
}

} // namespace
