#include "analysis/beatclassifier.h"
#include "analysis/memorybeatlist.h"
#include "analysis/noisechecker.h"
#include "analysis/studyprocessor.h"
#include "detectsignals.h"
#include "store/study.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr double kSeconds = 300.0;
constexpr double kRr = 0.8; // 375 beats: stages 2 and 3 take four batches

// Three channels of regular beats at 250 Hz; `noisy` adds 60 spikes per channel at random
// instants between 20 and 40 s, which detection takes for extra beats and noise.
std::unique_ptr<MemorySource> makeSignal(bool noisy)
{
    const double seconds = kSeconds;
    const std::vector<double> r = detecttest::regular(0.6, kRr, seconds - 0.7);
    std::vector<std::vector<qint16>> ch = { detecttest::ecg(r, seconds, 800.0),
        detecttest::ecg(r, seconds, -500.0, -80.0), detecttest::ecg(r, seconds, 600.0) };
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> at(20.0, 40.0);
    for (auto& c : ch) {
        if (!noisy)
            break;
        std::vector<double> spikes(60);
        for (double& s : spikes)
            s = at(rng);
        const std::vector<qint16> burst = detecttest::ecg(spikes, seconds, 900.0, 0.0);
        for (size_t i = 0; i < c.size(); ++i)
            c[i] = qint16(c[i] + burst[i]);
    }
    return std::make_unique<MemorySource>(detecttest::kRate, 1024, ch);
}

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

// Every signal of one run in order: the stage number of each progress (read back from its
// text, which must carry it) with its percent, then "done" or "cancelled".
struct Recorder
{
    explicit Recorder(StudyProcessor& p)
    {
        QObject::connect(&p, &StudyProcessor::progress, [this](const QString& s, double pct) {
            int stage = 0;
            for (int k = 1; k <= 5; ++k)
                if (s == StudyProcessor::stageStatus(k))
                    stage = k;
            EXPECT_TRUE(s.startsWith(QString("Processing %1 of 5: ").arg(stage)))
                << s.toStdString();
            stages.push_back(stage);
            percents.push_back(pct);
        });
        QObject::connect(&p, &StudyProcessor::done, [this] { ends.push_back("done"); });
        QObject::connect(&p, &StudyProcessor::cancelled, [this] { ends.push_back("cancelled"); });
    }
    std::vector<int> stages;
    std::vector<double> percents;
    std::vector<std::string> ends;
};

std::vector<bool> beatFlags(const MemoryBeatList& list)
{
    std::vector<bool> out;
    for (const Beat& b : list.beats())
        out.push_back(b.isBeat);
    return out;
}

} // namespace

TEST(StudyProcessor, CompleteRunLabelsEveryBeatAndEndsWithDone)
{
    MemoryStudy s(makeSignal(false));
    Beat stale; // whatever the list held before is replaced
    stale.windowStart = 1000.0;
    s.list->append(stale);
    StudyProcessor p(&s.study);
    Recorder rec(p);
    p.cancel(); // a cancel before the run is forgotten at its start
    p.run();
    EXPECT_EQ(rec.ends, std::vector<std::string> { "done" });

    // Stages in order; 4 and 5 report once at 50 %, 2 and 3 step 100 entries to exactly 100 %.
    const std::vector<int>& st = rec.stages;
    EXPECT_TRUE(std::is_sorted(st.begin(), st.end()));
    ASSERT_GE(st.size(), 5u);
    EXPECT_EQ(st.front(), 1);
    EXPECT_EQ(std::vector<int>(st.end() - 2, st.end()), (std::vector<int> { 4, 5 }));
    EXPECT_EQ(std::vector<double>(rec.percents.end() - 3, rec.percents.end()),
        (std::vector<double> { 100.0, 50.0, 50.0 }));
    EXPECT_EQ(std::count(st.begin(), st.end(), 2) - 1, (s.list->count() + 99) / 100);

    // Away from the edges: one beat per R wave, each normal and in a class.
    std::vector<double> rTimes;
    for (double r : detecttest::regular(0.6, kRr, kSeconds - 0.7))
        if (r > 5.0 && r < kSeconds - 10.0)
            rTimes.push_back(r);
    std::vector<const Beat*> inner;
    for (const Beat& b : s.list->beats()) {
        EXPECT_LT(b.windowStart, kSeconds) << "the stale entry survived";
        const double r = b.timing[Beat::RTime];
        if (b.isBeat && r > 5.1 && r < kSeconds - 9.9)
            inner.push_back(&b);
    }
    ASSERT_EQ(inner.size(), rTimes.size());
    for (size_t i = 0; i < inner.size(); ++i) {
        EXPECT_NEAR(inner[i]->timing[Beat::RTime], rTimes[i], 0.05) << i;
        EXPECT_EQ(inner[i]->type, BeatN) << rTimes[i];
        EXPECT_NE(inner[i]->classId, 0) << rTimes[i];
    }
}

