#include "display/browsestrippainter.h"
#include "tests/review/reviewtestutil.h"

#include <QPainter>

#include <gtest/gtest.h>

#include <map>

using namespace displaytest;
using namespace reviewtest;

namespace {

struct PaperCase
{
    double speed; // mm/s
    double gain; // mm/mV
    int dotsPerMetre;
};

class StripPaperTest : public ::testing::TestWithParam<PaperCase>
{
};

// Trace ink, antialiased edges included, but not the paper's grid.
bool inked(QRgb c)
{
    return qGray(c) < 170;
}

// The most common dark row in a column range: the flat baseline of a trace.
int baselineRow(const QImage& img, int fromX, int toX)
{
    std::map<int, int> votes;
    for (int x = fromX; x < toX; ++x)
        for (int y = 0; y < img.height(); ++y)
            if (inked(img.pixel(x, y)))
                ++votes[y];
    int best = -1, count = 0;
    for (const auto& [y, n] : votes)
        if (n > count)
            best = y, count = n;
    return best;
}

TEST_P(StripPaperTest, OneSecondAndOneMillivoltMeasureTheirMillimetresOnTheDevice)
{
    const PaperCase c = GetParam();
    const double pxPerMm = c.dotsPerMetre / 1000.0;
    QImage img = paper(200, 60, c.dotsPerMetre);
    auto source = spikeSource(60.0);
    BrowseStripPainter::Scene scene;
    scene.signal = source.get();
    const BrowseStripLayout l
        = BrowseStripPainter::layoutFor(&img, scene, 0.5, c.speed, c.gain, 0.0, { 0 }, 0);
    ASSERT_NEAR(l.visibleSeconds(), 200.0 / c.speed, 1e-9);
    scene.channelBaseline = BrowseStripPainter::channelBaselines(source.get(), l);
    QPainter p(&img);
    BrowseStripPainter::paint(&p, l, scene);
    p.end();

    const int base = baselineRow(img, 0, img.width());
    ASSERT_GT(base, 0);
    int top = base;
    for (int y = 0; y < base - 3; ++y) { // an antialiased baseline spreads over two rows
        if (countPixels(img, QRect(0, y, img.width(), 1), inked) > 0) {
            top = y;
            break;
        }
    }
    // The spikes stand 1 mV above a baseline pulled up by their own share of the mean.
    const double meanMv = 5.0 / kRate;
    EXPECT_NEAR(base - top, c.gain * pxPerMm * (1.0 - meanMv), 2.0 + 0.02 * c.gain * pxPerMm);

    // Columns with ink in the spikes' upper half, as runs.
    QVector<double> spikes;
    const int mid = (base + top) / 2;
    int runStart = -1;
    for (int x = 0; x <= img.width(); ++x) {
        const bool ink
            = x < img.width() && countPixels(img, QRect(x, top, 1, mid - top + 1), inked) > 0;
        if (ink && runStart < 0)
            runStart = x;
        if (!ink && runStart >= 0) {
            spikes << (runStart + x - 1) / 2.0;
            runStart = -1;
        }
    }
    ASSERT_GE(spikes.size(), 2);
    for (int i = 1; i < spikes.size(); ++i)
        EXPECT_NEAR(spikes[i] - spikes[i - 1], c.speed * pxPerMm, 1.5) << "spike " << i;
    // The first spike is the one at 1 s, half a second into the strip.
    EXPECT_NEAR(spikes.first(), 0.5 * c.speed * pxPerMm, 1.5);
}

INSTANTIATE_TEST_SUITE_P(SpeedsGainsAndResolutions, StripPaperTest,
    ::testing::Values(PaperCase { 25.0, 10.0, 4000 }, PaperCase { 12.5, 5.0, 4000 },
        PaperCase { 50.0, 20.0, 4000 }, PaperCase { 25.0, 10.0, 12000 }, // polyline way
        PaperCase { 50.0, 5.0, 12000 }, PaperCase { 12.5, 20.0, 3000 }),
    [](const ::testing::TestParamInfo<PaperCase>& info) {
        return QString("speed%1_gain%2_dpm%3")
            .arg(info.param.speed * 10)
            .arg(info.param.gain)
            .arg(info.param.dotsPerMetre)
            .toStdString();
    });

TEST(StripLayoutTest, AverageColumnTakesItsSecondsAndFiveMillimetresFromTheTraces)
{
    BrowseStripLayout::Input in;
    in.widthPx = 1000;
    in.heightPx = 330;
    in.widthMm = 250.0; // 40 px/cm
    in.startSeconds = 12.0;
    in.visibleChannels = { 0, 2, 3 };
    in.topMarginPx = 30;
    in.rangeMillivolts = 4.0;
    in.resolutionBits = 16;
    struct Case
    {
        double average, speed, visible;
        int averageWidth;
    } cases[] = {
        { 0.0, 25.0, 10.0, 0 },
        { 0.8, 25.0, 9.0, 80 + 20 }, // trunc(1000 * 0.8 / 10) + half a centimetre
        { 0.8, 50.0, 4.1, 160 + 20 }, { 0.8, 12.5, 18.8, 40 + 20 },
        { 10.0, 25.0, 0.0, 1000 + 20 }, // nothing left for traces
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.speed);
        in.averageSeconds = c.average;
        in.speedMmPerSecond = c.speed;
        const BrowseStripLayout l(in);
        EXPECT_NEAR(l.visibleSeconds(), c.visible, 1e-9);
        EXPECT_EQ(l.averageWidthPx(), c.averageWidth);
        EXPECT_EQ(l.traceRect().left(), c.averageWidth);
        if (c.visible > 0.0) {
            EXPECT_NEAR(l.timeAtX(c.averageWidth), 12.0, 1e-9);
            EXPECT_NEAR(l.timeAtX(1000), 12.0 + c.visible, 1e-9);
            EXPECT_NEAR(l.xOfTime(l.timeAtX(537.0)), 537.0, 1e-9);
        }
    }
    in.averageSeconds = 0.8;
    in.speedMmPerSecond = 25.0;
    const BrowseStripLayout l(in);
    EXPECT_EQ(l.averageTimeAtX(10), 0.0); // the column's left end
    EXPECT_NEAR(l.averageTimeAtX(50), 0.4, 1e-9); // (50 - 10) * 0.8 / 80
    EXPECT_EQ(l.averageTimeAtX(100), 0.0); // over the traces
    // Rows of 100 px under the 30 px margin; y outside every band counts as channel 0.
    EXPECT_EQ(l.rowCentreY(0), 80.0);
    EXPECT_EQ(l.channelAtY(140), 2);
    EXPECT_EQ(l.channelAtY(329), 3);
    EXPECT_EQ(l.channelAtY(10), 0);
    // 4 mV over 16 bits at 10 mm/mV: 16384 units make a centimetre.
    EXPECT_NEAR(l.pixelsPerUnit() * 16384, 40.0, 1e-9);
}

