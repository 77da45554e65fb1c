#include "store/beatlist.h"
#include "store/resultkeys.h"
#include "store/resultset.h"
#include "store/signalsource.h"
#include "tests/cli/clistudy.h"
#include "tests/support/testsupport.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSettings>

#include <gtest/gtest.h>

#include <vector>

using namespace clitest;

namespace {

// 150 s of flat signal with 140 beats one a second (R at 0.7 + k s); beat 50 is a V, entry 60
// is noise.
int makeBeatStudy(const QString& root)
{
    return makeStudy(root, [](Study& s) {
        const std::vector<qint16> flat(150 * 500, 0);
        const qint16* channels[2] = { flat.data(), flat.data() };
        s.signal()->appendChannels(channels, qint64(flat.size()));
        for (int k = 0; k <= 140; ++k) {
            Beat b;
            b.source = s.signal();
            b.index = k;
            b.windowStart = 0.5 + k;
            b.windowLength = 0.5;
            b.setTiming(Beat::RTime, 0.7 + k);
            b.setTiming(Beat::RR, k == 0 || k == 61 ? 0.0 : 1.0);
            b.setTiming(Beat::MedianRR, 1.0);
            b.type = k == 60 ? BeatNone : k == 50 ? BeatV : BeatN;
            b.isBeat = k != 60;
            s.beats()->append(b);
        }
    });
}

} // namespace

TEST(CliResults, ComputesSavesSummarisesAndKeepsCorrectionsUnlessRecomputing)
{
    testsupport::TempRoot root;
    const QString id = QString::number(makeBeatStudy(root.path()));
    const QString json = root.file("results.json");
    CliRun r = cli(root.path(), { "results", id, "--json", json });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();

    // By hand: five 30-second bins of 60 bpm (the last holds 20 beats, 18 needed), so every
    // rate is 60 and the first bin is both minimum and maximum; 140 beats, one V; one hour row
    // of average, minimum and maximum rate, one PVC and "-" for the nine counts of zero.
    for (const char* line : { "Recording:       0:02:30",
             "average 60 bpm, minimum 60 bpm at 08:00:00, maximum 60 bpm at 08:00:00",
             "total 140: N 139, V 1, S 0, F 0, U 0" })
        EXPECT_TRUE(r.out.contains(line)) << r.out.toStdString();
    EXPECT_TRUE(r.out.contains(QRegularExpression("\n08:00 +60 +60 +60 +1( +-){9}\n")));

    // The JSON has every result under its key, in the study file's shape.
    const QJsonObject o = QJsonDocument::fromJson(testsupport::readAll(json)).object();
    EXPECT_EQ(o["HR/avgBPM"].toObject()["type"].toString(), "value");
    EXPECT_EQ(o["HR/avgBPM"].toObject()["value"].toDouble(), 60.0);
    EXPECT_EQ(o["count/totalCountV"].toObject()["value"].toDouble(), 1.0);
    EXPECT_EQ(o["HR/minBPM"].toObject()["type"].toString(), "event");

    // Saved with the study, with the two heart-rate marks; then a physician's correction of a
    // count, as the review window stores it.
    withStudy(
        root.path(), id.toInt(),
        [](Study& s) {
            ASSERT_TRUE(s.results().findAs<ValueResult>(ResultKeys::HeartRate::kTotalBeatCount));
            EXPECT_EQ(
                s.results().findAs<ValueResult>(ResultKeys::HeartRate::kTotalBeatCount)->value,
                140.0);
            ASSERT_EQ(s.events().count(), 2);
            EXPECT_EQ(s.events().at(0).description, QByteArray("Minimum HR (60 bpm)"));
            EXPECT_EQ(s.events().at(1).description, QByteArray("Maximum HR (60 bpm)"));
            EXPECT_EQ(s.events().at(0).duration, 5.0);
            EXPECT_TRUE(s.events().at(0).print);
            s.results().findAs<ValueResult>(ResultKeys::BeatCount::kTotalCountN)->value = 5.0;
        },
        true);
    r = cli(root.path(), { "results", id });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.contains(": N 5, V 1")) << r.out.toStdString();

    r = cli(root.path(), { "results", id, "--recompute" });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.contains(": N 139, V 1")) << r.out.toStdString();
    // The marks come only the first time.
    withStudy(root.path(), id.toInt(), [](Study& s) { EXPECT_EQ(s.events().count(), 2); });
}

// A report fills in the missing results, lands in the store's reports folder, marks the study
// and goes to the export folder of the workstation's settings; a folder that can't take it is
// a warning, and the study stays reported.
TEST(CliReport, ComputesResultsAndExportsAsTheSettingsSay)
{
    testsupport::TempRoot root;
    const int id = makeBeatStudy(root.path());
    const QString idText = QString::number(id);
    ASSERT_TRUE(QDir().mkpath(root.file("shared")));
    // The child process reads the same private configuration folder as this test.
    QSettings settings("Veltrona", "Holter ECG");
    settings.setValue("Config/AutoExportReports", true);
    settings.setValue("Config/ExportReportFolder", root.file("shared"));
    settings.sync();

    const QString pdf = root.file("out.pdf");
    CliRun r = cli(root.path(), { "report", idText, "--pdf", pdf });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_TRUE(r.err.contains(QString("computed the missing results of study %1").arg(id)));
    StudyInfo info;
    ASSERT_TRUE(repository(root.path())->studyExists(id, info));
    EXPECT_EQ(info.status, QByteArray("report"));
    const QString name = QString::fromUtf8(info.baseFilename) + ".pdf";
    const QByteArray bytes = testsupport::readAll(root.file("reports/" + name));
    EXPECT_TRUE(bytes.startsWith("%PDF"));
    EXPECT_EQ(testsupport::readAll(pdf), bytes);
    EXPECT_EQ(testsupport::readAll(root.file("shared/" + name)), bytes);

    settings.setValue("Config/ExportReportFolder", root.file("missing"));
    settings.sync();
    r = cli(root.path(), { "report", idText, "--pdf", pdf });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_FALSE(r.err.contains("computed the missing results"));
    EXPECT_TRUE(r.err.contains("Report file could not be exported to folder: "
        + QDir::toNativeSeparators(root.file("missing"))))
        << r.err.toStdString();
    EXPECT_TRUE(testsupport::readAll(root.file("reports/" + name)).startsWith("%PDF"));
    EXPECT_EQ(repository(root.path())->studyExists(id, info) ? info.status : QByteArray(),
        QByteArray("report"));
}
