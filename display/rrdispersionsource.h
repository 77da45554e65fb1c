#pragma once

#include <QVector>

class BeatList;

// RR intervals as counts per time slice and per interval bin: the data of the RR dispersion
// heat map.
class DispersionSource
{
public:
    virtual ~DispersionSource() = default;
    virtual double binWidth() const = 0; // seconds of RR per bin
    virtual int binCount() const = 0;
    // Counts per bin of the intervals that end in [time, time + sliceSeconds); time in the plot's
    // x units.
    virtual QVector<int> counts(double time, double sliceSeconds) const = 0;
};

// The RR intervals of the real beats of a list, read once. x is a beat's time plus
// `offsetSeconds` (the recording's start in seconds since the epoch).
class RRDispersionSource : public DispersionSource
{
public:
    RRDispersionSource(
        BeatList* beats, double offsetSeconds, double binWidth = 0.02, int binCount = 100);

    double binWidth() const override { return m_binWidth; }
    int binCount() const override { return m_binCount; }
    QVector<int> counts(double time, double sliceSeconds) const override;
    int intervalCount() const { return m_times.size(); }

private:
    QVector<double> m_times; // x units, ascending
    QVector<double> m_rr; // seconds
    double m_binWidth;
    int m_binCount;
};
