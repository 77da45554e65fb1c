#include "review/qsignalbrowsedisplay.h"
#include "tests/review/reviewtestutil.h"

#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace reviewtest;

namespace {

// A strip over 120 s of beats, shown offscreen at a fixed size.
class BrowseDisplayTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_source = spikeSource(120.0);
        m_beats = beatsEverySecond(119);
        m_display.setSignal(m_source.get());
        m_display.setBeats(m_beats.get());
        m_display.resize(800, 240);
        m_display.show();
        QApplication::processEvents();
    }

    QPoint pointAt(double seconds) const
    {
        return QPoint(int(std::lround(m_display.layout().xOfTime(seconds))), 120);
    }
    void click(double seconds, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::mouseClick(&m_display, Qt::LeftButton, modifiers, pointAt(seconds));
    }
    QSet<int> ids(std::initializer_list<int> list) const { return QSet<int>(list); }

    std::unique_ptr<MemorySource> m_source;
    std::unique_ptr<MemoryBeatList> m_beats;
    QSignalBrowseDisplay m_display;
};

TEST_F(BrowseDisplayTest, ClickPicksTheBeatWithinAFifthOfASecondAndClearsElsewhere)
{
    QSignalSpy current(&m_display, &QSignalBrowseDisplay::selectedBeatChanged);
    QSignalSpy selection(&m_display, &QSignalBrowseDisplay::selectionChanged);
    // Beat index k has its R wave at k + 1 seconds.
    struct Case
    {
        double at;
        int expected;
    } cases[] = { { 3.0, 2 }, { 3.15, 2 }, { 4.85, 4 }, { 4.15, 3 }, { 6.0, 5 }, { 6.5, -1 },
        { 7.3, -1 } };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.at);
        m_display.setSelectedBeat(0); // something to change from
        current.clear();
        selection.clear();
        click(c.at);
        EXPECT_EQ(m_display.selectedBeat(), c.expected);
        EXPECT_EQ(m_display.selection(), c.expected >= 0 ? ids({ c.expected }) : QSet<int>());
        ASSERT_EQ(current.count(), 1);
        EXPECT_EQ(current.first().first().toInt(), c.expected);
        EXPECT_EQ(selection.count(), 1);
    }
}

TEST_F(BrowseDisplayTest, ShiftExtendsAndControlTogglesTheSelection)
{
    QSignalSpy selection(&m_display, &QSignalBrowseDisplay::selectionChanged);
    // Shift with no current record does nothing.
    click(4.0, Qt::ShiftModifier);
    EXPECT_EQ(m_display.selectedBeat(), -1);
    EXPECT_TRUE(m_display.selection().isEmpty());
    EXPECT_EQ(selection.count(), 0);

    click(2.0); // beat 1
    click(5.0, Qt::ShiftModifier); // beats 1..4
    EXPECT_EQ(m_display.selection(), ids({ 1, 2, 3, 4 }));
    EXPECT_EQ(m_display.selectedBeat(), 4);
    click(3.0, Qt::ControlModifier); // beat 2 out
    EXPECT_EQ(m_display.selection(), ids({ 1, 3, 4 }));
    click(8.0, Qt::ControlModifier); // beat 7 in, the current beat stays
    EXPECT_EQ(m_display.selection(), ids({ 1, 3, 4, 7 }));
    EXPECT_EQ(m_display.selectedBeat(), 4);
    click(8.5, Qt::ControlModifier); // nothing there
    EXPECT_EQ(m_display.selection(), ids({ 1, 3, 4, 7 }));
    EXPECT_EQ(selection.count(), 4);
    // A plain click starts over.
    click(10.0);
    EXPECT_EQ(m_display.selection(), ids({ 9 }));
}

TEST_F(BrowseDisplayTest, DraggingCarriesTheCurrentBeatAndReleaseEndsIt)
{
    sendMouse(&m_display, QEvent::MouseButtonPress, pointAt(2.0), Qt::LeftButton, Qt::LeftButton);
    EXPECT_EQ(m_display.selectedBeat(), 1);
    for (double t : { 3.0, 4.0, 5.0 })
        sendMouse(&m_display, QEvent::MouseMove, pointAt(t), Qt::NoButton, Qt::LeftButton);
    EXPECT_EQ(m_display.selectedBeat(), 4);
    EXPECT_EQ(m_display.selection(), ids({ 4 }));
    sendMouse(&m_display, QEvent::MouseButtonRelease, pointAt(5.0), Qt::LeftButton, Qt::NoButton);
    sendMouse(&m_display, QEvent::MouseMove, pointAt(7.0), Qt::NoButton, Qt::LeftButton);
    EXPECT_EQ(m_display.selectedBeat(), 4);
}

