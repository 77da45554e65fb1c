#include "display/plotaxes.h"

#include <cmath>

PlotAxes::PlotAxes(const QRectF& plotRect, double xMin, double xMax, double yMin, double yMax)
    : m_rect(plotRect)
    , m_xMin(xMin)
    , m_xMax(xMax)
    , m_yMin(yMin)
    , m_yMax(yMax)
{
}

double PlotAxes::xScale() const
{
    return hasXExtent() ? m_rect.width() / (m_xMax - m_xMin) : 0.0;
}

double PlotAxes::yScale() const
{
    return hasYExtent() ? m_rect.height() / (m_yMax - m_yMin) : 0.0;
}

double PlotAxes::xToPixel(double x) const
{
    return m_rect.left() + (x - m_xMin) * xScale();
}

double PlotAxes::pixelToX(double px) const
{
    const double s = xScale();
    return s > 0.0 ? m_xMin + (px - m_rect.left()) / s : m_xMin;
}

double PlotAxes::yToPixel(double y) const
{
    return m_rect.bottom() - (y - m_yMin) * yScale();
}

double PlotAxes::pixelToY(double py) const
{
    const double s = yScale();
    return s > 0.0 ? m_yMin + (m_rect.bottom() - py) / s : m_yMin;
}

double PlotAxes::niceStep(double raw)
{
    if (!(raw > 0.0) || !std::isfinite(raw))
        return 1.0;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    const double mantissa = raw / power;
    // A mantissa a hair above 1 through rounding stays 1, not 2.
    if (mantissa <= 1.0 + 1e-9)
        return power;
    if (mantissa <= 2.0)
        return 2.0 * power;
    if (mantissa <= 5.0)
        return 5.0 * power;
    return 10.0 * power;
}

double PlotAxes::timeStep(double rawSeconds)
{
    static const double steps[]
        = { 1, 5, 10, 30, 60, 300, 600, 1800, 3600, 7200, 10800, 21600, 43200, 86400 };
    for (double s : steps)
        if (s >= rawSeconds)
            return s;
    return 86400.0 * std::ceil(rawSeconds / 86400.0);
}

QVector<double> PlotAxes::ticks(double min, double max, double step, double phase)
{
    QVector<double> out;
    if (!(step > 0.0) || !(max >= min))
        return out;
    // Bounded so that a nonsense step on a huge range can't hang the painter.
    const double first = std::ceil((min + phase) / step - 1e-9) * step - phase;
    for (int i = 0; i < 1000; ++i) {
        const double t = first + i * step;
        if (t > max + step * 1e-9)
            break;
        out.append(t);
    }
    return out;
}

QRect PlotFrame::plotRect(const QRect& bounds) const
{
    const int left = showYLabels ? kLeftMargin : 0;
    const int bottom = showXLabels ? kBottomMargin : 0;
    return bounds.adjusted(left, 0, -1, -1 - bottom);
}

PlotAxes PlotFrame::axes(const QRect& bounds) const
{
    const QRect r = plotRect(bounds);
    return PlotAxes(QRectF(r.left(), r.top(), r.width(), r.height()), xMin, xMax, yMin, yMax);
}
