#include "display/plotsource.h"
#include "display/rrdispersionsource.h"
#include "display/trendbandpainter.h"
#include "review/qdispersiontrendgraphic.h"
#include "review/qeventtrendgraphic.h"
#include "review/qpiegraphic.h"
#include "review/qplotgraphic.h"
#include "store/result.h"
#include "store/trend.h"
#include "tests/review/reviewtestutil.h"

#include <QDateTime>
#include <QFontMetricsF>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <cmath>

using namespace displaytest;
using namespace reviewtest;

namespace {

// A plot 400 x 200 over x 0..100 and y 0..50, with points every 10 from 5 to 95.
class PlotTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QVector<double> xs, ys;
        for (int i = 0; i < 10; ++i) {
            xs.append(5.0 + 10.0 * i);
            ys.append(3.0 * i);
        }
        m_plot.setSource(std::make_unique<VectorPlotSource>(xs, ys));
        m_plot.setXRange(0.0, 100.0);
        m_plot.setYRange(0.0, 50.0);
        m_plot.resize(400, 200);
        m_plot.show();
        QApplication::processEvents();
    }
    QPoint at(double x, double y = 25.0) const
    {
        const PlotAxes a = m_plot.axes();
        return QPoint(int(std::round(a.xToPixel(x))), int(std::round(a.yToPixel(y))));
    }
    void press(const QPoint& p, Qt::KeyboardModifiers mods = Qt::NoModifier)
    {
        sendMouse(&m_plot, QEvent::MouseButtonPress, p, Qt::LeftButton, Qt::LeftButton, mods);
    }
    void drag(const QPoint& p, Qt::KeyboardModifiers mods = Qt::NoModifier)
    {
        sendMouse(&m_plot, QEvent::MouseMove, p, Qt::NoButton, Qt::LeftButton, mods);
    }
    void release(const QPoint& p, Qt::KeyboardModifiers mods = Qt::NoModifier)
    {
        sendMouse(&m_plot, QEvent::MouseButtonRelease, p, Qt::LeftButton, Qt::NoButton, mods);
    }
    QImage image() { return m_plot.picture().toImage(); }

    QPlotGraphic m_plot;
};

TEST(PlotAxes, ValuesMapToPixelsAndBack)
{
    const PlotAxes a(QRectF(30, 0, 400, 200), 1000.0, 1000.0 + 3600.0, -3.0, 3.0);
    EXPECT_DOUBLE_EQ(a.xToPixel(1000.0), 30.0);
    EXPECT_DOUBLE_EQ(a.xToPixel(1000.0 + 3600.0), 430.0);
    EXPECT_DOUBLE_EQ(a.yToPixel(-3.0), 200.0);
    EXPECT_DOUBLE_EQ(a.yToPixel(3.0), 0.0);
    for (double x : { 1000.0, 1900.5, 4600.0 })
        EXPECT_NEAR(a.pixelToX(a.xToPixel(x)), x, 1e-9);
    for (double y : { -2.5, 0.0, 1.25 })
        EXPECT_NEAR(a.pixelToY(a.yToPixel(y)), y, 1e-9);
    // An axis without extent maps to its edge instead of dividing by zero.
    const PlotAxes flat(QRectF(0, 0, 100, 100), 5.0, 5.0, 7.0, 7.0);
    EXPECT_DOUBLE_EQ(flat.xToPixel(5.0), 0.0);
    EXPECT_DOUBLE_EQ(flat.pixelToY(50.0), 7.0);
}

