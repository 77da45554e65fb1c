#include "display/beatthumbnailpainter.h"
#include "display/timecellselection.h"
#include "review/qbeatoverlapdisplay.h"
#include "tests/review/beatdisplaytestutil.h"

#include <QPixmap>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace reviewtest;

namespace {

// An hour of spikes in cells of 120 s: 30 cells, 5 rows of 6 on one page. Beats come every
// 0.93 s, so that their R waves fall between samples in every way.
class OverlapTest : public ::testing::Test
{
protected:
    static constexpr double kPeriod = 0.93;

    void SetUp() override
    {
        m_source = displaytest::functionSource(kRate, 3600 * kRate, [](qint64 i) -> qint16 {
            const double t = double(i) / kRate;
            const double k = std::round(t / kPeriod);
            return k >= 1 && std::abs(t - k * kPeriod) < 0.011 ? displaytest::kOneMillivolt : 0;
        });
        for (int k = 1; k * kPeriod < 3599.0; ++k) {
            const int index = m_beats.count();
            m_beats.append(displaytest::beatAt(index, k * kPeriod, k % 7 == 0 ? BeatV : BeatN));
        }
        m_display.setSignal(m_source.get());
        m_display.setBeats(&m_beats);
        m_display.setStartDateTime(QDateTime(QDate(2026, 11, 22), QTime(9, 0)));
        m_display.resize(600 + m_display.scrollBarWidget()->sizeHint().width(), 500);
        m_display.show();
        m_display.setFocus();
        QApplication::processEvents();
    }
    void key(Qt::Key k, Qt::KeyboardModifiers m = Qt::NoModifier)
    {
        QTest::keyClick(&m_display, k, m);
    }
    QPair<double, double> selected() const
    {
        return { m_display.selectionStart(), m_display.selectionLength() };
    }
    using Sel = QPair<double, double>;

