#include "workflow/downloadexport.h"

#include "store/storeio.h"
#include "store/studyrepository.h"
#include "workflow/settingskeys.h"
#include "workflow/settingsreader.h"

#include <QCoreApplication>
#include <QDir>
#include <QSettings>

#include <exception>

void RepositoryExporter::exportStudy(int id, const QString& folder, ProgressSink* progress)
{
    if (m_repository.exportStudy(id, folder, progress).isEmpty())
        throw StoreError(QCoreApplication::translate("MainWindow", "Study %1 does not exist")
                             .arg(id)
                             .toStdString());
}

PostDownloadStep postDownloadStep(const QSettings& settings)
{
    PostDownloadStep step;
    const QString folder = SettingsReader::stringValue(settings, SettingsKeys::ExportStudyFolder);
    if (SettingsReader::boolValue(settings, SettingsKeys::AutoExportStudies, false)
        && !folder.isEmpty()) {
        step.action = PostDownloadStep::Export;
        step.folder = folder;
    }
    return step;
}

StudyExportResult exportDownloadedStudy(
    StudyExporter& exporter, int id, const QString& folder, ProgressSink* progress)
{
    StudyExportResult result;
    const QString shown = QDir::toNativeSeparators(folder);
    try {
        exporter.exportStudy(id, folder, progress);
        result.exported = true;
        result.message = QCoreApplication::translate(
            "MainWindow", "Study file was succesfully exported to folder: %1")
                             .arg(shown);
    } catch (const std::exception&) {
        // The user can do nothing with the archive's own reason; the folder is what to check.
        result.message = QCoreApplication::translate("MainWindow",
            "Study file could not be exported to folder: %1\nPlease check shared folder access "
            "with your network administrator.")
                             .arg(shown);
    }
    return result;
}
