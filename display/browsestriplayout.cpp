#include "display/browsestriplayout.h"

#include <algorithm>
#include <cmath>

BrowseStripLayout::BrowseStripLayout(const Input& input)
    : m_in(input)
{
    if (m_in.widthPx <= 0 || m_in.widthMm <= 0.0 || m_in.speedMmPerSecond <= 0.0)
        return;
    m_pxPerCm = m_in.widthPx / (m_in.widthMm / 10.0);
    const double pixmapSeconds = m_in.widthMm / m_in.speedMmPerSecond;
    double v = pixmapSeconds;
    if (m_in.averageSeconds > 0.0) {
        v = pixmapSeconds - m_in.averageSeconds - 5.0 / m_in.speedMmPerSecond;
        const int column = int(m_in.widthPx * m_in.averageSeconds / pixmapSeconds);
        m_averageWidth = column != 0 ? column + int(m_pxPerCm * 0.5) : 0;
    }
    m_visibleSeconds = v > 0.0 ? v : 0.0;
    m_pixelsPerUnit = m_in.rangeMillivolts * (1.0 / std::pow(2.0, m_in.resolutionBits)) * m_pxPerCm
        * (m_in.gainMmPerMillivolt / 10.0);
    const int n = m_in.visibleChannels.size();
    m_rowHeight = n > 0 ? double(m_in.heightPx - m_in.topMarginPx) / n : 0.0;
}

QRectF BrowseStripLayout::traceRect() const
{
    return QRectF(m_averageWidth, 0, m_in.widthPx - m_averageWidth, m_in.heightPx);
}

double BrowseStripLayout::timeAtX(double x) const
{
    const double w = m_in.widthPx - m_averageWidth;
    if (w <= 0)
        return m_in.startSeconds;
    return (x - m_averageWidth) * m_visibleSeconds / w + m_in.startSeconds;
}

double BrowseStripLayout::xOfTime(double seconds) const
{
    if (m_visibleSeconds <= 0.0)
        return m_averageWidth;
    return m_averageWidth
        + (seconds - m_in.startSeconds) * (m_in.widthPx - m_averageWidth) / m_visibleSeconds;
}

double BrowseStripLayout::averageTimeAtX(double x) const
{
    if (m_in.averageSeconds <= 0.0 || x >= m_averageWidth)
        return 0.0;
    const double column = m_averageWidth - int(m_pxPerCm * 0.5);
    if (column <= 0)
        return 0.0;
    return (x - averageLeftPx()) * m_in.averageSeconds / column;
}

double BrowseStripLayout::averageXOfTime(double seconds) const
{
    if (m_in.averageSeconds <= 0.0)
        return 0.0;
    const double column = m_averageWidth - int(m_pxPerCm * 0.5);
    return averageLeftPx() + seconds * column / m_in.averageSeconds;
}

int BrowseStripLayout::channelAtY(double y) const
{
    for (int i = 0; i < m_in.visibleChannels.size(); ++i) {
        const double c = rowCentreY(i);
        if (y >= c - m_rowHeight / 2.0 && y < c + m_rowHeight / 2.0)
            return m_in.visibleChannels[i];
    }
    return 0;
}

StripGeometry BrowseStripLayout::stripGeometry() const
{
    const double pxPerMm = m_pxPerCm > 0.0 ? m_pxPerCm / 10.0 : 1.0;
    const QRectF r = traceRect();
    // The speed that makes the trace rectangle hold the visible seconds exactly, whatever
    // rounding the average column did, so that ticks land where timeAtX picks.
    const double speed
        = m_visibleSeconds > 0.0 ? r.width() / (pxPerMm * m_visibleSeconds) : m_in.speedMmPerSecond;
    StripGeometry g
        = StripGeometry::fromPixelsPerMillimetre(pxPerMm, speed, m_in.gainMmPerMillivolt);
    g.setStartSeconds(m_in.startSeconds);
    g.setTraceSpan(r.left(), r.width());
    g.setRows(m_in.visibleChannels, m_in.topMarginPx, m_in.heightPx - m_in.topMarginPx);
    return g;
}

BrowseStripLayout::ScrollRange BrowseStripLayout::scrollRange(double duration, double visible)
{
    ScrollRange r;
    r.maximum = duration > visible ? int((duration - visible) * 100.0) : 0;
    r.singleStep = std::max(1, int(visible * 10.0));
    r.pageStep = std::max(1, int(visible * 100.0));
    r.enabled = r.maximum >= 1;
    return r;
}

CaliperReading caliperReading(
    int fromSample, int toSample, double fromValue, double toValue, int rateHz, double mvPerUnit)
{
    CaliperReading r;
    if (rateHz > 0)
        r.milliseconds = std::fabs(double(toSample - fromSample) / rateHz) * 1000.0;
    r.millivolts = std::fabs((toValue - fromValue) * mvPerUnit);
    return r;
}
