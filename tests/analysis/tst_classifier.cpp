#include "classifysupport.h"

#include "analysis/beatclassifier.h"
#include "analysis/morphologymatcher.h"
#include "analysis/recentbeatwindow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

using namespace classify;

namespace {

// A beat with the given QRS polarities on channels 0..2.
Beat polarityBeat(double r, const std::vector<int>& polarities)
{
    Beat b = makeBeat({ r, Shape::Normal, 1.0, 1.0 }, 0, nullptr);
    for (int c = 0; c < 3; ++c) {
        setMeasure(b, c, Beat::HasQrs, 1.0);
        setMeasure(b, c, Beat::QrsDuration, 0.08);
        setMeasure(b, c, Beat::QrsPolarity, polarities[size_t(c)]);
    }
    return b;
}

} // namespace

TEST(RecentBeatWindow, ReferenceIsMostUpOrMostDownLowerChannelOnTies)
{
    const struct
    {
        std::vector<std::vector<int>> beats; // QRS polarity of channels 0..2 per beat
        int channel, slot;
    } cases[] = {
        { { { -1, 1, 1 }, { -1, 1, 1 } }, 1, Beat::RPeak }, // a tie goes to the lower channel
        { { { 1, -1, -1 }, { -1, -1, 1 } }, 1, Beat::SPeak }, // down must exceed up
        { { { 1, -1, 0 }, { 1, -1, 0 } }, 0, Beat::RPeak }, // equal up and down stays up
    };
    for (const auto& c : cases) {
        MemorySource source(125, 256, { std::vector<qint16>(2000), {}, {} });
        RecentBeatWindow window(20.0, false, &source);
        for (size_t i = 0; i < c.beats.size(); ++i)
            window.push(polarityBeat(1.0 + double(i), c.beats[i]));
        EXPECT_EQ(window.referenceChannel(), c.channel) << (&c - cases);
        EXPECT_EQ(window.referencePeakSlot(), c.slot) << (&c - cases);
    }
}

TEST(RecentBeatWindow, AverageOfEqualBeatsIsTheirWindowAndOldBeatsDrop)
{
    const std::vector<Placed> p = regular(1.0, 1.0, 30);
    auto signal = makeSignal(p, 32.0);
    RecentBeatWindow window(20.0, false, signal.get());
    window.push(makeBeat(p[0], 0, signal.get()));
    EXPECT_EQ(window.count(), 0); // no average below two beats
    for (int i = 1; i < 5; ++i)
        window.push(makeBeat(p[size_t(i)], i, signal.get()));
    for (int c = 0; c < 2; ++c) {
        // Peak (R, channel 0 points up) 0.3 s into the 0.8 s window of 200 samples.
        const auto expected = rawWindow(*signal, c, qint64(3.0 * 250) - 75, 200);
        const std::vector<double>& avg = window.average(c);
        ASSERT_EQ(avg.size(), 200u);
        for (size_t k = 0; k < 200; ++k)
            ASSERT_NEAR(avg[k], expected[k], 1e-6) << "channel " << c << " sample " << k;
    }
    for (int i = 5; i < 30; ++i)
        window.push(makeBeat(p[size_t(i)], i, signal.get()));
    // Beats 20 s or more older than the newest (30 s) are gone: those at 10 s and before.
    EXPECT_EQ(window.count(), 20);
    EXPECT_DOUBLE_EQ(window.averageRR(), 1.0);
}

TEST(RecentBeatWindow, AcceptsBeatsWithinRhythmAndWidthLimits)
{
    const struct
    {
        double rr, median, width;
        bool accepted;
    } cases[] = {
        { 0.25, 0.25, 0.08, false }, // RR at the lower limit
        { 0.26, 0.26, 0.08, true }, { 2.0, 1.5, 0.08, false }, // RR at the upper limit
        { 0.9, 1.0, 0.08, false }, { 0.91, 1.0, 0.08, true }, // RR / median at 0.9 and above
        { 1.0, 0.0, 0.08, false }, // no median
        { 1.0, 1.0, 0.18, false }, // wide QRS on any channel
    };
    const std::vector<Placed> p = regular(1.0, 1.0, 3);
    auto signal = makeSignal(p, 5.0);
    for (const auto& c : cases) {
        RecentBeatWindow window(20.0, false, signal.get());
        window.push(makeBeat(p[0], 0, signal.get()));
        Beat b = makeBeat({ p[1].r, Shape::Normal, c.rr, c.median }, 1, signal.get());
        b.setChannelMeasure(1, Beat::QrsDuration, c.width);
        window.push(b);
        EXPECT_EQ(window.count(), c.accepted ? 2 : 1) << c.rr << " " << c.median << " " << c.width;
    }
}