TEST(PlotAxes, StepsAreNiceNumbersAndClockSteps)
{
    const struct
    {
        double raw, nice;
    } nice[] = { { 0.13, 0.2 }, { 1.0, 1.0 }, { 2.0, 2.0 }, { 2.1, 5.0 }, { 5.0, 5.0 },
        { 7.3, 10.0 }, { 31.0, 50.0 }, { 0.0, 1.0 } };
    for (const auto& c : nice)
        EXPECT_DOUBLE_EQ(PlotAxes::niceStep(c.raw), c.nice) << c.raw;
    const struct
    {
        double raw, step;
    } clock[] = { { 0.5, 1 }, { 3, 5 }, { 45, 60 }, { 61, 300 }, { 1000, 1800 }, { 3600, 3600 },
        { 5000, 7200 }, { 20000, 21600 } };
    for (const auto& c : clock)
        EXPECT_DOUBLE_EQ(PlotAxes::timeStep(c.raw), c.step) << c.raw;
    EXPECT_EQ(PlotAxes::ticks(-3.0, 3.0, 2.0), QVector<double>({ -2.0, 0.0, 2.0 }));
    // A clock one hour ahead of UTC puts the hour ticks on its own whole hours.
    EXPECT_EQ(PlotAxes::ticks(100.0, 7300.0, 3600.0, 3600.0), QVector<double>({ 3600.0, 7200.0 }));
}

TEST(PlotFrame, YTicksAreALabelLineApartAtLeastAndXLabelsReadTheClock)
{
    PlotFrame f;
    f.yMin = 40;
    f.yMax = 140;
    f.xTimeFormat = "HH:mm";
    const QDateTime start(QDate(2026, 1, 5), QTime(9, 0));
    f.xMin = double(start.toSecsSinceEpoch());
    f.xMax = f.xMin + 24 * 3600.0;
    const QRect bounds(0, 0, 600, 200);
    const QVector<double> y = PlotPainter::yTicks(f, bounds);
    ASSERT_GE(y.size(), 2);
    const double pxPerUnit = f.axes(bounds).yScale();
    EXPECT_GE((y[1] - y[0]) * pxPerUnit, QFontMetricsF(PlotPainter::labelFont()).height());
    f.yStepPixels = 30.0;
    const QVector<double> hinted = PlotPainter::yTicks(f, bounds);
    EXPECT_GE((hinted[1] - hinted[0]) * pxPerUnit, 30.0);
    const QVector<double> x = PlotPainter::xTicks(f, bounds);
    ASSERT_FALSE(x.isEmpty());
    EXPECT_EQ(PlotPainter::xLabel(f, x.first()).right(3), ":00");
    EXPECT_EQ(PlotPainter::xLabel(f, f.xMin), "09:00");
    f.yMax = f.yMin; // no extent: that axis is skipped
    EXPECT_TRUE(PlotPainter::yTicks(f, bounds).isEmpty());
}

TEST_F(PlotTest, ClickPicksTheLastPointAtOrBeforeThePointer)
{
    QSignalSpy spy(&m_plot, &QPlotGraphic::selectedValueChanged);
    const struct
    {
        double x;
        int index;
    } cases[] = { { 5.0, 0 }, { 14.0, 0 }, { 16.0, 1 }, { 95.0, 9 }, { 99.0, 9 }, { 1.0, 0 } };
    for (const auto& c : cases) {
        press(at(c.x));
        release(at(c.x));
        EXPECT_EQ(m_plot.selectedIndex(), c.index) << c.x;
        EXPECT_DOUBLE_EQ(m_plot.selectedValue(), 5.0 + 10.0 * c.index) << c.x;
        EXPECT_DOUBLE_EQ(m_plot.selectedY(), 3.0 * c.index) << c.x;
    }
    EXPECT_EQ(spy.count(), int(std::size(cases)));
    // A free cursor stays under the pointer; the picked point is still the one before it.
    m_plot.setCursorFree(1);
    press(at(50.0));
    EXPECT_EQ(m_plot.selectedIndex(), 4);
    EXPECT_NEAR(m_plot.selectedValue(), 50.0, 100.0 / m_plot.plotRect().width());
}

