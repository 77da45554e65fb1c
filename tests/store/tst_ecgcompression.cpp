#include "store/differencestream.h"
#include "store/ecgcompression.h"
#include "store/ppmdbuffer.h"
#include "store/ppmdmodel.h"
#include "tests/store/ecgcodecsupport.h"
#include "tests/support/testsupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QtEndian>

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <vector>

namespace {

using ecgcodectest::Channels;
using testsupport::readAll;
using testsupport::TempRoot;
using testsupport::writeAll;

constexpr qint64 kChunk = ecgcompression::kSampleChunkSize;

QJsonObject headerJson(const QByteArray& file)
{
    QByteArray text = file.mid(6, 4090);
    text.truncate(text.indexOf('\0') < 0 ? text.size() : text.indexOf('\0'));
    return QJsonDocument::fromJson(text).object();
}

// The length-prefixed streams of a compressed file, chunk by chunk, channel by channel.
std::vector<std::vector<QByteArray>> chunksOf(const QByteArray& file, int channels)
{
    std::vector<std::vector<QByteArray>> chunks;
    int pos = 4096;
    while (pos + 4 <= file.size()) {
        std::vector<QByteArray> chunk;
        for (int c = 0; c < channels && pos + 4 <= file.size(); ++c) {
            const quint32 len = qFromLittleEndian<quint32>(file.constData() + pos);
            chunk.push_back(file.mid(pos + 4, int(len)));
            pos += 4 + int(len);
        }
        chunks.push_back(chunk);
    }
    return chunks;
}

// Decodes one stored stream independently of the file reader.
std::vector<qint16> decodeStream(const QByteArray& packed)
{
    PpmdModel model;
    std::vector<std::uint8_t> diff;
    std::vector<qint16> samples;
    const auto* data = reinterpret_cast<const std::uint8_t*>(packed.constData());
    if (!ppmdbuffer::decode(model, data, size_t(packed.size()), 2, 16u << 20, 1u << 26, diff)
        || !differencestream::decode(diff.data(), diff.size(), samples, size_t(kChunk)))
        return { -1 };
    return samples;
}

struct Recorded : ProgressSink
{
    std::vector<std::pair<qint64, qint64>> reports;
    std::function<void()> onReport;
    void progress(qint64 position, qint64 total) override
    {
        reports.emplace_back(position, total);
        if (onReport)
            onReport();
    }
};

class EcgCompression : public ::testing::Test
{
protected:
    QString source() const { return root.file("a.vtecg"); }
    QString packed() const { return root.file("a.vtecgz"); }
    QString restored() const { return root.file("b.vtecg"); }

    // Compresses and decompresses; the restored file must equal the source byte for byte.
    void expectRoundTrip(const Channels& channels)
    {
        ecgcodectest::writeEcgFile(source(), channels);
        ASSERT_TRUE(compressEcgFile(source(), packed(), nullptr));
        ASSERT_TRUE(decompressEcgFile(packed(), restored(), nullptr));
        const QByteArray a = readAll(source()), b = readAll(restored());
        ASSERT_EQ(a.size(), b.size());
        EXPECT_TRUE(a == b);
    }

