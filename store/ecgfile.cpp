#include "store/ecgfile.h"

#include "store/storeio.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

namespace {

const char kMagic[] = "VTECG1";
constexpr int kMagicSize = 6;
// Interleaving buffer for appends, in samples; keeps each write call reasonably large.
constexpr qint64 kAppendChunk = 32768;

std::FILE* openFile(const QString& path, const char* mode)
{
    return std::fopen(QFile::encodeName(path).constData(), mode);
}

// Doubles keep their integer part and then the low 16 bits, as a 16-bit store would.
qint16 truncateToShort(double v)
{
    if (!std::isfinite(v))
        return 0;
    const double t = std::trunc(std::clamp(v, -2147483648.0, 2147483647.0));
    return qint16(quint16(quint32(qint32(t)) & 0xffffu));
}

} // namespace

EcgFile::EcgFile(
    const QString& path, int channels, int samplingRate, int headerSize, bool create, StoreIo* io)
    : SignalSource(channels, samplingRate, kBlockSize)
    , m_path(path)
    , m_headerSize(std::max(headerSize, 0))
    , m_writable(create)
    , m_io(io)
{
    if (create) {
        m_file = openFile(path, "wb+");
        if (!m_file)
            throw StoreError("Cannot create file", m_path);
        const std::vector<char> zeros(size_t(m_headerSize), 0);
        if (StoreIo::orStandard(m_io).write(m_file, zeros.data(), zeros.size()) != zeros.size()) {
            std::fclose(m_file);
            m_file = nullptr;
            throw StoreError("Write error in file", m_path);
        }
        setSampleCount(0);
        setBlockCount(0);
    } else {
        m_file = openFile(path, "rb+");
        if (!m_file)
            throw StoreError("Cannot open file", m_path);
        qint64 size = 0;
        if (fseeko(m_file, 0, SEEK_END) == 0)
            size = ftello(m_file);
        const qint64 frameBytes = qint64(channelCount()) * 2;
        // A broken trailing frame (an interrupted write) is left out by the division.
        const qint64 samples
            = frameBytes > 0 ? std::max<qint64>(0, (size - m_headerSize) / frameBytes) : 0;
        setSampleCount(samples);
        setBlockCount(int((samples + kBlockSize - 1) / kBlockSize));
    }
    setFullScale(128);
    setResolution(16);
    setGainRange(-1.0, 1.0);
    m_tail.assign(size_t(channelCount()), std::vector<qint16>(kTailWindow));
    m_tailStart = 0;
    m_tailLength = 0;
}

EcgFile::~EcgFile()
{
    // The cache must go while this class's freeBlock is still the one called.
    releaseAllBlocks();
    if (m_file)
        std::fclose(m_file);
}

std::unique_ptr<EcgFile> EcgFile::open(const QString& path, StoreIo* io)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    const QByteArray magic = file.read(kMagicSize);
    if (magic.size() != kMagicSize || magic != QByteArray(kMagic, kMagicSize))
        return nullptr;
    QByteArray text = file.read(kHeaderSize);
    file.close();
    const int zero = text.indexOf('\0');
    if (zero >= 0)
        text.truncate(zero);

    const QJsonDocument doc = QJsonDocument::fromJson(text);
    if (doc.isNull() || !doc.isObject())
        return nullptr;
    const QJsonObject root = doc.object();
    if (root.isEmpty())
        return nullptr;
    const QJsonObject ecg = root.value("ecg").toObject();
    if (ecg.isEmpty())
        return nullptr;

    const int resolution = ecg.value("resolution").toInt();
    const double gainMin = ecg.value("gainMin").toDouble();
    const double gainMax = ecg.value("gainMax").toDouble();
    const int samplingRate = ecg.value("samplingRate").toInt();
    const QString format = ecg.value("sampleFormat").toString();
    const QJsonArray names = ecg.value("channels").toArray();
    if (resolution <= 0 || samplingRate <= 0 || names.isEmpty() || format.isEmpty())
        return nullptr;
    // More names than a source can carry would misread the frame width.
    if (names.size() > kMaxChannels)
        return nullptr;

    std::unique_ptr<EcgFile> ecgFile;
    try {
        ecgFile = std::make_unique<EcgFile>(
            path, int(names.size()), samplingRate, kHeaderSize, false, io);
    } catch (const StoreError&) {
        return nullptr;
    }
    ecgFile->setGainRange(gainMin, gainMax);
    ecgFile->setResolution(resolution);
    for (int c = 0; c < names.size(); ++c)
        ecgFile->channel(c)->setName(names.at(c).toString().toUtf8());
    return ecgFile;
}

