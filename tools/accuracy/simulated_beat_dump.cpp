// Beat-level picture of a processed simulated day against the simulator's truth. Reads the store
// that `simulated_results_eval --keep DIR` leaves behind and the card's truth files, pairs every
// truth beat with the list entry nearest its R instant, and prints:
//   - with --from/--to, the entries of that stretch with their truth label;
//   - how truth beats end (missed, noise, or the type they got), by truth label;
//   - the truth beats turned into noise, inside and outside the truth's noisy stretches (muscle
//     noise, motion, electrode off);
//   - the beats labelled S, by truth label and by what the truth says surrounds them.
//   simulated_beat_dump --keep DIR [--from SECONDS --to SECONDS] [--tsv FILE]

#include "recorder/wfdbannotation.h"
#include "store/beatlist.h"
#include "store/study.h"
#include "store/studyrepository.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <stdexcept>

namespace {

constexpr double kTruthRate = 500.0; // samples per second of truth.atr
constexpr double kMatchWindow = 0.15; // seconds between a truth R and its entry

struct Stretch
{
    QString kind;
    double start = 0.0;
    double end = 0.0;
};

struct TruthBeat
{
    double time = 0.0; // R instant, seconds
    char label = 'N'; // N, V, A (SVPB or SVT beat), F
    QByteArray rhythm; // the rhythm annotation in force
    char previous = 0; // label of the truth beat before
};

struct Entry
{
    double rTime = 0.0;
    double rr = 0.0;
    double medianRr = 0.0;
    int classId = 0;
    int type = 0;
    bool isBeat = false;
    int truth = -1; // index of the paired truth beat
};

char labelOf(int code)
{
    switch (code) {
    case 1:
        return 'N';
    case 5:
        return 'V';
    case 8:
        return 'A';
    case 6:
        return 'F';
    default:
        return 0;
    }
}

QVector<TruthBeat> readTruthBeats(const QString& card)
{
    QVector<TruthBeat> out;
    QByteArray rhythm = "(N";
    char previous = 0;
    for (const WfdbAnnotation& a : readWfdbAnnotations(QDir(card).filePath("truth.atr"))) {
        if (a.code == 28) {
            rhythm = a.aux;
            continue;
        }
        const char label = labelOf(a.code);
        if (!label)
            continue;
        out.push_back({ double(a.sample) / kTruthRate, label, rhythm, previous });
        previous = label;
    }
    return out;
}

QVector<Stretch> readStretches(const QString& card)
{
    QFile f(QDir(card).filePath("truth.json"));
    if (!f.open(QIODevice::ReadOnly))
        throw std::runtime_error("Cannot read " + f.fileName().toStdString());
    const QJsonObject root = QJsonDocument::fromJson(f.readAll()).object();
    QVector<Stretch> out;
    const auto add = [&out](const QJsonObject& o, const QString& kind) {
        const double start = o["start"].toDouble();
        out.push_back({ kind, start, start + o["duration"].toDouble() });
    };
    for (const QJsonValue& v : root["episodes"].toArray()) {
        const QJsonObject o = v.toObject();
        if (o["kind"] == "muscle" || o["kind"] == "motion")
            add(o, o["kind"].toString());
    }
    for (const QJsonValue& v : root["statusEvents"].toArray()) {
        const QJsonObject o = v.toObject();
        if (o["kind"] == "electrodes-off")
            add(o, "electrodes-off");
    }
    return out;
}

QString inStretch(const QVector<Stretch>& stretches, double t, double margin)
{
    for (const Stretch& s : stretches)
        if (t >= s.start - margin && t < s.end + margin)
            return s.kind;
    return QString();
}

const char* typeName(int type)
{
    static const char* names[] = { "U", "N", "V", "F", "S" };
    return type >= 0 && type < 5 ? names[type] : "?";
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    QString keep, tsv;
    double from = -1.0, to = -1.0;
    for (int i = 0; i < args.size(); ++i) {
        const bool hasValue = i + 1 < args.size();
        if (args[i] == "--keep" && hasValue)
            keep = args[++i];
        else if (args[i] == "--from" && hasValue)
            from = args[++i].toDouble();
        else if (args[i] == "--to" && hasValue)
            to = args[++i].toDouble();
        else if (args[i] == "--tsv" && hasValue)
            tsv = args[++i];
        else {
            keep.clear();
            break;
        }
    }
    if (keep.isEmpty()) {
        std::fprintf(stderr,
            "usage: simulated_beat_dump --keep DIR [--from SECONDS --to SECONDS] [--tsv FILE]\n");
        return 2;
    }
    try {
        const QString card = QDir(keep).filePath("card");
        const QVector<TruthBeat> truth = readTruthBeats(card);
        const QVector<Stretch> stretches = readStretches(card);

        StudyRepository::Options options;
        options.rootOverride = QDir(keep).filePath("store");
        StudyRepository repo("VeltronaHolter", options);
        const QList<StudyInfo> studies = repo.listStudies();
        if (studies.isEmpty())
            throw std::runtime_error("no study in " + keep.toStdString());
        Study* study = repo.openStudy(studies.front().id);
        if (!study || !study->beats())
            throw std::runtime_error("the study cannot be opened");
        BeatList& list = *study->beats();

        QVector<Entry> entries(list.count());
        for (int i = 0; i < list.count(); ++i) {
            Beat b;
            if (!list.get(i, b))
                continue;
            entries[i] = { b.rInstant(), b.rr(), b.medianRR(), b.classId, b.type, b.isBeat, -1 };
        }
        // Pair in time order: each truth beat takes the nearest entry within the window.
        QVector<int> entryOf(truth.size(), -1);
        int j = 0;
        for (int t = 0; t < truth.size(); ++t) {
            while (j + 1 < entries.size() && entries[j + 1].rTime <= truth[t].time)
                ++j;
            int best = -1;
            for (int k = std::max(0, j - 1); k < std::min(int(entries.size()), j + 2); ++k) {
                const double d = std::fabs(entries[k].rTime - truth[t].time);
                if (d <= kMatchWindow
                    && (best < 0 || d < std::fabs(entries[best].rTime - truth[t].time)))
                    best = k;
            }
            if (best >= 0 && entries[best].truth < 0) {
                entryOf[t] = best;
                entries[best].truth = t;
            }
        }

        if (!tsv.isEmpty()) {
            QFile out(tsv);
            if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate))
                throw std::runtime_error("Cannot write " + tsv.toStdString());
            out.write("index\trtime\tisBeat\tclassId\ttype\trr\tmedianRR\ttruth\trhythm\n");
            for (int i = 0; i < entries.size(); ++i) {
                const Entry& e = entries[i];
                const QByteArray label
                    = e.truth >= 0 ? QByteArray(1, truth[e.truth].label) : QByteArray("-");
                const QByteArray rhythm = e.truth >= 0 ? truth[e.truth].rhythm : QByteArray("-");
                out.write(QString("%1\t%2\t%3\t%4\t%5\t%6\t%7\t%8\t%9\n")
                              .arg(i)
                              .arg(e.rTime, 0, 'f', 3)
                              .arg(int(e.isBeat))
                              .arg(e.classId)
                              .arg(typeName(e.type))
                              .arg(e.rr, 0, 'f', 3)
                              .arg(e.medianRr, 0, 'f', 3)
                              .arg(QString(label), QString(rhythm))
                              .toUtf8());
            }
        }

