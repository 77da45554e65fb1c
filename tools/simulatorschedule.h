#pragma once

#include "tools/simulatorscript.h"

#include <cstdint>
#include <vector>

// One scheduled happening, in seconds from the start of the recording.
struct SimEvent
{
    SimKind kind = SimKind::Pvc;
    double start = 0.0;
    double duration = 0.0;
    double rate = 0.0; // bpm
    double level = 0.0; // millivolts
    int lead = 0; // 0-based channel
    int focus = 0; // ectopic focus (PVC morphology)
    int line = 0; // script line

    double end() const { return start + duration; }
};

// The script's items placed on the time axis: explicit times kept, counted items drawn at random
// (rhythms never overlap; counted instants stay out of rhythm episodes).
class SimSchedule
{
public:
    // Throws SimulatorError when counted rhythms can't be placed without overlap.
    SimSchedule(const SimulatorScript& script, std::uint64_t seed);

    double seconds() const { return m_seconds; }
    const std::vector<SimEvent>& rhythms() const { return m_rhythms; } // sorted, disjoint
    const std::vector<SimEvent>& instants() const { return m_instants; } // sorted, buttons included
    const std::vector<SimEvent>& overlays() const { return m_overlays; } // sorted by start

    // The rhythm episode covering `t`, or null.
    const SimEvent* rhythmAt(double t) const;

private:
    bool rhythmNear(double start, double end, double margin) const;

    double m_seconds = 0.0;
    std::vector<SimEvent> m_rhythms;
    std::vector<SimEvent> m_instants;
    std::vector<SimEvent> m_overlays;
};
