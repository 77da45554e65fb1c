// Wave delineation on hand-made wavelet scales, and the filling of a beat from channel
// records. Expected positions are worked out by hand in the comments.

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

// A triangular lobe: `height` at `centre`, falling linearly to zero 5 samples away.
void addLobe(std::vector<double>& v, int centre, double height)
{
    for (int d = -4; d <= 4; ++d)
        v[size_t(centre + d)] += height * (1.0 - std::abs(d) / 5.0);
}

struct Lobe
{
    int centre;
    double height;
};

ScaleWindow window(const std::vector<Lobe>& lobes)
{
    std::vector<double> v(size_t(kLength), 0.0);
    for (const Lobe& l : lobes)
        addLobe(v, l.centre, l.height);
    ScaleWindow w(kLength);
    w.set({}, v, {});
    return w;
}

LeadBeatRecord delineate(const std::vector<Lobe>& w2Lobes, const std::vector<Lobe>& w4Lobes,
    int qrs, int nextQrs, ChannelDetectorState& state, double rrEstimate = 0.75)
{
    const ScaleWindow w2 = window(w2Lobes), w3 = window({}), w4 = window(w4Lobes);
    LeadBeatRecord r = LeadBeatRecord::empty(qrs);
    WaveDelineator::delineate(w2, w3, w4, 10.0, 10.0, 10.0, qrs, nextQrs, rrEstimate, state, r);
    return r;
}

struct QrsCase
{
    const char* name;
    std::vector<Lobe> w2;
    int polarity, qPeak, rPeak, sPeak, qrsOn, qrsOff;
};

class QrsDelineation : public ::testing::TestWithParam<QrsCase>
{
};

TEST_P(QrsDelineation, FindsPeaksAndLimits)
{
    const QrsCase& c = GetParam();
    ChannelDetectorState state(kLength);
    const LeadBeatRecord r = delineate(c.w2, {}, 105, 400, state);
    EXPECT_EQ(r.qrsPolarity, c.polarity);
    EXPECT_EQ(r.qPeak, c.qPeak);
    EXPECT_EQ(r.rPeak, c.rPeak);
    EXPECT_EQ(r.sPeak, c.sPeak);
    EXPECT_EQ(r.qrsOn, c.qrsOn);
    EXPECT_EQ(r.qrsOff, c.qrsOff);
}

// W2 lobes 10 samples apart cross zero at 105. With W3 all zero, a limit without a side wave
// is the sample next to the outer lobe (99 or 111).
INSTANTIATE_TEST_SUITE_P(Cases, QrsDelineation,
    ::testing::Values(
        // Falling W2 first (rising signal): upright R at the crossing.
        QrsCase { "uprightR", { { 100, -50 }, { 110, 50 } }, 1, kNone, 105, kNone, 99, 111 },
        // Rising W2 first: a pure QS, Q and S on the same sample and no R.
        QrsCase { "pureQS", { { 100, 50 }, { 110, -50 } }, -1, 105, kNone, 105, 99, 111 },
        // A smaller falling lobe at 91 ahead of a QS: an R wave at 96 (the first sample
        // where W2 turns non-negative), onset (int)(91 - 3.75) = 87.
        QrsCase {
            "rsComplex", { { 91, -25 }, { 100, 50 }, { 110, -50 } }, -1, kNone, 96, 105, 87, 111 },
        // Upright R with an S: the rising lobe at 119 ends the QRS at (int)(119 + 1.25) = 120;
        // walking from 110 while W2 >= 0 stops at 115 (first negative), so S is at 114.
        QrsCase {
            "uprightRS", { { 100, -50 }, { 110, 50 }, { 119, -20 } }, 1, kNone, 105, 114, 99, 120 },
        // Nothing of one sign: no QRS in this channel.
        QrsCase { "onlyOneLobe", { { 100, 50 } }, 0, kNone, kNone, kNone, kNone, kNone }),
    [](const ::testing::TestParamInfo<QrsCase>& info) { return info.param.name; });

