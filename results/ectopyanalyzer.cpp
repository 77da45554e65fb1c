#include "results/ectopyanalyzer.h"

#include "store/beat.h"
#include "store/beatlist.h"
#include "store/trend.h"

EctopyAnalyzer::EctopyAnalyzer(int beatType)
    : m_watchedType(beatType)
{
}

void EctopyAnalyzer::beginRecording(BeatList& beats)
{
    const int hours = recordingHours(beats);
    m_totalCount = makeResult<ValueResult>("totalCount");
    m_coupletCount = makeResult<ValueResult>("coupletCount");
    m_tripletCount = makeResult<ValueResult>("tripletCount");
    m_runCount = makeResult<ValueResult>("runCount");
    m_maxRun = makeResult<EventResult>("maxRun");
    m_totalPerHour = makeResult<BinnedCount>("totalCountPerHour");
    m_coupletPerHour = makeResult<BinnedCount>("coupletCountPerHour");
    m_tripletPerHour = makeResult<BinnedCount>("tripletCountPerHour");
    m_runPerHour = makeResult<BinnedCount>("runCountPerHour");
    m_totalPerMinute = makeResult<BinnedCount>("totalCountPerMinute");
    for (BinnedCount* perHour :
        { m_totalPerHour, m_coupletPerHour, m_tripletPerHour, m_runPerHour })
        perHour->configure(3600.0, hours);
    m_totalPerMinute->configure(60.0, hours * 60);
    m_couplets = makeResult<EventListResult>("coupletEvents");
    m_triplets = makeResult<EventListResult>("tripletEvents");
    m_runs = makeResult<EventListResult>("runEvents");
    m_runLength = 0;
    m_runStart = 0.0;
}

void EctopyAnalyzer::addBeat(const Beat& beat)
{
    // A break ends a series without reporting it: what lies beyond the gap is unknown.
    if (beat.rr() == 0.0)
        m_runLength = 0;

    if (beat.type == m_watchedType) {
        if (++m_runLength == 1)
            m_runStart = beat.windowStartTime();
        m_totalCount->value += 1.0;
        m_totalPerHour->add(beat.windowStartTime(), 1.0);
        m_totalPerMinute->add(beat.windowStartTime(), 1.0);
        return;
    }

    // Any other type, the other ectopic type included, ends the series here.
    reportSeries(beat.windowStartTime());
    m_runLength = 0;
}

void EctopyAnalyzer::reportSeries(double endTime)
{
    const double duration = endTime - m_runStart;
    if (m_runLength == 2) {
        m_coupletCount->value += 1.0;
        m_coupletPerHour->add(m_runStart, 1.0);
        m_couplets->events.append(EventResult(m_runStart, duration, 2.0));
    } else if (m_runLength == 3) {
        m_tripletCount->value += 1.0;
        m_tripletPerHour->add(m_runStart, 1.0);
        m_triplets->events.append(EventResult(m_runStart, duration, 3.0));
    } else if (m_runLength > 3) {
        m_runCount->value += 1.0;
        m_runPerHour->add(m_runStart, 1.0);
        if (m_runLength > m_maxRun->value) {
            m_maxRun->timestamp = m_runStart;
            m_maxRun->duration = duration;
            m_maxRun->value = m_runLength;
        }
        m_runs->events.append(EventResult(m_runStart, duration, m_runLength));
    }
}
