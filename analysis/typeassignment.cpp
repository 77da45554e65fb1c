#include "analysis/typeassignment.h"

#include "analysis/averagebeatdelineator.h"
#include "analysis/morphologymatcher.h"
#include "store/beatclass.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kMeasuredMembers = 1000;
constexpr int kTemplateShift = 10; // samples at 250 Hz, about 40 ms each way
constexpr int kMaxMatchTries = 40;
constexpr int kMaxNormalsSeen = 30;
constexpr int kMatchMinMembers = 5;

// a / b, or 0 when either is not positive.
double ratio(double a, double b)
{
    return a > 0.0 && b > 0.0 ? a / b : 0.0;
}

int commonChannels(const ClassProfile& a, const ClassProfile& b)
{
    return std::min(std::min(a.channels, b.channels), int(Beat::kChannels));
}

} // namespace

int normalTest(const ClassProfile& cls, const ClassProfile& ref, const double* corr)
{
    int score = 0, total = 0, channels = 0;
    for (int c = 0; c < commonChannels(cls, ref); ++c) {
        if (cls.qrsSign[c] == 0 || ref.qrsSign[c] == 0)
            continue;
        ++channels;
        total += 3;
        if (corr[c] > 0.9)
            score += 3;
        else if (corr[c] > 0.8)
            score += 2;
        else if (corr[c] > 0.7)
            score += 1;
        const double rA = ratio(cls.amplitude[c], ref.amplitude[c]);
        if (rA > 0.0 && rA < 15.0) {
            total += 2;
            if (rA > 0.8 && rA < 1.2)
                score += 2;
        }
        const double rQ = ratio(cls.duration[c], ref.duration[c]);
        if (rQ > 0.0) {
            total += 2;
            if (rQ < 1.1)
                score += 2;
        }
        // Agreement of sign, P and T is a bonus: it raises score and total together, and its
        // absence costs nothing.
        const bool agreements[3] = { cls.qrsSign[c] == ref.qrsSign[c],
            std::fabs(cls.pPolarity[c] - ref.pPolarity[c]) < 0.5,
            std::fabs(cls.tPolarity[c] - ref.tPolarity[c]) < 0.5 };
        for (bool holds : agreements) {
            score += holds;
            total += holds;
        }
    }
    if (!(score > 0.75 * total))
        return BeatU;
    if (cls.meanRrRatio > 0.95)
        return BeatN;
    if (cls.meanRrRatio < 0.8 && channels >= 2 && cls.members >= 10)
        return BeatS;
    return BeatU;
}

int ventricularTest(const ClassProfile& cls, const ClassProfile& ref, const double* corr)
{
    int score = 0, total = 0, channels = 0;
    for (int c = 0; c < commonChannels(cls, ref); ++c) {
        if (cls.qrsSign[c] == 0 || ref.qrsSign[c] == 0)
            continue;
        ++channels;
        total += 3;
        if (corr[c] < 0.5)
            score += 3;
        else if (corr[c] < 0.7)
            score += 2;
        else if (corr[c] < 0.8)
            score += 1;
        const double rA = ratio(cls.amplitude[c], ref.amplitude[c]);
        if (rA > 0.0 && rA < 15.0) {
            total += 3;
            if (rA < 0.5 || rA > 2.0)
                score += 3;
            else if (rA < 0.7 || rA > 1.5)
                score += 2;
            else if (rA < 0.8 || rA > 1.2)
                score += 1;
        }
        const double rQ = ratio(cls.duration[c], ref.duration[c]);
        if (rQ > 0.0) {
            total += 3;
            if (rQ > 1.4)
                score += 3;
            else if (rQ > 1.2)
                score += 2;
            else if (rQ > 1.1)
                score += 1;
        }
        // Likewise a flipped QRS, a lost P and an opposed T only ever add evidence.
        const double a = cls.tPolarity[c], b = ref.tPolarity[c];
        const bool signs[3] = { cls.qrsSign[c] != ref.qrsSign[c],
            std::fabs(ref.pPolarity[c]) > 0.5 && std::fabs(cls.pPolarity[c]) < 0.1,
            (a > 0.5 && b < -0.5) || (a < -0.5 && b > 0.5) };
        for (bool holds : signs) {
            score += holds;
            total += holds;
        }
    }
    const bool ventricular
        = channels >= 2 && (score > 0.8 * total || (score > 0.6 * total && cls.meanRrRatio < 0.85));
    return ventricular ? BeatV : BeatU;
}

TypeAssignment::TypeAssignment(
    BeatList* list, SignalSource* source, BeatClassSet* classes, AverageBeatDelineator* delineator)
    : m_list(list)
    , m_source(source)
    , m_classes(classes)
    , m_delineator(delineator)
{
}

