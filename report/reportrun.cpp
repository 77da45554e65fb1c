#include "report/reportrun.h"

#include "report/chart.h"
#include "report/placeholdertext.h"
#include "report/treportengine.h"

#include <QDate>
#include <QImage>
#include <QPagedPaintDevice>
#include <QPainter>
#include <QRegularExpression>

namespace {

constexpr double kEpsilon = 1e-6; // template pixels; a band of exactly the room left fits

bool knownFieldType(const QString& type)
{
    return type == QLatin1String("label") || type == QLatin1String("text")
        || type == QLatin1String("labelImage") || type == QLatin1String("image")
        || type == QLatin1String("picture") || type == QLatin1String("diagram")
        || FieldPainter::isShape(type);
}

} // namespace

ReportRun::ReportRun(TReportEngine* engine, const TReportTemplate& reportTemplate,
    QPagedPaintDevice* device, QPainter* painter, const Options& options)
    : m_engine(engine)
    , m_template(reportTemplate)
    , m_device(device)
    , m_painter(painter)
    , m_options(options)
{
}

int ReportRun::run()
{
    m_page = 1;
    m_physicalPage = 0;
    m_firstSection = true;
    m_deviceHasPage = false;
    const int n = m_template.sections().size();
    for (int i = 0; i < n; ++i)
        runSection(i);
    if (m_physicalPage > 0)
        finishPage();
    return m_physicalPage;
}

void ReportRun::runSection(int index)
{
    const TReportSection& sec = m_template.sections().at(index);
    const int rows = index < m_options.rowCounts.size() ? m_options.rowCounts.at(index) : 1;
    if (m_options.skippedSections.contains(index) || rows <= 0)
        return;
    // The previous section's last page is finished with that section's frame and index.
    if (m_firstSection) {
        m_firstSection = false;
    } else {
        finishPage();
        ++m_page;
    }
    m_section = &sec;
    m_sectionIndex = index;
    m_script.clearAggregates();
    m_aggregateNames.clear();
    for (const TReportBand& band : sec.bands) {
        for (const TContainerField& f : band.fields) {
            for (const QString& name : PlaceholderText::aggregateNames(f.value())) {
                if (!m_aggregateNames.contains(name))
                    m_aggregateNames.append(name);
            }
        }
    }
    m_scaleX = sec.pageWidth > 0 ? m_device->width() / sec.pageWidth : 1.0;
    m_scaleY = sec.pageHeight > 0 ? m_device->height() / sec.pageHeight : 1.0;

    m_group = 0;
    m_lineNo = 1;
    m_script.setCurrentGroup(m_group);
    const TReportBand* title = sec.band(TReportBand::ReportTitle);
    if (title && title->startNewNumeration)
        m_page = 1;
    startPage();
    m_y = sec.marginTop;
    if (title) {
        const double h = bandHeight(*title, 0);
        drawBand(*title, m_y, h, 0);
        m_y += h;
    }
    placePageBands(0);

    const TReportBand* masterHeader = sec.band(TReportBand::MasterHeader);
    const TReportBand* data = sec.band(TReportBand::MasterData);
    const TReportBand* groupHeader = sec.band(TReportBand::DataGroupHeader);
    const TReportBand* groupFooter = sec.band(TReportBand::DataGroupFooter);
    if (masterHeader && !masterHeader->showInGroup)
        placeBand(*masterHeader, 0);

    QString groupKey;
    bool inGroup = false;
    int lineInGroup = 0;
    for (int row = 0; row < rows; ++row) {
        if (groupHeader) {
            QString field = groupHeader->groupingField.trimmed();
            if (!field.isEmpty() && !field.contains(QLatin1Char('[')))
                field = QLatin1Char('[') + field + QLatin1Char(']');
            const QString key = resolveText(field, row);
            if (!inGroup || key != groupKey) {
                if (inGroup) {
                    if (groupFooter)
                        placeBand(*groupFooter, row - 1);
                    ++m_group;
                }
                m_script.setCurrentGroup(m_group);
                lineInGroup = 0;
                m_lineNo = 1;
                placeBand(*groupHeader, row);
                if (masterHeader && masterHeader->showInGroup)
                    placeBand(*masterHeader, row);
                groupKey = key;
                inGroup = true;
            }
        } else if (row == 0 && masterHeader && masterHeader->showInGroup) {
            placeBand(*masterHeader, row);
        }
        m_lineNo = (groupHeader ? lineInGroup : row) + 1;
        ++lineInGroup;
        if (data) {
            storeAggregates(row);
            placeBand(*data, row);
        }
    }
    if (inGroup && groupFooter)
        placeBand(*groupFooter, rows - 1);
    if (const TReportBand* b = sec.band(TReportBand::MasterFooter))
        placeBand(*b, rows - 1);
    if (const TReportBand* b = sec.band(TReportBand::ReportSummary))
        placeBand(*b, rows - 1);
}

