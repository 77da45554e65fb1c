#pragma once

#include "results/analysisparams.h"
#include "results/resultanalyzer.h"

#include <QByteArray>
#include <QList>

#include <functional>
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
    // position and total in beats
    using Progress = std::function<void(int position, int total)>;

    static constexpr int kStepBeats = 1000;
    static constexpr double kAverageSeconds = 20.0;

    // Told at begin and after every step with the next beat to do, and once at the end.
    class Observer
    {
    public:
        virtual ~Observer() = default;
        virtual void resultsProgress(int nextBeat) = 0;
        virtual void resultsFinished() { }
    };

    // Builds the standard analyzers on the first begin().
    ResultsDriver();
    // Uses exactly these analyzers (tools and tests); begin() builds none.
    explicit ResultsDriver(AnalyzerMap analyzers);
    ResultsDriver(const ResultsDriver&) = delete;
    ResultsDriver& operator=(const ResultsDriver&) = delete;
    ~ResultsDriver();

    AnalysisParams& params() { return m_params; }
    const AnalysisParams& params() const { return m_params; }
    void addObserver(Observer* observer); // not owned
    void removeObserver(Observer* observer);

    // `beats` is not owned and must outlive the run. `withAfib` adds the AF analyzer when the
    // standard analyzers are built.
    void begin(BeatList& beats, bool withAfib);
    // Up to kStepBeats list entries; does nothing at the end of the list or before begin().
    void step();
    bool atEnd() const;
    int nextBeat() const { return m_nextBeat; }
    int beatCount() const;
    void finish();
    // begin, steps with progress after each, finish.
    void run(BeatList& beats, bool withAfib, const Progress& progress = Progress());

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
    std::vector<Observer*> m_observers; // not owned
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
// when "HR/minBPM" was missing. Returns whether the analyzers ran.
bool computeStudyResults(Study& study, const AnalysisParams& params, bool recompute,
    const ResultsDriver::Progress& progress = ResultsDriver::Progress());
