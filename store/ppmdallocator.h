#pragma once

#include <QtGlobal>

#include <cstdint>
#include <memory>

// Sub-allocator of PPMd variant H (D. Shkarin, "PPM: one step to practicality", DCC 2002, and
// his PPMII description). One heap holds a text area growing upwards from the start and
// 12-byte units: contexts are taken from the top, statistics from above the text area. Blocks
// are addressed by 32-bit byte offsets from the heap start, so that a context stays 12 bytes
// and a state 6 bytes on any platform; offset 0 is null (the text area never hands it out).
class PpmdAllocator
{
public:
    static constexpr int kUnitSize = 12; // bytes
    static constexpr int kIndexCount = 38; // block sizes of 1..128 units

    PpmdAllocator();
    ~PpmdAllocator();
    PpmdAllocator(const PpmdAllocator&) = delete;
    PpmdAllocator& operator=(const PpmdAllocator&) = delete;

    // Reserves `bytes` of heap (kept when the size is unchanged); false if that fails.
    bool start(quint32 bytes);
    void stop();
    bool isStarted() const { return m_heap != nullptr; }
    quint32 size() const { return m_size; }

    // Empties the heap: the text area at its start, the units in its upper seven eighths.
    void init();

    quint32 allocContext();
    quint32 allocUnits(int units);
    // Grows a block of `oldUnits` by one unit; 0 when memory is exhausted (the old block stays).
    quint32 expandUnits(quint32 block, int oldUnits);
    quint32 shrinkUnits(quint32 block, int oldUnits, int newUnits);
    void freeUnits(quint32 block, int units);

    std::uint8_t* at(quint32 offset) { return m_heap.get() + offset; }
    const std::uint8_t* at(quint32 offset) const { return m_heap.get() + offset; }

    // The text area: raw symbols that stand for contexts not yet built.
    quint32 text() const { return m_text; }
    quint32 unitsStart() const { return m_unitsStart; }
    // Appends one symbol; false when the text area has run into the units.
    bool pushText(std::uint8_t symbol)
    {
        m_heap[m_text++] = symbol;
        return m_text < m_unitsStart;
    }
    void popText() { --m_text; }

    static int unitsOfIndex(int index) { return tables().indexToUnits[index]; }
    static int indexOfUnits(int units) { return tables().unitsToIndex[units - 1]; }

private:
    struct Tables
    {
        Tables();
        std::uint8_t indexToUnits[kIndexCount];
        std::uint8_t unitsToIndex[128];
    };
    static const Tables& tables();

    void insertNode(quint32 block, int index);
    quint32 removeNode(int index);
    void splitBlock(quint32 block, int oldIndex, int newIndex);
    void glueFreeBlocks();
    quint32 allocUnitsRare(int index);

    quint16 word(quint32 offset) const;
    void setWord(quint32 offset, quint16 value);
    quint32 dword(quint32 offset) const;
    void setDword(quint32 offset, quint32 value);

    std::unique_ptr<std::uint8_t[]> m_heap;
    quint32 m_size = 0; // usable bytes; two guard units follow
    quint32 m_freeList[kIndexCount] = {};
    quint32 m_text = 0;
    quint32 m_unitsStart = 0;
    quint32 m_loUnit = 0;
    quint32 m_hiUnit = 0;
    int m_glueCount = 0;
};
