#include "tools/simulatorwaveform.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kTwoPi = 6.283185307179586;
constexpr int kSegment = 2000; // samples between new wander targets (4 s)
constexpr int kNoiseMask = (1 << 16) - 1;

struct Wave
{
    float amplitude; // millivolts
    float offset; // seconds from the R instant
    float sigma; // seconds
};

struct LeadShape
{
    float p, q, r, s, t1, t2;
};

// Sinus beat amplitudes per lead, millivolts: CM5 tall R and upright T; V1 small r, deep S, low
// T; II-like moderate R and the largest P.
const LeadShape kNormal[3] = {
    { 0.12f, -0.12f, 1.45f, -0.35f, 0.26f, 0.17f },
    { 0.07f, 0.0f, 0.32f, -1.05f, 0.08f, 0.05f },
    { 0.17f, -0.07f, 1.05f, -0.20f, 0.20f, 0.13f },
};

// Ectopic atrial P waves: inverted in the inferior lead, upright in V1.
const float kAlteredP[3] = { -0.05f, 0.10f, -0.13f };

// Main QRS deflection of each PVC focus per lead; each lead's T is discordant to it.
const float kFocus[4][3] = {
    { 1.75f, -1.25f, 1.0f },
    { -1.5f, 1.4f, -0.9f },
    { 1.2f, 1.05f, -1.3f },
    { -1.05f, -1.1f, 1.5f },
};

// ST shift seen per lead for a positive (elevation) level; V1 shows the reciprocal change.
const float kStLead[3] = { 1.0f, -0.4f, 0.8f };

float focusAmplitude(int focus, int lead)
{
    const float a = kFocus[focus % 4][lead];
    // Foci beyond the fourth mirror V1 so that each focus still looks different.
    return focus >= 4 ? (lead == 1 ? -a : a) * 0.85f : a;
}

int collectWaves(const SimBeat& beat, int lead, double stMv, Wave* w)
{
    int n = 0;
    const float qt = float(std::sqrt(beat.cycle));
    const float resp = float(1.0 + 0.06 * std::sin(kTwoPi * 0.25 * beat.time + lead));
    const float k = float(beat.amplitude) * resp;
    const LeadShape& s = kNormal[lead];
    const bool ventricular = beat.type == SimBeatType::Ventricular;
    const float sinusWeight = beat.type == SimBeatType::Fusion ? 0.5f : ventricular ? 0.0f : 1.0f;

    if (beat.pr > 0.0) {
        const float pAmp = beat.alteredP ? kAlteredP[lead] : s.p;
        w[n++] = { pAmp * float(beat.amplitude), float(-beat.pr), beat.alteredP ? 0.018f : 0.022f };
        if (lead == 1 && !beat.alteredP) // V1's P is biphasic
            w[n++] = { -0.05f, float(-beat.pr + 0.035), 0.015f };
    }
    if (beat.type == SimBeatType::BlockedP)
        return n;
    if (sinusWeight > 0.0f) {
        const float a = sinusWeight * k;
        if (s.q != 0.0f)
            w[n++] = { a * s.q, -0.026f, 0.008f };
        w[n++] = { a * s.r, 0.0f, 0.0095f };
        w[n++] = { a * s.s, 0.024f, 0.009f };
        w[n++] = { a * s.t1, 0.26f * qt, 0.055f };
        w[n++] = { a * s.t2, 0.31f * qt, 0.032f };
        if (stMv != 0.0)
            w[n++] = { float(stMv) * kStLead[lead], 0.125f * qt, 0.045f };
    }
    if (sinusWeight < 1.0f) {
        // Wide QRS with a slurred second half, and the T wave against it.
        const float a = (1.0f - sinusWeight) * k * focusAmplitude(beat.focus, lead);
        w[n++] = { a, 0.0f, 0.031f };
        w[n++] = { 0.2f * a, 0.045f, 0.015f };
        w[n++] = { -0.32f * a, 0.30f * qt, 0.07f };
    }
    return n;
}

} // namespace

WaveformSynth::WaveformSynth(
    const SimulatorScript& script, const SimSchedule& schedule, std::uint64_t seed)
    : m_script(script)
    , m_schedule(schedule)
    , m_rng(seed, 3)
{
    m_noise.resize(kNoiseMask + 1);
    for (float& v : m_noise)
        v = float(m_rng.normal());
    for (const SimEvent& e : schedule.overlays()) {
        if (e.kind != SimKind::Motion)
            continue;
        // Electrode movement: slow swings of up to a few millivolts, some sharp, mostly on
        // the lead that moves.
        const int count = std::max(1, int(e.duration * 1.2));
        for (int i = 0; i < count; ++i) {
            Bump b;
            b.time = e.start + m_rng.uniform() * e.duration;
            b.sigma = m_rng.chance(0.3) ? m_rng.uniform(0.02, 0.06) : m_rng.uniform(0.1, 0.4);
            for (int l = 0; l < kLeads; ++l)
                b.amplitude[l] = float(e.level * m_rng.normal() * (l == e.lead ? 1.0 : 0.4));
            m_bumps.push_back(b);
        }
    }
    std::sort(m_bumps.begin(), m_bumps.end(),
        [](const Bump& a, const Bump& b) { return a.time < b.time; });
}

