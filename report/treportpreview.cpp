#include "report/treportpreview.h"

#include "report/reportprinter.h"
#include "report/treportengine.h"

#include <QPrintPreviewDialog>
#include <QPrinter>

namespace TReportPreview {

void show(TReportEngine* engine, QPrinter* printer, QWidget* parent)
{
    QPrintPreviewDialog dialog(printer, parent);
    QObject::connect(&dialog, &QPrintPreviewDialog::paintRequested, engine,
        [engine](QPrinter* p) { ReportPrinter::print(engine, p); });
    dialog.exec();
}

} // namespace TReportPreview
