#include "tools/simulatorrhythm.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kTwoPi = 6.283185307179586;

double logistic(double x)
{
    return 1.0 / (1.0 + std::exp(-x));
}

// Signed difference a - b of clock minutes, folded into [-720, 720).
double clockDifference(double a, double b)
{
    double d = std::fmod(a - b, 1440.0);
    if (d < -720.0)
        d += 1440.0;
    if (d >= 720.0)
        d -= 1440.0;
    return d;
}

int mitCode(SimBeatType type)
{
    switch (type) {
    case SimBeatType::Normal:
        return 1;
    case SimBeatType::Ventricular:
        return 5;
    case SimBeatType::Supraventricular:
        return 8;
    case SimBeatType::Fusion:
        return 6;
    case SimBeatType::BlockedP:
        return 0;
    }
    return 0;
}

const char* typeKey(SimBeatType type)
{
    switch (type) {
    case SimBeatType::Normal:
        return "N";
    case SimBeatType::Ventricular:
        return "V";
    case SimBeatType::Supraventricular:
        return "S";
    case SimBeatType::Fusion:
        return "F";
    case SimBeatType::BlockedP:
        return "blockedP";
    }
    return "?";
}

} // namespace

RhythmGenerator::RhythmGenerator(
    const SimulatorScript& script, const SimSchedule& schedule, std::uint64_t seed)
    : m_script(script)
    , m_schedule(schedule)
    , m_rng(seed, 2)
{
    m_startSecondOfDay = script.start.time().msecsSinceStartOfDay() / 1000;
    m_nextSinus = 0.25 + 0.3 * m_rng.uniform();
    const SimEvent* first = schedule.rhythmAt(0.0);
    if (!first || first->start > 0.0)
        rhythmLabel(0.0, "(N");
}

double RhythmGenerator::trendRate(double t) const
{
    const double minute = (m_startSecondOfDay + t) / 60.0;
    // Falls asleep and wakes over about half an hour.
    const double asleep = logistic(clockDifference(minute, m_script.nightFromMinute) / 12.0)
        * logistic(clockDifference(m_script.nightToMinute, minute) / 12.0);
    return m_script.dayRate * (1.0 - asleep) + m_script.nightRate * asleep;
}

double RhythmGenerator::sinusRR(double t) const
{
    double rate = trendRate(t);
    if (m_episode && (m_episode->kind == SimKind::Brady || m_episode->kind == SimKind::Tachy))
        rate = m_episode->rate;
    // Respiratory sinus arrhythmia at 15 breaths a minute, weaker as the rate rises, and the
    // 0.1 Hz Mayer wave on top of a slow random drift.
    const double rsa = 0.045 * std::min(1.0, 70.0 / rate) * std::sin(kTwoPi * 0.25 * t);
    const double mayer = 0.015 * std::sin(kTwoPi * 0.1 * t + 1.0);
    return 60.0 / rate * (1.0 + rsa + mayer + m_lf);
}

SimBeat RhythmGenerator::next()
{
    while (m_queue.empty())
        step();
    const SimBeat beat = m_queue.front();
    m_queue.pop_front();
    return beat;
}

void RhythmGenerator::rhythmLabel(double t, const char* aux)
{
    WfdbAnnotation a;
    a.sample = std::max<qint64>(std::llround(t * kRate), m_lastSample + 1);
    a.code = 28;
    a.aux = aux;
    m_annotations.append(a);
    m_lastSample = a.sample;
}

void RhythmGenerator::emitBeat(double t, SimBeatType type, int focus, double pr, bool alteredP)
{
    SimBeat b;
    // On a sample, and never on one already annotated, so the truth stays strictly ordered.
    b.sample = std::max<qint64>(std::llround(t * kRate), m_lastSample + 1);
    b.time = double(b.sample) / kRate;
    b.type = type;
    b.focus = focus;
    b.cycle = std::clamp(sinusRR(b.time), 0.3, 2.0);
    b.pr = pr;
    b.alteredP = alteredP;
    b.amplitude = 1.0 + 0.03 * m_rng.normal();
    m_lastR = b.time;
    if (type != SimBeatType::BlockedP) {
        WfdbAnnotation a;
        a.sample = b.sample;
        a.code = mitCode(type);
        m_annotations.append(a);
        m_lastSample = b.sample;
    }
    ++m_counts[typeKey(type)];
    m_queue.push_back(b);
}

