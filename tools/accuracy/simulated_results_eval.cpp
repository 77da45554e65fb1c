// Results of a simulated day against the simulator's truth: simulates a card with a fixed seed,
// imports it into a temporary store, runs all processing stages and the results driver, and
// prints a table of ectopy, pause, rate and AF figures beside the truth they should match,
// with a note on how each truth figure was derived.
//   simulated_results_eval [--hours H] [--seed N] [--card DIR] [--keep DIR]
// A card folder that already holds HECG.VTF and truth.json is used as it is.

#include "analysis/studyprocessor.h"
#include "recorder/cardimport.h"
#include "recorder/cardsignalfile.h"
#include "recorder/wfdbannotation.h"
#include "results/analysisparams.h"
#include "results/resultsdriver.h"
#include "store/resultkeys.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "tools/evaluation/evaluationreport.h"
#include "tools/evaluation/rhythmcomparison.h"
#include "tools/simulator.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>
#include <stdexcept>

namespace {

struct TruthEpisode
{
    QString kind;
    double start = 0.0; // seconds
    double duration = 0.0;
    double rate = 0.0; // bpm, 0 where none applies
};

struct Truth
{
    double seconds = 0.0;
    QJsonObject counts;
    QVector<TruthEpisode> episodes;
    QVector<WfdbAnnotation> annotations;
};

Truth readTruth(const QString& card)
{
    QFile f(QDir(card).filePath("truth.json"));
    if (!f.open(QIODevice::ReadOnly))
        throw std::runtime_error("Cannot read " + f.fileName().toStdString());
    const QJsonObject root = QJsonDocument::fromJson(f.readAll()).object();
    Truth t;
    t.seconds = root["seconds"].toDouble();
    t.counts = root["counts"].toObject();
    for (const QJsonValue& v : root["episodes"].toArray()) {
        const QJsonObject o = v.toObject();
        t.episodes.push_back({ o["kind"].toString(), o["start"].toDouble(),
            o["duration"].toDouble(), o["rate"].toDouble() });
    }
    t.annotations = readWfdbAnnotations(QDir(card).filePath("truth.atr"));
    return t;
}

int episodeCount(const Truth& t, const std::function<bool(const TruthEpisode&)>& keep)
{
    return int(std::count_if(t.episodes.begin(), t.episodes.end(), keep));
}

// Figures worked out from truth.atr with the results' own definitions, by a plain walk over
// the true beats: uninterrupted series of V beats by length, and RR intervals over 2 s.
struct BeatTruth
{
    int vBeats = 0;
    int sBeats = 0;
    int couplets = 0;
    int triplets = 0;
    int runs = 0;
    int longestRun = 0;
    int pauses = 0;
};

BeatTruth walkTruthBeats(const QVector<WfdbAnnotation>& annotations, double rate)
{
    BeatTruth out;
    int series = 0;
    qint64 previous = -1;
    const auto endSeries = [&out, &series] {
        if (series == 2)
            ++out.couplets;
        else if (series == 3)
            ++out.triplets;
        else if (series > 3) {
            ++out.runs;
            out.longestRun = std::max(out.longestRun, series);
        }
        series = 0;
    };
    for (const WfdbAnnotation& a : annotations) {
        if (a.code == 28)
            continue; // a rhythm change, not a beat
        if (previous >= 0 && double(a.sample - previous) / rate > 2.0)
            ++out.pauses;
        previous = a.sample;
        if (a.code == 5) {
            ++out.vBeats;
            ++series;
        } else {
            out.sBeats += a.code == 8;
            endSeries();
        }
    }
    return out; // a series open at the end is not reported, as in the results
}

const EventListResult* events(const ResultSet& r, const char* key)
{
    return r.findAs<EventListResult>(key);
}

double value(const ResultSet& r, const char* key)
{
    if (const auto* v = r.findAs<ValueResult>(key))
        return v->value;
    return -1.0;
}

// Result events that overlap (by a positive time) some truth episode of the given kinds.
int eventsInTruth(const EventListResult* list, const Truth& t, const QStringList& kinds)
{
    if (!list)
        return 0;
    int n = 0;
    for (const EventResult& e : list->events) {
        const bool hit = std::any_of(t.episodes.begin(), t.episodes.end(), [&](const auto& x) {
            return kinds.contains(x.kind) && e.timestamp < x.start + x.duration
                && x.start < e.timestamp + e.duration;
        });
        n += hit;
    }
    return n;
}

// Which truth episodes the result events fall on: "kind n" for each kind of episode that an
// event overlaps (first one by start), "none n" for events on plain sinus rhythm.
QString overlapBreakdown(const EventListResult* list, const Truth& t)
{
    if (!list)
        return "-";
    QMap<QString, int> byKind;
    for (const EventResult& e : list->events) {
        QString kind = "none";
        for (const TruthEpisode& x : t.episodes) {
            if (x.kind == "muscle" || x.kind == "motion" || x.kind.startsWith("st-"))
                continue;
            if (e.timestamp < x.start + x.duration && x.start < e.timestamp + e.duration) {
                kind = x.kind;
                break;
            }
        }
        byKind[kind] += 1;
    }
    QStringList parts;
    for (auto it = byKind.cbegin(); it != byKind.cend(); ++it)
        parts << QString("%1 %2").arg(it.key()).arg(it.value());
    return parts.join(", ");
}

QString figure(double v)
{
    return v < 0.0 ? QString("-") : QString::number(v, 'f', v == double(qint64(v)) ? 0 : 1);
}

void printRow(const QString& measure, const QString& simulator, const QString& byRule,
    const QString& results, const QString& inTruth, const QString& note)
{
    std::printf("%-22s %10s %10s %10s %9s  %s\n", qPrintable(measure), qPrintable(simulator),
        qPrintable(byRule), qPrintable(results), qPrintable(inTruth), qPrintable(note));
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    double hours = 24.0;
    quint64 seed = 1;
    QString card;
    QString keep;
    for (int i = 0; i < args.size(); ++i) {
        const bool hasValue = i + 1 < args.size();
        if (args[i] == "--hours" && hasValue)
            hours = args[++i].toDouble();
        else if (args[i] == "--seed" && hasValue)
            seed = args[++i].toULongLong();
        else if (args[i] == "--card" && hasValue)
            card = args[++i];
        else if (args[i] == "--keep" && hasValue)
            keep = args[++i];
        else {
            std::fprintf(stderr,
                "usage: simulated_results_eval [--hours H] [--seed N] "
                "[--card DIR] [--keep DIR]\n");
            return 2;
        }
    }
    if (hours <= 0.0) {
        std::fprintf(stderr, "--hours must be positive\n");
        return 2;
    }
    QTemporaryDir temp;
    if (!temp.isValid()) {
        std::fprintf(stderr, "cannot create a temporary folder\n");
        return 1;
    }
    const QString work = keep.isEmpty() ? temp.path() : keep;
    if (card.isEmpty())
        card = QDir(work).filePath("card");

    try {
        if (!QFileInfo::exists(card + "/HECG.VTF") || !QFileInfo::exists(card + "/truth.json")) {
            std::fprintf(stderr, "simulating %.1f h, seed %llu\n", hours, seed);
            SimulatorScript script = parseSimulatorScript(defaultSimulatorScript(), "default");
            setSimulationHours(script, hours);
            Simulator(script, seed).writeAll(card, 512);
        }
        const Truth truth = readTruth(card);

        std::fprintf(stderr, "importing\n");
        StudyRepository::Options options;
        options.rootOverride = QDir(work).filePath("store");
        StudyRepository repo("VeltronaHolter", options);
        CardImportOptions import;
        import.patient.lastName = "Simulated";
        import.patient.firstName = "Day";
        import.patient.start = QDateTime(QDate(2024, 1, 15), QTime(9, 0));
        const QString file = CardSignalFile::dataFilePath(card);
        const int id = importCard(repo, file, CardSignalFile::findDataOffset(file), import);
        Study* study = repo.openStudy(id);
        if (!study || !study->signal() || !study->beats())
            throw std::runtime_error("the imported study cannot be opened");

        std::fprintf(stderr, "processing\n");
        StudyProcessor processor(study);
        processor.setAutoDelete(false);
        bool done = false;
        QObject::connect(&processor, &StudyProcessor::done, [&done] { done = true; });
        processor.run();
        if (!done)
            throw std::runtime_error("processing did not finish");
        std::fprintf(stderr, "results\n");
        computeStudyResults(*study, AnalysisParams(), true);
        const ResultSet& r = study->results();

        const BeatTruth byRule = walkTruthBeats(truth.annotations, Simulator::kRate);
        const auto kindIs = [](std::initializer_list<const char*> kinds) {
            return [kinds](const TruthEpisode& e) {
                return std::any_of(kinds.begin(), kinds.end(),
                    [&e](const char* k) { return e.kind == QLatin1String(k); });
            };
        };
        const int vtEpisodes = episodeCount(truth, kindIs({ "vt" }));
        const int bigeminy = episodeCount(truth, kindIs({ "bigeminy" }));
        const int trigeminy = episodeCount(truth, kindIs({ "trigeminy" }));
        const int afEpisodeCount = episodeCount(truth, kindIs({ "afib" }));
        double afSeconds = 0.0;
        for (const TruthEpisode& e : truth.episodes)
            if (e.kind == "afib")
                afSeconds += e.duration;
        // Rate episodes the results can see: a set rate beyond the default limits (40 and
        // 120 bpm, strict) for at least the default 5 s.
        const int bradyBeyond = episodeCount(truth, [](const TruthEpisode& e) {
            return e.rate > 0.0 && e.rate < 40.0 && e.duration >= 5.0;
        });
        const int bradyAll = episodeCount(truth, kindIs({ "brady" }));
        const int tachyBeyond = episodeCount(
            truth, [](const TruthEpisode& e) { return e.rate > 120.0 && e.duration >= 5.0; });
        const int tachyAll = episodeCount(truth, kindIs({ "tachy" }));

        const auto* maxRun = r.findAs<EventResult>(ResultKeys::kPvc.maxRun);
        const auto* afList = events(r, ResultKeys::AFib::kEvents);
        const int c = truth.counts["couplet"].toInt();
        const int t = truth.counts["triplet"].toInt();

        std::printf("Simulated %.1f h (seed %llu), %d beats in truth.atr, %s in the study\n\n",
            truth.seconds / 3600.0, seed,
            int(truth.counts["N"].toInt() + truth.counts["V"].toInt() + truth.counts["S"].toInt()
                + truth.counts["F"].toInt()),
            qPrintable(figure(value(r, ResultKeys::HeartRate::kTotalBeatCount))));
        std::printf("%-22s %10s %10s %10s %9s  %s\n", "Measure", "Simulator", "By rule", "Results",
            "In truth", "How the truth figures were derived");
        printRow("V beats (all)", figure(truth.counts["V"].toInt()), figure(byRule.vBeats),
            figure(value(r, ResultKeys::kPvc.totalCount)), "-",
            QString("truth counts[V]; of them isolated PVCs %1 (counts[pvc]); results count "
                    "every V beat")
                .arg(truth.counts["pvc"].toInt()));
        printRow("S beats (all)", figure(truth.counts["S"].toInt()), figure(byRule.sBeats),
            figure(value(r, ResultKeys::kSvpb.totalCount)), "-",
            "truth A beats: SVPBs and SVT beats");
        printRow("PVC couplets", figure(c), figure(byRule.couplets),
            figure(value(r, ResultKeys::kPvc.coupletCount)),
            figure(eventsInTruth(events(r, ResultKeys::kPvc.coupletEvents), truth, { "couplet" })),
            "simulator: counted couplets; by rule: V V series in truth.atr (bigeminy never "
            "makes one)");
        printRow("PVC triplets", figure(t), figure(byRule.triplets),
            figure(value(r, ResultKeys::kPvc.tripletCount)),
            figure(eventsInTruth(events(r, ResultKeys::kPvc.tripletEvents), truth, { "triplet" })),
            "simulator: counted triplets");
        printRow("PVC runs (>3)", figure(vtEpisodes), figure(byRule.runs),
            figure(value(r, ResultKeys::kPvc.runCount)),
            figure(eventsInTruth(events(r, ResultKeys::kPvc.runEvents), truth, { "vt" })),
            QString("simulator: VT episodes (SVT runs are not ventricular); longest run: by "
                    "rule %1, results %2")
                .arg(byRule.longestRun)
                .arg(maxRun ? figure(maxRun->value) : QString("-")));
        printRow("Bigeminy episodes", figure(bigeminy), "-",
            figure(value(r, ResultKeys::Bigeminy::kCount)),
            figure(eventsInTruth(events(r, ResultKeys::Bigeminy::kEvents), truth, { "bigeminy" })),
            "truth episodes of kind bigeminy");
        printRow("Trigeminy episodes", figure(trigeminy), "-",
            figure(value(r, ResultKeys::Trigeminy::kCount)),
            figure(
                eventsInTruth(events(r, ResultKeys::Trigeminy::kEvents), truth, { "trigeminy" })),
            "truth episodes of kind trigeminy");
        printRow("Pauses (RR > 2 s)", figure(truth.counts["pause"].toInt()), figure(byRule.pauses),
            figure(value(r, ResultKeys::Pause::kCount)),
            figure(eventsInTruth(events(r, ResultKeys::Pause::kEvents), truth, { "pause" })),
            "simulator: sinus arrests; by rule: every RR > 2.0 s in truth.atr (any cause)");
        printRow("Bradycardia episodes", figure(bradyBeyond), "-",
            figure(value(r, ResultKeys::Arrhythmia::kTotalBradyCount)),
            figure(eventsInTruth(events(r, ResultKeys::Arrhythmia::kBradycardiaEvents), truth,
                { "brady", "afib", "avblock" })),
            QString("episodes set below 40 bpm for >= 5 s; the script's %1 brady episode(s) "
                    "run at 42 bpm, above the limit")
                .arg(bradyAll));
        printRow("Tachycardia episodes", figure(tachyBeyond), "-",
            figure(value(r, ResultKeys::Arrhythmia::kTotalTachyCount)),
            figure(eventsInTruth(events(r, ResultKeys::Arrhythmia::kTachycardiaEvents), truth,
                { "tachy", "svt", "vt", "afib" })),
            QString("episodes set above 120 bpm for >= 5 s: %1 sinus tachy, SVT, VT; AF with "
                    "a mean rate near 120 may add some")
                .arg(tachyAll));
        printRow("AF episodes", figure(afEpisodeCount), "-",
            afList ? figure(afList->events.size()) : QString("-"),
            figure(eventsInTruth(afList, truth, { "afib" })), "truth episodes of kind afib");
        printRow("AF total time (s)", figure(afSeconds), "-",
            figure(value(r, ResultKeys::AFib::kTotalTime)), "-", "sum of the truth AF durations");

        // Episode and duration agreement of AF with the harness's rhythm comparison.
        QVector<AfEpisode> test;
        if (afList)
            for (const EventResult& e : afList->events)
                test.push_back({ e.timestamp, e.timestamp + e.duration });
        const AfComparison af
            = compareAf(afEpisodes(truth.annotations, Simulator::kRate, 0.0, truth.seconds), test);
        std::printf("\nAF against truth.atr: episodes Se %s%% +P %s%%, duration Se %s%% +P %s%% "
                    "(reference %.0f s, test %.0f s, both %.0f s)\n",
            qPrintable(formatPercent(af.episodeSensitivity())),
            qPrintable(formatPercent(af.episodePositivePredictivity())),
            qPrintable(formatPercent(af.durationSensitivity())),
            qPrintable(formatPercent(af.durationPositivePredictivity())), af.referenceSeconds,
            af.testSeconds, af.overlapSeconds);
        std::printf("\nResult events by the truth episode they overlap (rhythm and beat events; "
                    "noise and ST episodes left out):\n");
        const std::pair<const char*, const char*> lists[] = {
            { "PVC runs", ResultKeys::kPvc.runEvents },
            { "bigeminy", ResultKeys::Bigeminy::kEvents },
            { "trigeminy", ResultKeys::Trigeminy::kEvents },
            { "pauses", ResultKeys::Pause::kEvents },
            { "bradycardia", ResultKeys::Arrhythmia::kBradycardiaEvents },
            { "tachycardia", ResultKeys::Arrhythmia::kTachycardiaEvents },
            { "AF", ResultKeys::AFib::kEvents },
        };
        for (const auto& l : lists)
            std::printf(
                "  %-12s %s\n", l.first, qPrintable(overlapBreakdown(events(r, l.second), truth)));
        std::printf("\"In truth\": result events overlapping a truth episode of the matching "
                    "kind(s); \"-\" where not applicable.\n");
        repo.closeStudy(study);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return 0;
}
