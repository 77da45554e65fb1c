// The whole Holter report of a processed synthetic day: every section, three marked strips and
// two full-disclosure pages, printed to PDF. Goal: at most 5 s for the report.
//   bench_report [hours] [out.pdf]   (default: 24 h, a temporary file)

#include "benchutil.h"
#include "report/tholterreport.h"
#include "results/analysisparams.h"
#include "results/resultsdriver.h"
#include "tests/report/holterreportstudy.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const double hours = argc > 1 ? std::atof(argv[1]) : 24.0;
    QTemporaryDir tmp;
    const QString pdf = argc > 2 ? QString::fromLocal8Bit(argv[2]) : tmp.filePath("report.pdf");

    auto study = reportstudy::makeStudy(hours * 3600.0);
    bench::Stopwatch results;
    computeStudyResults(*study, AnalysisParams(), false); // adds the two heart-rate strips
    const double resultsSeconds = results.seconds();
    StudyEvent& strip = study->events().add();
    strip.position = hours * 3600.0 * 0.4;
    strip.description = "Palpitaciones";
    strip.print = true;
    for (double at : { 0.1, 0.8 }) {
        StudyEvent& e = study->events().add();
        e.position = hours * 3600.0 * at;
        e.description = "Full disclosure";
        e.print = true;
        e.printLength = 300;
    }

    THolterReport report(study.get());
    report.setLineNotchFilter(true);
    report.setMuscleNoiseFilter(true);
    report.setBaselineFilter(true);
    int pages = 0;
    QObject::connect(&report, &THolterReport::progress, [&](int, int total) { pages = total; });
    bench::Stopwatch timer;
    try {
        report.run(pdf);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench_report: %s\n", e.what());
        return 1;
    }
    const double seconds = timer.seconds();
    std::printf("report of %.0f h: %d pages, %d strips, %d full-disclosure pages, %.0f kB\n", hours,
        pages, report.stripEvents().size(), report.compressedEvents().size(),
        QFileInfo(pdf).size() / 1024.0);
    std::printf("  results (not part of the goal): %.2f s\n", resultsSeconds);
    std::printf(
        "  report to PDF: %.2f s (goal <= 5 s) %s\n", seconds, seconds <= 5.0 ? "ok" : "SLOW");
    std::printf("  peak memory: %.0f MB\n", bench::peakRssMb());
    return 0;
}
