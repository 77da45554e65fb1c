#include "recorder/wfdbannotation.h"
#include "tests/support/clirun.h"
#include "tests/support/testsupport.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

using testsupport::CliRun;

CliRun cli(const QStringList& args)
{
    return testsupport::runProgram(QString::fromUtf8(HOLTER_CLI), args);
}

// A count of the gross row of `evaluate --json` output.
int gross(const CliRun& r, const char* measure, const char* count)
{
    return QJsonDocument::fromJson(r.out.toUtf8())
        .object()["gross"]
        .toObject()[measure]
        .toObject()[count]
        .toInt(-1);
}

// A reference and a test file of one beat a second at 1000 Hz from 0 to 399 s: the test misses
// every tenth beat and calls the rest N. The reference has a V every fifth beat.
void writePair(const QString& ref, const QString& test)
{
    QVector<WfdbAnnotation> r, t;
    for (int i = 0; i < 400; ++i) {
        WfdbAnnotation a;
        a.sample = qint64(i) * 1000;
        a.code = i % 5 == 0 ? 5 : 1;
        r.push_back(a);
        if (i % 10 != 3) {
            a.code = 1;
            t.push_back(a);
        }
    }
    writeWfdbAnnotations(ref, r);
    writeWfdbAnnotations(test, t);
}

} // namespace

TEST(EvaluateCli, TableJsonAndErrors)
{
    testsupport::TempRoot root;
    const QString ref = root.file("rec1.atr");
    const QString test = root.file("rec1.tst");
    writePair(ref, test);
    testsupport::writeAll(root.file("rec1.hea"), "rec1 1 1000 400000\n");

    CliRun r = cli({ "evaluate", ref, test });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.contains("rec1")) << r.out.toStdString();
    EXPECT_TRUE(r.out.contains("\nGross")) << r.out.toStdString();

    // From 300 s, per file pair: 100 beats, 10 missed, 20 V none found -> TP 90, FN 10; VEB FN 20.
    r = cli({ "evaluate", "--json", ref, test, ref, test });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_EQ(gross(r, "qrs", "tp"), 180) << r.out.toStdString();
    EXPECT_EQ(gross(r, "qrs", "fn"), 20);
    EXPECT_EQ(gross(r, "veb", "fn"), 40);

    // --start 0: 400 beats, 40 missed.
    r = cli({ "evaluate", "--json", "--start", "0", ref, test });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    EXPECT_EQ(gross(r, "qrs", "fn"), 40);

    // Without a header the rate must be given.
    const QString bare = root.file("bare.atr");
    writePair(bare, root.file("bare.tst"));
    r = cli({ "evaluate", bare, root.file("bare.tst") });
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains("bare.atr")) << r.err.toStdString();
    r = cli({ "evaluate", "--fs", "1000", bare, root.file("bare.tst") });
    EXPECT_EQ(r.code, 0) << r.err.toStdString();

    // Garbage and missing files: exit 1 naming the file.
    testsupport::writeAll(root.file("junk.tst"), QByteArray("\x01\x02\x03", 3));
    for (const QString& bad : { root.file("junk.tst"), root.file("absent.tst") }) {
        r = cli({ "evaluate", ref, bad });
        EXPECT_EQ(r.code, 1) << bad.toStdString();
        EXPECT_TRUE(r.err.contains(bad.section('/', -1))) << r.err.toStdString();
        EXPECT_TRUE(r.out.isEmpty());
    }

    // Command-line mistakes: exit 2.
    for (const QStringList& args : { QStringList { "evaluate" }, QStringList { "evaluate", ref },
             QStringList { "evaluate", ref, test, ref },
             QStringList { "evaluate", "--start", "x", ref, test },
             QStringList { "evaluate", "--fs", "0", ref, test },
             QStringList { "evaluate", "--bogus", ref, test } }) {
        r = cli(args);
        EXPECT_EQ(r.code, 2) << args.join(' ').toStdString();
        EXPECT_TRUE(r.out.isEmpty());
    }
}
