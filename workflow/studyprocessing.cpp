#include "workflow/studyprocessing.h"

#include "store/beatlist.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "store/studystatus.h"

#include <QEventLoop>
#include <QThreadPool>

#include <algorithm>
#include <cmath>
#include <exception>

void settleProcessing(StudyRepository& repository, Study& study, ProcessingOutcome outcome)
{
    if (outcome == ProcessingOutcome::Done) {
        study.setProperty("status", StudyStatus::Processed);
    } else if (study.beats()) {
        // A partial list would look like a finished one to the next open; an empty one makes
        // the study ask for processing again.
        study.beats()->clear();
    }
    repository.saveStudy(&study);
}

StudyProcessing::StudyProcessing(
    StudyRepository& repository, Study* study, const ProcessingOptions& options, QObject* parent)
    : QObject(parent)
    , m_repository(repository)
    , m_study(study)
    , m_processor(std::make_unique<StudyProcessor>(study))
{
    qRegisterMetaType<ProcessingOutcome>();
    // The processor lives here, not in the pool, so that cancel() never reaches a deleted task.
    m_processor->setAutoDelete(false);
    m_processor->setOptions(options);
    StudyProcessor* p = m_processor.get();
    connect(p, &StudyProcessor::progress, this, &StudyProcessing::progress, Qt::QueuedConnection);
    connect(
        p, &StudyProcessor::done, this, [this] { settle(ProcessingOutcome::Done, QString()); },
        Qt::QueuedConnection);
    connect(
        p, &StudyProcessor::cancelled, this,
        [this] { settle(ProcessingOutcome::Cancelled, QString()); }, Qt::QueuedConnection);
    connect(
        p, &StudyProcessor::failed, this,
        [this](const QString& message) { settle(ProcessingOutcome::Failed, message); },
        Qt::QueuedConnection);
}

StudyProcessing::~StudyProcessing()
{
    if (m_started && !m_runReaped) {
        m_processor->cancel();
        waitForRunEnd();
    }
}

void StudyProcessing::start()
{
    if (m_started)
        return;
    m_started = true;
    StudyProcessor* p = m_processor.get();
    QSemaphore* ended = &m_runEnded;
    QThreadPool::globalInstance()->start([p, ended] {
        p->run(); // catches everything a reader throws
        ended->release();
    });
}

void StudyProcessing::cancel()
{
    if (isRunning())
        m_processor->cancel();
}

void StudyProcessing::waitForRunEnd()
{
    if (!m_started || m_runReaped)
        return;
    // The last signal is emitted just before run() returns, so this wait is short.
    m_runEnded.acquire();
    m_runReaped = true;
}

void StudyProcessing::settle(ProcessingOutcome outcome, const QString& failure)
{
    if (m_finished)
        return;
    waitForRunEnd(); // the pool thread has let go of the study
    m_outcome = outcome;
    m_message = failure;
    try {
        if (m_study)
            settleProcessing(m_repository, *m_study, outcome);
    } catch (const std::exception& e) {
        const QString saveError = QString::fromUtf8(e.what());
        m_message = m_message.isEmpty() ? saveError : m_message + '\n' + saveError;
    }
    m_finished = true;
    emit finished(m_outcome, m_message);
}

ProcessingOutcome StudyProcessing::runAndWait(ProgressSink* sink, const CancelFlag* cancel)
{
    m_processor->setCancelFlag(cancel);
    QEventLoop loop;
    QString lastStatus;
    if (sink) {
        connect(this, &StudyProcessing::progress, &loop,
            [sink, &lastStatus](const QString& status, double percent) {
                if (status != lastStatus) {
                    sink->status(status);
                    lastStatus = status;
                }
                // Detection can end a little past 100 %.
                sink->progress(qint64(std::floor(std::min(percent, 100.0))), 100);
            });
    }
    connect(this, &StudyProcessing::finished, &loop, &QEventLoop::quit);
    start();
    if (!m_finished)
        loop.exec();
    return m_outcome;
}
