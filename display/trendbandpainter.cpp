#include "display/trendbandpainter.h"

#include "display/plotpainter.h"
#include "display/rrdispersionsource.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>

QColor TrendBandPainter::dispersionColor(int count)
{
    return QColor(0, std::min(30 * count, 220), 0);
}

void TrendBandPainter::paintDispersion(
    QPainter* painter, const PlotAxes& axes, const DispersionSource& source, double sliceSeconds)
{
    if (!axes.hasXExtent() || !axes.hasYExtent() || !(sliceSeconds > 0.0) || source.binCount() <= 0)
        return;
    const QRectF r = axes.rect();
    const double sx = axes.xScale();
    const double sy = -axes.yScale(); // values grow upwards
    const double cellWidth = sliceSeconds * sx + 0.5;
    const double cellHeight = (r.height() + 1) / source.binCount() + 0.5;
    painter->save();
    painter->setClipRect(r);
    painter->setRenderHint(QPainter::Antialiasing);
    // Bounded like the ticks: a slice far too short for the range can't stall the window.
    const double slices = std::ceil((axes.xMax() - axes.xMin()) / sliceSeconds);
    if (slices > 100000) {
        painter->restore();
        return;
    }
    for (double t = axes.xMin(); t < axes.xMax(); t += sliceSeconds) {
        const QVector<int> counts = source.counts(t, sliceSeconds);
        const double x = (t - axes.xMin()) * sx + r.left();
        for (int i = 0; i < counts.size(); ++i) {
            if (counts[i] <= 0)
                continue;
            // The cell's bottom edge sits on the bin's lower RR bound.
            const double y = (i * source.binWidth() - axes.yMin()) * sy + r.bottom();
            painter->fillRect(
                QRectF(x, y - cellHeight, cellWidth, cellHeight), dispersionColor(counts[i]));
        }
    }
    painter->restore();
}

double TrendBandPainter::rowY(const PlotAxes& axes, int row, int rowCount)
{
    const double pitch = axes.rect().height() / (rowCount + 1);
    return axes.rect().top() + std::trunc((row + 1) * pitch + 0.5);
}

void TrendBandPainter::paintEventRows(
    QPainter* painter, const PlotAxes& axes, const QVector<EventRow>& rows)
{
    if (!axes.hasXExtent() || rows.isEmpty())
        return;
    const QRectF r = axes.rect();
    painter->save();
    painter->setClipRect(r);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setFont(PlotPainter::labelFont());
    const QFontMetricsF fm(painter->font());
    for (int row = 0; row < rows.size(); ++row) {
        const EventRow& e = rows[row];
        const double y = rowY(axes, row, rows.size());
        // A faint guide line shows where a row without episodes would draw.
        painter->setPen(QPen(QColor(235, 235, 235), 1.0));
        painter->drawLine(QPointF(r.left(), y), QPointF(r.right(), y));
        painter->setPen(QPen(e.color, 3.0, Qt::SolidLine, Qt::FlatCap));
        for (const auto& ev : e.events) {
            const double from = ev.first;
            const double to = ev.first + std::max(0.0, ev.second);
            if (to < axes.xMin() || from > axes.xMax())
                continue;
            // An episode shorter than a pixel still shows as a dot.
            const double a = axes.xToPixel(from);
            const double b = std::max(axes.xToPixel(to), a + 1.0);
            painter->drawLine(QPointF(a, y), QPointF(b, y));
        }
        // At the right end, clear of the title in the top left corner.
        painter->setPen(e.color.darker(130));
        painter->drawText(
            QPointF(r.right() - 4 - fm.horizontalAdvance(e.name), y - 3 - fm.descent()), e.name);
    }
    painter->restore();
}