TEST_F(PlotTest, DraggingASelectionStopsAtThePlotsEdges)
{
    QSignalSpy spy(&m_plot, &QPlotGraphic::selectedValueChanged);
    press(at(50.0));
    drag(QPoint(m_plot.width() + 50, at(0).y()));
    EXPECT_EQ(m_plot.selectedIndex(), 9);
    drag(QPoint(m_plot.plotRect().left() + 1, at(0).y()));
    EXPECT_EQ(m_plot.selectedIndex(), 0);
    release(at(0));
    EXPECT_EQ(spy.count(), 3);
    m_plot.setSelectionEnabled(false);
    press(at(50.0));
    EXPECT_EQ(m_plot.selectedIndex(), 0);
    EXPECT_EQ(spy.count(), 3);
}

TEST_F(PlotTest, PressingOnAnAxisClearsThePickAndDraggingPansOrZooms)
{
    press(at(50.0));
    ASSERT_EQ(m_plot.selectedIndex(), 4);
    QSignalSpy selected(&m_plot, &QPlotGraphic::selectedValueChanged);
    QSignalSpy scaled(&m_plot, &QPlotGraphic::scaleChanged);
    const QPoint axis(10, 100); // on the y labels
    press(axis);
    EXPECT_EQ(m_plot.selectedIndex(), -1);
    EXPECT_FALSE(m_plot.hasCursor());
    const double xPerPx = 100.0 / m_plot.plotRect().width();
    const double yPerPx = 50.0 / m_plot.plotRect().height();
    drag(axis + QPoint(20, 0)); // pan: the data moves right with the pointer
    EXPECT_NEAR(m_plot.frame().xMin, -20 * xPerPx, 1e-9);
    EXPECT_NEAR(m_plot.frame().xMax, 100.0 - 20 * xPerPx, 1e-9);
    EXPECT_DOUBLE_EQ(m_plot.frame().yMin, 0.0);
    drag(axis + QPoint(30, 0), Qt::ControlModifier); // zoom in on x
    EXPECT_NEAR(m_plot.frame().xMax - m_plot.frame().xMin, 100.0 - 20 * xPerPx, 1e-9);
    m_plot.setLockX(true);
    const double xMin = m_plot.frame().xMin;
    drag(axis + QPoint(50, -10));
    EXPECT_DOUBLE_EQ(m_plot.frame().xMin, xMin);
    EXPECT_NEAR(m_plot.frame().yMin, -10 * yPerPx, 1e-9);
    release(axis);
    EXPECT_EQ(scaled.count(), 3);
    EXPECT_EQ(selected.count(), 0);
}

TEST_F(PlotTest, ShiftDragHighlightsASpanAndAClickWithoutMovingLeavesNone)
{
    QSignalSpy spy(&m_plot, &QPlotGraphic::highlightChanged);
    press(at(20.0), Qt::ShiftModifier);
    release(at(20.0), Qt::ShiftModifier);
    EXPECT_TRUE(m_plot.highlightSpans().isEmpty()) << "highlighting is off by default";
    EXPECT_EQ(m_plot.selectedIndex(), 1) << "so Shift-click picks as a plain click";
    m_plot.setHighlightEnabled(true);
    press(at(20.0), Qt::ShiftModifier);
    drag(at(60.0), Qt::ShiftModifier);
    release(at(60.0), Qt::ShiftModifier);
    ASSERT_EQ(m_plot.highlightSpans().size(), 1);
    const double tol = 100.0 / m_plot.plotRect().width();
    EXPECT_NEAR(m_plot.highlightSpans()[0].first, 20.0, tol);
    EXPECT_NEAR(m_plot.highlightSpans()[0].second, 60.0, tol);
    press(at(80.0), Qt::ShiftModifier);
    release(at(80.0), Qt::ShiftModifier);
    EXPECT_EQ(m_plot.highlightSpans().size(), 1);
    EXPECT_EQ(spy.count(), 4); // begin, move; begin, cleared
}

// Pixels of the series colour in a column band of the plot.
int inkIn(const QImage& img, const QRect& r, QRgb ink)
{
    return countPixels(img, r, [ink](QRgb c) {
        return std::abs(qRed(c) - qRed(ink)) < 60 && std::abs(qGreen(c) - qGreen(ink)) < 60
            && std::abs(qBlue(c) - qBlue(ink)) < 60 && !(qRed(c) > 200 && qGreen(c) > 200);
    });
}

