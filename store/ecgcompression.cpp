// TEMPORARY STAND-IN for the compressed-ECG codec: it stores the samples uncompressed behind a
// vtecgz header so that archives can be built and tested; the real codec replaces this file.
#include "store/ecgcompression.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

constexpr int kHeaderSize = 4096;
constexpr qint64 kPiece = 1 << 20; // bytes copied between progress reports
const char kEcgMagic[] = "VTECG1";
const char kCompressedMagic[] = "VTECGZ";
constexpr int kMagicSize = 6;
const char kCodecName[] = "stand-in";

// The JSON of a 4096-byte header behind `magic`, or an empty object.
QJsonObject readHeader(QFile& file, const char* magic)
{
    const QByteArray header = file.read(kHeaderSize);
    if (header.size() != kHeaderSize || !header.startsWith(QByteArray(magic, kMagicSize)))
        return QJsonObject();
    QByteArray text = header.mid(kMagicSize);
    const int zero = text.indexOf('\0');
    if (zero >= 0)
        text.truncate(zero);
    return QJsonDocument::fromJson(text).object();
}

bool writeHeader(QFile& file, const char* magic, const QJsonObject& root)
{
    QByteArray bytes
        = QByteArray(magic, kMagicSize) + QJsonDocument(root).toJson(QJsonDocument::Compact);
    if (bytes.size() > kHeaderSize)
        return false;
    bytes.append(QByteArray(kHeaderSize - bytes.size(), '\0'));
    return file.write(bytes) == bytes.size();
}

bool copySamples(QFile& from, QFile& to, qint64 bytes, ProgressSink* sink, const CancelFlag* cancel)
{
    const qint64 total = from.size();
    for (qint64 done = 0; done < bytes;) {
        if (cancel && cancel->load())
            return false;
        if (sink)
            sink->progress(from.pos(), total);
        const QByteArray piece = from.read(std::min(kPiece, bytes - done));
        if (piece.isEmpty() || to.write(piece) != piece.size())
            return false;
        done += piece.size();
    }
    if (sink)
        sink->progress(total - 1, total);
    return true;
}

} // namespace

bool compressEcgFile(const QString& sourcePath, const QString& targetPath, ProgressSink* sink,
    const CancelFlag* cancel)
{
    QFile source(sourcePath);
    if (!source.open(QIODevice::ReadOnly))
        return false;
    QJsonObject root = readHeader(source, kEcgMagic);
    const QJsonObject ecg = root.value("ecg").toObject();
    const int channels = ecg.value("channels").toArray().size();
    if (channels < 1 || ecg.value("sampleFormat").toString() != "short")
        return false;
    const qint64 dataBytes = source.size() - kHeaderSize;
    const qint64 frameBytes = 2 * channels;
    QJsonObject codec;
    codec["name"] = kCodecName;
    codec["channelCount"] = channels;
    codec["sampleFormat"] = "short";
    codec["sampleCount"] = double(dataBytes / frameBytes);
    root["codec"] = codec;
    QFile target(targetPath);
    return target.open(QIODevice::WriteOnly | QIODevice::Truncate)
        && writeHeader(target, kCompressedMagic, root)
        && copySamples(source, target, dataBytes / frameBytes * frameBytes, sink, cancel);
}

bool decompressEcgFile(const QString& sourcePath, const QString& targetPath, ProgressSink* sink,
    const CancelFlag* cancel)
{
    QFile source(sourcePath);
    if (!source.open(QIODevice::ReadOnly))
        return false;
    QJsonObject root = readHeader(source, kCompressedMagic);
    const QJsonObject codec = root.value("codec").toObject();
    const int channels = codec.value("channelCount").toInt();
    const qint64 samples = qint64(codec.value("sampleCount").toDouble(-1));
    if (codec.value("name").toString() != kCodecName
        || codec.value("sampleFormat").toString() != "short" || channels < 1 || samples < 0)
        return false;
    // The sample count in the header must match what follows it exactly.
    const qint64 dataBytes = samples * 2 * channels;
    if (source.size() - kHeaderSize != dataBytes)
        return false;
    root.remove("codec");
    QFile target(targetPath);
    return target.open(QIODevice::WriteOnly | QIODevice::Truncate)
        && writeHeader(target, kEcgMagic, root)
        && copySamples(source, target, dataBytes, sink, cancel);
}
