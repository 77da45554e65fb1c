// Shows how the classifier sees one MIT-BIH record: runs detection, noise checking and
// classification in-process, closes the matcher, and prints every class with its member count,
// the reference labels of its members, the measures and the scores that type assignment will
// look at, then the type it got after the automatic rule and the label refinement (only the
// rule with --literal-rules).
//   mitdb_class_dump [--data DIR] [--min N] [--literal-rules] RECORD

#include "analysis/averagebeatdelineator.h"
#include "analysis/beatclassifier.h"
#include "analysis/labelrefinement.h"
#include "analysis/memorybeatlist.h"
#include "analysis/morphologymatcher.h"
#include "analysis/noisechecker.h"
#include "analysis/resampledsource.h"
#include "analysis/typeassignment.h"
#include "analysis/waveletbank.h"
#include "analysis/waveletbeatdetector.h"
#include "recorder/wfdbannotation.h"
#include "recorder/wfdbrecord.h"
#include "store/beatclass.h"

#include <QCoreApplication>
#include <QDir>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>

namespace {

// Reference label groups: 0 N, 1 V, 2 S, 3 F, 4 Q/other, 5 no reference beat near.
int group(int code)
{
    switch (code) {
    case 1:
    case 2:
    case 3:
    case 11:
    case 34:
        return 0;
    case 5:
    case 10:
        return 1;
    case 4:
    case 7:
    case 8:
    case 9:
        return 2;
    case 6:
        return 3;
    default:
        return 4;
    }
}

bool isBeatCode(int code)
{
    return (code >= 1 && code <= 13) || code == 25 || code == 30 || code == 34 || code == 35
        || code == 38;
}

struct Scores
{
    int nScore = 0, nTotal = 0, vScore = 0, vTotal = 0, channels = 0;
};

// The two scorings written out again from their tables, to show how far a class is from N or V.
Scores score(const ClassProfile& c, const ClassProfile& r, const double* corr)
{
    Scores s;
    const auto ratio = [](double a, double b) { return a > 0 && b > 0 ? a / b : 0.0; };
    for (int ch = 0; ch < std::min(c.channels, r.channels); ++ch) {
        if (!c.qrsSign[ch] || !r.qrsSign[ch])
            continue;
        ++s.channels;
        const double rA = ratio(c.amplitude[ch], r.amplitude[ch]);
        const double rQ = ratio(c.duration[ch], r.duration[ch]);
        s.nTotal += 3;
        s.nScore += corr[ch] > 0.9 ? 3 : corr[ch] > 0.8 ? 2 : corr[ch] > 0.7 ? 1 : 0;
        if (rA > 0 && rA < 15) {
            s.nTotal += 2;
            s.nScore += rA > 0.8 && rA < 1.2 ? 2 : 0;
        }
        if (rQ > 0) {
            s.nTotal += 2;
            s.nScore += rQ < 1.1 ? 2 : 0;
        }
        const int nb = (c.qrsSign[ch] == r.qrsSign[ch])
            + (std::fabs(c.pPolarity[ch] - r.pPolarity[ch]) < 0.5)
            + (std::fabs(c.tPolarity[ch] - r.tPolarity[ch]) < 0.5);
        s.nScore += nb;
        s.nTotal += nb;
        s.vTotal += 3;
        s.vScore += corr[ch] < 0.5 ? 3 : corr[ch] < 0.7 ? 2 : corr[ch] < 0.8 ? 1 : 0;
        if (rA > 0 && rA < 15) {
            s.vTotal += 3;
            s.vScore += (rA < 0.5 || rA > 2) ? 3
                : (rA < 0.7 || rA > 1.5)     ? 2
                : (rA < 0.8 || rA > 1.2)     ? 1
                                             : 0;
        }
        if (rQ > 0) {
            s.vTotal += 3;
            s.vScore += rQ > 1.4 ? 3 : rQ > 1.2 ? 2 : rQ > 1.1 ? 1 : 0;
        }
        const int vb = (c.qrsSign[ch] != r.qrsSign[ch])
            + (std::fabs(r.pPolarity[ch]) > 0.5 && std::fabs(c.pPolarity[ch]) < 0.1)
            + ((c.tPolarity[ch] > 0.5 && r.tPolarity[ch] < -0.5)
                || (c.tPolarity[ch] < -0.5 && r.tPolarity[ch] > 0.5));
        s.vScore += vb;
        s.vTotal += vb;
    }
    return s;
}

std::vector<double> unit(const QVector<double>& t)
{
    std::vector<double> v(t.begin(), t.end());
    MorphologyMatcher::normalise(v);
    return v;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    QString dataDir = "/work/shared/data/mitdb";
    int minMembers = 3;
    double around = -1.0;
    int showClass = 0;
    bool literal = false;
    QString rec;
    for (int i = 0; i < args.size(); ++i) {
        if (args[i] == "--data" && i + 1 < args.size())
            dataDir = args[++i];
        else if (args[i] == "--around" && i + 1 < args.size())
            around = args[++i].toDouble();
        else if (args[i] == "--class" && i + 1 < args.size())
            showClass = args[++i].toInt();
        else if (args[i] == "--literal-rules")
            literal = true;
        else if (args[i] == "--min" && i + 1 < args.size())
            minMembers = args[++i].toInt();
        else
            rec = args[i];
    }
    if (rec.isEmpty()) {
        std::fprintf(stderr, "usage: mitdb_class_dump [--data DIR] [--min N] [--literal-rules] RECORD\n");
        return 1;
    }
    const QString path = QDir(dataDir).filePath(rec);
    const char* letters = "UNVFS";
    try {
        WfdbSource raw(path);
        const double rawRate = raw.samplingRate();
        QVector<WfdbAnnotation> ref;
        for (const WfdbAnnotation& a : readWfdbAnnotations(path + ".atr"))
            if (isBeatCode(a.code))
                ref.push_back(a);

        ResampledSource source250(&raw, 250);
        MemoryBeatList list;
        {
            WaveletBank bank(&source250);
            WaveletBeatDetector detector(&bank, &list);
            detector.init(&source250, 0.0, 0.0, -1);
            const double duration = double(source250.sampleCount()) / 250.0;
            while (detector.currentTime() < duration)
                detector.processBlock();
            detector.finish();
        }
        {
            NoiseChecker checker(list);
            while (checker.index < list.count())
                checker.step();
            checker.finish();
        }
        BeatClassSet classes(&source250, &list);
        BeatClassifier classifier;
        classifier.init(&list, &source250, &classes);
        // Classify beat by beat so that the first type given to each class can be traced to
        // the beat that set it.
        std::map<int, int> typedBy; // class id -> beat index that set its first type
        for (int i = 0; i < list.count(); ++i) {
            Beat b;
            if (!list.get(i, b) || !b.isBeat)
                continue;
            std::map<int, int> before;
            for (const auto& e : classes.classes())
                before[e.first] = e.second->type;
            classifier.classify(b);
            for (const auto& e : classes.classes()) {
                const auto it = before.find(e.first);
                const int old = it == before.end() ? -1 : it->second;
                if ((old == -1 || old == BeatU) && e.second->type != BeatU && e.second->type != -1)
                    typedBy[e.first] = i;
            }
        }
        classifier.matcher().close();

        // Reference label of every list entry: the nearest reference beat within 150 ms.
        std::vector<int> label(size_t(list.count()), 5);
        std::vector<int> privateCount(6, 0);
        for (int i = 0; i < list.count(); ++i) {
            Beat b;
            list.get(i, b);
            const qint64 s = qint64(std::llround(b.timing[Beat::RTime] * rawRate));
            auto it = std::lower_bound(ref.begin(), ref.end(), s,
                [](const WfdbAnnotation& a, qint64 v) { return a.sample < v; });
            qint64 bestD = qint64(0.15 * rawRate) + 1;
            int code = -1;
            for (auto j : { it - 1, it }) {
                if (j >= ref.begin() && j < ref.end() && std::llabs(j->sample - s) < bestD) {
                    bestD = std::llabs(j->sample - s);
                    code = j->code;
                }
            }
            label[size_t(i)] = code < 0 ? 5 : group(code);
            if (b.isBeat && b.classId >= BeatClassifier::kPrivateClassBase)
                ++privateCount[size_t(label[size_t(i)])];
        }
        if (around >= 0.0) {
            // The beats of the 20 s before `around`: label, RR ratio, widest QRS per channel.
            for (int i = 0; i < list.count(); ++i) {
                Beat b;
                list.get(i, b);
                if (b.timing[Beat::RTime] < around - 20.0 || b.timing[Beat::RTime] > around + 1.0)
                    continue;
                double widest = 0.0;
                for (int ch = 0; ch < 2; ++ch)
                    if (b.measure[ch][Beat::HasQrs] != 0.0)
                        widest = std::max(widest, b.measure[ch][Beat::QrsDuration]);
                const double med = b.timing[Beat::MedianRR];
                std::printf(
                    "%5d %8.2f %c lab%d rr %.3f ratio %.2f widest %.3f pol %+d %+d dur %.3f %.3f"
                    " class %d\n",
                    i, b.timing[Beat::RTime], b.isBeat ? ' ' : '*', label[size_t(i)],
                    b.timing[Beat::RR], med > 0 ? b.timing[Beat::RR] / med : 0.0, widest,
                    int(b.measure[0][Beat::QrsPolarity]), int(b.measure[1][Beat::QrsPolarity]),
                    b.measure[0][Beat::QrsDuration], b.measure[1][Beat::QrsDuration], b.classId);
            }
        }
        std::printf("record %s: %d entries, private-class beats N%d V%d S%d F%d Q%d -%d\n",
            qPrintable(rec), list.count(), privateCount[0], privateCount[1], privateCount[2],
            privateCount[3], privateCount[4], privateCount[5]);

        std::vector<BeatClass*> order;
        for (const auto& e : classes.classes())
            order.push_back(e.second.get());
        std::stable_sort(order.begin(), order.end(), [](const BeatClass* a, const BeatClass* b) {
            return a->memberCount() > b->memberCount();
        });
        std::map<const BeatClass*, int> firstType;
        for (BeatClass* c : order)
            firstType[c] = c->type;

        AverageBeatDelineator delineator;
        TypeAssignment assignment(&list, &source250, &classes, &delineator);
        BeatClass* reference = nullptr;
        for (BeatClass* c : order)
            if (c->type == BeatN) {
                reference = c;
                break;
            }
        if (!reference)
            reference = order.front();
        const ClassProfile rp = assignment.profile(*reference);
        std::map<const BeatClass*, ClassProfile> profiles;
        for (BeatClass* c : order)
            if (c->memberCount() >= minMembers)
                profiles[c] = assignment.profile(*c);

        assignment.automaticRule();
        if (!literal)
            LabelRefinement(&list, &source250, &classes).run();

        std::printf("%6s %5s %3s>%-3s %5s %5s %5s %4s %4s | %5s %5s | %s\n", "id", "n", "t0", "t",
            "refN", "refV", "refS", "oth", "rr", "Nsc", "Vsc",
            "per channel: sign P T dur(ms) amp corr");
        for (BeatClass* c : order) {
            if (c->memberCount() < minMembers)
                continue;
            int counts[6] = {};
            for (int m : c->members)
                ++counts[label[size_t(m)]];
            const ClassProfile& p = profiles[c];
            double corr[Beat::kChannels] = {};
            for (int ch = 0; ch < std::min(p.channels, rp.channels); ++ch)
                if (p.qrsSign[ch] && rp.qrsSign[ch])
                    corr[ch] = MorphologyMatcher::shiftedCorrelation(
                        unit(c->templ[ch]), unit(reference->templ[ch]), 10);
            const Scores s = score(p, rp, corr);
            const int t0 = firstType[c];
            std::printf("%6d %5d %3c>%-3c %5d %5d %5d %4d %4.2f | %2d/%-2d %2d/%-2d |%s", c->id,
                c->memberCount(), t0 >= 0 ? letters[t0] : '-', letters[c->type], counts[0],
                counts[1], counts[2], counts[3] + counts[4] + counts[5], c->meanRrRatio, s.nScore,
                s.nTotal, s.vScore, s.vTotal, c == reference ? " REF" : "");
            for (int ch = 0; ch < p.channels; ++ch)
                std::printf(" | %+d %+.1f %+.1f %3.0f %5.0f %.2f", p.qrsSign[ch], p.pPolarity[ch],
                    p.tPolarity[ch], p.duration[ch] * 1000, p.amplitude[ch], corr[ch]);
            std::printf("\n");
            const auto tb = typedBy.find(c->id);
            if (tb != typedBy.end() && counts[1] > counts[0]) {
                Beat b;
                list.get(tb->second, b);
                std::printf("        typed by beat %d at %.2f s, label %d, rr %.3f median %.3f\n",
                    tb->second, b.timing[Beat::RTime], label[size_t(tb->second)],
                    b.timing[Beat::RR], b.timing[Beat::MedianRR]);
            }
        }
        if (const BeatClass* shown = classes.find(showClass)) {
            for (int m : shown->members) {
                Beat b;
                list.get(m, b);
                const double med = b.timing[Beat::MedianRR];
                std::printf("  member %5d %8.2f lab%d rr %.3f median %.3f ratio %.2f\n", m,
                    b.timing[Beat::RTime], label[size_t(m)], b.timing[Beat::RR], med,
                    med > 0 ? b.timing[Beat::RR] / med : 0.0);
            }
        }
        // Where the reference V beats went: final type by size of their class.
        int where[5][4] = {}; // type x (1, 2-9, 10+, private or no class)
        for (const auto& e : classes.classes()) {
            const BeatClass& c = *e.second;
            const int bucket = c.memberCount() == 1 ? 0 : c.memberCount() < 10 ? 1 : 2;
            for (int m : c.members)
                if (label[size_t(m)] == 1 && c.type >= 0 && c.type < 5)
                    ++where[c.type][bucket];
        }
        for (int i = 0; i < list.count(); ++i) {
            Beat b;
            list.get(i, b);
            if (label[size_t(i)] == 1
                && (!b.isBeat || b.classId >= BeatClassifier::kPrivateClassBase))
                ++where[0][3];
        }
        std::printf("V beats by final type (class of 1 / 2-9 / 10+ / noise or private):\n");
        for (int t = 0; t < 5; ++t)
            std::printf("  %c %5d %5d %5d %5d\n", letters[t], where[t][0], where[t][1], where[t][2],
                where[t][3]);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return 0;
}
