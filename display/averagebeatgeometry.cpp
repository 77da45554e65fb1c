#include "display/averagebeatgeometry.h"

#include <algorithm>
#include <cmath>

AverageBeatGeometry::AverageBeatGeometry(
    double widthPx, double heightPx, double seconds, double millivoltsPerUnit)
    : m_width(widthPx)
    , m_height(heightPx)
    , m_seconds(seconds)
    , m_mvPerUnit(millivoltsPerUnit)
{
}

double AverageBeatGeometry::firstVerticalLineX() const
{
    const double major = majorPx();
    return major > 0.0 ? m_width / 2.0 - std::ceil(m_width / (2.0 * major)) * major : 0.0;
}

double AverageBeatGeometry::firstHorizontalLineY() const
{
    const double major = majorPx();
    return major > 0.0 ? m_height / 2.0 - std::ceil(m_height / (2.0 * major)) * major : 0.0;
}

double AverageBeatGeometry::xOfTime(double seconds) const
{
    return isValid() ? seconds * m_width / m_seconds : 0.0;
}

double AverageBeatGeometry::timeOfX(double xPx) const
{
    if (!isValid())
        return 0.0;
    const double x = std::clamp(xPx, 0.0, m_width - 1.0);
    return x * m_seconds / m_width;
}

int AverageBeatGeometry::markerAt(const QVector<BeatMarker>& markers, double xPx) const
{
    for (int i = 0; i < markers.size(); ++i) {
        if (markers[i].draggable && std::abs(xPx - xOfTime(markers[i].time)) < kGrabPx)
            return i;
    }
    return -1;
}
