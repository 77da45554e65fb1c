#pragma once

#include "store/signalsource.h"

#include <algorithm>
#include <cmath>
#include <vector>

// A source held in memory for filter tests. Every channel has the same length; the last
// partial block is padded with zeros.
class MemorySource : public SignalSource
{
public:
    MemorySource(int channels, int rate, int blockSize)
        : SignalSource(channels, rate, blockSize)
    {
        m_data.resize(size_t(channels));
    }
    // A source holding `samples`, one vector per channel.
    MemorySource(int rate, int blockSize, const std::vector<std::vector<qint16>>& samples)
        : MemorySource(int(samples.size()), rate, blockSize)
    {
        setSamples(samples);
    }
    ~MemorySource() override { releaseAllBlocks(); }

    // Replaces all channels with `samples` (one vector per channel).
    void setSamples(const std::vector<std::vector<qint16>>& samples)
    {
        for (size_t c = 0; c < m_data.size(); ++c)
            m_data[c] = c < samples.size() ? samples[c] : std::vector<qint16>();
        update();
    }
    // Appends to every channel and tells listeners, as a file being recorded would.
    void append(const std::vector<std::vector<qint16>>& samples)
    {
        for (size_t c = 0; c < m_data.size() && c < samples.size(); ++c)
            m_data[c].insert(m_data[c].end(), samples[c].begin(), samples[c].end());
        update();
        dropCachedBlocks();
        notifyChanged();
    }

    qint16* loadBlock(int channel, int block) override
    {
        auto* out = new qint16[size_t(blockSize())]();
        const std::vector<qint16>& d = m_data[size_t(channel)];
        const size_t first = size_t(block) * size_t(blockSize());
        for (size_t i = 0; i < size_t(blockSize()) && first + i < d.size(); ++i)
            out[i] = d[first + i];
        return out;
    }

private:
    void update()
    {
        const qint64 n = m_data.empty() ? 0 : qint64(m_data[0].size());
        setSampleCount(n);
        setBlockCount(int((n + blockSize() - 1) / blockSize()));
    }

    std::vector<std::vector<qint16>> m_data;
};

// Counts change notices.
class CountingListener : public SignalListener
{
public:
    void signalChanged(SignalSource*) override { ++changes; }
    int changes = 0;
};

namespace testsignals {

inline std::vector<qint16> sine(
    double hz, int rate, qint64 count, double amplitude, double offset = 0.0)
{
    std::vector<qint16> v(static_cast<size_t>(count));
    for (qint64 i = 0; i < count; ++i)
        v[size_t(i)]
            = qint16(std::lround(offset + amplitude * std::sin(2.0 * M_PI * hz * i / rate)));
    return v;
}

// Root mean square of `values` over [first, last).
inline double rms(const std::vector<double>& values, size_t first, size_t last)
{
    double sum = 0.0;
    for (size_t i = first; i < last; ++i)
        sum += values[i] * values[i];
    return std::sqrt(sum / double(last - first));
}

inline std::vector<double> readAll(SignalSource& source, int channel = 0)
{
    std::vector<double> v(size_t(source.sampleCount()));
    source.readSamples(channel, 0, source.sampleCount(), v.data());
    return v;
}

} // namespace testsignals
