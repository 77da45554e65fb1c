#include "store/ecgfile.h"
#include "store/storeio.h"
#include "tests/support/testsupport.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <ostream>
#include <random>
#include <vector>

namespace {

using testsupport::TempRoot;

// Sample pattern that uses the whole 16-bit range and differs between channels.
qint16 pattern(int channel, qint64 index)
{
    return qint16(quint16((index * 7919 + channel * 4099 + 13) & 0xffff));
}

// Decodes one sample straight from the file bytes, independently of EcgFile.
qint16 rawSample(const QByteArray& bytes, int channels, int channel, qint64 index)
{
    const qint64 at = 4096 + (index * channels + channel) * 2;
    const quint16 lo = quint8(bytes[int(at)]);
    const quint16 hi = quint8(bytes[int(at + 1)]);
    return qint16(quint16(lo | (hi << 8)));
}

// Appends `count` samples of the pattern in chunks of `chunk`.
void appendPattern(EcgFile& f, qint64 from, qint64 count, qint64 chunk)
{
    const int n = f.channelCount();
    std::vector<std::vector<qint16>> data(static_cast<size_t>(n));
    std::vector<const qint16*> ptrs(static_cast<size_t>(n));
    for (qint64 done = 0; done < count;) {
        const qint64 len = std::min(chunk, count - done);
        for (int c = 0; c < n; ++c) {
            data[size_t(c)].resize(size_t(len));
            for (qint64 i = 0; i < len; ++i)
                data[size_t(c)][size_t(i)] = pattern(c, from + done + i);
            ptrs[size_t(c)] = data[size_t(c)].data();
        }
        f.appendChannels(ptrs.data(), len);
        done += len;
    }
}

QJsonObject studyObject()
{
    return QJsonObject { { "id", "20240101-0001" }, { "studyDateTime", "20240101083000" } };
}

QJsonObject patientObject()
{
    return QJsonObject { { "name", QString::fromUtf8("Núñez, José") }, { "age", 61 } };
}

// A complete file: header, then `samples` frames of the pattern.
void writeStudyFile(const QString& path, int channels, qint64 samples)
{
    EcgFile f(path, channels, 500, EcgFile::kHeaderSize, true);
    f.setGainRange(-450.0, 450.0);
    const char* names[] = { "I", "II", "V5", "aVF" };
    for (int c = 0; c < channels; ++c)
        f.channel(c)->setName(names[c]);
    f.writeHeader(studyObject(), patientObject());
    appendPattern(f, 0, samples, 3000);
}

class CountingListener : public SignalListener
{
public:
    void signalChanged(SignalSource*) override { ++changes; }
    int changes = 0;
};

TEST(EcgFileTest, AppendedSamplesRoundTripThroughFileAndReopen)
{
    TempRoot root;
    const QString path = root.file("a.vtecg");
    const qint64 total = 2 * 4096 + 1000;
    {
        EcgFile f(path, 3, 500, EcgFile::kHeaderSize, true);
        CountingListener l;
        f.addListener(&l);
        appendPattern(f, 0, total, 777);
        EXPECT_EQ(l.changes, int((total + 776) / 777));
        EXPECT_EQ(f.sampleCount(), total);
        EXPECT_EQ(f.blockCount(), 2); // whole blocks only while writing
        f.removeListener(&l);
    }
    const QByteArray bytes = testsupport::readAll(path);
    ASSERT_EQ(bytes.size(), 4096 + total * 3 * 2);
    EXPECT_EQ(bytes.left(4096), QByteArray(4096, '\0')); // no header written yet
    for (qint64 i : { qint64(0), qint64(1), qint64(4095), qint64(4096), total - 1 })
        for (int c = 0; c < 3; ++c)
            ASSERT_EQ(rawSample(bytes, 3, c, i), pattern(c, i)) << c << "/" << i;

    EcgFile g(path, 3, 500, EcgFile::kHeaderSize, false);
    EXPECT_EQ(g.sampleCount(), total);
    EXPECT_EQ(g.blockCount(), 3); // rounded up when opened
    EXPECT_FALSE(g.isWritable());
    std::vector<double> out(static_cast<size_t>(total));
    for (int c = 0; c < 3; ++c) {
        g.readSamples(c, 0, total, out.data());
        for (qint64 i = 0; i < total; ++i)
            ASSERT_EQ(out[size_t(i)], pattern(c, i)) << c << "/" << i;
    }
}

TEST(EcgFileTest, AppendRawStoresBytesAsGiven)
{
    TempRoot root;
    const QString path = root.file("raw.vtecg");
    EcgFile f(path, 2, 250, EcgFile::kHeaderSize, true);
    // Frames (1, -2), (0x1234, -32768), little-endian.
    const char bytes[] = { 1, 0, char(0xfe), char(0xff), 0x34, 0x12, 0, char(0x80) };
    f.appendRaw(bytes, sizeof bytes);
    EXPECT_EQ(f.sampleCount(), 2);
    EXPECT_EQ(f.sampleAt(0, 0), 1);
    EXPECT_EQ(f.sampleAt(1, 0), -2);
    EXPECT_EQ(f.sampleAt(0, 1), 0x1234);
    EXPECT_EQ(f.sampleAt(1, 1), -32768);
    // Half a frame is not a sample yet; completing it makes it one.
    f.appendRaw(bytes, 3);
    EXPECT_EQ(f.sampleCount(), 2);
    EXPECT_EQ(f.sampleAt(0, 2), 0);
    f.appendRaw(bytes + 3, 1);
    EXPECT_EQ(f.sampleCount(), 3);
    EXPECT_EQ(f.sampleAt(0, 2), 1);
    EXPECT_EQ(f.sampleAt(1, 2), -2);
}

struct TruncCase
{
    double in;
    qint16 out;
};

void PrintTo(const TruncCase& c, std::ostream* os)
{
    *os << c.in << " -> " << c.out;
}

class AppendF64Test : public ::testing::TestWithParam<TruncCase>
{
};

TEST_P(AppendF64Test, DoublesAreTruncatedTo16Bits)
{
    TempRoot root;
    EcgFile f(root.file("d.vtecg"), 2, 500, EcgFile::kHeaderSize, true);
    const double a[] = { GetParam().in, 5.0 };
    const double b[] = { -GetParam().in, 6.0 };
    const double* ptrs[] = { a, b };
    f.appendChannelsF64(ptrs, 2);
    ASSERT_EQ(f.sampleCount(), 2);
    EXPECT_EQ(f.sampleAt(0, 0), GetParam().out);
    EXPECT_EQ(f.sampleAt(0, 1), 5);
    EXPECT_EQ(f.sampleAt(1, 1), 6);
    const QByteArray bytes = testsupport::readAll(f.path());
    EXPECT_EQ(rawSample(bytes, 2, 0, 0), GetParam().out);
}

// Toward zero, then the low 16 bits: 40000 - 65536 = -25536, 65537 - 65536 = 1.
INSTANTIATE_TEST_SUITE_P(Values, AppendF64Test,
    ::testing::Values(TruncCase { 0.0, 0 }, TruncCase { 1.9, 1 }, TruncCase { -1.9, -1 },
        TruncCase { 0.5, 0 }, TruncCase { -0.99, 0 }, TruncCase { 32767.9, 32767 },
        TruncCase { -32768.7, -32768 }, TruncCase { 40000.0, -25536 }, TruncCase { 65537.2, 1 }));

TEST(EcgFileTest, HeaderRoundTripsThroughOpen)
{
    TempRoot root;
    const QString path = root.file("h.vtecg");
    writeStudyFile(path, 3, 5000);

    const QByteArray bytes = testsupport::readAll(path);
    ASSERT_GE(bytes.size(), 4096);
    EXPECT_EQ(bytes.left(6), QByteArray("VTECG1"));
    const int end = bytes.indexOf('\0', 6);
    ASSERT_GT(end, 6);
    EXPECT_EQ(bytes.mid(end, 4096 - end), QByteArray(4096 - end, '\0'));
    const QJsonObject root2 = QJsonDocument::fromJson(bytes.mid(6, end - 6)).object();
    EXPECT_EQ(root2.value("study").toObject(), studyObject());
    EXPECT_EQ(root2.value("patient").toObject(), patientObject());
    const QJsonObject ecg = root2.value("ecg").toObject();
    EXPECT_EQ(ecg.value("sampleFormat").toString(), "short");
    EXPECT_EQ(ecg.value("samplingRate").toInt(), 500);
    EXPECT_EQ(ecg.value("resolution").toInt(), 16);
    EXPECT_EQ(ecg.value("gainMin").toDouble(), -450.0);
    EXPECT_EQ(ecg.value("gainMax").toDouble(), 450.0);
    EXPECT_EQ(ecg.value("channels").toArray(), (QJsonArray { "I", "II", "V5" }));

    std::unique_ptr<EcgFile> f(EcgFile::open(path));
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->channelCount(), 3);
    EXPECT_EQ(f->samplingRate(), 500);
    EXPECT_EQ(f->resolution(), 16);
    EXPECT_EQ(f->storedBits(), 16);
    EXPECT_EQ(f->fullScale(), 128);
    EXPECT_EQ(f->gainMin(), -450.0);
    EXPECT_EQ(f->gainMax(), 450.0);
    EXPECT_DOUBLE_EQ(f->gainStep(), 900.0 / 65536.0);
    EXPECT_EQ(f->channel(0)->name(), "I");
    EXPECT_EQ(f->channel(2)->name(), "V5");
    EXPECT_EQ(f->sampleCount(), 5000);
    EXPECT_EQ(f->blockSize(), 4096);
    EXPECT_EQ(f->blockCount(), 2);
    EXPECT_EQ(f->sampleAt(1, 4321), pattern(1, 4321));
}

