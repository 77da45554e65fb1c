#pragma once

#include "display/plotaxes.h"

#include <QPainterPath>
#include <QPointF>

class PlotSource;
class QFont;
class QPainter;

// Draws the review's plots: the frame with its grid, ticks and labels, a series in one of five
// styles, the title, a cursor and highlighted spans. Stateless; the frame and data come in.
class PlotPainter
{
public:
    enum Style { Points = 0, Line = 1, LineAndPoints = 2, Bars = 3, Stems = 4 };

    // White ground, grid, axes and labels. An axis without extent gets no ticks.
    static void paintFrame(QPainter* painter, const QRect& bounds, const PlotFrame& frame);
    // The series clipped to the plot rectangle.
    static void paintSeries(QPainter* painter, const PlotAxes& axes, const PlotSource& source,
        int style, const QColor& color);
    static void paintTitle(QPainter* painter, const QRect& bounds, const PlotFrame& frame);
    static void paintCursor(QPainter* painter, const PlotAxes& axes, double x);
    static void paintHighlight(QPainter* painter, const PlotAxes& axes, double from, double to);

    // The tick values of each axis for these bounds (what paintFrame draws).
    static QVector<double> yTicks(const PlotFrame& frame, const QRect& bounds);
    static QVector<double> xTicks(const PlotFrame& frame, const QRect& bounds);
    static QString xLabel(const PlotFrame& frame, double x);

    // A polyline through `points` that breaks at every point whose y is not finite, so a missing
    // value never draws as a slope. Shared with the report's plots.
    static QPainterPath polylineWithGaps(const QVector<QPointF>& points);

    static QFont labelFont();
    static QFont titleFont();
};
