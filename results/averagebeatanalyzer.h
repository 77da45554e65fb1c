#pragma once

#include "results/averagebeatsnapshot.h"
#include "results/resultanalyzer.h"

#include <QByteArray>

#include <vector>

// Base of the analyzers that measure the 20-second average beats (PR, QT, ST) rather than
// single beats. It remembers the signal's channel count, rate and gain at beginRecording and
// turns each average into an AverageBeatSnapshot; averages of fewer than 5 beats are ignored.
class AverageBeatAnalyzer : public ResultAnalyzer
{
public:
    static constexpr int kMinimumAveragedBeats = 5;

    void beginRecording(BeatList& beats) override;
    void addAverageBeat(double time, RecentBeatWindow& window,
        const std::vector<AverageBeatDelineator*>& delineators) final;
    // The same for an average given as numbers: `delineators` holds the wave limits found in
    // each channel's array of `average`. Ignored below kMinimumAveragedBeats beats.
    void addAverage(double time, const AverageBeatSnapshot& average,
        const std::vector<AverageBeatDelineator*>& delineators);

    // Sorted ascending, element n / 2; 0.0 with fewer than 3 values (too few to trust).
    static double median(std::vector<double> values);
    // Seconds to whole milliseconds, truncated toward zero.
    static double wholeMs(double seconds);
    // "PRTrend" and 1 give "PRTrend(1)".
    static QByteArray channelName(const char* name, int channel);

protected:
    // Makes the results of the recording; called by beginRecording once the signal is known.
    virtual void beginChannels(int channels, int hours) = 0;
    virtual void measure(double time, const AverageBeatSnapshot& average,
        const std::vector<AverageBeatDelineator*>& delineators)
        = 0;

    int channels() const { return m_channels; }
    // Channels that both the recording and the delineator list have.
    int usableChannels(const std::vector<AverageBeatDelineator*>& delineators) const;

private:
    int m_channels = 0;
    int m_sampleRate = 0;
    double m_millivoltsPerUnit = 0.0;
};
