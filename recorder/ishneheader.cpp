#include "recorder/ishneheader.h"

#include "recorder/recordingerror.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QtEndian>

#include <array>
#include <iterator>

namespace {

constexpr char kMagic[] = "ISHNE1.0";

[[noreturn]] void fail(const QString& path, const QString& what)
{
    throw RecordingError(QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), what));
}

class LittleEndianReader
{
public:
    explicit LittleEndianReader(const QByteArray& bytes)
        : m_bytes(bytes)
    {
    }
    qint32 i32()
    {
        const qint32 v = qFromLittleEndian<qint32>(m_bytes.constData() + m_pos);
        m_pos += 4;
        return v;
    }
    qint16 i16()
    {
        const qint16 v = qFromLittleEndian<qint16>(m_bytes.constData() + m_pos);
        m_pos += 2;
        return v;
    }
    QByteArray text(int width)
    {
        QByteArray t = m_bytes.mid(m_pos, width);
        m_pos += width;
        const int nul = t.indexOf('\0');
        return (nul >= 0 ? t.left(nul) : t).trimmed();
    }
    QDate date()
    {
        const int d = i16(), m = i16(), y = i16();
        return QDate(y, m, d);
    }

private:
    const QByteArray& m_bytes;
    int m_pos = 0;
};

} // namespace

quint16 ishneCrc(const char* data, qint64 size)
{
    static const auto table = [] {
        std::array<quint16, 256> t {};
        for (int i = 0; i < 256; ++i) {
            quint16 c = quint16(i << 8);
            for (int b = 0; b < 8; ++b)
                c = (c & 0x8000) ? quint16((c << 1) ^ 0x1021) : quint16(c << 1);
            t[size_t(i)] = c;
        }
        return t;
    }();
    quint16 crc = 0xFFFF;
    for (qint64 i = 0; i < size; ++i)
        crc = quint16((crc << 8) ^ table[((crc >> 8) ^ quint8(data[i])) & 0xFF]);
    return crc;
}

bool IshneHeader::looksLike(const QByteArray& firstBytes)
{
    return firstBytes.startsWith(kMagic);
}

IshneHeader IshneHeader::read(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        fail(path, QCoreApplication::translate("RecordingImport", "cannot open the file"));
    const QByteArray pre = file.read(kPreambleBytes);
    if (!looksLike(pre))
        fail(path,
            QCoreApplication::translate(
                "RecordingImport", "not an ISHNE Holter file (its first bytes are not ISHNE1.0)"));
    const QByteArray fixed = file.read(kFixedBytes);
    if (pre.size() < kPreambleBytes || fixed.size() < kFixedBytes)
        fail(path,
            QCoreApplication::translate("RecordingImport", "the file ends inside its header"));

    IshneHeader h;
    h.path = path;
    LittleEndianReader r(fixed);
    h.variableBlockSize = r.i32();
    h.samplesPerLead = r.i32();
    h.variableBlockOffset = r.i32();
    h.ecgOffset = r.i32();
    h.fileVersion = r.i16();
    h.firstName = r.text(40);
    h.lastName = r.text(40);
    h.id = r.text(20);
    h.sex = r.i16();
    h.race = r.i16();
    h.birthDate = r.date();
    h.recordDate = r.date();
    h.fileDate = r.date();
    const int hh = r.i16(), mm = r.i16(), ss = r.i16();
    h.startTime = QTime(hh, mm, ss);
    h.leadCount = r.i16();
    for (int i = 0; i < kMaxLeads; ++i)
        h.leadSpec << r.i16();
    for (int i = 0; i < kMaxLeads; ++i)
        h.leadQuality << r.i16();
    for (int i = 0; i < kMaxLeads; ++i)
        h.resolutionNv << r.i16();
    h.pacemaker = r.i16();
    h.recorder = r.text(40);
    h.samplingRate = r.i16();

    const qint32 fixedEnd = kPreambleBytes + kFixedBytes;
    if (h.variableBlockSize < 0 || h.variableBlockOffset != fixedEnd
        || h.ecgOffset != fixedEnd + h.variableBlockSize)
        fail(path,
            QCoreApplication::translate("RecordingImport",
                "the header's block sizes and offsets disagree (variable block %1 bytes "
                "at %2, ECG at %3)")
                .arg(h.variableBlockSize)
                .arg(h.variableBlockOffset)
                .arg(h.ecgOffset));
    if (h.ecgOffset > file.size())
        fail(path,
            QCoreApplication::translate("RecordingImport", "the file ends inside its header"));
    h.variableBlock = file.read(h.variableBlockSize);
    if (h.variableBlock.size() != h.variableBlockSize)
        fail(path,
            QCoreApplication::translate("RecordingImport", "the file ends inside its header"));
    const quint16 stored = qFromLittleEndian<quint16>(pre.constData() + 8);
    const QByteArray covered = fixed + h.variableBlock;
    const quint16 computed = ishneCrc(covered.constData(), covered.size());
    if (stored != computed)
        fail(path,
            QCoreApplication::translate("RecordingImport",
                "the header checksum does not match (stored %1, computed %2); the "
                "header is damaged")
                .arg(stored, 4, 16, QChar('0'))
                .arg(computed, 4, 16, QChar('0')));
    if (h.leadCount < 1 || h.leadCount > kMaxLeads)
        fail(path,
            QCoreApplication::translate(
                "RecordingImport", "the header declares %1 leads; 1 to %2 are possible")
                .arg(h.leadCount)
                .arg(kMaxLeads));
    if (h.samplingRate <= 0 || h.samplingRate > 1024)
        fail(path,
            QCoreApplication::translate(
                "RecordingImport", "the sampling rate %1 Hz is not one of 1 to 1024 Hz")
                .arg(h.samplingRate));
    for (int i = 0; i < h.leadCount; ++i)
        if (h.resolutionNv[i] <= 0)
            fail(path,
                QCoreApplication::translate(
                    "RecordingImport", "lead %1 has an amplitude resolution of %2 nV")
                    .arg(i + 1)
                    .arg(h.resolutionNv[i]));
    if (h.samplesPerLead < 0)
        fail(path,
            QCoreApplication::translate(
                "RecordingImport", "the header gives a negative number of samples"));
    const qint64 held = (file.size() - h.ecgOffset) / (2 * qint64(h.leadCount));
    if (held < h.samplesPerLead)
        fail(path,
            QCoreApplication::translate("RecordingImport",
                "the header promises %1 samples per lead but the file holds %2; it is "
                "incomplete")
                .arg(h.samplesPerLead)
                .arg(held));
    return h;
}

QByteArray IshneHeader::leadName(int code, int lead)
{
    static const char* const names[] = { nullptr, "Bipolar", "X", "Y", "Z", "I", "II", "III", "aVR",
        "aVL", "aVF", "V1", "V2", "V3", "V4", "V5", "V6", "ES", "AS", "AI" };
    if (code >= 1 && code < int(std::size(names)))
        return names[code];
    return "Lead " + QByteArray::number(lead + 1);
}
