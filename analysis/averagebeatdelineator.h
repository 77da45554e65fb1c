#pragma once

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
};
