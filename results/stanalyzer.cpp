#include "results/stanalyzer.h"

#include "analysis/averagebeatdelineator.h"
#include "store/trend.h"

#include <algorithm>

void STAnalyzer::beginChannels(int channels, int hours)
{
    m_channels.assign(size_t(channels), Channel());
    for (int c = 0; c < channels; ++c) {
        Channel& ch = m_channels[size_t(c)];
        ch.levelTrend = makeResult<TTrend>(channelName("STLevelTrend", c));
        ch.levelPerHour = makeResult<BinnedMean>(channelName("STLevelPerHour", c));
        ch.levelPerHour->configure(3600.0, hours);
        ch.eventCount = makeResult<ValueResult>(channelName("STEventCount", c));
        ch.eventCountPerHour = makeResult<BinnedCount>(channelName("STEventCountPerHour", c));
        ch.eventCountPerHour->configure(3600.0, hours);
        ch.elevations = makeResult<EventListResult>(channelName("STElevationEvents", c));
        ch.depressions = makeResult<EventListResult>(channelName("STDepressionEvents", c));
        makeResult<ValueResult>(channelName("STLevelAvg", c));
    }
}

void STAnalyzer::measure(double time, const AverageBeatSnapshot& average,
    const std::vector<AverageBeatDelineator*>& delineators)
{
    const int n = std::min(
        { usableChannels(delineators), int(m_channels.size()), int(average.channels.size()) });
    const int rate = average.sampleRate;
    for (int c = 0; c < n; ++c) {
        const AverageBeatDelineator* d = delineators[size_t(c)];
        if (!d || d->qrsOnset == 0 || d->qrsEnd == 0)
            continue;
        // Integer arithmetic: at 200 Hz these are 2 and 4 samples.
        const int baseline = d->qrsOnset - (rate * 10) / 1000;
        const int point = d->qrsEnd + (rate * 20) / 1000;
        const std::vector<double>& samples = average.channels[size_t(c)];
        if (baseline < 0 || point < 0 || point >= int(samples.size())
            || baseline >= int(samples.size()))
            continue;
        const double level = (samples[size_t(point)] - samples[size_t(baseline)])
            * average.millivoltsPerUnit * 10.0;
        if (level < -kArtefactMm || level > kArtefactMm)
            continue;
        Channel& ch = m_channels[size_t(c)];
        ch.levels.push_back(level);
        ch.levelTrend->add(time, level);
        ch.levelPerHour->add(time, level);
        follow(ch, time, level);
    }
}

void STAnalyzer::follow(Channel& ch, double time, double level) const
{
    const double enterUp = m_elevationThreshold * 0.75;
    const double enterDown = -m_depressionThreshold * 0.75;
    switch (ch.state) {
    case None:
        if (level > enterUp) {
            ch.state = Elevation;
            ch.start = time;
            ch.duration = 0.0;
            ch.peak = level;
        } else if (level < enterDown) {
            ch.state = Depression;
            ch.start = time;
            ch.duration = 0.0;
            ch.peak = -level;
        }
        break;
    case Elevation:
        ch.peak = std::max(ch.peak, level);
        if (level >= enterUp)
            ch.duration = time - ch.start;
        else
            endEpisode(ch, time, ch.elevations, m_elevationThreshold);
        break;
    case Depression:
        ch.peak = std::max(ch.peak, -level);
        if (level > enterDown)
            endEpisode(ch, time, ch.depressions, m_depressionThreshold);
        else
            ch.duration = time - ch.start;
        break;
    }
}

void STAnalyzer::endEpisode(Channel& ch, double time, EventListResult* list, double threshold) const
{
    if (ch.duration >= kMinimumEpisodeSeconds && ch.peak >= threshold) {
        list->events.append(EventResult(ch.start, ch.duration, ch.peak));
        ch.eventCount->value += 1.0;
        ch.eventCountPerHour->add(time, 1.0);
    }
    ch.state = None;
}

void STAnalyzer::finishRecording()
{
    // An episode still open at the end is not written.
    for (size_t c = 0; c < m_channels.size(); ++c)
        result<ValueResult>(channelName("STLevelAvg", int(c)))->value
            = median(m_channels[c].levels);
}

STAnalyzer::EpisodeState STAnalyzer::state(int channel) const
{
    return channel >= 0 && channel < int(m_channels.size()) ? m_channels[size_t(channel)].state
                                                            : None;
}
