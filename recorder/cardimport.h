#pragma once

#include "recorder/importpatient.h"
#include "store/progresssink.h"

#include <QString>
#include <QStringList>

#include <array>

class StudyRepository;

struct CardImportOptions
{
    ImportPatient patient;
    QStringList leads = { "II", "V2", "V5" }; // lead recorded on channels 1..3
    std::array<bool, 3> invert {}; // negate that channel
    int limitHours = 0; // 0 copies everything; else at most this many hours
};

// The lead names the download offers for each channel, in order.
const QStringList& cardLeadNames();

// Copies a memory card's recording into a new study, block by block, turning status words
// into study events. Shared by the download dialog and the command line, so that both make
// the same study from the same card. Returns the new study's id, closed and saved.
//
// Throws with "Cannot open file in memory card <path>" before anything is created; from the study's
// creation on, any failure or a cancel removes the half-made study and throws "Could not
// complete download.\nPlease check available disk space.". The card is never written.
int importCard(StudyRepository& repository, const QString& cardFile, qint64 dataOffset,
    const CardImportOptions& options, ProgressSink* progress = nullptr,
    const CancelFlag* cancel = nullptr);
