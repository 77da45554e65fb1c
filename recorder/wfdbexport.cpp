#include "recorder/wfdbexport.h"

#include "recorder/beatannotations.h"
#include "recorder/recordingerror.h"
#include "recorder/wfdbannotation.h"
#include "store/signalsource.h"
#include "store/storeio.h"
#include "store/study.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr qint64 kChunkFrames = 65536; // even, so 12-bit pairs never straddle two chunks
constexpr int kNoteCode = 22;
constexpr int kMaxAux = 255;

[[noreturn]] void fail(const QString& path, const QString& what)
{
    throw RecordingError(QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), what));
}

void write(StoreIo& io, QSaveFile& file, const QByteArray& bytes)
{
    if (io.write(file, bytes.constData(), bytes.size()) != bytes.size())
        fail(file.fileName(),
            QCoreApplication::translate(
                "RecordingExport", "cannot write the file; is the disk full?"));
}

// Writes the samples; returns the first value and the 16-bit sum of every channel.
void writeSamples(Study& study, QSaveFile& dat, int format, StoreIo& io, ProgressSink* progress,
    const CancelFlag* cancel, std::vector<int>* first, std::vector<int>* checksum)
{
    SignalSource& s = *study.signal();
    const int n = s.channelCount();
    const qint64 total = s.sampleCount();
    first->assign(size_t(n), 0);
    checksum->assign(size_t(n), 0);
    std::vector<std::vector<double>> in(
        size_t(n), std::vector<double>(static_cast<size_t>(kChunkFrames)));
    QByteArray out;
    for (qint64 done = 0; done < total;) {
        if (isCancelled(cancel))
            throw RecordingError(
                QCoreApplication::translate("RecordingExport", "Export cancelled"));
        const qint64 len = std::min(kChunkFrames, total - done);
        for (int c = 0; c < n; ++c)
            s.readSamples(c, done, len, in[size_t(c)].data());
        out.clear();
        out.reserve(int(len * n * 2));
        int pending = 0;
        bool odd = false;
        for (qint64 i = 0; i < len; ++i) {
            for (int c = 0; c < n; ++c) {
                int v = int(in[size_t(c)][size_t(i)]);
                if (format == 212)
                    v = std::clamp(v, -2047, 2047); // -2048 marks an invalid sample
                if (done + i == 0)
                    (*first)[size_t(c)] = v;
                (*checksum)[size_t(c)] += v;
                if (format == 16) {
                    out.append(char(v & 0xFF)).append(char((v >> 8) & 0xFF));
                } else if (!odd) {
                    pending = v & 0xFFF;
                    odd = true;
                } else {
                    const int w = v & 0xFFF;
                    out.append(char(pending & 0xFF))
                        .append(char(((pending >> 8) & 0x0F) | ((w >> 4) & 0xF0)))
                        .append(char(w & 0xFF));
                    odd = false;
                }
            }
        }
        done += len;
        if (odd) // only at the very end: chunks hold whole pairs
            out.append(char(pending & 0xFF)).append(char((pending >> 8) & 0x0F));
        write(io, dat, out);
        if (progress)
            progress->progress(done, total);
    }
}

void commit(StoreIo& io, QSaveFile& file)
{
    if (!io.commit(file))
        fail(file.fileName(),
            QCoreApplication::translate(
                "RecordingExport", "cannot write the file; is the disk full?"));
}

} // namespace

void exportStudyWfdb(Study& study, const QString& record, int format, ProgressSink* progress,
    const CancelFlag* cancel, StoreIo* ioOrNull)
{
    StoreIo& io = StoreIo::orStandard(ioOrNull);
    SignalSource* s = study.signal();
    if (!s || s->channelCount() < 1)
        fail(record,
            QCoreApplication::translate("RecordingExport", "the study has no signal to export"));
    if (format != 16 && format != 212)
        fail(record,
            QCoreApplication::translate(
                "RecordingExport", "format %1 is not written; choose 16 or 212")
                .arg(format));
    const QFileInfo fi(record);
    const QByteArray name = fi.fileName().toUtf8();
    if (name.isEmpty() || name.contains(' '))
        fail(record,
            QCoreApplication::translate(
                "RecordingExport", "a record name must not be empty or contain blanks"));
    const int n = s->channelCount();

    QSaveFile dat(record + ".dat");
    if (!dat.open(QIODevice::WriteOnly))
        fail(dat.fileName(),
            QCoreApplication::translate("RecordingExport", "cannot create the file"));
    std::vector<int> first, checksum;
    writeSamples(study, dat, format, io, progress, cancel, &first, &checksum);

    QByteArray hea = name + ' ' + QByteArray::number(n) + ' '
        + QByteArray::number(s->samplingRate()) + ' ' + QByteArray::number(s->sampleCount());
    const QDateTime start
        = QDateTime::fromString(QString::fromLatin1(study.studyDateTime()), "yyyyMMddHHmmss");
    if (start.isValid())
        hea += ' ' + start.toString("HH:mm:ss dd/MM/yyyy").toLatin1();
    hea += '\n';
    const double gain = 1.0 / s->gainStep(); // ADC units per millivolt
    // The converter's resolution, whatever the storage: 212 keeps 12 bits of a 16-bit recorder's
    // samples, but the recording's full scale (which amplitude rules measure against) stays.
    const int bits = s->resolution();
    for (int c = 0; c < n; ++c) {
        QByteArray description = s->channel(c)->name();
        hea += name + ".dat " + QByteArray::number(format) + ' ' + QByteArray::number(gain, 'g', 12)
            + "/mV " + QByteArray::number(bits) + " 0 " + QByteArray::number(first[size_t(c)]) + ' '
            + QByteArray::number(qint16(quint16(checksum[size_t(c)] & 0xFFFF))) + " 0 "
            + (description.isEmpty() ? "ECG" : description) + '\n';
    }
    hea += "# Exported by Holter ECG\n";

    QVector<WfdbAnnotation> annotations
        = beatAnnotations(*study.beats(), &study.results(), s->samplingRate());
    for (int i = 0; i < study.events().count(); ++i) {
        const StudyEvent& e = study.events().at(i);
        WfdbAnnotation a;
        a.sample = std::max<qint64>(0, std::llround(e.position * s->samplingRate()));
        a.code = kNoteCode;
        a.aux = e.description.left(kMaxAux);
        annotations << a;
    }
    std::stable_sort(annotations.begin(), annotations.end(),
        [](const WfdbAnnotation& x, const WfdbAnnotation& y) { return x.sample < y.sample; });

    QSaveFile header(record + ".hea");
    if (!header.open(QIODevice::WriteOnly))
        fail(header.fileName(),
            QCoreApplication::translate("RecordingExport", "cannot create the file"));
    write(io, header, hea);
    // Samples first: a header never describes a data file that isn't there.
    commit(io, dat);
    commit(io, header);
    writeWfdbAnnotations(record + ".atr", annotations, ioOrNull);
}
