#include "analysis/beatclassifier.h"

#include "analysis/averagebeatdelineator.h"
#include "analysis/labelrefinement.h"
#include "analysis/typeassignment.h"
#include "store/beatclass.h"
#include "store/beatlist.h"

#include <algorithm>

namespace {

constexpr double kWindowSeconds = 20.0; // of recent beats behind the reference average
constexpr int kReferenceBeats = 4; // accepted beats before the reference is used
constexpr int kReferenceShift = 2; // samples at 125 Hz

std::vector<double> unitSegment(std::vector<double> v)
{
    if (!v.empty()) {
        double mean = 0.0;
        for (double x : v)
            mean += x;
        mean /= double(v.size());
        for (double& x : v)
            x -= mean;
    }
    MorphologyMatcher::normalise(v);
    return v;
}

} // namespace

BeatClassifier::BeatClassifier()
    : m_window(kWindowSeconds, false)
    , m_matcher(0.15, 0.35)
{
}

BeatClassifier::~BeatClassifier() = default;

void BeatClassifier::init(BeatList* list, SignalSource* source250, BeatClassSet* classSet)
{
    m_list = list;
    m_source250 = source250;
    m_classes = classSet;
    m_index = 0;
    // The window and matcher read the sources made here; drop their views first.
    m_window = RecentBeatWindow(kWindowSeconds, false);
    m_matcher = MorphologyMatcher(0.15, 0.35);
    for (ClassifierSource* s : { &m_reference, &m_derivative }) {
        s->output.reset(); // the resampler goes before the filter it wraps
        s->filtered.reset();
    }
    if (!source250)
        return;
    m_reference = makeClassifierLowPass(source250);
    m_derivative = makeClassifierDerivative(source250);
    m_window.setSource(m_reference.output.get());
    m_matcher.setSource(m_derivative.output.get());
    m_matcher.setListener(this);
}

void BeatClassifier::step()
{
    if (!m_list)
        return;
    const int end = std::min(m_list->count(), m_index + kStepEntries);
    for (; m_index < end; ++m_index) {
        Beat beat;
        if (m_list->get(m_index, beat) && beat.isBeat)
            classify(beat);
    }
}

BeatClass* BeatClassifier::clusterClass(const Beat& beat)
{
    const int id = kClusterClassBase + m_matcher.classify(beat);
    BeatClass* cls = m_classes->find(id);
    if (!cls) {
        cls = m_classes->create(id);
        cls->setType(BeatU);
    }
    return cls;
}

// How well the beat fits the recent average, channel by channel: the best correlation and the
// number of channels above 0.95.
void BeatClassifier::referenceMatch(const Beat& beat, double& best, int& close)
{
    best = 0.0;
    close = 0;
    SignalSource* ref = m_reference.output.get();
    const int rate = ref->samplingRate();
    const int length = int(0.5 * rate + 0.5);
    const int offset = m_window.peakPosition() - int(0.2 * rate + 0.5);
    const int refChannel = m_window.referenceChannel();
    const int channels = std::min(ref->channelCount(), int(Beat::kChannels));
    for (int c = 0; c < channels; ++c) {
        if (beat.measure[c][Beat::HasQrs] == 0.0)
            continue;
        const std::vector<double>& avg = m_window.average(c);
        std::vector<double> a(size_t(length), 0.0);
        for (int i = 0; i < length && offset + i < int(avg.size()); ++i) {
            if (offset + i >= 0)
                a[size_t(i)] = avg[size_t(offset + i)];
        }
        a = unitSegment(std::move(a));
        const double t0 = beat.measure[c][Beat::QrsPolarity] != 0.0
            ? beat.measure[c][Beat::RPeak]
            : beat.measure[refChannel][Beat::RPeak];
        std::vector<double> w(size_t(length), 0.0);
        ref->readSamples(c, qint64((t0 - 0.2) * rate + 0.5), length, w.data());
        w = unitSegment(std::move(w));
        const double corr
            = std::max(0.0, MorphologyMatcher::shiftedCorrelation(a, w, kReferenceShift));
        best = std::max(best, corr);
        if (corr > 0.95)
            ++close;
    }
}

void BeatClassifier::classify(const Beat& beat)
{
    if (!m_list || !m_classes || !m_source250)
        return;
    const double rr = beat.timing[Beat::RR];
    const double median = beat.timing[Beat::MedianRR];
    if (!(rr > 0.0) || !(median > 0.0)) {
        // Nothing to compare its timing with: the beat stays alone, outside every class.
        Beat copy;
        if (m_list->get(beat.index, copy)) {
            copy.classId = beat.index + kPrivateClassBase;
            copy.type = BeatU;
            m_list->replace(copy);
        }
        return;
    }

    m_window.push(beat);
    if (m_window.count() < kReferenceBeats) {
        clusterClass(beat)->add(beat.index, true);
        return;
    }

    double best = 0.0;
    int close = 0;
    referenceMatch(beat, best, close);
    const double x = rr / median;
    const bool regular = x > 0.9 || (x > 0.85 && rr > 0.9);
    const bool premature = x < 0.8;
    const bool normalShape = best > 0.98 || close >= 2;

    BeatClass* cls = clusterClass(beat);
    if (cls->type == BeatU && normalShape)
        cls->setType(premature && !regular ? BeatS : BeatN);
    cls->add(beat.index, true);
}

void BeatClassifier::finish()
{
    if (!m_classes)
        return;
    m_matcher.close();
    AverageBeatDelineator* delineator = m_delineator;
    if (!delineator) {
        if (!m_ownDelineator)
            m_ownDelineator = std::make_unique<AverageBeatDelineator>();
        delineator = m_ownDelineator.get();
    }
    TypeAssignment assignment(m_list, m_source250, m_classes, delineator);
    assignment.automaticRule(m_progress);
    if (refineLabels)
        LabelRefinement(m_list, m_source250, m_classes).run();
    if (svpbUserDefined)
        assignment.userRule(svpbPrematurityRatio, svpbCompensatory);
    assignment.excludeTypes(excludeType);
    assignment.writeBeats();
}

void BeatClassifier::merged(int target, int absorbed)
{
    if (m_classes)
        m_classes->merge(target + kClusterClassBase, absorbed + kClusterClassBase);
}

void BeatClassifier::removed(int cluster)
{
    if (m_classes)
        m_classes->remove(cluster + kClusterClassBase);
}
