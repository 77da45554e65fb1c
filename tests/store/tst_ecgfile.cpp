#include "store/ecgfile.h"
#include "store/storeio.h"
#include "tests/support/testsupport.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <QDir>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

using testsupport::TempRoot;

// Uses the whole 16-bit range and differs between channels.
qint16 pattern(int channel, qint64 index)
{
    return qint16(quint16((index * 7919 + channel * 4099 + 13) & 0xffff));
}

// One sample straight from the file bytes, independently of EcgFile.
qint16 rawSample(const QByteArray& bytes, int channels, int channel, qint64 index)
{
    const int at = int(4096 + (index * channels + channel) * 2);
    return qint16(quint16(quint8(bytes[at]) | (quint8(bytes[at + 1]) << 8)));
}

// Appends samples from..from + count - 1 of the pattern in one call.
void appendPattern(EcgFile& f, qint64 from, qint64 count)
{
    std::vector<std::vector<qint16>> data(size_t(f.channelCount()));
    std::vector<const qint16*> ptrs;
    for (int c = 0; c < f.channelCount(); ++c) {
        for (qint64 i = 0; i < count; ++i)
            data[size_t(c)].push_back(pattern(c, from + i));
        ptrs.push_back(data[size_t(c)].data());
    }
    f.appendChannels(ptrs.data(), count);
}

const QJsonObject kStudy { { "id", "20240101-0001" }, { "studyDateTime", "20240101083000" } };
const QJsonObject kPatient { { "name", QString::fromUtf8("Núñez, José") }, { "age", 61 } };

void writeStudyFile(const QString& path, int channels, qint64 samples)
{
    EcgFile f(path, channels, 500, EcgFile::kHeaderSize, true);
    f.setGainRange(-450.0, 450.0);
    const char* names[] = { "I", "II", "V5", "aVF" };
    for (int c = 0; c < channels; ++c)
        f.channel(c)->setName(names[c]);
    f.writeHeader(kStudy, kPatient);
    appendPattern(f, 0, samples);
}

TEST(EcgFileTest, AppendRawStoresBytesAsGivenAndWaitsForWholeFrames)
{
    TempRoot root;
    EcgFile f(root.file("raw.vtecg"), 2, 250, EcgFile::kHeaderSize, true);
    // Frames (1, -2), (0x1234, -32768), little-endian.
    const char bytes[] = { 1, 0, char(0xfe), char(0xff), 0x34, 0x12, 0, char(0x80) };
    f.appendRaw(bytes, sizeof bytes);
    EXPECT_EQ(f.sampleAt(0, 0), 1);
    EXPECT_EQ(f.sampleAt(1, 0), -2);
    EXPECT_EQ(f.sampleAt(0, 1), 0x1234);
    EXPECT_EQ(f.sampleAt(1, 1), -32768);
    f.appendRaw(bytes, 3);
    EXPECT_EQ(f.sampleCount(), 2);
    f.appendRaw(bytes + 3, 1);
    EXPECT_EQ(f.sampleCount(), 3);
    EXPECT_EQ(f.sampleAt(1, 2), -2);
}

TEST(EcgFileTest, DoublesAreTruncatedTowardZeroThenToTheLow16Bits)
{
    // in -> stored, by hand: 40000 - 65536 = -25536, 65537 - 65536 = 1.
    const std::pair<double, qint16> cases[]
        = { { 1.9, 1 }, { -1.9, -1 }, { 40000.0, -25536 }, { 65537.2, 1 } };
    TempRoot root;
    EcgFile f(root.file("d.vtecg"), 1, 500, EcgFile::kHeaderSize, true);
    for (const auto& [in, out] : cases) {
        const double* ptrs[] = { &in };
        f.appendChannelsF64(ptrs, 1);
        EXPECT_EQ(f.sampleAt(0, f.sampleCount() - 1), out) << in;
    }
}

