#include "tests/report/holterreportstudy.h"

#include "report/reporttemplate.h"
#include "report/tholterreport.h"
#include "report/treportengine.h"
#include "resources/holterresources.h"
#include "results/analysisparams.h"
#include "results/resultsdriver.h"
#include "store/result.h"
#include "store/resultkeys.h"
#include "store/study.h"
#include "store/trend.h"
#include "tests/support/testsupport.h"

#include <QSettings>
#include <QStringList>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

using reportstudy::makeStudy;
using reporttest::lineWith;

namespace {

const double kHour = 3600.0;

void put(Study& s, const char* key, std::unique_ptr<Result> r)
{
    s.results().insert(key, std::move(r));
}

// Runs the report into a PDF and returns the text of its pages; none without pdftotext.
QStringList pdfPages(THolterReport& report, const testsupport::TempRoot& root)
{
    report.run(root.file("report.pdf"));
    return reporttest::pdfText(root.file("report.pdf")).split('\f', Qt::SkipEmptyParts);
}

const char kNoPdfText[] = "pdftotext (poppler-utils) is not installed; skipping the PDF check";

} // namespace

// ---- placeholders, one row per rule -------------------------------------------------------

struct ValueCase
{
    const char* what;
    QString name;
    QString expected;
    QVector<QPair<const char*, double>> values = {}; // stored as value results
    QVector<QPair<const char*, const char*>> props = {}; // study properties
    std::function<void(Study&, THolterReport&)> setup = nullptr;
    int recNo = 0;
    int page = 0;
};

