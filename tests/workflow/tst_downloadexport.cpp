#include "tests/workflow/workflowstudy.h"
#include "workflow/downloadexport.h"
#include "workflow/settingskeys.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace workflowtest;

namespace {

// Stands in for the archive export: remembers its call, reports progress, fails on demand.
struct FakeExporter : StudyExporter
{
    void exportStudy(int id, const QString& folder, ProgressSink* progress) override
    {
        calls << QString("%1 %2").arg(id).arg(folder);
        progress->progress(1, 1);
        if (fail)
            throw std::runtime_error("Cannot create file /shared/x.vtz");
    }
    QStringList calls;
    bool fail = false;
};

struct CountingSink : ProgressSink
{
    void progress(qint64, qint64) override { ++calls; }
    int calls = 0;
};

} // namespace

// Only auto-export with a folder makes a download-only station; everything else processes.
TEST(DownloadExport, AutoExportWithAFolderExportsAnythingElseProcesses)
{
    const struct
    {
        const char* name;
        QVariant autoExport; // invalid: not set
        QVariant folder;
        bool exports;
    } cases[] = {
        { "never configured", QVariant(), QVariant(), false },
        { "off with a folder", false, "/shared/studies", false },
        { "on without a folder", true, QVariant(), false },
        { "on with an empty folder", true, QString(), false },
        { "on with a folder", true, "/shared/studies", true },
        { "on as text", "true", "/shared/studies", true },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TestSettings settings;
        if (c.autoExport.isValid())
            settings.get().setValue(SettingsKeys::AutoExportStudies, c.autoExport);
        if (c.folder.isValid())
            settings.get().setValue(SettingsKeys::ExportStudyFolder, c.folder);
        const PostDownloadStep step = postDownloadStep(settings.get());
        EXPECT_EQ(step.action, c.exports ? PostDownloadStep::Export : PostDownloadStep::Process);
        EXPECT_EQ(step.folder, c.exports ? c.folder.toString() : QString());
    }
}

// The export is asked for the study and the folder; success and failure both end in a message
// that names the folder, and a failure is never an exception.
TEST(DownloadExport, ExportReportsSuccessAndFailureByMessage)
{
    for (const bool fail : { false, true }) {
        SCOPED_TRACE(fail ? "failing" : "working");
        FakeExporter exporter;
        exporter.fail = fail;
        CountingSink sink;
        const StudyExportResult r = exportDownloadedStudy(exporter, 42, "/shared/studies", &sink);
        EXPECT_EQ(exporter.calls, QStringList { "42 /shared/studies" });
        EXPECT_EQ(sink.calls, 1);
        EXPECT_EQ(r.exported, !fail);
        EXPECT_EQ(r.message,
            fail ? QString("Study file could not be exported to folder: /shared/studies\nPlease "
                           "check shared folder access with your network administrator.")
                 : QString("Study file was succesfully exported to folder: /shared/studies"));
    }
}

// The workstation's exporter writes a real archive that lists with the study's name, and a
// study that is not in the store is a failure message, not a silent success.
TEST(DownloadExport, RepositoryExporterWritesAnArchiveOrFails)
{
    QTemporaryDir root, shared;
    auto repo = openRepository(root.path());
    const int id = makeEcgStudy(*repo, 20.0, StudyStatus::Downloaded);
    RepositoryExporter exporter(*repo);
    const StudyExportResult ok = exportDownloadedStudy(exporter, id, shared.path());
    EXPECT_TRUE(ok.exported) << ok.message.toStdString();
    EXPECT_FALSE(exportDownloadedStudy(exporter, id + 100, shared.path()).exported);
    const auto archives = repo->listArchives(shared.path());
    ASSERT_EQ(archives.size(), 1);
    EXPECT_EQ(archives[0].second.patientLastName, QByteArray("Paz"));
}
