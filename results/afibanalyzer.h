#pragma once

#include "results/afibdetector.h"
#include "results/resultanalyzer.h"

// Atrial fibrillation episodes ("afibEvents", value 0.0) and their total length in seconds
// ("afibTotalTime"), found by AFibDetector.
class AFibAnalyzer : public ResultAnalyzer
{
public:
    // `literal`: the dispersion score and its hysteresis alone (see AFibDetector).
    explicit AFibAnalyzer(bool literal = false)
        : m_detector(literal)
    {
    }

    void beginRecording(BeatList& beats) override;
    void addBeat(const Beat& beat) override;
    void finishRecording() override;

    const AFibDetector& detector() const { return m_detector; }

private:
    AFibDetector m_detector;
    EventListResult* m_events = nullptr; // owned by the result map
    ValueResult* m_totalTime = nullptr;
};
