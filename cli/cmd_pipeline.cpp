#include "analysis/studyprocessor.h"
#include "cli/args.h"
#include "cli/commands.h"
#include "cli/importsource.h"
#include "cli/interrupt.h"
#include "cli/reportcommand.h"
#include "store/beatlist.h"
#include "store/study.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThreadPool>
#include <QTimer>

#include <cmath>
#include <exception>
#include <stdexcept>
#include <string>

namespace {

// How often the event loop looks at the Ctrl-C flag, which a signal handler can only set.
constexpr int kInterruptPollMs = 50;

// The user's labelling choices: "--exclude V,F,S,U" turns classes of those types into N, and
// either SVPB option switches to the user's prematurity rule (20 % unless given).
ProcessingOptions processingOptions(const Args& args)
{
    ProcessingOptions options;
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

enum class Outcome { Done, Cancelled, Failed };

// Runs the processor on a pool thread and waits in an event loop, as the main window does:
// progress goes to stderr, Ctrl-C cancels. A reader's exception is caught on the pool thread
// and thrown again here.
Outcome runProcessor(CliContext& ctx, Study* study, const ProcessingOptions& options)
{
    const CancelFlag* interrupted = interruptFlag();
    StudyProcessor processor(study);
    processor.setAutoDelete(false); // it lives on this stack, not in the pool
    processor.setOptions(options);

    QEventLoop loop;
    Outcome outcome = Outcome::Failed;
    std::string failure;
    QObject::connect(
        &processor, &StudyProcessor::progress, &loop,
        [&ctx](const QString& status, double percent) {
            ctx.progress(status, int(std::floor(std::min(percent, 100.0))));
        },
        Qt::QueuedConnection);
    QObject::connect(
        &processor, &StudyProcessor::done, &loop,
        [&] {
            outcome = Outcome::Done;
            loop.quit();
        },
        Qt::QueuedConnection);
    QObject::connect(
        &processor, &StudyProcessor::cancelled, &loop,
        [&] {
            outcome = Outcome::Cancelled;
            loop.quit();
        },
        Qt::QueuedConnection);
    QTimer poll;
    poll.setInterval(kInterruptPollMs);
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (interrupted->load() && !processor.isCancelRequested()) {
            processor.cancel();
            poll.stop();
        }
    });
    poll.start();

    QThreadPool::globalInstance()->start([&] {
        try {
            processor.run();
            return;
        } catch (const std::exception& e) {
            failure = e.what();
        } catch (...) {
            failure = "processing failed";
        }
        QMetaObject::invokeMethod(&loop, "quit", Qt::QueuedConnection);
    });
    loop.exec();
    // run() may still be on its way out after the last signal.
    QThreadPool::globalInstance()->waitForDone();
    ctx.endProgress();
    if (!failure.empty())
        throw std::runtime_error(failure);
    return outcome;
}

// Processes an open study and settles it as the main window's handlers do: on done the status
// becomes "processed"; on a cancel the beat store is emptied and the status stays. Saves in both
// cases; throws after a cancel.
void processAndSettle(CliContext& ctx, OpenedStudy& study, const ProcessingOptions& options)
{
    const Outcome outcome = runProcessor(ctx, study.get(), options);
    if (outcome == Outcome::Done) {
        study->setProperty("status", "processed");
        study.save();
        return;
    }
    study->beats()->clear();
    study.save();
    throw std::runtime_error(QString("interrupted; processing of study %1 was cancelled and "
                                     "its beats were cleared")
                                 .arg(study->id())
                                 .toStdString());
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
const QStringList kProcessFlags = { "svpb-compensatory" };

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
