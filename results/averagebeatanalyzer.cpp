#include "results/averagebeatanalyzer.h"

#include "analysis/averagebeatdelineator.h"
#include "analysis/recentbeatwindow.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <algorithm>
#include <cmath>

void AverageBeatAnalyzer::beginRecording(BeatList& beats)
{
    const SignalSource* source = beats.signalSource();
    m_channels = channelCount(beats);
    m_sampleRate = source ? source->samplingRate() : 0;
    // The gain step is the physical value of one sample step, in millivolts.
    m_millivoltsPerUnit = source ? source->gainStep() : 0.0;
    beginChannels(m_channels, recordingHours(beats));
}

void AverageBeatAnalyzer::addAverageBeat(
    double time, RecentBeatWindow& window, const std::vector<AverageBeatDelineator*>& delineators)
{
    AverageBeatSnapshot average;
    window.count(); // brings a stale average up to date
    average.averagedBeatCount = window.averagedBeatCount();
    if (average.averagedBeatCount < kMinimumAveragedBeats)
        return;
    average.averageRR = window.averageRR();
    // The averages are laid out at the rate of the source they were read from.
    const SignalSource* source = window.source();
    average.sampleRate = source ? source->samplingRate() : m_sampleRate;
    average.millivoltsPerUnit = source ? source->gainStep() : m_millivoltsPerUnit;
    average.channels.resize(size_t(m_channels));
    for (int c = 0; c < m_channels; ++c)
        average.channels[size_t(c)] = window.average(c);
    addAverage(time, average, delineators);
}

void AverageBeatAnalyzer::addAverage(double time, const AverageBeatSnapshot& average,
    const std::vector<AverageBeatDelineator*>& delineators)
{
    if (average.averagedBeatCount < kMinimumAveragedBeats || average.sampleRate <= 0)
        return;
    measure(time, average, delineators);
}

int AverageBeatAnalyzer::usableChannels(
    const std::vector<AverageBeatDelineator*>& delineators) const
{
    return std::min(m_channels, int(delineators.size()));
}

double AverageBeatAnalyzer::median(std::vector<double> values)
{
    if (values.size() < 3)
        return 0.0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double AverageBeatAnalyzer::wholeMs(double seconds)
{
    return std::trunc(seconds * 1000.0);
}

QByteArray AverageBeatAnalyzer::channelName(const char* name, int channel)
{
    return QByteArray(name) + '(' + QByteArray::number(channel) + ')';
}
