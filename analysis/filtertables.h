#pragma once

#include <QString>

#include <optional>
#include <vector>

// Coefficients of a recursive filter: y[p] = sum b[k] s[p - k] + sum a[k] y[p - k].
struct IirTable
{
    int order = 0;
    int margin = 0; // settling allowance, samples at the table's rate
    std::vector<double> b; // b[0..order]
    std::vector<double> a; // a[1..order]
};

// The coefficient tables of the viewing and classifier filters, by sampling rate.
namespace filtertables {

// Expands the first half of a symmetric tap list to `length` taps (odd lengths mirror around the
// last given tap).
std::vector<double> symmetric(const std::vector<double>& half, int length);

// 50 Hz notch; none at other rates.
std::optional<IirTable> notch50(int rate);
// Baseline (high-pass) filter; at 500 Hz blocks of 4000 samples or more get the sharper one.
std::optional<IirTable> baseline(int rate, int blockSize);
// Low-pass taps; none at rates without a table. At 500 and 1000 Hz `name` is "25hz" or "40hz"
// and any other name gives an empty tap list; at 250 Hz one table serves every name.
std::optional<std::vector<double>> lowPass(int rate, const QString& name);

// 250 Hz classifier filters: the 101-tap low-pass (gain 0.2965808, centre 50) and the 14-tap
// differentiator (centre 7).
std::vector<double> classifierLowPass();
std::vector<double> classifierDerivative();

} // namespace filtertables
