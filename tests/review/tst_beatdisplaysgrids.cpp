#include "display/beatthumbnailpainter.h"
#include "review/qbeatclassdisplay.h"
#include "review/qbeatgriddisplay.h"
#include "tests/review/beatdisplaytestutil.h"

#include <QPixmap>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace reviewtest;

namespace {

// 300 beats of spikes, one a second; classes of 1 to 12 beats of the types N, V, S.
class ClassDisplayTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_source = spikeSource(302.0);
        m_beats = beatsEverySecond(300);
        m_set = std::make_unique<BeatClassSet>(m_source.get(), m_beats.get());
        beattest::addClass(*m_set, 10001, BeatN, range(0, 3)); // 3 beats
        beattest::addClass(*m_set, 10002, BeatN, range(10, 22)); // 12
        beattest::addClass(*m_set, 10003, BeatN, range(30, 31)); // 1
        beattest::addClass(*m_set, 10004, BeatN, range(40, 45)); // 5
        beattest::addClass(*m_set, 10005, BeatV, range(50, 52), 0.7);
        beattest::addClass(*m_set, 10006, BeatS, range(60, 64), 0.0);
        m_display.setClasses(m_set.get());
        m_display.setDisplayType(BeatN, false);
        m_display.resize(800 + m_display.scrollBarWidget()->sizeHint().width(), 500);
        m_display.show();
        QApplication::processEvents();
    }
    static QVector<int> range(int from, int to)
    {
        QVector<int> v;
        for (int i = from; i < to; ++i)
            v << i;
        return v;
    }
    // The centre of cell `index` of the page (cells 100 x 100).
    QPoint cellCentre(int index) const
    {
        const QRectF r = m_display.gridGeometry().cellRect(index);
        return r.center().toPoint();
    }
    void click(int index, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::mouseClick(&m_display, Qt::LeftButton, modifiers, cellCentre(index));
    }

    std::unique_ptr<MemorySource> m_source;
    std::unique_ptr<MemoryBeatList> m_beats;
    std::unique_ptr<BeatClassSet> m_set;
    QBeatClassDisplay m_display;
};

TEST_F(ClassDisplayTest, ShowsTheClassesOfTheTypeLargestFirst)
{
    EXPECT_EQ(m_display.classIds(), QVector<int>({ 10002, 10004, 10001, 10003 }));
    EXPECT_EQ(m_display.selectedClass(), 10002);
    QSignalSpy changed(&m_display, &QBeatClassDisplay::selectedClassChanged);
    m_display.setDisplayType(BeatV, true);
    EXPECT_EQ(m_display.classIds(), QVector<int>({ 10005 }));
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed.at(0).at(0).toInt(), 10005);
}

TEST_F(ClassDisplayTest, ClicksSelectWithShiftAndControl)
{
    QSignalSpy changed(&m_display, &QBeatClassDisplay::selectedClassChanged);
    click(1);
    EXPECT_EQ(m_display.selectedClassIds(), QList<int>({ 10004 }));
    click(3, Qt::ShiftModifier);
    EXPECT_EQ(m_display.selectedClassIds(), QList<int>({ 10003, 10004, 10001 }));
    click(2, Qt::ControlModifier); // toggles off, and becomes current
    EXPECT_EQ(m_display.selectedClass(), 10001);
    EXPECT_EQ(m_display.selectedClassIds(), QList<int>({ 10001, 10004, 10003 }));
    click(0, Qt::ControlModifier);
    EXPECT_EQ(m_display.selectedClassIds(), QList<int>({ 10002, 10004, 10003 }));
    click(3);
    EXPECT_EQ(m_display.selectedClassIds(), QList<int>({ 10003 }));
    ASSERT_EQ(changed.count(), 5);
    EXPECT_EQ(changed.at(4).at(0).toInt(), 10003);
    // A click past the last class and a second click on the current one say nothing.
    click(6);
    click(3);
    EXPECT_EQ(changed.count(), 5);
    EXPECT_EQ(m_display.selectedClassIds(), QList<int>({ 10003 }));
}

