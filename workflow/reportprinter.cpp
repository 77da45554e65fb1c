#include "workflow/reportprinter.h"

#include "report/tholterreport.h"

void printToDefaultPrinter(THolterReport& report)
{
    // An empty file name sends the pages to the default printer.
    report.run();
}
