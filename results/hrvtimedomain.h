#pragma once

#include <QVector>

#include <utility>
#include <vector>

class TTrend;

// Time-domain heart-rate-variability measures on NN series held as trends of
// (beat time in seconds, value in seconds). Follows the Task Force of the ESC and NASPE,
// "Heart rate variability: standards of measurement" (1996), with this system's own range and
// triangle-fit rules.
class HRVTimeDomain
{
public:
    static constexpr int kHistogramBins = 384; // of 1/128 s: 0 to 3 s
    static constexpr double kBinsPerSecond = 128.0;
    static constexpr double kPnnLimitSeconds = 0.05; // pNN50

    // Indices of the first point with time strictly above `from` and one past the last point
    // with time strictly below `to`; first >= last when the range is empty.
    static std::pair<int, int> range(const QVector<double>& times, double from, double to);

    // Mean and population deviation of the values in the range, in ms; (0, 0) with fewer
    // than 2 points.
    static std::pair<double, double> meanAndDeviation(const TTrend& nn, double from, double to);
    // RMSSD in ms and the percentage of differences strictly above 50 ms, over the successive
    // differences in the range; (0, 0) with fewer than 2 points.
    static std::pair<double, double> rmssdAndPnn50(
        const TTrend& differences, double from, double to);

    // Counts of the NN values (seconds) in bins of 1/128 s; values outside 0 to 3 s are left
    // out.
    static std::vector<int> histogram(const QVector<double>& nnSeconds);
    // The first bin holding the largest count (0 for an all-zero histogram).
    static int peakBin(const std::vector<int>& histogram);
    // The HRV triangular index: NN count over the height of the histogram; 0 when empty.
    static double triangularIndex(int nnCount, const std::vector<int>& histogram);
    // TINN in ms: the base of the triangle, fitted by trying every pair of ends around the
    // peak in integer arithmetic; 0 when no fit was taken.
    static double tinn(const std::vector<int>& histogram);
};
