#pragma once

#include "recorder/importpatient.h"
#include "store/progresssink.h"

#include <QByteArray>
#include <QString>
#include <QVector>

#include <vector>

class Study;
class StudyRepository;
struct StudyInfo;

// How one channel's file units become millivolts: mV = unit * millivoltsPerUnit + offset.
struct ChannelScale
{
    double millivoltsPerUnit = 1.0;
    double offsetMillivolts = 0.0;
    double minMillivolts = 0.0; // the channel's physical range, for the choice of the step
    double maxMillivolts = 0.0;
};

// The one gain of a study made from channels with their own scales: the finest channel step
// in which every channel's physical range fits 16 bits (a 24-bit converter's step grows
// until it does).
struct StoredScale
{
    double stepMillivolts = 0.0;
    int resolution = 16; // bits, as the study keeps it
    QVector<ChannelScale> channels;

    static StoredScale choose(const QVector<ChannelScale>& channels, int converterBits);
    // One file value of `channel` as a stored sample, clamped to 16 bits.
    qint16 stored(int channel, double unit) const;
    // Fills the StudyInfo fields of resolution and gain.
    void fillInfo(StudyInfo& info) const;
};

// A new study being filled by an import. Until commit() the study is deleted again when this
// goes away, whatever the reason (a throw, a cancel), so that no half-made study stays.
class ImportedStudy
{
public:
    ImportedStudy(StudyRepository& repository, StudyInfo& info);
    ~ImportedStudy();
    ImportedStudy(const ImportedStudy&) = delete;
    ImportedStudy& operator=(const ImportedStudy&) = delete;

    Study& study() { return *m_study; }
    int id() const { return m_id; }
    qint64 frames() const; // samples per channel so far
    void append(const std::vector<std::vector<qint16>>& channels, qint64 count);
    // `count` frames of zero: the flat line of a gap.
    void appendFlat(qint64 count);
    void addMark(double positionSeconds, double durationSeconds, const QByteArray& text);
    // Saves and closes the study; returns its id.
    int commit();

private:
    StudyRepository& m_repository;
    Study* m_study = nullptr;
    int m_id = 0;
};

// The caller's identification completed from a file's header: what the caller gave wins, the
// header fills the blanks. Throws RecordingError with what is still missing, naming the file.
ImportPatient completedPatient(
    const ImportPatient& given, const ImportPatient& fromFile, const QString& path);

// Channel names are stored comma-separated: no comma may stay in a name.
QByteArray joinChannelNames(const QList<QByteArray>& names);

// Throws RecordingError naming the file when `frames` samples per channel are more than a
// study holds (65536 blocks of 4096 samples: 72 h at 1024 Hz).
void checkStudyLength(qint64 frames, const QString& path);

// Throws the cancel message when `cancel` is set.
void throwIfCancelled(const CancelFlag* cancel);

// "Import cancelled", the message of every import's cancel.
QString importCancelledMessage();
