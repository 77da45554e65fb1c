#pragma once

#include "store/progresssink.h"

#include <QString>

// The compressed ECG of an archive (vtecgz): the vtecg header with a "codec" member, padded
// to 4096 bytes, then the compressed samples. Both return false on any failure or a cancel;
// a null sink means no progress reports.
bool compressEcgFile(const QString& sourcePath, const QString& targetPath, ProgressSink* sink,
    const CancelFlag* cancel = nullptr);
bool decompressEcgFile(const QString& sourcePath, const QString& targetPath, ProgressSink* sink,
    const CancelFlag* cancel = nullptr);
