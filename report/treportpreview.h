#pragma once

class QPrinter;
class QWidget;
class TReportEngine;

// Printer output with a preview: the one part of reporting that needs widgets.
namespace TReportPreview {

// Shows a modal preview of `printer` whose pages the engine paints.
void show(TReportEngine* engine, QPrinter* printer, QWidget* parent = nullptr);

} // namespace TReportPreview