TEST_F(ClassDisplayTest, KeysMoveTheCurrentClassAndShiftExtends)
{
    QSignalSpy changed(&m_display, &QBeatClassDisplay::selectedClassChanged);
    m_display.setFocus();
    QTest::keyClick(&m_display, Qt::Key_Right);
    QTest::keyClick(&m_display, Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(m_display.selectedClassIds(), QList<int>({ 10001, 10004 }));
    QTest::keyClick(&m_display, Qt::Key_End);
    EXPECT_EQ(m_display.selectedClassIds(), QList<int>({ 10003 }));
    QTest::keyClick(&m_display, Qt::Key_Down); // clamped to the list
    QTest::keyClick(&m_display, Qt::Key_Home, Qt::ShiftModifier);
    EXPECT_EQ(m_display.selectedClassIds(), QList<int>({ 10002, 10004, 10001, 10003 }));
    EXPECT_EQ(changed.count(), 4);
}

TEST_F(ClassDisplayTest, ThumbnailsShowCountsAndPrematurityAndFillInFromTheTimer)
{
    m_display.setDisplayType(BeatN, false);
    EXPECT_TRUE(m_display.thumbnailsPending());
    ASSERT_TRUE(beattest::waitWhile([&] { return m_display.thumbnailsPending(); }));
    EXPECT_EQ(m_display.cachedThumbnails(), 4);
    const QImage img = m_display.page().toImage();
    auto labelInk = [&](int index) {
        const QRectF r = m_display.gridGeometry().thumbnailRect(index);
        return displaytest::countPixels(img, QRect(int(r.left()), int(r.top()) + 1, 20, 12),
            [](QRgb c) { return qRed(c) < 170 && qAbs(qRed(c) - qBlue(c)) < 10; });
    };
    EXPECT_GT(labelInk(0), 5); // "12"
    EXPECT_EQ(labelInk(3), 0); // one beat: no count
    // Every shape is a spike standing up from the middle line, in black.
    for (int i = 0; i < 4; ++i) {
        const QRectF r = m_display.gridGeometry().thumbnailRect(i);
        EXPECT_GT(displaytest::countPixels(img, r.toRect(), displaytest::dark), 10) << i;
    }
}

struct PrematurityCase
{
    double q;
    BeatThumbnailPainter::Prematurity::Kind kind;
    int red;
    double redWidth;
};

class Prematurity : public ::testing::TestWithParam<PrematurityCase>
{
};

TEST_P(Prematurity, MarksShowHowEarlyAClassComes)
{
    const auto m = BeatThumbnailPainter::prematurity(GetParam().q);
    EXPECT_EQ(m.kind, GetParam().kind);
    if (m.kind == BeatThumbnailPainter::Prematurity::Bar) {
        EXPECT_EQ(m.red, GetParam().red);
        EXPECT_NEAR(m.redWidthPx, GetParam().redWidth, 1e-9);
    }
}

using K = BeatThumbnailPainter::Prematurity;
INSTANTIATE_TEST_SUITE_P(ClassThumbnail, Prematurity,
    ::testing::Values(PrematurityCase { 0.0, K::Square, 0, 0 },
        PrematurityCase { 0.5, K::Bar, 250, 10 }, PrematurityCase { 0.6, K::Bar, 250, 8 },
        PrematurityCase { 0.7, K::Bar, 150, 6 }, PrematurityCase { 0.75, K::Bar, 100, 5 },
        PrematurityCase { 0.9, K::Bar, 100, 2 }, PrematurityCase { 0.9001, K::None, 0, 0 },
        PrematurityCase { 1.2, K::None, 0, 0 }, PrematurityCase { -1.0, K::None, 0, 0 }));

TEST_F(ClassDisplayTest, SelectSimilarAddsClassesOfLikeShapeAndSize)
{
    // Shapes on a source of its own: spikes of 1 mV at 2..9 s, 0.9 mV at 12..19 s, 2 mV at
    // 22..29 s, and -1 mV at 32..39 s.
    auto source = displaytest::functionSource(kRate, 45 * kRate, [](qint64 i) -> qint16 {
        const qint64 s = i / kRate;
        const qint64 k = (i + 2) % kRate;
        if (k >= 5 || s < 1)
            return 0;
        const qint64 second = (i + 2) / kRate;
        if (second >= 2 && second <= 9)
            return displaytest::kOneMillivolt;
        if (second >= 12 && second <= 19)
            return qint16(displaytest::kOneMillivolt * 0.9);
        if (second >= 22 && second <= 29)
            return qint16(displaytest::kOneMillivolt * 1.99);
        if (second >= 32 && second <= 39)
            return qint16(-displaytest::kOneMillivolt);
        return 0;
    });
    MemoryBeatList beats;
    for (int s = 1; s <= 40; ++s)
        beats.append(displaytest::beatAt(s - 1, s, BeatN, 1.0));
    BeatClassSet set(source.get(), &beats);
    beattest::addClass(set, 1, BeatN, { 1, 2, 3, 4, 5, 6, 7, 8 }); // 1 mV, current
    beattest::addClass(set, 2, BeatN, { 11, 12, 13, 14, 15, 16, 17 }); // 0.9 mV
    beattest::addClass(set, 3, BeatN, { 21, 22, 23, 24, 25, 26 }); // 2 mV
    beattest::addClass(set, 4, BeatN, { 31, 32, 33, 34, 35 }); // inverted
    beattest::addClass(set, 5, BeatV, { 9, 10 }); // another type
    QBeatClassDisplay display;
    display.setClasses(&set);
    display.setDisplayType(BeatN, false);
    ASSERT_EQ(display.selectedClass(), 1);
    QSignalSpy changed(&display, &QBeatClassDisplay::selectedClassChanged);
    display.selectSimilar(0.85);
    EXPECT_EQ(display.selectedClassIds(), QList<int>({ 1, 2 }));
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed.at(0).at(0).toInt(), 1);
    // Nothing current: nothing to compare with.
    display.setDisplayType(BeatU, false);
    display.selectSimilar(0.85);
    EXPECT_TRUE(display.selectedClassIds().isEmpty());
}

