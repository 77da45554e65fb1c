#include "recorder/wfdbrecord.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QList>

#include <sys/types.h>

#include <algorithm>
#include <cmath>

namespace {

[[noreturn]] void failAt(const QString& path, int line, const QString& what)
{
    throw WfdbError(
        QString("%1, line %2: %3").arg(QDir::toNativeSeparators(path)).arg(line).arg(what));
}

[[noreturn]] void failFile(const QString& path, const QString& what)
{
    throw WfdbError(QString("%1: %2").arg(QDir::toNativeSeparators(path), what));
}

// A header token as an integer; anything else is an error on that line.
qint64 toInteger(const QByteArray& token, const char* what, const QString& path, int line)
{
    bool ok = false;
    const qint64 v = token.toLongLong(&ok);
    if (!ok)
        failAt(path, line,
            QString("%1 '%2' is not a whole number").arg(what, QString::fromUtf8(token)));
    return v;
}

int toInt(const QByteArray& token, const char* what, const QString& path, int line)
{
    const qint64 v = toInteger(token, what, path, line);
    if (v < -2147483647 || v > 2147483647)
        failAt(path, line, QString("%1 '%2' is out of range").arg(what, QString::fromUtf8(token)));
    return int(v);
}

double toNumber(const QByteArray& token, const char* what, const QString& path, int line)
{
    bool ok = false;
    const double v = token.toDouble(&ok);
    if (!ok || !std::isfinite(v))
        failAt(path, line, QString("%1 '%2' is not a number").arg(what, QString::fromUtf8(token)));
    return v;
}

// Splits on blanks, remembering where each token starts so that the description keeps its
// own spacing.
QList<QByteArray> tokens(const QByteArray& line, QVector<int>* starts)
{
    QList<QByteArray> out;
    int i = 0;
    const int n = line.size();
    while (i < n) {
        while (i < n && (line[i] == ' ' || line[i] == '\t'))
            ++i;
        if (i >= n)
            break;
        const int start = i;
        while (i < n && line[i] != ' ' && line[i] != '\t')
            ++i;
        out << line.mid(start, i - start);
        if (starts)
            starts->append(start);
    }
    return out;
}

QTime parseTime(const QByteArray& token)
{
    const QList<QByteArray> parts = token.split(':');
    if (parts.size() > 3)
        return QTime();
    int h = 0, m = 0;
    bool ok = true;
    if (parts.size() == 3)
        h = parts[0].toInt(&ok);
    if (ok && parts.size() >= 2)
        m = parts[parts.size() - 2].toInt(&ok);
    const double s = ok ? parts.last().toDouble(&ok) : 0.0;
    if (!ok || s < 0 || s >= 60)
        return QTime();
    const int whole = int(s);
    return QTime(h, m, whole, int(std::lround((s - whole) * 1000)) % 1000);
}

void parseRecordLine(const QByteArray& line, int lineNo, WfdbHeader& h, int* signalCount)
{
    const QString& path = h.headerPath;
    const QList<QByteArray> t = tokens(line, nullptr);
    if (t[0].contains('/'))
        failAt(path, lineNo, "multi-segment records are not supported");
    h.recordName = t[0];
    if (t.size() < 2)
        failAt(path, lineNo, "the record line gives no number of signals");
    const int nsig = toInt(t[1], "number of signals", path, lineNo);
    if (nsig < 1 || nsig > 256)
        failAt(path, lineNo, QString("%1 signals is not a usable record").arg(nsig));
    *signalCount = nsig;
    if (t.size() > 2) {
        QByteArray rate = t[2];
        const int slash = rate.indexOf('/');
        if (slash >= 0) {
            QByteArray counter = rate.mid(slash + 1);
            const int paren = counter.indexOf('(');
            if (paren >= 0)
                counter = counter.left(paren);
            h.counterFrequency = toNumber(counter, "counter frequency", path, lineNo);
            rate = rate.left(slash);
        }
        h.samplingRate = toNumber(rate, "sampling frequency", path, lineNo);
        if (h.samplingRate <= 0)
            failAt(
                path, lineNo, QString("sampling frequency %1 is not positive").arg(h.samplingRate));
    }
    if (t.size() > 3) {
        h.sampleCount = toInteger(t[3], "number of samples", path, lineNo);
        if (h.sampleCount < 0)
            failAt(path, lineNo, "the number of samples is negative");
    }
    if (t.size() > 4) {
        h.baseTime = parseTime(t[4]);
        if (!h.baseTime.isValid())
            failAt(path, lineNo, QString("base time '%1' is not hh:mm:ss").arg(QString(t[4])));
    }
    if (t.size() > 5) {
        h.baseDate = QDate::fromString(QString::fromLatin1(t[5]), "d/M/yyyy");
        if (!h.baseDate.isValid())
            failAt(path, lineNo, QString("base date '%1' is not dd/mm/yyyy").arg(QString(t[5])));
    }
}

// "format[xsamp][:skew][+offset]"
void parseFormat(const QByteArray& token, int lineNo, const QString& path, WfdbSignalSpec& s)
{
    QByteArray rest = token;
    const int plus = rest.indexOf('+');
    if (plus >= 0) {
        s.byteOffset = toInteger(rest.mid(plus + 1), "byte offset", path, lineNo);
        rest = rest.left(plus);
    }
    const int colon = rest.indexOf(':');
    if (colon >= 0) {
        s.skew = toInt(rest.mid(colon + 1), "skew", path, lineNo);
        rest = rest.left(colon);
    }
    const int x = rest.indexOf('x');
    if (x >= 0) {
        s.samplesPerFrame = toInt(rest.mid(x + 1), "samples per frame", path, lineNo);
        rest = rest.left(x);
    }
    s.format = toInt(rest, "format", path, lineNo);
    if (s.byteOffset < 0 || s.samplesPerFrame < 1)
        failAt(path, lineNo, QString("format field '%1' is not valid").arg(QString(token)));
}

// "gain[(baseline)][/units]"
void parseGain(const QByteArray& token, int lineNo, const QString& path, WfdbSignalSpec& s,
    bool* baselineGiven)
{
    QByteArray rest = token;
    const int slash = rest.indexOf('/');
    if (slash >= 0) {
        s.units = rest.mid(slash + 1);
        rest = rest.left(slash);
    }
    const int open = rest.indexOf('(');
    if (open >= 0) {
        const int close = rest.indexOf(')', open);
        if (close < 0 || close != rest.size() - 1)
            failAt(path, lineNo, QString("gain '%1' has a broken baseline").arg(QString(token)));
        s.baseline = toInt(rest.mid(open + 1, close - open - 1), "baseline", path, lineNo);
        *baselineGiven = true;
        rest = rest.left(open);
    }
    const double gain = rest.isEmpty() ? 0.0 : toNumber(rest, "gain", path, lineNo);
    if (gain < 0)
        failAt(path, lineNo, QString("negative gain %1 is not supported").arg(gain));
    s.gain = gain == 0.0 ? WfdbSignalSpec::kDefaultGain : gain;
}

WfdbSignalSpec parseSignalLine(
    const QByteArray& line, int lineNo, const QString& path, int index, const QByteArray& record)
{
    QVector<int> starts;
    const QList<QByteArray> t = tokens(line, &starts);
    WfdbSignalSpec s;
    s.fileName = QString::fromUtf8(t[0]);
    if (t.size() < 2)
        failAt(path, lineNo, "the signal line gives no format");
    parseFormat(t[1], lineNo, path, s);
    bool baselineGiven = false;
    if (t.size() > 2)
        parseGain(t[2], lineNo, path, s, &baselineGiven);
    if (t.size() > 3)
        s.adcResolution = toInt(t[3], "ADC resolution", path, lineNo);
    if (t.size() > 4)
        s.adcZero = toInt(t[4], "ADC zero", path, lineNo);
    if (!baselineGiven)
        s.baseline = s.adcZero;
    s.initialValue = s.adcZero;
    if (t.size() > 5)
        s.initialValue = toInt(t[5], "initial value", path, lineNo);
    if (t.size() > 6) {
        s.checksum = toInt(t[6], "checksum", path, lineNo);
        s.hasChecksum = true;
    }
    if (t.size() > 7)
        s.blockSize = toInt(t[7], "block size", path, lineNo);
    if (t.size() > 8)
        s.description = line.mid(starts[8]).trimmed();
    else
        s.description = "record " + record + ", signal " + QByteArray::number(index);
    return s;
}

} // namespace