TEST(HolterReportValues, EachPlaceholderFollowsItsRule)
{
    // A 25-hour study starting 05/03/2024 08:30:42, shown from 08:30.
    using R = THolterReport;
    const std::vector<ValueCase> cases = {
        { "zero count", "results/PVC/coupletCount", "-", { { ResultKeys::kPvc.coupletCount, 0 } } },
        { "absent count", "results/PVC/coupletCount", "-" },
        { "rare PVCs", "pvcTotalCount", "3 (< 0.1%)",
            { { ResultKeys::kPvc.totalCount, 3 },
                { ResultKeys::HeartRate::kTotalBeatCount, 100000 } } },
        { "SVPB percent", "svpbTotalCount", "250 (2.5%)",
            { { ResultKeys::kSvpb.totalCount, 250 },
                { ResultKeys::HeartRate::kTotalBeatCount, 10000 } } },
        { "PVCs without total", "pvcTotalCount", "3", { { ResultKeys::kPvc.totalCount, 3 } } },
        { "AF 599 s", "afibTotalTime", "9 m. 59 s. (< 1%)",
            { { ResultKeys::AFib::kTotalTime, 599 } } },
        { "AF 600 s", "afibTotalTime", "0 h. 10 m. (< 1%)",
            { { ResultKeys::AFib::kTotalTime, 600 } } },
        { "AF a tenth", "afibTotalTime", "2 h. 30 m. (10%)",
            { { ResultKeys::AFib::kTotalTime, 9000 } } },
        { "AF none", "afibTotalTime", "-", { { ResultKeys::AFib::kTotalTime, 0 } } },
        { "event", "results/HR/minBPM", "52 [5/3 09:32]", {}, {},
            [](Study& s, R&) {
                put(s, ResultKeys::HeartRate::kMinBpm,
                    std::make_unique<EventResult>(kHour + 120.0, 0.0, 52.0));
            } },
        { "event without value", "results/HR/maxBPM", "-", {}, {},
            [](Study& s, R&) {
                put(s, ResultKeys::HeartRate::kMaxBpm, std::make_unique<EventResult>(50, 0, 0));
            } },
        { "two decimals", "results/HRV/LFHFRatio", "1.23",
            { { ResultKeys::HRV::kLFHFRatio, 1.234 } } },
        { "one decimal", "results/HRV/PNN50", "12.3", { { ResultKeys::HRV::kPNN50, 12.34 } } },
        { "no decimals", "results/HR/avgBPM", "72", { { ResultKeys::HeartRate::kAvgBpm, 71.6 } } },
        { "channel of the trend lead", "results/QT/QTIntervalAvg(%measurementChannel)", "410",
            // The stored spelling of channel keys, which the placeholder is built to match.
            { { "QT/QTIntervalAvg(0)", 400 }, { "QT/QTIntervalAvg(1)", 410 } }, {},
            [](Study&, R& r) { r.setTrendLead("V2"); } },
        { "list kind prints nothing", "results/PVC/runEvents", "", {}, {},
            [](Study& s, R&) {
                put(s, ResultKeys::kPvc.runEvents, std::make_unique<EventListResult>());
            } },
        { "hour on the first page", "hour", "11:30", {}, {}, nullptr, 3, 1 },
        { "hour 25", "hour", "08:30", {}, {}, nullptr, 0, 2 },
        { "hour 26", "hour", "09:30", {}, {}, nullptr, 1, 2 },
        { "study date", "studyDateTime", "05/03/2024" },
        { "start", "recordingStartDateTime", "5/3 08:30" },
        { "end", "recordingEndDateTime", "6/3 09:30" },
        { "length", "recordingTime", "25 h. 0 m." },
        { "BMI", "patientBMI", "22.9", {},
            { { "patient/weight", "70" }, { "patient/height", "175" } } },
        { "BMI without height", "patientBMI", "", {},
            { { "patient/weight", "70" }, { "patient/height", "0" } } },
        { "history number label", "patientIdLabel", "ID / #H.C.", {},
            { { "patient/medicalHistoryNumber", "HC-7" } } },
        { "history number", "patientIdValue", "HC-7", {},
            { { "patient/medicalHistoryNumber", "HC-7" },
                { "patient/personIdNumber", "30111222" } } },
        { "document label", "patientIdLabel", "Doc." },
        { "document", "patientIdValue", "DNI 30111222", {},
            { { "patient/personIdType", "DNI" }, { "patient/personIdNumber", "30111222" } } },
        { "longest pause", "maxPause", "3.3 s. [5/3 10:30]", {}, {},
            [](Study& s, R&) {
                auto list = std::make_unique<EventListResult>();
                for (double at : { 100.0, 2 * kHour, 3 * kHour }) // 3.26 s is the longest
                    list->events.append(EventResult(at, at == 2 * kHour ? 3.26 : 2.5, 0.0));
                put(s, ResultKeys::Pause::kEvents, std::move(list));
            } },
        { "default limit", "analysisParam/pause/intervalSecs", "2" },
        { "user's limit", "analysisParam/pause/intervalSecs", "2.5", {}, {},
            [](Study&, R&) { QSettings().setValue("Config/Analysis/pause/intervalSecs", 2.5); } },
        { "two filters", "ecgFilters", "notch 50hz, baseline fix", {}, {},
            [](Study&, R& r) {
                r.setLineNotchFilter(true);
                r.setBaselineFilter(true);
            } },
        { "amplitude", "ampScale", "20", {}, {}, [](Study&, R& r) { r.setAmplitude(20.0); } },
        { "lead not in the recording", "measurementChannel", "II", {}, {},
            [](Study&, R& r) { r.setTrendLead("V9"); } },
        { "lead in the recording", "measurementChannel", "V5", {}, {},
            [](Study&, R& r) { r.setTrendLead("V5"); } },
        { "risk factors", "patientRiskFactors",
            QString::fromUtf8("Hipertensión\nDiabetes [tipo 2]"), {}, {},
            [](Study& s, R&) {
                s.setRiskFactor("Diabetes", true, "tipo 2");
                s.setRiskFactor("Gota", false, "");
                s.setRiskFactor(QString::fromUtf8("Hipertensión").toUtf8(), true, "");
            } },
        { "unknown name", "noSuchField", "" },
    };
    for (const ValueCase& c : cases) {
        SCOPED_TRACE(c.what);
        QSettings().remove("Config/Analysis/pause/intervalSecs");
        auto study = makeStudy(25 * kHour);
        THolterReport report(study.get());
        for (const auto& v : c.values)
            put(*study, v.first, std::make_unique<ValueResult>(v.second));
        for (const auto& p : c.props)
            study->setProperty(p.first, p.second);
        if (c.setup)
            c.setup(*study, report);
        if (c.name.startsWith("analysisParam"))
            report.prepare(); // reads the user's limits
        EXPECT_EQ(report.value(c.recNo, c.name, c.page).toStdString(), c.expected.toStdString());
    }
}

