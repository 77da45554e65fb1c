#include "reporttestutil.h"

#include "tests/support/testsupport.h"

#include <QPageLayout>
#include <QPdfWriter>

#include <gtest/gtest.h>

using namespace reporttest;

namespace {

// Device pixels per template pixel of the test device (2100 px over 840).
constexpr double kScale = 2.5;

// A section whose page holds a header of 100 and a footer of 48: the room between them runs
// from 140 to 1100 template pixels, exactly ten data rows of 96.
QString tableSection(const QString& extraBands = QString())
{
    return section(band("PageHeader", 100, field("labelImage", "[head]", 0, 0, 100, 20))
        + band("MasterData", 96, field("labelImage", "[cell]", 0, 0, 100, 20))
        + band("PageFooter", 48, field("labelImage", "[foot]", 0, 0, 100, 20)) + extraBands);
}

struct ReportRunFixture
{
    TReportEngine engine;
    Recorder rec { engine };
    testsupport::TempRoot dir;
    QString pdf = dir.file("out.pdf");

    bool go(const QStringList& sections, const QList<int>& rows, const QList<int>& skipped = {},
        int from = 0, int to = 0)
    {
        if (!engine.loadTemplateData(reports(sections)))
            return false;
        engine.setRowCounts(rows);
        engine.setSkippedSections(skipped);
        // A4 at 10 pixels per millimetre, so a template pixel is 2.5 device pixels.
        QPdfWriter writer(pdf);
        writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait, {}));
        writer.setResolution(254);
        return engine.render(&writer, from, to);
    }
};

} // namespace

// Ten rows fill a page exactly; the eleventh and the twenty-first open the next.
TEST(TReportEngine, DataBandOfExactlyTheRoomLeftStillFits)
{
    for (const int rows : { 10, 11, 20, 21 }) {
        SCOPED_TRACE(rows);
        ReportRunFixture run;
        ASSERT_TRUE(run.go({ tableSection() }, { rows }));
        const int pages = (rows + 9) / 10;
        EXPECT_EQ(run.engine.totalPages(), pages);
        EXPECT_EQ(run.rec.overlays, pages);
        const auto cells = run.rec.drawingsNamed("cell");
        ASSERT_EQ(cells.size(), rows);
        for (int r = 0; r < rows; ++r) {
            EXPECT_EQ(cells[r].recNo, r);
            EXPECT_EQ(cells[r].sheet, r / 10 + 1) << "row " << r;
            // Top of the row: below the header at 140, 96 per row on its page.
            EXPECT_NEAR(cells[r].bounds.top(), (140 + (r % 10) * 96) * kScale, 1.0) << r;
        }
        // Every page has its header at the top margin and its footer above the bottom margin.
        const auto heads = run.rec.drawingsNamed("head");
        const auto feet = run.rec.drawingsNamed("foot");
        ASSERT_EQ(heads.size(), pages);
        ASSERT_EQ(feet.size(), pages);
        for (int p = 0; p < pages; ++p) {
            EXPECT_NEAR(heads[p].bounds.top(), 40 * kScale, 1.0);
            EXPECT_NEAR(feet[p].bounds.top(), (1188 - 40 - 48) * kScale, 1.0);
            EXPECT_EQ(feet[p].sheet, p + 1);
        }
    }
}

TEST(TReportEngine, TitleComesFirstAndOnlyOnce)
{
    ReportRunFixture run;
    ASSERT_TRUE(run.go(
        { tableSection(band("ReportTitle", 177, field("labelImage", "[title]", 0, 0, 10, 10))) },
        { 15 }));
    const auto heads = run.rec.drawingsNamed("head");
    ASSERT_EQ(heads.size(), 2);
    EXPECT_NEAR(heads[0].bounds.top(), (40 + 177) * kScale, 1.0);
    EXPECT_NEAR(heads[1].bounds.top(), 40 * kScale, 1.0);
    EXPECT_EQ(run.rec.drawingsNamed("title").size(), 1);
    // The title costs the first page room for 177 / 96 = 1.8 rows: 8 rows fit.
    const auto cells = run.rec.drawingsNamed("cell");
    EXPECT_EQ(cells[7].sheet, 1);
    EXPECT_EQ(cells[8].sheet, 2);
}

TEST(TReportEngine, SkippedEmptyAndUnlistedSections)
{
    const QString other = section(band("PageHeader", 50, field("label", "[other]", 0, 0, 100, 20))
        + band("MasterData", 20, field("labelImage", "[x]", 0, 0, 9, 9)));
    ReportRunFixture run;
    // Section 1 has no rows, section 2 is skipped, section 4 is past the row list (one row).
    ASSERT_TRUE(run.go(
        { tableSection(), other, other, tableSection(), tableSection() }, { 3, 0, 5, 2 }, { 2 }));
    EXPECT_EQ(run.engine.totalPages(), 3);
    EXPECT_EQ(run.rec.overlays, 3);
    for (const auto& c : run.rec.asked + run.rec.drawings)
        EXPECT_TRUE(c.reportPage == 0 || c.reportPage >= 3) << c.name.toStdString();
    const auto cells = run.rec.drawingsNamed("cell");
    ASSERT_EQ(cells.size(), 6);
    EXPECT_EQ(cells[2].reportPage, 0);
    EXPECT_EQ(cells[3].reportPage, 3);
    EXPECT_EQ(cells[3].sheet, 2);
    EXPECT_EQ(cells[5].reportPage, 4);
    EXPECT_EQ(cells[5].recNo, 0);
}

