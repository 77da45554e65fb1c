#include "display/compressedpagegeometry.h"
#include "display/compressedpagepainter.h"
#include "tests/display/displaytestutil.h"

#include <QPainter>

#include <gtest/gtest.h>

namespace {

using namespace displaytest;

constexpr int kRate = 250;

// A page of `rows` rows of 30 s over an image, traces from 100 px on, labels left of them.
struct Page
{
    QImage img;
    CompressedPageGeometry g;
};

Page page(int rows, double start = 0.0)
{
    Page p { QImage(1000, rows * 40, QImage::Format_RGB32), CompressedPageGeometry() };
    p.img.fill(Qt::white);
    p.g = CompressedPageGeometry(
        QRectF(100, 0, 900, rows * 40), start, 30.0, rows, 20.0 /* px per mV */, 4.0);
    return p;
}

CompressedPagePainter::Style crisp(int labelEvery)
{
    CompressedPagePainter::Style s = CompressedPagePainter::paperStyle();
    s.labelEvery = labelEvery;
    s.trace.widthMm = 0.0;
    return s;
}

} // namespace

// A spike 35 s in lands on the second row, 5 s along; pressing on it gives its time back.
TEST(CompressedPageDrawing, ASpikeLandsWhereTimeAtFindsIt)
{
    const qint64 spike = 35 * kRate;
    auto src = functionSource(
        kRate, 120 * kRate, [&](qint64 i) { return qint16(i == spike ? kOneMillivolt : 0); });
    Page p = page(4);
    {
        QPainter painter(&p.img);
        CompressedPagePainter(crisp(0)).paint(
            &painter, p.img.rect(), p.g, src.get(), 0, QDateTime());
    }
    // Above the second row's flat line, the first dark pixel is the spike's top, a millivolt
    // (20 px) up; the first row's flat line is 40 px higher still.
    QPoint top(-1, p.img.height());
    const int flat = int(p.g.rowBaselineYPx(1));
    for (int y = flat - 30; y < flat - 3 && top.x() < 0; ++y) {
        for (int x = 100; x < p.img.width(); ++x) {
            if (dark(p.img.pixel(x, y))) {
                top = QPoint(x, y);
                break;
            }
        }
    }
    ASSERT_GE(top.x(), 0);
    EXPECT_NEAR(p.g.rowBaselineYPx(1) - top.y(), 20.0, 1.5);
    const double secondsPerPx = 30.0 / 900;
    EXPECT_NEAR(p.g.timeAt(top), 35.0, 2 * secondsPerPx);
}

TEST(CompressedPageDrawing, LabelsOnEverySecondRowAndNothingPastTheRecording)
{
    auto src = functionSource(kRate, 50 * kRate, [](qint64 i) { return qint16(i % 25 * 400); });
    Page p = page(4, 0.0);
    {
        QPainter painter(&p.img);
        CompressedPagePainter(crisp(2)).paint(
            &painter, p.img.rect(), p.g, src.get(), 0, QDateTime(QDate(2024, 1, 2), QTime(10, 0)));
    }
    auto inkIn = [&](const QRectF& r) { return countPixels(p.img, r.toRect(), notWhite); };
    for (int row = 0; row < 4; ++row) {
        SCOPED_TRACE(row);
        const QRectF r = p.g.rowRect(row);
        const int label = inkIn(QRectF(0, r.top(), 98, r.height()));
        if (row % 2 == 0)
            EXPECT_GT(label, 0);
        else
            EXPECT_EQ(label, 0);
    }
    // 50 s of signal: the second row ends at 20 s into it, the last two rows stay white.
    const QRectF second = p.g.rowRect(1);
    int stopX = 0;
    ASSERT_TRUE(p.g.locate(50.0, nullptr, nullptr));
    double x = 0;
    p.g.locate(50.0, nullptr, &x);
    stopX = int(x);
    EXPECT_GT(inkIn(QRectF(100, second.top(), stopX - 102, second.height())), 0);
    EXPECT_EQ(inkIn(QRectF(stopX + 2, second.top(), 1000, second.height())), 0);
    EXPECT_EQ(inkIn(p.g.rowRect(2).united(p.g.rowRect(3))), 0);
    EXPECT_EQ(CompressedPagePainter::clockText(
                  QDateTime(QDate(2024, 1, 2), QTime(23, 59, 30)), 45.0, "HH:mm:ss d"),
        "00:00:15 3");
    EXPECT_EQ(
        CompressedPagePainter::clockText(QDateTime(), 86400.0 + 61.0, "HH:mm:ss"), "00:01:01");
}

TEST(CompressedPageDrawing, AnIntervalAcrossThreeRowsColoursEachPartAndLabelsItOnce)
{
    Page p = page(5);
    const QColor green(0, 200, 0);
    {
        QPainter painter(&p.img);
        // From 15 s into row 1 to 15 s into row 3.
        CompressedPagePainter().paintIntervals(&painter, p.g, { { 45.0, 105.0, green, "VT" } });
    }
    auto count = [&](const QRectF& r, std::function<bool(QRgb)> pick) {
        return countPixels(p.img, r.toRect(), pick);
    };
    auto isGreen = [&](QRgb c) { return c == green.rgb(); };
    const double mid = 100 + 450; // 15 s along a row
    struct Part
    {
        int row;
        double from, to;
        bool coloured;
    } parts[] = {
        { 0, 100, 1000, false },
        { 1, 100, mid - 2, false },
        { 1, mid + 2, 1000, true },
        { 2, 100, 1000, true },
        { 3, 100, mid - 2, true },
        { 3, mid + 2, 1000, false },
        { 4, 100, 1000, false },
    };
    for (const Part& part : parts) {
        SCOPED_TRACE(QString("row %1 from %2").arg(part.row).arg(part.from).toStdString());
        const QRectF r = p.g.rowRect(part.row);
        // The lower half of a row: below the text tab that stands above the baseline.
        const QRectF lower(part.from, r.center().y() + 1, part.to - part.from, r.height() / 2 - 1);
        const int n = count(lower, isGreen);
        if (part.coloured)
            EXPECT_EQ(
                n, lower.toRect().intersected(p.img.rect()).width() * lower.toRect().height());
        else
            EXPECT_EQ(n, 0);
    }
    // The text stands once, at the start, above the first row's baseline.
    EXPECT_GT(count(QRectF(mid, 40, 60, 20), dark), 0);
    EXPECT_EQ(count(QRectF(100, 80, 900, 80), dark), 0);
}
