#include "store/qzipfileextractor.h"

#include "store/storeio.h"

#include <QIODevice>
#include <QVector>

#include <unzip.h>
#include <zlib.h>

namespace {

[[noreturn]] void fail(const char* message)
{
    throw StoreError(message);
}

[[noreturn]] void failTooLarge(const QString& entryName, const char* than)
{
    throw StoreError(QString("Entry %1 in zip archive is larger than %2")
                         .arg(entryName, QString::fromLatin1(than))
                         .toStdString());
}

// Owns a zlib raw-inflate stream for one entry.
class Inflater
{
public:
    Inflater()
        : m_ok(inflateInit2(&m_stream, -MAX_WBITS) == Z_OK)
    {
    }
    ~Inflater()
    {
        if (m_ok)
            inflateEnd(&m_stream);
    }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;
    bool ok() const { return m_ok; }
    z_stream& stream() { return m_stream; }

private:
    z_stream m_stream {};
    bool m_ok;
};

} // namespace

QZipFileExtractor::QZipFileExtractor(const QString& path)
    : m_file(path)
{
    m_functions.file = &m_file;
    zlib_filefunc64_def table = m_functions.table();
    const QByteArray name = path.toUtf8();
    m_zip = unzOpen2_64(name.constData(), &table);
    if (!m_zip)
        fail("Cannot open zip archive");
    unz_global_info64 global;
    if (unzGetGlobalInfo64(m_zip, &global) != UNZ_OK)
        fail("Cannot read zip archive");
    QByteArray comment(int(global.size_comment) + 1, '\0');
    const int length = unzGetGlobalComment(m_zip, comment.data(), uLong(comment.size()));
    if (length < 0)
        fail("Cannot read comment in zip archive");
    m_comment = QString::fromUtf8(comment.constData(), length);
}

QZipFileExtractor::~QZipFileExtractor()
{
    if (m_zip)
        unzClose(m_zip);
}

bool QZipFileExtractor::locate(const QString& entryName)
{
    const QByteArray name = entryName.toUtf8();
    return unzLocateFile(m_zip, name.constData(), 1) == UNZ_OK;
}

qint64 QZipFileExtractor::entrySize(const QString& entryName)
{
    if (!locate(entryName))
        return -1;
    unz_file_info64 info;
    if (unzGetCurrentFileInfo64(m_zip, &info, nullptr, 0, nullptr, 0, nullptr, 0) != UNZ_OK)
        fail("Cannot get file info from zip archive");
    return qint64(info.uncompressed_size);
}

bool QZipFileExtractor::extractToDevice(
    const QString& entryName, QIODevice* device, qint64 maxBytes, StoreIo* io)
{
    if (!locate(entryName))
        return false;
    unz_file_info64 info;
    if (unzGetCurrentFileInfo64(m_zip, &info, nullptr, 0, nullptr, 0, nullptr, 0) != UNZ_OK)
        fail("Cannot get file info from zip archive");
    const qint64 announced = qint64(info.uncompressed_size);
    if (announced < 0 || (maxBytes >= 0 && announced > maxBytes))
        failTooLarge(entryName, "a study allows");
    // Raw mode hands over the stored bytes; inflating them here lets us stop at the size the
    // header announces instead of trusting the stream.
    int method = 0;
    int level = 0;
    if (unzOpenCurrentFile2(m_zip, &method, &level, 1) != UNZ_OK)
        fail("Cannot open file in zip archive");
    try {
        inflateCurrent(entryName, method, qint64(info.compressed_size), announced,
            quint32(info.crc), device, StoreIo::orStandard(io));
    } catch (...) {
        unzCloseCurrentFile(m_zip);
        throw;
    }
    if (unzCloseCurrentFile(m_zip) != UNZ_OK)
        fail("Corrupt file read from zip archive");
    return true;
}

void QZipFileExtractor::inflateCurrent(const QString& entryName, int method, qint64 compressedSize,
    qint64 announcedSize, quint32 announcedCrc, QIODevice* device, StoreIo& io)
{
    if (method != 0 && method != Z_DEFLATED)
        fail("Cannot open file in zip archive");
    if (method == 0 && compressedSize != announcedSize)
        fail("Corrupt file read from zip archive");
    QVector<char> in(static_cast<int>(kPieceSize));
    QVector<char> out(static_cast<int>(kPieceSize));
    Inflater inflater;
    if (method == Z_DEFLATED && !inflater.ok())
        fail("Cannot read file in zip archive");
    qint64 written = 0;
    uLong crc = crc32(0L, Z_NULL, 0);
    auto deliver = [&](const char* data, qint64 size) {
        written += size;
        if (written > announcedSize)
            failTooLarge(entryName, "its header announces");
        crc = crc32(crc, reinterpret_cast<const Bytef*>(data), uInt(size));
        if (io.write(*device, data, size) != size)
            fail("Write error");
    };
    bool ended = method == 0;
    for (;;) {
        const int n = unzReadCurrentFile(m_zip, in.data(), unsigned(in.size()));
        if (n < 0)
            fail("Cannot read file in zip archive");
        if (n == 0)
            break;
        if (method == 0) {
            deliver(in.constData(), n);
            continue;
        }
        if (ended)
            continue; // bytes after the end of the deflate stream carry nothing
        z_stream& z = inflater.stream();
        z.next_in = reinterpret_cast<Bytef*>(in.data());
        z.avail_in = uInt(n);
        // Inflate until this input is used up and no output is pending.
        do {
            z.next_out = reinterpret_cast<Bytef*>(out.data());
            z.avail_out = uInt(out.size());
            const int result = inflate(&z, Z_NO_FLUSH);
            if (result == Z_BUF_ERROR)
                break; // no progress possible without more input
            if (result != Z_OK && result != Z_STREAM_END)
                fail("Cannot read file in zip archive");
            deliver(out.constData(), out.size() - qint64(z.avail_out));
            ended = result == Z_STREAM_END;
        } while (!ended && (z.avail_in > 0 || z.avail_out == 0));
    }
    if (!ended)
        fail("Cannot read file in zip archive");
    if (written != announcedSize || quint32(crc) != announcedCrc)
        fail("Corrupt file read from zip archive");
}

bool QZipFileExtractor::extractFile(
    const QString& entryName, const QString& path, qint64 maxBytes, StoreIo* io)
{
    if (!locate(entryName))
        return false;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    const bool found = extractToDevice(entryName, &file, maxBytes, io);
    // A write that only fails at the final flush is still a write error.
    if (!file.flush())
        fail("Write error");
    return found;
}
