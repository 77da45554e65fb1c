#include "recorder/cardsignalfile.h"
#include "store/storeio.h"
#include "tests/recorder/tst_recordersupport.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace rectest;

namespace {

const char* const kCorrupt
    = "File in memory card may be corrupted.\nPlease contact technical support.";
const char* const kNoCard = "Cannot open file in memory card";

QString writeCard(
    const testsupport::TempRoot& root, const QByteArray& bytes, const QString& name = "HECG.VTF")
{
    testsupport::writeAll(root.file(name), bytes);
    return root.file(name);
}

std::string offsetOf(const QString& path)
{
    std::string result;
    const std::string e
        = errorOf([&] { result = std::to_string(CardSignalFile::findDataOffset(path)); });
    return e == "no error" ? result : e;
}

} // namespace

TEST(CardSignalFileOffset, FindsEveryEvenPreambleInMemory)
{
    const QByteArray blocks = cardBlocks(15);
    for (int length = 2; length <= 12000; length += 2) {
        const QByteArray head = (cardPreamble(length) + blocks).left(CardSignalFile::kSearchBytes);
        ASSERT_EQ(CardSignalFile::findDataOffsetIn(head), length) << "preamble " << length;
    }
}

TEST(CardSignalFileOffset, FilesAndFolders)
{
    testsupport::TempRoot root;
    struct Row
    {
        const char* what;
        QByteArray bytes;
        std::string expected;
    };
    const Row rows[] = {
        // Block 0's marker at 12000 lies below the first candidate and wins there.
        { "no preamble skips block 0", cardBlocks(16), "12002" },
        { "odd preamble", cardPreamble(11999) + cardBlocks(16), kCorrupt },
        { "zeros, no marker", cardPreamble(4, false) + cardBlocks(16), kCorrupt },
        { "three blocks: zeros past the end break the chain", cardPreamble(2) + cardBlocks(3),
            kCorrupt },
    };
    for (const Row& row : rows) {
        const QString path = writeCard(root, row.bytes);
        EXPECT_EQ(offsetOf(path), row.expected) << row.what;
        EXPECT_EQ(offsetOf(root.path()), row.expected) << row.what << " (folder)";
    }
    QFile::remove(root.file("HECG.VTF"));
    EXPECT_EQ(offsetOf(root.path()), kNoCard); // no HECG.VTF in it
    EXPECT_EQ(offsetOf(root.file("absent.vtf")), kNoCard);
    writeCard(root, cardPreamble(100) + cardBlocks(15), "hecg.vtf");
    EXPECT_EQ(offsetOf(root.path()), "100");
}

TEST(CardSignalFileOffset, BadMarkerInAnyCheckedBlockIsCorrupt)
{
    testsupport::TempRoot root;
    std::vector<quint16> statuses(16, 0xC000);
    statuses[14] = 0;
    // Without a preamble the window holds all 15 markers, the last one included...
    EXPECT_EQ(offsetOf(writeCard(root, cardBlocks(16, statuses))), kCorrupt);
    // ...behind one the 15th lies past the window.
    EXPECT_EQ(offsetOf(writeCard(root, cardPreamble(2) + cardBlocks(16, statuses))), "2");
    // Only the marker nibble counts.
    statuses[14] = 0xC000;
    statuses[3] = 0xCFFF;
    EXPECT_EQ(offsetOf(writeCard(root, cardPreamble(8) + cardBlocks(16, statuses))), "8");
    statuses[6] = 0xD001; // a middle block, behind the longest preamble
    const QByteArray head = cardPreamble(12000) + cardBlocks(16, statuses);
    EXPECT_EQ(CardSignalFile::findDataOffsetIn(head.left(CardSignalFile::kSearchBytes)), -1);
}

