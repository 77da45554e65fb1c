#include "display/pwavesharesource.h"

#include "store/beatlist.h"

#include <cmath>

PWaveShareSource::PWaveShareSource(
    BeatList* beats, int lead, double intervalSeconds, double offsetSeconds)
{
    if (!beats || !(intervalSeconds > 0.0))
        return;
    qint64 current = -1;
    int total = 0;
    int withP = 0;
    auto flush = [&] {
        if (total > 0) {
            m_x.append(current * intervalSeconds + offsetSeconds);
            m_y.append(100.0 * withP / total);
        }
        total = 0;
        withP = 0;
    };
    Beat b;
    for (int i = 0; beats->get(i, b); ++i) {
        if (!b.isBeat)
            continue;
        const qint64 slot = qint64(std::floor(b.rInstant() / intervalSeconds));
        if (slot != current) {
            flush();
            current = slot;
        }
        ++total;
        if (b.hasChannelMeasure(lead, Beat::PPeak))
            ++withP;
    }
    flush();
}
