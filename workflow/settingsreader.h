#pragma once

#include "analysis/studyprocessor.h"

#include <QString>
#include <QStringList>

class QSettings;
struct ReportOptions;

// Typed reads of the workstation's settings. A value of the wrong type (text where a number or
// a yes/no belongs, a number out of its range, a list where one value belongs) reads as the
// default, so a damaged settings store can't stop the program. In the platform's text stores
// every value comes back as text, so numbers and "true"/"false" are parsed from text too.
namespace SettingsReader {

bool boolValue(const QSettings& settings, const char* key, bool fallback);
// Whole numbers in [min, max]; a fraction is cut toward zero.
int intValue(const QSettings& settings, const char* key, int fallback, int min, int max);
double doubleValue(const QSettings& settings, const char* key, double fallback);
// A list stored where one text belongs (a comma in a hand-edited text store) is joined again.
QString stringValue(const QSettings& settings, const char* key);
QStringList stringListValue(const QSettings& settings, const char* key);

} // namespace SettingsReader

// The classification choices of a processing run from "Config/Classification/...": the types
// not allowed are excluded, and the user's SVPB rule applies when it is chosen. The defaults
// allow every type and keep the automatic rule. N is never excluded.
ProcessingOptions processingOptionsFromSettings(const QSettings& settings);

// The report header of the settings ("ReportDialog/Header..."): title, additional info and the
// logo's file name, into `options`.
void applyReportHeaderSettings(ReportOptions& options, const QSettings& settings);
