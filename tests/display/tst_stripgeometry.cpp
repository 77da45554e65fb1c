#include "display/stripgeometry.h"
#include "tests/display/displaytestutil.h"

#include <QImage>

#include <gtest/gtest.h>

#include <cmath>

namespace {

using displaytest::beatAt;

StripGeometry strip(
    double pxPerMm, double speed, double gain, double start, double left, double width)
{
    StripGeometry g = StripGeometry::fromPixelsPerMillimetre(pxPerMm, speed, gain);
    g.setStartSeconds(start);
    g.setTraceSpan(left, width);
    return g;
}

} // namespace

TEST(StripGeometry, ScaleComesFromDeviceMillimetresOrScreenDpi)
{
    // An image of 200 mm at 11800 dots per metre: 11.8 px/mm.
    const QImage img = displaytest::paper(200, 20, 11800);
    const StripGeometry paper = StripGeometry::forDevice(&img, 25.0, 10.0);
    EXPECT_NEAR(paper.pixelsPerMillimetre(), 11.8, 1e-9);
    EXPECT_NEAR(paper.pixelsPerSecond(), 25.0 * 11.8, 1e-9);
    EXPECT_NEAR(paper.pixelsPerMillivolt(), 10.0 * 11.8, 1e-9);

    // 96 logical dpi at zoom 2: 2 * 96 / 25.4 px/mm.
    const StripGeometry screen = StripGeometry::forScreen(96.0, 2.0, 50.0, 20.0);
    EXPECT_NEAR(screen.pixelsPerMillimetre(), 2 * 96 / 25.4, 1e-12);
    EXPECT_NEAR(screen.pixelsPerSecond(), 50.0 * 2 * 96 / 25.4, 1e-9);
    EXPECT_NEAR(screen.pixelsPerMillivolt(), 20.0 * 2 * 96 / 25.4, 1e-9);

    // No device or nonsense scales fall back to usable values rather than dividing by zero.
    const StripGeometry none = StripGeometry::forDevice(nullptr, 0.0, 10.0);
    EXPECT_GT(none.pixelsPerMillimetre(), 0.0);
    EXPECT_GT(none.pixelsPerSecond(), 0.0);
}

TEST(StripGeometry, TimeAndXRoundTripAcrossTheStrip)
{
    const struct
    {
        double pxPerMm, speed, start, left, width;
    } cases[] = {
        { 10.0, 25.0, 0.0, 0.0, 1000.0 }, { 3.7795, 12.5, 3600.25, 47.0, 833.0 },
        { 47.244, 50.0, 86399.9, 236.2, 9000.0 },
        { 1.0, 25.0, -6.0, 5.5, 300.0 }, // strips may start before the recording
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pxPerMm);
        const StripGeometry g = strip(c.pxPerMm, c.speed, 10.0, c.start, c.left, c.width);
        const double seconds = c.width / (c.pxPerMm * c.speed);
        EXPECT_NEAR(g.visibleSeconds(), seconds, 1e-9);
        // Edges: the start at the left, the end at the right; the end is not on the strip.
        EXPECT_NEAR(g.mapTimeToX(c.start), c.left, 1e-9);
        EXPECT_NEAR(g.mapTimeToX(g.endSeconds()), c.left + c.width, 1e-6);
        EXPECT_TRUE(g.showsTime(c.start));
        EXPECT_FALSE(g.showsTime(g.endSeconds()));
        EXPECT_FALSE(g.showsTime(std::nextafter(c.start, -1e9)));
        for (double f : { 0.0, 0.1, 0.5, 0.999, 1.0, -0.2, 1.3 }) {
            const double t = c.start + f * seconds;
            EXPECT_NEAR(g.mapXToTime(g.mapTimeToX(t)), t, 1e-9);
            const double x = c.left + f * c.width;
            EXPECT_NEAR(g.mapTimeToX(g.mapXToTime(x)), x, 1e-6);
        }
        // One second is speed millimetres.
        EXPECT_NEAR(g.mapTimeToX(c.start + 1.0) - g.mapTimeToX(c.start), c.speed * c.pxPerMm, 1e-9);
    }
    // A span fitted into a width, as a trend's clock axis is; an empty span doesn't divide by 0.
    const StripGeometry axis = StripGeometry::spanning(1.7e9, 1.7e9 + 86400.0, 30.0, 600.0);
    EXPECT_NEAR(axis.mapTimeToX(1.7e9), 30.0, 1e-9);
    EXPECT_NEAR(axis.mapTimeToX(1.7e9 + 43200.0), 330.0, 1e-6);
    EXPECT_NEAR(axis.mapTimeToX(1.7e9 + 86400.0), 630.0, 1e-6);
    EXPECT_TRUE(std::isfinite(StripGeometry::spanning(5.0, 5.0, 0.0, 100.0).mapTimeToX(6.0)));
    // A negative width is no width: nothing is visible.
    const StripGeometry empty = strip(10.0, 25.0, 10.0, 5.0, 0.0, -20.0);
    EXPECT_EQ(empty.visibleSeconds(), 0.0);
    EXPECT_FALSE(empty.showsTime(5.0));
}