    std::unique_ptr<MemorySource> m_source;
    MemoryBeatList m_beats;
    QBeatOverlapDisplay m_display;
};

TEST_F(OverlapTest, KeysMoveAndStretchTheSelectionInWholeCells)
{
    QSignalSpy changed(&m_display, &QBeatOverlapDisplay::selectedTimeChanged);
    EXPECT_EQ(selected(), Sel(0, 120));
    key(Qt::Key_Down);
    key(Qt::Key_Left);
    EXPECT_EQ(selected(), Sel(600, 120));
    key(Qt::Key_Right, Qt::ShiftModifier);
    key(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(selected(), Sel(600, 360));
    EXPECT_EQ(m_display.selectionDirection(), 1);
    // Going back shrinks, then grows to the left of the anchor.
    for (int i = 0; i < 4; ++i)
        key(Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_EQ(selected(), Sel(360, 360));
    EXPECT_EQ(m_display.selectionDirection(), -1);
    // A plain move keeps the length and stops at the recording's end.
    key(Qt::Key_End);
    EXPECT_EQ(selected(), Sel(3600 - 360, 360));
    key(Qt::Key_Right);
    EXPECT_EQ(selected(), Sel(3600 - 360, 360));
    key(Qt::Key_Home, Qt::ShiftModifier);
    EXPECT_EQ(selected(), Sel(0, 3600));
    ASSERT_EQ(changed.count(), 10); // the step that moved nothing said nothing
    EXPECT_EQ(changed.last().at(0).toDouble(), 0.0);
    EXPECT_EQ(changed.last().at(1).toDouble(), 3600.0);
}

TEST_F(OverlapTest, PressesMoveTheSelectionAndShiftExtendsIt)
{
    QSignalSpy changed(&m_display, &QBeatOverlapDisplay::selectedTimeChanged);
    const auto centre
        = [&](int cell) { return m_display.gridGeometry().cellRect(cell).center().toPoint(); };
    QTest::mouseClick(&m_display, Qt::LeftButton, Qt::NoModifier, centre(8));
    EXPECT_EQ(selected(), Sel(960, 120));
    QTest::mouseClick(&m_display, Qt::LeftButton, Qt::ShiftModifier, centre(3));
    EXPECT_EQ(selected(), Sel(360, 720));
    QTest::mouseClick(&m_display, Qt::LeftButton, Qt::NoModifier, centre(27));
    EXPECT_EQ(selected(), Sel(2880, 720)); // kept its length, stopped at the end
    EXPECT_EQ(changed.count(), 3);
}

TEST_F(OverlapTest, ThePageFollowsTheSelection)
{
    m_display.setInterval(60); // 60 cells, two pages
    EXPECT_TRUE(m_display.scrollBarWidget()->isEnabled());
    key(Qt::Key_PageDown);
    EXPECT_EQ(selected(), Sel(1800, 60));
    EXPECT_EQ(m_display.firstCell(), 6); // the selection's row is the page's last
    key(Qt::Key_Home);
    EXPECT_EQ(m_display.firstCell(), 0);
    // A new interval keeps the time of the selection, one cell long.
    key(Qt::Key_End);
    m_display.setInterval(600);
    EXPECT_EQ(selected(), Sel(3000, 600));
}

TEST_F(OverlapTest, CellsOverlayTheirBeatsOnACommonRWave)
{
    ASSERT_TRUE(beattest::waitWhile([&] { return m_display.thumbnailsPending(); }));
    EXPECT_EQ(m_display.cachedThumbnails(), 30);
    const QImage img = m_display.page().toImage();
    for (int cell : { 0, 7, 29 }) {
        const QRectF r = m_display.gridGeometry().thumbnailRect(cell);
        // Half way up the spikes dark runs appear only around the common R position.
        const int y = int(r.center().y() - 0.5 * BeatThumbnailPainter::pixelsPerMillivolt(r));
        const QVector<double> runs = displaytest::runCentres(
            img, true, y, int(r.left()) + 1, int(r.right()) - 1, displaytest::dark);
        ASSERT_FALSE(runs.isEmpty()) << cell;
        for (double x : runs)
            EXPECT_NEAR(x, r.left() + r.width() * 0.3 / 0.75, 2.5) << cell;
    }
}

TEST_F(OverlapTest, ATypeWithoutBeatsShowsEmptyCells)
{
    m_display.setDisplayType(BeatS);
    ASSERT_TRUE(beattest::waitWhile([&] { return m_display.thumbnailsPending(); }));
    const QImage img = m_display.page().toImage();
    const QRectF r = m_display.gridGeometry().thumbnailRect(1);
    EXPECT_EQ(
        displaytest::countPixels(img, r.adjusted(0, 20, 0, 0).toRect(), displaytest::dark), 0);
}

struct SelectionStep
{
    enum Op { Move, Extend, MoveTo, ExtendTo } op;
    int value;
    int first;
    int last;
    int direction;
};

TEST(TimeCellSelection, FollowsTheAnchorAndTheHead)
{
    // Ten cells, from cell 4.
    const SelectionStep steps[] = {
        { SelectionStep::Extend, 2, 4, 6, 1 },
        { SelectionStep::Extend, -3, 3, 4, -1 },
        { SelectionStep::Move, 100, 8, 9, -1 },
        { SelectionStep::Move, -100, 0, 1, -1 },
        { SelectionStep::ExtendTo, -5, 0, 1, -1 },
        { SelectionStep::MoveTo, 9, 8, 9, -1 },
        { SelectionStep::ExtendTo, 20, 9, 9, 0 },
        { SelectionStep::Extend, -2, 7, 9, -1 },
    };
    TimeCellSelection s;
    s.reset(4);
    for (const SelectionStep& step : steps) {
        switch (step.op) {
        case SelectionStep::Move:
            s.move(step.value, 10);
            break;
        case SelectionStep::Extend:
            s.extend(step.value, 10);
            break;
        case SelectionStep::MoveTo:
            s.moveTo(step.value, 10);
            break;
        case SelectionStep::ExtendTo:
            s.extendTo(step.value, 10);
            break;
        }
        EXPECT_EQ(s.firstCell(), step.first);
        EXPECT_EQ(s.lastCell(), step.last);
        EXPECT_EQ(s.direction(), step.direction);
    }
}

} // namespace
