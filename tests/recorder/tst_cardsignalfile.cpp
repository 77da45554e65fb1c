#include "recorder/cardsignalfile.h"
#include "store/storeio.h"
#include "tests/support/testsupport.h"

#include <QFile>

#include <gtest/gtest.h>

#include <unistd.h>

#include <vector>

namespace {

const char* const kCorrupt
    = "File in memory card may be corrupted.\nPlease contact technical support.";
constexpr int kBlock = 12002;

// Test samples avoid the high nibble 0xC in both bytes, so that no sample byte can pass for
// a status marker at either parity; values from 0x80.. in the high byte are negative.
qint16 sampleValue(int block, int frame, int channel)
{
    const int hi = (frame * 3 + channel * 50 + block * 11) % 0xB0;
    const int lo = (frame * 5 + channel * 7 + block) % 0xB0;
    return qint16(quint16((hi << 8) | lo));
}

void appendBigEndian(QByteArray& out, quint16 v)
{
    out.append(char(v >> 8));
    out.append(char(v & 0xFF));
}

// Blocks as the recorder writes them: per frame channel 3, then 2, then 1, then the status.
QByteArray cardBlocks(int count, const std::vector<quint16>& statuses = {})
{
    QByteArray out;
    out.reserve(count * kBlock);
    for (int b = 0; b < count; ++b) {
        for (int f = 0; f < 2000; ++f)
            for (int c = 2; c >= 0; --c)
                appendBigEndian(out, quint16(sampleValue(b, f, c)));
        appendBigEndian(out, b < int(statuses.size()) ? statuses[b] : 0xC000);
    }
    return out;
}

// A preamble that ends in a marker word: a preamble longer than 2 bytes is only found when its
// last word looks like the status of a block before the first one.
QByteArray preamble(int length, bool markerAtEnd = true)
{
    QByteArray p(length, '\0');
    if (markerAtEnd && length >= 2)
        p[length - 2] = char(0xC0);
    return p;
}

QString writeCard(
    const testsupport::TempRoot& root, const QByteArray& bytes, const QString& name = "HECG.VTF")
{
    const QString path = root.file(name);
    testsupport::writeAll(path, bytes);
    return path;
}

std::string offsetError(const QString& path)
{
    try {
        CardSignalFile::findDataOffset(path);
    } catch (const StoreError& e) {
        return e.what();
    }
    return "no error";
}

class CountingListener : public SignalListener
{
public:
    void signalChanged(SignalSource*) override { ++changes; }
    int changes = 0;
};

} // namespace

TEST(CardSignalFileOffset, FindsEveryEvenPreambleInMemory)
{
    const QByteArray blocks = cardBlocks(15);
    for (int length = 2; length <= 12000; length += 2) {
        const QByteArray head = (preamble(length) + blocks).left(CardSignalFile::kSearchBytes);
        ASSERT_EQ(CardSignalFile::findDataOffsetIn(head), length) << "preamble " << length;
    }
}

class CardOffsetFile : public ::testing::TestWithParam<int>
{
};

TEST_P(CardOffsetFile, FindsPreambleThroughTheFile)
{
    testsupport::TempRoot root;
    const int length = GetParam();
    const QString path = writeCard(root, preamble(length) + cardBlocks(16));
    EXPECT_EQ(CardSignalFile::findDataOffset(path), length);
    // The card's folder works as well as the file.
    EXPECT_EQ(CardSignalFile::findDataOffset(root.path()), length);
}

INSTANTIATE_TEST_SUITE_P(Lengths, CardOffsetFile, ::testing::Values(2, 4, 512, 6000, 11998, 12000));

TEST(CardSignalFileOffset, NoPreambleSkipsTheFirstBlock)
{
    // The marker of block 0 sits at 12000, below the first candidate, and wins there.
    testsupport::TempRoot root;
    EXPECT_EQ(CardSignalFile::findDataOffset(writeCard(root, cardBlocks(16))), 12002);
}

TEST(CardSignalFileOffset, FolderWithLowerCaseName)
{
    testsupport::TempRoot root;
    writeCard(root, preamble(100) + cardBlocks(15), "hecg.vtf");
    EXPECT_EQ(CardSignalFile::findDataOffset(root.path()), 100);
}

