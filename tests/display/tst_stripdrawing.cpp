#include "display/beatlabelpainter.h"
#include "display/gridpainter.h"
#include "display/stripgeometry.h"
#include "display/tracepainter.h"
#include "tests/display/displaytestutil.h"

#include <QPainter>

#include <gtest/gtest.h>

namespace {

using namespace displaytest;

constexpr int kRate = 500;

// One strip over the whole image, one channel row; 96 and 300 dpi (whole millimetres).
constexpr int kScreenDpm = 3780;
constexpr int kPrintDpm = 11800;

StripGeometry wholeImage(const QImage& img, double speed, double gain, double start)
{
    StripGeometry g = StripGeometry::forDevice(&img, speed, gain);
    g.setStartSeconds(start);
    g.setTraceSpan(0, img.width());
    g.setRows({ 0 }, 0, img.height());
    return g;
}

TracePainter::Style crispTrace()
{
    TracePainter::Style s;
    s.antialias = false;
    return s;
}

struct Measured
{
    double gridStepMm = 0;
    double pulseHeightMm = 0;
    double halfPeriodMm = 0;
};

// Grid on one image, a 1 mV square wave (up each whole second, down each half) on another, both
// 200 by 60 mm at `dotsPerMetre`, measured back in millimetres.
Measured measure(int dotsPerMetre)
{
    Measured m;
    QImage grid = paper(200, 60, dotsPerMetre);
    const double pxPerMm = dotsPerMetre / 1000.0;
    {
        QPainter p(&grid);
        GridPainter().paint(&p, grid.rect(), wholeImage(grid, 25, 10, 0).pixelsPerMillimetre());
    }
    // A row 2.5 mm down meets only the vertical 5 mm lines.
    const auto lines = runCentres(grid, true, int(2.5 * pxPerMm), 0, grid.width(), grayish);
    EXPECT_GE(lines.size(), 200 / 5);
    if (lines.size() > 2)
        m.gridStepMm = (lines.last() - lines.first()) / (lines.size() - 1) / pxPerMm;

    auto src = functionSource(kRate, 60 * kRate,
        [](qint64 i) { return qint16((i % kRate) < kRate / 2 ? kOneMillivolt : 0); });
    QImage trace = paper(200, 60, dotsPerMetre);
    const StripGeometry g = wholeImage(trace, 25, 10, 2.0);
    {
        QPainter p(&trace);
        TracePainter(crispTrace()).paint(&p, trace.rect(), g, src.get());
    }
    const auto high = runCentres(trace, false, int(g.mapTimeToX(2.25)), 0, trace.height(), dark);
    const auto low = runCentres(trace, false, int(g.mapTimeToX(2.75)), 0, trace.height(), dark);
    EXPECT_EQ(high.size(), 1);
    EXPECT_EQ(low.size(), 1);
    if (high.size() == 1 && low.size() == 1) {
        m.pulseHeightMm = (low[0] - high[0]) / pxPerMm;
        const int mid = int((low[0] + high[0]) / 2);
        const auto edges = runCentres(trace, true, mid, 2, trace.width(), dark);
        EXPECT_GE(edges.size(), 10);
        if (edges.size() > 2)
            m.halfPeriodMm = (edges.last() - edges.first()) / (edges.size() - 1) / pxPerMm;
    }
    return m;
}

} // namespace

TEST(StripDrawing, SameMillimetresAtScreenAndPrintResolutions)
{
    const Measured screen = measure(kScreenDpm);
    const Measured print = measure(kPrintDpm);
    for (const Measured& m : { screen, print }) {
        EXPECT_NEAR(m.gridStepMm, 5.0, 0.05);
        EXPECT_NEAR(m.pulseHeightMm, 10.0, 2 / 3.78); // 1 mV at 10 mm/mV, within a pixel or two
        EXPECT_NEAR(m.halfPeriodMm, 12.5, 0.1); // half a second at 25 mm/s
    }
    EXPECT_NEAR(screen.gridStepMm, print.gridStepMm, 0.05);
    EXPECT_NEAR(screen.pulseHeightMm, print.pulseHeightMm, 0.5);
    EXPECT_NEAR(screen.halfPeriodMm, print.halfPeriodMm, 0.1);
}

