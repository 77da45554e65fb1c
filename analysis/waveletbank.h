#pragma once

#include "analysis/filteredsource.h"

#include <memory>
#include <vector>

// Tap-list arithmetic for the wavelet filters.
namespace taplists {
// Inserts one zero between taps (length 2L - 1).
std::vector<double> up(const std::vector<double>& taps);
// Full convolution (length L1 + L2 - 1).
std::vector<double> conv(const std::vector<double>& x, const std::vector<double>& y);
// Sum with the centres (length / 2) aligned, keeping the longer length.
std::vector<double> add(const std::vector<double>& x, const std::vector<double>& y);
std::vector<double> scaled(std::vector<double> taps, double factor);
} // namespace taplists

// The dyadic wavelet scales used by the QRS detector (the quadratic-spline wavelet of
// Mallat & Zhong 1992 as applied to ECG by Martinez et al. 2004), computed as one
// undecimated FIR per scale, plus a band-pass rebuilt from the middle scales.
class WaveletBank
{
public:
    static constexpr int kScales = 4;

    // `source` is the 250 Hz signal; not owned, and must outlive the bank.
    explicit WaveletBank(SignalSource* source);

    // W1..W4 for `level` 1..4, else null.
    FilteredSourceF64* scale(int level) const;
    FilteredSource* bandPass() const { return m_bandPass.get(); }

    // Q1..Q4 for `level` 1..4 (lengths 2, 6, 14, 30), else empty.
    static std::vector<double> scaleTaps(int level);
    // The synthesis C0 of the weighted scales (91 taps).
    static std::vector<double> bandPassTaps();

private:
    std::unique_ptr<FilteredSourceF64> m_scales[kScales];
    std::unique_ptr<FilteredSource> m_bandPass;
};
