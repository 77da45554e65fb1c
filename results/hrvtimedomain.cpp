#include "results/hrvtimedomain.h"

#include "store/trend.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

std::pair<int, int> HRVTimeDomain::range(const QVector<double>& times, double from, double to)
{
    const auto first = std::upper_bound(times.begin(), times.end(), from);
    const auto end = std::lower_bound(times.begin(), times.end(), to);
    return { int(first - times.begin()), int(end - times.begin()) };
}

std::pair<double, double> HRVTimeDomain::meanAndDeviation(const TTrend& nn, double from, double to)
{
    const auto r = range(nn.timestamps(), from, to);
    const int n = r.second - r.first;
    if (n < 2)
        return { 0.0, 0.0 };
    const QVector<double>& v = nn.values();
    double sum = 0.0;
    double sumSq = 0.0;
    for (int i = r.first; i < r.second; ++i) {
        sum += v[i];
        sumSq += v[i] * v[i];
    }
    const double mean = sum / n;
    const double bracket = sumSq - mean * sum;
    const double deviation = bracket > 0.0 ? std::sqrt(bracket / n) : 0.0;
    return { mean * 1000.0, deviation * 1000.0 };
}

std::pair<double, double> HRVTimeDomain::rmssdAndPnn50(
    const TTrend& differences, double from, double to)
{
    const auto r = range(differences.timestamps(), from, to);
    const int n = r.second - r.first;
    if (n < 2)
        return { 0.0, 0.0 };
    const QVector<double>& v = differences.values();
    double sumSq = 0.0;
    int large = 0;
    for (int i = r.first; i < r.second; ++i) {
        sumSq += v[i] * v[i];
        if (std::fabs(v[i]) > kPnnLimitSeconds)
            ++large;
    }
    return { std::sqrt(sumSq / n) * 1000.0, 100.0 * large / n };
}

std::vector<int> HRVTimeDomain::histogram(const QVector<double>& nnSeconds)
{
    std::vector<int> counts(kHistogramBins, 0);
    for (double nn : nnSeconds) {
        const double bin = std::floor(nn * kBinsPerSecond);
        if (bin >= 0.0 && bin < kHistogramBins)
            ++counts[size_t(bin)];
    }
    return counts;
}

int HRVTimeDomain::peakBin(const std::vector<int>& histogram)
{
    // max_element keeps the first of equal maxima.
    const auto it = std::max_element(histogram.begin(), histogram.end());
    return it == histogram.end() ? 0 : int(it - histogram.begin());
}

double HRVTimeDomain::triangularIndex(int nnCount, const std::vector<int>& histogram)
{
    const int x = peakBin(histogram);
    if (histogram.empty() || histogram[size_t(x)] <= 0)
        return 0.0;
    return std::floor(double(nnCount) / histogram[size_t(x)]);
}

double HRVTimeDomain::tinn(const std::vector<int>& histogram)
{
    const int bins = int(histogram.size());
    const int x = peakBin(histogram);
    if (bins == 0 || x == 0)
        return 0.0;
    const int h = histogram[size_t(x)];
    // An error of exactly 0 counts as "nothing taken yet", so the next pair replaces it; the
    // squared errors are summed in 64 bits, which a full day's histogram needs.
    std::int64_t best = 0;
    int bestN = x - 1;
    int bestM = x + 1;
    for (int n = 0; n < x; ++n) {
        for (int m = x + 1; m < bins; ++m) {
            std::int64_t error = 0;
            for (int i = 0; i < bins; ++i) {
                int qi = 0;
                if (i > n && i <= x)
                    qi = (h * (i - n)) / (x - n);
                else if (i > x && i < m)
                    qi = (h * (m - i)) / (m - x);
                const std::int64_t e = qi - histogram[size_t(i)];
                error += e * e;
            }
            if (best == 0 || error < best) {
                best = error;
                bestN = n;
                bestM = m;
            }
        }
    }
    if (best == 0)
        return 0.0;
    return std::floor((bestM - bestN) * 1000.0 * 0.0078125);
}