// Lined paper: a line on every millimetre, the fifth ones darker.
TEST(StripDrawing, LinedPaperRulesEveryMillimetre)
{
    QImage img = paper(100, 20, kPrintDpm);
    GridPainter::Style style = GridPainter::screenStyle(GridPainter::Paper::Lined);
    style.antialias = false;
    {
        QPainter p(&img);
        GridPainter(style).paint(&p, img.rect(), kPrintDpm / 1000.0);
    }
    const double pxPerMm = kPrintDpm / 1000.0;
    const auto any = runCentres(img, true, int(2.5 * pxPerMm), 0, img.width(), notWhite);
    ASSERT_GE(any.size(), 99);
    EXPECT_NEAR((any.last() - any.first()) / (any.size() - 1) / pxPerMm, 1.0, 0.02);
    const QRgb major = QColor(220, 200, 180).rgb();
    const auto majors = runCentres(
        img, true, int(2.5 * pxPerMm), 0, img.width(), [&](QRgb c) { return c == major; });
    ASSERT_GE(majors.size(), 19);
    EXPECT_NEAR((majors.last() - majors.first()) / (majors.size() - 1) / pxPerMm, 5.0, 0.05);
}

// Five samples share a pixel column at 96 dpi and 25 mm/s: a one-sample spike must still reach
// its full height.
TEST(StripDrawing, ColumnsKeepSingleSampleSpikes)
{
    auto src = functionSource(
        kRate, 10 * kRate, [](qint64 i) { return qint16(i == 2 * kRate + 3 ? kOneMillivolt : 0); });
    QImage img = paper(100, 40, kScreenDpm);
    const StripGeometry g = wholeImage(img, 25, 10, 0);
    ASSERT_LT(g.pixelsPerSecond() / kRate, 1.0);
    {
        QPainter p(&img);
        TracePainter(crispTrace()).paint(&p, QRectF(), g, src.get());
    }
    const int x = int(g.mapTimeToX(2.0 + 3.0 / kRate));
    int top = img.height();
    for (int dx = -1; dx <= 1; ++dx) {
        for (int y = 0; y < img.height(); ++y) {
            if (dark(img.pixel(x + dx, y)))
                top = std::min(top, y);
        }
    }
    EXPECT_NEAR(g.millivoltsToY(0, 0.0) - top, g.pixelsPerMillivolt(), 2.0);
}

// A trace 1.5 mV off zero stands off its baseline, unless it is centred on its mean.
TEST(StripDrawing, CentringOnTheMeanBringsAnOffsetTraceHome)
{
    auto src = functionSource(
        kRate, 10 * kRate, [](qint64 i) { return qint16(kOneMillivolt * 3 / 2 + i % 2 * 100); });
    for (bool centred : { false, true }) {
        SCOPED_TRACE(centred);
        QImage img = paper(100, 60, kScreenDpm);
        const StripGeometry g = wholeImage(img, 25, 10, 0);
        TracePainter::Style style = crispTrace();
        style.centreOnMean = centred;
        {
            QPainter p(&img);
            TracePainter(style).paint(&p, QRectF(), g, src.get());
        }
        const auto line = runCentres(img, false, img.width() / 2, 0, img.height(), dark);
        ASSERT_EQ(line.size(), 1);
        EXPECT_NEAR(g.yToMillivolts(0, line[0]), centred ? 0.0 : 1.5, 0.1);
    }
}

// Outside the recording nothing is drawn, unless the style asks for the flat line there.
TEST(StripDrawing, TracesStopWhereTheRecordingDoes)
{
    auto src = functionSource(kRate, 3 * kRate, [](qint64 i) { return qint16(i % 50 * 100); });
    for (bool beyond : { false, true }) {
        SCOPED_TRACE(beyond);
        QImage img = paper(200, 40, kScreenDpm);
        const StripGeometry g = wholeImage(img, 25, 10, -1.0); // from 1 s before the start
        TracePainter::Style style = crispTrace();
        style.drawBeyondSignal = beyond;
        {
            QPainter p(&img);
            TracePainter(style).paint(&p, QRectF(), g, src.get());
        }
        const int start = int(g.mapTimeToX(0.0));
        const int end = int(g.mapTimeToX(3.0));
        const int before = countPixels(img, QRect(0, 0, start - 2, img.height()), dark);
        const int after = countPixels(img, QRect(end + 2, 0, img.width(), img.height()), dark);
        EXPECT_GT(countPixels(img, QRect(start + 2, 0, end - start - 4, img.height()), dark), 0);
        if (beyond) {
            EXPECT_GT(before, 0);
            EXPECT_GT(after, 0);
        } else {
            EXPECT_EQ(before, 0);
            EXPECT_EQ(after, 0);
        }
    }
}

// Type colours, pale gaps and noise stretches land at the same times whether the trace is a
// polyline (300 dpi at 50 mm/s) or one stroke per pixel column (96 dpi at 25 mm/s, five samples
// a column).
struct DpmAndSpeed
{
    int dotsPerMetre;
    double speedMmPerSecond;
};
class MarkedStretches : public ::testing::TestWithParam<DpmAndSpeed>
{
};

