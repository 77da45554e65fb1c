#include "analysis/waveletbank.h"

#include <algorithm>

namespace taplists {

std::vector<double> up(const std::vector<double>& taps)
{
    if (taps.empty())
        return {};
    std::vector<double> out(2 * taps.size() - 1, 0.0);
    for (size_t i = 0; i < taps.size(); ++i)
        out[2 * i] = taps[i];
    return out;
}

std::vector<double> conv(const std::vector<double>& x, const std::vector<double>& y)
{
    if (x.empty() || y.empty())
        return {};
    std::vector<double> out(x.size() + y.size() - 1, 0.0);
    for (size_t i = 0; i < x.size(); ++i)
        for (size_t j = 0; j < y.size(); ++j)
            out[i + j] += x[i] * y[j];
    return out;
}

std::vector<double> add(const std::vector<double>& x, const std::vector<double>& y)
{
    const std::vector<double>& longer = x.size() >= y.size() ? x : y;
    const std::vector<double>& shorter = x.size() >= y.size() ? y : x;
    std::vector<double> out = longer;
    const size_t shift = longer.size() / 2 - shorter.size() / 2;
    for (size_t i = 0; i < shorter.size(); ++i)
        out[i + shift] += shorter[i];
    return out;
}

std::vector<double> scaled(std::vector<double> taps, double factor)
{
    for (double& t : taps)
        t *= factor;
    return taps;
}

} // namespace taplists

using namespace taplists;

namespace {

struct Bases
{
    std::vector<double> h[4]; // smoothing filter at scales 0..3
    std::vector<double> g[4]; // difference filter at scales 0..3
};

Bases makeBases()
{
    Bases b;
    b.h[0] = { 0.125, 0.375, 0.375, 0.125 };
    b.g[0] = { -2.0, 2.0 };
    for (int i = 1; i < 4; ++i) {
        b.h[i] = up(b.h[i - 1]);
        b.g[i] = up(b.g[i - 1]);
    }
    return b;
}

} // namespace

std::vector<double> WaveletBank::scaleTaps(int level)
{
    if (level < 1 || level > kScales)
        return {};
    const Bases b = makeBases();
    // Qj = h0 * h1 * ... * h(j-2) * g(j-1): smooth at the finer scales, then difference.
    std::vector<double> q = b.g[level - 1];
    for (int i = level - 2; i >= 0; --i)
        q = conv(b.h[i], q);
    return q;
}

std::vector<double> WaveletBank::bandPassTaps()
{
    const Bases b = makeBases();
    std::vector<double> d[4];
    d[0] = { 0.0078125, 0.054685, 0.171875, -0.171875, -0.054685, -0.0078125 };
    for (int i = 1; i < 4; ++i)
        d[i] = up(d[i - 1]);
    const std::vector<double> a = conv(b.h[0], conv(b.h[1], conv(b.h[2], b.h[3])));

    // Weights drop the finest band (noise) and the approximation (baseline).
    const std::vector<double> c3
        = add(conv(scaled(scaleTaps(4), 0.5), d[3]), conv(scaled(a, 0.0), b.h[3]));
    const std::vector<double> c2 = add(conv(scaled(scaleTaps(3), 1.0), d[2]), conv(c3, b.h[2]));
    const std::vector<double> c1 = add(conv(scaled(scaleTaps(2), 0.25), d[1]), conv(c2, b.h[1]));
    return add(conv(scaled(scaleTaps(1), 0.0), d[0]), conv(c1, b.h[0]));
}

WaveletBank::WaveletBank(SignalSource* source)
{
    for (int level = 1; level <= kScales; ++level) {
        std::vector<double> taps = scaleTaps(level);
        const int centre = int(taps.size()) / 2;
        m_scales[level - 1] = std::make_unique<FilteredSourceF64>(
            source, std::make_unique<FirBlockFilter>(std::move(taps), centre));
    }
    std::vector<double> taps = bandPassTaps();
    const int centre = int(taps.size()) / 2;
    m_bandPass = std::make_unique<FilteredSource>(
        source, std::make_unique<FirBlockFilter>(std::move(taps), centre));
}

FilteredSourceF64* WaveletBank::scale(int level) const
{
    if (level < 1 || level > kScales)
        return nullptr;
    return m_scales[level - 1].get();
}
