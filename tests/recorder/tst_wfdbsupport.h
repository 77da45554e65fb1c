#pragma once

// Small WFDB records written by the tests, with encoders kept apart from the reader's decoder.

#include "tests/support/testsupport.h"

#include <QByteArray>
#include <QDir>
#include <QString>

#include <vector>

namespace wfdbtest {

// A deterministic 12-bit test signal that visits negative and positive values of every size.
inline int sampleValue(qint64 frame, int channel)
{
    return int((frame * 37 + channel * 1001 + (frame / 7) * 13) % 4096) - 2048;
}

// Interleaved frames of sampleValue.
inline std::vector<int> interleaved(qint64 frames, int channels)
{
    std::vector<int> v;
    for (qint64 f = 0; f < frames; ++f)
        for (int c = 0; c < channels; ++c)
            v.push_back(sampleValue(f, c));
    return v;
}

// Format 212, straight from the format's description: each pair of samples in three bytes,
// the low eight bits of the first, then the high nibbles (first sample's low, second's high),
// then the low eight bits of the second. A lone last sample takes two bytes.
inline QByteArray encode212(const std::vector<int>& samples)
{
    QByteArray out;
    for (size_t i = 0; i < samples.size(); i += 2) {
        const int a = samples[i] & 0xFFF;
        if (i + 1 == samples.size()) {
            out += char(a & 0xFF);
            out += char(a >> 8);
            break;
        }
        const int b = samples[i + 1] & 0xFFF;
        out += char(a & 0xFF);
        out += char((a >> 8) | ((b >> 8) << 4));
        out += char(b & 0xFF);
    }
    return out;
}

// Format 16: little-endian two's complement.
inline QByteArray encode16(const std::vector<int>& samples)
{
    QByteArray out;
    for (int v : samples) {
        out += char(v & 0xFF);
        out += char((v >> 8) & 0xFF);
    }
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

// A header for `channels` signals of one format in name.dat; signal c has baseline
// `baseline + c` and description "lead<c>".
inline QByteArray headerText(const QString& name, int channels, int rate, qint64 frames, int format,
    int baseline = 0, const QByteArray& gain = "200")
{
    QByteArray h = QString("%1 %2 %3 %4\n").arg(name).arg(channels).arg(rate).arg(frames).toUtf8();
    for (int c = 0; c < channels; ++c)
        h += QString("%1.dat %2 %3(%4)/mV 12 0 0 0 0 lead%5\n")
                 .arg(name)
                 .arg(format)
                 .arg(QString::fromUtf8(gain))
                 .arg(baseline + c)
                 .arg(c)
                 .toUtf8();
    return h;
}

} // namespace wfdbtest
