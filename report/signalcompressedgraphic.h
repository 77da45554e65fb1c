#pragma once

#include <QDateTime>
#include <QRect>

class CompressedPageGeometry;
class QPainter;
class SignalSource;

// Full disclosure on one page: one channel in lines of `lineSeconds` stacked from the top, each
// line with its clock time at the left on every second line.
class SignalCompressedGraphic
{
public:
    SignalCompressedGraphic() = default;

    void setSource(SignalSource* source) { m_source = source; } // not owned
    void setChannel(int channel) { m_channel = channel; }
    void setStartTime(double seconds) { m_startTime = seconds; }
    // Length of the strip in seconds; 0 fills the whole height.
    void setDuration(double seconds) { m_duration = seconds; }
    void setSpeed(double mmPerSecond) { m_speed = mmPerSecond > 0 ? mmPerSecond : 25.0; }
    void setAmplitude(double mmPerMillivolt) { m_amplitude = mmPerMillivolt; }
    // The wall clock of the recording's first sample; invalid prints elapsed time.
    void setRecordingStart(const QDateTime& start) { m_recordingStart = start; }

    void paint(QPainter* painter, const QRect& bounds) const;

    // Seconds per line for a given width: width less the time label, at the speed.
    double lineSeconds(QPainter* painter, const QRect& bounds) const;

    // The page's lines for these bounds: below the date when the strip crosses midnight, at a
    // pitch that spreads the strip over the height but never closer than a label.
    CompressedPageGeometry geometry(QPainter* painter, const QRect& bounds) const;

private:
    double durationSeconds(double perLine) const;
    bool showsDate(double duration) const;

    SignalSource* m_source = nullptr; // not owned
    int m_channel = 0;
    double m_startTime = 0.0;
    double m_duration = 0.0;
    double m_speed = 25.0;
    double m_amplitude = 5.0;
    QDateTime m_recordingStart;
};
