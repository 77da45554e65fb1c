#pragma once

#include "tools/evaluation/recordevaluation.h"

#include <QJsonObject>
#include <QString>
#include <QVector>

// The totals over records: counts summed, measures recomputed from the sums ("gross").
RecordEvaluation grossEvaluation(const QVector<RecordEvaluation>& records);

// A percentage with two decimals, or "-" when absent.
QString formatPercent(const std::optional<double>& fraction);

// Two plain-text tables, one row per record and a "Gross" row each: beats (QRS, VEB, SVEB counts
// with Se and +P) and AF episodes (episode and duration Se and +P).
QString formatEvaluationTables(
    const QVector<RecordEvaluation>& records, const EvaluationOptions& options);

// The same as JSON: {"startSeconds", "matchWindowSeconds", "records": [...], "gross": {...}}.
// Se and +P are percentages, null when their denominator is zero.
QJsonObject evaluationJson(
    const QVector<RecordEvaluation>& records, const EvaluationOptions& options);
