#pragma once

#include <QColor>
#include <QRect>
#include <QString>
#include <QVector>

// Maps the values of a two-axis plot to device pixels and back inside its plot rectangle. x grows
// to the right, y upwards. An axis with no extent (max <= min) maps everything to its low edge.
class PlotAxes
{
public:
    PlotAxes() = default;
    PlotAxes(const QRectF& plotRect, double xMin, double xMax, double yMin, double yMax);

    const QRectF& rect() const { return m_rect; }
    double xMin() const { return m_xMin; }
    double xMax() const { return m_xMax; }
    double yMin() const { return m_yMin; }
    double yMax() const { return m_yMax; }
    bool hasXExtent() const { return m_xMax > m_xMin; }
    bool hasYExtent() const { return m_yMax > m_yMin; }
    // Pixels per unit; 0 for an axis without extent.
    double xScale() const;
    double yScale() const;

    double xToPixel(double x) const;
    double pixelToX(double px) const;
    double yToPixel(double y) const;
    double pixelToY(double py) const;

    // A step of at least `raw` whose mantissa is 2, 5 or 10 times a power of ten.
    static double niceStep(double raw);
    // The first clock step (seconds) of at least `rawSeconds`: 1 s to 1 h, then whole hours up to
    // a day, so that a day's trend on a narrow plot still gets readable labels.
    static double timeStep(double rawSeconds);
    // The multiples of `step` in [min, max]; `phase` shifts the grid (a clock's offset from UTC).
    static QVector<double> ticks(double min, double max, double step, double phase = 0.0);

private:
    QRectF m_rect;
    double m_xMin = 0.0;
    double m_xMax = 0.0;
    double m_yMin = 0.0;
    double m_yMax = 0.0;
};

// What a plot shows around its data: ranges, label formats, title and colour. Shared by the
// review's plots; all distances are screen pixels.
struct PlotFrame
{
    double xMin = 0.0;
    double xMax = 10.0;
    double yMin = 0.0;
    double yMax = 10.0;
    QString xFormat = QStringLiteral("%g"); // printf format of numeric x labels
    QString yFormat = QStringLiteral("%g");
    QString xTimeFormat; // a QDateTime format for x in seconds since the epoch; empty: numeric
    bool showXLabels = true;
    bool showYLabels = true;
    bool showGrid = true;
    QColor color = Qt::black;
    QString title;
    double yStepPixels = 0.0; // least distance between y ticks; 0: one label line

    static constexpr int kLeftMargin = 30; // pixels, with y labels
    static constexpr int kBottomMargin = 15; // pixels, with x labels

    QRect plotRect(const QRect& bounds) const;
    PlotAxes axes(const QRect& bounds) const;
};
