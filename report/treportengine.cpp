#include "report/treportengine.h"

#include "report/reportrun.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QPainter>
#include <QPdfWriter>
#include <QUrl>

namespace {

// As a high-resolution printer: fine enough that text and traces place as on paper.
constexpr int kPdfDotsPerInch = 1200;

} // namespace

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

QPageLayout TReportEngine::pageLayout() const
{
    const bool landscape
        = !m_template.sections().isEmpty() && m_template.sections().first().orientation != 0;
    return QPageLayout(QPageSize(QPageSize::A4),
        landscape ? QPageLayout::Landscape : QPageLayout::Portrait, QMarginsF(0, 0, 0, 0));
}

bool TReportEngine::printToPdf(const QString& fileName, bool open)
{
    QPdfWriter writer(fileName);
    writer.setResolution(kPdfDotsPerInch);
    writer.setPageLayout(pageLayout());
    if (!render(&writer))
        return false;
    if (open)
        QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(fileName).absoluteFilePath()));
    return true;
}
