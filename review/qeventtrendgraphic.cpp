#include "review/qeventtrendgraphic.h"

#include "store/result.h"

QEventTrendGraphic::QEventTrendGraphic(QWidget* parent)
    : QPlotGraphic(parent)
{
    setCursorFree(1);
    // The rows have no y values to label.
    setShowYLabels(false);
    setShowGrid(false);
    setYRange(0.0, 1.0);
}

void QEventTrendGraphic::setRows(const QVector<EventRow>& rows)
{
    m_rows = rows;
    changed();
}

EventRow QEventTrendGraphic::row(
    const QString& name, const QColor& color, const EventListResult& events, double offsetSeconds)
{
    EventRow r { name, color, {} };
    r.events.reserve(events.events.size());
    for (const EventResult& e : events.events)
        r.events.append({ e.timestamp + offsetSeconds, e.duration });
    return r;
}

void QEventTrendGraphic::paintData(QPainter* painter, const PlotAxes& axes) const
{
    TrendBandPainter::paintEventRows(painter, axes, m_rows);
}
