#include "store/signalsource.h"

#include <algorithm>
#include <cmath>

SignalSource::SignalSource(int channelCount, int samplingRate, int blockSize)
    : m_channelCount(std::clamp(channelCount, 0, kMaxChannels)),
      m_blockSize(blockSize > 0 ? blockSize : 1),
      m_cache(m_channelCount),
      m_samplingRate(samplingRate > 0 ? samplingRate : 1)
{
    for (int c = 0; c < m_channelCount; ++c)
        m_channels[c] = std::make_unique<SignalChannel>(c, this);
    recomputeGainStep();
}

SignalSource::~SignalSource()
{
    // Derived destructors normally release their blocks first; this catches the rest with the
    // default deleter, which matches every loadBlock that uses new[].
    m_cache.clearAll([](qint16* p) { delete[] p; });
    const auto listeners = m_listeners;
    for (SignalListener* l : listeners)
        l->signalDestroyed(this);
}

void SignalSource::releaseAllBlocks()
{
    m_cache.clearAll([this](qint16* p) { freeBlock(p); });
}

void SignalSource::dropCachedBlocks()
{
    m_cache.dropUnused([this](qint16* p) { freeBlock(p); });
}

SignalChannel* SignalSource::channel(int index) const
{
    if (index < 0 || index >= m_channelCount)
        return nullptr;
    return m_channels[index].get();
}

SignalChannel* SignalSource::channelByName(const QByteArray& name) const
{
    for (int c = 0; c < m_channelCount; ++c)
        if (m_channels[c]->name() == name)
            return m_channels[c].get();
    return nullptr;
}

void SignalSource::setBlockCount(int count)
{
    m_blockCount = std::clamp(count, 0, int(BlockCache<qint16>::kTableSize));
}

double SignalSource::duration() const
{
    return double(m_sampleCount) / double(m_samplingRate);
}

void SignalSource::setGainRange(double min, double max)
{
    m_gainMin = min;
    m_gainMax = max;
    recomputeGainStep();
}

void SignalSource::setResolution(int bits)
{
    m_resolution = bits;
    recomputeGainStep();
}

void SignalSource::recomputeGainStep()
{
    m_gainStep = (m_gainMax - m_gainMin) / std::ldexp(1.0, m_resolution);
}

void SignalSource::addListener(SignalListener* listener)
{
    if (listener && std::find(m_listeners.begin(), m_listeners.end(), listener) == m_listeners.end())
        m_listeners.push_back(listener);
}

void SignalSource::removeListener(SignalListener* listener)
{
    m_listeners.erase(std::remove(m_listeners.begin(), m_listeners.end(), listener),
                      m_listeners.end());
}

void SignalSource::notifyChanged()
{
    const auto listeners = m_listeners; // a listener may unregister while being told
    for (SignalListener* l : listeners)
        l->signalChanged(this);
}

const qint16* SignalSource::getBlock(int channel, int block)
{
    if (block < 0 || block >= m_blockCount || channel < 0 || channel >= m_channelCount)
        return nullptr;
    return m_cache.acquire(
        channel, block, [this](int c, int b) { return loadBlock(c, b); },
        [this](qint16* p) { freeBlock(p); });
}

void SignalSource::releaseBlock(int channel, int block)
{
    if (block < 0 || block >= m_blockCount || channel < 0 || channel >= m_channelCount)
        return;
    m_cache.release(channel, block);
}

std::string SignalSource::readError() const
{
    std::lock_guard<std::mutex> lock(m_readErrorLock);
    return m_readError;
}

void SignalSource::noteReadError(const std::string& message)
{
    std::lock_guard<std::mutex> lock(m_readErrorLock);
    if (m_readError.empty())
        m_readError = message;
}

void SignalSource::freeBlock(qint16* block)
{
    delete[] block;
}

qint16 SignalSource::sampleAt(int channel, qint64 index)
{
    if (index < 0 || index >= m_sampleCount)
        return 0;
    const int block = int(index / m_blockSize);
    const qint16* data = getBlock(channel, block);
    if (!data)
        return 0;
    const qint16 value = data[index % m_blockSize];
    releaseBlock(channel, block);
    return value;
}

void SignalSource::readSamples(int channel, qint64 start, qint64 count, double* out)
{
    if (count < 1)
        return;
    const qint64 end = start + count; // exclusive
    if (end <= 0 || start >= m_sampleCount) {
        std::fill(out, out + count, 0.0);
        return;
    }
    qint64 pos = start;
    double* dst = out;
    if (pos < 0) {
        std::fill(dst, dst + (-pos), 0.0);
        dst += -pos;
        pos = 0;
    }
    const qint64 last = std::min(end, m_sampleCount); // exclusive
    while (pos < last) {
        const int block = int(pos / m_blockSize);
        const qint64 offset = pos % m_blockSize;
        const qint64 n = std::min<qint64>(m_blockSize - offset, last - pos);
        const qint16* data = getBlock(channel, block);
        if (data) {
            const qint16* src = data + offset;
            qint64 i = 0;
            for (; i + 4 <= n; i += 4) {
                dst[i] = src[i];
                dst[i + 1] = src[i + 1];
                dst[i + 2] = src[i + 2];
                dst[i + 3] = src[i + 3];
            }
            for (; i < n; ++i)
                dst[i] = src[i];
            releaseBlock(channel, block);
        } else {
            // Samples past the whole blocks (a file still being written) go one by one.
            for (qint64 i = 0; i < n; ++i)
                dst[i] = sampleAt(channel, pos + i);
        }
        dst += n;
        pos += n;
    }
    if (pos < end)
        std::fill(dst, out + count, 0.0);
}

void SignalSource::appendRaw(const char*, qint64) {}
void SignalSource::appendChannels(const qint16* const*, qint64) {}
void SignalSource::appendChannelsF64(const double* const*, qint64) {}

void SignalChannel::minMaxEnvelope(qint64 start, qint64 count, double* minOut, double* maxOut,
                                   int offset, int bins, bool wrap) const
{
    if (count == 0 || bins == 0 || count < bins)
        return;
    const qint64 q = count / bins;
    const qint64 r = count % bins;
    const qint64 stride = ((q - 1) / 16) + 1;
    const qint64 total = m_owner->sampleCount();
    qint64 acc = 0;
    qint64 slotStart = start;
    for (int b = 0; b < bins; ++b) {
        qint64 len = q;
        acc += r;
        if (acc >= bins) {
            acc -= bins;
            ++len;
        }
        double lo = 0.0, hi = 0.0;
        bool first = true;
        for (qint64 k = 0; k < len; k += stride) {
            qint64 pos = slotStart + k;
            if (wrap && pos >= total)
                pos -= count;
            const double v = m_owner->sampleAt(m_index, pos);
            if (first || v < lo)
                lo = v;
            if (first || v > hi)
                hi = v;
            first = false;
        }
        minOut[offset + b] = lo;
        maxOut[offset + b] = hi;
        slotStart += len;
    }
}
