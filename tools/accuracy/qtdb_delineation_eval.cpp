// Wave delineation accuracy on the QT database: runs detection and delineation in-process on
// every record, matches each beat the cardiologist marked in the .q1c file to the detected beat
// whose R instant lies within 150 ms of the marked QRS peak, and prints the error (detected -
// reference, ms) of QRS onset, QRS end, P onset and T end.
//   qtdb_delineation_eval [--data DIR] [--verbose] [--dump RECORD] [RECORD...]
//
// The instants come straight from the channels' LeadBeatRecord positions (qrsOn, qrsOff, pOn,
// tOff, samples at 250 Hz), seen through the detector's record observer: the Beat keeps only
// peaks and intervals. For a matched beat, a channel's record is the one whose qrs lies nearest
// the beat's R sample, within the fusion tolerance of 75 ms, and only if the beat's own peaks
// and polarity of that channel are the record's (a channel left out of the fusion gives none).
// The Beat's QRS duration, PR and QT measures are scored separately against the intervals
// between the reference marks.

#include "analysis/leadbeatrecord.h"
#include "analysis/memorybeatlist.h"
#include "analysis/resampledsource.h"
#include "analysis/waveletbank.h"
#include "analysis/waveletbeatdetector.h"
#include "recorder/wfdbannotation.h"
#include "recorder/wfdbrecord.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTextStream>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <limits>
#include <vector>

