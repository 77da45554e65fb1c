#pragma once

class QPrinter;
class QWidget;
class TReportEngine;

// Printer output of a report: the print system and its dialogs stay out of the report engine,
// which only paints on paged devices.
namespace ReportPrinter {

// Lays the printer out on the engine's sheet, the whole sheet being the paint area.
void preparePrinter(QPrinter& printer, const TReportEngine& engine);

// Both passes on a printer, honouring a page range chosen on it. False when painting can't
// start.
bool print(TReportEngine* engine, QPrinter* printer);

// The report on the default system printer: at once with `directPrint`, otherwise through the
// preview dialog. False when there is no default printer.
bool printOnDefaultPrinter(TReportEngine* engine, bool directPrint, QWidget* parent = nullptr);

} // namespace ReportPrinter
