#pragma once

#include "display/plotsource.h"

class BeatList;

// Per interval of the recording, the percentage of real beats with a P wave found on one lead.
// x is the interval's start plus `offsetSeconds` (seconds since the epoch of the recording's
// start); an interval without beats is left out.
class PWaveShareSource : public PlotSource
{
public:
    PWaveShareSource(BeatList* beats, int lead, double intervalSeconds, double offsetSeconds);

    int count() const override { return m_x.size(); }
    double x(int index) const override { return m_x[index]; }
    double y(int index) const override { return m_y[index]; }

private:
    QVector<double> m_x;
    QVector<double> m_y;
};
