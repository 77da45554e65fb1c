#include "analysis/typeassignment.h"
#include "results/analysisparams.h"
#include "store/beat.h"
#include "tests/support/testsupport.h"
#include "tests/workflow/workflowstudy.h"
#include "workflow/downloadexport.h"
#include "workflow/reportoptions.h"
#include "workflow/settingskeys.h"
#include "workflow/settingsreader.h"
#include "workflow/studyreport.h"

#include <QDir>

#include <gtest/gtest.h>

#include <functional>

using workflowtest::TestSettings;
namespace K = SettingsKeys;

namespace {

using Observe = std::function<QString(const QSettings&)>;

QString yesNo(bool b)
{
    return b ? "yes" : "no";
}

Observe header(QString ReportOptions::*field)
{
    return [field](const QSettings& s) {
        ReportOptions o;
        applyReportHeaderSettings(o, s);
        return o.*field;
    };
}

Observe analysis(const char* parameter)
{
    return [parameter](const QSettings& s) {
        AnalysisParams p;
        p.readSettings(s);
        return QString::number(p.value(parameter));
    };
}

Observe processing(std::function<QString(const ProcessingOptions&)> pick)
{
    return [pick](const QSettings& s) { return pick(processingOptionsFromSettings(s)); };
}

// One settings key and the code that reads it: with only `context` set the reader shows
// `unset`; with the key at `value` it shows `set`; with the key at `wrong` (a value of the wrong
// type or out of range) it shows `unset` again.
struct ReaderRow
{
    const char* key;
    QVariant value;
    QVariant wrong;
    Observe observe;
    QString unset;
    QString set;
    std::vector<std::pair<const char*, QVariant>> context = {};
};

std::vector<ReaderRow> readerRows(const QString& pdf, const QString& folder)
{
    auto excluded = [](int type) {
        return processing([type](const ProcessingOptions& o) { return yesNo(o.excludeType[type]); });
    };
    const QVariantMap map { { "a", 1 } };
    const std::pair<const char*, QVariant> userRule { K::SVPBUserDefined, "true" };
    return {
        { K::HeaderTitle, "Clínica Sur", map, header(&ReportOptions::title), "", "Clínica Sur" },
        { K::HeaderTitle, QStringList { "Clínica Sur", " Rosario" }, map,
            header(&ReportOptions::title), "", "Clínica Sur,  Rosario" },
        { K::HeaderInfo, "Tel. 555", map, header(&ReportOptions::info), "", "Tel. 555" },
        { K::HeaderLogoFilename, "/logos/a.png", map, header(&ReportOptions::logoFile), "",
            "/logos/a.png" },
        // Text, as the platform's text stores give every value back.
        { K::PauseIntervalSecs, "3.5", "nan", analysis("pause/intervalSecs"), "2", "3.5" },
        { K::PauseIntervalSecs, 2.5, "2,5 s", analysis("pause/intervalSecs"), "2", "2.5" },
        { K::TachycardiaBPMLimit, "150", "fast", analysis("arrhythmia/tachycardiaBPMLimit"), "120",
            "150" },
        { K::BradycardiaBPMLimit, "35", QStringList { "1", "2" },
            analysis("arrhythmia/bradycardiaBPMLimit"), "40", "35" },
        { K::ArrhythmiaMinDurationSecs, "12", "", analysis("arrhythmia/minDurationSecs"), "5",
            "12" },
        { K::QTCorrectionFormulaId, "3", "inf", analysis("QT/correctionFormulaId"), "0", "3" },
        { K::AllowTypeV, "false", "maybe", excluded(BeatV), "no", "yes" },
        { K::AllowTypeF, false, "2", excluded(BeatF), "no", "yes" },
        { K::AllowTypeS, "0", map, excluded(BeatS), "no", "yes" },
        { K::AllowTypeU, "FALSE", "", excluded(BeatU), "no", "yes" },
        { K::SVPBUserDefined, "true", "sí",
            processing([](const ProcessingOptions& o) { return yesNo(o.svpbUserDefined); }), "no",
            "yes" },
        { K::SVPBPrematurityPct, "30", "250",
            processing([](const ProcessingOptions& o) {
                return QString::number(o.svpbPrematurityRatio);
            }),
            "0.8", "0.7", { userRule } },
        { K::SVPBCompensatory, "true", "many",
            processing([](const ProcessingOptions& o) { return yesNo(o.svpbCompensatory); }), "no",
            "yes", { userRule } },
        { K::LiteralRules, "true", "strict",
            processing([](const ProcessingOptions& o) { return yesNo(o.literalRules); }), "no",
            "yes" },
        { K::AutoExportReports, "true", "on",
            [pdf](const QSettings& s) { return yesNo(exportReportFile(pdf, s).copied); }, "no",
            "yes", { { K::ExportReportFolder, folder } } },
        { K::ExportReportFolder, folder, map,
            [pdf](const QSettings& s) { return yesNo(exportReportFile(pdf, s).copied); }, "no",
            "yes", { { K::AutoExportReports, "true" } } },
        { K::AutoExportStudies, "true", "1.5",
            [](const QSettings& s) { return postDownloadStep(s).folder; }, "", "/shared",
            { { K::ExportStudyFolder, "/shared" } } },
        { K::ExportStudyFolder, "/shared", map,
            [](const QSettings& s) { return postDownloadStep(s).folder; }, "", "/shared",
            { { K::AutoExportStudies, true } } },
    };
}

// Each key of the configuration reaches the code that reads it, and a value of the wrong type
// there reads as the key's default.
TEST(SettingsReader, EachKeyReachesItsReaderAndWrongTypesFallBack)
{
    testsupport::TempRoot dir;
    const QString pdf = dir.file("Paz_1.pdf");
    testsupport::writeAll(pdf, "%PDF");
    ASSERT_TRUE(QDir().mkpath(dir.file("shared")));
    for (const ReaderRow& row : readerRows(pdf, dir.file("shared"))) {
        SCOPED_TRACE(std::string(row.key) + " = " + row.value.toString().toStdString());
        TestSettings settings;
        for (const auto& [key, value] : row.context)
            settings.get().setValue(key, value);
        EXPECT_EQ(row.observe(settings.get()), row.unset);
        settings.get().setValue(row.key, row.value);
        EXPECT_EQ(row.observe(settings.get()), row.set);
        settings.get().setValue(row.key, row.wrong);
        EXPECT_EQ(row.observe(settings.get()), row.unset)
            << "wrong: " << row.wrong.toString().toStdString();
        QFile::remove(dir.file("shared/Paz_1.pdf"));
    }
}

// Values come back from a text store as text; the typed readers parse them the same way.
TEST(SettingsReader, TextStoreValuesReadAsTheirTypes)
{
    testsupport::TempRoot dir;
    testsupport::writeAll(dir.file("s.ini"),
        "[Config]\nAutoExportReports=true\nClassification\\SVPBPrematurityPct=35\n"
        "Classification\\AllowTypeV=false\nAnalysis\\pause\\intervalSecs=2.75\n"
        "ExportReportFolder=/a, /b\n[StudyDialog]\nCityList=Rosario, Salta\n"
        "StateList=Santa Fe\n");
    const QSettings s(dir.file("s.ini"), QSettings::IniFormat);
    EXPECT_TRUE(SettingsReader::boolValue(s, K::AutoExportReports, false));
    EXPECT_EQ(SettingsReader::intValue(s, K::SVPBPrematurityPct, 20, 0, 100), 35);
    EXPECT_FALSE(SettingsReader::boolValue(s, K::AllowTypeV, true));
    EXPECT_EQ(SettingsReader::doubleValue(s, K::PauseIntervalSecs, 2.0), 2.75);
    EXPECT_EQ(SettingsReader::stringValue(s, K::ExportReportFolder), "/a, /b");
    EXPECT_EQ(SettingsReader::stringListValue(s, K::CityList), QStringList({ "Rosario", "Salta" }));
    EXPECT_EQ(SettingsReader::stringListValue(s, K::StateList), QStringList { "Santa Fe" });
    EXPECT_TRUE(SettingsReader::stringListValue(s, K::IdTypeList).isEmpty());
}

} // namespace
