#include "tools/evaluation/recordevaluation.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>

QString headerPathFor(const QString& annotationPath)
{
    const QFileInfo info(annotationPath);
    const QString name = info.fileName();
    const int dot = name.lastIndexOf('.');
    const QString base = dot > 0 ? name.left(dot) : name;
    return info.dir().filePath(base + ".hea");
}

RecordTiming readRecordTiming(const QString& headerPath)
{
    QFile f(headerPath);
    if (!f.open(QIODevice::ReadOnly))
        throw EvaluationError(QString("cannot read the record header %1").arg(headerPath));
    // The first non-comment line holds the record line; headers are a few hundred bytes.
    QByteArray line;
    while (!f.atEnd()) {
        line = f.readLine(4096).trimmed();
        if (!line.isEmpty() && !line.startsWith('#'))
            break;
        line.clear();
    }
    const QList<QByteArray> fields = line.simplified().split(' ');
    const auto bad = [&headerPath]() {
        return EvaluationError(
            QString("%1 is not a record header (expected 'record nsig fs nsamples')")
                .arg(headerPath));
    };
    if (fields.size() < 3)
        throw bad();
    bool ok = false;
    fields[1].toInt(&ok);
    if (!ok)
        throw bad();
    // The rate may carry a counter frequency and base: "360/...(...)".
    QByteArray rate = fields[2];
    const int cut = rate.indexOf('/');
    if (cut >= 0)
        rate.truncate(cut);
    const double fs = rate.toDouble(&ok);
    if (!ok || !(fs > 0.0) || !std::isfinite(fs))
        throw bad();
    RecordTiming timing;
    timing.samplingRate = fs;
    if (fields.size() >= 4) {
        const qint64 n = fields[3].toLongLong(&ok);
        if (!ok || n < 0)
            throw bad();
        if (n > 0)
            timing.samples = n;
    }
    return timing;
}

RecordEvaluation evaluateAnnotations(const QString& record, const QVector<WfdbAnnotation>& ref,
    const QVector<WfdbAnnotation>& test, const RecordTiming& timing,
    const EvaluationOptions& options)
{
    RecordEvaluation e;
    e.record = record;
    e.samplingRate = timing.samplingRate;

    BeatComparisonOptions beatOptions;
    beatOptions.samplingRate = timing.samplingRate;
    beatOptions.matchWindowSeconds = options.matchWindowSeconds;
    beatOptions.startSeconds = options.startSeconds;
    e.beats = compareBeats(ref, test, beatOptions);

    qint64 endSample = 0;
    if (timing.samples) {
        endSample = *timing.samples;
    } else {
        for (const QVector<WfdbAnnotation>* list : { &ref, &test })
            if (!list->isEmpty())
                endSample = std::max(endSample, list->last().sample);
    }
    const double end = double(endSample) / timing.samplingRate;
    e.af = compareAf(afEpisodes(ref, timing.samplingRate, options.startSeconds, end),
        afEpisodes(test, timing.samplingRate, options.startSeconds, end));
    return e;
}

RecordEvaluation evaluateRecord(
    const QString& refPath, const QString& testPath, const EvaluationOptions& options)
{
    RecordTiming timing;
    const QString headerPath = headerPathFor(refPath);
    if (options.samplingRate) {
        // The header still gives the record length when it is readable.
        try {
            if (QFileInfo::exists(headerPath))
                timing = readRecordTiming(headerPath);
        } catch (const EvaluationError&) {
            timing = RecordTiming();
        }
        timing.samplingRate = *options.samplingRate;
    } else if (QFileInfo::exists(headerPath)) {
        timing = readRecordTiming(headerPath);
    } else {
        throw EvaluationError(QString("no sampling rate for %1: there is no header %2; give --fs")
                                  .arg(refPath, headerPath));
    }

    const QVector<WfdbAnnotation> ref = readWfdbAnnotations(refPath);
    const QVector<WfdbAnnotation> test = readWfdbAnnotations(testPath);
    const QString name = QFileInfo(refPath).completeBaseName();
    return evaluateAnnotations(
        name.isEmpty() ? QFileInfo(refPath).fileName() : name, ref, test, timing, options);
}
