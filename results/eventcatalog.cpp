#include "results/eventcatalog.h"

#include "results/bigeminyanalyzer.h"
#include "results/ectopyanalyzer.h"
#include "results/pauseanalyzer.h"
#include "results/trigeminyanalyzer.h"
#include "store/beat.h"
#include "store/beatlist.h"
#include "store/resultkeys.h"
#include "store/study.h"
#include "store/trend.h"

#include <QCoreApplication>
#include <QSettings>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

struct TypeInfo
{
    const char* name;
    const char* listKey;
    const char* countKey;
    const char* perHourKey;
    QRgb colour;
};

// Indexed by type number - 1.
const TypeInfo kTypes[kArrhythmiaTypeCount] = {
    { QT_TRANSLATE_NOOP("EventCatalog", "Tachycardia"), ResultKeys::Arrhythmia::kTachycardiaEvents,
        ResultKeys::Arrhythmia::kTotalTachyCount, ResultKeys::Arrhythmia::kTachyCountPerHour,
        qRgba(128, 255, 128, 255) },
    { QT_TRANSLATE_NOOP("EventCatalog", "Bradycardia"), ResultKeys::Arrhythmia::kBradycardiaEvents,
        ResultKeys::Arrhythmia::kTotalBradyCount, ResultKeys::Arrhythmia::kBradyCountPerHour,
        qRgba(192, 192, 255, 255) },
    { QT_TRANSLATE_NOOP("EventCatalog", "Pause"), ResultKeys::Pause::kEvents,
        ResultKeys::Pause::kCount, ResultKeys::Pause::kCountPerHour, qRgba(255, 192, 192, 255) },
    { QT_TRANSLATE_NOOP("EventCatalog", "Bigeminy"), ResultKeys::Bigeminy::kEvents,
        ResultKeys::Bigeminy::kCount, ResultKeys::Bigeminy::kCountPerHour,
        qRgba(255, 255, 128, 255) },
    { QT_TRANSLATE_NOOP("EventCatalog", "Trigeminy"), ResultKeys::Trigeminy::kEvents,
        ResultKeys::Trigeminy::kCount, ResultKeys::Trigeminy::kCountPerHour,
        qRgba(255, 255, 128, 255) },
    { QT_TRANSLATE_NOOP("EventCatalog", "PVC couplet"), ResultKeys::kPvc.coupletEvents,
        ResultKeys::kPvc.coupletCount, ResultKeys::kPvc.coupletCountPerHour,
        qRgba(255, 255, 128, 255) },
    { QT_TRANSLATE_NOOP("EventCatalog", "PVC triplet"), ResultKeys::kPvc.tripletEvents,
        ResultKeys::kPvc.tripletCount, ResultKeys::kPvc.tripletCountPerHour,
        qRgba(255, 255, 128, 255) },
    { QT_TRANSLATE_NOOP("EventCatalog", "PVC tachy"), ResultKeys::kPvc.runEvents,
        ResultKeys::kPvc.runCount, ResultKeys::kPvc.runCountPerHour, qRgba(255, 255, 128, 255) },
    { QT_TRANSLATE_NOOP("EventCatalog", "SVPB couplet"), ResultKeys::kSvpb.coupletEvents,
        ResultKeys::kSvpb.coupletCount, ResultKeys::kSvpb.coupletCountPerHour,
        qRgba(255, 192, 255, 255) },
    { QT_TRANSLATE_NOOP("EventCatalog", "SVPB triplet"), ResultKeys::kSvpb.tripletEvents,
        ResultKeys::kSvpb.tripletCount, ResultKeys::kSvpb.tripletCountPerHour,
        qRgba(255, 192, 255, 255) },
    { QT_TRANSLATE_NOOP("EventCatalog", "SVPB tachy"), ResultKeys::kSvpb.runEvents,
        ResultKeys::kSvpb.runCount, ResultKeys::kSvpb.runCountPerHour, qRgba(255, 192, 255, 255) },
    { QT_TRANSLATE_NOOP("EventCatalog", "Atrial fibrillation"), ResultKeys::AFib::kEvents, nullptr,
        nullptr, qRgba(192, 192, 255, 255) },
};

const TypeInfo* info(ArrhythmiaType type)
{
    const int n = int(type);
    return n >= 1 && n <= kArrhythmiaTypeCount ? &kTypes[n - 1] : nullptr;
}

QString tr(const char* text)
{
    return QCoreApplication::translate("EventCatalog", text);
}

// printf-style formats keep their translatable text whole.
template <typename... Args> QString format(const char* text, Args... args)
{
    return QString::asprintf(tr(text).toUtf8().constData(), args...);
}

} // namespace

QString arrhythmiaTypeName(ArrhythmiaType type)
{
    const TypeInfo* t = info(type);
    return t ? tr(t->name) : QString();
}

QByteArray arrhythmiaListKey(ArrhythmiaType type)
{
    const TypeInfo* t = info(type);
    return t ? QByteArray(t->listKey) : QByteArray();
}

