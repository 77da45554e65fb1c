#pragma once

#include "store/beatlist.h"

#include <QByteArray>
#include <QString>

#include <cstdio>
#include <map>
#include <memory>
#include <vector>

class SignalSource;
class StoreIo;

// The beats of a study on disk: a 256-byte header ("VTBEATS1") and fixed records of
// 56 + 80 * channels bytes, read through a run cache of ten records.
class BeatFile : public BeatList
{
public:
    static constexpr int kHeaderSize = 256;
    static constexpr int kRunLength = 10;
    static const char kMagic[]; // "VTBEATS1"

    // create: "wb+" (throws "Cannot create file <path>"); else "rb+" (throws "Cannot open file
    // <path>"); a failed write throws "Write error in file <path>".
    BeatFile(SignalSource* source, const QString& path, int headerSize, bool create,
        StoreIo* io = nullptr);
    ~BeatFile() override;

    // Opens an existing file whose first 8 bytes are the magic; null otherwise.
    static std::unique_ptr<BeatFile> open(
        SignalSource* source, const QString& path, StoreIo* io = nullptr);

    static int recordSize(int channelCount) { return 56 + 80 * channelCount; }

    void writeHeader(const QByteArray& bytes);
    void writeHeader() { writeHeader(QByteArray(kMagic)); }

    int count() const override { return m_count; }
    void clear() override;
    bool get(int index, Beat& beat) override;
    int append(const Beat& beat) override;
    void replace(const Beat& beat) override;

    SignalSource* signalSource() const override { return m_source; }
    QString path() const { return m_path; }

private:
    void encode(const Beat& beat, char* record) const;
    void readRun(int index);
    void writeChecked(const void* data, size_t size);

    SignalSource* m_source; // not owned
    QString m_path;
    std::FILE* m_file = nullptr;
    int m_headerSize;
    int m_recordSize;
    int m_count = 0;
    StoreIo* m_io;
    std::vector<char> m_buffer; // kRunLength records, zeroed once
    std::map<int, Beat> m_cache;
};
