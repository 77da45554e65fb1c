#include "results/afibdetector.h"

#include "analysis/labelcriteria.h"
#include "results/resultanalyzer.h"
#include "store/beat.h"
#include "store/beatlist.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr double kHalfWindow = 15.0; // seconds either side of the scored beat
constexpr int kMinBeats = 10; // usable beats (and intervals) a window needs
constexpr double kPWaveLimit = 0.4; // mean P indicator above it: sinus rhythm
constexpr double kJumpLimit = 0.8; // share of abrupt interval changes above it: ectopy
constexpr double kEnterScore = 10.0; // smoothed score that opens an episode, percent
constexpr double kStrongScore = 12.0; // an episode must pass it somewhere to count
constexpr double kMinEpisode = 10.0; // seconds
constexpr double kIrregularJoin = 10.0; // seconds between two irregular stretches that close
constexpr double kIrregularMin = 30.0; // seconds an irregular stretch must last
} // namespace

void AFibDetector::begin(BeatList& beats)
{
    m_beats = &beats;
    m_channels = std::min(ResultAnalyzer::channelCount(beats), int(Beat::kChannels));
    m_scores.assign(size_t(std::max(beats.count(), 0)), 0.0);
    m_episodes.clear();
}

void AFibDetector::addBeat(const Beat& beat)
{
    if (!m_beats || beat.index < 0 || size_t(beat.index) >= m_scores.size())
        return;
    m_scores[size_t(beat.index)] = scoreAt(*m_beats, beat, m_channels);
}

double AFibDetector::scoreAt(BeatList& beats, const Beat& beat, int channels)
{
    const double from = beat.windowStartTime() - kHalfWindow;
    const double to = from + 2.0 * kHalfWindow;
    Beat first;
    if (!beats.firstWithWindowAfter(from, first))
        return 0.0;

    // The entry found stays out of the window; it serves only as the first "previous" beat.
    Beat prev;
    bool havePrev = first.isBeat;
    if (havePrev)
        prev = first;
    else
        havePrev = beats.previousBeat(first.index, prev);

    std::vector<double> intervals;
    int count = 0;
    int jumps = 0;
    double pSum[Beat::kChannels] = { 0.0, 0.0, 0.0, 0.0 };
    Beat b;
    for (int i = first.index; beats.nextBeat(i, b) && b.windowStartTime() < to; i = b.index) {
        const double rr = b.rr();
        // V beats and the beats after them have intervals shaped by the ectopy.
        if (rr != 0.0 && b.type != BeatV && havePrev && prev.type != BeatV) {
            if (rr > 0.3 && rr < 2.0)
                intervals.push_back(rr);
            ++count;
            const double prevRR = prev.rr();
            if (rr > 0.0 && prevRR > 0.0 && (rr < prevRR * 0.8 || rr > prevRR * 1.25))
                ++jumps;
            for (int c = 0; c < channels; ++c)
                pSum[c] += std::trunc(b.channelMeasure(c, Beat::PPolarity));
        }
        prev = b;
        havePrev = true;
    }

    if (count < kMinBeats || int(intervals.size()) < kMinBeats)
        return 0.0;
    double maxP = 0.0;
    for (int c = 0; c < channels; ++c)
        maxP = std::max(maxP, std::fabs(pSum[c]));
    if (maxP / count > kPWaveLimit || double(jumps) / count > kJumpLimit)
        return 0.0;
    std::sort(intervals.begin(), intervals.end());
    const size_t n = intervals.size();
    const double q1 = intervals[n / 4];
    const double q3 = intervals[(3 * n) / 4];
    return (q3 - q1) / (q3 + q1) * 100.0;
}

std::vector<AFibDetector::Episode> AFibDetector::episodesFrom(
    const std::vector<double>& scores, const std::vector<double>& times)
{
    const int n = int(std::min(scores.size(), times.size()));
    std::vector<Episode> found;
    if (n == 0)
        return found;

    // A 10-beat moving mean, window from i - 5 to i + 4; the ends stay 0.0.
    std::vector<double> s(size_t(n), 0.0);
    for (int i = 5; i <= n - 6; ++i) {
        double sum = 0.0;
        for (int k = i - 5; k <= i + 4; ++k)
            sum += scores[size_t(k)];
        s[size_t(i)] = sum / 10.0;
    }

    bool inside = false;
    bool strong = false;
    double start = 0.0;
    for (int i = 0; i < n; ++i) {
        const double v = s[size_t(i)];
        if (!inside) {
            if (v > kEnterScore) {
                inside = true;
                strong = v > kStrongScore;
                start = times[size_t(i)];
            }
        } else if (!strong && v > kStrongScore) {
            strong = true;
        } else if (v < kEnterScore) {
            inside = false;
            if (strong)
                found.emplace_back(start, times[size_t(i)]);
        }
    }
    if (inside && strong)
        found.emplace_back(start, times[size_t(n - 1)]);

    // Close a gap under a fifth of the joined length; the grown episode may swallow more.
    if (found.size() > 1) {
        size_t a = 0;
        while (a + 1 < found.size()) {
            Episode& ea = found[a];
            const Episode& eb = found[a + 1];
            if ((eb.second - ea.first) * 0.2 > eb.first - ea.second) {
                ea.second = eb.second;
                found.erase(found.begin() + long(a + 1));
            } else {
                ++a;
            }
        }
    }

    found.erase(std::remove_if(found.begin(), found.end(),
                    [](const Episode& e) { return e.second - e.first < kMinEpisode; }),
        found.end());
    return found;
}

void AFibDetector::finish()
{
    m_episodes.clear();
    if (!m_beats)
        return;
    std::vector<double> times(m_scores.size(), 0.0);
    Beat b;
    for (size_t i = 0; i < times.size(); ++i) {
        if (m_beats->get(int(i), b))
            times[i] = b.windowStartTime();
    }
    m_episodes = m_literal ? episodesFrom(m_scores, times) : irregularEpisodes(*m_beats);
}

std::vector<AFibDetector::Episode> AFibDetector::irregularEpisodes(BeatList& beats)
{
    std::vector<double> times;
    std::vector<double> intervals;
    Beat b;
    bool prevV = true;
    for (int i = 0; i < beats.count(); ++i) {
        if (!beats.get(i, b) || !b.isBeat)
            continue;
        const bool v = b.type == BeatV;
        times.push_back(b.rInstant());
        intervals.push_back(!v && !prevV && b.rr() > 0.0 ? b.rr() : 0.0);
        prevV = v;
    }
    const std::vector<bool> flags = labelcriteria::irregularRhythm(intervals);
    std::vector<Episode> found;
    bool inside = false;
    for (size_t i = 0; i < flags.size(); ++i) {
        // An interval left out (next to a V beat) goes with the rhythm around it.
        const bool irregular = intervals[i] > 0.0 ? flags[i] : inside;
        if (irregular && !inside)
            found.emplace_back(i > 0 ? times[i - 1] : times[i], times[i]);
        if (irregular)
            found.back().second = times[i];
        inside = irregular;
    }
    std::vector<Episode> joined;
    for (const Episode& e : found) {
        if (!joined.empty() && e.first - joined.back().second < kIrregularJoin)
            joined.back().second = e.second;
        else
            joined.push_back(e);
    }
    joined.erase(std::remove_if(joined.begin(), joined.end(),
                     [](const Episode& e) { return e.second - e.first < kIrregularMin; }),
        joined.end());
    return joined;
}