TEST(StripPaintTest, BeatTypesColourTheirColumnsAndTheSelectionShows)
{
    auto source = spikeSource(30.0);
    auto beats = beatsEverySecond(29); // the beat at 5 s is ventricular
    BrowseStripPainter::Scene scene;
    scene.signal = source.get();
    scene.beats = beats.get();
    auto render = [&](const QSet<int>& selection, BrowseStripLayout* layout) {
        QImage img = paper(200, 40, 4000); // column way at 25 mm/s
        scene.selection = selection;
        *layout = BrowseStripPainter::layoutFor(&img, scene, 0.0, 25.0, 10.0, 0.0, { 0 }, 30);
        scene.channelBaseline = BrowseStripPainter::channelBaselines(source.get(), *layout);
        QPainter p(&img);
        BrowseStripPainter::paint(&p, *layout, scene);
        return img;
    };
    BrowseStripLayout l;
    const QImage plain = render({}, &l);
    const QImage selected = render({ 1 }, &l); // the beat at 2 s
    auto columnAt = [&](double seconds) {
        const int x = int(l.xOfTime(seconds));
        return QRect(x - 2, 30, 5, plain.height() - 30);
    };
    EXPECT_GT(countPixels(plain, columnAt(5.0), reddish), 5);
    EXPECT_EQ(countPixels(plain, columnAt(4.0), reddish), 0);
    // The tick at the top of each beat.
    EXPECT_GT(countPixels(plain, QRect(int(l.xOfTime(3.0)) - 2, 0, 5, 10), bluish), 5);
    // The selection's bar covers 0.2 s either side of its beat and nothing else.
    int changedInBar = 0, changedElsewhere = 0;
    for (int x = 0; x < plain.width(); ++x) {
        const double t = l.timeAtX(x + 0.5);
        for (int y = 12; y < plain.height(); y += 3) {
            if (plain.pixel(x, y) == selected.pixel(x, y))
                continue;
            if (std::abs(t - 2.0) <= 0.21)
                ++changedInBar;
            else
                ++changedElsewhere;
        }
    }
    EXPECT_GT(changedInBar, 100);
    EXPECT_EQ(changedElsewhere, 0);
}