TEST(EcgFileTest, HeaderAndFramesStandAsTheFormatSaysAndOpenBack)
{
    TempRoot root;
    const QString path = root.file("h.vtecg");
    writeStudyFile(path, 3, 5000);

    const QByteArray bytes = testsupport::readAll(path);
    ASSERT_EQ(bytes.size(), 4096 + 5000 * 3 * 2);
    for (qint64 i : { 0, 4095, 4096, 4999 }) // frames in channel order, across a block edge
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(rawSample(bytes, 3, c, i), pattern(c, i)) << c << "/" << i;
    EXPECT_EQ(bytes.left(6), QByteArray("VTECG1"));
    const int end = bytes.indexOf('\0', 6);
    ASSERT_GT(end, 6);
    EXPECT_EQ(bytes.mid(end, 4096 - end), QByteArray(4096 - end, '\0'));
    const QJsonObject json = QJsonDocument::fromJson(bytes.mid(6, end - 6)).object();
    EXPECT_EQ(json.value("study").toObject(), kStudy);
    EXPECT_EQ(json.value("patient").toObject(), kPatient);
    const QJsonObject ecg = json.value("ecg").toObject();
    EXPECT_EQ(ecg.value("sampleFormat").toString(), "short");
    EXPECT_EQ(ecg.value("gainMin").toDouble(), -450.0);
    EXPECT_EQ(ecg.value("channels").toArray(), (QJsonArray { "I", "II", "V5" }));

    std::unique_ptr<EcgFile> f = EcgFile::open(path);
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->samplingRate(), 500);
    EXPECT_DOUBLE_EQ(f->gainStep(), 900.0 / 65536.0);
    EXPECT_EQ(f->channel(2)->name(), "V5");
    EXPECT_EQ(f->sampleCount(), 5000);
    EXPECT_EQ(f->blockCount(), 2);
    EXPECT_EQ(f->sampleAt(1, 4321), pattern(1, 4321));
}

TEST(EcgFileTest, OverlongHeaderIsCutToItsSizeAndThenUnreadable)
{
    TempRoot root;
    const QString path = root.file("long.vtecg");
    {
        EcgFile f(path, 1, 500, EcgFile::kHeaderSize, true);
        f.writeHeader(kStudy, QJsonObject { { "notes", QString(5000, 'x') } });
        appendPattern(f, 0, 10);
    }
    EXPECT_EQ(QFileInfo(path).size(), 4096 + 20); // samples were not overwritten
    EXPECT_EQ(EcgFile::open(path), nullptr);
}

TEST(EcgFileTest, PartialBlocksTornFramesAndOutOfRangeReadAsZero)
{
    TempRoot root;
    const QString path = root.file("p.vtecg");
    writeStudyFile(path, 2, 4096 + 100);
    std::unique_ptr<EcgFile> f = EcgFile::open(path);
    ASSERT_NE(f, nullptr);
    ASSERT_EQ(f->blockCount(), 2);
    for (int c = 0; c < 2; ++c) {
        const qint16* b = f->getBlock(c, 1);
        ASSERT_NE(b, nullptr);
        for (int i = 0; i < 4096; ++i)
            ASSERT_EQ(b[i], i < 100 ? pattern(c, 4096 + i) : 0) << i;
        f->releaseBlock(c, 1);
    }
    EXPECT_EQ(f->loadBlock(0, 2), nullptr);
    EXPECT_EQ(f->loadBlock(2, 0), nullptr);

    f.reset();
    testsupport::writeAll(path, testsupport::readAll(path) + "\x11\x22\x33"); // 3/4 of a frame
    f = EcgFile::open(path);
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->sampleCount(), 4196);
    EXPECT_EQ(f->sampleAt(1, 4195), pattern(1, 4195));
    EXPECT_EQ(f->sampleAt(0, 4196), 0);
    // The torn frame's bytes stay out of the block's zero tail too (they once leaked in).
    const qint16* torn = f->getBlock(0, 1);
    ASSERT_NE(torn, nullptr);
    EXPECT_EQ(torn[99], pattern(0, 4195));
    EXPECT_EQ(torn[100], 0);
    f->releaseBlock(0, 1);
}

// A partial last block and a torn frame are the file's own end, not failures; samples counted at
// opening that are gone later (the file cut short under the reader) read as silence and leave
// a read error that names the file.
TEST(EcgFileTest, SamplesGoneUnderAnOpenReaderAreAReadError)
{
    TempRoot root;
    const QString path = root.file("cut.vtecg");
    writeStudyFile(path, 2, 3 * 4096 + 100);
    std::unique_ptr<EcgFile> f = EcgFile::open(path);
    ASSERT_NE(f, nullptr);
    for (int block = 0; block < 4; ++block) {
        f->freeBlock(f->loadBlock(0, block));
    }
    EXPECT_EQ(f->readError(), "") << "the partial last block is the file's end";

    QFile(path).resize(4096 + 2 * 2 * 4096 + 10); // block 0 whole, block 1 cut in its middle
    qint16* whole = f->loadBlock(1, 0);
    EXPECT_EQ(whole[4095], pattern(1, 4095));
    f->freeBlock(whole);
    EXPECT_EQ(f->readError(), "");
    qint16* cut = f->loadBlock(0, 1);
    ASSERT_NE(cut, nullptr);
    EXPECT_EQ(cut[0], pattern(0, 4096));
    EXPECT_EQ(cut[4095], 0) << "what is gone reads as silence";
    f->freeBlock(cut);
    const std::string error = f->readError();
    EXPECT_NE(error.find("Read error in file"), std::string::npos) << error;
    EXPECT_NE(error.find("cut.vtecg"), std::string::npos) << error;
    f->freeBlock(f->loadBlock(0, 3)); // a later failure keeps the first message
    EXPECT_EQ(f->readError(), error);
}

