#include "recorder/wfdbexport.h"
#include "store/beatlist.h"
#include "store/resultkeys.h"
#include "store/resultset.h"
#include "store/signalsource.h"
#include "tests/cli/clistudy.h"
#include "tests/support/testsupport.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace clitest;

namespace {

struct Snapshot
{
    double step = 0.0;
    std::vector<std::vector<double>> samples;
    std::vector<std::pair<double, int>> beats; // R time, type
    QVector<StudyEvent> marks;
};

Snapshot snapshot(const QString& root, int id)
{
    Snapshot s;
    withStudy(root, id, [&](Study& study) {
        SignalSource* ecg = study.signal();
        s.step = ecg->gainStep();
        for (int c = 0; c < ecg->channelCount(); ++c) {
            std::vector<double> v(size_t(ecg->sampleCount()));
            ecg->readSamples(c, 0, qint64(v.size()), v.data());
            s.samples.push_back(std::move(v));
        }
        Beat b;
        for (int i = 0; i < study.beats()->count(); ++i)
            if (study.beats()->get(i, b) && b.isBeat)
                s.beats.emplace_back(b.rInstant(), b.type);
        for (int i = 0; i < study.events().count(); ++i)
            s.marks << study.events().at(i);
    });
    return s;
}

int importedId(const CliRun& r)
{
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    return r.out.trimmed().toInt();
}

} // namespace

// A simulated card through EDF+, WFDB format 16 and WFDB format 212 and back: the same
// samples within one step, the same beats after processing, the marks back.
TEST(RecordingExport, SimulatedCardRoundTripsThroughEdfAndWfdb)
{
    testsupport::TempRoot dir;
    const QString root = dir.file("store");
    ASSERT_EQ(run({ "simulate", dir.file("card"), "--hours", "0.1", "--seed", "7" }).code, 0);
    const int id = importedId(cli(root,
        { "import", dir.file("card"), "--last-name", "Paz", "--first-name", "Eva", "--date",
            "202601150900" }));
    withStudy(
        root, id,
        [](Study& s) {
            StudyEvent& e = s.events().add();
            e.position = 30.5;
            e.duration = 10.0;
            e.description = "Dolor torácico";
            s.events().add().position = 200.25; // a mark without text is still a mark
            s.events().at(s.events().count() - 1).description = "Palpitations";
        },
        true);
    ASSERT_EQ(cli(root, { "process", QString::number(id) }).code, 0);
    const CliRun exported = cli(root,
        { "export", QString::number(id), "--edf", dir.file("day.edf"), "--wfdb",
            dir.file("day16") });
    ASSERT_EQ(exported.code, 0) << exported.err.toStdString();
    ASSERT_EQ(
        cli(root,
            { "export", QString::number(id), "--wfdb", dir.file("day212"), "--wfdb-format", "212" })
            .code,
        0);
    const Snapshot original = snapshot(root, id);
    ASSERT_GT(original.beats.size(), 300u);

    const QStringList names = { "--last-name", "Paz", "--first-name", "Eva" };
    struct Way
    {
        const char* name;
        QStringList args;
        bool keepsDurations;
    };
    const Way ways[] = {
        { "EDF+", { dir.file("day.edf") }, true }, // the header brings name and date
        { "WFDB 16", QStringList { dir.file("day16") } + names, false },
        { "WFDB 212", QStringList { dir.file("day212.hea") } + names, false },
    };
    for (const Way& way : ways) {
        const int back = importedId(cli(root, QStringList { "import" } + way.args));
        ASSERT_EQ(cli(root, { "process", QString::number(back) }).code, 0) << way.name;
        const Snapshot s = snapshot(root, back);
        ASSERT_EQ(s.samples.size(), original.samples.size()) << way.name;
        for (size_t c = 0; c < s.samples.size(); ++c) {
            ASSERT_GE(s.samples[c].size(), original.samples[c].size()) << way.name;
            const double tolerance = std::max(s.step, original.step) + 1e-9;
            for (size_t i = 0; i < original.samples[c].size(); ++i)
                ASSERT_NEAR(
                    s.samples[c][i] * s.step, original.samples[c][i] * original.step, tolerance)
                    << way.name << " channel " << c << " sample " << i;
        }
        ASSERT_EQ(s.beats.size(), original.beats.size()) << way.name;
        for (size_t i = 0; i < s.beats.size(); ++i) {
            EXPECT_NEAR(s.beats[i].first, original.beats[i].first, 0.0021) << way.name << i;
            EXPECT_EQ(s.beats[i].second, original.beats[i].second) << way.name << i;
        }
        ASSERT_EQ(s.marks.size(), original.marks.size()) << way.name;
        for (int i = 0; i < s.marks.size(); ++i) {
            EXPECT_EQ(s.marks[i].description, original.marks[i].description) << way.name;
            EXPECT_NEAR(s.marks[i].position, original.marks[i].position, 0.002) << way.name;
            if (way.keepsDurations) {
                EXPECT_NEAR(s.marks[i].duration, original.marks[i].duration, 1e-4) << way.name;
            }
        }
    }
}

