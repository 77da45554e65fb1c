#include "display/stripgeometry.h"

#include "display/paperscale.h"
#include "store/beatlist.h"

#include <cmath>

namespace {

constexpr double kMmPerInch = 25.4;

} // namespace

double beatTimeSeconds(const Beat& beat)
{
    return beat.hasTiming(Beat::RTime) ? beat.rInstant() : beat.windowStartTime() + 0.2;
}

StripGeometry StripGeometry::fromPixelsPerMillimetre(
    double pxPerMm, double speedMmPerSecond, double gainMmPerMillivolt)
{
    StripGeometry g;
    g.m_pxPerMm = pxPerMm > 0.0 ? pxPerMm : 1.0;
    g.m_speedMmPerSecond = speedMmPerSecond > 0.0 ? speedMmPerSecond : 25.0;
    g.m_gainMmPerMillivolt = gainMmPerMillivolt;
    return g;
}

StripGeometry StripGeometry::spanning(
    double fromSeconds, double toSeconds, double leftPx, double widthPx)
{
    const double span = toSeconds - fromSeconds;
    StripGeometry g = fromPixelsPerMillimetre(1.0, span > 0.0 ? widthPx / span : 1.0, 1.0);
    g.setStartSeconds(fromSeconds);
    g.setTraceSpan(leftPx, widthPx);
    return g;
}

StripGeometry StripGeometry::forDevice(
    const QPaintDevice* device, double speedMmPerSecond, double gainMmPerMillivolt)
{
    return fromPixelsPerMillimetre(
        PaperScale(device).pixelsPerMillimetre(), speedMmPerSecond, gainMmPerMillivolt);
}

StripGeometry StripGeometry::forScreen(
    double logicalDpi, double zoom, double speedMmPerSecond, double gainMmPerMillivolt)
{
    return fromPixelsPerMillimetre(
        logicalDpi / kMmPerInch * zoom, speedMmPerSecond, gainMmPerMillivolt);
}

void StripGeometry::setTraceSpan(double leftPx, double widthPx)
{
    m_leftPx = leftPx;
    m_widthPx = widthPx > 0.0 ? widthPx : 0.0;
}

double StripGeometry::visibleSeconds() const
{
    return m_widthPx / pixelsPerSecond();
}

double StripGeometry::mapXToTime(double xPx) const
{
    return m_startSeconds + (xPx - m_leftPx) / pixelsPerSecond();
}

void StripGeometry::setRows(const QVector<int>& channels, double topPx, double heightPx)
{
    m_rows.clear();
    if (channels.isEmpty() || heightPx <= 0.0)
        return;
    const double share = heightPx / channels.size();
    for (int i = 0; i < channels.size(); ++i)
        m_rows.append(ChannelRow { channels[i], topPx + share * i, share });
}

int StripGeometry::rowAtY(double yPx) const
{
    for (int i = 0; i < m_rows.size(); ++i) {
        const ChannelRow& r = m_rows[i];
        if (yPx >= r.topPx && yPx < r.topPx + r.heightPx)
            return i;
    }
    return -1;
}

double StripGeometry::millivoltsToY(int row, double millivolts) const
{
    if (row < 0 || row >= m_rows.size())
        return 0.0;
    return m_rows[row].baselineYPx() - millivolts * pixelsPerMillivolt();
}

double StripGeometry::yToMillivolts(int row, double yPx) const
{
    if (row < 0 || row >= m_rows.size() || pixelsPerMillivolt() == 0.0)
        return 0.0;
    return (m_rows[row].baselineYPx() - yPx) / pixelsPerMillivolt();
}

bool StripGeometry::beatAt(
    BeatList* beats, double xPx, double toleranceSeconds, Beat* beat, Pick pick) const
{
    if (!beats)
        return false;
    const double t = mapXToTime(xPx);
    Beat found;
    if (!beats->nearest(t, found))
        return false;
    // The list's search is on the R time; neighbours are looked at too, since a record without
    // one is drawn at its window instead.
    Beat best;
    double bestDistance = -1.0;
    for (int i = found.index - 1; i <= found.index + 1; ++i) {
        Beat b;
        if (!beats->get(i, b))
            continue;
        const double d = std::abs(beatTimeSeconds(b) - t);
        if (bestDistance < 0.0 || d < bestDistance) {
            best = b;
            bestDistance = d;
        }
    }
    if (bestDistance < 0.0 || bestDistance > toleranceSeconds)
        return false;
    if (pick == Pick::RealBeats && !best.isBeat)
        return false;
    if (beat)
        *beat = best;
    return true;
}

bool StripGeometry::operator==(const StripGeometry& o) const
{
    return m_pxPerMm == o.m_pxPerMm && m_speedMmPerSecond == o.m_speedMmPerSecond
        && m_gainMmPerMillivolt == o.m_gainMmPerMillivolt && m_startSeconds == o.m_startSeconds
        && m_leftPx == o.m_leftPx && m_widthPx == o.m_widthPx && m_rows == o.m_rows;
}
