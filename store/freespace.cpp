#include "store/freespace.h"

#include <QStorageInfo>

qint64 freeBytesAt(const QString& path)
{
    QStorageInfo info(path);
    if (!info.isValid() || !info.isReady())
        return -1;
    return info.bytesAvailable();
}
