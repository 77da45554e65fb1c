// Reads every sample of a long vtecg file block by block through readSamples and reports the
// rate and the peak resident memory, to show that reading streams rather than loads.
//
//   bench_readsamples [--hours H] [--dir DIR]
//
// Without --hours it measures a 24 h and a 6 h recording (3 channels, 500 Hz), so that the
// two peaks can be compared: memory must not grow with the length of the recording.

#include "bench/benchutil.h"
#include "store/ecgfile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <exception>
#include <memory>
#include <vector>

namespace {

constexpr int kChannels = 3;
constexpr int kRate = 500; // Hz
constexpr int kChunk = 4096; // samples per readSamples call, one block
constexpr int kWriteChunk = 60; // seconds per append while writing

// A synthetic ECG-like signal, cheap to make: a slow wave with a sharp spike once a second.
qint16 synthetic(int channel, qint64 index)
{
    const qint64 phase = index % kRate;
    const int spike = phase < 10 ? int(2000 - 200 * phase) : 0;
    return qint16(((index / 7 + channel * 97) % 400) - 200 + spike * (channel + 1));
}

// Writes the recording minute by minute, never holding it whole.
void writeRecording(const QString& path, double hours)
{
    EcgFile f(path, kChannels, kRate, EcgFile::kHeaderSize, true);
    f.setGainRange(-450.0, 450.0);
    f.writeHeader(QJsonObject(), QJsonObject());
    const qint64 total = qint64(std::llround(hours * 3600.0 * kRate));
    const qint64 chunk = qint64(kWriteChunk) * kRate;
    std::vector<std::vector<qint16>> data(kChannels, std::vector<qint16>(size_t(chunk)));
    const qint16* ptrs[kChannels];
    for (qint64 done = 0; done < total; done += chunk) {
        const qint64 len = std::min(chunk, total - done);
        for (int c = 0; c < kChannels; ++c) {
            for (qint64 i = 0; i < len; ++i)
                data[size_t(c)][size_t(i)] = synthetic(c, done + i);
            ptrs[c] = data[size_t(c)].data();
        }
        f.appendChannels(ptrs, len);
    }
}

struct ReadResult
{
    double seconds = 0;
    qint64 sampleBytes = 0;
    double checksum = 0;
};

ReadResult readAll(const QString& path)
{
    std::unique_ptr<EcgFile> f = EcgFile::open(path);
    if (!f)
        throw std::runtime_error("cannot open " + path.toStdString());
    std::vector<double> buffer(kChunk);
    ReadResult r;
    const bench::Stopwatch watch;
    for (int c = 0; c < f->channelCount(); ++c) {
        for (qint64 start = 0; start < f->sampleCount(); start += kChunk) {
            f->readSamples(c, start, kChunk, buffer.data());
            r.checksum += buffer[0] + buffer[kChunk - 1];
        }
    }
    r.seconds = watch.seconds();
    r.sampleBytes = f->sampleCount() * f->channelCount() * 2;
    return r;
}

void measure(const QString& dir, double hours)
{
    const QString label = QString::number(hours) + "h";
    const QString path = QDir(dir).filePath("bench_" + label + ".vtecg");
    writeRecording(path, hours);
    const double fileMb = QFileInfo(path).size() / 1e6;

    // One untimed pass puts the file in the page cache, so the figure is the reader's own.
    readAll(path);
    const double rssBefore = bench::peakRssMb();
    const ReadResult r = readAll(path);
    const double rssAfter = bench::peakRssMb();
    QFile::remove(path);

    std::printf(
        "file %s: %.1f MB, %d channels at %d Hz\n", qPrintable(label), fileMb, kChannels, kRate);
    std::printf("readSamples %s: %.1f MB/s, peak RSS %.1f MB before, %.1f MB after (%.2f s, "
                "checksum %.0f)\n",
        qPrintable(label), r.sampleBytes / 1e6 / r.seconds, rssBefore, rssAfter, r.seconds,
        r.checksum);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments();
    std::vector<double> hours { 6.0, 24.0 };
    QString dir;
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == "--hours" && i + 1 < args.size()) {
            bool ok = false;
            const double h = args[++i].toDouble(&ok);
            if (!ok || h <= 0 || h > 149) { // 65536 blocks of 4096 at 500 Hz
                std::fprintf(stderr, "--hours wants a number of hours above 0 and up to 149\n");
                return 2;
            }
            hours = { h };
        } else if (args[i] == "--dir" && i + 1 < args.size()) {
            dir = args[++i];
        } else {
            std::fprintf(stderr, "usage: %s [--hours H] [--dir DIR]\n", argv[0]);
            return 2;
        }
    }

    QTemporaryDir temp(dir.isEmpty() ? QDir::tempPath() + "/bench_readsamples-XXXXXX"
                                     : QDir(dir).filePath("bench_readsamples-XXXXXX"));
    if (!temp.isValid()) {
        std::fprintf(stderr, "cannot create a folder for the recording\n");
        return 1;
    }
    try {
        std::printf("peak RSS at start: %.1f MB\n", bench::peakRssMb());
        for (double h : hours)
            measure(temp.path(), h);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return 0;
}