TEST(HolterReportValues, NoiseIsLeftOutOfTheAnalysedTime)
{
    // Beats every 0.8 s from 0.5 s; those from 600 s to 900 s are noise. The last trusted beat
    // before is at 599.7 s, the first after at 900.5 s: 300.8 s not analysed.
    auto study = makeStudy(kHour, 600.0, 900.0);
    THolterReport report(study.get());
    EXPECT_NEAR(report.noiseSeconds(), 300.8, 1e-6);
    EXPECT_EQ(report.value(0, "analyzeTime", 0), "0 h. 54 m."); // 3299.2 s
    EXPECT_EQ(report.value(0, "analyzeTimePct", 0), "91");
    EXPECT_EQ(report.value(0, "recordingTime", 0), "1 h. 0 m.");
}

// ---- the section plan ---------------------------------------------------------------------

struct PlanCase
{
    const char* what;
    double seconds;
    bool trends, extra, hrv;
    QVector<int> printLengths; // one event each; -1 not printed
    QList<int> skipped;
    int firstTableRows, secondTableRows, stripRows, disclosureRows;
};

TEST(HolterReportPlan, SectionsFollowTheOptionsAndTheEventsInOrder)
{
    const std::vector<PlanCase> cases = {
        { "a day and a minute", 24 * kHour + 60.0, true, true, true, {}, { 5, 6 }, 24, 48, 0, 0 },
        { "a day and 59 s", 24 * kHour + 59.0, true, true, true, {}, { 2, 5, 6 }, 24, 0, 0, 0 },
        { "only events", 25 * kHour, false, false, false, { 0, -1, 60, 0 }, { 1, 2, 3, 4 }, 0, 0, 2,
            1 },
        { "HRV only", 10 * kHour, false, false, true, {}, { 1, 2, 3, 5, 6 }, 0, 0, 0, 0 },
    };
    for (const PlanCase& c : cases) {
        SCOPED_TRACE(c.what);
        auto study = makeStudy(c.seconds);
        for (int len : c.printLengths) {
            StudyEvent& e = study->events().add();
            e.position = 30.0;
            e.print = len >= 0;
            e.printLength = len >= 0 ? len : 0;
        }
        THolterReport report(study.get());
        report.setPrintTrendsAndTable(c.trends);
        report.setPrintExtraTrends(c.extra);
        report.setPrintHRV(c.hrv);
        report.prepare();
        const QList<int> rows = report.engine()->rowCounts();
        QList<int> skipped = report.engine()->skippedSections();
        std::sort(skipped.begin(), skipped.end());
        EXPECT_EQ(skipped, c.skipped);
        ASSERT_EQ(rows.size(), 7);
        EXPECT_EQ(rows[0], 1);
        // A skipped section's row count does not matter.
        const int expected[]
            = { 1, c.firstTableRows, c.secondTableRows, 1, 1, c.stripRows, c.disclosureRows };
        for (int i = 1; i < 7; ++i) {
            if (!skipped.contains(i)) {
                EXPECT_EQ(rows[i], expected[i]) << "section " << i;
            }
        }
        // Strips and full-disclosure pages take the printed events in order, row by row.
        if (!c.printLengths.isEmpty()) {
            EXPECT_EQ(report.stripEvents(), (QMap<int, int> { { 0, 0 }, { 1, 3 } }));
            EXPECT_EQ(report.compressedEvents(), (QMap<int, int> { { 0, 2 } }));
        }
    }
}

