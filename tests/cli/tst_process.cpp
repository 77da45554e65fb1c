#include "recorder/wfdbannotation.h"
#include "store/beatlist.h"
#include "store/study.h"
#include "tests/cli/clistudy.h"
#include "tests/support/testsupport.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <csignal>

using namespace clitest;

namespace {

// Class ids from here on are private to one beat that had no usable RR; such a beat is in no
// class, so no class rule (exclusion included) reaches it.
constexpr int kPrivateClassBase = 1000000;

// A short card with PVCs at known places, written by the simulator into `folder`.
void simulateCard(const QString& root, const QString& folder, const QString& hours)
{
    const QString script = root + "/card.sim";
    testsupport::writeAll(
        script, "hours 1\nrate 70 60\npvc count 40\nsvpb count 10\nfoci 1\nmuscle-noise 0.005\n");
    const CliRun r
        = run({ "simulate", folder, "--hours", hours, "--seed", "3", "--script", script });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
}

int importCard(const QString& root, const QString& folder)
{
    const CliRun r = cli(root,
        { "import", folder, "--last-name", "Paz", "--first-name", "Eva", "--date",
            "202401150900" });
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    return r.out.trimmed().toInt();
}

struct StoredStudy
{
    QByteArray status;
    int beats = 0; // isBeat entries
    int byType[5] = {};
    int uInClasses = 0; // U beats of real classes, not of the private ids of beats without RR
};

StoredStudy stored(const QString& root, int id)
{
    StoredStudy out;
    StudyInfo info;
    EXPECT_TRUE(repository(root)->studyExists(id, info));
    out.status = info.status;
    withStudy(root, id, [&](Study& s) {
        Beat b;
        for (int i = 0; s.beats() && i < s.beats()->count(); ++i) {
            if (!s.beats()->get(i, b) || !b.isBeat)
                continue;
            ++out.beats;
            if (b.type >= 0 && b.type < 5)
                ++out.byType[b.type];
            out.uInClasses += b.type == BeatU && b.classId < kPrivateClassBase;
        }
    });
    return out;
}

// Beats of the simulator's truth: V (code 5) and all beat codes.
void truthCounts(const QString& atr, int& beats, int& pvcs)
{
    beats = pvcs = 0;
    for (const WfdbAnnotation& a : readWfdbAnnotations(atr)) {
        if (a.code == 1 || a.code == 5 || a.code == 8 || a.code == 6) {
            ++beats;
            pvcs += a.code == 5;
        }
    }
}

class CliProcess : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_root = new testsupport::TempRoot;
        s_card = s_root->file("card");
        simulateCard(s_root->path(), s_card, "0.25");
    }
    static void TearDownTestSuite()
    {
        delete s_root;
        s_root = nullptr;
    }
    static testsupport::TempRoot* s_root;
    static QString s_card;
};

testsupport::TempRoot* CliProcess::s_root = nullptr;
QString CliProcess::s_card;

} // namespace

TEST_F(CliProcess, NonsenseIsRefusedThenProcessLabelsTheBeats)
{
    testsupport::TempRoot root;
    const int id = importCard(root.path(), s_card);
    ASSERT_GT(id, 0);
    const QString idText = QString::number(id);
    const QList<QStringList> bad = {
        { "process", idText, "--exclude", "N" },
        { "process", idText, "--exclude", "V,X" },
        { "process", idText, "--svpb-prematurity", "120" },
        { "process", idText, "--svpb-prematurity", "abc" },
        { "process", idText, "--bogus" },
        { "analyze", s_card, "--last-name", "A", "--first-name", "B", "--date", "2024-01-15" },
        { "analyze", s_card, "--pdf", root.file("r.pdf"), "--amplitude", "7", "--last-name", "A",
            "--first-name", "B", "--date", "202401150900" },
    };
    for (const QStringList& args : bad) {
        const CliRun r = cli(root.path(), args);
        EXPECT_EQ(r.code, 2) << args.join(' ').toStdString() << ": " << r.err.toStdString();
        EXPECT_FALSE(r.err.isEmpty());
    }
    StoredStudy s = stored(root.path(), id);
    EXPECT_EQ(s.status, QByteArray("downloaded"));
    EXPECT_EQ(s.beats, 0);
    // The refused analyze runs imported nothing.
    EXPECT_EQ(cli(root.path(), { "list" }).out.trimmed().split('\n').size(), 1);

    const CliRun r = cli(root.path(), { "process", idText });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_TRUE(r.err.contains("Processing 1 of 5: Beat detection"));
    EXPECT_TRUE(r.err.contains("Processing 5 of 5: Additional noise removal"));
    int truthBeats = 0, truthPvcs = 0;
    truthCounts(s_card + "/truth.atr", truthBeats, truthPvcs);
    s = stored(root.path(), id);
    EXPECT_EQ(s.status, QByteArray("processed"));
    // A quarter hour at 70 bpm; a few beats may be lost at the edges.
    EXPECT_NEAR(s.beats, truthBeats, 5);
    EXPECT_GT(s.byType[BeatN], truthBeats * 9 / 10);
    EXPECT_LE(s.byType[BeatV], truthPvcs + 2);
    // The summary line counts the same beats as the store.
    EXPECT_TRUE(r.out.contains(
        QString("%1 beats (N %2, V %3").arg(s.beats).arg(s.byType[BeatN]).arg(s.byType[BeatV])))
        << r.out.toStdString();
}

