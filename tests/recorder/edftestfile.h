#pragma once

// EDF, EDF+ and BDF files built byte by byte from the published layout, apart from the
// reader: a 256-byte fixed header, 256 bytes per signal, then data records of each signal's
// samples in turn (16-bit or 24-bit little-endian), annotation signals holding time-stamped
// annotation lists.

#include <QByteArray>
#include <QMap>
#include <QVector>

#include <functional>

namespace rectest {

struct EdfTestSignal
{
    QByteArray label = "ECG II";
    QByteArray dimension = "uV";
    double physicalMin = -3276.8;
    double physicalMax = 3276.7;
    int digitalMin = -32768;
    int digitalMax = 32767;
    int samplesPerRecord = 250;
    bool annotations = false;
};

struct EdfTestFile
{
    bool bdf = false;
    QByteArray reserved = "EDF+C";
    QByteArray patient = "MCH-0234567 F 02-MAY-1951 Haagse_Harry";
    QByteArray recording = "Startdate 02-MAR-2025 X X X";
    QByteArray date = "02.03.25";
    QByteArray time = "10.11.12";
    QByteArray recordSeconds = "1";
    QByteArray signalCountField; // empty: the real count
    qint64 records = 3;
    QVector<EdfTestSignal> signalList;
    QVector<double> onsets; // each record's start; empty: r * duration
    QMap<qint64, QByteArray> annotationLists; // extra lists after a record's time keeping
    // Digital value of sample i of signal s (over the whole file).
    std::function<int(int s, qint64 i)> value
        = [](int s, qint64 i) { return int((i * 37 + s * 1000) % 4000) - 2000; };

    static EdfTestSignal annotationSignal(int bytes = 120)
    {
        EdfTestSignal a;
        a.label = "EDF Annotations";
        a.dimension = "";
        a.physicalMin = -1;
        a.physicalMax = 1;
        a.samplesPerRecord = bytes / 2;
        a.annotations = true;
        return a;
    }

    QByteArray bytes() const
    {
        auto field
            = [](QByteArray text, int width) { return text.leftJustified(width, ' ', true); };
        auto number
            = [&](double v, int width) { return field(QByteArray::number(v, 'g', 10), width); };
        const int ns = signalList.size();
        QByteArray h = bdf ? QByteArray("\xff"
                                        "BIOSEMI",
                           8)
                           : field("0", 8);
        h += field(patient, 80) + field(recording, 80) + field(date, 8) + field(time, 8);
        h += number(256 * (ns + 1), 8) + field(bdf && reserved == "EDF+C" ? "BDF+C" : reserved, 44);
        h += number(double(records), 8) + field(recordSeconds, 8);
        h += field(signalCountField.isEmpty() ? QByteArray::number(ns) : signalCountField, 4);
        for (const auto& s : signalList)
            h += field(bdf && s.annotations ? "BDF Annotations" : s.label, 16);
        for (int i = 0; i < ns; ++i)
            h += field("", 80);
        for (const auto& s : signalList)
            h += field(s.dimension, 8);
        for (const auto& s : signalList)
            h += number(s.physicalMin, 8);
        for (const auto& s : signalList)
            h += number(s.physicalMax, 8);
        for (const auto& s : signalList)
            h += number(s.annotations && bdf ? -8388608 : s.digitalMin, 8);
        for (const auto& s : signalList)
            h += number(s.annotations && bdf ? 8388607 : s.digitalMax, 8);
        for (int i = 0; i < ns; ++i)
            h += field("", 80);
        for (const auto& s : signalList)
            h += number(s.samplesPerRecord, 8);
        for (int i = 0; i < ns; ++i)
            h += field("", 32);
        const int width = bdf ? 3 : 2;
        const double seconds = recordSeconds.toDouble();
        for (qint64 r = 0; r < records; ++r) {
            for (int s = 0; s < ns; ++s) {
                const EdfTestSignal& sig = signalList[s];
                if (sig.annotations) {
                    const double onset = onsets.isEmpty() ? r * seconds : onsets[int(r)];
                    QByteArray tal = "+" + QByteArray::number(onset, 'g', 12) + "\x14\x14";
                    tal.append('\0');
                    if (annotationLists.contains(r))
                        tal += annotationLists[r];
                    const int bytes = sig.samplesPerRecord * width;
                    h += tal.leftJustified(bytes, '\0', true);
                    continue;
                }
                for (int k = 0; k < sig.samplesPerRecord; ++k) {
                    const int v = value(s, r * sig.samplesPerRecord + k);
                    for (int b = 0; b < width; ++b)
                        h.append(char((v >> (8 * b)) & 0xFF));
                }
            }
        }
        return h;
    }
};

// One annotation list: "+onset[\x15duration]\x14text\x14\0".
inline QByteArray edfAnnotationList(double onset, double duration, const QByteArray& text)
{
    QByteArray t = "+" + QByteArray::number(onset, 'g', 12);
    if (duration >= 0)
        t += "\x15" + QByteArray::number(duration, 'g', 12);
    t += "\x14" + text + "\x14";
    t.append('\0');
    return t;
}

} // namespace rectest
