#pragma once

#include "results/resultanalyzer.h"

// Beat counts by type ("count"): one total per type code, U, N, V, F and S.
class BeatCountAnalyzer : public ResultAnalyzer
{
public:
    BeatCountAnalyzer() = default;

    void beginRecording(BeatList& beats) override;
    void addBeat(const Beat& beat) override;

    // The result name of a type code ("totalCountN"); empty for a code that isn't a type.
    static QByteArray resultName(int type);

private:
    ValueResult* m_counts[5] = {}; // by type code
};
