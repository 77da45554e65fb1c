#include "recorder/wfdbannotation.h"

#include "store/storeio.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSaveFile>

#include <algorithm>
#include <limits>

namespace {

constexpr int kSkip = 59;
constexpr int kNum = 60;
constexpr int kSub = 61;
constexpr int kChn = 62;
constexpr int kAux = 63;
constexpr int kValueMask = 0x3FF; // low 10 bits of a word
constexpr int kMaxValue = kValueMask;
constexpr int kMaxCode = 58; // 59..63 are the pseudo-annotations above
// Reference files are a few hundred KiB; anything near this is not an annotation file.
constexpr qint64 kMaxFileBytes = 256LL * 1024 * 1024;

QString tr(const char* text)
{
    return QCoreApplication::translate("WfdbAnnotation", text);
}

quint16 wordAt(const QByteArray& bytes, qint64 pos)
{
    return quint16(quint8(bytes[int(pos)]) | (quint8(bytes[int(pos + 1)]) << 8));
}

void putWord(QByteArray& out, int word)
{
    out.append(char(word & 0xFF));
    out.append(char((word >> 8) & 0xFF));
}

class Decoder
{
public:
    Decoder(const QByteArray& bytes, const QString& name)
        : m_bytes(bytes)
        , m_name(name)
    {
    }

    QVector<WfdbAnnotation> run()
    {
        QVector<WfdbAnnotation> out;
        qint64 time = 0; // samples
        int num = 0;
        int chan = 0;
        bool open = false; // the last annotation still takes modifiers
        for (;;) {
            const quint16 word = nextWord();
            if (word == 0)
                break;
            const int code = word >> 10;
            const int value = word & kValueMask;
            switch (code) {
            case kSkip: {
                need(4, QT_TRANSLATE_NOOP("WfdbAnnotation", "a SKIP interval is cut off"));
                const quint32 hi = wordAt(m_bytes, m_pos);
                const quint32 lo = wordAt(m_bytes, m_pos + 2);
                m_pos += 4;
                time += qint32((hi << 16) | lo);
                open = false;
                break;
            }
            case kNum:
                num = value;
                if (open)
                    out.last().num = value;
                break;
            case kChn:
                chan = value;
                if (open)
                    out.last().channel = value;
                break;
            case kSub:
                if (!open)
                    fail(QT_TRANSLATE_NOOP("WfdbAnnotation", "SUB without an annotation"));
                out.last().subtype = value;
                break;
            case kAux: {
                if (!open)
                    fail(QT_TRANSLATE_NOOP("WfdbAnnotation", "AUX without an annotation"));
                const qint64 padded = value + (value & 1);
                need(padded, QT_TRANSLATE_NOOP("WfdbAnnotation", "AUX text runs past the end"));
                QByteArray aux = m_bytes.mid(int(m_pos), value);
                while (!aux.isEmpty() && aux.endsWith('\0'))
                    aux.chop(1);
                out.last().aux = aux;
                m_pos += padded;
                break;
            }
            default: {
                time += value;
                if (time < 0)
                    fail(QT_TRANSLATE_NOOP(
                        "WfdbAnnotation", "an annotation lies before the start of the record"));
                if (!out.isEmpty() && time < out.last().sample)
                    fail(QT_TRANSLATE_NOOP("WfdbAnnotation", "time goes backwards"));
                WfdbAnnotation a;
                a.sample = time;
                a.code = code;
                a.num = num;
                a.channel = chan;
                out.append(a);
                open = true;
                break;
            }
            }
        }
        return out;
    }

private:
    quint16 nextWord()
    {
        if (m_pos + 2 > m_bytes.size()) {
            fail(m_pos == m_bytes.size()
                    ? QT_TRANSLATE_NOOP("WfdbAnnotation", "it ends without an end mark")
                    : QT_TRANSLATE_NOOP("WfdbAnnotation", "it has an odd length"));
        }
        const quint16 w = wordAt(m_bytes, m_pos);
        m_pos += 2;
        return w;
    }

    void need(qint64 count, const char* what)
    {
        if (m_pos + count > m_bytes.size())
            fail(what);
    }

