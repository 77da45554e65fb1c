#include "report/tholterreport.h"
#include "store/studystatus.h"
#include "tests/support/testsupport.h"
#include "tests/workflow/workflowstudy.h"
#include "workflow/studyreport.h"
#include "workflow/studyresults.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <vector>

using namespace workflowtest;

namespace {

constexpr int kBeats = 300;

class PageProgress : public ProgressSink
{
public:
    void progress(qint64 page, qint64 total) override
    {
        pages.push_back(page);
        totals.push_back(total);
        if (cancelOnFirst)
            cancelOnFirst->store(true);
    }
    std::vector<qint64> pages;
    std::vector<qint64> totals;
    CancelFlag* cancelOnFirst = nullptr;
};

// A processed study with its results, ready for a report.
struct ReportFixture
{
    ReportFixture()
    {
        repo = openRepository(root.path());
        id = makeBeatStudy(*repo, kBeats);
        study = repo->openStudy(id);
        computeAndSaveResults(*repo, *study, settings.get(), false);
    }
    ~ReportFixture() { repo->closeStudy(study); }
    QString reportPath() const
    {
        return root.file("reports/" + QString::fromUtf8(study->property("baseFilename")) + ".pdf");
    }

    testsupport::TempRoot root;
    TestSettings settings;
    std::unique_ptr<StudyRepository> repo;
    int id = 0;
    Study* study = nullptr;
};

void enableExport(QSettings& settings, bool on, const QString& folder)
{
    settings.setValue(ReportExportSettings::AutoExport, on);
    settings.setValue(ReportExportSettings::Folder, folder);
}

} // namespace

// The report lands in the reports folder under the study's base name, the study becomes
// reported on disk, and the export folder gets the same bytes.
TEST(StudyReport, WritesIntoTheReportsFolderMarksTheStudyAndExports)
{
    ReportFixture f;
    ASSERT_TRUE(f.study);
    ASSERT_TRUE(f.study->results().find("HR/minBPM"));
    const QString exportFolder = f.root.file("shared");
    ASSERT_TRUE(QDir().mkpath(exportFolder));
    enableExport(f.settings.get(), true, exportFolder);

    PageProgress pages;
    const ReportOutcome outcome
        = writeStudyReportPdf(*f.repo, *f.study, ReportOptions(), f.settings.get(), &pages);
    EXPECT_FALSE(outcome.cancelled);
    EXPECT_EQ(outcome.pdfPath, f.reportPath());
    const QByteArray bytes = testsupport::readAll(f.reportPath());
    EXPECT_TRUE(bytes.startsWith("%PDF"));
    EXPECT_EQ(stored(f.root.path(), f.id).status, QByteArray(StudyStatus::Report));

    EXPECT_TRUE(outcome.exported.attempted);
    EXPECT_TRUE(outcome.exported.copied);
    EXPECT_TRUE(outcome.exported.warning.isEmpty());
    EXPECT_EQ(
        outcome.exported.target, QDir(exportFolder).filePath(QFileInfo(f.reportPath()).fileName()));
    EXPECT_EQ(testsupport::readAll(outcome.exported.target), bytes);

    ASSERT_FALSE(pages.pages.empty());
    EXPECT_EQ(pages.pages.back(), pages.totals.back());
    for (size_t i = 0; i < pages.pages.size(); ++i)
        EXPECT_LE(pages.pages[i], pages.totals[i]);
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
    ASSERT_TRUE(QDir().mkpath(dir.file("reports")));
    testsupport::writeAll(pdf, "%PDF new");
    ASSERT_TRUE(QDir().mkpath(dir.file("shared")));
    ASSERT_TRUE(QDir().mkpath(dir.file("old")));
    testsupport::writeAll(dir.file("old/Paz_1.pdf"), "%PDF old");

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
            settings.get().setValue(ReportExportSettings::AutoExport, c.autoExport);
        if (!c.folder.isNull())
            settings.get().setValue(ReportExportSettings::Folder, c.folder);
        const ReportExport e = exportReportFile(pdf, settings.get());
        EXPECT_EQ(e.attempted, c.attempted);
        EXPECT_EQ(e.copied, c.copied);
        if (c.copied) {
            EXPECT_EQ(testsupport::readAll(c.folder + "/Paz_1.pdf"), QByteArray("%PDF new"));
        }
        if (c.attempted && !c.copied) {
            EXPECT_EQ(e.warning,
                QString("Report file could not be exported to folder: %1\nPlease check shared "
                        "folder access with your network administrator.")
                    .arg(QDir::toNativeSeparators(c.folder)));
        } else {
            EXPECT_TRUE(e.warning.isEmpty());
        }
        EXPECT_EQ(testsupport::readAll(pdf), QByteArray("%PDF new")) << "the report stays";
    }
    EXPECT_FALSE(QFileInfo::exists(dir.file("missing")));
}

// A cancel before the run, or one seen after the pages, writes nothing: an older report stays
// as it was, and so does the study.
TEST(StudyReport, CancelKeepsTheOlderReportAndTheStatus)
{
    for (const bool beforeStart : { true, false }) {
        SCOPED_TRACE(beforeStart ? "before the run" : "during the run");
        ReportFixture f;
        ASSERT_TRUE(QDir().mkpath(f.root.file("reports")));
        testsupport::writeAll(f.reportPath(), "%PDF older report");
        CancelFlag cancel { beforeStart };
        PageProgress pages;
        pages.cancelOnFirst = &cancel;
        const ReportOutcome outcome = writeStudyReportPdf(
            *f.repo, *f.study, ReportOptions(), f.settings.get(), &pages, &cancel);
        EXPECT_TRUE(outcome.cancelled);
        EXPECT_TRUE(outcome.pdfPath.isEmpty());
        EXPECT_EQ(pages.pages.empty(), beforeStart);
        EXPECT_EQ(testsupport::readAll(f.reportPath()), QByteArray("%PDF older report"));
        EXPECT_EQ(QDir(f.root.file("reports")).entryList(QDir::Files).size(), 1);
        EXPECT_EQ(f.study->property("status"), QByteArray(StudyStatus::Processed));
        EXPECT_EQ(stored(f.root.path(), f.id).status, QByteArray(StudyStatus::Processed));
    }
}

// A reports folder that can't be made is an error that names it; the study stays as it was.
TEST(StudyReport, UnwritableReportsFolderIsAnErrorAndChangesNothing)
{
    ReportFixture f;
    testsupport::writeAll(f.root.file("reports"), "a file where the folder should be");
    const std::string error = testsupport::errorOf(
        [&] { writeStudyReportPdf(*f.repo, *f.study, ReportOptions(), f.settings.get()); });
    EXPECT_NE(error.find("reports"), std::string::npos) << error;
    EXPECT_NE(error, "no error");
    EXPECT_EQ(stored(f.root.path(), f.id).status, QByteArray(StudyStatus::Processed));
}
