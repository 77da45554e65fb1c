#include "recorder/edfheader.h"

#include "recorder/recordingerror.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QList>
#include <QPair>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int kFixedBytes = 256;
constexpr int kSignalBytes = 256;
constexpr qint64 kMaxRecordBytes = 15 * 1024 * 1024; // BDF's limit, the larger of the two

[[noreturn]] void fail(const QString& path, const QString& what)
{
    throw RecordingError(QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), what));
}

// Reads the header's fields in order.
class FieldReader
{
public:
    FieldReader(const QByteArray& bytes)
        : m_bytes(bytes)
    {
    }
    QByteArray text(int width)
    {
        const QByteArray t = m_bytes.mid(m_pos, width).trimmed();
        m_pos += width;
        return t;
    }
    int pos() const { return m_pos; }

private:
    const QByteArray& m_bytes;
    int m_pos = 0;
};

bool toNumber(const QByteArray& text, double* out)
{
    bool ok = false;
    *out = text.toDouble(&ok);
    return ok && std::isfinite(*out);
}

// A header number as an int: a finite value past int's range is cut to its edge (converting it
// as it stands would be undefined), where the range checks that follow refuse it.
int clampedInt(double v)
{
    return int(std::clamp(
        v, double(std::numeric_limits<int>::min()), double(std::numeric_limits<int>::max())));
}

// "02-MAR-2002", the date form of EDF+ subfields.
QDate edfPlusDate(const QByteArray& text)
{
    static const QList<QByteArray> months
        = { "JAN", "FEB", "MAR", "APR", "MAY", "JUN", "JUL", "AUG", "SEP", "OCT", "NOV", "DEC" };
    const QList<QByteArray> p = text.split('-');
    if (p.size() != 3)
        return QDate();
    const int month = months.indexOf(p[1].toUpper()) + 1;
    bool okDay = false, okYear = false;
    const int day = p[0].toInt(&okDay);
    const int year = p[2].toInt(&okYear);
    return okDay && okYear && month > 0 ? QDate(year, month, day) : QDate();
}

QDate headerDate(const QByteArray& text, const QByteArray& recording)
{
    // EDF+ keeps the four-digit year in the recording field: "Startdate 02-MAR-2002 ...".
    const QList<QByteArray> sub = recording.split(' ');
    if (sub.size() > 1 && sub[0] == "Startdate") {
        const QDate d = edfPlusDate(sub[1]);
        if (d.isValid())
            return d;
    }
    const QList<QByteArray> p = text.split('.');
    if (p.size() != 3)
        return QDate();
    const int yy = p[2].toInt();
    return QDate(yy >= 85 ? 1900 + yy : 2000 + yy, p[1].toInt(), p[0].toInt());
}

QTime headerTime(const QByteArray& text)
{
    const QList<QByteArray> p = text.split('.');
    if (p.size() != 3)
        return QTime();
    return QTime(p[0].toInt(), p[1].toInt(), p[2].toInt());
}

const QStringList& leadNames()
{
    static const QStringList names = { "I", "II", "III", "AVR", "AVL", "AVF", "V1", "V2", "V3",
        "V4", "V5", "V6", "MLII", "MLI", "MLIII", "CM5", "CC5", "CM2", "ML", "X", "Y", "Z" };
    return names;
}

QByteArray withoutEcgPrefix(const QByteArray& label)
{
    QByteArray t = label.trimmed();
    const QByteArray upper = t.toUpper();
    if (upper.startsWith("ECG") || upper.startsWith("EKG"))
        t = t.mid(3);
    while (!t.isEmpty() && (t[0] == ' ' || t[0] == '_' || t[0] == '-' || t[0] == ':'))
        t = t.mid(1);
    return t.trimmed();
}

} // namespace

bool EdfSignalHeader::isAnnotations() const
{
    return label == "EDF Annotations" || label == "BDF Annotations";
}

double EdfSignalHeader::millivoltsPerPhysicalUnit() const
{
    const QByteArray d = physicalDimension.trimmed();
    if (d == "uV" || d == "UV" || d == "\xc2\xb5V" || d == "\xb5V" || d == "mcV")
        return 1e-3;
    if (d == "mV" || d == "MV")
        return 1.0;
    if (d == "V")
        return 1e3;
    if (d == "nV")
        return 1e-6;
    return 0.0;
}

bool EdfSignalHeader::isEcg() const
{
    if (isAnnotations() || millivoltsPerPhysicalUnit() == 0.0)
        return false;
    const QByteArray upper = label.trimmed().toUpper();
    if (upper.contains("ECG") || upper.contains("EKG"))
        return true;
    return leadNames().contains(QString::fromLatin1(withoutEcgPrefix(label)).toUpper());
}

