#include "tools/evaluation/beatcomparison.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

std::optional<AamiClass> aamiClassOfCode(int code)
{
    switch (code) {
    case 1: // N normal
    case 2: // L left bundle branch block
    case 3: // R right bundle branch block
    case 25: // B bundle branch block, unspecified
    case 34: // e atrial escape
    case 11: // j nodal escape
        return AamiClass::N;
    case 8: // A atrial premature
    case 4: // a aberrated atrial premature
    case 7: // J nodal premature
    case 9: // S supraventricular premature
    case 35: // n supraventricular escape
        return AamiClass::S;
    case 5: // V premature ventricular contraction
    case 10: // E ventricular escape
    case 41: // r R-on-T
        return AamiClass::V;
    case 6: // F fusion of ventricular and normal
        return AamiClass::F;
    case 12: // / paced
    case 38: // f fusion of paced and normal
    case 13: // Q unclassifiable
        return AamiClass::Q;
    default:
        return std::nullopt;
    }
}

char aamiClassLetter(AamiClass c)
{
    static const char letters[kAamiClassCount] = { 'N', 'S', 'V', 'F', 'Q', 'O' };
    return letters[int(c)];
}

std::optional<double> DetectionCounts::sensitivity() const
{
    if (tp + fn == 0)
        return std::nullopt;
    return double(tp) / double(tp + fn);
}

std::optional<double> DetectionCounts::positivePredictivity() const
{
    if (tp + fp == 0)
        return std::nullopt;
    return double(tp) / double(tp + fp);
}

BeatConfusion& BeatConfusion::operator+=(const BeatConfusion& o)
{
    for (int r = 0; r < kAamiClassCount; ++r)
        for (int t = 0; t < kAamiClassCount; ++t)
            m_cells[r][t] += o.m_cells[r][t];
    return *this;
}

qint64 BeatConfusion::referenceBeats() const
{
    qint64 n = 0;
    for (int r = 0; r < idx(AamiClass::None); ++r)
        for (int t = 0; t < kAamiClassCount; ++t)
            n += m_cells[r][t];
    return n;
}

qint64 BeatConfusion::testBeats() const
{
    qint64 n = 0;
    for (int r = 0; r < kAamiClassCount; ++r)
        for (int t = 0; t < idx(AamiClass::None); ++t)
            n += m_cells[r][t];
    return n;
}

// Cells are written Rt: reference class R, test class t, with O/o for "no beat".

// QRS detection ignores classes: TP = every matched pair, FN = every reference beat without a
// partner (No+So+Vo+Fo+Qo), FP = every test beat without a partner (On+Os+Ov+Of+Oq).
DetectionCounts BeatConfusion::qrs() const
{
    DetectionCounts d;
    const int none = idx(AamiClass::None);
    for (int r = 0; r < none; ++r) {
        for (int t = 0; t < none; ++t)
            d.tp += m_cells[r][t];
        d.fn += m_cells[r][none];
    }
    for (int t = 0; t < none; ++t)
        d.fp += m_cells[none][t];
    return d;
}

// VEB: TP = Vv; FN = Vn+Vs+Vf+Vq+Vo (a ventricular beat reported as anything else or missed);
// FP = Nv+Sv+Ov. A fusion beat called V (Fv) is not a false positive, since a fusion is partly
// ventricular, and a Q reference beat (paced or unclassifiable) is not held against the test
// whatever it is called (Qv).
DetectionCounts BeatConfusion::veb() const
{
    using A = AamiClass;
    DetectionCounts d;
    d.tp = count(A::V, A::V);
    d.fn = count(A::V, A::N) + count(A::V, A::S) + count(A::V, A::F) + count(A::V, A::Q)
        + count(A::V, A::None);
    d.fp = count(A::N, A::V) + count(A::S, A::V) + count(A::None, A::V);
    return d;
}

// SVEB: TP = Ss; FN = Sn+Sv+Sf+Sq+So; FP = Ns+Vs+Fs+Os. As for VEB, Q reference beats called S
// (Qs) are not false positives.
DetectionCounts BeatConfusion::sveb() const
{
    using A = AamiClass;
    DetectionCounts d;
    d.tp = count(A::S, A::S);
    d.fn = count(A::S, A::N) + count(A::S, A::V) + count(A::S, A::F) + count(A::S, A::Q)
        + count(A::S, A::None);
    d.fp = count(A::N, A::S) + count(A::V, A::S) + count(A::F, A::S) + count(A::None, A::S);
    return d;
}

