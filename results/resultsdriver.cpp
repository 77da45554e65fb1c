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
#include "results/pauseanalyzer.h"
#include "results/pranalyzer.h"
#include "results/qtanalyzer.h"
#include "results/stanalyzer.h"
#include "results/trigeminyanalyzer.h"
#include "store/beatlist.h"
#include "store/resultkeys.h"
#include "store/resultset.h"
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

ResultsDriver::AnalyzerMap ResultsDriver::makeAnalyzers(const AnalysisParams& params, bool withAfib)
{
    AnalyzerMap map;
    map[ResultKeys::HeartRate::kAnalyzer] = std::make_unique<HeartRateAnalyzer>();
    map[ResultKeys::BeatCount::kAnalyzer] = std::make_unique<BeatCountAnalyzer>();
    map[ResultKeys::kPvc.analyzer] = std::make_unique<EctopyAnalyzer>(BeatV);
    map[ResultKeys::kSvpb.analyzer] = std::make_unique<EctopyAnalyzer>(BeatS);
    map[ResultKeys::Bigeminy::kAnalyzer] = std::make_unique<BigeminyAnalyzer>();
    map[ResultKeys::Trigeminy::kAnalyzer] = std::make_unique<TrigeminyAnalyzer>();
    map[ResultKeys::Pause::kAnalyzer]
        = std::make_unique<PauseAnalyzer>(params.value("pause/intervalSecs"));
    // The rate limits are whole bpm.
    map[ResultKeys::Arrhythmia::kAnalyzer]
        = std::make_unique<ArrhythmiaAnalyzer>(int(params.value("arrhythmia/bradycardiaBPMLimit")),
            int(params.value("arrhythmia/tachycardiaBPMLimit")),
            params.value("arrhythmia/minDurationSecs"));
    if (withAfib)
        map[ResultKeys::AFib::kAnalyzer]
            = std::make_unique<AFibAnalyzer>(params.value("rules/literal") != 0.0);
    map[ResultKeys::PR::kAnalyzer] = std::make_unique<PRAnalyzer>();
    map[ResultKeys::QT::kAnalyzer]
        = std::make_unique<QTAnalyzer>(int(params.value("QT/correctionFormulaId")));
    map[ResultKeys::ST::kAnalyzer] = std::make_unique<STAnalyzer>(
        params.value("ST/depressionThresholdMM"), params.value("ST/elevationThresholdMM"));
    map[ResultKeys::HRV::kAnalyzer] = std::make_unique<HRVAnalyzer>();
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
        if (beat.windowStartTime() - m_lastAverageTime > kAverageSeconds) {
            averageBeat(beat.windowStartTime());
            m_lastAverageTime = beat.windowStartTime();
        }
    }
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
    m_accumulator.reset();
}

