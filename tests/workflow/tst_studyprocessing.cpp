#include "analysis/studyprocessor.h"
#include "store/beatfile.h"
#include "store/beatlist.h"
#include "store/ecgfile.h"
#include "store/storeio.h"
#include "store/studystatus.h"
#include "tests/support/testsupport.h"
#include "tests/workflow/workflowstudy.h"
#include "workflow/studyprocessing.h"

#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

using namespace workflowtest;

namespace {

constexpr double kShortSeconds = 120.0; // 150 beats
constexpr double kLongSeconds = 1800.0; // long enough that a cancel lands in detection

// Keeps what a run reports: the stage texts in order and the percents.
class RecordingSink : public ProgressSink
{
public:
    void progress(qint64 position, qint64 total) override
    {
        positions.push_back(position);
        totals.push_back(total);
        if (cancelAt >= 0 && position >= cancelAt && cancel)
            cancel->store(true);
    }
    void status(const QString& text) override { statuses << text; }

    QStringList statuses;
    std::vector<qint64> positions;
    std::vector<qint64> totals;
    CancelFlag* cancel = nullptr; // set when a position reaches cancelAt
    qint64 cancelAt = -1;
};

// A sample file whose blocks from `failBlock` on can't be read, as a failing disk would.
class BrokenEcgFile : public EcgFile
{
public:
    BrokenEcgFile(const QString& path, int channels, int rate, int failBlock)
        : EcgFile(path, channels, rate, EcgFile::kHeaderSize, false, nullptr)
        , m_failBlock(failBlock)
    {
    }
    qint16* loadBlock(int channel, int block) override
    {
        if (block >= m_failBlock)
            throw StoreError(
                QString("Cannot read file %1").arg(QFileInfo(path()).fileName()).toStdString());
        return EcgFile::loadBlock(channel, block);
    }

private:
    int m_failBlock;
};

// A repository whose studies open on a broken sample file.
class BrokenRepository : public StudyRepository
{
public:
    explicit BrokenRepository(const QString& root)
        : StudyRepository("VeltronaHolter", options(root))
    {
    }
    std::unique_ptr<Study> loadStudyFile(const QString& path) override
    {
        std::unique_ptr<Study> study = StudyRepository::loadStudyFile(path);
        if (!study)
            return nullptr;
        const QString base = QFileInfo(path).path() + "/" + QFileInfo(path).completeBaseName();
        const SignalSource* real = study->signal();
        auto broken = std::make_unique<BrokenEcgFile>(
            base + ".vtecg", real->channelCount(), real->samplingRate(), 3);
        std::unique_ptr<BeatList> beats = BeatFile::open(broken.get(), base + ".vtbeats");
        // The beats go first: the old list reads the old source.
        study->setBeats(std::move(beats));
        study->setSignal(std::move(broken));
        return study;
    }

private:
    static Options options(const QString& root)
    {
        Options o;
        o.rootOverride = root;
        return o;
    }
};

void appendBeats(BeatList& list, int count)
{
    for (int k = 0; k < count; ++k) {
        Beat b;
        b.source = list.signalSource();
        b.index = k;
        b.windowStart = 1.0 + k;
        b.windowLength = 0.5;
        b.isBeat = true;
        b.type = BeatN;
        list.append(b);
    }
}

struct SettleCase
{
    ProcessingOutcome outcome;
    const char* before;
    const char* after;
    int beatsAfter;
};

void PrintTo(const SettleCase& c, std::ostream* os)
{
    *os << int(c.outcome) << " from " << c.before;
}

class SettleRules : public ::testing::TestWithParam<SettleCase>
{
};

} // namespace

// Done marks the study processed (also a reported one, after reprocessing) and keeps the
// beats; a cancel or a failure empties the beats and keeps the status. Saved either way.
TEST_P(SettleRules, StatusAndBeatsAsTheOutcomeSays)
{
    const SettleCase c = GetParam();
    testsupport::TempRoot root;
    int id = 0;
    {
        auto repo = openRepository(root.path());
        id = makeEcgStudy(*repo, 30.0, c.before);
        Study* s = repo->openStudy(id);
        ASSERT_TRUE(s);
        appendBeats(*s->beats(), 3);
        settleProcessing(*repo, *s, c.outcome);
        repo->closeStudy(s);
    }
    const Stored st = stored(root.path(), id);
    EXPECT_EQ(st.status, QByteArray(c.after));
    EXPECT_EQ(st.beatEntries, c.beatsAfter);
}