QByteArray EdfSignalHeader::leadName() const
{
    const QByteArray name = withoutEcgPrefix(label);
    return name.isEmpty() ? label.trimmed() : name;
}

bool EdfHeader::looksLike(const QByteArray& b)
{
    if (b.size() < kFixedBytes)
        return false;
    const bool edf = b.startsWith("0       ");
    const bool bdf = b.startsWith("\xff"
                                  "BIOSEMI");
    if (!edf && !bdf)
        return false;
    bool ok = false;
    const int headerBytes = b.mid(184, 8).trimmed().toInt(&ok);
    return ok && headerBytes >= kFixedBytes && headerBytes % kSignalBytes == 0;
}

EdfHeader EdfHeader::read(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        fail(path, QCoreApplication::translate("RecordingImport", "cannot open the file"));
    QByteArray bytes = file.read(kFixedBytes);
    if (bytes.size() == kFixedBytes) {
        bool ok = false;
        const int ns = bytes.mid(252, 4).trimmed().toInt(&ok);
        if (ok && ns > 0 && ns <= kMaxSignals)
            bytes += file.read(qint64(ns) * kSignalBytes);
    }
    return parse(bytes, file.size(), path);
}

EdfHeader EdfHeader::parse(const QByteArray& bytes, qint64 fileSize, const QString& path)
{
    if (!looksLike(bytes))
        fail(path,
            QCoreApplication::translate(
                "RecordingImport", "not an EDF or BDF file (no EDF header at its start)"));
    EdfHeader h;
    h.path = path;
    FieldReader r(bytes);
    h.bdf = bytes.startsWith('\xff');
    r.text(8);
    h.patient = r.text(80);
    h.recording = r.text(80);
    const QByteArray date = r.text(8);
    const QByteArray time = r.text(8);
    h.headerBytes = r.text(8).toInt();
    const QByteArray reserved = r.text(44);
    h.plus = reserved.startsWith("EDF+") || reserved.startsWith("BDF+");
    h.discontinuous = h.plus && reserved.mid(4, 1) == "D";
    bool ok = false;
    h.recordCount = r.text(8).toLongLong(&ok);
    if (!ok)
        fail(path,
            QCoreApplication::translate(
                "RecordingImport", "the number of data records is not a number"));
    const QByteArray duration = r.text(8);
    if (!toNumber(duration, &h.recordSeconds) || h.recordSeconds <= 0.0)
        fail(path,
            QCoreApplication::translate("RecordingImport",
                "the data record duration '%1' is not a positive number of seconds")
                .arg(QString::fromLatin1(duration)));
    const int ns = r.text(4).toInt(&ok);
    if (!ok || ns <= 0)
        fail(
            path, QCoreApplication::translate("RecordingImport", "the header declares no signals"));
    if (ns > kMaxSignals)
        fail(path,
            QCoreApplication::translate("RecordingImport",
                "the header declares %1 signals; a Holter recording has at most %2")
                .arg(ns)
                .arg(kMaxSignals));
    if (h.headerBytes != kFixedBytes + ns * kSignalBytes)
        fail(path,
            QCoreApplication::translate(
                "RecordingImport", "the header size %1 bytes does not fit its %2 signals")
                .arg(h.headerBytes)
                .arg(ns));
    if (bytes.size() < h.headerBytes)
        fail(path,
            QCoreApplication::translate("RecordingImport", "the file ends inside its header"));
    h.start = QDateTime(headerDate(date, h.recording), headerTime(time));

    h.signalList.resize(ns);
    for (auto& s : h.signalList)
        s.label = r.text(16);
    for (auto& s : h.signalList)
        s.transducer = r.text(80);
    for (auto& s : h.signalList)
        s.physicalDimension = r.text(8);
    auto numbers = [&](auto setter, const char* what) {
        for (int i = 0; i < ns; ++i) {
            double v = 0.0;
            const QByteArray t = r.text(8);
            if (!toNumber(t, &v))
                fail(path,
                    QCoreApplication::translate(
                        "RecordingImport", "signal %1 (%2): the %3 '%4' is not a number")
                        .arg(i + 1)
                        .arg(QString::fromLatin1(h.signalList[i].label),
                            QCoreApplication::translate("RecordingImport", what),
                            QString::fromLatin1(t)));
            setter(h.signalList[i], v);
        }
    };
    numbers([](EdfSignalHeader& s, double v) { s.physicalMin = v; },
        QT_TRANSLATE_NOOP("RecordingImport", "physical minimum"));
    numbers([](EdfSignalHeader& s, double v) { s.physicalMax = v; },
        QT_TRANSLATE_NOOP("RecordingImport", "physical maximum"));
    numbers([](EdfSignalHeader& s, double v) { s.digitalMin = clampedInt(v); },
        QT_TRANSLATE_NOOP("RecordingImport", "digital minimum"));
    numbers([](EdfSignalHeader& s, double v) { s.digitalMax = clampedInt(v); },
        QT_TRANSLATE_NOOP("RecordingImport", "digital maximum"));
    for (auto& s : h.signalList)
        s.prefilter = r.text(80);
    numbers([](EdfSignalHeader& s, double v) { s.samplesPerRecord = clampedInt(v); },
        QT_TRANSLATE_NOOP("RecordingImport", "number of samples per record"));
    // The record layout is laid out from these counts: a negative one would misplace every
    // signal after it.
    for (int i = 0; i < ns; ++i)
        if (h.signalList[i].samplesPerRecord < 0)
            fail(path,
                QCoreApplication::translate("RecordingImport",
                    "signal %1 (%2): the number of samples per record is negative")
                    .arg(i + 1)
                    .arg(QString::fromLatin1(h.signalList[i].label)));

    const qint64 recordBytes = h.recordBytes();
    if (recordBytes > kMaxRecordBytes)
        fail(path,
            QCoreApplication::translate(
                "RecordingImport", "a data record of %1 bytes is more than the format allows (%2)")
                .arg(recordBytes)
                .arg(kMaxRecordBytes));
    const qint64 available = recordBytes > 0 ? (fileSize - h.headerBytes) / recordBytes : 0;
    if (h.recordCount == -1)
        h.recordCount = available; // still being recorded when the header was written
    if (h.recordCount < 0)
        fail(path,
            QCoreApplication::translate(
                "RecordingImport", "the number of data records is negative"));
    if (h.recordCount == 0)
        fail(
            path, QCoreApplication::translate("RecordingImport", "the file holds no data records"));
    if (h.recordCount > available)
        fail(path,
            QCoreApplication::translate("RecordingImport",
                "the header promises %1 data records but the file holds %2; it is "
                "incomplete")
                .arg(h.recordCount)
                .arg(available));
    return h;
}

