#include "store/storeio.h"

#include <QIODevice>
#include <QSaveFile>

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