TEST_F(CliProcess, ExcludedTypesEndAsNormal)
{
    testsupport::TempRoot root;
    const int id = importCard(root.path(), s_card);
    ASSERT_GT(id, 0);
    const CliRun r = cli(root.path(), { "process", QString::number(id), "--exclude", "v,F,S,U" });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    const StoredStudy s = stored(root.path(), id);
    EXPECT_GT(s.beats, 0);
    EXPECT_EQ(s.byType[BeatV], 0);
    EXPECT_EQ(s.byType[BeatS], 0);
    EXPECT_EQ(s.byType[BeatF], 0);
    EXPECT_EQ(s.uInClasses, 0);
    EXPECT_EQ(s.byType[BeatN] + s.byType[BeatU], s.beats);
    EXPECT_LE(s.byType[BeatU], 5);
}

TEST_F(CliProcess, AnalyzeImportsProcessesAndExportsAnnotations)
{
    testsupport::TempRoot root;
    const QString atr = root.file("out.atr");
    const CliRun r = cli(root.path(),
        { "analyze", s_card, "--last-name", "Paz", "--first-name", "Eva", "--date", "202401150900",
            "--annotations", atr });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    const QVector<WfdbAnnotation> out = readWfdbAnnotations(atr);
    int truthBeats = 0, truthPvcs = 0;
    truthCounts(s_card + "/truth.atr", truthBeats, truthPvcs);
    EXPECT_NEAR(out.size(), truthBeats, 5);
    // Exported beats land on the truth's R peaks (both at the card's 500 Hz) within 150 ms.
    const QVector<WfdbAnnotation> truth = readWfdbAnnotations(s_card + "/truth.atr");
    int matched = 0;
    int t = 0;
    for (const WfdbAnnotation& a : out) {
        while (t < truth.size() && truth[t].sample < a.sample - 75)
            ++t;
        matched += t < truth.size() && std::abs(truth[t].sample - a.sample) <= 75;
    }
    EXPECT_GE(matched, out.size() - 3);
}

// Ctrl-C in the middle of processing: as the main window's cancel, the beats go and the status
// stays, so the study is offered for processing again.
TEST(CliProcessInterrupt, CtrlCEmptiesTheBeatStoreAndKeepsTheStatus)
{
    testsupport::TempRoot root;
    const QString card = root.file("card");
    simulateCard(root.path(), card, "8");
    const int id = importCard(root.path(), card);
    ASSERT_GT(id, 0);

    QProcess p;
    p.start(QString::fromUtf8(HOLTER_CLI),
        { "--data-dir", root.path(), "process", QString::number(id) });
    ASSERT_TRUE(p.waitForStarted());
    QByteArray err;
    QElapsedTimer clock;
    clock.start();
    // Interrupt once detection is under way.
    while (!err.contains("Beat detection: 1") && clock.elapsed() < 60000
        && p.state() == QProcess::Running) {
        p.waitForReadyRead(100);
        err += p.readAllStandardError();
    }
    ASSERT_EQ(p.state(), QProcess::Running) << "processing ended before it could be interrupted";
    ::kill(pid_t(p.processId()), SIGINT);
    ASSERT_TRUE(p.waitForFinished(60000));
    err += p.readAllStandardError();
    EXPECT_EQ(p.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(p.exitCode(), 1);
    EXPECT_TRUE(err.contains("interrupted")) << err.toStdString();
    EXPECT_FALSE(err.contains("Noise checking")) << "stage 2 ran after the interrupt";

    const StoredStudy s = stored(root.path(), id);
    EXPECT_EQ(s.status, QByteArray("downloaded"));
    EXPECT_EQ(s.beats, 0);
}