ClassProfile TypeAssignment::profile(const BeatClass& cls)
{
    ClassProfile p;
    p.channels = cls.channelCount();
    p.members = cls.memberCount();
    p.type = cls.type;
    p.meanRrRatio = cls.meanRrRatio;
    for (int c = 0; c < p.channels; ++c) {
        p.qrsSign[c] = cls.qrsSign(c);
        p.pPolarity[c] = cls.pPolarity[c];
        p.tPolarity[c] = cls.tPolarity[c];
    }
    if (!m_source || !m_list)
        return p;

    const int rate = m_source->samplingRate();
    const int length = int(0.8 * rate + 0.5);
    const int rPosition = int(0.3 * rate + 0.5);
    const int half = int(0.1 * rate + 0.5);
    const int channels = std::min(p.channels, m_source->channelCount());
    std::vector<double> sum[Beat::kChannels];
    int counts[Beat::kChannels] = {};
    std::vector<double> w(static_cast<size_t>(length));
    const int used = std::min(p.members, kMeasuredMembers);
    for (int i = 0; i < used; ++i) {
        Beat beat;
        if (!m_list->get(cls.members[size_t(i)], beat))
            continue;
        // From 0.3 s before the R instant, so that R lies where the delineator is told it does.
        const qint64 start = qint64((beat.rInstant() - 0.3) * rate + 0.5);
        for (int c = 0; c < channels; ++c) {
            if (beat.measure[c][Beat::HasQrs] == 0.0)
                continue;
            m_source->readSamples(c, start, length, w.data());
            double mean = 0.0;
            for (double x : w)
                mean += x;
            mean /= length;
            sum[c].resize(size_t(length), 0.0);
            for (int k = 0; k < length; ++k)
                sum[c][size_t(k)] += w[size_t(k)] - mean;
            ++counts[c];
        }
    }
    for (int c = 0; c < channels; ++c) {
        if (counts[c] == 0)
            continue;
        for (double& x : sum[c])
            x /= counts[c];
        if (m_delineator) {
            m_delineator->measure(sum[c].data(), length, rate, rPosition, 0);
            if (m_delineator->qrsEnd > m_delineator->qrsOnset)
                p.duration[c] = double(m_delineator->qrsEnd - m_delineator->qrsOnset) / rate;
        }
        const int from = std::max(0, rPosition - half);
        const int to = std::min(length, rPosition + half);
        if (from < to) {
            const auto range = std::minmax_element(sum[c].begin() + from, sum[c].begin() + to);
            p.amplitude[c] = *range.second - *range.first;
        }
    }
    return p;
}

const TypeAssignment::Unit& TypeAssignment::unitTemplates(const BeatClass& cls)
{
    auto it = m_units.find(&cls);
    if (it != m_units.end())
        return it->second;
    Unit u;
    for (int c = 0; c < cls.channelCount(); ++c) {
        u.templ[c].assign(cls.templ[c].begin(), cls.templ[c].end());
        MorphologyMatcher::normalise(u.templ[c]);
    }
    return m_units.emplace(&cls, std::move(u)).first->second;
}

void TypeAssignment::correlate(const BeatClass& a, const BeatClass& b, const ClassProfile& pa,
    const ClassProfile& pb, double* corr)
{
    const Unit& ua = unitTemplates(a);
    const Unit& ub = unitTemplates(b);
    for (int c = 0; c < Beat::kChannels; ++c) {
        corr[c] = 0.0;
        if (c < commonChannels(pa, pb) && pa.qrsSign[c] != 0 && pb.qrsSign[c] != 0)
            corr[c]
                = MorphologyMatcher::shiftedCorrelation(ua.templ[c], ub.templ[c], kTemplateShift);
    }
}

void TypeAssignment::automaticRule(const std::function<void(double)>& progress)
{
    if (!m_classes)
        return;
    std::vector<BeatClass*> order;
    for (const auto& entry : m_classes->classes())
        order.push_back(entry.second.get());
    if (order.empty())
        return;
    std::sort(order.begin(), order.end(),
        [](const BeatClass* a, const BeatClass* b) { return a->memberCount() > b->memberCount(); });

    BeatClass* reference = nullptr;
    for (BeatClass* cls : order) {
        if (cls->type == BeatN) {
            reference = cls;
            break;
        }
    }
    if (!reference) {
        reference = order.front();
        reference->setType(BeatN);
    }
    const ClassProfile ref = profile(*reference);

    const double n = double(order.size());
    for (size_t i = 0; i < order.size(); ++i) {
        BeatClass& cls = *order[i];
        if (cls.type == BeatU && cls.memberCount() != 1) {
            const ClassProfile p = profile(cls);
            double corr[Beat::kChannels];
            correlate(cls, *reference, p, ref, corr);
            cls.setType(normalTest(p, ref, corr));
            if (cls.type == BeatU && cls.memberCount() >= 10)
                cls.setType(ventricularTest(p, ref, corr));
        }
        if (progress)
            progress((i + 1) * 50.0 / n);
    }
    for (size_t i = 0; i < order.size(); ++i) {
        if (order[i]->type == BeatU)
            matchTest(*order[i], order);
        if (progress)
            progress(50.0 + (i + 1) * 50.0 / n);
    }
}

