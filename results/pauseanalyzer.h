#pragma once

#include "results/resultanalyzer.h"

class BinnedCount;

// Lists RR intervals strictly longer than the pause interval, whatever the beat's type.
// Results "pauseCount", "pauseCountPerHour", "pauseEvents" (value and duration: the RR, s).
class PauseAnalyzer : public ResultAnalyzer
{
public:
    explicit PauseAnalyzer(double intervalSecs = 2.0);

    void beginRecording(BeatList& beats) override;
    void addBeat(const Beat& beat) override;

    double interval() const { return m_interval; }

private:
    double m_interval; // seconds
    ValueResult* m_count = nullptr; // owned by the result map
    BinnedCount* m_perHour = nullptr;
    EventListResult* m_events = nullptr;
};
