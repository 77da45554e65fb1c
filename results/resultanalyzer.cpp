#include "results/resultanalyzer.h"

#include "store/beatlist.h"
#include "store/signalsource.h"

double ResultAnalyzer::recordingSeconds(const BeatList& beats)
{
    const SignalSource* s = beats.signalSource();
    return s ? s->duration() : 0.0;
}

int ResultAnalyzer::hoursFor(double seconds)
{
    if (!(seconds > 0.0))
        return 0;
    const qint64 minutes = qint64(seconds / 60.0);
    return int((minutes + 59) / 60);
}

int ResultAnalyzer::recordingHours(const BeatList& beats)
{
    return hoursFor(recordingSeconds(beats));
}

int ResultAnalyzer::channelCount(const BeatList& beats)
{
    const SignalSource* s = beats.signalSource();
    return s ? s->channelCount() : 0;
}
