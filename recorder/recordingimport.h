#pragma once

#include "recorder/importpatient.h"
#include "store/progresssink.h"

#include <QString>

class StudyRepository;

// The recording formats a study can be made from, told apart by content where the format has
// a signature (EDF/BDF, ISHNE: whatever the file's name), by a parsing header for a WFDB
// record (".hea", or the record path without extension) and by name for the memory card.
enum class RecordingFormat { Unknown, Card, Wfdb, Edf, Ishne };

RecordingFormat detectRecordingFormat(const QString& path);

// For a file dialog: whether `path` is a recording that importRecordingFile takes.
bool isImportableRecording(const QString& path);

// Makes a new study from any recording: a memory card (folder or HECG.VTF, with the default
// leads), a WFDB record (header, or the record path without extension), an EDF/EDF+/BDF(+)
// file or an ISHNE Holter file, whatever their extensions. Returns the id of the saved and
// closed study. Throws with a finished message for anything it can't import; nothing
// half-made stays in the store.
int importRecordingFile(StudyRepository& repository, const QString& path,
    const ImportPatient& patient, ProgressSink* progress = nullptr,
    const CancelFlag* cancel = nullptr);
