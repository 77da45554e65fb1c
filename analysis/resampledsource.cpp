#include "analysis/resampledsource.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

ResampledSource::ResampledSource(SignalSource* source, int targetRate)
    : WrappedSource(source, targetRate)
{
    const int from = m_source ? m_source->samplingRate() : samplingRate();
    const int to = samplingRate(); // the base clamps nonsense rates to 1
    m_factor = double(to) / double(from);
    m_invFactor = 1.0 / m_factor;
    m_decimate = to < from && from % to == 0;
    if (m_decimate)
        m_step = from / to;
    followCounts();
}

ResampledSource::~ResampledSource()
{
    releaseAllBlocks();
}

void ResampledSource::followCounts()
{
    const qint64 count = m_source ? qint64(double(m_source->sampleCount()) * m_factor) : 0;
    setSampleCount(count);
    // The last, partial block is offered with its tail zeroed, as a sample file offers it:
    // otherwise the final seconds of every recording would read as flat and lose their beats.
    setBlockCount(int((count + blockSize() - 1) / blockSize()));
}

qint16* ResampledSource::loadBlock(int channel, int block)
{
    if (!m_source || block < 0 || block >= blockCount() || channel < 0 || channel >= channelCount())
        return nullptr;
    const int len = blockSize();
    auto* out = new qint16[size_t(len)];

    if (m_source->samplingRate() == samplingRate()) {
        const qint16* data = m_source->getBlock(channel, block);
        if (data) {
            std::memcpy(out, data, size_t(len) * sizeof(qint16));
            m_source->releaseBlock(channel, block);
        } else {
            std::fill(out, out + len, qint16(0));
        }
        return out;
    }

    if (m_decimate) {
        std::vector<double> s(size_t(len) * size_t(m_step));
        m_source->readSamples(channel, qint64(block) * len * m_step, qint64(s.size()), s.data());
        const double* p = s.data();
        for (int i = 0; i < len; ++i, p += m_step) {
            double sum = 0.0;
            for (int k = 0; k < m_step; ++k)
                sum += p[k];
            out[i] = qint16(int(m_factor * sum));
        }
        return out;
    }

    const double x1 = double(block) * len * m_invFactor;
    const double x2 = double(block + 1) * len * m_invFactor;
    const qint64 first = qint64(std::floor(x1));
    const qint64 count = qint64(std::floor(x2)) - first + 2;
    std::vector<double> s(size_t(std::max<qint64>(count, 2)));
    m_source->readSamples(channel, first, qint64(s.size()), s.data());
    const size_t lastPair = s.size() - 2; // guards rounding drift at the block's end
    double f = x1 - double(first);
    size_t j = 0;
    for (int i = 0; i < len; ++i) {
        const size_t k = std::min(j, lastPair);
        out[i] = qint16(int((1.0 - f) * s[k] + f * s[k + 1]));
        f += m_invFactor;
        while (f >= 1.0) {
            f -= 1.0;
            ++j;
        }
    }
    return out;
}