void TypeAssignment::matchTest(BeatClass& cls, const std::vector<BeatClass*>& order)
{
    int normalsSeen = 0, tried = 0;
    const BeatClass* match = nullptr;
    ClassProfile pc;
    pc.channels = cls.channelCount();
    for (int c = 0; c < pc.channels; ++c)
        pc.qrsSign[c] = cls.qrsSign(c);

    for (const BeatClass* m : order) {
        if (tried >= kMaxMatchTries || m->memberCount() < kMatchMinMembers)
            break;
        if (m->type == BeatU || (m->type == BeatN && normalsSeen >= kMaxNormalsSeen))
            continue;
        ClassProfile pm;
        pm.channels = m->channelCount();
        for (int c = 0; c < pm.channels; ++c)
            pm.qrsSign[c] = m->qrsSign(c);
        double corr[Beat::kChannels];
        correlate(cls, *m, pc, pm, corr);
        double best = 0.0, worst = 1.0;
        int n90 = 0;
        for (int c = 0; c < commonChannels(pc, pm); ++c) {
            if (pc.qrsSign[c] == 0 || pm.qrsSign[c] == 0)
                continue;
            best = std::max(best, corr[c]);
            worst = std::min(worst, corr[c]);
            if (corr[c] > 0.9)
                ++n90;
        }
        ++tried;
        if (m->type == BeatN)
            ++normalsSeen;
        if ((best > 0.95 || n90 >= 2) && worst > 0.6) {
            match = m;
            break;
        }
    }

    if (!match) {
        if (cls.memberCount() == 1)
            cls.setType(loneBeatType(cls));
        return;
    }
    const double q = cls.meanRrRatio;
    if (match->type == BeatN) {
        if (q > 0.9)
            cls.setType(BeatN);
        else if (q < 0.8)
            cls.setType(BeatS);
        return;
    }
    // A regular class doesn't follow an ectopic match that is clearly more premature.
    if (!(q >= 0.85 && match->meanRrRatio + 0.05 < q))
        cls.setType(match->type);
}

int TypeAssignment::loneBeatType(const BeatClass& cls)
{
    if (!m_list || cls.memberCount() != 1)
        return BeatU;
    const int index = cls.members.front();
    Beat b, prev, next;
    if (!m_list->get(index, b) || !m_list->previousBeat(index, prev)
        || !m_list->nextBeat(index, next))
        return BeatU;
    const double rb = b.timing[Beat::RR];
    const double rp = prev.timing[Beat::RR];
    const double rn = next.timing[Beat::RR];
    const bool likePrevious = rb > 0.0 && rp > 0.0 && rb > 0.9 * rp && rb < 1.1 * rp;
    const bool likeNext = rn == 0.0 || (rb > 0.9 * rn && rb < 1.1 * rn);
    return likePrevious && likeNext ? BeatN : BeatU;
}

void TypeAssignment::userRule(double prematurityRatio, bool compensatory)
{
    if (!m_classes || !m_list)
        return;
    std::vector<BeatClass*> targets;
    for (const auto& entry : m_classes->classes()) {
        if (entry.second->type == BeatN || entry.second->type == BeatS)
            targets.push_back(entry.second.get());
    }
    for (BeatClass* cls : targets) {
        std::vector<int> leaving;
        for (int index : cls->members) {
            Beat b, prev, next;
            if (!m_list->get(index, b) || !m_list->previousBeat(index, prev)
                || !m_list->nextBeat(index, next))
                continue;
            const double r = b.timing[Beat::RR];
            const double m = b.timing[Beat::MedianRR];
            const double p = prev.timing[Beat::RR];
            const double n = next.timing[Beat::RR];
            const bool early = r > 0.0 && m > 0.0 && !(r / m > prematurityRatio);
            const bool pause = r > 0.0 && p > 0.0 && n > 0.0 && r + n >= 2.0 * p;
            const bool premature = early && (!compensatory || pause);
            if (premature == (cls->type == BeatN))
                leaving.push_back(index);
        }
        if (leaving.empty())
            continue;
        BeatClass* moved = m_classes->createNext();
        moved->setType(cls->type == BeatN ? BeatS : BeatN);
        for (int index : leaving) {
            cls->removeMember(index, true);
            moved->add(index, true);
        }
    }
}

void TypeAssignment::excludeTypes(const bool exclude[5])
{
    if (!m_classes)
        return;
    for (const auto& entry : m_classes->classes()) {
        const int type = entry.second->type;
        if (type >= 0 && type < 5 && exclude[type])
            entry.second->setType(BeatN);
    }
}

void TypeAssignment::writeBeats()
{
    if (!m_classes || !m_list)
        return;
    for (const auto& entry : m_classes->classes()) {
        const BeatClass& cls = *entry.second;
        for (int index : cls.members) {
            Beat beat;
            if (!m_list->get(index, beat))
                continue;
            beat.classId = cls.id;
            beat.type = cls.type;
            m_list->replace(beat);
        }
    }
}
