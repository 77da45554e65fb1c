#include "workflow/reportprinter.h"

#include "report/tholterreport.h"
#include "workflow/printpdf.h"

#include <QTemporaryDir>

QString printToDefaultPrinter(THolterReport& report, const QString& title)
{
    QTemporaryDir spool;
    if (!spool.isValid())
        throw ReportError("Cannot create a temporary folder for the printed report");
    const QString file = spool.filePath("report.pdf");
    report.run(file);
    // The spooler has its own copy once lp returns, so the folder may go.
    return printPdfOnDefaultPrinter(file, title);
}
