#include "classifysupport.h"

#include "analysis/beatclassifier.h"
#include "analysis/labelcriteria.h"

#include <gtest/gtest.h>

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

// Beats classified and typed with or without the refinement; every beat must keep its class's
// type either way.
std::vector<int> typesOf(const std::vector<Placed>& p, bool refine)
{
    ListedBeats s(p);
    BeatClassifier classifier;
    classifier.refineLabels = refine;
    classifier.init(&s.list, s.signal.get(), &s.classes);
    while (classifier.index() < s.list.count())
        classifier.step();
    classifier.finish();
    std::vector<int> types;
    for (const Beat& b : s.list.beats()) {
        const BeatClass* cls = s.classes.find(b.classId);
        EXPECT_TRUE(cls && cls->type == b.type) << "beat " << b.index;
        types.push_back(b.type);
    }
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
