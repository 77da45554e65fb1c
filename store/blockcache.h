#pragma once

#include <cstdint>
#include <deque>
#include <utility>
#include <vector>

// Reference-counted cache of per-channel sample blocks. A block in use (reference count above
// zero) is never evicted; past the soft bound the oldest unused block is freed, and if every
// block is in use the cache grows instead. Loading and freeing are the owner's business, so
// the same rules serve 16-bit sources and the double-valued wavelet scales.
template <typename T>
class BlockCache
{
public:
    static constexpr int kTableSize = 65536; // blocks addressable per channel
    static constexpr int kSoftBound = 1024;  // cached blocks before eviction starts

    explicit BlockCache(int channelCount = 0) { reset(channelCount); }
    BlockCache(const BlockCache&) = delete;
    BlockCache& operator=(const BlockCache&) = delete;

    void reset(int channelCount)
    {
        m_tables.assign(channelCount, std::vector<Entry>(kTableSize));
        m_order.clear();
    }

    int channelCount() const { return int(m_tables.size()); }
    int cachedCount() const { return int(m_order.size()); }

    // Returns the block, loading it through `load(channel, block)` when absent and freeing
    // evicted ones through `unload(T*)`. The caller has bounds-checked channel and block.
    template <typename Load, typename Unload>
    T* acquire(int channel, int block, Load&& load, Unload&& unload)
    {
        Entry& e = m_tables[channel][block];
        if (!e.data) {
            if (int(m_order.size()) > kSoftBound)
                evictOne(unload);
            e.data = load(channel, block);
            e.refs = 0;
            if (!e.data)
                return nullptr;
            m_order.emplace_back(channel, block);
        }
        ++e.refs;
        return e.data;
    }

    void release(int channel, int block)
    {
        Entry& e = m_tables[channel][block];
        if (e.refs > 0)
            --e.refs;
    }

    int refCount(int channel, int block) const { return m_tables[channel][block].refs; }
    bool isCached(int channel, int block) const { return m_tables[channel][block].data; }

    // Frees every unused block; blocks still in use stay, as eviction would keep them.
    template <typename Unload>
    void dropUnused(Unload&& unload)
    {
        std::deque<std::pair<int, int>> kept;
        for (const auto& cb : m_order) {
            Entry& e = m_tables[cb.first][cb.second];
            if (e.refs == 0) {
                unload(e.data);
                e.data = nullptr;
            } else {
                kept.push_back(cb);
            }
        }
        m_order.swap(kept);
    }

    // Frees everything regardless of references; only for destruction.
    template <typename Unload>
    void clearAll(Unload&& unload)
    {
        for (const auto& cb : m_order) {
            Entry& e = m_tables[cb.first][cb.second];
            unload(e.data);
            e.data = nullptr;
            e.refs = 0;
        }
        m_order.clear();
    }

private:
    struct Entry
    {
        T* data = nullptr;
        int refs = 0;
    };

    template <typename Unload>
    void evictOne(Unload&& unload)
    {
        for (auto it = m_order.begin(); it != m_order.end(); ++it) {
            Entry& e = m_tables[it->first][it->second];
            if (e.refs == 0 && e.data) {
                unload(e.data);
                e.data = nullptr;
                m_order.erase(it);
                return;
            }
        }
    }

    std::vector<std::vector<Entry>> m_tables;
    std::deque<std::pair<int, int>> m_order; // (channel, block) in order of loading
};
