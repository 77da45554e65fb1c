#pragma once

#include "display/averagebeatgeometry.h"
#include "display/beatmarker.h"

#include <QRect>
#include <QString>
#include <QVector>

#include <vector>

class QPainter;

// The average beat on a paper of its own: grid, lead name, trace, the wave markers and the
// intervals between them as measuring bars.
class AverageBeatPainter
{
public:
    // Marker indices.
    enum Marker { POn = 0, POff, QrsOn, QrsOff, TOn, TOff, TPeak, MarkerCount };

    struct Scene
    {
        std::vector<double> average; // sample units of the lead; empty draws no trace
        double seconds = 0.0; // length of the average
        double millivoltsPerUnit = 0.0;
        QString leadName;
        QVector<BeatMarker> markers;
        double meanRrSeconds = 0.0; // 0: no RR text
    };

    // One measuring bar: an interval between two markers, on a lane counted from the bottom.
    struct Bar
    {
        QString text; // with the milliseconds filled in
        double fromSeconds = 0.0;
        double toSeconds = 0.0;
        int lane = 0;
    };
    // The bars whose two markers both stand above 0, in drawing order.
    static QVector<Bar> measuringBars(const QVector<BeatMarker>& markers);

    static AverageBeatGeometry geometryFor(const QRect& area, const Scene& scene);

    void paint(QPainter* painter, const QRect& area, const Scene& scene) const;

private:
    void paintPaper(QPainter* p, const QRect& area, const AverageBeatGeometry& g) const;
    void paintTrace(
        QPainter* p, const QRect& area, const AverageBeatGeometry& g, const Scene& scene) const;
    void paintMarkers(
        QPainter* p, const QRect& area, const AverageBeatGeometry& g, const Scene& scene) const;
    void paintBars(
        QPainter* p, const QRect& area, const AverageBeatGeometry& g, const Scene& scene) const;
};
