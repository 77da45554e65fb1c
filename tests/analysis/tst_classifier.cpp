// Beat classification: the recent-beat average, the morphology matcher and the classifier's
// first types.

#include "classifysupport.h"

#include "analysis/beatclassifier.h"
#include "analysis/morphologymatcher.h"
#include "analysis/recentbeatwindow.h"
#include "store/beatclass.h"

#include <gtest/gtest.h>

#include <ostream>

#include <cmath>

using namespace classify;

namespace {

// A beat with R and S marked on every channel and the given QRS polarities.
Beat polarityBeat(double r, const std::vector<int>& polarities)
{
    Beat b = makeBeat({ r, Shape::Normal, 1.0, 1.0 }, 0, nullptr);
    for (size_t c = 0; c < polarities.size(); ++c) {
        setMeasure(b, int(c), Beat::HasQrs, 1.0);
        setMeasure(b, int(c), Beat::RPeak, r);
        setMeasure(b, int(c), Beat::SPeak, r + 0.03);
        setMeasure(b, int(c), Beat::QrsDuration, 0.08);
        setMeasure(b, int(c), Beat::QrsPolarity, polarities[c]);
    }
    return b;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// RecentBeatWindow

struct ReferenceCase
{
    const char* name;
    std::vector<std::vector<int>> beats; // per beat, QRS polarity of channels 0..2
    int channel;
    int slot;
};

inline std::ostream& operator<<(std::ostream& out, const ReferenceCase& c)
{
    return out << c.name;
}

class ReferenceChannel : public ::testing::TestWithParam<ReferenceCase>
{
};

TEST_P(ReferenceChannel, MostUpOrMostDownLowerChannelOnTies)
{
    const ReferenceCase& rc = GetParam();
    MemorySource source(3, 125, 256);
    source.setSamples({ std::vector<qint16>(2000, 0), std::vector<qint16>(2000, 0),
        std::vector<qint16>(2000, 0) });
    RecentBeatWindow window(20.0, false, &source);
    double r = 1.0;
    for (const auto& pol : rc.beats) {
        window.push(polarityBeat(r, pol));
        r += 1.0;
    }
    EXPECT_EQ(window.referenceChannel(), rc.channel);
    EXPECT_EQ(window.referencePeakSlot(), rc.slot);
}

INSTANTIATE_TEST_SUITE_P(Cases, ReferenceChannel,
    ::testing::Values(
        ReferenceCase { "UpWins", { { 1, -1, 1 }, { 1, -1, -1 }, { 1, 1, -1 } }, 0, Beat::RPeak },
        ReferenceCase { "TieGoesToLowerChannel", { { -1, 1, 1 }, { -1, 1, 1 } }, 1, Beat::RPeak },
        ReferenceCase { "DownMustExceedUp", { { 1, -1, -1 }, { -1, -1, 1 } }, 1, Beat::SPeak },
        ReferenceCase { "EqualUpAndDownStaysUp", { { 1, -1, 0 }, { 1, -1, 0 } }, 0, Beat::RPeak }),
    [](const auto& info) { return std::string(info.param.name); });

TEST(RecentBeatWindow, NoAverageBelowTwoBeatsAndOldBeatsDrop)
{
    const std::vector<Placed> p = regular(1.0, 1.0, 30);
    auto signal = makeSignal(p, 32.0);
    RecentBeatWindow window(20.0, false, signal.get());
    EXPECT_EQ(window.length(), 200);
    EXPECT_EQ(window.peakPosition(), 75);
    window.push(makeBeat(p[0], 0, signal.get()));
    EXPECT_EQ(window.count(), 0);
    EXPECT_EQ(window.averageRR(), 0.0);
    for (int i = 1; i < 30; ++i)
        window.push(makeBeat(p[size_t(i)], i, signal.get()));
    // Beats 20 s or more older than the newest (at 30 s) are gone: those at 10 s and before.
    EXPECT_EQ(window.heldBeats(), 20);
    EXPECT_EQ(window.count(), 20);
    EXPECT_EQ(window.averagedBeatCount(), 20);
    EXPECT_DOUBLE_EQ(window.averageRR(), 1.0);
}

TEST(RecentBeatWindow, AverageOfEqualBeatsIsTheirWindowAroundThePeak)
{
    const std::vector<Placed> p = regular(1.0, 1.0, 5);
    auto signal = makeSignal(p, 7.0);
    RecentBeatWindow window(20.0, false, signal.get());
    for (int i = 0; i < 5; ++i)
        window.push(makeBeat(p[size_t(i)], i, signal.get()));
    ASSERT_EQ(window.count(), 5);
    for (int c = 0; c < 2; ++c) {
        // Peak (R, channel 0 points up) at 0.3 s into the 0.8 s window.
        const auto expected = rawWindow(*signal, c, qint64(3.0 * 250) - 75, 200);
        const std::vector<double>& avg = window.average(c);
        ASSERT_EQ(avg.size(), 200u);
        for (size_t k = 0; k < 200; ++k)
            ASSERT_NEAR(avg[k], expected[k], 1e-6) << "channel " << c << " sample " << k;
    }
    EXPECT_TRUE(window.average(2).empty());
}

struct AcceptCase
{
    const char* name;
    double rr, median, width;
    bool accepted;
};

inline std::ostream& operator<<(std::ostream& out, const AcceptCase& c)
{
    return out << c.name;
}

class AcceptBeat : public ::testing::TestWithParam<AcceptCase>
{
};

TEST_P(AcceptBeat, RhythmAndWidthLimits)
{
    const AcceptCase& ac = GetParam();
    const std::vector<Placed> p = regular(1.0, 1.0, 3);
    auto signal = makeSignal(p, 5.0);
    RecentBeatWindow window(20.0, false, signal.get());
    window.push(makeBeat(p[0], 0, signal.get()));
    Placed q = p[1];
    q.rr = ac.rr;
    q.median = ac.median;
    Beat b = makeBeat(q, 1, signal.get());
    b.setChannelMeasure(1, Beat::QrsDuration, ac.width);
    window.push(b);
    EXPECT_EQ(window.count(), ac.accepted ? 2 : 1);
}

INSTANTIATE_TEST_SUITE_P(Cases, AcceptBeat,
    ::testing::Values(AcceptCase { "Regular", 1.0, 1.0, 0.08, true },
        AcceptCase { "RrAtLowerLimit", 0.25, 0.25, 0.08, false },
        AcceptCase { "RrJustAbove", 0.26, 0.26, 0.08, true },
        AcceptCase { "RrAtUpperLimit", 2.0, 1.5, 0.08, false },
        AcceptCase { "RatioAtPoint9", 0.9, 1.0, 0.08, false },
        AcceptCase { "RatioJustAbove", 0.91, 1.0, 0.08, true },
        AcceptCase { "NoMedian", 1.0, 0.0, 0.08, false },
        AcceptCase { "WideQrsOnAnyChannel", 1.0, 1.0, 0.18, false }),
    [](const auto& info) { return std::string(info.param.name); });

TEST(RecentBeatWindow, SkipLastLeavesOutTheNewestAndBeatsBeforeAnEarlyOne)
{
    std::vector<Placed> p = regular(1.0, 1.0, 4);
    p[2].rr = 0.4; // early: ratio 0.4
    auto signal = makeSignal(p, 6.0);
    RecentBeatWindow plain(20.0, false, signal.get());
    RecentBeatWindow skipping(20.0, true, signal.get());
    for (int i = 0; i < 4; ++i) {
        plain.push(makeBeat(p[size_t(i)], i, signal.get()));
        skipping.push(makeBeat(p[size_t(i)], i, signal.get()));
    }
    // Plain: beats 0, 1, 3 (beat 2's ratio is too low). Skipping: beat 3 is the newest and
    // beat 1 is followed by the early beat, so only beat 0 remains.
    EXPECT_EQ(plain.count(), 3);
    EXPECT_EQ(skipping.count(), 1);
}

// ---------------------------------------------------------------------------------------------
// MorphologyMatcher, on a 125 Hz source that stands for the differentiated signal.

namespace {

std::vector<qint16> pulses(
    const std::vector<std::pair<double, double>>& at, double seconds, double sigma)
{
    std::vector<qint16> v(size_t(seconds * 125), 0);
    for (size_t i = 0; i < v.size(); ++i) {
        double x = 0.0;
        for (const auto& p : at)
            x += p.second * gauss(i / 125.0, p.first, sigma);
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
    n = std::sqrt(n);
    for (double& x : v)
        x /= n;
    return v;
}

} // namespace

TEST(MorphologyMatcher, RrClassBoundaries)
{
    EXPECT_EQ(MorphologyMatcher::rrClass(matcherBeat(0, 1, 0.79, 1.0)), 0);
    EXPECT_EQ(MorphologyMatcher::rrClass(matcherBeat(0, 1, 0.8, 1.0)), 2);
    EXPECT_EQ(MorphologyMatcher::rrClass(matcherBeat(0, 1, 0.89, 1.0)), 2);
    EXPECT_EQ(MorphologyMatcher::rrClass(matcherBeat(0, 1, 0.9, 1.0)), 1);
    EXPECT_EQ(MorphologyMatcher::rrClass(matcherBeat(0, 1, 1.5, 1.0)), 1);
}

TEST(MorphologyMatcher, TemplateWeightsHalveWithEachBeat)
{
    // Three beats of different heights and widths; the window starts 0.15 s before the
    // beat's time (its window start), 63 samples.
    const double times[3] = { 1.0, 2.0, 3.0 };
    const double widths[3] = { 0.02, 0.025, 0.018 };
    std::vector<qint16> v(500, 0);
    for (int b = 0; b < 3; ++b) {
        for (size_t i = 0; i < v.size(); ++i)
            v[i] = qint16(v[i] + std::lround(800.0 * gauss(i / 125.0, times[b], widths[b])));
    }
    MemorySource source(1, 125, 256);
    source.setSamples({ v });
    MorphologyMatcher matcher(0.15, 0.35, &source);
    EXPECT_EQ(matcher.templateLength(), 63);
    std::vector<double> expected(63, 0.0);
    double weight = 1.0;
    for (int b = 0; b < 3; ++b) {
        const Beat beat = matcherBeat(b, times[b] + 0.2, 1.0, 1.0);
        EXPECT_EQ(matcher.classify(beat), 1) << "similar enough to stay in one cluster";
        const auto w = unit(rawWindow(source, 0, qint64((beat.time() - 0.15) * 125 + 0.5), 63));
        for (size_t k = 0; k < 63; ++k)
            expected[k] = weight * w[k] + (1.0 - weight) * expected[k];
        expected = unit(expected);
        weight *= 0.5;
    }
    ASSERT_EQ(matcher.clusterCount(), 1);
    const auto& t = matcher.cluster(0).templ[0];
    for (size_t k = 0; k < 63; ++k)
        ASSERT_NEAR(t[k], expected[k], 1e-9);
    EXPECT_EQ(matcher.cluster(0).members, (std::vector<int> { 0, 1, 2 }));
}

TEST(MorphologyMatcher, KeysKeepSameShapesApartAndClosingDoesNotJoinThem)
{
    const std::vector<double> times = { 1, 2, 3, 4, 5, 6 };
    std::vector<std::pair<double, double>> at;
    for (double t : times)
        at.push_back({ t, 800.0 });
    MemorySource source(1, 125, 256);
    source.setSamples({ pulses(at, 8.0, 0.02) });
    MorphologyMatcher matcher(0.15, 0.35, &source);
    // Same shape: regular, premature, regular, inverted polarity key, premature, regular.
    const int a = matcher.classify(matcherBeat(0, 1.2, 1.0, 1.0));
    const int b = matcher.classify(matcherBeat(1, 2.2, 0.7, 1.0));
    const int c = matcher.classify(matcherBeat(2, 3.2, 1.0, 1.0));
    const int d = matcher.classify(matcherBeat(3, 4.2, 1.0, 1.0, -1));
    const int e = matcher.classify(matcherBeat(4, 5.2, 0.7, 1.0));
    const int f = matcher.classify(matcherBeat(5, 6.2, 0.85, 1.0));
    EXPECT_EQ(a, c);
    EXPECT_EQ(b, e);
    EXPECT_NE(a, b);
    EXPECT_NE(d, a);
    EXPECT_NE(f, a);
    EXPECT_NE(f, b);
    EXPECT_EQ(matcher.clusterCount(), 4);
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
    // Beats 2 and 3 sit 3 samples (24 ms) later against their marked time than beats 0 and 1:
    // too far for the +-2 search of a beat, close enough for the +-3 search of closing.
    const double shift = 3.0 / 125.0;
    MemorySource source(1, 125, 256);
    source.setSamples({ pulses(
        { { 1.0, 800 }, { 2.0, 800 }, { 3.0 + shift, 800 }, { 4.0 + shift, 800 } }, 6.0, 0.012) });
    MorphologyMatcher matcher(0.15, 0.35, &source);
    MergeRecorder recorder;
    matcher.setListener(&recorder);
    std::vector<int> ids;
    for (int i = 0; i < 4; ++i)
        ids.push_back(matcher.classify(matcherBeat(i, 1.2 + i, 1.0, 1.0)));
    ASSERT_EQ(ids[0], ids[1]);
    ASSERT_EQ(ids[2], ids[3]);
    ASSERT_NE(ids[0], ids[2]);

    std::vector<double> t0 = matcher.findCluster(ids[0])->templ[0];
    std::vector<double> t1 = matcher.findCluster(ids[2])->templ[0];
    matcher.close();
    ASSERT_EQ(recorder.merges.size(), 1u);
    EXPECT_EQ(recorder.merges[0], std::make_pair(ids[0], ids[2]));
    ASSERT_EQ(matcher.clusterCount(), 1);
    const auto& merged = matcher.cluster(0);
    EXPECT_EQ(merged.members, (std::vector<int> { 0, 1, 2, 3 }));
    std::vector<double> expected(63);
    for (size_t k = 0; k < 63; ++k)
        expected[k] = 2.0 * t0[k] + 2.0 * t1[k];
    expected = unit(expected);
    for (size_t k = 0; k < 63; ++k)
        ASSERT_NEAR(merged.templ[0][k], expected[k], 1e-12);
}

// ---------------------------------------------------------------------------------------------
// BeatClassifier

namespace {

struct ClassifierRun
{
    std::vector<Placed> placed;
    std::unique_ptr<MemorySource> signal;
    MemoryBeatList list;
    BeatClassSet classes;
    BeatClassifier classifier;

    explicit ClassifierRun(std::vector<Placed> p, double seconds)
        : placed(std::move(p))
        , signal(makeSignal(placed, seconds))
        , classes(signal.get(), &list)
    {
        fillList(list, placed, signal.get());
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
    for (int i = 0; i < 3; ++i)
        run.classify(i);
    const BeatClass* cls = run.classOf(0);
    ASSERT_NE(cls, nullptr);
    EXPECT_EQ(cls->id - BeatClassifier::kClusterClassBase, 1);
    EXPECT_EQ(cls->memberCount(), 3);
    EXPECT_EQ(cls->type, BeatU) << "the first three beats get a class but no type";
    run.classify(3);
    EXPECT_EQ(run.classOf(3), cls);
    EXPECT_EQ(cls->type, BeatN);
}

TEST(BeatClassifier, ABeatLeftOutOfTheAverageDelaysTheReference)
{
    std::vector<Placed> p = regular(1.0, 0.8, 6);
    ClassifierRun run(p, 7.0);
    Beat wide;
    run.list.get(1, wide);
    wide.setChannelMeasure(0, Beat::QrsDuration, 0.2);
    run.list.replace(wide);
    for (int i = 0; i < 4; ++i)
        run.classify(i);
    EXPECT_EQ(run.classOf(0)->type, BeatU) << "only three beats accepted so far";
    run.classify(4);
    EXPECT_EQ(run.classOf(0)->type, BeatN);
}

TEST(BeatClassifier, BeatsWithoutRrGetPrivateIdsAndNoiseIsSkipped)
{
    std::vector<Placed> p = regular(1.0, 0.8, 8);
    p[0].rr = 0.0; // the first beat of the recording
    p[5].median = -1.0;
    ClassifierRun run(p, 8.0);
    Beat noise;
    run.list.get(3, noise);
    noise.isBeat = false;
    run.list.replace(noise);
    while (run.classifier.index() < run.list.count())
        run.classifier.step();
    EXPECT_EQ(run.classifier.index(), 8);

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
    EXPECT_NE(early, run.classOf(0)) << "a different RR class is a different cluster";
    EXPECT_EQ(early->type, BeatS);
    EXPECT_EQ(run.classOf(0)->type, BeatN);
}

TEST(BeatClassifier, MatcherMergesReachTheClassSet)
{
    ClassifierRun run(regular(1.0, 1.0, 3), 4.0);
    for (int i = 0; i < 3; ++i)
        run.classes.create(BeatClassifier::kClusterClassBase + i + 1)->add(i, false);
    run.classifier.merged(1, 3);
    EXPECT_EQ(run.classes.find(10003), nullptr);
    EXPECT_EQ(run.classes.find(10001)->members, (std::vector<int> { 0, 2 }));
    run.classifier.removed(2);
    EXPECT_EQ(run.classes.find(10002), nullptr);
}
