#include "results/patternanalyzer.h"

#include "store/beat.h"
#include "store/beatlist.h"
#include "store/trend.h"

PatternAnalyzer::PatternAnalyzer(Pattern pattern)
    : m_pattern(std::move(pattern))
{
}

void PatternAnalyzer::beginRecording(BeatList& beats)
{
    m_count = makeResult<ValueResult>(m_pattern.name + "Count");
    m_perHour = makeResult<BinnedCount>(m_pattern.name + "CountPerHour");
    m_perHour->configure(3600.0, recordingHours(beats));
    m_events = makeResult<EventListResult>(m_pattern.name + "Events");
    m_state = 0;
    m_eventStart = 0.0;
    m_eventEnd = 0.0;
}

void PatternAnalyzer::addBeat(const Beat& beat)
{
    if (beat.rr() == 0.0)
        m_state = 0;
    const int input = beat.type == BeatN ? InputN : beat.type == BeatV ? InputV : InputOther;

    if (m_state == m_pattern.startState)
        m_eventStart = beat.windowStartTime() - beat.span() * m_pattern.startSpans;
    if (m_state == m_pattern.endState)
        m_eventEnd = beat.windowStartTime();

    // The end test looks at the state before this beat's transition.
    const int sustaining = m_pattern.sustainingInput[size_t(m_state)];
    if (sustaining >= 0 && input != sustaining) {
        m_events->events.append(EventResult(m_eventStart, m_eventEnd - m_eventStart, 0.0));
        m_count->value += 1.0;
        m_perHour->add(m_eventStart, 1.0);
    }
    m_state = m_pattern.table[size_t(m_state)][size_t(input)];
}
