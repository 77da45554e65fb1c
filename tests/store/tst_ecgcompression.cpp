#include "store/differencestream.h"
#include "store/ecgcompression.h"
#include "store/ppmdbuffer.h"
#include "store/ppmdmodel.h"
#include "tests/store/ecgcodecsupport.h"
#include "tests/support/testsupport.h"

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
constexpr int kHeader = 4096; // bytes before the first stream

QJsonObject headerJson(const QByteArray& file)
{
    const QByteArray text = file.mid(6, kHeader - 6);
    return QJsonDocument::fromJson(text.left(text.indexOf('\0'))).object();
}

QByteArray withHeader(const QJsonObject& root, const QByteArray& body)
{
    QByteArray h = "VTECGZ" + QJsonDocument(root).toJson(QJsonDocument::Compact);
    return h + QByteArray(kHeader - h.size(), '\0') + body;
}

// The length-prefixed streams of a compressed file in order: chunk by chunk, channel by channel.
std::vector<QByteArray> streamsOf(const QByteArray& file)
{
    std::vector<QByteArray> streams;
    for (int pos = kHeader; pos + 4 <= file.size();) {
        const int len = int(qFromLittleEndian<quint32>(file.constData() + pos));
        streams.push_back(file.mid(pos + 4, len));
        pos += 4 + len;
    }
    return streams;
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
    CancelFlag* cancel = nullptr; // set at the first report
    void progress(qint64 position, qint64 total) override
    {
        reports.emplace_back(position, total);
        if (cancel)
            *cancel = true;
    }
};

// A walk of one channel: small steps, so that the codec has something to model.
Channels walk(qint64 frames)
{
    Channels ch(1);
    std::mt19937 rng(3);
    qint16 v = 0;
    for (qint64 i = 0; i < frames; ++i)
        ch[0].push_back(v = qint16(v + int(rng() % 61) - 30));
    return ch;
}

