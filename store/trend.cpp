#include "store/trend.h"

#include <algorithm>
#include <cmath>

int registerResultTypes()
{
    static const int id = qRegisterMetaType<TTrend*>("TTrend*");
    return id;
}

// The largest of `values`, but never below 0.0.
static double largestOrZero(const QVector<double>& values)
{
    double largest = 0.0;
    for (double v : values)
        largest = std::max(largest, v);
    return largest;
}

void TTrend::clear()
{
    m_timestamps.clear();
    m_values.clear();
}

void TTrend::add(double timestamp, double value)
{
    m_timestamps.append(timestamp);
    m_values.append(value);
}

int TTrend::size() const
{
    return m_values.size();
}

double TTrend::timeAt(int index) const
{
    return index >= 0 && index < m_timestamps.size() ? m_timestamps[index] : 0.0;
}

double TTrend::valueAt(int index) const
{
    return index >= 0 && index < m_values.size() ? m_values[index] : 0.0;
}

void TTrend::setValueAt(int index, double value)
{
    if (index >= 0 && index < m_values.size())
        m_values[index] = value;
}

double TTrend::largestValue() const
{
    return largestOrZero(m_values);
}

void BinnedTrend::configure(double binSeconds, int binCount)
{
    m_binSeconds = binSeconds;
    m_binCount = std::max(binCount, 0);
    resetBins();
}

void BinnedTrend::add(double time, double value)
{
    if (!(m_binSeconds > 0.0))
        return;
    // Compared as a double first, so a huge or NaN time can't overflow the int conversion.
    const double bin = std::floor(time / m_binSeconds);
    if (!(bin >= 0.0 && bin < double(m_binCount)))
        return;
    const int index = int(bin);
    ++m_binHits[index];
    accumulate(index, value);
}

double BinnedTrend::valueAt(int index) const
{
    return index >= 0 && index < m_binValues.size() ? m_binValues[index] : 0.0;
}

void BinnedTrend::setValueAt(int index, double value)
{
    if (index >= 0 && index < m_binValues.size())
        m_binValues[index] = value;
}

double BinnedTrend::largestValue() const
{
    return largestOrZero(m_binValues);
}

void BinnedTrend::resetBins()
{
    m_binValues.fill(0.0, m_binCount);
    m_binHits.fill(0, m_binCount);
}

int BinnedTrend::binHits(int index) const
{
    return index >= 0 && index < m_binHits.size() ? m_binHits[index] : 0;
}

void BinnedCount::accumulate(int index, double)
{
    m_binValues[index] += 1.0;
}

void BinnedSum::accumulate(int index, double value)
{
    m_binValues[index] += value;
}

void BinnedMedian::resetBins()
{
    BinnedTrend::resetBins();
    m_sorted.fill(QVector<double>(), binCount());
}

void BinnedMedian::accumulate(int index, double value)
{
    QVector<double>& bin = m_sorted[index];
    // lower_bound: an equal value goes in front of the ones already there.
    bin.insert(std::lower_bound(bin.begin(), bin.end(), value), value);
    m_binValues[index] = bin[bin.size() / 2];
}

void BinnedMaximum::resetBins()
{
    BinnedTrend::resetBins();
    m_untouched.fill(true, binCount());
}

void BinnedMaximum::accumulate(int index, double value)
{
    if (m_untouched[index] || value > m_binValues[index]) {
        m_binValues[index] = value;
        m_untouched[index] = false;
    }
}

void BinnedMinimum::resetBins()
{
    BinnedTrend::resetBins();
    m_untouched.fill(true, binCount());
}

void BinnedMinimum::accumulate(int index, double value)
{
    if (m_untouched[index] || value < m_binValues[index]) {
        m_binValues[index] = value;
        m_untouched[index] = false;
    }
}

void BinnedMean::resetBins()
{
    BinnedTrend::resetBins();
    m_sum.fill(0.0, binCount());
    m_n.fill(0, binCount());
}

void BinnedMean::accumulate(int index, double value)
{
    m_sum[index] += value;
    m_n[index] += 1;
    m_binValues[index] = m_sum[index] / m_n[index];
}

void BinnedDeviation::resetBins()
{
    BinnedTrend::resetBins();
    m_sum.fill(0.0, binCount());
    m_sumSq.fill(0.0, binCount());
    m_n.fill(0, binCount());
}

void BinnedDeviation::accumulate(int index, double value)
{
    m_sum[index] += value;
    m_sumSq[index] += value * value;
    m_n[index] += 1;
    const double n = m_n[index];
    const double bracket = m_sumSq[index] - m_sum[index] * m_sum[index] / n;
    // Population deviation; rounding can leave a tiny negative bracket for equal values.
    m_binValues[index] = bracket > 0.0 ? std::sqrt(bracket / n) : 0.0;
}