TEST(EcgFileTest, NewFileHasUnitGainUntilSet)
{
    TempRoot root;
    EcgFile f(root.file("g.vtecg"), 1, 500, EcgFile::kHeaderSize, true);
    EXPECT_EQ(f.gainMin(), -1.0);
    EXPECT_EQ(f.gainMax(), 1.0);
    EXPECT_EQ(f.fullScale(), 128);
    EXPECT_EQ(f.sampleCount(), 0);
    EXPECT_EQ(f.blockCount(), 0);
    EXPECT_EQ(QFileInfo(f.path()).size(), 4096);
}

TEST(EcgFileTest, OverlongHeaderIsCutToItsSizeAndThenUnreadable)
{
    TempRoot root;
    const QString path = root.file("long.vtecg");
    {
        EcgFile f(path, 1, 500, EcgFile::kHeaderSize, true);
        f.writeHeader(studyObject(), QJsonObject { { "notes", QString(5000, 'x') } });
        appendPattern(f, 0, 10, 10);
    }
    EXPECT_EQ(QFileInfo(path).size(), 4096 + 20); // samples were not overwritten
    std::unique_ptr<EcgFile> f(EcgFile::open(path));
    EXPECT_EQ(f, nullptr);
}

TEST(EcgFileTest, PartialLastBlockReadsWithZeroTail)
{
    TempRoot root;
    const QString path = root.file("p.vtecg");
    writeStudyFile(path, 2, 4096 + 100);
    std::unique_ptr<EcgFile> f(EcgFile::open(path));
    ASSERT_NE(f, nullptr);
    ASSERT_EQ(f->blockCount(), 2);
    for (int c = 0; c < 2; ++c) {
        const qint16* b = f->getBlock(c, 1);
        ASSERT_NE(b, nullptr);
        for (int i = 0; i < 100; ++i)
            ASSERT_EQ(b[i], pattern(c, 4096 + i));
        for (int i = 100; i < 4096; ++i)
            ASSERT_EQ(b[i], 0) << "tail " << i;
        f->releaseBlock(c, 1);
    }
    EXPECT_EQ(f->getBlock(0, 2), nullptr);
    EXPECT_EQ(f->loadBlock(0, 2), nullptr);
    EXPECT_EQ(f->loadBlock(2, 0), nullptr);
}

