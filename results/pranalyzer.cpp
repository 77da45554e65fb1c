#include "results/pranalyzer.h"

#include "analysis/averagebeatdelineator.h"
#include "store/trend.h"

#include <algorithm>

void PRAnalyzer::beginChannels(int channels, int)
{
    m_channels.assign(size_t(channels), Channel());
    for (int c = 0; c < channels; ++c) {
        m_channels[size_t(c)].prTrend = makeResult<TTrend>(channelName("PRTrend", c));
        makeResult<ValueResult>(channelName("PRIntervalAvg", c));
        makeResult<ValueResult>(channelName("PDurationAvg", c));
    }
}

void PRAnalyzer::measure(double time, const AverageBeatSnapshot& average,
    const std::vector<AverageBeatDelineator*>& delineators)
{
    const int n = std::min(usableChannels(delineators), int(m_channels.size()));
    const double rate = average.sampleRate;
    for (int c = 0; c < n; ++c) {
        const AverageBeatDelineator* d = delineators[size_t(c)];
        if (!d)
            continue;
        Channel& ch = m_channels[size_t(c)];
        if (d->qrsOnset != 0 && d->pOnset != 0 && d->qrsOnset > d->pOnset) {
            const double pr = (d->qrsOnset - d->pOnset) / rate;
            ch.prTrend->add(time, wholeMs(pr));
            ch.pr.push_back(pr);
        }
        // The delineator leaves pEnd at 0, so P durations stay empty for now.
        if (d->pOnset != 0 && d->pEnd != 0 && d->pEnd > d->pOnset)
            ch.pDuration.push_back((d->pEnd - d->pOnset) / rate);
    }
}

void PRAnalyzer::finishRecording()
{
    for (size_t c = 0; c < m_channels.size(); ++c) {
        const Channel& ch = m_channels[c];
        result<ValueResult>(channelName("PRIntervalAvg", int(c)))->value = wholeMs(median(ch.pr));
        result<ValueResult>(channelName("PDurationAvg", int(c)))->value
            = wholeMs(median(ch.pDuration));
    }
}