// Another program than ours reads what we write: biosig's save2gdf, when installed.
TEST(RecordingExport, BiosigReadsOurEdfAndWfdb)
{
    const QString save2gdf = QStandardPaths::findExecutable("save2gdf");
    if (save2gdf.isEmpty())
        GTEST_SKIP() << "save2gdf (Debian package biosig-tools) is not installed; skipping the "
                        "second reader";
    testsupport::TempRoot dir;
    const QString root = dir.file("store");
    const int id = makeStudy(root, [](Study& s) {
        std::vector<qint16> a(5000), b(5000);
        for (int i = 0; i < 5000; ++i) {
            a[size_t(i)] = qint16((i * 37) % 2001 - 1000);
            b[size_t(i)] = qint16(-((i * 11) % 1501));
        }
        const qint16* channels[] = { a.data(), b.data() };
        s.signal()->appendChannels(channels, 5000);
        for (double r : { 0.8, 1.7, 2.5 }) {
            Beat beat;
            beat.source = s.signal();
            beat.index = s.beats()->count();
            beat.windowStart = r - 0.2;
            beat.setTiming(Beat::RTime, r);
            beat.type = r == 1.7 ? BeatV : BeatN;
            s.beats()->append(beat);
        }
        StudyEvent& e = s.events().add();
        e.position = 4.0;
        e.duration = 2.0;
        e.description = "Mark";
        auto af = std::make_unique<EventListResult>();
        af->events.append(EventResult(3.0, 5.0, 0.0));
        s.results().insert(ResultKeys::AFib::kEvents, std::move(af));
    });
    ASSERT_EQ(
        cli(root,
            { "export", QString::number(id), "--edf", dir.file("s.edf"), "--wfdb", dir.file("s") })
            .code,
        0);
    const Snapshot original = snapshot(root, id);

    for (const char* file : { "s.edf", "s.hea" }) {
        const CliRun json = testsupport::runProgram(save2gdf, { "-JSON", dir.file(file) });
        ASSERT_EQ(json.code, 0) << file << json.err.toStdString();
        const QJsonObject o
            = QJsonDocument::fromJson(json.out.mid(json.out.indexOf('{')).toUtf8()).object();
        ASSERT_FALSE(o.isEmpty()) << file << " gave no JSON: " << json.out.toStdString();
        EXPECT_EQ(o["Samplingrate"].toDouble(), 500.0) << file;
        // biosig keeps time as a fraction of days: "07:59:59.99993" is 08:00:00.
        const QDateTime start = QDateTime::fromString(
            o["StartOfRecording"].toString().left(19), "yyyy-MM-dd HH:mm:ss");
        EXPECT_LE(std::abs(start.secsTo(QDateTime(QDate(2026, 1, 1), QTime(8, 0)))), 1)
            << file << " starts " << o["StartOfRecording"].toString().toStdString();
        const QJsonArray channels = o["CHANNEL"].toArray();
        ASSERT_GE(channels.size(), 2) << file;
        EXPECT_TRUE(channels[0].toObject()["Label"].toString().endsWith("II")) << file;
        EXPECT_TRUE(channels[1].toObject()["Label"].toString().endsWith("V5")) << file;
        // EDF+: 3 beats and the mark as annotations; WFDB: biosig shows the beat annotations.
        const QJsonArray events = o["EVENT"].toArray();
        EXPECT_GE(events.size(), 3) << file;
    }
    const QJsonArray edfEvents = QJsonDocument::fromJson([&] {
        const CliRun r = testsupport::runProgram(save2gdf, { "-JSON", dir.file("s.edf") });
        return r.out.mid(r.out.indexOf('{')).toUtf8();
    }())["EVENT"]
                                     .toArray();
    QStringList texts;
    for (const auto& e : edfEvents)
        texts << e.toObject()["Description"].toString();
    EXPECT_EQ(texts, QStringList({ "N", "V", "N", "AF", "Mark" }));
    EXPECT_NEAR(edfEvents[3].toObject()["DUR"].toDouble(), 5.0, 1e-3);

    // The samples, in the physical units of the EDF header (microvolts).
    const QString csv = dir.file("s.csv");
    ASSERT_EQ(testsupport::runProgram(save2gdf, { "-CSV", dir.file("s.edf"), csv }).code, 0);
    const QList<QByteArray> lines = testsupport::readAll(csv).split('\n');
    ASSERT_GE(lines.size(), 5001);
    EXPECT_TRUE(lines[0].contains("uV")) << lines[0].constData();
    for (int i = 0; i < 5000; ++i) {
        const QList<QByteArray> values = lines[i + 1].split(',');
        ASSERT_GE(values.size(), 2) << "line " << i + 1;
        for (int c = 0; c < 2; ++c)
            ASSERT_NEAR(values[c].toDouble() / 1000.0,
                original.samples[size_t(c)][size_t(i)] * original.step, original.step)
                << "channel " << c << " sample " << i;
    }
}

