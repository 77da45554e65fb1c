// Runs all five processing stages (StudyProcessor) and then the results analyzers on every
// record of an MIT-BIH folder, writes one .test annotation file per record (N 1, V 5, S 9, F 6,
// U 13; noise entries left out; "(AFIB" and "(N" rhythm changes at the start and end of each AF
// episode of the results) and prints the EC57 beat comparison: QRS, VEB and SVEB per record and
// gross (first 5 min left out), then the AF episode comparison again for the records whose
// reference has AF.
// With --stages it prints instead, per record, the QRS counts after detection, after noise
// checking, classification, type assignment and additional noise removal: where real beats go.
//   mitdb_process_eval [--data DIR] [--keep DIR] [--json] [--stages] [RECORD...]

#include "analysis/memorybeatlist.h"
#include "analysis/studyprocessor.h"
#include "recorder/beatannotations.h"
#include "recorder/wfdbannotation.h"
#include "recorder/wfdbrecord.h"
#include "results/analysisparams.h"
#include "results/resultsdriver.h"
#include "store/study.h"
#include "tools/evaluation/evaluationreport.h"
#include "tools/evaluation/recordevaluation.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <memory>

namespace {

// The beat list as it stands when each later stage starts, and at the end.
using StageSnapshots = std::vector<std::vector<Beat>>;

// Processes one record in memory, computes its results and returns its labelled beats and AF
// episodes as annotations.
QVector<WfdbAnnotation> processRecord(const QString& recordPath, StageSnapshots* stages = nullptr)
{
    Study study;
    auto raw = std::make_unique<WfdbSource>(recordPath);
    const double rate = raw->samplingRate();
    study.setSignal(std::move(raw));
    auto list = std::make_unique<MemoryBeatList>();
    MemoryBeatList* beats = list.get();
    study.setBeats(std::move(list));
    StudyProcessor processor(&study);
    processor.setAutoDelete(false);
    bool finished = false;
    QObject::connect(&processor, &StudyProcessor::done, [&finished] { finished = true; });
    if (stages) {
        // run() emits on this thread, so the list is read between two stages.
        QObject::connect(&processor, &StudyProcessor::progress,
            [stages, beats, last = QString()](const QString& status, double) mutable {
                if (status != last && !last.isEmpty())
                    stages->push_back(beats->beats());
                last = status;
            });
    }
    processor.run();
    if (!finished)
        throw std::runtime_error("processing did not finish: " + recordPath.toStdString());
    if (stages)
        stages->push_back(beats->beats());

    computeStudyResults(study, AnalysisParams(), true);
    return beatAnnotations(*beats, &study.results(), rate);
}

// QRS TP/FN/FP of each snapshot against the record's reference.
void printStages(const QString& rec, const QString& refPath, const QString& outDir,
    const StageSnapshots& stages, double rate, const EvaluationOptions& options,
    std::vector<DetectionCounts>& gross)
{
    std::printf("%-6s", qPrintable(rec));
    gross.resize(std::max(gross.size(), stages.size()));
    for (size_t i = 0; i < stages.size(); ++i) {
        MemoryBeatList list;
        for (const Beat& b : stages[i])
            list.append(b);
        const QString path = QDir(outDir).filePath(rec + ".stage" + QString::number(i));
        writeWfdbAnnotations(path, beatAnnotations(list, nullptr, rate));
        const DetectionCounts q = evaluateRecord(refPath, path, options).beats.qrs();
        gross[i].tp += q.tp;
        gross[i].fn += q.fn;
        gross[i].fp += q.fp;
        std::printf(" | %6lld %4lld %4lld", q.tp, q.fn, q.fp);
    }
    std::printf("\n");
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    QString dataDir = QDir(app.applicationDirPath()).filePath("../../../shared/data/mitdb");
    if (!QDir(dataDir).exists())
        dataDir = "/work/shared/data/mitdb";
    QString keepDir;
    bool json = false;
    bool stagesOnly = false;
    QStringList records;
    for (int i = 0; i < args.size(); ++i) {
        if (args[i] == "--data" && i + 1 < args.size())
            dataDir = args[++i];
        else if (args[i] == "--keep" && i + 1 < args.size())
            keepDir = args[++i];
        else if (args[i] == "--json")
            json = true;
        else if (args[i] == "--stages")
            stagesOnly = true;
        else
            records << args[i];
    }
    QDir data(dataDir);
    if (records.isEmpty())
        for (const QString& f : data.entryList({ "*.atr" }, QDir::Files, QDir::Name))
            records << f.chopped(4);
    if (records.isEmpty()) {
        std::fprintf(stderr, "no records (*.atr) in %s\n", qPrintable(dataDir));
        return 1;
    }

    QTemporaryDir temp;
    const QString outDir = keepDir.isEmpty() ? temp.path() : keepDir;
    QDir().mkpath(outDir);
    QTextStream out(stdout);
    EvaluationOptions options;
    QVector<RecordEvaluation> results;
    if (stagesOnly) {
        std::printf(
            "QRS TP FN FP after: detection | noise checking | classification | type assignment | "
            "additional noise removal\n");
        std::vector<DetectionCounts> gross;
        try {
            for (const QString& rec : records) {
                StageSnapshots stages;
                const QString path = data.filePath(rec);
                processRecord(path, &stages);
                printStages(rec, path + ".atr", outDir, stages, WfdbSource(path).samplingRate(),
                    options, gross);
            }
        } catch (const std::exception& e) {
            std::fprintf(stderr, "%s\n", e.what());
            return 1;
        }
        std::printf("Gross ");
        for (const DetectionCounts& q : gross)
            std::printf(" | %6lld %4lld %4lld", q.tp, q.fn, q.fp);
        std::printf("\n");
        return 0;
    }
    try {
        for (const QString& rec : records) {
            std::fprintf(stderr, "%s\n", qPrintable(rec));
            const QString testPath = QDir(outDir).filePath(rec + ".test");
            writeWfdbAnnotations(testPath, processRecord(data.filePath(rec)));
            results.push_back(evaluateRecord(data.filePath(rec + ".atr"), testPath, options));
        }
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    if (json) {
        out << QJsonDocument(evaluationJson(results, options)).toJson(QJsonDocument::Indented);
        return 0;
    }
    out << formatEvaluationTables(results, options);
    QVector<RecordEvaluation> withAf;
    for (const RecordEvaluation& r : results)
        if (r.af.referenceEpisodes > 0)
            withAf << r;
    if (!withAf.isEmpty()) {
        // Only the AF table of the harness's report, over the records with AF.
        const QString text = formatEvaluationTables(withAf, options);
        const int at = text.indexOf("Atrial fibrillation episodes");
        out << "\nRecords with AF in the reference, after processing and results:\n"
            << text.mid(std::max(at, 0));
    }
    return 0;
}
