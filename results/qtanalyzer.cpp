#include "results/qtanalyzer.h"

#include "analysis/averagebeatdelineator.h"
#include "store/trend.h"

#include <algorithm>
#include <cmath>

double QTAnalyzer::correct(double qt, double rr, int formula)
{
    switch (formula) {
    case Bazett:
        return qt / std::sqrt(rr);
    case Fridericia:
        return qt / std::pow(rr, 0.333333);
    case Hodges:
        return (60.0 / rr - 60.0) * 0.00175 + qt;
    case Framingham:
        return (1.0 - rr) * 0.154 + qt;
    case Logarithmic:
        return std::log10(600.0) * 0.001 * (qt * 1000.0) / std::log10(rr * 1000.0);
    default:
        return 0.0;
    }
}

void QTAnalyzer::beginChannels(int channels, int)
{
    m_rr.clear();
    m_rrTrend = makeResult<TTrend>("RRTrend");
    makeResult<ValueResult>("RRIntervalAvg");
    m_channels.assign(size_t(channels), Channel());
    for (int c = 0; c < channels; ++c) {
        Channel& ch = m_channels[size_t(c)];
        ch.qtTrend = makeResult<TTrend>(channelName("QTTrend", c));
        ch.qtcTrend = makeResult<TTrend>(channelName("QTcTrend", c));
        for (const char* name : { "QTIntervalAvg", "QTcIntervalAvg", "QRSIntervalAvg",
                 "TDurationAvg", "TPeakToEndIntervalAvg" })
            makeResult<ValueResult>(channelName(name, c));
    }
}

void QTAnalyzer::measure(double time, const AverageBeatSnapshot& average,
    const std::vector<AverageBeatDelineator*>& delineators)
{
    const double rr = average.averageRR;
    if (!(rr > 0.0) || !m_rrTrend)
        return;
    m_rrTrend->add(time, wholeMs(rr));
    m_rr.push_back(rr);

    const int n = std::min(usableChannels(delineators), int(m_channels.size()));
    const double rate = average.sampleRate;
    for (int c = 0; c < n; ++c) {
        const AverageBeatDelineator* d = delineators[size_t(c)];
        if (!d)
            continue;
        Channel& ch = m_channels[size_t(c)];
        if (d->qrsOnset != 0) {
            if (d->tEnd != 0 && d->tEnd > d->qrsOnset) {
                const double qt = (d->tEnd - d->qrsOnset) / rate;
                ch.qtTrend->add(time, wholeMs(qt));
                ch.qt.push_back(qt);
                ch.qtcTrend->add(time, wholeMs(correct(qt, rr, m_formula)));
            }
            if (d->qrsEnd != 0 && d->qrsEnd > d->qrsOnset)
                ch.qrs.push_back((d->qrsEnd - d->qrsOnset) / rate);
        }
        // The delineator leaves tOnset at 0, so T durations stay empty for now.
        if (d->tOnset != 0 && d->tEnd != 0 && d->tEnd > d->tOnset)
            ch.tDuration.push_back((d->tEnd - d->tOnset) / rate);
        if (d->tPeak != 0 && d->tEnd != 0 && d->tEnd > d->tPeak)
            ch.tPeakToEnd.push_back((d->tEnd - d->tPeak) / rate);
    }
}

void QTAnalyzer::finishRecording()
{
    if (!m_rrTrend)
        return;
    const double medianRR = median(m_rr);
    result<ValueResult>("RRIntervalAvg")->value = wholeMs(medianRR);
    for (size_t i = 0; i < m_channels.size(); ++i) {
        const int c = int(i);
        const Channel& ch = m_channels[i];
        const double medianQT = median(ch.qt);
        result<ValueResult>(channelName("QTIntervalAvg", c))->value = wholeMs(medianQT);
        // The correction of the medians, not the median of the corrected values.
        const double qtc
            = medianQT > 0.0 && medianRR > 0.0 ? correct(medianQT, medianRR, m_formula) : 0.0;
        result<ValueResult>(channelName("QTcIntervalAvg", c))->value = wholeMs(qtc);
        result<ValueResult>(channelName("QRSIntervalAvg", c))->value = wholeMs(median(ch.qrs));
        result<ValueResult>(channelName("TDurationAvg", c))->value = wholeMs(median(ch.tDuration));
        result<ValueResult>(channelName("TPeakToEndIntervalAvg", c))->value
            = wholeMs(median(ch.tPeakToEnd));
    }
}
