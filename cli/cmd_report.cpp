#include "cli/args.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "cli/reportcommand.h"
#include "report/tholterreport.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "workflow/settingsreader.h"
#include "workflow/studyreport.h"
#include "workflow/studyresults.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QSettings>

#include <stdexcept>

namespace {

const QStringList kValueOptions
    = { "pdf", "amplitude", "rhythm-lead", "trend-lead", "filters", "title", "info", "logo" };
const QStringList kFlags = { "no-trends", "no-extra-trends", "no-hrv", "printer" };

std::runtime_error failure(const QString& message)
{
    return std::runtime_error(message.toStdString());
}

// A lead the recording has, or an error that lists the ones it has.
void checkLead(const Study& study, const QString& lead, const char* option)
{
    const SignalSource* s = study.signal();
    if (s->channelByName(lead.toUtf8()))
        return;
    QStringList names;
    for (int c = 0; c < s->channelCount(); ++c)
        names << QString::fromUtf8(s->channel(c)->name());
    throw UsageError(QString("'--%1': the study has no lead '%2' (it has %3)")
                         .arg(option, lead, names.join(", ")));
}

// Report pages on the command's stderr line.
class PageProgress : public ProgressSink
{
public:
    explicit PageProgress(CliContext& ctx)
        : m_ctx(ctx)
    {
    }
    void progress(qint64 page, qint64 total) override
    {
        if (total > 0)
            m_ctx.progress(
                QString("Report page %1 of %2").arg(page).arg(total), int(page * 100 / total));
    }

private:
    CliContext& m_ctx;
};

} // namespace

ReportOptions reportOptions(const Args& args, const QSettings& settings, QString* warning)
{
    ReportOptions o;
    // The header of the workstation's settings, unless the command line gives its own.
    applyReportHeaderSettings(o, settings);
    o.trendsAndTable = !args.flag("no-trends");
    o.extraTrends = !args.flag("no-extra-trends");
    o.hrv = !args.flag("no-hrv");
    if (args.has("amplitude")) {
        const QString a = args.value("amplitude");
        if (a != "5" && a != "10" && a != "20")
            throw UsageError(QString("'--amplitude' is 5, 10 or 20 mm/mV, not '%1'").arg(a));
        o.amplitude = a.toDouble();
    }
    o.rhythmLead = args.value("rhythm-lead", o.rhythmLead);
    o.rhythmLeadGiven = args.has("rhythm-lead");
    o.trendLead = args.value("trend-lead", o.trendLead);
    if (args.has("filters")) {
        for (const QString& part : args.value("filters").split(',', Qt::SkipEmptyParts)) {
            const QString f = part.trimmed().toLower();
            if (f == "notch")
                o.notch = true;
            else if (f == "lowpass")
                o.lowPass = true;
            else if (f == "baseline")
                o.baseline = true;
            else
                throw UsageError(QString("'--filters' takes notch, lowpass and baseline "
                                         "separated by commas, not '%1'")
                                     .arg(part));
        }
    }
    o.title = args.value("title", o.title);
    o.info = args.value("info", o.info);
    if (args.has("logo")) {
        o.logoFile = args.value("logo");
        if (!o.logoFile.isEmpty() && QImage(o.logoFile).isNull())
            throw failure(
                QString("Logo image could not be loaded from file: %1").arg(o.logoFile));
    } else if (!o.logoFile.isEmpty() && QImage(o.logoFile).isNull()) {
        // A configured logo that went missing leaves the cover without one, as the report
        // dialog would; the user is told, the report is still made.
        if (warning)
            *warning = QString("Logo image could not be loaded from file: %1").arg(o.logoFile);
        o.logoFile.clear();
    }
    return o;
}

void writeStudyReport(CliContext& ctx, int id, const ReportOptions& options, const QString& pdf)
{
    OpenedStudy study(ctx, id);
    // A lead asked for must exist; the default leads fall back to the first lead, as the report
    // does for an absent trend lead.
    if (options.rhythmLeadGiven)
        checkLead(*study.get(), options.rhythmLead, "rhythm-lead");

    // As the review window does before a report: fill in the results that are missing.
    const QSettings settings;
    const CancelFlag* interrupted = interruptFlag();
    CliProgress resultsProgress(ctx, "Getting results");
    const ResultsOutcome results = computeAndSaveResults(
        ctx.repository(), *study.get(), settings, false, &resultsProgress, interrupted);
    ctx.endProgress();
    if (results == ResultsOutcome::Cancelled)
        throw failure(
            QString("interrupted; the results of study %1 were left as they were").arg(id));
    if (results == ResultsOutcome::Computed)
        ctx.err() << "computed the missing results of study " << id << '\n';

    PageProgress pages(ctx);
    if (pdf.isEmpty()) {
        // A printer run leaves the study's status as it is.
        QString job;
        try {
            job = printStudyReport(*study.get(), options, &pages);
        } catch (const std::exception& e) {
            ctx.endProgress();
            throw failure(QString::fromUtf8(e.what()));
        }
        ctx.err() << "report of study " << id << " sent to the default printer";
        if (!job.isEmpty())
            ctx.err() << " (" << job << ')';
        ctx.err() << '\n';
        return;
    }

    ReportOutcome report;
    try {
        report = writeStudyReportPdf(
            ctx.repository(), *study.get(), options, settings, &pages, interrupted);
    } catch (const std::exception&) {
        ctx.endProgress();
        throw;
    }
    ctx.endProgress();
    if (report.cancelled)
        throw failure(QString("interrupted; no report of study %1 was written").arg(id));
    if (report.exported.copied) {
        ctx.err() << "report of study " << id << " exported to "
                  << QDir::toNativeSeparators(report.exported.target) << '\n';
    } else if (report.exported.attempted) {
        ctx.err() << report.exported.warning << '\n';
    }
    // The file asked for is a copy of the stored one.
    const QString target = QFileInfo(pdf).absoluteFilePath();
    if (target != QFileInfo(report.pdfPath).absoluteFilePath()) {
        QFile::remove(target);
        if (!QFile::copy(report.pdfPath, target))
            throw failure(QString("Report file %1 could not be written").arg(pdf));
    }
    ctx.err() << "report of study " << id << " written to " << QDir::toNativeSeparators(pdf)
              << '\n';
}

int runReport(CliContext& ctx, const QStringList& argv)
{
    Args args(argv, kValueOptions, kFlags);
    args.expectPositionals(1, 1, "study ID");
    const int id = parseStudyId(args.positionals()[0]);
    const bool printer = args.flag("printer");
    if (printer == args.has("pdf"))
        throw UsageError("give either '--pdf FILE' or '--printer'");
    const QString pdf = args.value("pdf");
    if (!printer && pdf.isEmpty())
        throw UsageError("'--pdf' needs a file name");
    QString warning;
    const ReportOptions options = reportOptions(args, QSettings(), &warning);
    if (!warning.isEmpty())
        ctx.err() << warning << '\n';
    writeStudyReport(ctx, id, options, printer ? QString() : pdf);
    return 0;
}
