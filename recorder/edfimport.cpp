#include "recorder/edfimport.h"

#include "recorder/edfheader.h"
#include "recorder/edfrecordreader.h"
#include "recorder/importedstudy.h"
#include "recorder/recordingerror.h"
#include "store/beat.h"
#include "store/studyinfo.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStringList>

#include <edflib.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace {

constexpr qint64 kChunkFrames = 65536;
constexpr int kMaxRate = 1024;

[[noreturn]] void fail(const QString& path, const QString& what)
{
    throw RecordingError(QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), what));
}

QString edflibMessage(int code)
{
    switch (code) {
    case EDFLIB_MALLOC_ERROR:
        return QCoreApplication::translate(
            "RecordingImport", "out of memory while opening the file");
    case EDFLIB_NO_SUCH_FILE_OR_DIRECTORY:
        return QCoreApplication::translate("RecordingImport", "cannot open the file");
    case EDFLIB_FILE_READ_ERROR:
        return QCoreApplication::translate("RecordingImport", "cannot read the file");
    case EDFLIB_FILE_ALREADY_OPENED:
        return QCoreApplication::translate("RecordingImport", "the file is already open");
    case EDFLIB_MAXFILES_REACHED:
        return QCoreApplication::translate("RecordingImport", "too many EDF files are open");
    default:
        return QCoreApplication::translate(
            "RecordingImport", "the file breaks the EDF rules (EDFlib error %1)")
            .arg(code);
    }
}

// An EDFlib handle that is closed whatever happens.
class EdflibFile
{
public:
    explicit EdflibFile(const QString& path)
        : m_header(std::make_unique<edf_hdr_struct>())
    {
        // Annotations are read apart, a record at a time, so that a day of beat labels never
        // sits in memory.
        if (edfopen_file_readonly(
                QFile::encodeName(path).constData(), m_header.get(), EDFLIB_DO_NOT_READ_ANNOTATIONS)
            < 0)
            fail(path, edflibMessage(m_header->filetype));
        m_open = true;
    }
    ~EdflibFile()
    {
        if (m_open)
            edfclose_file(m_header->handle);
    }
    EdflibFile(const EdflibFile&) = delete;
    EdflibFile& operator=(const EdflibFile&) = delete;
    int handle() const { return m_header->handle; }
    const edf_hdr_struct& header() const { return *m_header; }

private:
    std::unique_ptr<edf_hdr_struct> m_header; // large: 640 signals' parameters
    bool m_open = false;
};

// Our annotation export writes beats as their type letter; they are not marks.
bool isBeatLabel(const EdfAnnotation& a)
{
    return a.duration < 0.0 && a.text.size() == 1 && BeatTypeNames::code(a.text) >= 0;
}

struct Plan
{
    QVector<int> signalIndices;
    int rate = 0;
    StoredScale scale;
};

