#include "cli/args.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "recorder/beatannotations.h"
#include "recorder/edfexport.h"
#include "recorder/wfdbexport.h"
#include "recorder/wfdbannotation.h"
#include "store/beatlist.h"
#include "store/resultset.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "store/studyrepository.h"

#include <QDir>
#include <QSaveFile>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// "time_s<TAB>rr_s" then one line per beat; the first beat has no interval ("-").
void writeRr(const QString& path, const std::vector<double>& rTimes)
{
    QByteArray text = "time_s\trr_s\n";
    for (size_t i = 0; i < rTimes.size(); ++i) {
        text += QByteArray::number(rTimes[i], 'f', 4) + '\t';
        text += i == 0 ? QByteArray("-") : QByteArray::number(rTimes[i] - rTimes[i - 1], 'f', 4);
        text += '\n';
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit())
        throw std::runtime_error(
            QString("Cannot write %1").arg(QDir::toNativeSeparators(path)).toStdString());
}

} // namespace

int runExport(CliContext& ctx, const QStringList& argv)
{
    Args args(argv, { "annotations", "fs", "rr", "edf", "wfdb", "wfdb-format" }, {});
    args.expectPositionals(1, 1, "study ID");
    const int id = parseStudyId(args.positionals()[0]);
    if (!args.has("annotations") && !args.has("rr") && !args.has("edf") && !args.has("wfdb"))
        throw UsageError("export needs --annotations FILE, --rr FILE, --edf FILE and/or "
                         "--wfdb RECORD");
    // Checked before the study is touched, so a mistake costs nothing.
    const double fsOption = args.doubleValue("fs", 0.0, 1.0, 1e6);
    const int wfdbFormat = args.intValue("wfdb-format", 16, 16, 212);
    if (wfdbFormat != 16 && wfdbFormat != 212)
        throw UsageError("'--wfdb-format' is 16 or 212");
    if (args.has("wfdb-format") && !args.has("wfdb"))
        throw UsageError("'--wfdb-format' goes with '--wfdb RECORD'");

    QVector<WfdbAnnotation> annotations;
    std::vector<double> rTimes; // seconds, of the real beats
    {
        OpenedStudy study(ctx, id);
        if (args.has("edf")) {
            CliProgress progress(ctx, "Writing EDF+");
            exportStudyEdf(*study.get(), args.value("edf"), &progress, interruptFlag());
            ctx.endProgress();
        }
        if (args.has("wfdb")) {
            CliProgress progress(ctx, "Writing WFDB record");
            exportStudyWfdb(*study.get(), args.value("wfdb"), wfdbFormat, &progress,
                interruptFlag());
            ctx.endProgress();
        }
        const double fs = fsOption > 0.0 ? fsOption : study->signal()->samplingRate();
        annotations = beatAnnotations(*study->beats(), &study->results(), fs);
        // Exact times for the RR table, not the annotation samples.
        Beat b;
        for (int i = 0; i < study->beats()->count(); ++i)
            if (study->beats()->get(i, b) && b.isBeat)
                rTimes.push_back(
                    b.hasTiming(Beat::RTime) ? b.timing[Beat::RTime] : b.windowStart + 0.2);
    }
    if (args.has("annotations"))
        writeWfdbAnnotations(args.value("annotations"), annotations);
    if (args.has("rr"))
        writeRr(args.value("rr"), rTimes);
    return 0;
}
