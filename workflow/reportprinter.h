#pragma once

#include <QString>

class THolterReport;

// The one place where a headless program sends a report to paper: the pages are written as a
// PDF into a temporary folder and handed to the system's print spooler for the default printer,
// so that printing loads no print dialog or widget library. Returns the spooler's answer (the
// job id). Throws ReportError when the pages can't be made, PrintError when the spooler refuses.
QString printToDefaultPrinter(THolterReport& report, const QString& title);
