#include "analysis/labelcriteria.h"

#include <algorithm>
#include <cmath>

namespace labelcriteria {

namespace {

constexpr double kSlopeShare = 0.12; // of the steepest slope: below it the wave counts as flat
constexpr double kOnsetQuiet = 0.02; // s of flat wave before the onset
constexpr double kEndQuiet = 0.04; // s of flat wave after the end
constexpr double kOnsetSearch = 0.15; // s before R
constexpr double kEndSearch = 0.3; // s after R
constexpr double kSteepSearch = 0.06; // s around R where the steepest slope is looked for

constexpr double kFarShape = 0.6; // correlation below which no normal beat looks like this
constexpr double kDifferentShape = 0.8;
constexpr double kStrictDifferentShape = 0.7;
constexpr double kSecondNormalShare = 0.5;
constexpr double kWideQrs = 0.12; // s
constexpr double kWiderThanReference = 1.2;
constexpr double kWidestQrs = 0.4; // s
constexpr double kEctopicTiming = 0.85; // mean RR / median RR of a premature class
constexpr double kPauseShare = 1.8; // RR before + after, in median RRs

// Irregularity above this (median absolute change of RR over mean RR) at every lag of 1 to 3.
constexpr double kIrregular = 0.12;
constexpr int kWindowStep = 4; // intervals between two windows that are judged

} // namespace

double qrsWidth(const double* x, int n, int rate, int r)
{
    if (!x || n < 5 || rate <= 0 || r < 1 || r >= n - 1)
        return 0.0;
    std::vector<double> slope(size_t(n), 0.0);
    for (int k = 1; k < n - 1; ++k)
        slope[size_t(k)] = std::fabs(x[k + 1] - x[k - 1]) * 0.5;
    const int steepFrom = std::max(1, r - int(kSteepSearch * rate));
    const int steepTo = std::min(n - 2, r + int(kSteepSearch * rate));
    int steepest = steepFrom;
    for (int k = steepFrom; k <= steepTo; ++k)
        if (slope[size_t(k)] > slope[size_t(steepest)])
            steepest = k;
    const double limit = kSlopeShare * slope[size_t(steepest)];
    if (!(limit > 0.0))
        return 0.0;

    // Onset: going back from the steepest point, the first flat stretch ends where QRS begins.
    const int onsetQuiet = std::max(1, int(kOnsetQuiet * rate + 0.5));
    const int first = std::max(1, r - int(kOnsetSearch * rate));
    int onset = first;
    int quiet = 0;
    for (int k = steepest; k >= first; --k) {
        quiet = slope[size_t(k)] < limit ? quiet + 1 : 0;
        if (quiet >= onsetQuiet) {
            onset = k + quiet;
            break;
        }
    }
    // End: going on from the steepest point until the wave has been flat for a while.
    const int endQuiet = std::max(1, int(kEndQuiet * rate + 0.5));
    const int last = std::min(n - 2, r + int(kEndSearch * rate));
    int end = last;
    quiet = 0;
    for (int k = steepest; k <= last; ++k) {
        quiet = slope[size_t(k)] < limit ? quiet + 1 : 0;
        if (quiet >= endQuiet) {
            end = k - quiet + 1;
            break;
        }
    }
    return end > onset ? double(end - onset) / rate : 0.0;
}

bool ventricularShape(const ShapeComparison& s)
{
    if (s.leads == 0 || s.width > kWidestQrs)
        return false;
    const bool wider = s.width >= kWiderThanReference * s.referenceWidth;
    const bool wide = s.width >= kWideQrs && wider;
    // A class that looked normal when it was formed needs the stronger evidence.
    if (s.strict)
        return s.share < kSecondNormalShare
            && ((s.minCorrelation < kStrictDifferentShape && wide)
                || (s.minCorrelation < kFarShape && s.discordantT));
    if (s.minCorrelation < kDifferentShape && wide)
        return true;
    const bool early = s.meanRrRatio > 0.0 && s.meanRrRatio < kEctopicTiming;
    return s.minCorrelation < kFarShape && (early || wider);
}

bool premature(double rr, double medianRr, double ratio)
{
    return rr > 0.0 && medianRr > 0.0 && rr < ratio * medianRr;
}

bool compensatoryPause(double rr, double nextRr, double medianRr)
{
    return rr > 0.0 && nextRr > 0.0 && medianRr > 0.0 && rr + nextRr >= kPauseShare * medianRr;
}

std::vector<bool> irregularRhythm(const std::vector<double>& rr, int window)
{
    std::vector<bool> flags(rr.size(), false);
    std::vector<double> v; // the usable intervals
    std::vector<size_t> at; // and where they stand
    for (size_t i = 0; i < rr.size(); ++i)
        if (rr[i] > 0.0) {
            v.push_back(rr[i]);
            at.push_back(i);
        }
    const int m = int(v.size());
    const int span = std::max(8, window);
    if (m < span + 3)
        return flags;
    // Whether the window of `span` intervals from each start is irregular: the median change,
    // so that a few ectopic beats in a regular rhythm don't count, at lags 1 to 3, so that
    // bigeminy and trigeminy, which repeat, don't either.
    std::vector<double> part(static_cast<size_t>(span));
    std::vector<char> irregularFrom(size_t(m), 0);
    // Windows start every kWindowStep intervals; one between takes the verdict of the nearest.
    for (int from = 3; from + span <= m; from += kWindowStep) {
        double mean = 0.0;
        for (int j = from; j < from + span; ++j)
            mean += v[size_t(j)];
        mean /= span;
        bool irregular = mean > 0.0;
        for (int lag = 1; lag <= 3 && irregular; ++lag) {
            for (int j = 0; j < span; ++j)
                part[size_t(j)] = std::fabs(v[size_t(from + j)] - v[size_t(from + j - lag)]);
            std::nth_element(part.begin(), part.begin() + span / 2, part.end());
            irregular = part[size_t(span / 2)] / mean > kIrregular;
        }
        irregularFrom[size_t(from)] = irregular;
    }
    // An interval takes the verdict of the window centred on it (near the ends, of the first or
    // last window).
    const int lastFrom = m - span;
    for (int k = 0; k < m; ++k) {
        const int from = std::clamp(k - span / 2, 3, lastFrom);
        const int computed = std::min(3 + (from - 3 + kWindowStep / 2) / kWindowStep * kWindowStep,
            3 + (lastFrom - 3) / kWindowStep * kWindowStep);
        flags[at[size_t(k)]] = irregularFrom[size_t(computed)];
    }
    return flags;
}

} // namespace labelcriteria
