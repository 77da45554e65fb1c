#pragma once

#include "results/analysisparams.h"

#include <QByteArray>
#include <QColor>
#include <QString>

#include <vector>

class Study;

// The twelve kinds of rhythm event shown to the physician; 0 is "nothing chosen yet".
enum class ArrhythmiaType : int {
    None = 0,
    Tachycardia = 1,
    Bradycardia = 2,
    Pause = 3,
    Bigeminy = 4,
    Trigeminy = 5,
    PVCCouplet = 6,
    PVCTriplet = 7,
    PVCTachy = 8,
    SVPBCouplet = 9,
    SVPBTriplet = 10,
    SVPBTachy = 11,
    AtrialFibrillation = 12,
};
constexpr int kArrhythmiaTypeCount = 12;

// Translated name ("Pause"); empty for None or an unknown number.
QString arrhythmiaTypeName(ArrhythmiaType type);
// Result keys of a type; empty where the type has none (the AF counts, None).
QByteArray arrhythmiaListKey(ArrhythmiaType type);
QByteArray arrhythmiaCountKey(ArrhythmiaType type);
QByteArray arrhythmiaPerHourKey(ArrhythmiaType type);
// The background of the type's stretches in the ECG displays.
QColor arrhythmiaTypeColour(ArrhythmiaType type);

struct EventCatalogItem
{
    ArrhythmiaType type = ArrhythmiaType::None;
    double timestamp = 0.0; // seconds from the start of the recording
    double duration = 0.0; // seconds
    double value = 0.0; // as the type's event list means it (bpm, beats, RR...)

    bool operator==(const EventCatalogItem& o) const
    {
        return type == o.type && timestamp == o.timestamp && duration == o.duration
            && value == o.value;
    }
    bool operator!=(const EventCatalogItem& o) const { return !(*this == o); }
};

// The study's twelve event lists as one list sorted by time, kept in step with the results:
// adding or removing an item edits its list, its count and its hour bin too, and refresh
// re-analyses a stretch of beats after an edit and brings the ectopy and pause events there up
// to date.
class EventCatalog
{
public:
    // Builds from the study's results (not owned; may be null for an empty catalog).
    explicit EventCatalog(Study* study = nullptr);

    void rebuild();
    const std::vector<EventCatalogItem>& items() const { return m_items; }
    int count() const { return int(m_items.size()); }

    void add(const EventCatalogItem& item);
    // Out of range does nothing.
    void remove(int index);
    // Re-analyses the valid beats with time in (from, to) and replaces the pause, bigeminy,
    // trigeminy and ectopic-series items with timestamp in [from, to] by what it finds.
    // Answers whether any item was added or removed.
    bool refresh(double from, double to);

    // The limits refresh uses; without this call they come from the application settings.
    void setParams(const AnalysisParams& params);

    // The text beside the type's name in the event tree.
    static QString describe(const EventCatalogItem& item);

    // The next stretch to colour at or after `from` for the full-disclosure display: an item
    // that `from` lies in (from `from` to its end) or the next item to start. False when none.
    bool nextInterval(double from, QString& text, double& start, double& end, QColor& colour) const;

private:
    void insertSorted(const EventCatalogItem& item);
    void changeCount(ArrhythmiaType type, double timestamp, double delta);
    AnalysisParams params() const;

    Study* m_study; // not owned
    std::vector<EventCatalogItem> m_items; // stable-sorted by timestamp
    AnalysisParams m_params;
    bool m_paramsSet = false;
};
