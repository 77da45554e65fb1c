// Noise stress: the MIT-BIH records with the simulator's muscle or motion artefact added from
// minute 5 on, in two-minute stretches that alternate with two clean minutes, at a chosen
// signal-to-noise ratio per lead, run through all five processing stages and scored beat by beat
// (EC57). Prints one table per artefact and level.
// The SNR of a lead is 10 log10(S / N), with S = (median QRS peak-to-peak)^2 / 8 over the
// reference beats and N the mean square of the artefact inside its stretches.
//   mitdb_noise_stress [--data DIR] [--kind muscle|motion|both] [--snr 12,6,0] [--literal-rules]
//                      [RECORD...]

#include "analysis/memorybeatlist.h"
#include "analysis/studyprocessor.h"
#include "recorder/beatannotations.h"
#include "recorder/wfdbannotation.h"
#include "recorder/wfdbrecord.h"
#include "store/study.h"
#include "tools/evaluation/evaluationreport.h"
#include "tools/evaluation/recordevaluation.h"
#include "tools/simulatorschedule.h"
#include "tools/simulatorscript.h"
#include "tools/simulatorwaveform.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

constexpr double kNoiseFrom = 300.0; // seconds
constexpr double kStretch = 120.0; // seconds of artefact, then as many clean
constexpr double kQrsHalf = 0.05; // seconds around a reference beat for its peak-to-peak

// A record held in memory with artefact added; keeps the original's rate and resolution.
class NoisySource : public SignalSource
{
public:
    NoisySource(SignalSource& original, std::vector<std::vector<qint16>> samples)
        : SignalSource(original.channelCount(), original.samplingRate(), 4096)
        , m_data(std::move(samples))
    {
        setResolution(original.resolution());
        const qint64 n = m_data.empty() ? 0 : qint64(m_data[0].size());
        setSampleCount(n);
        setBlockCount(int((n + blockSize() - 1) / blockSize()));
    }
    ~NoisySource() override { releaseAllBlocks(); }

    qint16* loadBlock(int channel, int block) override
    {
        auto* out = new qint16[size_t(blockSize())]();
        const std::vector<qint16>& d = m_data[size_t(channel)];
        const size_t first = size_t(block) * size_t(blockSize());
        for (size_t i = 0; i < size_t(blockSize()) && first + i < d.size(); ++i)
            out[i] = d[first + i];
        return out;
    }

private:
    std::vector<std::vector<qint16>> m_data;
};

enum class Kind { Muscle, Motion };

// The simulator's artefact alone (no wander, mains or background), at the record's rate, one
// vector per lead; zero outside the stretches.
std::vector<std::vector<double>> artefact(Kind kind, double seconds, int rate, int leads)
{
    SimulatorScript script;
    script.hours = seconds / 3600.0;
    script.wanderMv = 0.0;
    script.muscleMv = 0.0;
    script.mainsMv = 0.0;
    int stretch = 0;
    for (double at = kNoiseFrom; at < seconds; at += 2.0 * kStretch, ++stretch) {
        ScriptItem item;
        item.kind = kind == Kind::Muscle ? SimKind::Muscle : SimKind::Motion;
        item.at = at;
        item.duration = kStretch;
        item.level = 1.0;
        item.lead = stretch % 2; // motion moves one electrode most; alternate which
        script.items.push_back(item);
    }
    const SimSchedule schedule(script, 17);
    WaveformSynth synth(script, schedule, 17);
    const qint64 n = qint64(seconds * WaveformSynth::kRate);
    std::vector<std::vector<float>> high(WaveformSynth::kLeads, std::vector<float>(size_t(n)));
    constexpr int kChunk = 5000;
    for (qint64 first = 0; first < n; first += kChunk) {
        std::array<float*, WaveformSynth::kLeads> out;
        for (int l = 0; l < WaveformSynth::kLeads; ++l)
            out[size_t(l)] = high[size_t(l)].data() + first;
        synth.renderBackground(first, int(std::min<qint64>(kChunk, n - first)), out);
    }
    // Linear interpolation to the record's rate.
    const qint64 m = qint64(seconds * rate);
    std::vector<std::vector<double>> noise(size_t(leads), std::vector<double>(size_t(m), 0.0));
    for (int c = 0; c < leads; ++c) {
        const std::vector<float>& h = high[size_t(c % WaveformSynth::kLeads)];
        for (qint64 i = 0; i < m; ++i) {
            const double x = double(i) * WaveformSynth::kRate / rate;
            const qint64 k = std::min<qint64>(qint64(x), n - 2);
            const double f = x - double(k);
            noise[size_t(c)][size_t(i)] = (1.0 - f) * h[size_t(k)] + f * h[size_t(k) + 1];
        }
    }
    return noise;
}