TEST(EcgFileTest, BrokenTrailingFrameIsIgnored)
{
    TempRoot root;
    const QString path = root.file("t.vtecg");
    writeStudyFile(path, 3, 100);
    QByteArray bytes = testsupport::readAll(path);
    bytes.append("\x11\x22\x33", 3); // half of a 6-byte frame
    testsupport::writeAll(path, bytes);
    std::unique_ptr<EcgFile> f(EcgFile::open(path));
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->sampleCount(), 100);
    EXPECT_EQ(f->sampleAt(2, 99), pattern(2, 99));
    EXPECT_EQ(f->sampleAt(0, 100), 0);
}

TEST(EcgFileTest, OutOfRangeSamplesAreZero)
{
    TempRoot root;
    const QString path = root.file("z.vtecg");
    writeStudyFile(path, 2, 300);
    std::unique_ptr<EcgFile> f(EcgFile::open(path));
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->sampleAt(0, 300), 0);
    EXPECT_EQ(f->sampleAt(0, -1), 0);
    EXPECT_EQ(f->sampleAt(2, 5), 0);
    EXPECT_EQ(f->sampleAt(-1, 5), 0);
    EXPECT_EQ(f->sampleAt(1, 299), pattern(1, 299));
    std::vector<double> out(10, 3.0);
    f->readSamples(0, 295, 10, out.data());
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(out[size_t(i)], 295 + i < 300 ? pattern(0, 295 + i) : 0.0);
}

