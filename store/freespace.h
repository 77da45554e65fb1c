#pragma once

#include <QString>
#include <QtGlobal>

// Bytes free to the caller on the volume holding `path`, or -1 when the query fails.
qint64 freeBytesAt(const QString& path);
