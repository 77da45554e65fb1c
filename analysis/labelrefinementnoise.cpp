// The part of the label refinement that follows the rhythm through noisy stretches.

#include "analysis/labelrefinement.h"

#include "analysis/labelcriteria.h"
#include "analysis/morphologymatcher.h"
#include "store/beatclass.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <algorithm>
#include <limits>
#include <unordered_map>

namespace {

constexpr int kTemplateShift = 10; // samples at 250 Hz, about 40 ms each way
constexpr int kDoubtfulClass = 3; // members; a smaller U class says the shape was unique
constexpr double kEarliest = 0.75; // of the median RR after the last beat: the next one's window
constexpr double kLatest = 1.3;
constexpr double kIrregularEarliest = 0.4; // of the median RR, in an irregular rhythm
constexpr double kIrregularLatest = 1.8;
constexpr double kTrackMatch = 0.6; // correlation with the dominant beat on its best lead
constexpr int kMostMissed = 3; // windows without a beat before the rhythm counts as lost

} // namespace

double LabelRefinement::likeness(const Shape& reference, double rInstant) const
{
    Entry e;
    e.rInstant = rInstant;
    double best = -1.0;
    const int channels = std::min(m_source->channelCount(), int(Beat::kChannels));
    for (int c = 0; c < channels; ++c) {
        if (reference.sign[c] == 0 || reference.unit[c].empty())
            continue;
        best = std::max(best,
            MorphologyMatcher::shiftedCorrelation(beatWindow(e, c), reference.unit[c],
                kTemplateShift));
    }
    return best;
}