void ReportRun::placePageBands(int row)
{
    const TReportSection& sec = *m_section;
    if (const TReportBand* header = sec.band(TReportBand::PageHeader)) {
        const double h = bandHeight(*header, row);
        drawBand(*header, m_y, h, row);
        m_y += h;
    }
    m_contentTop = m_y;
    m_bottom = sec.pageHeight - sec.marginBottom;
    if (const TReportBand* footer = sec.band(TReportBand::PageFooter)) {
        m_bottom -= footer->height;
        drawBand(*footer, m_bottom, footer->height, row);
    }
}

void ReportRun::placeBand(const TReportBand& band, int row)
{
    const double h = bandHeight(band, row);
    const bool freshPage = m_y <= m_contentTop + kEpsilon;
    // A band taller than an empty page is drawn anyway rather than paging forever.
    if (!freshPage && (band.startNewPage || m_y + h > m_bottom + kEpsilon)) {
        breakPage(row, band.startNewNumeration);
    } else if (band.startNewNumeration && band.startNewPage) {
        m_page = 1;
    }
    drawBand(band, m_y, h, row);
    m_y += h;
}

void ReportRun::breakPage(int row, bool restartNumbering)
{
    finishPage();
    m_page = restartNumbering ? 1 : m_page + 1;
    startPage();
    m_y = m_section->marginTop;
    placePageBands(row);
}

bool ReportRun::pageInRange() const
{
    return (m_options.fromPage <= 0 || m_page >= m_options.fromPage)
        && (m_options.toPage <= 0 || m_page <= m_options.toPage);
}

void ReportRun::startPage()
{
    ++m_physicalPage;
    if (!m_painter)
        return;
    if (pageInRange()) {
        if (m_deviceHasPage)
            m_device->newPage();
        m_deviceHasPage = true;
    }
    emit m_engine->progress(m_physicalPage, m_options.totalPages);
}

void ReportRun::finishPage()
{
    if (!m_painter || !pageInRange())
        return;
    drawPageFrame();
    m_painter->save();
    emit m_engine->pageOverlay(
        m_painter, QRect(0, 0, m_device->width(), m_device->height()), m_sectionIndex);
    m_painter->restore();
}

void ReportRun::drawPageFrame()
{
    const TReportSection& sec = *m_section;
    if (!sec.border)
        return;
    m_painter->save();
    QPen pen(sec.borderColor.isValid() ? sec.borderColor : QColor(Qt::black),
        qMax(1.0, sec.borderWidth) * m_scaleX);
    pen.setStyle(reportPenStyle(sec.borderStyle));
    m_painter->setPen(pen);
    m_painter->setBrush(Qt::NoBrush);
    m_painter->drawRect(deviceRect(sec.marginLeft, sec.marginTop, sec.contentWidth(),
        sec.pageHeight - sec.marginTop - sec.marginBottom));
    m_painter->restore();
}

double ReportRun::bandHeight(const TReportBand& band, int row)
{
    double h = band.height;
    for (const TContainerField& f : band.fields) {
        if (!f.flag(QStringLiteral("autoHeight")))
            continue;
        const QString type = f.type();
        if (type != QLatin1String("label") && type != QLatin1String("text"))
            continue;
        if (!printingAllowed(f, row))
            continue;
        const FieldStyle style = styleFor(f, row);
        const double width = f.number(QStringLiteral("width")) * m_scaleX;
        const double textH
            = FieldPainter::textHeight(m_device, width, style, fieldText(f, row)) / m_scaleY;
        h = qMax(h, f.number(QStringLiteral("top")) + textH);
    }
    return h;
}

void ReportRun::drawBand(const TReportBand& band, double y, double height, int row)
{
    if (!m_painter || !pageInRange())
        return;
    m_script.setShowInGroup(band.showInGroup);
    for (const TContainerField& f : band.fields) {
        const double top = f.number(QStringLiteral("top"));
        double h = f.number(QStringLiteral("height"));
        if (f.flag(QStringLiteral("autoHeight")))
            h = qMax(h, height - top);
        drawField(f,
            deviceRect(m_section->marginLeft + f.number(QStringLiteral("left")), y + top,
                f.number(QStringLiteral("width")), h),
            row);
    }
}

QString ReportRun::fieldText(const TContainerField& field, int row)
{
    QString text = resolveText(field.value(), row);
    QString formatted;
    if (PlaceholderText::applyNumberFormat(field.attr(QStringLiteral("format")), text, &formatted))
        text = formatted;
    return text;
}

