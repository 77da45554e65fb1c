#pragma once

#include "recorder/importpatient.h"
#include "store/progresssink.h"

#include <QString>

class StudyRepository;

// Copies the ECG of an EDF, EDF+ or BDF(+) file into a new study and returns its id, saved
// and closed.
//
// Only ECG signals are kept (a voltage labelled ECG, EKG or with a lead name; the first four
// of them), all at one whole sampling rate of 1 to 1024 Hz. Digital values become millivolts
// through each signal's physical and digital range, and the study keeps the finest step of
// them. Continuous files are read through EDFlib; discontinuous ones (EDF+D) record by record,
// their gaps filled with a flat line and marked as noise. EDF+ annotations become study marks,
// except single beat letters (N, V, S, F, U without a duration), which are beats of an
// earlier analysis and are found again by processing.
//
// Name, patient code and start come from the header where the caller left them empty.
// Anything wrong with the file throws RecordingError before the store is touched; from the
// study's creation on, a failure or a cancel ("Import cancelled") deletes the half-made study.
int importEdfFile(StudyRepository& repository, const QString& path, const ImportPatient& patient,
    ProgressSink* progress = nullptr, const CancelFlag* cancel = nullptr);
