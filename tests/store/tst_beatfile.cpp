#include "store/beatfile.h"
#include "store/signalsource.h"
#include "tests/support/testsupport.h"

#include <QFile>
#include <QtEndian>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>

using testsupport::FailingIo;
using testsupport::TempRoot;

namespace {

class ChannelSource : public SignalSource
{
public:
    explicit ChannelSource(int channels)
        : SignalSource(channels, 250, 1024)
    {
    }
    qint16* loadBlock(int, int) override { return nullptr; }
};

double doubleAt(const QByteArray& bytes, int offset)
{
    const quint64 bits = qFromLittleEndian<quint64>(bytes.constData() + offset);
    double v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}
qint32 int32At(const QByteArray& bytes, int offset)
{
    return qFromLittleEndian<qint32>(bytes.constData() + offset);
}
qint16 int16At(const QByteArray& bytes, int offset)
{
    return qFromLittleEndian<qint16>(bytes.constData() + offset);
}

// A beat with distinct values everywhere, so a slot written to the wrong place shows.
Beat sampleBeat(SignalSource* source, double r)
{
    Beat b;
    b.source = source;
    b.windowStart = r - 0.2;
    b.windowLength = 0.5;
    b.timing[0] = r;
    b.timing[1] = 0.75;
    b.timing[2] = -1.0; // negatives come back as they are
    b.timing[3] = 0.1;
    b.classId = 3;
    b.type = BeatV;
    for (int c = 0; c < b.channelCount(); ++c) {
        b.setChannelMeasure(c, Beat::HasQrs, 1.0);
        for (int k = 1; k <= 5; ++k)
            b.setChannelMeasure(c, k, r + 0.01 * k + 0.1 * c);
        b.setChannelMeasure(c, Beat::QrsPolarity, c == 1 ? -1.0 : 1.0);
        b.setChannelMeasure(c, Beat::PPolarity, 0.0);
        b.setChannelMeasure(c, Beat::TPolarity, -1.0);
        b.setChannelMeasure(c, Beat::QrsDuration, 0.09 + c);
        b.setChannelMeasure(c, Beat::PRInterval, 0.16 + c);
        b.setChannelMeasure(c, Beat::QTInterval, 0.38 + c);
    }
    return b;
}

class BeatFileTest : public ::testing::Test
{
protected:
    std::unique_ptr<BeatFile> create(StoreIo* io = nullptr)
    {
        auto file = std::make_unique<BeatFile>(&source, path(), BeatFile::kHeaderSize, true, io);
        file->writeHeader();
        return file;
    }
    QString path() const { return root.file("study.vtbeats"); }

