#pragma once

#include <vector>

class BeatList;
struct Beat;

// Finds stretches where detection is not to be trusted, from the rhythm of the beats alone, and
// turns their beats into noise; later removes runs of beats whose morphology occurs nowhere
// else. Only `isBeat` and RR (timing[1]) are ever changed; no samples are read.
class NoiseChecker
{
public:
    NoiseChecker() = default;
    explicit NoiseChecker(BeatList& list) { init(list); }

    // Starts over on `list` (not owned): one zeroed noise index per entry.
    void init(BeatList& list);
    // Scores up to 100 entries from `index` on.
    void step();
    // Smooths the scores and marks the noisy stretches; also valid after a partial run.
    void finish();

    // Stage after classification: runs of three or more one-member U classes, broken only by
    // noise entries, become noise.
    static void removeAdditionalNoise(BeatList& list);

    BeatList* beats = nullptr; // not owned
    int index = 0; // next entry to score
    std::vector<double> noiseIndex; // per entry: noise share x RR coefficient of variation

    static constexpr int kBatch = 100;
    static constexpr double kHalfWindow = 5.0; // seconds either side of an entry
    static constexpr double kMaxRr = 2.0; // seconds; longer RR don't count
    static constexpr double kOpen = 0.09; // smoothed index above which a stretch opens
    static constexpr double kConfirm = 0.11; // ... and which it must exceed to count

private:
    double score(const Beat& entry, const Beat& first);
    static void treatRun(BeatList& list, const std::vector<int>& run);
};