QByteArray arrhythmiaCountKey(ArrhythmiaType type)
{
    const TypeInfo* t = info(type);
    return t && t->countKey ? QByteArray(t->countKey) : QByteArray();
}

QByteArray arrhythmiaPerHourKey(ArrhythmiaType type)
{
    const TypeInfo* t = info(type);
    return t && t->perHourKey ? QByteArray(t->perHourKey) : QByteArray();
}

QColor arrhythmiaTypeColour(ArrhythmiaType type)
{
    const TypeInfo* t = info(type);
    return t ? QColor::fromRgba(t->colour) : QColor(128, 128, 128, 128);
}

EventCatalog::EventCatalog(Study* study)
    : m_study(study)
{
    rebuild();
}

void EventCatalog::rebuild()
{
    m_items.clear();
    if (!m_study)
        return;
    for (int n = 1; n <= kArrhythmiaTypeCount; ++n) {
        const auto type = ArrhythmiaType(n);
        const auto* list = m_study->results().findAs<EventListResult>(arrhythmiaListKey(type));
        if (!list)
            continue;
        for (const EventResult& e : list->events)
            m_items.push_back({ type, e.timestamp, e.duration, e.value });
    }
    std::stable_sort(
        m_items.begin(), m_items.end(), [](const EventCatalogItem& a, const EventCatalogItem& b) {
            return a.timestamp < b.timestamp;
        });
}

void EventCatalog::insertSorted(const EventCatalogItem& item)
{
    const auto at = std::upper_bound(m_items.begin(), m_items.end(), item.timestamp,
        [](double t, const EventCatalogItem& other) { return t < other.timestamp; });
    m_items.insert(at, item);
}

void EventCatalog::changeCount(ArrhythmiaType type, double timestamp, double delta)
{
    ResultSet& results = m_study->results();
    if (auto* count = results.findAs<ValueResult>(arrhythmiaCountKey(type)))
        count->value = std::max(0.0, count->value + delta);
    if (auto* perHour = results.findAs<BinnedTrend>(arrhythmiaPerHourKey(type))) {
        const double bin = std::floor(timestamp / 3600.0);
        if (bin >= 0.0 && bin < double(perHour->binCount())) {
            const int i = int(bin);
            perHour->setValueAt(i, std::max(0.0, perHour->valueAt(i) + delta));
        }
    }
}

void EventCatalog::add(const EventCatalogItem& item)
{
    if (!m_study || !info(item.type))
        return;
    const QByteArray key = arrhythmiaListKey(item.type);
    ResultSet& results = m_study->results();
    auto* list = results.findAs<EventListResult>(key);
    if (!list) {
        // A study without the list still keeps what the user added.
        auto created = std::make_unique<EventListResult>();
        list = created.get();
        results.insert(key, std::move(created));
    }
    const auto at = std::find_if(list->events.begin(), list->events.end(),
        [&](const EventResult& e) { return e.timestamp > item.timestamp; });
    list->events.insert(at, EventResult(item.timestamp, item.duration, item.value));
    changeCount(item.type, item.timestamp, 1.0);
    insertSorted(item);
}

void EventCatalog::remove(int index)
{
    if (!m_study || index < 0 || index >= count())
        return;
    const EventCatalogItem item = m_items[size_t(index)];
    m_items.erase(m_items.begin() + index);
    auto* list = m_study->results().findAs<EventListResult>(arrhythmiaListKey(item.type));
    if (!list)
        return;
    for (int i = 0; i < list->events.size(); ++i) {
        if (list->events[i].timestamp == item.timestamp) {
            list->events.remove(i);
            // Only an event that was really there lowers the counts.
            changeCount(item.type, item.timestamp, -1.0);
            return;
        }
    }
}

void EventCatalog::setParams(const AnalysisParams& params)
{
    m_params = params;
    m_paramsSet = true;
}

AnalysisParams EventCatalog::params() const
{
    if (m_paramsSet)
        return m_params;
    AnalysisParams fromSettings;
    fromSettings.readSettings(QSettings());
    return fromSettings;
}

