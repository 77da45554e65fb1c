#include "../analysis/memorysource.h"

#include "store/beatfile.h"
#include "tests/support/testsupport.h"

#include <QFile>
#include <QtEndian>

#include <QDir>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

using testsupport::FailingIo;
using testsupport::TempRoot;

namespace {

double doubleAt(const QByteArray& bytes, int offset)
{
    const quint64 bits = qFromLittleEndian<quint64>(bytes.constData() + offset);
    double v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}
int intAt(const QByteArray& bytes, int offset, int size)
{
    return size == 4 ? qFromLittleEndian<qint32>(bytes.constData() + offset)
                     : qFromLittleEndian<qint16>(bytes.constData() + offset);
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
        for (int k = 0; k < Beat::kMeasures; ++k)
            b.setChannelMeasure(c, k, r + 0.01 * k + 0.1 * c);
        b.setChannelMeasure(c, Beat::HasQrs, 1.0);
        b.setChannelMeasure(c, Beat::QrsPolarity, c == 1 ? -1.0 : 1.0);
        b.setChannelMeasure(c, Beat::PPolarity, 0.0);
        b.setChannelMeasure(c, Beat::TPolarity, -1.0);
    }
    return b;
}

class BeatFileTest : public ::testing::Test
{
protected:
    std::unique_ptr<BeatFile> create(StoreIo* io = nullptr, int beats = 0)
    {
        auto file = std::make_unique<BeatFile>(&source, path(), BeatFile::kHeaderSize, true, io);
        file->writeHeader();
        for (int i = 0; i < beats; ++i)
            file->append(sampleBeat(&source, 1.0 + i)); // R at 1, 2, 3, ...
        return file;
    }
    QString path() const { return root.file("study.vtbeats"); }

    TempRoot root;
    MemorySource source { 3, 250, 1024 };
};

TEST_F(BeatFileTest, RecordBytesStandWhereTheFormatSaysAndReadBack)
{
    auto file = create();
    Beat b = sampleBeat(&source, 10.0);
    b.setChannelMeasure(2, Beat::PPolarity, 1.0);
    b.setChannelMeasure(2, Beat::QrsPolarity, -1.0);
    b.setChannelMeasure(2, Beat::TPolarity, 0.0);
    b.setChannelMeasure(1, Beat::HasQrs, 0.0);
    b.measureSet[0][Beat::PPeak] = false; // an unset slot is written as 0.0
    b.setChannelMeasure(0, Beat::QPeak, 0.0); // and a measure at or below zero reads as unset
    b.setChannelMeasure(1, Beat::PRInterval, -0.02);
    EXPECT_EQ(file->append(b), 0);
    Beat noise = b;
    noise.isBeat = false;
    file->append(noise);

    const QByteArray bytes = testsupport::readAll(path());
    ASSERT_EQ(bytes.size(), 256 + 2 * 296);
    EXPECT_EQ(bytes.left(8), QByteArray("VTBEATS1"));
    EXPECT_EQ(bytes.mid(8, 248), QByteArray(248, '\0'));
    const int r = 256;
    const double timings[] = { 9.8, 0.5, 10.0, 0.75, -1.0, 0.1 };
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(doubleAt(bytes, r + 8 * i), timings[i]) << i;
    EXPECT_EQ(intAt(bytes, r + 48, 4), 3);
    EXPECT_EQ(intAt(bytes, r + 52, 4), 2);
    EXPECT_EQ(intAt(bytes, r + 296 + 48, 4), -1); // noise: class and type -1
    EXPECT_EQ(intAt(bytes, r + 296 + 52, 4), -1);
    const int c0 = r + 56, c1 = c0 + 80, c2 = c1 + 80;
    EXPECT_EQ(intAt(bytes, c0, 4), 1);
    EXPECT_EQ(intAt(bytes, c1, 4), 0);
    EXPECT_EQ(doubleAt(bytes, c0 + 8), 0.0); // unset P peak
    EXPECT_EQ(doubleAt(bytes, c1 + 8), 10.0 + 0.01 + 0.1); // P peak of channel 1
    EXPECT_EQ(doubleAt(bytes, c2 + 40), 10.0 + 0.01 * 5 + 0.1 * 2); // T peak of channel 2
    EXPECT_EQ(intAt(bytes, c1 + 50, 2), -1); // QRS polarity of channel 1
    EXPECT_EQ(intAt(bytes, c2 + 48, 2), 1); // P, QRS, T in that order
    EXPECT_EQ(intAt(bytes, c2 + 50, 2), -1);
    EXPECT_EQ(intAt(bytes, c2 + 52, 2), 0);
    EXPECT_EQ(doubleAt(bytes, c2 + 72), 10.0 + 0.01 * 11 + 0.1 * 2); // QT of channel 2

    Beat back;
    ASSERT_TRUE(file->get(0, back));
    EXPECT_EQ(back.windowStart, b.windowStart);
    EXPECT_EQ(back.windowLength, b.windowLength);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(back.timing[i], b.timing[i]) << i;
    EXPECT_EQ(back.classId, 3);
    EXPECT_EQ(back.type, BeatV);
    // The QRS flag and the polarities are always stored, so they come back set even when 0.
    for (int c = 0; c < 3; ++c) {
        for (int k = 0; k < Beat::kMeasures; ++k) {
            const bool always
                = k == Beat::HasQrs || (k >= Beat::QrsPolarity && k <= Beat::TPolarity);
            const bool kept = always || (b.measureSet[c][k] && b.measure[c][k] > 0.0);
            EXPECT_EQ(back.hasChannelMeasure(c, k), kept) << c << "," << k;
            EXPECT_EQ(back.channelMeasure(c, k), kept ? b.measure[c][k] : -1.0) << c << "," << k;
        }
    }
    ASSERT_TRUE(file->get(1, back));
    EXPECT_FALSE(back.isBeat);
    EXPECT_EQ(back.classId, -1);
    EXPECT_EQ(back.type, -1);
    EXPECT_FALSE(file->get(2, back)); // at count
    EXPECT_FALSE(file->get(-1, back));
}

