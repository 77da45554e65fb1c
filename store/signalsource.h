#pragma once

#include "store/blockcache.h"

#include <QByteArray>
#include <QtGlobal>

#include <array>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class SignalSource;

// Told when a source's samples change (appends, inversion), so wrappers can drop cached blocks.
class SignalListener
{
public:
    virtual ~SignalListener() = default;
    virtual void signalChanged(SignalSource* source) = 0;
    // The source is going away; a listener that holds it must stop using it.
    virtual void signalDestroyed(SignalSource*) {}
};

class SignalChannel
{
public:
    SignalChannel(int index, SignalSource* owner) : m_index(index), m_owner(owner) {}

    int index() const { return m_index; }
    SignalSource* owner() const { return m_owner; }
    QByteArray name() const { return m_name; }
    void setName(const QByteArray& name) { m_name = name; }

    // Lowest and highest sample of `bins` slots over [start, start + count), at most 16 samples
    // looked at per slot; written to minOut/maxOut from `offset` on. With `wrap`, a slot end
    // past the channel's end wraps back by `count` (for circular sweep displays).
    void minMaxEnvelope(qint64 start, qint64 count, double* minOut, double* maxOut, int offset,
                        int bins, bool wrap) const;

private:
    int m_index;
    SignalSource* m_owner; // not owned
    QByteArray m_name;
};

// Multi-channel ECG presented as 16-bit blocks of one channel each, through a reference-counted
// block cache. Concrete sources say how to load a block; everything else is shared.
class SignalSource
{
public:
    static constexpr int kMaxChannels = 4;

    SignalSource(const SignalSource&) = delete;
    SignalSource& operator=(const SignalSource&) = delete;
    virtual ~SignalSource();

    virtual qint16 sampleAt(int channel, qint64 index);
    // Fills out[0..count) with samples start..start+count-1 as doubles; zeros outside.
    virtual void readSamples(int channel, qint64 start, qint64 count, double* out);
    virtual qint16* loadBlock(int channel, int block) = 0;
    virtual void freeBlock(qint16* block);
    virtual void appendRaw(const char* bytes, qint64 size);
    virtual void appendChannels(const qint16* const* channels, qint64 count);
    virtual void appendChannelsF64(const double* const* channels, qint64 count);

    // Block access: null when out of range or the block can't be loaded. Each successful
    // getBlock must be paired with releaseBlock.
    const qint16* getBlock(int channel, int block);
    void releaseBlock(int channel, int block);

    int channelCount() const { return m_channelCount; }
    SignalChannel* channel(int index) const;
    SignalChannel* channelByName(const QByteArray& name) const;
    int blockSize() const { return m_blockSize; }
    int blockCount() const { return m_blockCount; }
    qint64 sampleCount() const { return m_sampleCount; }
    int samplingRate() const { return m_samplingRate; }
    int storedBits() const { return m_storedBits; }
    int resolution() const { return m_resolution; }
    double gainStep() const { return m_gainStep; }
    int fullScale() const { return m_fullScale; }
    double gainMin() const { return m_gainMin; }
    double gainMax() const { return m_gainMax; }

    double duration() const; // seconds
    double timeOfSample(qint64 index) const { return double(index) / m_samplingRate; }
    qint64 sampleOfTime(double seconds) const { return qint64(m_samplingRate * seconds + 0.5); }

    void setGainRange(double min, double max);
    void setResolution(int bits);

    void addListener(SignalListener* listener);
    void removeListener(SignalListener* listener);
    void notifyChanged();

    int cachedBlockCount() const { return m_cache.cachedCount(); }

    // The first failure to read samples that should be there (a file cut short or a disk
    // error under an open source), ready to show; empty while every read was whole. Blocks
    // that failed read as silence, so displays stay safe; long operations check this at their
    // end, so that a result built on silence is never taken for a whole one.
    std::string readError() const;

protected:
    SignalSource(int channelCount, int samplingRate, int blockSize);

    void setSampleCount(qint64 count) { m_sampleCount = count; }
    void setBlockCount(int count);
    void setSamplingRate(int rate) { m_samplingRate = rate; }
    void setFullScale(int value) { m_fullScale = value; }
    // Frees all unused cached blocks, for sources whose samples changed under the cache.
    void dropCachedBlocks();
    // Frees every cached block; a derived destructor calls it while its freeBlock still works.
    void releaseAllBlocks();
    // Keeps the first read failure; callable from any thread.
    void noteReadError(const std::string& message);

private:
    void recomputeGainStep();

    mutable std::mutex m_readErrorLock;
    std::string m_readError;

    int m_channelCount;
    std::array<std::unique_ptr<SignalChannel>, kMaxChannels> m_channels;
    int m_blockSize;
    int m_blockCount = 0;
    BlockCache<qint16> m_cache;
    std::vector<SignalListener*> m_listeners; // not owned
    qint64 m_sampleCount = 0;
    int m_samplingRate;
    int m_storedBits = 16;
    int m_resolution = 16;
    double m_gainStep = 2.0 / 65536.0;
    int m_fullScale = 128;
    double m_gainMin = -1.0;
    double m_gainMax = 1.0;
};
