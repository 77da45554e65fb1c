#include "report/tholterreport.h"
#include "store/studystatus.h"
#include "tests/support/testsupport.h"
#include "tests/workflow/workflowstudy.h"
#include "workflow/settingskeys.h"
#include "workflow/studyreport.h"
#include "workflow/studyresults.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <vector>

using namespace workflowtest;
using testsupport::readAll;
using testsupport::writeAll;

namespace {

struct PageProgress : ProgressSink
{
    void progress(qint64 page, qint64 total) override
    {
        pages.push_back({ page, total });
        if (cancelOnFirst)
            cancelOnFirst->store(true);
    }
    std::vector<std::pair<qint64, qint64>> pages;
    CancelFlag* cancelOnFirst = nullptr;
};

// A processed study with its results, ready for a report.
struct ReportFixture
{
    ReportFixture()
        : repo(openRepository(root.path()))
        , id(makeBeatStudy(*repo, 300))
        , study(repo->openStudy(id))
    {
        computeAndSaveResults(*repo, *study, settings.get(), false);
    }
    ~ReportFixture() { repo->closeStudy(study); }
    QString reportPath() const
    {
        return root.file("reports/" + QString::fromUtf8(study->property("baseFilename")) + ".pdf");
    }
    QByteArray storedStatus() const { return stored(root.path(), id).status; }

    testsupport::TempRoot root;
    TestSettings settings;
    std::unique_ptr<StudyRepository> repo;
    int id;
    Study* study;
};

} // namespace

// The report lands in the reports folder under the study's base name, the study becomes
// reported on disk, and the export folder gets the same bytes.
TEST(StudyReport, WritesIntoTheReportsFolderMarksTheStudyAndExports)
{
    ReportFixture f;
    ASSERT_TRUE(f.study->results().find("HR/minBPM"));
    const QString exportFolder = f.root.file("shared");
    ASSERT_TRUE(QDir().mkpath(exportFolder));
    f.settings.get().setValue(SettingsKeys::AutoExportReports, true);
    f.settings.get().setValue(SettingsKeys::ExportReportFolder, exportFolder);

    PageProgress pages;
    const ReportOutcome outcome
        = writeStudyReportPdf(*f.repo, *f.study, ReportOptions(), f.settings.get(), &pages);
    EXPECT_FALSE(outcome.cancelled);
    EXPECT_EQ(outcome.pdfPath, f.reportPath());
    const QByteArray bytes = readAll(f.reportPath());
    EXPECT_TRUE(bytes.startsWith("%PDF"));
    EXPECT_EQ(f.storedStatus(), QByteArray(StudyStatus::Report));
    EXPECT_TRUE(outcome.exported.copied);
    EXPECT_EQ(outcome.exported.target, exportFolder + "/" + QFileInfo(f.reportPath()).fileName());
    EXPECT_EQ(readAll(outcome.exported.target), bytes);
    ASSERT_FALSE(pages.pages.empty());
    EXPECT_EQ(pages.pages.back().first, pages.pages.back().second);
    // No half-written file is left beside the report.
    EXPECT_EQ(QDir(f.root.file("reports")).entryList(QDir::Files),
        QStringList { QFileInfo(f.reportPath()).fileName() });
}

// The copy follows the two settings; a folder that can't take it gives a warning naming the
// folder and the report stays where it is; an older copy is replaced.
TEST(StudyReport, ExportCopyFollowsTheSettings)
{
    testsupport::TempRoot dir;
    const QString pdf = dir.file("reports/Paz_1.pdf");
    for (const char* folder : { "reports", "shared", "old" })
        ASSERT_TRUE(QDir().mkpath(dir.file(folder)));
    writeAll(pdf, "%PDF new");
    writeAll(dir.file("old/Paz_1.pdf"), "%PDF old");
    const struct
    {
        const char* name;
        QVariant autoExport; // invalid: not set
        QString folder;
        bool attempted;
        bool copied;
    } cases[] = {
        { "never configured", QVariant(), QString(), false, false },
        { "off with a folder", false, dir.file("shared"), false, false },
        { "on without a folder", true, QString(), false, false },
        { "on", true, dir.file("shared"), true, true },
        { "on, replacing an older copy", true, dir.file("old"), true, true },
        { "on, folder missing", true, dir.file("missing"), true, false },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TestSettings settings;
        if (c.autoExport.isValid())
            settings.get().setValue(SettingsKeys::AutoExportReports, c.autoExport);
        if (!c.folder.isNull())
            settings.get().setValue(SettingsKeys::ExportReportFolder, c.folder);
        const ReportExport e = exportReportFile(pdf, settings.get());
        EXPECT_EQ(e.attempted, c.attempted);
        EXPECT_EQ(e.copied, c.copied);
        if (c.copied) {
            EXPECT_EQ(readAll(c.folder + "/Paz_1.pdf"), QByteArray("%PDF new"));
        }
        EXPECT_EQ(e.warning,
            c.attempted && !c.copied
                ? QString("Report file could not be exported to folder: %1\nPlease check shared "
                          "folder access with your network administrator.")
                      .arg(QDir::toNativeSeparators(c.folder))
                : QString());
        EXPECT_EQ(readAll(pdf), QByteArray("%PDF new")) << "the report stays";
    }
}

// A cancel before the run, or one seen after the pages, writes nothing: an older report stays
// as it was, and so does the study.
TEST(StudyReport, CancelKeepsTheOlderReportAndTheStatus)
{
    for (const bool beforeStart : { true, false }) {
        SCOPED_TRACE(beforeStart ? "before the run" : "during the run");
        ReportFixture f;
        ASSERT_TRUE(QDir().mkpath(f.root.file("reports")));
        writeAll(f.reportPath(), "%PDF older report");
        CancelFlag cancel { beforeStart };
        PageProgress pages;
        pages.cancelOnFirst = &cancel;
        const ReportOutcome outcome = writeStudyReportPdf(
            *f.repo, *f.study, ReportOptions(), f.settings.get(), &pages, &cancel);
        EXPECT_TRUE(outcome.cancelled);
        EXPECT_TRUE(outcome.pdfPath.isEmpty());
        EXPECT_EQ(pages.pages.empty(), beforeStart);
        EXPECT_EQ(QDir(f.root.file("reports")).entryList(QDir::Files).size(), 1);
        EXPECT_EQ(readAll(f.reportPath()), QByteArray("%PDF older report"));
        EXPECT_EQ(f.storedStatus(), QByteArray(StudyStatus::Processed));
    }
}

// A reports folder that can't be made is an error that names it; the study stays as it was.
TEST(StudyReport, UnwritableReportsFolderIsAnErrorAndChangesNothing)
{
    ReportFixture f;
    writeAll(f.root.file("reports"), "a file where the folder should be");
    const std::string error = testsupport::errorOf(
        [&] { writeStudyReportPdf(*f.repo, *f.study, ReportOptions(), f.settings.get()); });
    EXPECT_NE(error.find("reports"), std::string::npos) << error;
    EXPECT_NE(error, "no error");
    EXPECT_EQ(f.storedStatus(), QByteArray(StudyStatus::Processed));
}