namespace {

struct TimedBeat
{
    qint64 sample;
    AamiClass cls;
};

QVector<TimedBeat> beatsOf(const QVector<WfdbAnnotation>& annotations)
{
    QVector<TimedBeat> beats;
    beats.reserve(annotations.size());
    for (const WfdbAnnotation& a : annotations)
        if (const auto c = aamiClassOfCode(a.code))
            beats.push_back({ a.sample, *c });
    std::stable_sort(beats.begin(), beats.end(),
        [](const TimedBeat& x, const TimedBeat& y) { return x.sample < y.sample; });
    return beats;
}

struct Candidate
{
    qint64 distance; // samples
    int ref;
    int test;
};

} // namespace

QVector<QPair<qint64, qint64>> flutterStretches(const QVector<WfdbAnnotation>& reference)
{
    constexpr int kFlutterOnset = 32, kFlutterEnd = 33;
    QVector<QPair<qint64, qint64>> stretches;
    qint64 onset = -1;
    for (const WfdbAnnotation& a : reference) {
        if (a.code == kFlutterOnset && onset < 0)
            onset = a.sample;
        else if (a.code == kFlutterEnd && onset >= 0) {
            stretches.append({ onset, a.sample });
            onset = -1;
        }
    }
    if (onset >= 0)
        stretches.append({ onset, std::numeric_limits<qint64>::max() });
    return stretches;
}

BeatConfusion compareBeats(const QVector<WfdbAnnotation>& reference,
    const QVector<WfdbAnnotation>& test, const BeatComparisonOptions& options)
{
    const QVector<QPair<qint64, qint64>> excluded =
        options.excludeFlutter ? flutterStretches(reference) : QVector<QPair<qint64, qint64>>();
    auto isExcluded = [&excluded](qint64 sample) {
        for (const auto& s : excluded)
            if (sample >= s.first && sample <= s.second)
                return true;
        return false;
    };
    const QVector<TimedBeat> ref = beatsOf(reference);
    const QVector<TimedBeat> tst = beatsOf(test);
    // Sample numbers are whole; the small slack keeps a distance of exactly the window (150 ms
    // at 1000 Hz = 150 samples) inside it despite rounding of the product.
    const double window = options.matchWindowSeconds * options.samplingRate + 1e-6;
    const double startSample = options.startSeconds * options.samplingRate - 1e-6;

    QVector<Candidate> candidates;
    int first = 0; // first test beat not too early for the current reference beat
    for (int i = 0; i < ref.size(); ++i) {
        while (first < tst.size() && double(ref[i].sample - tst[first].sample) > window)
            ++first;
        for (int j = first; j < tst.size(); ++j) {
            const qint64 d = std::llabs(tst[j].sample - ref[i].sample);
            if (tst[j].sample > ref[i].sample && double(d) > window)
                break;
            if (double(d) <= window)
                candidates.push_back({ d, i, j });
        }
    }
    std::sort(candidates.begin(), candidates.end(), [](const Candidate& a, const Candidate& b) {
        if (a.distance != b.distance)
            return a.distance < b.distance;
        if (a.ref != b.ref)
            return a.ref < b.ref;
        return a.test < b.test;
    });

    QVector<int> refPartner(ref.size(), -1);
    QVector<int> testPartner(tst.size(), -1);
    for (const Candidate& c : candidates) {
        if (refPartner[c.ref] >= 0 || testPartner[c.test] >= 0)
            continue;
        refPartner[c.ref] = c.test;
        testPartner[c.test] = c.ref;
    }

    BeatConfusion m;
    for (int i = 0; i < ref.size(); ++i) {
        if (double(ref[i].sample) < startSample || isExcluded(ref[i].sample))
            continue;
        const int j = refPartner[i];
        m.add(ref[i].cls, j >= 0 ? tst[j].cls : AamiClass::None);
    }
    for (int j = 0; j < tst.size(); ++j)
        if (testPartner[j] < 0 && double(tst[j].sample) >= startSample
            && !isExcluded(tst[j].sample))
            m.add(AamiClass::None, tst[j].cls);
    return m;
}