double WaveformSynth::overlayLevel(SimKind kind, double t) const
{
    double level = 0.0;
    for (const SimEvent& e : m_schedule.overlays()) {
        if (e.start > t)
            break;
        if (e.kind != kind || t >= e.end())
            continue;
        // ST changes come and go over a minute; noise bursts over a second.
        const double ramp = (kind == SimKind::Muscle) ? 1.0 : 45.0;
        const double edge = std::min(t - e.start, e.end() - t);
        level += e.level * std::min(1.0, edge / ramp);
    }
    return level;
}

void WaveformSynth::renderBackground(qint64 first, int count, const std::array<float*, kLeads>& out)
{
    static const double kRespHz = 0.25;
    const double step = 1.0 / kRate;
    // 50 Hz at 500 Hz repeats every 10 samples.
    double mains[kLeads][10];
    for (int l = 0; l < kLeads; ++l)
        for (int k = 0; k < 10; ++k)
            mains[l][k] = m_script.mainsMv * std::sin(kTwoPi * (k / 10.0 + 0.2 * l));
    int i = 0;
    while (i < count) {
        // Levels that change slowly are looked up once per tenth of a second.
        const int chunk = std::min(50, count - i);
        const qint64 n0 = first + i;
        const double t0 = double(n0) / kRate;
        const float muscle = float(m_script.muscleMv + overlayLevel(SimKind::Muscle, t0));
        const SimEvent* rhythm = m_schedule.rhythmAt(t0);
        const bool af = rhythm && rhythm->kind == SimKind::Afib;
        while (m_firstBump < m_bumps.size() && m_bumps[m_firstBump].time + 4.0 * 0.4 < t0)
            ++m_firstBump;
        for (int j = 0; j < chunk; ++j) {
            const qint64 n = n0 + j;
            const int inSegment = int(n % kSegment);
            if (inSegment == 0) {
                for (int l = 0; l < kLeads; ++l) {
                    m_wanderFrom[l] = m_wanderTo[l];
                    m_wanderTo[l] = 0.8 * m_wanderTo[l] + 0.6 * m_script.wanderMv * m_rng.normal();
                }
            }
            const double t = double(n) * step;
            const double x = double(inSegment) / kSegment;
            const double smooth = 0.5 - 0.5 * std::cos(3.141592653589793 * x);
            const double breath = std::sin(kTwoPi * kRespHz * t);
            double fib = 0.0;
            if (af) {
                // Fibrillatory waves of 5 to 7 Hz, wandering in rate and size.
                const double f = 6.0 + 1.0 * std::sin(kTwoPi * 0.13 * t);
                m_afPhase += kTwoPi * f * step;
                fib = std::sin(m_afPhase) * (0.75 + 0.25 * std::sin(kTwoPi * 0.31 * t));
            }
            const std::size_t noiseBase = std::size_t(n * 7 + (n / kSegment) * 40503);
            for (int l = 0; l < kLeads; ++l) {
                double v = m_wanderFrom[l] + (m_wanderTo[l] - m_wanderFrom[l]) * smooth;
                v += 0.35 * m_script.wanderMv * breath * (l == 1 ? 0.5 : 1.0);
                v += muscle * m_noise[(noiseBase + std::size_t(l) * 21841) & kNoiseMask];
                v += mains[l][n % 10];
                if (af)
                    v += fib * (l == 1 ? 0.09 : 0.045);
                for (std::size_t b = m_firstBump; b < m_bumps.size(); ++b) {
                    const Bump& bump = m_bumps[b];
                    if (bump.time - 1.6 > t)
                        break;
                    const double z = (t - bump.time) / bump.sigma;
                    if (z * z < 16.0)
                        v += bump.amplitude[l] * std::exp(-0.5 * z * z);
                }
                out[l][i + j] = float(v);
            }
        }
        i += chunk;
    }
}

void WaveformSynth::addBeat(
    const SimBeat& beat, qint64 first, int count, const std::array<float*, kLeads>& out) const
{
    double st = overlayLevel(SimKind::StElevation, beat.time)
        - overlayLevel(SimKind::StDepression, beat.time);
    if (beat.type == SimBeatType::Ventricular)
        st = 0.0;
    Wave waves[16];
    for (int l = 0; l < kLeads; ++l) {
        const int n = collectWaves(beat, l, st, waves);
        for (int w = 0; w < n; ++w) {
            const Wave& wave = waves[w];
            const double centre = double(beat.sample) + double(wave.offset) * kRate;
            const double reach = 4.0 * double(wave.sigma) * kRate;
            const qint64 lo = std::max<qint64>(first, qint64(std::ceil(centre - reach)));
            const qint64 hi
                = std::min<qint64>(first + count - 1, qint64(std::floor(centre + reach)));
            const float inv = 1.0f / (float(wave.sigma) * kRate);
            float* dst = out[l] - first;
            for (qint64 s = lo; s <= hi; ++s) {
                const float z = float(double(s) - centre) * inv;
                dst[s] += wave.amplitude * std::exp(-0.5f * z * z);
            }
        }
    }
}

void WaveformSynth::applyElectrodeOff(
    qint64 first, int count, const std::array<float*, kLeads>& out) const
{
    for (const SimEvent& e : m_schedule.overlays()) {
        if (e.kind != SimKind::ElectrodeOff)
            continue;
        const qint64 lo = std::max<qint64>(first, std::llround(e.start * kRate));
        const qint64 hi = std::min<qint64>(first + count, std::llround(e.end() * kRate));
        for (qint64 s = lo; s < hi; ++s)
            out[e.lead][s - first] = 0.0f;
    }
}