TEST(RecentBeatWindow, SkipLastLeavesOutTheNewestAndBeatsBeforeAnEarlyOne)
{
    std::vector<Placed> p = regular(1.0, 1.0, 4);
    p[2].rr = 0.4; // early
    auto signal = makeSignal(p, 6.0);
    RecentBeatWindow plain(20.0, false, signal.get()), skipping(20.0, true, signal.get());
    for (int i = 0; i < 4; ++i) {
        plain.push(makeBeat(p[size_t(i)], i, signal.get()));
        skipping.push(makeBeat(p[size_t(i)], i, signal.get()));
    }
    EXPECT_EQ(plain.count(), 3); // 0, 1, 3
    EXPECT_EQ(skipping.count(), 1); // 3 is the newest, 1 precedes the early beat
}

// MorphologyMatcher, on a 125 Hz source that stands for the differentiated signal.
namespace {

std::vector<qint16> pulses(const std::vector<double>& at, double seconds, double sigma)
{
    std::vector<qint16> v(size_t(seconds * 125), 0);
    for (size_t i = 0; i < v.size(); ++i) {
        double x = 0.0;
        for (double t : at)
            x += 800.0 * gauss(i / 125.0, t, sigma);
        v[i] = qint16(std::lround(x));
    }
    return v;
}

Beat matcherBeat(int index, double r, double rr, double median, int polarity = 1)
{
    Beat b = makeBeat({ r, Shape::Normal, rr, median }, index, nullptr);
    setMeasure(b, 0, Beat::QrsPolarity, polarity);
    return b;
}

std::vector<double> unit(std::vector<double> v)
{
    double n = 0.0;
    for (double x : v)
        n += x * x;
    for (double& x : v)
        x /= std::sqrt(n);
    return v;
}

} // namespace

TEST(MorphologyMatcher, RrClassBoundaries)
{
    const std::pair<double, int> rows[] = { { 0.79, 0 }, { 0.8, 2 }, { 0.89, 2 }, { 0.9, 1 } };
    for (auto row : rows)
        EXPECT_EQ(MorphologyMatcher::rrClass(matcherBeat(0, 1, row.first, 1.0)), row.second)
            << row.first;
}

TEST(MorphologyMatcher, TemplateWeightsHalveWithEachBeat)
{
    // Three similar beats; the window starts 0.15 s before each beat's time: 63 samples.
    const double times[3] = { 1.0, 2.0, 3.0 }, widths[3] = { 0.02, 0.025, 0.018 };
    std::vector<qint16> v(500, 0);
    for (int b = 0; b < 3; ++b)
        for (size_t i = 0; i < v.size(); ++i)
            v[i] = qint16(v[i] + std::lround(800.0 * gauss(i / 125.0, times[b], widths[b])));
    MemorySource source(125, 256, { v });
    MorphologyMatcher matcher(0.15, 0.35, &source);
    std::vector<double> expected(63, 0.0);
    double weight = 1.0;
    for (int b = 0; b < 3; ++b) {
        const Beat beat = matcherBeat(b, times[b] + 0.2, 1.0, 1.0);
        EXPECT_EQ(matcher.classify(beat), 1);
        const auto w
            = unit(rawWindow(source, 0, qint64((beat.windowStartTime() - 0.15) * 125 + 0.5), 63));
        for (size_t k = 0; k < 63; ++k)
            expected[k] = weight * w[k] + (1.0 - weight) * expected[k];
        expected = unit(expected);
        weight *= 0.5;
    }
    ASSERT_EQ(matcher.clusterCount(), 1);
    for (size_t k = 0; k < 63; ++k)
        ASSERT_NEAR(matcher.cluster(0).templ[0][k], expected[k], 1e-9);
    EXPECT_EQ(matcher.cluster(0).members, (std::vector<int> { 0, 1, 2 }));
}

TEST(MorphologyMatcher, KeysKeepSameShapesApartAndClosingDoesNotJoinThem)
{
    MemorySource source(125, 256, { pulses({ 1, 2, 3, 4, 5, 6 }, 8.0, 0.02) });
    MorphologyMatcher matcher(0.15, 0.35, &source);
    // One shape: regular, premature, regular, inverted polarity key, premature, in between.
    const int a = matcher.classify(matcherBeat(0, 1.2, 1.0, 1.0));
    const int b = matcher.classify(matcherBeat(1, 2.2, 0.7, 1.0));
    EXPECT_EQ(matcher.classify(matcherBeat(2, 3.2, 1.0, 1.0)), a);
    const int d = matcher.classify(matcherBeat(3, 4.2, 1.0, 1.0, -1));
    EXPECT_EQ(matcher.classify(matcherBeat(4, 5.2, 0.7, 1.0)), b);
    const int f = matcher.classify(matcherBeat(5, 6.2, 0.85, 1.0));
    EXPECT_EQ(std::set<int>({ a, b, d, f }).size(), 4u);
    matcher.close();
    EXPECT_EQ(matcher.clusterCount(), 4);
}

class MergeRecorder : public MorphologyListener
{
public:
    void merged(int target, int absorbed) override { merges.push_back({ target, absorbed }); }
    void removed(int) override { }
    std::vector<std::pair<int, int>> merges;
};

