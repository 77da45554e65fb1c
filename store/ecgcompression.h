#pragma once

#include "store/progresssink.h"

#include <QString>

class StoreIo;

// The vtecgz file: "VTECGZ", the vtecg header JSON with a "codec" object added, zero bytes to
// offset 4096, then chunks of up to 2097152 samples per channel. In a "diff+ppmd" chunk each
// channel in turn gives a 32-bit little-endian length and its PPMd stream (order 2, 16 MiB)
// of the channel's difference stream. The older "ppmd" body (rounds of PPMd streams of raw
// little-endian samples, no lengths) is read but not written.
//
// Both run one thread per channel for each chunk and report progress through `sink` (may be
// null) in bytes of the source file. They return false on any failure or when `cancel` is set
// at a chunk boundary; the target may then hold a partial file, which the caller removes.
// A cut compressed file decompresses to the whole chunks before the cut and returns true.
bool compressEcgFile(const QString& sourcePath, const QString& targetPath, ProgressSink* sink,
    const CancelFlag* cancel = nullptr);
bool decompressEcgFile(const QString& sourcePath, const QString& targetPath, ProgressSink* sink,
    const CancelFlag* cancel = nullptr);

// The same, writing through `io` rather than the standard writer.
bool compressEcgFile(const QString& sourcePath, const QString& targetPath, ProgressSink* sink,
    const CancelFlag* cancel, StoreIo& io);
bool decompressEcgFile(const QString& sourcePath, const QString& targetPath, ProgressSink* sink,
    const CancelFlag* cancel, StoreIo& io);

namespace ecgcompression {

constexpr int kHeaderSize = 4096; // bytes before the first chunk, in both files
constexpr qint64 kSampleChunkSize = 2097152; // samples per channel per chunk (~70 min at 500 Hz)
constexpr int kPpmOrder = 2;
constexpr int kPpmMemoryMiB = 16;

} // namespace ecgcompression
