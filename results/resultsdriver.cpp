#include "results/resultsdriver.h"

#include "analysis/averagebeatdelineator.h"
#include "analysis/recentbeatwindow.h"
#include "results/afibanalyzer.h"
#include "results/arrhythmiaanalyzer.h"
#include "results/beatcountanalyzer.h"
#include "results/bigeminyanalyzer.h"
#include "results/ectopyanalyzer.h"
#include "results/heartrateanalyzer.h"
#include "results/hrvanalyzer.h"
#include "store/resultset.h"
#include "results/pauseanalyzer.h"
#include "results/pranalyzer.h"
#include "results/qtanalyzer.h"
#include "results/stanalyzer.h"
#include "results/trigeminyanalyzer.h"
#include "store/beatlist.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "store/studyevent.h"

#include <QString>

#include <algorithm>
#include <cmath>

ResultsDriver::ResultsDriver()
    : m_buildAnalyzers(true)
{
}

ResultsDriver::ResultsDriver(AnalyzerMap analyzers)
    : m_analyzers(std::move(analyzers))
    , m_buildAnalyzers(false)
{
}

ResultsDriver::~ResultsDriver() = default;

void ResultsDriver::addObserver(Observer* observer)
{
    if (observer
        && std::find(m_observers.begin(), m_observers.end(), observer) == m_observers.end())
        m_observers.push_back(observer);
}

void ResultsDriver::removeObserver(Observer* observer)
{
    m_observers.erase(
        std::remove(m_observers.begin(), m_observers.end(), observer), m_observers.end());
}

ResultsDriver::AnalyzerMap ResultsDriver::makeAnalyzers(const AnalysisParams& params, bool withAfib)
{
    AnalyzerMap map;
    map["HR"] = std::make_unique<HeartRateAnalyzer>();
    map["count"] = std::make_unique<BeatCountAnalyzer>();
    map["PVC"] = std::make_unique<EctopyAnalyzer>(BeatV);
    map["SVPB"] = std::make_unique<EctopyAnalyzer>(BeatS);
    map["bigeminy"] = std::make_unique<BigeminyAnalyzer>();
    map["trigeminy"] = std::make_unique<TrigeminyAnalyzer>();
    map["pause"] = std::make_unique<PauseAnalyzer>(params.value("pause/intervalSecs"));
    // The rate limits are whole bpm.
    map["arrhythmia"]
        = std::make_unique<ArrhythmiaAnalyzer>(int(params.value("arrhythmia/bradycardiaBPMLimit")),
            int(params.value("arrhythmia/tachycardiaBPMLimit")),
            params.value("arrhythmia/minDurationSecs"));
    if (withAfib)
        map["afib"] = std::make_unique<AFibAnalyzer>();
    map["PR"] = std::make_unique<PRAnalyzer>();
    map["QT"] = std::make_unique<QTAnalyzer>(int(params.value("QT/correctionFormulaId")));
    map["ST"] = std::make_unique<STAnalyzer>(
        params.value("ST/depressionThresholdMM"), params.value("ST/elevationThresholdMM"));
    map["HRV"] = std::make_unique<HRVAnalyzer>();
    return map;
}

void ResultsDriver::begin(BeatList& beats, bool withAfib)
{
    if (m_buildAnalyzers && m_analyzers.empty())
        m_analyzers = makeAnalyzers(m_params, withAfib);
    m_beats = &beats;
    for (auto& entry : m_analyzers)
        entry.second->beginRecording(beats);
    m_nextBeat = 0;
    m_lastAverageTime = 0.0;
    for (Observer* o : m_observers)
        o->resultsProgress(m_nextBeat);

    // The averages are taken from the recorded signal itself, at its own rate, so the interval
    // and ST measures see the ECG as stored.
    SignalSource* signal = beats.signalSource();
    m_accumulator = std::make_unique<RecentBeatWindow>(kAverageSeconds, true, signal);
    m_delineators.clear();
    m_delineatorPointers.clear();
    const int channels = signal ? signal->channelCount() : 0;
    for (int c = 0; c < channels; ++c) {
        m_delineators.push_back(std::make_unique<AverageBeatDelineator>());
        m_delineatorPointers.push_back(m_delineators.back().get());
    }
}

