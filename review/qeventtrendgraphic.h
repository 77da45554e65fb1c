#pragma once

#include "display/trendbandpainter.h"
#include "review/qplotgraphic.h"

class EventListResult;

// Rhythm episodes against time, one coloured row per kind (bigeminy, trigeminy, AF). Axes,
// cursor and mouse as QPlotGraphic; the cursor follows the pointer.
class QEventTrendGraphic : public QPlotGraphic
{
    Q_OBJECT
public:
    explicit QEventTrendGraphic(QWidget* parent = nullptr);

    void setRows(const QVector<EventRow>& rows);
    // A row of the episodes of `events`, whose times count from the recording's start; x is that
    // plus `offsetSeconds` (the start in seconds since the epoch).
    static EventRow row(const QString& name, const QColor& color, const EventListResult& events,
        double offsetSeconds);
    const QVector<EventRow>& rows() const { return m_rows; }

protected:
    void paintData(QPainter* painter, const PlotAxes& axes) const override;
    bool hasData() const override { return !m_rows.isEmpty(); }

private:
    QVector<EventRow> m_rows;
};
