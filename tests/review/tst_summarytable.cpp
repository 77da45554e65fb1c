#include "results/summarytable.h"
#include "results/summarytabletotals.h"
#include "store/resultset.h"
#include "store/trend.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QLineEdit>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTableView>
#include <QTest>

#include <gtest/gtest.h>

namespace {

// Three hours of results: hourly counts i + column in hour i, totals their sums, HR 60..80.
class SummaryTableTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        for (int c = 0; c < SummaryTable::kColumns; ++c) {
            std::unique_ptr<BinnedTrend> t;
            if (c < 3)
                t = std::make_unique<BinnedMedian>();
            else
                t = std::make_unique<BinnedCount>();
            t->configure(3600.0, 3);
            double sum = 0.0;
            for (int h = 0; h < 3; ++h) {
                const double v = c < 3 ? 60.0 + 10.0 * h + c : double(h + c - 3);
                t->setValueAt(h, v);
                sum += v;
            }
            m_results.insert(SummaryTable::kHourlyKeys[c], std::move(t));
            const QByteArray total = SummaryTableTotals::kTotalKeys[c];
            if (c == 1 || c == 2)
                m_results.insert(total, std::make_unique<EventResult>(1800.0, 0.0, 55.0 + c));
            else
                m_results.insert(total, std::make_unique<ValueResult>(c == 0 ? 70.4 : sum));
        }
    }
    double total(int column) const
    {
        return m_results.findAs<ValueResult>(SummaryTableTotals::kTotalKeys[column])->value;
    }

    ResultSet m_results;
    SummaryTable m_table { &m_results, "20261120234015" };
    SummaryTableTotals m_totals { &m_results };
};

TEST_F(SummaryTableTest, ModelsPassTheItemModelTester)
{
    QAbstractItemModelTester a(&m_table, QAbstractItemModelTester::FailureReportingMode::Warning);
    QAbstractItemModelTester b(&m_totals, QAbstractItemModelTester::FailureReportingMode::Warning);
    EXPECT_EQ(m_table.rowCount(), 3);
    EXPECT_EQ(m_table.columnCount(), 13);
    EXPECT_EQ(m_totals.rowCount(), 1);
    // The tester also watches the edits and resets.
    EXPECT_TRUE(m_table.setData(m_table.index(1, 4), 9));
    m_table.reload();
    EXPECT_TRUE(m_totals.setData(m_totals.index(0, 3), 12));
}

TEST_F(SummaryTableTest, RowsReadTheClockFromTheStartAcrossMidnight)
{
    const QStringList rows { "23:40", "00:40", "01:40" };
    for (int r = 0; r < 3; ++r)
        EXPECT_EQ(m_table.headerData(r, Qt::Vertical).toString(), rows[r]);
    EXPECT_EQ(m_table.headerData(0, Qt::Horizontal).toString(), "Avg.\nHR");
    EXPECT_EQ(m_table.headerData(12, Qt::Horizontal).toString(), "SVPB\ntachy");
    EXPECT_EQ(m_totals.headerData(0, Qt::Vertical).toString(), "Total");
    EXPECT_FALSE(m_totals.headerData(0, Qt::Horizontal).isValid());
}

TEST_F(SummaryTableTest, CellsShowWholeNumbersAndADashForNothing)
{
    const struct
    {
        int row, column;
        QVariant display;
        int edit;
    } cases[] = {
        { 0, 0, 60, 60 },
        { 2, 2, 82, 82 },
        { 0, 3, "-", 0 },
        { 1, 3, 1, 1 },
        { 2, 12, 11, 11 },
    };
    for (const auto& c : cases) {
        const QModelIndex i = m_table.index(c.row, c.column);
        EXPECT_EQ(m_table.data(i), c.display) << c.row << "," << c.column;
        EXPECT_EQ(m_table.data(i, Qt::EditRole).toInt(), c.edit);
        EXPECT_EQ(m_table.data(i, Qt::TextAlignmentRole).toInt(), int(Qt::AlignCenter));
        EXPECT_FALSE(m_table.data(i, Qt::ToolTipRole).isValid());
        EXPECT_TRUE(m_table.flags(i) & Qt::ItemIsEditable);
    }
    EXPECT_EQ(m_totals.data(m_totals.index(0, 0)), 70); // truncated
    EXPECT_EQ(m_totals.data(m_totals.index(0, 1)), 56); // the event's value
    m_results.remove("PVC/runCount");
    EXPECT_EQ(m_totals.data(m_totals.index(0, 6)), "-");
    EXPECT_FALSE(m_totals.setData(m_totals.index(0, 6), 3));
}