class EcgCompression : public ::testing::Test
{
protected:
    QString source() const { return root.file("a.vtecg"); }
    QString packed() const { return root.file("a.vtecgz"); }
    QString restored() const { return root.file("b.vtecg"); }
    bool decompress(const QByteArray& file)
    {
        writeAll(root.file("in.vtecgz"), file);
        return decompressEcgFile(root.file("in.vtecgz"), restored(), nullptr);
    }

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

Channels steps()
{
    // Jumps at the edges of each escape, both ways, and the full-scale swing between extremes.
    std::vector<qint16> ch { 0 };
    for (int j : { 127, 128, -127, -128, 32767, 32768, -32767, -32768, 65535 }) {
        ch.push_back(j > 0 ? -32768 : 32767);
        ch.push_back(qint16(ch.back() + j));
        ch.push_back(ch.back());
    }
    ch.insert(ch.end(), { -32768, 32767, -32768 });
    return { ch, std::vector<qint16>(ch.rbegin(), ch.rend()) };
}

struct SignalCase
{
    const char* name;
    std::function<Channels()> make; // no channels: the recording is not here
};

class EcgRoundTrip : public EcgCompression, public ::testing::WithParamInterface<SignalCase>
{
};

TEST_P(EcgRoundTrip, RestoresTheFileExactly)
{
    const Channels channels = GetParam().make();
    if (channels.empty())
        GTEST_SKIP() << "reference recording mitdb/101 not found; skipping";
    expectRoundTrip(channels);
}

const SignalCase kSignals[] = {
    { "simulated_ten_minutes", [] { return ecgcodectest::simulatedChannels(300000); } },
    { "mitdb_101",
        [] {
            const QString record = testsupport::sharedDataDir() + "/mitdb/101";
            return QFile::exists(record + ".hea") ? ecgcodectest::wfdbChannels(record) : Channels();
        } },
    { "noise_four_channels", [] { return ecgcodectest::noiseChannels(4, 50000, 11); } },
    { "constant", [] { return Channels(3, std::vector<qint16>(100000, -1234)); } },
    { "full_scale_steps", steps },
    { "one_sample",
        [] {
            return Channels { { 32767 }, { -32768 }, { 0 } };
        } },
    { "no_samples", [] { return Channels(3); } },
};

INSTANTIATE_TEST_SUITE_P(Signals, EcgRoundTrip, ::testing::ValuesIn(kSignals),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(EcgCompression, ChunkBoundariesAndCuts)
{
    // Exactly one chunk, then one sample past it: the second chunk holds a 2-byte stream.
    for (qint64 frames : { kChunk, kChunk + 1 }) {
        SCOPED_TRACE(frames);
        const Channels ch = walk(frames);
        expectRoundTrip(ch);
        const auto streams = streamsOf(readAll(packed()));
        ASSERT_EQ(streams.size(), frames == kChunk ? 1u : 2u);
        EXPECT_EQ(decodeStream(streams[0]).size(), size_t(kChunk));
        if (streams.size() == 2) {
            EXPECT_EQ(decodeStream(streams[1]), std::vector<qint16>({ ch[0].back() }));
        }
    }
    // A cut file of two chunks keeps the whole chunks before the cut.
    const QByteArray file = readAll(packed()), original = readAll(source());
    const int firstEnd = kHeader + 4 + int(qFromLittleEndian<quint32>(file.constData() + kHeader));
    for (int cut : { kHeader, kHeader + 2, kHeader + 100, firstEnd - 1, firstEnd, firstEnd + 3,
             file.size() - 1 }) {
        SCOPED_TRACE(cut);
        ASSERT_TRUE(decompress(file.left(cut)));
        const int chunks = cut >= firstEnd ? 1 : 0;
        EXPECT_TRUE(readAll(restored()) == original.left(kHeader + chunks * int(kChunk) * 2));
    }
    EXPECT_FALSE(decompress(file.left(200))); // inside the header: nothing to go on
    // A length that no file could hold reads as a cut.
    EXPECT_TRUE(
        decompress(file.left(kHeader) + QByteArray("\xf0\xff\xff\xff", 4) + file.mid(kHeader + 4)));
    EXPECT_EQ(QFileInfo(restored()).size(), kHeader);
}

TEST_F(EcgCompression, HeaderCarriesTheCodecAndChannelsStayInOrder)
{
    const Channels ch = ecgcodectest::simulatedChannels(20000);
    expectRoundTrip(ch);
    const QByteArray file = readAll(packed());
    EXPECT_EQ(file.left(6), QByteArray("VTECGZ"));
    const QJsonObject root = headerJson(file);
    EXPECT_EQ(root.value("codec").toObject(),
        QJsonObject({ { "name", "diff+ppmd" }, { "ppmOrder", 2 }, { "ppmMemory", 16 },
            { "channelCount", 3 }, { "sampleFormat", "short" }, { "sampleChunkSize", 2097152 } }));
    EXPECT_EQ(root.value("ecg").toObject().value("channels").toArray().size(), 3);
    EXPECT_EQ(root.value("patient").toObject().value("lastName").toString(), "Muñoz");
    // Each stream holds its own channel, whichever thread finished first.
    const auto streams = streamsOf(file);
    ASSERT_EQ(streams.size(), 3u);
    for (int c = 0; c < 3; ++c)
        EXPECT_EQ(decodeStream(streams[size_t(c)]), ch[size_t(c)]) << "channel " << c;
}

TEST_F(EcgCompression, CorruptStreamsFailCleanly)
{
    expectRoundTrip(ecgcodectest::simulatedChannels(60000));
    const QByteArray file = readAll(packed());
    const qint64 originalSize = readAll(source()).size();
    std::mt19937 rng(99);
    int failures = 0;
    for (int round = 0; round < 40; ++round) {
        QByteArray bad = file;
        const int at = kHeader + 4 + int(rng() % quint32(bad.size() - kHeader - 4));
        bad[at] = char(bad[at] ^ char(1 + rng() % 255));
        const bool ok = decompress(bad);
        failures += !ok;
        // Whatever comes out is a header and whole frames, never more than a chunk allows.
        const qint64 size = QFileInfo(restored()).size();
        EXPECT_EQ((size - kHeader) % 6, 0);
        EXPECT_LE(size, kHeader + 3 * 2 * kChunk);
        if (ok) {
            EXPECT_NE(size, originalSize) << "a changed byte went unnoticed at " << at;
        }
    }
    EXPECT_GT(failures, 30);
}

TEST_F(EcgCompression, RefusesBadHeadersAndSources)
{
    expectRoundTrip(ecgcodectest::noiseChannels(2, 100, 1));
    const QByteArray file = readAll(packed());
    const QJsonObject root0 = headerJson(file);
    const auto withCodec = [&](const char* key, const QJsonValue& value) {
        QJsonObject r = root0, codec = r.value("codec").toObject();
        codec.remove(key);
        if (!value.isUndefined())
            codec.insert(key, value);
        r.insert("codec", codec);
        return withHeader(r, file.mid(kHeader));
    };
    QJsonObject noCodec = root0;
    noCodec.remove("codec");
    for (const QByteArray& bad : { "VTECG1" + file.mid(6), QByteArray(), withHeader(noCodec, {}),
             withCodec("name", "lzma"), withCodec("name", QJsonValue::Undefined),
             withCodec("sampleFormat", "float"), withCodec("ppmOrder", 0),
             withCodec("ppmOrder", 99), withCodec("ppmMemory", 0), withCodec("ppmMemory", 100000),
             withCodec("channelCount", 0), withCodec("channelCount", 9),
             withCodec("channelCount", 3), // the "ecg" object names two
             withCodec("sampleChunkSize", 0) })
        EXPECT_FALSE(decompress(bad)) << bad.left(200).toStdString();

    EXPECT_FALSE(compressEcgFile(root.file("missing.vtecg"), packed(), nullptr));
    EXPECT_FALSE(decompressEcgFile(root.file("missing.vtecgz"), restored(), nullptr));
    EXPECT_FALSE(compressEcgFile(source(), root.file("no/such/dir/a.vtecgz"), nullptr));
    writeAll(root.file("junk.vtecg"), QByteArray(9000, 'x'));
    EXPECT_FALSE(compressEcgFile(root.file("junk.vtecg"), packed(), nullptr));
    // Only 16-bit samples are coded.
    writeAll(root.file("float.vtecg"), readAll(source()).replace("\"short\"", "\"float\""));
    EXPECT_FALSE(compressEcgFile(root.file("float.vtecg"), packed(), nullptr));
}

TEST_F(EcgCompression, FailingWritesReturnFalse)
{
    expectRoundTrip(ecgcodectest::simulatedChannels(100000));
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
    ecgcodectest::writeEcgFile(source(), walk(kChunk + 10));
    const qint64 total = (kChunk + 10) * 2;
    Recorded sink;
    ASSERT_TRUE(compressEcgFile(source(), packed(), &sink));
    ASSERT_GE(sink.reports.size(), 3u);
    EXPECT_TRUE(std::is_sorted(sink.reports.begin(), sink.reports.end()));
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
        stopper.cancel = &cancel;
        EXPECT_FALSE(compressing
                ? compressEcgFile(source(), root.file("c.vtecgz"), &stopper, &cancel)
                : decompressEcgFile(packed(), root.file("c.vtecg"), &stopper, &cancel));
        EXPECT_EQ(stopper.reports.size(), 1u);
    }
}

// The older body: per round, one PPMd stream per channel of raw little-endian
// samples, with no lengths, the streams back to back.
TEST_F(EcgCompression, ReadsTheLegacyBody)
{
    const Channels ch = ecgcodectest::noiseChannels(2, 70000, 21); // streams over 64 KiB
    const int perRound = 50000;
    ecgcodectest::writeEcgFile(source(), ch);
    QJsonObject root0 = headerJson(readAll(source()));
    root0.insert("codec",
        QJsonObject { { "name", "ppmd" }, { "ppmOrder", 4 }, { "ppmMemory", 8 },
            { "channelCount", 2 }, { "sampleFormat", "short" }, { "sampleChunkSize", perRound } });
    QByteArray file = withHeader(root0, {});
    int firstRoundEnd = 0;
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
        firstRoundEnd = firstRoundEnd ? firstRoundEnd : file.size();
    }
    ASSERT_TRUE(decompress(file));
    EXPECT_TRUE(readAll(restored()) == readAll(source()));
    // Cut inside the second round: the first round stands.
    ASSERT_TRUE(decompress(file.left(firstRoundEnd + 1000)));
    EXPECT_TRUE(readAll(restored()) == readAll(source()).left(kHeader + perRound * 4));
}

} // namespace
