// All five processing stages (StudyProcessor) over a simulated 3-channel card imported into a
// temporary store, as the workstation processes a downloaded study: the beats are written to
// the study's beats file. Prints the wall time of each stage and of the whole run, the beats
// found and the peak resident memory of the processing alone.
//   bench_process [hours [card-folder]] [--literal-rules]   (default 24 h; goal for 24 h: <= 10 s,
//   <= 300 MB); --literal-rules runs the type rules without the label refinement
// A card folder that already holds HECG.VTF is used as it is; otherwise one is simulated.

#include "analysis/studyprocessor.h"
#include "benchstudy.h"
#include "benchutil.h"
#include "store/beatlist.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "tools/simulator.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <exception>
#include <map>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    // "--literal-rules" anywhere: the type rules alone, to see what the label refinement costs.
    bool literal = false;
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        if (QByteArray(argv[i]) == "--literal-rules")
            literal = true;
        else
            argv[kept++] = argv[i];
    }
    argc = kept;
    QTemporaryDir temp;
    double hours = 0.0;
    QString card;
    if (const int status = bench::startDay(argc, argv, "bench_process", temp, hours, card))
        return status;
    try {
        const std::unique_ptr<StudyRepository> store = bench::openStore(temp.filePath("store"));
        StudyRepository& repo = *store;
        const int id = bench::importSimulatedDay(repo, card, hours);
        Study* study = repo.openStudy(id);
        if (!study || !study->signal() || !study->beats()) {
            std::fprintf(stderr, "the imported study cannot be opened\n");
            return 1;
        }

        const bool peakReset = bench::resetPeakRss();
        StudyProcessor processor(study);
        processor.setAutoDelete(false);
        ProcessingOptions options;
        options.literalRules = literal;
        processor.setOptions(options);
        // Wall time per stage, from its first progress to the next stage's.
        std::map<QString, double> stageSeconds;
        QString current;
        bench::Stopwatch total;
        double stageStart = 0.0;
        QObject::connect(&processor, &StudyProcessor::progress, [&](const QString& status, double) {
            if (status == current)
                return;
            const double now = total.seconds();
            if (!current.isEmpty())
                stageSeconds[current] += now - stageStart;
            current = status;
            stageStart = now;
        });
        bool done = false;
        QObject::connect(&processor, &StudyProcessor::done, [&done] { done = true; });
        processor.run();
        const double seconds = total.seconds();
        stageSeconds[current] += seconds - stageStart;
        const double peak = bench::peakRssMb();

        int beats = 0, noise = 0;
        Beat b;
        for (int i = 0; i < study->beats()->count(); ++i)
            if (study->beats()->get(i, b))
                (b.isBeat ? beats : noise) += 1;
        for (const auto& kv : stageSeconds)
            std::printf("  %-48s %6.2f s\n", qPrintable(kv.first), kv.second);
        std::printf("process %.1f h, 3 channels%s: %.2f s wall (goal <= %.0f s), peak RSS %.1f MB%s "
                    "(goal <= 300 MB), %d beats, %d noise entries%s\n",
            hours, literal ? ", literal rules" : "", seconds, 10.0 * hours / 24.0, peak,
            peakReset ? " during processing" : " of the whole run", beats, noise,
            done ? "" : " - DID NOT FINISH");
        repo.closeStudy(study);
        return done ? 0 : 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
