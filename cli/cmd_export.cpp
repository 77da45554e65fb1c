#include "cli/args.h"
#include "cli/commands.h"
#include "recorder/beatannotations.h"
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
    Args args(argv, { "annotations", "fs", "rr" }, {});
    args.expectPositionals(1, 1, "study ID");
    const int id = parseStudyId(args.positionals()[0]);
    if (!args.has("annotations") && !args.has("rr"))
        throw UsageError("export needs --annotations FILE and/or --rr FILE");
    // Checked before the study is touched, so a mistake costs nothing.
    const double fsOption = args.doubleValue("fs", 0.0, 1.0, 1e6);

    QVector<WfdbAnnotation> annotations;
    std::vector<double> rTimes; // seconds, of the real beats
    {
        OpenedStudy study(ctx, id);
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
