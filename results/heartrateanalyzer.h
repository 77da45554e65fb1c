#pragma once

#include "results/resultanalyzer.h"
#include "store/trend.h"

// Heart rate ("HR"): the trend of 30-second medians of the running median RR, its minimum,
// maximum and median, hourly figures and the beat count. A 30-second bin that holds fewer than
// 60 % of the beats its own rate implies was mostly noise and is left out.
class HeartRateAnalyzer : public ResultAnalyzer
{
public:
    static constexpr double kBinSeconds = 30.0;

    HeartRateAnalyzer() = default;

    void beginRecording(BeatList& beats) override;
    void addBeat(const Beat& beat) override;
    void finishRecording() override;

    // Beats a 30-second bin of median `bpm` must hold to be accepted: 60 % of 30 s at that
    // rate, in the integer arithmetic the stored results were always made with.
    static int neededBeats(double bpm);

private:
    BinnedMedian m_bins; // 30-second medians; working state, never published
    TTrend* m_trend = nullptr;
    ValueResult* m_avg = nullptr;
    EventResult* m_min = nullptr;
    EventResult* m_max = nullptr;
    BinnedMedian* m_avgPerHour = nullptr;
    BinnedMinimum* m_minPerHour = nullptr;
    BinnedMaximum* m_maxPerHour = nullptr;
    ValueResult* m_total = nullptr;
    BinnedCount* m_countPerHour = nullptr;
};
