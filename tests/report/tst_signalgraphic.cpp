#include "analysis/memorybeatlist.h"
#include "report/signalgraphic.h"
#include "tests/report/reporttestutil.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <functional>

namespace {

using reporttest::FunctionSource;

constexpr double kPxPerMm = 10.0; // 10000 dots per metre

// The graphic painted over a whole sheet of paper of that size.
QImage painted(const SignalGraphic& g, int widthMm, int heightMm)
{
    QImage img(widthMm * 10, heightMm * 10, QImage::Format_RGB32);
    img.setDotsPerMeterX(10000);
    img.setDotsPerMeterY(10000);
    img.fill(Qt::white);
    {
        QPainter p(&img);
        g.paint(&p, img.rect());
    }
    return img;
}

bool dark(QRgb c)
{
    return qRed(c) < 100 && qGreen(c) < 100 && qBlue(c) < 100;
}
bool grayish(QRgb c)
{
    return qRed(c) < 230 && qRed(c) > 100 && !dark(c);
}

// Centres of runs of pixels along a row or column that satisfy `pick`.
QVector<double> runCentres(const QImage& img, bool alongRow, int fixed, int from, int to,
    const std::function<bool(QRgb)>& pick)
{
    QVector<double> centres;
    int start = -1;
    for (int i = from; i <= to; ++i) {
        const bool on = i < to && pick(alongRow ? img.pixel(i, fixed) : img.pixel(fixed, i));
        if (on && start < 0)
            start = i;
        if (!on && start >= 0) {
            centres.append((start + i - 1) / 2.0);
            start = -1;
        }
    }
    return centres;
}

} // namespace

// A 1 mV square wave that rises at each whole second and falls at each half second, drawn on
// an image of 10 px/mm, measures the speed in mm per second and the amplitude in mm per mV.
TEST(SignalGraphic, StripMeasuresSpeedAndAmplitudeOnThePage)
{
    FunctionSource src(1, 500, 60 * 500, [](int, qint64 i) {
        return qint16((i % 500) < 250 ? 0 : 16384); // gain range 4 mV over 16 bits: 1 mV
    });
    src.setGainRange(-2.0, 2.0);
    const struct
    {
        double speed; // mm/s
        double amplitude; // mm/mV
    } scales[] = { { 25.0, 10.0 }, { 50.0, 20.0 }, { 12.5, 5.0 } };
    for (const auto& sc : scales) {
        SCOPED_TRACE(sc.speed);
        SignalGraphic g;
        g.setSource(&src);
        g.setChannels(1);
        g.setShowGrid(false);
        g.setShowLabels(false);
        g.setSpeed(sc.speed);
        g.setAmplitude(sc.amplitude);
        g.setStartTime(2.0);
        const QImage img = painted(g, 200, 60);
        const double stripLeft = SignalGraphic::kMarginMm * kPxPerMm;
        const double zeroY = img.height() / 2.0;
        // Level lines: at a time in the low half and one in the high half of a second.
        const double xLow = stripLeft + 0.25 * sc.speed * kPxPerMm;
        const double xHigh = stripLeft + 0.75 * sc.speed * kPxPerMm;
        const auto low = runCentres(img, false, int(xLow), 0, img.height(), dark);
        const auto high = runCentres(img, false, int(xHigh), 0, img.height(), dark);
        ASSERT_EQ(low.size(), 1);
        ASSERT_EQ(high.size(), 1);
        EXPECT_NEAR(low[0], zeroY, 1.5);
        EXPECT_NEAR(low[0] - high[0], sc.amplitude * kPxPerMm, 1.5) << "mm per mV";

        // Edges: a row halfway between the levels crosses the trace at every half second.
        const int mid = int((low[0] + high[0]) / 2);
        const auto edges = runCentres(img, true, mid, int(stripLeft) + 3, img.width(), dark);
        ASSERT_GE(edges.size(), 3);
        for (int i = 1; i < edges.size(); ++i)
            EXPECT_NEAR(edges[i] - edges[i - 1], 0.5 * sc.speed * kPxPerMm, 1.5) << "mm per s";
        // The start time 2.0 puts a rising edge at the strip's left: the first inside is at 0.5 s.
        EXPECT_NEAR(edges[0], stripLeft + 0.5 * sc.speed * kPxPerMm, 1.5);

        // The calibration mark in the margin is 1 mV high.
        const auto mark = runCentres(
            img, true, int(zeroY - sc.amplitude * kPxPerMm / 2), 0, int(stripLeft), dark);
        ASSERT_EQ(mark.size(), 2);
        const auto markTop
            = runCentres(img, false, int((mark[0] + mark[1]) / 2), 0, int(zeroY) + 5, dark);
        ASSERT_GE(markTop.size(), 1);
        EXPECT_NEAR(zeroY - markTop[0], sc.amplitude * kPxPerMm, 1.5);
    }
}

