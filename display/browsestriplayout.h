#pragma once

#include "display/stripgeometry.h"

#include <QRectF>
#include <QVector>

class SignalSource;

// The screen strip's layout on a pixmap: an optional column with the average beat at the left,
// 5 mm of space, then the traces; one row per visible channel under a margin for the RR labels.
// Millimetres come from the device's own physical width, so the same layout drawn on an image of
// known resolution is at true scale.
class BrowseStripLayout
{
public:
    struct Input
    {
        int widthPx = 0;
        int heightPx = 0;
        double widthMm = 0.0; // physical width of the device
        double speedMmPerSecond = 25.0;
        double gainMmPerMillivolt = 10.0;
        double startSeconds = 0.0;
        // Length of the average beat in seconds; 0 without an average column.
        double averageSeconds = 0.0;
        int topMarginPx = 0;
        QVector<int> visibleChannels;
        // Physical range of the source (maximum minus minimum, mV) and its resolution in bits.
        double rangeMillivolts = 0.0;
        int resolutionBits = 16;
    };

    BrowseStripLayout() = default;
    explicit BrowseStripLayout(const Input& input);

    const Input& input() const { return m_in; }
    double pxPerCm() const { return m_pxPerCm; }
    double averageSeconds() const { return m_in.averageSeconds; }
    // Seconds of traces on the strip; 0 when nothing fits.
    double visibleSeconds() const { return m_visibleSeconds; }
    int averageWidthPx() const { return m_averageWidth; }
    // Left end of the average trace, a quarter centimetre in.
    int averageLeftPx() const { return int(m_pxPerCm * 0.25); }
    QRectF traceRect() const;
    double pixelsPerUnit() const { return m_pixelsPerUnit; }
    double rowHeightPx() const { return m_rowHeight; }
    double rowCentreY(int visibleRow) const
    {
        return m_in.topMarginPx + m_rowHeight / 2.0 + visibleRow * m_rowHeight;
    }
    double sampleY(int visibleRow, double sample, double baseline) const
    {
        return rowCentreY(visibleRow) - (sample - baseline) * m_pixelsPerUnit;
    }

    double timeAtX(double xPx) const;
    double xOfTime(double seconds) const;
    // Seconds into the average beat under x; 0 when the pointer is over the traces (or there is
    // no average column).
    double averageTimeAtX(double xPx) const;
    double averageXOfTime(double seconds) const;
    // The channel whose band holds y; channel 0 when none does.
    int channelAtY(double yPx) const;
    // Index of a channel among the visible ones, -1 when hidden.
    int visibleRowOf(int channel) const { return m_in.visibleChannels.indexOf(channel); }

    // The same scale as a strip geometry, for the shared beat painters and hit tests.
    StripGeometry stripGeometry() const;

    // Value of a scroll bar counted in hundredths of a second.
    struct ScrollRange
    {
        int maximum = 0;
        int singleStep = 1;
        int pageStep = 1;
        bool enabled = false;
    };
    static ScrollRange scrollRange(double durationSeconds, double visibleSeconds);

private:
    Input m_in;
    double m_pxPerCm = 0.0;
    double m_visibleSeconds = 0.0;
    int m_averageWidth = 0;
    double m_pixelsPerUnit = 0.0;
    double m_rowHeight = 0.0;
};

// A caliper's reading between two samples of a channel.
struct CaliperReading
{
    double milliseconds = 0.0; // absolute
    double millivolts = 0.0; // absolute
    // The millimetres the voltage makes at the standard 10 mm/mV, whatever the gain on screen.
    double standardMillimetres() const { return millivolts * 10.0; }
};
CaliperReading caliperReading(
    int fromSample, int toSample, double fromValue, double toValue, int rateHz, double mvPerUnit);

// sample(t) of the strip: the nearest sample to t at `rateHz`.
inline qint64 stripSampleOf(double seconds, int rateHz)
{
    return qint64(rateHz * seconds + 0.5);
}