TEST(StripGeometry, ChannelRowsSplitTheHeightAndMapMillivolts)
{
    StripGeometry g = strip(10.0, 25.0, 10.0, 0.0, 0.0, 1000.0);
    g.setRows({ 2, 0, 1 }, 30.0, 300.0);
    ASSERT_EQ(g.rows().size(), 3);
    EXPECT_EQ(g.rows()[0].channel, 2);
    EXPECT_EQ(g.rows()[2].channel, 1);
    EXPECT_DOUBLE_EQ(g.rows()[1].topPx, 130.0);
    EXPECT_DOUBLE_EQ(g.rows()[1].baselineYPx(), 180.0);

    // Bands are [top, top + height): the first pixel of each band belongs to it.
    const struct
    {
        double y;
        int row;
    } hits[] = { { 29.999, -1 }, { 30.0, 0 }, { 129.999, 0 }, { 130.0, 1 }, { 329.999, 2 },
        { 330.0, -1 }, { -5.0, -1 } };
    for (const auto& h : hits)
        EXPECT_EQ(g.rowAtY(h.y), h.row) << "y " << h.y;

    // 10 mm/mV at 10 px/mm: one millivolt is 100 px up from the row's baseline.
    EXPECT_DOUBLE_EQ(g.millivoltsToY(1, 0.0), 180.0);
    EXPECT_DOUBLE_EQ(g.millivoltsToY(1, 1.0), 80.0);
    EXPECT_DOUBLE_EQ(g.millivoltsToY(2, -0.5), 330.0);
    for (double mv : { -2.5, -0.1, 0.0, 0.37, 3.0 })
        EXPECT_NEAR(g.yToMillivolts(0, g.millivoltsToY(0, mv)), mv, 1e-12);

    // No channels, or no height, leave no rows.
    g.setRows({}, 0.0, 100.0);
    EXPECT_TRUE(g.rows().isEmpty());
    EXPECT_EQ(g.rowAtY(50.0), -1);
    g.setRows({ 0 }, 0.0, 0.0);
    EXPECT_TRUE(g.rows().isEmpty());
}

TEST(StripGeometry, BeatAtFindsTheNearestRecordWithinTheTolerance)
{
    MemoryBeatList beats;
    beats.append(beatAt(0, 1.0, BeatN));
    beats.append(beatAt(1, 2.0, BeatV, 1.0));
    beats.append(beatAt(2, 2.5, BeatN, 0.5));
    beats.append(beatAt(3, 3.2, BeatN, 0.0, false)); // an insertion point
    // 100 px per second from x = 50, starting at 0.5 s: time t is at 50 + (t - 0.5) * 100.
    const StripGeometry g = strip(4.0, 25.0, 10.0, 0.5, 50.0, 1000.0);
    auto x = [&](double t) { return g.mapTimeToX(t); };
    const double tol = 0.2;
    const double eps = 1e-6;
    const struct
    {
        double t;
        StripGeometry::Pick pick;
        int expected; // index, or -1 for no hit
    } cases[] = {
        { 1.0, StripGeometry::Pick::RealBeats, 0 },
        { 1.0 + tol - eps, StripGeometry::Pick::RealBeats, 0 },
        { 1.0 + tol + eps, StripGeometry::Pick::RealBeats, -1 },
        { 1.0 - tol + eps, StripGeometry::Pick::RealBeats, 0 },
        { 1.0 - tol - eps, StripGeometry::Pick::RealBeats, -1 },
        { 2.19, StripGeometry::Pick::RealBeats, 1 },
        { 2.31, StripGeometry::Pick::RealBeats, 2 },
        { 2.25, StripGeometry::Pick::RealBeats, -1 }, // 0.25 s from both neighbours
        { 3.2, StripGeometry::Pick::RealBeats, -1 }, // the nearest is no beat
        { 3.2 - tol + eps, StripGeometry::Pick::AnyRecord, 3 },
        { 3.2 + tol + eps, StripGeometry::Pick::AnyRecord, -1 },
        { 100.0, StripGeometry::Pick::AnyRecord, -1 },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.t);
        Beat hit;
        const bool found = g.beatAt(&beats, x(c.t), tol, &hit, c.pick);
        EXPECT_EQ(found, c.expected >= 0);
        if (found && c.expected >= 0) {
            EXPECT_EQ(hit.index, c.expected);
        }
    }
    // No list, or an empty one, finds nothing.
    EXPECT_FALSE(g.beatAt(nullptr, x(1.0), tol, nullptr));
    MemoryBeatList none;
    EXPECT_FALSE(g.beatAt(&none, x(1.0), tol, nullptr));
}
