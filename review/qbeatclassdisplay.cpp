#include "review/qbeatclassdisplay.h"

#include "display/beatthumbnailpainter.h"
#include "store/beatclass.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <algorithm>
#include <cmath>

namespace {

// A shape scaled to unit length (left as it is when it is nearly flat), with its range.
struct Normalised
{
    QVector<double> v;
    double range = 0.0;
};

Normalised normalised(const QVector<double>& shape)
{
    Normalised n;
    n.v = shape;
    if (shape.isEmpty())
        return n;
    const auto [lo, hi] = std::minmax_element(shape.begin(), shape.end());
    n.range = *hi - *lo;
    double norm = 0.0;
    for (double x : shape)
        norm += x * x;
    norm = std::sqrt(norm);
    if (norm >= 1e-6) {
        for (double& x : n.v)
            x /= norm;
    }
    return n;
}

// The highest dot product of a and b shifted by up to `maxShift` samples either way, the
// samples shifted in being zero.
double alignedCorrelation(const QVector<double>& a, const QVector<double>& b, int maxShift)
{
    double best = -1.0;
    const int n = std::min(a.size(), b.size());
    for (int shift = -maxShift; shift <= maxShift; ++shift) {
        double sum = 0.0;
        for (int i = 0; i < n; ++i) {
            const int j = i + shift;
            if (j >= 0 && j < n)
                sum += a[i] * b[j];
        }
        best = std::max(best, sum);
    }
    return best;
}

constexpr int kAlignmentSamples = 3;

} // namespace

QBeatClassDisplay::QBeatClassDisplay(QWidget* parent)
    : QBeatCellDisplay(5, 8, parent)
{
}

QBeatClassDisplay::~QBeatClassDisplay() = default;

std::unique_ptr<BeatClassSet> QBeatClassDisplay::classesOf(
    SignalSource* source, BeatList* beats, const std::function<void(int, int)>& progress)
{
    auto set = std::make_unique<BeatClassSet>(source, beats);
    if (!beats)
        return set;
    const int count = beats->count();
    Beat b;
    for (int i = 0; i < count && beats->get(i, b); ++i) {
        if (progress && i % 4096 == 0)
            progress(i, count);
        if (!b.isBeat || b.classId <= 0)
            continue;
        BeatClass* c = set->find(b.classId);
        if (!c) {
            c = set->create(b.classId);
            c->setType(b.type);
        }
        // Templates aren't needed to show a class; its shape is read from the members.
        c->add(i, false);
    }
    if (progress)
        progress(count, count);
    return set;
}

void QBeatClassDisplay::setClasses(BeatClassSet* classes)
{
    m_classSet = classes;
    readClasses();
}

void QBeatClassDisplay::setLead(int lead)
{
    if (lead == m_lead)
        return;
    m_lead = lead;
    m_shapes.clear();
    dropThumbnails();
}

void QBeatClassDisplay::setDisplayType(int type, bool refresh)
{
    m_displayType = type;
    readClasses();
    if (!m_classes.isEmpty()) {
        setCurrentCell(0);
        setSelection({ 0 });
    }
    if (refresh && !m_classes.isEmpty())
        emit selectedClassChanged(m_classes.first());
}

void QBeatClassDisplay::readClasses()
{
    m_classes.clear();
    m_shapes.clear();
    if (m_classSet) {
        QVector<QPair<int, int>> bySize; // members, id
        for (const auto& kv : m_classSet->classes()) {
            const BeatClass& c = *kv.second;
            if (c.type == m_displayType && c.memberCount() > 0)
                bySize.append({ c.memberCount(), c.id });
        }
        // The largest class first: the patient's dominant beats lead each type.
        std::sort(bySize.begin(), bySize.end(), [](const auto& a, const auto& b) {
            return a.first != b.first ? a.first > b.first : a.second < b.second;
        });
        for (const auto& p : bySize)
            m_classes.append(p.second);
    }
    resetList();
    dropThumbnails();
}

const QVector<double>& QBeatClassDisplay::shapeOf(int id)
{
    auto it = m_shapes.find(id);
    if (it == m_shapes.end()) {
        BeatClass* c = m_classSet ? m_classSet->find(id) : nullptr;
        it = m_shapes.insert(id, c ? c->shape(m_lead) : QVector<double>());
    }
    return *it;
}

void QBeatClassDisplay::drawThumbnail(int index, QPainter* painter, const QRectF& rect)
{
    BeatClass* c = m_classSet ? m_classSet->find(m_classes.value(index)) : nullptr;
    if (!c)
        return;
    SignalSource* source = m_classSet->source();
    const double mvPerUnit = source ? source->gainStep() : 0.0;
    BeatThumbnailPainter::paintClass(
        painter, rect, shapeOf(c->id), mvPerUnit, c->memberCount(), c->meanRrRatio);
}

void QBeatClassDisplay::selectClass(int id)
{
    const int index = m_classes.indexOf(id);
    if (index < 0)
        return;
    setCurrentCell(index);
    setSelection({ index });
    scrollTo(index);
    changed();
}

void QBeatClassDisplay::selectSimilar(double threshold)
{
    const int current = currentCell();
    if (current < 0 || current >= m_classes.size() || threshold <= 0.0)
        return;
    const Normalised reference = normalised(shapeOf(m_classes[current]));
    QSet<int> selected = selection();
    for (int i = 0; i < m_classes.size(); ++i) {
        if (i == current)
            continue;
        const Normalised other = normalised(shapeOf(m_classes[i]));
        const double r = other.range;
        const double c = reference.range;
        if (!(r * threshold <= c && c <= r / threshold))
            continue;
        if (alignedCorrelation(reference.v, other.v, kAlignmentSamples) >= threshold)
            selected.insert(i);
    }
    setSelection(selected);
    changed();
    emit selectedClassChanged(m_classes[current]);
}

QList<int> QBeatClassDisplay::selectedClassIds() const
{
    QList<int> ids;
    const int current = currentCell();
    if (current >= 0 && current < m_classes.size())
        ids.append(m_classes[current]);
    for (int i = 0; i < m_classes.size(); ++i) {
        if (i != current && selection().contains(i))
            ids.append(m_classes[i]);
    }
    return ids;
}

int QBeatClassDisplay::selectedClass() const
{
    const int current = currentCell();
    return current >= 0 && current < m_classes.size() ? m_classes[current] : -1;
}

void QBeatClassDisplay::currentCellChanged()
{
    emit selectedClassChanged(selectedClass());
}
