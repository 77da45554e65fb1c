#pragma once

#include "analysis/typeassignment.h"
#include "store/progresssink.h"

#include <QObject>
#include <QRunnable>
#include <QString>

class Study;

// What the user chose before processing. The flags say exclude, so a creator that starts from
// the "AllowType..." settings stores their negation.
struct ProcessingOptions
{
    bool excludeType[5] = { false, false, false, false, false }; // by type code U N V F S
    bool svpbUserDefined = false;
    // Used only with svpbUserDefined: a ratio of the median RR, not a percentage.
    double svpbPrematurityRatio = prematurityRatioOfPercent(kDefaultSvpbPrematurityPercent);
    bool svpbCompensatory = false;
    // Only the type rules as they stand, without the refinement of the labels.
    bool literalRules = false;
};

// The background task that turns a study's samples into a labelled beat list: detection,
// noise checking, classification, type assignment and additional noise removal, over a
// 250 Hz view of the study's source. It rewrites the study's beat list and owns no data; the
// receiver of done() saves the study.
//
// Started with QThreadPool::globalInstance()->start(task, 0); the pool deletes it after run().
// The task has the study's source and beats to itself while it runs.
class StudyProcessor : public QObject, public QRunnable
{
    Q_OBJECT
public:
    static constexpr int kStages = 5;

    // `study` is not owned and must outlive the task.
    explicit StudyProcessor(Study* study);
    ~StudyProcessor() override;

    Study* study() const { return m_study; }
    const ProcessingOptions& options() const { return m_options; }
    void setOptions(const ProcessingOptions& options) { m_options = options; }

    // Runs the five stages. A reader's exception ends the run with failed() after the stage
    // objects are destroyed: an exception must not leave a pool thread.
    void run() override;
    // Asks a running task to stop at the next block or batch of beats; safe from any thread.
    void cancel() { m_cancelRequested.store(true, std::memory_order_relaxed); }
    // A second stop request that the task polls beside its own (a command line's Ctrl-C, say);
    // not owned, not cleared by run(), and it must outlive the run. Null removes it.
    void setCancelFlag(const CancelFlag* flag) { m_externalCancel = flag; }
    bool isCancelRequested() const
    {
        return m_cancelRequested.load(std::memory_order_relaxed) || isCancelled(m_externalCancel);
    }

    // "Processing %1 of %2: <stage name>", translated, for stage 1..5.
    static QString stageStatus(int stage);

signals:
    // A stage started or advanced; `percent` of that stage (stage 1 may end a little over 100).
    void progress(const QString& status, double percent);
    // All five stages ran.
    void done();
    // The task stopped on request; the beat list is incomplete.
    void cancelled();
    // A reader failed; `message` is ready to show. The beat list is incomplete.
    void failed(const QString& message);

private:
    bool runStages();

    Study* m_study; // not owned
    ProcessingOptions m_options;
    // Written by the user interface thread, polled here at block and batch boundaries.
    CancelFlag m_cancelRequested { false };
    const CancelFlag* m_externalCancel = nullptr; // not owned
};