namespace {
std::string caseName(const ::testing::TestParamInfo<SettleCase>& info)
{
    const char* outcomes[] = { "Done", "Cancelled", "Failed" };
    return std::string(outcomes[int(info.param.outcome)]) + "From_" + info.param.before;
}
} // namespace

INSTANTIATE_TEST_SUITE_P(Outcomes, SettleRules,
    ::testing::Values(
        SettleCase { ProcessingOutcome::Done, StudyStatus::Downloaded, StudyStatus::Processed, 3 },
        SettleCase { ProcessingOutcome::Done, StudyStatus::Report, StudyStatus::Processed, 3 },
        SettleCase {
            ProcessingOutcome::Cancelled, StudyStatus::Downloaded, StudyStatus::Downloaded, 0 },
        SettleCase { ProcessingOutcome::Cancelled, StudyStatus::Report, StudyStatus::Report, 0 },
        SettleCase {
            ProcessingOutcome::Failed, StudyStatus::Processed, StudyStatus::Processed, 0 }),
    caseName);

// The command line's way: a complete run reports every stage in order, percent of 100, and
// leaves a processed study with its beats on disk.
TEST(StudyProcessing, RunAndWaitProcessesAndSettlesTheStudy)
{
    testsupport::TempRoot root;
    auto repo = openRepository(root.path());
    const int id = makeEcgStudy(*repo, kShortSeconds, StudyStatus::Downloaded);
    Study* s = repo->openStudy(id);
    ASSERT_TRUE(s);
    RecordingSink sink;
    {
        StudyProcessing processing(*repo, s, ProcessingOptions());
        EXPECT_EQ(processing.runAndWait(&sink), ProcessingOutcome::Done);
        EXPECT_TRUE(processing.errorMessage().isEmpty());
        EXPECT_FALSE(processing.isRunning());
    }
    repo->closeStudy(s);

    QStringList expected;
    for (int stage = 1; stage <= StudyProcessor::kStages; ++stage)
        expected << StudyProcessor::stageStatus(stage);
    EXPECT_EQ(sink.statuses, expected);
    ASSERT_FALSE(sink.positions.empty());
    for (size_t i = 0; i < sink.positions.size(); ++i) {
        EXPECT_EQ(sink.totals[i], 100);
        EXPECT_GE(sink.positions[i], 0);
        EXPECT_LE(sink.positions[i], 100) << "detection's overshoot must not pass 100 %";
    }

    const Stored st = stored(root.path(), id);
    EXPECT_EQ(st.status, QByteArray(StudyStatus::Processed));
    // One entry per R wave, give or take the edges.
    EXPECT_NEAR(st.beatEntries, kShortSeconds / kRr, 4);
}

// A stop request from outside (Ctrl-C) ends detection early: no later stage starts, the beats
// go and the status stays. A flag set before the start stops at once.
TEST(StudyProcessing, ExternalCancelFlagStopsTheRunAndEmptiesTheBeats)
{
    for (const bool beforeStart : { true, false }) {
        SCOPED_TRACE(beforeStart ? "set before the start" : "set during detection");
        testsupport::TempRoot root;
        auto repo = openRepository(root.path());
        const int id = makeEcgStudy(*repo, kLongSeconds, StudyStatus::Downloaded);
        Study* s = repo->openStudy(id);
        ASSERT_TRUE(s);
        CancelFlag cancel { beforeStart };
        RecordingSink sink;
        sink.cancel = &cancel;
        sink.cancelAt = 5; // percent of detection
        {
            StudyProcessing processing(*repo, s, ProcessingOptions());
            EXPECT_EQ(processing.runAndWait(&sink, &cancel), ProcessingOutcome::Cancelled);
        }
        EXPECT_EQ(s->beats()->count(), 0);
        repo->closeStudy(s);
        EXPECT_EQ(sink.statuses, QStringList { StudyProcessor::stageStatus(1) });
        if (!beforeStart) {
            EXPECT_LT(sink.positions.back(), 50) << "the cancel was seen late";
        }
        const Stored st = stored(root.path(), id);
        EXPECT_EQ(st.status, QByteArray(StudyStatus::Downloaded));
        EXPECT_EQ(st.beatEntries, 0);
    }
}

