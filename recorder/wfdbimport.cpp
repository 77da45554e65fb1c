#include "recorder/wfdbimport.h"

#include "recorder/wfdbrecord.h"
#include "store/study.h"
#include "store/studyrepository.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr qint64 kChunkFrames = 4 * WfdbSource::kBlockSize;
constexpr int kNoteCode = 22;

QString recordName(const WfdbHeader& h)
{
    return QDir::toNativeSeparators(h.headerPath);
}

// The patient with a start date: the patient's own, else the record's.
ImportPatient completedPatient(const ImportPatient& patient, const WfdbHeader& header)
{
    ImportPatient p = patient;
    if (!p.start.isValid())
        p.start = header.baseDateTime();
    const QString why = p.incompleteReason();
    if (why.isEmpty())
        return p;
    if (!patient.start.isValid() && !header.baseDate.isValid())
        throw WfdbError(why
            + QString(" The record %1 has no date of its own: give the start of "
                      "the recording (--date).")
                  .arg(recordName(header)));
    throw WfdbError(why);
}

// Channel names are stored comma-separated, so a comma inside a description can't stay.
QByteArray channelNames(const WfdbSource& source)
{
    QList<QByteArray> names;
    for (int c = 0; c < source.channelCount(); ++c) {
        QByteArray name = source.channel(c)->name();
        name.replace(',', ' ');
        names << name.trimmed();
    }
    return names.join(',');
}

void copySamples(WfdbSource& source, Study& study, const std::vector<double>& scale,
    ProgressSink* progress, const CancelFlag* cancel)
{
    const int n = source.channelCount();
    const qint64 total = source.sampleCount();
    std::vector<std::vector<qint16>> buffers(static_cast<size_t>(n));
    for (auto& b : buffers)
        b.resize(static_cast<size_t>(kChunkFrames));
    std::vector<qint16*> out;
    for (auto& b : buffers)
        out.push_back(b.data());
    SignalSource* target = study.signal();
    if (progress)
        progress->progress(0, total);
    for (qint64 done = 0; done < total;) {
        if (cancel && cancel->load())
            throw WfdbError("Import cancelled");
        const qint64 len = std::min(kChunkFrames, total - done);
        source.readFrames(done, len, out.data());
        for (int c = 0; c < n; ++c) {
            if (scale[size_t(c)] == 1.0)
                continue;
            for (qint64 i = 0; i < len; ++i)
                out[size_t(c)][i] = qint16(std::clamp<long>(
                    std::lround(out[size_t(c)][i] * scale[size_t(c)]), -32768, 32767));
        }
        target->appendChannels(out.data(), len);
        done += len;
        if (progress)
            progress->progress(done, total);
    }
}

// Notes (code 22) of the record's "atr" annotations carry marks, as our record export writes
// them. The annotations are the record's reference, not part of the import: a file that
// can't be read leaves the study without marks.
void addNotes(const WfdbHeader& header, Study& study)
{
    const QString atr = QFileInfo(header.headerPath).dir().filePath(
        QString::fromUtf8(header.recordName) + ".atr");
    if (!QFileInfo::exists(atr))
        return;
    QVector<WfdbAnnotation> annotations;
    try {
        annotations = readWfdbAnnotations(atr);
    } catch (const WfdbError&) {
        return;
    }
    for (const WfdbAnnotation& a : annotations) {
        if (a.code != kNoteCode || a.aux.isEmpty())
            continue;
        StudyEvent& e = study.events().add();
        e.position = double(a.sample) / header.samplingRate;
        e.description = a.aux;
    }
}

} // namespace

int importWfdbRecord(StudyRepository& repository, const QString& record,
    const ImportPatient& patient, ProgressSink* progress, const CancelFlag* cancel)
{
    WfdbSource source(record);
    const WfdbHeader& header = source.header();
    const double rate = header.samplingRate;
    if (std::fabs(rate - std::round(rate)) > 1e-6 || rate < 1 || rate > 100000)
        throw WfdbError(QString("%1: the sampling rate %2 Hz is not a whole number of samples "
                                "per second; such records are not imported")
                            .arg(recordName(header))
                            .arg(rate));
    const ImportPatient p = completedPatient(patient, header);

    // One gain per study: the finest step of the channels, so that no resolution is lost.
    double gain = 0.0;
    for (const WfdbSignalSpec& s : header.channels)
        gain = std::max(gain, s.gainPerMillivolt());
    std::vector<double> scale;
    for (const WfdbSignalSpec& s : header.channels)
        scale.push_back(gain / s.gainPerMillivolt());

    StudyInfo info;
    p.fillInfo(info);
    info.samplingRate = int(std::lround(rate));
    info.channelCount = source.channelCount();
    info.channelNames = channelNames(source);
    info.resolution = recordResolution(header);
    info.gain = std::ldexp(1.0, info.resolution - 1) / gain;
    info.sampleFormat = "short";

    Study* study = repository.createStudy(info);
    const int id = info.id;
    try {
        copySamples(source, *study, scale, progress, cancel);
        addNotes(header, *study);
        repository.saveStudy(study);
        repository.closeStudy(study);
    } catch (...) {
        try {
            repository.closeStudy(study);
            repository.deleteStudy(id);
        } catch (...) {
            // The first failure is the one the user needs to see.
        }
        throw;
    }
    return id;
}
