#include "store/zipdevicefunctions.h"

#include "store/storeio.h"

#include <QFile>

#include <algorithm>
#include <cstdio>

namespace {

ZipDeviceFunctions& self(voidpf opaque)
{
    return *static_cast<ZipDeviceFunctions*>(opaque);
}

voidpf ZCALLBACK openFile(voidpf opaque, const void*, int mode)
{
    QFile& file = *self(opaque).file;
    QIODevice::OpenMode qtMode = QIODevice::ReadOnly;
    if (mode & ZLIB_FILEFUNC_MODE_CREATE)
        qtMode = QIODevice::ReadWrite | QIODevice::Truncate;
    else if (mode & ZLIB_FILEFUNC_MODE_WRITE)
        qtMode = QIODevice::ReadWrite;
    return file.open(qtMode) ? &file : nullptr;
}

uLong ZCALLBACK readFile(voidpf, voidpf stream, void* buffer, uLong size)
{
    const qint64 n = static_cast<QFile*>(stream)->read(static_cast<char*>(buffer), qint64(size));
    return uLong(std::max<qint64>(n, 0));
}

uLong ZCALLBACK writeFile(voidpf opaque, voidpf stream, const void* buffer, uLong size)
{
    const qint64 n
        = StoreIo::orStandard(self(opaque).io)
              .write(*static_cast<QFile*>(stream), static_cast<const char*>(buffer), qint64(size));
    return uLong(std::max<qint64>(n, 0));
}

ZPOS64_T ZCALLBACK tellFile(voidpf, voidpf stream)
{
    return ZPOS64_T(static_cast<QFile*>(stream)->pos());
}

long ZCALLBACK seekFile(voidpf, voidpf stream, ZPOS64_T offset, int origin)
{
    QFile& file = *static_cast<QFile*>(stream);
    qint64 position = qint64(offset);
    if (origin == ZLIB_FILEFUNC_SEEK_CUR)
        position += file.pos();
    else if (origin == ZLIB_FILEFUNC_SEEK_END)
        position += file.size();
    else if (origin != ZLIB_FILEFUNC_SEEK_SET)
        return -1;
    return file.seek(position) ? 0 : -1;
}

int ZCALLBACK closeFile(voidpf, voidpf stream)
{
    QFile& file = *static_cast<QFile*>(stream);
    // A failing flush is the last chance to learn that the archive's tail was not written.
    const bool flushed = !file.isWritable() || file.flush();
    file.close();
    return flushed ? 0 : EOF;
}

int ZCALLBACK testError(voidpf, voidpf stream)
{
    return static_cast<QFile*>(stream)->error() == QFileDevice::NoError ? 0 : 1;
}

} // namespace

zlib_filefunc64_def ZipDeviceFunctions::table()
{
    zlib_filefunc64_def t;
    t.zopen64_file = openFile;
    t.zread_file = readFile;
    t.zwrite_file = writeFile;
    t.ztell64_file = tellFile;
    t.zseek64_file = seekFile;
    t.zclose_file = closeFile;
    t.zerror_file = testError;
    t.opaque = this;
    return t;
}
