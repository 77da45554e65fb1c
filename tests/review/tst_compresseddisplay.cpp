#include "display/compressedpagegeometry.h"
#include "results/eventcatalog.h"
#include "review/qsignalcompresseddisplay.h"
#include "store/study.h"
#include "tests/review/reviewtestutil.h"

#include <QMenu>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace displaytest;
using namespace reviewtest;

namespace {

class CompressedDisplayTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_source = spikeSource(3600.0);
        m_display.setSignal(m_source.get());
        m_display.setRows(15);
        m_display.setRowSeconds(30.0);
        m_display.resize(640, 450);
        m_display.show();
        QApplication::processEvents();
    }

    std::unique_ptr<MemorySource> m_source;
    QSignalCompressedDisplay m_display;
};

TEST_F(CompressedDisplayTest, PressAndDragGiveTheTimeUnderThePointerToTheLastPixelRow)
{
    m_display.setStartTime(95.0); // the row that holds 95 s
    ASSERT_EQ(m_display.startTime(), 90.0);
    const int w = m_display.page().width();
    const int h = m_display.page().height();
    ASSERT_EQ(h, 450);
    QSignalSpy clicked(&m_display, &QSignalCompressedDisplay::clicked);
    struct Case
    {
        QPoint at;
        double seconds;
    } cases[] = {
        { QPoint(0, 0), 90.0 },
        { QPoint(w / 2, 30 * 2 + 1), 90.0 + 60.0 + 15.0 },
        { QPoint(0, h - 1), 90.0 + 14 * 30.0 }, // the last pixel row is still the last row
        { QPoint(w - 1, h - 1), 90.0 + 15 * 30.0 - 30.0 / w },
    };
    for (const Case& c : cases) {
        clicked.clear();
        sendMouse(&m_display, QEvent::MouseButtonPress, c.at, Qt::LeftButton, Qt::LeftButton);
        sendMouse(&m_display, QEvent::MouseButtonRelease, c.at, Qt::LeftButton, Qt::NoButton);
        ASSERT_EQ(clicked.count(), 1);
        const double t = clicked.first().first().toDouble();
        EXPECT_NEAR(t, c.seconds, 30.0 / w + 1e-9) << c.at.x() << "," << c.at.y();
        EXPECT_GE(t, 90.0);
        EXPECT_LT(t, 90.0 + 15 * 30.0);
    }
    // A drag sweeps along; a right press says nothing.
    clicked.clear();
    sendMouse(&m_display, QEvent::MouseMove, QPoint(w / 4, 0), Qt::NoButton, Qt::LeftButton);
    ASSERT_EQ(clicked.count(), 1);
    EXPECT_NEAR(clicked.first().first().toDouble(), 90.0 + 7.5, 30.0 / w);
    QTest::mouseClick(&m_display, Qt::RightButton, Qt::NoModifier, QPoint(10, 10));
    EXPECT_EQ(clicked.count(), 1);
}

TEST_F(CompressedDisplayTest, ScrollsByRowsAndPagesWithinTheRecording)
{
    QScrollBar* bar = m_display.scrollBarWidget();
    EXPECT_EQ(bar->maximum(), 120 - 15);
    EXPECT_EQ(bar->pageStep(), 15);
    EXPECT_TRUE(bar->isEnabled());
    QTest::keyClick(&m_display, Qt::Key_PageDown);
    EXPECT_EQ(m_display.startTime(), 15 * 30.0);
    QTest::keyClick(&m_display, Qt::Key_Down);
    EXPECT_EQ(m_display.startTime(), 16 * 30.0);
    QTest::keyClick(&m_display, Qt::Key_Up);
    QTest::keyClick(&m_display, Qt::Key_PageUp);
    QTest::keyClick(&m_display, Qt::Key_Up);
    EXPECT_EQ(m_display.startTime(), 0.0);
    QTest::keyClick(&m_display, Qt::Key_End);
    EXPECT_EQ(m_display.startTime(), 105 * 30.0);
    QTest::keyClick(&m_display, Qt::Key_PageDown);
    EXPECT_EQ(m_display.startTime(), 105 * 30.0);
    QTest::keyClick(&m_display, Qt::Key_Home);
    EXPECT_EQ(m_display.startTime(), 0.0);
    // Longer rows: the same place stays on the page, at its row's start.
    m_display.setStartTime(1000.0);
    m_display.setRowSeconds(60.0);
    EXPECT_EQ(m_display.startTime(), 960.0);
    EXPECT_EQ(bar->maximum(), 60 - 15);
    // A recording shorter than the page scrolls nowhere.
    auto shortSource = spikeSource(100.0);
    m_display.setSignal(shortSource.get());
    EXPECT_FALSE(bar->isEnabled());
    EXPECT_EQ(m_display.startTime(), 0.0);
    m_display.setSignal(m_source.get());
}

