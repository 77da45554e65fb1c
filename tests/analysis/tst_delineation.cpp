#include "analysis/channeldetectorstate.h"
#include "analysis/scalewindow.h"
#include "analysis/wavedelineator.h"
#include "memorysource.h"
#include "store/beat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

constexpr int kLength = 1200;
constexpr qint32 kNone = LeadBeatRecord::kNotFound;

struct Lobe
{
    int centre;
    double height; // triangular: zero 5 samples from the centre
};

ScaleWindow window(const std::vector<Lobe>& lobes, double base = 0.0)
{
    std::vector<double> v(size_t(kLength), base);
    for (const Lobe& l : lobes)
        for (int d = -4; d <= 4; ++d)
            v[size_t(l.centre + d)] += l.height * (1.0 - std::abs(d) / 5.0);
    ScaleWindow w(kLength);
    w.set({}, v, {});
    return w;
}

LeadBeatRecord delineate(const std::vector<Lobe>& w2, const std::vector<Lobe>& w4, int qrs,
    int nextQrs, ChannelDetectorState& state, const ScaleWindow& w3 = window({}))
{
    LeadBeatRecord r = LeadBeatRecord::empty(qrs);
    WaveDelineator::delineate(
        window(w2), w3, window(w4), 10.0, 10.0, 10.0, qrs, nextQrs, 0.75, state, r);
    return r;
}

// W2 lobes 10 samples apart cross zero at 105; with W3 zero, a limit without a side wave is the
// sample next to the outer lobe (99 or 111).
TEST(WaveDelineator, QrsPeaksAndLimits)
{
    const struct
    {
        std::vector<Lobe> w2;
        std::vector<int> expected; // polarity, Q, R and S peaks, onset, end
    } cases[] = {
        // Falling W2 first (rising signal): upright R at the crossing.
        { { { 100, -50 }, { 110, 50 } }, { 1, kNone, 105, kNone, 99, 111 } },
        // Rising first: a pure QS, Q and S on the same sample.
        { { { 100, 50 }, { 110, -50 } }, { -1, 105, kNone, 105, 99, 111 } },
        // A small falling lobe at 91: R at 96 (W2 turns non-negative), onset (int)(91 - 3.75).
        { { { 91, -25 }, { 100, 50 }, { 110, -50 } }, { -1, kNone, 96, 105, 87, 111 } },
        // A rising lobe at 119 ends the QRS at (int)(119 + 1.25); W2 >= 0 from 110 stops at 115.
        { { { 100, -50 }, { 110, 50 }, { 119, -20 } }, { 1, kNone, 105, 114, 99, 120 } },
        { { { 100, 50 } }, { 0, kNone, kNone, kNone, kNone, kNone } }, // only one lobe
    };
    for (const auto& c : cases) {
        ChannelDetectorState state(kLength);
        const LeadBeatRecord r = delineate(c.w2, {}, 105, 400, state);
        EXPECT_EQ(
            (std::vector<int> { r.qrsPolarity, r.qPeak, r.rPeak, r.sPeak, r.qrsOn, r.qrsOff }),
            c.expected)
            << "row " << (&c - cases);
    }
}

// Without a side wave, walk out from the outer lobe while |W3| stays above a fifth of its value
// there, at most 0.05 s (12.5 samples). W3 is 100 on the plateau and 10 elsewhere.
TEST(QrsSlopeEnd, StopsWhereW3FadesOrAtTheSpan)
{
    const struct
    {
        int sign, from, to, on, off;
    } cases[] = {
        { 1, 95, 115, 94, 116 }, // short plateau: the first samples off it
        { 1, 60, 150, 87, 122 }, // wide: the bounds (int)(100 - 12.5) and 110 + 12.5
        { -1, 60, 150, 87, 122 },
    };
    for (const auto& c : cases) {
        std::vector<double> v3(size_t(kLength), 10.0);
        for (int k = c.from; k <= c.to; ++k)
            v3[size_t(k)] = (k % 2 ? 1.0 : -1.0) * 100.0; // the sign must not matter
        ScaleWindow w3(kLength);
        w3.set({}, v3, {});
        ChannelDetectorState state(kLength);
        const LeadBeatRecord r = delineate(
            { { 100, -50.0 * c.sign }, { 110, 50.0 * c.sign } }, {}, 105, 400, state, w3);
        EXPECT_EQ(r.qrsOn, c.on) << c.sign << " " << c.to;
        EXPECT_EQ(r.qrsOff, c.off) << c.sign << " " << c.to;
    }
}

