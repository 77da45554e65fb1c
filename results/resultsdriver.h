#pragma once

#include "results/analysisparams.h"
#include "results/resultanalyzer.h"
#include "store/progresssink.h"

#include <QByteArray>
#include <QList>

#include <map>
#include <memory>
#include <vector>

class AverageBeatDelineator;
class BeatList;
class RecentBeatWindow;
class ResultSet;
class Study;
class StudyEventList;

// Runs the analyzers over a beat list: every valid beat to every analyzer in byte order of the
// analyzer names, and every 20 seconds the average of the recent beats, delineated per channel.
// The results then move into a study's result set under "analyzer/result".
class ResultsDriver
{
public:
    using AnalyzerMap = std::map<QByteArray, std::unique_ptr<ResultAnalyzer>>;

    static constexpr int kStepBeats = 1000;
    static constexpr double kAverageSeconds = 20.0;

    // Builds the standard analyzers on the first begin().
    ResultsDriver();
    // Uses exactly these analyzers (tools and tests); begin() builds none.
    explicit ResultsDriver(AnalyzerMap analyzers);
    ResultsDriver(const ResultsDriver&) = delete;
    ResultsDriver& operator=(const ResultsDriver&) = delete;
    ~ResultsDriver();

    AnalysisParams& params() { return m_params; }
    const AnalysisParams& params() const { return m_params; }

    // `beats` is not owned and must outlive the run. `withAfib` adds the AF analyzer when the
    // standard analyzers are built.
    void begin(BeatList& beats, bool withAfib);
    // Up to kStepBeats list entries; does nothing at the end of the list or before begin().
    void step();
    bool atEnd() const;
    int nextBeat() const { return m_nextBeat; }
    int beatCount() const;
    void finish();
    // begin, steps with progress after each (position and total in beats), finish. A cancel is
    // seen between steps: the run then stops unfinished and returns false, and its results must
    // not be moved anywhere.
    bool run(BeatList& beats, bool withAfib, ProgressSink* progress = nullptr,
        const CancelFlag* cancel = nullptr);

    // Moves every analyzer's results into `results` as "name/result". A key already there is
    // replaced only with `overwrite`. Returns the number of keys stored.
    int moveResults(ResultSet& results, bool overwrite);

    const AnalyzerMap& analyzers() const { return m_analyzers; }
    // The thirteen standard analyzers (twelve without AF), configured from `params`.
    static AnalyzerMap makeAnalyzers(const AnalysisParams& params, bool withAfib);

    // The keys a reviewed study must hold; channel keys for channel 0.
    static const QList<QByteArray>& requiredKeys();
    static bool needsResults(const ResultSet& results);
    // The two automatic marks at the slowest and fastest heart rate, each only when its rate
    // is above 0: 5 s long, printed, "Minimum HR (%1 bpm)" / "Maximum HR (%1 bpm)".
    static void addHeartRateMarks(const ResultSet& results, StudyEventList& events);

private:
    void averageBeat(double time);

    AnalysisParams m_params;
    AnalyzerMap m_analyzers;
    bool m_buildAnalyzers;
    BeatList* m_beats = nullptr; // not owned
    int m_nextBeat = 0;
    double m_lastAverageTime = 0.0;
    std::unique_ptr<RecentBeatWindow> m_accumulator;
    std::vector<std::unique_ptr<AverageBeatDelineator>> m_delineators;
    std::vector<AverageBeatDelineator*> m_delineatorPointers;
};

// What the review window does on opening a study, without a window: when a required result is
// missing (or always, with `recompute`, replacing what is stored) runs the driver over the
// study's beats with the AF analyzer, and adds the heart-rate marks the first time, that is
// when "HR/minBPM" was missing. Returns whether results were computed and stored; false also
// after a cancel, which leaves the study's results as they were.
bool computeStudyResults(Study& study, const AnalysisParams& params, bool recompute,
    ProgressSink* progress = nullptr, const CancelFlag* cancel = nullptr);
