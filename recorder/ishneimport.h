#pragma once

#include "recorder/importpatient.h"
#include "store/progresssink.h"

#include <QString>

class StudyRepository;

// Copies an ISHNE Holter file into a new study and returns its id, saved and closed.
//
// The first four leads are kept, named after their ISHNE lead codes; each lead's
// resolution in nanovolts becomes the study's millivolt scale (the finest of them, the others
// rescaled). Name, subject ID, sex, birth date and the start of the recording come from the
// header where the caller left them empty. A wrong magic, a checksum that doesn't match the
// header, a file shorter than its header promises, or leads and rate out of range throw
// RecordingError before the store is touched; from the study's creation on, a failure or a
// cancel deletes the half-made study.
int importIshneFile(StudyRepository& repository, const QString& path, const ImportPatient& patient,
    ProgressSink* progress = nullptr, const CancelFlag* cancel = nullptr);
