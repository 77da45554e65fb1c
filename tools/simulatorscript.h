#pragma once

#include <QDateTime>
#include <QString>
#include <QVector>

#include <stdexcept>

// A failure of the simulator (bad script, unwritable output), with the finished message.
class SimulatorError : public std::runtime_error
{
public:
    explicit SimulatorError(const QString& message)
        : std::runtime_error(message.toStdString())
    {
    }
};

// What a script line can ask for. Instants happen once at a beat, rhythms replace the sinus
// rhythm for a while, overlays change the signal or the status words without touching rhythm.
enum class SimKind {
    // instants
    Pvc,
    Couplet,
    Triplet,
    Svpb,
    Fusion,
    Pause,
    Button,
    // rhythms
    Vt,
    Svt,
    Afib,
    Brady,
    Tachy,
    Bigeminy,
    Trigeminy,
    AvBlock,
    // overlays
    StElevation,
    StDepression,
    Muscle,
    Motion,
    ElectrodeOff,
    LowBattery,
    SdError,
};

enum class SimKindClass { Instant, Rhythm, Overlay };

struct SimKindInfo
{
    SimKind kind;
    const char* name; // the word in scripts and in truth.json
    SimKindClass cls;
    double duration; // default, seconds (pause: the RR gap)
    double rate; // default, bpm, rhythms only
    double level; // default, millivolts (ST shift, noise rms)
    const char* rhythmAux; // MIT rhythm label at the start of a rhythm, or null
};

const SimKindInfo& simKindInfo(SimKind kind);
// Null when `name` is no kind.
const SimKindInfo* simKindByName(const QString& name);

// One event line of a script.
struct ScriptItem
{
    SimKind kind = SimKind::Pvc;
    int line = 0;
    double at = -1.0; // seconds from the start of the recording; negative: `count` at random
    int count = 1;
    double duration = 0.0; // seconds
    double rate = 0.0; // bpm
    double level = 0.0; // millivolts
    int lead = -1; // 0-based channel, -1 for the default
};

struct SimulatorScript
{
    double hours = 24.0;
    QDateTime start = QDateTime(QDate(2024, 1, 15), QTime(9, 0, 0));
    double dayRate = 76.0; // mean sinus rate awake, bpm
    double nightRate = 58.0; // mean sinus rate asleep, bpm
    int nightFromMinute = 23 * 60; // clock minutes of the day
    int nightToMinute = 6 * 60 + 30;
    double wanderMv = 0.08; // baseline wander amplitude
    double muscleMv = 0.012; // background muscle noise rms
    double mainsMv = 0.01; // 50 Hz amplitude
    int foci = 3; // PVC morphologies
    QString recorderId = "SIM-0001";
    QVector<ScriptItem> items;

    double seconds() const { return hours * 3600.0; }
};

// Parses script text; `name` only serves the messages, which read "name:line: what".
SimulatorScript parseSimulatorScript(const QString& text, const QString& name);
// Changes the length of a script's recording: counted items scale with it, so a shorter run keeps
// the same rates; items placed after the new end are dropped.
void setSimulationHours(SimulatorScript& script, double hours);
// The built-in 24-hour script with every feature at realistic rates.
QString defaultSimulatorScript();
