#include "recorder/wfdbannotation.h"
#include "results/model/resultset.h"
#include "store/beatlist.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "tests/support/clirun.h"
#include "tests/support/testsupport.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace {

using testsupport::CliRun;

CliRun cli(const QStringList& args)
{
    return testsupport::runProgram(QString::fromUtf8(HOLTER_CLI), args);
}

struct TestBeat
{
    double r; // seconds
    int type;
    bool isBeat;
};

// R instants chosen off the sample grid, so rounding and the choice of rate both show; the
// window starts 0.2 s earlier, so exporting the window start instead would show too.
const TestBeat kBeats[] = {
    { 0.5, BeatN, true }, { 1.3005, BeatV, true }, { 2.1, BeatN, false }, { 2.2011, BeatS, true },
    { 3.0, BeatF, true }, { 3.9, BeatU, true },
    { 5000.0, BeatN, true }, // far away: the file needs a long skip
};

struct AfSpan
{
    double start; // seconds
    double duration;
};

int makeStudy(const QString& root, const QVector<AfSpan>& af = {}, bool withAfResult = false)
{
    StudyRepository::Options o;
    o.rootOverride = root;
    StudyRepository repo("VeltronaHolter", o);
    StudyInfo info;
    info.studyDateTime = "20260101080000";
    info.recordingDateTime = info.studyDateTime;
    info.patientLastName = "Paz";
    info.patientFirstName = "Eva";
    info.samplingRate = 500;
    info.channelCount = 2;
    info.channelNames = "II,V5";
    info.resolution = 16;
    info.gain = 450.0;
    Study* s = repo.createStudy(info);
    int index = 0;
    for (const TestBeat& t : kBeats) {
        Beat b;
        b.source = s->signal();
        b.index = index++;
        b.windowStart = t.r - 0.2;
        b.windowLength = 0.5;
        b.setTiming(Beat::RTime, t.r);
        b.type = t.type;
        b.isBeat = t.isBeat;
        s->beats()->append(b);
    }
    if (withAfResult) {
        auto list = std::make_unique<EventListResult>();
        for (const AfSpan& e : af)
            list->events.append(EventResult(e.start, e.duration, 0.0));
        s->results().insert("afib/afibEvents", std::move(list));
        // Another event list of the same kind, which must not turn into rhythm changes.
        auto pauses = std::make_unique<EventListResult>();
        pauses->events.append(EventResult(2.0, 2.5, 2.5));
        s->results().insert("pause/pauseEvents", std::move(pauses));
    }
    repo.saveStudy(s);
    repo.closeStudy(s);
    return info.id;
}

} // namespace

TEST(CliExport, AnnotationsAtTheStudyRateOrAnother)
{
    testsupport::TempRoot root;
    const QString id = QString::number(makeStudy(root.path()));
    // Worked out by hand: round(r * fs); the noise entry at 2.1 s is left out. Codes: N 1,
    // V 5, S 9, F 6, U 13.
    struct Case
    {
        QStringList extra;
        QVector<qint64> samples;
    };
    const Case cases[] = {
        { {}, { 250, 650, 1101, 1500, 1950, 2500000 } },
        { { "--fs", "360" }, { 180, 468, 792, 1080, 1404, 1800000 } },
        { { "--fs=250" }, { 125, 325, 550, 750, 975, 1250000 } },
    };
    const QVector<int> codes = { 1, 5, 9, 6, 13, 1 };
    for (const Case& c : cases) {
        const QString file = root.file("out.atr");
        QFile::remove(file);
        const CliRun r
            = cli(QStringList { "--data-dir", root.path(), "export", id, "--annotations", file }
                + c.extra);
        ASSERT_EQ(r.code, 0) << r.err.toStdString();
        const QVector<WfdbAnnotation> back = readWfdbAnnotations(file);
        ASSERT_EQ(back.size(), c.samples.size()) << c.extra.join(' ').toStdString();
        for (int i = 0; i < back.size(); ++i) {
            EXPECT_EQ(back[i].sample, c.samples[i]) << i << " " << c.extra.join(' ').toStdString();
            EXPECT_EQ(back[i].code, codes[i]) << i;
        }
    }
}

TEST(CliExport, RrTableListsBeatsAndIntervals)
{
    testsupport::TempRoot root;
    const QString id = QString::number(makeStudy(root.path()));
    const QString file = root.file("rr.txt");
    const CliRun r = cli({ "--data-dir", root.path(), "export", id, "--rr", file });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    QList<QByteArray> lines = testsupport::readAll(file).split('\n');
    ASSERT_FALSE(lines.isEmpty());
    EXPECT_EQ(lines.takeFirst(), QByteArray("time_s\trr_s"));
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    // The real beats and the time since the previous real one (the noise entry doesn't count).
    const double times[] = { 0.5, 1.3005, 2.2011, 3.0, 3.9, 5000.0 };
    ASSERT_EQ(lines.size(), 6);
    for (int i = 0; i < 6; ++i) {
        const QList<QByteArray> f = lines[i].split('\t');
        ASSERT_EQ(f.size(), 2) << lines[i].constData();
        EXPECT_NEAR(f[0].toDouble(), times[i], 1e-4);
        if (i == 0) {
            EXPECT_EQ(f[1], QByteArray("-"));
        } else {
            bool ok = false;
            EXPECT_NEAR(f[1].toDouble(&ok), times[i] - times[i - 1], 1e-4) << i;
            EXPECT_TRUE(ok);
        }
    }
}

