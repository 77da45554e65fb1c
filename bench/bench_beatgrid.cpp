// The review's beat grids on a simulated day of three leads at 500 Hz, imported and processed
// as the workstation does: building the class list from the beats, a page of 60 beat
// thumbnails fully drawn (goal <= 100 ms) at random places of the day, the page of the largest
// class (160 cells), the class page of the normal classes and a page of overlap cells.
//   bench_beatgrid [hours [card-folder]]   (default 24 h)

#include "analysis/displayfilterchain.h"
#include "analysis/studyprocessor.h"
#include "benchstudy.h"
#include "benchutil.h"
#include "review/qbeatclassdisplay.h"
#include "review/qbeatgriddisplay.h"
#include "review/qbeatoverlapdisplay.h"
#include "store/beatclass.h"
#include "store/beatlist.h"
#include "store/signalsource.h"
#include "store/study.h"

#include <QApplication>
#include <QPixmap>

#include <algorithm>
#include <cstdio>
#include <random>
#include <vector>

namespace {

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v.empty() ? 0.0 : v[v.size() / 2];
}

// Milliseconds from now until every thumbnail of the grid's page is drawn, the timer driving.
double drawPage(QBeatCellDisplay& grid)
{
    bench::Stopwatch t;
    grid.page();
    while (grid.thumbnailsPending()) {
        grid.page();
        QApplication::processEvents();
    }
    return t.seconds() * 1000.0;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir temp;
    double hours = 0.0;
    QString card;
    if (const int status = bench::startDay(argc, argv, "bench_beatgrid", temp, hours, card))
        return status;
    try {
        const std::unique_ptr<StudyRepository> store = bench::openStore(temp.filePath("store"));
        const int id = bench::importSimulatedDay(*store, card, hours);
        Study* study = store->openStudy(id);
        if (!study || !study->signal() || !study->beats()) {
            std::fprintf(stderr, "the imported study cannot be opened\n");
            return 1;
        }
        std::fprintf(stderr, "bench_beatgrid: processing %.0f h...\n", hours);
        StudyProcessor processor(study);
        processor.setAutoDelete(false);
        processor.run();
        BeatList* beats = study->beats();

        bench::Stopwatch classTime;
        std::unique_ptr<BeatClassSet> classes
            = QBeatClassDisplay::classesOf(study->signal(), beats);
        const double classMs = classTime.seconds() * 1000.0;
        int largest = -1;
        size_t largestSize = 0;
        for (const auto& kv : classes->classes()) {
            if (kv.second->type == BeatN && kv.second->members.size() > largestSize) {
                largest = kv.first;
                largestSize = kv.second->members.size();
            }
        }

        DisplayFilterChain filter(study->signal());
        filter.configure(true, true, true);
        QBeatGridDisplay grid;
        grid.setSignal(filter.output());
        grid.setBeats(beats);
        grid.setClasses(classes.get());
        grid.resize(820, 480);
        grid.show();
        QApplication::processEvents();

        // Pages of 41 to 60 normal beats at random places: 40 s hold about 50 at rest.
        std::mt19937 random(11);
        std::uniform_real_distribution<double> anywhere(0.0, hours * 3600.0 - 60.0);
        std::vector<double> pages;
        int cells = 0;
        while (pages.size() < 20) {
            grid.showInterval(anywhere(random), 40.0, BeatN);
            if (grid.beatIds().size() <= 40 || grid.beatIds().size() > 60)
                continue;
            pages.push_back(drawPage(grid));
            cells += grid.beatIds().size();
        }
        grid.showClasses({ largest });
        const double largestMs = drawPage(grid);
        const int largestCells = std::min(grid.rows() * grid.columns(), grid.beatIds().size());

        QBeatClassDisplay classDisplay;
        classDisplay.setClasses(classes.get());
        classDisplay.resize(820, 420);
        classDisplay.show();
        classDisplay.setDisplayType(BeatN, false);
        const double classPageMs = drawPage(classDisplay);

        QBeatOverlapDisplay overlap;
        overlap.setSignal(study->signal());
        overlap.setBeats(beats);
        overlap.resize(720, 440);
        overlap.show();
        overlap.setInterval(120);
        const double overlapMs = drawPage(overlap);

        std::printf("beat grids on %.0f h, 3 leads at %d Hz: %d entries, %d classes\n", hours,
            study->signal()->samplingRate(), beats->count(), classes->classCount());
        std::printf("  class list from the beats: %.0f ms\n", classMs);
        std::printf("  page of 60 (41..60 beats, mean %.0f) fully drawn: median %.1f ms, worst "
                    "%.1f ms over %zu pages (goal <= 100 ms) %s\n",
            double(cells) / pages.size(), median(pages),
            *std::max_element(pages.begin(), pages.end()), pages.size(),
            median(pages) <= 100.0 ? "ok" : "SLOW");
        std::printf("  largest normal class (%zu beats), page of %d: %.1f ms\n", largestSize,
            largestCells, largestMs);
        std::printf(
            "  class page, %d normal classes (mean shape of up to 200 beats each): %.1f ms\n",
            std::min(40, int(classDisplay.classIds().size())), classPageMs);
        std::printf("  overlap page of 30 cells x 120 s: %.1f ms\n", overlapMs);
        std::printf("  peak memory %.0f MB\n", bench::peakRssMb());
        store->closeStudy(study);
        return 0;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench_beatgrid: %s\n", e.what());
        return 1;
    }
}