TEST(CardSignalFileOffset, OddOrUnmarkedPreamblesAreCorrupt)
{
    testsupport::TempRoot root;
    for (int length : { 1, 3, 999, 6001, 11999 }) {
        const QString path = writeCard(root, preamble(length) + cardBlocks(16));
        EXPECT_EQ(offsetError(path), kCorrupt) << "preamble " << length;
    }
    // A zero-filled preamble of 4 bytes or more has no marker before the first block.
    const QString path = writeCard(root, preamble(4, false) + cardBlocks(16));
    EXPECT_EQ(offsetError(path), kCorrupt);
}

TEST(CardSignalFileOffset, BadMarkerInAnyCheckedBlockIsCorrupt)
{
    testsupport::TempRoot root;
    for (int length : { 2, 700, 12000 }) {
        for (int bad = 0; bad < 14; ++bad) {
            for (quint16 status : { quint16(0x0000), quint16(0x8000), quint16(0xD001) }) {
                std::vector<quint16> statuses(16, 0xC000);
                statuses[bad] = status;
                const QByteArray head = (preamble(length) + cardBlocks(16, statuses))
                                            .left(CardSignalFile::kSearchBytes);
                EXPECT_EQ(CardSignalFile::findDataOffsetIn(head), -1)
                    << "preamble " << length << " block " << bad << " status " << status;
            }
        }
    }
    // Without a preamble the window holds all 15 markers, the last one included.
    std::vector<quint16> statuses(16, 0xC000);
    statuses[14] = 0;
    EXPECT_EQ(offsetError(writeCard(root, cardBlocks(16, statuses))), kCorrupt);
    // Behind a preamble the 15th marker lies past the window and isn't looked at.
    EXPECT_EQ(
        CardSignalFile::findDataOffset(writeCard(root, preamble(2) + cardBlocks(16, statuses))), 2);
    // Only the marker nibble counts, not the other status bits.
    statuses[14] = 0xC000;
    statuses[3] = 0xCFFF;
    EXPECT_EQ(
        CardSignalFile::findDataOffset(writeCard(root, preamble(8) + cardBlocks(16, statuses))), 8);
}

TEST(CardSignalFileOffset, MissingShortAndEmptyFiles)
{
    testsupport::TempRoot root;
    EXPECT_EQ(offsetError(root.file("absent.vtf")), "Cannot open file in memory card");
    EXPECT_EQ(offsetError(root.path()), "Cannot open file in memory card"); // no HECG.VTF in it
    EXPECT_EQ(offsetError(QString()), "Cannot open file in memory card");
    EXPECT_EQ(offsetError(writeCard(root, QByteArray())), kCorrupt);
    // Three blocks only: the zeros past the end break every chain.
    EXPECT_EQ(offsetError(writeCard(root, preamble(2) + cardBlocks(3))), kCorrupt);
}

TEST(CardSignalFile, Properties)
{
    testsupport::TempRoot root;
    // 5 whole blocks and a cut sixth one.
    const QString path = writeCard(root, preamble(40) + cardBlocks(6).left(5 * kBlock + 7000));
    CardSignalFile card(path, 40);
    EXPECT_EQ(card.channelCount(), 3);
    EXPECT_EQ(card.blockSize(), 2000);
    EXPECT_EQ(card.blockCount(), 5);
    EXPECT_EQ(card.sampleCount(), 10000);
    EXPECT_EQ(card.samplingRate(), 500);
    EXPECT_EQ(card.resolution(), 16);
    EXPECT_DOUBLE_EQ(card.gainMin(), -450.0);
    EXPECT_DOUBLE_EQ(card.gainMax(), 450.0);
    EXPECT_DOUBLE_EQ(card.gainStep(), 900.0 / 65536.0);
    EXPECT_DOUBLE_EQ(card.duration(), 20.0);
    EXPECT_EQ(card.dataOffset(), 40);
    // The partial sixth block is not addressable.
    EXPECT_EQ(card.getBlock(0, 5), nullptr);
    EXPECT_EQ(card.sampleAt(0, 10000), 0);
}

