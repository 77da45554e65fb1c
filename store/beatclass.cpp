#include "store/beatclass.h"

#include "store/beat.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <algorithm>

namespace {

constexpr int kShapeMembers = 200; // members averaged for a displayed shape

void removeMean(QVector<double>& v)
{
    if (v.isEmpty())
        return;
    double sum = 0.0;
    for (double x : v)
        sum += x;
    const double mean = sum / v.size();
    for (double& x : v)
        x -= mean;
}

bool bothPositive(const Beat& beat)
{
    return beat.timing[Beat::RR] > 0.0 && beat.timing[Beat::MedianRR] > 0.0;
}

} // namespace

BeatClass::BeatClass(int classId, SignalSource* source, BeatList* list)
    : id(classId)
    , m_source(source)
    , m_list(list)
{
    m_channels = source ? std::min(source->channelCount(), int(kChannels)) : int(kChannels);
    m_templateLength = source ? int(0.5 * source->samplingRate() + 0.5) : 0;
    for (int c = 0; c < m_channels; ++c)
        templ[c] = QVector<double>(m_templateLength, 0.0);
}

void BeatClass::setType(int code)
{
    type = code;
    typeName = BeatTypeNames::name(code);
}

QByteArray BeatClass::displayName() const
{
    return label.isEmpty() ? typeName : typeName + ' ' + label;
}

int BeatClass::qrsSign(int channel) const
{
    if (channel < 0 || channel >= kChannels)
        return 0;
    const double p = qrsPolarity[channel];
    return p > 0.0 ? 1 : (p < 0.0 ? -1 : 0);
}

QVector<double> BeatClass::window(const Beat& beat, int channel) const
{
    QVector<double> w(m_templateLength, 0.0);
    if (!m_source || m_templateLength == 0)
        return w;
    const int rate = m_source->samplingRate();
    const qint64 start = qint64((beat.timing[Beat::RTime] - 0.2) * rate);
    m_source->readSamples(channel, start, m_templateLength, w.data());
    removeMean(w);
    return w;
}

void BeatClass::clearStatistics()
{
    for (int c = 0; c < kChannels; ++c) {
        templ[c].fill(0.0);
        qrsPolarity[c] = pPolarity[c] = tPolarity[c] = 0.0;
        qrsCount[c] = 0;
        qrsDuration[c] = 0.0;
    }
    meanRr = meanRrRatio = 0.0;
}

// sign +1 adds a beat to the running means, -1 takes it out again. members already holds the
// count after the change.
void BeatClass::update(const Beat& beat, bool withTemplate, int sign)
{
    const int n = memberCount();
    if (sign < 0 && n == 0) {
        clearStatistics();
        return;
    }
    // Adding: mean' = v mean + w x with n the new count. Removing: mean' = (m mean - x) / n
    // with m = n + 1 the old count.
    const double m = sign > 0 ? double(n) : double(n + 1);
    const auto apply = [&](double& mean, double x) {
        mean = sign > 0 ? ((m - 1.0) / m) * mean + x / m : (m * mean - x) / (m - 1.0);
    };
    for (int c = 0; c < m_channels; ++c) {
        if (withTemplate && m_templateLength > 0) {
            const QVector<double> w = window(beat, c);
            for (int i = 0; i < m_templateLength; ++i)
                apply(templ[c][i], w[i]);
        }
        apply(qrsPolarity[c], int(beat.measure[c][Beat::QrsPolarity]));
        apply(pPolarity[c], int(beat.measure[c][Beat::PPolarity]));
        apply(tPolarity[c], int(beat.measure[c][Beat::TPolarity]));
        if (beat.measureSet[c][Beat::QrsDuration]) {
            const double d = beat.measure[c][Beat::QrsDuration];
            if (sign > 0) {
                ++qrsCount[c];
                qrsDuration[c] += (d - qrsDuration[c]) / qrsCount[c];
            } else if (qrsCount[c] > 0) {
                --qrsCount[c];
                qrsDuration[c] = qrsCount[c] == 0
                    ? 0.0
                    : (qrsDuration[c] * (qrsCount[c] + 1) - d) / qrsCount[c];
            }
        }
    }
    if (bothPositive(beat)) {
        apply(meanRr, beat.timing[Beat::RR]);
        apply(meanRrRatio, beat.timing[Beat::RR] / beat.timing[Beat::MedianRR]);
    }
}

void BeatClass::add(int index, bool withTemplate)
{
    Beat beat;
    if (m_list && !m_list->get(index, beat))
        return;
    members.push_back(index);
    update(beat, withTemplate, +1);
}

