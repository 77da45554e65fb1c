#include "cli/args.h"
#include "cli/commands.h"
#include "cli/importsource.h"
#include "cli/interrupt.h"
#include "cli/processingoptions.h"
#include "cli/reportcommand.h"
#include "store/beatlist.h"
#include "store/study.h"
#include "workflow/settingskeys.h"
#include "workflow/settingsreader.h"
#include "workflow/studyprocessing.h"

#include <QSettings>

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string>

namespace {

// Processes an open study and settles it through the workflow, as the main window does:
// progress goes to stderr, Ctrl-C cancels. Throws after a cancel or a failure, when the study
// has been settled and saved already.
void processAndSettle(CliContext& ctx, OpenedStudy& study, const ProcessingOptions& options)
{
    StudyProcessing processing(ctx.repository(), study.get(), options);
    CliProgress progress(ctx, QString());
    const ProcessingOutcome outcome = processing.runAndWait(&progress, interruptFlag());
    ctx.endProgress();
    if (outcome == ProcessingOutcome::Cancelled) {
        throw std::runtime_error(QString("interrupted; processing of study %1 was cancelled and "
                                         "its beats were cleared")
                                     .arg(study->id())
                                     .toStdString());
    }
    if (outcome == ProcessingOutcome::Failed || !processing.errorMessage().isEmpty())
        throw std::runtime_error(processing.errorMessage().toStdString());
}

void printBeatCounts(CliContext& ctx, Study& study)
{
    static const char* const kNames[5] = { "U", "N", "V", "F", "S" };
    int byType[5] = {};
    int beats = 0, noise = 0;
    Beat beat;
    BeatList& list = *study.beats();
    for (int i = 0; i < list.count(); ++i) {
        if (!list.get(i, beat))
            continue;
        if (!beat.isBeat) {
            ++noise;
            continue;
        }
        ++beats;
        if (beat.type >= 0 && beat.type < 5)
            ++byType[beat.type];
    }
    ctx.out() << "processed study " << study.id() << ": " << beats << " beats (";
    for (int type : { BeatN, BeatV, BeatS, BeatF, BeatU })
        ctx.out() << kNames[type] << ' ' << byType[type] << (type == BeatU ? "" : ", ");
    ctx.out() << "), " << noise << " noise entries\n";
}

} // namespace

// The labelling choices start from the workstation's settings; "--literal-rules" leaves the
// labels unrefined whatever the setting says, "--exclude"
// replaces the excluded types ("none" excludes nothing), "--svpb-auto" chooses the automatic
// rule, and either of the other SVPB options sets the whole user rule (the percentage of the
// settings unless given).
ProcessingOptions processingOptions(const Args& args, const QSettings& settings)
{
    ProcessingOptions options = processingOptionsFromSettings(settings);
    if (args.flag("literal-rules"))
        options.literalRules = true;
    if (args.has("exclude")) {
        std::fill(std::begin(options.excludeType), std::end(options.excludeType), false);
        const QString list = args.value("exclude").trimmed();
        const QStringList parts = list.compare("none", Qt::CaseInsensitive) == 0
            ? QStringList()
            : list.split(',', Qt::KeepEmptyParts);
        for (const QString& part : parts) {
            const QString letter = part.trimmed().toUpper();
            const int type = letter == "U" ? BeatU
                : letter == "V"            ? BeatV
                : letter == "F"            ? BeatF
                : letter == "S"            ? BeatS
                                           : -1;
            if (type < 0)
                throw UsageError(QString("'--exclude' takes types from V, F, S and U "
                                         "separated by commas, or none, not '%1'")
                                     .arg(part));
            options.excludeType[type] = true;
        }
    }
    const bool userRule = args.has("svpb-prematurity") || args.flag("svpb-compensatory");
    if (args.flag("svpb-auto")) {
        if (userRule)
            throw UsageError("'--svpb-auto' can't go with '--svpb-prematurity' or "
                             "'--svpb-compensatory'");
        options.svpbUserDefined = false;
        options.svpbCompensatory = false;
    } else if (userRule) {
        const int settingsPercent = SettingsReader::intValue(settings,
            SettingsKeys::SVPBPrematurityPct, SettingsKeys::kDefaultSVPBPrematurityPct, 0, 100);
        const double percent = args.doubleValue("svpb-prematurity", settingsPercent, 0.0, 100.0);
        options.svpbUserDefined = true;
        options.svpbPrematurityRatio = prematurityRatioOfPercent(percent);
        options.svpbCompensatory = args.flag("svpb-compensatory");
    }
    return options;
}

int runProcess(CliContext& ctx, const QStringList& argv)
{
    Args args(argv, kProcessValueOptions, kProcessFlags);
    args.expectPositionals(1, 1, "study ID");
    const int id = parseStudyId(args.positionals()[0]);
    const ProcessingOptions options = processingOptions(args, QSettings());
    OpenedStudy study(ctx, id);
    processAndSettle(ctx, study, options);
    printBeatCounts(ctx, *study.get());
    return 0;
}

int runAnalyze(CliContext& ctx, const QStringList& argv)
{
    QStringList valueOptions = importValueOptions();
    valueOptions << "annotations"
                 << "json"
                 << "pdf" << kProcessValueOptions;
    Args args(argv, valueOptions, kProcessFlags);
    args.expectPositionals(1, 1, "SOURCE");
    // Refused before the long work starts.
    if (args.has("pdf") && args.value("pdf").isEmpty())
        throw UsageError("'--pdf' needs a file name");
    const QSettings settings;
    const ProcessingOptions options = processingOptions(args, settings);
    ReportOptions report;
    applyReportHeaderSettings(report, settings);

    const int id = importSource(ctx, args, args.positionals()[0]);
    ctx.err() << "imported as study " << id << '\n';
    ctx.err().flush();
    {
        OpenedStudy study(ctx, id);
        processAndSettle(ctx, study, options);
        printBeatCounts(ctx, *study.get());
    }
    const QString idText = QString::number(id);
    if (args.has("annotations"))
        runExport(ctx, { idText, "--annotations", args.value("annotations") });
    if (args.has("json"))
        runResults(ctx, { idText, "--json", args.value("json") });
    if (args.has("pdf"))
        writeStudyReport(ctx, id, report, args.value("pdf"));
    return 0;
}