TEST(ClassDisplayEmpty, AnEmptyTypeLeavesTheGridWhiteAndTheKeysIdle)
{
    BeatClassSet set;
    QBeatClassDisplay display;
    display.setClasses(&set);
    display.setDisplayType(BeatF, true);
    display.resize(400, 300);
    display.show();
    QSignalSpy changed(&display, &QBeatClassDisplay::selectedClassChanged);
    display.setFocus();
    for (Qt::Key k : { Qt::Key_Right, Qt::Key_End, Qt::Key_PageDown })
        QTest::keyClick(&display, k);
    QTest::mouseClick(&display, Qt::LeftButton, Qt::NoModifier, QPoint(20, 20));
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(display.selectedClass(), -1);
    const QImage img = display.page().toImage();
    EXPECT_EQ(displaytest::countPixels(img, img.rect(), displaytest::notWhite), 0);
    EXPECT_FALSE(display.thumbnailsPending());
}

// ---------------------------------------------------------------------------------------------

// A grid of beats: 300 one-second beats, every fifth ventricular.
class BeatGridTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_source = spikeSource(302.0);
        m_beats = beatsEverySecond(300);
        m_grid.setSignal(m_source.get());
        m_grid.setBeats(m_beats.get());
        m_grid.resize(800 + m_grid.scrollBarWidget()->sizeHint().width(), 600);
        m_grid.show();
        QApplication::processEvents();
    }
    std::unique_ptr<MemorySource> m_source;
    std::unique_ptr<MemoryBeatList> m_beats;
    QBeatGridDisplay m_grid;
};

struct PageCase
{
    int lastSecond; // normal beats up to it: four in five
    int beats;
    int rows;
    int columns;
};

class BeatGridPage : public BeatGridTest, public ::testing::WithParamInterface<PageCase>
{
};

