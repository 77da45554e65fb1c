#pragma once

#include "recorder/wfdbannotation.h"

#include <QVector>

#include <optional>

// One atrial fibrillation episode, in seconds from the start of the record.
struct AfEpisode
{
    double begin = 0.0;
    double end = 0.0;

    double duration() const { return end - begin; }
    bool operator==(const AfEpisode& o) const { return begin == o.begin && end == o.end; }
};

// The AF episodes of an annotation stream: from each rhythm change (code 28) whose text is
// "(AFIB" to the next rhythm change of another rhythm, or to `recordEndSeconds`. Episodes are
// clipped to [startSeconds, recordEndSeconds]; what is left empty is dropped.
QVector<AfEpisode> afEpisodes(const QVector<WfdbAnnotation>& annotations, double samplingRate,
    double startSeconds, double recordEndSeconds);

// Episode and duration agreement of AF between a reference and a test annotation stream.
// Episode sensitivity: reference episodes that some test episode overlaps (by a positive time)
// over all reference episodes; episode positive predictivity the same the other way round.
// Duration sensitivity: AF time in both over AF time in the reference; duration positive
// predictivity: AF time in both over AF time in the test.
struct AfComparison
{
    int referenceEpisodes = 0;
    int referenceEpisodesDetected = 0; // overlapped by a test episode
    int testEpisodes = 0;
    int testEpisodesConfirmed = 0; // overlapped by a reference episode
    double referenceSeconds = 0.0;
    double testSeconds = 0.0;
    double overlapSeconds = 0.0;

    std::optional<double> episodeSensitivity() const;
    std::optional<double> episodePositivePredictivity() const;
    std::optional<double> durationSensitivity() const;
    std::optional<double> durationPositivePredictivity() const;

    AfComparison& operator+=(const AfComparison& o);
};

AfComparison compareAf(const QVector<AfEpisode>& reference, const QVector<AfEpisode>& test);