namespace {

constexpr double kAnalysisRate = 250.0; // samples per second of the detector
constexpr double kMatchWindow = 0.15; // seconds between reference QRS peak and R instant
constexpr double kFusionTolerance = 0.075; // seconds; the detector's own fusion window
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

// WFDB annotation codes used by the QT database's wave marks.
constexpr int kCodePWave = 24; // "p"
constexpr int kCodeTWave = 27; // "t"
constexpr int kCodeOnset = 39; // "("
constexpr int kCodeOffset = 40; // ")"

bool isQrsCode(int code)
{
    // N L R a V F J A S E j / Q, BBB, learning, atrial and supraventricular escape, paced
    // fusion, R-on-T.
    return (code >= 1 && code <= 13) || code == 25 || code == 30 || code == 34 || code == 35
        || code == 38 || code == 41;
}

enum Wave { QrsOnset, QrsEnd, POnset, TEnd, kWaveCount };
const char* const kWaveNames[kWaveCount] = { "QRS onset", "QRS end", "P onset", "T end" };

enum Interval { QrsDurationInterval, PrInterval, QtInterval, kIntervalCount };
const char* const kIntervalNames[kIntervalCount] = { "QRS duration", "PR", "QT" };
const int kIntervalSlots[kIntervalCount]
    = { Beat::QrsDuration, Beat::PRInterval, Beat::QTInterval };

// One beat the cardiologist marked; times in seconds, NaN where there is no mark.
struct ReferenceBeat
{
    double peak = kNone; // QRS peak
    double mark[kWaveCount] = { kNone, kNone, kNone, kNone };
};

// A marked wave: its peak and the "(" / ")" that sit right beside it in the stream.
struct MarkedWave
{
    int code = 0;
    double peak = kNone;
    double onset = kNone;
    double offset = kNone;
};

// Groups the marks into beats. A P wave belongs to the first marked QRS after it (within
// 0.6 s), a T wave to the last one before it (within 1.0 s); marks of neither kind are
// counted in `orphans`.
std::vector<ReferenceBeat> referenceBeats(
    const QVector<WfdbAnnotation>& ann, double rate, int& orphans)
{
    std::vector<MarkedWave> waves;
    for (int i = 0; i < ann.size(); ++i) {
        const int code = ann[i].code;
        if (code != kCodePWave && code != kCodeTWave && !isQrsCode(code))
            continue;
        MarkedWave w;
        w.code = code;
        w.peak = double(ann[i].sample) / rate;
        if (i > 0 && ann[i - 1].code == kCodeOnset)
            w.onset = double(ann[i - 1].sample) / rate;
        if (i + 1 < ann.size() && ann[i + 1].code == kCodeOffset)
            w.offset = double(ann[i + 1].sample) / rate;
        waves.push_back(w);
    }
    std::vector<ReferenceBeat> beats;
    std::vector<int> qrsIndex; // waves index -> beats index, -1 for P and T
    for (const MarkedWave& w : waves) {
        qrsIndex.push_back(-1);
        if (!isQrsCode(w.code))
            continue;
        ReferenceBeat b;
        b.peak = w.peak;
        b.mark[QrsOnset] = w.onset;
        b.mark[QrsEnd] = w.offset;
        qrsIndex.back() = int(beats.size());
        beats.push_back(b);
    }
    orphans = 0;
    for (size_t i = 0; i < waves.size(); ++i) {
        const MarkedWave& w = waves[i];
        if (isQrsCode(w.code))
            continue;
        int owner = -1;
        if (w.code == kCodePWave) {
            for (size_t j = i + 1; j < waves.size() && owner < 0; ++j)
                if (qrsIndex[j] >= 0 && waves[j].peak - w.peak <= 0.6)
                    owner = qrsIndex[j];
                else if (qrsIndex[j] >= 0)
                    break;
            // A biphasic P carries two peaks; only the one beside "(" has the onset.
            if (owner >= 0 && !std::isnan(w.onset))
                beats[size_t(owner)].mark[POnset] = w.onset;
        } else {
            for (size_t j = i; j-- > 0 && owner < 0;)
                if (qrsIndex[j] >= 0 && w.peak - waves[j].peak <= 1.0)
                    owner = qrsIndex[j];
                else if (qrsIndex[j] >= 0)
                    break;
            if (owner >= 0 && !std::isnan(w.offset))
                beats[size_t(owner)].mark[TEnd] = w.offset;
        }
        if (owner < 0)
            ++orphans;
    }
    return beats;
}

// What detection produced for one record. Beats keep their measures; their source pointer is
// dangling once the run is over and must not be used.
struct Detection
{
    std::vector<Beat> beats; // isBeat entries only, in time order
    std::vector<double> noiseTimes; // R instants of the entries marked noise, seconds
    std::vector<std::vector<LeadBeatRecord>> records; // per channel, in qrs order
    int channels = 0;
};

Detection detect(const QString& recordPath)
{
    WfdbSource raw(recordPath);
    ResampledSource source(&raw, int(kAnalysisRate));
    WaveletBank bank(&source);
    MemoryBeatList list;
    WaveletBeatDetector detector(&bank, &list);
    Detection d;
    d.channels = source.channelCount();
    d.records.resize(size_t(d.channels));
    detector.setRecordObserver([&d](int channel, const LeadBeatRecord& r) {
        if (channel >= 0 && channel < d.channels)
            d.records[size_t(channel)].push_back(r);
    });
    detector.init(&source, 0.0, 0.0, -1);
    const double duration = double(source.sampleCount()) / source.samplingRate();
    while (detector.currentTime() < duration)
        detector.processBlock();
    detector.finish();
    for (const Beat& b : list.beats())
        if (b.isBeat)
            d.beats.push_back(b);
        else
            d.noiseTimes.push_back(b.timing[Beat::RTime]);
    for (auto& r : d.records)
        std::sort(r.begin(), r.end(),
            [](const LeadBeatRecord& a, const LeadBeatRecord& b) { return a.qrs < b.qrs; });
    return d;
}

const Beat* nearestBeat(const std::vector<Beat>& beats, double t)
{
    auto it = std::lower_bound(beats.begin(), beats.end(), t,
        [](const Beat& b, double x) { return b.timing[Beat::RTime] < x; });
    const Beat* best = nullptr;
    if (it != beats.end())
        best = &*it;
    if (it != beats.begin()) {
        const Beat* before = &*(it - 1);
        if (!best || t - before->timing[Beat::RTime] <= best->timing[Beat::RTime] - t)
            best = before;
    }
    return best;
}

const LeadBeatRecord* nearestRecord(const std::vector<LeadBeatRecord>& records, qint32 position)
{
    auto it = std::lower_bound(records.begin(), records.end(), position,
        [](const LeadBeatRecord& r, qint32 p) { return r.qrs < p; });
    const LeadBeatRecord* best = nullptr;
    if (it != records.end())
        best = &*it;
    if (it != records.begin()) {
        const LeadBeatRecord* before = &*(it - 1);
        if (!best || position - before->qrs <= best->qrs - position)
            best = before;
    }
    if (best && std::abs(best->qrs - position) > int(kFusionTolerance * kAnalysisRate))
        return nullptr;
    return best;
}

// True when `r` is the record the detector fused into `beat` for `channel`: the beat's QRS
// polarity and P/Q/R/S/T peaks of that channel are the record's. A channel left out of the fusion
// gets an empty record, so its polarity is 0 and no peak is set.
bool belongsTo(const LeadBeatRecord& r, const Beat& beat, int channel)
{
    if (int(std::lround(beat.measure[channel][Beat::QrsPolarity])) != r.qrsPolarity)
        return false;
    const qint32 peaks[] = { r.pPeak, r.qPeak, r.rPeak, r.sPeak, r.tPeak };
    const int peakSlots[] = { Beat::PPeak, Beat::QPeak, Beat::RPeak, Beat::SPeak, Beat::TPeak };
    for (int i = 0; i < 5; ++i) {
        const bool set = beat.measureSet[channel][peakSlots[i]];
        if (set != LeadBeatRecord::found(peaks[i]))
            return false;
        if (set && std::lround(beat.measure[channel][peakSlots[i]] * kAnalysisRate) != peaks[i])
            return false;
    }
    return true;
}

double instant(qint32 position)
{
    return LeadBeatRecord::found(position) ? position / kAnalysisRate : kNone;
}

void recordInstants(const LeadBeatRecord& r, double out[kWaveCount])
{
    out[QrsOnset] = instant(r.qrsOn);
    out[QrsEnd] = instant(r.qrsOff);
    out[POnset] = instant(r.pOn);
    out[TEnd] = instant(r.tOff);
}

// Errors of one way of choosing the channel, for one wave or interval.
struct ErrorSet
{
    int references = 0; // reference marks (or intervals) seen
    int produced = 0; // of those, how many got a value from us
    std::vector<double> errors; // ms, all records
    std::vector<double> recordSds; // ms, one per record with two errors or more
    std::vector<double> current; // ms, the record in progress

