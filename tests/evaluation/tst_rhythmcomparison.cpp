#include "tools/evaluation/rhythmcomparison.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

// Rhythm changes at whole seconds (1 Hz keeps samples and seconds equal), with a beat or two
// in between that must not disturb the episodes.
QVector<WfdbAnnotation> rhythm(const std::vector<std::pair<qint64, QByteArray>>& changes)
{
    QVector<WfdbAnnotation> out;
    for (const auto& c : changes) {
        WfdbAnnotation beat;
        beat.sample = c.first;
        beat.code = 1;
        out.push_back(beat);
        WfdbAnnotation w;
        w.sample = c.first;
        w.code = 28;
        w.aux = c.second;
        out.push_back(w);
    }
    return out;
}

QVector<AfEpisode> eps(const std::vector<std::pair<double, double>>& list)
{
    QVector<AfEpisode> out;
    for (const auto& e : list)
        out.push_back({ e.first, e.second });
    return out;
}

} // namespace

TEST(AfEpisodes, FromRhythmChanges)
{
    const auto a = rhythm({ { 0, "(N" }, { 100, "(AFIB" }, { 200, "(N" }, { 400, "(AFIB" } });
    // The last episode runs to the record end.
    EXPECT_EQ(afEpisodes(a, 1.0, 0.0, 500.0), eps({ { 100, 200 }, { 400, 500 } }));
    // The learning period clips the first episode...
    EXPECT_EQ(afEpisodes(a, 1.0, 150.0, 500.0), eps({ { 150, 200 }, { 400, 500 } }));
    // ...or removes it when it ends before the start.
    EXPECT_EQ(afEpisodes(a, 1.0, 250.0, 500.0), eps({ { 400, 500 } }));
    // A record end before an episode's start leaves nothing of it.
    EXPECT_EQ(afEpisodes(a, 1.0, 0.0, 300.0), eps({ { 100, 200 } }));
    // Samples at 250 Hz: sample 25000 is 100 s.
    EXPECT_EQ(afEpisodes(rhythm({ { 25000, "(AFIB" }, { 50000, "(N" } }), 250.0, 0.0, 1000.0),
        eps({ { 100, 200 } }));
}

TEST(AfEpisodes, OtherRhythmsAndRepeats)
{
    // Flutter and other rhythms are not AF; a repeated "(AFIB" continues the same episode; any
    // other rhythm change ends it; trailing padding of the text doesn't matter.
    const auto a = rhythm({ { 10, "(AFL" }, { 20, QByteArray("(AFIB\0", 6) }, { 30, "(AFIB" },
        { 40, "(VT" }, { 50, "(AFIBX" }, { 60, "(N" } });
    EXPECT_EQ(afEpisodes(a, 1.0, 0.0, 100.0), eps({ { 20, 40 } }));
    EXPECT_TRUE(afEpisodes({}, 1.0, 0.0, 100.0).isEmpty());
}

TEST(AfComparison, OverlapCases)
{
    struct Case
    {
        const char* name;
        std::vector<std::pair<double, double>> ref, test;
        int refDetected, testConfirmed;
        double refSeconds, testSeconds, overlap;
    };
    // Worked out by hand from interval arithmetic.
    const Case cases[] = {
        // One of two reference episodes overlapped by 50 s; one of two test episodes confirmed.
        { "PartialOverlap", { { 100, 200 }, { 400, 500 } }, { { 150, 250 }, { 600, 700 } }, 1, 1,
            200, 200, 50 },
        // One long test episode spanning two reference episodes confirms both.
        { "OneSpansTwo", { { 0, 10 }, { 20, 30 } }, { { 5, 25 } }, 2, 1, 20, 20, 10 },
        // Touching at an end point is not overlap.
        { "Touching", { { 0, 10 } }, { { 10, 20 } }, 0, 0, 10, 10, 0 },
        // Identical episodes agree fully.
        { "Identical", { { 5, 15 }, { 30, 60 } }, { { 5, 15 }, { 30, 60 } }, 2, 2, 40, 40, 40 },
        // A test episode inside a reference one.
        { "Inside", { { 0, 100 } }, { { 40, 50 } }, 1, 1, 100, 10, 10 },
    };
    for (const Case& c : cases) {
        const AfComparison r = compareAf(eps(c.ref), eps(c.test));
        EXPECT_EQ(r.referenceEpisodes, int(c.ref.size())) << c.name;
        EXPECT_EQ(r.testEpisodes, int(c.test.size())) << c.name;
        EXPECT_EQ(r.referenceEpisodesDetected, c.refDetected) << c.name;
        EXPECT_EQ(r.testEpisodesConfirmed, c.testConfirmed) << c.name;
        EXPECT_DOUBLE_EQ(r.referenceSeconds, c.refSeconds) << c.name;
        EXPECT_DOUBLE_EQ(r.testSeconds, c.testSeconds) << c.name;
        EXPECT_DOUBLE_EQ(r.overlapSeconds, c.overlap) << c.name;
    }
}

TEST(AfComparison, EmptySidesAndGross)
{
    // No AF in the test: episode Se 0/1, +P absent; duration Se 0, +P absent.
    AfComparison a = compareAf(eps({ { 0, 10 } }), {});
    EXPECT_DOUBLE_EQ(*a.episodeSensitivity(), 0.0);
    EXPECT_FALSE(a.episodePositivePredictivity());
    EXPECT_DOUBLE_EQ(*a.durationSensitivity(), 0.0);
    EXPECT_FALSE(a.durationPositivePredictivity());
    // Nothing anywhere: everything absent.
    const AfComparison none = compareAf({}, {});
    EXPECT_FALSE(none.episodeSensitivity());
    EXPECT_FALSE(none.durationSensitivity());

    // Gross sums: 1 of 2 reference episodes, 10 of 20 s.
    a += compareAf(eps({ { 0, 10 } }), eps({ { 0, 10 } }));
    EXPECT_DOUBLE_EQ(*a.episodeSensitivity(), 0.5);
    EXPECT_DOUBLE_EQ(*a.episodePositivePredictivity(), 1.0);
    EXPECT_DOUBLE_EQ(*a.durationSensitivity(), 0.5);
}
