#include "store/ppmdallocator.h"

#include <cstring>
#include <new>

namespace {

// Free blocks are single-linked through their first four bytes. While glueing, a free block
// carries a 16-bit stamp 0xFFFF and its length in units, then previous and next links.
constexpr quint16 kFreeStamp = 0xFFFF;
constexpr quint32 kStampAt = 0, kUnitsAt = 2, kNextAt = 4, kPrevAt = 8;

} // namespace

PpmdAllocator::Tables::Tables()
{
    // 1..4 by one, 6..12 by two, 15..24 by three, 28..128 by four units.
    int i = 0, k = 1;
    for (; i < 4; ++i, k += 1)
        indexToUnits[i] = std::uint8_t(k);
    for (++k; i < 8; ++i, k += 2)
        indexToUnits[i] = std::uint8_t(k);
    for (++k; i < 12; ++i, k += 3)
        indexToUnits[i] = std::uint8_t(k);
    for (++k; i < kIndexCount; ++i, k += 4)
        indexToUnits[i] = std::uint8_t(k);
    for (k = 0, i = 0; k < 128; ++k) {
        if (indexToUnits[i] < k + 1)
            ++i;
        unitsToIndex[k] = std::uint8_t(i);
    }
}

const PpmdAllocator::Tables& PpmdAllocator::tables()
{
    static const Tables t;
    return t;
}

PpmdAllocator::PpmdAllocator() = default;
PpmdAllocator::~PpmdAllocator() = default;

bool PpmdAllocator::start(quint32 bytes)
{
    if (m_heap && m_size == bytes)
        return true;
    stop();
    if (bytes < quint32(16 * kUnitSize * 128))
        return false;
    // Two guard units past the end: a zero stamp that stops glueing at the heap's end, and the
    // head of the glue list.
    m_heap.reset(new (std::nothrow) std::uint8_t[size_t(bytes) + 2 * kUnitSize]);
    if (!m_heap)
        return false;
    m_size = bytes;
    return true;
}

void PpmdAllocator::stop()
{
    m_heap.reset();
    m_size = 0;
}

void PpmdAllocator::init()
{
    std::memset(m_freeList, 0, sizeof(m_freeList));
    m_text = 0;
    m_hiUnit = m_size;
    const quint32 diff = kUnitSize * (m_size / 8 / kUnitSize * 7);
    m_loUnit = m_unitsStart = m_hiUnit - diff;
    m_glueCount = 0;
    std::memset(m_heap.get() + m_size, 0, 2 * kUnitSize);
}

quint16 PpmdAllocator::word(quint32 offset) const
{
    quint16 v;
    std::memcpy(&v, m_heap.get() + offset, 2);
    return v;
}

void PpmdAllocator::setWord(quint32 offset, quint16 value)
{
    std::memcpy(m_heap.get() + offset, &value, 2);
}

quint32 PpmdAllocator::dword(quint32 offset) const
{
    quint32 v;
    std::memcpy(&v, m_heap.get() + offset, 4);
    return v;
}

void PpmdAllocator::setDword(quint32 offset, quint32 value)
{
    std::memcpy(m_heap.get() + offset, &value, 4);
}

void PpmdAllocator::insertNode(quint32 block, int index)
{
    setDword(block, m_freeList[index]);
    m_freeList[index] = block;
}

quint32 PpmdAllocator::removeNode(int index)
{
    const quint32 block = m_freeList[index];
    m_freeList[index] = dword(block);
    return block;
}

void PpmdAllocator::splitBlock(quint32 block, int oldIndex, int newIndex)
{
    int diff = unitsOfIndex(oldIndex) - unitsOfIndex(newIndex);
    quint32 p = block + quint32(unitsOfIndex(newIndex) * kUnitSize);
    int i = indexOfUnits(diff);
    if (unitsOfIndex(i) != diff) {
        insertNode(p, --i);
        p += quint32(unitsOfIndex(i) * kUnitSize);
        diff -= unitsOfIndex(i);
    }
    insertNode(p, indexOfUnits(diff));
}

