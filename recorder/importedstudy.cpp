#include "recorder/importedstudy.h"

#include "recorder/recordingerror.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "store/studyinfo.h"
#include "store/studyrepository.h"

#include <QCoreApplication>
#include <QDir>

#include <algorithm>
#include <cmath>

namespace {

} // namespace

StoredScale StoredScale::choose(const QVector<ChannelScale>& channels, int converterBits)
{
    StoredScale s;
    s.channels = channels;
    std::vector<double> steps;
    double widest = 0.0;
    for (const ChannelScale& c : channels) {
        if (c.millivoltsPerUnit != 0.0)
            steps.push_back(std::fabs(c.millivoltsPerUnit));
        widest = std::max({ widest, std::fabs(c.minMillivolts), std::fabs(c.maxMillivolts) });
    }
    std::sort(steps.begin(), steps.end());
    // The finest channel step in which every channel's range fits 16 bits; a 24-bit
    // converter's step fits none, and the step grows until the widest range fits.
    s.stepMillivolts = 0.0;
    // A step of tolerance: physical limits in 8-character header fields are rounded, and the
    // rails clamp anyway.
    for (double step : steps)
        if (widest <= step * (32768.0 + 1.0)) {
            s.stepMillivolts = step;
            break;
        }
    if (s.stepMillivolts == 0.0)
        s.stepMillivolts = widest > 0.0 ? widest / 32767.0 : 1.0 / 1000.0;
    const bool finest = !steps.empty() && s.stepMillivolts == steps.front();
    s.resolution = finest ? std::clamp(converterBits, 8, 16) : 16;
    return s;
}

qint16 StoredScale::stored(int channel, double unit) const
{
    const ChannelScale& c = channels[channel];
    const double mv = unit * c.millivoltsPerUnit + c.offsetMillivolts;
    return qint16(std::clamp<long>(std::lround(mv / stepMillivolts), -32768, 32767));
}

void StoredScale::fillInfo(StudyInfo& info) const
{
    info.resolution = resolution;
    info.gain = std::ldexp(1.0, resolution - 1) * stepMillivolts;
    info.sampleFormat = "short";
}

ImportedStudy::ImportedStudy(StudyRepository& repository, StudyInfo& info)
    : m_repository(repository)
{
    m_study = repository.createStudy(info);
    m_id = info.id;
}

ImportedStudy::~ImportedStudy()
{
    if (!m_study)
        return;
    try {
        m_repository.closeStudy(m_study);
        m_repository.deleteStudy(m_id);
    } catch (...) {
        // The failure that got us here is the one the user needs to see.
    }
}

qint64 ImportedStudy::frames() const
{
    return m_study->signal()->sampleCount();
}

void ImportedStudy::append(const std::vector<std::vector<qint16>>& channels, qint64 count)
{
    if (count <= 0)
        return;
    std::vector<const qint16*> data;
    for (const auto& c : channels)
        data.push_back(c.data());
    m_study->signal()->appendChannels(data.data(), count);
}

void ImportedStudy::appendFlat(qint64 count)
{
    const int n = m_study->signal()->channelCount();
    constexpr qint64 kChunk = 65536;
    std::vector<std::vector<qint16>> zeros(size_t(n), std::vector<qint16>(size_t(kChunk), 0));
    for (qint64 done = 0; done < count;) {
        const qint64 len = std::min(kChunk, count - done);
        append(zeros, len);
        done += len;
    }
}

void ImportedStudy::addMark(double positionSeconds, double durationSeconds, const QByteArray& text)
{
    StudyEvent& e = m_study->events().add();
    e.position = std::max(0.0, positionSeconds);
    e.duration = std::max(0.0, durationSeconds);
    e.description = text;
}

int ImportedStudy::commit()
{
    m_repository.saveStudy(m_study);
    m_repository.closeStudy(m_study);
    m_study = nullptr;
    return m_id;
}

ImportPatient completedPatient(
    const ImportPatient& given, const ImportPatient& fromFile, const QString& path)
{
    ImportPatient p = given;
    auto fill = [](QByteArray& field, const QByteArray& header) {
        if (QString::fromUtf8(field).trimmed().isEmpty())
            field = header;
    };
    fill(p.lastName, fromFile.lastName);
    fill(p.firstName, fromFile.firstName);
    fill(p.idNumber, fromFile.idNumber);
    fill(p.historyNumber, fromFile.historyNumber);
    if (!p.start.isValid())
        p.start = fromFile.start;
    const QString why = p.incompleteReason();
    if (!why.isEmpty())
        throw RecordingError(QCoreApplication::translate(
            "RecordingImport", "%1 The file %2 does not say: give it with the import.")
                                 .arg(why, QDir::toNativeSeparators(path)));
    return p;
}

QByteArray joinChannelNames(const QList<QByteArray>& names)
{
    QList<QByteArray> clean;
    for (QByteArray n : names)
        clean << n.replace(',', ' ').trimmed();
    return clean.join(',');
}

void checkStudyLength(qint64 frames, const QString& path)
{
    const qint64 most = qint64(BlockCache<qint16>::kTableSize) * 4096;
    if (frames > most)
        throw RecordingError(QCoreApplication::translate("RecordingImport",
            "%1: the recording holds %2 samples per channel; a study holds at most %3")
                                 .arg(QDir::toNativeSeparators(path))
                                 .arg(frames)
                                 .arg(most));
}

QString importCancelledMessage()
{
    return QCoreApplication::translate("RecordingImport", "Import cancelled");
}

void throwIfCancelled(const CancelFlag* cancel)
{
    if (isCancelled(cancel))
        throw RecordingError(importCancelledMessage());
}
