#pragma once

#include "store/progresssink.h"

#include <QByteArray>
#include <QString>
#include <QVector>

class Study;

// One annotation of an exported study: seconds from the start, a duration or -1, its text.
struct StudyAnnotation
{
    double onset = 0.0;
    double duration = -1.0;
    QByteArray text;
};

// What an export tells about a study besides its samples: each beat at its R instant as its
// type letter (noise entries are not beats), the marks with their descriptions, and the
// arrhythmia episodes of the results ("AF", "Pause", "PVC run"...) with their durations; in
// time order.
QVector<StudyAnnotation> studyAnnotations(Study& study);

// Writes an open study as an EDF+ file through EDFlib: every channel in microvolts, the
// stored samples as they are in the digital range of the recording's resolution (16 bits for
// a recorder, 11 for MIT-BIH), one-second data records (the last
// padded with zeros), patient and start in the header, and studyAnnotations() as EDF+
// annotations (texts cut to 40 characters). The file appears under `path` only when complete;
// a failure or a cancel ("Export cancelled") leaves whatever was there before. Throws
// RecordingError with a finished message.
void exportStudyEdf(Study& study, const QString& path, ProgressSink* progress = nullptr,
    const CancelFlag* cancel = nullptr);