TEST_F(BeatFileTest, ReplaceIsSeenByTheNextGet)
{
    auto file = create(nullptr, 15);
    Beat b;
    ASSERT_TRUE(file->get(4, b)); // cached
    b.classId = 9;
    b.timing[0] = 100.0;
    file->replace(b);
    Beat back;
    ASSERT_TRUE(file->get(4, back));
    EXPECT_EQ(back.classId, 9);
    EXPECT_EQ(back.rInstant(), 100.0);
    ASSERT_TRUE(file->get(5, back));
    EXPECT_EQ(back.rInstant(), 6.0);

    const QByteArray before = testsupport::readAll(path());
    for (int index : { -1, 15 }) {
        b.index = index;
        file->replace(b); // outside the list: nothing happens
    }
    EXPECT_EQ(testsupport::readAll(path()), before);
}

TEST_F(BeatFileTest, FailedWriteThrowsAndKeepsWhatWasThere)
{
    FailingIo io;
    auto file = create(&io, 1);
    io.setBudget(io.written() + 100); // the next record gets only 100 of its 296 bytes
    EXPECT_EQ(testsupport::errorOf([&] { file->append(sampleBeat(&source, 2.0)); }),
        "Write error in file " + QDir::toNativeSeparators(path()).toStdString());
    EXPECT_EQ(file->count(), 1);
    Beat b;
    ASSERT_TRUE(file->get(0, b));
    EXPECT_EQ(b.rInstant(), 1.0);
    EXPECT_THROW(file->replace(b), StoreError);

    // Once the disk has room again the list carries on over the torn tail.
    io.setBudget(-1);
    EXPECT_EQ(file->append(sampleBeat(&source, 3.0)), 1);
    std::unique_ptr<BeatFile> reopened = BeatFile::open(&source, path());
    ASSERT_TRUE(reopened);
    EXPECT_EQ(reopened->count(), 2);
    ASSERT_TRUE(reopened->get(1, b));
    EXPECT_EQ(b.rInstant(), 3.0);
}

TEST_F(BeatFileTest, OpenWantsTheMagic)
{
    EXPECT_EQ(BeatFile::open(&source, root.file("absent.vtbeats")), nullptr);
    for (const QByteArray& bad :
        { QByteArray("VTBEAT"), QByteArray("VTBEATS2") + QByteArray(248, '\0') }) {
        testsupport::writeAll(path(), bad);
        EXPECT_EQ(BeatFile::open(&source, path()), nullptr) << bad.left(8).constData();
    }
    testsupport::writeAll(path(), QByteArray("VTBEATS1")); // magic alone: an empty list
    std::unique_ptr<BeatFile> file = BeatFile::open(&source, path());
    ASSERT_TRUE(file);
    EXPECT_EQ(file->count(), 0);
}

TEST_F(BeatFileTest, ShortReadGivesZeroedRecordsNotStaleOnes)
{
    create(nullptr, 20);
    std::unique_ptr<BeatFile> file = BeatFile::open(&source, path());
    Beat b;
    ASSERT_TRUE(file->get(0, b)); // buffer now holds beats 0-9
    QFile::resize(path(), 256 + 12 * 296); // cut short behind the reader's back
    ASSERT_TRUE(file->get(15, b));
    EXPECT_EQ(b.rInstant(), 0.0);
    EXPECT_EQ(b.windowStart, 0.0);
    ASSERT_TRUE(file->get(11, b)); // still inside what remains
    EXPECT_EQ(b.rInstant(), 12.0);
}

} // namespace
