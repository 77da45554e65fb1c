#pragma once

#include "store/beat.h"

// The ordered list of a study's detections, beats and noise entries alike.
class BeatList
{
public:
    BeatList() = default;
    BeatList(const BeatList&) = delete;
    BeatList& operator=(const BeatList&) = delete;
    virtual ~BeatList() = default;

    virtual int count() const = 0;
    virtual void clear() = 0;
    virtual bool get(int index, Beat& beat) = 0;
    virtual bool next(int index, Beat& beat) { return get(index + 1, beat); }
    virtual bool previous(int index, Beat& beat) { return get(index - 1, beat); }
    virtual bool first(Beat& beat) { return get(0, beat); }
    virtual bool last(Beat& beat) { return get(count() - 1, beat); }
    // Adds at the end; the caller has set `index`. Returns the new index.
    virtual int append(const Beat& beat) = 0;
    // Overwrites the entry at beat.index; out of range does nothing.
    virtual void replace(const Beat& beat) = 0;

    // The signal the beats were found in (duration, channel count), if the list knows it.
    virtual SignalSource* signalSource() const { return nullptr; }

    // Walk to the nearest entry with isBeat set; false when there is none.
    bool nextBeat(int index, Beat& beat);
    bool previousBeat(int index, Beat& beat);
    bool firstBeat(Beat& beat);
    bool lastBeat(Beat& beat);
    // Binary searches; the list is ordered by time.
    bool nearest(double rTime, Beat& beat);            // on timing[0]; the later on a tie
    bool firstWithWindowAfter(double time, Beat& beat); // first windowStart > time
    bool lastBelow(double time, Beat& beat);            // last windowStart < time
};