// Merges neighbouring free blocks into as large blocks as the lists hold, so that memory
// fragmented by many small frees can serve larger requests again.
void PpmdAllocator::glueFreeBlocks()
{
    const quint32 head = m_size + kUnitSize;
    auto next = [this](quint32 b) { return dword(b + kNextAt); };
    auto link = [this](quint32 b, quint32 after) { // inserts b right after `after`
        const quint32 n = dword(after + kNextAt);
        setDword(b + kPrevAt, after);
        setDword(b + kNextAt, n);
        setDword(after + kNextAt, b);
        setDword(n + kPrevAt, b);
    };
    auto unlink = [this](quint32 b) {
        const quint32 p = dword(b + kPrevAt), n = dword(b + kNextAt);
        setDword(p + kNextAt, n);
        setDword(n + kPrevAt, p);
    };

    if (m_loUnit != m_hiUnit)
        m_heap[m_loUnit] = 0; // the block ending at LoUnit has no free neighbour there
    setDword(head + kNextAt, head);
    setDword(head + kPrevAt, head);
    for (int i = 0; i < kIndexCount; ++i) {
        while (m_freeList[i]) {
            const quint32 b = removeNode(i);
            link(b, head);
            setWord(b + kStampAt, kFreeStamp);
            setWord(b + kUnitsAt, quint16(unitsOfIndex(i)));
        }
    }
    for (quint32 b = next(head); b != head; b = next(b)) {
        for (;;) {
            const quint32 n = b + quint32(word(b + kUnitsAt)) * kUnitSize;
            if (word(n + kStampAt) != kFreeStamp
                || int(word(b + kUnitsAt)) + int(word(n + kUnitsAt)) >= 0x10000)
                break;
            unlink(n);
            setWord(b + kUnitsAt, quint16(word(b + kUnitsAt) + word(n + kUnitsAt)));
        }
    }
    for (quint32 b = next(head); b != head; b = next(head)) {
        unlink(b);
        int units = word(b + kUnitsAt);
        for (; units > 128; units -= 128, b += 128 * kUnitSize)
            insertNode(b, kIndexCount - 1);
        int i = indexOfUnits(units);
        if (unitsOfIndex(i) != units) {
            const int k = units - unitsOfIndex(--i);
            insertNode(b + quint32((units - k) * kUnitSize), k - 1);
        }
        insertNode(b, i);
    }
}

quint32 PpmdAllocator::allocUnitsRare(int index)
{
    if (m_glueCount == 0) {
        m_glueCount = 255;
        glueFreeBlocks();
        if (m_freeList[index])
            return removeNode(index);
    }
    int i = index;
    do {
        if (++i == kIndexCount) {
            // Last resort: take the units from the top of the text area.
            --m_glueCount;
            const quint32 bytes = quint32(unitsOfIndex(index) * kUnitSize);
            if (m_unitsStart - m_text > bytes) {
                m_unitsStart -= bytes;
                return m_unitsStart;
            }
            return 0;
        }
    } while (!m_freeList[i]);
    const quint32 block = removeNode(i);
    splitBlock(block, i, index);
    return block;
}

quint32 PpmdAllocator::allocContext()
{
    if (m_hiUnit != m_loUnit)
        return m_hiUnit -= kUnitSize;
    if (m_freeList[0])
        return removeNode(0);
    return allocUnitsRare(0);
}

quint32 PpmdAllocator::allocUnits(int units)
{
    const int index = indexOfUnits(units);
    if (m_freeList[index])
        return removeNode(index);
    const quint32 bytes = quint32(unitsOfIndex(index) * kUnitSize);
    if (m_hiUnit - m_loUnit >= bytes) {
        const quint32 block = m_loUnit;
        m_loUnit += bytes;
        return block;
    }
    return allocUnitsRare(index);
}

quint32 PpmdAllocator::expandUnits(quint32 block, int oldUnits)
{
    const int i0 = indexOfUnits(oldUnits), i1 = indexOfUnits(oldUnits + 1);
    if (i0 == i1)
        return block;
    const quint32 grown = allocUnits(oldUnits + 1);
    if (grown) {
        std::memcpy(at(grown), at(block), size_t(oldUnits) * kUnitSize);
        insertNode(block, i0);
    }
    return grown;
}

quint32 PpmdAllocator::shrinkUnits(quint32 block, int oldUnits, int newUnits)
{
    const int i0 = indexOfUnits(oldUnits), i1 = indexOfUnits(newUnits);
    if (i0 == i1)
        return block;
    if (m_freeList[i1]) {
        const quint32 smaller = removeNode(i1);
        std::memcpy(at(smaller), at(block), size_t(newUnits) * kUnitSize);
        insertNode(block, i0);
        return smaller;
    }
    splitBlock(block, i0, i1);
    return block;
}

void PpmdAllocator::freeUnits(quint32 block, int units)
{
    insertNode(block, indexOfUnits(units));
}
