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

#include <vector>

using namespace workflowtest;

namespace {

constexpr double kShortSeconds = 120.0; // 150 beats
constexpr double kLongSeconds = 1800.0; // long enough that a cancel lands in detection

// Keeps what a run reports: the stage texts in order and the percents; sets `cancel` once a
// position reaches `cancelAt`.
struct RecordingSink : ProgressSink
{
    void progress(qint64 position, qint64 total) override
    {
        positions.push_back(position);
        totals.push_back(total);
        if (cancel && position >= cancelAt)
            cancel->store(true);
    }
    void status(const QString& text) override { statuses << text; }

    QStringList statuses;
    std::vector<qint64> positions;
    std::vector<qint64> totals;
    CancelFlag* cancel = nullptr;
    qint64 cancelAt = 0;
};

// A sample file whose blocks from the third on can't be read, as a failing disk would.
class BrokenEcgFile : public EcgFile
{
public:
    BrokenEcgFile(const QString& path, int channels, int rate)
        : EcgFile(path, channels, rate, EcgFile::kHeaderSize, false, nullptr)
    {
    }
    qint16* loadBlock(int channel, int block) override
    {
        if (block >= 3)
            throw StoreError(
                QString("Cannot read file %1").arg(QFileInfo(path()).fileName()).toStdString());
        return EcgFile::loadBlock(channel, block);
    }
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
        const QString base = QFileInfo(path).path() + "/" + QFileInfo(path).completeBaseName();
        const SignalSource* real = study->signal();
        auto broken = std::make_unique<BrokenEcgFile>(
            base + ".vtecg", real->channelCount(), real->samplingRate());
        // The beats go first: the old list reads the old source.
        study->setBeats(BeatFile::open(broken.get(), base + ".vtbeats"));
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

// A store with one study of `seconds` saved as `status`, opened.
struct OpenStudy
{
    OpenStudy(double seconds, const QByteArray& status)
        : repo(openRepository(root.path()))
        , id(makeEcgStudy(*repo, seconds, status))
        , study(repo->openStudy(id))
    {
    }
    ~OpenStudy() { repo->closeStudy(study); }

    testsupport::TempRoot root;
    std::unique_ptr<StudyRepository> repo;
    int id;
    Study* study;
};

} // namespace

// Done marks the study processed (also a reported one, after reprocessing) and keeps the
// beats; a cancel or a failure empties the beats and keeps the status. Saved either way.
TEST(StudyProcessing, SettleRules)
{
    const struct
    {
        ProcessingOutcome outcome;
        const char* before;
        const char* after;
        int beatsAfter;
    } cases[] = {
        { ProcessingOutcome::Done, StudyStatus::Downloaded, StudyStatus::Processed, 3 },
        { ProcessingOutcome::Done, StudyStatus::Report, StudyStatus::Processed, 3 },
        { ProcessingOutcome::Cancelled, StudyStatus::Downloaded, StudyStatus::Downloaded, 0 },
        { ProcessingOutcome::Cancelled, StudyStatus::Report, StudyStatus::Report, 0 },
        { ProcessingOutcome::Failed, StudyStatus::Processed, StudyStatus::Processed, 0 },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << int(c.outcome) << " from " << c.before);
        OpenStudy s(30.0, c.before);
        for (int k = 0; k < 3; ++k) {
            Beat b;
            b.source = s.study->signal();
            b.windowStart = 1.0 + k;
            b.isBeat = true;
            s.study->beats()->append(b);
        }
        settleProcessing(*s.repo, *s.study, c.outcome);
        const Stored st = stored(s.root.path(), s.id);
        EXPECT_EQ(st.status, QByteArray(c.after));
        EXPECT_EQ(st.beatEntries, c.beatsAfter);
    }
}

// The command line's way: a complete run reports every stage in order, percent of 100, and
// leaves a processed study with its beats on disk.
TEST(StudyProcessing, RunAndWaitProcessesAndSettlesTheStudy)
{
    OpenStudy s(kShortSeconds, StudyStatus::Downloaded);
    RecordingSink sink;
    {
        StudyProcessing processing(*s.repo, s.study, ProcessingOptions());
        EXPECT_EQ(processing.runAndWait(&sink), ProcessingOutcome::Done);
        EXPECT_TRUE(processing.errorMessage().isEmpty());
        EXPECT_FALSE(processing.isRunning());
    }
    QStringList expected;
    for (int stage = 1; stage <= StudyProcessor::kStages; ++stage)
        expected << StudyProcessor::stageStatus(stage);
    EXPECT_EQ(sink.statuses, expected);
    ASSERT_FALSE(sink.positions.empty());
    EXPECT_EQ(sink.totals, std::vector<qint64>(sink.totals.size(), 100));
    EXPECT_LE(*std::max_element(sink.positions.begin(), sink.positions.end()), 100)
        << "detection's overshoot must not pass 100 %";
    const Stored st = stored(s.root.path(), s.id);
    EXPECT_EQ(st.status, QByteArray(StudyStatus::Processed));
    EXPECT_NEAR(st.beatEntries, kShortSeconds / kRr, 4); // one per R wave, give or take the edges
}

