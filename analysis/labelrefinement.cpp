#include "analysis/labelrefinement.h"

#include "analysis/labelcriteria.h"
#include "analysis/morphologymatcher.h"
#include "store/beatclass.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <unordered_map>

namespace {

constexpr int kAveragedMembers = 200;
constexpr int kTemplateShift = 10; // samples at 250 Hz, about 40 ms each way
constexpr int kSmallClass = 3; // members; below it the timing must confirm the shape
constexpr double kNormalMatch = 0.9; // correlation with the dominant beat on every QRS lead
constexpr double kOnTimeLow = 0.9; // mean RR / median RR of a class on the dominant rhythm
constexpr double kOnTimeHigh = 1.1;
// Correlation with the dominant beat, on every lead with a QRS, that muscle noise of a quarter
// of the QRS amplitude still leaves to a normal beat.
constexpr double kNoisyMatch = 0.7;
constexpr double kClearT = 0.5; // mean T polarity
constexpr double kClearP = 0.5; // mean P polarity
constexpr double kReferenceShare = 1.0 / 3.0; // of the largest N class
constexpr int kMatchedVentricular = 5; // members of a V class that small classes may match
constexpr double kSmallMatch = 0.85; // correlation on every QRS lead
constexpr double kEctopicRatio = 0.9; // of the median RR: early enough for a small V class
constexpr double kRunMatch = 0.9; // correlation with the run's shape on every QRS lead
constexpr double kRunUnlikeNormal = 0.8; // correlation with the dominant beat on some lead
constexpr double kRunLongest = 1.3; // of the median RR: a longer interval ends a run
constexpr double kEarly = 0.85; // of the median RR and of the previous RR: an early beat
constexpr double kRunFastest = 0.6; // s: a run of early beats beyond the first is above 100 bpm
constexpr int kSettledBeats = 10; // beats with an RR in a row before a run can start
constexpr double kLongerAfter = 1.15; // the next interval, times the early one

std::vector<double> meanRemoved(std::vector<double> v)
{
    double mean = 0.0;
    for (double x : v)
        mean += x;
    if (!v.empty())
        mean /= double(v.size());
    for (double& x : v)
        x -= mean;
    return v;
}

} // namespace

int LabelRefinement::Entry::type() const
{
    return cls ? cls->type : BeatU;
}

LabelRefinement::LabelRefinement(BeatList* list, SignalSource* source, BeatClassSet* classes)
    : m_list(list)
    , m_source(source)
    , m_classes(classes)
{
}

void LabelRefinement::run()
{
    if (!m_list || !m_source || !m_classes || m_source->samplingRate() <= 0)
        return;
    ventricularClasses();
    normalShapedClasses();
    trackNoisyStretches();
    loadEntries();
    ventricularRuns();
    m_fibrillating = fibrillating();
    conductedFibrillation();
    prematureSupraventricular();
}

// The dominant normal beat: the largest N class, unless a class of at least a third of its size
// has a clear P wave and it has none (noise splits the normal beats into several classes, and a
// frequent ventricular beat may then be the largest that classification typed N).
BeatClass* LabelRefinement::referenceClass() const
{
    BeatClass* largest = nullptr;
    for (const auto& entry : m_classes->classes()) {
        BeatClass* cls = entry.second.get();
        if (cls->type == BeatN && (!largest || cls->memberCount() > largest->memberCount()))
            largest = cls;
    }
    if (!largest || hasClearP(*largest))
        return largest;
    BeatClass* best = largest;
    for (const auto& entry : m_classes->classes()) {
        BeatClass* cls = entry.second.get();
        if (cls->type == BeatN && hasClearP(*cls)
            && cls->memberCount() >= kReferenceShare * largest->memberCount()
            && (best == largest || cls->memberCount() > best->memberCount()))
            best = cls;
    }
    return best;
}

bool LabelRefinement::hasClearP(const BeatClass& cls)
{
    for (int c = 0; c < cls.channelCount() && c < Beat::kChannels; ++c)
        if (cls.qrsSign(c) != 0 && std::fabs(cls.pPolarity[c]) > kClearP)
            return true;
    return false;
}

const LabelRefinement::Shape& LabelRefinement::shapeOf(const BeatClass& cls)
{
    auto it = m_shapes.find(&cls);
    if (it == m_shapes.end())
        it = m_shapes.emplace(&cls, measureShape(cls)).first;
    return it->second;
}