// A reader of a file being written: after every append, old and new samples read right,
// whether they now fall in whole blocks (cache) or past them (tail window).
TEST(EcgFileTest, ReaderSeesAppendsAcrossBlocksAndTailWindow)
{
    TempRoot root;
    EcgFile f(root.file("live.vtecg"), 3, 500, EcgFile::kHeaderSize, true);
    std::vector<double> out;
    qint64 total = 0;
    // Chunk sizes that cross block edges and, in total, the 65536-sample window more than once.
    const qint64 chunks[] = { 1, 4095, 1, 5000, 30000, 4096, 40000, 3, 70000, 123 };
    for (qint64 chunk : chunks) {
        appendPattern(f, total, chunk, chunk);
        total += chunk;
        ASSERT_EQ(f.sampleCount(), total);
        ASSERT_EQ(f.blockCount(), int(total / 4096));
        for (int c = 0; c < 3; ++c) {
            ASSERT_EQ(f.sampleAt(c, total - 1), pattern(c, total - 1)) << total;
            ASSERT_EQ(f.sampleAt(c, total), 0);
            // Back across the whole-block edge and forward again, into the tail.
            const qint64 from = std::max<qint64>(0, total - 9000);
            out.assign(size_t(total - from + 5), -1.0);
            f.readSamples(c, from, qint64(out.size()), out.data());
            for (qint64 i = from; i < total; ++i)
                ASSERT_EQ(out[size_t(i - from)], pattern(c, i)) << c << "/" << i << "/" << total;
            for (int k = 0; k < 5; ++k)
                ASSERT_EQ(out[size_t(total - from + k)], 0.0);
        }
    }
    // Jumps far back and forth through the tail force reloads on either side of the window.
    std::mt19937 rng(7);
    std::uniform_int_distribution<qint64> any(0, total - 1);
    for (int k = 0; k < 2000; ++k) {
        const qint64 i = any(rng);
        const int c = k % 3;
        ASSERT_EQ(f.sampleAt(c, i), pattern(c, i)) << i;
    }
}

TEST(EcgFileTest, TailWindowServesAFileLongerThanTheWindow)
{
    // 200000 samples: whole blocks cover 196608, the rest is tail. Growing the file by more
    // than the window moves the tail well past the old window.
    TempRoot root;
    EcgFile f(root.file("w.vtecg"), 1, 500, EcgFile::kHeaderSize, true);
    appendPattern(f, 0, 200000, 50000);
    for (qint64 i = 196608; i < 200000; i += 97)
        ASSERT_EQ(f.sampleAt(0, i), pattern(0, i));
    appendPattern(f, 200000, 70001, 70001);
    ASSERT_EQ(f.blockCount(), 65); // 266240 samples in whole blocks
    for (qint64 i = 266240; i < 270001; i += 101)
        ASSERT_EQ(f.sampleAt(0, i), pattern(0, i));
    EXPECT_EQ(f.sampleAt(0, 199999), pattern(0, 199999)); // now in a whole block
}

TEST(EcgFileTest, FileOpenedForReadingIgnoresAppends)
{
    TempRoot root;
    const QString path = root.file("ro.vtecg");
    writeStudyFile(path, 2, 50);
    const QByteArray before = testsupport::readAll(path);
    std::unique_ptr<EcgFile> f(EcgFile::open(path));
    ASSERT_NE(f, nullptr);
    CountingListener l;
    f->addListener(&l);
    const qint16 s[] = { 1, 2, 3 };
    const qint16* ptrs[] = { s, s };
    const double d[] = { 1.0, 2.0, 3.0 };
    const double* dptrs[] = { d, d };
    f->appendChannels(ptrs, 3);
    f->appendChannelsF64(dptrs, 3);
    f->appendRaw("abcd", 4);
    EXPECT_EQ(f->sampleCount(), 50);
    EXPECT_EQ(l.changes, 0);
    f->removeListener(&l);
    f.reset();
    EXPECT_EQ(testsupport::readAll(path), before);
}

