#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

#include <stdexcept>

class StoreIo;

// One annotation of a WFDB annotation file ("MIT format"). `sample` is absolute, in samples
// of the record's rate.
struct WfdbAnnotation
{
    qint64 sample = 0;
    int code = 0;    // 1 N, 5 V, 8 A, 9 S, 6 F, 13 Q, 28 rhythm change, ...
    int subtype = 0; // SUB
    int channel = 0; // CHN
    int num = 0;     // NUM
    QByteArray aux;  // e.g. "(AFIB" for a rhythm change

    bool operator==(const WfdbAnnotation& o) const
    {
        return sample == o.sample && code == o.code && subtype == o.subtype
            && channel == o.channel && num == o.num && aux == o.aux;
    }
};

class WfdbError : public std::runtime_error
{
public:
    explicit WfdbError(const QString& message) : std::runtime_error(message.toStdString()) {}
};

// Layout: 16-bit little-endian words, the code in the top 6 bits and the time step (samples
// since the previous annotation) in the low 10. SKIP (59) is followed by a 32-bit step, high
// half first. SUB, CHN, NUM and AUX follow the annotation word they modify; CHN and NUM carry
// over to later annotations, SUB and AUX don't. AUX text is returned without the terminating
// zero bytes that WFDB writers put into it. A zero word ends the stream.

// Reads a whole annotation file. Throws WfdbError naming the file when it can't be read or is
// not a valid annotation stream (odd length, AUX past the end, time going backwards...).
QVector<WfdbAnnotation> readWfdbAnnotations(const QString& path);
// Decodes annotation bytes; `name` only serves the error message.
QVector<WfdbAnnotation> decodeWfdbAnnotations(const QByteArray& bytes, const QString& name);
// Encodes annotations sorted by sample (SKIP for gaps over 1023, NUM/SUB/CHN when they change,
// AUX padded to even length, a zero word at the end).
// Throws WfdbError for what the format can't hold: a negative sample, a code outside 1..58,
// SUB/CHN/NUM outside 0..1023 or AUX longer than 1023 bytes.
QByteArray encodeWfdbAnnotations(const QVector<WfdbAnnotation>& annotations);
// Writes atomically through `io` (null: the standard writer); throws WfdbError on failure.
void writeWfdbAnnotations(const QString& path, const QVector<WfdbAnnotation>& annotations,
                          StoreIo* io = nullptr);
