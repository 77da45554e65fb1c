#include "tools/evaluation/rhythmcomparison.h"

#include <algorithm>

namespace {

constexpr int kRhythmChange = 28;

bool isAfText(QByteArray aux)
{
    // Writers differ in trailing padding; the rhythm is the text itself.
    while (!aux.isEmpty() && (aux.endsWith('\0') || aux.endsWith(' ')))
        aux.chop(1);
    return aux == "(AFIB";
}

// Time that two episodes share, in seconds.
double overlap(const AfEpisode& a, const AfEpisode& b)
{
    return std::max(0.0, std::min(a.end, b.end) - std::max(a.begin, b.begin));
}

std::optional<double> ratio(double num, double den)
{
    if (den <= 0.0)
        return std::nullopt;
    return num / den;
}

} // namespace

QVector<AfEpisode> afEpisodes(const QVector<WfdbAnnotation>& annotations, double samplingRate,
    double startSeconds, double recordEndSeconds)
{
    QVector<AfEpisode> raw;
    bool inAf = false;
    double begin = 0.0;
    for (const WfdbAnnotation& a : annotations) {
        if (a.code != kRhythmChange)
            continue;
        const double t = double(a.sample) / samplingRate;
        const bool af = isAfText(a.aux);
        if (af && !inAf) {
            begin = t;
            inAf = true;
        } else if (!af && inAf) {
            raw.push_back({ begin, t });
            inAf = false;
        }
    }
    if (inAf)
        raw.push_back({ begin, recordEndSeconds });

    QVector<AfEpisode> episodes;
    for (AfEpisode e : raw) {
        e.begin = std::max(e.begin, startSeconds);
        e.end = std::min(e.end, recordEndSeconds);
        if (e.end > e.begin)
            episodes.push_back(e);
    }
    return episodes;
}

std::optional<double> AfComparison::episodeSensitivity() const
{
    return ratio(referenceEpisodesDetected, referenceEpisodes);
}

std::optional<double> AfComparison::episodePositivePredictivity() const
{
    return ratio(testEpisodesConfirmed, testEpisodes);
}

std::optional<double> AfComparison::durationSensitivity() const
{
    return ratio(overlapSeconds, referenceSeconds);
}

std::optional<double> AfComparison::durationPositivePredictivity() const
{
    return ratio(overlapSeconds, testSeconds);
}

AfComparison& AfComparison::operator+=(const AfComparison& o)
{
    referenceEpisodes += o.referenceEpisodes;
    referenceEpisodesDetected += o.referenceEpisodesDetected;
    testEpisodes += o.testEpisodes;
    testEpisodesConfirmed += o.testEpisodesConfirmed;
    referenceSeconds += o.referenceSeconds;
    testSeconds += o.testSeconds;
    overlapSeconds += o.overlapSeconds;
    return *this;
}

AfComparison compareAf(const QVector<AfEpisode>& reference, const QVector<AfEpisode>& test)
{
    // Episodes of one stream never overlap each other, so the pairwise overlaps add up to the
    // time in both. Records hold a handful of episodes: the quadratic loop is fine.
    AfComparison c;
    c.referenceEpisodes = reference.size();
    c.testEpisodes = test.size();
    QVector<bool> testHit(test.size(), false);
    for (const AfEpisode& r : reference) {
        c.referenceSeconds += r.duration();
        bool hit = false;
        for (int j = 0; j < test.size(); ++j) {
            const double o = overlap(r, test[j]);
            if (o > 0.0) {
                hit = true;
                testHit[j] = true;
                c.overlapSeconds += o;
            }
        }
        if (hit)
            ++c.referenceEpisodesDetected;
    }
    for (int j = 0; j < test.size(); ++j) {
        c.testSeconds += test[j].duration();
        if (testHit[j])
            ++c.testEpisodesConfirmed;
    }
    return c;
}
