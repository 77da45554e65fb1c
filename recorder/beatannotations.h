#pragma once

#include "recorder/wfdbannotation.h"

#include <QVector>

class BeatList;
class ResultSet;

// WFDB beat code of a beat type: N 1, V 5, S 9, F 6; anything else is unclassifiable (13).
int wfdbCodeOfBeatType(int type);

// A study's beats as annotations at their R instants (noise entries are not beats), with the
// AF episodes of "afib/afibEvents" as rhythm changes "(AFIB" ... "(N" when results hold them;
// in sample order at `rate` samples per second. A rhythm change on a beat's sample comes
// first, since the rhythm it announces includes that beat.
QVector<WfdbAnnotation> beatAnnotations(BeatList& beats, const ResultSet* results, double rate);
