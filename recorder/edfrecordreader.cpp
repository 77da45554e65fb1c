#include "recorder/edfrecordreader.h"

#include "recorder/recordingerror.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <sys/types.h>

#include <cmath>
#include <limits>

namespace {

[[noreturn]] void fail(const QString& path, const QString& what)
{
    throw RecordingError(QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), what));
}

bool parseSeconds(const QByteArray& text, double* out)
{
    if (text.isEmpty())
        return false;
    bool ok = false;
    *out = text.toDouble(&ok);
    return ok && std::isfinite(*out);
}

} // namespace

void parseEdfAnnotationLists(
    const QByteArray& bytes, double* recordOnset, QVector<EdfAnnotation>* out, const QString& path)
{
    *recordOnset = std::numeric_limits<double>::quiet_NaN();
    bool first = true;
    int pos = 0;
    const int n = bytes.size();
    while (pos < n && bytes[pos] != '\0') {
        const int end = bytes.indexOf('\0', pos);
        const QByteArray tal = bytes.mid(pos, (end < 0 ? n : end) - pos);
        pos = end < 0 ? n : end + 1;
        // "+onset[\x15duration]\x14text\x14text\x14..."
        const int firstText = tal.indexOf('\x14');
        if (firstText < 0 || (tal[0] != '+' && tal[0] != '-'))
            fail(path,
                QCoreApplication::translate(
                    "RecordingImport", "an annotation list does not start with a signed onset"));
        QByteArray stamp = tal.left(firstText);
        double duration = -1.0;
        const int dur = stamp.indexOf('\x15');
        if (dur >= 0) {
            if (!parseSeconds(stamp.mid(dur + 1), &duration))
                fail(path,
                    QCoreApplication::translate(
                        "RecordingImport", "an annotation has a duration that is not a number"));
            stamp = stamp.left(dur);
        }
        double onset = 0.0;
        if (!parseSeconds(stamp, &onset))
            fail(path,
                QCoreApplication::translate(
                    "RecordingImport", "an annotation has an onset that is not a number"));
        const QList<QByteArray> texts = tal.mid(firstText + 1).split('\x14');
        for (int i = 0; i < texts.size(); ++i) {
            if (first && i == 0 && texts[i].isEmpty()) {
                *recordOnset = onset; // the time keeping of the record
                continue;
            }
            if (!texts[i].isEmpty())
                out->append({ onset, duration, texts[i] });
        }
        first = false;
    }
}

EdfRecordReader::EdfRecordReader(const EdfHeader& header, const QVector<int>& signalIndices)
    : m_header(header)
    , m_signals(signalIndices)
{
    qint64 offset = 0;
    for (const EdfSignalHeader& s : header.signalList) {
        m_offsets.push_back(offset);
        offset += qint64(s.samplesPerRecord) * header.bytesPerSample();
    }
    m_record.resize(int(header.recordBytes()));
    for (int i : m_signals)
        m_samples.emplace_back(size_t(header.signalList[i].samplesPerRecord));
    m_file = std::fopen(QFile::encodeName(header.path).constData(), "rb");
    if (!m_file)
        fail(header.path, QCoreApplication::translate("RecordingImport", "cannot open the file"));
}

EdfRecordReader::~EdfRecordReader()
{
    if (m_file)
        std::fclose(m_file);
}

double EdfRecordReader::readRecord(qint64 r, QVector<EdfAnnotation>* annotations)
{
    const qint64 size = m_record.size();
    if (fseeko(m_file, off_t(m_header.headerBytes + r * size), SEEK_SET) != 0
        || std::fread(m_record.data(), 1, size_t(size), m_file) != size_t(size))
        fail(m_header.path,
            QCoreApplication::translate("RecordingImport", "cannot read data record %1")
                .arg(r + 1));
    const auto* bytes = reinterpret_cast<const unsigned char*>(m_record.constData());
    const bool bdf = m_header.bdf;
    for (int k = 0; k < m_signals.size(); ++k) {
        const unsigned char* p = bytes + m_offsets[size_t(m_signals[k])];
        std::vector<int>& out = m_samples[size_t(k)];
        for (size_t i = 0; i < out.size(); ++i) {
            if (bdf) {
                const int v = p[0] | (p[1] << 8) | (p[2] << 16);
                out[i] = (v & 0x800000) ? v - 0x1000000 : v;
                p += 3;
            } else {
                out[i] = qint16(quint16(p[0] | (p[1] << 8)));
                p += 2;
            }
        }
    }
    return parseAnnotationSignals(r, annotations);
}

double EdfRecordReader::readAnnotations(qint64 r, QVector<EdfAnnotation>* annotations)
{
    const qint64 start = m_header.headerBytes + r * qint64(m_record.size());
    for (int i = 0; i < m_header.signalList.size(); ++i) {
        const EdfSignalHeader& s = m_header.signalList[i];
        if (!s.isAnnotations())
            continue;
        const size_t bytes = size_t(s.samplesPerRecord) * size_t(m_header.bytesPerSample());
        if (fseeko(m_file, off_t(start + m_offsets[size_t(i)]), SEEK_SET) != 0
            || std::fread(m_record.data() + m_offsets[size_t(i)], 1, bytes, m_file) != bytes)
            fail(m_header.path,
                QCoreApplication::translate("RecordingImport", "cannot read data record %1")
                    .arg(r + 1));
    }
    return parseAnnotationSignals(r, annotations);
}

double EdfRecordReader::parseAnnotationSignals(qint64, QVector<EdfAnnotation>* annotations)
{
    double recordOnset = std::numeric_limits<double>::quiet_NaN();
    bool timeKept = false;
    for (int i = 0; i < m_header.signalList.size(); ++i) {
        const EdfSignalHeader& s = m_header.signalList[i];
        if (!s.isAnnotations())
            continue;
        const QByteArray tal = QByteArray::fromRawData(m_record.constData() + m_offsets[size_t(i)],
            s.samplesPerRecord * m_header.bytesPerSample());
        double onset = 0.0;
        parseEdfAnnotationLists(tal, &onset, annotations, m_header.path);
        if (!timeKept) {
            recordOnset = onset; // only the first annotation signal keeps the time
            timeKept = true;
        }
    }
    return recordOnset;
}
