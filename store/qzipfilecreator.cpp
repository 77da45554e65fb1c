#include "store/qzipfilecreator.h"

#include "store/storeio.h"

#include <QDateTime>

#include <zip.h>

namespace {

[[noreturn]] void fail(const char* message)
{
    throw StoreError(message);
}

// Marks the entry name as UTF-8 in the general purpose flags.
constexpr uLong kUtf8NameFlag = 1 << 11;
// "made by" version 2.0 on MS-DOS/FAT, what plain zip readers expect.
constexpr int kVersionMadeBy = 20;

zip_fileinfo entryInfo(const QDateTime& when)
{
    zip_fileinfo info {};
    const QDate d = when.date();
    const QTime t = when.time();
    info.tmz_date.tm_year = uInt(d.year());
    info.tmz_date.tm_mon = uInt(d.month() - 1);
    info.tmz_date.tm_mday = uInt(d.day());
    info.tmz_date.tm_hour = uInt(t.hour());
    info.tmz_date.tm_min = uInt(t.minute());
    info.tmz_date.tm_sec = uInt(t.second());
    return info;
}

} // namespace

QZipFileCreator::QZipFileCreator(const QString& path, StoreIo* io)
    : m_file(path)
{
    m_functions.file = &m_file;
    m_functions.io = io;
    zlib_filefunc64_def table = m_functions.table();
    const QByteArray name = path.toUtf8();
    m_zip = zipOpen2_64(name.constData(), APPEND_STATUS_CREATE, nullptr, &table);
    if (!m_zip)
        fail("Cannot create zip archive");
}

QZipFileCreator::~QZipFileCreator()
{
    try {
        if (m_zip)
            close();
    } catch (const StoreError&) {
    }
}

void QZipFileCreator::openEntry(const QString& entryName, bool store)
{
    const zip_fileinfo info = entryInfo(QDateTime::currentDateTime());
    const QByteArray name = entryName.toUtf8();
    const int result = zipOpenNewFileInZip4_64(m_zip, name.constData(), &info, nullptr, 0, nullptr,
        0, nullptr, store ? 0 : Z_DEFLATED, store ? 0 : Z_DEFAULT_COMPRESSION, 0, -MAX_WBITS,
        DEF_MEM_LEVEL, Z_DEFAULT_STRATEGY, nullptr, 0, kVersionMadeBy, kUtf8NameFlag, 0);
    if (result != ZIP_OK)
        fail("Cannot open new file in zip");
}

void QZipFileCreator::writeEntryData(const char* data, qint64 size)
{
    for (qint64 done = 0; done < size;) {
        const unsigned n = unsigned(std::min(kPieceSize, size - done));
        if (zipWriteInFileInZip(m_zip, data + done, n) != ZIP_OK)
            fail("Cannot write data in zip file");
        done += n;
    }
}

void QZipFileCreator::closeEntry()
{
    if (zipCloseFileInZip(m_zip) != ZIP_OK)
        fail("Cannot close file in zip");
}

void QZipFileCreator::addFile(const QString& path, const QString& entryName, bool store)
{
    if (!m_zip)
        fail("Cannot open new file in zip");
    QFile source(path);
    if (!source.open(QIODevice::ReadOnly))
        throw StoreError(QString("Cannot read file %1").arg(path).toStdString());
    openEntry(entryName, store);
    QByteArray piece(static_cast<int>(kPieceSize), '\0');
    for (;;) {
        const qint64 n = source.read(piece.data(), kPieceSize);
        if (n < 0)
            throw StoreError(QString("Cannot read file %1").arg(path).toStdString());
        if (n == 0)
            break;
        writeEntryData(piece.constData(), n);
    }
    closeEntry();
}

void QZipFileCreator::addData(const QByteArray& bytes, const QString& entryName)
{
    if (!m_zip)
        fail("Cannot open new file in zip");
    openEntry(entryName, false);
    writeEntryData(bytes.constData(), bytes.size());
    closeEntry();
}

void QZipFileCreator::close()
{
    if (!m_zip)
        return;
    const QByteArray comment = m_comment.toUtf8();
    zipFile zip = m_zip;
    m_zip = nullptr;
    if (zipClose(zip, comment.isEmpty() ? nullptr : comment.constData()) != ZIP_OK)
        fail("Cannot close zip archive");
}
