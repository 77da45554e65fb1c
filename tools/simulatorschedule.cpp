#include "tools/simulatorschedule.h"

#include "tools/simulatorrandom.h"

#include <algorithm>

namespace {

bool byStart(const SimEvent& a, const SimEvent& b)
{
    return a.start < b.start || (a.start == b.start && a.line < b.line);
}

// Most ectopy comes from one dominant focus; the rest makes the PVCs multifocal.
int drawFocus(SimRandom& rng, int foci)
{
    return foci > 1 && rng.chance(0.25) ? 1 + rng.below(foci - 1) : 0;
}

} // namespace

SimSchedule::SimSchedule(const SimulatorScript& script, std::uint64_t seed)
    : m_seconds(script.seconds())
{
    SimRandom rng(seed, 1);
    auto makeEvent = [&](const ScriptItem& item, double start) {
        SimEvent e;
        e.kind = item.kind;
        e.start = start;
        e.duration = item.duration;
        e.rate = item.rate;
        e.level = item.level;
        e.lead = item.lead >= 0 ? item.lead : rng.below(3);
        e.focus = drawFocus(rng, script.foci);
        e.line = item.line;
        return e;
    };

    // Explicit rhythms first, so that counted ones find their gaps around them.
    for (const ScriptItem& item : script.items) {
        if (item.at >= 0.0 && item.at < m_seconds
            && simKindInfo(item.kind).cls == SimKindClass::Rhythm) {
            SimEvent e = makeEvent(item, item.at);
            e.duration = std::min(e.duration, m_seconds - e.start);
            m_rhythms.push_back(e);
        }
    }
    std::sort(m_rhythms.begin(), m_rhythms.end(), byStart);
    for (const ScriptItem& item : script.items) {
        if (item.at >= 0.0 || simKindInfo(item.kind).cls != SimKindClass::Rhythm)
            continue;
        for (int k = 0; k < item.count; ++k) {
            const double span = m_seconds - item.duration - 60.0;
            bool placed = false;
            for (int attempt = 0; attempt < 500 && span > 30.0 && !placed; ++attempt) {
                const double start = rng.uniform(30.0, span);
                if (!rhythmNear(start, start + item.duration, 20.0)) {
                    m_rhythms.push_back(makeEvent(item, start));
                    std::sort(m_rhythms.begin(), m_rhythms.end(), byStart);
                    placed = true;
                }
            }
            if (!placed)
                throw SimulatorError(
                    QString("line %1: no room for %2 %3 episode(s) of %4 s without overlap")
                        .arg(item.line)
                        .arg(item.count)
                        .arg(simKindInfo(item.kind).name)
                        .arg(item.duration));
        }
    }

    for (const ScriptItem& item : script.items) {
        const SimKindClass cls = simKindInfo(item.kind).cls;
        if (cls == SimKindClass::Rhythm)
            continue;
        if (item.at >= m_seconds)
            continue;
        const int n = item.at >= 0.0 ? 1 : item.count;
        for (int k = 0; k < n; ++k) {
            double start = item.at;
            if (start < 0.0 && cls == SimKindClass::Overlay) {
                start = rng.uniform(0.0, std::max(0.0, m_seconds - item.duration));
            } else if (start < 0.0) {
                // Ectopy inside a VT run or AF would be lost in it.
                for (int attempt = 0; attempt < 200; ++attempt) {
                    start = rng.uniform(10.0, std::max(10.0, m_seconds - 10.0));
                    if (item.kind == SimKind::Button || !rhythmNear(start, start, 5.0))
                        break;
                }
            }
            SimEvent e = makeEvent(item, start);
            if (cls == SimKindClass::Overlay) {
                e.duration = std::min(e.duration, m_seconds - e.start);
                m_overlays.push_back(e);
            } else {
                m_instants.push_back(e);
            }
        }
    }
    std::sort(m_instants.begin(), m_instants.end(), byStart);
    std::sort(m_overlays.begin(), m_overlays.end(), byStart);
}

bool SimSchedule::rhythmNear(double start, double end, double margin) const
{
    for (const SimEvent& r : m_rhythms)
        if (start < r.end() + margin && r.start - margin < end)
            return true;
    return false;
}

const SimEvent* SimSchedule::rhythmAt(double t) const
{
    auto it = std::upper_bound(m_rhythms.begin(), m_rhythms.end(), t,
        [](double v, const SimEvent& e) { return v < e.start; });
    if (it == m_rhythms.begin())
        return nullptr;
    --it;
    return t < it->end() ? &*it : nullptr;
}