TEST(CliExport, MistakesAndMissingStudies)
{
    testsupport::TempRoot root;
    const QString id = QString::number(makeStudy(root.path()));
    const QString atr = root.file("x.atr");
    struct Case
    {
        QStringList args;
        int code;
        const char* inErr;
    };
    const Case cases[] = {
        { { "export", id }, 2, "--annotations" },
        { { "export", id, "--fs", "360" }, 2, "--annotations" },
        { { "export", "--annotations", atr }, 2, "study ID" },
        { { "export", id, "--annotations", atr, "--fs", "abc" }, 2, "--fs" },
        { { "export", id, "--annotations", atr, "--fs", "0" }, 2, "--fs" },
        { { "export", "424242", "--annotations", atr }, 1, "no study with id 424242" },
        { { "export", id, "--rr", root.file("no/such/folder/rr.txt") }, 1, "rr.txt" },
    };
    for (const Case& c : cases) {
        const CliRun r = cli(QStringList { "--data-dir", root.path() } + c.args);
        EXPECT_EQ(r.code, c.code) << c.args.join(' ').toStdString();
        EXPECT_TRUE(r.err.contains(c.inErr))
            << c.args.join(' ').toStdString() << " -> " << r.err.toStdString();
    }
    EXPECT_FALSE(QFile::exists(atr)); // nothing written by a failed command

    // The index knows the study but its document is gone.
    for (const QString& f : QDir(root.path()).entryList({ "*.vtstudy" }, QDir::Files))
        QFile::remove(QDir(root.path()).filePath(f));
    const CliRun r = cli({ "--data-dir", root.path(), "export", id, "--annotations", atr });
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains("Study file not found")) << r.err.toStdString();
}

TEST(CliExport, AfEpisodesOfTheResultsBecomeRhythmChanges)
{
    // Worked out by hand at 500 Hz and 360 Hz. Episode 1: 1.0 s to 3.1 s; episode 2: 3.9 s (on
    // the U beat's instant) to 13.9 s. A rhythm change on a beat's sample comes before it.
    struct Expected
    {
        qint64 sample500;
        qint64 sample360;
        int code;
        const char* aux;
    };
    const Expected withAf[] = {
        { 250, 180, 1, "" },
        { 500, 360, 28, "(AFIB" },
        { 650, 468, 5, "" },
        { 1101, 792, 9, "" },
        { 1500, 1080, 6, "" },
        { 1550, 1116, 28, "(N" },
        { 1950, 1404, 28, "(AFIB" },
        { 1950, 1404, 13, "" },
        { 6950, 5004, 28, "(N" },
        { 2500000, 1800000, 1, "" },
    };
    const QVector<AfSpan> spans = { { 1.0, 2.1 }, { 3.9, 10.0 } };
    struct Case
    {
        const char* name;
        bool withResult;
        QVector<AfSpan> af;
        int expectedRhythm; // rhythm changes in the file
    };
    // No results at all, an empty AF list (results computed, no AF) and two episodes.
    const Case cases[] = {
        { "no results", false, {}, 0 },
        { "no AF", true, {}, 0 },
        { "two episodes", true, spans, 4 },
    };
    for (const Case& c : cases) {
        testsupport::TempRoot root;
        const QString id = QString::number(makeStudy(root.path(), c.af, c.withResult));
        for (const bool at360 : { false, true }) {
            const QString file = root.file(at360 ? "out360.atr" : "out.atr");
            QStringList args { "--data-dir", root.path(), "export", id, "--annotations", file };
            if (at360)
                args << "--fs"
                     << "360";
            const CliRun r = cli(args);
            ASSERT_EQ(r.code, 0) << c.name << ": " << r.err.toStdString();
            const QVector<WfdbAnnotation> back = readWfdbAnnotations(file);
            int rhythm = 0;
            for (const WfdbAnnotation& a : back)
                rhythm += a.code == 28;
            EXPECT_EQ(rhythm, c.expectedRhythm) << c.name;
            ASSERT_EQ(back.size(), 6 + c.expectedRhythm) << c.name;
            if (c.expectedRhythm == 0)
                continue;
            for (int i = 0; i < back.size(); ++i) {
                const Expected& e = withAf[i];
                EXPECT_EQ(back[i].sample, at360 ? e.sample360 : e.sample500) << c.name << " " << i;
                EXPECT_EQ(back[i].code, e.code) << c.name << " " << i;
                EXPECT_EQ(back[i].aux, QByteArray(e.aux)) << c.name << " " << i;
            }
        }
    }
}
