#include "results/arrhythmiaanalyzer.h"

#include "store/beat.h"
#include "store/beatlist.h"
#include "store/trend.h"

#include <algorithm>

ArrhythmiaAnalyzer::ArrhythmiaAnalyzer(int bradyBpm, int tachyBpm, double minDurationSecs)
    : m_bradyLimit(bradyBpm)
    , m_tachyLimit(tachyBpm)
    , m_minDuration(minDurationSecs)
{
}

void ArrhythmiaAnalyzer::beginRecording(BeatList& beats)
{
    const int hours = recordingHours(beats);
    m_brady.events = makeResult<EventListResult>("bradycardiaEvents");
    m_tachy.events = makeResult<EventListResult>("tachycardiaEvents");
    m_brady.count = makeResult<ValueResult>("totalBradyCount");
    m_tachy.count = makeResult<ValueResult>("totalTachyCount");
    m_brady.countPerHour = makeResult<BinnedCount>("bradyCountPerHour");
    m_tachy.countPerHour = makeResult<BinnedCount>("tachyCountPerHour");
    m_brady.beatCountPerHour = makeResult<BinnedSum>("bradyBeatCountPerHour");
    m_tachy.beatCountPerHour = makeResult<BinnedSum>("tachyBeatCountPerHour");
    for (const Outputs* out : { &m_brady, &m_tachy }) {
        out->countPerHour->configure(3600.0, hours);
        out->beatCountPerHour->configure(3600.0, hours);
    }
    reset();
    m_start = 0.0;
}

void ArrhythmiaAnalyzer::reset()
{
    m_state = None;
    m_beatCount = 0;
    m_extreme = 0.0;
}

void ArrhythmiaAnalyzer::endEpisode(const Outputs& out, double elapsed, double t)
{
    if (elapsed >= m_minDuration) {
        out.events->events.append(EventResult(m_start, elapsed, m_extreme));
        out.count->value += 1.0;
        out.countPerHour->add(t, 1.0);
        out.beatCountPerHour->add(t, m_beatCount);
    }
    reset();
}

void ArrhythmiaAnalyzer::addBeat(const Beat& beat)
{
    if (beat.rr() == 0.0)
        reset();

    const double medianRR = beat.medianRR();
    const double bpm = medianRR > 0.0 ? 60.0 / medianRR : 0.0;
    const double t = beat.windowStartTime();

    if (m_state == Bradycardia) {
        if (bpm > 0.0 && bpm < m_bradyLimit) {
            ++m_beatCount;
            m_extreme = std::min(m_extreme, bpm);
        } else {
            endEpisode(m_brady, t > m_start ? t - m_start : 0.0, t);
        }
    } else if (m_state == Tachycardia) {
        if (bpm > 0.0 && bpm > m_tachyLimit) {
            ++m_beatCount;
            m_extreme = std::max(m_extreme, bpm);
        } else {
            endEpisode(m_tachy, t - m_start, t);
        }
    }

    // The beat that ended one episode may open the other kind at once.
    if (bpm > 0.0 && m_state == None) {
        if (bpm > m_tachyLimit)
            m_state = Tachycardia;
        else if (bpm < m_bradyLimit)
            m_state = Bradycardia;
        else
            return;
        m_extreme = bpm;
        m_start = t;
        m_beatCount = 1;
    }
}
