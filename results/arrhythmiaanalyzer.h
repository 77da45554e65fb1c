#pragma once

#include "results/resultanalyzer.h"

class BinnedCount;
class BinnedSum;

// Sustained bradycardia and tachycardia from the running median heart rate of every beat.
// An episode is reported when it ends, in the hour where it ended, and only if it lasted at
// least the minimum duration; a break in the sequence or the end of the recording drops it.
class ArrhythmiaAnalyzer : public ResultAnalyzer
{
public:
    enum State { None = 0, Bradycardia = 1, Tachycardia = 2 };

    ArrhythmiaAnalyzer(int bradyBpm = 40, int tachyBpm = 120, double minDurationSecs = 5.0);

    void beginRecording(BeatList& beats) override;
    void addBeat(const Beat& beat) override;

private:
    struct Outputs
    {
        EventListResult* events = nullptr; // owned by the result map
        ValueResult* count = nullptr;
        BinnedCount* countPerHour = nullptr;
        BinnedSum* beatCountPerHour = nullptr;
    };
    void endEpisode(const Outputs& out, double elapsed, double t);
    void reset();

    int m_bradyLimit; // bpm
    int m_tachyLimit; // bpm
    double m_minDuration; // seconds

    int m_state = None;
    int m_beatCount = 0;
    double m_start = 0.0; // seconds
    double m_extreme = 0.0; // bpm: the lowest in bradycardia, the highest in tachycardia

    Outputs m_brady;
    Outputs m_tachy;
};
