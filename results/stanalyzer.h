#pragma once

#include "results/averagebeatanalyzer.h"

#include <vector>

class BinnedCount;
class BinnedMean;
class EventListResult;
class TTrend;
class ValueResult;

// ST level per channel, 20 ms after the QRS end against 10 ms before its onset, on each
// 20-second average beat, in mm at 10 mm/mV; and episodes of elevation and depression. An
// episode opens at three quarters of its threshold, must reach the threshold and must last at
// least 30 s to be written. Thresholds in mm.
class STAnalyzer : public AverageBeatAnalyzer
{
public:
    enum EpisodeState { None = 0, Elevation = 1, Depression = 2 };

    static constexpr double kArtefactMm = 20.0;
    static constexpr double kMinimumEpisodeSeconds = 30.0;

    STAnalyzer(double depressionMm, double elevationMm)
        : m_depressionThreshold(depressionMm)
        , m_elevationThreshold(elevationMm)
    {
    }

    void finishRecording() override;

    // The episode state of a channel, for inspection; None for an unknown channel.
    EpisodeState state(int channel) const;

protected:
    void beginChannels(int channels, int hours) override;
    void measure(double time, const AverageBeatSnapshot& average,
        const std::vector<AverageBeatDelineator*>& delineators) override;

private:
    struct Channel
    {
        TTrend* levelTrend = nullptr; // all owned by the result map
        BinnedMean* levelPerHour = nullptr;
        ValueResult* eventCount = nullptr;
        BinnedCount* eventCountPerHour = nullptr;
        EventListResult* elevations = nullptr;
        EventListResult* depressions = nullptr;
        std::vector<double> levels; // mm
        EpisodeState state = None;
        double start = 0.0; // seconds
        double duration = 0.0; // seconds
        double peak = 0.0; // mm, positive for both kinds
    };
    void follow(Channel& ch, double time, double level) const;
    void endEpisode(Channel& ch, double time, EventListResult* list, double threshold) const;

    double m_depressionThreshold;
    double m_elevationThreshold;
    std::vector<Channel> m_channels;
};