TEST_F(BrowseDisplayTest, DoubleClickReportsTheCurrentBeat)
{
    QSignalSpy doubled(&m_display, &QSignalBrowseDisplay::doubleClickBeat);
    click(3.0);
    QTest::mouseDClick(&m_display, Qt::LeftButton, Qt::NoModifier, pointAt(3.0));
    ASSERT_EQ(doubled.count(), 1);
    EXPECT_EQ(doubled.first().first().toInt(), 2);
}

TEST_F(BrowseDisplayTest, ScrollBarSpansTheRecordingInHundredthsOfASecond)
{
    const double v = m_display.visibleSeconds();
    ASSERT_GT(v, 1.0);
    ASSERT_LT(v, 120.0);
    QScrollBar* bar = m_display.scrollBarWidget();
    EXPECT_TRUE(bar->isEnabled());
    EXPECT_NEAR(bar->maximum(), (120.0 - v) * 100.0, 1.0);
    EXPECT_NEAR(bar->pageStep(), v * 100.0, 1.0);
    EXPECT_NEAR(bar->singleStep(), v * 10.0, 1.0);
    QSignalSpy moved(&m_display, &QSignalBrowseDisplay::startTimeChanged);
    bar->setValue(4321);
    EXPECT_DOUBLE_EQ(m_display.startTime(), 43.21);
    EXPECT_EQ(moved.count(), 1);

    // A strip longer than the study: nothing to scroll.
    auto shortSource = spikeSource(v / 2.0);
    m_display.setSignal(shortSource.get());
    EXPECT_FALSE(bar->isEnabled());
    EXPECT_EQ(bar->maximum(), 0);
    m_display.setSignal(m_source.get());
}

TEST_F(BrowseDisplayTest, SpeedChangesKeepTheCentreAndScaleTheVisibleSeconds)
{
    m_display.setStartTime(30.0);
    const double v25 = m_display.visibleSeconds();
    const double centre = 30.0 + v25 / 2.0;
    for (double speed : { 12.5, 50.0, 25.0 }) {
        SCOPED_TRACE(speed);
        m_display.setSpeed(speed);
        EXPECT_NEAR(m_display.visibleSeconds(), v25 * 25.0 / speed, 1e-9);
        EXPECT_NEAR(m_display.startTime() + m_display.visibleSeconds() / 2.0, centre, 0.011);
    }
    m_display.setStartTime(-5.0);
    EXPECT_EQ(m_display.startTime(), 0.0);
}

TEST_F(BrowseDisplayTest, KeysWithoutACurrentBeatPageByTheStripAndStopAtTheEnds)
{
    m_display.setBeats(nullptr);
    const double v = m_display.visibleSeconds();
    const double last = m_display.scrollBarWidget()->maximum() / 100.0;
    const QScrollBar* bar = m_display.scrollBarWidget();
    QTest::keyClick(&m_display, Qt::Key_PageDown);
    EXPECT_NEAR(m_display.startTime(), v, 0.011);
    QTest::keyClick(&m_display, Qt::Key_Right);
    EXPECT_NEAR(m_display.startTime(), (bar->pageStep() + bar->singleStep()) / 100.0, 1e-9);
    QTest::keyClick(&m_display, Qt::Key_PageUp);
    QTest::keyClick(&m_display, Qt::Key_PageUp);
    EXPECT_EQ(m_display.startTime(), 0.0);
    QTest::keyClick(&m_display, Qt::Key_Left);
    EXPECT_EQ(m_display.startTime(), 0.0);
    int pages = 0;
    while (m_display.startTime() < last && pages < 1000) {
        QTest::keyClick(&m_display, Qt::Key_PageDown);
        ++pages;
    }
    EXPECT_EQ(pages, int(std::ceil(last * 100.0 / m_display.scrollBarWidget()->pageStep())));
    QTest::keyClick(&m_display, Qt::Key_PageDown);
    EXPECT_NEAR(m_display.startTime(), last, 1e-9);
    QTest::keyClick(&m_display, Qt::Key_Home);
    EXPECT_EQ(m_display.startTime(), 0.0);
    QTest::keyClick(&m_display, Qt::Key_End);
    EXPECT_NEAR(m_display.startTime(), last, 1e-9);
}

