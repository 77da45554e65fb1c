#include "report/reportprinter.h"

#include "report/treportengine.h"
#include "report/treportpreview.h"

#include <QPrinter>
#include <QPrinterInfo>

namespace ReportPrinter {

void preparePrinter(QPrinter& printer, const TReportEngine& engine)
{
    printer.setPageLayout(engine.pageLayout());
    printer.setFullPage(true);
}

bool print(TReportEngine* engine, QPrinter* printer)
{
    if (!engine || !printer)
        return false;
    const bool range = printer->printRange() == QPrinter::PageRange;
    return engine->render(printer, range ? printer->fromPage() : 0, range ? printer->toPage() : 0);
}

bool printOnDefaultPrinter(TReportEngine* engine, bool directPrint, QWidget* parent)
{
    const QPrinterInfo info = QPrinterInfo::defaultPrinter();
    if (!engine || info.isNull())
        return false;
    QPrinter printer(info, QPrinter::HighResolution);
    preparePrinter(printer, *engine);
    if (directPrint)
        return print(engine, &printer);
    TReportPreview::show(engine, &printer, parent);
    return true;
}

} // namespace ReportPrinter
