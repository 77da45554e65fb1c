#include "results/pauseanalyzer.h"

#include "store/beat.h"
#include "store/beatlist.h"
#include "store/trend.h"

PauseAnalyzer::PauseAnalyzer(double intervalSecs)
    : m_interval(intervalSecs)
{
}

void PauseAnalyzer::beginRecording(BeatList& beats)
{
    m_count = makeResult<ValueResult>("pauseCount");
    m_perHour = makeResult<BinnedCount>("pauseCountPerHour");
    m_perHour->configure(3600.0, recordingHours(beats));
    m_events = makeResult<EventListResult>("pauseEvents");
}

void PauseAnalyzer::addBeat(const Beat& beat)
{
    const double rr = beat.rr();
    if (!(rr > m_interval))
        return;
    m_count->value += 1.0;
    m_perHour->add(beat.windowStartTime(), 1.0);
    // The pause runs from the previous R wave to this one.
    m_events->events.append(EventResult(beat.rInstant() - rr, rr, rr));
}
