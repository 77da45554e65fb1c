#pragma once

#include "store/signalsource.h"

#include <QByteArray>
#include <QString>

#include <array>
#include <cstdio>

// The recorder's data file on a memory card, read in place: an unknown preamble, then blocks
// of 12002 bytes (2000 frames of three big-endian 16-bit samples in reversed channel order,
// then a big-endian status word). Read only; samples at 500 per second, 4 seconds per block.
class CardSignalFile : public SignalSource
{
public:
    static constexpr int kChannels = 3;
    static constexpr int kBlockSamples = 2000; // per channel
    static constexpr int kFrameBytes = 6; // 3 channels x 2 bytes
    static constexpr int kDataBytes = kBlockSamples * kFrameBytes; // 12000
    static constexpr int kBlockBytes = kDataBytes + 2; // data + status word
    static constexpr int kSamplingRate = 500; // samples per second
    static constexpr int kSearchBytes = 15 * kBlockBytes; // read to find the offset

    // Status word bits.
    static constexpr int kMarkerMask = 0xF000;
    static constexpr int kMarker = 0xC000; // every valid block carries it
    static constexpr int kElectrodesMask = 0x0FF0;
    static constexpr int kSdCardError = 0x0004;
    static constexpr int kLowBattery = 0x0002;
    static constexpr int kEventButton = 0x0001;

    static const char* const kFileName; // "HECG.VTF"

    // The data file itself when `pathOrFolder` is a folder that holds it (the name is matched
    // without regard to case, as card file systems may show it either way); else the path.
    static QString dataFilePath(const QString& pathOrFolder);

    // Where the blocks begin. Throws StoreError "Cannot open file in memory card <path>" or,
    // when no alignment shows the status marker through the first 15 block lengths, "File in
    // memory card <path> may be corrupted.\nPlease contact technical support.".
    static qint64 findDataOffset(const QString& pathOrFolder);
    // The search on the first kSearchBytes of the file (shorter means zeros); -1 if none.
    static qint64 findDataOffsetIn(const QByteArray& head);

    // Opens for read and update ("rb+"), so a write-protected card fails here. Throws
    // StoreError "Cannot open file <path>"; a negative offset throws "Invalid data offset for
    // file <path>".
    CardSignalFile(const QString& path, qint64 dataOffset);
    ~CardSignalFile() override;

    qint16* loadBlock(int channel, int block) override;
    // Always throw StoreError "unsupported (file <path> is read only)".
    void appendRaw(const char* bytes, qint64 size) override;
    void appendChannels(const qint16* const* channels, qint64 count) override;
    void appendChannelsF64(const double* const* channels, qint64 count) override;

    // Negates a channel's samples from now on (-32768 becomes 32767, the nearest value that
    // fits). Empties the unused cached blocks and tells the listeners.
    void setInverted(int channel, bool inverted);
    bool isInverted(int channel) const;

    // The status word closing block `block` (0..65535), or -1 when the block is out of range
    // or can't be read whole.
    int statusWord(int block);

    QString path() const { return m_path; }
    qint64 dataOffset() const { return m_dataOffset; }

private:
    bool readAt(qint64 position, char* buffer, qint64 size, qint64* got);

    QString m_path;
    std::FILE* m_file = nullptr;
    qint64 m_dataOffset = 0;
    std::array<bool, kChannels> m_inverted {};
};
