#include "analysis/beatclassifier.h"
#include "analysis/memorybeatlist.h"
#include "analysis/noisechecker.h"
#include "analysis/studyprocessor.h"
#include "detectsignals.h"
#include "memorysource.h"
#include "store/study.h"

#include <QSignalSpy>
#include <QThreadPool>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr double kSeconds = 300.0;
constexpr double kRr = 0.8; // seconds: 375 beats, so stages 2 and 3 take four batches
constexpr double kNoiseFrom = 20.0; // seconds; a burst of spikes inside the first batch
constexpr double kNoiseTo = 40.0;

// Three channels of regular beats at 250 Hz; `noisy` adds sharp spikes at random instants
// between kNoiseFrom and kNoiseTo, which detection takes for extra beats and noise.
std::unique_ptr<MemorySource> makeSignal(bool noisy, double seconds = kSeconds)
{
    const std::vector<double> r = detecttest::regular(0.6, kRr, seconds - 0.7);
    std::vector<std::vector<qint16>> ch = { detecttest::ecg(r, seconds, 800.0),
        detecttest::ecg(r, seconds, -500.0, -80.0), detecttest::ecg(r, seconds, 600.0) };
    if (noisy) {
        // Each channel its own spikes, so the channels disagree as they do under artefact.
        std::mt19937 rng(11);
        std::uniform_real_distribution<double> at(kNoiseFrom, kNoiseTo);
        for (auto& c : ch) {
            std::vector<double> spikes;
            for (int i = 0; i < 60; ++i)
                spikes.push_back(at(rng));
            const std::vector<qint16> burst = detecttest::ecg(spikes, seconds, 900.0, 0.0);
            for (size_t i = 0; i < c.size(); ++i)
                c[i] = qint16(c[i] + burst[i]);
        }
    }
    auto source = std::make_unique<MemorySource>(3, detecttest::kRate, 1024);
    source->setSamples(ch);
    return source;
}

// A study in memory: the signal and an empty list, both owned by the study.
struct MemoryStudy
{
    explicit MemoryStudy(std::unique_ptr<MemorySource> signal)
    {
        study.setSignal(std::move(signal));
        auto beats = std::make_unique<MemoryBeatList>();
        list = beats.get();
        study.setBeats(std::move(beats));
    }
    Study study;
    MemoryBeatList* list = nullptr;
};

// Every signal of one run, in order, as "p<stage>:<percent>", "done" or "cancelled".
struct Recorder
{
    explicit Recorder(StudyProcessor& p)
    {
        QObject::connect(&p, &StudyProcessor::progress, [this](const QString& s, double pct) {
            statuses.push_back(s);
            percents.push_back(pct);
            log.push_back("p");
        });
        QObject::connect(&p, &StudyProcessor::done, [this] { log.push_back("done"); });
        QObject::connect(&p, &StudyProcessor::cancelled, [this] { log.push_back("cancelled"); });
    }
    // Stage numbers of the progress signals in order, read back from their texts.
    std::vector<int> stages() const
    {
        std::vector<int> out;
        for (const QString& s : statuses)
            for (int k = 1; k <= 5; ++k)
                if (s == StudyProcessor::stageStatus(k))
                    out.push_back(k);
        return out;
    }
    std::vector<QString> statuses;
    std::vector<double> percents;
    std::vector<std::string> log;
};

std::vector<bool> beatFlags(const MemoryBeatList& list)
{
    std::vector<bool> out;
    for (const Beat& b : list.beats())
        out.push_back(b.isBeat);
    return out;
}

} // namespace

