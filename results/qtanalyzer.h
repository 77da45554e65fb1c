#pragma once

#include "results/averagebeatanalyzer.h"

#include <vector>

class TTrend;

// QT, corrected QT, QRS width and T-wave intervals per channel from each 20-second average
// beat, and the average RR, with medians at the end. Built with the correction formula number
// ("QT/correctionFormulaId").
class QTAnalyzer : public AverageBeatAnalyzer
{
public:
    enum Formula { Bazett = 0, Fridericia = 1, Hodges = 2, Framingham = 3, Logarithmic = 100 };

    explicit QTAnalyzer(int formula = Bazett)
        : m_formula(formula)
    {
    }

    // QT corrected for heart rate, qt and rr in seconds; an unknown formula gives 0.0.
    static double correct(double qt, double rr, int formula);

    void finishRecording() override;

protected:
    void beginChannels(int channels, int hours) override;
    void measure(double time, const AverageBeatSnapshot& average,
        const std::vector<AverageBeatDelineator*>& delineators) override;

private:
    struct Channel
    {
        TTrend* qtTrend = nullptr; // owned by the result map
        TTrend* qtcTrend = nullptr; // owned by the result map
        std::vector<double> qt; // all lists in seconds
        std::vector<double> qrs;
        std::vector<double> tDuration;
        std::vector<double> tPeakToEnd;
    };
    int m_formula;
    TTrend* m_rrTrend = nullptr;
    std::vector<double> m_rr;
    std::vector<Channel> m_channels;
};
