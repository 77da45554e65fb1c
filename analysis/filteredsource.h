#pragma once

#include "analysis/blockfilter.h"
#include "analysis/wrappedsource.h"
#include "store/blockcache.h"
#include "store/signalsource.h"

#include <array>
#include <memory>
#include <vector>

// Shared part of the filtering wrappers: the filters (owned; one for all channels or one per
// channel, a null filter copies) over a wrapped source with the same counts.
class FilteredSourceBase : public WrappedSource
{
public:
    // The filter of `channel`, or null when the channel is copied.
    const BlockFilter* filter(int channel) const;

protected:
    FilteredSourceBase(SignalSource* source, std::unique_ptr<BlockFilter> filter);
    FilteredSourceBase(SignalSource* source, std::vector<std::unique_ptr<BlockFilter>> filters);

    void followCounts() override;

private:
    std::unique_ptr<BlockFilter> m_common;
    std::array<std::unique_ptr<BlockFilter>, kMaxChannels> m_perChannel;
};

// Filtered 16-bit samples, block by block on demand.
class FilteredSource : public FilteredSourceBase
{
public:
    FilteredSource(SignalSource* source, std::unique_ptr<BlockFilter> filter);
    FilteredSource(SignalSource* source, std::vector<std::unique_ptr<BlockFilter>> filters);
    ~FilteredSource() override;

    qint16* loadBlock(int channel, int block) override;
};

// Filtered samples kept as doubles (the wavelet scales, whose small values would lose too much
// as integers). Double blocks have their own reference-counted cache; 16-bit reads see the
// values rounded down.
class FilteredSourceF64 : public FilteredSourceBase
{
public:
    FilteredSourceF64(SignalSource* source, std::unique_ptr<BlockFilter> filter);
    FilteredSourceF64(SignalSource* source, std::vector<std::unique_ptr<BlockFilter>> filters);
    ~FilteredSourceF64() override;

    // Null when out of range. Each successful call is paired with releaseBlockF64.
    const double* getBlockF64(int channel, int block);
    void releaseBlockF64(int channel, int block);

    // Rounded down to an integer and saturated; 0 out of range.
    qint16 sampleAt(int channel, qint64 index) override;
    // The double values themselves; zeros outside.
    void readSamples(int channel, qint64 start, qint64 count, double* out) override;
    qint16* loadBlock(int channel, int block) override;

    int cachedBlockCountF64() const { return m_cacheF64.cachedCount(); }

protected:
    void dropStaleBlocks() override;

private:
    double* computeBlock(int channel, int block);

    BlockCache<double> m_cacheF64;
};
