#include "../analysis/memorysource.h"

#include "store/beat.h"

#include <gtest/gtest.h>

namespace {

TEST(Beat, TimingSlotsOutOfRangeAreIgnored)
{
    Beat b;
    for (int slot : { -1, 4, 100 }) {
        b.setTiming(slot, 7.0);
        EXPECT_EQ(b.getTiming(slot), 0.0) << slot;
        EXPECT_FALSE(b.hasTiming(slot)) << slot;
    }
    EXPECT_EQ(b, Beat()); // nothing was written anywhere
    b.setTiming(Beat::RR, 0.8);
    EXPECT_TRUE(b.hasTiming(Beat::RR));
    EXPECT_EQ(b.rr(), 0.8);
    EXPECT_FALSE(b.hasTiming(Beat::RTime));
}

struct MeasureCase
{
    int sourceChannels; // 0: no source
    int channel;
    int slot;
    bool valid;
};

class BeatMeasure : public ::testing::TestWithParam<MeasureCase>
{
};

TEST_P(BeatMeasure, AccessorsFollowTheSourceChannelCount)
{
    const MeasureCase mc = GetParam();
    MemorySource source(mc.sourceChannels > 0 ? mc.sourceChannels : 1, 250, 1024);
    Beat b;
    if (mc.sourceChannels > 0)
        b.source = &source;
    b.setChannelMeasure(mc.channel, mc.slot, 0.25);
    EXPECT_EQ(b.hasChannelMeasure(mc.channel, mc.slot), mc.valid);
    EXPECT_EQ(b.channelMeasure(mc.channel, mc.slot), mc.valid ? 0.25 : 0.0);
    if (!mc.valid) { // the write must not land anywhere, not even in a hidden channel
        Beat untouched;
        untouched.source = b.source;
        EXPECT_EQ(b, untouched);
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, BeatMeasure,
    ::testing::Values(MeasureCase { 3, 2, 11, true }, MeasureCase { 3, 2, 12, false },
        MeasureCase { 3, 3, 1, false }, MeasureCase { 4, 3, 11, true },
        MeasureCase { 0, 0, 1, false }));

TEST(BeatTypeNames, LookupIsCaseInsensitiveAndRenameRefusesTakenNames)
{
    EXPECT_EQ(BeatTypeNames::code("f"), int(BeatF));
    EXPECT_TRUE(BeatTypeNames::name(5).isEmpty());
    EXPECT_EQ(BeatTypeNames::code("X"), -1);

    EXPECT_FALSE(BeatTypeNames::setName(BeatS, "n")); // N's, whatever the case
    EXPECT_EQ(BeatTypeNames::name(BeatS), QByteArray("S"));
    EXPECT_FALSE(BeatTypeNames::setName(7, "Q"));
    EXPECT_TRUE(BeatTypeNames::setName(BeatS, "A"));
    EXPECT_EQ(BeatTypeNames::code("a"), int(BeatS));
    EXPECT_EQ(BeatTypeNames::code("S"), -1);
    EXPECT_TRUE(BeatTypeNames::setName(BeatS, "a")); // its own name in another case is fine
    EXPECT_TRUE(BeatTypeNames::setName(BeatS, "S"));
}

} // namespace
