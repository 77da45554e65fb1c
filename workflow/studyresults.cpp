#include "workflow/studyresults.h"

#include "results/analysisparams.h"
#include "store/resultset.h"
#include "results/resultsdriver.h"
#include "store/study.h"
#include "store/studyrepository.h"

#include <QSettings>

ResultsOutcome computeAndSaveResults(StudyRepository& repository, Study& study,
    const QSettings& settings, bool recompute, ProgressSink* progress, const CancelFlag* cancel)
{
    if (!study.beats() || (!recompute && !ResultsDriver::needsResults(study.results())))
        return ResultsOutcome::AlreadyComplete;
    AnalysisParams params;
    params.readSettings(settings);
    if (!computeStudyResults(study, params, recompute, progress, cancel))
        return ResultsOutcome::Cancelled;
    repository.saveStudy(&study);
    return ResultsOutcome::Computed;
}
