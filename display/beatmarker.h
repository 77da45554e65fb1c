#pragma once

#include <QColor>
#include <QString>

// One wave limit on the average beat: where it stands, seconds from the start of the average,
// and whether the user may drag it.
struct BeatMarker
{
    bool draggable = false;
    double time = 0.0; // seconds from the start of the average; 0 when not found
    QColor color = Qt::blue;
    QString label;
};
