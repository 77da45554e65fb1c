#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QVector>

// One signal of an EDF or BDF header.
struct EdfSignalHeader
{
    QByteArray label;
    QByteArray transducer;
    QByteArray physicalDimension; // "uV", "mV", ...
    double physicalMin = 0.0;
    double physicalMax = 0.0;
    int digitalMin = 0;
    int digitalMax = 0;
    QByteArray prefilter;
    int samplesPerRecord = 0;

    // An EDF+/BDF+ annotation signal ("EDF Annotations" / "BDF Annotations").
    bool isAnnotations() const;
    // Millivolts per physical unit for a voltage dimension (nV, uV, mV, V); 0 for anything else.
    double millivoltsPerPhysicalUnit() const;
    // ECG: a voltage whose label says ECG or EKG or names a lead ("ECG II", "V5", "EKG").
    bool isEcg() const;
    // The lead name the study keeps: the label without an "ECG"/"EKG" prefix ("ECG II" -> "II").
    QByteArray leadName() const;
};

// The header of an EDF, EDF+, BDF or BDF+ file, read and checked by us, so that what is wrong
// with a file gets a message of its own and discontinuous files can be read at all.
struct EdfHeader
{
    static constexpr int kMaxSignals = 64; // beyond that it is not a Holter recording

    QString path;
    bool bdf = false; // 24-bit samples
    bool plus = false; // EDF+ / BDF+
    bool discontinuous = false; // EDF+D / BDF+D
    QByteArray patient; // the 80-character field, trimmed
    QByteArray recording;
    QDateTime start; // invalid when the header's date or time doesn't parse
    int headerBytes = 0;
    qint64 recordCount = 0;
    double recordSeconds = 0.0;
    QVector<EdfSignalHeader> signalList;

    // True when the first bytes are those of an EDF ("0" and blanks) or BDF (0xFF "BIOSEMI")
    // file with a numeric header size where it belongs.
    static bool looksLike(const QByteArray& firstBytes);
    // Reads and checks the header and that the file holds every data record it promises.
    // Throws RecordingError naming the file.
    static EdfHeader read(const QString& path);
    // Parses header bytes; `fileSize` is the whole file's, for the length check.
    static EdfHeader parse(const QByteArray& bytes, qint64 fileSize, const QString& path);

    int bytesPerSample() const { return bdf ? 3 : 2; }
    qint64 recordBytes() const;
    // The sampling rate of a signal in samples per second.
    double samplingRate(int signal) const;
    // Indices of the ECG signals, in file order.
    QVector<int> ecgSignals() const;
    int firstAnnotationSignal() const; // -1 without one

    // EDF+ patient subfields ("code sex birthdate name_with_underscores ...").
    QByteArray patientCode() const;
    QByteArray patientSex() const; // "M", "F" or empty
    QByteArray patientBirthDate() const; // "yyyyMMdd" or empty
    // Last and first name from the EDF+ name subfield ("Last_First" or "Last,_First").
    QPair<QByteArray, QByteArray> patientName() const;
};
