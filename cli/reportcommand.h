#pragma once

#include "workflow/reportoptions.h"

#include <QString>

class Args;
class CliContext;
class QSettings;

// Reads the report options of a command line; nonsense is a UsageError. The header (title,
// info, logo) comes from the settings unless the command line gives it; a configured logo that
// won't load is left out, with the reason in `warning`.
ReportOptions reportOptions(
    const Args& args, const QSettings& settings, QString* warning = nullptr);

// Makes the report of study `id`: computes missing results first (and saves them), then prints
// to `pdf`, or to the default printer when `pdf` is empty. A PDF run is the workstation's: the
// report lands in the store's reports folder, the study becomes reported, the export folder of
// the settings gets its copy, and `pdf` is a copy of the stored file. Throws with a ready
// message on failure.
void writeStudyReport(CliContext& ctx, int id, const ReportOptions& options, const QString& pdf);