TEST(SignalGraphic, GridLinesStandEveryFiveMillimetres)
{
    const QImage img = painted(SignalGraphic(), 120, 40); // no source: grid only
    const double stripLeft = SignalGraphic::kMarginMm * kPxPerMm;
    // A row 2.5 mm down meets no dot row and no horizontal line: only the vertical lines.
    const auto cols = runCentres(img, true, 25, 0, img.width(), grayish);
    ASSERT_EQ(cols.size(), (120 - 5) / 5 + 1);
    EXPECT_NEAR(cols.first(), stripLeft, 1.5);
    for (int i = 1; i < cols.size(); ++i)
        EXPECT_NEAR(cols[i] - cols[i - 1], 5 * kPxPerMm, 1.0);
    // A column between lines and dots (2.5 mm right of a line) meets only horizontal lines.
    const auto rows = runCentres(img, false, int(stripLeft + 25), 0, img.height(), grayish);
    // Lines at 0, 5, ..., 40 mm; the last lies on the bottom edge, half of its pen inside.
    ASSERT_EQ(rows.size(), 40 / 5 + 1);
    for (int i = 1; i < rows.size(); ++i)
        EXPECT_NEAR(rows[i] - rows[i - 1], 5 * kPxPerMm, 1.0);
    // A column through the dots 1 mm right of a line: a dot on every millimetre.
    const auto dots = runCentres(img, false, int(stripLeft + 10), 0, img.height(), grayish);
    EXPECT_GE(dots.size(), 39);
    // The left margin stays blank.
    EXPECT_TRUE(runCentres(img, true, 25, 0, int(stripLeft) - 2, grayish).isEmpty());
}

TEST(SignalGraphic, MeanHeartRateUsesValidIntervalsInsideTheStrip)
{
    MemoryBeatList beats;
    // Beats at 1.0, 1.8, 2.6, ... (rr 0.8 s = 75 bpm), a pause of 2.5 s, then rr 0.6 s.
    double t = 1.0;
    const double rrs[] = { 0.0, 0.8, 0.8, 0.8, 0.8, 2.5, 0.6, 0.6 };
    for (int i = 0; i < 8; ++i) {
        t += rrs[i];
        Beat b;
        b.index = i;
        b.windowStart = t - 0.2;
        b.setTiming(Beat::RTime, t);
        if (rrs[i] > 0)
            b.setTiming(Beat::RR, rrs[i]);
        b.type = BeatN;
        beats.append(b);
    }
    SignalGraphic g;
    g.setBeats(&beats);
    g.setStartTime(0.0);
    // Beats up to 4.2 s: four intervals of 0.8.
    EXPECT_NEAR(g.meanHeartRate(4.5), 75.0, 1e-9);
    // Everything: the 2.5 s pause is left out; (4 * 0.8 + 2 * 0.6) / 6 = 0.7333 s.
    EXPECT_NEAR(g.meanHeartRate(100.0), 60.0 / ((4 * 0.8 + 2 * 0.6) / 6), 1e-9);
    // Starting after the beats leaves nothing.
    g.setStartTime(50.0);
    EXPECT_EQ(g.meanHeartRate(10.0), 0.0);
    // From 6.0 s: the beat after the pause (rr 2.5) and two of rr 0.6.
    g.setStartTime(6.0);
    EXPECT_NEAR(g.meanHeartRate(10.0), 100.0, 1e-9);
}
