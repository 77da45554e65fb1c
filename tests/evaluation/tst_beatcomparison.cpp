#include "tools/evaluation/beatcomparison.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

// Annotation codes used below.
constexpr int N = 1, V = 5, F = 6, A = 8, Q = 13, RHYTHM = 28, NOISE = 14;

struct Ann
{
    qint64 ms;
    int code;
};

// At 1000 Hz a sample is a millisecond, which keeps the hand-made cases readable.
QVector<WfdbAnnotation> annotations(const std::vector<Ann>& list)
{
    QVector<WfdbAnnotation> out;
    for (const Ann& a : list) {
        WfdbAnnotation w;
        w.sample = a.ms;
        w.code = a.code;
        out.push_back(w);
    }
    return out;
}

BeatConfusion compare(const std::vector<Ann>& ref, const std::vector<Ann>& test,
    double startSeconds = 0.0, double fs = 1000.0)
{
    BeatComparisonOptions o;
    o.samplingRate = fs;
    o.startSeconds = startSeconds;
    return compareBeats(annotations(ref), annotations(test), o);
}

struct HandCase
{
    const char* name;
    std::vector<Ann> ref;
    std::vector<Ann> test;
    double startSeconds;
    DetectionCounts qrs, veb, sveb; // TP, FN, FP
};

// Worked out on paper: QRS counts every matched pair; VEB TP=Vv, FN=V not called v,
// FP=N/S/none called v; SVEB likewise with S; Fv and Q called anything are not FP.
const HandCase kHandCases[] = {
    // The V at 3 s has no partner: Vo. QRS 3/1/0, VEB 0/1/0.
    { "MissedBeat", { { 1000, N }, { 2000, N }, { 3000, V }, { 4000, N } },
        { { 1000, N }, { 2000, N }, { 4000, N } }, 0, { 3, 1, 0 }, { 0, 1, 0 }, { 0, 0, 0 } },
    // The test V at 1.5 s is 500 ms from both reference beats: Ov, a false VEB too.
    { "ExtraBeat", { { 1000, N }, { 2000, N } }, { { 1000, N }, { 1500, V }, { 2000, N } }, 0,
        { 2, 0, 1 }, { 0, 0, 1 }, { 0, 0, 0 } },
    // Vn: detected, so QRS is perfect, but a missed VEB.
    { "VCalledN", { { 1000, N }, { 2000, V }, { 3000, N } },
        { { 1000, N }, { 2000, N }, { 3000, N } }, 0, { 3, 0, 0 }, { 0, 1, 0 }, { 0, 0, 0 } },
    // Sv: a false VEB and a missed SVEB.
    { "SCalledV", { { 1000, N }, { 2000, A }, { 3000, N } },
        { { 1000, N }, { 2000, V }, { 3000, N } }, 0, { 3, 0, 0 }, { 0, 0, 1 }, { 0, 1, 0 } },
    // 151 ms is outside the window: the V is missed (Vo) and the test V is extra (Ov).
    { "Beat151msOff", { { 1000, N }, { 2000, V }, { 3000, N } },
        { { 1000, N }, { 2151, V }, { 3000, N } }, 0, { 2, 1, 1 }, { 0, 1, 1 }, { 0, 0, 0 } },
    // 150 ms is the edge of the window and still matches, early or late.
    { "Beat150msOff", { { 1000, N }, { 2000, V }, { 3000, N } },
        { { 1000, N }, { 1850, V }, { 3150, N } }, 0, { 3, 0, 0 }, { 1, 0, 0 }, { 0, 0, 0 } },
    // Start 300 s: only Nn at 300.5 s and Vn at 301 s count; the extra V at 299.8 s is early.
    { "InsideLearningPeriod", { { 299000, N }, { 299500, V }, { 300500, N }, { 301000, V } },
        { { 299000, N }, { 299500, V }, { 299800, V }, { 300500, N }, { 301000, N } }, 300,
        { 2, 0, 0 }, { 0, 1, 0 }, { 0, 0, 0 } },
    // Reference 50 ms before the start, its partner 50 ms after: the pair is in the learning
    // period.
    { "PairAcrossStartBelongsToReference", { { 299950, V } }, { { 300050, V } }, 300, { 0, 0, 0 },
        { 0, 0, 0 }, { 0, 0, 0 } },
    // The other way round the pair counts as a true positive.
    { "PairAcrossStartCounted", { { 300050, V } }, { { 299950, V } }, 300, { 1, 0, 0 }, { 1, 0, 0 },
        { 0, 0, 0 } },
    // Beats exactly at the start count; unmatched ones on either side only when after it.
    { "UnmatchedAtStart", { { 299999, N }, { 300000, N } }, { { 299000, N }, { 301000, V } }, 300,
        { 0, 1, 1 }, { 0, 0, 1 }, { 0, 0, 0 } },
    // Fv and Qs are not false positives; Qv neither. Fn counts only for QRS.
    { "FusionAndQNotPenalised", { { 1000, F }, { 2000, Q }, { 3000, Q }, { 4000, F } },
        { { 1000, V }, { 2000, A }, { 3000, V }, { 4000, N } }, 0, { 4, 0, 0 }, { 0, 0, 0 },
        { 0, 0, 0 } },
    // A V called F or Q is a missed VEB; an F called S is a false SVEB.
    { "VCalledFOrQ", { { 1000, V }, { 2000, V }, { 3000, F } },
        { { 1000, F }, { 2000, Q }, { 3000, A } }, 0, { 3, 0, 0 }, { 0, 2, 0 }, { 0, 0, 1 } },
    // Rhythm and noise annotations are not beats on either side.
    { "NonBeatsIgnored", { { 1000, N }, { 1500, RHYTHM }, { 2000, N } },
        { { 1000, N }, { 1200, NOISE }, { 2000, N } }, 0, { 2, 0, 0 }, { 0, 0, 0 }, { 0, 0, 0 } },
    // No test beats at all.
    { "EmptyTest", { { 1000, N }, { 2000, V }, { 3000, A } }, {}, 0, { 0, 3, 0 }, { 0, 1, 0 },
        { 0, 1, 0 } },
};

