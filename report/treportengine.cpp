#include "report/treportengine.h"

#include "report/reportrun.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QPageLayout>
#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>
#include <QUrl>

TReportEngine::TReportEngine(QObject* parent)
    : QObject(parent)
{
}

TReportEngine::~TReportEngine() = default;

bool TReportEngine::loadTemplate(const QString& fileName)
{
    m_error.clear();
    if (!m_template.load(fileName, &m_error)) {
        m_error = tr("Cannot read report template %1: %2").arg(fileName, m_error);
        return false;
    }
    return true;
}

bool TReportEngine::loadTemplateData(const QByteArray& xml)
{
    m_error.clear();
    if (!m_template.parse(xml, &m_error)) {
        m_error = tr("Bad report template: %1").arg(m_error);
        return false;
    }
    return true;
}

bool TReportEngine::render(QPagedPaintDevice* device, int fromPage, int toPage)
{
    if (!device)
        return false;
    ReportRun::Options options;
    options.rowCounts = m_rowCounts;
    options.skippedSections = m_skippedSections;
    options.fromPage = fromPage;
    options.toPage = toPage;

    // Pass one counts the pages, so that the second knows the total.
    emit progress(0, 0);
    m_totalPages = ReportRun(this, m_template, device, nullptr, options).run();
    emit progress(1, m_totalPages);

    QPainter painter;
    if (!painter.begin(device))
        return false;
    options.totalPages = m_totalPages;
    ReportRun(this, m_template, device, &painter, options).run();
    const bool ok = painter.end();
    emit progress(m_totalPages, m_totalPages);
    return ok;
}

namespace {

// The sheet for the first printed section: A4 in the template's orientation, the whole sheet
// being the paint area so that the template's own margins place everything.
void preparePrinter(QPrinter& printer, const TReportTemplate& reportTemplate)
{
    const bool landscape = !reportTemplate.sections().isEmpty()
        && reportTemplate.sections().first().orientation != 0;
    printer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4),
        landscape ? QPageLayout::Landscape : QPageLayout::Portrait, QMarginsF(0, 0, 0, 0)));
    printer.setFullPage(true);
}

} // namespace

void TReportEngine::printPreview(QPrinter* printer)
{
    if (!printer)
        return;
    const int from = printer->printRange() == QPrinter::PageRange ? printer->fromPage() : 0;
    const int to = printer->printRange() == QPrinter::PageRange ? printer->toPage() : 0;
    render(printer, from, to);
}

bool TReportEngine::printToPdf(const QString& fileName, bool open)
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(fileName);
    preparePrinter(printer, m_template);
    if (!render(&printer))
        return false;
    if (open)
        QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(fileName).absoluteFilePath()));
    return true;
}

bool TReportEngine::printToDevice(bool directPrint)
{
    const QPrinterInfo info = QPrinterInfo::defaultPrinter();
    if (info.isNull())
        return false;
    QPrinter printer(info, QPrinter::HighResolution);
    preparePrinter(printer, m_template);
    if (directPrint)
        return render(&printer, printer.fromPage(), printer.toPage());
    if (!m_previewHandler)
        return false;
    m_previewHandler(this, &printer);
    return true;
}