// The user's prematurity rule with the options left at their defaults: a beat 25 % early
// leaves the normal class as S, one 10 % early stays N, regular beats stay N.
TEST(StudyProcessor, DefaultUserPrematurityRuleIsTwentyPercent)
{
    const double seconds = 120.0;
    std::vector<double> r;
    std::vector<double> early25, early10;
    int n = 0;
    for (double t = 0.6; t < seconds - 1.0; ++n) {
        const bool inner = t > 10.0 && t < seconds - 10.0;
        double rr = kRr;
        if (inner && n % 9 == 4)
            rr = kRr * 0.75;
        else if (inner && n % 9 == 8)
            rr = kRr * 0.9;
        t += rr;
        r.push_back(t);
        if (rr < kRr)
            (rr < kRr * 0.8 ? early25 : early10).push_back(t);
    }
    std::vector<std::vector<qint16>> ch = { detecttest::ecg(r, seconds, 800.0),
        detecttest::ecg(r, seconds, -500.0, -80.0), detecttest::ecg(r, seconds, 600.0) };
    MemoryStudy s(std::make_unique<MemorySource>(detecttest::kRate, 1024, ch));
    ProcessingOptions options;
    options.svpbUserDefined = true;
    StudyProcessor p(&s.study);
    p.setOptions(options);
    p.run();

    auto typeNear = [&](double t) {
        for (const Beat& b : s.list->beats())
            if (b.isBeat && std::abs(b.timing[Beat::RTime] - t) < 0.05)
                return b.type;
        return -1;
    };
    ASSERT_GT(early25.size(), 5u);
    for (double t : early25)
        EXPECT_EQ(typeNear(t), BeatS) << "25 % early at " << t;
    for (double t : early10)
        EXPECT_EQ(typeNear(t), BeatN) << "10 % early at " << t;
    EXPECT_EQ(typeNear(r[9 * (r.size() / 18) + 1]), BeatN); // not early, mid-recording
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
    p.run();
    EXPECT_EQ(rec.ends, std::vector<std::string> { "cancelled" });
    // A cancel in stage 3 still assigns types (stage 4), never removes more noise (stage 5).
    EXPECT_EQ(rec.stages.back(), stage == 3 ? 4 : stage);

    if (stage == 1) {
        EXPECT_LT(s.list->count(), 100); // far fewer entries than beats in the record
    }
    if (stage == 2) {
        // The same detection, then one batch of noise checking and its finish().
        detecttest::DetectionRun run(*makeSignal(true));
        const std::vector<bool> detected = beatFlags(run.beats);
        NoiseChecker checker(run.beats);
        checker.step();
        checker.finish();
        ASSERT_NE(beatFlags(run.beats), detected) << "the burst should give a noisy stretch";
        EXPECT_EQ(beatFlags(*s.list), beatFlags(run.beats));
        for (const Beat& b : s.list->beats())
            EXPECT_EQ(b.classId, 0) << "stage 3 ran after a cancel";
    }
    if (stage == 3) {
        // One batch was classified and typed; the rest were never looked at.
        int first = 0, classedFirst = 0, normalFirst = 0, classedRest = 0;
        for (const Beat& b : s.list->beats()) {
            if (!b.isBeat)
                continue;
            const bool inFirst = b.index < BeatClassifier::kStepEntries;
            first += inFirst;
            classedFirst += inFirst && b.classId != 0;
            normalFirst += inFirst && b.type == BeatN;
            classedRest += !inFirst && b.classId != 0;
        }
        EXPECT_EQ(classedFirst, first);
        EXPECT_GT(normalFirst, 10);
        EXPECT_EQ(classedRest, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Stages, CancelInStage, ::testing::Values(1, 2, 3));

TEST(StudyProcessor, EmptyRecordingEndsNormallyAndMissingSignalIsNotProcessed)
{
    MemoryStudy empty(std::make_unique<MemorySource>(3, 500, 1024));
    StudyProcessor p(&empty.study);
    Recorder rec(p);
    p.run();
    EXPECT_EQ(rec.ends, std::vector<std::string> { "done" });
    EXPECT_EQ(rec.stages, (std::vector<int> { 1, 2, 3, 4, 5 }));

    MemoryStudy noSignal(nullptr); // beats but no signal: cancelled, the list untouched
    noSignal.list->append(Beat());
    StudyProcessor q(&noSignal.study);
    Recorder qrec(q);
    q.run();
    EXPECT_EQ(qrec.ends, std::vector<std::string> { "cancelled" });
    EXPECT_EQ(noSignal.list->count(), 1);

    StudyProcessor none(nullptr);
    QSignalSpy noneSpy(&none, &StudyProcessor::cancelled);
    none.run();
    EXPECT_EQ(noneSpy.count(), 1);
}
