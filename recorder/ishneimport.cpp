#include "recorder/ishneimport.h"

#include "recorder/importedstudy.h"
#include "recorder/ishneheader.h"
#include "recorder/recordingerror.h"
#include "store/studyinfo.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <vector>

namespace {

constexpr qint64 kChunkFrames = 65536;

ImportPatient headerPatient(const IshneHeader& h)
{
    ImportPatient p;
    p.lastName = h.lastName;
    p.firstName = h.firstName;
    p.historyNumber = h.id;
    if (h.recordDate.isValid())
        p.start = QDateTime(h.recordDate, h.startTime.isValid() ? h.startTime : QTime(0, 0));
    return p;
}

} // namespace

int importIshneFile(StudyRepository& repository, const QString& path, const ImportPatient& patient,
    ProgressSink* progress, const CancelFlag* cancel)
{
    const IshneHeader h = IshneHeader::read(path);
    const ImportPatient who = completedPatient(patient, headerPatient(h), path);
    checkStudyLength(h.samplesPerLead, path);
    const int stored = std::min(h.leadCount, 4);

    QVector<ChannelScale> scales;
    QList<QByteArray> names;
    for (int c = 0; c < stored; ++c) {
        ChannelScale s;
        s.millivoltsPerUnit = h.resolutionNv[c] * 1e-6;
        s.minMillivolts = -32768 * s.millivoltsPerUnit;
        s.maxMillivolts = 32767 * s.millivoltsPerUnit;
        scales << s;
        names << IshneHeader::leadName(h.leadSpec[c], c);
    }
    const StoredScale scale = StoredScale::choose(scales, 16);

    StudyInfo info;
    who.fillInfo(info);
    info.patientSex = h.sex == 1 ? "M" : h.sex == 2 ? "F" : "";
    if (h.birthDate.isValid())
        info.patientBirthDate = h.birthDate.toString("yyyyMMdd").toLatin1();
    info.samplingRate = h.samplingRate;
    info.channelCount = stored;
    info.channelNames = joinChannelNames(names);
    scale.fillInfo(info);

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || !file.seek(h.ecgOffset))
        throw RecordingError(
            QCoreApplication::translate("RecordingImport", "%1: cannot read the samples")
                .arg(QDir::toNativeSeparators(path)));
    ImportedStudy study(repository, info);
    const qint64 total = h.samplesPerLead;
    const int leads = h.leadCount;
    QByteArray raw;
    std::vector<std::vector<qint16>> out(
        size_t(stored), std::vector<qint16>(static_cast<size_t>(kChunkFrames)));
    for (qint64 done = 0; done < total;) {
        throwIfCancelled(cancel);
        const qint64 len = std::min(kChunkFrames, total - done);
        const qint64 bytes = len * leads * 2;
        raw.resize(int(bytes));
        if (file.read(raw.data(), bytes) != bytes)
            throw RecordingError(
                QCoreApplication::translate("RecordingImport", "%1: cannot read samples %2 to %3")
                    .arg(QDir::toNativeSeparators(path))
                    .arg(done)
                    .arg(done + len));
        for (int c = 0; c < stored; ++c) {
            const char* p = raw.constData() + 2 * c;
            qint16* o = out[size_t(c)].data();
            // A lead at the study's own step is copied as it is.
            if (scale.channels[c].millivoltsPerUnit == scale.stepMillivolts) {
                for (qint64 i = 0; i < len; ++i, p += 2 * leads)
                    o[i] = qFromLittleEndian<qint16>(p);
            } else {
                for (qint64 i = 0; i < len; ++i, p += 2 * leads)
                    o[i] = scale.stored(c, qFromLittleEndian<qint16>(p));
            }
        }
        study.append(out, len);
        done += len;
        if (progress)
            progress->progress(done, total);
    }
    return study.commit();
}
