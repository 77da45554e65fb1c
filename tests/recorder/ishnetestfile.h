#pragma once

// ISHNE Holter files written from the published layout (1998 standard output format), apart
// from the reader: "ISHNE1.0", a CRC-CCITT of the header from byte 10 to the ECG block, the
// 512-byte fixed header, a variable-length block, then int16 samples interleaved by lead.

#include <QByteArray>
#include <QDate>
#include <QTime>
#include <QVector>
#include <QtEndian>

#include <functional>

namespace rectest {

// Bit by bit, as the standard describes it: polynomial 0x1021, initial value 0xFFFF.
inline quint16 crcCcittBitwise(const QByteArray& bytes)
{
    quint16 crc = 0xFFFF;
    for (char byte : bytes) {
        crc ^= quint16(quint8(byte) << 8);
        for (int b = 0; b < 8; ++b)
            crc = (crc & 0x8000) ? quint16((crc << 1) ^ 0x1021) : quint16(crc << 1);
    }
    return crc;
}

struct IshneTestFile
{
    QByteArray magic = "ISHNE1.0";
    QByteArray variableBlock = "recorded in the test";
    QByteArray firstName = "Ana";
    QByteArray lastName = "Ruiz";
    QByteArray id = "HC-4711";
    int sex = 2;
    QDate birth { 1960, 4, 5 };
    QDate recorded { 2025, 7, 14 };
    QTime start { 8, 30, 15 };
    int leads = 3;
    QVector<int> leadSpec = { 6, 11, 15 }; // II, V1, V5
    QVector<int> resolution = { 2500, 2500, 5000 }; // nV per step
    int rate = 200;
    qint64 samplesPerLead = 1000;
    qint64 samplesWritten = -1; // -1: as many as promised
    int ecgOffsetShift = 0; // moves the ECG offset field away from where it belongs
    qint32 declaredVariableSize = -1; // the variable block size field; -1: its real size
    bool breakChecksum = false;
    std::function<qint16(int lead, qint64 i)> value
        = [](int lead, qint64 i) { return qint16((i * 97 + lead * 3001) % 60001 - 30000); };

    QByteArray bytes() const
    {
        QByteArray fixed;
        auto i32 = [&fixed](qint32 v) {
            char b[4];
            qToLittleEndian(v, b);
            fixed.append(b, 4);
        };
        auto i16 = [&fixed](int v) {
            char b[2];
            qToLittleEndian(qint16(v), b);
            fixed.append(b, 2);
        };
        auto text = [&fixed](const QByteArray& t, int width) {
            fixed.append(t.left(width).leftJustified(width, '\0'));
        };
        auto date = [&](const QDate& d) {
            i16(d.day());
            i16(d.month());
            i16(d.year());
        };
        const qint32 variableSize
            = declaredVariableSize < 0 ? variableBlock.size() : declaredVariableSize;
        i32(variableSize);
        i32(qint32(samplesPerLead));
        i32(522);
        i32(522 + variableSize + ecgOffsetShift);
        i16(1);
        text(firstName, 40);
        text(lastName, 40);
        text(id, 20);
        i16(sex);
        i16(0);
        date(birth);
        date(recorded);
        date(QDate(2025, 7, 16));
        i16(start.hour());
        i16(start.minute());
        i16(start.second());
        i16(leads);
        for (int k = 0; k < 12; ++k)
            i16(leadSpec.value(k, -9));
        for (int k = 0; k < 12; ++k)
            i16(k < leads ? 1 : -9);
        for (int k = 0; k < 12; ++k)
            i16(resolution.value(k, -9));
        i16(0);
        text("digital", 40);
        i16(rate);
        text("", 80);
        text("", 80);
        text("", 88);
        const QByteArray header = fixed + variableBlock;
        quint16 crc = crcCcittBitwise(header);
        if (breakChecksum)
            crc ^= 0x0100;
        QByteArray out = magic.leftJustified(8, ' ', true);
        char c[2];
        qToLittleEndian(crc, c);
        out.append(c, 2);
        out += header;
        const qint64 n = samplesWritten < 0 ? samplesPerLead : samplesWritten;
        for (qint64 i = 0; i < n; ++i)
            for (int lead = 0; lead < leads; ++lead) {
                char s[2];
                qToLittleEndian(value(lead, i), s);
                out.append(s, 2);
            }
        return out;
    }
};

} // namespace rectest
