#pragma once

// Builds zip files entry by entry with minizip itself, so that tests can make archives our
// own writer never would: lying sizes and checksums, odd comments, missing entries.

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QVector>

#include <zip.h>
#include <zlib.h>

#include <stdexcept>

namespace ziptest {

struct Entry
{
    QString name;
    QByteArray data; // the content before compression
    bool deflate = false; // else stored
    qint64 announced = -1; // uncompressed size written to the headers; -1: the true size
};

inline QByteArray rawDeflate(const QByteArray& data)
{
    z_stream z {};
    if (deflateInit2(&z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY)
        != Z_OK)
        throw std::runtime_error("deflateInit2");
    QByteArray out(int(deflateBound(&z, uLong(data.size()))), '\0');
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
    z.avail_in = uInt(data.size());
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = uInt(out.size());
    const int result = deflate(&z, Z_FINISH);
    deflateEnd(&z);
    if (result != Z_STREAM_END)
        throw std::runtime_error("deflate");
    out.truncate(int(z.total_out));
    return out;
}

// Writes `entries` with their data as given (raw), so sizes and checksums are ours to set;
// the checksum is that of the first `announced` bytes, as an honest writer of that size would.
inline void writeZip(const QString& path, const QVector<Entry>& entries, const QByteArray& comment)
{
    zipFile zip = zipOpen64(QFile::encodeName(path).constData(), APPEND_STATUS_CREATE);
    if (!zip)
        throw std::runtime_error("zipOpen64");
    for (const Entry& e : entries) {
        const QByteArray name = e.name.toUtf8();
        zip_fileinfo info {};
        if (zipOpenNewFileInZip2_64(zip, name.constData(), &info, nullptr, 0, nullptr, 0, nullptr,
                e.deflate ? Z_DEFLATED : 0, Z_DEFAULT_COMPRESSION, 1, 0)
            != ZIP_OK)
            throw std::runtime_error("zipOpenNewFileInZip2_64");
        const QByteArray stored = e.deflate ? rawDeflate(e.data) : e.data;
        if (!stored.isEmpty()
            && zipWriteInFileInZip(zip, stored.constData(), unsigned(stored.size())) != ZIP_OK)
            throw std::runtime_error("zipWriteInFileInZip");
        const qint64 announced = e.announced < 0 ? e.data.size() : e.announced;
        const uLong crc = crc32(0, reinterpret_cast<const Bytef*>(e.data.constData()),
            uInt(std::min<qint64>(announced, e.data.size())));
        if (zipCloseFileInZipRaw64(zip, ZPOS64_T(announced), crc) != ZIP_OK)
            throw std::runtime_error("zipCloseFileInZipRaw64");
    }
    if (zipClose(zip, comment.isEmpty() ? nullptr : comment.constData()) != ZIP_OK)
        throw std::runtime_error("zipClose");
}

// Offset of the first byte of an entry's data in a zip file, from its local header.
inline qint64 entryDataOffset(const QByteArray& zipBytes, const QByteArray& name)
{
    for (int at = zipBytes.indexOf("PK\x03\x04"); at >= 0;
         at = zipBytes.indexOf("PK\x03\x04", at + 4)) {
        auto u16 = [&](int offset) {
            return int(static_cast<unsigned char>(zipBytes[at + offset]))
                | int(static_cast<unsigned char>(zipBytes[at + offset + 1])) << 8;
        };
        const int nameLength = u16(26);
        if (zipBytes.mid(at + 30, nameLength) == name)
            return at + 30 + nameLength + u16(28);
    }
    return -1;
}

// Deterministic bytes that don't compress to nothing.
inline QByteArray noise(int size, quint32 seed)
{
    QByteArray b(size, '\0');
    for (int i = 0; i < size; ++i) {
        seed = seed * 1664525u + 1013904223u;
        b[i] = char(seed >> 24);
    }
    return b;
}

} // namespace ziptest
