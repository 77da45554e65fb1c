// Runs beat detection on every record of an MIT-BIH folder, writes one .test annotation file
// per record to a temporary folder and prints the EC57 beat comparison (first 5 min left out).
//   mitdb_detect_eval [--data DIR] [--keep DIR] [--list RECORD] [RECORD...]
// --list prints, for one record, the missed and extra beats with what the list held nearby.

#include "analysis/memorybeatlist.h"
#include "analysis/resampledsource.h"
#include "analysis/waveletbank.h"
#include "analysis/waveletbeatdetector.h"
#include "recorder/wfdbannotation.h"
#include "recorder/wfdbrecord.h"
#include "tools/evaluation/evaluationreport.h"
#include "tools/evaluation/recordevaluation.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTextStream>

#include <cmath>
#include <cstdio>
#include <exception>

namespace {

// Detects one record and returns the list with every entry, beats and noise.
std::vector<Beat> detect(const QString& recordPath, double& rate)
{
    WfdbSource raw(recordPath);
    rate = raw.samplingRate();
    ResampledSource source(&raw, 250);
    WaveletBank bank(&source);
    MemoryBeatList beats;
    WaveletBeatDetector detector(&bank, &beats);
    detector.init(&source, 0.0, 0.0, -1);
    const double duration = double(source.sampleCount()) / source.samplingRate();
    while (detector.currentTime() < duration)
        detector.processBlock();
    detector.finish();
    return beats.beats();
}

QVector<WfdbAnnotation> toAnnotations(const std::vector<Beat>& beats, double rate)
{
    QVector<WfdbAnnotation> out;
    for (const Beat& b : beats) {
        if (!b.isBeat)
            continue;
        WfdbAnnotation a;
        a.sample = qint64(std::llround(b.timing[Beat::RTime] * rate));
        a.code = 1; // N: only detection is scored here
        out.push_back(a);
    }
    return out;
}

bool isBeatCode(int code)
{
    return aamiClassOfCode(code).has_value();
}

// Missed reference beats and extra test beats after the learning period, by nearest match.
void listDifferences(const QVector<WfdbAnnotation>& ref, const std::vector<Beat>& beats,
    double rate, QTextStream& out)
{
    std::vector<double> refTimes;
    for (const WfdbAnnotation& a : ref)
        if (isBeatCode(a.code))
            refTimes.push_back(double(a.sample) / rate);
    auto nearestEntry = [&](double t) -> const Beat* {
        const Beat* best = nullptr;
        for (const Beat& b : beats)
            if (!best || std::fabs(b.timing[0] - t) < std::fabs(best->timing[0] - t))
                best = &b;
        return best;
    };
    for (double t : refTimes) {
        if (t < 300.0)
            continue;
        const Beat* b = nearestEntry(t);
        const bool matched = b && b->isBeat && std::fabs(b->timing[0] - t) <= 0.15;
        if (matched)
            continue;
        out << QString("FN %1").arg(t, 0, 'f', 3);
        if (b)
            out << QString("  nearest entry %1 at %2 isBeat %3 share %4")
                       .arg(b->index)
                       .arg(b->timing[0], 0, 'f', 3)
                       .arg(b->isBeat)
                       .arg(b->timing[3]);
        out << '\n';
    }
    for (const Beat& b : beats) {
        if (!b.isBeat || b.timing[0] < 300.0)
            continue;
        bool matched = false;
        for (double t : refTimes)
            if (std::fabs(t - b.timing[0]) <= 0.15) {
                matched = true;
                break;
            }
        if (!matched) {
            out << QString("FP %1 entry %2 rr %3 median %4 share %5 qrs")
                       .arg(b.timing[0], 0, 'f', 3)
                       .arg(b.index)
                       .arg(b.timing[1], 0, 'f', 3)
                       .arg(b.timing[2], 0, 'f', 3)
                       .arg(b.timing[3]);
            for (int ch = 0; ch < b.channelCount(); ++ch)
                out << ' ' << b.measure[ch][Beat::QrsPolarity] << "/p"
                    << b.measure[ch][Beat::PPolarity] << "/t" << b.measure[ch][Beat::TPolarity];
            out << '\n';
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    QString dataDir = QDir(app.applicationDirPath()).filePath("../../../shared/data/mitdb");
    if (!QDir(dataDir).exists())
        dataDir = "/work/shared/data/mitdb";
    QString keepDir, listRecord;
    QStringList records;
    for (int i = 0; i < args.size(); ++i) {
        if (args[i] == "--data" && i + 1 < args.size())
            dataDir = args[++i];
        else if (args[i] == "--keep" && i + 1 < args.size())
            keepDir = args[++i];
        else if (args[i] == "--list" && i + 1 < args.size())
            listRecord = args[++i];
        else
            records << args[i];
    }
    QDir data(dataDir);
    if (records.isEmpty())
        for (const QString& f : data.entryList({ "*.atr" }, QDir::Files, QDir::Name))
            records << f.chopped(4);
    if (!listRecord.isEmpty())
        records = QStringList { listRecord };

    QTemporaryDir temp;
    const QString outDir = keepDir.isEmpty() ? temp.path() : keepDir;
    QDir().mkpath(outDir);
    QTextStream out(stdout);
    EvaluationOptions options;
    QVector<RecordEvaluation> results;
    try {
        for (const QString& rec : records) {
            double rate = 0.0;
            const std::vector<Beat> beats = detect(data.filePath(rec), rate);
            const QString testPath = QDir(outDir).filePath(rec + ".test");
            writeWfdbAnnotations(testPath, toAnnotations(beats, rate));
            const QString refPath = data.filePath(rec + ".atr");
            results.push_back(evaluateRecord(refPath, testPath, options));
            if (!listRecord.isEmpty())
                listDifferences(readWfdbAnnotations(refPath), beats, rate, out);
        }
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    out << formatEvaluationTables(results, options);
    return 0;
}
