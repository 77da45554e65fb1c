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

// The bytes of one step between two samples, worked out by hand from the
// format, at the edges of each escape.
TEST(DifferenceStream, EachStepTakesItsShortestFormAndComesBack)
{
    const struct
    {
        int from;
        int jump;
        Bytes step;
    } cases[] = {
        { 0, 0, { 0x00 } },
        { 0, 127, { 0x7f } },
        { 0, -127, { 0x81 } },
        { 0, 128, { 0x80, 0x80, 0x00 } },
        { 0, -128, { 0x80, 0x80, 0xff } },
        { 0, 32767, { 0x80, 0xff, 0x7f } },
        { 0, -32767, { 0x80, 0x01, 0x80 } },
        { 0, -32768, { 0x80, 0x00, 0x80, 0x00, 0x80, 0xff } },
        { -1, 32768, { 0x80, 0x00, 0x80, 0x00, 0x80, 0x00 } },
        { -32768, 65535, { 0x80, 0x00, 0x80, 0xff, 0xff, 0x00 } },
        { 32767, -65535, { 0x80, 0x00, 0x80, 0x01, 0x00, 0xff } },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.jump);
        const std::vector<qint16> samples { qint16(c.from), qint16(c.from + c.jump) };
        const Bytes bytes = encoded(samples);
        EXPECT_EQ(Bytes(bytes.begin() + 2, bytes.end()), c.step);
        std::vector<qint16> back;
        ASSERT_TRUE(differencestream::decode(bytes.data(), bytes.size(), back, 10));
        EXPECT_EQ(back, samples);
    }
    EXPECT_EQ(encoded({ qint16(0x1234) }), (Bytes { 0x34, 0x12 })); // the first sample as is
}

TEST(DifferenceStream, RandomWalksOfEveryStepSizeComeBack)
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

TEST(DifferenceStream, EndsOnlyBetweenSamplesAndWithinTheCallersLimit)
{
    std::vector<qint16> back { 5 };
    ASSERT_TRUE(differencestream::decode(nullptr, 0, back, 10)); // empty: no samples
    EXPECT_TRUE(back.empty());
    const Bytes full = encoded({ 0, 1, -32768, 0, 300, 301 });
    ASSERT_EQ(full.size(), 19u);
    const std::vector<size_t> ends { 2, 3, 9, 15, 18, 19 };
    for (size_t cut = 1; cut <= full.size(); ++cut) {
        const bool whole = std::find(ends.begin(), ends.end(), cut) != ends.end();
        EXPECT_EQ(differencestream::decode(full.data(), cut, back, 100), whole) << cut;
    }
    EXPECT_TRUE(differencestream::decode(full.data(), full.size(), back, 6));
    EXPECT_FALSE(differencestream::decode(full.data(), full.size(), back, 5));
    EXPECT_EQ(back.size(), 5u);
}

} // namespace
