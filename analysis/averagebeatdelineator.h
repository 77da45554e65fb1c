#pragma once

#include <vector>

// Wave limits on one averaged beat, from fixed smoothing kernels and slope rules (the wavelet
// delineator needs a running signal; an average is one isolated beat). Positions are samples
// into the array given to measure(), at its rate; 0 means "not found".
class AverageBeatDelineator
{
public:
    virtual ~AverageBeatDelineator() = default;

    // wave: one mean beat; rate in samples per second; rPosition: the R position in samples of
    // wave; rrSamples: one RR interval in samples of wave, 0 when unknown (then only the QRS
    // limits are looked for). Resets every field first.
    virtual void measure(const double* wave, int length, int rate, int rPosition, int rrSamples);

    int pOnset = 0;
    int pEnd = 0; // never filled
    int qrsOnset = 0;
    int rPosition = 0;
    int qrsEnd = 0;
    int tOnset = 0; // never filled
    int tPeak = 0;
    int tEnd = 0;

    // The smoothing kernels, full length (25, 81 and 51 taps), for work at 250 Hz.
    static std::vector<double> pKernel();
    static std::vector<double> qrsEndKernel();
    static std::vector<double> tKernel();

    // x convolved with `kernel`, centred (shifted back by half its length), zeros outside x.
    static std::vector<double> smooth(
        const std::vector<double>& x, const std::vector<double>& kernel);

    // Below this peak-to-peak (in sample units) a wave counts as flat.
    static constexpr double kMinPeakToPeak = 10.0;
};
