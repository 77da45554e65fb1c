#include "results/afibanalyzer.h"

void AFibAnalyzer::beginRecording(BeatList& beats)
{
    m_events = makeResult<EventListResult>("afibEvents");
    m_totalTime = makeResult<ValueResult>("afibTotalTime");
    m_detector.begin(beats);
}

void AFibAnalyzer::addBeat(const Beat& beat)
{
    m_detector.addBeat(beat);
}

void AFibAnalyzer::finishRecording()
{
    m_detector.finish();
    for (const AFibDetector::Episode& e : m_detector.episodes()) {
        const double length = e.second - e.first;
        m_events->events.append(EventResult(e.first, length, 0.0));
        m_totalTime->value += length;
    }
}
