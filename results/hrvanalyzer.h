#pragma once

#include "results/hrvspectrum.h"
#include "results/resultanalyzer.h"
#include "store/trend.h"

#include <map>
#include <utility>

// Heart-rate variability of the whole recording and of each hour: collects the
// normal-to-normal intervals beat by beat, then at the end computes the time-domain measures,
// the NN histogram with the triangular index and TINN, the Lorenz plot and the autoregressive
// spectrum with its bands.
class HRVAnalyzer : public ResultAnalyzer
{
public:
    // The four values are kept for compatibility with callers that pass them; all pass 0.0 and
    // nothing reads them.
    explicit HRVAnalyzer(double a = 0.0, double b = 0.0, double c = 0.0, double d = 0.0)
        : m_unused { a, b, c, d }
    {
    }

    void beginRecording(BeatList& beats) override;
    void addBeat(const Beat& beat) override;
    void finishRecording() override;

    // The working NN series (beat time, NN in seconds) and its successive differences.
    const TTrend& nnSeries() const { return m_nnSeries; }
    const TTrend& nnDiffSeries() const { return m_nnDiffSeries; }

private:
    void zeroHours();
    void timeDomain();
    void frequencyDomain();
    std::vector<double> nnValues(double from, double to) const;
    void addBands(const char* suffix, double time, const HRVSpectrum::Bands& bands, bool perHour);

    double m_unused[4];
    int m_hours = 0;
    TTrend m_nnSeries;
    TTrend m_nnDiffSeries;
    BinnedMean m_fiveMinuteMeans;
    BinnedDeviation m_fiveMinuteDeviations;
    std::map<std::pair<int, int>, int> m_lorenz; // (previous NN ms, this NN ms) -> count
    double m_previousNN = 0.0;
    bool m_havePrevious = false;
};
