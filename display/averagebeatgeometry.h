#pragma once

#include "display/beatmarker.h"

#include <QVector>

// The paper of the average beat: the whole average stretched over the width, with 0.2 s to the
// big square and two big squares to the millivolt, its lines anchored on the widget's centre.
class AverageBeatGeometry
{
public:
    // Within this many pixels of a draggable marker the pointer takes hold of it.
    static constexpr double kGrabPx = 4.0;

    AverageBeatGeometry() = default;
    // seconds: length of the average; millivoltsPerUnit: the source's gain step.
    AverageBeatGeometry(double widthPx, double heightPx, double seconds, double millivoltsPerUnit);

    bool isValid() const { return m_width > 0.0 && m_height > 0.0 && m_seconds > 0.0; }
    double widthPx() const { return m_width; }
    double heightPx() const { return m_height; }
    double seconds() const { return m_seconds; }

    // A big square (0.2 s) and a small one, pixels.
    double majorPx() const { return isValid() ? m_width / m_seconds / 5.0 : 0.0; }
    double minorPx() const { return majorPx() / 5.0; }
    // The first grid lines at or left of / above the edge, so that a big line crosses the centre.
    double firstVerticalLineX() const;
    double firstHorizontalLineY() const;

    double xOfTime(double seconds) const;
    // The time under x, x clamped to the widget first.
    double timeOfX(double xPx) const;
    double pixelsPerUnit() const { return m_mvPerUnit * 2.0 * majorPx(); }
    // A sample value of the average (sample units, about 0) on the centre line.
    double yOfValue(double units) const { return m_height / 2.0 - units * pixelsPerUnit(); }

    // The first draggable marker within kGrabPx of x; -1 when none.
    int markerAt(const QVector<BeatMarker>& markers, double xPx) const;

private:
    double m_width = 0.0;
    double m_height = 0.0;
    double m_seconds = 0.0;
    double m_mvPerUnit = 0.0;
};