bool BeatClass::removeMember(int index, bool withTemplate)
{
    const auto it = std::find(members.begin(), members.end(), index);
    if (it == members.end())
        return false;
    members.erase(it);
    Beat beat;
    if (m_list && !m_list->get(index, beat)) {
        if (members.empty())
            clearStatistics();
        return true;
    }
    update(beat, withTemplate, -1);
    return true;
}

void BeatClass::absorb(BeatClass& other)
{
    if (&other == this)
        return;
    const double na = memberCount();
    const double nb = other.memberCount();
    const double n = na + nb;
    if (n > 0.0) {
        const auto mix = [&](double a, double b) { return (na * a + nb * b) / n; };
        for (int c = 0; c < kChannels; ++c) {
            if (templ[c].size() == other.templ[c].size()) {
                for (int i = 0; i < templ[c].size(); ++i)
                    templ[c][i] = mix(templ[c][i], other.templ[c][i]);
            }
            qrsPolarity[c] = mix(qrsPolarity[c], other.qrsPolarity[c]);
            pPolarity[c] = mix(pPolarity[c], other.pPolarity[c]);
            tPolarity[c] = mix(tPolarity[c], other.tPolarity[c]);
            const int counts = qrsCount[c] + other.qrsCount[c];
            qrsDuration[c] = counts == 0
                ? 0.0
                : (qrsCount[c] * qrsDuration[c] + other.qrsCount[c] * other.qrsDuration[c])
                    / counts;
            qrsCount[c] = counts;
        }
        meanRr = mix(meanRr, other.meanRr);
        meanRrRatio = mix(meanRrRatio, other.meanRrRatio);
    }
    members.insert(members.end(), other.members.begin(), other.members.end());
    other.members.clear();
    other.clearStatistics();
}

QVector<double> BeatClass::shape(int lead) const
{
    QVector<double> out(m_templateLength, 0.0);
    if (!m_list || lead < 0 || lead >= m_channels)
        return out;
    const int used = std::min(memberCount(), kShapeMembers);
    int taken = 0;
    for (int i = 0; i < used; ++i) {
        Beat beat;
        if (!m_list->get(members[size_t(i)], beat))
            continue;
        const QVector<double> w = window(beat, lead);
        for (int k = 0; k < m_templateLength; ++k)
            out[k] += w[k];
        ++taken;
    }
    if (taken > 0) {
        for (double& x : out)
            x /= taken;
    }
    return out;
}

// ---------------------------------------------------------------------------------------------

BeatClassSet::BeatClassSet(SignalSource* source, BeatList* list)
    : m_source(source)
    , m_list(list)
    , m_zero(std::make_unique<BeatClass>(0, source, list))
    , m_none(std::make_unique<BeatClass>(-1, source, list))
{
    for (int code = 0; code < 5; ++code)
        m_typeNames[code] = BeatTypeNames::name(code);
}

BeatClassSet::~BeatClassSet() = default;

int BeatClassSet::classCount() const
{
    return int(m_classes.size());
}

BeatClass* BeatClassSet::find(int id) const
{
    const auto it = m_classes.find(id);
    return it == m_classes.end() ? nullptr : it->second.get();
}

BeatClass* BeatClassSet::create(int id)
{
    if (BeatClass* existing = find(id))
        return existing;
    auto cls = std::make_unique<BeatClass>(id, m_source, m_list);
    BeatClass* raw = cls.get();
    m_classes.emplace(id, std::move(cls));
    m_largestId = std::max(m_largestId, id);
    return raw;
}

BeatClass* BeatClassSet::createNext()
{
    return create(m_largestId + 1);
}

void BeatClassSet::merge(int a, int b)
{
    if (a == b)
        return;
    BeatClass* target = find(a);
    BeatClass* source = find(b);
    if (!target || !source)
        return;
    target->absorb(*source);
    m_classes.erase(b);
}

void BeatClassSet::remove(int id)
{
    m_classes.erase(id);
}

BeatClass* BeatClassSet::first()
{
    m_cursorValid = false;
    if (m_classes.empty())
        return nullptr;
    m_cursorId = m_classes.begin()->first;
    m_cursorValid = true;
    return m_classes.begin()->second.get();
}

// Keyed on the last id handed out, so removing that class while iterating is safe.
BeatClass* BeatClassSet::next()
{
    if (!m_cursorValid)
        return nullptr;
    const auto it = m_classes.upper_bound(m_cursorId);
    if (it == m_classes.end()) {
        m_cursorValid = false;
        return nullptr;
    }
    m_cursorId = it->first;
    return it->second.get();
}

QByteArray BeatClassSet::typeName(int code) const
{
    return code >= 0 && code < 5 ? m_typeNames[code] : QByteArray();
}
