#include "results/model/resultset.h"
#include "store/beatlist.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "tests/support/testsupport.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>

#include <vector>

namespace {

struct CliRun
{
    int code = -1;
    QString out;
    QString err;
};

CliRun cli(const QString& root, const QStringList& args)
{
    QProcess p;
    p.start(QString::fromUtf8(HOLTER_CLI), QStringList { "--data-dir", root } + args);
    p.closeWriteChannel();
    EXPECT_TRUE(p.waitForFinished(120000));
    CliRun r;
    r.code = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.out = QString::fromUtf8(p.readAllStandardOutput());
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

const char kFolder[] = "VeltronaHolter";

// 150 s of flat signal at 500 Hz, starting 2026-01-01 08:00:00, with 140 beats one a second
// (R at 0.7 + k s, so windows start at 0.5 + k s). Beat 50 is a V; entry 60 is noise.
int makeStudy(const QString& root)
{
    StudyRepository::Options o;
    o.rootOverride = root;
    StudyRepository repo(kFolder, o);
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
    const std::vector<qint16> flat(150 * 500, 0);
    const qint16* channels[2] = { flat.data(), flat.data() };
    s->signal()->appendChannels(channels, qint64(flat.size()));
    for (int k = 0; k <= 140; ++k) {
        const bool noise = k == 60;
        Beat b;
        b.source = s->signal();
        b.index = k;
        b.windowStart = 0.5 + k;
        b.windowLength = 0.5;
        b.setTiming(Beat::RTime, 0.7 + k);
        b.setTiming(Beat::RR, k == 0 || k == 61 ? 0.0 : 1.0);
        b.setTiming(Beat::MedianRR, 1.0);
        b.type = noise ? BeatNone : k == 50 ? BeatV : BeatN;
        b.isBeat = !noise;
        s->beats()->append(b);
    }
    repo.saveStudy(s);
    repo.closeStudy(s);
    return info.id;
}

// The words of the output line that starts with `start`.
QStringList lineWords(const QString& out, const QString& start)
{
    for (const QString& line : out.split('\n'))
        if (line.startsWith(start))
            return line.split(' ', Qt::SkipEmptyParts);
    return {};
}

TEST(CliResults, ComputesSavesAndSummarises)
{
    testsupport::TempRoot root;
    const QString id = QString::number(makeStudy(root.path()));
    const QString json = root.file("results.json");
    const CliRun r = cli(root.path(), { "results", id, "--json", json });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();

    // By hand: five 30-second bins of 60 bpm (the last holds 20 beats, 18 needed), so every
    // rate is 60 and the first bin, at the start time, is both minimum and maximum. 140 beats
    // of which one V; the recording's 2 minutes make one hour bin.
    EXPECT_TRUE(r.out.contains("Recording:       0:02:30")) << r.out.toStdString();
    EXPECT_TRUE(r.out.contains("average 60 bpm, minimum 60 bpm at 08:00:00, maximum 60 bpm at "
                               "08:00:00"))
        << r.out.toStdString();
    EXPECT_TRUE(r.out.contains("total 140: N 139, V 1, S 0, F 0, U 0")) << r.out.toStdString();
    const QStringList hour = lineWords(r.out, "08:00");
    ASSERT_EQ(hour.size(), 14) << r.out.toStdString();
    EXPECT_EQ(hour.mid(1, 4), (QStringList { "60", "60", "60", "1" }));
    EXPECT_EQ(hour[5], "-"); // no couplets: a zero shows as "-"

    // The JSON has every result under its key, in the study file's shape.
    const QJsonObject o = QJsonDocument::fromJson(testsupport::readAll(json)).object();
    EXPECT_EQ(o["HR/avgBPM"].toObject()["type"].toString(), "value");
    EXPECT_EQ(o["HR/avgBPM"].toObject()["value"].toDouble(), 60.0);
    EXPECT_EQ(o["count/totalCountV"].toObject()["value"].toDouble(), 1.0);
    EXPECT_EQ(o["HR/minBPM"].toObject()["type"].toString(), "event");

    // Saved with the study, and the two heart-rate marks made.
    StudyRepository::Options opt;
    opt.rootOverride = root.path();
    StudyRepository repo(kFolder, opt);
    Study* s = repo.openStudy(id.toInt());
    ASSERT_TRUE(s);
    ASSERT_TRUE(s->results().findAs<ValueResult>("HR/totalBeatCount"));
    EXPECT_EQ(s->results().findAs<ValueResult>("HR/totalBeatCount")->value, 140.0);
    ASSERT_EQ(s->events().count(), 2);
    EXPECT_EQ(s->events().at(0).description, QByteArray("Minimum HR (60 bpm)"));
    EXPECT_EQ(s->events().at(1).description, QByteArray("Maximum HR (60 bpm)"));
    EXPECT_EQ(s->events().at(0).duration, 5.0);
    EXPECT_TRUE(s->events().at(0).print);
    repo.closeStudy(s);
}

TEST(CliResults, KeepsStoredResultsUnlessRecomputing)
{
    testsupport::TempRoot root;
    const int id = makeStudy(root.path());
    const QString idText = QString::number(id);
    ASSERT_EQ(cli(root.path(), { "results", idText }).code, 0);
    {
        // A physician's correction of a count, as the review window stores it.
        StudyRepository::Options opt;
        opt.rootOverride = root.path();
        StudyRepository repo(kFolder, opt);
        Study* s = repo.openStudy(id);
        s->results().findAs<ValueResult>("count/totalCountN")->value = 5.0;
        repo.saveStudy(s);
        repo.closeStudy(s);
    }
    const CliRun kept = cli(root.path(), { "results", idText });
    ASSERT_EQ(kept.code, 0) << kept.err.toStdString();
    EXPECT_TRUE(kept.out.contains(": N 5, V 1")) << kept.out.toStdString();

    const CliRun again = cli(root.path(), { "results", idText, "--recompute" });
    ASSERT_EQ(again.code, 0) << again.err.toStdString();
    EXPECT_TRUE(again.out.contains(": N 139, V 1")) << again.out.toStdString();

    StudyRepository::Options opt;
    opt.rootOverride = root.path();
    StudyRepository repo(kFolder, opt);
    Study* s = repo.openStudy(id);
    EXPECT_EQ(s->events().count(), 2); // the marks come only the first time
    repo.closeStudy(s);
}

TEST(CliResults, RefusesBadArguments)
{
    testsupport::TempRoot root;
    makeStudy(root.path());
    struct Case
    {
        QStringList args;
        int code;
        const char* message;
    };
    const Case cases[] = {
        { { "results", "999" }, 1, "no study with id 999" },
        { { "results", "abc" }, 2, "not a study id" },
        { { "results" }, 2, "" },
        { { "results", "1", "--bogus" }, 2, "" },
    };
    for (const Case& c : cases) {
        const CliRun r = cli(root.path(), c.args);
        EXPECT_EQ(r.code, c.code) << c.args.join(' ').toStdString() << r.err.toStdString();
        EXPECT_TRUE(r.err.contains(c.message)) << r.err.toStdString();
    }
}

} // namespace
