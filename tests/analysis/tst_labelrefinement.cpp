#include "classifysupport.h"

#include "analysis/beatclassifier.h"
#include "analysis/labelcriteria.h"
#include "analysis/labelrefinement.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace classify;
using namespace labelcriteria;

namespace {

constexpr int kRate = 250;

// One averaged complex of 0.8 s, R at 0.3 s: a biphasic QRS whose lobes are `sigma` wide,
// followed by a slow T wave.
std::vector<double> complexOf(double sigma, double tAmplitude = 200.0)
{
    std::vector<double> x(size_t(0.8 * kRate), 0.0);
    for (size_t i = 0; i < x.size(); ++i) {
        const double t = double(i) / kRate;
        x[i] = 1000.0 * gauss(t, 0.3, sigma) - 400.0 * gauss(t, 0.3 + 2.5 * sigma, sigma)
            + tAmplitude * gauss(t, 0.3 + 6 * sigma + 0.12, 0.05);
    }
    return x;
}

// Beats classified and typed with or without the refinement, with the entries at `noise` turned
// into noise first; every real beat must keep its class's type either way.
std::vector<Beat> processed(const std::vector<Placed>& p, bool refine, std::vector<int> noise = {})
{
    ListedBeats s(p);
    for (int i : noise) {
        Beat b = s.list.beats()[size_t(i)];
        b.isBeat = false;
        s.list.replace(b);
    }
    BeatClassifier classifier;
    classifier.refineLabels = refine;
    classifier.init(&s.list, s.signal.get(), &s.classes);
    while (classifier.index() < s.list.count())
        classifier.step();
    classifier.finish();
    for (const Beat& b : s.list.beats()) {
        if (!b.isBeat)
            continue;
        const BeatClass* cls = s.classes.find(b.classId);
        EXPECT_TRUE(cls && cls->type == b.type) << "beat " << b.index;
    }
    return s.list.beats();
}

std::vector<int> typesOf(const std::vector<Placed>& p, bool refine)
{
    std::vector<int> types;
    for (const Beat& b : processed(p, refine))
        types.push_back(b.type);
    return types;
}

} // namespace

// The width grows with the lobes, is measured past 200 ms for a very wide complex, and a flat
// wave has none.
TEST(QrsWidth, FollowsTheComplexToItsEnd)
{
    const struct
    {
        double sigma, low, high; // seconds
    } cases[] = { { 0.008, 0.05, 0.10 }, { 0.016, 0.11, 0.17 }, { 0.03, 0.2, 0.3 } };
    double last = 0.0;
    for (const auto& c : cases) {
        const std::vector<double> x = complexOf(c.sigma);
        const double w = qrsWidth(x.data(), int(x.size()), kRate, int(0.3 * kRate));
        EXPECT_GT(w, c.low) << c.sigma;
        EXPECT_LT(w, c.high) << c.sigma;
        EXPECT_GT(w, last);
        last = w;
    }
    const std::vector<double> flat(200, 5.0);
    EXPECT_EQ(qrsWidth(flat.data(), 200, kRate, 75), 0.0);
    EXPECT_EQ(qrsWidth(flat.data(), 200, kRate, 199), 0.0);
}

