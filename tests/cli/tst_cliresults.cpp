#include "results/model/resultset.h"
#include "store/beatlist.h"
#include "store/signalsource.h"
#include "tests/cli/clistudy.h"
#include "tests/support/testsupport.h"

#include <QJsonDocument>
#include <QJsonObject>

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

// The words of the output line that starts with `start`.
QStringList lineWords(const QString& out, const QString& start)
{
    for (const QString& line : out.split('\n'))
        if (line.startsWith(start))
            return line.split(' ', Qt::SkipEmptyParts);
    return {};
}

} // namespace

TEST(CliResults, ComputesSavesAndSummarises)
{
    testsupport::TempRoot root;
    const int id = makeBeatStudy(root.path());
    const QString json = root.file("results.json");
    const CliRun r = cli(root.path(), { "results", QString::number(id), "--json", json });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();

    // By hand: five 30-second bins of 60 bpm (the last holds 20 beats, 18 needed), so every
    // rate is 60 and the first bin is both minimum and maximum; 140 beats, one V; one hour bin.
    EXPECT_TRUE(r.out.contains("Recording:       0:02:30")) << r.out.toStdString();
    EXPECT_TRUE(r.out.contains("average 60 bpm, minimum 60 bpm at 08:00:00, maximum 60 bpm at "
                               "08:00:00"))
        << r.out.toStdString();
    EXPECT_TRUE(r.out.contains("total 140: N 139, V 1, S 0, F 0, U 0")) << r.out.toStdString();
    const QStringList hour = lineWords(r.out, "08:00");
    ASSERT_EQ(hour.size(), 14) << r.out.toStdString();
    EXPECT_EQ(hour.mid(1, 5), (QStringList { "60", "60", "60", "1", "-" })); // zero shows "-"

    // The JSON has every result under its key, in the study file's shape.
    const QJsonObject o = QJsonDocument::fromJson(testsupport::readAll(json)).object();
    EXPECT_EQ(o["HR/avgBPM"].toObject()["type"].toString(), "value");
    EXPECT_EQ(o["HR/avgBPM"].toObject()["value"].toDouble(), 60.0);
    EXPECT_EQ(o["count/totalCountV"].toObject()["value"].toDouble(), 1.0);
    EXPECT_EQ(o["HR/minBPM"].toObject()["type"].toString(), "event");

    // Saved with the study, with the two heart-rate marks.
    withStudy(root.path(), id, [](Study& s) {
        ASSERT_TRUE(s.results().findAs<ValueResult>("HR/totalBeatCount"));
        EXPECT_EQ(s.results().findAs<ValueResult>("HR/totalBeatCount")->value, 140.0);
        ASSERT_EQ(s.events().count(), 2);
        EXPECT_EQ(s.events().at(0).description, QByteArray("Minimum HR (60 bpm)"));
        EXPECT_EQ(s.events().at(1).description, QByteArray("Maximum HR (60 bpm)"));
        EXPECT_EQ(s.events().at(0).duration, 5.0);
        EXPECT_TRUE(s.events().at(0).print);
    });
}

TEST(CliResults, KeepsStoredResultsUnlessRecomputing)
{
    testsupport::TempRoot root;
    const int id = makeBeatStudy(root.path());
    const QString idText = QString::number(id);
    ASSERT_EQ(cli(root.path(), { "results", idText }).code, 0);
    // A physician's correction of a count, as the review window stores it.
    withStudy(
        root.path(), id,
        [](Study& s) { s.results().findAs<ValueResult>("count/totalCountN")->value = 5.0; }, true);
    const CliRun kept = cli(root.path(), { "results", idText });
    ASSERT_EQ(kept.code, 0) << kept.err.toStdString();
    EXPECT_TRUE(kept.out.contains(": N 5, V 1")) << kept.out.toStdString();

    const CliRun again = cli(root.path(), { "results", idText, "--recompute" });
    ASSERT_EQ(again.code, 0) << again.err.toStdString();
    EXPECT_TRUE(again.out.contains(": N 139, V 1")) << again.out.toStdString();
    // The marks come only the first time.
    withStudy(root.path(), id, [](Study& s) { EXPECT_EQ(s.events().count(), 2); });
}