class HandMade : public ::testing::TestWithParam<HandCase>
{
};

} // namespace

void PrintTo(const DetectionCounts& d, std::ostream* os)
{
    *os << "TP " << d.tp << " FN " << d.fn << " FP " << d.fp;
}

TEST_P(HandMade, TableMatchesHandCount)
{
    const HandCase& c = GetParam();
    const BeatConfusion m = compare(c.ref, c.test, c.startSeconds);
    EXPECT_EQ(m.qrs(), c.qrs) << "QRS";
    EXPECT_EQ(m.veb(), c.veb) << "VEB";
    EXPECT_EQ(m.sveb(), c.sveb) << "SVEB";
}

INSTANTIATE_TEST_SUITE_P(Evaluation, HandMade, ::testing::ValuesIn(kHandCases),
    [](const ::testing::TestParamInfo<HandCase>& i) { return std::string(i.param.name); });

TEST(BeatComparison, MeasuresAbsentWithoutDenominator)
{
    EXPECT_FALSE(compare({}, {}).qrs().sensitivity());
    // Three missed reference beats: Se 0/3 = 0, +P 0/0 absent.
    const BeatConfusion m = compare({ { 1000, N }, { 2000, N }, { 3000, N } }, {});
    EXPECT_EQ(m.qrs().sensitivity(), 0.0);
    EXPECT_FALSE(m.qrs().positivePredictivity());
    // 3 matched, 1 missed, 2 extra: Se 3/4, +P 3/5.
    const BeatConfusion k = compare({ { 1000, N }, { 2000, N }, { 3000, N }, { 4000, N } },
        { { 1000, N }, { 2000, N }, { 2500, N }, { 3000, N }, { 3500, N } });
    EXPECT_DOUBLE_EQ(k.qrs().sensitivity().value_or(-1), 0.75);
    EXPECT_DOUBLE_EQ(k.qrs().positivePredictivity().value_or(-1), 0.6);
}

TEST(BeatComparison, NearestPairsWinAndTiesGoEarlier)
{
    using C = AamiClass;
    struct Row
    {
        const char* what;
        std::vector<Ann> ref, test;
        C ref1, test1, ref2, test2; // the two cells holding one each
    };
    const Row rows[] = {
        { "120 ms after one, 80 ms before the next: the nearer", { { 1000, N }, { 1200, V } },
            { { 1120, V } }, C::V, C::V, C::N, C::None },
        { "100 ms either side: the earlier test beat", { { 1000, N } }, { { 900, V }, { 1100, N } },
            C::N, C::V, C::None, C::N },
        { "halfway: the earlier reference beat", { { 1000, N }, { 1200, V } }, { { 1100, V } },
            C::N, C::V, C::V, C::None },
        { "crossed: each keeps its nearest", { { 1000, N }, { 1100, V } },
            { { 960, N }, { 1060, V } }, C::N, C::N, C::V, C::V },
        { "a test beat is used once", { { 1000, N }, { 1050, N } }, { { 1020, N } }, C::N, C::N,
            C::N, C::None },
    };
    for (const Row& r : rows) {
        const BeatConfusion m = compare(r.ref, r.test);
        EXPECT_EQ(m.count(r.ref1, r.test1), 1) << r.what;
        EXPECT_EQ(m.count(r.ref2, r.test2), 1) << r.what;
        EXPECT_EQ(m.qrs().tp + m.qrs().fn + m.qrs().fp, 2) << r.what;
    }
}

