#include "store/differencestream.h"

namespace differencestream {

void encode(const qint16* samples, size_t count, std::vector<std::uint8_t>& out)
{
    if (count == 0)
        return;
    out.reserve(out.size() + 2 + (count - 1) * 2);
    const auto put = [&out](qint32 v, int bytes) {
        for (int i = 0; i < bytes; ++i)
            out.push_back(std::uint8_t(quint32(v) >> (8 * i)));
    };
    put(samples[0], 2);
    for (size_t i = 1; i < count; ++i) {
        const qint32 d = qint32(samples[i]) - qint32(samples[i - 1]);
        if (d >= -127 && d <= 127) {
            put(d, 1);
        } else if (d >= -32767 && d <= 32767) {
            out.push_back(0x80);
            put(d, 2);
        } else {
            // 0x80 then 0x8000: both shorter forms escaped.
            out.push_back(0x80);
            out.push_back(0x00);
            out.push_back(0x80);
            put(d, 3);
        }
    }
}

bool decode(const std::uint8_t* bytes, size_t size, std::vector<qint16>& samples, size_t maxSamples)
{
    samples.clear();
    if (size == 0)
        return true;
    if (size < 2 || maxSamples == 0)
        return false;
    size_t pos = 0;
    const auto take = [&](int n, qint32& v) {
        if (size - pos < size_t(n))
            return false;
        quint32 u = 0;
        for (int i = 0; i < n; ++i)
            u |= quint32(bytes[pos + size_t(i)]) << (8 * i);
        pos += size_t(n);
        const int unused = 32 - 8 * n; // sign-extend from n bytes
        v = qint32(u << unused) >> unused;
        return true;
    };
    qint32 value = 0;
    take(2, value);
    qint16 previous = qint16(value);
    samples.push_back(previous);
    while (pos < size) {
        qint32 d = 0;
        take(1, d);
        if (d == -128) {
            if (!take(2, d))
                return false;
            if (d == -32768 && !take(3, d))
                return false;
        }
        if (samples.size() == maxSamples)
            return false;
        previous = qint16(quint16(quint32(previous) + quint32(d)));
        samples.push_back(previous);
    }
    return true;
}

} // namespace differencestream
