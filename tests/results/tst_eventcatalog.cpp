#include "fakebeats.h"
#include "results/bigeminyanalyzer.h"
#include "results/ectopyanalyzer.h"
#include "results/eventcatalog.h"
#include "results/pauseanalyzer.h"
#include "results/trigeminyanalyzer.h"
#include "store/resultkeys.h"
#include "store/study.h"
#include "store/trend.h"

#include <gtest/gtest.h>

#include <memory>

using namespace fakebeats;

namespace {

using T = ArrhythmiaType;

// Runs the analyzers that the catalog re-runs, storing "<analyzer>/<result>" as the driver does.
void analyse(Study& study)
{
    const std::pair<const char*, std::unique_ptr<ResultAnalyzer>> analyzers[]
        = { { "pause", std::make_unique<PauseAnalyzer>(2.0) },
              { "PVC", std::make_unique<EctopyAnalyzer>(BeatV) },
              { "SVPB", std::make_unique<EctopyAnalyzer>(BeatS) },
              { "bigeminy", std::make_unique<BigeminyAnalyzer>() },
              { "trigeminy", std::make_unique<TrigeminyAnalyzer>() } };
    for (const auto& a : analyzers) {
        run(*a.second, *study.beats());
        for (auto& r : a.second->takeResults())
            study.results().insert(QByteArray(a.first) + "/" + r.first, std::move(r.second));
    }
}

// A two-hour study over hand-made beats, one second apart from t = 10 s.
std::unique_ptr<Study> makeStudy(const std::string& pattern)
{
    auto study = std::make_unique<Study>(1);
    auto beats = std::make_unique<Beats>(7200.0);
    beats->addPattern(pattern);
    study->setBeats(std::move(beats));
    analyse(*study);
    return study;
}

Beats& beatsOf(Study& study)
{
    return static_cast<Beats&>(*study.beats());
}

double value(const Study& s, const char* key)
{
    const auto* v = s.results().findAs<ValueResult>(key);
    return v ? v->value : -1.0;
}

double bin(const Study& s, const char* key, int index)
{
    const auto* b = s.results().findAs<BinnedTrend>(key);
    return b ? b->valueAt(index) : -1.0;
}

int listSize(const Study& s, const char* key)
{
    const auto* l = s.results().findAs<EventListResult>(key);
    return l ? l->events.size() : -1;
}

TEST(EventCatalog, DescribeTexts)
{
    const struct
    {
        T type;
        double duration, value;
        const char* text;
    } rows[] = {
        { T::Pause, 2.36, 2.36, "2.4 secs." },
        { T::Tachycardia, 59.0, 130.0, "130 bpm, 59 secs." },
        { T::Tachycardia, 61.0, 130.0, "130 bpm, 1:01 min." },
        { T::Bradycardia, 59.9, 35.7, "35 bpm, 59 secs." }, // truncated, not rounded
        { T::PVCTachy, 4.6, 5.0, "5 beats, 4 secs." },
        { T::AtrialFibrillation, 3700.0, 0.0, "1:01 h." },
        { T::PVCCouplet, 2.0, 2.0, "" },
    };
    for (const auto& c : rows)
        EXPECT_EQ(EventCatalog::describe({ c.type, 100.0, c.duration, c.value }), QString(c.text));
}

TEST(EventCatalog, BuildsOneListSortedByTime)
{
    // Couplet at 11 (ends 13), pause on the beat at 17 (R 17.2, RR 3 s: from 14.2).
    auto study = makeStudy("NVVN");
    beatsOf(*study).add(17.0, 3.0, BeatN);
    study->results().clear();
    analyse(*study);
    const double pauseAt = (17.0 + 0.2) - 3.0; // R of the beat less its RR, as stored
    auto tachy = std::make_unique<EventListResult>();
    tachy->events.append(EventResult(pauseAt, 6.0, 130.0)); // same time as the pause
    tachy->events.append(EventResult(5.0, 6.0, 125.0));
    study->results().insert(ResultKeys::Arrhythmia::kTachycardiaEvents, std::move(tachy));

    EventCatalog catalog(study.get());
    ASSERT_EQ(catalog.count(), 4);
    EXPECT_EQ(catalog.items()[0], (EventCatalogItem { T::Tachycardia, 5.0, 6.0, 125.0 }));
    EXPECT_EQ(catalog.items()[1], (EventCatalogItem { T::PVCCouplet, 11.0, 2.0, 2.0 }));
    // equal times keep the type order: tachycardia (1) before pause (3)
    EXPECT_EQ(catalog.items()[2], (EventCatalogItem { T::Tachycardia, pauseAt, 6.0, 130.0 }));
    EXPECT_EQ(catalog.items()[3].type, T::Pause);
    EXPECT_EQ(catalog.items()[3].timestamp, pauseAt);
}

TEST(EventCatalog, AddAndRemoveKeepCountsAndHourBins)
{
    auto study = makeStudy("NVVNN"); // one couplet at 11
    EventCatalog catalog(study.get());
    // One in hour 1, one before the existing one, one past the recording's bins.
    catalog.add({ T::PVCCouplet, 3700.0, 2.0, 2.0 });
    catalog.add({ T::PVCCouplet, 5.0, 1.5, 2.0 });
    catalog.add({ T::PVCCouplet, 9000.0, 1.0, 2.0 });
    EXPECT_EQ(value(*study, ResultKeys::kPvc.coupletCount), 4.0);
    EXPECT_EQ(bin(*study, ResultKeys::kPvc.coupletCountPerHour, 0), 2.0);
    EXPECT_EQ(bin(*study, ResultKeys::kPvc.coupletCountPerHour, 1), 1.0);
    const auto* list = study->results().findAs<EventListResult>(ResultKeys::kPvc.coupletEvents);
    ASSERT_EQ(list->events.size(), 4);
    EXPECT_EQ(list->events[1].timestamp, 11.0); // the stored list stays in time order
    ASSERT_EQ(catalog.items()[2].timestamp, 3700.0);

    catalog.remove(2);
    catalog.remove(3); // out of range
    catalog.remove(-1);
    EXPECT_EQ(value(*study, ResultKeys::kPvc.coupletCount), 3.0);
    EXPECT_EQ(bin(*study, ResultKeys::kPvc.coupletCountPerHour, 1), 0.0);
    EXPECT_EQ(listSize(*study, ResultKeys::kPvc.coupletEvents), 3);
}

TEST(EventCatalog, NextInterval)
{
    Study study;
    EventCatalog catalog(&study);
    QString text;
    double start = -1, end = -1;
    QColor colour;
    EXPECT_FALSE(catalog.nextInterval(0.0, text, start, end, colour));

    catalog.add({ T::Pause, 10.0, 5.0, 5.0 });
    catalog.add({ T::Bigeminy, 20.0, 5.0, 0.0 });
    catalog.add({ T::AtrialFibrillation, 40.0, 10.0, 0.0 });
    const struct
    {
        double from;
        bool found;
        double start, end;
        T type;
    } rows[] = {
        { 0.0, true, 10.0, 15.0, T::Pause }, // before everything: the first item
        { 12.0, true, 12.0, 15.0, T::Pause }, // inside: from `from` to the end
        { 15.0, true, 20.0, 25.0, T::Bigeminy }, // at an end: the next one
        { 30.0, true, 40.0, 50.0, T::AtrialFibrillation },
        { 45.0, false, 0, 0, T::None }, // inside the last item: never a middle of the search
    };
    for (const auto& r : rows) {
        const bool found = catalog.nextInterval(r.from, text, start, end, colour);
        ASSERT_EQ(found, r.found) << "from " << r.from;
        if (!found)
            continue;
        EXPECT_EQ(start, r.start) << "from " << r.from;
        EXPECT_EQ(end, r.end) << "from " << r.from;
        EXPECT_EQ(text, arrhythmiaTypeName(r.type));
        EXPECT_EQ(colour, arrhythmiaTypeColour(r.type));
    }
}

TEST(EventCatalog, RefreshLeavesOtherTypesAndUsesThePauseInterval)
{
    auto study = makeStudy(std::string(50, 'N')); // one beat a second from 10 to 59
    EventCatalog catalog(study.get());
    catalog.add({ T::Tachycardia, 25.0, 10.0, 130.0 });
    catalog.add({ T::AtrialFibrillation, 26.0, 20.0, 0.0 });
    catalog.add({ T::Pause, 27.0, 2.5, 2.5 }); // no beat supports it
    AnalysisParams params;
    params.setValue("pause/intervalSecs", 0.9); // every 1 s interval is now a pause
    catalog.setParams(params);

    // Beats with time in (20, 30): 21..29, nine pauses; the unsupported one at 27 goes.
    EXPECT_TRUE(catalog.refresh(20.0, 30.0));
    int pauses = 0;
    for (const EventCatalogItem& item : catalog.items()) {
        if (item.type == T::Pause) {
            ++pauses;
            EXPECT_EQ(item.duration, 1.0);
        }
    }
    EXPECT_EQ(pauses, 9);
    EXPECT_EQ(value(*study, ResultKeys::Pause::kCount), 9.0);
    EXPECT_EQ(listSize(*study, ResultKeys::Arrhythmia::kTachycardiaEvents), 1);
    EXPECT_EQ(listSize(*study, ResultKeys::AFib::kEvents), 1);
}

} // namespace
