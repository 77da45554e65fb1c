#pragma once

#include <vector>

// Median of the positive values among the last N pushed. The value a push returns leaves out
// the value just pushed: the median lags one step behind its input, on purpose, so that a
// beat's own interval never pulls the reference it is judged against.
class RollingMedian
{
public:
    explicit RollingMedian(int size);

    // Stores `value` and returns the median of the ring as it was before the store.
    double push(double value);
    double current() const { return m_current; }
    void reset();

private:
    std::vector<double> m_ring;
    std::vector<double> m_sorted; // scratch, kept to avoid an allocation per push
    int m_write = 0;
    double m_current = 0.0;
};
