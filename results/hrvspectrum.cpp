#include "results/hrvspectrum.h"

#include <cmath>

HRVSpectrum::Model HRVSpectrum::burg(const std::vector<double>& x, int order)
{
    Model model;
    model.a.assign(size_t(order) + 1, 0.0);
    const int n = int(x.size());
    if (n < order || n < 2)
        return model;

    double e = 0.0;
    for (double v : x)
        e += v * v;
    e /= n;

    // Forward and backward prediction errors.
    std::vector<double> forward(x.begin(), x.end() - 1);
    std::vector<double> backward(x.begin() + 1, x.end());
    std::vector<double>& a = model.a;
    std::vector<double> old(a);
    for (int k = 1; k <= order; ++k) {
        double num = 0.0;
        double den = 0.0;
        for (int j = 0; j < n - k; ++j) {
            num += forward[size_t(j)] * backward[size_t(j)];
            den += forward[size_t(j)] * forward[size_t(j)]
                + backward[size_t(j)] * backward[size_t(j)];
        }
        if (!(den > 0.0))
            break; // a series without variation left: nothing more to model
        a[size_t(k)] = 2.0 * num / den;
        e *= 1.0 - a[size_t(k)] * a[size_t(k)];
        for (int i = 1; i < k; ++i)
            a[size_t(i)] = old[size_t(i)] - a[size_t(k)] * old[size_t(k - i)];
        if (k == order)
            break;
        old = a;
        for (int j = 0; j < n - k - 1; ++j) {
            forward[size_t(j)] -= old[size_t(k)] * backward[size_t(j)];
            backward[size_t(j)] = backward[size_t(j) + 1] - old[size_t(k)] * forward[size_t(j) + 1];
        }
    }
    model.power = e;
    return model;
}

HRVSpectrum::Psd HRVSpectrum::spectrum(const std::vector<double>& nn)
{
    Psd psd;
    psd.fill(0.0);
    const size_t n = nn.size();
    if (n < 2)
        return psd;
    double mean = 0.0;
    for (double v : nn)
        mean += v;
    mean /= double(n);
    std::vector<double> x(n);
    for (size_t i = 0; i < n; ++i)
        x[i] = nn[i] - mean;

    const Model model = burg(x);
    // No residual power: a flat series, or one whose mean removal left only rounding (then
    // the fit can put a pole on the unit circle, and 0/0 must not reach the spectrum).
    if (!(model.power > 0.0))
        return psd;
    const std::vector<double>& a = model.a;
    for (int i = 0; i < kBins; ++i) {
        // i / 512 cycles per beat
        const double w = i * 0.5 * 0.00390625 * 6.2831853;
        const double cw = std::cos(w);
        const double sw = std::sin(w);
        double c = 1.0; // cos(k w) and sin(k w), rotated on from k - 1
        double s = 0.0;
        double re = 1.0;
        double im = 0.0;
        for (int k = 1; k <= kOrder; ++k) {
            const double ck = c * cw - s * sw;
            s = s * cw + c * sw;
            c = ck;
            re -= a[size_t(k)] * c;
            im += a[size_t(k)] * s;
        }
        psd[size_t(i)] = model.power / (re * re + im * im);
    }
    return psd;
}

void HRVSpectrum::normalize(Psd& psd, double power)
{
    double sum = 0.0;
    for (double v : psd)
        sum += v;
    if (!(sum > 0.0))
        return;
    const double scale = power / (2.0 * sum);
    for (double& v : psd)
        v *= scale;
}

int HRVSpectrum::bandEdge(double f)
{
    const double length = 512.0;
    return int(std::ceil(length * f * 0.5));
}

HRVSpectrum::Bands HRVSpectrum::bands(const Psd& psd)
{
    // Edges written for bins of 1/256 Hz, as if the series were sampled at 2 per second.
    const int ulfEnd = bandEdge(0.003);
    const int vlfEnd = bandEdge(0.04);
    const int lfEnd = bandEdge(0.15);
    const int hfEnd = bandEdge(0.4);
    Bands b;
    for (int i = 0; i < kBins && i < hfEnd; ++i) {
        const double v = psd[size_t(i)];
        if (i < ulfEnd)
            b.ulf += v;
        else if (i < vlfEnd)
            b.vlf += v;
        else if (i < lfEnd)
            b.lf += v;
        else
            b.hf += v;
    }
    b.total = b.ulf + b.vlf + b.lf + b.hf;
    return b;
}

double HRVSpectrum::Bands::lfNorm() const
{
    return lf + hf > 0.0 ? lf * 100.0 / (lf + hf) : 0.0;
}

double HRVSpectrum::Bands::hfNorm() const
{
    return lf + hf > 0.0 ? hf * 100.0 / (lf + hf) : 0.0;
}

double HRVSpectrum::Bands::lfHfRatio() const
{
    return hf > 0.0 ? lf / hf : 0.0;
}
