#pragma once

#include "report/reporttemplate.h"

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QObject>
#include <QPageLayout>
#include <QRect>
#include <QVariant>

class Chart;
class QPagedPaintDevice;
class QPainter;

// A banded report generator: reads an XML template of "Report" sections, and paints their
// fields page by page on a printer or a PDF file. It knows nothing of the data it prints: every
// value, image and drawing is asked of the owner through the signals. Runs without widgets and
// without a print system: printers are driven from outside (see ReportPrinter).
class TReportEngine : public QObject
{
    Q_OBJECT
public:
    explicit TReportEngine(QObject* parent = nullptr);
    ~TReportEngine() override;

    // False on an unreadable file or bad XML; errorString() then says why.
    bool loadTemplate(const QString& fileName);
    bool loadTemplateData(const QByteArray& xml);
    QString errorString() const { return m_error; }
    const TReportTemplate& reportTemplate() const { return m_template; }

    // Rows of MasterData per section, indexed by the section's position in the template. A
    // section past the end of the list prints one row; a row count of 0 prints nothing of that
    // section.
    QList<int> rowCounts() const { return m_rowCounts; }
    void setRowCounts(const QList<int>& counts) { m_rowCounts = counts; }
    // Section indices left out altogether.
    QList<int> skippedSections() const { return m_skippedSections; }
    void setSkippedSections(const QList<int>& sections) { m_skippedSections = sections; }

    // Runs the report into a PDF file at 1200 dots per inch and, with `open`, shows it in the
    // desktop's viewer. False when the file cannot be written.
    bool printToPdf(const QString& fileName, bool open = false);
    // Runs both passes on any paged device (QPdfWriter, a printer). Pages outside
    // [fromPage, toPage] are left out, 0 meaning no limit. False when painting can't start.
    bool render(QPagedPaintDevice* device, int fromPage = 0, int toPage = 0);
    // The sheet of the report: A4 in the first section's orientation, with no margins, so that
    // the template's own margins place everything.
    QPageLayout pageLayout() const;
    // Pages of the last run, as counted by its first pass.
    int totalPages() const { return m_totalPages; }

signals:
    void setValue(int recNo, const QString& paramName, QVariant& paramValue, int reportPage);
    void setValueImage(int recNo, const QString& paramName, QByteArray& paramValue, int reportPage);
    void setValuePicture(
        int recNo, const QString& paramName, QImage& pic, const QRect& bounds, int reportPage);
    void setValueDiagram(Chart* chart);
    void drawing(int recNo, const QString& paramName, QPainter* painter, const QRect& bounds,
        int reportPage);
    void pageOverlay(QPainter* painter, const QRect& bounds, int reportPage);
    void progress(int pageNum, int totalPageNum);

private:
    TReportTemplate m_template;
    QString m_error;
    QList<int> m_rowCounts;
    QList<int> m_skippedSections;
    int m_totalPages = 0;
};
