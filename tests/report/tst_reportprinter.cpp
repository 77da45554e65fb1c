#include "reporttestutil.h"

#include "report/reportprinter.h"
#include "tests/support/testsupport.h"

#include <QPrinter>
#include <QPrinterInfo>

#include <gtest/gtest.h>

using namespace reporttest;

namespace {

QString tableSection(int orientation)
{
    return section(band("MasterData", 96, field("labelImage", "[cell]", 0, 0, 100, 20)))
        .replace("orientation=\"0\"", QString("orientation=\"%1\"").arg(orientation));
}

} // namespace

// A printer takes the engine's sheet, and the page range chosen on it limits what is painted.
TEST(ReportPrinter, PrinterTakesTheSheetAndItsPageRange)
{
    testsupport::TempRoot dir;
    for (int orientation : { 0, 1 }) {
        SCOPED_TRACE(orientation);
        TReportEngine engine;
        ASSERT_TRUE(engine.loadTemplateData(reports({ tableSection(orientation) })));
        engine.setRowCounts({ 25 });
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(dir.file(QString("p%1.pdf").arg(orientation)));
        ReportPrinter::preparePrinter(printer, engine);
        EXPECT_TRUE(printer.fullPage());
        EXPECT_EQ(printer.pageLayout().orientation(),
            orientation ? QPageLayout::Landscape : QPageLayout::Portrait);
        EXPECT_EQ(printer.pageLayout().pageSize().id(), QPageSize::A4);

        Recorder all(engine);
        ASSERT_TRUE(ReportPrinter::print(&engine, &printer));
        const int pages = engine.totalPages();
        ASSERT_GE(pages, 2);
        EXPECT_EQ(all.drawingsNamed("cell").size(), 25);

        TReportEngine second;
        ASSERT_TRUE(second.loadTemplateData(reports({ tableSection(orientation) })));
        second.setRowCounts({ 25 });
        Recorder some(second);
        printer.setPrintRange(QPrinter::PageRange);
        printer.setFromTo(2, 2);
        ASSERT_TRUE(ReportPrinter::print(&second, &printer));
        const auto cells = some.drawingsNamed("cell");
        ASSERT_FALSE(cells.isEmpty());
        EXPECT_LT(cells.size(), 25);
        for (const auto& c : cells)
            EXPECT_EQ(c.sheet, 1) << "only the second page is on paper";
    }
    EXPECT_FALSE(ReportPrinter::print(nullptr, nullptr));
    // Without a default printer there is nothing to print on, and no dialog opens.
    if (QPrinterInfo::defaultPrinter().isNull()) {
        TReportEngine engine;
        EXPECT_FALSE(ReportPrinter::printOnDefaultPrinter(&engine, false));
    }
}
