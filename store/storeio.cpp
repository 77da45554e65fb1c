#include "store/storeio.h"

#include <QDir>
#include <QIODevice>
#include <QSaveFile>

StoreError::StoreError(const char* what, const QString& path)
    : std::runtime_error(
        QString("%1 %2").arg(QString::fromUtf8(what), QDir::toNativeSeparators(path)).toStdString())
{
}

qint64 StoreIo::write(QIODevice& device, const char* data, qint64 size)
{
    return device.write(data, size);
}

size_t StoreIo::write(std::FILE* file, const void* data, size_t size)
{
    return std::fwrite(data, 1, size, file);
}

bool StoreIo::commit(QSaveFile& file)
{
    return file.commit();
}

StoreIo& StoreIo::standard()
{
    static StoreIo io;
    return io;
}