double WfdbSignalSpec::gainPerMillivolt() const
{
    const QByteArray u = units.toLower();
    if (u == "uv" || u == "\xc2\xb5v" || u == "microvolt")
        return gain * 1000.0;
    if (u == "v" || u == "volt")
        return gain / 1000.0;
    return gain;
}

QString WfdbHeader::headerPathFor(const QString& record)
{
    if (record.endsWith(".hea", Qt::CaseInsensitive))
        return record;
    return record + ".hea";
}

WfdbHeader WfdbHeader::read(const QString& record)
{
    const QString path = headerPathFor(record);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        failFile(path, "cannot open the record header");
    // Headers are a few hundred bytes; anything huge is not a header.
    const QByteArray text = file.read(1 << 20);
    if (!file.atEnd())
        failFile(path, "is too large to be a record header");
    return parse(text, path);
}

WfdbHeader WfdbHeader::parse(const QByteArray& text, const QString& path)
{
    WfdbHeader h;
    h.headerPath = path;
    int signalCount = -1;
    const QList<QByteArray> lines = text.split('\n');
    int lineNo = 0;
    for (const QByteArray& raw : lines) {
        ++lineNo;
        const QByteArray line = raw.trimmed();
        if (line.startsWith('#')) {
            h.comments << line.mid(1).trimmed();
            continue;
        }
        if (line.isEmpty())
            continue;
        if (signalCount < 0) {
            parseRecordLine(line, lineNo, h, &signalCount);
            continue;
        }
        if (h.channels.size() >= signalCount)
            failAt(path, lineNo,
                QString("more signal lines than the %1 signals the record line gives")
                    .arg(signalCount));
        h.channels << parseSignalLine(line, lineNo, path, h.channels.size(), h.recordName);
    }
    if (signalCount < 0)
        failFile(path, "has no record line");
    if (h.channels.size() < signalCount)
        failAt(path, lineNo,
            QString("the record line gives %1 signals but %2 are described")
                .arg(signalCount)
                .arg(h.channels.size()));
    return h;
}

