#include "results/beatcountanalyzer.h"

#include "store/beat.h"

QByteArray BeatCountAnalyzer::resultName(int type)
{
    static const char* const names[5]
        = { "totalCountU", "totalCountN", "totalCountV", "totalCountF", "totalCountS" };
    return type >= 0 && type < 5 ? QByteArray(names[type]) : QByteArray();
}

void BeatCountAnalyzer::beginRecording(BeatList&)
{
    for (int type = 0; type < 5; ++type)
        m_counts[type] = makeResult<ValueResult>(resultName(type));
}

void BeatCountAnalyzer::addBeat(const Beat& beat)
{
    if (beat.type >= 0 && beat.type < 5 && m_counts[beat.type])
        m_counts[beat.type]->value += 1.0;
}
