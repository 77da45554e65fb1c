#pragma once

#include "display/tracepainter.h"

#include <QRect>
#include <QString>

class BeatList;
class QPainter;
class SignalSource;
class StripGeometry;

// An ECG strip for paper: grid, traces, channel names and the RR intervals of the beats, at
// `speed` mm per second and `amplitude` mm per mV measured in the device's own millimetres.
class SignalGraphic
{
public:
    SignalGraphic() = default;

    // Neither is owned; the source is read as given, so filters go in front of it.
    void setSource(SignalSource* source) { m_source = source; }
    void setBeats(BeatList* beats) { m_beats = beats; }
    // One bit per channel, bit 0 for channel 0.
    void setChannels(unsigned mask) { m_channels = mask; }
    void setShowGrid(bool on) { m_showGrid = on; }
    void setShowLabels(bool on) { m_showLabels = on; }
    void setShowScale(bool on) { m_showScale = on; }
    void setStartTime(double seconds) { m_startTime = seconds; }
    void setSpeed(double mmPerSecond) { m_speed = mmPerSecond > 0 ? mmPerSecond : 25.0; }
    void setAmplitude(double mmPerMillivolt) { m_amplitude = mmPerMillivolt; }
    // The traces' pen and colours; paperTraceStyle() unless set.
    void setTraceStyle(const TracePainter::Style& style) { m_trace = style; }
    const TracePainter::Style& traceStyle() const { return m_trace; }
    // 0.2 mm black, run on at zero outside the recording.
    static TracePainter::Style paperTraceStyle();

    // "%1" takes the mean heart rate of the intervals shown, e.g. "HR %1 bpm".
    void setCaption(const QString& caption) { m_caption = caption; }

    double speed() const { return m_speed; }
    double amplitude() const { return m_amplitude; }
    double startTime() const { return m_startTime; }

    // Left margin that holds the scale mark, millimetres.
    static constexpr double kMarginMm = 5.0;

    // Where the strip of these bounds lies on this painter's device: the traces right of the
    // margin, one equal row per channel shown.
    StripGeometry geometry(QPainter* painter, const QRect& bounds) const;

    void paint(QPainter* painter, const QRect& bounds) const;

    // The mean heart rate of the beats over [startTime, startTime + seconds): 60 over the mean of
    // the valid RR intervals (0 < rr < 2.0 s); 0 when there are none.
    double meanHeartRate(double seconds) const;

private:
    void paintCaption(QPainter* painter, const QRectF& strip, const StripGeometry& g) const;

    SignalSource* m_source = nullptr; // not owned
    BeatList* m_beats = nullptr; // not owned
    unsigned m_channels = 0x7;
    bool m_showGrid = true;
    bool m_showLabels = true;
    bool m_showScale = true;
    double m_startTime = 0.0;
    double m_speed = 25.0;
    double m_amplitude = 10.0;
    QString m_caption;
    TracePainter::Style m_trace = paperTraceStyle();
};
