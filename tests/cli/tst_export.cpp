#include "recorder/wfdbannotation.h"
#include "results/model/resultset.h"
#include "store/beatlist.h"
#include "tests/cli/clistudy.h"
#include "tests/support/testsupport.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <memory>

using namespace clitest;

namespace {

struct TestBeat
{
    double r; // seconds
    int type;
    bool isBeat;
};

// R instants off the sample grid, so rounding and the choice of rate both show; windows start
// 0.2 s earlier, so exporting the window start would show too. The last needs a long skip.
const TestBeat kBeats[] = { { 0.5, BeatN, true }, { 1.3005, BeatV, true }, { 2.1, BeatN, false },
    { 2.2011, BeatS, true }, { 3.0, BeatF, true }, { 3.9, BeatU, true }, { 5000.0, BeatN, true } };

struct AfSpan
{
    double start; // seconds
    double duration;
};

int makeBeatStudy(const QString& root, const QVector<AfSpan>& af = {}, bool withAfResult = false)
{
    return makeStudy(root, [&](Study& s) {
        for (const TestBeat& t : kBeats) {
            Beat b;
            b.source = s.signal();
            b.index = s.beats()->count();
            b.windowStart = t.r - 0.2;
            b.windowLength = 0.5;
            b.setTiming(Beat::RTime, t.r);
            b.type = t.type;
            b.isBeat = t.isBeat;
            s.beats()->append(b);
        }
        if (!withAfResult)
            return;
        auto list = std::make_unique<EventListResult>();
        for (const AfSpan& e : af)
            list->events.append(EventResult(e.start, e.duration, 0.0));
        s.results().insert("afib/afibEvents", std::move(list));
        // Another event list of the same kind, which must not turn into rhythm changes.
        auto pauses = std::make_unique<EventListResult>();
        pauses->events.append(EventResult(2.0, 2.5, 2.5));
        s.results().insert("pause/pauseEvents", std::move(pauses));
    });
}

} // namespace

TEST(CliExport, BeatsAndAfRhythmChangesAtTheStudyRateOrAnother)
{
    // Worked out by hand: round(t * fs); the noise entry at 2.1 s is left out. Codes: N 1, V 5,
    // S 9, F 6, U 13, rhythm 28. AF from 1.0 s to 3.1 s and from 3.9 s (the U beat's instant)
    // to 13.9 s; a rhythm change on a beat's sample comes before the beat.
    const struct
    {
        qint64 at500, at360, at250;
        int code;
        const char* aux;
    } all[] = {
        { 250, 180, 125, 1, "" },
        { 500, 360, 250, 28, "(AFIB" },
        { 650, 468, 325, 5, "" },
        { 1101, 792, 550, 9, "" },
        { 1500, 1080, 750, 6, "" },
        { 1550, 1116, 775, 28, "(N" },
        { 1950, 1404, 975, 28, "(AFIB" },
        { 1950, 1404, 975, 13, "" },
        { 6950, 5004, 3475, 28, "(N" },
        { 2500000, 1800000, 1250000, 1, "" },
    };
    const struct
    {
        const char* name;
        bool withResult;
        QVector<AfSpan> af;
    } cases[] = {
        { "no results", false, {} },
        { "results without AF", true, {} },
        { "two episodes", true, { { 1.0, 2.1 }, { 3.9, 10.0 } } },
    };
    for (const auto& c : cases) {
        testsupport::TempRoot root;
        const QString id = QString::number(makeBeatStudy(root.path(), c.af, c.withResult));
        for (const QStringList& rate : { QStringList(), { "--fs", "360" }, { "--fs=250" } }) {
            SCOPED_TRACE(std::string(c.name) + " " + rate.join(' ').toStdString());
            const QString file = root.file("out.atr");
            QFile::remove(file);
            const CliRun r
                = cli(root.path(), QStringList { "export", id, "--annotations", file } + rate);
            ASSERT_EQ(r.code, 0) << r.err.toStdString();
            const QVector<WfdbAnnotation> back = readWfdbAnnotations(file);
            int i = 0;
            for (const auto& e : all) {
                if (e.code == 28 && c.af.isEmpty())
                    continue;
                ASSERT_LT(i, back.size());
                const qint64 at = rate.isEmpty() ? e.at500 : rate.size() == 2 ? e.at360 : e.at250;
                EXPECT_EQ(back[i].sample, at) << i;
                EXPECT_EQ(back[i].code, e.code) << i;
                EXPECT_EQ(back[i].aux, QByteArray(e.aux)) << i;
                ++i;
            }
            EXPECT_EQ(back.size(), i);
        }
    }
}

TEST(CliExport, RrTableListsBeatsAndIntervals)
{
    testsupport::TempRoot root;
    const QString id = QString::number(makeBeatStudy(root.path()));
    const QString file = root.file("rr.txt");
    const CliRun r = cli(root.path(), { "export", id, "--rr", file });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    const QList<QByteArray> lines = testsupport::readAll(file).trimmed().split('\n');
    // The real beats and the time since the previous real one (the noise entry doesn't count).
    const double times[] = { 0.5, 1.3005, 2.2011, 3.0, 3.9, 5000.0 };
    ASSERT_EQ(lines.size(), 7);
    EXPECT_EQ(lines[0], QByteArray("time_s\trr_s"));
    for (int i = 0; i < 6; ++i) {
        const QList<QByteArray> f = lines[i + 1].split('\t');
        ASSERT_EQ(f.size(), 2) << lines[i + 1].constData();
        EXPECT_NEAR(f[0].toDouble(), times[i], 1e-4);
        bool ok = false;
        if (i == 0)
            EXPECT_EQ(f[1], QByteArray("-"));
        else
            EXPECT_NEAR(f[1].toDouble(&ok), times[i] - times[i - 1], 1e-4) << i;
        EXPECT_EQ(ok, i > 0);
    }
}

TEST(CliExport, MistakesAndMissingStudies)
{
    testsupport::TempRoot root;
    const QString id = QString::number(makeBeatStudy(root.path()));
    const QString atr = root.file("x.atr");
    const struct
    {
        QStringList args;
        int code;
        const char* inErr;
    } cases[] = {
        { { "export", id }, 2, "--annotations" },
        { { "export", id, "--fs", "360" }, 2, "--annotations" },
        { { "export", "--annotations", atr }, 2, "study ID" },
        { { "export", id, "--annotations", atr, "--fs", "abc" }, 2, "--fs" },
        { { "export", id, "--annotations", atr, "--fs", "0" }, 2, "--fs" },
        { { "export", id, "--rr", root.file("no/such/folder/rr.txt") }, 1, "rr.txt" },
    };
    for (const auto& c : cases) {
        const CliRun r = cli(root.path(), c.args);
        EXPECT_EQ(r.code, c.code) << c.args.join(' ').toStdString();
        EXPECT_TRUE(r.err.contains(c.inErr))
            << c.args.join(' ').toStdString() << " -> " << r.err.toStdString();
    }
    EXPECT_FALSE(QFile::exists(atr)); // nothing written by a failed command

    // The index knows the study but its document is gone.
    for (const QString& f : QDir(root.path()).entryList({ "*.vtstudy" }, QDir::Files))
        QFile::remove(QDir(root.path()).filePath(f));
    const CliRun r = cli(root.path(), { "export", id, "--annotations", atr });
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains("Study file not found")) << r.err.toStdString();
}
