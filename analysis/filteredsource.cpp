#include "analysis/filteredsource.h"

#include <algorithm>
#include <cmath>
#include <cstring>

FilteredSourceBase::FilteredSourceBase(SignalSource* source, std::unique_ptr<BlockFilter> filter)
    : WrappedSource(source, source ? source->samplingRate() : 1)
    , m_common(std::move(filter))
{
    followCounts();
}

FilteredSourceBase::FilteredSourceBase(
    SignalSource* source, std::vector<std::unique_ptr<BlockFilter>> filters)
    : FilteredSourceBase(source, std::unique_ptr<BlockFilter>())
{
    for (size_t c = 0; c < filters.size() && c < m_perChannel.size(); ++c)
        m_perChannel[c] = std::move(filters[c]);
}

const BlockFilter* FilteredSourceBase::filter(int channel) const
{
    if (channel < 0 || channel >= kMaxChannels)
        return nullptr;
    return m_common ? m_common.get() : m_perChannel[size_t(channel)].get();
}

void FilteredSourceBase::followCounts()
{
    setSampleCount(m_source ? m_source->sampleCount() : 0);
    setBlockCount(m_source ? m_source->blockCount() : 0);
}

FilteredSource::FilteredSource(SignalSource* source, std::unique_ptr<BlockFilter> filter)
    : FilteredSourceBase(source, std::move(filter))
{
}

FilteredSource::FilteredSource(
    SignalSource* source, std::vector<std::unique_ptr<BlockFilter>> filters)
    : FilteredSourceBase(source, std::move(filters))
{
}

FilteredSource::~FilteredSource()
{
    releaseAllBlocks();
}

qint16* FilteredSource::loadBlock(int channel, int block)
{
    if (!m_source || block < 0 || block >= blockCount() || channel < 0 || channel >= channelCount())
        return nullptr;
    const int len = blockSize();
    auto* out = new qint16[size_t(len)];
    if (const BlockFilter* f = filter(channel)) {
        f->apply(BlockWindow(*m_source, channel, block), out);
    } else {
        const qint16* data = m_source->getBlock(channel, block);
        if (data) {
            std::memcpy(out, data, size_t(len) * sizeof(qint16));
            m_source->releaseBlock(channel, block);
        } else {
            std::fill(out, out + len, qint16(0));
        }
    }
    return out;
}

FilteredSourceF64::FilteredSourceF64(SignalSource* source, std::unique_ptr<BlockFilter> filter)
    : FilteredSourceBase(source, std::move(filter))
    , m_cacheF64(channelCount())
{
}

FilteredSourceF64::FilteredSourceF64(
    SignalSource* source, std::vector<std::unique_ptr<BlockFilter>> filters)
    : FilteredSourceBase(source, std::move(filters))
    , m_cacheF64(channelCount())
{
}

FilteredSourceF64::~FilteredSourceF64()
{
    m_cacheF64.clearAll([](double* p) { delete[] p; });
    releaseAllBlocks();
}

void FilteredSourceF64::dropStaleBlocks()
{
    FilteredSourceBase::dropStaleBlocks();
    m_cacheF64.dropUnused([](double* p) { delete[] p; });
}

double* FilteredSourceF64::computeBlock(int channel, int block)
{
    if (!m_source)
        return nullptr;
    const int len = blockSize();
    auto* out = new double[size_t(len)];
    if (const BlockFilter* f = filter(channel)) {
        f->apply(BlockWindow(*m_source, channel, block), out);
    } else {
        const qint16* data = m_source->getBlock(channel, block);
        if (data) {
            std::copy(data, data + len, out);
            m_source->releaseBlock(channel, block);
        } else {
            std::fill(out, out + len, 0.0);
        }
    }
    return out;
}

const double* FilteredSourceF64::getBlockF64(int channel, int block)
{
    if (block < 0 || block >= blockCount() || channel < 0 || channel >= channelCount())
        return nullptr;
    return m_cacheF64.acquire(
        channel, block, [this](int c, int b) { return computeBlock(c, b); },
        [](double* p) { delete[] p; });
}

void FilteredSourceF64::releaseBlockF64(int channel, int block)
{
    if (block < 0 || block >= blockCount() || channel < 0 || channel >= channelCount())
        return;
    m_cacheF64.release(channel, block);
}

static qint16 floorToSample(double value)
{
    const double f = std::floor(value);
    if (f >= 32767.0)
        return 32767;
    if (f < -32768.0)
        return -32768;
    return std::isnan(f) ? qint16(0) : qint16(f);
}

qint16* FilteredSourceF64::loadBlock(int channel, int block)
{
    const double* values = getBlockF64(channel, block);
    if (!values)
        return nullptr;
    const int len = blockSize();
    auto* out = new qint16[size_t(len)];
    for (int i = 0; i < len; ++i)
        out[i] = floorToSample(values[i]);
    releaseBlockF64(channel, block);
    return out;
}

qint16 FilteredSourceF64::sampleAt(int channel, qint64 index)
{
    if (index < 0 || index >= sampleCount())
        return 0;
    const int block = int(index / blockSize());
    const double* values = getBlockF64(channel, block);
    if (!values)
        return 0;
    const qint16 v = floorToSample(values[index % blockSize()]);
    releaseBlockF64(channel, block);
    return v;
}

void FilteredSourceF64::readSamples(int channel, qint64 start, qint64 count, double* out)
{
    if (count < 1)
        return;
    std::fill(out, out + count, 0.0);
    const qint64 first = std::max<qint64>(start, 0);
    const qint64 last = std::min(start + count, sampleCount()); // exclusive
    qint64 pos = first;
    while (pos < last) {
        const int block = int(pos / blockSize());
        const qint64 offset = pos % blockSize();
        const qint64 n = std::min<qint64>(blockSize() - offset, last - pos);
        if (const double* values = getBlockF64(channel, block)) {
            std::copy(values + offset, values + offset + n, out + (pos - start));
            releaseBlockF64(channel, block);
        }
        pos += n;
    }
}
