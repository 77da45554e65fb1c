#include "report/treportpreview.h"

#include "report/treportengine.h"

#include <QPrintPreviewDialog>
#include <QPrinter>

namespace TReportPreview {

void show(TReportEngine* engine, QPrinter* printer, QWidget* parent)
{
    QPrintPreviewDialog dialog(printer, parent);
    QObject::connect(
        &dialog, &QPrintPreviewDialog::paintRequested, engine, &TReportEngine::printPreview);
    dialog.exec();
}

void install(TReportEngine* engine, QWidget* parent)
{
    engine->setPreviewHandler(
        [parent](TReportEngine* e, QPrinter* printer) { show(e, printer, parent); });
}

} // namespace TReportPreview
