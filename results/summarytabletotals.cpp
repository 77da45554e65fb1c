#include "results/summarytabletotals.h"

#include "results/summarytable.h"
#include "store/resultset.h"

const char* const SummaryTableTotals::kTotalKeys[kColumns]
    = { "HR/avgBPM", "HR/minBPM", "HR/maxBPM", "PVC/totalCount", "PVC/coupletCount",
          "PVC/tripletCount", "PVC/runCount", "bigeminy/bigeminyCount", "trigeminy/trigeminyCount",
          "SVPB/totalCount", "SVPB/coupletCount", "SVPB/tripletCount", "SVPB/runCount" };

SummaryTableTotals::SummaryTableTotals(ResultSet* results, QObject* parent)
    : QAbstractTableModel(parent)
    , m_results(results)
{
}

int SummaryTableTotals::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : 1;
}

int SummaryTableTotals::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : kColumns;
}

bool SummaryTableTotals::valueOf(int column, double* out) const
{
    if (!m_results || column < 0 || column >= kColumns)
        return false;
    const Result* r = m_results->find(kTotalKeys[column]);
    if (const auto* v = dynamic_cast<const ValueResult*>(r)) {
        *out = v->value;
        return true;
    }
    if (const auto* e = dynamic_cast<const EventResult*>(r)) {
        *out = e->value;
        return true;
    }
    return false;
}

QVariant SummaryTableTotals::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    double v = 0.0;
    const int value = valueOf(index.column(), &v) ? int(v) : 0;
    switch (role) {
    case Qt::DisplayRole:
        return value == 0 ? QVariant(QStringLiteral("-")) : QVariant(value);
    case Qt::EditRole:
        return value;
    case Qt::TextAlignmentRole:
        return int(Qt::AlignCenter);
    default:
        return {};
    }
}

QVariant SummaryTableTotals::headerData(int section, Qt::Orientation orientation, int role) const
{
    // The columns are headed by the hourly table above.
    if (orientation != Qt::Vertical || section != 0)
        return {};
    if (role == Qt::DisplayRole)
        return tr("Total");
    if (role == Qt::TextAlignmentRole)
        return int(Qt::AlignCenter);
    return {};
}

Qt::ItemFlags SummaryTableTotals::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsEditable;
}

bool SummaryTableTotals::setData(const QModelIndex& index, const QVariant& value, int role)
{
    int typed = 0;
    if (role != Qt::EditRole || !checkIndex(index, CheckIndexOption::IndexIsValid)
        || !summaryCount(value, &typed) || !m_results)
        return false;
    Result* r = m_results->find(kTotalKeys[index.column()]);
    if (auto* v = dynamic_cast<ValueResult*>(r)) {
        v->value = typed;
    } else if (auto* e = dynamic_cast<EventResult*>(r)) {
        // A typed minimum or maximum has no time: the old one would point at the wrong strip.
        e->value = typed;
        e->timestamp = 0.0;
        e->duration = 0.0;
    } else {
        return false;
    }
    emit dataChanged(index, index, { Qt::DisplayRole, Qt::EditRole });
    return true;
}

void SummaryTableTotals::refresh()
{
    emit dataChanged(index(0, 0), index(0, kColumns - 1), { Qt::DisplayRole, Qt::EditRole });
}
