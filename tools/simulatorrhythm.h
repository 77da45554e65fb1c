#pragma once

#include "recorder/wfdbannotation.h"
#include "tools/simulatorrandom.h"
#include "tools/simulatorschedule.h"

#include <QMap>
#include <QVector>

#include <deque>

enum class SimBeatType { Normal, Ventricular, Supraventricular, Fusion, BlockedP };

// One heartbeat to draw. `time` lies exactly on a sample, so the R peak drawn there and the
// annotation agree.
struct SimBeat
{
    double time = 0.0; // seconds of the R peak (of the P wave for BlockedP)
    qint64 sample = 0; // at 500 Hz
    SimBeatType type = SimBeatType::Normal;
    int focus = 0; // PVC morphology
    double cycle = 1.0; // sinus cycle length in force, seconds: scales QT
    double pr = 0.16; // P peak before R, seconds; 0 for no P wave
    bool alteredP = false; // ectopic atrial focus
    double amplitude = 1.0; // beat-to-beat factor
};

// Generates beats in time order from a schedule: a sinus rhythm with a day/night trend,
// respiratory sinus arrhythmia and low-frequency variability, broken by the scheduled ectopy and
// rhythm episodes. Keeps the WFDB truth (beats and rhythm changes) and counts as it goes.
class RhythmGenerator
{
public:
    static constexpr int kRate = 500;

    RhythmGenerator(const SimulatorScript& script, const SimSchedule& schedule, std::uint64_t seed);

    SimBeat next();

    // Beat annotations (MIT codes N 1, V 5, A 8, F 6) and rhythm changes (28 with aux).
    const QVector<WfdbAnnotation>& annotations() const { return m_annotations; }
    // Happenings as they came out: couplets, triplets, pauses with their real times.
    const QVector<SimEvent>& realized() const { return m_realized; }
    // "pvc", "svpb", "fusion", "couplet", "triplet", "pause", "dropped" and beat types.
    const QMap<QString, int>& counts() const { return m_counts; }

    // Mean sinus rate at `t` seconds from the day/night trend alone, bpm.
    double trendRate(double t) const;

private:
    void step();
    void stepEpisode();
    void enterEpisode(const SimEvent& e);
    void leaveEpisode();
    void applyInstant(const SimEvent& e);
    void emitBeat(
        double t, SimBeatType type, int focus = 0, double pr = 0.16, bool alteredP = false);
    void emitSinus(double t);
    double sinusRR(double t) const;
    void rhythmLabel(double t, const char* aux);

    const SimulatorScript& m_script;
    const SimSchedule& m_schedule;
    SimRandom m_rng;
    int m_startSecondOfDay = 0;

    double m_lastR = -0.5;
    qint64 m_lastSample = -1;
    double m_nextSinus = 0.3;
    double m_lf = 0.0; // low-frequency variability, relative
    int m_rhythmIndex = 0;
    int m_instantIndex = 0;
    const SimEvent* m_episode = nullptr;
    int m_phase = 0;
    double m_lastSinusR = -0.5;

    std::deque<SimBeat> m_queue;
    QVector<WfdbAnnotation> m_annotations;
    QVector<SimEvent> m_realized;
    QMap<QString, int> m_counts;
};
