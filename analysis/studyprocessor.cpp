#include "analysis/studyprocessor.h"

#include "analysis/beatclassifier.h"
#include "analysis/noisechecker.h"
#include "analysis/resampledsource.h"
#include "analysis/waveletbank.h"
#include "analysis/waveletbeatdetector.h"
#include "store/beatclass.h"
#include "store/beatlist.h"
#include "store/storeio.h"
#include "store/study.h"

#include <exception>
#include <memory>

namespace {

// Every stage after detection reads samples at this rate.
constexpr int kAnalysisRate = 250;

QString withStageNumbers(const QString& text, int stage)
{
    return text.arg(stage, 0, 10, QChar(' ')).arg(StudyProcessor::kStages, 0, 10, QChar(' '));
}

} // namespace

StudyProcessor::StudyProcessor(Study* study)
    : m_study(study)
{
}

StudyProcessor::~StudyProcessor() = default;

QString StudyProcessor::stageStatus(int stage)
{
    // Whole sentences, so that translators see each one.
    switch (stage) {
    case 1:
        return withStageNumbers(tr("Processing %1 of %2: Beat detection"), stage);
    case 2:
        return withStageNumbers(tr("Processing %1 of %2: Noise checking"), stage);
    case 3:
        return withStageNumbers(tr("Processing %1 of %2: Beat classification"), stage);
    case 4:
        return withStageNumbers(tr("Processing %1 of %2: Type assignment"), stage);
    case 5:
        return withStageNumbers(tr("Processing %1 of %2: Additional noise removal"), stage);
    default:
        return QString();
    }
}

void StudyProcessor::run()
{
    m_cancelRequested.store(false, std::memory_order_relaxed);
    bool complete = false;
    try {
        complete = runStages();
    } catch (const std::exception& e) {
        emit failed(QString::fromUtf8(e.what()));
        return;
    } catch (...) {
        emit failed(tr("Processing failed"));
        return;
    }
    if (complete)
        emit done();
    else
        emit cancelled();
}

// True when all five stages ran, false after a cancel.
bool StudyProcessor::runStages()
{
    QString status = stageStatus(1);
    emit progress(status, 0.0);
    // The creator hands over a study with samples and beats; a study without either has
    // nothing to process, and the beat list (if any) stays as it was.
    if (!m_study || !m_study->signal() || !m_study->beats())
        return false;
    BeatList& list = *m_study->beats();
    list.clear();

    // Stage 1: detection on the wavelet scales of the 250 Hz source.
    auto source250 = std::make_unique<ResampledSource>(m_study->signal(), kAnalysisRate);
    {
        auto bank = std::make_unique<WaveletBank>(source250.get());
        auto detector = std::make_unique<WaveletBeatDetector>(bank.get(), &list);
        detector->init(source250.get(), 0.0, 0.0, -1);
        const double duration = source250->samplingRate() > 0
            ? double(source250->sampleCount()) / source250->samplingRate()
            : 0.0;
        while (detector->currentTime() < duration && !isCancelRequested()) {
            detector->processBlock();
            emit progress(status, detector->currentTime() * 100.0 / duration);
        }
        detector->finish();
        // The detector reads the bank, so it goes first.
        detector.reset();
        bank.reset();
    }
    if (isCancelRequested())
        return false;
    // Detection read every sample: beats found over silence that stands for unreadable
    // samples would look like a whole study.
    if (const std::string error = m_study->signal()->readError(); !error.empty())
        throw StoreError(error);

    // Stage 2: noisy stretches from the rhythm alone. finish() also runs after a cancel, so
    // the beats scored so far are marked.
    status = stageStatus(2);
    emit progress(status, 0.0);
    {
        NoiseChecker checker(list);
        while (checker.index < list.count() && !isCancelRequested()) {
            checker.step();
            emit progress(status, double((checker.index * 100) / list.count()));
        }
        checker.finish();
    }
    if (isCancelRequested())
        return false;

    // Stages 3 and 4: classes, then their types. Type assignment runs even after a cancel, so
    // the beats classified so far get their types.
    status = stageStatus(3);
    emit progress(status, 0.0);
    {
        auto classSet = std::make_unique<BeatClassSet>(source250.get(), &list);
        auto classifier = std::make_unique<BeatClassifier>();
        for (int type = 0; type < 5; ++type)
            classifier->excludeType[type] = m_options.excludeType[type];
        classifier->refineLabels = !m_options.literalRules;
        if (m_options.svpbUserDefined) {
            classifier->svpbUserDefined = true;
            classifier->svpbPrematurityRatio = m_options.svpbPrematurityRatio;
            classifier->svpbCompensatory = m_options.svpbCompensatory;
        }
        classifier->init(&list, source250.get(), classSet.get());
        const int total = list.count();
        while (classifier->index() < total && !isCancelRequested()) {
            classifier->step();
            emit progress(status, double((classifier->index() * 100) / total));
        }
        emit progress(stageStatus(4), 50.0);
        classifier->finish();
        // The classifier uses the set, and both read the 250 Hz source.
        classifier.reset();
        classSet.reset();
    }
    source250.reset();
    if (isCancelRequested())
        return false;

    // Stage 5: runs of one-member classes become noise.
    emit progress(stageStatus(5), 50.0);
    NoiseChecker::removeAdditionalNoise(list);
    return true;
}
