#pragma once

#include "results/averagebeatanalyzer.h"

#include <vector>

class TTrend;

// PR interval per channel from the P onset and QRS onset of each 20-second average beat:
// "PRTrend(n)" in whole ms, and at the end the medians "PRIntervalAvg(n)", "PDurationAvg(n)".
class PRAnalyzer : public AverageBeatAnalyzer
{
public:
    PRAnalyzer() = default;

    void finishRecording() override;

protected:
    void beginChannels(int channels, int hours) override;
    void measure(double time, const AverageBeatSnapshot& average,
        const std::vector<AverageBeatDelineator*>& delineators) override;

private:
    struct Channel
    {
        TTrend* prTrend = nullptr; // owned by the result map
        std::vector<double> pr; // seconds
        std::vector<double> pDuration; // seconds
    };
    std::vector<Channel> m_channels;
};
