#include "analysis/rollingmedian.h"

#include <algorithm>

RollingMedian::RollingMedian(int size)
    : m_ring(size_t(std::max(size, 1)), 0.0)
{
}

double RollingMedian::push(double value)
{
    m_sorted = m_ring;
    m_ring[size_t(m_write)] = value;
    m_write = (m_write + 1) % int(m_ring.size());
    std::sort(m_sorted.begin(), m_sorted.end());
    const auto firstPositive
        = std::find_if(m_sorted.begin(), m_sorted.end(), [](double v) { return v > 0.0; });
    const size_t skip = size_t(firstPositive - m_sorted.begin());
    const size_t n = m_sorted.size() - skip;
    if (n == 0)
        m_current = 0.0;
    else if (n % 2 == 1)
        m_current = m_sorted[skip + n / 2];
    else
        m_current = 0.5 * (m_sorted[skip + n / 2 - 1] + m_sorted[skip + n / 2]);
    return m_current;
}

void RollingMedian::reset()
{
    std::fill(m_ring.begin(), m_ring.end(), 0.0);
    m_write = 0;
    m_current = 0.0;
}
