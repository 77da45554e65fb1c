#include "analysis/recentbeatwindow.h"
#include "display/averagebeatpainter.h"
#include "review/qbeatdisplay.h"
#include "tests/review/beatdisplaytestutil.h"

#include <QPixmap>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace reviewtest;

namespace {

using M = AverageBeatPainter::Marker;

// The average of 15 one-second beats of a 1 mV spike at 200 Hz: 160 samples, 0.8 s, the spike
// 0.3 s in. At 400 px wide a big square is 100 px (0.2 s) and a millivolt 200 px.
class BeatDisplayTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_source = spikeSource(20.0);
        m_average = std::make_unique<RecentBeatWindow>(20.0, false, m_source.get());
        for (int s = 1; s <= 15; ++s)
            m_average->push(beattest::averagedBeat(m_source.get(), s - 1, s));
        m_display.resize(400, 500);
        m_display.setAverageBeat(m_average.get());
        m_display.show();
        QApplication::processEvents();
    }

    void move(int x, Qt::MouseButtons buttons)
    {
        sendMouse(&m_display, QEvent::MouseMove, QPoint(x, 250), Qt::NoButton, buttons);
    }
    double markerTime(int index) const { return m_display.markers().at(index).time; }

    std::unique_ptr<MemorySource> m_source;
    std::unique_ptr<RecentBeatWindow> m_average;
    QBeatDisplay m_display;
};

TEST_F(BeatDisplayTest, TraceStandsOnTheStretchedPaperAtTwoBigSquaresToTheMillivolt)
{
    ASSERT_GT(m_average->count(), 0);
    const QImage img = m_display.picture().toImage();
    auto firstDark = [&](int x) {
        for (int y = 0; y < img.height(); ++y)
            if (displaytest::dark(img.pixel(x, y)))
                return y;
        return -1;
    };
    // The spike stands 0.3 s in (x 150), 1 mV (200 px) above the flat trace, which lies on the
    // centre line less the spike's share of the window's mean.
    const int spike = firstDark(150);
    const int flat = firstDark(330);
    EXPECT_NEAR(flat - spike, 200, 2);
    EXPECT_NEAR(flat, 250 + 200.0 * 5 / 160, 2);
    // Big squares of 100 px, a big line through the centre.
    EXPECT_TRUE(displaytest::grayish(img.pixel(330, 150)));
    EXPECT_TRUE(displaytest::grayish(img.pixel(300, 400)));
    EXPECT_FALSE(displaytest::grayish(img.pixel(330, 400)));
}

TEST_F(BeatDisplayTest, DraggingAMarkerGivesTheTimeUnderThePointer)
{
    QSignalSpy cursor(&m_display, &QBeatDisplay::cursorChanged);
    m_display.setMarker(M::QrsOn, 0.28);
    m_display.setMarker(M::QrsOff, 0.36);
    move(183, Qt::NoButton); // 3 px from the end of the QRS at x 180
    EXPECT_EQ(m_display.dragged(), M::QrsOff);
    EXPECT_EQ(m_display.cursor().shape(), Qt::SizeHorCursor);
    move(210, Qt::LeftButton);
    EXPECT_DOUBLE_EQ(markerTime(M::QrsOff), 0.42);
    EXPECT_EQ(cursor.count(), 1);
    const auto bars = AverageBeatPainter::measuringBars(m_display.markers().toVector());
    ASSERT_FALSE(bars.isEmpty());
    EXPECT_TRUE(std::any_of(bars.begin(), bars.end(),
        [](const AverageBeatPainter::Bar& b) { return b.text == "QRS\n140"; }));

    // Past the widget's edge the marker stops at the last pixel.
    move(4000, Qt::LeftButton);
    EXPECT_DOUBLE_EQ(markerTime(M::QrsOff), 399 * 0.8 / 400);
    move(-50, Qt::LeftButton);
    EXPECT_DOUBLE_EQ(markerTime(M::QrsOff), 0.0);
    EXPECT_EQ(cursor.count(), 3);
}

TEST_F(BeatDisplayTest, OnlyDraggableMarkersAreTakenAndTheFirstWins)
{
    m_display.setMarker(M::POff, 0.2); // x 100, not draggable
    m_display.setMarker(M::POn, 0.1); // x 50
    m_display.setMarker(M::QrsOn, 0.104); // x 52, behind P on
    move(101, Qt::NoButton);
    EXPECT_EQ(m_display.dragged(), -1);
    EXPECT_EQ(m_display.cursor().shape(), Qt::ArrowCursor);
    move(51, Qt::NoButton);
    EXPECT_EQ(m_display.dragged(), M::POn);
    // Moving with the button held and nothing taken changes nothing.
    move(300, Qt::NoButton);
    QSignalSpy cursor(&m_display, &QBeatDisplay::cursorChanged);
    move(320, Qt::LeftButton);
    EXPECT_EQ(cursor.count(), 0);
    EXPECT_DOUBLE_EQ(markerTime(M::POn), 0.1);
}

struct BarCase
{
    const char* name;
    QVector<double> times; // seven markers
    QStringList texts;
};

class MeasuringBars : public ::testing::TestWithParam<BarCase>
{
};

TEST_P(MeasuringBars, AppearOnlyBetweenMarkersAboveZero)
{
    QVector<BeatMarker> markers(7);
    for (int i = 0; i < 7; ++i)
        markers[i].time = GetParam().times[i];
    QStringList texts;
    for (const auto& b : AverageBeatPainter::measuringBars(markers))
        texts << b.text;
    EXPECT_EQ(texts, GetParam().texts);
}

INSTANTIATE_TEST_SUITE_P(BeatDisplay, MeasuringBars,
    ::testing::Values(
        // What the running average sets: P on, QRS on, QRS off, T off.
        BarCase {
            "delineated", { 0.1, 0, 0.26, 0.35, 0, 0.7, 0 }, { "PR\n160", "QRS\n90", "QT 440" } },
        BarCase { "all", { 0.1, 0.18, 0.26, 0.35, 0.5, 0.7, 0.6 },
            { "P 80", "PR\n160", "QRS\n90", "ST 150", "QT 440", "T 200", "Tpf\n100" } },
        BarCase { "none found", { 0, 0, 0, 0, 0, 0, 0 }, {} },
        BarCase { "no T end", { 0.1, 0, 0.26, 0.35, 0, 0, 0 }, { "PR\n160", "QRS\n90" } }),
    [](const auto& info) {
        std::string n = info.param.name;
        std::replace(n.begin(), n.end(), ' ', '_');
        return n;
    });

TEST(BeatDisplayPaper, WithoutAnAverageTheWidgetStaysWhite)
{
    QBeatDisplay display;
    display.resize(200, 150);
    display.show();
    QApplication::processEvents();
    const QImage img = display.picture().toImage();
    EXPECT_EQ(displaytest::countPixels(img, img.rect(), displaytest::notWhite), 0);
}

} // namespace
