#pragma once

#include <cstddef>
#include <vector>

class FilteredSourceF64;

// Three consecutive blocks of one wavelet scale of one channel (previous, current, next) as
// doubles. Positions count from the start of the current block; anything outside the three
// blocks, and any block outside the recording or unreadable, reads as zero.
class ScaleWindow
{
public:
    explicit ScaleWindow(int blockLength = 0);

    // Copies blocks block - 1 .. block + 1 of `channel` and releases them at once.
    void load(FilteredSourceF64* source, int channel, int block);
    // Sets the three blocks directly (tests); each vector may be shorter than a block.
    void set(const std::vector<double>& previous, const std::vector<double>& current,
        const std::vector<double>& next);
    void clear();

    int blockLength() const { return m_length; }
    double at(int position) const
    {
        const int i = position + m_length;
        return (i < 0 || i >= 3 * m_length) ? 0.0 : m_data[std::size_t(i)];
    }
    double operator[](int position) const { return at(position); }
    // A turning point at reach r: above both samples r away, or below both.
    bool turningPoint(int position, int reach) const
    {
        const double x = at(position), a = at(position - reach), b = at(position + reach);
        return (x > a && x > b) || (x < a && x < b);
    }

private:
    int m_length;
    std::vector<double> m_data;
};