QJsonObject EcgFile::ecgHeaderObject() const
{
    QJsonArray names;
    for (int c = 0; c < channelCount(); ++c)
        names.append(QString::fromUtf8(channel(c)->name()));
    QJsonObject ecg;
    ecg.insert("sampleFormat", "short");
    ecg.insert("samplingRate", samplingRate());
    ecg.insert("resolution", resolution());
    ecg.insert("gainMin", gainMin());
    ecg.insert("gainMax", gainMax());
    ecg.insert("channels", names);
    return ecg;
}

void EcgFile::writeHeader(const QJsonObject& study, const QJsonObject& patient)
{
    QJsonObject root;
    root.insert("study", study);
    root.insert("patient", patient);
    root.insert("ecg", ecgHeaderObject());
    QByteArray text = QJsonDocument(root).toJson(QJsonDocument::Compact);
    text.prepend(kMagic, kMagicSize);
    // Cut to the header and pad with zeros; an over-long header won't parse, by design.
    text.truncate(m_headerSize);
    text.append(QByteArray(m_headerSize - text.size(), '\0'));
    if (fseeko(m_file, 0, SEEK_SET) != 0)
        throw StoreError("Write error in file", m_path);
    writeChecked(text.constData(), size_t(text.size()));
    std::fflush(m_file);
}

qint16 EcgFile::sampleAt(int channel, qint64 index)
{
    if (channel < 0 || channel >= channelCount() || index < 0 || index >= sampleCount())
        return 0;
    if (index < qint64(blockCount()) * blockSize())
        return SignalSource::sampleAt(channel, index);

    // The tail of a file being written: served from a window of whole frames.
    if (index >= m_tailStart && index < m_tailStart + m_tailLength)
        return m_tail[size_t(channel)][size_t(index - m_tailStart)];

    const qint64 total = sampleCount();
    qint64 start = std::max<qint64>(0, index - kTailWindow / 2);
    if (index + kTailWindow / 2 > total)
        start = std::max<qint64>(0, total - kTailWindow);
    const qint64 wanted = std::min<qint64>(kTailWindow, total - start);
    const int n = channelCount();
    m_tailStart = start;
    m_tailLength = 0;

    std::vector<qint16> frames(size_t(wanted * n));
    if (fseeko(m_file, m_headerSize + start * n * 2, SEEK_SET) != 0)
        return 0;
    const size_t got = std::fread(frames.data(), size_t(n) * 2, size_t(wanted), m_file);
    for (int c = 0; c < n; ++c) {
        qint16* dst = m_tail[size_t(c)].data();
        for (size_t i = 0; i < got; ++i)
            dst[i] = qFromLittleEndian(frames[i * size_t(n) + size_t(c)]);
    }
    m_tailLength = qint64(got);
    if (index - m_tailStart < m_tailLength)
        return m_tail[size_t(channel)][size_t(index - m_tailStart)];
    return 0;
}