TEST(VentricularShape, WidthLikenessTimingAndRepolarisationAtTheirLimits)
{
    const struct
    {
        double corr, width, reference, ratio;
        bool strict, discordantT;
        double share;
        bool ventricular;
    } cases[] = {
        { 0.79, 0.12, 0.09, 1.0, false, false, 0.1, true }, // wide and different, on time
        { 0.80, 0.16, 0.09, 1.0, false, false, 0.1, false }, // not different enough
        { 0.70, 0.119, 0.09, 1.0, false, false, 0.1, false }, // not wide enough
        { 0.70, 0.14, 0.12, 1.0, false, false, 0.1, false }, // not a fifth wider than dominant
        { 0.50, 0.41, 0.09, 0.7, false, false, 0.1, false }, // noise, not a QRS
        { 0.59, 0.09, 0.09, 0.84, false, false, 0.1, true }, // far and premature
        { 0.59, 0.09, 0.09, 0.85, false, false, 0.1, false }, // far, on time, not wider
        { 0.59, 0.108, 0.09, 1.0, false, false, 0.1, true }, // far and a fifth wider
        { 0.60, 0.09, 0.09, 0.70, false, false, 0.1, false }, // premature, not far enough
        // A class that looked normal when formed: wide and below 0.7, or far with discordant T.
        { 0.69, 0.12, 0.09, 1.0, true, false, 0.1, true },
        { 0.70, 0.12, 0.09, 1.0, true, false, 0.1, false },
        { 0.30, 0.09, 0.09, 0.70, true, false, 0.1, false },
        { 0.59, 0.09, 0.09, 1.2, true, true, 0.1, true },
        { 0.60, 0.09, 0.09, 1.2, true, true, 0.1, false },
        // ... and with half the dominant class's members it is a second normal form.
        { 0.30, 0.16, 0.09, 1.0, true, true, 0.5, false },
    };
    for (const auto& c : cases) {
        ShapeComparison s;
        s.leads = 1;
        s.minCorrelation = c.corr;
        s.width = c.width;
        s.referenceWidth = c.reference;
        s.meanRrRatio = c.ratio;
        s.strict = c.strict;
        s.discordantT = c.discordantT;
        s.share = c.share;
        EXPECT_EQ(ventricularShape(s), c.ventricular)
            << c.corr << " " << c.width << " " << c.reference << " " << c.ratio << " "
            << c.strict << " " << c.discordantT << " " << c.share;
    }
    EXPECT_FALSE(ventricularShape(ShapeComparison {})); // no lead compared
}

TEST(Timing, PrematureAndCompensatoryPause)
{
    EXPECT_TRUE(premature(0.79, 1.0, 0.8));
    EXPECT_FALSE(premature(0.8, 1.0, 0.8));
    EXPECT_FALSE(premature(0.5, 0.0, 0.8));
    EXPECT_TRUE(compensatoryPause(0.6, 1.21, 1.0));
    EXPECT_FALSE(compensatoryPause(0.6, 1.19, 1.0));
    EXPECT_FALSE(compensatoryPause(0.6, 0.0, 1.0));
}

// Fibrillation-like intervals are irregular; sinus rhythm, with or without isolated early
// beats, and bigeminy and trigeminy are not.
TEST(IrregularRhythm, FibrillationButNotEctopyOrSinusVariation)
{
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> af(0.45, 0.95);
    std::normal_distribution<double> sinus(0.0, 0.01);
    const int n = 300;
    std::vector<double> fibrillation, regular, early, bigeminy, trigeminy;
    for (int i = 0; i < n; ++i) {
        fibrillation.push_back(af(rng));
        const double base = 0.8 + 0.05 * std::sin(i / 10.0) + sinus(rng);
        regular.push_back(base);
        early.push_back(i % 9 == 4 ? 0.55 : i % 9 == 5 ? 1.05 : base);
        bigeminy.push_back(i % 2 ? 0.5 : 1.1);
        trigeminy.push_back(i % 3 == 2 ? 0.5 : i % 3 == 0 ? 1.1 : 0.8);
    }
    const auto share = [](const std::vector<bool>& f) {
        return double(std::count(f.begin(), f.end(), true)) / double(f.size());
    };
    EXPECT_GT(share(irregularRhythm(fibrillation)), 0.95);
    for (const auto* rr : { &regular, &early, &bigeminy, &trigeminy })
        EXPECT_EQ(share(irregularRhythm(*rr)), 0.0);

    // Zero entries are skipped and stay false; too few intervals give no flag at all.
    std::vector<double> gaps = fibrillation;
    for (int i = 0; i < n; i += 10)
        gaps[size_t(i)] = 0.0;
    const std::vector<bool> flags = irregularRhythm(gaps);
    for (int i = 0; i < n; i += 10)
        EXPECT_FALSE(flags[size_t(i)]);
    EXPECT_GT(share(flags), 0.85);
    const std::vector<double> few(fibrillation.begin(), fibrillation.begin() + 40);
    EXPECT_EQ(share(irregularRhythm(few)), 0.0);
}

