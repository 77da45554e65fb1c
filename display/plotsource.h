#pragma once

#include <QVector>

class TTrend;

// The points of a plot, in order of x. Plots read them through this interface so that a trend,
// an hourly array or a derived series all draw the same way.
class PlotSource
{
public:
    virtual ~PlotSource() = default;
    virtual int count() const = 0;
    virtual double x(int index) const = 0;
    virtual double y(int index) const = 0;

    // The last point at or before `value` (binary search on x); the first point when `value`
    // lies before all of them; -1 when there are none.
    int indexAtOrBefore(double value) const;
    // How much of x one point stands for (an hour of an hourly trend), for bars; 0: unknown, the
    // spacing of the points decides.
    virtual double barWidth() const { return 0.0; }
};

// Points held by value.
class VectorPlotSource : public PlotSource
{
public:
    VectorPlotSource() = default;
    // The shorter array decides the count.
    VectorPlotSource(QVector<double> xs, QVector<double> ys);
    // x = 0, 1, 2, ... (an array drawn on its own index axis)
    static VectorPlotSource indexed(const QVector<double>& ys, double step = 1.0);

    int count() const override { return m_x.size(); }
    double x(int index) const override { return m_x[index]; }
    double y(int index) const override { return m_y[index]; }

private:
    QVector<double> m_x;
    QVector<double> m_y;
};

// A trend of the results, read live so that edits of its values show on the next paint. x is the
// trend's time (seconds from the start of the recording) plus `offsetSeconds`, normally the
// recording's start in seconds since the epoch.
class TrendPlotSource : public PlotSource
{
public:
    // trend not owned; `barSeconds` 0 takes the bin of a binned trend
    TrendPlotSource(const TTrend* trend, double offsetSeconds, double barSeconds = 0.0);

    int count() const override;
    double x(int index) const override;
    double y(int index) const override;
    double barWidth() const override { return m_barSeconds; }

private:
    const TTrend* m_trend;
    double m_offset;
    double m_barSeconds;
};