void RhythmGenerator::emitSinus(double t)
{
    m_lf = 0.96 * m_lf + 0.01 * m_rng.normal();
    emitBeat(t, SimBeatType::Normal, 0, 0.15 + 0.02 * std::sin(t * 0.001));
    m_lastSinusR = m_lastR;
    m_nextSinus = m_lastR + sinusRR(m_lastR) * (1.0 + 0.006 * m_rng.normal());
}

void RhythmGenerator::step()
{
    if (m_episode) {
        stepEpisode();
        return;
    }
    const std::vector<SimEvent>& rhythms = m_schedule.rhythms();
    const std::vector<SimEvent>& instants = m_schedule.instants();
    while (
        m_instantIndex < int(instants.size()) && instants[m_instantIndex].kind == SimKind::Button)
        ++m_instantIndex;
    if (m_rhythmIndex < int(rhythms.size()) && rhythms[m_rhythmIndex].start <= m_nextSinus) {
        enterEpisode(rhythms[m_rhythmIndex++]);
        return;
    }
    if (m_instantIndex < int(instants.size()) && instants[m_instantIndex].start <= m_nextSinus) {
        applyInstant(instants[m_instantIndex++]);
        return;
    }
    emitSinus(m_nextSinus);
}

void RhythmGenerator::enterEpisode(const SimEvent& e)
{
    m_episode = &e;
    m_phase = 0;
    rhythmLabel(std::max(e.start, m_lastR + 0.01), simKindInfo(e.kind).rhythmAux);
}

void RhythmGenerator::leaveEpisode()
{
    const SimEvent& e = *m_episode;
    const bool ectopic = e.kind == SimKind::Vt || e.kind == SimKind::Svt || e.kind == SimKind::Afib;
    m_episode = nullptr;
    rhythmLabel(std::max(e.end(), m_lastR + 0.01), "(N");
    if (ectopic) // the sinus node needs a moment after overdrive
        m_nextSinus = std::max(e.end(), m_lastR) + 0.3 + sinusRR(m_lastR) * 0.8;
    // Instants that fell inside the episode are lost in it.
    const std::vector<SimEvent>& instants = m_schedule.instants();
    while (m_instantIndex < int(instants.size()) && instants[m_instantIndex].start < e.end()) {
        if (instants[m_instantIndex].kind != SimKind::Button)
            ++m_counts["dropped"];
        ++m_instantIndex;
    }
    SimEvent done = e;
    m_realized.append(done);
}

