#include "recorder/cardsignalfile.h"
#include "store/storeio.h"
#include "tests/recorder/tst_recordersupport.h"

#include <QFile>

#include <gtest/gtest.h>

#include <unistd.h>

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
    for (int length : { 2, 12000 })
        for (int bad = 0; bad < 14; ++bad)
            for (quint16 status : { quint16(0x8000), quint16(0xD001) }) {
                std::vector<quint16> statuses(16, 0xC000);
                statuses[bad] = status;
                const QByteArray head = (cardPreamble(length) + cardBlocks(16, statuses))
                                            .left(CardSignalFile::kSearchBytes);
                EXPECT_EQ(CardSignalFile::findDataOffsetIn(head), -1)
                    << "preamble " << length << " block " << bad << " status " << status;
            }
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
        EXPECT_DOUBLE_EQ(card.duration(), row[2] * 4.0); // 2000 samples at 500 Hz
        EXPECT_EQ(card.getBlock(0, row[2]), nullptr); // the partial block is not addressable
        EXPECT_EQ(card.sampleAt(0, row[2] * 2000), 0);
    }
}

TEST(CardSignalFile, SamplesOfAllChannels)
{
    testsupport::TempRoot root;
    const int length = 1234 * 2;
    auto card = std::make_unique<CardSignalFile>(
        writeCard(root, cardPreamble(length) + cardBlocks(4)), length);
    ASSERT_EQ(card->blockCount(), 4);
    const int positions[][2] = { { 0, 1 }, { 1, 0 }, { 3, 1999 } };
    for (int c = 0; c < 3; ++c) {
        for (const auto& pos : positions)
            EXPECT_EQ(
                card->sampleAt(c, qint64(pos[0]) * 2000 + pos[1]), cardSample(pos[0], pos[1], c))
                << "channel " << c << " block " << pos[0] << " frame " << pos[1];
        // Across a block boundary, and past the end.
        std::vector<double> out(4, 99.0);
        card->readSamples(c, 1998, 4, out.data());
        EXPECT_EQ(out,
            std::vector<double>({ double(cardSample(0, 1998, c)), double(cardSample(0, 1999, c)),
                double(cardSample(1, 0, c)), double(cardSample(1, 1, c)) }));
        card->readSamples(c, 7998, 4, out.data());
        EXPECT_EQ(out[1], cardSample(3, 1999, c));
        EXPECT_EQ(out[2] + out[3], 0.0);
    }
    EXPECT_EQ(card->sampleAt(3, 0), 0); // no such channel
    EXPECT_EQ(card->sampleAt(0, -1), 0);
    // Destroyed while a block is held: must free it without complaint.
    const qint16* block = card->getBlock(2, 1);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[10], cardSample(1, 10, 2));
    card.reset();
}

TEST(CardSignalFile, HandWrittenFrameAndInversion)
{
    // Frame 0 holds channel 3 = 0x1234, channel 2 = 0xFEDC, channel 1 = 0x8000.
    QByteArray bytes = cardPreamble(2) + cardBlocks(3);
    const char frame[] = { 0x12, 0x34, char(0xFE), char(0xDC), char(0x80), 0x00 };
    std::copy(frame, frame + 6, bytes.begin() + 2);
    testsupport::TempRoot root;
    CardSignalFile card(writeCard(root, bytes), 2);
    CountingListener listener;
    card.addListener(&listener);
    EXPECT_EQ(card.sampleAt(2, 0), 4660);
    EXPECT_EQ(card.sampleAt(1, 0), -292);
    EXPECT_EQ(card.sampleAt(0, 0), -32768);
    EXPECT_EQ(card.sampleAt(1, 4005), cardSample(2, 5, 1)); // blocks 0 and 2 now cached

    card.setInverted(0, true);
    card.setInverted(1, true);
    EXPECT_EQ(listener.changes, 2);
    EXPECT_EQ(card.sampleAt(2, 0), 4660);
    EXPECT_EQ(card.sampleAt(1, 0), 292);
    EXPECT_EQ(card.sampleAt(0, 0), 32767); // -(-32768) does not fit: nearest value
    EXPECT_EQ(card.sampleAt(1, 4005), -cardSample(2, 5, 1));
    card.setInverted(1, false);
    EXPECT_EQ(card.sampleAt(1, 4005), cardSample(2, 5, 1));
    card.setInverted(7, true); // no such channel: ignored
    EXPECT_EQ(listener.changes, 3);
    card.removeListener(&listener);
}

TEST(CardSignalFile, StatusWordsAndShrunkFile)
{
    testsupport::TempRoot root;
    const std::vector<quint16> statuses = { 0xC000, 0xC0F2, 0x1234 };
    const QString path = writeCard(root, cardPreamble(6) + cardBlocks(3, statuses));
    CardSignalFile card(path, 6);
    for (int b = 0; b < 3; ++b)
        EXPECT_EQ(card.statusWord(b), statuses[b]);
    EXPECT_EQ(card.statusWord(3), -1);
    EXPECT_EQ(card.statusWord(-1), -1);
    // A card pulled or cut while open: the short read of the last block gives silence.
    ASSERT_TRUE(QFile::resize(path, 6 + 2 * kCardBlock + 600)); // 100 frames of block 2 remain
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(card.sampleAt(c, 4000 + 99), cardSample(2, 99, c));
        EXPECT_EQ(card.sampleAt(c, 4000 + 100), 0);
    }
    EXPECT_EQ(card.statusWord(2), -1);
}

TEST(CardSignalFile, OpenFailuresAndAppends)
{
    testsupport::TempRoot root;
    EXPECT_EQ(errorOf([&] { CardSignalFile(root.file("absent"), 0); }), "Cannot open file");
    EXPECT_EQ(errorOf([&] { CardSignalFile(QString(), 0); }), "Cannot open file");
    const QString path = writeCard(root, cardPreamble(2) + cardBlocks(1));
    EXPECT_EQ(errorOf([&] { CardSignalFile(path, -2); }), "Invalid data offset");

    CardSignalFile card(root.path(), 2); // the folder names the file too
    const qint16 samples[3] = { 1, 2, 3 };
    const qint16* channels[3] = { samples, samples, samples };
    EXPECT_EQ(errorOf([&] { card.appendRaw("abcdef", 6); }), "unsupported (file is read only)");
    EXPECT_EQ(
        errorOf([&] { card.appendChannels(channels, 1); }), "unsupported (file is read only)");
    EXPECT_EQ(testsupport::readAll(path).size(), 2 + kCardBlock); // nothing written

    // A write-protected card fails to open for update (root ignores permissions).
    if (geteuid() != 0) {
        ASSERT_TRUE(QFile::setPermissions(path, QFile::ReadOwner));
        EXPECT_EQ(errorOf([&] { CardSignalFile(path, 2); }), "Cannot open file");
    }
}