// A run of ventricular beats: the first comes early, the rest at their own regular rate, to which
// the median RR has adapted, so the matcher puts them in two classes. With the refinement the
// whole run is V, the normal beats around it stay N, and every beat keeps its class's type.
TEST(LabelRefinement, AVentricularRunTakesOneTypeAndNormalBeatsStayN)
{
    std::vector<Placed> p;
    double t = 1.0;
    for (int i = 0; i < 60; ++i)
        p.push_back({ t += 0.8, Shape::Normal, 0.8, 0.8 });
    const size_t runStart = p.size();
    p.push_back({ t += 0.5, Shape::Ventricular, 0.5, 0.8 });
    for (int i = 0; i < 12; ++i)
        p.push_back({ t += 0.55, Shape::Ventricular, 0.55, 0.58 });
    const size_t runEnd = p.size();
    p.push_back({ t += 1.2, Shape::Normal, 1.2, 0.8 });
    for (int i = 0; i < 30; ++i)
        p.push_back({ t += 0.8, Shape::Normal, 0.8, 0.8 });

    const std::vector<int> refined = typesOf(p, true);
    for (size_t i = 0; i < p.size(); ++i) {
        const bool inRun = i >= runStart && i < runEnd;
        EXPECT_EQ(refined[i], inRun ? BeatV : BeatN) << "beat " << i;
    }
}

// Early normal beats: 0.825 of the median RR, before a longer interval, is S; 0.8625 is not. A
// run of early beats is S throughout, though the median RR follows its rate.
TEST(LabelRefinement, EarlyNormalBeatsAndRunsBecomeSAtTheirLimit)
{
    std::vector<Placed> p = regular(1.0, 0.8, 40);
    double t = p.back().r;
    const auto add = [&](double rr, double median) { p.push_back({ t += rr, Shape::Normal, rr, median }); };
    add(0.66, 0.8);
    const size_t early = p.size() - 1;
    add(0.94, 0.8);
    for (int i = 0; i < 20; ++i)
        add(0.8, 0.8);
    add(0.69, 0.8);
    const size_t late = p.size() - 1;
    add(0.91, 0.8);
    for (int i = 0; i < 20; ++i)
        add(0.8, 0.8);
    const size_t runStart = p.size();
    for (double median : { 0.8, 0.75, 0.7, 0.6, 0.5, 0.45 })
        add(0.45, median);
    const size_t runEnd = p.size();
    add(1.0, 0.5);
    for (int i = 0; i < 20; ++i)
        add(0.8, 0.8);

    const std::vector<int> types = typesOf(p, true);
    EXPECT_EQ(types[early], BeatS);
    EXPECT_EQ(types[late], BeatN);
    for (size_t i = runStart; i < runEnd; ++i)
        EXPECT_EQ(types[i], BeatS) << "run beat " << i - runStart;
    EXPECT_EQ(std::count(types.begin(), types.end(), BeatS), long(runEnd - runStart) + 1);
}

