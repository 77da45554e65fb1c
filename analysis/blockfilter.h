#pragma once

#include <QtGlobal>

#include <vector>

class SignalSource;

// Three consecutive blocks of one channel (previous, current, next) as doubles, so that a filter
// can reach across block edges. A block outside the recording reads as zeros.
class BlockWindow
{
public:
    // Any of the three pointers may be null (all zeros); each holds `length` samples.
    BlockWindow(const qint16* previous, const qint16* current, const qint16* next, int length);
    // Gathers blocks block - 1 .. block + 1 of `channel` from `source`.
    BlockWindow(SignalSource& source, int channel, int block);

    int length() const { return m_length; }
    // Sample at `i` counted from the start of the current block; 0 outside [-length, 2 length).
    double at(qint64 i) const
    {
        return (i < -m_length || i >= 2 * qint64(m_length)) ? 0.0 : m_data[size_t(i + m_length)];
    }
    // The current block's first sample; indices from -length to 2 length - 1 are valid.
    const double* current() const { return m_data.data() + m_length; }

private:
    void fill(int slot, const qint16* block);

    int m_length;
    std::vector<double> m_data;
};

// A filter that turns the current block of a window into one block of output. Each source
// uses only the output type it stores.
class BlockFilter
{
public:
    virtual ~BlockFilter() = default;
    virtual void apply(const BlockWindow& window, qint16* out) const = 0;
    virtual void apply(const BlockWindow& window, double* out) const = 0;
};

// Rounds to the nearest 16-bit sample, saturating at the ends of the range.
qint16 clampToSample(double value);

// Finite impulse response: out[i] = sum over k of h[k] * s[i + centre - k]. With centre at the
// middle of the taps the output is delay compensated.
class FirBlockFilter : public BlockFilter
{
public:
    // `centre` < 0 means taps.size() / 2.
    explicit FirBlockFilter(std::vector<double> taps, int centre = -1);

    const std::vector<double>& taps() const { return m_taps; }
    int centre() const { return m_centre; }

    void apply(const BlockWindow& window, qint16* out) const override;
    void apply(const BlockWindow& window, double* out) const override;

private:
    std::vector<double> m_taps;
    int m_centre;
    // Non-zero taps only: the wavelet filters are full of zeros from upsampling. Skipping a
    // zero tap leaves every sum bit-identical.
    std::vector<int> m_nonZero;
};

// Infinite impulse response run over the block plus `margin` samples each side, from zero
// state, optionally forward and backward (zero phase). Feedback terms are added:
// y[p] = b0 s[p] + sum_k (b[k] s[p - k] + a[k] y[p - k]). Because every block restarts from
// zero state, a block never depends on which blocks were read before it.
class IirBlockFilter : public BlockFilter
{
public:
    // `feedback` holds a[1..n]; n = numerator.size() - 1.
    IirBlockFilter(std::vector<double> numerator, std::vector<double> feedback, int margin,
        bool backward, int passes = 1);

    int order() const { return m_order; }
    int margin() const { return m_margin; }
    bool backward() const { return m_backward; }
    int passes() const { return m_passes; }

    void apply(const BlockWindow& window, qint16* out) const override;
    void apply(const BlockWindow& window, double* out) const override;

private:
    // The central `length` samples of the filtered window, clamped to the 16-bit range.
    std::vector<double> run(const BlockWindow& window) const;

    std::vector<double> m_b;
    std::vector<double> m_a; // a[0] is kept for the table's shape but never used
    int m_order;
    int m_margin;
    bool m_backward;
    int m_passes;
};
