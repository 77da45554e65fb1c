#include "display/plotsource.h"

#include "store/trend.h"

#include <utility>

int PlotSource::indexAtOrBefore(double value) const
{
    int lo = 0;
    int hi = count() - 1;
    if (hi < 0)
        return -1;
    if (value < x(0))
        return 0;
    while (lo < hi) {
        const int mid = (lo + hi + 1) / 2;
        if (x(mid) <= value)
            lo = mid;
        else
            hi = mid - 1;
    }
    return lo;
}

VectorPlotSource::VectorPlotSource(QVector<double> xs, QVector<double> ys)
    : m_x(std::move(xs))
    , m_y(std::move(ys))
{
    const int n = qMin(m_x.size(), m_y.size());
    m_x.resize(n);
    m_y.resize(n);
}

VectorPlotSource VectorPlotSource::indexed(const QVector<double>& ys, double step)
{
    QVector<double> xs(ys.size());
    for (int i = 0; i < xs.size(); ++i)
        xs[i] = i * step;
    return VectorPlotSource(xs, ys);
}

TrendPlotSource::TrendPlotSource(const TTrend* trend, double offsetSeconds, double barSeconds)
    : m_trend(trend)
    , m_offset(offsetSeconds)
    , m_barSeconds(barSeconds)
{
    if (m_barSeconds <= 0.0)
        if (const auto* binned = dynamic_cast<const BinnedTrend*>(trend))
            m_barSeconds = binned->binSeconds();
}

int TrendPlotSource::count() const
{
    return m_trend ? m_trend->size() : 0;
}

double TrendPlotSource::x(int index) const
{
    return m_trend->timeAt(index) + m_offset;
}

double TrendPlotSource::y(int index) const
{
    return m_trend->valueAt(index);
}
