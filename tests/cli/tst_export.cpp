#include "recorder/wfdbannotation.h"
#include "store/beatlist.h"
#include "store/resultkeys.h"
#include "store/resultset.h"
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

// A study of kBeats; with `withResults`, its results hold two AF episodes, from 1.0 s to 3.1 s
// and from 3.9 s to 13.9 s, and a pause.
int makeBeatStudy(const QString& root, bool withResults = false)
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
        if (!withResults)
            return;
        auto list = std::make_unique<EventListResult>();
        list->events.append(EventResult(1.0, 2.1, 0.0));
        list->events.append(EventResult(3.9, 10.0, 0.0));
        s.results().insert(ResultKeys::AFib::kEvents, std::move(list));
        // Another event list of the same kind, which must not turn into rhythm changes.
        auto pauses = std::make_unique<EventListResult>();
        pauses->events.append(EventResult(2.0, 2.5, 2.5));
        s.results().insert(ResultKeys::Pause::kEvents, std::move(pauses));
    });
}

} // namespace

TEST(CliExport, BeatsAndAfRhythmChangesAtTheStudyRateOrAnotherAndTheRrTable)
{
    // Worked out by hand: round(t * fs); the noise entry at 2.1 s is left out. Codes: N 1, V 5,
    // S 9, F 6, U 13, rhythm 28. The second AF episode starts on the U beat's instant; a rhythm
    // change on a beat's sample comes before the beat.
    const struct
    {
        qint64 at500, at250;
        int code;
        const char* aux;
    } all[] = {
        { 250, 125, 1, "" },
        { 500, 250, 28, "(AFIB" },
        { 650, 325, 5, "" },
        { 1101, 550, 9, "" },
        { 1500, 750, 6, "" },
        { 1550, 775, 28, "(N" },
        { 1950, 975, 28, "(AFIB" },
        { 1950, 975, 13, "" },
        { 6950, 3475, 28, "(N" },
        { 2500000, 1250000, 1, "" },
    };
    // Without results there are no rhythm changes; the pause list beside the AF episodes must
    // not turn into any either.
    for (const bool withAf : { false, true }) {
        testsupport::TempRoot root;
        const QString id = QString::number(makeBeatStudy(root.path(), withAf));
        for (const QStringList& rate : { QStringList(), { "--fs=250" } }) {
            SCOPED_TRACE(std::to_string(withAf) + " " + rate.join(' ').toStdString());
            const QString file = root.file("out.atr");
            const CliRun r = cli(root.path(),
                QStringList { "export", id, "--annotations", file, "--rr", root.file("rr.txt") }
                    + rate);
            ASSERT_EQ(r.code, 0) << r.err.toStdString();
            // The real beats in seconds and the time since the previous real one.
            EXPECT_EQ(testsupport::readAll(root.file("rr.txt")),
                QByteArray("time_s\trr_s\n0.5000\t-\n1.3005\t0.8005\n2.2011\t0.9006\n"
                           "3.0000\t0.7989\n3.9000\t0.9000\n5000.0000\t4996.1000\n"));
            const QVector<WfdbAnnotation> back = readWfdbAnnotations(file);
            int i = 0;
            for (const auto& e : all) {
                if (e.code == 28 && !withAf)
                    continue;
                ASSERT_LT(i, back.size());
                EXPECT_EQ(back[i].sample, rate.isEmpty() ? e.at500 : e.at250) << i;
                EXPECT_EQ(back[i].code, e.code) << i;
                EXPECT_EQ(back[i].aux, QByteArray(e.aux)) << i;
                ++i;
            }
            EXPECT_EQ(back.size(), i);
        }
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

    // The index knows the study but its files are damaged or gone: a clear error, no crash.
    const QDir store(root.path());
    for (const char* pattern : { "*.vtecg", "*.vtstudy" }) {
        for (const QString& f : store.entryList({ pattern }, QDir::Files))
            testsupport::writeAll(store.filePath(f), "\x7f garbage");
        const CliRun damaged = cli(root.path(), { "export", id, "--annotations", atr });
        EXPECT_EQ(damaged.code, 1) << pattern;
        EXPECT_FALSE(damaged.err.isEmpty()) << pattern;
    }
    for (const QString& f : store.entryList({ "*.vtstudy" }, QDir::Files))
        QFile::remove(store.filePath(f));
    const CliRun r = cli(root.path(), { "export", id, "--annotations", atr });
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains("Study file not found")) << r.err.toStdString();
    EXPECT_FALSE(QFile::exists(atr)); // nothing written by a failed command
}
