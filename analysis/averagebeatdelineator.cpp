#include "analysis/averagebeatdelineator.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// Symmetric kernels are stored as their first half and centre.
std::vector<double> mirrored(std::initializer_list<double> half)
{
    std::vector<double> full(half);
    for (int i = int(half.size()) - 2; i >= 0; --i)
        full.push_back(full[size_t(i)]);
    return full;
}

// Central difference of the smoothed wave: the slope rules compare these.
double slope(const std::vector<double>& f, int k)
{
    return f[size_t(k + 1)] - f[size_t(k - 1)];
}

// The first flat stretch before R: four-sample ranges walked back from R until one is below a
// share of the QRS amplitude, the share loosened in steps for noisy averages.
int findQrsOnset(const std::vector<double>& x, int r)
{
    const int n = int(x.size());
    std::vector<double> range(size_t(std::max(n, 0)), 0.0);
    double lowest = std::numeric_limits<double>::infinity();
    double highest = -std::numeric_limits<double>::infinity();
    for (int i = 5; i < n - 5; ++i) {
        const auto group = std::minmax_element(x.begin() + (i - 2), x.begin() + (i + 2));
        range[size_t(i)] = *group.second - *group.first;
        if (i > r - 60 && i < r + 60) {
            lowest = std::min(lowest, *group.first);
            highest = std::max(highest, *group.second);
        }
    }
    const double amp = highest >= lowest ? highest - lowest : 0.0;
    for (const double share : { 0.01, 0.02, 0.05 }) {
        for (int i = std::min(r - 2, n - 6); i > 5; --i) {
            if (range[size_t(i)] < share * amp)
                return i;
        }
    }
    return 0;
}

// Where a steep part gives way to a flat one: the ratio of the variation in the 10 samples before
// k to that in the 15 after, on a band-limited copy of the wave.
int findQrsEnd(const std::vector<double>& x, int qrsOn, int r)
{
    const int n = int(x.size());
    if (qrsOn >= n - 75)
        return 0;
    const std::vector<double> f
        = AverageBeatDelineator::smooth(x, AverageBeatDelineator::qrsEndKernel());
    const int from = std::max(qrsOn + 20, r + 5);
    const int to = qrsOn + 50;
    int end = from;
    double best = -std::numeric_limits<double>::infinity();
    for (int k = from; k < to; ++k) {
        const double fk = f[size_t(k)];
        double before = 0.0;
        for (int j = k - 10; j < k; ++j)
            before += std::fabs(f[size_t(j)] - fk);
        double after = 10.0;
        for (int j = k + 1; j <= k + 15; ++j)
            after += std::fabs(f[size_t(j)] - fk);
        const double ratio = before / after;
        if (ratio > best) {
            best = ratio;
            end = k;
        }
    }
    return end;
}

// Steepest rise and fall of a window, the earlier position on a tie; -1 where the slope never
// has that sign.
struct Slopes
{
    int up = -1;
    int down = -1;
};

Slopes steepest(const std::vector<double>& f, int low, int high)
{
    Slopes s;
    double most = 0.0;
    double least = 0.0;
    for (int k = low; k < high; ++k) {
        const double d = slope(f, k);
        if (d > most) {
            most = d;
            s.up = k;
        }
        if (d < least) {
            least = d;
            s.down = k;
        }
    }
    return s;
}

// The P wave's first steep edge, followed back to where its slope falls to 80 % of the steepest.
int findPOnset(const std::vector<double>& x, int qrsOn, int rr)
{
    const int low = std::max(qrsOn - rr / 3, 4);
    const int high = qrsOn - 10;
    if (low >= high)
        return 0;
    std::vector<double> y(x);
    const double base = x[size_t(qrsOn)];
    for (double& v : y)
        v -= base;
    const std::vector<double> f
        = AverageBeatDelineator::smooth(y, AverageBeatDelineator::pKernel());
    const Slopes s = steepest(f, low, high);
    if (s.up < 0 || s.down < 0)
        return 0;
    // An upright P rises first; an inverted one falls first.
    const int edge = s.up < s.down ? s.up : s.down;
    const double sign = s.up < s.down ? 1.0 : -1.0;
    if (edge <= low)
        return 0;
    const double limit = 0.8 * sign * slope(f, edge);
    int k = edge;
    while (k > low && sign * slope(f, k) > limit)
        --k;
    return k > low ? k : 0;
}

