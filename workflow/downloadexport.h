#pragma once

#include "store/progresssink.h"

#include <QString>

class QSettings;

// Writes a stored study as an archive into a folder; the repository's archive export behind a
// seam, so that the decision below is tested without archives. Throws with a ready message.
class StudyExporter
{
public:
    virtual ~StudyExporter() = default;
    virtual void exportStudy(int id, const QString& folder, ProgressSink* progress) = 0;
};

class StudyRepository;

// The exporter of a workstation: the repository's own vtz export.
class RepositoryExporter : public StudyExporter
{
public:
    explicit RepositoryExporter(StudyRepository& repository)
        : m_repository(repository)
    {
    }
    // Throws the store's message; a study that is not in the store is an error here, since the
    // caller has just downloaded it.
    void exportStudy(int id, const QString& folder, ProgressSink* progress) override;

private:
    StudyRepository& m_repository;
};

// What happens to a study that was just downloaded.
struct PostDownloadStep
{
    enum Action {
        Process, // this workstation processes it
        Export, // a download-only station: it goes to the shared folder and is not processed
    };
    Action action = Process;
    QString folder; // the export folder, with Export
};

// Auto-export with a folder exports; anything else (auto-export off, or on with an empty
// folder) processes locally.
PostDownloadStep postDownloadStep(const QSettings& settings);

struct StudyExportResult
{
    bool exported = false;
    QString message; // ready to show, for success and failure alike
};

// Exports a downloaded study to `folder`. Whatever happens, the study stays in the local store
// with its status "downloaded"; a failure is a warning that names the folder, not an exception.
StudyExportResult exportDownloadedStudy(
    StudyExporter& exporter, int id, const QString& folder, ProgressSink* progress = nullptr);
