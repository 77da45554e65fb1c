#include "recordingfake.h"

#include "results/model/trend.h"
#include "results/qtanalyzer.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace recordingfake;

namespace {

struct CorrectionCase
{
    const char* name;
    int formula;
    double qt;
    double rr;
    double expected; // worked out by hand
};

class QTCorrection : public ::testing::TestWithParam<CorrectionCase>
{
};

TEST_P(QTCorrection, MatchesHandComputation)
{
    const CorrectionCase& c = GetParam();
    EXPECT_NEAR(QTAnalyzer::correct(c.qt, c.rr, c.formula), c.expected, 2e-6) << c.name;
}

INSTANTIATE_TEST_SUITE_P(Formulas, QTCorrection,
    ::testing::Values(
        // 0.4 / sqrt(0.64) = 0.4 / 0.8
        CorrectionCase { "Bazett", 0, 0.400, 0.64, 0.5 },
        // at RR 1 s no correction
        CorrectionCase { "Bazett at 60 bpm", 0, 0.380, 1.0, 0.380 },
        // cube root of 0.512 is 0.8 (the exponent 0.333333 moves it by under 1e-7)
        CorrectionCase { "Fridericia", 1, 0.400, 0.512, 0.5 },
        // 60 / 0.75 = 80 bpm: (80 - 60) * 1.75 ms = 35 ms
        CorrectionCase { "Hodges", 2, 0.400, 0.75, 0.435 },
        // 0.25 * 0.154 = 38.5 ms
        CorrectionCase { "Framingham", 3, 0.400, 0.75, 0.4385 },
        // log10(600) / log10(600) = 1: at RR 600 ms the logarithmic QTc equals QT
        CorrectionCase { "Logarithmic at 600 ms", 100, 0.400, 0.6, 0.400 },
        // 2.7781513 / 3 * 0.4 = 0.3704202
        CorrectionCase { "Logarithmic at 1 s", 100, 0.400, 1.0, 0.3704202 },
        CorrectionCase { "Unknown formula", 7, 0.400, 0.8, 0.0 }),
    [](const ::testing::TestParamInfo<CorrectionCase>& info) {
        std::string n = info.param.name;
        for (char& ch : n)
            if (!std::isalnum(static_cast<unsigned char>(ch)))
                ch = '_';
        return n;
    });

double valueOf(const QTAnalyzer& a, const char* name)
{
    const auto it = a.results().find(name);
    const auto* v
        = it == a.results().end() ? nullptr : dynamic_cast<ValueResult*>(it->second.get());
    return v ? v->value : -1.0;
}

const TTrend* trendOf(const QTAnalyzer& a, const char* name)
{
    const auto it = a.results().find(name);
    return it == a.results().end() ? nullptr : dynamic_cast<TTrend*>(it->second.get());
}

class QTAnalyzerTest : public ::testing::Test
{
protected:
    QTAnalyzerTest()
        : recording(3600.0, 2, 500)
    {
        analyzer.beginRecording(recording);
    }

    // Channel 0 gets the full limits; channel 1 the same but without a T end.
    void add(double time, int beats, double rr, const Limits& limits)
    {
        AverageBeatDelineator d0, d1;
        limits.applyTo(d0);
        Limits noT = limits;
        noT.tEnd = 0;
        noT.applyTo(d1);
        analyzer.addAverage(time, average(beats, rr, 500), { &d0, &d1 });
    }