TEST_P(MarkedStretches, TakeTheirColoursAtTheirTimes)
{
    auto src = functionSource(kRate, 10 * kRate, [](qint64) { return qint16(0); });
    MemoryBeatList beats;
    beats.append(beatAt(0, 1.0, BeatN));
    beats.append(beatAt(1, 2.0, BeatV, 1.0));
    beats.append(beatAt(2, 3.0, BeatN, 1.0));
    beats.append(beatAt(3, 4.0, BeatV, 1.0, false)); // noise: not coloured
    beats.append(beatAt(4, 5.0, BeatN)); // after a gap in the analysis
    const DpmAndSpeed scale = GetParam();
    QImage img = paper(int(6 * scale.speedMmPerSecond), 20, scale.dotsPerMetre); // 6 s
    const StripGeometry g = wholeImage(img, scale.speedMmPerSecond, 10, 0);
    EXPECT_EQ(TracePainter::modeFor(g, kRate),
        scale.dotsPerMetre == kScreenDpm ? TracePainter::Mode::Columns
                                         : TracePainter::Mode::Polyline);
    TracePainter::Style style = crispTrace();
    style.colorByBeatType = true;
    style.paleGaps = true;
    TracePainter::RowInput in;
    in.beats = &beats;
    in.noiseSeconds = { { 5.3, 5.7 } };
    {
        QPainter p(&img);
        TracePainter(style).paintRow(&p, QRectF(), g, 0, src.get(), in);
    }
    const int y = int(g.millivoltsToY(0, 0.0));
    auto countIn = [&](double from, double to, bool (*which)(QRgb)) {
        return countPixels(img,
            QRect(int(g.mapTimeToX(from)), y - 3, int(g.mapTimeToX(to) - g.mapTimeToX(from)), 7),
            which);
    };
    auto orange = [](QRgb c) {
        return qRed(c) > 200 && qGreen(c) > 150 && qGreen(c) < 230 && qBlue(c) < 170;
    };
    // The ventricular beat's window runs from 1.8 to 2.3 s.
    EXPECT_GT(countIn(1.85, 2.25, reddish), 0);
    EXPECT_EQ(countIn(0.0, 1.78, reddish), 0);
    EXPECT_EQ(countIn(2.32, 6.0, reddish), 0);
    const auto blackRun = runCentres(img, false, int(g.mapTimeToX(1.0)), 0, img.height(), dark);
    EXPECT_EQ(blackRun.size(), 1);
    // The gap runs from 0.2 s after the beat before (2.8 + 0.2 s) to 0.2 s before the window of
    // the beat after it (4.8 - 0.2 s): pale there, black around it.
    EXPECT_GT(countIn(3.05, 3.15, grayish), 0);
    EXPECT_GT(countIn(4.45, 4.55, grayish), 0);
    EXPECT_EQ(countIn(3.05, 4.55, dark), 0);
    EXPECT_GT(countIn(2.85, 2.95, dark), 0);
    EXPECT_GT(countIn(4.65, 4.75, dark), 0);
    // The noise pen over its stretch only.
    EXPECT_GT(countIn(5.35, 5.65, orange), 0);
    EXPECT_EQ(countIn(5.35, 5.65, dark), 0);
    EXPECT_EQ(countIn(0.0, 5.25, orange), 0);
    EXPECT_EQ(countIn(5.75, 6.0, orange), 0);
}

INSTANTIATE_TEST_SUITE_P(Resolutions, MarkedStretches,
    ::testing::Values(DpmAndSpeed { kScreenDpm, 25.0 }, DpmAndSpeed { kPrintDpm, 50.0 }),
    [](const ::testing::TestParamInfo<DpmAndSpeed>& info) {
        return info.param.dotsPerMetre == kScreenDpm ? std::string("columns96dpi")
                                                     : std::string("polyline300dpi");
    });

namespace {

struct LabelledStrip
{
    QImage img;
    StripGeometry g;
    double fontHeight;
};

LabelledStrip labelled(BeatLabelPainter::Style style, double speed, BeatList* beats)
{
    LabelledStrip s { paper(200, 30, kScreenDpm), StripGeometry(), 0 };
    s.g = wholeImage(s.img, speed, 10, 0);
    QPainter p(&s.img);
    BeatLabelPainter(style).paint(&p, s.img.rect(), s.g, beats);
    s.fontHeight = QFontMetricsF(style.rrFont, &s.img).height();
    return s;
}

} // namespace