QDateTime WfdbHeader::baseDateTime() const
{
    if (!baseDate.isValid())
        return QDateTime();
    return QDateTime(baseDate, baseTime.isValid() ? baseTime : QTime(0, 0));
}

QString WfdbHeader::dataPath(int channel) const
{
    if (channel < 0 || channel >= channels.size())
        return QString();
    return QFileInfo(headerPath).dir().filePath(channels[channel].fileName);
}

qint64 WfdbSource::bytesForSamples(int format, qint64 samples)
{
    if (format == 212)
        return samples / 2 * 3 + (samples % 2 ? 2 : 0); // a lone last sample needs 2 bytes
    return samples * 2;
}

WfdbSource::WfdbSource(const QString& record)
    : WfdbSource(WfdbHeader::read(record))
{
}

WfdbSource::WfdbSource(const WfdbHeader& header)
    : SignalSource(int(header.channels.size()), int(std::lround(header.samplingRate)), kBlockSize)
    , m_header(header)
{
    open();
}

void WfdbSource::open()
{
    const WfdbHeader& h = m_header;
    const QString& hea = h.headerPath;
    const int n = h.channels.size();
    if (n < 1)
        failFile(hea, "has no signals");
    if (n > kMaxChannels)
        failFile(hea, QString("has %1 signals; at most %2 can be read").arg(n).arg(kMaxChannels));
    const WfdbSignalSpec& first = h.channels[0];
    for (int c = 0; c < n; ++c) {
        const WfdbSignalSpec& s = h.channels[c];
        if (s.format != 212 && s.format != 16)
            failFile(hea,
                QString("signal %1 has format %2; only formats 212 and 16 can be read")
                    .arg(c + 1)
                    .arg(s.format));
        if (s.fileName == "~" || s.fileName == "-")
            failFile(hea, QString("signal %1 has no data file").arg(c + 1));
        if (s.fileName != first.fileName || s.format != first.format
            || s.byteOffset != first.byteOffset)
            failFile(hea, "signals stored in different files or formats are not supported");
        if (s.samplesPerFrame != 1 || s.skew != 0)
            failFile(hea,
                QString("signal %1 uses several samples per frame or a skew, which "
                        "are not supported")
                    .arg(c + 1));
        m_baselines.push_back(s.baseline);
        channel(c)->setName(s.description);
    }
    m_format = first.format;
    m_byteOffset = first.byteOffset;
    m_dataPath = h.dataPath(0);

    m_file = std::fopen(QFile::encodeName(m_dataPath).constData(), "rb");
    if (!m_file)
        failFile(m_dataPath, "cannot open the record's data file");
    qint64 size = -1;
    if (fseeko(m_file, 0, SEEK_END) == 0)
        size = ftello(m_file);
    const qint64 available = std::max<qint64>(0, size - m_byteOffset);
    qint64 frames = h.sampleCount;
    if (frames == 0) {
        // No length in the header: as many whole frames as the file holds.
        const qint64 samples
            = m_format == 212 ? available / 3 * 2 + (available % 3 == 2) : available / 2;
        frames = samples / n;
    } else if (bytesForSamples(m_format, frames * n) > available) {
        std::fclose(m_file);
        m_file = nullptr;
        failFile(m_dataPath,
            QString("holds %1 bytes of samples, but the header promises %2 "
                    "samples per signal (%3 bytes)")
                .arg(available)
                .arg(frames)
                .arg(bytesForSamples(m_format, frames * n)));
    }
    const qint64 blocks = (frames + kBlockSize - 1) / kBlockSize;
    if (blocks > BlockCache<qint16>::kTableSize) {
        std::fclose(m_file);
        m_file = nullptr;
        failFile(hea, QString("has %1 samples per signal, more than can be read").arg(frames));
    }
    setBlockCount(int(blocks));
    setSampleCount(frames);
    // Stored samples are ADC steps of 1/gain mV; the record keeps its converter's resolution
    // (11 bits for MIT-BIH), so the range is that many steps, and amplitude rules that count
    // in fractions of the full scale see the same physical sizes as on a recorder.
    const double gain = first.gainPerMillivolt();
    const int bits = recordResolution(m_header);
    setResolution(bits);
    setGainRange(-std::ldexp(1.0, bits - 1) / gain, std::ldexp(1.0, bits - 1) / gain);
    m_scratch.assign(size_t(n), std::vector<qint16>(kBlockSize));
}