bool ResultsDriver::run(
    BeatList& beats, bool withAfib, ProgressSink* progress, const CancelFlag* cancel)
{
    begin(beats, withAfib);
    while (!atEnd()) {
        if (isCancelled(cancel)) {
            m_accumulator.reset();
            return false;
        }
        step();
        if (progress)
            progress->progress(m_nextBeat, beatCount());
    }
    finish();
    return true;
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
        ResultKeys::HeartRate::kBpmTrend,
        ResultKeys::HeartRate::kMinBpm,
        ResultKeys::HeartRate::kMaxBpm,
        ResultKeys::HeartRate::kAvgBpmPerHour,
        ResultKeys::HeartRate::kMinBpmPerHour,
        ResultKeys::HeartRate::kMaxBpmPerHour,
        ResultKeys::BeatCount::kTotalCountN,
        ResultKeys::BeatCount::kTotalCountV,
        ResultKeys::BeatCount::kTotalCountF,
        ResultKeys::BeatCount::kTotalCountS,
        ResultKeys::BeatCount::kTotalCountU,
        ResultKeys::kPvc.totalCount,
        ResultKeys::kPvc.totalCountPerHour,
        ResultKeys::kPvc.totalCountPerMinute,
        ResultKeys::kPvc.coupletEvents,
        ResultKeys::kPvc.coupletCount,
        ResultKeys::kPvc.coupletCountPerHour,
        ResultKeys::kPvc.tripletEvents,
        ResultKeys::kPvc.tripletCount,
        ResultKeys::kPvc.tripletCountPerHour,
        ResultKeys::kPvc.runEvents,
        ResultKeys::kPvc.runCount,
        ResultKeys::kPvc.runCountPerHour,
        ResultKeys::kSvpb.totalCount,
        ResultKeys::kSvpb.totalCountPerHour,
        ResultKeys::kSvpb.totalCountPerMinute,
        ResultKeys::kSvpb.coupletEvents,
        ResultKeys::kSvpb.coupletCount,
        ResultKeys::kSvpb.coupletCountPerHour,
        ResultKeys::kSvpb.tripletEvents,
        ResultKeys::kSvpb.tripletCount,
        ResultKeys::kSvpb.tripletCountPerHour,
        ResultKeys::kSvpb.runEvents,
        ResultKeys::kSvpb.runCount,
        ResultKeys::kSvpb.runCountPerHour,
        ResultKeys::Bigeminy::kEvents,
        ResultKeys::Bigeminy::kCount,
        ResultKeys::Bigeminy::kCountPerHour,
        ResultKeys::Trigeminy::kEvents,
        ResultKeys::Trigeminy::kCount,
        ResultKeys::Trigeminy::kCountPerHour,
        ResultKeys::Arrhythmia::kTachycardiaEvents,
        ResultKeys::Arrhythmia::kTotalTachyCount,
        ResultKeys::Arrhythmia::kTachyCountPerHour,
        ResultKeys::Arrhythmia::kBradycardiaEvents,
        ResultKeys::Arrhythmia::kTotalBradyCount,
        ResultKeys::Arrhythmia::kBradyCountPerHour,
        ResultKeys::Pause::kEvents,
        ResultKeys::Pause::kCount,
        ResultKeys::Pause::kCountPerHour,
        ResultKeys::channelKey(ResultKeys::PR::kPRTrend, 0),
        ResultKeys::channelKey(ResultKeys::PR::kPRIntervalAvg, 0),
        ResultKeys::channelKey(ResultKeys::QT::kQTTrend, 0),
        ResultKeys::channelKey(ResultKeys::QT::kQTcTrend, 0),
        ResultKeys::QT::kRRIntervalAvg,
        ResultKeys::channelKey(ResultKeys::QT::kQTIntervalAvg, 0),
        ResultKeys::channelKey(ResultKeys::QT::kQTcIntervalAvg, 0),
        ResultKeys::channelKey(ResultKeys::QT::kQRSIntervalAvg, 0),
        ResultKeys::channelKey(ResultKeys::ST::kLevelTrend, 0),
        ResultKeys::channelKey(ResultKeys::ST::kLevelAvg, 0),
        ResultKeys::HRV::kAVGNN,
        ResultKeys::HRV::kSDNN,
        ResultKeys::HRV::kSDNNIndex,
        ResultKeys::HRV::kSDANNIndex,
        ResultKeys::HRV::kRMSSD,
        ResultKeys::HRV::kPNN50,
        ResultKeys::HRV::kTINNIndex,
        ResultKeys::HRV::kHRVIndex,
        ResultKeys::HRV::kAVGNNPerHour,
        ResultKeys::HRV::kSDNNPerHour,
        ResultKeys::HRV::kRMSSDPerHour,
        ResultKeys::HRV::kPNN50PerHour,
        ResultKeys::HRV::kTotalPower,
        ResultKeys::HRV::kULFPower,
        ResultKeys::HRV::kVLFPower,
        ResultKeys::HRV::kLFPower,
        ResultKeys::HRV::kHFPower,
        ResultKeys::HRV::kLFNorm,
        ResultKeys::HRV::kHFNorm,
        ResultKeys::HRV::kLFHFRatio,
        ResultKeys::HRV::kULFPowerPerHour,
        ResultKeys::HRV::kVLFPowerPerHour,
        ResultKeys::HRV::kLFPowerPerHour,
        ResultKeys::HRV::kHFPowerPerHour,
        ResultKeys::HRV::kNNHistogram,
        ResultKeys::HRV::kLorenzX,
        ResultKeys::HRV::kLorenzY,
        ResultKeys::HRV::kLorenzZ,
        ResultKeys::HRV::kPSD,
        ResultKeys::AFib::kEvents,
        ResultKeys::AFib::kTotalTime,
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
    } marks[] = { { ResultKeys::HeartRate::kMinBpm, "Minimum HR (%1 bpm)" },
        { ResultKeys::HeartRate::kMaxBpm, "Maximum HR (%1 bpm)" } };
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
    ProgressSink* progress, const CancelFlag* cancel)
{
    if (!study.beats())
        return false;
    if (!recompute && !ResultsDriver::needsResults(study.results()))
        return false;
    const bool firstTime = !study.results().find(ResultKeys::HeartRate::kMinBpm);
    ResultsDriver driver;
    driver.params() = params;
    if (!driver.run(*study.beats(), true, progress, cancel))
        return false;
    driver.moveResults(study.results(), recompute);
    if (firstTime)
        ResultsDriver::addHeartRateMarks(study.results(), study.events());
    return true;
}