    void add(double errorMs)
    {
        ++produced;
        errors.push_back(errorMs);
        current.push_back(errorMs);
    }
    void endRecord();
};

double mean(const std::vector<double>& v)
{
    double s = 0.0;
    for (double x : v)
        s += x;
    return v.empty() ? kNone : s / double(v.size());
}

double sd(const std::vector<double>& v)
{
    if (v.size() < 2)
        return kNone;
    const double m = mean(v);
    double s = 0.0;
    for (double x : v)
        s += (x - m) * (x - m);
    return std::sqrt(s / double(v.size() - 1));
}

double median(std::vector<double> v)
{
    if (v.empty())
        return kNone;
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n % 2 ? v[n / 2] : 0.5 * (v[n / 2 - 1] + v[n / 2]);
}

void ErrorSet::endRecord()
{
    if (current.size() >= 2)
        recordSds.push_back(sd(current));
    current.clear();
}

// Channel choices: each channel alone, then "best" (per mark, the channel with the smallest
// error, as single-lead figures in the literature are usually given) and "multi-lead" (the
// earliest onset and the latest end over the channels, a rule that needs no reference).
constexpr int kMaxChoices = Beat::kChannels + 2;

struct Choices
{
    int channels = 2;
    int count() const { return channels + 2; }
    int best() const { return channels; }
    int multi() const { return channels + 1; }
    QString name(int c) const
    {
        if (c == best())
            return "best";
        if (c == multi())
            return "multi-lead";
        return QString("channel %1").arg(c + 1);
    }
};

struct Totals
{
    ErrorSet wave[kWaveCount][kMaxChoices];
    ErrorSet interval[kIntervalCount][kMaxChoices];
    int referenceBeats = 0;
    int matchedBeats = 0;
    int orphans = 0;
    int unfusedRecords = 0; // nearest records that the beat's own peaks disown