bool isBeatCode(int code)
{
    return (code >= 1 && code <= 13) || code == 25 || code == 30 || code == 34 || code == 35
        || code == 38 || code == 41;
}

// The record's samples with the artefact scaled to `snr` dB on each lead.
std::vector<std::vector<qint16>> noisySamples(WfdbSource& record,
    const QVector<WfdbAnnotation>& reference, const std::vector<std::vector<double>>& noise,
    double snr)
{
    const int rate = record.samplingRate();
    const qint64 n = record.sampleCount();
    std::vector<std::vector<qint16>> out(size_t(record.channelCount()));
    for (int c = 0; c < record.channelCount(); ++c) {
        std::vector<double> x(static_cast<size_t>(n));
        record.readSamples(c, 0, n, x.data());
        std::vector<double> pp;
        const qint64 half = qint64(kQrsHalf * rate);
        for (const WfdbAnnotation& a : reference) {
            if (!isBeatCode(a.code) || a.sample - half < 0 || a.sample + half >= n)
                continue;
            const auto r = std::minmax_element(
                x.begin() + (a.sample - half), x.begin() + (a.sample + half + 1));
            pp.push_back(*r.second - *r.first);
        }
        if (pp.empty())
            throw std::runtime_error("no reference beats to measure the signal by");
        std::nth_element(pp.begin(), pp.begin() + long(pp.size() / 2), pp.end());
        const double signal = pp[pp.size() / 2] * pp[pp.size() / 2] / 8.0;
        const std::vector<double>& v = noise[size_t(c)];
        double power = 0.0;
        qint64 inside = 0;
        for (qint64 i = 0; i < n && i < qint64(v.size()); ++i) {
            const double t = double(i) / rate;
            if (t >= kNoiseFrom && std::fmod(t - kNoiseFrom, 2.0 * kStretch) < kStretch) {
                power += v[size_t(i)] * v[size_t(i)];
                ++inside;
            }
        }
        power = inside > 0 ? power / double(inside) : 0.0;
        const double gain = power > 0.0 ? std::sqrt(signal / (power * std::pow(10.0, snr / 10.0)))
                                        : 0.0;
        out[size_t(c)].resize(size_t(n));
        for (qint64 i = 0; i < n; ++i) {
            const double y = x[size_t(i)] + (i < qint64(v.size()) ? gain * v[size_t(i)] : 0.0);
            out[size_t(c)][size_t(i)] = qint16(std::lround(std::clamp(y, -32768.0, 32767.0)));
        }
    }
    return out;
}