void RhythmGenerator::stepEpisode()
{
    const SimEvent& e = *m_episode;
    const bool first = m_phase == 0;
    double t = 0.0;
    SimBeatType type = SimBeatType::Normal;
    int focus = e.focus;
    double pr = 0.16;
    bool alteredP = false;
    const double cycle = sinusRR(m_lastSinusR);
    switch (e.kind) {
    case SimKind::Vt:
        t = first ? std::max(e.start, m_lastR + 0.6 * cycle)
                  : m_lastR + 60.0 / e.rate * (1.0 + 0.02 * m_rng.normal());
        type = SimBeatType::Ventricular;
        pr = 0.0;
        break;
    case SimKind::Svt:
        t = first ? std::max(e.start, m_lastR + 0.6 * cycle)
                  : m_lastR + 60.0 / e.rate * (1.0 + 0.006 * m_rng.normal());
        type = SimBeatType::Supraventricular;
        pr = 0.09;
        alteredP = true;
        break;
    case SimKind::Afib: {
        // Irregularly irregular: independent intervals, log-normally spread about the mean.
        const double rr = std::clamp(60.0 / e.rate * std::exp(0.22 * m_rng.normal()), 0.32, 2.2);
        t = first ? std::max(e.start + 0.05, m_lastR + rr) : m_lastR + rr;
        pr = 0.0;
        break;
    }
    case SimKind::Bigeminy:
    case SimKind::Trigeminy: {
        const int period = e.kind == SimKind::Bigeminy ? 2 : 3;
        if (m_phase % period == period - 1) {
            t = m_lastR + cycle * m_rng.uniform(0.56, 0.64);
            type = SimBeatType::Ventricular;
            pr = 0.0;
        } else {
            t = m_nextSinus;
        }
        break;
    }
    case SimKind::AvBlock:
        t = m_nextSinus;
        if (m_phase % 3 == 2)
            type = SimBeatType::BlockedP; // Mobitz II, 3:2 conduction
        break;
    default: // brady, tachy: the sinus node at another rate
        t = m_nextSinus;
        break;
    }
    if (t >= e.end()) {
        leaveEpisode();
        return;
    }
    ++m_phase;
    if (type == SimBeatType::Normal && pr > 0.0) {
        emitSinus(t);
    } else if (type == SimBeatType::BlockedP) {
        emitBeat(t, type, 0, 0.16);
        m_nextSinus = t + cycle;
    } else {
        emitBeat(t, type, focus, pr, alteredP);
        if (type == SimBeatType::Ventricular && e.kind != SimKind::Vt)
            m_nextSinus = m_lastSinusR + 2.0 * cycle; // compensatory pause
    }
}

void RhythmGenerator::applyInstant(const SimEvent& e)
{
    const double cycle = sinusRR(m_lastR);
    switch (e.kind) {
    case SimKind::Pvc:
        emitBeat(
            m_lastR + cycle * m_rng.uniform(0.55, 0.68), SimBeatType::Ventricular, e.focus, 0.0);
        // The sinus node is not reset: the next sinus beat comes two cycles after the last.
        m_nextSinus = std::max(m_lastSinusR + 2.0 * cycle, m_lastR + 0.9 * cycle);
        ++m_counts["pvc"];
        break;
    case SimKind::Couplet:
    case SimKind::Triplet: {
        const int n = e.kind == SimKind::Couplet ? 2 : 3;
        const double start = m_lastR + cycle * m_rng.uniform(0.55, 0.65);
        double t = start;
        for (int i = 0; i < n; ++i) {
            // The second focus of a couplet is sometimes another one.
            const int focus
                = (i > 0 && m_rng.chance(0.2)) ? (e.focus + 1) % m_script.foci : e.focus;
            emitBeat(t, SimBeatType::Ventricular, focus, 0.0);
            if (i + 1 < n)
                t = m_lastR + m_rng.uniform(0.40, 0.48);
        }
        m_nextSinus = m_lastR + cycle * 1.3;
        SimEvent run = e;
        run.start = start;
        run.duration = m_lastR - start;
        m_realized.append(run);
        ++m_counts[e.kind == SimKind::Couplet ? "couplet" : "triplet"];
        break;
    }
    case SimKind::Svpb:
        emitBeat(m_lastR + cycle * m_rng.uniform(0.62, 0.74), SimBeatType::Supraventricular, 0,
            0.12, true);
        m_lastSinusR = m_lastR; // the sinus node is reset
        m_nextSinus = m_lastR + cycle * 1.03;
        ++m_counts["svpb"];
        break;
    case SimKind::Fusion:
        // A late PVC meeting the sinus impulse: the P stays, the QRS is half of each.
        emitBeat(m_nextSinus - 0.01, SimBeatType::Fusion, e.focus, 0.15);
        m_lastSinusR = m_lastR;
        m_nextSinus = m_lastR + cycle;
        ++m_counts["fusion"];
        break;
    case SimKind::Pause: {
        SimEvent pause = e;
        pause.start = m_lastR;
        pause.duration = std::max(e.duration, cycle * 1.5);
        m_realized.append(pause);
        m_nextSinus = m_lastR + pause.duration;
        ++m_counts["pause"];
        break;
    }
    default:
        break;
    }
}