// ---- the templates ------------------------------------------------------------------------

namespace {

// Every field value of a template, in document order.
QStringList valuesOf(const TReportTemplate& t)
{
    QStringList values;
    for (const TReportSection& s : t.sections())
        for (const TReportBand& b : s.bands)
            for (const TContainerField& field : b.fields)
                values << field.value();
    return values;
}

} // namespace

TEST(HolterReportTemplate, EveryFieldLiesInsideItsBandAndEveryPageHoldsItsBands)
{
    initHolterResources();
    for (const char* name : { THolterReport::kTemplate, THolterReport::kVeterinaryTemplate }) {
        SCOPED_TRACE(name);
        TReportTemplate t;
        ASSERT_TRUE(t.load(name));
        ASSERT_EQ(t.sections().size(), 7);
        for (int i = 0; i < 7; ++i) {
            SCOPED_TRACE(i);
            const TReportSection& s = t.sections().at(i);
            EXPECT_EQ(s.pageWidth, 840);
            EXPECT_EQ(s.pageHeight, 1188);
            EXPECT_EQ(s.marginLeft + s.marginRight + s.marginTop + s.marginBottom, 160);
            EXPECT_EQ(s.pageNo, i + 1);
            double used = 0.0;
            for (const TReportBand& b : s.bands) {
                // Three strips share a strip page.
                used += b.kind == TReportBand::MasterData && i == 5 ? 3 * b.height : b.height;
                for (const TContainerField& f : b.fields) {
                    SCOPED_TRACE(f.value().toStdString());
                    // The engine silently skips a type it does not know.
                    EXPECT_TRUE(
                        QStringList({ "label", "labelImage", "reactangle" }).contains(f.type()));
                    // One family, which the report maps to the fonts a machine has.
                    EXPECT_EQ(f.attr("fontFamily"), QString("MS Shell Dlg 2"));
                    EXPECT_GE(f.number("left"), 0.0);
                    EXPECT_LE(f.number("left") + f.number("width"), 760.0 + 1e-9);
                    EXPECT_LE(f.number("top") + f.number("height"), b.height + 1e-9);
                }
            }
            EXPECT_LE(used, 1188 - 80);
        }
    }
}

