#include "cli/args.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "store/beatlist.h"
#include "store/resultkeys.h"
#include "store/resultset.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "store/studyfile.h"
#include "store/studyrepository.h"
#include "store/trend.h"
#include "workflow/studyresults.h"

#include <QDateTime>
#include <QDir>
#include <QJsonDocument>
#include <QSaveFile>
#include <QSettings>

#include <cmath>

namespace {

const char kMissing[] = "-";

// Clock times of a study: its start from "yyyyMMddHHmmss" plus seconds of recording. A study
// without a valid start shows elapsed time instead.
class Clock
{
public:
    explicit Clock(const QByteArray& start)
        : m_start(QDateTime::fromString(QString::fromLatin1(start), "yyyyMMddHHmmss"))
    {
    }
    QString at(double seconds) const
    {
        if (!m_start.isValid())
            return "+" + duration(seconds);
        const QDateTime t = m_start.addMSecs(qint64(std::llround(seconds * 1000.0)));
        const qint64 days = m_start.date().daysTo(t.date());
        return t.toString("HH:mm:ss") + (days > 0 ? QString(" (day %1)").arg(days + 1) : "");
    }
    QString hour(double seconds) const
    {
        if (!m_start.isValid())
            return QString("+%1h").arg(int(seconds / 3600.0));
        return m_start.addSecs(qint64(seconds)).toString("HH:mm");
    }
    QString startText() const
    {
        return m_start.isValid() ? m_start.toString("yyyy-MM-dd HH:mm:ss") : QString(kMissing);
    }
    static QString duration(double seconds)
    {
        const qint64 s = qint64(std::llround(std::max(0.0, seconds)));
        return QString("%1:%2:%3")
            .arg(s / 3600)
            .arg((s / 60) % 60, 2, 10, QChar('0'))
            .arg(s % 60, 2, 10, QChar('0'));
    }

private:
    QDateTime m_start;
};

// Reads results for printing: a missing key prints "-".
class Reader
{
public:
    Reader(const ResultSet& results, const Clock& clock)
        : m_results(results)
        , m_clock(clock)
    {
    }

