#pragma once

#include "store/progresssink.h"

#include <QString>

class Study;
class StoreIo;

// Writes an open study as a WFDB record that PhysioNet's tools read: RECORD.hea (rate,
// length, start, and per channel the gain in ADC units per millivolt, the resolution, first
// value and checksum), RECORD.dat in format 16 (the stored samples as they are) or 212
// (12 bits: samples beyond +-2047 are clipped), and RECORD.atr with the beats, the AF
// episodes as rhythm changes and the marks as notes (code 22, the description as text).
// `record` is the path without extension. Each file is written atomically through `io`
// (null: the standard writer); a failure or a cancel ("Export cancelled") leaves what was
// there. Throws RecordingError, or WfdbError for annotations the format can't hold.
void exportStudyWfdb(Study& study, const QString& record, int format = 16,
    ProgressSink* progress = nullptr, const CancelFlag* cancel = nullptr, StoreIo* io = nullptr);
