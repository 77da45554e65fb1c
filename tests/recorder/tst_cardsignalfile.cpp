#include "recorder/cardsignalfile.h"
#include "store/storeio.h"
#include "tests/recorder/tst_recordersupport.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace rectest;

namespace {

// The messages name the card file, with the platform's separators.
std::string corruptCard(const QString& file)
{
    return QString("File in memory card %1 may be corrupted.\nPlease contact technical support.")
        .arg(QDir::toNativeSeparators(file))
        .toStdString();
}

std::string noCard(const QString& file)
{
    return "Cannot open file in memory card " + QDir::toNativeSeparators(file).toStdString();
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

TEST(CardSignalFileOffset, FilesAndFoldersAndBadMarkersInTheCheckedBlocks)
{
    testsupport::TempRoot root;
    // Sixteen blocks, one of them with the given status word.
    const auto marked = [](int block, quint16 word) {
        std::vector<quint16> statuses(16, 0xC000);
        statuses[size_t(block)] = word;
        return cardBlocks(16, statuses);
    };
    struct Row
    {
        const char* what;
        QByteArray bytes;
        std::string expected;
    };
    const std::string kCorrupt = corruptCard(root.file("HECG.VTF"));
    const Row rows[] = {
        // Block 0's marker at 12000 lies below the first candidate and wins there.
        { "no preamble skips block 0", cardBlocks(16), "12002" },
        { "odd preamble", cardPreamble(11999) + cardBlocks(16), kCorrupt },
        { "zeros, no marker", cardPreamble(4, false) + cardBlocks(16), kCorrupt },
        { "three blocks: zeros past the end break the chain", cardPreamble(2) + cardBlocks(3),
            kCorrupt },
        // Without a preamble the window holds all 15 markers; behind one the 15th lies past it.
        { "bad 15th marker", marked(14, 0), kCorrupt },
        { "bad 15th marker past the window", cardPreamble(2) + marked(14, 0), "2" },
        { "only the marker nibble counts", cardPreamble(8) + marked(3, 0xCFFF), "8" },
        { "bad middle marker", cardPreamble(12000) + marked(6, 0xD001), kCorrupt },
    };
    for (const Row& row : rows) {
        const QString path = writeCard(root, row.bytes);
        EXPECT_EQ(offsetOf(path), row.expected) << row.what;
        EXPECT_EQ(offsetOf(root.path()), row.expected) << row.what << " (folder)";
    }
    QFile::remove(root.file("HECG.VTF"));
    EXPECT_EQ(offsetOf(root.path()), noCard(root.file("HECG.VTF"))); // no HECG.VTF in it
    EXPECT_EQ(offsetOf(root.file("absent.vtf")), noCard(root.file("absent.vtf")));
    writeCard(root, cardPreamble(100) + cardBlocks(15), "hecg.vtf");
    EXPECT_EQ(offsetOf(root.path()), "100");
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
    const std::string absent = QDir::toNativeSeparators(root.file("absent")).toStdString();
    EXPECT_EQ(
        errorOf([&] { CardSignalFile(root.file("absent"), 0); }), "Cannot open file " + absent);
    const QString path = writeCard(root, cardPreamble(2) + cardBlocks(1));
    const std::string card = QDir::toNativeSeparators(path).toStdString();
    EXPECT_EQ(errorOf([&] { CardSignalFile(path, -2); }), "Invalid data offset for file " + card);
    CardSignalFile readOnly(path, 2);
    const qint16 sample = 0;
    const qint16* channels[3] = { &sample, &sample, &sample };
    EXPECT_EQ(errorOf([&] { readOnly.appendChannels(channels, 1); }),
        "unsupported (file " + card + " is read only)");
}
