#pragma once

class THolterReport;

// The one place where a report goes to paper: the default printer, without preview. Throws
// ReportError when there is no printer.
void printToDefaultPrinter(THolterReport& report);