Plan plan(const EdfHeader& h)
{
    Plan p;
    p.signalIndices = h.ecgSignals();
    if (p.signalIndices.isEmpty()) {
        QStringList labels;
        for (const EdfSignalHeader& s : h.signalList)
            if (!s.isAnnotations())
                labels << QStringLiteral("'%1' (%2)")
                              .arg(QString::fromLatin1(s.label),
                                  QString::fromLatin1(s.physicalDimension));
        fail(h.path,
            QCoreApplication::translate("RecordingImport",
                "holds no ECG signal; its signals are %1. An ECG signal is labelled "
                "ECG, EKG or with a lead name and measured in volts")
                .arg(labels.join(", ")));
    }
    p.signalIndices = p.signalIndices.mid(0, 4);
    QVector<ChannelScale> scales;
    int bits = 0;
    for (int i : p.signalIndices) {
        const EdfSignalHeader& s = h.signalList[i];
        const QString label = QString::fromLatin1(s.label);
        if (s.samplesPerRecord <= 0)
            fail(h.path,
                QCoreApplication::translate(
                    "RecordingImport", "signal '%1' has a sampling rate of 0")
                    .arg(label));
        const double rate = h.samplingRate(i);
        if (std::fabs(rate - std::round(rate)) > 1e-6 || rate < 1 || rate > kMaxRate)
            fail(h.path,
                QCoreApplication::translate("RecordingImport",
                    "signal '%1' is sampled at %2 Hz; a whole rate of 1 to %3 Hz is "
                    "needed")
                    .arg(label)
                    .arg(rate)
                    .arg(kMaxRate));
        if (p.rate == 0)
            p.rate = int(std::lround(rate));
        else if (p.rate != int(std::lround(rate)))
            fail(h.path,
                QCoreApplication::translate("RecordingImport",
                    "its ECG signals are sampled at different rates (%1 and %2 Hz)")
                    .arg(p.rate)
                    .arg(rate));
        if (s.digitalMax <= s.digitalMin || s.physicalMax == s.physicalMin)
            fail(h.path,
                QCoreApplication::translate(
                    "RecordingImport", "signal '%1' has an empty digital or physical range")
                    .arg(label));
        const double toMv = s.millivoltsPerPhysicalUnit();
        ChannelScale c;
        const double unitsPerDigit
            = (s.physicalMax - s.physicalMin) / double(s.digitalMax - s.digitalMin);
        c.millivoltsPerUnit = unitsPerDigit * toMv;
        c.offsetMillivolts = (s.physicalMin - s.digitalMin * unitsPerDigit) * toMv;
        c.minMillivolts = std::min(s.physicalMin, s.physicalMax) * toMv;
        c.maxMillivolts = std::max(s.physicalMin, s.physicalMax) * toMv;
        scales << c;
        bits = std::max(bits, int(std::ceil(std::log2(double(s.digitalMax) - s.digitalMin + 1))));
    }
    p.scale = StoredScale::choose(scales, bits);
    return p;
}

ImportPatient headerPatient(const EdfHeader& h)
{
    ImportPatient p;
    const auto name = h.patientName();
    p.lastName = name.first;
    p.firstName = name.second;
    p.historyNumber = h.patientCode();
    if (h.start.isValid())
        p.start = h.start;
    return p;
}

void scaleChunk(const Plan& p, int channel, const int* in, qint64 len, std::vector<qint16>& out)
{
    const ChannelScale& c = p.scale.channels[channel];
    // The usual case, a file of one step per channel: the stored sample is the digital one
    // (an offset below half a step rounds away).
    if (c.millivoltsPerUnit == p.scale.stepMillivolts
        && std::fabs(c.offsetMillivolts) < 0.5 * p.scale.stepMillivolts) {
        for (qint64 i = 0; i < len; ++i)
            out[size_t(i)] = qint16(std::clamp(in[i], -32768, 32767));
        return;
    }
    for (qint64 i = 0; i < len; ++i)
        out[size_t(i)] = p.scale.stored(channel, in[i]);
}

// Marks only: beat labels are dropped as they come.
void keepMarks(QVector<EdfAnnotation>* annotations, int from)
{
    auto first = std::remove_if(annotations->begin() + from, annotations->end(), isBeatLabel);
    annotations->erase(first, annotations->end());
}

void copyContinuous(const EdfHeader& h, const Plan& p, ImportedStudy& study, ProgressSink* progress,
    const CancelFlag* cancel, QVector<EdfAnnotation>* annotations)
{
    EdflibFile file(h.path);
    const edf_hdr_struct& eh = file.header();
    // EDFlib numbers the signals without the annotation signals.
    QVector<int> edflibIndex;
    for (int i : p.signalIndices) {
        int k = 0;
        for (int j = 0; j < i; ++j)
            k += h.signalList[j].isAnnotations() ? 0 : 1;
        edflibIndex << k;
    }
    const qint64 total = eh.signalparam[edflibIndex[0]].smp_in_file;
    checkStudyLength(total, h.path);
    const int n = p.signalIndices.size();
    std::vector<std::vector<qint16>> out(
        size_t(n), std::vector<qint16>(static_cast<size_t>(kChunkFrames)));
    std::vector<int> buffer(static_cast<size_t>(kChunkFrames));
    for (qint64 done = 0; done < total;) {
        throwIfCancelled(cancel);
        const qint64 len = std::min(kChunkFrames, total - done);
        for (int c = 0; c < n; ++c) {
            if (edfread_digital_samples(file.handle(), edflibIndex[c], int(len), buffer.data())
                != len)
                fail(h.path,
                    QCoreApplication::translate("RecordingImport", "cannot read samples %1 to %2")
                        .arg(done)
                        .arg(done + len));
            scaleChunk(p, c, buffer.data(), len, out[size_t(c)]);
        }
        study.append(out, len);
        done += len;
        if (progress)
            progress->progress(done, total);
    }
    if (h.firstAnnotationSignal() < 0)
        return;
    EdfRecordReader reader(h, {});
    double firstOnset = 0.0;
    for (qint64 r = 0; r < h.recordCount; ++r) {
        const int before = annotations->size();
        const double onset = reader.readAnnotations(r, annotations);
        if (r == 0 && !std::isnan(onset))
            firstOnset = onset; // a start within the second of the header's time
        keepMarks(annotations, before);
    }
    for (EdfAnnotation& a : *annotations)
        a.onset -= firstOnset;
}