TEST_F(BrowseDisplayTest, KeysMoveTheCurrentBeatAndKeepItInView)
{
    const double v = m_display.visibleSeconds();
    click(2.0); // beat 1
    QTest::keyClick(&m_display, Qt::Key_Right);
    EXPECT_EQ(m_display.selectedBeat(), 2);
    QTest::keyClick(&m_display, Qt::Key_Right, Qt::ShiftModifier);
    QTest::keyClick(&m_display, Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(m_display.selection(), ids({ 2, 3, 4 }));
    QTest::keyClick(&m_display, Qt::Key_Left);
    EXPECT_EQ(m_display.selectedBeat(), 3);
    EXPECT_EQ(m_display.selection(), ids({ 3 }));

    // A page on: the first beat after the current time plus the strip, in view.
    QTest::keyClick(&m_display, Qt::Key_PageDown);
    const int paged = m_display.selectedBeat();
    EXPECT_NEAR(paged + 1.0, 4.0 + v, 1.0);
    EXPECT_LE(paged + 1.0 + 0.3, m_display.startTime() + v + 1e-6);
    QTest::keyClick(&m_display, Qt::Key_End);
    EXPECT_EQ(m_display.selectedBeat(), 118);
    EXPECT_NEAR(m_display.startTime(), 119.3 - v, 0.011);
    QTest::keyClick(&m_display, Qt::Key_Right); // stays on the last
    EXPECT_EQ(m_display.selectedBeat(), 118);
    QTest::keyClick(&m_display, Qt::Key_Home);
    EXPECT_EQ(m_display.selectedBeat(), 0);
    EXPECT_NEAR(m_display.startTime(), 0.7, 0.011);
    QTest::keyClick(&m_display, Qt::Key_Left); // stays on the first
    EXPECT_EQ(m_display.selectedBeat(), 0);
    QTest::keyClick(&m_display, Qt::Key_PageUp);
    EXPECT_EQ(m_display.selectedBeat(), 0);
}

TEST_F(BrowseDisplayTest, MiddleButtonPansThePaperWithTheHand)
{
    m_display.setStartTime(20.0);
    const QPoint from = pointAt(25.0);
    const QPoint to = pointAt(23.0);
    sendMouse(&m_display, QEvent::MouseButtonPress, from, Qt::MiddleButton, Qt::MiddleButton);
    sendMouse(&m_display, QEvent::MouseMove, to, Qt::NoButton, Qt::MiddleButton);
    // The point that was under the pointer at 25 s follows it to the left.
    EXPECT_NEAR(m_display.startTime(), 22.0, 0.05);
    EXPECT_NEAR(m_display.scrollBarWidget()->value(), 2200, 5);
    sendMouse(&m_display, QEvent::MouseButtonRelease, to, Qt::MiddleButton, Qt::NoButton);
    m_display.setStartTime(0.5);
    sendMouse(
        &m_display, QEvent::MouseButtonPress, pointAt(2.0), Qt::MiddleButton, Qt::MiddleButton);
    sendMouse(&m_display, QEvent::MouseMove, pointAt(10.0), Qt::NoButton, Qt::MiddleButton);
    EXPECT_EQ(m_display.startTime(), 0.0); // not before the recording
}

TEST_F(BrowseDisplayTest, WithoutASignalNothingReactsAndTheStripIsOnlyPaper)
{
    QSignalBrowseDisplay empty;
    empty.resize(400, 200);
    empty.show();
    QApplication::processEvents();
    QSignalSpy selection(&empty, &QSignalBrowseDisplay::selectionChanged);
    QTest::mouseClick(&empty, Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
    QTest::keyClick(&empty, Qt::Key_PageDown);
    EXPECT_EQ(selection.count(), 0);
    EXPECT_EQ(empty.startTime(), 0.0);
    const QImage img = empty.strip().toImage();
    EXPECT_EQ(displaytest::countPixels(img, img.rect(), displaytest::dark), 0);
}

} // namespace