    Recording recording;
    QTAnalyzer analyzer { QTAnalyzer::Bazett };
};

TEST_F(QTAnalyzerTest, TrendsInWholeMillisecondsAndCorrectionOfTheMedians)
{
    // At 500 Hz: QT = (tEnd - qrsOnset) / 500, QRS = (qrsEnd - qrsOnset) / 500.
    Limits l;
    l.qrsOnset = 100;
    l.qrsEnd = 150; // QRS 100 ms
    l.tPeak = 250;
    l.tEnd = 290; // QT 380 ms, peak to end 80 ms
    add(20.0, 5, 0.81, l);
    l.qrsEnd = 145; // QRS 90 ms
    l.tEnd = 300; // QT 400 ms, peak to end 100 ms
    add(40.0, 6, 0.64, l);
    l.qrsEnd = 155; // QRS 110 ms
    l.tEnd = 310; // QT 420 ms, peak to end 120 ms
    add(60.0, 9, 1.0, l);
    analyzer.finishRecording();

    const TTrend* rr = trendOf(analyzer, "RRTrend");
    ASSERT_TRUE(rr);
    ASSERT_EQ(rr->size(), 3);
    EXPECT_DOUBLE_EQ(rr->timeAt(1), 40.0);
    EXPECT_DOUBLE_EQ(rr->valueAt(0), 810.0);
    EXPECT_DOUBLE_EQ(rr->valueAt(1), 640.0);

    const TTrend* qt = trendOf(analyzer, "QTTrend(0)");
    ASSERT_TRUE(qt);
    ASSERT_EQ(qt->size(), 3);
    EXPECT_DOUBLE_EQ(qt->valueAt(0), 380.0);
    EXPECT_DOUBLE_EQ(qt->valueAt(2), 420.0);
    // QTc of each point: 0.38/0.9 = 0.42222, 0.40/0.8 = 0.5, 0.42/1 = 0.42, truncated.
    const TTrend* qtc = trendOf(analyzer, "QTcTrend(0)");
    ASSERT_TRUE(qtc);
    ASSERT_EQ(qtc->size(), 3);
    EXPECT_DOUBLE_EQ(qtc->valueAt(0), 422.0);
    EXPECT_DOUBLE_EQ(qtc->valueAt(1), 500.0);
    EXPECT_DOUBLE_EQ(qtc->valueAt(2), 420.0);

    // Medians: RR 0.81, QT 0.40. QTc is Bazett of these, 0.4 / 0.9 = 0.4444 -> 444, and not
    // the median of the corrected values (422).
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "RRIntervalAvg"), 810.0);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "QTIntervalAvg(0)"), 400.0);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "QTcIntervalAvg(0)"), 444.0);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "QRSIntervalAvg(0)"), 100.0);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "TPeakToEndIntervalAvg(0)"), 100.0);
    // tOnset is never found, so no T duration.
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "TDurationAvg(0)"), 0.0);
}

TEST_F(QTAnalyzerTest, ChannelWithoutTEndStillCountsItsQrs)
{
    Limits l;
    l.qrsOnset = 100;
    l.qrsEnd = 150;
    l.tEnd = 300;
    for (int i = 1; i <= 3; ++i)
        add(20.0 * i, 5, 0.8, l);
    analyzer.finishRecording();

    EXPECT_EQ(trendOf(analyzer, "QTTrend(1)")->size(), 0);
    EXPECT_EQ(trendOf(analyzer, "QTcTrend(1)")->size(), 0);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "QTIntervalAvg(1)"), 0.0);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "QTcIntervalAvg(1)"), 0.0);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "QRSIntervalAvg(1)"), 100.0);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "QTIntervalAvg(0)"), 400.0);
}

TEST_F(QTAnalyzerTest, AveragesThatCannotBeMeasuredAddNothing)
{
    Limits l;
    l.qrsOnset = 100;
    l.qrsEnd = 150;
    l.tEnd = 300;
    add(20.0, 4, 0.8, l); // too few beats in the average
    add(40.0, 12, 0.0, l); // no RR
    Limits late = l;
    late.tEnd = 90; // T end before the QRS onset
    late.qrsEnd = 100; // QRS end not after its onset
    add(60.0, 12, 0.8, late);
    Limits noOnset = l;
    noOnset.qrsOnset = 0;
    add(80.0, 12, 0.8, noOnset);

    // Only the last two reach the RR trend; none gives QT or QRS.
    EXPECT_EQ(trendOf(analyzer, "RRTrend")->size(), 2);
    EXPECT_EQ(trendOf(analyzer, "QTTrend(0)")->size(), 0);
    analyzer.finishRecording();
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "QRSIntervalAvg(0)"), 0.0);
}

TEST_F(QTAnalyzerTest, TwoPointsGiveNoMedian)
{
    Limits l;
    l.qrsOnset = 100;
    l.qrsEnd = 150;
    l.tEnd = 300;
    add(20.0, 5, 0.8, l);
    add(40.0, 5, 0.8, l);
    analyzer.finishRecording();
    EXPECT_EQ(trendOf(analyzer, "QTTrend(0)")->size(), 2);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "QTIntervalAvg(0)"), 0.0);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "RRIntervalAvg"), 0.0);
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "QTcIntervalAvg(0)"), 0.0);
}

TEST(QTAnalyzerFormula, FinalValueUsesTheFormulaItWasBuiltWith)
{
    Recording recording(600.0, 1, 500);
    QTAnalyzer analyzer(QTAnalyzer::Framingham);
    analyzer.beginRecording(recording);
    Limits l;
    l.qrsOnset = 100;
    l.tEnd = 300; // 0.4 s
    AverageBeatDelineator d;
    l.applyTo(d);
    for (int i = 1; i <= 3; ++i)
        analyzer.addAverage(20.0 * i, average(5, 0.75, 500, 1), { &d });
    analyzer.finishRecording();
    // Framingham at RR 0.75: 0.4 + 0.25 * 0.154 = 0.4385 -> 438
    EXPECT_DOUBLE_EQ(valueOf(analyzer, "QTcIntervalAvg(0)"), 438.0);
}

} // namespace