TEST(StudyProcessor, StageTextsCarryTheirNumbers)
{
    EXPECT_EQ(StudyProcessor::stageStatus(1), QString("Processing 1 of 5: Beat detection"));
    EXPECT_EQ(StudyProcessor::stageStatus(2), QString("Processing 2 of 5: Noise checking"));
    EXPECT_EQ(StudyProcessor::stageStatus(3), QString("Processing 3 of 5: Beat classification"));
    EXPECT_EQ(StudyProcessor::stageStatus(4), QString("Processing 4 of 5: Type assignment"));
    EXPECT_EQ(
        StudyProcessor::stageStatus(5), QString("Processing 5 of 5: Additional noise removal"));
    EXPECT_TRUE(StudyProcessor::stageStatus(0).isEmpty());
    EXPECT_TRUE(StudyProcessor::stageStatus(6).isEmpty());
}

TEST(StudyProcessor, CompleteRunLabelsEveryBeatAndEndsWithDone)
{
    MemoryStudy s(makeSignal(false));
    // Whatever the list held before is replaced.
    Beat stale;
    stale.windowStart = 1000.0;
    s.list->append(stale);
    StudyProcessor p(&s.study);
    Recorder rec(p);
    QSignalSpy doneSpy(&p, &StudyProcessor::done);
    QSignalSpy cancelSpy(&p, &StudyProcessor::cancelled);
    p.run();

    EXPECT_EQ(doneSpy.count(), 1);
    EXPECT_EQ(cancelSpy.count(), 0);
    ASSERT_FALSE(rec.log.empty());
    EXPECT_EQ(rec.log.back(), "done");
    EXPECT_EQ(std::count(rec.log.begin(), rec.log.end(), "done"), 1);

    // Stages in order, each announced at its start: 0 % for 1 to 3, 50 % for 4 and 5.
    const std::vector<int> stages = rec.stages();
    ASSERT_EQ(stages.size(), rec.statuses.size()) << "a progress text of no stage";
    EXPECT_TRUE(std::is_sorted(stages.begin(), stages.end()));
    const double startPercent[6] = { 0, 0.0, 0.0, 0.0, 50.0, 50.0 };
    for (int k = 1; k <= 5; ++k) {
        const auto first = std::find(stages.begin(), stages.end(), k);
        ASSERT_NE(first, stages.end()) << "stage " << k << " never reported";
        EXPECT_EQ(rec.percents[size_t(first - stages.begin())], startPercent[k]) << k;
    }
    EXPECT_EQ(std::count(stages.begin(), stages.end(), 4), 1);
    EXPECT_EQ(std::count(stages.begin(), stages.end(), 5), 1);
    EXPECT_EQ(rec.percents.back(), 50.0);
    // Stage 1 reaches the end of the recording; stages 2 and 3 count 100 beats per step, so a
    // list of ~375 entries reports 4 steps ending at exactly 100 %.
    double lastDetect = 0.0, lastNoise = -1.0, lastClass = -1.0;
    int noiseSteps = 0;
    for (size_t i = 0; i < stages.size(); ++i) {
        if (stages[i] == 1)
            lastDetect = rec.percents[i];
        if (stages[i] == 2 && i > 0 && stages[i - 1] == 2) {
            ++noiseSteps;
            lastNoise = rec.percents[i];
        }
        if (stages[i] == 3)
            lastClass = rec.percents[i];
    }
    EXPECT_GE(lastDetect, 100.0);
    EXPECT_LT(lastDetect, 110.0);
    EXPECT_EQ(lastNoise, 100.0);
    EXPECT_EQ(lastClass, 100.0);
    const int entries = s.list->count();
    EXPECT_EQ(noiseSteps, (entries + 99) / 100);

    // Away from the edges, where detection and classification are still learning or the signal
    // runs out: one beat per R wave, each normal and in a class.
    std::vector<double> rTimes;
    for (double r : detecttest::regular(0.6, kRr, kSeconds - 0.7))
        if (r > 5.0 && r < kSeconds - 10.0)
            rTimes.push_back(r);
    std::vector<const Beat*> inner;
    for (const Beat& b : s.list->beats()) {
        EXPECT_LT(b.windowStart, kSeconds) << "the stale entry survived";
        const double r = b.timing[Beat::RTime];
        if (b.isBeat && r > 5.0 + 0.1 && r < kSeconds - 10.0 + 0.1)
            inner.push_back(&b);
    }
    ASSERT_EQ(inner.size(), rTimes.size());
    for (size_t i = 0; i < inner.size(); ++i) {
        EXPECT_NEAR(inner[i]->timing[Beat::RTime], rTimes[i], 0.05) << i;
        EXPECT_EQ(inner[i]->type, BeatN) << rTimes[i];
        EXPECT_NE(inner[i]->classId, 0) << rTimes[i];
    }
}