TEST(CardSignalFile, FewerThanOneBlockYieldsNothing)
{
    testsupport::TempRoot root;
    for (int size : { 0, 100, kBlock - 1 }) {
        const QString path = writeCard(root, preamble(10) + cardBlocks(1).left(size));
        CardSignalFile card(path, 10);
        EXPECT_EQ(card.blockCount(), 0) << size;
        EXPECT_EQ(card.sampleCount(), 0);
        EXPECT_EQ(card.getBlock(0, 0), nullptr);
        EXPECT_EQ(card.sampleAt(1, 0), 0);
        double out[3] = { 7, 7, 7 };
        card.readSamples(2, 0, 3, out);
        EXPECT_EQ(out[0] + out[1] + out[2], 0.0);
    }
    // An offset beyond the end is no block either.
    CardSignalFile card(writeCard(root, cardBlocks(2)), 5 * kBlock);
    EXPECT_EQ(card.blockCount(), 0);
}

TEST(CardSignalFile, SamplesOfAllChannels)
{
    testsupport::TempRoot root;
    const int length = 1234 * 2;
    CardSignalFile card(writeCard(root, preamble(length) + cardBlocks(4)), length);
    ASSERT_EQ(card.blockCount(), 4);
    const int positions[][2]
        = { { 0, 0 }, { 0, 1 }, { 0, 1999 }, { 1, 0 }, { 2, 1234 }, { 3, 1999 } };
    for (int c = 0; c < 3; ++c) {
        for (const auto& pos : positions) {
            const qint64 index = qint64(pos[0]) * 2000 + pos[1];
            EXPECT_EQ(card.sampleAt(c, index), sampleValue(pos[0], pos[1], c))
                << "channel " << c << " block " << pos[0] << " frame " << pos[1];
        }
        // Across a block boundary, with the range running past both ends.
        std::vector<double> out(6, 99.0);
        card.readSamples(c, 1998, 4, out.data());
        EXPECT_EQ(out[0], sampleValue(0, 1998, c));
        EXPECT_EQ(out[1], sampleValue(0, 1999, c));
        EXPECT_EQ(out[2], sampleValue(1, 0, c));
        EXPECT_EQ(out[3], sampleValue(1, 1, c));
        card.readSamples(c, 7998, 4, out.data());
        EXPECT_EQ(out[1], sampleValue(3, 1999, c));
        EXPECT_EQ(out[2], 0.0);
        EXPECT_EQ(out[3], 0.0);
    }
    EXPECT_EQ(card.sampleAt(3, 0), 0); // no such channel
    EXPECT_EQ(card.sampleAt(0, -1), 0);
}

TEST(CardSignalFile, HandWrittenFrameAndInversion)
{
    // Frame 0 holds channel 3 = 0x1234, channel 2 = 0xFEDC, channel 1 = 0x8000.
    QByteArray block(kBlock, '\0');
    const char frame[] = { 0x12, 0x34, char(0xFE), char(0xDC), char(0x80), 0x00 };
    std::copy(frame, frame + 6, block.begin());
    block[12000] = char(0xC0);
    testsupport::TempRoot root;
    CardSignalFile card(writeCard(root, preamble(2) + block), 2);
    EXPECT_EQ(card.sampleAt(2, 0), 4660);
    EXPECT_EQ(card.sampleAt(1, 0), -292);
    EXPECT_EQ(card.sampleAt(0, 0), -32768);
    EXPECT_EQ(card.sampleAt(0, 1), 0);

    card.setInverted(0, true);
    card.setInverted(1, true);
    EXPECT_EQ(card.sampleAt(2, 0), 4660);
    EXPECT_EQ(card.sampleAt(1, 0), 292);
    EXPECT_EQ(card.sampleAt(0, 0), 32767); // -(-32768) does not fit: nearest value
    EXPECT_TRUE(card.isInverted(0));
    EXPECT_FALSE(card.isInverted(2));
}