// Without a side wave the limits come from W3: from the sample next to the outer W2 lobe, walk
// outward while |W3| stays above a fifth of its value there, but at most 0.05 s (12.5 samples)
// from that lobe. W3 is 100 over [from, to] and 10 elsewhere, so the walk stops at the first
// sample outside the plateau, or at the bound when the plateau reaches past it.
struct SlopeEndCase
{
    const char* name;
    std::vector<Lobe> w2;
    int w3From, w3To;
    int qrsOn, qrsOff;
};

class QrsSlopeEnd : public ::testing::TestWithParam<SlopeEndCase>
{
};

TEST_P(QrsSlopeEnd, StopsWhereW3FadesOrAtTheSpan)
{
    const SlopeEndCase& c = GetParam();
    std::vector<double> v3(size_t(kLength), 10.0);
    for (int k = c.w3From; k <= c.w3To; ++k)
        v3[size_t(k)] = (k % 2 ? 1.0 : -1.0) * 100.0; // the sign must not matter
    ScaleWindow w3(kLength);
    w3.set({}, v3, {});
    const ScaleWindow w2 = window(c.w2), w4 = window({});
    ChannelDetectorState state(kLength);
    LeadBeatRecord r = LeadBeatRecord::empty(105);
    WaveDelineator::delineate(w2, w3, w4, 10.0, 10.0, 10.0, 105, 400, 0.75, state, r);
    EXPECT_EQ(r.qrsOn, c.qrsOn);
    EXPECT_EQ(r.qrsOff, c.qrsOff);
}

// Outer lobes at 100 and 110. Short plateau [95, 115]: the walks stop at 94 and 116. A plateau
// over [60, 150], as on a slow, wide ventricular complex: the walks stop at the bounds
// (int)(100 - 12.5) = 87 and (int)(110 + 12.5) = 122, so the width stays at 35 samples.
INSTANTIATE_TEST_SUITE_P(Cases, QrsSlopeEnd,
    ::testing::Values(
        SlopeEndCase { "uprightShort", { { 100, -50 }, { 110, 50 } }, 95, 115, 94, 116 },
        SlopeEndCase { "uprightWide", { { 100, -50 }, { 110, 50 } }, 60, 150, 87, 122 },
        SlopeEndCase { "qsShort", { { 100, 50 }, { 110, -50 } }, 95, 115, 94, 116 },
        SlopeEndCase { "qsWide", { { 100, 50 }, { 110, -50 } }, 60, 150, 87, 122 }),
    [](const ::testing::TestParamInfo<SlopeEndCase>& info) { return info.param.name; });

struct PCase
{
    const char* name;
    std::vector<Lobe> w4;
    int polarity, peak, on, off;
};

class PWaveDelineation : public ::testing::TestWithParam<PCase>
{
};

TEST_P(PWaveDelineation, PairsCloseLobesOnly)
{
    // Upright R at 505; its onset is 499, so the P window is [(int)(499 - 62.5), 499 - 5]
    // = [436, 494].
    const PCase& c = GetParam();
    ChannelDetectorState state(kLength);
    const LeadBeatRecord r = delineate({ { 500, -50 }, { 510, 50 } }, c.w4, 505, 900, state);
    ASSERT_EQ(r.qrsOn, 499);
    EXPECT_EQ(r.pPolarity, c.polarity);
    EXPECT_EQ(r.pPeak, c.peak);
    EXPECT_EQ(r.pOn, c.on);
    EXPECT_EQ(r.pOff, c.off);
}

INSTANTIATE_TEST_SUITE_P(Cases, PWaveDelineation,
    ::testing::Values(
        // Trough 450 then peak 460: an upright P at the crossing 455; limits 2.5 samples out.
        PCase { "upright", { { 450, -20 }, { 460, 20 } }, 1, 455, 447, 462 },
        PCase { "inverted", { { 450, 20 }, { 460, -20 } }, -1, 455, 447, 462 },
        // 30 samples (0.12 s) apart: not one wave.
        PCase { "tooFarApart", { { 445, -20 }, { 475, 20 } }, 0, kNone, kNone, kNone },
        // Below 0.3 x T4 = 3.
        PCase { "tooSmall", { { 450, -2.5 }, { 460, 2.5 } }, 0, kNone, kNone, kNone }),
    [](const ::testing::TestParamInfo<PCase>& info) { return info.param.name; });

