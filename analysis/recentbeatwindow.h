#pragma once

#include "store/beat.h"

#include <deque>
#include <vector>

class SignalSource;

// A sliding average of the recent beats: per channel the mean of 0.8 s windows aligned on the
// reference peak (R on the channel where most beats point up, S where most point down), over
// the beats with a regular rhythm and a narrow QRS. Used as the classifier's reference, as the
// results' 20-second averages and as the review's running average beat.
class RecentBeatWindow
{
public:
    // span: seconds of beats kept. skipLast: leave out the newest beat, and beats followed by
    // an early one (the average then lags one beat, but only holds settled beats).
    RecentBeatWindow(double span, bool skipLast, SignalSource* source = nullptr);

    // The source the windows are read from (not owned); its rate sets the average's layout.
    void setSource(SignalSource* source);
    SignalSource* source() const { return m_source; }

    // Appends a copy, drops beats `span` or more older than it, marks the average stale.
    void push(const Beat& beat);
    void clear();

    // Beats accepted into the average (recomputed if stale); 0 with fewer than 2 beats held.
    int count();
    // The average of a channel, `length()` samples; empty for a bad channel.
    const std::vector<double>& average(int channel);

    int length() const { return m_length; } // (int)(0.8 x rate + 0.5) samples
    int peakPosition() const { return m_peakPosition; } // (int)(0.3 x rate + 0.5) samples
    int averagedBeatCount() const { return m_accepted; } // of the last recompute
    double averageRR() const { return m_averageRR; } // seconds; 0.0 with no beat accepted
    int referenceChannel();
    int referencePeakSlot(); // Beat::RPeak or Beat::SPeak
    int heldBeats() const { return int(m_beats.size()); }

private:
    void recompute();
    void chooseReference();
    bool accepted(size_t i) const;

    double m_span;
    bool m_skipLast;
    SignalSource* m_source = nullptr; // not owned
    int m_length = 0;
    int m_peakPosition = 0;
    int m_channels = 0;
    std::deque<Beat> m_beats;
    std::vector<double> m_average[Beat::kChannels];
    std::vector<double> m_empty;
    bool m_stale = true;
    int m_accepted = 0;
    double m_averageRR = 0.0;
    int m_refChannel = 0;
    int m_refSlot = Beat::RPeak;
};
