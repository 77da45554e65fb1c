#include "tools/gallery/gallerystudy.h"

#include "recorder/cardimport.h"
#include "recorder/cardsignalfile.h"
#include "results/analysisparams.h"
#include "results/eventcatalog.h"
#include "results/resultsdriver.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "tools/simulator.h"
#include "workflow/studyprocessing.h"

#include <stdexcept>

namespace {

// PVCs, a VT run, an AF episode, a burst of muscle noise and an electrode off, at the times the
// class names.
const char* const kScript = R"(hours 1
start 2026-11-22 09:00:00
rate 72 60
pvc count 40
couplet at 0:05:30
vt at 0:10:00 for 8s rate=170
afib at 0:20:00 for 10m rate=105
button at 0:21:00
muscle at 0:35:00 for 40s level=0.12
electrode-off at 0:45:00 for 1m lead=2
)";

} // namespace

GalleryStudy::GalleryStudy(const QString& root)
{
    const QString card = root + "/card";
    SimulatorScript script = parseSimulatorScript(QString::fromLatin1(kScript), "gallery");
    Simulator(script, 7).writeAll(card, 512);

    StudyRepository::Options options;
    options.rootOverride = root + "/store";
    m_repository = std::make_unique<StudyRepository>("VeltronaHolterGallery", options);
    CardImportOptions import;
    import.patient.lastName = "Gallery";
    import.patient.firstName = "Simulated";
    import.patient.start = QDateTime(QDate(2026, 11, 22), QTime(9, 0));
    const QString file = CardSignalFile::dataFilePath(card);
    const int id = importCard(*m_repository, file, CardSignalFile::findDataOffset(file), import);
    m_study = m_repository->openStudy(id);
    if (!m_study || !m_study->signal() || !m_study->beats())
        throw std::runtime_error("the simulated study could not be opened");
    StudyProcessing processing(*m_repository, m_study, ProcessingOptions());
    if (processing.runAndWait() != ProcessingOutcome::Done)
        throw std::runtime_error(("processing failed: " + processing.errorMessage()).toStdString());
    computeStudyResults(*m_study, AnalysisParams(), false);
    m_events = std::make_unique<EventCatalog>(m_study);
}

GalleryStudy::~GalleryStudy()
{
    m_events.reset();
    if (m_study)
        m_repository->closeStudy(m_study);
}

QDateTime GalleryStudy::recordingStart() const
{
    return QDateTime::fromString(
        QString::fromLatin1(m_study->recordingDateTime()), QStringLiteral("yyyyMMddHHmmss"));
}
