#pragma once

#include <array>
#include <vector>

// Autoregressive power spectrum of an NN series taken beat by beat (no resampling): Burg's
// maximum-entropy method (J. P. Burg, 1967; as laid out in Press et al., Numerical Recipes,
// "memcof"/"evlmem"), order 32, evaluated at 256 frequencies from 0 to 255/512 cycles per beat.
class HRVSpectrum
{
public:
    static constexpr int kOrder = 32;
    static constexpr int kBins = 256;
    using Psd = std::array<double, kBins>;

    struct Model
    {
        std::vector<double> a; // a[1..order]; a[0] unused
        double power = 0.0; // residual power E
    };

    struct Bands
    {
        double ulf = 0.0;
        double vlf = 0.0;
        double lf = 0.0;
        double hf = 0.0;
        double total = 0.0; // the four bands; bins above HF count in none
        // LF and HF in percent of LF + HF, and LF / HF; 0.0 where the denominator is not
        // positive.
        double lfNorm() const;
        double hfNorm() const;
        double lfHfRatio() const;
    };

    // Fits the model to `x` (already around zero). With fewer values than the order the power
    // and every coefficient are 0.0; a stage with nothing left to predict ends the recursion.
    static Model burg(const std::vector<double>& x, int order = kOrder);
    // The spectrum of `nn` (seconds) after removing its mean; all 0.0 with fewer than 2 values.
    static Psd spectrum(const std::vector<double>& nn);
    // Scales the spectrum to total power / 2 (power: a variance in ms squared); an all-zero
    // spectrum stays as it is.
    static void normalize(Psd& psd, double power);
    // Index of the first bin above a band of upper edge f (bins of 1/256 Hz, 512 points).
    static int bandEdge(double f);
    static Bands bands(const Psd& psd);
};