TEST(EcgFileTest, ShortWriteThrowsAndKeepsWhatWasWritten)
{
    TempRoot root;
    const QString path = root.file("full.vtecg");
    // Room for the header and 16 whole 3-channel frames plus 4 bytes.
    testsupport::FailingIo io(4096 + 16 * 6 + 4);
    EcgFile f(path, 3, 500, EcgFile::kHeaderSize, true, &io);
    CountingListener l;
    f.addListener(&l);
    try {
        appendPattern(f, 0, 100, 100);
        FAIL() << "no exception";
    } catch (const StoreError& e) {
        EXPECT_STREQ(e.what(), "Write error");
    }
    EXPECT_EQ(f.sampleCount(), 16);
    EXPECT_EQ(f.sampleAt(2, 15), pattern(2, 15));
    f.removeListener(&l);

    io.setBudget(0);
    const double d[] = { 1.0 };
    const double* dptrs[] = { d, d, d };
    EXPECT_THROW(f.appendChannelsF64(dptrs, 1), StoreError);
    EXPECT_THROW(f.appendRaw("xy", 2), StoreError);
    EXPECT_THROW(f.writeHeader(studyObject(), patientObject()), StoreError);
}

TEST(EcgFileTest, ShortHeaderWriteFailsCreation)
{
    TempRoot root;
    testsupport::FailingIo io(100);
    try {
        EcgFile f(root.file("h.vtecg"), 3, 500, EcgFile::kHeaderSize, true, &io);
        FAIL() << "no exception";
    } catch (const StoreError& e) {
        EXPECT_STREQ(e.what(), "Write error");
    }
}

TEST(EcgFileTest, MissingFilesGiveTheirMessages)
{
    TempRoot root;
    const QString missingDir = root.file("no/such/dir/x.vtecg");
    try {
        EcgFile f(missingDir, 3, 500, EcgFile::kHeaderSize, true);
        FAIL() << "no exception";
    } catch (const StoreError& e) {
        EXPECT_STREQ(e.what(), "Cannot create file");
    }
    try {
        EcgFile f(root.file("absent.vtecg"), 3, 500, EcgFile::kHeaderSize, false);
        FAIL() << "no exception";
    } catch (const StoreError& e) {
        EXPECT_STREQ(e.what(), "Cannot open file");
    }
    EXPECT_EQ(EcgFile::open(root.file("absent.vtecg")), nullptr);
}

// Headers that must not open. Each is written as the whole file or followed by samples.
struct BadHeader
{
    const char* name;
    QByteArray bytes;
};

QByteArray withEcg(const QJsonObject& ecg)
{
    const QJsonObject root { { "study", studyObject() }, { "patient", patientObject() },
        { "ecg", ecg } };
    return "VTECG1" + QJsonDocument(root).toJson(QJsonDocument::Compact);
}

QJsonObject goodEcg()
{
    return QJsonObject { { "sampleFormat", "short" }, { "samplingRate", 500 }, { "resolution", 16 },
        { "gainMin", -450.0 }, { "gainMax", 450.0 }, { "channels", QJsonArray { "I", "II" } } };
}

QJsonObject ecgWith(const char* key, const QJsonValue& value)
{
    QJsonObject e = goodEcg();
    if (value.isUndefined())
        e.remove(key);
    else
        e.insert(key, value);
    return e;
}

