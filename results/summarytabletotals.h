#pragma once

#include <QAbstractTableModel>

class ResultSet;

// The one row of whole-study totals under the hourly summary, in the same thirteen columns;
// edits write the study's results.
class SummaryTableTotals : public QAbstractTableModel
{
    Q_OBJECT
public:
    static constexpr int kColumns = 13;
    // The total of each column: a value, or for columns 1 and 2 the event of the minimum and
    // maximum heart rate.
    static const char* const kTotalKeys[kColumns];

    explicit SummaryTableTotals(ResultSet* results, QObject* parent = nullptr); // not owned

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(
        int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;

public slots:
    // The results changed under the model (an hour was edited): every cell is read again.
    void refresh();

private:
    // The stored number of a column; false when its result is absent.
    bool valueOf(int column, double* out) const;

    ResultSet* m_results;
};
