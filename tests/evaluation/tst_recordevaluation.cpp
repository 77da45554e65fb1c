#include "tools/evaluation/evaluationreport.h"

#include "tests/support/testsupport.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>

#include <gtest/gtest.h>

#include <tuple>

namespace {

// The message of the EvaluationError f throws, or "no error".
template <typename F> QString errorOf(F&& f)
{
    try {
        f();
    } catch (const EvaluationError& e) {
        return e.what();
    }
    return "no error";
}

WfdbAnnotation ann(qint64 sample, int code, const QByteArray& aux = QByteArray())
{
    WfdbAnnotation a;
    a.sample = sample;
    a.code = code;
    a.aux = aux;
    return a;
}

} // namespace

TEST(RecordTiming, HeaderFirstLine)
{
    testsupport::TempRoot root;
    const QString path = root.file("rec.hea");
    // {header, rate, samples (0: none given)}
    const std::tuple<const char*, double, qint64> good[] = {
        { "101 2 360 650000\n101.dat 212 200 11 1024 955 29832 0 MLII\n", 360, 650000 },
        { "# made by hand\n\nrec 1 250/1000(0) 1000\n", 250, 1000 },
        { "rec 1 128\n", 128, 0 },
        { "rec 3 500 0\n", 500, 0 },
    };
    for (const auto& [text, fs, samples] : good) {
        testsupport::writeAll(path, text);
        const RecordTiming t = readRecordTiming(path);
        EXPECT_DOUBLE_EQ(t.samplingRate, fs) << text;
        EXPECT_EQ(t.samples.value_or(0), samples) << text;
    }
    for (const char* bad : { "", "hello\n", "rec x 360 10\n", "rec 2 0 10\n", "rec 2 -5\n",
             "rec 2 abc 10\n", "rec 2 360 -1\n", "\x01\x02\xff\n" }) {
        testsupport::writeAll(path, bad);
        EXPECT_TRUE(errorOf([&] { readRecordTiming(path); }).contains(path)) << bad;
    }
    EXPECT_THROW(readRecordTiming(root.file("missing.hea")), EvaluationError);
    EXPECT_EQ(headerPathFor("/data/mitdb/101.atr"), QDir("/data/mitdb").filePath("101.hea"));
}

TEST(RecordEvaluation, RateFromHeaderOrOption)
{
    testsupport::TempRoot root;
    // Reference and test 40 samples apart: 160 ms at 250 Hz (no match), 40 ms at 1000 Hz.
    writeWfdbAnnotations(root.file("r.atr"), { ann(10000, 1), ann(20000, 5) });
    writeWfdbAnnotations(root.file("r.tst"), { ann(10040, 1), ann(20040, 5) });
    EvaluationOptions o;
    o.startSeconds = 0;
    // No header and no rate: an error naming the file.
    EXPECT_TRUE(errorOf([&] {
        evaluateRecord(root.file("r.atr"), root.file("r.tst"), o);
    }).contains("r.atr"));
    testsupport::writeAll(root.file("r.hea"), "r 1 250 30000\n");
    RecordEvaluation e = evaluateRecord(root.file("r.atr"), root.file("r.tst"), o);
    EXPECT_EQ(e.record, "r");
    EXPECT_EQ(e.beats.qrs().tp, 0);
    o.samplingRate = 1000.0;
    e = evaluateRecord(root.file("r.atr"), root.file("r.tst"), o);
    EXPECT_EQ(e.beats.qrs().tp, 2);
    EXPECT_EQ(e.beats.veb().tp, 1);
}

TEST(RecordEvaluation, AfRunsToHeaderLength)
{
    // Reference AF from 100 s to the end (200 s at 100 Hz); test AF from 150 s to 180 s.
    const QVector<WfdbAnnotation> ref = { ann(10000, 28, "(AFIB") };
    const QVector<WfdbAnnotation> test = { ann(15000, 28, "(AFIB"), ann(18000, 28, "(N") };
    EvaluationOptions o;
    o.startSeconds = 0;
    RecordTiming t;
    t.samplingRate = 100;
    t.samples = 20000;
    RecordEvaluation e = evaluateAnnotations("x", ref, test, t, o);
    EXPECT_DOUBLE_EQ(e.af.referenceSeconds, 100.0);
    EXPECT_DOUBLE_EQ(e.af.overlapSeconds, 30.0);
    t.samples.reset(); // without a length the record ends at the last annotation, 180 s
    e = evaluateAnnotations("x", ref, test, t, o);
    EXPECT_DOUBLE_EQ(e.af.referenceSeconds, 80.0);
    // From 160 s: 40 s of reference AF remain, 20 s shared.
    t.samples = 20000;
    o.startSeconds = 160;
    e = evaluateAnnotations("x", ref, test, t, o);
    EXPECT_DOUBLE_EQ(e.af.referenceSeconds, 40.0);
    EXPECT_DOUBLE_EQ(e.af.overlapSeconds, 20.0);
}

