#pragma once

#include "analysis/studyprocessor.h"
#include "store/progresssink.h"

#include <QObject>
#include <QSemaphore>
#include <QString>

#include <memory>

class Study;
class StudyRepository;

enum class ProcessingOutcome {
    Done, // all stages ran; the study is "processed"
    Cancelled, // stopped on request; the beats were emptied, the status kept
    Failed, // a reader failed; as a cancel, with a message
};

// Settles a study after a processing run and saves it (it stays open):
// - Done: the status becomes "processed", which also takes a reported study back after
//   reprocessing.
// - Cancelled or Failed: the partly rewritten beat store is emptied and the status stays as it
//   was, so the study is offered for processing again at the next open.
// Throws the store's error when the save fails.
void settleProcessing(StudyRepository& repository, Study& study, ProcessingOutcome outcome);

// One processing run of an open study, from start to its settled end, for a window (start()
// and the finished() signal) and for the command line (runAndWait()) alike.
//
// The processor runs on QThreadPool::globalInstance(); its signals come back queued to the
// thread that owns this object, which settles the study there. The study and the repository
// are not owned; nothing else may touch the study until finished() is emitted.
class StudyProcessing : public QObject
{
    Q_OBJECT
public:
    StudyProcessing(StudyRepository& repository, Study* study, const ProcessingOptions& options,
        QObject* parent = nullptr);
    StudyProcessing(const StudyProcessing&) = delete;
    StudyProcessing& operator=(const StudyProcessing&) = delete;
    // Cancels a run that is still going and waits for its thread to let go of the study, which
    // is then left unsettled: its owner closes it without saving.
    ~StudyProcessing() override;

    Study* study() const { return m_study; }
    // Starts the run on the pool; a second call does nothing.
    void start();
    // Asks the run to stop at the next block or batch of beats; finished() follows.
    void cancel();
    bool isRunning() const { return m_started && !m_finished; }

    // Starts the run and waits for its settled end in a local event loop. Progress goes to
    // `progress`, with the stage text as its status and percent of the stage out of 100;
    // `cancel` is polled by the run beside cancel(). Both are optional and not owned.
    ProcessingOutcome runAndWait(
        ProgressSink* progress = nullptr, const CancelFlag* cancel = nullptr);
    // The failure's message after a Failed run, or the save's when settling failed.
    QString errorMessage() const { return m_message; }

signals:
    // A stage started or advanced, as StudyProcessor reports it.
    void progress(const QString& status, double percent);
    // The run ended and the study was settled and saved (unless `message` says the save
    // failed). Emitted once.
    void finished(ProcessingOutcome outcome, const QString& message);

private:
    void settle(ProcessingOutcome outcome, const QString& failure);
    void waitForRunEnd();

    StudyRepository& m_repository;
    Study* m_study; // not owned
    std::unique_ptr<StudyProcessor> m_processor;
    // Released by the pool thread when run() has returned, so that the processor may go.
    QSemaphore m_runEnded;
    bool m_started = false;
    bool m_finished = false;
    bool m_runReaped = false;
    ProcessingOutcome m_outcome = ProcessingOutcome::Failed;
    QString m_message;
};

Q_DECLARE_METATYPE(ProcessingOutcome)