// Each record carries its start; a record that starts later than the previous one ended
// leaves a gap, filled flat and marked.
void copyDiscontinuous(const EdfHeader& h, const Plan& p, ImportedStudy& study,
    ProgressSink* progress, const CancelFlag* cancel, QVector<EdfAnnotation>* annotations)
{
    if (h.firstAnnotationSignal() < 0)
        fail(h.path,
            QCoreApplication::translate("RecordingImport",
                "a discontinuous file needs an annotation signal for the times of "
                "its records"));
    EdfRecordReader reader(h, p.signalIndices);
    const int n = p.signalIndices.size();
    const qint64 perRecord = h.signalList[p.signalIndices[0]].samplesPerRecord;
    std::vector<std::vector<qint16>> out(
        size_t(n), std::vector<qint16>(static_cast<size_t>(perRecord)));
    double firstOnset = 0.0;
    for (qint64 r = 0; r < h.recordCount; ++r) {
        if (r % 64 == 0)
            throwIfCancelled(cancel);
        const int before = annotations->size();
        const double onset = reader.readRecord(r, annotations);
        keepMarks(annotations, before);
        if (std::isnan(onset))
            fail(h.path,
                QCoreApplication::translate("RecordingImport", "data record %1 has no start time")
                    .arg(r + 1));
        if (r == 0)
            firstOnset = onset;
        const qint64 at = std::llround((onset - firstOnset) * p.rate);
        const qint64 written = study.frames();
        if (at < written - 1)
            fail(h.path,
                QCoreApplication::translate("RecordingImport",
                    "data record %1 starts at %2 s, before the previous one ends")
                    .arg(r + 1)
                    .arg(onset));
        checkStudyLength(at + perRecord, h.path); // a wild record time would fill the disk
        if (at > written) {
            study.addMark(double(written) / p.rate, double(at - written) / p.rate,
                QCoreApplication::translate("RecordingImport", "Noise: gap in the recording")
                    .toUtf8());
            study.appendFlat(at - written);
        }
        for (int c = 0; c < n; ++c)
            scaleChunk(p, c, reader.samples()[size_t(c)].data(), perRecord, out[size_t(c)]);
        study.append(out, perRecord);
        if (progress)
            progress->progress(r + 1, h.recordCount);
    }
    for (EdfAnnotation& a : *annotations)
        a.onset -= firstOnset;
}

} // namespace

int importEdfFile(StudyRepository& repository, const QString& path, const ImportPatient& patient,
    ProgressSink* progress, const CancelFlag* cancel)
{
    const EdfHeader h = EdfHeader::read(path);
    const Plan p = plan(h);
    const ImportPatient who = completedPatient(patient, headerPatient(h), path);

    StudyInfo info;
    who.fillInfo(info);
    info.patientSex = h.patientSex();
    info.patientBirthDate = h.patientBirthDate();
    info.samplingRate = p.rate;
    info.channelCount = p.signalIndices.size();
    QList<QByteArray> names;
    for (int i : p.signalIndices)
        names << h.signalList[i].leadName();
    info.channelNames = joinChannelNames(names);
    p.scale.fillInfo(info);

    ImportedStudy study(repository, info);
    QVector<EdfAnnotation> annotations;
    if (h.discontinuous)
        copyDiscontinuous(h, p, study, progress, cancel, &annotations);
    else
        copyContinuous(h, p, study, progress, cancel, &annotations);
    for (const EdfAnnotation& a : annotations)
        study.addMark(a.onset, std::max(0.0, a.duration), a.text);
    return study.commit();
}
