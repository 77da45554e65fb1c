#pragma once

// Memory cards and WFDB records for the recorder tests, with a private study store; the
// encoders are written apart from the readers' decoders.

#include "recorder/removablevolumes.h"
#include "store/progresssink.h"
#include "tests/store/studytestutil.h"
#include "tests/support/testsupport.h"

#include <QByteArray>
#include <QDir>
#include <QString>

#include <memory>
#include <string>
#include <vector>

namespace rectest {

using testsupport::errorOf;

inline bool contains(const std::string& text, const QString& part)
{
    return text.find(part.toStdString()) != std::string::npos;
}

constexpr int kCardBlock = 12002;

// Card samples avoid the high nibble 0xC in both bytes, so that no sample byte can pass for a
// status marker at either parity; high bytes from 0x80 are negative.
inline qint16 cardSample(int block, int frame, int channel)
{
    const int hi = (frame * 3 + channel * 50 + block * 11) % 0xB0;
    const int lo = (frame * 5 + channel * 7 + block) % 0xB0;
    return qint16(quint16((hi << 8) | lo));
}

// Blocks as the recorder writes them: big-endian words, per frame channel 3, 2, 1, then the
// block's status word (0xC000 unless given).
inline QByteArray cardBlocks(int count, const std::vector<quint16>& statuses = {})
{
    QByteArray out;
    auto put = [&out](quint16 v) { out.append(char(v >> 8)).append(char(v & 0xFF)); };
    for (int b = 0; b < count; ++b) {
        for (int f = 0; f < 2000; ++f)
            for (int c = 2; c >= 0; --c)
                put(quint16(cardSample(b, f, c)));
        put(b < int(statuses.size()) ? statuses[b] : 0xC000);
    }
    return out;
}

// A preamble is found only when its last word looks like a block's status word.
inline QByteArray cardPreamble(int length, bool markerAtEnd = true)
{
    QByteArray p(length, '\0');
    if (markerAtEnd && length >= 2)
        p[length - 2] = char(0xC0);
    return p;
}

inline QString writeCard(
    const testsupport::TempRoot& root, const QByteArray& bytes, const QString& name = "HECG.VTF")
{
    testsupport::writeAll(root.file(name), bytes);
    return root.file(name);
}

// A deterministic 12-bit signal that visits negative and positive values of every size.
inline int sampleValue(qint64 frame, int channel)
{
    return int((frame * 37 + channel * 1001 + (frame / 7) * 13) % 4096) - 2048;
}

inline std::vector<int> interleaved(qint64 frames, int channels)
{
    std::vector<int> v;
    for (qint64 f = 0; f < frames; ++f)
        for (int c = 0; c < channels; ++c)
            v.push_back(sampleValue(f, c));
    return v;
}

// Format 212 from its description: a pair of samples in three bytes (low eight bits of the
// first; high nibbles, first's low; low eight bits of the second). A lone last one takes two.
inline QByteArray encode212(const std::vector<int>& samples)
{
    QByteArray out;
    for (size_t i = 0; i < samples.size(); i += 2) {
        const int a = samples[i] & 0xFFF;
        if (i + 1 == samples.size())
            return out.append(char(a & 0xFF)).append(char(a >> 8));
        const int b = samples[i + 1] & 0xFFF;
        out.append(char(a & 0xFF)).append(char((a >> 8) | ((b >> 8) << 4))).append(char(b & 0xFF));
    }
    return out;
}

// Format 16: little-endian two's complement.
inline QByteArray encode16(const std::vector<int>& samples)
{
    QByteArray out;
    for (int v : samples)
        out.append(char(v & 0xFF)).append(char((v >> 8) & 0xFF));
    return out;
}

// Writes name.hea and (when `data` is not null) name.dat; returns the record path.
inline QString writeRecord(
    const QString& dir, const QString& name, const QByteArray& header, const QByteArray* data)
{
    testsupport::writeAll(QDir(dir).filePath(name + ".hea"), header);
    if (data)
        testsupport::writeAll(QDir(dir).filePath(name + ".dat"), *data);
    return QDir(dir).filePath(name);
}

// Signal c in name.dat has baseline `baseline + c` and description "lead<c>".
inline QByteArray headerText(
    const QString& name, int channels, int rate, qint64 frames, int format, int baseline = 0)
{
    QByteArray h = QString("%1 %2 %3 %4\n").arg(name).arg(channels).arg(rate).arg(frames).toUtf8();
    for (int c = 0; c < channels; ++c)
        h += QString("%1.dat %2 200(%3)/mV 12 0 0 0 0 lead%4\n")
                 .arg(name)
                 .arg(format)
                 .arg(baseline + c)
                 .arg(c)
                 .toUtf8();
    return h;
}

// Records the last report and raises `cancel` once the position reaches cancelAt (> 0).
class ProgressLog : public ProgressSink
{
public:
    void progress(qint64 position, qint64 total) override
    {
        last = position;
        this->total = total;
        if (cancel && position >= cancelAt)
            *cancel = true;
    }
    qint64 last = -1, total = -1, cancelAt = 0;
    CancelFlag* cancel = nullptr;
};

// Volumes the test decides on: plain folders standing in for mounted cards. The test keeps
// the list and may change it after the volumes were handed over.
class FixedVolumes : public RemovableVolumes
{
public:
    explicit FixedVolumes(std::shared_ptr<QStringList> roots)
        : m_roots(std::move(roots))
    {
    }
    QStringList roots() const override { return *m_roots; }

private:
    std::shared_ptr<QStringList> m_roots;
};

} // namespace rectest
