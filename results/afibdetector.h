#pragma once

#include <utility>
#include <vector>

class BeatList;
struct Beat;

// Atrial fibrillation from the irregularity of RR intervals: each beat is scored by the
// quartile coefficient of dispersion (percent) of the intervals in the 30 s around it, unless
// a consistent P wave or a run of abrupt jumps (ectopy, not fibrillation) argues against it;
// the smoothed scores then make episodes with a hysteresis between 10 and 12 percent. Unless the
// literal rule is asked for, the episodes come instead from irregularEpisodes().
class AFibDetector
{
public:
    using Episode = std::pair<double, double>; // start, end in seconds

    explicit AFibDetector(bool literal = false)
        : m_literal(literal)
    {
    }

    // Takes the list (not owned) and sets one score of 0.0 per entry.
    void begin(BeatList& beats);
    // Scores one valid beat from its surroundings in the list; the order of calls is free.
    void addBeat(const Beat& beat);
    // Builds the episodes from the scores.
    void finish();

    // The score of a beat from the beats around it (0.0 when the window is too thin).
    static double scoreAt(BeatList& beats, const Beat& beat, int channels);
    // Episodes from per-entry scores and times: smoothing, hysteresis, merging of close
    // episodes and removal of those under 10 s. `times` is as long as `scores`.
    static std::vector<Episode> episodesFrom(
        const std::vector<double>& scores, const std::vector<double>& times);
    // Episodes where the intervals between beats that are not V, nor follow one, vary like
    // fibrillation (labelcriteria::irregularRhythm), joined across gaps under 10 s and kept
    // from 30 s on.
    static std::vector<Episode> irregularEpisodes(BeatList& beats);

    const std::vector<double>& scores() const { return m_scores; }
    const std::vector<Episode>& episodes() const { return m_episodes; }

private:
    bool m_literal = false;
    BeatList* m_beats = nullptr; // not owned
    int m_channels = 0;
    std::vector<double> m_scores;
    std::vector<Episode> m_episodes;
};