struct TCase
{
    const char* name;
    int nextQrs;
    int troughAt; // peak 10 samples later
    int tPeak;
};

class TWaveDelineation : public ::testing::TestWithParam<TCase>
{
};

TEST_P(TWaveDelineation, WindowEndsBeforeTheNextQrs)
{
    const TCase& c = GetParam();
    ChannelDetectorState state(kLength);
    const LeadBeatRecord r = delineate({ { 500, -50 }, { 510, 50 } },
        { { c.troughAt, -20 }, { c.troughAt + 10, 20 } }, 505, c.nextQrs, state);
    EXPECT_EQ(r.tPeak, c.tPeak);
    if (c.tPeak != kNone) {
        EXPECT_EQ(r.tPolarity, 1);
        EXPECT_EQ(r.tOn, c.troughAt - 5);
        EXPECT_EQ(r.tOff, c.troughAt + 15);
        EXPECT_TRUE(state.haveTEnd);
        EXPECT_EQ(state.lastTEnd, r.tOff);
    } else {
        EXPECT_EQ(r.tPolarity, 0);
        EXPECT_FALSE(state.haveTEnd); // the next P search starts behind the QRS instead
        EXPECT_EQ(state.lastTEnd, r.qrsOff);
    }
}

// QRS at 505: the window starts at 530. With the next QRS at 585 (0.32 s) it ends at
// 585 - 25 = 560, so a T peaking at 568 is out of reach; with the next QRS far away it ends
// at 505 + 100 = 605.
INSTANTIATE_TEST_SUITE_P(Cases, TWaveDelineation,
    ::testing::Values(TCase { "closeNeighbourInside", 585, 535, 540 },
        TCase { "closeNeighbourCutsIt", 585, 558, kNone },
        TCase { "farNeighbour", 1000, 558, 563 }),
    [](const ::testing::TestParamInfo<TCase>& info) { return info.param.name; });

TEST(WaveDelineator, PSearchStartsBehindTheLastTWave)
{
    // The last T ended at 470, after qrs - 75 = 430: the P window starts at 470 + 12 = 482,
    // so lobes at 450/460 are not looked at.
    ChannelDetectorState state(kLength);
    state.haveTEnd = true;
    state.lastTEnd = 470;
    const LeadBeatRecord r
        = delineate({ { 500, -50 }, { 510, 50 } }, { { 450, -20 }, { 460, 20 } }, 505, 900, state);
    EXPECT_EQ(r.pPolarity, 0);
    EXPECT_EQ(r.pPeak, kNone);
}

