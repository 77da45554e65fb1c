#pragma once

#include <QByteArray>

class SignalSource;

// Beat type codes.
enum BeatType : int { BeatNone = -1, BeatU = 0, BeatN = 1, BeatV = 2, BeatF = 3, BeatS = 4 };

// One detection, copied whole. Times are seconds from the start of the recording.
struct Beat
{
    static constexpr int kChannels = 4;
    static constexpr int kTimings = 4;
    static constexpr int kMeasures = 12;

    // timing slots
    enum Timing { RTime = 0, RR = 1, MedianRR = 2, QrsShare = 3 };
    // measure slots, per channel
    enum Measure {
        HasQrs = 0, PPeak = 1, QPeak = 2, RPeak = 3, SPeak = 4, TPeak = 5,
        QrsPolarity = 6, PPolarity = 7, TPolarity = 8, QrsDuration = 9, PRInterval = 10,
        QTInterval = 11
    };

    int index = 0;
    SignalSource* source = nullptr; // not owned; gives the channel count
    double windowStart = 0.0;       // R time - 0.2 s
    double windowLength = 0.0;      // 0.5 s once detected
    double timing[kTimings] = {-1.0, -1.0, -1.0, -1.0};
    bool timingSet[kTimings] = {false, false, false, false};
    double measure[kChannels][kMeasures];
    bool measureSet[kChannels][kMeasures];
    int classId = 0;
    int type = BeatU;
    bool isBeat = true;

    Beat();

    // Out-of-range reads give 0.0 / false; out-of-range writes do nothing; a write sets the flag.
    double getTiming(int slot) const;
    bool hasTiming(int slot) const;
    void setTiming(int slot, double value);
    double channelMeasure(int channel, int slot) const;
    bool hasChannelMeasure(int channel, int slot) const;
    void setChannelMeasure(int channel, int slot, double value);
    int channelCount() const; // of the source, 0 without one

    // The short names the rest of the system reads a beat by. Times are seconds from the start
    // of the recording: windowStartTime is where the beat's window begins (0.2 s before the R
    // wave as detection writes it), rInstant the detected R wave itself.
    double windowStartTime() const { return windowStart; }
    double span() const { return windowLength; }
    double rInstant() const { return timing[RTime]; }
    double rr() const { return timing[RR]; }
    double medianRR() const { return timing[MedianRR]; }

    bool operator==(const Beat& other) const;
    bool operator!=(const Beat& other) const { return !(*this == other); }
};

// The one-letter names of the type codes, process-wide, filled once before first use.
namespace BeatTypeNames {
QByteArray name(int type);              // "U", "N", "V", "F", "S"; empty for other codes
int code(const QByteArray& name);       // case-insensitive; -1 when unknown
bool setName(int type, const QByteArray& name); // refused (false) if another code has it
}
