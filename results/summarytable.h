#pragma once

#include <QAbstractTableModel>
#include <QByteArray>
#include <QDateTime>

class ResultSet;
class TTrend;

// The hour-by-hour table of a study's results: one row per hour of the recording labelled with
// its clock time, thirteen columns of heart rate and ectopy counts. Cells edit the hourly trends
// in place; an edited count moves the study's total by the same amount.
class SummaryTable : public QAbstractTableModel
{
    Q_OBJECT
public:
    static constexpr int kColumns = 13;
    // The hourly trend of each column.
    static const char* const kHourlyKeys[kColumns];

    // `results` is not owned; `studyDateTime` is the study's "yyyyMMddHHmmss" text.
    SummaryTable(ResultSet* results, const QByteArray& studyDateTime, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(
        int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;

    // Re-reads the results after they were recomputed elsewhere.
    void reload();

signals:
    // A total of the study changed through an edit of an hour.
    void totalsChanged();

private:
    TTrend* trend(int column) const;

    ResultSet* m_results;
    QDateTime m_start;
};

// Parses a value typed into a summary cell: a whole number of at least 0; false otherwise.
bool summaryCount(const QVariant& value, int* out);