qint64 EdfHeader::recordBytes() const
{
    qint64 n = 0;
    for (const auto& s : signalList)
        n += qint64(std::max(0, s.samplesPerRecord)) * bytesPerSample();
    return n;
}

double EdfHeader::samplingRate(int signal) const
{
    return signalList[signal].samplesPerRecord / recordSeconds;
}

QVector<int> EdfHeader::ecgSignals() const
{
    QVector<int> out;
    for (int i = 0; i < signalList.size(); ++i)
        if (signalList[i].isEcg())
            out << i;
    return out;
}

int EdfHeader::firstAnnotationSignal() const
{
    for (int i = 0; i < signalList.size(); ++i)
        if (signalList[i].isAnnotations())
            return i;
    return -1;
}

namespace {

QByteArray subfield(const QByteArray& patient, int index)
{
    const QList<QByteArray> parts = patient.split(' ');
    if (parts.size() < 4 || index >= parts.size())
        return QByteArray();
    const QByteArray f = parts[index];
    return f == "X" ? QByteArray() : f;
}

} // namespace

QByteArray EdfHeader::patientCode() const
{
    return plus ? QByteArray(subfield(patient, 0)).replace('_', ' ') : QByteArray();
}

QByteArray EdfHeader::patientSex() const
{
    const QByteArray s = plus ? subfield(patient, 1) : QByteArray();
    return s == "M" || s == "F" ? s : QByteArray();
}

QByteArray EdfHeader::patientBirthDate() const
{
    const QByteArray b = plus ? subfield(patient, 2) : QByteArray();
    const QDate d = edfPlusDate(b);
    return d.isValid() ? d.toString("yyyyMMdd").toLatin1() : QByteArray();
}

QPair<QByteArray, QByteArray> EdfHeader::patientName() const
{
    const QByteArray name = plus ? subfield(patient, 3) : QByteArray();
    if (name.isEmpty())
        return {};
    const int comma = name.indexOf(',');
    if (comma >= 0)
        return { name.left(comma).replace('_', ' ').trimmed(),
            name.mid(comma + 1).replace('_', ' ').trimmed() };
    const int us = name.indexOf('_');
    if (us < 0)
        return { name, QByteArray() };
    return { name.left(us), name.mid(us + 1).replace('_', ' ').trimmed() };
}