TEST(WaveDelineator, FillsABeatFromChannelRecords)
{
    MemorySource source(2, 250, 1024);
    LeadBeatRecord records[2];
    records[0] = LeadBeatRecord::empty(1010);
    records[0].qrsOn = 1000;
    records[0].qrsOff = 1025;
    records[0].rPeak = 1010;
    records[0].pOn = 950;
    records[0].pPeak = 960;
    records[0].tPeak = 1080;
    records[0].tOff = 1100;
    records[0].qrsPolarity = 1;
    records[0].pPolarity = 1;
    records[0].tPolarity = -1;
    records[1] = LeadBeatRecord::empty(1010);

    Beat beat;
    WaveDelineator::fillBeat(beat, &source, records, 1010, 250.0, 0.84);
    EXPECT_DOUBLE_EQ(beat.timing[Beat::RTime], 4.04);
    EXPECT_DOUBLE_EQ(beat.timing[Beat::RR], 0.0);
    EXPECT_DOUBLE_EQ(beat.timing[Beat::MedianRR], 0.84);
    EXPECT_FALSE(beat.hasTiming(Beat::QrsShare));
    EXPECT_NEAR(beat.windowStart, 3.84, 1e-12);
    EXPECT_DOUBLE_EQ(beat.windowLength, 0.5);
    EXPECT_EQ(beat.type, BeatU);
    EXPECT_EQ(beat.classId, 0);

    EXPECT_DOUBLE_EQ(beat.channelMeasure(0, Beat::HasQrs), 1.0);
    EXPECT_DOUBLE_EQ(beat.channelMeasure(0, Beat::PPeak), 3.84);
    EXPECT_DOUBLE_EQ(beat.channelMeasure(0, Beat::RPeak), 4.04);
    EXPECT_DOUBLE_EQ(beat.channelMeasure(0, Beat::TPeak), 4.32);
    EXPECT_FALSE(beat.hasChannelMeasure(0, Beat::QPeak));
    EXPECT_FALSE(beat.hasChannelMeasure(0, Beat::SPeak));
    EXPECT_NEAR(beat.channelMeasure(0, Beat::QrsDuration), 0.1, 1e-12);
    EXPECT_NEAR(beat.channelMeasure(0, Beat::PRInterval), 0.2, 1e-12);
    EXPECT_NEAR(beat.channelMeasure(0, Beat::QTInterval), 0.4, 1e-12);
    EXPECT_DOUBLE_EQ(beat.channelMeasure(0, Beat::TPolarity), -1.0);

    // No QRS: flag and polarity 0, no position, no interval.
    EXPECT_DOUBLE_EQ(beat.channelMeasure(1, Beat::HasQrs), 0.0);
    EXPECT_DOUBLE_EQ(beat.channelMeasure(1, Beat::QrsPolarity), 0.0);
    for (int slot : { Beat::PPeak, Beat::QPeak, Beat::RPeak, Beat::SPeak, Beat::TPeak,
             Beat::QrsDuration, Beat::PRInterval, Beat::QTInterval })
        EXPECT_FALSE(beat.hasChannelMeasure(1, slot)) << "slot " << slot;
    // A channel the source doesn't have stays untouched.
    EXPECT_FALSE(beat.hasChannelMeasure(2, Beat::HasQrs));
    EXPECT_DOUBLE_EQ(beat.measure[2][Beat::HasQrs], -1.0);
}

TEST(WaveDelineator, IntervalsFallBackOnPeaks)
{
    MemorySource source(1, 250, 1024);
    LeadBeatRecord r = LeadBeatRecord::empty(1010);
    r.qrsOn = 1000;
    r.sPeak = 1020; // no offset: duration = t(S) + 0.02 - t(on) = 4.08 + 0.02 - 4.0
    r.pPeak = 960; // no P onset: PR = t(on) - (t(P) - 0.01) = 4.0 - 3.83
    r.tPeak = 1080; // no T end: QT = t(T) + 0.1 - t(on) = 4.42 - 4.0
    r.qrsPolarity = -1;
    Beat beat;
    WaveDelineator::fillBeat(beat, &source, &r, 1010, 250.0, 0.0);
    EXPECT_NEAR(beat.channelMeasure(0, Beat::QrsDuration), 0.1, 1e-12);
    EXPECT_NEAR(beat.channelMeasure(0, Beat::PRInterval), 0.17, 1e-12);
    EXPECT_NEAR(beat.channelMeasure(0, Beat::QTInterval), 0.42, 1e-12);

    // Without onset, Q or S, the R peak serves with its own margins.
    r.qrsOn = kNone;
    r.sPeak = kNone;
    r.rPeak = 1010;
    r.qrsOff = 1030; // duration = t(off) - (t(R) - 0.04) = 4.12 - 4.0
    WaveDelineator::fillBeat(beat = Beat(), &source, &r, 1010, 250.0, 0.0);
    EXPECT_NEAR(beat.channelMeasure(0, Beat::QrsDuration), 0.12, 1e-12);
    // PR = t(R) - 0.02 - (t(P) - 0.01) = 4.02 - 3.83; QT = t(T) + 0.1 - (t(R) - 0.02)
    // = 4.42 - 4.02.
    EXPECT_NEAR(beat.channelMeasure(0, Beat::PRInterval), 0.19, 1e-12);
    EXPECT_NEAR(beat.channelMeasure(0, Beat::QTInterval), 0.40, 1e-12);
}

} // namespace
