#pragma once

#include "recorder/wfdbannotation.h"
#include "store/progresssink.h"
#include "tools/simulatorrhythm.h"
#include "tools/simulatorschedule.h"
#include "tools/simulatorscript.h"
#include "tools/simulatorwaveform.h"

#include <QJsonObject>

#include <array>
#include <cstdint>
#include <deque>
#include <functional>

// A simulated Holter recorder: renders a script into the card file "HECG.VTF" block by block
// (2000 frames of three big-endian samples in reversed channel order, then the big-endian status
// word), with "HECG.INF" and the ground truth beside it.
//
// Scale: the recorder's gain range is -450 to 450 over 16 bits and its unit is the millivolt, as
// the displays scale it, so one step is 900 / 65536 = 13.7 uV and 1 mV is 72.8 steps. Beats of
// 0.5 to 2 mV then use a few hundred steps and wander of several millivolts never clips.
class Simulator
{
public:
    static constexpr int kRate = 500;
    static constexpr int kFrames = 2000; // per block
    static constexpr int kBlockBytes = 12002;
    static constexpr double kStepsPerMillivolt = 65536.0 / 900.0;

    Simulator(const SimulatorScript& script, std::uint64_t seed);
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    qint64 blockCount() const { return m_blocks; }
    const SimSchedule& schedule() const { return m_schedule; }

    // Renders the next block in steps (samples[channel][frame]) and gives its status word.
    // Blocks come in order from 0; false after the last.
    bool nextBlock(std::array<qint16, 3 * kFrames>& samples, quint16& status);
    // The status word of block `b`: marker 0xC, bit 0 button, 1 low battery, 2 SD error,
    // 4 + lead for an electrode that is off.
    quint16 statusWord(qint64 block) const;

    // The truth of the blocks rendered so far: beats and rhythm changes before the end.
    QVector<WfdbAnnotation> truthAnnotations() const;
    QJsonObject truthJson() const;

    // Renders everything into `folder`: HECG.VTF after `preambleBytes` bytes of preamble (ending
    // in a 0xC000 word; card readers find even lengths of 2 to 12000 bytes),
    // HECG.INF, truth.atr and truth.json. `progress` counts blocks of the card. Throws
    // SimulatorError (or WfdbError for truth.atr) naming the file that fails; a cancel, seen
    // between blocks, throws SimulatorError with nothing written.
    void writeAll(const QString& folder, int preambleBytes, ProgressSink* progress = nullptr,
        const CancelFlag* cancel = nullptr);

private:
    SimulatorScript m_script;
    std::uint64_t m_seed;
    SimSchedule m_schedule;
    RhythmGenerator m_rhythm;
    WaveformSynth m_synth;
    qint64 m_blocks = 0;
    qint64 m_nextBlock = 0;
    std::deque<SimBeat> m_beats;
    QVector<double> m_buttons; // seconds
};
