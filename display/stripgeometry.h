#pragma once

#include <QVector>

class BeatList;
class QPaintDevice;
struct Beat;

// Where time and voltage land on a strip of ECG: seconds to x, millivolts to y for each channel
// row, and the hit tests that go the other way. A plain value shared by the screen browser and
// the paper report, so that both place a beat at the same spot for the same scale.
class StripGeometry
{
public:
    // One channel's band: its baseline (0 mV) and height, both in device pixels.
    struct ChannelRow
    {
        int channel = 0;
        double topPx = 0.0;
        double heightPx = 0.0;
        double baselineYPx() const { return topPx + heightPx / 2.0; }
        bool operator==(const ChannelRow& o) const
        {
            return channel == o.channel && topPx == o.topPx && heightPx == o.heightPx;
        }
    };

    // Which entries of a beat list a hit test may return.
    enum class Pick { RealBeats, AnyRecord };

    StripGeometry() = default;

    // Paper: the device's own millimetres (printer, PDF page, image with a resolution).
    static StripGeometry forDevice(
        const QPaintDevice* device, double speedMmPerSecond, double gainMmPerMillivolt);
    // Screen: logical dots per inch times a zoom factor make the millimetre.
    static StripGeometry forScreen(
        double logicalDpi, double zoom, double speedMmPerSecond, double gainMmPerMillivolt);
    static StripGeometry fromPixelsPerMillimetre(
        double pxPerMm, double speedMmPerSecond, double gainMmPerMillivolt);
    // A time axis that fits [fromSeconds, toSeconds] into a width, as on a trend plot; the
    // millimetre is one pixel there.
    static StripGeometry spanning(
        double fromSeconds, double toSeconds, double leftPx, double widthPx);

    double pixelsPerMillimetre() const { return m_pxPerMm; }
    double pixelsPerSecond() const { return m_pxPerMm * m_speedMmPerSecond; }
    double pixelsPerMillivolt() const { return m_pxPerMm * m_gainMmPerMillivolt; }
    double speedMmPerSecond() const { return m_speedMmPerSecond; }
    double gainMmPerMillivolt() const { return m_gainMmPerMillivolt; }

    // The time at the left edge of the traces.
    double startSeconds() const { return m_startSeconds; }
    void setStartSeconds(double seconds) { m_startSeconds = seconds; }
    // The horizontal span of the traces, device pixels.
    void setTraceSpan(double leftPx, double widthPx);
    double leftPx() const { return m_leftPx; }
    double widthPx() const { return m_widthPx; }
    // Seconds across the traces; 0 without a width.
    double visibleSeconds() const;
    double endSeconds() const { return m_startSeconds + visibleSeconds(); }

    double mapTimeToX(double seconds) const
    {
        return m_leftPx + (seconds - m_startSeconds) * pixelsPerSecond();
    }
    double mapXToTime(double xPx) const;
    // Inside [startSeconds, endSeconds).
    bool showsTime(double seconds) const
    {
        return seconds >= m_startSeconds && seconds < endSeconds();
    }

    // Equal bands for `channels` from top to bottom over [topPx, topPx + heightPx).
    void setRows(const QVector<int>& channels, double topPx, double heightPx);
    const QVector<ChannelRow>& rows() const { return m_rows; }
    // Index into rows() of the band holding y; -1 when no band does.
    int rowAtY(double yPx) const;
    double millivoltsToY(int row, double millivolts) const;
    double yToMillivolts(int row, double yPx) const;

    // The record nearest the time under x, when its time lies within `toleranceSeconds` of it
    // (edges included). With Pick::RealBeats a nearest record that is noise or an insertion
    // point counts as none. False when nothing qualifies.
    bool beatAt(BeatList* beats, double xPx, double toleranceSeconds, Beat* beat,
        Pick pick = Pick::RealBeats) const;

    bool operator==(const StripGeometry& o) const;
    bool operator!=(const StripGeometry& o) const { return !(*this == o); }

private:
    double m_pxPerMm = 1.0;
    double m_speedMmPerSecond = 25.0;
    double m_gainMmPerMillivolt = 10.0;
    double m_startSeconds = 0.0;
    double m_leftPx = 0.0;
    double m_widthPx = 0.0;
    QVector<ChannelRow> m_rows;
};

// The time a beat is drawn and picked at: its R wave, or 0.2 s into its window when the R time
// was never set.
double beatTimeSeconds(const Beat& beat);