        if (from >= 0.0 && to > from) {
            std::printf("%7s %10s %5s %8s %4s %7s %7s  %s\n", "index", "R (s)", "beat", "class",
                "type", "RR", "medRR", "truth");
            for (int i = 0; i < entries.size(); ++i) {
                const Entry& e = entries[i];
                if (e.rTime < from || e.rTime > to)
                    continue;
                std::printf("%7d %10.3f %5d %8d %4s %7.3f %7.3f  %s\n", i, e.rTime, int(e.isBeat),
                    e.classId, typeName(e.type), e.rr, e.medianRr,
                    e.truth >= 0 ? qPrintable(QString("%1 %2")
                                                  .arg(QChar(truth[e.truth].label))
                                                  .arg(QString(truth[e.truth].rhythm)))
                                 : "-");
            }
            std::printf("\n");
        }

        // How each truth label ends: missed, noise, or the type of its entry.
        QMap<char, QMap<QString, int>> fate;
        QMap<QString, int> noiseWhere;
        for (const char* where :
            { "inside muscle", "inside motion", "inside electrodes-off", "outside" })
            noiseWhere[where] = 0; // shown even when nothing lands there
        QMap<QString, int> sByContext;
        for (int t = 0; t < truth.size(); ++t) {
            const int e = entryOf[t];
            QString what;
            if (e < 0)
                what = "missed";
            else if (!entries[e].isBeat)
                what = "noise";
            else
                what = typeName(entries[e].type);
            fate[truth[t].label][what] += 1;
            if (what == "noise") {
                const QString kind = inStretch(stretches, truth[t].time, 0.0);
                const QString near = inStretch(stretches, truth[t].time, 5.0);
                noiseWhere[!kind.isEmpty() ? "inside " + kind
                        : !near.isEmpty()  ? "within 5 s of " + near
                                           : "outside"]
                    += 1;
            }
            if (what == "S") {
                const QString noisy = inStretch(stretches, truth[t].time, 0.0);
                sByContext[QString("%1 in %2%3%4")
                               .arg(QChar(truth[t].label))
                               .arg(QString(truth[t].rhythm))
                               .arg(truth[t].previous == 'V' ? ", after V" : "")
                               .arg(noisy.isEmpty() ? "" : ", in " + noisy)]
                    += 1;
            }
        }
        int unpaired = 0, unpairedS = 0;
        for (const Entry& e : entries) {
            if (e.isBeat && e.truth < 0) {
                ++unpaired;
                unpairedS += e.type == 4;
            }
        }

        std::printf("Truth beats by the fate of their entry (within %.2f s):\n", kMatchWindow);
        for (auto it = fate.cbegin(); it != fate.cend(); ++it) {
            std::printf("  %c:", it.key());
            for (auto f = it.value().cbegin(); f != it.value().cend(); ++f)
                std::printf(" %s %d", qPrintable(f.key()), f.value());
            std::printf("\n");
        }
        std::printf("Beats without a truth beat: %d, of them S %d\n\n", unpaired, unpairedS);
        std::printf("Truth beats turned into noise, by where they lie:\n");
        for (auto it = noiseWhere.cbegin(); it != noiseWhere.cend(); ++it)
            std::printf("  %-32s %d\n", qPrintable(it.key()), it.value());
        std::printf("\nBeats labelled S, by truth label and context:\n");
        for (auto it = sByContext.cbegin(); it != sByContext.cend(); ++it)
            std::printf("  %-40s %d\n", qPrintable(it.key()), it.value());
        repo.closeStudy(study);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return 0;
}