std::vector<BadHeader> badHeaders()
{
    const QByteArray good = withEcg(goodEcg());
    return {
        { "empty file", QByteArray() },
        { "short magic", "VTEC" },
        { "wrong magic", "VTECG2" + good.mid(6) },
        { "magic only", "VTECG1" },
        { "garbage", "VTECG1\x01\x02garbage{{" },
        { "empty object", "VTECG1{}" },
        { "array root", "VTECG1[1,2,3]" },
        { "no ecg", "VTECG1{\"study\":{},\"patient\":{}}" },
        { "ecg not an object", "VTECG1{\"ecg\":5}" },
        { "empty ecg", "VTECG1{\"ecg\":{}}" },
        { "truncated json", good.left(good.size() / 2) },
        { "rate 0", withEcg(ecgWith("samplingRate", 0)) },
        { "rate negative", withEcg(ecgWith("samplingRate", -500)) },
        { "rate missing", withEcg(ecgWith("samplingRate", QJsonValue::Undefined)) },
        { "rate text", withEcg(ecgWith("samplingRate", "500")) },
        { "resolution 0", withEcg(ecgWith("resolution", 0)) },
        { "no channels", withEcg(ecgWith("channels", QJsonArray())) },
        { "channels missing", withEcg(ecgWith("channels", QJsonValue::Undefined)) },
        { "too many channels",
            withEcg(ecgWith("channels", QJsonArray { "a", "b", "c", "d", "e" })) },
        { "empty format", withEcg(ecgWith("sampleFormat", "")) },
        { "format missing", withEcg(ecgWith("sampleFormat", QJsonValue::Undefined)) },
    };
}

TEST(EcgFileHeaderTest, CorruptHeadersGiveNull)
{
    TempRoot root;
    const QString path = root.file("bad.vtecg");
    for (const BadHeader& bad : badHeaders()) {
        for (bool padded : { false, true }) {
            QByteArray bytes = bad.bytes;
            if (padded) {
                bytes.append(QByteArray(std::max(0, 4096 - bytes.size()), '\0'));
                bytes.append(QByteArray(400, '\x05'));
            }
            testsupport::writeAll(path, bytes);
            std::unique_ptr<EcgFile> f(EcgFile::open(path));
            EXPECT_EQ(f, nullptr) << bad.name << (padded ? " (padded)" : "");
        }
    }
    // The good header itself opens, so the cases above fail for their own reason.
    QByteArray good = withEcg(goodEcg());
    good.append(QByteArray(4096 - good.size(), '\0'));
    testsupport::writeAll(path, good);
    std::unique_ptr<EcgFile> f(EcgFile::open(path));
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->sampleCount(), 0);
    EXPECT_EQ(f->sampleAt(0, 0), 0);
}

TEST(EcgFileHeaderTest, RandomMutationsNeverCrash)
{
    TempRoot root;
    const QString source = root.file("good.vtecg");
    writeStudyFile(source, 3, 5000);
    const QByteArray original = testsupport::readAll(source);
    const QString path = root.file("mutant.vtecg");
    const int headerEnd = original.indexOf('\0', 6);
    ASSERT_GT(headerEnd, 6);

    std::mt19937 rng(20240101);
    std::uniform_int_distribution<int> inHeader(0, headerEnd + 8);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<int> kind(0, 3);
    int opened = 0;
    for (int iter = 0; iter < 1500; ++iter) {
        QByteArray bytes = original;
        switch (kind(rng)) {
        case 0: // a few random bytes
            for (int k = 0, n = 1 + byte(rng) % 4; k < n; ++k)
                bytes[inHeader(rng)] = char(byte(rng));
            break;
        case 1: // truncation anywhere in or just past the header
            bytes.truncate(std::uniform_int_distribution<int>(0, 4200)(rng));
            break;
        case 2: // a digit or quote swapped, which keeps the JSON nearly valid
            for (int k = 0; k < 2; ++k) {
                const int at = inHeader(rng);
                const char c = bytes[at];
                if (c >= '0' && c <= '9')
                    bytes[at] = char('0' + byte(rng) % 10);
                else if (c == '"')
                    bytes[at] = '\'';
            }
            break;
        default: // zero byte cutting the JSON short
            bytes[inHeader(rng)] = '\0';
            break;
        }
        testsupport::writeAll(path, bytes);
        std::unique_ptr<EcgFile> f(EcgFile::open(path));
        if (!f)
            continue;
        ++opened;
        // Whatever opened must behave: bounded reads of any channel, anywhere.
        ASSERT_GE(f->channelCount(), 1);
        ASSERT_LE(f->channelCount(), SignalSource::kMaxChannels);
        ASSERT_GT(f->samplingRate(), 0);
        std::vector<double> out(64);
        for (int c = -1; c <= f->channelCount(); ++c) {
            f->readSamples(c, f->sampleCount() - 32, 64, out.data());
            f->sampleAt(c, f->sampleCount() / 2);
        }
    }
    EXPECT_GT(opened, 0); // some mutations leave a usable file, and those were exercised
}

} // namespace
