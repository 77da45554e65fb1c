#include "report/plotgraphic.h"

#include "display/paperscale.h"
#include "display/plotpainter.h"
#include "display/stripgeometry.h"

#include <QDateTime>
#include <QFontMetricsF>
#include <QPainter>

#include <cmath>

namespace {

QFont plotFont()
{
    QFont f(QStringLiteral("Helvetica"));
    f.setPointSizeF(6.0);
    return f;
}

} // namespace

void PlotGraphic::setData(const QVector<double>& x, const QVector<double>& y)
{
    const int n = qMin(x.size(), y.size());
    m_x = x.mid(0, n);
    m_y = y.mid(0, n);
}

void PlotGraphic::setXRange(double min, double max)
{
    m_xMin = min;
    m_xMax = max > min ? max : min + 1.0;
}

void PlotGraphic::setYRange(double min, double max)
{
    m_yMin = min;
    m_yMax = max > min ? max : min + 1.0;
}

QVector<double> PlotGraphic::yTicks() const
{
    if (!m_yTicks.isEmpty())
        return m_yTicks;
    QVector<double> ticks;
    for (int i = 0; i <= 4; ++i)
        ticks.append(m_yMin + (m_yMax - m_yMin) * i / 4.0);
    return ticks;
}

QString PlotGraphic::yLabel(double v) const
{
    return QString::asprintf(m_yFormat.toLatin1().constData(), v);
}

QRectF PlotGraphic::plotArea(QPainter* painter, const QRect& bounds) const
{
    const QFontMetricsF fm(plotFont(), painter->device());
    double labelWidth = 0.0;
    for (double t : yTicks())
        labelWidth = qMax(labelWidth, fm.horizontalAdvance(yLabel(t)));
    const double pad = fm.height() / 4;
    return QRectF(bounds.left() + labelWidth + 2 * pad, bounds.top() + fm.height() / 2,
        bounds.width() - labelWidth - 3 * pad, bounds.height() - 1.5 * fm.height() - pad);
}

void PlotGraphic::paint(QPainter* painter, const QRect& bounds) const
{
    const QRectF area = plotArea(painter, bounds);
    if (area.width() <= 0 || area.height() <= 0)
        return;
    const double pxPerMm = PaperScale(painter->device()).pixelsPerMillimetre();
    const StripGeometry xAxis = StripGeometry::spanning(m_xMin, m_xMax, area.left(), area.width());
    auto xOf = [&](double x) { return xAxis.mapTimeToX(x); };
    auto yOf = [&](double y) {
        return area.bottom() - (y - m_yMin) / (m_yMax - m_yMin) * area.height();
    };
    painter->save();
    painter->setFont(plotFont());
    const QFontMetricsF fm(painter->font(), painter->device());

    // Grid and y labels.
    QPen gridPen(QColor(190, 190, 190), 0.1 * pxPerMm, Qt::DotLine);
    for (double t : yTicks()) {
        if (t < m_yMin || t > m_yMax)
            continue;
        const double y = yOf(t);
        painter->setPen(gridPen);
        painter->drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
        painter->setPen(Qt::black);
        painter->drawText(QRectF(bounds.left(), y - fm.height() / 2,
                              area.left() - bounds.left() - fm.height() / 4, fm.height()),
            Qt::AlignRight | Qt::AlignVCenter, yLabel(t));
    }
    // x labels: whole hours on a time axis, five even values otherwise.
    QVector<double> xTicks;
    if (m_timeAxis) {
        const double span = m_xMax - m_xMin;
        const double maxLabels
            = qMax(1.0, area.width() / (fm.horizontalAdvance(QStringLiteral("00:00")) * 2));
        double step = 3600.0;
        while (span / step > maxLabels)
            step *= 2;
        for (double t = std::ceil(m_xMin / 3600.0) * 3600.0; t <= m_xMax; t += step)
            xTicks.append(t);
    } else {
        for (int i = 0; i <= 4; ++i)
            xTicks.append(m_xMin + (m_xMax - m_xMin) * i / 4.0);
    }
    painter->setPen(Qt::black);
    for (double t : xTicks) {
        const double x = xOf(t);
        const QString text = m_timeAxis
            ? QDateTime::fromSecsSinceEpoch(qint64(t)).toString(QStringLiteral("HH:mm"))
            : QString::number(t, 'g', 4);
        painter->drawLine(QPointF(x, area.bottom()), QPointF(x, area.bottom() + fm.height() / 4));
        painter->drawText(
            QRectF(x - 20 * pxPerMm, area.bottom() + fm.height() / 4, 40 * pxPerMm, fm.height()),
            Qt::AlignHCenter | Qt::AlignTop, text);
    }

    // The series, clipped to the frame.
    painter->setClipRect(area);
    painter->setRenderHint(QPainter::Antialiasing);
    const QColor ink(20, 60, 160);
    if (m_kind == Bars) {
        const double width = m_barWidth > 0 ? m_barWidth : (m_xMax - m_xMin) / qMax(1, m_x.size());
        const double base = yOf(qBound(m_yMin, 0.0, m_yMax));
        for (int i = 0; i < m_x.size(); ++i) {
            if (!std::isfinite(m_y[i]))
                continue;
            const QRectF bar(QPointF(xOf(m_x[i]), yOf(m_y[i])), QPointF(xOf(m_x[i] + width), base));
            painter->fillRect(bar.normalized(), ink);
        }
    } else if (m_kind == Dots) {
        painter->setPen(QPen(ink, 0.5 * pxPerMm, Qt::SolidLine, Qt::RoundCap));
        for (int i = 0; i < m_x.size(); ++i) {
            if (std::isfinite(m_y[i]))
                painter->drawPoint(QPointF(xOf(m_x[i]), yOf(m_y[i])));
        }
    } else {
        // A value that is not finite breaks the line.
        painter->setPen(QPen(ink, 0.25 * pxPerMm));
        QVector<QPointF> points;
        points.reserve(m_x.size());
        for (int i = 0; i < m_x.size(); ++i)
            points.append(
                std::isfinite(m_y[i]) ? QPointF(xOf(m_x[i]), yOf(m_y[i])) : QPointF(0.0, m_y[i]));
        painter->drawPath(PlotPainter::polylineWithGaps(points));
    }
    painter->setClipping(false);
    painter->setRenderHint(QPainter::Antialiasing, false);
    painter->setPen(QPen(Qt::black, 0.15 * pxPerMm));
    painter->setBrush(Qt::NoBrush);
    painter->drawRect(area);
    painter->restore();
}