int recordResolution(const WfdbHeader& header)
{
    int bits = 0;
    for (const WfdbSignalSpec& s : header.channels)
        bits = std::max(bits, s.adcResolution);
    return bits > 0 && bits <= 16 ? bits : 16;
}

WfdbSource::~WfdbSource()
{
    releaseAllBlocks();
    if (m_file)
        std::fclose(m_file);
}

void WfdbSource::readFrames(qint64 first, qint64 count, qint16* const* out)
{
    const int n = channelCount();
    if (first < 0 || count < 0 || first + count > sampleCount())
        throw WfdbError(QString("%1: frames %2 to %3 are outside the record")
                            .arg(QDir::toNativeSeparators(m_dataPath))
                            .arg(first)
                            .arg(first + count));
    if (count == 0)
        return;
    const qint64 s0 = first * n; // first interleaved sample
    const qint64 s1 = (first + count) * n;
    // 212 packs samples in pairs, so reading starts at the pair holding s0.
    const qint64 startByte = m_format == 212 ? s0 / 2 * 3 : s0 * 2;
    const qint64 endByte = bytesForSamples(m_format, s1);
    std::vector<unsigned char> buf(size_t(endByte - startByte));
    if (!m_file || fseeko(m_file, off_t(m_byteOffset + startByte), SEEK_SET) != 0
        || std::fread(buf.data(), 1, buf.size(), m_file) != buf.size())
        throw WfdbError(QString("%1: cannot read samples %2 to %3 (short file?)")
                            .arg(QDir::toNativeSeparators(m_dataPath))
                            .arg(first)
                            .arg(first + count));
    auto store = [&](qint64 s, int raw) {
        const int c = int(s % n);
        const int v = std::clamp(raw - m_baselines[size_t(c)], -32768, 32767);
        out[c][s / n - first] = qint16(v);
    };
    if (m_format == 212) {
        const qint64 pair0 = s0 / 2;
        for (qint64 s = s0; s < s1; ++s) {
            const unsigned char* b = buf.data() + (s / 2 - pair0) * 3;
            int v = (s % 2 == 0) ? (b[0] | ((b[1] & 0x0F) << 8)) : (b[2] | ((b[1] & 0xF0) << 4));
            if (v & 0x800)
                v -= 0x1000; // 12-bit two's complement
            store(s, v);
        }
    } else {
        for (qint64 s = s0; s < s1; ++s) {
            const unsigned char* b = buf.data() + (s - s0) * 2;
            store(s, qint16(quint16(b[0] | (b[1] << 8))));
        }
    }
}

qint16* WfdbSource::loadBlock(int channel, int block)
{
    if (channel < 0 || channel >= channelCount() || block < 0 || block >= blockCount())
        return nullptr;
    if (block != m_scratchBlock) {
        const qint64 first = qint64(block) * kBlockSize;
        const qint64 count = std::min<qint64>(kBlockSize, sampleCount() - first);
        std::vector<qint16*> out;
        for (auto& v : m_scratch) {
            std::fill(v.begin(), v.end(), qint16(0)); // the last block is padded with zeros
            out.push_back(v.data());
        }
        m_scratchBlock = -1;
        try {
            readFrames(first, count, out.data());
        } catch (const WfdbError&) {
            return nullptr; // the file changed under us; the block reads as missing
        }
        m_scratchBlock = block;
    }
    auto* data = new qint16[kBlockSize];
    std::copy(m_scratch[size_t(channel)].begin(), m_scratch[size_t(channel)].end(), data);
    return data;
}

void WfdbSource::appendRaw(const char*, qint64)
{
    failFile(m_dataPath, "a WFDB record is read only");
}

void WfdbSource::appendChannels(const qint16* const*, qint64)
{
    failFile(m_dataPath, "a WFDB record is read only");
}

void WfdbSource::appendChannelsF64(const double* const*, qint64)
{
    failFile(m_dataPath, "a WFDB record is read only");
}