QVector<WfdbAnnotation> process(std::unique_ptr<SignalSource> signal, bool literal)
{
    const double rate = signal->samplingRate();
    Study study;
    study.setSignal(std::move(signal));
    auto list = std::make_unique<MemoryBeatList>();
    MemoryBeatList* beats = list.get();
    study.setBeats(std::move(list));
    StudyProcessor processor(&study);
    processor.setAutoDelete(false);
    ProcessingOptions options;
    options.literalRules = literal;
    processor.setOptions(options);
    bool finished = false;
    QObject::connect(&processor, &StudyProcessor::done, [&finished] { finished = true; });
    processor.run();
    if (!finished)
        throw std::runtime_error("processing did not finish");
    return beatAnnotations(*beats, nullptr, rate);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    QString dataDir = QDir(app.applicationDirPath()).filePath("../../../shared/data/mitdb");
    if (!QDir(dataDir).exists())
        dataDir = "/work/shared/data/mitdb";
    QList<Kind> kinds = { Kind::Muscle, Kind::Motion };
    QList<double> levels = { 12.0, 6.0, 0.0 };
    bool literal = false;
    QStringList records;
    for (int i = 0; i < args.size(); ++i) {
        if (args[i] == "--data" && i + 1 < args.size()) {
            dataDir = args[++i];
        } else if (args[i] == "--kind" && i + 1 < args.size()) {
            const QString k = args[++i];
            if (k == "muscle")
                kinds = { Kind::Muscle };
            else if (k == "motion")
                kinds = { Kind::Motion };
            else if (k != "both") {
                std::fprintf(stderr, "--kind takes muscle, motion or both, not '%s'\n",
                    qPrintable(k));
                return 2;
            }
        } else if (args[i] == "--snr" && i + 1 < args.size()) {
            levels.clear();
            for (const QString& part : args[++i].split(',', Qt::SkipEmptyParts)) {
                bool ok = false;
                levels << part.toDouble(&ok);
                if (!ok) {
                    std::fprintf(stderr, "--snr takes decibels separated by commas, not '%s'\n",
                        qPrintable(part));
                    return 2;
                }
            }
        } else if (args[i] == "--literal-rules") {
            literal = true;
        } else if (args[i].startsWith("--")) {
            std::fprintf(stderr,
                "usage: mitdb_noise_stress [--data DIR] [--kind muscle|motion|both] "
                "[--snr 12,6,0] [--literal-rules] [RECORD...]\n");
            return 2;
        } else {
            records << args[i];
        }
    }
    QDir data(dataDir);
    if (records.isEmpty())
        for (const QString& f : data.entryList({ "*.atr" }, QDir::Files, QDir::Name))
            records << f.chopped(4);
    if (records.isEmpty() || levels.isEmpty()) {
        std::fprintf(stderr, "no records (*.atr) in %s\n", qPrintable(dataDir));
        return 1;
    }

    QTemporaryDir temp;
    QTextStream out(stdout);
    EvaluationOptions options;
    try {
        for (Kind kind : kinds) {
            for (double snr : levels) {
                QVector<RecordEvaluation> results;
                for (const QString& rec : records) {
                    std::fprintf(stderr, "%s %s %g dB\n", kind == Kind::Muscle ? "muscle" : "motion",
                        qPrintable(rec), snr);
                    const QString path = data.filePath(rec);
                    WfdbSource record(path);
                    const QVector<WfdbAnnotation> reference = readWfdbAnnotations(path + ".atr");
                    const auto noise = artefact(kind,
                        double(record.sampleCount()) / record.samplingRate() + 1.0,
                        record.samplingRate(), record.channelCount());
                    auto noisy = std::make_unique<NoisySource>(
                        record, noisySamples(record, reference, noise, snr));
                    const QString testPath = QDir(temp.path()).filePath(rec + ".test");
                    writeWfdbAnnotations(testPath, process(std::move(noisy), literal));
                    results.push_back(evaluateRecord(path + ".atr", testPath, options));
                }
                out << "\n" << (kind == Kind::Muscle ? "Muscle" : "Motion") << " artefact at "
                    << snr << " dB SNR, stretches of " << kStretch << " s from " << kNoiseFrom
                    << " s on" << (literal ? ", literal rules" : "") << ":\n";
                const QString text = formatEvaluationTables(results, options);
                out << text.left(text.indexOf("Atrial fibrillation episodes"));
                out.flush();
            }
        }
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return 0;
}