TEST_F(PlotTest, UnconfiguredEmptySingleAndGappedSeries)
{
    const QRgb red = qRgb(255, 0, 0);
    m_plot.setColor(Qt::red);
    // No source: only white, not even the axes.
    m_plot.setSource(nullptr);
    EXPECT_EQ(countPixels(image(), image().rect(), notWhite), 0);
    // An empty trend: frame and labels, no data.
    TTrend empty;
    m_plot.setSource(std::make_unique<TrendPlotSource>(&empty, 0.0));
    EXPECT_GT(countPixels(image(), image().rect(), notWhite), 0);
    EXPECT_EQ(inkIn(image(), m_plot.plotRect(), red), 0);
    // One point in the point style: a small square where it is.
    TTrend one;
    one.add(40.0, 20.0);
    m_plot.setSource(std::make_unique<TrendPlotSource>(&one, 10.0));
    m_plot.setStyle(PlotPainter::Points);
    const QPoint p = at(50.0, 20.0);
    EXPECT_GE(inkIn(image(), QRect(p - QPoint(2, 2), QSize(5, 5)), red), 4);
    EXPECT_LE(inkIn(image(), m_plot.plotRect(), red), 25);
    // A line with a gap ten times its usual step: no stroke across the gap.
    TTrend gapped;
    for (double t : { 0.0, 2.0, 4.0, 6.0, 8.0, 70.0, 72.0, 74.0 })
        gapped.add(t, 20.0);
    m_plot.setSource(std::make_unique<TrendPlotSource>(&gapped, 10.0));
    m_plot.setStyle(PlotPainter::Line);
    const int y = at(0, 20.0).y();
    EXPECT_GT(inkIn(image(), QRect(at(12.0).x(), y - 2, at(6.0).x() - at(4.0).x(), 5), red), 0);
    EXPECT_EQ(inkIn(image(), QRect(at(40.0).x(), y - 2, 20, 5), red), 0);
    // An edit of the trend shows on the next rebuild: the source reads it live.
    gapped.setValueAt(0, 40.0);
    m_plot.repaintAll(true);
    EXPECT_GT(inkIn(image(), QRect(at(10.0, 40.0) - QPoint(2, 2), QSize(5, 5)), red), 0);
}

TEST_F(PlotTest, EveryStyleDrawsInsideThePlotOnly)
{
    m_plot.setColor(Qt::blue);
    m_plot.setYRange(10.0, 20.0); // most points stand above the range and are clipped
    for (int style = 0; style <= 4; ++style) {
        m_plot.setStyle(style);
        const QImage img = image();
        const QRect r = m_plot.plotRect();
        EXPECT_GT(inkIn(img, r, qRgb(0, 0, 255)), 0) << style;
        EXPECT_EQ(
            inkIn(img, QRect(0, r.bottom() + 2, img.width(), img.height()), qRgb(0, 0, 255)), 0)
            << style;
    }
}

