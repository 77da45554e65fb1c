#include "results/heartrateanalyzer.h"

#include "store/beat.h"

#include <algorithm>
#include <vector>

void HeartRateAnalyzer::beginRecording(BeatList& beats)
{
    const int hours = recordingHours(beats);
    m_bins.configure(kBinSeconds, hours * int(3600.0 / kBinSeconds));

    m_trend = makeResult<TTrend>("BPMTrend");
    m_avg = makeResult<ValueResult>("avgBPM");
    m_min = makeResult<EventResult>("minBPM");
    m_max = makeResult<EventResult>("maxBPM");
    m_avgPerHour = makeResult<BinnedMedian>("avgBPMPerHour");
    m_minPerHour = makeResult<BinnedMinimum>("minBPMPerHour");
    m_maxPerHour = makeResult<BinnedMaximum>("maxBPMPerHour");
    m_total = makeResult<ValueResult>("totalBeatCount");
    m_countPerHour = makeResult<BinnedCount>("beatCountPerHour");
    for (BinnedTrend* t : std::initializer_list<BinnedTrend*> {
             m_avgPerHour, m_minPerHour, m_maxPerHour, m_countPerHour })
        t->configure(3600.0, hours);
}

void HeartRateAnalyzer::addBeat(const Beat& beat)
{
    if (!m_total)
        return;
    // Every valid beat counts, ventricular ones too.
    m_total->value += 1.0;
    m_countPerHour->add(beat.windowStartTime(), 1.0);

    // The running median, not the beat's own interval, so one ectopic beat hardly moves it.
    const double rr = beat.medianRR();
    if (!(rr > 0.0))
        return;
    const double bpm = 60.0 / rr;
    if (!(bpm > 0.0))
        return;
    m_bins.add(beat.windowStartTime(), bpm);
}

int HeartRateAnalyzer::neededBeats(double bpm)
{
    const qint64 perHalfMinute = qint64(bpm * 0.5);
    return int((perHalfMinute * 6) / 10);
}

void HeartRateAnalyzer::finishRecording()
{
    if (!m_trend)
        return;
    std::vector<double> accepted;
    bool haveMin = false;
    bool haveMax = false;
    for (int i = 0; i < m_bins.size(); ++i) {
        const double v = m_bins.valueAt(i);
        if (v == 0.0)
            continue;
        if (m_bins.binHits(i) < neededBeats(v))
            continue;
        const double t = m_bins.timeAt(i);
        m_trend->add(t, v);
        accepted.push_back(v);
        // Strict comparisons: on a tie the earlier bin stays.
        if (!haveMax || v > m_max->value) {
            m_max->timestamp = t;
            m_max->value = v;
            haveMax = true;
        }
        if (!haveMin || v < m_min->value) {
            m_min->timestamp = t;
            m_min->value = v;
            haveMin = true;
        }
        m_avgPerHour->add(t, v);
        m_minPerHour->add(t, v);
        m_maxPerHour->add(t, v);
    }
    // The "average" is the upper median of the accepted bin medians, on purpose.
    std::sort(accepted.begin(), accepted.end());
    m_avg->value = accepted.empty() ? 0.0 : accepted[accepted.size() / 2];
}
