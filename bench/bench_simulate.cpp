// Simulates a whole recording from the default script into a temporary folder and prints the
// wall time and the peak resident memory. Goal: 24 hours in 30 s or less.
//   bench_simulate [hours [outdir]]
#include "tools/simulator.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <sys/resource.h>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    double hours = 24.0;
    if (argc > 1 && (hours = QString(argv[1]).toDouble()) <= 0.0) {
        std::fprintf(stderr, "usage: bench_simulate [hours]\n");
        return 2;
    }
    QTemporaryDir dir;
    if (!dir.isValid()) {
        std::fprintf(stderr, "cannot create a temporary folder\n");
        return 1;
    }
    try {
        SimulatorScript script = parseSimulatorScript(defaultSimulatorScript(), "default");
        script.hours = hours;
        QElapsedTimer timer;
        timer.start();
        Simulator simulator(script, 1);
        simulator.writeAll(argc > 2 ? QString(argv[2]) : dir.path(), 512);
        const double seconds = timer.elapsed() / 1000.0;
        struct rusage usage = {};
        getrusage(RUSAGE_SELF, &usage);
        std::printf(
            "simulate %.1f h: %.2f s wall (goal <= %.0f s), peak RSS %.1f MB, card %.1f MB, "
            "%lld blocks\n",
            hours, seconds, 30.0 * hours / 24.0, usage.ru_maxrss / 1024.0,
            QFileInfo((argc > 2 ? QString(argv[2]) : dir.path()) + "/HECG.VTF").size() / 1048576.0,
            static_cast<long long>(simulator.blockCount()));
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench_simulate: %s\n", e.what());
        return 1;
    }
    return 0;
}
