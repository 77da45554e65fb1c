#include "review/qsignalbrowsedisplay.h"
#include "tests/review/reviewtestutil.h"

#include <QTest>

#include <gtest/gtest.h>

using namespace reviewtest;

namespace {

// A ramp on channel 1 rising 1 mV a second, repeating every 4 s; channel 0 flat.
std::unique_ptr<MemorySource> rampSource()
{
    const qint64 n = 60 * kRate;
    std::vector<std::vector<qint16>> data(2, std::vector<qint16>(size_t(n), 0));
    for (qint64 i = 0; i < n; ++i)
        data[1][size_t(i)] = qint16((i % (4 * kRate)) * displaytest::kOneMillivolt / kRate / 2);
    auto s = std::make_unique<MemorySource>(kRate, 1024, data);
    s->setGainRange(-2.0, 2.0);
    return s;
}

class CaliperTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_source = rampSource();
        m_display.setSignal(m_source.get());
        m_display.setMode(QSignalBrowseDisplay::CaliperMode);
        m_display.resize(900, 300);
        m_display.show();
        QApplication::processEvents();
    }
    // A point on channel `row`'s band at time t.
    QPoint at(double seconds, int row) const
    {
        const BrowseStripLayout l = m_display.layout();
        return QPoint(int(std::lround(l.xOfTime(seconds))), int(l.rowCentreY(row)));
    }

    std::unique_ptr<MemorySource> m_source;
    QSignalBrowseDisplay m_display;
};

TEST_F(CaliperTest, MeasuresMillisecondsAndMillivoltsBetweenPressAndPointer)
{
    struct Case
    {
        double from, to, ms, mv;
    } cases[] = {
        { 1.0, 1.5, 500.0, 0.25 }, // half a second up the ramp: 0.5 s x 0.5 mV/s
        { 2.0, 2.2, 200.0, 0.10 }, { 3.5, 1.5, 2000.0, 1.00 }, // backwards: absolute values
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.from);
        sendMouse(&m_display, QEvent::MouseMove, at(c.from, 1), Qt::NoButton, Qt::NoButton);
        CaliperReading r;
        ASSERT_TRUE(m_display.caliperReading(&r));
        EXPECT_EQ(r.milliseconds, 0.0); // a tick, no measure yet
        sendMouse(
            &m_display, QEvent::MouseButtonPress, at(c.from, 1), Qt::LeftButton, Qt::LeftButton);
        sendMouse(&m_display, QEvent::MouseMove, at(c.from, 1), Qt::NoButton, Qt::LeftButton);
        sendMouse(&m_display, QEvent::MouseMove, at(c.to, 1), Qt::NoButton, Qt::LeftButton);
        ASSERT_TRUE(m_display.caliperReading(&r));
        // One pixel is about 11 ms at 25 mm/s on a 96 dpi screen.
        EXPECT_NEAR(r.milliseconds, c.ms, 15.0);
        EXPECT_NEAR(r.millivolts, c.mv, 0.01);
        EXPECT_NEAR(r.standardMillimetres(), c.mv * 10.0, 0.1);
        // Letting go keeps the measure; the next free move starts over.
        sendMouse(&m_display, QEvent::MouseMove, at(c.to, 1), Qt::NoButton, Qt::NoButton);
        ASSERT_TRUE(m_display.caliperReading(&r));
        EXPECT_NEAR(r.milliseconds, c.ms, 15.0);
        sendMouse(
            &m_display, QEvent::MouseButtonRelease, at(c.to, 1), Qt::LeftButton, Qt::NoButton);
        sendMouse(&m_display, QEvent::MouseMove, at(c.to, 1), Qt::NoButton, Qt::NoButton);
        ASSERT_TRUE(m_display.caliperReading(&r));
        EXPECT_EQ(r.milliseconds, 0.0);
    }
}

TEST_F(CaliperTest, ReadsTheGainIndependentMillimetresAndLeavesWithThePointer)
{
    m_display.setAmplitude(20.0);
    sendMouse(&m_display, QEvent::MouseMove, at(1.0, 1), Qt::NoButton, Qt::NoButton);
    sendMouse(&m_display, QEvent::MouseMove, at(1.0, 1), Qt::NoButton, Qt::LeftButton);
    sendMouse(&m_display, QEvent::MouseMove, at(3.0, 1), Qt::NoButton, Qt::LeftButton);
    CaliperReading r;
    ASSERT_TRUE(m_display.caliperReading(&r));
    EXPECT_NEAR(r.standardMillimetres(), 10.0, 0.1); // 1 mV is 10 mm whatever the gain
    // On the flat channel there is no voltage to measure.
    sendMouse(&m_display, QEvent::MouseMove, at(1.0, 0), Qt::NoButton, Qt::NoButton);
    sendMouse(&m_display, QEvent::MouseMove, at(1.0, 0), Qt::NoButton, Qt::LeftButton);
    sendMouse(&m_display, QEvent::MouseMove, at(3.0, 0), Qt::NoButton, Qt::LeftButton);
    ASSERT_TRUE(m_display.caliperReading(&r));
    EXPECT_EQ(r.millivolts, 0.0);
    EXPECT_NEAR(r.milliseconds, 2000.0, 15.0);
    // Left of the strip's start the caliper goes.
    m_display.setStartTime(5.0);
    sendMouse(&m_display, QEvent::MouseMove, QPoint(0, 100), Qt::NoButton, Qt::NoButton);
    EXPECT_FALSE(m_display.caliperReading(&r));
}

TEST_F(CaliperTest, SelectionModeLeavesTheCaliperAlone)
{
    m_display.setMode(QSignalBrowseDisplay::SelectionMode);
    sendMouse(&m_display, QEvent::MouseMove, at(1.0, 1), Qt::NoButton, Qt::NoButton);
    CaliperReading r;
    EXPECT_FALSE(m_display.caliperReading(&r));
}

} // namespace
