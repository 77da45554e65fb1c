#include "cli/args.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "tools/simulator.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

int runSimulate(CliContext& ctx, const QStringList& argv)
{
    Args args(argv, { "hours", "seed", "script", "preamble" }, { "force" });
    args.expectPositionals(1, 1, "output folder OUTDIR");
    const QString outDir = args.positionals()[0];

    bool ok = true;
    const quint64 seed = args.value("seed", "1").toULongLong(&ok);
    if (!ok)
        throw UsageError(QString("option '--seed' needs a whole number from 0 to 2^64-1, not '%1'")
                             .arg(args.value("seed")));
    // A preamble of 2 to 12000 bytes (even) reads back; 0 and odd lengths make faulty cards
    // on purpose.
    const int preamble = args.intValue("preamble", 512, 0, 12000);

    SimulatorScript script;
    if (args.has("script")) {
        const QString path = args.value("script");
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
            throw std::runtime_error(
                QString("Cannot read script %1: %2").arg(path, file.errorString()).toStdString());
        script = parseSimulatorScript(QString::fromUtf8(file.readAll()), path);
    } else {
        script = parseSimulatorScript(defaultSimulatorScript(), "default script");
    }
    if (args.has("hours"))
        setSimulationHours(script, args.doubleValue("hours", script.hours, 0.01, 72.0));

    const QString card = QDir(outDir).filePath("HECG.VTF");
    if (QFileInfo::exists(card) && !args.flag("force"))
        throw std::runtime_error(
            QString("%1 exists; use --force to replace it").arg(card).toStdString());

    Simulator simulator(script, seed);
    CliProgress progress(ctx, "Simulating");
    try {
        simulator.writeAll(outDir, preamble, &progress, interruptFlag());
    } catch (const std::exception&) {
        ctx.endProgress();
        throw;
    }
    ctx.endProgress();
    ctx.out() << "wrote " << QDir::toNativeSeparators(card) << " (" << simulator.blockCount()
              << " blocks, " << script.hours << " h, seed " << seed << ")\n";
    return 0;
}
