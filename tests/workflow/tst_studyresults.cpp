#include "store/beatlist.h"
#include "store/result.h"
#include "store/resultset.h"
#include "store/studystatus.h"
#include "tests/support/testsupport.h"
#include "tests/workflow/workflowstudy.h"
#include "workflow/studyresults.h"

#include <gtest/gtest.h>

#include <vector>

using namespace workflowtest;

namespace {

constexpr int kBeats = 1300; // more than one driver step of 1000 beats

struct BeatProgress : ProgressSink
{
    void progress(qint64 position, qint64 total) override
    {
        positions.push_back(position);
        lastTotal = total;
        if (cancelOnFirst)
            cancelOnFirst->store(true);
    }
    std::vector<qint64> positions;
    qint64 lastTotal = 0;
    CancelFlag* cancelOnFirst = nullptr;
};

// A store with one processed study of kBeats beats, opened.
struct ResultsFixture
{
    ResultsFixture()
        : repo(openRepository(root.path()))
        , id(makeBeatStudy(*repo, kBeats))
        , study(repo->openStudy(id))
    {
    }
    ~ResultsFixture() { repo->closeStudy(study); }
    ResultsOutcome compute(
        bool recompute, ProgressSink* sink = nullptr, CancelFlag* cancel = nullptr)
    {
        return computeAndSaveResults(*repo, *study, settings.get(), recompute, sink, cancel);
    }
    // The pause count on disk, -1 without results.
    double storedPauses()
    {
        auto other = openRepository(root.path());
        Study* s = other->openStudy(id);
        const ValueResult* r = s->results().findAs<ValueResult>("pause/pauseCount");
        const double value = r ? r->value : -1.0;
        other->closeStudy(s);
        return value;
    }

    testsupport::TempRoot root;
    TestSettings settings;
    std::unique_ptr<StudyRepository> repo;
    int id;
    Study* study;
};

} // namespace

// Missing results are computed over every beat and saved; a study that has them all is left
// alone unless asked to recompute.
TEST(StudyResults, ComputesMissingResultsSavesThemAndRunsOnlyWhenNeeded)
{
    ResultsFixture f;
    BeatProgress first;
    EXPECT_EQ(f.compute(false, &first), ResultsOutcome::Computed);
    EXPECT_EQ(first.positions, (std::vector<qint64> { 1000, kBeats }));
    EXPECT_EQ(first.lastTotal, kBeats);
    EXPECT_TRUE(stored(f.root.path(), f.id).hasResult); // saved by the workflow itself
    EXPECT_EQ(stored(f.root.path(), f.id).status, QByteArray(StudyStatus::Processed));

    BeatProgress again;
    EXPECT_EQ(f.compute(false, &again), ResultsOutcome::AlreadyComplete);
    EXPECT_TRUE(again.positions.empty());
    EXPECT_EQ(f.compute(true, &again), ResultsOutcome::Computed);
    EXPECT_EQ(again.positions.back(), kBeats);
}

// The user's analysis limits come from the settings given: the 3-second gap is a pause under
// the default 2-second limit and under 2.5 s, but not under 3.5 s.
TEST(StudyResults, AnalysisLimitsComeFromTheSettings)
{
    const std::pair<QVariant, double> cases[]
        = { { QVariant(), 1.0 }, { 2.5, 1.0 }, { 3.5, 0.0 }, { "nonsense", 1.0 } };
    for (const auto& [pauseSeconds, pauses] : cases) {
        SCOPED_TRACE(pauseSeconds.toString().toStdString());
        ResultsFixture f;
        if (pauseSeconds.isValid())
            f.settings.get().setValue("Config/Analysis/pause/intervalSecs", pauseSeconds);
        ASSERT_EQ(f.compute(false), ResultsOutcome::Computed);
        EXPECT_EQ(f.storedPauses(), pauses);
    }
}

// A cancel, before the run or between its steps, leaves the results in memory and on disk as
// they were.
TEST(StudyResults, CancelStoresNothing)
{
    for (const bool beforeStart : { true, false }) {
        SCOPED_TRACE(beforeStart ? "before the run" : "after the first step");
        ResultsFixture f;
        CancelFlag cancel { beforeStart };
        BeatProgress progress;
        progress.cancelOnFirst = &cancel;
        EXPECT_EQ(f.compute(false, &progress, &cancel), ResultsOutcome::Cancelled);
        EXPECT_EQ(progress.positions.size(), beforeStart ? 0u : 1u);
        EXPECT_EQ(f.study->results().find("HR/minBPM"), nullptr);
        EXPECT_EQ(f.study->events().count(), 0) << "no heart-rate marks without results";
        EXPECT_EQ(f.storedPauses(), -1.0);
    }
}
