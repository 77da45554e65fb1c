#include "recorder/wfdbannotation.h"
#include "store/beatlist.h"
#include "store/study.h"
#include "tests/cli/clistudy.h"
#include "tests/support/testsupport.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSettings>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

using namespace clitest;

namespace {

// Class ids from here on are private to one beat that had no usable RR; such a beat is in no
// class, so no class rule (exclusion included) reaches it.
constexpr int kPrivateClassBase = 1000000;

const QStringList kPatient
    = { "--last-name", "Paz", "--first-name", "Eva", "--date", "202401150900" };

// A card of `hours` with PVCs at known places, simulated into `root`/card.
QString simulateCard(const testsupport::TempRoot& root, const QString& hours)
{
    testsupport::writeAll(root.file("card.sim"),
        "hours 1\nrate 70 60\npvc count 40\nsvpb count 10\nfoci 1\nmuscle-noise 0.005\n");
    const CliRun r = run({ "simulate", root.file("card"), "--hours", hours, "--seed", "3",
        "--script", root.file("card.sim") });
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    return root.file("card");
}

// A quarter-hour card shared by the tests that only read it.
const QString& quarterHourCard()
{
    static const testsupport::TempRoot root;
    static const QString card = simulateCard(root, "0.25");
    return card;
}

int importCard(const QString& root, const QString& card)
{
    const CliRun r = cli(root, QStringList { "import", card } + kPatient);
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

// The beats of the simulator's truth (codes N, V, F and A).
QVector<WfdbAnnotation> truthBeats(const QString& card, int* pvcs = nullptr)
{
    QVector<WfdbAnnotation> beats;
    for (const WfdbAnnotation& a : readWfdbAnnotations(card + "/truth.atr")) {
        if (a.code == 1 || a.code == 5 || a.code == 8 || a.code == 6)
            beats << a;
        if (pvcs)
            *pvcs += a.code == 5;
    }
    return beats;
}

} // namespace

// Then the report of the processed study: nonsense is refused before anything is written; a PDF
// run follows its options, marks the study and keeps a copy in the store.
TEST(CliProcess, NonsenseIsRefusedThenProcessLabelsTheBeatsAndReportMarksTheStudy)
{
    testsupport::TempRoot root;
    const QString card = quarterHourCard();
    const int id = importCard(root.path(), card);
    ASSERT_GT(id, 0);
    const QString idText = QString::number(id);
    const QList<QStringList> bad = {
        { "process", idText, "--exclude", "V,X" },
        { "process", idText, "--svpb-prematurity", "120" },
        { "process", idText, "--svpb-prematurity", "abc" },
        { "analyze", card, "--last-name", "A", "--first-name", "B", "--date", "2024-01-15" },
        QStringList { "analyze", card, "--pdf", root.file("r.pdf"), "--amplitude", "7" } + kPatient,
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
    int truthPvcs = 0;
    const int truth = truthBeats(card, &truthPvcs).size();
    s = stored(root.path(), id);
    EXPECT_EQ(s.status, QByteArray("processed"));
    // A quarter hour at 70 bpm; a few beats may be lost at the edges.
    EXPECT_NEAR(s.beats, truth, 5);
    EXPECT_GT(s.byType[BeatN], truth * 9 / 10);
    EXPECT_LE(s.byType[BeatV], truthPvcs + 2);
    // The summary line counts the same beats as the store.
    EXPECT_TRUE(r.out.contains(
        QString("%1 beats (N %2, V %3").arg(s.beats).arg(s.byType[BeatN]).arg(s.byType[BeatV])))
        << r.out.toStdString();

    const QString pdf = root.file("out.pdf");
    const QStringList report = { "report", idText, "--pdf", pdf };
    const QList<QPair<QStringList, int>> badReports
        = { { report.mid(0, 2), 2 }, { report + QStringList { "--printer" }, 2 },
              { report + QStringList { "--amplitude", "7" }, 2 },
              { report + QStringList { "--filters", "notch,hum" }, 2 },
              { report + QStringList { "--rhythm-lead", "V9" }, 2 },
              { report + QStringList { "--logo", root.file("none.png") }, 1 } };
    for (const auto& bad : badReports)
        EXPECT_EQ(cli(root.path(), bad.first).code, bad.second)
            << bad.first.join(' ').toStdString();
    EXPECT_FALSE(QFile::exists(pdf));
    EXPECT_EQ(stored(root.path(), id).status, QByteArray("processed"));
    ASSERT_EQ(cli(root.path(),
                  report
                      + QStringList { "--no-hrv", "--amplitude", "20", "--filters",
                          "notch,baseline", "--title", "Clinica Norte" })
                  .code,
        0);
    StudyInfo info;
    ASSERT_TRUE(repository(root.path())->studyExists(id, info));
    EXPECT_EQ(info.status, QByteArray("report"));
    const QByteArray bytes = testsupport::readAll(pdf);
    EXPECT_TRUE(bytes.startsWith("%PDF"));
    EXPECT_EQ(testsupport::readAll(root.file("reports/" + info.baseFilename + ".pdf")), bytes);

    // --printer hands a PDF to the system spooler; a fake lp first on PATH keeps a copy, or
    // refuses. Printing leaves the study's status alone.
    const QByteArray oldPath = qgetenv("PATH");
    QFile fake(root.file("lp"));
    ASSERT_TRUE(fake.open(QIODevice::WriteOnly));
    fake.write(
        "#!/bin/sh\nfor f; do :; done\n"
        "if [ -e \"$(dirname \"$0\")/refuse\" ]; then echo 'lp: no default destination' >&2; "
        "exit 1; fi\ncp \"$f\" \"$(dirname \"$0\")/printed.pdf\"\n");
    fake.close();
    fake.setPermissions(fake.permissions() | QFileDevice::ExeOwner);
    qputenv("PATH", (root.path() + ":" + oldPath).toUtf8());
    const CliRun printed = cli(root.path(), { "report", idText, "--printer" });
    EXPECT_EQ(printed.code, 0) << printed.err.toStdString();
    EXPECT_TRUE(printed.err.contains("sent to the default printer"));
    EXPECT_TRUE(testsupport::readAll(root.file("printed.pdf")).startsWith("%PDF"));
    testsupport::writeAll(root.file("refuse"), "");
    const CliRun refused = cli(root.path(), { "report", idText, "--printer" });
    qputenv("PATH", oldPath);
    EXPECT_EQ(refused.code, 1);
    EXPECT_TRUE(refused.err.contains("lp: no default destination")) << refused.err.toStdString();
    ASSERT_TRUE(repository(root.path())->studyExists(id, info));
    EXPECT_EQ(info.status, QByteArray("report"));

    QProcess text; // pdftotext, where poppler-utils is installed
    text.start("pdftotext", { "-layout", pdf, "-" });
    if (text.waitForFinished(60000)) {
        const QString t = QString::fromUtf8(text.readAllStandardOutput());
        EXPECT_TRUE(t.contains("Clinica Norte") && t.contains("Paz, Eva - Informe Holter"));
        EXPECT_TRUE(t.contains("20 mm/mV - Filtros: notch 50hz, baseline fix")) << t.toStdString();
        EXPECT_FALSE(t.contains(QString::fromUtf8("Análisis temporal"))); // --no-hrv
    }
}

// analyze: import, process with excluded types, which end as N, and export the annotations.
TEST(CliProcess, AnalyzeExcludesTypesAndExportsBeatsOnTheTruth)
{
    testsupport::TempRoot root;
    const QString card = quarterHourCard();
    const QString atr = root.file("out.atr");
    const CliRun r = cli(root.path(),
        QStringList { "analyze", card, "--exclude", "v,F,S,U", "--annotations", atr } + kPatient);
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    const int id = r.err.section("imported as study ", 1).section('\n', 0, 0).toInt();
    const StoredStudy s = stored(root.path(), id);
    EXPECT_GT(s.beats, 0);
    EXPECT_EQ(s.byType[BeatV] + s.byType[BeatS] + s.byType[BeatF] + s.uInClasses, 0);
    EXPECT_EQ(s.byType[BeatN] + s.byType[BeatU], s.beats);
    EXPECT_LE(s.byType[BeatU], 5);

    // Exported beats land on the truth's R peaks (both at the card's 500 Hz) within 150 ms.
    const QVector<WfdbAnnotation> out = readWfdbAnnotations(atr);
    const QVector<WfdbAnnotation> truth = truthBeats(card);
    EXPECT_NEAR(out.size(), truth.size(), 5);
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
TEST(CliProcess, CtrlCEmptiesTheBeatStoreAndKeepsTheStatus)
{
    testsupport::TempRoot root;
    const int id = importCard(root.path(), simulateCard(root, "8"));
    ASSERT_GT(id, 0);

    QProcess p;
    p.start(QString::fromUtf8(HOLTER_CLI),
        { "--data-dir", root.path(), "process", QString::number(id) });
    ASSERT_TRUE(p.waitForStarted());
    QByteArray err;
    QElapsedTimer clock;
    clock.start();
    // Interrupt once detection is under way; progress comes a line per tenth without a terminal.
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

// The literal type rules, by option or by the setting "Analysis/LiteralRules", give the same
// labels, which differ from the refined ones on a card with fibrillation and a ventricular run:
// the literal rules make conducted beats S and leave the run unlabelled.
TEST(CliProcess, LiteralRulesByOptionOrSetting)
{
    testsupport::TempRoot root;
    testsupport::writeAll(root.file("af.sim"),
        "hours 1\nrate 70 60\nafib at 0:03:00 for 8m\nvt at 0:12:00 for 20s\n");
    ASSERT_EQ(run({ "simulate", root.file("card"), "--hours", "0.25", "--seed", "3", "--script",
                  root.file("af.sim") })
                  .code,
        0);
    const int id = importCard(root.path(), root.file("card"));
    ASSERT_GT(id, 0);
    const QString idText = QString::number(id);
    const auto typesAfter = [&](const QStringList& extra) {
        const CliRun r = cli(root.path(), QStringList { "process", idText } + extra);
        EXPECT_EQ(r.code, 0) << r.err.toStdString();
        std::vector<int> types;
        withStudy(root.path(), id, [&](Study& s) {
            Beat b;
            for (int i = 0; s.beats() && i < s.beats()->count(); ++i)
                if (s.beats()->get(i, b))
                    types.push_back(b.isBeat ? b.type : -1);
        });
        return types;
    };
    const std::vector<int> refined = typesAfter({});
    const std::vector<int> literal = typesAfter({ "--literal-rules" });
    ASSERT_EQ(refined.size(), literal.size());
    const auto count = [](const std::vector<int>& t, int type) {
        return std::count(t.begin(), t.end(), type);
    };
    EXPECT_GT(count(literal, BeatS), count(refined, BeatS) + 50);
    EXPECT_GT(count(refined, BeatV), count(literal, BeatV) + 40);

    QSettings settings("Veltrona", "Holter ECG");
    settings.setValue("Analysis/LiteralRules", true);
    settings.sync();
    EXPECT_EQ(typesAfter({}), literal);
    settings.remove("Analysis/LiteralRules");
    settings.sync();
    EXPECT_EQ(typesAfter({}), refined);
}