TEST_P(BeatGridPage, CellsShrinkAsTheListGrows)
{
    m_grid.showInterval(0.5, GetParam().lastSecond - 0.5, BeatN);
    EXPECT_EQ(m_grid.beatIds().size(), GetParam().beats);
    EXPECT_EQ(m_grid.rows(), GetParam().rows);
    EXPECT_EQ(m_grid.columns(), GetParam().columns);
}

INSTANTIATE_TEST_SUITE_P(BeatGrid, BeatGridPage,
    ::testing::Values(PageCase { 50, 40, 5, 8 }, PageCase { 51, 41, 6, 10 },
        PageCase { 75, 60, 6, 10 }, PageCase { 76, 61, 7, 11 }, PageCase { 96, 77, 7, 11 },
        PageCase { 97, 78, 8, 13 }, PageCase { 130, 104, 8, 13 }, PageCase { 131, 105, 9, 14 },
        PageCase { 157, 126, 9, 14 }, PageCase { 158, 127, 10, 16 }));

TEST_F(BeatGridTest, ShowIntervalTakesTheBeatsOfTheTypeInTheStretch)
{
    // Beat i stands at i + 1 s; its time, 0.2 s earlier, decides.
    m_grid.showInterval(9.79, 10.0, BeatV);
    EXPECT_EQ(m_grid.beatIds(), QVector<int>({ 9, 14 }));
    m_grid.showInterval(9.81, 10.0, BeatV);
    EXPECT_EQ(m_grid.beatIds(), QVector<int>({ 14, 19 }));
    m_grid.showInterval(400.0, 10.0, BeatN);
    EXPECT_TRUE(m_grid.beatIds().isEmpty());
}

TEST_F(BeatGridTest, ShowClassesGathersAndSortsTheMembers)
{
    BeatClassSet set(m_source.get(), m_beats.get());
    beattest::addClass(set, 7, BeatN, { 40, 3, 12 });
    beattest::addClass(set, 8, BeatN, { 5, 1 });
    m_grid.setClasses(&set);
    m_grid.showClasses({ 7, 8, 99 });
    EXPECT_EQ(m_grid.beatIds(), QVector<int>({ 1, 3, 5, 12, 40 }));
}

