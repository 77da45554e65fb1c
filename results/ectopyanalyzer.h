#pragma once

#include "results/resultanalyzer.h"

class BinnedCount;

// Counts the ectopic beats of one type (V for "PVC", S for "SVPB") and classes unbroken series
// of them by length: 2 a couplet, 3 a triplet, more a run. A series is reported at the first
// beat after it, so its duration reaches to that beat; one still open at the end of the
// recording is counted beat by beat but never reported.
class EctopyAnalyzer : public ResultAnalyzer
{
public:
    explicit EctopyAnalyzer(int beatType);

    void beginRecording(BeatList& beats) override;
    void addBeat(const Beat& beat) override;

    int watchedType() const { return m_watchedType; }

private:
    void reportSeries(double endTime);

    int m_watchedType;
    int m_runLength = 0;
    double m_runStart = 0.0; // seconds

    // Owned by the result map; valid between beginRecording and takeResults.
    ValueResult* m_totalCount = nullptr;
    ValueResult* m_coupletCount = nullptr;
    ValueResult* m_tripletCount = nullptr;
    ValueResult* m_runCount = nullptr;
    EventResult* m_maxRun = nullptr;
    BinnedCount* m_totalPerHour = nullptr;
    BinnedCount* m_coupletPerHour = nullptr;
    BinnedCount* m_tripletPerHour = nullptr;
    BinnedCount* m_runPerHour = nullptr;
    BinnedCount* m_totalPerMinute = nullptr;
    EventListResult* m_couplets = nullptr;
    EventListResult* m_triplets = nullptr;
    EventListResult* m_runs = nullptr;
};