TEST(RRDispersion, IntervalsFallIntoTheirSliceAndBin)
{
    MemoryBeatList beats;
    // 60 beats a second apart, then ten at 0.5 s, with a noise entry that mustn't split an RR.
    double t = 1.0;
    for (int i = 0; i < 60; ++i, t += 1.0)
        beats.append(beatAt(beats.count(), t, BeatN));
    beats.append(beatAt(beats.count(), t - 0.7, BeatU, 0.0, false));
    for (int i = 0; i < 10; ++i, t += 0.5)
        beats.append(beatAt(beats.count(), t, BeatN));
    const RRDispersionSource source(&beats, 1000.0);
    EXPECT_EQ(source.binCount(), 100);
    const QVector<int> first = source.counts(1000.0, 60.0);
    // RR 1.0 s is bin 50; the first beat has no interval, and those ending at 60 s and 61 s
    // (over the noise entry) belong to the second minute.
    EXPECT_EQ(first[50], 58);
    const QVector<int> second = source.counts(1060.0, 60.0);
    EXPECT_EQ(second[50], 2);
    EXPECT_EQ(second[25], 9);
    EXPECT_EQ(TrendBandPainter::dispersionColor(1), QColor(0, 30, 0));
    EXPECT_EQ(TrendBandPainter::dispersionColor(8), QColor(0, 220, 0));

    QDispersionTrendGraphic g;
    g.resize(400, 200);
    g.setXRange(1000.0, 1120.0);
    g.setYRange(0.0, 2.0);
    g.setDispersionSource(std::make_unique<RRDispersionSource>(&beats, 1000.0), 10.0);
    const QImage img = g.picture().toImage();
    const PlotAxes a = g.axes();
    auto green = [](QRgb c) { return qGreen(c) > 150 && qRed(c) < 40 && qBlue(c) < 40; };
    // Full green just above RR 1.0 s in the first minute, nothing at 1.5 s.
    const int x = int(a.xToPixel(1030.0));
    EXPECT_GT(countPixels(img, QRect(x, int(a.yToPixel(1.0)) - 1, 3, 1), green), 0);
    EXPECT_EQ(countPixels(img, QRect(x, int(a.yToPixel(1.5)), 3, 1), green), 0);
}

TEST(EventTrend, EpisodesAreStrokesOnTheirRows)
{
    EventListResult af;
    af.events.append(EventResult(100.0, 200.0));
    EventListResult none;
    QEventTrendGraphic g;
    g.resize(400, 120);
    g.setXRange(0.0, 1000.0);
    EXPECT_EQ(countPixels(g.picture().toImage(), g.rect(), notWhite), 0) << "no rows: white";
    g.setRows({ QEventTrendGraphic::row("Bigeminy", Qt::blue, none, 0.0),
        QEventTrendGraphic::row("AF", Qt::red, af, 0.0) });
    const QImage img = g.picture().toImage();
    const PlotAxes a = g.axes();
    const int y = int(TrendBandPainter::rowY(a, 1, 2));
    EXPECT_EQ(y, int(a.rect().top() + std::trunc(2 * a.rect().height() / 3 + 0.5)));
    EXPECT_TRUE(reddish(img.pixel(int(a.xToPixel(200.0)), y)));
    EXPECT_FALSE(reddish(img.pixel(int(a.xToPixel(500.0)), y)));
    EXPECT_FALSE(reddish(img.pixel(int(a.xToPixel(200.0)), y - 5)));
    QSignalSpy spy(&g, &QPlotGraphic::selectedValueChanged);
    g.show();
    sendMouse(&g, QEvent::MouseButtonPress, QPoint(int(a.xToPixel(250.0)), y), Qt::LeftButton,
        Qt::LeftButton);
    EXPECT_EQ(spy.count(), 1);
    EXPECT_NEAR(g.selectedValue(), 250.0, 1000.0 / a.rect().width());
}

TEST(PieGraphic, SlicesAreLabelledWithNameAndShare)
{
    QPieGraphic pie;
    pie.resize(200, 200);
    EXPECT_EQ(countPixels(pie.picture().toImage(), pie.rect(), notWhite), 0);
    pie.addSlice("LF", 300.0, Qt::blue);
    pie.addSlice("HF", 100.0, Qt::red);
    EXPECT_EQ(pie.sliceLabel(0), "LF 75%");
    EXPECT_EQ(pie.sliceLabel(1), "HF 25%");
    EXPECT_EQ(pie.pie().spanAngle(0), 4320);
    const QImage img = pie.picture().toImage();
    // LF runs counter-clockwise from three o'clock through twelve and nine; HF is below right.
    EXPECT_TRUE(bluish(img.pixel(100, 20)));
    EXPECT_TRUE(reddish(img.pixel(150, 150)));
}

} // namespace