TEST(CardSignalFile, OnlyWholeBlocksCount)
{
    testsupport::TempRoot root;
    const QByteArray six = cardBlocks(6);
    // {bytes after the offset, offset, whole blocks}
    const int rows[][3]
        = { { 5 * kCardBlock + 7000, 40, 5 }, { kCardBlock, 10, 1 }, { kCardBlock - 1, 10, 0 } };
    for (const auto& row : rows) {
        const QString path = writeCard(root, cardPreamble(row[1]) + six.left(row[0]));
        CardSignalFile card(path, row[1]);
        EXPECT_EQ(card.blockCount(), row[2]) << row[0];
        EXPECT_EQ(card.sampleCount(), row[2] * 2000);
        EXPECT_EQ(card.getBlock(0, row[2]), nullptr); // the partial block is not addressable
    }
}

TEST(CardSignalFile, HandWrittenFrameAndInversion)
{
    // Frame 0 holds channel 3 = 0x1234, channel 2 = 0xFEDC, channel 1 = 0x8000.
    QByteArray bytes = cardPreamble(2) + cardBlocks(3);
    const char frame[] = { 0x12, 0x34, char(0xFE), char(0xDC), char(0x80), 0x00 };
    std::copy(frame, frame + 6, bytes.begin() + 2);
    testsupport::TempRoot root;
    CardSignalFile card(writeCard(root, bytes), 2);
    EXPECT_EQ(card.sampleAt(2, 0), 4660);
    EXPECT_EQ(card.sampleAt(1, 0), -292);
    EXPECT_EQ(card.sampleAt(0, 0), -32768);
    EXPECT_EQ(card.sampleAt(1, 4005), cardSample(2, 5, 1)); // blocks 0 and 2 now cached

    card.setInverted(0, true);
    card.setInverted(1, true);
    EXPECT_EQ(card.sampleAt(2, 0), 4660);
    EXPECT_EQ(card.sampleAt(1, 0), 292);
    EXPECT_EQ(card.sampleAt(0, 0), 32767); // -(-32768) does not fit: nearest value
    EXPECT_EQ(card.sampleAt(1, 4005), -cardSample(2, 5, 1));
    card.setInverted(1, false);
    EXPECT_EQ(card.sampleAt(1, 4005), cardSample(2, 5, 1));
    // Across a block boundary, and past the end.
    std::vector<double> out(4, 99.0);
    card.readSamples(2, 1998, 4, out.data());
    EXPECT_EQ(out,
        std::vector<double>({ double(cardSample(0, 1998, 2)), double(cardSample(0, 1999, 2)),
            double(cardSample(1, 0, 2)), double(cardSample(1, 1, 2)) }));
    card.readSamples(2, 5998, 4, out.data());
    EXPECT_EQ(out[1], cardSample(2, 1999, 2));
    EXPECT_EQ(out[2] + out[3], 0.0);
}

TEST(CardSignalFile, StatusWordsAndShrunkFile)
{
    testsupport::TempRoot root;
    const std::vector<quint16> statuses = { 0xC000, 0xC0F2, 0x1234 };
    const QString path = writeCard(root, cardPreamble(6) + cardBlocks(3, statuses));
    CardSignalFile card(path, 6);
    EXPECT_EQ(card.statusWord(1), 0xC0F2);
    EXPECT_EQ(card.statusWord(3), -1);
    // A card pulled or cut while open: the short read of the last block gives silence.
    ASSERT_TRUE(QFile::resize(path, 6 + 2 * kCardBlock + 600)); // 100 frames of block 2 remain
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(card.sampleAt(c, 4000 + 99), cardSample(2, 99, c));
        EXPECT_EQ(card.sampleAt(c, 4000 + 100), 0);
    }
    EXPECT_EQ(card.statusWord(2), -1);
}

TEST(CardSignalFile, OpenFailures)
{
    testsupport::TempRoot root;
    EXPECT_EQ(errorOf([&] { CardSignalFile(root.file("absent"), 0); }), "Cannot open file");
    const QString path = writeCard(root, cardPreamble(2) + cardBlocks(1));
    EXPECT_EQ(errorOf([&] { CardSignalFile(path, -2); }), "Invalid data offset");
}