// Cancelling when stage k first reports progress after its start.
class CancelInStage : public ::testing::TestWithParam<int>
{
};

TEST_P(CancelInStage, StopsWithCancelledAndLeavesTheStageBehind)
{
    const int stage = GetParam();
    MemoryStudy s(makeSignal(true));
    StudyProcessor p(&s.study);
    Recorder rec(p);
    QObject::connect(&p, &StudyProcessor::progress, [&](const QString& status, double pct) {
        if (status == StudyProcessor::stageStatus(stage) && pct > 0.0)
            p.cancel();
    });
    QSignalSpy doneSpy(&p, &StudyProcessor::done);
    p.run();

    EXPECT_EQ(doneSpy.count(), 0);
    ASSERT_FALSE(rec.log.empty());
    EXPECT_EQ(rec.log.back(), "cancelled");
    EXPECT_EQ(std::count(rec.log.begin(), rec.log.end(), "cancelled"), 1);
    const std::vector<int> stages = rec.stages();
    // A cancel in stage 3 still assigns types (stage 4), never removes more noise (stage 5).
    const int lastStage = stage == 3 ? 4 : stage;
    EXPECT_EQ(stages.back(), lastStage);
    EXPECT_EQ(std::count(stages.begin(), stages.end(), 5), 0);

    if (stage == 1) {
        // The cancel came after the first block: far fewer entries than beats in the record.
        EXPECT_LT(s.list->count(), 100);
    }
    if (stage == 2) {
        // The same detection, then noise checking of one batch and its finish(), is what the
        // list must hold: the stretches found in that batch are marked.
        detecttest::DetectionRun run(*makeSignal(true));
        std::vector<bool> detected = beatFlags(run.beats);
        NoiseChecker checker(run.beats);
        checker.step();
        checker.finish();
        const std::vector<bool> expected = beatFlags(run.beats);
        ASSERT_NE(expected, detected) << "the burst should give a noisy stretch to mark";
        EXPECT_EQ(beatFlags(*s.list), expected);
        for (const Beat& b : s.list->beats())
            EXPECT_EQ(b.classId, 0) << "stage 3 ran after a cancel";
    }
    if (stage == 3) {
        // One batch of 100 entries was classified; type assignment wrote those, the rest were
        // never looked at.
        int before = 0, classedBefore = 0, normalBefore = 0, classedAfter = 0;
        for (const Beat& b : s.list->beats()) {
            if (!b.isBeat)
                continue;
            if (b.index < BeatClassifier::kStepEntries) {
                ++before;
                classedBefore += b.classId != 0;
                normalBefore += b.type == BeatN;
            } else {
                classedAfter += b.classId != 0;
            }
        }
        EXPECT_EQ(classedBefore, before);
        EXPECT_GT(normalBefore, 10);
        EXPECT_EQ(classedAfter, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Stages, CancelInStage, ::testing::Values(1, 2, 3),
    [](const ::testing::TestParamInfo<int>& info) { return "Stage" + std::to_string(info.param); });

TEST(StudyProcessor, CancelBeforeRunIsForgottenAtTheStart)
{
    MemoryStudy s(makeSignal(false, 30.0));
    StudyProcessor p(&s.study);
    QSignalSpy doneSpy(&p, &StudyProcessor::done);
    QSignalSpy cancelSpy(&p, &StudyProcessor::cancelled);
    p.cancel();
    p.run();
    EXPECT_EQ(doneSpy.count(), 1);
    EXPECT_EQ(cancelSpy.count(), 0);
    EXPECT_FALSE(p.isCancelRequested());
    EXPECT_GT(s.list->count(), 20);
}

TEST(StudyProcessor, RecordingWithoutSamplesEndsNormally)
{
    MemoryStudy s(std::make_unique<MemorySource>(3, 500, 1024));
    StudyProcessor p(&s.study);
    Recorder rec(p);
    p.run();
    ASSERT_FALSE(rec.log.empty());
    EXPECT_EQ(rec.log.back(), "done");
    EXPECT_EQ(s.list->count(), 0);
    // No beats: stages 2 and 3 announce themselves and have nothing to step over.
    EXPECT_EQ(rec.stages(), (std::vector<int> { 1, 2, 3, 4, 5 }));
}

TEST(StudyProcessor, StudyWithoutSamplesIsNotProcessed)
{
    Study study;
    auto beats = std::make_unique<MemoryBeatList>();
    Beat kept;
    beats->append(kept);
    MemoryBeatList* list = beats.get();
    study.setBeats(std::move(beats));
    StudyProcessor p(&study);
    QSignalSpy doneSpy(&p, &StudyProcessor::done);
    QSignalSpy cancelSpy(&p, &StudyProcessor::cancelled);
    p.run();
    EXPECT_EQ(doneSpy.count(), 0);
    EXPECT_EQ(cancelSpy.count(), 1);
    EXPECT_EQ(list->count(), 1);

    StudyProcessor none(nullptr);
    QSignalSpy noneSpy(&none, &StudyProcessor::cancelled);
    none.run();
    EXPECT_EQ(noneSpy.count(), 1);
}

// As the main window runs it: on the global pool, signals queued to this thread.
TEST(StudyProcessor, PoolRunDeliversQueuedSignalsToTheCreatorsThread)
{
    MemoryStudy s(makeSignal(false));
    auto* task = new StudyProcessor(&s.study); // the pool deletes it
    QSignalSpy progressSpy(task, &StudyProcessor::progress);
    QSignalSpy doneSpy(task, &StudyProcessor::done);
    std::vector<QString> texts;
    QObject receiver;
    QObject::connect(
        task, &StudyProcessor::progress, &receiver,
        [&texts](const QString& status, double) { texts.push_back(status); }, Qt::QueuedConnection);
    QThreadPool::globalInstance()->start(task, 0);
    ASSERT_TRUE(doneSpy.wait(60000));
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ(texts.front(), StudyProcessor::stageStatus(1));
    EXPECT_EQ(texts.back(), StudyProcessor::stageStatus(5));
    EXPECT_EQ(int(texts.size()), progressSpy.count());
}

TEST(StudyProcessor, CancelFromAnotherThreadStopsAPoolRun)
{
    MemoryStudy s(makeSignal(false, 3600.0));
    StudyProcessor task(&s.study);
    task.setAutoDelete(false);
    QSignalSpy cancelSpy(&task, &StudyProcessor::cancelled);
    QSignalSpy doneSpy(&task, &StudyProcessor::done);
    QObject receiver;
    // Cancel on the first progress of stage 1 that reaches this thread.
    QObject::connect(
        &task, &StudyProcessor::progress, &receiver,
        [&task](const QString&, double pct) {
            if (pct > 0.0)
                task.cancel();
        },
        Qt::QueuedConnection);
    QThreadPool::globalInstance()->start(&task, 0);
    ASSERT_TRUE(cancelSpy.wait(60000));
    QThreadPool::globalInstance()->waitForDone();
    EXPECT_EQ(doneSpy.count(), 0);
    // An hour holds 4500 beats; stopping in detection leaves far fewer.
    EXPECT_LT(s.list->count(), 4000);
}
