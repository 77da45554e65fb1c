#include "fakebeats.h"
#include "recorder/wfdbannotation.h"
#include "results/afibanalyzer.h"
#include "tests/support/testsupport.h"

#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <vector>

using namespace fakebeats;

namespace {

using Span = std::pair<double, double>; // seconds

// MIT annotation codes to our types (normal, bundle branch blocks, escapes and paced count as
// N; a, J, A, S as S); -1 for annotations that are no beat.
int typeOfCode(int code)
{
    for (int c : { 1, 2, 3, 11, 12, 25, 30, 34, 38 })
        if (code == c)
            return BeatN;
    for (int c : { 4, 7, 8, 9 })
        if (code == c)
            return BeatS;
    return code == 5 || code == 10 ? BeatV : code == 6 ? BeatF : code == 13 ? BeatU : -1;
}

double overlap(const std::vector<Span>& a, const std::vector<Span>& b)
{
    double sum = 0.0;
    for (const Span& x : a)
        for (const Span& y : b)
            sum += std::max(0.0, std::min(x.second, y.second) - std::max(x.first, y.first));
    return sum;
}

double total(const std::vector<Span>& spans)
{
    double sum = 0.0;
    for (const Span& s : spans)
        sum += s.second - s.first;
    return sum;
}

// Sample rate and sample count from the first line of a WFDB header ("201 2 360 650000").
bool readHeader(const QString& path, double& rate, double& samples)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return false;
    const QList<QByteArray> fields = f.readLine().simplified().split(' ');
    if (fields.size() < 4)
        return false;
    rate = fields[2].toDouble();
    samples = fields[3].toDouble();
    return rate > 0.0 && samples > 0.0;
}

// AF time found by the detector on the reference beats of the records with AF against the
// "(AFIB" rhythm annotations. The detector sees only intervals and types here (no P waves),
// so this measures the interval rule alone.
TEST(AFibMitdb, EpisodesOverlapTheReferenceRhythm)
{
    HOLTER_REQUIRE_SHARED_DATA(dir);
    int records = 0;
    for (const char* name : { "201", "203" }) {
        const QString base = dir + "/mitdb/" + name;
        double rate = 0.0, samples = 0.0;
        if (!QFileInfo::exists(base + ".atr") || !readHeader(base + ".hea", rate, samples))
            continue;
        const QVector<WfdbAnnotation> anns = readWfdbAnnotations(base + ".atr");
        const double duration = samples / rate;

        Beats beats(duration, 2);
        std::vector<Span> reference;
        double afSince = -1.0;
        double prevR = -1.0;
        for (const WfdbAnnotation& a : anns) {
            const double t = a.sample / rate;
            if (a.code == 28) { // rhythm change
                if (afSince >= 0.0)
                    reference.emplace_back(afSince, t);
                afSince = a.aux.startsWith("(AFIB") ? t : -1.0;
                continue;
            }
            const int type = typeOfCode(a.code);
            if (type < 0)
                continue;
            beats.add(t - 0.2, prevR < 0.0 ? 0.0 : t - prevR, type);
            prevR = t;
        }
        if (afSince >= 0.0)
            reference.emplace_back(afSince, duration);
        ASSERT_FALSE(reference.empty()) << name << " has AF in the reference";

        AFibAnalyzer analyzer;
        run(analyzer, beats);
        std::vector<Span> found;
        for (const EventResult& e : resultOf<EventListResult>(analyzer, "afibEvents")->events)
            found.emplace_back(e.timestamp, e.timestamp + e.duration);

        const double both = overlap(reference, found);
        const double sensitivity = both / total(reference);
        const double predictivity = found.empty() ? 0.0 : both / total(found);
        std::cout << "record " << name << ": reference AF " << total(reference) << " s, found "
                  << total(found) << " s, sensitivity " << sensitivity << ", predictivity "
                  << predictivity << std::endl;
        EXPECT_DOUBLE_EQ(resultOf<ValueResult>(analyzer, "afibTotalTime")->value, total(found));
        // Floors below the figures measured when this was written (201: 0.92 and 0.57, 203:
        // 0.995 and 0.81), to catch a detector that has lost its way, not to grade it.
        EXPECT_GT(sensitivity, 0.8) << name;
        EXPECT_GT(predictivity, 0.45) << name;
        ++records;
    }
    if (records == 0)
        GTEST_SKIP() << "no MIT-BIH record with AF found";
}

} // namespace