TEST(TReportEngine, UnknownTypesAndFalseConditionsDoNotPrint)
{
    const QString s = section(band("MasterData", 50,
        field("barcode", "[secret]", 0, 0, 100, 20) + field("label", "[shown]", 0, 20, 100, 20)
            + field("", "[typeless]", 0, 0, 10, 10)
            + field("labelImage", "[never]", 0, 0, 10, 10, "printing=\"0\"")
                  .replace("printing=\"1\" ", "")
            + field("labelImage", "[odd]", 0, 0, 10, 10)
                  .replace("printing=\"1\"", "printing=\"[odd] == 1\"")));
    ReportRunFixture run;
    QObject::connect(&run.engine, &TReportEngine::setValue,
        [](int recNo, const QString& name, QVariant& v, int) {
            if (name == QLatin1String("odd"))
                v = recNo % 2;
        });
    ASSERT_TRUE(run.go({ s }, { 6 }));
    int shown = 0;
    for (const auto& c : run.rec.asked) {
        EXPECT_NE(c.name, QStringLiteral("secret"));
        EXPECT_NE(c.name, QStringLiteral("typeless"));
        shown += c.name == QStringLiteral("shown");
    }
    EXPECT_EQ(shown, 6);
    // "printing" 0 never prints; a condition is evaluated per row.
    EXPECT_TRUE(run.rec.drawingsNamed("never").isEmpty());
    const auto odd = run.rec.drawingsNamed("odd");
    ASSERT_EQ(odd.size(), 3);
    EXPECT_EQ(odd[0].recNo, 1);
    EXPECT_EQ(odd[2].recNo, 5);
}

TEST(TReportEngine, PageRangeLimitsWhatIsPaintedAndProgressCountsAll)
{
    ReportRunFixture run;
    ASSERT_TRUE(run.go({ tableSection() }, { 25 }, {}, 2, 2));
    EXPECT_EQ(run.engine.totalPages(), 3);
    const auto cells = run.rec.drawingsNamed("cell");
    ASSERT_EQ(cells.size(), 10);
    EXPECT_EQ(cells.first().recNo, 10);
    EXPECT_EQ(cells.last().recNo, 19);
    EXPECT_EQ(run.rec.overlays, 1);
    const QString text = pdfText(run.pdf);
    if (!text.isNull()) {
        EXPECT_EQ(text.count(QLatin1Char('\f')), 1) << "one sheet in the file";
    }
    // Progress opens with (0, 0) and closes with the whole report's total.
    ASSERT_GE(run.rec.progress.size(), 2);
    EXPECT_EQ(run.rec.progress.first(), qMakePair(0, 0));
    EXPECT_EQ(run.rec.progress.last(), qMakePair(3, 3));
}

TEST(TReportEngine, BadTemplatesAndPathsFail)
{
    testsupport::TempRoot dir;
    TReportEngine engine;
    EXPECT_FALSE(engine.loadTemplate(dir.file("missing.xml")));
    EXPECT_FALSE(engine.errorString().isEmpty());
    for (const QByteArray& xml : { QByteArray(), QByteArray("<Reports><Report>"),
             QByteArray("<NotReports/>"), QByteArray("\x00\x01garbage", 9) }) {
        testsupport::writeAll(dir.file("bad.xml"), xml);
        EXPECT_FALSE(engine.loadTemplate(dir.file("bad.xml"))) << xml.constData();
    }
    testsupport::writeAll(dir.file("good.xml"), reports({ tableSection() }));
    ASSERT_TRUE(engine.loadTemplate(dir.file("good.xml")));
    engine.setRowCounts({ 3 });
    ASSERT_TRUE(engine.printToPdf(dir.file("r.pdf")));
    EXPECT_TRUE(testsupport::readAll(dir.file("r.pdf")).startsWith("%PDF"));
    EXPECT_FALSE(engine.printToPdf(dir.file("no/such/folder/r.pdf")));
}

// The printed texts, read back from the PDF.
TEST(TReportEngine, PdfCarriesSubstitutedTexts)
{
    // 15 rows of 200 in 1188 - 80 - 30 = 1078: 5 rows a page, the summary below the last five.
    const QString table = section(band("MasterData", 200,
                                      field("label", "row <LineNo> value [v]", 0, 0, 400, 30)
                                          + field("label", "calc <6 * 7 + 1>", 400, 0, 200, 30))
        + band(
            "ReportSummary", 40, field("label", "total <Sum([v])> n <Count([v])>", 0, 0, 400, 30))
        + band("PageFooter", 30, field("label", "Pág. <Page> de <TotalPages>", 500, 0, 300, 30)));
    ReportRunFixture run;
    QObject::connect(&run.engine, &TReportEngine::setValue,
        [](int recNo, const QString& name, QVariant& v, int) {
            if (name == QLatin1String("v"))
                v = QString::number((recNo + 1) * 10);
        });
    ASSERT_TRUE(run.go({ table }, { 15 }));
    EXPECT_EQ(run.engine.totalPages(), 3);
    const QString text = pdfText(run.pdf);
    if (text.isNull())
        GTEST_SKIP() << "pdftotext not installed; cannot read the PDF back";
    const QStringList pages = text.split(QLatin1Char('\f'), Qt::SkipEmptyParts);
    ASSERT_GE(pages.size(), 3);
    for (int p = 0; p < 3; ++p)
        EXPECT_TRUE(pages[p].contains(QString::fromUtf8("Pág. %1 de 3").arg(p + 1))) << p;
    EXPECT_TRUE(pages[0].contains(QStringLiteral("row 5 value 50")));
    EXPECT_TRUE(pages[1].contains(QStringLiteral("row 6 value 60")));
    // 10 + 20 + ... + 150 = 1200, over 15 rows.
    EXPECT_TRUE(pages[2].contains(QStringLiteral("total 1200 n 15")));
    EXPECT_TRUE(pages[0].contains(QStringLiteral("calc 43")));
    EXPECT_FALSE(text.contains(QStringLiteral("[v]")));
}