// A reader that throws on the pool thread: the run ends with the reader's message instead of
// ending the program, and the study is settled as after a cancel.
TEST(StudyProcessing, ReaderFailureEndsWithItsMessageAndEmptiesTheBeats)
{
    testsupport::TempRoot root;
    int id = 0;
    {
        auto repo = openRepository(root.path());
        id = makeEcgStudy(*repo, kShortSeconds, StudyStatus::Downloaded);
    }
    BrokenRepository repo(root.path());
    Study* s = repo.openStudy(id);
    ASSERT_TRUE(s);
    StudyProcessing processing(repo, s, ProcessingOptions());
    QSignalSpy finished(&processing, &StudyProcessing::finished);
    RecordingSink sink;
    EXPECT_EQ(processing.runAndWait(&sink), ProcessingOutcome::Failed);
    ASSERT_EQ(finished.count(), 1);
    const QString message = finished.at(0).at(1).toString();
    EXPECT_EQ(message, processing.errorMessage());
    EXPECT_TRUE(message.startsWith("Cannot read file ")) << message.toStdString();
    EXPECT_TRUE(message.endsWith(".vtecg")) << message.toStdString();
    // Detection got through the readable blocks before the failure.
    EXPECT_GT(sink.positions.back(), 0);
    EXPECT_EQ(s->beats()->count(), 0);
    repo.closeStudy(s);

    const Stored st = stored(root.path(), id);
    EXPECT_EQ(st.status, QByteArray(StudyStatus::Downloaded));
    EXPECT_EQ(st.beatEntries, 0);
}

// A window's way: start() returns at once, signals arrive in the event loop, cancel() from the
// user interface thread ends the run with one finished(Cancelled).
TEST(StudyProcessing, StartedRunReportsBySignalsAndCancelsOnRequest)
{
    testsupport::TempRoot root;
    auto repo = openRepository(root.path());
    const int id = makeEcgStudy(*repo, kLongSeconds, StudyStatus::Report);
    Study* s = repo->openStudy(id);
    ASSERT_TRUE(s);
    StudyProcessing processing(*repo, s, ProcessingOptions());
    QSignalSpy finished(&processing, &StudyProcessing::finished);
    int progressCount = 0;
    QObject::connect(&processing, &StudyProcessing::progress, [&](const QString&, double pct) {
        ++progressCount;
        if (pct > 1.0)
            processing.cancel();
    });
    processing.start();
    processing.start(); // a second start is ignored
    EXPECT_TRUE(processing.isRunning());
    ASSERT_TRUE(finished.wait(60000));
    EXPECT_EQ(finished.count(), 1);
    EXPECT_EQ(finished.at(0).at(0).value<ProcessingOutcome>(), ProcessingOutcome::Cancelled);
    EXPECT_GT(progressCount, 1);
    EXPECT_FALSE(processing.isRunning());
    processing.cancel(); // after the end: nothing happens
    QTest::qWait(50);
    EXPECT_EQ(finished.count(), 1);
    repo->closeStudy(s);
    const Stored st = stored(root.path(), id);
    EXPECT_EQ(st.status, QByteArray(StudyStatus::Report));
    EXPECT_EQ(st.beatEntries, 0);
}

// Going away in the middle of a run stops it and waits, so that the study may be closed at once.
TEST(StudyProcessing, DestroyingARunningProcessingStopsItsThread)
{
    testsupport::TempRoot root;
    auto repo = openRepository(root.path());
    const int id = makeEcgStudy(*repo, kLongSeconds, StudyStatus::Downloaded);
    Study* s = repo->openStudy(id);
    ASSERT_TRUE(s);
    {
        StudyProcessing processing(*repo, s, ProcessingOptions());
        double percent = 0.0;
        QObject::connect(&processing, &StudyProcessing::progress,
            [&percent](const QString&, double pct) { percent = pct; });
        processing.start();
        EXPECT_TRUE(QTest::qWaitFor([&] { return percent > 5.0; }, 60000));
        EXPECT_TRUE(processing.isRunning());
    }
    // Nothing writes to the beats any more.
    const int count = s->beats()->count();
    EXPECT_GT(count, 0);
    QThread::msleep(200);
    EXPECT_EQ(s->beats()->count(), count);
    repo->closeStudy(s);
}