TEST(RecordingExport, FailuresLeaveNoFileAndTellWhy)
{
    testsupport::TempRoot dir;
    const QString root = dir.file("store");
    const int id = makeStudy(root, [](Study& s) {
        std::vector<qint16> a(1000, 5), b(1000, -5);
        const qint16* channels[] = { a.data(), b.data() };
        s.signal()->appendChannels(channels, 1000);
    });
    const QString ids = QString::number(id);
    struct Case
    {
        QStringList args;
        int code;
        const char* message;
    };
    const Case cases[] = {
        { { "--edf", dir.file("missing/x.edf") }, 1, "cannot create the file" },
        { { "--wfdb", dir.file("missing/x") }, 1, "cannot create the file" },
        { { "--wfdb", dir.file("two words") }, 1, "must not be empty or contain blanks" },
        { { "--wfdb", dir.file("x"), "--wfdb-format", "80" }, 2, "16 or 212" },
        { { "--wfdb-format", "212", "--edf", dir.file("x.edf") }, 2, "goes with '--wfdb RECORD'" },
    };
    for (const Case& c : cases) {
        const CliRun r = cli(root, QStringList { "export", ids } + c.args);
        EXPECT_EQ(r.code, c.code) << c.args.join(' ').toStdString();
        EXPECT_TRUE(r.err.contains(c.message)) << r.err.toStdString();
    }
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList());

    // A full disk while the record is written: what was there stays as it was.
    testsupport::writeAll(dir.file("old.hea"), "old header\n");
    testsupport::writeAll(dir.file("old.dat"), "old data");
    for (qint64 budget : { qint64(0), qint64(1500), qint64(4000) }) {
        testsupport::FailingIo io(budget);
        withStudy(root, id, [&](Study& s) {
            const std::string error = testsupport::errorOf(
                [&] { exportStudyWfdb(s, dir.file("old"), 16, nullptr, nullptr, &io); });
            EXPECT_NE(error, "no error") << budget;
        });
        EXPECT_EQ(testsupport::readAll(dir.file("old.hea")), QByteArray("old header\n")) << budget;
        EXPECT_EQ(testsupport::readAll(dir.file("old.dat")), QByteArray("old data")) << budget;
    }
}

// A record of an 11-bit converter (MIT-BIH: 200 steps per mV) keeps its full scale and step
// through EDF+ and WFDB, so amplitude rules measure the same; samples beyond the range clip.
TEST(RecordingExport, ResolutionAndStepSurviveBothExports)
{
    testsupport::TempRoot dir;
    const QString root = dir.file("store");
    int id = 0;
    {
        auto repo = repository(root);
        StudyInfo info;
        info.studyDateTime = info.recordingDateTime = "20260101080000";
        info.patientLastName = "Paz";
        info.patientFirstName = "Eva";
        info.samplingRate = 360;
        info.channelCount = 1;
        info.channelNames = "MLII";
        info.resolution = 11;
        info.gain = 1024 / 200.0;
        Study* s = repo->createStudy(info);
        std::vector<qint16> v(720);
        for (int i = 0; i < 720; ++i)
            v[size_t(i)] = qint16((i * 13) % 2047 - 1023);
        v[5] = 1500; // beyond 11 bits
        const qint16* channels[] = { v.data() };
        s->signal()->appendChannels(channels, 720);
        repo->saveStudy(s);
        repo->closeStudy(s);
        id = info.id;
    }
    ASSERT_EQ(
        cli(root,
            { "export", QString::number(id), "--edf", dir.file("r.edf"), "--wfdb", dir.file("r") })
            .code,
        0);
    const Snapshot original = snapshot(root, id);
    for (const QString& file : { dir.file("r.edf"), dir.file("r") }) {
        const int back = importedId(
            cli(root, { "import", file, "--last-name", "Paz", "--first-name", "Eva" }));
        withStudy(root, back, [&](Study& s) {
            EXPECT_EQ(s.signal()->resolution(), 11) << file.toStdString();
            EXPECT_NEAR(s.signal()->gainStep(), 0.005, 1e-9) << file.toStdString();
            EXPECT_EQ(s.signal()->channel(0)->name(), QByteArray("MLII")) << file.toStdString();
        });
        const Snapshot s = snapshot(root, back);
        for (size_t i = 0; i < 720; ++i) {
            const double expected = i == 5 && file.endsWith(".edf") ? 1023 : original.samples[0][i];
            ASSERT_EQ(s.samples[0][i], expected) << file.toStdString() << " sample " << i;
        }
    }
}