TEST(StripPaintTest, ASteepEdgeBetweenColumnsStaysOneUnbrokenStroke)
{
    // A square wave of 1.5 mV, 0.1 s up and 0.1 s down: every edge jumps between two columns.
    auto source = displaytest::functionSource(kRate, 20 * kRate, [](qint64 i) {
        return qint16((i / (kRate / 10)) % 2 ? displaytest::kOneMillivolt * 3 / 2 : 0);
    });
    QImage img = paper(200, 40, 4000); // two samples a pixel column at 25 mm/s
    BrowseStripPainter::Scene scene;
    scene.signal = source.get();
    const BrowseStripLayout l
        = BrowseStripPainter::layoutFor(&img, scene, 0.0, 25.0, 10.0, 0.0, { 0 }, 0);
    scene.channelBaseline = BrowseStripPainter::channelBaselines(source.get(), l);
    QPainter p(&img);
    BrowseStripPainter::paint(&p, l, scene);
    p.end();
    const int low = int(l.sampleY(0, 0, scene.channelBaseline[0]));
    const int high
        = int(l.sampleY(0, displaytest::kOneMillivolt * 3 / 2, scene.channelBaseline[0]));
    ASSERT_GT(low - high, 50);
    for (int edge = 1; edge < 70; ++edge) {
        const int x = int(l.xOfTime(edge * 0.1));
        for (int y = high + 1; y < low; ++y)
            ASSERT_GT(countPixels(img, QRect(x - 2, y, 5, 1), dark), 0)
                << "gap at edge " << edge << " y " << y;
    }
}

} // namespace

// Clock labels are whole or absent: one the strip's edge would cut reads as another time.
TEST(StripClockTest, LabelsAtTheEdgesAreLeftOutRatherThanCut)
{
    const QRgb labelInk = qRgb(255, 0, 0);
    auto source = spikeSource(60.0);
    BrowseStripPainter::Scene scene;
    scene.signal = source.get();
    scene.colors[BrowseStripPainter::LabelColor] = QColor(labelInk);
    scene.startDateTime = QDateTime(QDate(2026, 11, 20), QTime(10, 17, 0));
    // A second mark 0.02 s, 0.5 s and (from the other side) 0.02 s from an edge of the strip.
    for (const double start : { 0.98, 0.5, 0.02 }) {
        SCOPED_TRACE(start);
        QImage img = paper(200, 60, 4000);
        const BrowseStripLayout l
            = BrowseStripPainter::layoutFor(&img, scene, start, 25.0, 10.0, 0.0, { 0 }, 0);
        scene.channelBaseline = BrowseStripPainter::channelBaselines(source.get(), l);
        {
            QPainter p(&img);
            BrowseStripPainter::paint(&p, l, scene);
        }
        const QRectF tr = l.traceRect();
        // The clock's band under the traces, the first and last 2 mm of it.
        const int bandTop = img.height() - 16, band = 14, edge = 8;
        auto red = [&](QRgb c) { return qRed(c) > 200 && qGreen(c) < 80 && qBlue(c) < 80; };
        const int left = countPixels(img, QRect(int(tr.left()), bandTop, edge, band), red);
        const int right = countPixels(img, QRect(int(tr.right()) - edge, bandTop, edge, band), red);
        EXPECT_GT(countPixels(img, QRect(0, bandTop, img.width(), band), red), 0) << "no clock";
        if (start == 0.5) {
            EXPECT_EQ(left + right, 0) << "whole labels stand clear of the edges here";
        } else {
            EXPECT_EQ(left, 0) << "a cut label at the left edge";
            EXPECT_EQ(right, 0) << "a cut label at the right edge";
        }
    }
}
