#include "results/summarytable.h"

#include "results/summarytabletotals.h"
#include "store/resultset.h"
#include "store/trend.h"

#include <cmath>

const char* const SummaryTable::kHourlyKeys[kColumns] = { "HR/avgBPMPerHour", "HR/minBPMPerHour",
    "HR/maxBPMPerHour", "PVC/totalCountPerHour", "PVC/coupletCountPerHour",
    "PVC/tripletCountPerHour", "PVC/runCountPerHour", "bigeminy/bigeminyCountPerHour",
    "trigeminy/trigeminyCountPerHour", "SVPB/totalCountPerHour", "SVPB/coupletCountPerHour",
    "SVPB/tripletCountPerHour", "SVPB/runCountPerHour" };

namespace {

// Columns from here on are counts that add up to a total of the study.
constexpr int kFirstCountColumn = 3;

QVariant cellData(int value, int role)
{
    switch (role) {
    case Qt::DisplayRole:
        // 0 is also how a missing value looks.
        return value == 0 ? QVariant(QStringLiteral("-")) : QVariant(value);
    case Qt::EditRole:
        return value;
    case Qt::TextAlignmentRole:
        return int(Qt::AlignCenter);
    default:
        return {};
    }
}

} // namespace

bool summaryCount(const QVariant& value, int* out)
{
    bool ok = false;
    const qlonglong n = value.toString().trimmed().toLongLong(&ok);
    if (!ok || n < 0 || n > std::numeric_limits<int>::max())
        return false;
    *out = int(n);
    return true;
}

SummaryTable::SummaryTable(ResultSet* results, const QByteArray& studyDateTime, QObject* parent)
    : QAbstractTableModel(parent)
    , m_results(results)
    , m_start(QDateTime::fromString(QString::fromLatin1(studyDateTime), "yyyyMMddHHmmss"))
{
}

TTrend* SummaryTable::trend(int column) const
{
    if (!m_results || column < 0 || column >= kColumns)
        return nullptr;
    return m_results->findAs<TTrend>(kHourlyKeys[column]);
}

int SummaryTable::rowCount(const QModelIndex& parent) const
{
    if (parent.isValid())
        return 0;
    const TTrend* rows = trend(0);
    return rows ? rows->size() : 0;
}

int SummaryTable::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : kColumns;
}

QVariant SummaryTable::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const TTrend* t = trend(index.column());
    const int value = t && index.row() < t->size() ? int(t->valueAt(index.row())) : 0;
    return cellData(value, role);
}

QVariant SummaryTable::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role == Qt::TextAlignmentRole)
        return int(Qt::AlignCenter);
    if (role != Qt::DisplayRole)
        return {};
    if (orientation == Qt::Vertical) {
        // Bins count elapsed hours; the clock goes on only here, and wraps at midnight.
        const QTime start = m_start.isValid() ? m_start.time() : QTime(0, 0);
        return start.addSecs(3600 * (section % 24)).toString(QStringLiteral("HH:mm"));
    }
    static const char* const headers[kColumns] = { QT_TR_NOOP("Avg.\nHR"), QT_TR_NOOP("Min.\nHR"),
        QT_TR_NOOP("Max.\nHR"), QT_TR_NOOP("PVC\ncount"), QT_TR_NOOP("PVC\ncoupl."),
        QT_TR_NOOP("PVC\ntripl."), QT_TR_NOOP("PVC\ntachy"), QT_TR_NOOP("Bigmn."),
        QT_TR_NOOP("Trgmn."), QT_TR_NOOP("SVPB\ncount"), QT_TR_NOOP("SVPB\ncoupl."),
        QT_TR_NOOP("SVPB\ntripl."), QT_TR_NOOP("SVPB\ntachy") };
    if (section < 0 || section >= kColumns)
        return {};
    return tr(headers[section]);
}

Qt::ItemFlags SummaryTable::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsEditable;
}

bool SummaryTable::setData(const QModelIndex& index, const QVariant& value, int role)
{
    int typed = 0;
    if (role != Qt::EditRole || !checkIndex(index, CheckIndexOption::IndexIsValid)
        || !summaryCount(value, &typed))
        return false;
    TTrend* t = trend(index.column());
    if (!t || index.row() >= t->size())
        return false;
    const int old = int(t->valueAt(index.row()));
    if (typed == old)
        return true;
    t->setValueAt(index.row(), typed);
    if (index.column() >= kFirstCountColumn) {
        // The study's total moves with its hour, never below nothing.
        auto* total
            = m_results->findAs<ValueResult>(SummaryTableTotals::kTotalKeys[index.column()]);
        if (total) {
            total->value = std::max(0.0, total->value + (typed - old));
            emit totalsChanged();
        }
    }
    emit dataChanged(index, index, { Qt::DisplayRole, Qt::EditRole });
    return true;
}

void SummaryTable::reload()
{
    beginResetModel();
    endResetModel();
}