TEST(MorphologyMatcher, ClosingMergesTemplatesThatMatchOnlyWithTheWiderShift)
{
    // Beats 2 and 3 sit 3 samples late: beyond the +-2 search of a beat, within the +-3 of closing.
    const double shift = 3.0 / 125.0;
    MemorySource source(125, 256, { pulses({ 1.0, 2.0, 3.0 + shift, 4.0 + shift }, 6.0, 0.012) });
    MorphologyMatcher matcher(0.15, 0.35, &source);
    MergeRecorder recorder;
    matcher.setListener(&recorder);
    std::vector<int> ids;
    for (int i = 0; i < 4; ++i)
        ids.push_back(matcher.classify(matcherBeat(i, 1.2 + i, 1.0, 1.0)));
    ASSERT_EQ(ids[0], ids[1]);
    ASSERT_EQ(ids[2], ids[3]);
    ASSERT_NE(ids[0], ids[2]);
    const std::vector<double> t0 = matcher.findCluster(ids[0])->templ[0];
    const std::vector<double> t1 = matcher.findCluster(ids[2])->templ[0];
    matcher.close();
    ASSERT_EQ(recorder.merges, (std::vector<std::pair<int, int>> { { ids[0], ids[2] } }));
    ASSERT_EQ(matcher.clusterCount(), 1);
    EXPECT_EQ(matcher.cluster(0).members, (std::vector<int> { 0, 1, 2, 3 }));
    std::vector<double> expected(63);
    for (size_t k = 0; k < 63; ++k)
        expected[k] = 2.0 * t0[k] + 2.0 * t1[k]; // two members each
    expected = unit(expected);
    for (size_t k = 0; k < 63; ++k)
        ASSERT_NEAR(matcher.cluster(0).templ[0][k], expected[k], 1e-12);
}

namespace {

struct ClassifierRun : ListedBeats
{
    BeatClassifier classifier;

    ClassifierRun(const std::vector<Placed>& p, double seconds)
        : ListedBeats(p, seconds)
    {
        classifier.init(&list, signal.get(), &classes);
    }
    const BeatClass* classOf(int index) const
    {
        for (const auto& entry : classes.classes()) {
            const auto& m = entry.second->members;
            if (std::find(m.begin(), m.end(), index) != m.end())
                return entry.second.get();
        }
        return nullptr;
    }
    void classify(int index)
    {
        Beat b;
        list.get(index, b);
        classifier.classify(b);
    }
};

} // namespace

TEST(BeatClassifier, NoTypeUntilFourBeatsAreInTheReference)
{
    ClassifierRun run(regular(1.0, 0.8, 6), 7.0);
    Beat wide; // left out of the average, so the reference needs a fifth beat
    run.list.get(1, wide);
    wide.setChannelMeasure(0, Beat::QrsDuration, 0.2);
    run.list.replace(wide);
    for (int i = 0; i < 4; ++i)
        run.classify(i);
    const BeatClass* cls = run.classOf(0);
    ASSERT_NE(cls, nullptr);
    EXPECT_EQ(cls->type, BeatU);
    run.classify(4);
    EXPECT_EQ(run.classOf(4), cls);
    EXPECT_EQ(cls->type, BeatN);
}

TEST(BeatClassifier, BeatsWithoutRrGetPrivateIdsAndNoiseIsSkipped)
{
    std::vector<Placed> p = regular(1.0, 0.8, 8);
    p[0].rr = 0.0;
    p[5].median = -1.0;
    ClassifierRun run(p, 8.0);
    Beat noise;
    run.list.get(3, noise);
    noise.isBeat = false;
    run.list.replace(noise);
    while (run.classifier.index() < run.list.count())
        run.classifier.step();
    const auto& beats = run.list.beats();
    EXPECT_EQ(beats[0].classId, 1000000);
    EXPECT_EQ(beats[5].classId, 1000005);
    EXPECT_EQ(beats[5].type, BeatU);
    EXPECT_EQ(beats[3].classId, 0);
    for (int i : { 0, 3, 5 })
        EXPECT_EQ(run.classOf(i), nullptr) << "entry " << i << " joins no class";
    for (int i : { 1, 2, 4, 6, 7 })
        EXPECT_NE(run.classOf(i), nullptr) << "beat " << i;
}

TEST(BeatClassifier, PrematureBeatOfNormalShapeStartsAnSClass)
{
    std::vector<Placed> p = regular(1.0, 1.0, 8);
    p.push_back({ 8.7, Shape::Normal, 0.7, 1.0 });
    p.push_back({ 9.9, Shape::Normal, 1.2, 1.0 });
    ClassifierRun run(p, 11.0);
    for (int i = 0; i < int(p.size()); ++i)
        run.classify(i);
    const BeatClass* early = run.classOf(8);
    ASSERT_NE(early, nullptr);
    EXPECT_NE(early, run.classOf(0));
    EXPECT_EQ(early->type, BeatS);
    EXPECT_EQ(run.classOf(0)->type, BeatN);
}