bool EventCatalog::refresh(double from, double to)
{
    if (!m_study || !m_study->beats())
        return false;
    BeatList& beats = *m_study->beats();

    auto pause = std::make_unique<PauseAnalyzer>(params().value("pause/intervalSecs"));
    auto bigeminy = std::make_unique<BigeminyAnalyzer>();
    auto pvc = std::make_unique<EctopyAnalyzer>(BeatV);
    auto svpb = std::make_unique<EctopyAnalyzer>(BeatS);
    auto trigeminy = std::make_unique<TrigeminyAnalyzer>();
    ResultAnalyzer* analyzers[]
        = { pause.get(), bigeminy.get(), pvc.get(), svpb.get(), trigeminy.get() };
    for (ResultAnalyzer* a : analyzers)
        a->beginRecording(beats);

    Beat b;
    bool have = beats.firstWithWindowAfter(from, b);
    if (have && !b.isBeat)
        have = beats.nextBeat(b.index, b);
    for (; have && b.windowStartTime() < to; have = beats.nextBeat(b.index, b)) {
        for (ResultAnalyzer* a : analyzers)
            a->addBeat(b);
    }

    struct Source
    {
        const ResultAnalyzer* analyzer;
        const char* name;
        ArrhythmiaType type;
    };
    const Source sources[] = {
        { pause.get(), "pauseEvents", ArrhythmiaType::Pause },
        { pvc.get(), "coupletEvents", ArrhythmiaType::PVCCouplet },
        { pvc.get(), "tripletEvents", ArrhythmiaType::PVCTriplet },
        { pvc.get(), "runEvents", ArrhythmiaType::PVCTachy },
        { svpb.get(), "coupletEvents", ArrhythmiaType::SVPBCouplet },
        { svpb.get(), "tripletEvents", ArrhythmiaType::SVPBTriplet },
        { svpb.get(), "runEvents", ArrhythmiaType::SVPBTachy },
        { bigeminy.get(), "bigeminyEvents", ArrhythmiaType::Bigeminy },
        { trigeminy.get(), "trigeminyEvents", ArrhythmiaType::Trigeminy },
    };
    std::vector<EventCatalogItem> found;
    for (const Source& s : sources) {
        const auto it = s.analyzer->results().find(s.name);
        const auto* list = it == s.analyzer->results().end()
            ? nullptr
            : dynamic_cast<const EventListResult*>(it->second.get());
        if (!list)
            continue;
        for (const EventResult& e : list->events)
            found.push_back({ s.type, e.timestamp, e.duration, e.value });
    }

    const auto reanalysed = [](ArrhythmiaType t) {
        return int(t) >= int(ArrhythmiaType::Pause) && int(t) <= int(ArrhythmiaType::SVPBTachy);
    };
    std::vector<EventCatalogItem> old;
    for (const EventCatalogItem& item : m_items) {
        if (reanalysed(item.type) && item.timestamp >= from && item.timestamp <= to)
            old.push_back(item);
    }

    const auto contains
        = [](const std::vector<EventCatalogItem>& in, const EventCatalogItem& item) {
              return std::find(in.begin(), in.end(), item) != in.end();
          };
    bool changed = false;
    for (const EventCatalogItem& item : old) {
        if (contains(found, item))
            continue;
        const auto at = std::find(m_items.begin(), m_items.end(), item);
        if (at != m_items.end()) {
            remove(int(at - m_items.begin()));
            changed = true;
        }
    }
    for (const EventCatalogItem& item : found) {
        if (!contains(old, item)) {
            add(item);
            changed = true;
        }
    }
    return changed;
}

QString EventCatalog::describe(const EventCatalogItem& item)
{
    const int d = int(item.duration); // whole seconds, truncated
    switch (item.type) {
    case ArrhythmiaType::Tachycardia:
    case ArrhythmiaType::Bradycardia:
        if (d < 60)
            return format("%d bpm, %d secs.", int(item.value), d);
        return format("%d bpm, %d:%02d min.", int(item.value), d / 60, d % 60);
    case ArrhythmiaType::Pause:
        return tr("%1 secs.").arg(item.duration, 0, 'f', 1);
    case ArrhythmiaType::Bigeminy:
    case ArrhythmiaType::Trigeminy:
        return tr("%1 secs.").arg(d);
    case ArrhythmiaType::PVCTachy:
    case ArrhythmiaType::SVPBTachy:
        return tr("%1 beats, %2 secs.").arg(int(item.value)).arg(d);
    case ArrhythmiaType::AtrialFibrillation:
        if (d < 60)
            return format("%d secs.", d);
        if (d < 3600)
            return format("%d:%02d min.", d / 60, d % 60);
        return format("%d:%02d h.", d / 3600, (d % 3600) / 60);
    default:
        return QString();
    }
}

bool EventCatalog::nextInterval(
    double from, QString& text, double& start, double& end, QColor& colour) const
{
    if (m_items.empty())
        return false;
    // The search never looks at the last item as a middle; it may only end there.
    size_t lo = 0;
    size_t hi = m_items.size() - 1;
    while (lo < hi) {
        const size_t mid = lo + (hi - lo) / 2;
        const EventCatalogItem& item = m_items[mid];
        const double s = item.timestamp;
        const double e = s + item.duration;
        if (from >= e) {
            lo = mid + 1;
        } else if (from <= s) {
            hi = mid;
        } else {
            text = arrhythmiaTypeName(item.type);
            colour = arrhythmiaTypeColour(item.type);
            start = from;
            end = e;
            return true;
        }
    }
    const EventCatalogItem& item = m_items[lo];
    if (item.timestamp < from)
        return false;
    text = arrhythmiaTypeName(item.type);
    colour = arrhythmiaTypeColour(item.type);
    start = item.timestamp;
    end = item.timestamp + item.duration;
    return true;
}