TEST(HolterReportTemplate, FieldsBindTheReportValues)
{
    initHolterResources();
    TReportTemplate t;
    ASSERT_TRUE(t.load(THolterReport::kTemplate));
    // The hourly rows, in this order, on both table pages.
    const QStringList row = { "[hour]", "[results/HR/avgBPMPerHour]", "[results/HR/minBPMPerHour]",
        "[results/HR/maxBPMPerHour]", "[results/PVC/totalCountPerHour]",
        "[results/PVC/coupletCountPerHour]", "[results/PVC/tripletCountPerHour]",
        "[results/PVC/runCountPerHour]", "[results/bigeminy/bigeminyCountPerHour]",
        "[results/trigeminy/trigeminyCountPerHour]", "[results/SVPB/totalCountPerHour]",
        "[results/SVPB/coupletCountPerHour]", "[results/SVPB/tripletCountPerHour]",
        "[results/SVPB/runCountPerHour]", "[results/arrhythmia/bradyCountPerHour]",
        "[results/pause/pauseCountPerHour]" };
    for (int i : { 1, 2 }) {
        QStringList got;
        for (const TContainerField& field :
            t.sections().at(i).band(TReportBand::MasterData)->fields)
            got << field.value();
        EXPECT_EQ(got.join('|'), row.join('|'));
    }
    // A few bindings that are easy to get wrong.
    QStringList values = valuesOf(t);
    for (const char* v : { "Pág. <Page> de <TotalPages>", "[brandLogo]", "[headerLogo]",
             "[pieFreqRatio]", "[compressedEcgGraphic/event]", "[ecgGraphic/event/3by1]",
             "[ecgGraphic/event/rhythm]", "Tiempo analizado: [analyzeTime] ([analyzeTimePct]%)",
             "25 mm/seg - [ampScale] mm/mV - Filtros: [ecgFilters]",
             "< [analysisParam/arrhythmia/bradycardiaBPMLimit] ppm",
             "[results/ST/STLevelAvg(%measurementChannel)] mm", "[patientRiskFactors]",
             "[patientBMI]" })
        EXPECT_TRUE(values.contains(QString::fromUtf8(v))) << v;
    EXPECT_EQ(values.count("[brandLogo]"), 7);

    // The veterinary cover names the animal instead of a person's identity and risks.
    ASSERT_TRUE(t.load(THolterReport::kVeterinaryTemplate));
    values = valuesOf(t);
    for (const char* v : { "[demo/patient/animalSpecies]", "[demo/patient/animalBreed]",
             "[demo/patient/medicalHistoryNumber]",
             "[results/QT/TPeakToEndIntervalAvg(%measurementChannel)] ms." })
        EXPECT_TRUE(values.contains(v)) << v;
    for (const char* v : { "[patientRiskFactors]", "[patientBMI]", "[patientIdValue]",
             "[demo/patient/medicalGroupName]" })
        EXPECT_FALSE(values.contains(v)) << v;
}

// ---- whole reports ------------------------------------------------------------------------

TEST(HolterReportPdf, ProcessedDayPrintsEverySectionWithItsFigures)
{
    testsupport::TempRoot root;
    auto study = makeStudy(24 * kHour);
    study->setProperty("conclusion", "Ritmo sinusal.");
    ASSERT_TRUE(computeStudyResults(*study, AnalysisParams(), false));
    // The two heart-rate marks are strips; one more strip and two full-disclosure pages.
    StudyEvent& strip = study->events().add();
    strip.position = 5 * kHour;
    strip.description = "Palpitaciones";
    strip.print = true;
    for (double at : { 2 * kHour, 20 * kHour }) {
        StudyEvent& e = study->events().add();
        e.position = at;
        e.description = "Pagina";
        e.print = true;
        e.printLength = 120;
    }
    const ResultSet& r = study->results();
    // AF never happens in this rhythm; drop the key so the cover shows its dash either way.
    study->results().remove(ResultKeys::AFib::kTotalTime);

    THolterReport report(study.get());
    report.setHeaderTitle("Centro Cardiológico");
    const QStringList pages = pdfPages(report, root);
    if (pages.isEmpty())
        GTEST_SKIP() << kNoPdfText;
    // Cover, table, extra trends, HRV, one page of three strips, two full-disclosure pages.
    ASSERT_EQ(pages.size(), 7) << pages.join('\f').toStdString();
    EXPECT_TRUE(pages.at(6).contains(QString::fromUtf8("Pág. 7 de 7")));

    const QString cover = pages.at(0);
    for (const char* label :
        { "Pereyra, Ana - Informe Holter", "Centro Cardiológico", "FC media", "Total latidos",
            "EV total", "Fib. auricular", "Mediciones en canal II", "Conclusiones",
            "Ritmo sinusal.", "Registro desde 5/3 08:30 hasta 6/3 08:30", "(total: 24 h. 0 m.)" })
        EXPECT_TRUE(cover.contains(QString::fromUtf8(label))) << label;

    const double beats = r.findAs<ValueResult>(ResultKeys::HeartRate::kTotalBeatCount)->value;
    const double pvcs = r.findAs<ValueResult>(ResultKeys::kPvc.totalCount)->value;
    EXPECT_EQ(lineWith(cover, "Total latidos").section("Total latidos ", 1, 1).section(' ', 0, 0),
        QString::number(qint64(beats)));
    EXPECT_TRUE(lineWith(cover, "EV total").contains(QString::number(qint64(pvcs)) + " ("));
    EXPECT_TRUE(lineWith(cover, "Fib. auricular").endsWith("Fib. auricular -"));
    const double avg = r.findAs<ValueResult>(ResultKeys::HeartRate::kAvgBpm)->value;
    EXPECT_TRUE(lineWith(cover, "FC media").contains(QString::number(qRound(avg)) + " lpm"));

    const QString table = pages.at(1);
    EXPECT_TRUE(table.contains("Hora"));
    // The first row: the clock and the first hour's median rate.
    const auto* perHour = r.findAs<TTrend>(ResultKeys::HeartRate::kAvgBpmPerHour);
    ASSERT_NE(perHour, nullptr);
    EXPECT_TRUE(lineWith(table, "08:30")
                    .startsWith("08:30 " + QString::number(qRound(perHour->valueAt(0)))))
        << lineWith(table, "08:30").toStdString();
    EXPECT_TRUE(table.contains("07:30")); // the 24th hour, last row
    EXPECT_TRUE(pages.at(3).contains(QString::fromUtf8("Análisis frecuencial")));
    EXPECT_TRUE(pages.at(4).contains("Palpitaciones"));
    EXPECT_TRUE(pages.at(4).contains("Maximum HR"));
    EXPECT_TRUE(pages.at(4).contains("25 mm/seg - 10 mm/mV - Filtros: none"));
    EXPECT_TRUE(pages.at(5).contains("[5/3 10:30] Pagina"));
    EXPECT_TRUE(pages.at(6).contains("[6/3 04:30] Pagina"));
}

