#include "store/ecgcompression.h"

#include "store/differencestream.h"
#include "store/ecgfile.h"
#include "store/ppmdbuffer.h"
#include "store/ppmdmodel.h"
#include "store/storeio.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtEndian>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <thread>
#include <vector>

using namespace ecgcompression;

namespace {

const char kEcgMagic[] = "VTECG1";
const char kCompressedMagic[] = "VTECGZ";
constexpr int kMagicSize = 6;
const char kCodecName[] = "diff+ppmd";
const char kLegacyCodecName[] = "ppmd";
constexpr int kLegacyBufferSize = 65536; // bytes, shared by all streams of a legacy body

struct FileCloser
{
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

FilePtr openFile(const QString& path, const char* mode)
{
    return FilePtr(std::fopen(QFile::encodeName(path).constData(), mode));
}

qint64 fileSize(std::FILE* f)
{
    const qint64 here = ftello(f);
    if (here < 0 || fseeko(f, 0, SEEK_END) != 0)
        return -1;
    const qint64 size = ftello(f);
    return fseeko(f, here, SEEK_SET) == 0 ? size : -1;
}

// The header JSON after `magic`, cut at its first zero byte; empty if absent or not JSON.
QJsonObject readHeader(const QString& path, const char* magic)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    if (file.read(kMagicSize) != QByteArray(magic, kMagicSize))
        return {};
    QByteArray text = file.read(kHeaderSize - kMagicSize);
    const int zero = text.indexOf('\0');
    if (zero >= 0)
        text.truncate(zero);
    const QJsonDocument doc = QJsonDocument::fromJson(text);
    return doc.isObject() ? doc.object() : QJsonObject();
}

// Magic and compact JSON padded with zero bytes to the header size; empty if it doesn't fit.
QByteArray headerBytes(const char* magic, const QJsonObject& root)
{
    QByteArray bytes = QJsonDocument(root).toJson(QJsonDocument::Compact);
    bytes.prepend(magic, kMagicSize);
    if (bytes.size() > kHeaderSize)
        return {};
    bytes.append(QByteArray(kHeaderSize - bytes.size(), '\0'));
    return bytes;
}

bool writeAll(StoreIo& io, std::FILE* f, const void* data, size_t size)
{
    return size == 0 || io.write(f, data, size) == size;
}

// Positions stay below the total until the very end, so that a progress dialog that closes
// at its maximum stays open while the last chunk is coded.
void report(ProgressSink* sink, qint64 position, qint64 total)
{
    if (sink)
        sink->progress(std::max<qint64>(0, std::min(position, total - 1)), total);
}

bool cancelled(const CancelFlag* cancel)
{
    return cancel && cancel->load();
}

// Runs job(channel) on one thread per channel and joins them in channel order. A thread that
// can't be started runs its job here instead.
template <typename Job> void runPerChannel(int channels, Job job)
{
    std::vector<std::thread> threads;
    threads.reserve(size_t(channels));
    for (int c = 0; c < channels; ++c) {
        try {
            threads.emplace_back(job, c);
        } catch (const std::exception&) {
            job(c);
        }
    }
    for (std::thread& t : threads)
        t.join();
}

struct Channel
{
    std::vector<qint16> samples;
    std::vector<std::uint8_t> differences;
    std::vector<std::uint8_t> packed;
    bool ok = false;
};

// Interleaves the channels' samples (all of the same count) into little-endian frames.
bool writeFrames(
    StoreIo& io, std::FILE* out, const std::vector<Channel>& channels, std::vector<qint16>& frames)
{
    const size_t n = channels.size();
    const size_t count = channels[0].samples.size();
    frames.resize(count * n);
    for (size_t c = 0; c < n; ++c) {
        const qint16* src = channels[c].samples.data();
        for (size_t i = 0; i < count; ++i)
            frames[i * n + c] = qToLittleEndian(src[i]);
    }
    return writeAll(io, out, frames.data(), frames.size() * 2);
}

bool sameCounts(const std::vector<Channel>& channels)
{
    for (const Channel& ch : channels)
        if (ch.samples.size() != channels[0].samples.size())
            return false;
    return true;
}

// Reads the length-prefixed streams of one chunk; false at the end of the file or a cut.
bool readChunk(std::FILE* in, qint64 fileBytes, std::vector<Channel>& channels)
{
    for (Channel& ch : channels) {
        std::uint8_t prefix[4];
        if (std::fread(prefix, 1, 4, in) != 4)
            return false;
        const quint32 length = qFromLittleEndian<quint32>(prefix);
        const qint64 here = ftello(in);
        if (here < 0 || qint64(length) > fileBytes - here)
            return false; // cut inside this chunk (or a length no file could hold)
        ch.packed.resize(length);
        if (std::fread(ch.packed.data(), 1, length, in) != length)
            return false;
    }
    return true;
}

// The legacy body's streams follow each other without lengths: one buffered reader serves
// them all, and a stream's decoder takes exactly its own bytes.
struct SharedReader
{
    std::FILE* file;
    std::vector<std::uint8_t> buffer = std::vector<std::uint8_t>(kLegacyBufferSize);
    size_t pos = 0;
    size_t length = 0;
    bool exhausted = false;