int ResultsDriver::beatCount() const
{
    return m_beats ? m_beats->count() : 0;
}

bool ResultsDriver::atEnd() const
{
    return !m_beats || m_nextBeat >= m_beats->count();
}

void ResultsDriver::step()
{
    if (!m_beats)
        return;
    const int end = std::min(m_beats->count(), m_nextBeat + kStepBeats);
    Beat beat;
    for (; m_nextBeat < end; ++m_nextBeat) {
        if (!m_beats->get(m_nextBeat, beat) || !beat.isBeat)
            continue;
        for (auto& entry : m_analyzers)
            entry.second->addBeat(beat);
        if (!m_accumulator)
            continue;
        m_accumulator->push(beat);
        if (beat.time() - m_lastAverageTime > kAverageSeconds) {
            averageBeat(beat.time());
            m_lastAverageTime = beat.time();
        }
    }
    for (Observer* o : m_observers)
        o->resultsProgress(m_nextBeat);
}

void ResultsDriver::averageBeat(double time)
{
    SignalSource* signal = m_accumulator->source();
    const int rate = signal ? signal->samplingRate() : 0;
    for (size_t c = 0; c < m_delineators.size(); ++c) {
        const std::vector<double>& wave = m_accumulator->average(int(c));
        const int rrSamples = int(rate * m_accumulator->averageRR());
        if (wave.empty()) {
            // No average yet: measure a flat beat, so every field reads "not found".
            const std::vector<double> flat(size_t(std::max(0, m_accumulator->length())), 0.0);
            m_delineators[c]->measure(
                flat.data(), int(flat.size()), rate, m_accumulator->peakPosition(), rrSamples);
        } else {
            m_delineators[c]->measure(
                wave.data(), int(wave.size()), rate, m_accumulator->peakPosition(), rrSamples);
        }
    }
    for (auto& entry : m_analyzers)
        entry.second->addAverageBeat(time, *m_accumulator, m_delineatorPointers);
}

void ResultsDriver::finish()
{
    for (auto& entry : m_analyzers)
        entry.second->finishRecording();
    for (Observer* o : m_observers)
        o->resultsFinished();
    m_accumulator.reset();
}

void ResultsDriver::run(BeatList& beats, bool withAfib, const Progress& progress)
{
    begin(beats, withAfib);
    while (!atEnd()) {
        step();
        if (progress)
            progress(m_nextBeat, beatCount());
    }
    finish();
}

int ResultsDriver::moveResults(ResultSet& results, bool overwrite)
{
    int stored = 0;
    for (auto& entry : m_analyzers) {
        ResultAnalyzer::ResultMap taken = entry.second->takeResults();
        for (auto& r : taken) {
            const QByteArray key = entry.first + '/' + r.first;
            if (!overwrite && results.find(key))
                continue; // what is stored (and maybe edited by hand) stays
            results.insert(key, std::move(r.second));
            ++stored;
        }
    }
    return stored;
}

