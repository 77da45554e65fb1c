#include "display/compressedpagegeometry.h"

#include <gtest/gtest.h>

namespace {

// Rows of 30 s on 600 px (20 px per second), 15 rows of 20 px from (40, 10), starting at 1 h.
CompressedPageGeometry page()
{
    return CompressedPageGeometry(QRectF(40, 10, 600, 300), 3600.0, 30.0, 15, 50.0, 4.0);
}

} // namespace

TEST(CompressedPageGeometry, TimeAtAPointFollowsRowsAndColumns)
{
    const CompressedPageGeometry g = page();
    EXPECT_DOUBLE_EQ(g.rowPitchPx(), 20.0);
    EXPECT_DOUBLE_EQ(g.endSeconds(), 3600.0 + 15 * 30.0);
    const struct
    {
        double x, y, seconds;
    } cases[] = {
        { 40, 10, 3600.0 }, // the top left corner is the page's start
        { 340, 10, 3615.0 }, // halfway along the first row
        { 40, 30, 3630.0 }, // the next row starts a row later
        { 139, 29.99, 3604.95 }, // still the first row
        { 640, 309.99, 3600.0 + 15 * 30.0 }, // the far corner: the end of the last row
        { 40, 309, 3600.0 + 14 * 30.0 }, // the last pixel row is on the page
        // Outside the area: the nearest edge.
        { 0, 0, 3600.0 },
        { 1000, 10, 3630.0 },
        { 340, 1000, 3600.0 + 14 * 30.0 + 15.0 },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(QString("%1,%2").arg(c.x).arg(c.y).toStdString());
        const double t = g.timeAt(QPointF(c.x, c.y));
        EXPECT_NEAR(t, c.seconds, 1e-9);
        EXPECT_GE(t, g.startSeconds());
        EXPECT_LE(t, g.endSeconds());
    }
    // An empty page answers its start.
    EXPECT_EQ(
        CompressedPageGeometry(QRectF(0, 0, 100, 100), 5.0, 30.0, 0, 1.0).timeAt({ 50, 50 }), 5.0);
    EXPECT_EQ(CompressedPageGeometry(QRectF(0, 0, 100, 100), 5.0, 0.0, 4, 1.0).rowCount(), 0);
}

TEST(CompressedPageGeometry, LocateIsTheInverseOfTimeAtAndAgreesWithTheRowStrip)
{
    const CompressedPageGeometry g = page();
    for (double t : { 3600.0, 3600.05, 3629.999, 3630.0, 3777.7, 4049.99 }) {
        SCOPED_TRACE(t);
        int row = -1;
        double x = 0;
        ASSERT_TRUE(g.locate(t, &row, &x));
        EXPECT_NEAR(g.timeAt(QPointF(x, g.rowRect(row).center().y())), t, 1e-9);
        const StripGeometry strip = g.rowStrip(row, 2);
        EXPECT_NEAR(strip.mapTimeToX(t), x, 1e-9);
        ASSERT_EQ(strip.rows().size(), 1);
        EXPECT_EQ(strip.rows()[0].channel, 2);
        EXPECT_DOUBLE_EQ(strip.rows()[0].baselineYPx(), g.rowBaselineYPx(row));
        EXPECT_DOUBLE_EQ(strip.pixelsPerMillivolt(), 50.0);
        EXPECT_DOUBLE_EQ(strip.pixelsPerMillimetre(), 4.0);
    }
    for (double t : { 3599.999, 4050.0, 0.0 })
        EXPECT_FALSE(g.locate(t, nullptr, nullptr)) << t;
}

TEST(CompressedPageGeometry, IntervalsCoverTheRowsTheySpan)
{
    const CompressedPageGeometry g = page();
    // Within one row: from 10 s to 20 s of the second row.
    auto one = g.intervalRects(3640.0, 3650.0);
    ASSERT_EQ(one.size(), 1);
    EXPECT_EQ(one[0], QRectF(QPointF(240, 30), QPointF(440, 50)));

    // Across three rows: the end of the first, all of the second, the start of the third.
    auto three = g.intervalRects(3615.0, 3665.0);
    ASSERT_EQ(three.size(), 3);
    EXPECT_EQ(three[0], QRectF(QPointF(340, 10), QPointF(640, 30)));
    EXPECT_EQ(three[1], QRectF(QPointF(40, 30), QPointF(640, 50)));
    EXPECT_EQ(three[2], QRectF(QPointF(40, 50), QPointF(140, 70)));

    // Ending exactly at a row's start touches no part of that row.
    EXPECT_EQ(g.intervalRects(3615.0, 3630.0).size(), 1);
    // Clipped to the page at both ends.
    auto clipped = g.intervalRects(3000.0, 3610.0);
    ASSERT_EQ(clipped.size(), 1);
    EXPECT_EQ(clipped[0], QRectF(QPointF(40, 10), QPointF(240, 30)));
    auto tail = g.intervalRects(4045.0, 9999.0);
    ASSERT_EQ(tail.size(), 1);
    EXPECT_EQ(tail[0], QRectF(QPointF(540, 290), QPointF(640, 310)));
    EXPECT_TRUE(g.intervalRects(0.0, 30.0).isEmpty()); // before the page
    EXPECT_TRUE(g.intervalRects(3650.0, 3640.0).isEmpty()); // reversed
    EXPECT_EQ(g.intervalRects(0.0, 1e9).size(), 15);
}
