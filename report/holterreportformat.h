#pragma once

#include <QDateTime>
#include <QString>

// The texts of the Holter report's computed fields, as pure functions of their numbers so that
// each rule can be checked on its own. "-" is how the report shows a figure it does not have.
namespace HolterReportFormat {

// "-": a missing or zero figure.
QString missing();

// "%1 h. %2 m." of whole hours and minutes; a negative length counts as 0.
QString hoursMinutes(double seconds);

// Body-mass index, weight in kg and height in cm, with one decimal; empty when either is not
// positive.
QString bodyMassIndex(double weightKg, double heightCm);

// A beat count against all beats: "c (p%)" with one decimal, "c (< 0.1%)" below a tenth of a
// percent, just "c" without a total; "-" for no count (absent or 0).
QString countWithPercent(bool hasCount, double count, bool hasTotal, double total);

// Total time in atrial fibrillation: "m. s." under ten minutes, else "h. m.", then the whole
// percent of the recording in brackets, "(< 1%)" when that is 0; "-" when 0 or absent.
QString afibTotal(bool hasTime, double seconds, double durationSeconds);

// The wall clock of a recording time: `start` plus `seconds`, as `format`; empty when the
// start is unknown.
QString clock(const QDateTime& start, double seconds, const QString& format);

// "%1 s. [%2]": a pause's length to one decimal and its clock time "d/M HH:mm".
QString pause(const QDateTime& start, double timestamp, double durationSeconds);

// A printf format ("%.1f") applied to one number.
QString number(const QString& printfFormat, double value);

// The start of a study from its "yyyyMMddHHmmss" text, seconds cut off so that times show on
// whole minutes; invalid for text that is not a date.
QDateTime startOf(const QByteArray& studyDateTime);

} // namespace HolterReportFormat
