// All results of a simulated day: the card is simulated, imported and processed untimed, the
// study saved, closed and opened again, so that the beats come from the study's beats file on
// disk as they do when the review window opens a processed study. Then the results driver runs
// over it with every analyzer (AF included) and its results move into the study; that is timed.
// Prints the wall time, the beats analysed, the keys stored and the peak resident memory.
//   bench_results [hours [card-folder]]   (default 24 h; goal for 24 h: <= 2 s)
// A card folder that already holds HECG.VTF is used as it is; otherwise one is simulated.

#include "analysis/studyprocessor.h"
#include "benchstudy.h"
#include "benchutil.h"
#include "results/resultsdriver.h"
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

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir temp;
    double hours = 0.0;
    QString card;
    if (const int status = bench::startDay(argc, argv, "bench_results", temp, hours, card))
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
        StudyProcessor processor(study);
        processor.setAutoDelete(false);
        bool done = false;
        QObject::connect(&processor, &StudyProcessor::done, [&done] { done = true; });
        processor.run();
        if (!done) {
            std::fprintf(stderr, "processing did not finish\n");
            return 1;
        }
        repo.saveStudy(study);
        repo.closeStudy(study);

        study = repo.openStudy(id);
        if (!study || !study->beats()) {
            std::fprintf(stderr, "the processed study cannot be opened again\n");
            return 1;
        }
        int beats = 0;
        {
            Beat b;
            for (int i = 0; i < study->beats()->count(); ++i)
                beats += study->beats()->get(i, b) && b.isBeat;
        }

        const bool peakReset = bench::resetPeakRss();
        bench::Stopwatch watch;
        ResultsDriver driver;
        driver.run(*study->beats(), true);
        const int keys = driver.moveResults(study->results(), true);
        const double seconds = watch.seconds();
        const double peak = bench::peakRssMb();

        std::printf("results %.1f h, all analyzers with AF over the beats file: %.2f s wall "
                    "(goal <= %.1f s), peak RSS %.1f MB%s, %d beats, %d list entries, "
                    "%d keys\n",
            hours, seconds, 2.0 * hours / 24.0, peak,
            peakReset ? " during the run" : " of the whole process", beats, study->beats()->count(),
            keys);
        repo.closeStudy(study);
        return 0;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