    TempRoot root;
};

struct SignalCase
{
    const char* name;
    std::function<Channels()> make;
};

class EcgRoundTrip : public EcgCompression, public ::testing::WithParamInterface<SignalCase>
{
};

Channels steps()
{
    // Jumps at the edges of each escape, both ways, and the full-scale swing between extremes.
    const int jumps[] = { 127, 128, -127, -128, 32767, 32768, -32767, -32768, 65535 };
    std::vector<qint16> ch { 0 };
    for (int j : jumps) {
        ch.push_back(j > 0 ? -32768 : 32767);
        ch.push_back(qint16(ch.back() + j));
        ch.push_back(ch.back());
    }
    ch.push_back(-32768);
    ch.push_back(32767);
    ch.push_back(-32768);
    return { ch, std::vector<qint16>(ch.rbegin(), ch.rend()) };
}

const SignalCase kSignals[] = {
    { "simulated_ten_minutes", [] { return ecgcodectest::simulatedChannels(300000); } },
    { "noise", [] { return ecgcodectest::noiseChannels(3, 50000, 11); } },
    { "constant", [] { return Channels(3, std::vector<qint16>(100000, -1234)); } },
    { "full_scale_steps", [] { return steps(); } },
    { "one_sample",
        [] {
            return Channels { { 32767 }, { -32768 }, { 0 } };
        } },
    { "no_samples", [] { return Channels(3); } },
    { "four_channels", [] { return ecgcodectest::noiseChannels(4, 1000, 5); } },
};

TEST_P(EcgRoundTrip, RestoresTheFileExactly)
{
    expectRoundTrip(GetParam().make());
}

INSTANTIATE_TEST_SUITE_P(Signals, EcgRoundTrip, ::testing::ValuesIn(kSignals),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(EcgCompression, ChunkBoundaries)
{
    // Exactly one chunk, then one sample past it: the second chunk holds a 2-byte stream.
    for (qint64 frames : { kChunk, kChunk + 1 }) {
        SCOPED_TRACE(frames);
        Channels ch(1);
        std::mt19937 rng(3);
        qint16 v = 0;
        for (qint64 i = 0; i < frames; ++i)
            ch[0].push_back(v = qint16(v + int(rng() % 61) - 30));
        expectRoundTrip(ch);
        const auto chunks = chunksOf(readAll(packed()), 1);
        ASSERT_EQ(chunks.size(), frames == kChunk ? 1u : 2u);
        EXPECT_EQ(decodeStream(chunks[0][0]).size(), size_t(kChunk));
        if (chunks.size() == 2) {
            EXPECT_EQ(decodeStream(chunks[1][0]), std::vector<qint16>({ ch[0].back() }));
        }
    }
}

TEST_F(EcgCompression, HeaderCarriesTheCodecAndChannelsStayInOrder)
{
    const Channels ch = ecgcodectest::simulatedChannels(20000);
    expectRoundTrip(ch);
    const QByteArray file = readAll(packed());
    EXPECT_EQ(file.left(6), QByteArray("VTECGZ"));
    const QJsonObject root = headerJson(file);
    const QJsonObject codec = root.value("codec").toObject();
    EXPECT_EQ(codec.value("name").toString(), "diff+ppmd");
    EXPECT_EQ(codec.value("ppmOrder").toInt(), 2);
    EXPECT_EQ(codec.value("ppmMemory").toInt(), 16);
    EXPECT_EQ(codec.value("channelCount").toInt(), 3);
    EXPECT_EQ(codec.value("sampleFormat").toString(), "short");
    EXPECT_EQ(codec.value("sampleChunkSize").toInt(), 2097152);
    EXPECT_EQ(root.value("ecg").toObject().value("channels").toArray().size(), 3);
    EXPECT_EQ(root.value("patient").toObject().value("lastName").toString(), "Muñoz");
    // Each stream holds its own channel, whichever thread finished first.
    const auto chunks = chunksOf(file, 3);
    ASSERT_EQ(chunks.size(), 1u);
    for (int c = 0; c < 3; ++c)
        EXPECT_EQ(decodeStream(chunks[0][size_t(c)]), ch[size_t(c)]) << "channel " << c;
}

TEST_F(EcgCompression, ReferenceRecording)
{
    HOLTER_REQUIRE_SHARED_DATA(data);
    const QString record = data + "/mitdb/101";
    if (!QFile::exists(record + ".hea"))
        GTEST_SKIP() << "record mitdb/101 not found in " << data.toStdString() << "; skipping";
    expectRoundTrip(ecgcodectest::wfdbChannels(record));
}

TEST_F(EcgCompression, CutFileKeepsTheWholeChunksBeforeTheCut)
{
    Channels ch(1);
    for (qint64 i = 0; i < kChunk + 5000; ++i)
        ch[0].push_back(qint16((i * 37) % 1000 - 500));
    expectRoundTrip(ch);
    const QByteArray file = readAll(packed());
    const QByteArray original = readAll(source());
    const int firstEnd = 4096 + 4 + int(qFromLittleEndian<quint32>(file.constData() + 4096));
    const QByteArray oneChunk = original.left(4096 + int(kChunk) * 2);
    const QByteArray headerOnly = original.left(4096);
    const struct
    {
        int cut;
        const QByteArray& expected;
    } cases[] = {
        { 4096, headerOnly },
        { 4098, headerOnly }, // inside the first length
        { 4096 + 100, headerOnly },
        { firstEnd - 1, headerOnly },
        { firstEnd, oneChunk },
        { firstEnd + 3, oneChunk },
        { firstEnd + 10, oneChunk },
        { file.size() - 1, oneChunk },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.cut);
        writeAll(root.file("cut.vtecgz"), file.left(c.cut));
        ASSERT_TRUE(decompressEcgFile(root.file("cut.vtecgz"), restored(), nullptr));
        EXPECT_TRUE(readAll(restored()) == c.expected);
    }
    // Cut inside the header: nothing to go on.
    writeAll(root.file("cut.vtecgz"), file.left(200));
    EXPECT_FALSE(decompressEcgFile(root.file("cut.vtecgz"), restored(), nullptr));
}

TEST_F(EcgCompression, CorruptStreamsFailCleanly)
{
    const Channels ch = ecgcodectest::simulatedChannels(60000);
    expectRoundTrip(ch);
    const QByteArray file = readAll(packed());
    const qint64 originalSize = readAll(source()).size();
    std::mt19937 rng(99);
    int failures = 0;
    for (int round = 0; round < 40; ++round) {
        QByteArray bad = file;
        const int at = 4096 + 4 + int(rng() % quint32(bad.size() - 4100));
        bad[at] = char(bad[at] ^ char(1 + rng() % 255));
        writeAll(root.file("bad.vtecgz"), bad);
        const bool ok = decompressEcgFile(root.file("bad.vtecgz"), restored(), nullptr);
        failures += !ok;
        // Whatever comes out is a header and whole frames, never more than a chunk allows.
        const qint64 size = QFileInfo(restored()).size();
        EXPECT_EQ((size - 4096) % 6, 0);
        EXPECT_LE(size, 4096 + 3 * 2 * kChunk);
        if (ok) {
            EXPECT_NE(size, originalSize) << "a changed byte went unnoticed at " << at;
        }
    }
    EXPECT_GT(failures, 30);

    // A length that no file could hold reads as a cut.
    QByteArray huge = file;
    huge.replace(4096, 4, QByteArray("\xf0\xff\xff\xff", 4)); // 0xfffffff0 bytes
    writeAll(root.file("bad.vtecgz"), huge);
    EXPECT_TRUE(decompressEcgFile(root.file("bad.vtecgz"), restored(), nullptr));
    EXPECT_EQ(QFileInfo(restored()).size(), 4096);
}

TEST_F(EcgCompression, RejectsBadHeaders)
{
    expectRoundTrip(ecgcodectest::noiseChannels(2, 100, 1));
    const QByteArray file = readAll(packed());
    const QJsonObject root0 = headerJson(file);
    const auto withCodec = [&](const char* key, const QJsonValue& value) {
        QJsonObject r = root0, codec = r.value("codec").toObject();
        if (value.isUndefined())
            codec.remove(key);
        else
            codec.insert(key, value);
        r.insert("codec", codec);
        QByteArray h = "VTECGZ" + QJsonDocument(r).toJson(QJsonDocument::Compact);
        h.append(QByteArray(4096 - h.size(), '\0'));
        return h + file.mid(4096);
    };
    QJsonObject noCodec = root0;
    noCodec.remove("codec");
    const QByteArray cases[] = {
        "VTECG1" + file.mid(6),
        QByteArray(),
        "VTECGZ" + QJsonDocument(noCodec).toJson(QJsonDocument::Compact) + QByteArray(4096, '\0'),
        withCodec("name", "lzma"),
        withCodec("name", QJsonValue::Undefined),
        withCodec("sampleFormat", "float"),
        withCodec("ppmOrder", 0),
        withCodec("ppmOrder", 99),
        withCodec("ppmMemory", 0),
        withCodec("ppmMemory", 100000),
        withCodec("channelCount", 0),
        withCodec("channelCount", 9),
        withCodec("channelCount", 3), // the "ecg" object names two
        withCodec("sampleChunkSize", 0),
    };
    for (const QByteArray& bad : cases) {
        writeAll(root.file("bad.vtecgz"), bad);
        EXPECT_FALSE(decompressEcgFile(root.file("bad.vtecgz"), restored(), nullptr))
            << bad.left(200).toStdString();
    }
}

TEST_F(EcgCompression, RejectsBadSources)
{
    EXPECT_FALSE(compressEcgFile(root.file("missing.vtecg"), packed(), nullptr));
    EXPECT_FALSE(decompressEcgFile(root.file("missing.vtecgz"), restored(), nullptr));
    writeAll(root.file("junk.vtecg"), QByteArray(9000, 'x'));
    EXPECT_FALSE(compressEcgFile(root.file("junk.vtecg"), packed(), nullptr));
    ecgcodectest::writeEcgFile(source(), ecgcodectest::noiseChannels(3, 100, 1));
    EXPECT_FALSE(compressEcgFile(source(), root.file("no/such/dir/a.vtecgz"), nullptr));
    // Only 16-bit samples are coded.
    QByteArray other = readAll(source());
    other.replace("\"short\"", "\"float\"");
    writeAll(root.file("float.vtecg"), other);
    EXPECT_FALSE(compressEcgFile(root.file("float.vtecg"), packed(), nullptr));
}

TEST_F(EcgCompression, FailingWritesReturnFalse)
{
    const Channels ch = ecgcodectest::simulatedChannels(100000);
    expectRoundTrip(ch);
    const qint64 packedSize = readAll(packed()).size();
    const qint64 restoredSize = readAll(restored()).size();
    for (qint64 budget : { qint64(0), qint64(100), packedSize / 2, packedSize - 1 }) {
        testsupport::FailingIo io(budget);
        EXPECT_FALSE(compressEcgFile(source(), root.file("x.vtecgz"), nullptr, nullptr, io))
            << budget;
    }
    for (qint64 budget : { qint64(0), restoredSize / 2, restoredSize - 1 }) {
        testsupport::FailingIo io(budget);
        EXPECT_FALSE(decompressEcgFile(packed(), root.file("x.vtecg"), nullptr, nullptr, io))
            << budget;
    }
    testsupport::FailingIo enough(packedSize);
    EXPECT_TRUE(compressEcgFile(source(), root.file("x.vtecgz"), nullptr, nullptr, enough));
}

TEST_F(EcgCompression, ProgressAndCancel)
{
    Channels ch(1);
    for (qint64 i = 0; i < kChunk + 10; ++i)
        ch[0].push_back(qint16(i % 300));
    ecgcodectest::writeEcgFile(source(), ch);
    const qint64 total = (kChunk + 10) * 2;

    Recorded sink;
    ASSERT_TRUE(compressEcgFile(source(), packed(), &sink));
    ASSERT_GE(sink.reports.size(), 3u);
    for (size_t i = 1; i < sink.reports.size(); ++i)
        EXPECT_GE(sink.reports[i].first, sink.reports[i - 1].first);
    EXPECT_EQ(sink.reports.front(), std::make_pair(qint64(0), total));
    EXPECT_EQ(sink.reports.back(), std::make_pair(total - 1, total));

    Recorded back;
    ASSERT_TRUE(decompressEcgFile(packed(), restored(), &back));
    const qint64 packedTotal = readAll(packed()).size();
    EXPECT_EQ(back.reports.back(), std::make_pair(packedTotal - 1, packedTotal));

    // A cancel seen at the next chunk boundary stops both directions.
    for (bool compressing : { true, false }) {
        CancelFlag cancel(false);
        Recorded stopper;
        stopper.onReport = [&cancel] { cancel = true; };
        const bool ok = compressing
            ? compressEcgFile(source(), root.file("c.vtecgz"), &stopper, &cancel)
            : decompressEcgFile(packed(), root.file("c.vtecg"), &stopper, &cancel);
        EXPECT_FALSE(ok);
        EXPECT_EQ(stopper.reports.size(), 1u);
    }
}

// The older body: per round, one PPMd stream per channel of raw little-endian samples, with
// no lengths, the streams back to back.
TEST_F(EcgCompression, ReadsTheLegacyBody)
{
    const Channels ch = ecgcodectest::noiseChannels(2, 70000, 21); // streams over 64 KiB
    const int perRound = 50000;
    ecgcodectest::writeEcgFile(source(), ch);
    QJsonObject root0 = headerJson(readAll(source()));
    root0.insert("codec",
        QJsonObject { { "name", "ppmd" }, { "ppmOrder", 4 }, { "ppmMemory", 8 },
            { "channelCount", 2 }, { "sampleFormat", "short" }, { "sampleChunkSize", perRound } });
    QByteArray file = "VTECGZ" + QJsonDocument(root0).toJson(QJsonDocument::Compact);
    file.append(QByteArray(4096 - file.size(), '\0'));
    std::vector<int> roundEnds;
    for (size_t start = 0; start < ch[0].size(); start += perRound) {
        for (const auto& channel : ch) {
            std::vector<std::uint8_t> raw, out;
            for (size_t i = start; i < std::min(channel.size(), start + perRound); ++i) {
                raw.push_back(std::uint8_t(channel[i] & 0xff));
                raw.push_back(std::uint8_t(quint16(channel[i]) >> 8));
            }
            PpmdModel model;
            ASSERT_TRUE(ppmdbuffer::encode(model, raw.data(), raw.size(), 4, 8u << 20, out));
            file.append(reinterpret_cast<const char*>(out.data()), int(out.size()));
        }
        roundEnds.push_back(file.size());
    }
    writeAll(packed(), file);
    ASSERT_TRUE(decompressEcgFile(packed(), restored(), nullptr));
    EXPECT_TRUE(readAll(restored()) == readAll(source()));

    // Cut inside the second round: the first round stands.
    writeAll(packed(), file.left(roundEnds[0] + 1000));
    ASSERT_TRUE(decompressEcgFile(packed(), restored(), nullptr));
    EXPECT_TRUE(readAll(restored()) == readAll(source()).left(4096 + perRound * 4));
}

} // namespace
