#pragma once

#include "store/progresssink.h"

class QSettings;
class Study;
class StudyRepository;

enum class ResultsOutcome {
    AlreadyComplete, // every required result was there; nothing ran
    Computed, // the analyzers ran and the study was saved
    Cancelled, // stopped on request; results and file as they were
};

// Fills in a study's missing results (every result with `recompute`) with the user's analysis
// limits from `settings`, and saves the study when anything was computed. Progress counts
// beats. Throws the store's error when the save fails.
ResultsOutcome computeAndSaveResults(StudyRepository& repository, Study& study,
    const QSettings& settings, bool recompute, ProgressSink* progress = nullptr,
    const CancelFlag* cancel = nullptr);
