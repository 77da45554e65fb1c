#pragma once

#include "tools/evaluation/beatcomparison.h"
#include "tools/evaluation/rhythmcomparison.h"

#include <QString>

#include <optional>
#include <stdexcept>

// A reference or test file that can't be used; the message names the file.
class EvaluationError : public std::runtime_error
{
public:
    explicit EvaluationError(const QString& message)
        : std::runtime_error(message.toStdString())
    {
    }
};

// What the first line of a WFDB header ("record nsig fs nsamples") says about timing.
struct RecordTiming
{
    double samplingRate = 0.0; // Hz
    std::optional<qint64> samples; // per signal, when the header gives it
};

// The header of an annotation file's record: the path without its extension plus ".hea".
QString headerPathFor(const QString& annotationPath);
// Reads a header's first line. Throws EvaluationError naming the file when it is missing or
// its first line is not "record nsig fs [nsamples]" with a positive rate.
RecordTiming readRecordTiming(const QString& headerPath);

struct EvaluationOptions
{
    double startSeconds = 300.0;
    double matchWindowSeconds = 0.150;
    std::optional<double> samplingRate; // overrides the header's
};

struct RecordEvaluation
{
    QString record; // the reference file's name without its extension
    double samplingRate = 0.0;
    BeatConfusion beats;
    AfComparison af;
};

// Compares one record's annotation streams already in memory. The record ends at `samples`
// when known, else at the last annotation of either stream.
RecordEvaluation evaluateAnnotations(const QString& record, const QVector<WfdbAnnotation>& ref,
    const QVector<WfdbAnnotation>& test, const RecordTiming& timing,
    const EvaluationOptions& options);

// Reads REF and TEST and compares them. The rate comes from options.samplingRate, else from
// REF's header. Throws EvaluationError (or WfdbError from the reader) naming the bad file.
RecordEvaluation evaluateRecord(
    const QString& refPath, const QString& testPath, const EvaluationOptions& options);