const QList<QByteArray>& ResultsDriver::requiredKeys()
{
    static const QList<QByteArray> keys = {
        "HR/BPMTrend",
        "HR/minBPM",
        "HR/maxBPM",
        "HR/avgBPMPerHour",
        "HR/minBPMPerHour",
        "HR/maxBPMPerHour",
        "count/totalCountN",
        "count/totalCountV",
        "count/totalCountF",
        "count/totalCountS",
        "count/totalCountU",
        "PVC/totalCount",
        "PVC/totalCountPerHour",
        "PVC/totalCountPerMinute",
        "PVC/coupletEvents",
        "PVC/coupletCount",
        "PVC/coupletCountPerHour",
        "PVC/tripletEvents",
        "PVC/tripletCount",
        "PVC/tripletCountPerHour",
        "PVC/runEvents",
        "PVC/runCount",
        "PVC/runCountPerHour",
        "SVPB/totalCount",
        "SVPB/totalCountPerHour",
        "SVPB/totalCountPerMinute",
        "SVPB/coupletEvents",
        "SVPB/coupletCount",
        "SVPB/coupletCountPerHour",
        "SVPB/tripletEvents",
        "SVPB/tripletCount",
        "SVPB/tripletCountPerHour",
        "SVPB/runEvents",
        "SVPB/runCount",
        "SVPB/runCountPerHour",
        "bigeminy/bigeminyEvents",
        "bigeminy/bigeminyCount",
        "bigeminy/bigeminyCountPerHour",
        "trigeminy/trigeminyEvents",
        "trigeminy/trigeminyCount",
        "trigeminy/trigeminyCountPerHour",
        "arrhythmia/tachycardiaEvents",
        "arrhythmia/totalTachyCount",
        "arrhythmia/tachyCountPerHour",
        "arrhythmia/bradycardiaEvents",
        "arrhythmia/totalBradyCount",
        "arrhythmia/bradyCountPerHour",
        "pause/pauseEvents",
        "pause/pauseCount",
        "pause/pauseCountPerHour",
        "PR/PRTrend(0)",
        "PR/PRIntervalAvg(0)",
        "QT/QTTrend(0)",
        "QT/QTcTrend(0)",
        "QT/RRIntervalAvg",
        "QT/QTIntervalAvg(0)",
        "QT/QTcIntervalAvg(0)",
        "QT/QRSIntervalAvg(0)",
        "ST/STLevelTrend(0)",
        "ST/STLevelAvg(0)",
        "HRV/AVGNN",
        "HRV/SDNN",
        "HRV/SDNNIndex",
        "HRV/SDANNIndex",
        "HRV/RMSSD",
        "HRV/PNN50",
        "HRV/TINNIndex",
        "HRV/HRVIndex",
        "HRV/AVGNNPerHour",
        "HRV/SDNNPerHour",
        "HRV/RMSSDPerHour",
        "HRV/PNN50PerHour",
        "HRV/totalPower",
        "HRV/ULFPower",
        "HRV/VLFPower",
        "HRV/LFPower",
        "HRV/HFPower",
        "HRV/LFNorm",
        "HRV/HFNorm",
        "HRV/LFHFRatio",
        "HRV/ULFPowerPerHour",
        "HRV/VLFPowerPerHour",
        "HRV/LFPowerPerHour",
        "HRV/HFPowerPerHour",
        "HRV/NNHistogram",
        "HRV/LorenzX",
        "HRV/LorenzY",
        "HRV/LorenzZ",
        "HRV/PSD",
        "afib/afibEvents",
        "afib/afibTotalTime",
    };
    return keys;
}

bool ResultsDriver::needsResults(const ResultSet& results)
{
    for (const QByteArray& key : requiredKeys()) {
        if (!results.find(key))
            return true;
    }
    return false;
}

void ResultsDriver::addHeartRateMarks(const ResultSet& results, StudyEventList& events)
{
    const struct
    {
        const char* key;
        const char* text;
    } marks[] = { { "HR/minBPM", "Minimum HR (%1 bpm)" }, { "HR/maxBPM", "Maximum HR (%1 bpm)" } };
    for (const auto& m : marks) {
        const EventResult* r = results.findAs<EventResult>(m.key);
        if (!r || !(r->value > 0.0))
            continue;
        StudyEvent& e = events.add();
        e.position = r->timestamp;
        e.duration = 5.0;
        e.description = QString(m.text).arg(int(r->value)).toUtf8();
        e.print = true;
    }
}

bool computeStudyResults(Study& study, const AnalysisParams& params, bool recompute,
    const ResultsDriver::Progress& progress)
{
    if (!study.beats())
        return false;
    if (!recompute && !ResultsDriver::needsResults(study.results()))
        return false;
    const bool firstTime = !study.results().find("HR/minBPM");
    ResultsDriver driver;
    driver.params() = params;
    driver.run(*study.beats(), true, progress);
    driver.moveResults(study.results(), recompute);
    if (firstTime)
        ResultsDriver::addHeartRateMarks(study.results(), study.events());
    return true;
}
