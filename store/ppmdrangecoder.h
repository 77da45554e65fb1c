#pragma once

#include <QtGlobal>

// Byte sources and sinks of the PPMd coder: plain functions with a user pointer, so that the
// coder needs no file and each thread can feed its own buffers.
using PpmdReadByte = int (*)(void* user); // next byte 0..255, or -1 at the end
using PpmdWriteByte = bool (*)(void* user, quint8 byte); // false stops the coder

// The carry-less range coder of D. Subbotin (1999) as PPMd variant H uses it: 32-bit low and
// range, a byte leaves when the top byte is settled (top 2^24) or, when the range has shrunk
// below 2^15, by cutting the range to the next 2^15 boundary.
class PpmdRangeEncoder
{
public:
    PpmdRangeEncoder(PpmdWriteByte write, void* user)
        : m_write(write)
        , m_user(user)
    {
    }

    // Codes [low, high) of `scale`; false when the range would collapse (scale too large).
    bool encode(quint32 low, quint32 high, quint32 scale)
    {
        m_range /= scale;
        m_low += low * m_range;
        m_range *= high - low;
        return m_range != 0;
    }
    // The same with a scale of 2^shift.
    void encodeShift(quint32 low, quint32 high, int shift)
    {
        m_range >>= shift;
        m_low += low * m_range;
        m_range *= high - low;
    }
    bool normalize();
    // Four bytes of low: the decoder then finds every symbol inside its interval.
    bool flush();
    bool failed() const { return m_failed; }

private:
    bool put(quint8 byte);

    PpmdWriteByte m_write;
    void* m_user;
    quint32 m_low = 0;
    quint32 m_range = 0xFFFFFFFFu;
    bool m_failed = false;
};

class PpmdRangeDecoder
{
public:
    PpmdRangeDecoder(PpmdReadByte read, void* user)
        : m_read(read)
        , m_user(user)
    {
    }

    // Reads the first four bytes.
    void init();
    // The count within `scale` that the code points at; may be >= scale in a corrupt stream.
    // Returns false when the range would collapse, which only a corrupt stream causes.
    bool currentCount(quint32 scale, quint32& count)
    {
        m_range /= scale;
        if (m_range == 0)
            return false;
        count = (m_code - m_low) / m_range;
        return true;
    }
    quint32 currentShiftCount(int shift)
    {
        m_range >>= shift;
        return (m_code - m_low) / m_range;
    }
    void removeSubrange(quint32 low, quint32 high)
    {
        m_low += low * m_range;
        m_range *= high - low;
    }
    void normalize();
    // True when the stream ended before the decoder had all the bytes it needed.
    bool overrun() const { return m_overrun; }

private:
    quint8 next();

    PpmdReadByte m_read;
    void* m_user;
    quint32 m_low = 0;
    quint32 m_code = 0;
    quint32 m_range = 0xFFFFFFFFu;
    bool m_overrun = false;
};