TEST(BeatLabels, ScreenTicksLettersAndIntervalsDependOnTypeAndSpeed)
{
    MemoryBeatList beats;
    beats.append(beatAt(0, 0.5, BeatN)); // after a gap: no interval
    beats.append(beatAt(1, 1.5, BeatN, 1.0));
    beats.append(beatAt(2, 2.5, BeatV, 1.0));
    beats.append(beatAt(3, 3.0, BeatN, 0.0, false)); // an insertion point
    beats.append(beatAt(4, 3.5, BeatN, 1.0));
    for (double speed : { 25.0, 12.5 }) {
        SCOPED_TRACE(speed);
        const LabelledStrip s = labelled(BeatLabelPainter::screenStyle(), speed, &beats);
        const double h = s.fontHeight;
        auto x = [&](double t) { return int(s.g.mapTimeToX(t)); };
        // A tick on every real beat, none at the insertion point.
        for (double t : { 0.5, 1.5, 2.5, 3.5 })
            EXPECT_TRUE(bluish(s.img.pixel(x(t), 5))) << t;
        EXPECT_FALSE(bluish(s.img.pixel(x(3.0), 5)));
        EXPECT_GT(countPixels(s.img, QRect(x(3.0) - 1, int(2 * h - 6), 3, 5), notWhite), 0);
        // Letters: the ventricular beat has one, the normal ones none.
        auto ink = [&](double t) {
            return countPixels(s.img, QRect(x(t) - 3, int(h) + 1, int(h), int(h)), dark);
        };
        EXPECT_GT(ink(2.5), 0);
        EXPECT_EQ(ink(1.5), 0);
        // RR numbers between neighbours at 25 mm/s only, and never before the first beat.
        const int between = countPixels(s.img, QRect(x(1.6), 0, x(2.4) - x(1.6), int(h) + 2), dark);
        if (speed >= 25.0)
            EXPECT_GT(between, 0);
        else
            EXPECT_EQ(between, 0);
        EXPECT_EQ(countPixels(s.img, QRect(x(0.6), 0, x(1.4) - x(0.6), 2), dark), 0);
        // The gap before the first beat is hatched in the top band.
        EXPECT_GT(countPixels(s.img, QRect(0, 0, x(0.5) - 3, 10), bluish), 0);
        EXPECT_EQ(countPixels(s.img, QRect(x(0.6), 0, x(1.4) - x(0.6), 10), bluish), 0);
    }
}

TEST(BeatLabels, PaperPrintsIntervalsBelowTwoSecondsAtTheirMiddle)
{
    MemoryBeatList beats;
    beats.append(beatAt(0, 0.3, BeatN, 0.8)); // its middle lies before the strip
    beats.append(beatAt(1, 1.3, BeatN, 1.0));
    beats.append(beatAt(2, 3.8, BeatS, 2.5)); // a pause: no number
    BeatLabelPainter::Style style = BeatLabelPainter::paperStyle();
    style.textColor = Qt::black;
    const LabelledStrip s = labelled(style, 25, &beats);
    const int bottom = s.img.height();
    const int band = int(s.fontHeight) + 2;
    auto x = [&](double t) { return int(s.g.mapTimeToX(t)); };
    auto numberAt = [&](double t) {
        return countPixels(s.img, QRect(x(t) - 15, bottom - band, 30, band), dark);
    };
    EXPECT_GT(numberAt(0.8), 0); // between 0.3 and 1.3
    EXPECT_EQ(numberAt(2.55), 0); // the pause's middle
    EXPECT_EQ(countPixels(s.img, QRect(0, bottom - band, x(0.5), band), dark), 0);
    // Every beat's letter at the top, normal ones included; nothing between beats.
    for (double t : { 0.3, 1.3, 3.8 })
        EXPECT_GT(countPixels(s.img, QRect(x(t) - 10, 0, 20, band), dark), 0) << t;
    EXPECT_EQ(countPixels(s.img, QRect(x(2.55) - 10, 0, 20, band), dark), 0);
}

TEST(BeatLabels, SelectionBarsCoverTheSelectedBeatsOnly)
{
    MemoryBeatList beats;
    for (int i = 0; i < 8; ++i)
        beats.append(beatAt(i, 0.5 + i, BeatN, 1.0));
    QImage img = paper(100, 20, kScreenDpm);
    const StripGeometry g = wholeImage(img, 25, 10, 0.6); // 4 s: beats 1 to 4 (1.5 to 4.5 s)
    {
        QPainter p(&img);
        BeatLabelPainter::paintBeatBars(
            &p, img.rect(), g, &beats, { 0, 2, 3, 7 }, QColor(0, 0, 255), 0.2);
    }
    auto barAt = [&](double t) { return bluish(img.pixel(int(g.mapTimeToX(t)), 30)); };
    EXPECT_FALSE(barAt(1.5)); // not selected
    EXPECT_TRUE(barAt(2.5));
    EXPECT_TRUE(barAt(2.5 + 0.18));
    EXPECT_FALSE(barAt(2.5 + 0.22));
    EXPECT_TRUE(barAt(3.5));
    // Beat 0 (0.5 s) lies before the strip: its bar would reach in to 0.7 s, but isn't drawn.
    EXPECT_FALSE(barAt(0.65));
}