void LabelRefinement::trackNoisyStretches()
{
    BeatClass* reference = referenceClass();
    if (!reference)
        return;
    const Shape ref = shapeOf(*reference); // a copy: members move below
    std::unordered_map<int, BeatClass*> owner;
    for (const auto& entry : m_classes->classes())
        for (int index : entry.second->members)
            owner[index] = entry.second.get();

    struct Candidate
    {
        Beat beat;
        double likeness;
    };
    // The rhythm's irregularity at each sure beat, from the intervals between sure beats.
    const int n = m_list->count();
    std::vector<double> sureRr(size_t(std::max(n, 0)), 0.0);
    {
        Beat b;
        int lastSure = -1;
        int lastType = BeatV;
        for (int i = 0; i < n; ++i) {
            if (!m_list->get(i, b) || !b.isBeat)
                continue;
            const auto it = owner.find(i);
            BeatClass* cls = it == owner.end() ? nullptr : it->second;
            if (cls && cls->type == BeatU && cls->memberCount() < kDoubtfulClass)
                continue;
            const int type = cls ? cls->type : BeatU;
            if (lastSure >= 0 && type != BeatV && lastType != BeatV && b.rr() > 0.0)
                sureRr[size_t(i)] = b.rr();
            lastSure = i;
            lastType = type;
        }
    }
    const std::vector<bool> irregularAt = labelcriteria::irregularRhythm(sureRr);
    bool irregular = false;
    std::vector<Candidate> pending; // doubtful entries since the last beat, in time order
    BeatClass* tracked = nullptr; // the normal beats found on the rhythm
    bool haveLast = false;
    double last = 0.0; // time of the last beat, or where it was due
    double median = 0.0;
    int missed = 0;
    // The last beat was one found here, or doubtful beats after it were made noise: the next
    // beat's RR must start from it.
    bool lastTracked = false;

    const auto interval = [&](double t) { return missed == 0 ? t - last : 0.0; };
    // A beat the rhythm passes over is noise, as additional noise removal would make a run of
    // such beats.
    const auto passOver = [&](Candidate& c) {
        Beat& b = c.beat;
        const auto owned = owner.find(b.index);
        if (owned != owner.end()) {
            owned->second->removeMember(b.index, true);
            forget(owned->second);
            owner.erase(owned);
        }
        b.isBeat = false;
        m_list->replace(b);
        lastTracked = true;
    };
    // Settles the windows where the next beat is due that end before `seen` (all their entries
    // are known), taking only entries before `cap` (where a sure beat follows).
    const auto settle = [&](double seen, double cap) {
        while (haveLast && !pending.empty()) {
            // In an irregular rhythm the next beat may come anywhere in a wider window; the
            // first entry there that looks like the dominant beat is taken.
            const double early = irregular ? kIrregularEarliest : kEarliest;
            const double late = irregular ? kIrregularLatest : kLatest;
            const double from = last + early * median;
            const double to = std::min(last + late * median, cap);
            if (last + late * median > seen || from > cap)
                break;
            Candidate* best = nullptr;
            for (Candidate& c : pending) {
                const double t = c.beat.rInstant();
                if (t < from || t > to)
                    continue;
                if (irregular && c.likeness >= kTrackMatch) {
                    best = &c;
                    break;
                }
                if (!best || c.likeness > best->likeness)
                    best = &c;
            }
            if (!best || best->likeness < kTrackMatch) {
                last += median;
                lastTracked = false;
                if (++missed > kMostMissed) {
                    haveLast = false;
                    pending.clear();
                }
                pending.erase(std::remove_if(pending.begin(), pending.end(),
                                  [&](const Candidate& c) { return c.beat.rInstant() < last; }),
                    pending.end());
                continue;
            }
            const double t = best->beat.rInstant();
            for (Candidate& c : pending) {
                if (c.beat.rInstant() > t)
                    break;
                const auto it = owner.find(c.beat.index);
                BeatClass* cls = it == owner.end() ? nullptr : it->second;
                Beat& b = c.beat;
                if (&c == best) {
                    if (!tracked) {
                        tracked = m_classes->createNext();
                        tracked->setType(BeatN);
                    }
                    if (cls) {
                        cls->removeMember(b.index, true);
                        forget(cls);
                    }
                    b.isBeat = true;
                    b.setTiming(Beat::RR, interval(t));
                    b.setTiming(Beat::MedianRR, median);
                    m_list->replace(b);
                    tracked->add(b.index, true);
                    owner[b.index] = tracked;
                } else if (b.isBeat) {
                    passOver(c);
                }
            }
            pending.erase(pending.begin(),
                std::find_if(pending.begin(), pending.end(),
                    [t](const Candidate& c) { return c.beat.rInstant() > t; }));
            last = t;
            missed = 0;
            lastTracked = true;
        }
    };

    for (int i = 0; i < n; ++i) {
        Beat b;
        if (!m_list->get(i, b))
            continue;
        const auto it = owner.find(i);
        const bool doubtful = !b.isBeat
            || (it != owner.end() && it->second->type == BeatU
                && it->second->memberCount() < kDoubtfulClass);
        const double t = b.rInstant();
        if (doubtful) {
            if (haveLast) {
                pending.push_back({ b, likeness(ref, t) });
                settle(t, std::numeric_limits<double>::infinity());
            }
            continue;
        }
        // Everything before a sure beat is known; its own window is left to it.
        settle(std::numeric_limits<double>::infinity(),
            t - (irregular ? kIrregularEarliest : kEarliest) * median);
        // A sure beat where the rhythm has it due: the doubtful beats since the last one that
        // don't look like the dominant beat were noise.
        if (haveLast && missed == 0 && t >= last + kEarliest * median
            && t <= last + kLatest * median) {
            for (Candidate& c : pending)
                if (c.beat.isBeat && c.likeness < kTrackMatch)
                    passOver(c);
        }
        if (lastTracked && haveLast && t > last) {
            b.setTiming(Beat::RR, interval(t));
            m_list->replace(b);
        }
        pending.clear();
        haveLast = true;
        last = t;
        if (sureRr[size_t(i)] > 0.0)
            irregular = irregularAt[size_t(i)];
        missed = 0;
        lastTracked = false;
        if (b.medianRR() > 0.0)
            median = b.medianRR();
        if (!(median > 0.0))
            haveLast = false;
    }
    settle(std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity());
    forget(tracked);
}
