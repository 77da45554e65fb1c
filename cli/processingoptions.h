#pragma once

#include "analysis/studyprocessor.h"

#include <QStringList>

class Args;
class QSettings;

// Options of the commands that process a study.
inline const QStringList kProcessValueOptions = { "exclude", "svpb-prematurity" };
inline const QStringList kProcessFlags = { "svpb-compensatory", "svpb-auto", "literal-rules" };

// The labelling choices of a processing run: the classification settings, overridden by the
// command line's options. Nonsense is a UsageError.
ProcessingOptions processingOptions(const Args& args, const QSettings& settings);