    bool fill()
    {
        if (pos < length)
            return true;
        length = std::fread(buffer.data(), 1, buffer.size(), file);
        pos = 0;
        return length > 0;
    }
};

struct LegacyStream
{
    SharedReader* reader;
    std::vector<std::uint8_t>* out;
    size_t room;
};

int legacyRead(void* user)
{
    auto* s = static_cast<LegacyStream*>(user);
    if (!s->reader->fill()) {
        s->reader->exhausted = true;
        return -1;
    }
    return s->reader->buffer[s->reader->pos++];
}

bool legacyWrite(void* user, quint8 byte)
{
    auto* s = static_cast<LegacyStream*>(user);
    if (s->room == 0)
        return false;
    --s->room;
    try {
        s->out->push_back(byte);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

bool compress(const QString& sourcePath, const QString& targetPath, ProgressSink* sink,
    const CancelFlag* cancel, StoreIo& io)
{
    QJsonObject root = readHeader(sourcePath, kEcgMagic);
    const QJsonObject ecg = root.value("ecg").toObject();
    const QJsonArray names = ecg.value("channels").toArray();
    const QString format = ecg.value("sampleFormat").toString();
    const int channelCount = names.size();
    if (root.isEmpty() || ecg.isEmpty() || ecg.value("samplingRate").toInt() <= 0
        || ecg.value("resolution").toInt() <= 0 || channelCount == 0
        || channelCount > SignalSource::kMaxChannels || format != "short")
        return false;
    QJsonObject codec;
    codec.insert("name", kCodecName);
    codec.insert("ppmOrder", kPpmOrder);
    codec.insert("ppmMemory", kPpmMemoryMiB);
    codec.insert("channelCount", channelCount);
    codec.insert("sampleFormat", format);
    codec.insert("sampleChunkSize", kSampleChunkSize);
    root.insert("codec", codec);
    const QByteArray header = headerBytes(kCompressedMagic, root);
    if (header.isEmpty())
        return false;

    FilePtr in = openFile(sourcePath, "rb");
    if (!in)
        return false;
    const qint64 total = std::max<qint64>(0, fileSize(in.get()) - kHeaderSize);
    if (fseeko(in.get(), kHeaderSize, SEEK_SET) != 0)
        return false;
    FilePtr out = openFile(targetPath, "w+b");
    if (!out || !writeAll(io, out.get(), header.constData(), size_t(header.size())))
        return false;

    const size_t n = size_t(channelCount);
    std::vector<Channel> channels(n);
    std::vector<qint16> frames(n * size_t(kSampleChunkSize));
    qint64 position = 0;
    for (;;) {
        if (cancelled(cancel))
            return false;
        report(sink, position, total);
        const size_t got = std::fread(frames.data(), n * 2, size_t(kSampleChunkSize), in.get());
        if (got == 0)
            break;
        position += qint64(got * n * 2);
        for (size_t c = 0; c < n; ++c) {
            channels[c].samples.resize(got);
            for (size_t i = 0; i < got; ++i)
                channels[c].samples[i] = qFromLittleEndian(frames[i * n + c]);
        }
        runPerChannel(channelCount, [&channels](int c) {
            Channel& ch = channels[size_t(c)];
            try {
                ch.differences.clear();
                differencestream::encode(ch.samples.data(), ch.samples.size(), ch.differences);
                ch.packed.clear();
                PpmdModel model;
                ch.ok = ppmdbuffer::encode(model, ch.differences.data(), ch.differences.size(),
                    kPpmOrder, quint32(kPpmMemoryMiB) << 20, ch.packed);
            } catch (const std::exception&) {
                ch.ok = false;
            }
        });
        for (const Channel& ch : channels) {
            std::uint8_t prefix[4];
            qToLittleEndian(quint32(ch.packed.size()), prefix);
            if (!ch.ok || !writeAll(io, out.get(), prefix, 4)
                || !writeAll(io, out.get(), ch.packed.data(), ch.packed.size()))
                return false;
        }
    }
    if (std::ferror(in.get()))
        return false;
    report(sink, total - 1, total);
    return std::fclose(out.release()) == 0;
}

bool decompress(const QString& sourcePath, const QString& targetPath, ProgressSink* sink,
    const CancelFlag* cancel, StoreIo& io)
{
    QJsonObject root = readHeader(sourcePath, kCompressedMagic);
    const QJsonObject codec = root.value("codec").toObject();
    if (root.isEmpty() || codec.isEmpty())
        return false;
    const QString name = codec.value("name").toString();
    const bool legacy = name == kLegacyCodecName;
    if ((!legacy && name != kCodecName) || codec.value("sampleFormat").toString() != "short")
        return false;
    const int order = codec.value("ppmOrder").toInt();
    const int memoryMiB = codec.value("ppmMemory").toInt();
    const int channelCount = codec.value("channelCount").toInt();
    const qint64 chunkSize = codec.value("sampleChunkSize").toInt();
    // Bounds that keep a damaged header from asking for absurd memory.
    if (order < PpmdModel::kMinOrder || order > PpmdModel::kMaxOrder || memoryMiB < 1
        || memoryMiB > 256 || channelCount < 1 || channelCount > SignalSource::kMaxChannels
        || chunkSize < 1 || chunkSize > 16 * kSampleChunkSize)
        return false;
    // The frames written must be as wide as the header that goes with them says.
    if (root.value("ecg").toObject().value("channels").toArray().size() != channelCount)
        return false;
    root.remove("codec");
    const QByteArray header = headerBytes(kEcgMagic, root);
    if (header.isEmpty())
        return false;

    FilePtr in = openFile(sourcePath, "rb");
    if (!in)
        return false;
    const qint64 total = fileSize(in.get());
    if (total < 0 || fseeko(in.get(), std::min<qint64>(total, kHeaderSize), SEEK_SET) != 0)
        return false;
    FilePtr out = openFile(targetPath, "w+b");
    if (!out || !writeAll(io, out.get(), header.constData(), size_t(header.size())))
        return false;

    const quint32 memoryBytes = quint32(memoryMiB) << 20;
    const size_t n = size_t(channelCount);
    std::vector<Channel> channels(n);
    std::vector<qint16> frames;
    if (!legacy) {
        const size_t maxSamples = size_t(chunkSize);
        const size_t maxBytes = 2 + (maxSamples - 1) * differencestream::kMaxBytesPerSample;
        for (;;) {
            if (cancelled(cancel))
                return false;
            report(sink, ftello(in.get()), total);
            if (!readChunk(in.get(), total, channels))
                break; // the end, or a cut: the chunks before it stand
            runPerChannel(channelCount, [&](int c) {
                Channel& ch = channels[size_t(c)];
                try {
                    ch.differences.clear();
                    PpmdModel model;
                    ch.ok = ppmdbuffer::decode(model, ch.packed.data(), ch.packed.size(), order,
                                memoryBytes, maxBytes, ch.differences)
                        && differencestream::decode(
                            ch.differences.data(), ch.differences.size(), ch.samples, maxSamples)
                        && !ch.samples.empty();
                } catch (const std::exception&) {
                    ch.ok = false;
                }
            });
            for (const Channel& ch : channels)
                if (!ch.ok)
                    return false;
            if (!sameCounts(channels) || !writeFrames(io, out.get(), channels, frames))
                return false;
        }
    } else {
        SharedReader reader { in.get() };
        PpmdModel model;
        if (!model.startSubAllocator(memoryBytes)) {
            std::fputs("StartSubAllocator failed\n", stdout);
            return false;
        }
        for (;;) {
            if (cancelled(cancel))
                return false;
            report(sink, ftello(in.get()) - qint64(reader.length - reader.pos), total);
            if (!reader.fill())
                break;
            bool cut = false;
            for (Channel& ch : channels) {
                ch.differences.clear();
                LegacyStream stream { &reader, &ch.differences, size_t(chunkSize) * 2 };
                if (!model.decode(legacyRead, legacyWrite, &stream, order)) {
                    if (!reader.exhausted)
                        return false;
                    cut = true;
                    break;
                }
                ch.samples.resize(ch.differences.size() / 2);
                for (size_t i = 0; i < ch.samples.size(); ++i)
                    ch.samples[i] = qFromLittleEndian<qint16>(ch.differences.data() + 2 * i);
            }
            if (cut)
                break;
            if (!sameCounts(channels) || !writeFrames(io, out.get(), channels, frames))
                return false;
        }
    }
    report(sink, total - 1, total);
    return std::fclose(out.release()) == 0;
}

} // namespace

bool compressEcgFile(const QString& sourcePath, const QString& targetPath, ProgressSink* sink,
    const CancelFlag* cancel)
{
    return compressEcgFile(sourcePath, targetPath, sink, cancel, StoreIo::standard());
}

bool compressEcgFile(const QString& sourcePath, const QString& targetPath, ProgressSink* sink,
    const CancelFlag* cancel, StoreIo& io)
{
    try {
        return compress(sourcePath, targetPath, sink, cancel, io);
    } catch (const std::exception&) {
        return false; // out of memory for the chunk buffers
    }
}

bool decompressEcgFile(const QString& sourcePath, const QString& targetPath, ProgressSink* sink,
    const CancelFlag* cancel)
{
    return decompressEcgFile(sourcePath, targetPath, sink, cancel, StoreIo::standard());
}

bool decompressEcgFile(const QString& sourcePath, const QString& targetPath, ProgressSink* sink,
    const CancelFlag* cancel, StoreIo& io)
{
    try {
        return decompress(sourcePath, targetPath, sink, cancel, io);
    } catch (const std::exception&) {
        return false;
    }
}