qint16* EcgFile::loadBlock(int channel, int block)
{
    if (block < 0 || block >= blockCount() || channel < 0 || channel >= channelCount())
        return nullptr;
    const int n = channelCount();
    const qint64 offset = m_headerSize + qint64(n) * block * kBlockSize * 2;
    if (fseeko(m_file, offset, SEEK_SET) != 0) {
        noteReadError(StoreError("Read error in file", m_path).what());
        return nullptr;
    }
    // One read of all channels' frames; the last, partial block reads short and is zero-tailed.
    // Only whole frames count: the bytes of a torn last frame must not leak into the tail.
    std::array<qint16, kMaxChannels * kBlockSize> frames;
    const size_t want = size_t(n) * kBlockSize;
    const qint64 framesHere
        = std::clamp<qint64>(sampleCount() - qint64(block) * kBlockSize, 0, kBlockSize);
    const size_t expected = size_t(framesHere) * size_t(n);
    const size_t got = std::min(std::fread(frames.data(), 2, want, m_file), expected);
    // Samples counted when the file was opened and now missing: cut short or unreadable.
    if (got < expected)
        noteReadError(StoreError("Read error in file", m_path).what());
    std::fill(frames.begin() + got, frames.begin() + want, qint16(0));

    qint16* out = new qint16[kBlockSize];
    const qint16* src = frames.data() + channel;
    for (int i = 0; i < kBlockSize; ++i)
        out[i] = qFromLittleEndian(src[size_t(i) * size_t(n)]);
    return out;
}

void EcgFile::writeChecked(const void* data, size_t size)
{
    if (StoreIo::orStandard(m_io).write(m_file, data, size) != size)
        throw StoreError("Write error in file", m_path);
}

void EcgFile::appendRaw(const char* bytes, qint64 size)
{
    if (!m_writable || !bytes || size <= 0)
        return;
    fseeko(m_file, 0, SEEK_END);
    try {
        writeChecked(bytes, size_t(size));
    } catch (...) {
        afterAppend();
        throw;
    }
    afterAppend();
}

template <typename Sample, typename Convert>
void EcgFile::appendInterleaved(const Sample* const* channels, qint64 count, Convert convert)
{
    if (!m_writable || !channels || count <= 0)
        return;
    const int n = channelCount();
    fseeko(m_file, 0, SEEK_END);
    std::vector<qint16> buffer(size_t(std::min(count, kAppendChunk) * n));
    try {
        for (qint64 done = 0; done < count;) {
            const qint64 len = std::min(kAppendChunk, count - done);
            for (qint64 i = 0; i < len; ++i)
                for (int c = 0; c < n; ++c)
                    buffer[size_t(i * n + c)] = qToLittleEndian(convert(channels[c][done + i]));
            writeChecked(buffer.data(), size_t(len * n) * 2);
            done += len;
        }
    } catch (...) {
        afterAppend(); // what did reach the file stays readable
        throw;
    }
    afterAppend();
}

void EcgFile::appendChannels(const qint16* const* channels, qint64 count)
{
    appendInterleaved(channels, count, [](qint16 v) { return v; });
}

void EcgFile::appendChannelsF64(const double* const* channels, qint64 count)
{
    appendInterleaved(channels, count, [](double v) { return truncateToShort(v); });
}

void EcgFile::afterAppend()
{
    const qint64 end = ftello(m_file);
    if (end < 0)
        return; // position unknown: keep the old count rather than guess
    const qint64 frameBytes = qint64(channelCount()) * 2;
    const qint64 samples
        = frameBytes > 0 ? std::max<qint64>(0, (end - m_headerSize) / frameBytes) : 0;
    // Appends only add frames past the old end: whole blocks never change, and the tail window
    // keeps only whole frames, so neither goes stale. A block at or past the new whole-block
    // count can only be cached if the file was opened (rounded-up count, zero-tailed), and such
    // a file takes no appends; still, drop unused blocks if the count ever falls, so a reader
    // never sees a zero tail where samples now stand.
    const int blocks = int(samples / blockSize());
    if (blocks < blockCount())
        dropCachedBlocks();
    if (m_tailStart + m_tailLength > samples)
        m_tailLength = 0;
    setSampleCount(samples);
    setBlockCount(blocks);
    notifyChanged();
}
