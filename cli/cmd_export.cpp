#include "cli/args.h"
#include "cli/commands.h"
#include "recorder/wfdbannotation.h"
#include "results/model/resultset.h"
#include "store/beatlist.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "store/studyrepository.h"

#include <QDir>
#include <QSaveFile>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// WFDB beat codes of our beat types; an unknown type is exported as unclassifiable.
int wfdbCode(int type)
{
    switch (type) {
    case BeatN:
        return 1;
    case BeatV:
        return 5;
    case BeatS:
        return 9;
    case BeatF:
        return 6;
    default:
        return 13;
    }
}

struct ExportedBeat
{
    double rTime; // seconds from the start of the recording
    int type;
};

// The real beats in time order; noise entries are not beats.
std::vector<ExportedBeat> collectBeats(BeatList& beats)
{
    std::vector<ExportedBeat> out;
    Beat b;
    for (int i = 0; i < beats.count(); ++i) {
        if (!beats.get(i, b) || !b.isBeat)
            continue;
        // The R instant; a beat without one sits 0.2 s into its window.
        const double r = b.hasTiming(Beat::RTime) ? b.timing[Beat::RTime] : b.windowStart + 0.2;
        out.push_back({ r, b.type });
    }
    return out;
}

struct AfInterval
{
    double start; // seconds from the start of the recording
    double end;
};

// The AF episodes of the study's results; none when the results were never computed.
std::vector<AfInterval> collectAf(const ResultSet& results)
{
    std::vector<AfInterval> out;
    if (const auto* list = results.findAs<EventListResult>("afib/afibEvents"))
        for (const EventResult& e : list->events)
            out.push_back({ e.timestamp, e.timestamp + e.duration });
    return out;
}

qint64 toSample(double seconds, double fs)
{
    return std::max<qint64>(0, std::llround(seconds * fs));
}

void writeAnnotations(const QString& path, const std::vector<ExportedBeat>& beats,
    const std::vector<AfInterval>& af, double fs)
{
    QVector<WfdbAnnotation> annotations;
    annotations.reserve(int(beats.size() + 2 * af.size()));
    // Rhythm changes go first, so that one on a beat's sample precedes the beat, as the rhythm
    // it announces includes that beat.
    const auto rhythm = [fs](double seconds, const char* aux) {
        WfdbAnnotation a;
        a.sample = toSample(seconds, fs);
        a.code = 28;
        a.aux = aux;
        return a;
    };
    for (const AfInterval& e : af)
        annotations << rhythm(e.start, "(AFIB") << rhythm(e.end, "(N");
    for (const ExportedBeat& b : beats) {
        WfdbAnnotation a;
        a.sample = toSample(b.rTime, fs);
        a.code = wfdbCode(b.type);
        annotations << a;
    }
    std::stable_sort(annotations.begin(), annotations.end(),
        [](const WfdbAnnotation& x, const WfdbAnnotation& y) { return x.sample < y.sample; });
    writeWfdbAnnotations(path, annotations);
}

// "time_s<TAB>rr_s" then one line per beat; the first beat has no interval ("-").
void writeRr(const QString& path, const std::vector<ExportedBeat>& beats)
{
    QByteArray text = "time_s\trr_s\n";
    for (size_t i = 0; i < beats.size(); ++i) {
        text += QByteArray::number(beats[i].rTime, 'f', 4) + '\t';
        text += i == 0 ? QByteArray("-")
                       : QByteArray::number(beats[i].rTime - beats[i - 1].rTime, 'f', 4);
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

    std::vector<ExportedBeat> beats;
    std::vector<AfInterval> af;
    double fs = fsOption;
    {
        OpenedStudy study(ctx, id);
        beats = collectBeats(*study->beats());
        af = collectAf(study->results());
        if (fs <= 0.0)
            fs = study->signal()->samplingRate();
    }

    if (args.has("annotations"))
        writeAnnotations(args.value("annotations"), beats, af, fs);
    if (args.has("rr"))
        writeRr(args.value("rr"), beats);
    return 0;
}