TEST(HolterReportPdf, TwentyFiveHoursPrintASecondTablePage)
{
    testsupport::TempRoot root;
    auto study = makeStudy(25 * kHour);
    auto median = std::make_unique<BinnedMedian>();
    median->configure(kHour, 25);
    for (int h = 0; h < 25; ++h) {
        if (h != 5) // an hour without beats
            median->add(h * kHour + 1.0, 60.0 + h);
    }
    put(*study, ResultKeys::HeartRate::kAvgBpmPerHour, std::move(median));

    THolterReport report(study.get());
    report.setPrintExtraTrends(false);
    report.setPrintHRV(false);
    const QStringList pages = pdfPages(report, root);
    if (pages.isEmpty())
        GTEST_SKIP() << kNoPdfText;
    ASSERT_EQ(pages.size(), 3);
    // An hour without a rate and a count reads as dashes. Page 2 ends with the 24th hour; page 3
    // starts with the 25th: 08:30 the next day, 84 bpm, and then rows of the clock and dashes.
    EXPECT_TRUE(lineWith(pages.at(1), "13:30").startsWith("13:30 - -"));
    EXPECT_TRUE(lineWith(pages.at(1), "07:30").startsWith("07:30 83 -"));
    EXPECT_TRUE(lineWith(pages.at(2), "08:30").startsWith("08:30 84 -"))
        << lineWith(pages.at(2), "08:30").toStdString();
    EXPECT_TRUE(lineWith(pages.at(2), "09:30").startsWith("09:30 - -"));
    EXPECT_TRUE(pages.at(2).contains(QString::fromUtf8("Pág. 3 de 3")));
    // Everything missing on the cover reads as a dash.
    EXPECT_TRUE(lineWith(pages.at(0), "EV total").contains("EV total -"));
    EXPECT_TRUE(lineWith(pages.at(0), "Pausa máx.").contains(QString::fromUtf8("Pausa máx. -")));
}

TEST(HolterReportPdf, UnwritableFileIsAnError)
{
    auto study = makeStudy(kHour);
    THolterReport report(study.get());
    EXPECT_THROW(report.run("/nonexistent-folder/x/report.pdf"), ReportError);
}