LabelRefinement::Shape LabelRefinement::measureShape(const BeatClass& cls) const
{
    Shape s;
    const int rate = m_source->samplingRate();
    const int length = int(0.8 * rate + 0.5);
    const int r = int(0.3 * rate + 0.5);
    const int channels = std::min({ cls.channelCount(), m_source->channelCount(),
        int(Beat::kChannels) });
    std::vector<double> sum[Beat::kChannels];
    int counts[Beat::kChannels] = {};
    std::vector<double> w(size_t(length), 0.0);
    const int used = std::min(cls.memberCount(), kAveragedMembers);
    for (int i = 0; i < used; ++i) {
        Beat beat;
        if (!m_list->get(cls.members[size_t(i)], beat))
            continue;
        const qint64 start = qint64((beat.rInstant() - 0.3) * rate + 0.5);
        for (int c = 0; c < channels; ++c) {
            if (beat.measure[c][Beat::HasQrs] == 0.0)
                continue;
            m_source->readSamples(c, start, length, w.data());
            sum[c].resize(size_t(length), 0.0);
            for (int k = 0; k < length; ++k)
                sum[c][size_t(k)] += w[size_t(k)];
            ++counts[c];
        }
    }
    for (int c = 0; c < channels; ++c) {
        s.sign[c] = cls.qrsSign(c);
        s.unit[c].assign(cls.templ[c].begin(), cls.templ[c].end());
        MorphologyMatcher::normalise(s.unit[c]);
        if (counts[c] > 0 && s.sign[c] != 0)
            s.width[c] = labelcriteria::qrsWidth(sum[c].data(), length, rate, r);
    }
    return s;
}

std::vector<double> LabelRefinement::beatWindow(const Entry& e, int channel) const
{
    const int rate = m_source->samplingRate();
    const int length = int(0.5 * rate + 0.5);
    std::vector<double> w(size_t(length), 0.0);
    m_source->readSamples(channel, qint64((e.rInstant - 0.2) * rate + 0.5), length, w.data());
    w = meanRemoved(std::move(w));
    MorphologyMatcher::normalise(w);
    return w;
}

void LabelRefinement::ventricularClasses()
{
    BeatClass* reference = referenceClass();
    if (!reference)
        return;
    const Shape& ref = shapeOf(*reference);
    double referenceWidth = 0.0;
    int referenceLeads = 0;
    for (int c = 0; c < Beat::kChannels; ++c) {
        referenceWidth = std::max(referenceWidth, ref.width[c]);
        referenceLeads += ref.sign[c] != 0;
    }

    std::vector<BeatClass*> candidates;
    for (const auto& entry : m_classes->classes()) {
        BeatClass* cls = entry.second.get();
        if (cls != reference && (cls->type == BeatU || cls->type == BeatN)
            && cls->memberCount() > 0)
            candidates.push_back(cls);
    }
    for (BeatClass* cls : candidates) {
        const Shape& s = shapeOf(*cls);
        labelcriteria::ShapeComparison cmp;
        cmp.referenceWidth = referenceWidth;
        cmp.meanRrRatio = cls->meanRrRatio;
        cmp.strict = cls->type == BeatN;
        cmp.discordantT = discordantT(*cls) && !discordantT(*reference);
        // A second form of the normal beat keeps its P wave.
        cmp.share = hasClearP(*reference) && !hasClearP(*cls)
            ? 0.0
            : double(cls->memberCount()) / reference->memberCount();
        for (int c = 0; c < Beat::kChannels; ++c) {
            // Every lead that carries this class's QRS counts, whether or not the dominant
            // beat shows one there.
            if (s.sign[c] == 0 || s.unit[c].empty() || ref.unit[c].empty())
                continue;
            ++cmp.leads;
            cmp.minCorrelation = std::min(cmp.minCorrelation,
                MorphologyMatcher::shiftedCorrelation(s.unit[c], ref.unit[c], kTemplateShift));
            cmp.width = std::max(cmp.width, s.width[c]);
        }
        if (!labelcriteria::ventricularShape(cmp))
            continue;
        if (cls->memberCount() < kSmallClass) {
            // A lone odd shape may be an artefact or an aberrant supraventricular beat: it must
            // show a QRS on as many leads as the dominant beat (two at most), come early and be
            // followed by a compensatory pause.
            bool ectopic = cmp.leads >= std::min(2, referenceLeads);
            for (int index : cls->members) {
                Beat b, next;
                if (!m_list->get(index, b))
                    continue;
                const double nextRr = m_list->nextBeat(index, next) ? next.rr() : 0.0;
                ectopic = ectopic
                    && labelcriteria::premature(b.rr(), b.medianRR(), kEctopicRatio)
                    && labelcriteria::compensatoryPause(b.rr(), nextRr, b.medianRR());
            }
            if (!ectopic)
                continue;
        }
        cls->setType(BeatV);
    }
    smallVentricularMatches();
}