    const ValueResult* value(const QByteArray& key) const
    {
        return m_results.findAs<ValueResult>(key);
    }
    // A count: 0 is a real figure.
    QString count(const QByteArray& key) const
    {
        const ValueResult* v = value(key);
        return v ? QString::number(qint64(v->value)) : QString(kMissing);
    }
    // A measurement: 0 means none was made.
    QString measure(const QByteArray& key, int decimals = 0) const
    {
        const ValueResult* v = value(key);
        if (!v || v->value == 0.0)
            return kMissing;
        return QString::number(v->value, 'f', decimals);
    }
    // A rate with the clock time of its event.
    QString rateAt(const QByteArray& key) const
    {
        const EventResult* e = m_results.findAs<EventResult>(key);
        if (!e || !(e->value > 0.0))
            return kMissing;
        return QString("%1 bpm at %2").arg(qint64(e->value)).arg(m_clock.at(e->timestamp));
    }
    const EventListResult* events(const QByteArray& key) const
    {
        return m_results.findAs<EventListResult>(key);
    }
    QString eventCount(const QByteArray& key) const
    {
        const EventListResult* l = events(key);
        return l ? QString::number(l->events.size()) : QString(kMissing);
    }
    const TTrend* trend(const QByteArray& key) const { return m_results.findAs<TTrend>(key); }
    const Clock& clock() const { return m_clock; }

private:
    const ResultSet& m_results;
    const Clock& m_clock;
};

void printEctopy(QTextStream& out, const Reader& r, const QByteArray& name)
{
    QString runs = r.count(name + "/runCount");
    const EventResult* longest = nullptr;
    if (const EventListResult* l = r.events(name + "/runEvents")) {
        for (const EventResult& e : l->events)
            if (!longest || e.value > longest->value)
                longest = &e;
    }
    if (longest)
        runs += QString(" (longest %1 beats at %2)")
                    .arg(qint64(longest->value))
                    .arg(r.clock().at(longest->timestamp));
    out << QString("%1 total %2, couplets %3, triplets %4, runs %5\n")
               .arg(QString(name + ":").leftJustified(16))
               .arg(r.count(name + "/totalCount"))
               .arg(r.count(name + "/coupletCount"))
               .arg(r.count(name + "/tripletCount"))
               .arg(runs);
}

void printRhythm(QTextStream& out, const Reader& r)
{
    out << "Bigeminy:        episodes " << r.count(ResultKeys::Bigeminy::kCount) << '\n';
    out << "Trigeminy:       episodes " << r.count(ResultKeys::Trigeminy::kCount) << '\n';

    QString pauses = r.count(ResultKeys::Pause::kCount);
    if (const EventListResult* l = r.events(ResultKeys::Pause::kEvents)) {
        const EventResult* longest = nullptr;
        for (const EventResult& e : l->events)
            if (!longest || e.duration > longest->duration)
                longest = &e;
        if (longest)
            pauses += QString(" (longest %1 s at %2)")
                          .arg(longest->duration, 0, 'f', 2)
                          .arg(r.clock().at(longest->timestamp));
    }
    out << "Pauses:          " << pauses << '\n';
    out << "Bradycardia:     episodes " << r.count(ResultKeys::Arrhythmia::kTotalBradyCount)
        << '\n';
    out << "Tachycardia:     episodes " << r.count(ResultKeys::Arrhythmia::kTotalTachyCount)
        << '\n';
    const ValueResult* afTime = r.value(ResultKeys::AFib::kTotalTime);
    out << "Atrial fibr.:    episodes " << r.eventCount(ResultKeys::AFib::kEvents) << ", total "
        << (afTime ? Clock::duration(afTime->value) : QString(kMissing)) << '\n';
}

void printIntervals(QTextStream& out, const Reader& r, int channels)
{
    for (int c = 0; c < channels; ++c) {
        out << QString("Channel %1:       PR %2 ms, QRS %3 ms, QT %4 ms, QTc %5 ms, ST %6 mm\n")
                   .arg(c + 1)
                   .arg(r.measure(ResultKeys::channelKey(ResultKeys::PR::kPRIntervalAvg, c)))
                   .arg(r.measure(ResultKeys::channelKey(ResultKeys::QT::kQRSIntervalAvg, c)))
                   .arg(r.measure(ResultKeys::channelKey(ResultKeys::QT::kQTIntervalAvg, c)))
                   .arg(r.measure(ResultKeys::channelKey(ResultKeys::QT::kQTcIntervalAvg, c)))
                   .arg(r.measure(ResultKeys::channelKey(ResultKeys::ST::kLevelAvg, c), 2));
    }
}

void printHrv(QTextStream& out, const Reader& r)
{
    out << "HRV time:        AVGNN " << r.measure(ResultKeys::HRV::kAVGNN) << " ms, SDNN "
        << r.measure(ResultKeys::HRV::kSDNN) << " ms, SDANN index "
        << r.measure(ResultKeys::HRV::kSDANNIndex) << " ms, SDNN index "
        << r.measure(ResultKeys::HRV::kSDNNIndex) << " ms, RMSSD "
        << r.measure(ResultKeys::HRV::kRMSSD) << " ms, pNN50 "
        << r.measure(ResultKeys::HRV::kPNN50, 1) << " %, HRV index "
        << r.measure(ResultKeys::HRV::kHRVIndex, 1) << ", TINN "
        << r.measure(ResultKeys::HRV::kTINNIndex) << " ms\n";
    out << "HRV frequency:   total " << r.measure(ResultKeys::HRV::kTotalPower, 1) << ", ULF "
        << r.measure(ResultKeys::HRV::kULFPower, 1) << ", VLF "
        << r.measure(ResultKeys::HRV::kVLFPower, 1) << ", LF "
        << r.measure(ResultKeys::HRV::kLFPower, 1) << ", HF "
        << r.measure(ResultKeys::HRV::kHFPower, 1) << " ms2; LF norm "
        << r.measure(ResultKeys::HRV::kLFNorm, 1) << ", HF norm "
        << r.measure(ResultKeys::HRV::kHFNorm, 1) << ", LF/HF "
        << r.measure(ResultKeys::HRV::kLFHFRatio, 2) << '\n';
}

// One row per hour of the recording, the columns of the review's summary table.
void printHourly(QTextStream& out, const Reader& r)
{
    static const struct
    {
        const char* header;
        const char* key;
    } columns[] = {
        { "AvgHR", ResultKeys::HeartRate::kAvgBpmPerHour },
        { "MinHR", ResultKeys::HeartRate::kMinBpmPerHour },
        { "MaxHR", ResultKeys::HeartRate::kMaxBpmPerHour },
        { "PVC", ResultKeys::kPvc.totalCountPerHour },
        { "Coupl", ResultKeys::kPvc.coupletCountPerHour },
        { "Tripl", ResultKeys::kPvc.tripletCountPerHour },
        { "Tachy", ResultKeys::kPvc.runCountPerHour },
        { "Bigmn", ResultKeys::Bigeminy::kCountPerHour },
        { "Trgmn", ResultKeys::Trigeminy::kCountPerHour },
        { "SVPB", ResultKeys::kSvpb.totalCountPerHour },
        { "Coupl", ResultKeys::kSvpb.coupletCountPerHour },
        { "Tripl", ResultKeys::kSvpb.tripletCountPerHour },
        { "Tachy", ResultKeys::kSvpb.runCountPerHour },
    };
    const TTrend* rows = r.trend(ResultKeys::HeartRate::kAvgBpmPerHour);
    const int n = rows ? rows->size() : 0;
    out << "\nHour ";
    for (const auto& c : columns)
        out << QString(c.header).rightJustified(7);
    out << '\n';
    for (int row = 0; row < n; ++row) {
        out << r.clock().hour(3600.0 * row).leftJustified(5);
        for (const auto& c : columns) {
            const TTrend* t = r.trend(c.key);
            const qint64 v = t && row < t->size() ? qint64(t->valueAt(row)) : 0;
            out << (v == 0 ? QString(kMissing) : QString::number(v)).rightJustified(7);
        }
        out << '\n';
    }
    if (n == 0)
        out << "(no whole hour bins)\n";
}

void printSummary(QTextStream& out, const Study& study, int id)
{
    const Clock clock(study.studyDateTime());
    const Reader r(study.results(), clock);
    const SignalSource* signal = study.signal();
    const double recorded = signal ? signal->duration() : 0.0;
    // Analysed: the 30-second stretches whose rate was accepted, the rest being noise or gaps.
    const TTrend* bpm = r.trend(ResultKeys::HeartRate::kBpmTrend);

    out << "Study " << id << ": " << study.property(QByteArray("patient/lastName")) << ", "
        << study.property(QByteArray("patient/firstName")) << '\n';
    out << "Start:           " << clock.startText() << '\n';
    out << "Recording:       " << Clock::duration(recorded) << '\n';
    out << "Analysed:        " << (bpm ? Clock::duration(bpm->size() * 30.0) : QString(kMissing))
        << '\n';
    out << "Heart rate:      average " << r.measure(ResultKeys::HeartRate::kAvgBpm)
        << " bpm, minimum " << r.rateAt(ResultKeys::HeartRate::kMinBpm) << ", maximum "
        << r.rateAt(ResultKeys::HeartRate::kMaxBpm) << '\n';
    out << "Beats:           total " << r.count(ResultKeys::HeartRate::kTotalBeatCount) << ": N "
        << r.count(ResultKeys::BeatCount::kTotalCountN) << ", V "
        << r.count(ResultKeys::BeatCount::kTotalCountV) << ", S "
        << r.count(ResultKeys::BeatCount::kTotalCountS) << ", F "
        << r.count(ResultKeys::BeatCount::kTotalCountF) << ", U "
        << r.count(ResultKeys::BeatCount::kTotalCountU) << '\n';
    printEctopy(out, r, "PVC");
    printEctopy(out, r, "SVPB");
    printRhythm(out, r);
    printIntervals(out, r, signal ? signal->channelCount() : 0);
    printHrv(out, r);
    printHourly(out, r);
}

void writeJson(const QString& path, const ResultSet& results)
{
    const QByteArray json = QJsonDocument(resultsToJson(results)).toJson(QJsonDocument::Indented);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size() || !file.commit())
        throw std::runtime_error(
            QString("Cannot write %1").arg(QDir::toNativeSeparators(path)).toStdString());
}

