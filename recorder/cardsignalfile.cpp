#include "recorder/cardsignalfile.h"

#include "store/storeio.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/types.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

const char* const CardSignalFile::kFileName = "HECG.VTF";

namespace {

// `text` has one place, %1, for the file.
[[noreturn]] void fail(const char* text, const QString& path)
{
    throw StoreError(QCoreApplication::translate("CardSignalFile", text)
                         .arg(QDir::toNativeSeparators(path))
                         .toStdString());
}

bool hasMarker(const QByteArray& buffer, qint64 position)
{
    return (quint8(buffer[int(position)]) & 0xF0) == 0xC0;
}

} // namespace

QString CardSignalFile::dataFilePath(const QString& pathOrFolder)
{
    const QFileInfo info(pathOrFolder);
    if (!info.isDir())
        return pathOrFolder;
    const QDir dir(pathOrFolder);
    const QString exact = dir.filePath(QString::fromLatin1(kFileName));
    if (QFileInfo::exists(exact))
        return exact;
    const QStringList found = dir.entryList(
        QStringList() << QString::fromLatin1(kFileName), QDir::Files | QDir::Hidden);
    for (const QString& name : found)
        if (name.compare(QLatin1String(kFileName), Qt::CaseInsensitive) == 0)
            return dir.filePath(name);
    return exact;
}

qint64 CardSignalFile::findDataOffsetIn(const QByteArray& head)
{
    QByteArray buffer(kSearchBytes, '\0');
    std::memcpy(buffer.data(), head.constData(), size_t(std::min<int>(head.size(), kSearchBytes)));

    // Only even positions: the recorder writes whole words, so an odd preamble is corruption.
    // Searching downward from one block length makes the highest aligned chain win.
    for (qint64 p = kBlockBytes; p >= 2; p -= 2) {
        bool all = true;
        for (qint64 q = p; q < kSearchBytes; q += kBlockBytes) {
            if (!hasMarker(buffer, q)) {
                all = false;
                break;
            }
        }
        // The word at p closes a block, so the data starts right after one.
        if (all)
            return p >= kBlockBytes ? p - kDataBytes : p + 2;
    }
    return -1;
}

qint64 CardSignalFile::findDataOffset(const QString& pathOrFolder)
{
    QFile file(dataFilePath(pathOrFolder));
    if (pathOrFolder.isEmpty() || !file.open(QIODevice::ReadOnly))
        fail(QT_TRANSLATE_NOOP("CardSignalFile", "Cannot open file in memory card %1"),
            dataFilePath(pathOrFolder));
    const QByteArray head = file.read(kSearchBytes);
    const qint64 offset = findDataOffsetIn(head);
    if (offset < 0)
        fail(QT_TRANSLATE_NOOP("CardSignalFile",
                 "File in memory card %1 may be corrupted.\n"
                 "Please contact technical support."),
            dataFilePath(pathOrFolder));
    return offset;
}

CardSignalFile::CardSignalFile(const QString& path, qint64 dataOffset)
    : SignalSource(kChannels, kSamplingRate, kBlockSamples)
    , m_path(dataFilePath(path))
    , m_dataOffset(dataOffset)
{
    if (dataOffset < 0)
        fail(QT_TRANSLATE_NOOP("CardSignalFile", "Invalid data offset for file %1"), m_path);
    if (path.isEmpty())
        fail(QT_TRANSLATE_NOOP("CardSignalFile", "Cannot open file %1"), m_path);
    m_file = std::fopen(QFile::encodeName(m_path).constData(), "rb+");
    if (!m_file)
        fail(QT_TRANSLATE_NOOP("CardSignalFile", "Cannot open file %1"), m_path);

    qint64 size = -1;
    if (fseeko(m_file, 0, SEEK_END) == 0)
        size = ftello(m_file);
    if (size < 0) {
        std::fclose(m_file);
        m_file = nullptr;
        fail(QT_TRANSLATE_NOOP("CardSignalFile", "Cannot open file %1"), m_path);
    }
    const qint64 blocks = size > m_dataOffset ? (size - m_dataOffset) / kBlockBytes : 0;
    // The cache addresses at most 65536 blocks (72 hours); the rest can't be shown.
    setBlockCount(int(std::min<qint64>(blocks, std::numeric_limits<int>::max())));
    setSampleCount(qint64(kBlockSamples) * blockCount());
    setResolution(16);
    setGainRange(-450.0, 450.0);
}

CardSignalFile::~CardSignalFile()
{
    releaseAllBlocks();
    if (m_file)
        std::fclose(m_file);
}

bool CardSignalFile::readAt(qint64 position, char* buffer, qint64 size, qint64* got)
{
    *got = 0;
    if (!m_file || fseeko(m_file, off_t(position), SEEK_SET) != 0)
        return false;
    *got = qint64(std::fread(buffer, 1, size_t(size), m_file));
    return *got == size;
}

qint16* CardSignalFile::loadBlock(int channel, int block)
{
    if (channel < 0 || channel >= kChannels || block < 0 || block >= blockCount())
        return nullptr;
    // Zeroed first, so that a short read at the end of the card leaves silence.
    std::vector<char> raw(kDataBytes, 0);
    qint64 got = 0;
    readAt(m_dataOffset + qint64(block) * kBlockBytes, raw.data(), kDataBytes, &got);

    auto* out = new qint16[kBlockSamples];
    const int place = 2 * (kChannels - 1 - channel); // frames hold channel 3 first
    const bool invert = m_inverted[channel];
    for (int f = 0; f < kBlockSamples; ++f) {
        const char* b = raw.data() + f * kFrameBytes + place;
        const qint16 v = qint16(quint16((quint8(b[0]) << 8) | quint8(b[1])));
        out[f]
            = !invert ? v : (v == std::numeric_limits<qint16>::min() ? qint16(32767) : qint16(-v));
    }
    return out;
}

int CardSignalFile::statusWord(int block)
{
    if (block < 0 || block >= blockCount())
        return -1;
    char b[2];
    qint64 got = 0;
    if (!readAt(m_dataOffset + qint64(block) * kBlockBytes + kDataBytes, b, 2, &got))
        return -1;
    return (quint8(b[0]) << 8) | quint8(b[1]);
}

void CardSignalFile::setInverted(int channel, bool inverted)
{
    if (channel < 0 || channel >= kChannels)
        return;
    m_inverted[channel] = inverted;
    dropCachedBlocks();
    notifyChanged();
}

bool CardSignalFile::isInverted(int channel) const
{
    return channel >= 0 && channel < kChannels && m_inverted[channel];
}

void CardSignalFile::appendRaw(const char*, qint64)
{
    fail(QT_TRANSLATE_NOOP("CardSignalFile", "unsupported (file %1 is read only)"), m_path);
}

void CardSignalFile::appendChannels(const qint16* const*, qint64)
{
    fail(QT_TRANSLATE_NOOP("CardSignalFile", "unsupported (file %1 is read only)"), m_path);
}

void CardSignalFile::appendChannelsF64(const double* const*, qint64)
{
    fail(QT_TRANSLATE_NOOP("CardSignalFile", "unsupported (file %1 is read only)"), m_path);
}