    TempRoot root;
    ChannelSource source { 3 };
};

TEST_F(BeatFileTest, RecordBytesStandWhereTheFormatSaysForThreeChannels)
{
    auto file = create();
    Beat b = sampleBeat(&source, 10.0);
    b.setChannelMeasure(2, Beat::PPolarity, 1.0);
    b.setChannelMeasure(2, Beat::QrsPolarity, -1.0);
    b.setChannelMeasure(2, Beat::TPolarity, 0.0);
    b.setChannelMeasure(1, Beat::HasQrs, 0.0);
    b.measureSet[0][Beat::PPeak] = false; // an unset slot is written as 0.0
    EXPECT_EQ(file->append(b), 0);

    const QByteArray bytes = testsupport::readAll(path());
    ASSERT_EQ(bytes.size(), 256 + 296);
    EXPECT_EQ(bytes.left(8), QByteArray("VTBEATS1"));
    EXPECT_EQ(bytes.mid(8, 248), QByteArray(248, '\0'));
    const int r = 256;
    EXPECT_EQ(doubleAt(bytes, r + 0), 9.8);
    EXPECT_EQ(doubleAt(bytes, r + 8), 0.5);
    EXPECT_EQ(doubleAt(bytes, r + 16), 10.0);
    EXPECT_EQ(doubleAt(bytes, r + 24), 0.75);
    EXPECT_EQ(doubleAt(bytes, r + 32), -1.0);
    EXPECT_EQ(doubleAt(bytes, r + 40), 0.1);
    EXPECT_EQ(int32At(bytes, r + 48), 3);
    EXPECT_EQ(int32At(bytes, r + 52), 2);

    const int c0 = r + 56;
    const int c1 = c0 + 80;
    const int c2 = c1 + 80;
    EXPECT_EQ(int32At(bytes, c0), 1);
    EXPECT_EQ(int32At(bytes, c1), 0);
    EXPECT_EQ(int32At(bytes, c0 + 4), 0);
    EXPECT_EQ(doubleAt(bytes, c0 + 8), 0.0); // unset P peak
    EXPECT_EQ(doubleAt(bytes, c1 + 8), 10.0 + 0.01 + 0.1); // P peak of channel 1
    EXPECT_EQ(doubleAt(bytes, c2 + 40), 10.0 + 0.05 + 0.2); // T peak of channel 2
    EXPECT_EQ(int16At(bytes, c1 + 50), -1); // QRS polarity of channel 1
    EXPECT_EQ(int16At(bytes, c2 + 48), 1); // P, QRS, T in that order
    EXPECT_EQ(int16At(bytes, c2 + 50), -1);
    EXPECT_EQ(int16At(bytes, c2 + 52), 0);
    EXPECT_EQ(int16At(bytes, c0 + 54), 0);
    EXPECT_EQ(doubleAt(bytes, c2 + 56), 2.09);
    EXPECT_EQ(doubleAt(bytes, c2 + 64), 2.16);
    EXPECT_EQ(doubleAt(bytes, c2 + 72), 2.38);
}

TEST_F(BeatFileTest, NoiseEntryIsStoredWithMinusOneClassAndType)
{
    auto file = create();
    Beat b = sampleBeat(&source, 3.0);
    b.isBeat = false;
    file->append(b);
    const QByteArray bytes = testsupport::readAll(path());
    EXPECT_EQ(int32At(bytes, 256 + 48), -1);
    EXPECT_EQ(int32At(bytes, 256 + 52), -1);
    Beat back;
    ASSERT_TRUE(file->get(0, back));
    EXPECT_FALSE(back.isBeat);
    EXPECT_EQ(back.classId, -1);
    EXPECT_EQ(back.type, -1);
}

class BeatFileChannels : public ::testing::TestWithParam<int>
{
};

TEST_P(BeatFileChannels, GrowsByOneRecordPerBeatAndReadsBackThroughARun)
{
    const int channels = GetParam();
    const int record = 56 + 80 * channels;
    TempRoot root;
    ChannelSource source(channels);
    const QString path = root.file("b.vtbeats");
    {
        BeatFile file(&source, path, BeatFile::kHeaderSize, true);
        file.writeHeader();
        for (int i = 0; i < 25; ++i) {
            Beat b = sampleBeat(&source, 1.0 + i);
            b.index = i;
            EXPECT_EQ(file.append(b), i);
            EXPECT_EQ(QFile(path).size(), 256 + qint64(record) * (i + 1));
        }
    }
    std::unique_ptr<BeatFile> file(BeatFile::open(&source, path));
    ASSERT_TRUE(file);
    ASSERT_EQ(file->count(), 25);
    // Read out of order so that runs start in the middle and overlap.
    for (int i : { 24, 3, 17, 0, 9, 10, 23, 12 }) {
        Beat b;
        ASSERT_TRUE(file->get(i, b));
        EXPECT_EQ(b.index, i);
        EXPECT_EQ(b.source, &source);
        EXPECT_EQ(b.measure0(), 1.0 + i);
        EXPECT_EQ(b.medianRR(), -1.0);
        for (int c = 0; c < Beat::kChannels; ++c) {
            if (c < channels) {
                EXPECT_EQ(b.channelMeasure(c, Beat::TPeak), 1.0 + i + 0.05 + 0.1 * c);
                EXPECT_EQ(b.channelMeasure(c, Beat::QTInterval), 0.38 + c);
            } else {
                EXPECT_EQ(b.measure[c][Beat::TPeak], -1.0); // channels the source lacks
                EXPECT_FALSE(b.measureSet[c][Beat::TPeak]);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Counts, BeatFileChannels, ::testing::Values(1, 2, 3, 4));

TEST_F(BeatFileTest, RoundTripKeepsTimingsAndDropsMeasuresAtOrBelowZero)
{
    auto file = create();
    Beat b = sampleBeat(&source, 5.0);
    b.timing[1] = -0.5;
    b.setChannelMeasure(0, Beat::QPeak, 0.0);
    b.setChannelMeasure(1, Beat::PRInterval, -0.02);
    b.setChannelMeasure(2, Beat::HasQrs, 0.0);
    b.setChannelMeasure(2, Beat::QrsPolarity, 0.0);
    file->append(b);
    Beat back;
    ASSERT_TRUE(file->get(0, back));
    EXPECT_EQ(back.windowStart, b.windowStart);
    EXPECT_EQ(back.windowLength, b.windowLength);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(back.timing[i], b.timing[i]) << i;
    EXPECT_EQ(back.classId, 3);
    EXPECT_EQ(back.type, BeatV);
    EXPECT_TRUE(back.isBeat);
    EXPECT_FALSE(back.hasChannelMeasure(0, Beat::QPeak));
    EXPECT_FALSE(back.hasChannelMeasure(1, Beat::PRInterval));
    EXPECT_EQ(back.channelMeasure(1, Beat::PRInterval), -1.0); // unset keeps the default
    // A channel with no QRS: flag 0, polarity 0, both set since they are always stored.
    EXPECT_TRUE(back.hasChannelMeasure(2, Beat::HasQrs));
    EXPECT_EQ(back.channelMeasure(2, Beat::HasQrs), 0.0);
    EXPECT_EQ(back.channelMeasure(2, Beat::QrsPolarity), 0.0);
    EXPECT_EQ(back.channelMeasure(1, Beat::QrsPolarity), -1.0);
    for (int c = 0; c < 3; ++c) {
        for (int k : { 1, 2, 3, 4, 5, 9, 10, 11 }) {
            if (b.measureSet[c][k] && b.measure[c][k] > 0.0) {
                EXPECT_EQ(back.channelMeasure(c, k), b.measure[c][k]) << c << "," << k;
            }
        }
    }
}

TEST_F(BeatFileTest, GetOutsideTheListIsFalse)
{
    auto file = create();
    Beat b;
    EXPECT_FALSE(file->get(0, b));
    file->append(sampleBeat(&source, 1.0));
    EXPECT_TRUE(file->get(0, b));
    EXPECT_FALSE(file->get(1, b)); // at count
    EXPECT_FALSE(file->get(-1, b));
    EXPECT_FALSE(file->previous(0, b));
    EXPECT_FALSE(file->next(0, b));
    EXPECT_TRUE(file->last(b));
    EXPECT_EQ(b.index, 0);
}

TEST_F(BeatFileTest, ClearKeepsTheHeaderAndStartsOver)
{
    auto file = create();
    file->writeHeader(QByteArray("VTBEATS1 custom"));
    for (int i = 0; i < 12; ++i)
        file->append(sampleBeat(&source, i));
    Beat b;
    ASSERT_TRUE(file->get(0, b)); // fills the cache with the old beats
    file->clear();
    EXPECT_EQ(file->count(), 0);
    EXPECT_FALSE(file->get(0, b));
    const QByteArray bytes = testsupport::readAll(path());
    ASSERT_EQ(bytes.size(), 256);
    EXPECT_EQ(bytes.left(15), QByteArray("VTBEATS1 custom"));

    // A beat appended after the clear is the one read back at its index.
    file->append(sampleBeat(&source, 42.0));
    ASSERT_TRUE(file->get(0, b));
    EXPECT_EQ(b.measure0(), 42.0);
    std::unique_ptr<BeatFile> reopened(BeatFile::open(&source, path()));
    ASSERT_TRUE(reopened);
    EXPECT_EQ(reopened->count(), 1);
}

TEST_F(BeatFileTest, ReplaceIsSeenByTheNextGet)
{
    auto file = create();
    for (int i = 0; i < 15; ++i)
        file->append(sampleBeat(&source, i));
    Beat b;
    ASSERT_TRUE(file->get(4, b)); // cached
    b.classId = 9;
    b.type = BeatS;
    b.timing[0] = 100.0;
    file->replace(b);
    Beat back;
    ASSERT_TRUE(file->get(4, back));
    EXPECT_EQ(back.classId, 9);
    EXPECT_EQ(back.type, BeatS);
    EXPECT_EQ(back.measure0(), 100.0);
    ASSERT_TRUE(file->get(5, back)); // neighbours are untouched
    EXPECT_EQ(back.measure0(), 5.0);

    const QByteArray before = testsupport::readAll(path());
    for (int index : { -1, 15, 1000 }) {
        b.index = index;
        file->replace(b); // outside the list: nothing happens
    }
    EXPECT_EQ(testsupport::readAll(path()), before);
    EXPECT_EQ(file->count(), 15);
}

TEST_F(BeatFileTest, FailedWriteThrowsAndKeepsWhatWasThere)
{
    FailingIo io;
    auto file = create(&io);
    file->append(sampleBeat(&source, 1.0));
    io.setBudget(io.written() + 100); // the next record gets only 100 of its 296 bytes
    try {
        file->append(sampleBeat(&source, 2.0));
        FAIL() << "append should have thrown";
    } catch (const StoreError& e) {
        EXPECT_STREQ(e.what(), "Write error");
    }
    EXPECT_EQ(file->count(), 1);
    Beat b;
    ASSERT_TRUE(file->get(0, b));
    EXPECT_EQ(b.measure0(), 1.0);
    b.timing[0] = 7.0;
    EXPECT_THROW(file->replace(b), StoreError);

    // Once the disk has room again the list carries on where it was, over the torn tail.
    io.setBudget(-1);
    EXPECT_EQ(file->append(sampleBeat(&source, 3.0)), 1);
    std::unique_ptr<BeatFile> reopened(BeatFile::open(&source, path()));
    ASSERT_TRUE(reopened);
    EXPECT_EQ(reopened->count(), 2);
    ASSERT_TRUE(reopened->get(1, b));
    EXPECT_EQ(b.measure0(), 3.0);
}

TEST_F(BeatFileTest, HeaderWriteFailureThrows)
{
    FailingIo io(10);
    BeatFile file(&source, path(), BeatFile::kHeaderSize, true, &io);
    EXPECT_THROW(file.writeHeader(), StoreError);
}

TEST_F(BeatFileTest, ConstructorFailuresCarryTheirMessages)
{
    const QString missingDir = root.file("no/such/dir/b.vtbeats");
    try {
        BeatFile f(&source, missingDir, BeatFile::kHeaderSize, true);
        FAIL();
    } catch (const StoreError& e) {
        EXPECT_STREQ(e.what(), "Cannot create file");
    }
    try {
        BeatFile f(&source, root.file("absent.vtbeats"), BeatFile::kHeaderSize, false);
        FAIL();
    } catch (const StoreError& e) {
        EXPECT_STREQ(e.what(), "Cannot open file");
    }
}

TEST_F(BeatFileTest, OpenWantsTheMagic)
{
    EXPECT_EQ(BeatFile::open(&source, root.file("absent.vtbeats")), nullptr);
    const struct
    {
        const char* name;
        QByteArray bytes;
    } bad[] = { { "empty", QByteArray() }, { "short", QByteArray("VTBEAT") },
        { "wrong", QByteArray("VTBEATS2") + QByteArray(248, '\0') },
        { "lower", QByteArray("vtbeats1") + QByteArray(248, '\0') } };
    for (const auto& b : bad) {
        testsupport::writeAll(path(), b.bytes);
        EXPECT_EQ(BeatFile::open(&source, path()), nullptr) << b.name;
    }
    // Magic alone, without the rest of the header, opens as an empty list.
    testsupport::writeAll(path(), QByteArray("VTBEATS1"));
    std::unique_ptr<BeatFile> file(BeatFile::open(&source, path()));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->count(), 0);
}

TEST_F(BeatFileTest, PartialTrailingRecordIsIgnoredAndOverwrittenByAppend)
{
    {
        auto file = create();
        for (int i = 0; i < 4; ++i)
            file->append(sampleBeat(&source, i));
    }
    QFile::resize(path(), 256 + 3 * 296 + 123);
    std::unique_ptr<BeatFile> file(BeatFile::open(&source, path()));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->count(), 3);
    EXPECT_EQ(file->append(sampleBeat(&source, 77.0)), 3);
    EXPECT_EQ(QFile(path()).size(), 256 + 4 * 296);
    std::unique_ptr<BeatFile> again(BeatFile::open(&source, path()));
    Beat b;
    ASSERT_TRUE(again->get(3, b));
    EXPECT_EQ(b.measure0(), 77.0);
}

TEST_F(BeatFileTest, ShortReadGivesZeroedRecordsNotStaleOnes)
{
    {
        auto file = create();
        for (int i = 0; i < 20; ++i)
            file->append(sampleBeat(&source, 1.0 + i));
    }
    std::unique_ptr<BeatFile> file(BeatFile::open(&source, path()));
    Beat b;
    ASSERT_TRUE(file->get(0, b)); // buffer now holds beats 0-9
    QFile::resize(path(), 256 + 12 * 296); // cut short behind the reader's back
    ASSERT_TRUE(file->get(15, b));
    EXPECT_EQ(b.measure0(), 0.0);
    EXPECT_EQ(b.windowStart, 0.0);
    ASSERT_TRUE(file->get(11, b)); // still inside what remains
    EXPECT_EQ(b.measure0(), 12.0);
}

// Truncated and scribbled-over files must read as something, never crash or read past the end.
TEST(BeatFileFuzz, MutatedFilesNeverCrash)
{
    TempRoot root;
    ChannelSource source(3);
    const QString path = root.file("fuzz.vtbeats");
    QByteArray good;
    {
        BeatFile file(&source, path, BeatFile::kHeaderSize, true);
        file.writeHeader();
        for (int i = 0; i < 30; ++i) {
            Beat b = sampleBeat(&source, 0.8 * i);
            b.isBeat = i % 7 != 3;
            file.append(b);
        }
    }
    good = testsupport::readAll(path);
    std::mt19937 rng(2024);
    for (int round = 0; round < 300; ++round) {
        QByteArray bytes = good;
        if (rng() % 2)
            bytes.truncate(int(rng() % uint(bytes.size() + 1)));
        const int flips = int(rng() % 40);
        for (int f = 0; f < flips && bytes.size() > 8; ++f)
            bytes[8 + int(rng() % uint(bytes.size() - 8))] = char(rng());
        testsupport::writeAll(path, bytes);
        std::unique_ptr<BeatFile> file(BeatFile::open(&source, path));
        if (!file) {
            EXPECT_LT(bytes.size(), 8);
            continue;
        }
        const int expected = bytes.size() > 256 ? (bytes.size() - 256) / 296 : 0;
        ASSERT_EQ(file->count(), expected);
        Beat b;
        for (int i = 0; i < file->count(); ++i)
            ASSERT_TRUE(file->get(i, b));
        file->nearest(double(rng() % 30), b);
        file->firstWithWindowAfter(double(rng() % 30), b);
        file->lastBelow(double(rng() % 30), b);
        file->firstBeat(b);
        file->lastBeat(b);
    }
}

} // namespace
