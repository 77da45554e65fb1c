#pragma once

#include "recorder/importpatient.h"
#include "store/progresssink.h"

#include <QString>

class StudyRepository;

// Copies a WFDB record (a .hea path or the record path without extension) into a new study,
// sample for sample: the study keeps the record's rate, channel count, ADC step (one stored
// step = 1/gain mV) and signal descriptions as channel names. Returns the new study's id,
// saved and closed. Notes (code 22) with text in the record's "atr" annotations become study
// marks, so that a record written by our export brings its marks back.
//
// The start of the recording is the patient's when valid, else the record's base date and
// time. Everything that can be checked beforehand (header, data file, form, a non-integer
// rate) throws WfdbError before the store is touched. From the study's creation on, any
// failure or a cancel (WfdbError "Import cancelled") closes and deletes the half-made study
// before the exception goes on: nothing half-written stays. Channels with different gains
// are rescaled to the finest of them.
int importWfdbRecord(StudyRepository& repository, const QString& record,
    const ImportPatient& patient, ProgressSink* progress = nullptr,
    const CancelFlag* cancel = nullptr);
