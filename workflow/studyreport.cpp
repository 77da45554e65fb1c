#include "workflow/studyreport.h"

#include "report/tholterreport.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "store/studystatus.h"
#include "workflow/reportprinter.h"
#include "workflow/settingskeys.h"
#include "workflow/settingsreader.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>

#include <stdexcept>

namespace {

// The engine reports pages; a sink sees them as position and total.
void connectProgress(THolterReport& report, ProgressSink* progress)
{
    if (!progress)
        return;
    QObject::connect(&report, &THolterReport::progress, [progress](int page, int total) {
        if (total > 0)
            progress->progress(page, total);
    });
}

} // namespace

void ReportOptions::applyTo(THolterReport& report) const
{
    report.setLineNotchFilter(notch);
    report.setMuscleNoiseFilter(lowPass);
    report.setBaselineFilter(baseline);
    report.setAmplitude(amplitude);
    report.setRhythmLead(rhythmLead);
    report.setTrendLead(trendLead);
    report.setPrintTrendsAndTable(trendsAndTable);
    report.setPrintExtraTrends(extraTrends);
    report.setPrintHRV(hrv);
    report.setHeaderTitle(title);
    report.setHeaderInfo(info);
    report.setHeaderLogoFile(logoFile);
}

QString reportFilePath(const StudyRepository& repository, const Study& study)
{
    QString base = QString::fromUtf8(study.property(QByteArray("baseFilename")));
    if (base.isEmpty())
        base = QString::number(study.id());
    return repository.rootPath() + "/reports/" + base + ".pdf";
}

ReportExport exportReportFile(const QString& pdfPath, const QSettings& settings)
{
    ReportExport e;
    const QString folder = SettingsReader::stringValue(settings, SettingsKeys::ExportReportFolder);
    if (!SettingsReader::boolValue(settings, SettingsKeys::AutoExportReports, false)
        || folder.isEmpty())
        return e;
    e.attempted = true;
    e.target = QDir(folder).filePath(QFileInfo(pdfPath).fileName());
    // QFile::copy won't replace: a report made again replaces its older copy.
    if (QFileInfo(e.target).isFile())
        QFile::remove(e.target);
    e.copied = QFileInfo(folder).isDir() && QFile::copy(pdfPath, e.target);
    if (!e.copied) {
        e.warning = QCoreApplication::translate("ReportDialog",
            "Report file could not be exported to folder: %1\nPlease check shared folder access "
            "with your network administrator.")
                        .arg(QDir::toNativeSeparators(folder));
    }
    return e;
}

ReportOutcome writeStudyReportPdf(StudyRepository& repository, Study& study,
    const ReportOptions& options, const QSettings& settings, ProgressSink* progress,
    const CancelFlag* cancel)
{
    ReportOutcome outcome;
    if (isCancelled(cancel)) {
        outcome.cancelled = true;
        return outcome;
    }
    const QString path = reportFilePath(repository, study);
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder)) {
        throw std::runtime_error(
            QString("Cannot create the reports folder %1").arg(folder).toStdString());
    }

    // Written beside the report it replaces, which stays until the new one is complete.
    const QString partial = folder + "/" + QFileInfo(path).completeBaseName() + ".partial.pdf";
    {
        THolterReport report(&study);
        options.applyTo(report);
        connectProgress(report, progress);
        try {
            report.run(partial);
        } catch (const ReportError& e) {
            QFile::remove(partial);
            // The message names the file the user knows.
            throw ReportError(QString::fromUtf8(e.what()).replace(partial, path).toStdString());
        } catch (...) {
            QFile::remove(partial);
            throw;
        }
    }
    if (isCancelled(cancel)) {
        QFile::remove(partial);
        outcome.cancelled = true;
        return outcome;
    }
    QFile::remove(path);
    if (!QFile::rename(partial, path)) {
        QFile::remove(partial);
        throw std::runtime_error(
            QString("Report file %1 could not be written").arg(path).toStdString());
    }

    outcome.pdfPath = path;
    study.setProperty("status", StudyStatus::Report);
    repository.saveStudy(&study);
    // The study stays reported whatever the copy does.
    outcome.exported = exportReportFile(path, settings);
    return outcome;
}

QString printStudyReport(Study& study, const ReportOptions& options, ProgressSink* progress)
{
    THolterReport report(&study);
    options.applyTo(report);
    connectProgress(report, progress);
    const QByteArray base = study.property("baseFilename");
    return printToDefaultPrinter(report,
        QString("Holter report %1").arg(base.isEmpty() ? QString::number(study.id())
                                                       : QString::fromUtf8(base)));
}