TEST_F(BeatGridTest, PagingKeepsTheCurrentBeatInViewAndSignalsIt)
{
    m_grid.showInterval(0.0, 300.0, BeatN); // 240 beats, 10 x 16
    ASSERT_EQ(m_grid.beatIds().size(), 240);
    QSignalSpy changed(&m_grid, &QBeatGridDisplay::selectedBeatChanged);
    m_grid.setFocus();
    QTest::keyClick(&m_grid, Qt::Key_Right); // from nothing to the first
    EXPECT_EQ(m_grid.currentCell(), 0);
    QTest::keyClick(&m_grid, Qt::Key_PageDown);
    EXPECT_EQ(m_grid.currentCell(), 160);
    EXPECT_EQ(m_grid.firstCell(), 16); // its row is the page's last
    QTest::keyClick(&m_grid, Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_EQ(m_grid.currentCell(), 144);
    EXPECT_EQ(m_grid.firstCell(), 16);
    EXPECT_EQ(m_grid.selection().size(), 17);
    QTest::keyClick(&m_grid, Qt::Key_End);
    EXPECT_EQ(m_grid.firstCell(), 80); // 15 rows, the last ten shown
    EXPECT_EQ(m_grid.scrollBarWidget()->value(), 5);
    QTest::keyClick(&m_grid, Qt::Key_Home);
    EXPECT_EQ(m_grid.firstCell(), 0);
    EXPECT_EQ(m_grid.selectedIds(), QList<int>({ m_grid.beatIds().first() }));
    ASSERT_EQ(changed.count(), 5);
    EXPECT_EQ(changed.at(3).at(0).toInt(), m_grid.beatIds().last());
    // A click on the scrolled page picks the cell under the pointer.
    m_grid.scrollBarWidget()->setValue(2);
    QTest::mouseClick(&m_grid, Qt::LeftButton, Qt::NoModifier, QPoint(5 + 50 * 3, 5 + 60 * 1));
    EXPECT_EQ(m_grid.currentCell(), 16 * 3 + 3);
}

TEST_F(BeatGridTest, ThumbnailsAreCutAroundTheBeatsAndCachedByBeat)
{
    m_grid.showInterval(0.0, 10.0, BeatN);
    ASSERT_TRUE(beattest::waitWhile([&] { return m_grid.thumbnailsPending(); }));
    EXPECT_EQ(m_grid.cachedThumbnails(), 8);
    const QImage img = m_grid.page().toImage();
    for (int i = 0; i < 8; ++i) {
        const QRectF r = m_grid.gridGeometry().thumbnailRect(i);
        // Near its top the spike is the only ink in its row, 0.3 s into the 0.75 s window.
        const QVector<double> runs = displaytest::runCentres(img, true,
            int(r.center().y() - 0.9 * BeatThumbnailPainter::pixelsPerMillivolt(r)), int(r.left()),
            int(r.right()), displaytest::dark);
        ASSERT_FALSE(runs.isEmpty()) << i;
        for (double x : runs)
            EXPECT_NEAR(x, r.left() + r.width() * 0.3 / 0.75, 3.0) << i;
    }
    // The same beats again draw nothing new; another lead draws them all again.
    m_grid.showInterval(0.0, 6.0, BeatN);
    EXPECT_TRUE(beattest::waitWhile([&] { return m_grid.thumbnailsPending(); }));
    EXPECT_EQ(m_grid.cachedThumbnails(), 8);
    m_grid.setLead(1);
    EXPECT_EQ(m_grid.cachedThumbnails(), 0);
}

TEST(BeatGridCache, PagingThroughADayKeepsTheCacheBounded)
{
    auto source = spikeSource(2302.0);
    auto beats = beatsEverySecond(2300); // 1840 normal beats, 12 pages of 160
    QBeatGridDisplay grid;
    grid.setSignal(source.get());
    grid.setBeats(beats.get());
    grid.resize(400, 300);
    grid.show();
    grid.showInterval(0.0, 2300.0, BeatN);
    grid.setFocus();
    int most = 0;
    for (int page = 0; page < 13; ++page) {
        QTest::keyClick(&grid, Qt::Key_PageDown);
        // The page on screen is never dropped, or it would be drawn again and again.
        ASSERT_TRUE(beattest::waitWhile([&] { return grid.thumbnailsPending(); })) << page;
        most = std::max(most, grid.cachedThumbnails());
    }
    EXPECT_EQ(grid.firstCell(), 1840 - 160);
    EXPECT_LE(most, QBeatCellDisplay::kThumbnailLimit + 160);
    EXPECT_GT(most, QBeatCellDisplay::kThumbnailLimit - 160);
    EXPECT_LT(grid.cachedThumbnails(), most);
}

TEST(BeatGridEnds, BeatsAtTheRecordingsEndsAreDrawnAsFarAsTheSignalGoes)
{
    auto source = spikeSource(10.0);
    MemoryBeatList beats;
    beats.append(displaytest::beatAt(0, 0.01, BeatN)); // window begins before the recording
    beats.append(displaytest::beatAt(1, 9.99, BeatN)); // and ends after it
    QBeatGridDisplay grid;
    grid.setSignal(source.get());
    grid.setBeats(&beats);
    grid.resize(400, 300);
    grid.show();
    grid.showInterval(-1.0, 20.0, BeatN);
    ASSERT_EQ(grid.beatIds().size(), 2);
    ASSERT_TRUE(beattest::waitWhile([&] { return grid.thumbnailsPending(); }));
    EXPECT_EQ(grid.cachedThumbnails(), 2);
    QSignalSpy changed(&grid, &QBeatGridDisplay::selectedBeatChanged);
    grid.selectBeat(1);
    EXPECT_EQ(grid.selectedIds(), QList<int>({ 1 }));
    EXPECT_EQ(changed.count(), 0);
}

} // namespace
