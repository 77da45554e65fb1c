#include "store/result.h"
#include "store/resultset.h"
#include "store/beatlist.h"
#include "store/studystatus.h"
#include "tests/support/testsupport.h"
#include "tests/workflow/workflowstudy.h"
#include "workflow/studyresults.h"

#include <gtest/gtest.h>

#include <vector>

using namespace workflowtest;

namespace {

constexpr int kBeats = 1300; // more than one driver step of 1000 beats

class BeatProgress : public ProgressSink
{
public:
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

double pauseCount(const QString& root, int id)
{
    auto repo = openRepository(root);
    Study* s = repo->openStudy(id);
    const ValueResult* r = s ? s->results().findAs<ValueResult>("pause/pauseCount") : nullptr;
    const double value = r ? r->value : -1.0;
    repo->closeStudy(s);
    return value;
}

} // namespace

// Missing results are computed over every beat and saved; a study that has them all is left
// alone unless asked to recompute.
TEST(StudyResults, ComputesMissingResultsSavesThemAndRunsOnlyWhenNeeded)
{
    testsupport::TempRoot root;
    TestSettings settings;
    auto repo = openRepository(root.path());
    const int id = makeBeatStudy(*repo, kBeats);
    ASSERT_FALSE(stored(root.path(), id).hasResult);

    Study* s = repo->openStudy(id);
    BeatProgress first;
    EXPECT_EQ(
        computeAndSaveResults(*repo, *s, settings.get(), false, &first), ResultsOutcome::Computed);
    EXPECT_EQ(first.positions, (std::vector<qint64> { 1000, kBeats }));
    EXPECT_EQ(first.lastTotal, kBeats);
    repo->closeStudy(s); // not saved here: what is on disk came from the workflow
    EXPECT_TRUE(stored(root.path(), id).hasResult);
    EXPECT_EQ(stored(root.path(), id).status, QByteArray(StudyStatus::Processed));

    s = repo->openStudy(id);
    BeatProgress again;
    EXPECT_EQ(computeAndSaveResults(*repo, *s, settings.get(), false, &again),
        ResultsOutcome::AlreadyComplete);
    EXPECT_TRUE(again.positions.empty());
    EXPECT_EQ(
        computeAndSaveResults(*repo, *s, settings.get(), true, &again), ResultsOutcome::Computed);
    EXPECT_EQ(again.positions.back(), kBeats);
    repo->closeStudy(s);
}

// The user's analysis limits come from the settings given: the 3-second gap is a pause under
// the default 2-second limit and under 2.5 s, but not under 3.5 s.
TEST(StudyResults, AnalysisLimitsComeFromTheSettings)
{
    const struct
    {
        QVariant pauseSeconds; // invalid: not set
        double pauses;
    } cases[] = { { QVariant(), 1.0 }, { 2.5, 1.0 }, { 3.5, 0.0 }, { "nonsense", 1.0 } };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pauseSeconds.toString().toStdString());
        testsupport::TempRoot root;
        TestSettings settings;
        if (c.pauseSeconds.isValid())
            settings.get().setValue("Config/Analysis/pause/intervalSecs", c.pauseSeconds);
        auto repo = openRepository(root.path());
        const int id = makeBeatStudy(*repo, kBeats);
        Study* s = repo->openStudy(id);
        ASSERT_EQ(
            computeAndSaveResults(*repo, *s, settings.get(), false), ResultsOutcome::Computed);
        repo->closeStudy(s);
        EXPECT_EQ(pauseCount(root.path(), id), c.pauses);
    }
}

// A cancel, before the run or between its steps, leaves the results in memory and on disk as
// they were.
TEST(StudyResults, CancelStoresNothing)
{
    for (const bool beforeStart : { true, false }) {
        SCOPED_TRACE(beforeStart ? "before the run" : "after the first step");
        testsupport::TempRoot root;
        TestSettings settings;
        auto repo = openRepository(root.path());
        const int id = makeBeatStudy(*repo, kBeats);
        Study* s = repo->openStudy(id);
        CancelFlag cancel { beforeStart };
        BeatProgress progress;
        progress.cancelOnFirst = &cancel;
        EXPECT_EQ(computeAndSaveResults(*repo, *s, settings.get(), false, &progress, &cancel),
            ResultsOutcome::Cancelled);
        EXPECT_EQ(progress.positions.size(), beforeStart ? 0u : 1u);
        EXPECT_EQ(s->results().find("HR/minBPM"), nullptr);
        EXPECT_EQ(s->events().count(), 0) << "no heart-rate marks without results";
        repo->closeStudy(s);
        EXPECT_FALSE(stored(root.path(), id).hasResult);
    }
}