// In fibrillation-like rhythm the early beats are conducted, not supraventricular ectopy: the
// literal rules give S, the refinement none once half a window (32 intervals) of fibrillation has
// gone by.
TEST(LabelRefinement, ConductedBeatsInIrregularRhythmAreNotS)
{
    std::vector<Placed> p = regular(1.0, 0.8, 30);
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> interval(0.45, 1.0);
    double t = p.back().r;
    for (int i = 0; i < 150; ++i) {
        const double rr = interval(rng);
        p.push_back({ t += rr, Shape::Normal, rr, 0.72 });
    }
    const std::vector<int> literal = typesOf(p, false);
    const std::vector<int> refined = typesOf(p, true);
    const long settled = 30 + 32;
    EXPECT_GT(std::count(literal.begin() + settled, literal.end(), BeatS), 20);
    EXPECT_EQ(std::count(refined.begin() + settled, refined.end(), BeatS), 0);
}

// Noise entries that show the dominant beat at its time become beats again, with the interval
// from the last beat; one that sits where a T wave would stays noise.
TEST(LabelRefinement, NoiseEntriesShowingTheDominantBeatInTimeAreRestored)
{
    std::vector<Placed> p = regular(1.0, 0.8, 60);
    p.insert(p.begin() + 50, { p[49].r + 0.3, Shape::Normal, 0.3, 0.8 }); // at the T wave
    const std::vector<int> noise = { 40, 41, 50 };
    const std::vector<Beat> literal = processed(p, false, noise);
    const std::vector<Beat> refined = processed(p, true, noise);
    for (int i : { 40, 41 }) {
        EXPECT_FALSE(literal[size_t(i)].isBeat);
        EXPECT_TRUE(refined[size_t(i)].isBeat) << i;
        EXPECT_EQ(refined[size_t(i)].type, BeatN) << i;
        EXPECT_NEAR(refined[size_t(i)].rr(), 0.8, 1e-9) << i;
    }
    EXPECT_NEAR(refined[42].rr(), 0.8, 1e-9);
    EXPECT_FALSE(refined[50].isBeat);
}


// Noise can split the normal beats so that a frequent ventricular beat, typed N, is the largest
// class. A class of at least a third its size with a clear P wave is then the dominant beat, and
// the wide P-less class becomes V; a smaller one is not enough.
TEST(LabelRefinement, DominantClassHasThePWave)
{
    for (const int normals : { 12, 9 }) {
        std::vector<Placed> p;
        double t = 1.0;
        for (int i = 0; i < 30 + normals; ++i)
            p.push_back({ t += 0.8, i < 30 ? Shape::Ventricular : Shape::Normal, 0.8, 0.8 });
        ListedBeats s(p);
        BeatClass* wide = s.classes.create(10001);
        wide->setType(BeatN);
        for (int m = 0; m < 30; ++m)
            wide->add(m, true);
        BeatClass* normal = s.classes.create(10002);
        normal->setType(BeatN);
        for (int m = 30; m < 30 + normals; ++m)
            normal->add(m, true);
        LabelRefinement(&s.list, s.signal.get(), &s.classes).run();
        EXPECT_EQ(wide->type, normals >= 10 ? BeatV : BeatN) << normals;
        EXPECT_EQ(normal->type, BeatN) << normals;
    }
}

// In an irregular rhythm the next beat may come early or late: noise entries that show the
// dominant beat are restored there too, from 0.4 to 1.8 median intervals after the last beat.
TEST(LabelRefinement, NoiseEntriesAreRestoredInAnIrregularRhythm)
{
    std::vector<Placed> p = regular(1.0, 0.8, 10);
    std::mt19937 rng(4);
    std::uniform_real_distribution<double> interval(0.5, 1.1);
    double t = p.back().r;
    for (int i = 0; i < 150; ++i) {
        const double rr = i == 100 ? 0.4 : i == 101 ? 1.3 : interval(rng);
        p.push_back({ t += rr, Shape::Normal, rr, 0.8 });
    }
    const std::vector<int> noise = { 109, 110, 111, 112 }; // an early and a late one among them
    const std::vector<Beat> refined = processed(p, true, noise);
    for (int i : noise) {
        EXPECT_TRUE(refined[size_t(i)].isBeat) << i;
        EXPECT_EQ(refined[size_t(i)].type, BeatN) << i;
    }
}