bool LabelRefinement::discordantT(const BeatClass& cls)
{
    int leads = 0;
    for (int c = 0; c < cls.channelCount(); ++c) {
        const int sign = cls.qrsSign(c);
        if (sign == 0)
            continue;
        if (!(sign * cls.tPolarity[c] < -kClearT))
            return false;
        ++leads;
    }
    return leads > 0;
}

void LabelRefinement::smallVentricularMatches()
{
    std::vector<std::pair<BeatClass*, const Shape*>> ventricular;
    std::vector<BeatClass*> small;
    for (const auto& entry : m_classes->classes()) {
        BeatClass* cls = entry.second.get();
        if (cls->type == BeatV && cls->memberCount() >= kMatchedVentricular)
            ventricular.emplace_back(cls, &shapeOf(*cls));
        else if (cls->type == BeatU && cls->memberCount() < kSmallClass)
            small.push_back(cls);
    }
    for (BeatClass* cls : small) {
        const Shape& s = shapeOf(*cls);
        for (const auto& v : ventricular) {
            // Like an established ventricular class on every lead that carries a QRS.
            int leads = 0;
            bool like = true;
            for (int c = 0; c < Beat::kChannels && like; ++c) {
                if (s.sign[c] == 0 || s.unit[c].empty() || v.second->unit[c].empty())
                    continue;
                ++leads;
                like = MorphologyMatcher::shiftedCorrelation(s.unit[c], v.second->unit[c],
                           kTemplateShift)
                    >= kSmallMatch;
            }
            if (leads > 0 && like) {
                cls->setType(BeatV);
                break;
            }
        }
    }
}

// Classes left U that have the dominant beat's shape are normal; so are those on time and still
// like it under noise, which makes every beat's shape unique and leaves the beats of a noisy
// stretch in classes of their own.
void LabelRefinement::normalShapedClasses()
{
    BeatClass* reference = referenceClass();
    if (!reference)
        return;
    const Shape& ref = shapeOf(*reference);
    for (const auto& entry : m_classes->classes()) {
        BeatClass* cls = entry.second.get();
        if (cls->type != BeatU)
            continue;
        const bool onTime = cls->meanRrRatio >= kOnTimeLow && cls->meanRrRatio <= kOnTimeHigh;
        const Shape& s = shapeOf(*cls);
        int leads = 0;
        double worst = 1.0;
        for (int c = 0; c < Beat::kChannels; ++c) {
            if (s.sign[c] == 0 || s.unit[c].empty() || ref.unit[c].empty())
                continue;
            ++leads;
            worst = std::min(worst,
                MorphologyMatcher::shiftedCorrelation(s.unit[c], ref.unit[c], kTemplateShift));
        }
        // Early beats of a normal shape are sorted out beat by beat (prematureSupraventricular).
        if (leads > 0 && (worst >= kNormalMatch || (onTime && worst >= kNoisyMatch)))
            cls->setType(BeatN);
    }
}

void LabelRefinement::loadEntries()
{
    std::unordered_map<int, BeatClass*> owner;
    for (const auto& entry : m_classes->classes())
        for (int index : entry.second->members)
            owner[index] = entry.second.get();
    m_entries.clear();
    const int n = m_list->count();
    for (int i = 0; i < n; ++i) {
        Beat b;
        if (!m_list->get(i, b) || !b.isBeat)
            continue;
        Entry e;
        e.index = i;
        e.rInstant = b.rInstant();
        e.rr = b.rr();
        e.medianRr = b.medianRR();
        const auto it = owner.find(i);
        e.cls = it == owner.end() ? nullptr : it->second;
        m_entries.push_back(e);
    }
}