TEST(EvaluationReport, TablesAndJson)
{
    EvaluationOptions o;
    o.startSeconds = 0;
    RecordTiming t;
    t.samplingRate = 1000;
    // 2 N matched, V missed -> QRS Se 66.67 %, VEB Se 0 %, SVEB "-".
    const RecordEvaluation e = evaluateAnnotations(
        "rec7", { ann(1000, 1), ann(2000, 1), ann(3000, 5) }, { ann(1000, 1), ann(2000, 1) }, t, o);
    const QString text = formatEvaluationTables({ e }, o);
    for (const char* part : { "rec7", "66.67", "Gross", "Atrial fibrillation" })
        EXPECT_TRUE(text.contains(part)) << part << " in\n" << text.toStdString();

    const QJsonObject j = evaluationJson({ e, e }, o);
    const QJsonObject gross = j["gross"].toObject();
    EXPECT_EQ(gross["qrs"].toObject()["tp"].toInt(), 4);
    EXPECT_EQ(gross["qrs"].toObject()["fn"].toInt(), 2);
    EXPECT_NEAR(gross["qrs"].toObject()["se"].toDouble(), 200.0 / 3.0, 1e-9);
    EXPECT_TRUE(gross["sveb"].toObject()["se"].isNull());
    EXPECT_EQ(j["records"].toArray()[1].toObject()["record"].toString(), "rec7");
    // Matrix row V (2), column "none" (5): the missed V.
    EXPECT_EQ(gross["matrix"].toArray()[2].toArray()[5].toInt(), 2);

    EXPECT_EQ(formatPercent(std::nullopt), "-");
    EXPECT_EQ(formatPercent(0.99996), "100.00");
}

// Each reference file compared with itself agrees fully, against a tally made from code letters.
TEST(RecordEvaluation, MitdbSelfComparison)
{
    HOLTER_REQUIRE_SHARED_DATA(data);
    const QString dir = data + "/mitdb";
    QFile records(dir + "/RECORDS");
    if (!records.open(QIODevice::ReadOnly))
        GTEST_SKIP() << "no mitdb/RECORDS";
    // WFDB codes by letter, and the AAMI class letters spelled out.
    const QMap<int, char> letter = { { 1, 'N' }, { 2, 'L' }, { 3, 'R' }, { 25, 'B' }, { 34, 'e' },
        { 11, 'j' }, { 8, 'A' }, { 4, 'a' }, { 7, 'J' }, { 9, 'S' }, { 35, 'n' }, { 5, 'V' },
        { 10, 'E' }, { 41, 'r' }, { 6, 'F' }, { 12, '/' }, { 38, 'f' }, { 13, 'Q' } };
    const QByteArray vClass = "VEr", sClass = "AaJSn";
    EvaluationOptions o;
    QVector<RecordEvaluation> all;
    qint64 totalBeats = 0;
    for (const QByteArray& line : records.readAll().split('\n')) {
        const QString name = QString::fromUtf8(line.trimmed());
        if (name.isEmpty())
            continue;
        const QString atr = dir + "/" + name + ".atr";
        const RecordEvaluation e = evaluateRecord(atr, atr, o);
        const QVector<WfdbAnnotation> anns = readWfdbAnnotations(atr);
        qint64 beats = 0, v = 0, s = 0;
        for (const WfdbAnnotation& a : anns) {
            if (!letter.contains(a.code) || a.sample < 300 * 360)
                continue;
            ++beats;
            v += vClass.contains(letter[a.code]);
            s += sClass.contains(letter[a.code]);
        }
        EXPECT_EQ(e.beats.qrs().tp, beats) << name.toStdString();
        EXPECT_EQ(e.beats.qrs().fn + e.beats.qrs().fp, 0) << name.toStdString();
        EXPECT_EQ(e.beats.veb().tp, v) << name.toStdString();
        EXPECT_EQ(e.beats.veb().fn + e.beats.veb().fp, 0) << name.toStdString();
        EXPECT_EQ(e.beats.sveb().tp, s) << name.toStdString();
        EXPECT_EQ(e.beats.sveb().fn + e.beats.sveb().fp, 0) << name.toStdString();
        EXPECT_DOUBLE_EQ(e.af.overlapSeconds, e.af.referenceSeconds) << name.toStdString();
        EXPECT_EQ(e.af.referenceEpisodesDetected, e.af.referenceEpisodes);
        totalBeats += beats;
        all.push_back(e);
    }
    ASSERT_FALSE(all.isEmpty());
    const RecordEvaluation gross = grossEvaluation(all);
    EXPECT_EQ(gross.beats.qrs().tp, totalBeats);
    EXPECT_DOUBLE_EQ(gross.beats.qrs().sensitivity().value_or(0), 1.0);
    EXPECT_DOUBLE_EQ(gross.beats.veb().positivePredictivity().value_or(0), 1.0);
    EXPECT_DOUBLE_EQ(gross.beats.sveb().sensitivity().value_or(0), 1.0);
    // The DS1 half has AF in records 201 and 203.
    EXPECT_GT(gross.af.referenceEpisodes, 0);
    EXPECT_DOUBLE_EQ(gross.af.durationSensitivity().value_or(0), 1.0);
}
