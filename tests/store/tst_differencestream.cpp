#include "store/differencestream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes encoded(const std::vector<qint16>& samples)
{
    Bytes out;
    differencestream::encode(samples.data(), samples.size(), out);
    return out;
}

// Bytes of the step between two samples, worked out by hand from the format.
struct StepCase
{
    int from;
    int jump;
    Bytes step;
};

class DifferenceStep : public ::testing::TestWithParam<StepCase>
{
};

TEST_P(DifferenceStep, TakesItsShortestFormAndComesBack)
{
    const StepCase& c = GetParam();
    const std::vector<qint16> samples { qint16(c.from), qint16(c.from + c.jump) };
    const Bytes bytes = encoded(samples);
    ASSERT_EQ(bytes.size(), 2 + c.step.size());
    EXPECT_EQ(Bytes(bytes.begin() + 2, bytes.end()), c.step);
    std::vector<qint16> back;
    ASSERT_TRUE(differencestream::decode(bytes.data(), bytes.size(), back, 10));
    EXPECT_EQ(back, samples);
}

INSTANTIATE_TEST_SUITE_P(Escapes, DifferenceStep,
    ::testing::Values(StepCase { 0, 0, { 0x00 } }, StepCase { 0, 127, { 0x7f } },
        StepCase { 0, -127, { 0x81 } }, StepCase { 0, 128, { 0x80, 0x80, 0x00 } },
        StepCase { 0, -128, { 0x80, 0x80, 0xff } }, StepCase { 0, 32767, { 0x80, 0xff, 0x7f } },
        StepCase { 0, -32767, { 0x80, 0x01, 0x80 } },
        StepCase { 0, -32768, { 0x80, 0x00, 0x80, 0x00, 0x80, 0xff } },
        StepCase { -1, 32768, { 0x80, 0x00, 0x80, 0x00, 0x80, 0x00 } },
        StepCase { -32768, 65535, { 0x80, 0x00, 0x80, 0xff, 0xff, 0x00 } },
        StepCase { 32767, -65535, { 0x80, 0x00, 0x80, 0x01, 0x00, 0xff } }));

TEST(DifferenceStream, FirstSampleAndEmpty)
{
    EXPECT_EQ(encoded({ qint16(0x1234) }), (Bytes { 0x34, 0x12 }));
    EXPECT_TRUE(encoded({}).empty());
    std::vector<qint16> back { 5 };
    ASSERT_TRUE(differencestream::decode(nullptr, 0, back, 10));
    EXPECT_TRUE(back.empty());
    const Bytes two { 0x00, 0x80 };
    ASSERT_TRUE(differencestream::decode(two.data(), two.size(), back, 10));
    EXPECT_EQ(back, std::vector<qint16>({ -32768 }));
}

TEST(DifferenceStream, RandomWalksOfEveryStepSize)
{
    std::mt19937 rng(17);
    for (int scale : { 3, 200, 40000, 70000 }) {
        std::vector<qint16> samples;
        qint16 v = 0;
        for (int i = 0; i < 5000; ++i)
            samples.push_back(v = qint16(v + int(rng() % quint32(scale)) - scale / 2));
        const Bytes bytes = encoded(samples);
        EXPECT_LE(bytes.size(), 2 + (samples.size() - 1) * differencestream::kMaxBytesPerSample);
        std::vector<qint16> back;
        ASSERT_TRUE(differencestream::decode(bytes.data(), bytes.size(), back, samples.size()));
        EXPECT_EQ(back, samples) << scale;
    }
}

TEST(DifferenceStream, RejectsBrokenStreams)
{
    const Bytes full = encoded({ 0, 1, -32768, 0, 300, 301 });
    std::vector<qint16> back;
    // A stream may end only between samples: after bytes 2, 3, 9, 15, 18 and 19 here.
    ASSERT_EQ(full.size(), 19u);
    const std::vector<size_t> ends { 2, 3, 9, 15, 18, 19 };
    for (size_t cut = 1; cut <= full.size(); ++cut) {
        const bool whole = std::find(ends.begin(), ends.end(), cut) != ends.end();
        EXPECT_EQ(differencestream::decode(full.data(), cut, back, 100), whole) << cut;
    }
    // More samples than the caller can take.
    EXPECT_TRUE(differencestream::decode(full.data(), full.size(), back, 6));
    EXPECT_FALSE(differencestream::decode(full.data(), full.size(), back, 5));
    EXPECT_EQ(back.size(), 5u);
}

} // namespace
