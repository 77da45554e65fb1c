#pragma once

#include "tools/simulatorrandom.h"
#include "tools/simulatorrhythm.h"
#include "tools/simulatorschedule.h"

#include <array>
#include <vector>

// Draws the three leads in millivolts, one stretch at a time. Each beat is a sum of Gaussian
// waves (P, Q, R, S, T) per lead, after the dynamical model of McSharry, Clifford, Tarassenko
// and Smith, "A dynamical model for generating synthetic electrocardiogram signals", IEEE TBME
// 50(3), 2003, evaluated directly in time: the waves sit at fixed offsets from the R instant,
// and the T wave moves with the square root of the cycle length (Bazett). Lead 1 resembles CM5,
// lead 2 V1, lead 3 a limb lead near II.
class WaveformSynth
{
public:
    static constexpr int kLeads = 3;
    static constexpr int kRate = 500;

    WaveformSynth(const SimulatorScript& script, const SimSchedule& schedule, std::uint64_t seed);

    // Fills out[lead][0..count) for the samples from `first` on with baseline wander, muscle
    // noise, mains, motion artefacts and fibrillatory waves. Calls must follow each other in
    // time (the noise keeps state), starting at sample 0.
    void renderBackground(qint64 first, int count, const std::array<float*, kLeads>& out);
    // Adds the waves of one beat where they fall inside the stretch.
    void addBeat(
        const SimBeat& beat, qint64 first, int count, const std::array<float*, kLeads>& out) const;
    // Flattens the leads whose electrode is off during the stretch.
    void applyElectrodeOff(qint64 first, int count, const std::array<float*, kLeads>& out) const;

    // Seconds of a beat's influence before and after its R instant.
    static constexpr double kReachBefore = 0.45;
    static constexpr double kReachAfter = 0.9;

private:
    struct Bump
    {
        double time;
        double sigma;
        float amplitude[kLeads];
    };

    double overlayLevel(SimKind kind, double t) const;

    const SimulatorScript& m_script;
    const SimSchedule& m_schedule;
    SimRandom m_rng;
    std::vector<float> m_noise; // unit normal table for muscle noise
    std::vector<Bump> m_bumps; // motion artefacts, sorted by time
    std::size_t m_firstBump = 0;
    double m_wanderFrom[kLeads] = {};
    double m_wanderTo[kLeads] = {};
    double m_respPhase = 0.0;
    double m_afPhase = 0.0;
};