TEST_F(SummaryTableTest, AnEditedHourMovesTheTotalOfItsCountOnly)
{
    QSignalSpy totalsChanged(&m_totals, &QAbstractItemModel::dataChanged);
    QObject::connect(
        &m_table, &SummaryTable::totalsChanged, &m_totals, &SummaryTableTotals::refresh);
    QSignalSpy cellChanged(&m_table, &QAbstractItemModel::dataChanged);
    const struct
    {
        int row, column;
        QVariant typed;
        bool accepted;
        int hourAfter;
        double totalAfter; // of the column's count
    } cases[] = {
        { 2, 3, 5, true, 5, 3 + 2 }, // PVC 2 -> 5 in hour 3: the total 3 -> 6? see below
        { 2, 3, "-1", false, 5, 5 }, { 2, 3, "abc", false, 5, 5 }, { 2, 3, 2.5, false, 5, 5 },
        { 2, 3, " 5 ", true, 5, 5 }, // the same value: accepted, nothing moves
        { 0, 9, 0, true, 0, 0 },
        { 1, 9, 0, true, 0, 0 }, // lowering below nothing stops the total at 0
    };
    // Hours of PVC count 0, 1, 2: total 3; hour 2 typed 5 makes it 6.
    EXPECT_DOUBLE_EQ(total(3), 3.0);
    for (const auto& c : cases) {
        const QModelIndex i = m_table.index(c.row, c.column);
        EXPECT_EQ(m_table.setData(i, c.typed), c.accepted) << c.typed.toString().toStdString();
        EXPECT_EQ(m_table.data(i, Qt::EditRole).toInt(), c.hourAfter);
    }
    EXPECT_DOUBLE_EQ(total(3), 6.0);
    // SVPB hours 6, 7, 8 (total 21) went 6 -> 0 and 7 -> 0: total 21 - 13 = 8.
    EXPECT_DOUBLE_EQ(total(9), 8.0);
    m_results.findAs<ValueResult>("SVPB/totalCount")->value = 3.0;
    EXPECT_TRUE(m_table.setData(m_table.index(2, 9), 0));
    EXPECT_DOUBLE_EQ(total(9), 0.0);
    EXPECT_EQ(cellChanged.count(), 4);
    EXPECT_EQ(totalsChanged.count(), 4);
    EXPECT_FALSE(m_table.setData(m_table.index(0, 3), 4, Qt::DisplayRole));
    // The average of an hour stands alone: the study's average is not its sum.
    EXPECT_TRUE(m_table.setData(m_table.index(1, 0), 99));
    EXPECT_DOUBLE_EQ(total(0), 70.4);
}

TEST_F(SummaryTableTest, ATypedMinimumLosesItsTime)
{
    EXPECT_TRUE(m_totals.setData(m_totals.index(0, 1), 48));
    const auto* min = m_results.findAs<EventResult>("HR/minBPM");
    EXPECT_DOUBLE_EQ(min->value, 48.0);
    EXPECT_DOUBLE_EQ(min->timestamp, 0.0);
    EXPECT_DOUBLE_EQ(min->duration, 0.0);
    EXPECT_TRUE(m_totals.setData(m_totals.index(0, 0), 75));
    EXPECT_DOUBLE_EQ(total(0), 75.0);
    EXPECT_FALSE(m_totals.setData(m_totals.index(0, 4), -2));
    EXPECT_DOUBLE_EQ(total(4), 6.0);
}

TEST_F(SummaryTableTest, EditingInPlaceInATableViewReachesBothTables)
{
    QTableView hours;
    QTableView totals;
    hours.setModel(&m_table);
    totals.setModel(&m_totals);
    QObject::connect(
        &m_table, &SummaryTable::totalsChanged, &m_totals, &SummaryTableTotals::refresh);
    hours.resize(800, 200);
    hours.show();
    totals.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&hours));
    const QModelIndex zero = m_table.index(0, 3); // shows "-"
    hours.setCurrentIndex(zero);
    hours.edit(zero);
    QApplication::processEvents();
    auto* spin = hours.findChild<QSpinBox*>();
    ASSERT_NE(spin, nullptr);
    EXPECT_EQ(spin->value(), 0) << "the dash edits as 0";
    spin->setFocus();
    spin->selectAll();
    QTest::keyClicks(spin, "4");
    EXPECT_EQ(spin->value(), 4);
    // What the delegate does when the editor is committed.
    hours.itemDelegate()->setModelData(spin, &m_table, zero);
    EXPECT_EQ(m_table.data(zero), 4);
    EXPECT_EQ(m_totals.data(m_totals.index(0, 3)), 7);
}

} // namespace
