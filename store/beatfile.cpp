#include "store/beatfile.h"

#include "store/signalsource.h"
#include "store/storeio.h"

#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

const char BeatFile::kMagic[] = "VTBEATS1";

namespace {

constexpr int kChannelBlock = 80;
constexpr int kFixedPart = 56;

// 64-bit offsets, so that long multi-day studies never wrap a 32-bit long.
bool seekTo(std::FILE* file, qint64 offset, int whence = SEEK_SET)
{
#ifdef _WIN32
    return _fseeki64(file, offset, whence) == 0;
#else
    return fseeko(file, off_t(offset), whence) == 0;
#endif
}

qint64 tellPos(std::FILE* file)
{
#ifdef _WIN32
    return _ftelli64(file);
#else
    return qint64(ftello(file));
#endif
}

std::FILE* openFile(const QString& path, const char* mode)
{
    return std::fopen(QFile::encodeName(path).constData(), mode);
}

// Saturating truncation: a stray huge or NaN measure must not become undefined behaviour.
template <typename Int> Int truncated(double value)
{
    if (std::isnan(value))
        return 0;
    if (value >= double(std::numeric_limits<Int>::max()))
        return std::numeric_limits<Int>::max();
    if (value <= double(std::numeric_limits<Int>::min()))
        return std::numeric_limits<Int>::min();
    return Int(value);
}

void putDouble(char* at, double value)
{
    quint64 bits;
    std::memcpy(&bits, &value, sizeof bits);
    qToLittleEndian(bits, at);
}

double getDouble(const char* at)
{
    const quint64 bits = qFromLittleEndian<quint64>(at);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// Record slots stored as doubles, in channel-block order, beside their block offsets.
constexpr int kDoubleSlots[] = { Beat::PPeak, Beat::QPeak, Beat::RPeak, Beat::SPeak, Beat::TPeak,
    Beat::QrsDuration, Beat::PRInterval, Beat::QTInterval };
constexpr int kDoubleOffsets[] = { 8, 16, 24, 32, 40, 56, 64, 72 };
// Polarities are stored P, QRS, T.
constexpr int kPolaritySlots[] = { Beat::PPolarity, Beat::QrsPolarity, Beat::TPolarity };
constexpr int kPolarityOffsets[] = { 48, 50, 52 };

} // namespace

BeatFile::BeatFile(
    SignalSource* source, const QString& path, int headerSize, bool create, StoreIo* io)
    : m_source(source)
    , m_path(path)
    , m_headerSize(std::max(headerSize, 0))
    , m_io(io)
{
    const int channels = source ? std::min(source->channelCount(), int(Beat::kChannels)) : 0;
    m_recordSize = recordSize(channels);
    m_buffer.assign(size_t(kRunLength) * size_t(m_recordSize), 0);
    if (create) {
        m_file = openFile(path, "wb+");
        if (!m_file)
            throw StoreError("Cannot create file", m_path);
        return;
    }
    m_file = openFile(path, "rb+");
    if (!m_file)
        throw StoreError("Cannot open file", m_path);
    qint64 size = 0;
    if (seekTo(m_file, 0, SEEK_END))
        size = tellPos(m_file);
    const qint64 records = size > m_headerSize ? (size - m_headerSize) / m_recordSize : 0;
    m_count = int(std::min<qint64>(records, std::numeric_limits<int>::max() - 1));
}

BeatFile::~BeatFile()
{
    if (m_file)
        std::fclose(m_file);
}

std::unique_ptr<BeatFile> BeatFile::open(SignalSource* source, const QString& path, StoreIo* io)
{
    QFile probe(path);
    if (!probe.open(QIODevice::ReadOnly))
        return nullptr;
    if (probe.read(8) != QByteArray(kMagic, 8))
        return nullptr;
    probe.close();
    return std::make_unique<BeatFile>(source, path, kHeaderSize, false, io);
}

void BeatFile::writeChecked(const void* data, size_t size)
{
    if (!m_file || StoreIo::orStandard(m_io).write(m_file, data, size) != size)
        throw StoreError("Write error in file", m_path);
}

void BeatFile::writeHeader(const QByteArray& bytes)
{
    if (!m_file || !seekTo(m_file, 0))
        throw StoreError("Write error in file", m_path);
    QByteArray header = bytes.left(m_headerSize);
    header.append(QByteArray(m_headerSize - header.size(), '\0'));
    writeChecked(header.constData(), size_t(header.size()));
    std::fflush(m_file);
}

void BeatFile::clear()
{
    QByteArray header(m_headerSize, '\0');
    if (m_file && seekTo(m_file, 0)) {
        const size_t got = std::fread(header.data(), 1, size_t(m_headerSize), m_file);
        // Whatever the file lacked stays zero.
        std::memset(header.data() + got, 0, size_t(m_headerSize) - got);
    }
    if (m_file)
        std::fclose(m_file);
    m_count = 0;
    // Old indices would otherwise answer for the new beats appended in their place.
    m_cache.clear();
    m_file = openFile(m_path, "wb+");
    if (!m_file)
        throw StoreError("Cannot create file", m_path);
    writeChecked(header.constData(), size_t(header.size()));
    std::fclose(m_file);
    m_file = openFile(m_path, "rb+");
    if (!m_file)
        throw StoreError("Cannot open file", m_path);
}

void BeatFile::encode(const Beat& beat, char* record) const
{
    std::memset(record, 0, size_t(m_recordSize));
    putDouble(record + 0, beat.windowStart);
    putDouble(record + 8, beat.windowLength);
    for (int i = 0; i < Beat::kTimings; ++i)
        putDouble(record + 16 + 8 * i, beat.timing[i]);
    qToLittleEndian<qint32>(beat.isBeat ? beat.classId : -1, record + 48);
    qToLittleEndian<qint32>(beat.isBeat ? beat.type : -1, record + 52);
    const int channels = (m_recordSize - kFixedPart) / kChannelBlock;
    for (int c = 0; c < channels; ++c) {
        char* block = record + kFixedPart + kChannelBlock * c;
        qToLittleEndian<qint32>(truncated<qint32>(beat.measure[c][Beat::HasQrs]), block);
        for (int k = 0; k < 8; ++k) {
            const int slot = kDoubleSlots[k];
            putDouble(
                block + kDoubleOffsets[k], beat.measureSet[c][slot] ? beat.measure[c][slot] : 0.0);
        }
        for (int k = 0; k < 3; ++k) {
            qToLittleEndian<qint16>(
                truncated<qint16>(beat.measure[c][kPolaritySlots[k]]), block + kPolarityOffsets[k]);
        }
    }
}

int BeatFile::append(const Beat& beat)
{
    // Written where the next whole record belongs, so a torn tail left by a crash is overwritten
    // instead of shifting every later record.
    const qint64 offset = m_headerSize + qint64(m_recordSize) * m_count;
    if (!m_file || !seekTo(m_file, offset))
        throw StoreError("Write error in file", m_path);
    encode(beat, m_buffer.data());
    writeChecked(m_buffer.data(), size_t(m_recordSize));
    std::fflush(m_file);
    m_cache.erase(m_count);
    return m_count++;
}

void BeatFile::replace(const Beat& beat)
{
    if (beat.index < 0 || beat.index >= m_count)
        return;
    const qint64 offset = m_headerSize + qint64(m_recordSize) * beat.index;
    if (!m_file || !seekTo(m_file, offset))
        throw StoreError("Write error in file", m_path);
    encode(beat, m_buffer.data());
    writeChecked(m_buffer.data(), size_t(m_recordSize));
    std::fflush(m_file);
    m_cache.erase(beat.index);
}

bool BeatFile::get(int index, Beat& beat)
{
    if (index < 0 || index >= m_count)
        return false;
    auto it = m_cache.find(index);
    if (it == m_cache.end()) {
        readRun(index);
        it = m_cache.find(index);
        if (it == m_cache.end())
            return false;
    }
    beat = it->second;
    return true;
}

void BeatFile::readRun(int index)
{
    const int n = std::min(kRunLength, m_count - index);
    const size_t bytes = size_t(n) * size_t(m_recordSize);
    size_t got = 0;
    if (m_file && seekTo(m_file, m_headerSize + qint64(m_recordSize) * index))
        got = std::fread(m_buffer.data(), 1, bytes, m_file);
    // A file cut short under us reads as zero records rather than stale bytes.
    std::memset(m_buffer.data() + got, 0, bytes - got);

    const int channels = (m_recordSize - kFixedPart) / kChannelBlock;
    for (int r = 0; r < n; ++r) {
        const char* record = m_buffer.data() + size_t(r) * size_t(m_recordSize);
        Beat b;
        b.index = index + r;
        b.source = m_source;
        b.windowStart = getDouble(record + 0);
        b.windowLength = getDouble(record + 8);
        for (int i = 0; i < Beat::kTimings; ++i) {
            b.timing[i] = getDouble(record + 16 + 8 * i);
            b.timingSet[i] = true;
        }
        b.classId = qFromLittleEndian<qint32>(record + 48);
        b.type = qFromLittleEndian<qint32>(record + 52);
        b.isBeat = b.classId >= 0;
        for (int c = 0; c < channels; ++c) {
            const char* block = record + kFixedPart + kChannelBlock * c;
            auto set = [&b, c](int slot, double value) {
                b.measure[c][slot] = value;
                b.measureSet[c][slot] = true;
            };
            set(Beat::HasQrs, qFromLittleEndian<qint32>(block));
            for (int k = 0; k < 8; ++k) {
                const double value = getDouble(block + kDoubleOffsets[k]);
                // 0.0 on disk means "not set"; a true 0.0 can't be stored.
                if (value > 0.0)
                    set(kDoubleSlots[k], value);
            }
            for (int k = 0; k < 3; ++k)
                set(kPolaritySlots[k], qFromLittleEndian<qint16>(block + kPolarityOffsets[k]));
        }
        m_cache[b.index] = b;
    }
}