// T peak and end: the steepest descent of an upright T (ascent of an inverted one) gives the end
// where the slope falls back to 80 %, and the crest (trough) behind it gives the peak.
void findTWave(const std::vector<double>& x, int qrsOff, int rr, int& peak, int& end)
{
    peak = 0;
    end = 0;
    const int n = int(x.size());
    const int low = qrsOff + 20;
    const int high = std::min(rr / 2 + qrsOff, n - 10);
    if (low >= high)
        return;
    const std::vector<double> f
        = AverageBeatDelineator::smooth(x, AverageBeatDelineator::tKernel());
    Slopes s = steepest(f, low, high);
    const int up = std::max(s.up, 0);
    const int down = std::max(s.down, 0);
    if (up == 0 && down == 0)
        return;
    const bool upright = up < down;
    const int edge = upright ? down : up;
    const double sign = upright ? -1.0 : 1.0;

    const double limit = 0.8 * sign * slope(f, edge);
    for (int k = edge; k < high; ++k) {
        if (!(sign * slope(f, k) > limit)) {
            end = k;
            break;
        }
    }

    if (edge <= low)
        return;
    int k = edge;
    // Climb back to the crest (upright) or down to the trough (inverted).
    while (k - 1 >= low && sign * f[size_t(k - 1)] < sign * f[size_t(k)])
        --k;
    if (k <= low)
        return;
    int best = k - 5;
    for (int j = k - 4; j <= k + 5; ++j) {
        if (upright ? x[size_t(j)] > x[size_t(best)] : x[size_t(j)] < x[size_t(best)])
            best = j;
    }
    peak = best;
}

} // namespace

std::vector<double> AverageBeatDelineator::pKernel()
{
    return mirrored({ 0.0043996, 0.0056271, 0.0088415, 0.0141294, 0.0213604, 0.0301867, 0.0400671,
        0.0503131, 0.0601533, 0.0688084, 0.0755696, 0.0798707, 0.0813464 });
}

std::vector<double> AverageBeatDelineator::qrsEndKernel()
{
    return mirrored({ 0.0005773, 0.0003942, 0.0000966, -0.0002847, -0.0006899, -0.0010243,
        -0.0011672, -0.0010016, -0.0004599, 0.0004278, 0.0015037, 0.002488, 0.0030329, 0.0028175,
        0.0016649, -0.0003551, -0.0028766, -0.0052712, -0.0067751, -0.0066906, -0.004618,
        -0.0006502, 0.004535, 0.0097343, 0.0134451, 0.0142259, 0.0111161, 0.0040118, -0.006111,
        -0.0172092, -0.0264538, -0.0307502, -0.0273992, -0.0147609, 0.0072378, 0.0368819, 0.0708116,
        0.1045238, 0.1331469, 0.1523334, 0.1590852 });
}

std::vector<double> AverageBeatDelineator::tKernel()
{
    return mirrored({ 0.0000936, 0.0002632, 0.0004958, 0.0008378, 0.0013368, 0.0020388, 0.0029856,
        0.0042122, 0.0057442, 0.0075962, 0.0097697, 0.0122524, 0.0150174, 0.0180239, 0.0212177,
        0.0245332, 0.0278947, 0.03122, 0.0344229, 0.0374164, 0.0401164, 0.0424449, 0.0443332,
        0.0457245, 0.0465767, 0.0468637 });
}

std::vector<double> AverageBeatDelineator::smooth(
    const std::vector<double>& x, const std::vector<double>& kernel)
{
    const int n = int(x.size());
    const int taps = int(kernel.size());
    const int shift = taps / 2;
    std::vector<double> y(x.size(), 0.0);
    for (int i = 0; i < n; ++i) {
        // Full convolution sample i + shift: sum over kernel taps j of x[i + shift - j].
        const int jFirst = std::max(0, i + shift - (n - 1));
        const int jLast = std::min(taps - 1, i + shift);
        double sum = 0.0;
        for (int j = jFirst; j <= jLast; ++j)
            sum += kernel[size_t(j)] * x[size_t(i + shift - j)];
        y[size_t(i)] = sum;
    }
    return y;
}

void AverageBeatDelineator::measure(
    const double* wave, int length, int rate, int rPosition, int rrSamples)
{
    pOnset = pEnd = qrsOnset = qrsEnd = tOnset = tPeak = tEnd = 0;
    this->rPosition = rPosition;
    if (!wave || length <= 0 || rate <= 0)
        return;

    // A wave with a hole in it (NaN, infinity) is treated like a flat one: nothing to measure.
    if (!std::all_of(wave, wave + length, [](double v) { return std::isfinite(v); }))
        return;
    const auto extremes = std::minmax_element(wave, wave + length);
    if (*extremes.second - *extremes.first < kMinPeakToPeak)
        return;

    // The rules are tuned for 250 Hz: faster averages are box-averaged down to it.
    const int factor = std::max(1, rate / 250);
    std::vector<double> x(size_t(length / factor));
    for (size_t i = 0; i < x.size(); ++i) {
        double sum = 0.0;
        for (int j = 0; j < factor; ++j)
            sum += wave[i * size_t(factor) + size_t(j)];
        x[i] = sum / factor;
    }
    const int r = rPosition / factor;
    const int rr = rrSamples / factor;
    if (r < 0 || r >= int(x.size()))
        return;

    const int qrsOn = findQrsOnset(x, r);
    if (qrsOn == 0)
        return;
    qrsOnset = qrsOn * factor;
    const int qrsOff = findQrsEnd(x, qrsOn, r);
    qrsEnd = qrsOff * factor;
    pOnset = findPOnset(x, qrsOn, rr) * factor;
    if (qrsOff != 0) {
        int peak = 0;
        int end = 0;
        findTWave(x, qrsOff, rr, peak, end);
        tPeak = peak * factor;
        tEnd = end * factor;
    }
}