TEST(WaveDelineator, PWavePairsCloseLobesOnly)
{
    // Upright R at 505, onset 499: the P window is [(int)(499 - 62.5), 499 - 5] = [436, 494].
    const struct
    {
        std::vector<Lobe> w4;
        std::vector<int> expected; // polarity, peak, onset, end
    } cases[] = {
        { { { 450, -20 }, { 460, 20 } }, { 1, 455, 447, 462 } }, // limits 2.5 samples out
        { { { 450, 20 }, { 460, -20 } }, { -1, 455, 447, 462 } },
        { { { 445, -20 }, { 475, 20 } }, { 0, kNone, kNone, kNone } }, // 0.12 s apart: two waves
        { { { 450, -2.5 }, { 460, 2.5 } }, { 0, kNone, kNone, kNone } }, // below 0.3 x T4 = 3
    };
    for (const auto& c : cases) {
        ChannelDetectorState state(kLength);
        const LeadBeatRecord r = delineate({ { 500, -50 }, { 510, 50 } }, c.w4, 505, 900, state);
        ASSERT_EQ(r.qrsOn, 499);
        EXPECT_EQ((std::vector<int> { r.pPolarity, r.pPeak, r.pOn, r.pOff }), c.expected)
            << "row " << (&c - cases);
    }
    // After a T ending at 470 (past qrs - 75) the P window starts at 470 + 12 = 482.
    ChannelDetectorState state(kLength);
    state.haveTEnd = true;
    state.lastTEnd = 470;
    EXPECT_EQ(
        delineate({ { 500, -50 }, { 510, 50 } }, { { 450, -20 }, { 460, 20 } }, 505, 900, state)
            .pPeak,
        kNone);
}

TEST(WaveDelineator, TWindowEndsBeforeTheNextQrs)
{
    // QRS at 505: the window starts at 530 and ends 25 samples before a next QRS at 585 (0.32 s),
    // or at 505 + 100 = 605 when the next one is far.
    const struct
    {
        int nextQrs, troughAt, tPeak; // T peak lobe 10 samples after the trough
    } cases[] = { { 585, 535, 540 }, { 585, 558, kNone }, { 1000, 558, 563 } };
    for (const auto& c : cases) {
        ChannelDetectorState state(kLength);
        const LeadBeatRecord r = delineate({ { 500, -50 }, { 510, 50 } },
            { { c.troughAt, -20 }, { c.troughAt + 10, 20 } }, 505, c.nextQrs, state);
        EXPECT_EQ(r.tPeak, c.tPeak) << c.nextQrs << " " << c.troughAt;
        if (c.tPeak != kNone) {
            EXPECT_EQ(r.tOn, c.troughAt - 5);
            EXPECT_EQ(r.tOff, c.troughAt + 15);
            EXPECT_EQ(state.lastTEnd, r.tOff);
        } else {
            EXPECT_FALSE(state.haveTEnd); // the next P search starts behind the QRS instead
            EXPECT_EQ(state.lastTEnd, r.qrsOff);
        }
    }
}

TEST(WaveDelineator, IntervalsFallBackOnPeaks)
{
    MemorySource source(1, 250, 1024);
    LeadBeatRecord r = LeadBeatRecord::empty(1010);
    r.qrsOn = 1000;
    r.sPeak = 1020; // no offset: t(S) + 0.02 - t(on) = 4.08 + 0.02 - 4.0
    r.pPeak = 960; // no P onset: t(on) - (t(P) - 0.01) = 4.0 - 3.83
    r.tPeak = 1080; // no T end: t(T) + 0.1 - t(on) = 4.42 - 4.0
    r.qrsPolarity = -1;
    Beat beat;
    WaveDelineator::fillBeat(beat, &source, &r, 1010, 250.0, 0.0);
    EXPECT_NEAR(beat.channelMeasure(0, Beat::QrsDuration), 0.1, 1e-12);
    EXPECT_NEAR(beat.channelMeasure(0, Beat::PRInterval), 0.17, 1e-12);
    EXPECT_NEAR(beat.channelMeasure(0, Beat::QTInterval), 0.42, 1e-12);
    // Without onset, Q or S the R peak serves: duration t(off) - (t(R) - 0.04) = 4.12 - 4.0;
    // PR 4.02 - 3.83; QT 4.42 - 4.02.
    r.qrsOn = kNone;
    r.sPeak = kNone;
    r.rPeak = 1010;
    r.qrsOff = 1030;
    WaveDelineator::fillBeat(beat = Beat(), &source, &r, 1010, 250.0, 0.0);
    EXPECT_NEAR(beat.channelMeasure(0, Beat::QrsDuration), 0.12, 1e-12);
    EXPECT_NEAR(beat.channelMeasure(0, Beat::PRInterval), 0.19, 1e-12);
    EXPECT_NEAR(beat.channelMeasure(0, Beat::QTInterval), 0.40, 1e-12);
}

} // namespace
