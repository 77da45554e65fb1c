#pragma once

#include "store/progresssink.h"
#include "workflow/reportoptions.h"

#include <QString>

class QSettings;
class Study;
class StudyRepository;

// The workstation keeps every study's report as "<root>/reports/<baseFilename>.pdf"; a study
// without a base name (never the case for a stored one) uses its id.
QString reportFilePath(const StudyRepository& repository, const Study& study);

struct ReportExport
{
    bool attempted = false; // auto-export was on with a folder
    bool copied = false;
    QString target; // the copy's path, when attempted
    QString warning; // ready to show when the copy failed
};

// Copies a report PDF to the export folder under the same name when the settings ask for it,
// replacing an older copy. A checked export with an empty folder counts as no export. Never
// throws: a failed copy is a warning, and the report stays where it is.
ReportExport exportReportFile(const QString& pdfPath, const QSettings& settings);

struct ReportOutcome
{
    bool cancelled = false; // nothing was written and the study is unchanged
    QString pdfPath; // the stored report
    ReportExport exported;
};

// Writes the study's report into the reports folder, sets its status to "report", saves it, and
// then exports the PDF as the settings say. Progress counts pages. The engine runs to its end
// once started: `cancel` is honoured before the run and before the study is changed, which then
// removes the new PDF. Throws with a ready message when the folder can't be made or the report
// can't be written; the study's status then stays as it was.
ReportOutcome writeStudyReportPdf(StudyRepository& repository, Study& study,
    const ReportOptions& options, const QSettings& settings, ProgressSink* progress = nullptr,
    const CancelFlag* cancel = nullptr);

// Sends the study's report to the default printer and returns the spooler's job id. A printed
// report doesn't change the study. Throws with a ready message when there is no printer or the
// template won't load.
QString printStudyReport(Study& study, const ReportOptions& options, ProgressSink* progress = nullptr);