// Closes the study however the command ends.
class OpenStudy
{
public:
    OpenStudy(StudyRepository& repo, Study* study)
        : m_repo(repo)
        , m_study(study)
    {
    }
    ~OpenStudy() { m_repo.closeStudy(m_study); }
    OpenStudy(const OpenStudy&) = delete;
    OpenStudy& operator=(const OpenStudy&) = delete;

private:
    StudyRepository& m_repo;
    Study* m_study;
};

} // namespace

int runResults(CliContext& ctx, const QStringList& argv)
{
    Args args(argv, { "json" }, { "recompute" });
    args.expectPositionals(1, 1, "study ID");
    const int id = parseStudyId(args.positionals()[0]);
    const bool recompute = args.flag("recompute");

    StudyRepository& repo = ctx.repository();
    StudyInfo row;
    if (!repo.studyExists(id, row))
        throw std::runtime_error(QString("no study with id %1").arg(id).toStdString());
    if (repo.isStudyOpen(id))
        throw std::runtime_error("study is open elsewhere");
    Study* study = repo.openStudy(id);
    OpenStudy guard(repo, study);
    if (!study || !study->beats() || !study->signal())
        throw std::runtime_error("Study file not found");

    // The same limits as the review window: the user's analysis settings over the defaults.
    CliProgress progress(ctx, "Computing results");
    const ResultsOutcome outcome
        = computeAndSaveResults(repo, *study, QSettings(), recompute, &progress, interruptFlag());
    ctx.endProgress();
    if (outcome == ResultsOutcome::Cancelled) {
        throw std::runtime_error(QString("interrupted; the results of study %1 were left as "
                                         "they were")
                                     .arg(id)
                                     .toStdString());
    }
    if (outcome == ResultsOutcome::AlreadyComplete)
        ctx.err() << "All results were already there; nothing computed.\n";

    if (args.has("json"))
        writeJson(args.value("json"), study->results());
    printSummary(ctx.out(), *study, id);
    return 0;
}
