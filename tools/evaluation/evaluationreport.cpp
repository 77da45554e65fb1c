#include "tools/evaluation/evaluationreport.h"

#include <QJsonArray>
#include <QJsonValue>
#include <QTextStream>

namespace {

QString num(qint64 v, int width)
{
    return QString::number(v).rightJustified(width);
}

QString seconds(double v, int width)
{
    return QString::number(v, 'f', 1).rightJustified(width);
}

QString beatRow(const QString& name, const RecordEvaluation& e)
{
    QString row = name.leftJustified(10, ' ', true);
    row += num(e.beats.referenceBeats(), 8) + num(e.beats.testBeats(), 8);
    for (const DetectionCounts& d : { e.beats.qrs(), e.beats.veb(), e.beats.sveb() }) {
        row += " |" + num(d.tp, 7) + num(d.fn, 6) + num(d.fp, 6)
            + formatPercent(d.sensitivity()).rightJustified(8)
            + formatPercent(d.positivePredictivity()).rightJustified(8);
    }
    return row;
}

QString afRow(const QString& name, const AfComparison& a)
{
    return name.leftJustified(10, ' ', true) + num(a.referenceEpisodes, 6)
        + num(a.referenceEpisodesDetected, 6) + num(a.testEpisodes, 6)
        + num(a.testEpisodesConfirmed, 6) + formatPercent(a.episodeSensitivity()).rightJustified(8)
        + formatPercent(a.episodePositivePredictivity()).rightJustified(8)
        + seconds(a.referenceSeconds, 10) + seconds(a.testSeconds, 10)
        + seconds(a.overlapSeconds, 10) + formatPercent(a.durationSensitivity()).rightJustified(8)
        + formatPercent(a.durationPositivePredictivity()).rightJustified(8);
}

QJsonValue percentJson(const std::optional<double>& fraction)
{
    return fraction ? QJsonValue(*fraction * 100.0) : QJsonValue(QJsonValue::Null);
}

QJsonObject countsJson(const DetectionCounts& d)
{
    return QJsonObject { { "tp", double(d.tp) }, { "fn", double(d.fn) }, { "fp", double(d.fp) },
        { "se", percentJson(d.sensitivity()) }, { "ppv", percentJson(d.positivePredictivity()) } };
}

QJsonObject recordJson(const RecordEvaluation& e, bool gross)
{
    QJsonObject o;
    if (!gross) {
        o["record"] = e.record;
        o["samplingRate"] = e.samplingRate;
    }
    o["referenceBeats"] = double(e.beats.referenceBeats());
    o["testBeats"] = double(e.beats.testBeats());
    o["qrs"] = countsJson(e.beats.qrs());
    o["veb"] = countsJson(e.beats.veb());
    o["sveb"] = countsJson(e.beats.sveb());
    // Rows are reference classes, columns test classes, in the order N S V F Q O ("O": none).
    QJsonArray matrix;
    for (int r = 0; r < kAamiClassCount; ++r) {
        QJsonArray row;
        for (int t = 0; t < kAamiClassCount; ++t)
            row.append(double(e.beats.count(AamiClass(r), AamiClass(t))));
        matrix.append(row);
    }
    o["matrix"] = matrix;
    const AfComparison& a = e.af;
    o["af"] = QJsonObject { { "referenceEpisodes", a.referenceEpisodes },
        { "referenceEpisodesDetected", a.referenceEpisodesDetected },
        { "testEpisodes", a.testEpisodes }, { "testEpisodesConfirmed", a.testEpisodesConfirmed },
        { "referenceSeconds", a.referenceSeconds }, { "testSeconds", a.testSeconds },
        { "overlapSeconds", a.overlapSeconds },
        { "episodeSe", percentJson(a.episodeSensitivity()) },
        { "episodePpv", percentJson(a.episodePositivePredictivity()) },
        { "durationSe", percentJson(a.durationSensitivity()) },
        { "durationPpv", percentJson(a.durationPositivePredictivity()) } };
    return o;
}

} // namespace

RecordEvaluation grossEvaluation(const QVector<RecordEvaluation>& records)
{
    RecordEvaluation g;
    g.record = "Gross";
    for (const RecordEvaluation& e : records) {
        g.beats += e.beats;
        g.af += e.af;
    }
    return g;
}

QString formatPercent(const std::optional<double>& fraction)
{
    return fraction ? QString::number(*fraction * 100.0, 'f', 2) : QString("-");
}

QString formatEvaluationTables(
    const QVector<RecordEvaluation>& records, const EvaluationOptions& options)
{
    QString text;
    QTextStream s(&text);
    s << "Beat-by-beat comparison (ANSI/AAMI EC57), match window "
      << QString::number(options.matchWindowSeconds * 1000.0) << " ms, from "
      << QString::number(options.startSeconds) << " s\n";
    const QString measure = "     TP    FN    FP     Se%    +P%";
    s << QString("Record").leftJustified(10) << "     Ref    Test | "
      << QString("QRS").leftJustified(34) << "| " << QString("VEB").leftJustified(34) << "| "
      << QString("SVEB") << '\n';
    s << QString(26, ' ') << " |" << measure << " |" << measure << " |" << measure << '\n';
    for (const RecordEvaluation& e : records)
        s << beatRow(e.record, e) << '\n';
    const RecordEvaluation gross = grossEvaluation(records);
    s << beatRow("Gross", gross) << "\n\n";

    s << "Atrial fibrillation episodes\n";
    s << QString("Record").leftJustified(10)
      << "   Ref   Det  Test  Conf  EpSe%  Ep+P%  RefAF(s) TestAF(s)   Both(s)  DurSe%  Dur+P%\n";
    for (const RecordEvaluation& e : records)
        s << afRow(e.record, e.af) << '\n';
    s << afRow("Gross", gross.af) << '\n';
    s.flush();
    return text;
}

QJsonObject evaluationJson(
    const QVector<RecordEvaluation>& records, const EvaluationOptions& options)
{
    QJsonArray rows;
    for (const RecordEvaluation& e : records)
        rows.append(recordJson(e, false));
    return QJsonObject { { "startSeconds", options.startSeconds },
        { "matchWindowSeconds", options.matchWindowSeconds }, { "records", rows },
        { "gross", recordJson(grossEvaluation(records), true) } };
}
