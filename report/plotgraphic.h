#pragma once

#include <QRect>
#include <QString>
#include <QVector>

class QPainter;

// A trend or histogram for paper: frame, y grid with labels, x axis (a clock for time axes) and
// one series drawn as lines, bars or dots.
class PlotGraphic
{
public:
    enum Kind { Lines, Bars, Dots };

    PlotGraphic() = default;

    void setData(const QVector<double>& x, const QVector<double>& y);
    void setXRange(double min, double max);
    void setYRange(double min, double max);
    // printf format of the y labels, e.g. "%.0f".
    void setYFormat(const QString& format) { m_yFormat = format; }
    void setKind(Kind kind) { m_kind = kind; }
    // x values are seconds since the epoch, shown as the local clock "HH:mm".
    void setTimeAxis(bool on) { m_timeAxis = on; }
    // Explicit y ticks; otherwise five even ones over the range.
    void setYTicks(const QVector<double>& ticks) { m_yTicks = ticks; }
    // Bar width in x units; 0 divides the x range by the number of points.
    void setBarWidth(double width) { m_barWidth = width; }

    const QVector<double>& xs() const { return m_x; }
    const QVector<double>& ys() const { return m_y; }
    double xMin() const { return m_xMin; }
    double xMax() const { return m_xMax; }
    double yMin() const { return m_yMin; }
    double yMax() const { return m_yMax; }

    void paint(QPainter* painter, const QRect& bounds) const;
    // The area inside the frame for these bounds on this painter's device.
    QRectF plotArea(QPainter* painter, const QRect& bounds) const;

private:
    QVector<double> yTicks() const;
    QString yLabel(double v) const;

    QVector<double> m_x;
    QVector<double> m_y;
    double m_xMin = 0.0;
    double m_xMax = 1.0;
    double m_yMin = 0.0;
    double m_yMax = 1.0;
    QString m_yFormat = QStringLiteral("%.0f");
    Kind m_kind = Lines;
    bool m_timeAxis = false;
    QVector<double> m_yTicks;
    double m_barWidth = 0.0;
};