// A stop request from outside (Ctrl-C) ends detection early: no later stage starts, the beats
// go and the status stays. A flag set before the start stops at once.
TEST(StudyProcessing, ExternalCancelFlagStopsTheRunAndEmptiesTheBeats)
{
    for (const bool beforeStart : { true, false }) {
        SCOPED_TRACE(beforeStart ? "set before the start" : "set during detection");
        OpenStudy s(kLongSeconds, StudyStatus::Downloaded);
        CancelFlag cancel { beforeStart };
        RecordingSink sink;
        sink.cancel = &cancel;
        sink.cancelAt = 5; // percent of detection
        StudyProcessing processing(*s.repo, s.study, ProcessingOptions());
        EXPECT_EQ(processing.runAndWait(&sink, &cancel), ProcessingOutcome::Cancelled);
        EXPECT_EQ(sink.statuses, QStringList { StudyProcessor::stageStatus(1) });
        if (!beforeStart) {
            EXPECT_LT(sink.positions.back(), 50) << "the cancel was seen late";
        }
        const Stored st = stored(s.root.path(), s.id);
        EXPECT_EQ(st.status, QByteArray(StudyStatus::Downloaded));
        EXPECT_EQ(st.beatEntries, 0);
    }
}

// A reader that throws on the pool thread: the run ends with the reader's message instead of
// ending the program, and the study is settled as after a cancel.
TEST(StudyProcessing, ReaderFailureEndsWithItsMessageAndEmptiesTheBeats)
{
    testsupport::TempRoot root;
    const int id
        = makeEcgStudy(*openRepository(root.path()), kShortSeconds, StudyStatus::Downloaded);
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
    EXPECT_TRUE(message.startsWith("Cannot read file ") && message.endsWith(".vtecg"))
        << message.toStdString();
    EXPECT_GT(sink.positions.back(), 0); // detection got through the readable blocks
    repo.closeStudy(s);
    const Stored st = stored(root.path(), id);
    EXPECT_EQ(st.status, QByteArray(StudyStatus::Downloaded));
    EXPECT_EQ(st.beatEntries, 0);
}

// A window's way: start() returns at once, signals arrive in the event loop, cancel() from the
// user interface thread ends the run with one finished(Cancelled).
TEST(StudyProcessing, StartedRunReportsBySignalsAndCancelsOnRequest)
{
    OpenStudy s(kLongSeconds, StudyStatus::Report);
    StudyProcessing processing(*s.repo, s.study, ProcessingOptions());
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
    EXPECT_EQ(finished.at(0).at(0).value<ProcessingOutcome>(), ProcessingOutcome::Cancelled);
    EXPECT_GT(progressCount, 1);
    EXPECT_FALSE(processing.isRunning());
    processing.cancel(); // after the end: nothing happens
    QTest::qWait(50);
    EXPECT_EQ(finished.count(), 1);
    const Stored st = stored(s.root.path(), s.id);
    EXPECT_EQ(st.status, QByteArray(StudyStatus::Report));
    EXPECT_EQ(st.beatEntries, 0);
}

// Going away in the middle of a run stops it and waits, so that the study may be closed at once.
TEST(StudyProcessing, DestroyingARunningProcessingStopsItsThread)
{
    OpenStudy s(kLongSeconds, StudyStatus::Downloaded);
    {
        StudyProcessing processing(*s.repo, s.study, ProcessingOptions());
        double percent = 0.0;
        QObject::connect(&processing, &StudyProcessing::progress,
            [&percent](const QString&, double pct) { percent = pct; });
        processing.start();
        EXPECT_TRUE(QTest::qWaitFor([&] { return percent > 5.0; }, 60000));
    }
    // Nothing writes to the beats any more.
    const int count = s.study->beats()->count();
    EXPECT_GT(count, 0);
    QThread::msleep(200);
    EXPECT_EQ(s.study->beats()->count(), count);
}
