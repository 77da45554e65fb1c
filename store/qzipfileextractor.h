#pragma once

#include "store/zipdevicefunctions.h"

#include <QFile>
#include <QObject>
#include <QString>

class QIODevice;
class StoreIo;

// Reads entries of a zip archive with minizip. Entries are inflated here, not by minizip, so
// that an entry is never written past the size its header announces (nor past a caller's
// bound): a crafted archive can't fill the disk. Failures throw StoreError.
class QZipFileExtractor : public QObject
{
public:
    static constexpr qint64 kPieceSize = 32768; // bytes written per step

    // Throws "Cannot open zip archive", "Cannot read zip archive" or
    // "Cannot read comment in zip archive".
    explicit QZipFileExtractor(const QString& path);
    ~QZipFileExtractor() override;
    QZipFileExtractor(const QZipFileExtractor&) = delete;
    QZipFileExtractor& operator=(const QZipFileExtractor&) = delete;

    // The global comment, decoded as UTF-8.
    QString comment() const { return m_comment; }
    // The uncompressed size that the entry's header announces, or -1 when there is no entry
    // of that name.
    qint64 entrySize(const QString& entryName);

    // Writes the entry to `device`; false when the archive has no such entry. A `maxBytes`
    // of 0 or more refuses a larger entry before anything is written. Writes go through `io`
    // (not owned; null means the standard writer). Throws "Cannot get file info from zip
    // archive", "Cannot open file in zip archive", "Cannot read file in zip archive",
    // "Corrupt file read from zip archive", "Write error", or a message naming the entry when
    // it is larger than announced or than `maxBytes`.
    bool extractToDevice(
        const QString& entryName, QIODevice* device, qint64 maxBytes = -1, StoreIo* io = nullptr);
    // The same into a file (created or truncated); false also when the file can't be opened.
    bool extractFile(
        const QString& entryName, const QString& path, qint64 maxBytes = -1, StoreIo* io = nullptr);

private:
    bool locate(const QString& entryName);
    void inflateCurrent(const QString& entryName, int method, qint64 compressedSize,
        qint64 announcedSize, quint32 announcedCrc, QIODevice* device, StoreIo& io);

    QFile m_file;
    ZipDeviceFunctions m_functions;
    void* m_zip = nullptr; // minizip's unzFile
    QString m_comment;
};