void ReportRun::drawField(const TContainerField& field, const QRectF& rect, int row)
{
    const QString type = field.type();
    if (!knownFieldType(type) || !printingAllowed(field, row))
        return;
    QString name;
    if (!PlaceholderText::isSingleField(field.value(), &name))
        name = field.value().isEmpty() ? field.attr(QStringLiteral("name")) : field.value();

    if (type == QLatin1String("label") || type == QLatin1String("text")) {
        FieldPainter::paintText(
            m_painter, rect, field, styleFor(field, row), fieldText(field, row), m_scaleX);
    } else if (FieldPainter::isShape(type)) {
        FieldPainter::paintShape(m_painter, rect, field, m_scaleX);
    } else if (type == QLatin1String("labelImage")) {
        m_painter->save();
        emit m_engine->drawing(row, name, m_painter, rect.toRect(), m_sectionIndex);
        m_painter->restore();
    } else if (type == QLatin1String("image") || type == QLatin1String("picture")) {
        QImage image;
        if (PlaceholderText::isSingleField(field.value())) {
            QByteArray bytes;
            emit m_engine->setValueImage(row, name, bytes, m_sectionIndex);
            if (!bytes.isEmpty())
                image = QImage::fromData(bytes);
            if (image.isNull())
                emit m_engine->setValuePicture(row, name, image, rect.toRect(), m_sectionIndex);
        } else {
            // A picture held in the template itself, as base64 bytes of an image file.
            image = QImage::fromData(QByteArray::fromBase64(field.value().toLatin1()));
        }
        FieldPainter::paintImage(m_painter, rect, image);
    } else if (type == QLatin1String("diagram")) {
        Chart chart;
        emit m_engine->setValueDiagram(&chart);
        m_painter->save();
        chart.paint(m_painter, rect);
        m_painter->restore();
    }
}

QString ReportRun::resolveText(const QString& text, int row)
{
    QString out;
    for (const PlaceholderText::Part& part : PlaceholderText::split(text)) {
        switch (part.kind) {
        case PlaceholderText::Part::Literal:
            out += part.text;
            break;
        case PlaceholderText::Part::Field: {
            QVariant value;
            emit m_engine->setValue(row, part.text, value, m_sectionIndex);
            out += value.toString();
            break;
        }
        case PlaceholderText::Part::Angle:
            out += resolveAngle(part.text);
            break;
        }
    }
    return out;
}

QString ReportRun::resolveAngle(const QString& inner)
{
    if (inner == QLatin1String("Date"))
        return QDate::currentDate().toString(QStringLiteral("dd.MM.yyyy"));
    if (inner == QLatin1String("Time"))
        return QTime::currentTime().toString(QStringLiteral("hh:mm:ss"));
    if (inner == QLatin1String("Page"))
        return QString::number(m_page);
    if (inner == QLatin1String("TotalPages"))
        return QString::number(m_options.totalPages);
    if (inner == QLatin1String("LineNo"))
        return QString::number(m_lineNo);
    return m_script.evaluateText(PlaceholderText::scriptFromExpression(inner));
}

bool ReportRun::printingAllowed(const TContainerField& field, int row)
{
    // Designer files always carry the attribute; one written by hand without it prints.
    const QString p = field.attr(QStringLiteral("printing")).trimmed();
    if (p.isEmpty() || p == QLatin1String("1"))
        return true;
    return m_script.evaluateBool(resolveText(p, row));
}

FieldStyle ReportRun::styleFor(const TContainerField& field, int row)
{
    FieldStyle style = FieldStyle::fromField(field);
    const QString rules = field.attr(QStringLiteral("highlighting"));
    if (rules.trimmed().isEmpty())
        return style;
    // One rule a line: a condition, then "setting=value", e.g. "[hr] > 100; fontColor=red".
    static const QRegularExpression setting(QStringLiteral(
        "(bold|italic|underline|strikeout|fontColor|backgroundColor)\\s*=\\s*([^;]*)\\s*$"));
    for (const QString& rule : rules.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QRegularExpressionMatch m = setting.match(rule);
        if (!m.hasMatch())
            continue;
        QString condition = rule.left(m.capturedStart()).trimmed();
        while (condition.endsWith(QLatin1Char(';')) || condition.endsWith(QLatin1Char(',')))
            condition.chop(1);
        if (condition.trimmed().isEmpty() || m_script.evaluateBool(resolveText(condition, row)))
            style.apply(m.captured(1), m.captured(2).trimmed());
    }
    return style;
}

void ReportRun::storeAggregates(int row)
{
    for (const QString& name : m_aggregateNames) {
        QVariant value;
        emit m_engine->setValue(row, name, value, m_sectionIndex);
        bool ok = false;
        const double v = value.toString().trimmed().toDouble(&ok);
        if (ok)
            m_script.store(name, row, m_group, v);
    }
}

QRectF ReportRun::deviceRect(double left, double top, double width, double height) const
{
    return QRectF(left * m_scaleX, top * m_scaleY, width * m_scaleX, height * m_scaleY);
}