    void endRecord()
    {
        for (auto& row : wave)
            for (ErrorSet& e : row)
                e.endRecord();
        for (auto& row : interval)
            for (ErrorSet& e : row)
                e.endRecord();
    }
};

// Scores one set of per-channel values against a reference value; `isOnset` picks the
// multi-lead rule.
void score(const double* values, int channels, double reference, bool isOnset,
    const Choices& choices, ErrorSet* sets)
{
    if (std::isnan(reference))
        return;
    double best = kNone, multi = kNone;
    for (int c = 0; c < choices.count(); ++c)
        ++sets[c].references;
    for (int c = 0; c < channels; ++c) {
        if (std::isnan(values[c]))
            continue;
        const double e = (values[c] - reference) * 1000.0;
        sets[c].add(e);
        if (std::isnan(best) || std::fabs(e) < std::fabs(best))
            best = e;
        if (std::isnan(multi) || (isOnset ? values[c] < multi : values[c] > multi))
            multi = values[c];
    }
    if (!std::isnan(best)) {
        sets[choices.best()].add(best);
        sets[choices.multi()].add((multi - reference) * 1000.0);
    }
}

// Scores one record into `totals`; returns a one-line summary for --verbose.
QString evaluateRecord(const QString& name, const std::vector<ReferenceBeat>& refs,
    const Detection& d, const Choices& choices, Totals& totals)
{
    const int channels = std::min(d.channels, Beat::kChannels);
    int matched = 0, missed = 0;
    QString unmatched; // the first few missed beats, with the offset of the nearest R
    for (const ReferenceBeat& ref : refs) {
        const Beat* beat = nearestBeat(d.beats, ref.peak);
        const bool isMatch
            = beat && std::fabs(beat->timing[Beat::RTime] - ref.peak) <= kMatchWindow;
        double values[kWaveCount][Beat::kChannels];
        double intervals[kIntervalCount][Beat::kChannels];
        for (int c = 0; c < Beat::kChannels; ++c) {
            for (auto& v : values)
                v[c] = kNone;
            for (auto& v : intervals)
                v[c] = kNone;
        }
        if (!isMatch && ++missed <= 4)
            unmatched += QString(" %1").arg(ref.peak, 0, 'f', 2)
                + (beat ? QString("(%1)").arg(beat->timing[Beat::RTime] - ref.peak, 0, 'f', 2)
                        : QString());
        if (isMatch) {
            ++matched;
            const qint32 position = qint32(std::lround(beat->timing[Beat::RTime] * kAnalysisRate));
            for (int c = 0; c < channels; ++c) {
                const LeadBeatRecord* r = nearestRecord(d.records[size_t(c)], position);
                if (r && !belongsTo(*r, *beat, c)) {
                    ++totals.unfusedRecords;
                    r = nullptr;
                }
                if (r) {
                    double inst[kWaveCount];
                    recordInstants(*r, inst);
                    for (int w = 0; w < kWaveCount; ++w)
                        values[w][c] = inst[w];
                }
                for (int k = 0; k < kIntervalCount; ++k)
                    if (beat->measureSet[c][kIntervalSlots[k]])
                        intervals[k][c] = beat->measure[c][kIntervalSlots[k]];
            }
        }
        for (int w = 0; w < kWaveCount; ++w)
            score(values[w], channels, ref.mark[w], w == QrsOnset || w == POnset, choices,
                totals.wave[w]);
        const double refInterval[kIntervalCount] = {
            ref.mark[QrsEnd] - ref.mark[QrsOnset],
            ref.mark[QrsOnset] - ref.mark[POnset],
            ref.mark[TEnd] - ref.mark[QrsOnset],
        };
        for (int k = 0; k < kIntervalCount; ++k)
            score(intervals[k], channels, refInterval[k], false, choices, totals.interval[k]);
    }
    totals.referenceBeats += int(refs.size());
    totals.matchedBeats += matched;

    QString line = QString("%1  beats %2/%3").arg(name, -9).arg(matched, 3).arg(refs.size(), -3);
    for (int w = 0; w < kWaveCount; ++w) {
        const std::vector<double>& e = totals.wave[w][choices.best()].current;
        line += QString("  %1 ").arg(kWaveNames[w]);
        line += e.empty() ? QString("-")
                          : QString("%1 +- %2 (%3)")
                                .arg(mean(e), 0, 'f', 1)
                                .arg(e.size() > 1 ? sd(e) : 0.0, 0, 'f', 1)
                                .arg(e.size());
    }
    if (!unmatched.isEmpty()) {
        const double from = refs.front().peak - kMatchWindow;
        const double to = refs.back().peak + kMatchWindow;
        int inSpan = 0, noiseInSpan = 0;
        for (const Beat& b : d.beats)
            inSpan += b.timing[Beat::RTime] >= from && b.timing[Beat::RTime] <= to ? 1 : 0;
        for (double t : d.noiseTimes)
            noiseInSpan += t >= from && t <= to ? 1 : 0;
        line += QString("\n           %1 beats and %2 noise entries in the marked span; missed "
                        "at s (nearest R - peak, s):")
                    .arg(inSpan)
                    .arg(noiseInSpan)
            + unmatched;
    }
    totals.endRecord();
    return line;
}

QString cell(double v, int width)
{
    return std::isnan(v) ? QString("-").rightJustified(width) : QString("%1").arg(v, width, 'f', 1);
}

QString tableRow(const QString& what, const QString& choice, const ErrorSet& e)
{
    const double cover = e.references ? 100.0 * e.produced / e.references : kNone;
    int gross = 0;
    for (double x : e.errors)
        gross += std::fabs(x) > 100.0 ? 1 : 0;
    return QString("%1 %2 %3 %4 %5 %6 %7 %8 %9 %10\n")
        .arg(what, -13)
        .arg(choice, -10)
        .arg(e.references, 5)
        .arg(e.produced, 5)
        .arg(cell(cover, 6))
        .arg(cell(mean(e.errors), 7))
        .arg(cell(sd(e.errors), 6))
        .arg(cell(mean(e.recordSds), 7))
        .arg(cell(median(e.errors), 7))
        .arg(gross, 6);
}

void printTables(const Totals& t, const Choices& choices, int records, QTextStream& out)
{
    out << QString("QT database: %1 records, %2 annotated beats, %3 matched within %4 ms "
                   "(%5 P/T marks without a QRS mark)\n\n")
               .arg(records)
               .arg(t.referenceBeats)
               .arg(t.matchedBeats)
               .arg(int(kMatchWindow * 1000))
               .arg(t.orphans);
    const QString header = QString("%1 %2 %3 %4 %5 %6 %7 %8 %9 %10\n")
                               .arg("wave", -13)
                               .arg("channel", -10)
                               .arg("refs", 5)
                               .arg("ours", 5)
                               .arg("cover%", 6)
                               .arg("mean", 7)
                               .arg("SD", 6)
                               .arg("SD/rec", 7)
                               .arg("median", 7)
                               .arg(">100ms", 6);
    out << "Error of the instants, detected - reference, ms:\n" << header;
    for (int w = 0; w < kWaveCount; ++w) {
        for (int c = 0; c < choices.count(); ++c)
            out << tableRow(kWaveNames[w], choices.name(c), t.wave[w][c]);
        out << '\n';
    }
    out << "Error of the Beat's interval measures against the reference marks, ms:\n" << header;
    for (int k = 0; k < kIntervalCount; ++k) {
        for (int c = 0; c < choices.count(); ++c)
            if (c != choices.multi())
                out << tableRow(kIntervalNames[k], choices.name(c), t.interval[k][c]);
        out << '\n';
    }
    out << "refs: reference marks; ours: of those, marks we gave a value for; SD: over all "
           "beats;\nSD/rec: mean of the per-record SDs; >100ms: errors beyond 100 ms.\n"
           "best: per mark the channel with the smallest error; multi-lead: earliest onset, "
           "latest end.\n";
    out << QString("%1 channel records near a matched beat were left out: the beat's own "
                   "peaks show they were not fused into it.\n")
               .arg(t.unfusedRecords);
}

void dump(const QString& path, double rate, QTextStream& out)
{
    for (const WfdbAnnotation& a : readWfdbAnnotations(path))
        out << QString("%1 %2 code %3 chan %4 num %5 sub %6 %7\n")
                   .arg(a.sample, 8)
                   .arg(double(a.sample) / rate, 9, 'f', 3)
                   .arg(a.code, 2)
                   .arg(a.channel)
                   .arg(a.num)
                   .arg(a.subtype)
                   .arg(QString::fromLatin1(a.aux));
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    QString dataDir = QDir(app.applicationDirPath()).filePath("../../../shared/data/qtdb");
    if (!QDir(dataDir).exists())
        dataDir = "/work/shared/data/qtdb";
    bool verbose = false;
    QString dumpRecord;
    QStringList records;
    for (int i = 0; i < args.size(); ++i) {
        if (args[i] == "--data" && i + 1 < args.size())
            dataDir = args[++i];
        else if (args[i] == "--verbose")
            verbose = true;
        else if (args[i] == "--dump" && i + 1 < args.size())
            dumpRecord = args[++i];
        else if (args[i].startsWith("--")) {
            std::fprintf(stderr,
                "usage: qtdb_delineation_eval [--data DIR] [--verbose] [--dump RECORD] "
                "[RECORD...]\n");
            return 2;
        } else
            records << args[i];
    }
    QTextStream out(stdout);
    const QDir data(dataDir);
    if (!data.exists()) {
        out << "QT database folder " << dataDir << " not found; nothing to evaluate.\n";
        return 0;
    }
    if (!dumpRecord.isEmpty()) {
        try {
            const double rate = WfdbHeader::read(data.filePath(dumpRecord)).samplingRate;
            dump(data.filePath(dumpRecord + ".q1c"), rate, out);
        } catch (const std::exception& e) {
            std::fprintf(stderr, "%s\n", e.what());
            return 1;
        }
        return 0;
    }
    if (records.isEmpty()) {
        QFile list(data.filePath("RECORDS"));
        if (list.open(QIODevice::ReadOnly))
            for (const QByteArray& line : list.readAll().split('\n'))
                if (!line.trimmed().isEmpty())
                    records << QString::fromLatin1(line.trimmed());
        if (records.isEmpty())
            for (const QString& f : data.entryList({ "*.q1c" }, QDir::Files, QDir::Name))
                records << f.chopped(4);
    }

    Totals totals;
    Choices choices;
    bool choicesSet = false;
    int evaluated = 0, failed = 0;
    for (const QString& rec : records) {
        const QString refPath = data.filePath(rec + ".q1c");
        if (!QFile::exists(refPath)) {
            out << rec << ": no .q1c marks, skipped\n";
            continue;
        }
        try {
            const double rate = WfdbHeader::read(data.filePath(rec)).samplingRate;
            int orphans = 0;
            const std::vector<ReferenceBeat> refs
                = referenceBeats(readWfdbAnnotations(refPath), rate, orphans);
            const Detection d = detect(data.filePath(rec));
            if (!choicesSet) {
                choices.channels = std::min(d.channels, Beat::kChannels);
                choicesSet = true;
            }
            if (std::min(d.channels, Beat::kChannels) != choices.channels)
                throw WfdbError(QString("%1 has %2 channels, the first record had %3")
                                    .arg(rec)
                                    .arg(d.channels)
                                    .arg(choices.channels));
            totals.orphans += orphans;
            const QString line = evaluateRecord(rec, refs, d, choices, totals);
            if (verbose)
                out << line << '\n';
            out.flush();
            ++evaluated;
        } catch (const std::exception& e) {
            std::fprintf(stderr, "%s: %s\n", qPrintable(rec), e.what());
            ++failed;
        }
    }
    if (evaluated == 0) {
        out << "No record was evaluated.\n";
        return failed ? 1 : 0;
    }
    if (verbose)
        out << "(per record: best channel, mean +- SD (n) in ms)\n\n";
    printTables(totals, choices, evaluated, out);
    return failed ? 1 : 0;
}