// A reader of a file being written: after every append, old and new samples read right,
// whether they fall in whole blocks (cache) or past them (tail window).
TEST(EcgFileTest, ReaderSeesAppendsAcrossBlocksAndTailWindow)
{
    TempRoot root;
    EcgFile f(root.file("live.vtecg"), 3, 500, EcgFile::kHeaderSize, true);
    std::vector<double> out;
    qint64 total = 0;
    // Chunks that cross block edges and, in total, the 65536-sample window more than once.
    for (qint64 chunk : { 1, 4095, 1, 5000, 30000, 4096, 40000, 3, 70000, 123 }) {
        appendPattern(f, total, chunk);
        total += chunk;
        ASSERT_EQ(f.sampleCount(), total);
        ASSERT_EQ(f.blockCount(), int(total / 4096));
        for (int c = 0; c < 3; ++c) {
            const qint64 from = std::max<qint64>(0, total - 9000);
            out.assign(size_t(total - from + 5), -1.0);
            f.readSamples(c, from, qint64(out.size()), out.data());
            for (qint64 i = from; i < total + 5; ++i)
                ASSERT_EQ(out[size_t(i - from)], i < total ? pattern(c, i) : 0)
                    << i << "/" << total;
        }
    }
}

TEST(EcgFileTest, ShortWriteThrowsAndKeepsWhatWasWritten)
{
    TempRoot root;
    // Room for the header and 16 whole 3-channel frames plus 4 bytes.
    testsupport::FailingIo io(4096 + 16 * 6 + 4);
    EcgFile f(root.file("full.vtecg"), 3, 500, EcgFile::kHeaderSize, true, &io);
    EXPECT_EQ(testsupport::errorOf([&] { appendPattern(f, 0, 100); }),
        "Write error in file " + QDir::toNativeSeparators(f.path()).toStdString());
    EXPECT_EQ(f.sampleCount(), 16);
    EXPECT_EQ(f.sampleAt(2, 15), pattern(2, 15));
}

QByteArray withEcg(const char* key, const QJsonValue& value)
{
    QJsonObject ecg { { "sampleFormat", "short" }, { "samplingRate", 500 }, { "resolution", 16 },
        { "gainMin", -450.0 }, { "gainMax", 450.0 }, { "channels", QJsonArray { "I", "II" } } };
    if (value.isUndefined())
        ecg.remove(key);
    else if (key)
        ecg.insert(key, value);
    const QJsonObject json { { "study", kStudy }, { "patient", kPatient }, { "ecg", ecg } };
    return "VTECG1" + QJsonDocument(json).toJson(QJsonDocument::Compact);
}

TEST(EcgFileTest, CorruptHeadersGiveNull)
{
    const QByteArray good = withEcg(nullptr, QJsonValue::Null);
    const std::pair<const char*, QByteArray> bad[] = {
        { "empty file", QByteArray() },
        { "wrong magic", "VTECG2" + good.mid(6) },
        { "ecg not an object", "VTECG1{\"ecg\":5}" },
        { "truncated json", good.left(good.size() / 2) },
        { "rate 0", withEcg("samplingRate", 0) },
        { "rate text", withEcg("samplingRate", "500") },
        { "no channels", withEcg("channels", QJsonArray()) },
        { "too many channels", withEcg("channels", QJsonArray { "a", "b", "c", "d", "e" }) },
        { "format missing", withEcg("sampleFormat", QJsonValue::Undefined) },
    };
    TempRoot root;
    EXPECT_EQ(EcgFile::open(root.file("absent.vtecg")), nullptr);
    const QString path = root.file("bad.vtecg");
    for (const auto& [name, bytes] : bad) {
        testsupport::writeAll(path, bytes);
        EXPECT_EQ(EcgFile::open(path), nullptr) << name;
    }
    // The good header itself opens, so the cases above fail for their own reason.
    testsupport::writeAll(path, good + QByteArray(4096 - good.size(), '\0'));
    std::unique_ptr<EcgFile> f = EcgFile::open(path);
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->sampleCount(), 0);
}

} // namespace
