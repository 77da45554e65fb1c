#pragma once

#include "store/signalsource.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <cstdio>
#include <vector>

class StoreIo;

// The stored ECG of a study: a 4096-byte header ("VTECG1" + JSON) followed by interleaved
// little-endian 16-bit frames. Blocks are 4096 samples per channel; samples past the last
// whole block (a file being written) are read through a tail window.
class EcgFile : public SignalSource
{
public:
    static constexpr int kHeaderSize = 4096;
    static constexpr int kBlockSize = 4096;
    static constexpr int kTailWindow = 65536; // samples per channel

    // Creates ("wb+", throws "Cannot create file <path>") or opens ("rb+", throws "Cannot open
    // file <path>"); a failed write throws "Write error in file <path>".
    // `io` is not owned; null means the standard writer.
    EcgFile(const QString& path, int channels, int samplingRate, int headerSize, bool create,
        StoreIo* io = nullptr);
    ~EcgFile() override;

    // Reads the header of an existing vtecg file; null if it is missing, has a bad magic or a
    // header that does not give rate, resolution, format and channel names.
    static std::unique_ptr<EcgFile> open(const QString& path, StoreIo* io = nullptr);

    // Header JSON: {"study": ..., "patient": ..., "ecg": {...}}; the "ecg" object is built here.
    QJsonObject ecgHeaderObject() const;
    // Writes magic + compact JSON at offset 0, cut and padded to the header size.
    void writeHeader(const QJsonObject& study, const QJsonObject& patient);

    qint16 sampleAt(int channel, qint64 index) override;
    qint16* loadBlock(int channel, int block) override;
    void appendRaw(const char* bytes, qint64 size) override;
    void appendChannels(const qint16* const* channels, qint64 count) override;
    void appendChannelsF64(const double* const* channels, qint64 count) override;

    QString path() const { return m_path; }
    bool isWritable() const { return m_writable; }
    int headerSize() const { return m_headerSize; }

private:
    void afterAppend();
    // Interleaves channel arrays into little-endian frames and appends them.
    template <typename Sample, typename Convert>
    void appendInterleaved(const Sample* const* channels, qint64 count, Convert convert);
    void writeChecked(const void* data, size_t size);

    QString m_path;
    std::FILE* m_file = nullptr;
    int m_headerSize;
    bool m_writable;
    StoreIo* m_io;
    std::vector<std::vector<qint16>> m_tail; // per channel
    qint64 m_tailStart = 0;
    qint64 m_tailLength = 0;
};