TEST(BeatComparison, AamiClassTable)
{
    // From the class list: N = N L R B e j; S = A a J S n; V = V E r; F = F; Q = / f Q.
    const struct
    {
        int code;
        char cls;
    } table[] = { { 1, 'N' }, { 2, 'N' }, { 3, 'N' }, { 25, 'N' }, { 34, 'N' }, { 11, 'N' },
        { 8, 'S' }, { 4, 'S' }, { 7, 'S' }, { 9, 'S' }, { 35, 'S' }, { 5, 'V' }, { 10, 'V' },
        { 41, 'V' }, { 6, 'F' }, { 12, 'Q' }, { 38, 'Q' }, { 13, 'Q' } };
    for (const auto& row : table) {
        const auto c = aamiClassOfCode(row.code);
        ASSERT_TRUE(c) << row.code;
        EXPECT_EQ(aamiClassLetter(*c), row.cls) << row.code;
    }
    // Not beats: none, artifact, rhythm, noise, comments, P and T waves, non-conducted P.
    for (int code : { 0, 14, 16, 22, 28, 24, 27, 37, 39, 40, 58, 59, 63 })
        EXPECT_FALSE(aamiClassOfCode(code)) << code;
}

// A copy with every beat moved by the same offset matches fully inside the window and not at
// all past it (RR >= 400 ms, so a beat 160 ms late is still over 150 ms from the next one).
class ShiftedCopy : public ::testing::TestWithParam<double>
{
};

TEST_P(ShiftedCopy, AllOrNothingAroundWindow)
{
    const double fs = GetParam();
    std::mt19937 rng { static_cast<unsigned>(fs) };
    std::uniform_int_distribution<int> rr(400, 1200); // ms
    std::uniform_int_distribution<int> pick(0, 4);
    const int codes[] = { N, A, V, F, Q };
    std::vector<Ann> ref;
    qint64 countByClass[5] = { 0, 0, 0, 0, 0 };
    double t = 1.0;
    for (int i = 0; i < 2000; ++i) {
        t += rr(rng) / 1000.0;
        const int k = pick(rng);
        ref.push_back({ qint64(t * fs), codes[k] });
        ++countByClass[k];
    }
    for (double shiftMs : { 100.0, -100.0, 160.0, -160.0 }) {
        std::vector<Ann> test = ref;
        for (Ann& a : test)
            a.ms += qint64(shiftMs / 1000.0 * fs + (shiftMs > 0 ? 0.5 : -0.5));
        const BeatConfusion m = compare(ref, test, 0.0, fs);
        const bool inside = std::abs(shiftMs) < 150.0;
        const DetectionCounts all { 2000, 0, 0 }, none { 0, 2000, 2000 };
        EXPECT_EQ(m.qrs(), inside ? all : none) << shiftMs;
        if (inside) {
            for (int k = 0; k < 5; ++k)
                EXPECT_EQ(m.count(AamiClass(k), AamiClass(k)), countByClass[k]) << k;
            EXPECT_EQ(m.veb().tp, countByClass[2]);
            EXPECT_EQ(m.sveb().tp, countByClass[1]);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Evaluation, ShiftedCopy, ::testing::Values(250.0, 360.0, 500.0, 1000.0));

TEST(BeatComparison, GrossSumsCounts)
{
    BeatConfusion a = compare({ { 1000, V }, { 2000, N } }, { { 1000, V } }); // Vv, No
    a += compare({ { 1000, V } }, { { 1000, N }, { 1600, V } }); // Vn, Ov
    // Summed VEB: TP 1, FN 1, FP 1 -> Se 1/2 (not the mean of 100 % and "-").
    EXPECT_EQ(a.veb(), (DetectionCounts { 1, 1, 1 }));
    EXPECT_DOUBLE_EQ(a.veb().sensitivity().value_or(-1), 0.5);
    EXPECT_EQ(a.referenceBeats(), 3);
    EXPECT_EQ(a.testBeats(), 3);
}

TEST(BeatComparison, FlutterStretchesAreLeftOut)
{
    constexpr int FLUTTER_ON = 32, FLUTTER_OFF = 33;
    using A_ = AamiClass;
    // Flutter from 2 s to 5 s holding a reference V; the test has three beats inside it (one on
    // the V). Inside the stretch nothing counts.
    const std::vector<Ann> ref
        = { { 1000, N }, { 2000, FLUTTER_ON }, { 3000, V }, { 5000, FLUTTER_OFF }, { 6000, N } };
    const std::vector<Ann> test
        = { { 1000, N }, { 2500, N }, { 3000, V }, { 4500, V }, { 6000, N } };
    BeatConfusion m = compare(ref, test);
    EXPECT_EQ(m.qrs(), (DetectionCounts { 2, 0, 0 }));
    EXPECT_EQ(m.count(A_::V, A_::V), 0);
    // Without the exclusion the same pair has 3 matches and 2 extra beats.
    BeatComparisonOptions o;
    o.samplingRate = 1000.0;
    o.startSeconds = 0.0;
    o.excludeFlutter = false;
    EXPECT_EQ(
        compareBeats(annotations(ref), annotations(test), o).qrs(), (DetectionCounts { 3, 0, 2 }));

    // An onset with no end runs to the end of the record.
    const auto open = flutterStretches(annotations({ { 100, FLUTTER_ON }, { 900, N } }));
    ASSERT_EQ(open.size(), 1);
    EXPECT_EQ(open[0].first, 100);
    EXPECT_GT(open[0].second, 1000000);
}
