#include "analysis/blockfilter.h"

#include "store/signalsource.h"

#include <algorithm>
#include <cmath>

BlockWindow::BlockWindow(
    const qint16* previous, const qint16* current, const qint16* next, int length)
    : m_length(std::max(length, 0))
    , m_data(size_t(3) * size_t(m_length), 0.0)
{
    fill(0, previous);
    fill(1, current);
    fill(2, next);
}

BlockWindow::BlockWindow(SignalSource& source, int channel, int block)
    : m_length(source.blockSize())
    , m_data(size_t(3) * size_t(m_length), 0.0)
{
    for (int slot = 0; slot < 3; ++slot) {
        const int b = block - 1 + slot;
        const qint16* data = source.getBlock(channel, b);
        if (data) {
            fill(slot, data);
            source.releaseBlock(channel, b);
        }
    }
}

void BlockWindow::fill(int slot, const qint16* block)
{
    if (!block)
        return;
    double* dst = m_data.data() + size_t(slot) * size_t(m_length);
    for (int i = 0; i < m_length; ++i)
        dst[i] = block[i];
}

qint16 clampToSample(double value)
{
    if (value >= 32767.0)
        return 32767;
    if (value < -32768.0)
        return -32768;
    if (std::isnan(value))
        return 0;
    return qint16(std::lround(value));
}

FirBlockFilter::FirBlockFilter(std::vector<double> taps, int centre)
    : m_taps(std::move(taps))
    , m_centre(centre < 0 ? int(m_taps.size()) / 2 : centre)
{
    for (int k = 0; k < int(m_taps.size()); ++k)
        if (m_taps[k] != 0.0)
            m_nonZero.push_back(k);
}

void FirBlockFilter::apply(const BlockWindow& window, double* out) const
{
    const int len = window.length();
    std::fill(out, out + len, 0.0);
    const int taps = int(m_taps.size());
    // Every input index i + centre - k must lie inside the window for the direct path.
    const bool fits = m_centre <= len && m_centre - (taps - 1) >= -len;
    if (fits) {
        const double* s = window.current();
        // Taps go in groups of four over the whole block: this vectorises, touches the output
        // a quarter as often, and still adds the terms of each output in tap order, so the
        // result is the same as the plain sum.
        const int* k = m_nonZero.data();
        const int* end = k + m_nonZero.size();
        double* __restrict dst = out;
        for (; end - k >= 4; k += 4) {
            const double h0 = m_taps[k[0]], h1 = m_taps[k[1]], h2 = m_taps[k[2]], h3 = m_taps[k[3]];
            const double* __restrict s0 = s + m_centre - k[0];
            const double* __restrict s1 = s + m_centre - k[1];
            const double* __restrict s2 = s + m_centre - k[2];
            const double* __restrict s3 = s + m_centre - k[3];
            for (int i = 0; i < len; ++i) {
                double acc = dst[i];
                acc += h0 * s0[i];
                acc += h1 * s1[i];
                acc += h2 * s2[i];
                acc += h3 * s3[i];
                dst[i] = acc;
            }
        }
        for (; k != end; ++k) {
            const double hk = m_taps[*k];
            const double* __restrict src = s + m_centre - *k;
            for (int i = 0; i < len; ++i)
                dst[i] += hk * src[i];
        }
    } else {
        for (int k : m_nonZero) {
            const double hk = m_taps[k];
            for (int i = 0; i < len; ++i)
                out[i] += hk * window.at(qint64(i) + m_centre - k);
        }
    }
}

void FirBlockFilter::apply(const BlockWindow& window, qint16* out) const
{
    std::vector<double> sums(size_t(window.length()));
    apply(window, sums.data());
    for (int i = 0; i < window.length(); ++i)
        out[i] = clampToSample(sums[size_t(i)]);
}

IirBlockFilter::IirBlockFilter(std::vector<double> numerator, std::vector<double> feedback,
    int margin, bool backward, int passes)
    : m_b(std::move(numerator))
    , m_order(std::max(int(m_b.size()) - 1, 0))
    , m_margin(std::max(margin, 0))
    , m_backward(backward)
    , m_passes(std::max(passes, 1))
{
    if (m_b.empty())
        m_b.push_back(0.0);
    m_a.assign(size_t(m_order) + 1, 0.0);
    m_a[0] = 1.0;
    for (int k = 1; k <= m_order && k - 1 < int(feedback.size()); ++k)
        m_a[size_t(k)] = feedback[size_t(k - 1)];
}

std::vector<double> IirBlockFilter::run(const BlockWindow& window) const
{
    const qint64 len = window.length();
    const int n = m_order;
    const qint64 margin = m_margin;
    const qint64 m = n + margin;
    const size_t size = size_t(len + 2 * m);
    const double* b = m_b.data();
    const double* a = m_a.data();

    // Buffers are indexed by position + m. The input is the signal from `margin` samples before
    // the block to `margin` after it, zero beyond: the filter starts from rest there.
    std::vector<double> x(size, 0.0);
    for (qint64 p = -margin; p < len + margin; ++p)
        x[size_t(p + m)] = window.at(p);

    std::vector<double> y(size), z(size);
    for (int pass = 0; pass < m_passes; ++pass) {
        std::fill(y.begin(), y.end(), 0.0);
        for (qint64 p = -margin; p < len + margin; ++p) {
            const size_t i = size_t(p + m);
            double acc = b[0] * x[i];
            for (int k = 1; k <= n; ++k)
                acc += b[k] * x[i - k] + a[k] * y[i - k];
            y[i] = acc;
        }
        if (m_backward) {
            std::fill(z.begin(), z.end(), 0.0);
            for (qint64 p = len + margin - 1; p >= 0; --p) {
                const size_t i = size_t(p + m);
                double acc = b[0] * y[i];
                for (int k = 1; k <= n; ++k)
                    acc += b[k] * y[i + k] + a[k] * z[i + k];
                z[i] = acc;
            }
            x.swap(z);
        } else {
            x.swap(y);
        }
    }

    std::vector<double> out(static_cast<size_t>(len));
    for (qint64 p = 0; p < len; ++p)
        out[size_t(p)] = std::clamp(x[size_t(p + m)], -32768.0, 32767.0);
    return out;
}

void IirBlockFilter::apply(const BlockWindow& window, double* out) const
{
    const std::vector<double> r = run(window);
    std::copy(r.begin(), r.end(), out);
}

void IirBlockFilter::apply(const BlockWindow& window, qint16* out) const
{
    const std::vector<double> r = run(window);
    for (size_t i = 0; i < r.size(); ++i)
        out[i] = clampToSample(r[i]);
}
