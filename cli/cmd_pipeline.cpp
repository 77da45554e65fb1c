#include "cli/args.h"
#include "cli/commands.h"
#include "cli/importsource.h"
#include "cli/interrupt.h"
#include "cli/reportcommand.h"
#include "store/beatlist.h"
#include "store/study.h"
#include "workflow/studyprocessing.h"

#include <QSettings>

#include <stdexcept>
#include <string>

namespace {

// The user's labelling choices: "--exclude V,F,S,U" turns classes of those types into N, either
// SVPB option switches to the user's prematurity rule (20 % unless given), and
// "--literal-rules" (or the setting "Analysis/LiteralRules") leaves the labels unrefined.
ProcessingOptions processingOptions(const Args& args)
{
    ProcessingOptions options;
    options.literalRules = args.flag("literal-rules")
        || QSettings().value(QStringLiteral("Analysis/LiteralRules"), false).toBool();
    if (args.has("exclude")) {
        for (const QString& part : args.value("exclude").split(',', Qt::SkipEmptyParts)) {
            const QString letter = part.trimmed().toUpper();
            const int type = letter == "U" ? BeatU
                : letter == "V"            ? BeatV
                : letter == "F"            ? BeatF
                : letter == "S"            ? BeatS
                                           : -1;
            if (type < 0)
                throw UsageError(QString("'--exclude' takes types from V, F, S and U "
                                         "separated by commas, not '%1'")
                                     .arg(part));
            options.excludeType[type] = true;
        }
    }
    if (args.has("svpb-prematurity") || args.flag("svpb-compensatory")) {
        const double percent
            = args.doubleValue("svpb-prematurity", kDefaultSvpbPrematurityPercent, 0.0, 100.0);
        options.svpbUserDefined = true;
        options.svpbPrematurityRatio = prematurityRatioOfPercent(percent);
        options.svpbCompensatory = args.flag("svpb-compensatory");
    }
    return options;
}

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

const QStringList kProcessValueOptions = { "exclude", "svpb-prematurity" };
const QStringList kProcessFlags = { "svpb-compensatory", "literal-rules" };

} // namespace

int runProcess(CliContext& ctx, const QStringList& argv)
{
    Args args(argv, kProcessValueOptions, kProcessFlags);
    args.expectPositionals(1, 1, "study ID");
    const int id = parseStudyId(args.positionals()[0]);
    const ProcessingOptions options = processingOptions(args);
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
    const ProcessingOptions options = processingOptions(args);

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
        writeStudyReport(ctx, id, ReportOptions(), args.value("pdf"));
    return 0;
}
