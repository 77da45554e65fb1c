#pragma once

#include "display/plotaxes.h"

#include <QColor>
#include <QPair>
#include <QString>
#include <QVector>

class DispersionSource;
class QPainter;

// One row of the event trend: episodes as (start in the plot's x units, duration in seconds).
struct EventRow
{
    QString name;
    QColor color;
    QVector<QPair<double, double>> events;
};

// The two time plots of the rhythm page that are not curves: the RR dispersion heat map and the
// coloured bands of rhythm episodes. Both draw inside the axes of a PlotFrame.
class TrendBandPainter
{
public:
    // Slices of `sliceSeconds` from the x minimum; a cell with c intervals is green
    // min(30 c, 220) on black, so one interval is almost black and eight are full green.
    static void paintDispersion(QPainter* painter, const PlotAxes& axes,
        const DispersionSource& source, double sliceSeconds);
    static QColor dispersionColor(int count);

    // Row r of n at y = top + trunc((r + 1) * height / (n + 1) + 0.5), each episode a stroke
    // 3 pixels wide; the row's name at the right.
    static void paintEventRows(
        QPainter* painter, const PlotAxes& axes, const QVector<EventRow>& rows);
    static double rowY(const PlotAxes& axes, int row, int rowCount);
};