TEST(CardSignalFile, InversionEmptiesCacheAndNotifies)
{
    testsupport::TempRoot root;
    CardSignalFile card(writeCard(root, preamble(2) + cardBlocks(3)), 2);
    CountingListener listener;
    card.addListener(&listener);
    for (int b = 0; b < 3; ++b)
        ASSERT_EQ(card.sampleAt(1, qint64(b) * 2000 + 5), sampleValue(b, 5, 1));
    ASSERT_EQ(card.sampleAt(0, 5), sampleValue(0, 5, 0));
    EXPECT_EQ(card.cachedBlockCount(), 4);

    card.setInverted(1, true);
    EXPECT_EQ(card.cachedBlockCount(), 0);
    EXPECT_EQ(listener.changes, 1);
    for (int b = 0; b < 3; ++b)
        EXPECT_EQ(card.sampleAt(1, qint64(b) * 2000 + 5), -sampleValue(b, 5, 1));
    EXPECT_EQ(card.sampleAt(0, 5), sampleValue(0, 5, 0));

    card.setInverted(1, false);
    EXPECT_EQ(listener.changes, 2);
    EXPECT_EQ(card.sampleAt(1, 2005), sampleValue(1, 5, 1));
    card.setInverted(7, true); // no such channel: ignored
    EXPECT_EQ(listener.changes, 2);
    card.removeListener(&listener);
}

TEST(CardSignalFile, StatusWords)
{
    testsupport::TempRoot root;
    const std::vector<quint16> statuses = { 0xC000, 0xC001, 0xC0F2, 0x1234 };
    CardSignalFile card(writeCard(root, preamble(6) + cardBlocks(4, statuses)), 6);
    for (int b = 0; b < 4; ++b)
        EXPECT_EQ(card.statusWord(b), statuses[b]);
    EXPECT_EQ(card.statusWord(4), -1);
    EXPECT_EQ(card.statusWord(-1), -1);
}

TEST(CardSignalFile, ShrunkFileReadsZeros)
{
    // A card pulled or cut while open: the short read of the last block gives silence.
    testsupport::TempRoot root;
    const QString path = writeCard(root, preamble(2) + cardBlocks(2));
    CardSignalFile card(path, 2);
    ASSERT_EQ(card.blockCount(), 2);
    ASSERT_TRUE(QFile::resize(path, 2 + kBlock + 600)); // 100 frames of block 1 remain
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(card.sampleAt(c, 2000 + 99), sampleValue(1, 99, c));
        EXPECT_EQ(card.sampleAt(c, 2000 + 100), 0);
        EXPECT_EQ(card.sampleAt(c, 3999), 0);
    }
    EXPECT_EQ(card.statusWord(1), -1);
}

TEST(CardSignalFile, OpenFailuresAndAppends)
{
    testsupport::TempRoot root;
    auto message = [](auto&& f) -> std::string {
        try {
            f();
        } catch (const StoreError& e) {
            return e.what();
        }
        return "no error";
    };
    EXPECT_EQ(message([&] { CardSignalFile(root.file("absent"), 0); }), "Cannot open file");
    EXPECT_EQ(message([&] { CardSignalFile(QString(), 0); }), "Cannot open file");
    const QString path = writeCard(root, preamble(2) + cardBlocks(1));
    EXPECT_EQ(message([&] { CardSignalFile(path, -2); }), "Invalid data offset");

    CardSignalFile card(root.path(), 2); // the folder names the file too
    const qint16 samples[3] = { 1, 2, 3 };
    const qint16* channels[3] = { samples, samples, samples };
    const double values[3] = { 1, 2, 3 };
    const double* channelsF64[3] = { values, values, values };
    const std::string readOnly = "unsupported (file is read only)";
    EXPECT_EQ(message([&] { card.appendRaw("abcdef", 6); }), readOnly);
    EXPECT_EQ(message([&] { card.appendChannels(channels, 1); }), readOnly);
    EXPECT_EQ(message([&] { card.appendChannelsF64(channelsF64, 1); }), readOnly);
    EXPECT_EQ(card.sampleCount(), 2000);
    EXPECT_EQ(testsupport::readAll(path).size(), 2 + kBlock); // nothing written

    // A write-protected card fails to open for update (root ignores permissions).
    if (geteuid() != 0) {
        ASSERT_TRUE(QFile::setPermissions(path, QFile::ReadOwner));
        EXPECT_EQ(message([&] { CardSignalFile(path, 2); }), "Cannot open file");
    }
}

TEST(CardSignalFile, DestroyedWithBlocksInUse)
{
    testsupport::TempRoot root;
    auto card = std::make_unique<CardSignalFile>(writeCard(root, preamble(2) + cardBlocks(2)), 2);
    const qint16* block = card->getBlock(2, 1);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[10], sampleValue(1, 10, 2));
    card.reset(); // must free the held block without complaint
}
