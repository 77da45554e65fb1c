#include "store/ppmdrangecoder.h"

namespace {

constexpr quint32 kTop = 1u << 24;
constexpr quint32 kBottom = 1u << 15;

} // namespace

bool PpmdRangeEncoder::put(quint8 byte)
{
    if (!m_failed && !m_write(m_user, byte))
        m_failed = true;
    return !m_failed;
}

bool PpmdRangeEncoder::normalize()
{
    if (m_range == 0) // an empty interval: the model is broken, and no byte would settle
        m_failed = true;
    while (!m_failed) {
        if ((m_low ^ (m_low + m_range)) >= kTop) {
            if (m_range >= kBottom)
                break;
            // No carry can reach bytes already sent: give up the part of the range above
            // the next 2^15 boundary.
            m_range = (0u - m_low) & (kBottom - 1);
        }
        put(quint8(m_low >> 24));
        m_range <<= 8;
        m_low <<= 8;
    }
    return !m_failed;
}

bool PpmdRangeEncoder::flush()
{
    for (int i = 0; i < 4; ++i) {
        put(quint8(m_low >> 24));
        m_low <<= 8;
    }
    return !m_failed;
}

quint8 PpmdRangeDecoder::next()
{
    const int byte = m_read(m_user);
    if (byte < 0) {
        m_overrun = true;
        return 0;
    }
    return quint8(byte);
}

void PpmdRangeDecoder::init()
{
    m_low = m_code = 0;
    m_range = 0xFFFFFFFFu;
    for (int i = 0; i < 4; ++i)
        m_code = (m_code << 8) | next();
}

void PpmdRangeDecoder::normalize()
{
    if (m_range == 0) { // only a broken stream gets here; no byte would ever settle
        m_overrun = true;
        return;
    }
    for (;;) {
        if ((m_low ^ (m_low + m_range)) >= kTop) {
            if (m_range >= kBottom)
                break;
            m_range = (0u - m_low) & (kBottom - 1);
        }
        m_code = (m_code << 8) | next();
        m_range <<= 8;
        m_low <<= 8;
    }
}