    [[noreturn]] void fail(const char* what) const
    {
        throw WfdbError(tr("Annotation file %1 is not valid: %2 (at byte %3).")
                            .arg(m_name, tr(what))
                            .arg(m_pos));
    }

    const QByteArray& m_bytes;
    const QString& m_name;
    qint64 m_pos = 0;
};

void checkRange(int value, int min, int max, const char* what)
{
    if (value < min || value > max)
        throw WfdbError(tr("Cannot encode annotation: %1 %2 is out of range.")
                            .arg(QString::fromLatin1(what))
                            .arg(value));
}

} // namespace

QVector<WfdbAnnotation> decodeWfdbAnnotations(const QByteArray& bytes, const QString& name)
{
    return Decoder(bytes, name).run();
}

QVector<WfdbAnnotation> readWfdbAnnotations(const QString& path)
{
    const QString shown = QDir::toNativeSeparators(path);
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly))
        throw WfdbError(tr("Cannot open annotation file %1.").arg(shown));
    if (file.size() > kMaxFileBytes)
        throw WfdbError(tr("Annotation file %1 is too large.").arg(shown));
    const QByteArray bytes = file.readAll();
    if (bytes.size() != file.size())
        throw WfdbError(tr("Cannot read annotation file %1.").arg(shown));
    return decodeWfdbAnnotations(bytes, shown);
}

QByteArray encodeWfdbAnnotations(const QVector<WfdbAnnotation>& annotations)
{
    QVector<WfdbAnnotation> sorted = annotations;
    std::stable_sort(sorted.begin(), sorted.end(),
        [](const WfdbAnnotation& a, const WfdbAnnotation& b) { return a.sample < b.sample; });

    QByteArray out;
    out.reserve(sorted.size() * 2 + 2);
    qint64 time = 0;
    int num = 0;
    int chan = 0;
    for (const WfdbAnnotation& a : sorted) {
        if (a.sample < 0)
            throw WfdbError(
                tr("Cannot encode annotation: sample %1 lies before the start of the record.")
                    .arg(a.sample));
        checkRange(a.code, 1, kMaxCode, "code");
        checkRange(a.subtype, 0, kMaxValue, "subtype");
        checkRange(a.channel, 0, kMaxValue, "channel");
        checkRange(a.num, 0, kMaxValue, "number");
        checkRange(a.aux.size(), 0, kMaxValue, "text length");

        qint64 delta = a.sample - time;
        // Steps that don't fit the 10 bits go in SKIPs, each at most a signed 32-bit interval.
        while (delta > kMaxValue) {
            const qint64 step = std::min<qint64>(delta, std::numeric_limits<qint32>::max());
            const quint32 u = quint32(step);
            putWord(out, kSkip << 10);
            putWord(out, int(u >> 16));
            putWord(out, int(u & 0xFFFF));
            delta -= step;
        }
        time = a.sample;
        putWord(out, (a.code << 10) | int(delta));
        if (a.subtype != 0)
            putWord(out, (kSub << 10) | a.subtype);
        if (a.channel != chan)
            putWord(out, (kChn << 10) | a.channel);
        if (a.num != num)
            putWord(out, (kNum << 10) | a.num);
        chan = a.channel;
        num = a.num;
        if (!a.aux.isEmpty()) {
            putWord(out, (kAux << 10) | a.aux.size());
            out.append(a.aux);
            if (a.aux.size() & 1)
                out.append('\0');
        }
    }
    putWord(out, 0);
    return out;
}

void writeWfdbAnnotations(
    const QString& path, const QVector<WfdbAnnotation>& annotations, StoreIo* io)
{
    const QByteArray bytes = encodeWfdbAnnotations(annotations);
    const QString shown = QDir::toNativeSeparators(path);
    QSaveFile file(path);
    StoreIo& writer = StoreIo::orStandard(io);
    if (path.isEmpty() || !file.open(QIODevice::WriteOnly))
        throw WfdbError(tr("Cannot write annotation file %1.").arg(shown));
    if (writer.write(file, bytes.constData(), bytes.size()) != bytes.size()) {
        file.cancelWriting();
        throw WfdbError(tr("Cannot write annotation file %1.").arg(shown));
    }
    if (!writer.commit(file))
        throw WfdbError(tr("Cannot write annotation file %1.").arg(shown));
}