TEST_F(CompressedDisplayTest, RowsBeyondTheRecordingStayWhite)
{
    auto shortSource = spikeSource(100.0);
    m_display.setSignal(shortSource.get());
    m_display.setRowSeconds(10.0); // 2000 samples a row, more than the pixels
    const QImage page = m_display.page().toImage();
    const double pitch = page.height() / 15.0;
    for (int row = 0; row < 15; ++row) {
        SCOPED_TRACE(row);
        // Leave out the clock labels at the left.
        const QRect r(80, int(row * pitch) + 2, page.width() - 80, int(pitch) - 4);
        const int ink = countPixels(page, r, dark);
        if (row < 10)
            EXPECT_GT(ink, 20);
        else
            EXPECT_EQ(ink, 0);
    }
}

TEST_F(CompressedDisplayTest, AnIntervalColoursItsRowsAcrossThePage)
{
    m_display.setSignal(nullptr); // backgrounds alone
    Study study;
    EventCatalog catalog(&study);
    EventCatalogItem item;
    item.type = ArrhythmiaType::AtrialFibrillation;
    item.timestamp = 95.0;
    item.duration = 70.0; // over three rows of 30 s
    catalog.add(item);
    ASSERT_EQ(catalog.count(), 1);
    m_display.setEvents(&catalog);
    const QColor colour = arrhythmiaTypeColour(item.type);
    const QImage page = m_display.page().toImage();
    const CompressedPageGeometry g = m_display.pageGeometry();
    auto coloured = [&](double seconds) {
        int row = 0;
        double x = 0.0;
        if (!g.locate(seconds, &row, &x))
            return false;
        // Low in the row, below its label's tab.
        const QPoint p(int(x), int(g.rowRect(row).bottom()) - 3);
        return QColor(page.pixel(p)).rgb() == colour.rgb();
    };
    EXPECT_FALSE(coloured(94.0));
    EXPECT_TRUE(coloured(96.0));
    EXPECT_TRUE(coloured(119.5));
    EXPECT_TRUE(coloured(121.0));
    EXPECT_TRUE(coloured(149.0));
    EXPECT_TRUE(coloured(164.0));
    EXPECT_FALSE(coloured(166.0));
    EXPECT_FALSE(coloured(200.0));
}

TEST_F(CompressedDisplayTest, ScaleMenuOffersTheGainsAndSetsThem)
{
    const QList<QAction*> actions = m_display.scaleMenu()->actions();
    ASSERT_EQ(actions.size(), 5);
    const QStringList texts = { "0.25x", "0.5x", "1x", "2x", "4x" };
    for (int i = 0; i < actions.size(); ++i) {
        EXPECT_EQ(actions[i]->text(), texts[i]);
        actions[i]->trigger();
        EXPECT_EQ(m_display.scale(), QSignalCompressedDisplay::scaleChoices()[i]);
        EXPECT_TRUE(actions[i]->isChecked());
    }
    // The gain shows on the page: taller spikes at 4x than at 1x.
    auto inkRows = [&] {
        const QImage page = m_display.page().toImage();
        int rowsWithInk = 0;
        for (int y = 0; y < 30; ++y)
            rowsWithInk += countPixels(page, QRect(80, y, page.width() - 80, 1), dark) > 0;
        return rowsWithInk;
    };
    const int at4 = inkRows();
    actions[2]->trigger();
    EXPECT_GT(at4, inkRows());
}

TEST_F(CompressedDisplayTest, ResizingAnnouncesItself)
{
    QSignalSpy resized(&m_display, &QSignalCompressedDisplay::resized);
    m_display.resize(900, 450);
    QApplication::processEvents();
    EXPECT_EQ(resized.count(), 1);
    EXPECT_EQ(m_display.page().width() + m_display.scrollBarWidget()->width(), 900);
}

} // namespace
