// Compresses and decompresses a simulated recording (default 24 h, 3 channels, 500 Hz) with
// the vtecgz codec and reports the wall time, the compressed size as a share of the sample
// file and the peak resident memory of each direction; "xz -9" and "zstd -19" on the same
// file, measured in the same run, stand beside it when they are installed.
//
//   bench_ecgcodec [--hours H] [--dir DIR] [--no-others]

#include "bench/benchutil.h"
#include "store/ecgcompression.h"
#include "store/ecgfile.h"
#include "tools/simulator.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <cstdio>
#include <exception>
#include <vector>

namespace {

// The recording block by block from the simulator's default script, never held whole.
void writeRecording(const QString& path, double hours)
{
    SimulatorScript script = parseSimulatorScript(defaultSimulatorScript(), "default");
    setSimulationHours(script, hours);
    Simulator sim(script, 1);
    EcgFile f(path, 3, Simulator::kRate, EcgFile::kHeaderSize, true);
    f.setGainRange(-450.0, 450.0);
    f.writeHeader(QJsonObject { { "baseFilename", "BENCH" } }, QJsonObject());
    std::array<qint16, 3 * Simulator::kFrames> block;
    quint16 status = 0;
    while (sim.nextBlock(block, status)) {
        const qint16* ptrs[3] = { block.data(), block.data() + Simulator::kFrames,
            block.data() + 2 * Simulator::kFrames };
        f.appendChannels(ptrs, Simulator::kFrames);
    }
}

bool sameFiles(const QString& a, const QString& b)
{
    QFile fa(a), fb(b);
    if (!fa.open(QIODevice::ReadOnly) || !fb.open(QIODevice::ReadOnly) || fa.size() != fb.size())
        return false;
    while (!fa.atEnd())
        if (fa.read(1 << 20) != fb.read(1 << 20))
            return false;
    return true;
}

// One external compressor on the sample data: seconds and compressed bytes, or false.
bool runOther(const QString& program, const QStringList& args, const QString& input,
    const QString& output, double& seconds, qint64& bytes)
{
    const QString exe = QStandardPaths::findExecutable(program);
    if (exe.isEmpty())
        return false;
    QProcess p;
    p.setStandardInputFile(input);
    p.setStandardOutputFile(output);
    const bench::Stopwatch watch;
    p.start(exe, args);
    if (!p.waitForFinished(-1) || p.exitCode() != 0)
        return false;
    seconds = watch.seconds();
    bytes = QFileInfo(output).size();
    return true;
}

int run(const QString& dir, double hours, bool others)
{
    const QString source = dir + "/bench.vtecg";
    const QString packed = dir + "/bench.vtecgz";
    const QString restored = dir + "/restored.vtecg";
    const bench::Stopwatch simWatch;
    writeRecording(source, hours);
    const qint64 sampleBytes = QFileInfo(source).size() - EcgFile::kHeaderSize;
    std::printf("recording: %.1f h, 3 channels at 500 Hz, %.1f MB of samples (simulated in "
                "%.1f s)\n",
        hours, sampleBytes / 1e6, simWatch.seconds());

    bench::resetPeakRss();
    const bench::Stopwatch cWatch;
    if (!compressEcgFile(source, packed, nullptr)) {
        std::fprintf(stderr, "compression failed\n");
        return 1;
    }
    const double cSeconds = cWatch.seconds();
    const double cPeak = bench::peakRssMb();
    const qint64 packedBytes = QFileInfo(packed).size();

    bench::resetPeakRss();
    const bench::Stopwatch dWatch;
    if (!decompressEcgFile(packed, restored, nullptr)) {
        std::fprintf(stderr, "decompression failed\n");
        return 1;
    }
    const double dSeconds = dWatch.seconds();
    const double dPeak = bench::peakRssMb();
    const bool exact = sameFiles(source, restored);
    QFile::remove(restored);

    std::printf("| coder          | compress s | decompress s | size MB | share of samples | peak "
                "RSS MB |\n");
    std::printf("|----------------|------------|--------------|---------|------------------|--"
                "----------|\n");
    std::printf("| vtecgz         | %10.2f | %12.2f | %7.2f | %15.2f%% | %5.0f / %-4.0f|\n",
        cSeconds, dSeconds, packedBytes / 1e6, 100.0 * packedBytes / sampleBytes, cPeak, dPeak);
    std::fflush(stdout);

    if (others) {
        // The same bytes the codec reads: the sample data without the header.
        const QString samples = dir + "/bench.samples";
        {
            QFile in(source), out(samples);
            if (!in.open(QIODevice::ReadOnly) || !out.open(QIODevice::WriteOnly))
                return 1;
            in.seek(EcgFile::kHeaderSize);
            while (!in.atEnd())
                out.write(in.read(1 << 20));
        }
        const struct
        {
            const char* program;
            QStringList args;
        } coders[] = { { "xz", { "-9", "-c" } }, { "zstd", { "-19", "-c" } } };
        for (const auto& coder : coders) {
            double seconds = 0;
            qint64 bytes = 0;
            const QString label = QString("%1 %2").arg(coder.program, coder.args.first());
            if (runOther(coder.program, coder.args, samples, dir + "/other.out", seconds, bytes))
                std::printf("| %-14s | %10.2f | %12s | %7.2f | %15.2f%% | %10s |\n",
                    qPrintable(label), seconds, "-", bytes / 1e6, 100.0 * bytes / sampleBytes, "-");
            else
                std::printf("| %-14s | skipped: %s not installed or failed |\n", qPrintable(label),
                    coder.program);
            std::fflush(stdout);
            QFile::remove(dir + "/other.out");
        }
    }
    std::printf("round trip %s\n", exact ? "exact" : "DIFFERS");
    return exact ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    double hours = 24.0;
    bool others = true;
    QString dir;
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == "--hours" && i + 1 < args.size()) {
            bool ok = false;
            hours = args[++i].toDouble(&ok);
            if (!ok || hours <= 0 || hours > 72) {
                std::fprintf(stderr, "--hours wants a number of hours above 0 and up to 72\n");
                return 2;
            }
        } else if (args[i] == "--dir" && i + 1 < args.size()) {
            dir = args[++i];
        } else if (args[i] == "--no-others") {
            others = false;
        } else {
            std::fprintf(stderr, "usage: %s [--hours H] [--dir DIR] [--no-others]\n", argv[0]);
            return 2;
        }
    }
    QTemporaryDir temp(dir.isEmpty() ? QDir::tempPath() + "/bench_ecgcodec-XXXXXX"
                                     : QDir(dir).filePath("bench_ecgcodec-XXXXXX"));
    if (!temp.isValid()) {
        std::fprintf(stderr, "cannot create a folder for the recording\n");
        return 1;
    }
    try {
        return run(temp.path(), hours, others);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