void LabelRefinement::ventricularRuns()
{
    BeatClass* reference = referenceClass();
    if (!reference)
        return;
    const Shape& ref = shapeOf(*reference);
    std::vector<size_t> joining;
    const int channels = std::min(m_source->channelCount(), int(Beat::kChannels));
    const BeatClass* runClass = nullptr; // class of the V beat the run started with
    for (size_t i = 0; i < m_entries.size(); ++i) {
        const Entry& e = m_entries[i];
        if (e.type() == BeatV) {
            runClass = e.cls;
            continue;
        }
        if (!runClass || !e.cls || e.type() != BeatU || !(e.rr > 0.0) || !(e.medianRr > 0.0)
            || e.rr > kRunLongest * e.medianRr) {
            runClass = nullptr;
            continue;
        }
        const Shape& run = shapeOf(*runClass);
        // Like the run's first beat on every lead that carries its QRS, and unlike the
        // dominant normal beat on at least one.
        bool same = true;
        bool unlikeNormal = false;
        for (int c = 0; c < channels && same; ++c) {
            if (run.sign[c] == 0 || run.unit[c].empty())
                continue;
            const std::vector<double> w = beatWindow(e, c);
            same = MorphologyMatcher::shiftedCorrelation(w, run.unit[c], kTemplateShift)
                >= kRunMatch;
            if (!ref.unit[c].empty()
                && MorphologyMatcher::shiftedCorrelation(w, ref.unit[c], kTemplateShift)
                    < kRunUnlikeNormal)
                unlikeNormal = true;
        }
        if (same && unlikeNormal)
            joining.push_back(i);
        else
            runClass = nullptr;
    }
    retype(joining, BeatV);
}

std::vector<bool> LabelRefinement::fibrillating() const
{
    std::vector<double> rr(m_entries.size(), 0.0);
    for (size_t i = 1; i < m_entries.size(); ++i) {
        const bool nearV = m_entries[i].type() == BeatV || m_entries[i - 1].type() == BeatV;
        if (!nearV && m_entries[i].rr > 0.0)
            rr[i] = m_entries[i].rr;
    }
    return labelcriteria::irregularRhythm(rr);
}

void LabelRefinement::conductedFibrillation()
{
    const std::vector<bool>& af = m_fibrillating;
    std::vector<size_t> conducted;
    for (size_t i = 0; i < m_entries.size(); ++i)
        if (af[i] && m_entries[i].type() == BeatS)
            conducted.push_back(i);
    retype(conducted, BeatN);
}

void LabelRefinement::prematureSupraventricular()
{
    const std::vector<bool>& af = m_fibrillating;
    std::vector<size_t> early;
    double runBaseline = 0.0; // median RR before a run of early beats, 0 outside one
    int settled = 0; // beats with an RR in a row: the median RR needs some to mean anything
    for (size_t i = 1; i + 1 < m_entries.size(); ++i) {
        const Entry& e = m_entries[i];
        const int type = e.type();
        if (type == BeatV || type == BeatU)
            continue; // neither starts nor ends a run
        if (af[i] || (type != BeatN && type != BeatS) || !(e.rr > 0.0)) {
            runBaseline = 0.0;
            settled = 0;
            continue;
        }
        ++settled;
        // Inside a run the median follows the fast rate; the rate before the run still counts,
        // and the run must stay a tachycardia.
        if (runBaseline > 0.0 && e.rr < kEarly * runBaseline && e.rr < kRunFastest) {
            early.push_back(i);
            continue;
        }
        runBaseline = 0.0;
        const double prev = m_entries[i - 1].rr;
        const double next = m_entries[i + 1].rr;
        const bool startsEarly = labelcriteria::premature(e.rr, e.medianRr, kEarly) && prev > 0.0
            && e.rr < kEarly * prev;
        // An early beat is followed by a longer interval, or by more early beats.
        const bool followed = next > kLongerAfter * e.rr
            || labelcriteria::premature(next, e.medianRr, kEarly);
        // A run starts only with a beat that is early against the rhythm before it.
        if (startsEarly && settled > kSettledBeats && (type == BeatS || followed)) {
            if (type == BeatN)
                early.push_back(i);
            runBaseline = e.medianRr;
        }
    }
    retype(early, BeatS);
}

void LabelRefinement::retype(const std::vector<size_t>& positions, int type)
{
    std::map<BeatClass*, std::vector<size_t>> leaving;
    for (size_t p : positions)
        if (m_entries[p].cls && m_entries[p].cls->type != type)
            leaving[m_entries[p].cls].push_back(p);
    for (auto& group : leaving) {
        BeatClass* from = group.first;
        if (group.second.size() == from->members.size()) {
            from->setType(type);
            continue;
        }
        forget(from);
        BeatClass* to = m_classes->createNext();
        to->setType(type);
        for (size_t p : group.second) {
            from->removeMember(m_entries[p].index, true);
            to->add(m_entries[p].index, true);
            m_entries[p].cls = to;
        }
    }
}
