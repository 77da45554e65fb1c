#pragma once

#include "report/fieldpainter.h"
#include "report/reportscript.h"
#include "report/reporttemplate.h"

#include <QList>
#include <QRectF>
#include <QStringList>

class QPagedPaintDevice;
class QPainter;
class TReportEngine;

// One pass over a template: lays bands out on pages and, when it has a painter, paints them.
// The first pass runs without a painter to count the pages; the second paints, knowing the
// total. Values are asked of the application through the engine's signals.
class ReportRun
{
public:
    struct Options
    {
        QList<int> rowCounts;
        QList<int> skippedSections;
        int fromPage = 0; // 0: no limit
        int toPage = 0;
        int totalPages = 0; // known in the painting pass
    };

    ReportRun(TReportEngine* engine, const TReportTemplate& reportTemplate,
        QPagedPaintDevice* device, QPainter* painter, const Options& options);

    // Runs the pass and answers the number of pages it made.
    int run();

private:
    void runSection(int index);
    void placePageBands(int row);
    void placeBand(const TReportBand& band, int row);
    void breakPage(int row, bool restartNumbering);
    void startPage();
    void finishPage();
    void drawPageFrame();
    void drawBand(const TReportBand& band, double y, double height, int row);
    void drawField(const TContainerField& field, const QRectF& rect, int row);
    double bandHeight(const TReportBand& band, int row);
    bool pageInRange() const;

    QString fieldText(const TContainerField& field, int row);
    QString resolveText(const QString& text, int row);
    QString resolveAngle(const QString& inner);
    bool printingAllowed(const TContainerField& field, int row);
    FieldStyle styleFor(const TContainerField& field, int row);
    void storeAggregates(int row);
    QRectF deviceRect(double left, double top, double width, double height) const;

    TReportEngine* m_engine; // not owned
    const TReportTemplate& m_template;
    QPagedPaintDevice* m_device; // not owned
    QPainter* m_painter; // not owned; null in the counting pass
    Options m_options;
    ReportScript m_script;

    const TReportSection* m_section = nullptr;
    int m_sectionIndex = 0;
    bool m_firstSection = true;
    int m_page = 1; // the printed page number, which a band may restart
    int m_physicalPage = 0; // sheets made so far
    bool m_deviceHasPage = false; // the device's current sheet holds a page already
    double m_scaleX = 1.0; // device pixels per template pixel
    double m_scaleY = 1.0;
    double m_y = 0.0; // next band's top, template pixels
    double m_bottom = 0.0; // where the page footer starts
    double m_contentTop = 0.0; // below the page header
    int m_lineNo = 1;
    int m_group = 0;
    QStringList m_aggregateNames;
};
