#pragma once

#include <QByteArray>
#include <QDate>
#include <QString>
#include <QTime>
#include <QVector>

// The header of an ISHNE Holter file (the 1998 standard output format): the magic
// "ISHNE1.0", a CRC-CCITT of everything from byte 10 to the ECG block, a fixed header of 512
// bytes, a variable-length block, then int16 little-endian samples interleaved by lead.
struct IshneHeader
{
    static constexpr int kPreambleBytes = 10; // magic and checksum
    static constexpr int kFixedBytes = 512;
    static constexpr int kMaxLeads = 12;

    QString path;
    qint32 variableBlockSize = 0;
    qint32 samplesPerLead = 0;
    qint32 variableBlockOffset = 0;
    qint32 ecgOffset = 0;
    qint16 fileVersion = 0;
    QByteArray firstName;
    QByteArray lastName;
    QByteArray id;
    int sex = 0; // 0 unknown, 1 male, 2 female
    int race = 0;
    QDate birthDate;
    QDate recordDate;
    QDate fileDate;
    QTime startTime;
    int leadCount = 0;
    QVector<int> leadSpec; // one code per lead
    QVector<int> leadQuality;
    QVector<int> resolutionNv; // nanovolts per sample step, per lead
    int pacemaker = 0;
    QByteArray recorder;
    int samplingRate = 0;
    QByteArray variableBlock;

    static bool looksLike(const QByteArray& firstBytes);
    // Reads and checks magic, checksum, offsets, leads, rate and the length of the samples.
    // Throws RecordingError naming the file.
    static IshneHeader read(const QString& path);

    // The name of an ISHNE lead code ("II", "V5", "X"...); "Lead N" for unknown codes.
    static QByteArray leadName(int code, int lead);
};

// CRC-CCITT (polynomial 0x1021, start 0xFFFF, no reflection), the ISHNE header checksum.
quint16 ishneCrc(const char* data, qint64 size);
