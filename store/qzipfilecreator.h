#pragma once

#include "store/zipdevicefunctions.h"

#include <QByteArray>
#include <QFile>
#include <QObject>
#include <QString>

class StoreIo;

// Writes a zip archive with minizip: stored or deflated entries and a global comment.
// Failures throw StoreError with the message for the user.
class QZipFileCreator : public QObject
{
public:
    static constexpr qint64 kPieceSize = 32768; // bytes copied per write

    // Creates (or truncates) the archive; throws "Cannot create zip archive". `io` is not
    // owned; every write of the archive goes through it (null means the standard writer).
    explicit QZipFileCreator(const QString& path, StoreIo* io = nullptr);
    // Closes the archive if it is still open; errors are lost here, so call close() first.
    ~QZipFileCreator() override;
    QZipFileCreator(const QZipFileCreator&) = delete;
    QZipFileCreator& operator=(const QZipFileCreator&) = delete;

    // Kept until close(), which writes it as UTF-8.
    void setComment(const QString& text) { m_comment = text; }
    // Copies the file into the entry, stored when `store` is true, else deflated at the
    // default level. Throws "Cannot open new file in zip", "Cannot write data in zip file",
    // "Cannot close file in zip", or "Cannot read file <path>" when the source fails.
    void addFile(const QString& path, const QString& entryName, bool store);
    // A deflated entry holding `bytes`.
    void addData(const QByteArray& bytes, const QString& entryName);
    // Writes the comment and the central directory; throws "Cannot close zip archive".
    void close();

    bool isOpen() const { return m_zip != nullptr; }

private:
    void openEntry(const QString& entryName, bool store);
    void writeEntryData(const char* data, qint64 size);
    void closeEntry();

    QFile m_file;
    ZipDeviceFunctions m_functions;
    void* m_zip = nullptr; // minizip's zipFile
    QString m_comment;
};
