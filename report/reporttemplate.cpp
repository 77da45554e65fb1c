#include "report/reporttemplate.h"

#include <QDomDocument>
#include <QFile>
#include <QRegularExpression>

double TContainerField::number(const QString& name, double fallback) const
{
    bool ok = false;
    const double v = attr(name).trimmed().toDouble(&ok);
    return ok ? v : fallback;
}

TReportBand::Kind TReportBand::kindFromName(const QString& name)
{
    static const QHash<QString, Kind> kinds = {
        { QStringLiteral("ReportTitle"), ReportTitle },
        { QStringLiteral("PageHeader"), PageHeader },
        { QStringLiteral("MasterData"), MasterData },
        { QStringLiteral("PageFooter"), PageFooter },
        { QStringLiteral("ReportSummary"), ReportSummary },
        { QStringLiteral("MasterFooter"), MasterFooter },
        { QStringLiteral("MasterHeader"), MasterHeader },
        { QStringLiteral("DataGroupHeader"), DataGroupHeader },
        { QStringLiteral("DataGroupFooter"), DataGroupFooter },
    };
    return kinds.value(name, Unknown);
}

const TReportBand* TReportSection::band(TReportBand::Kind kind) const
{
    for (const TReportBand& b : bands) {
        if (b.kind == kind)
            return &b;
    }
    return nullptr;
}

namespace {

double attrNumber(const QDomElement& e, const char* name)
{
    bool ok = false;
    const double v = e.attribute(QLatin1String(name)).trimmed().toDouble(&ok);
    return ok ? v : 0.0;
}

bool attrFlag(const QDomElement& e, const char* name)
{
    return e.attribute(QLatin1String(name)).trimmed() == QLatin1String("1");
}

} // namespace

bool TReportTemplate::parse(const QByteArray& xml, QString* error)
{
    m_sections.clear();
    QDomDocument doc;
    QString message;
    int line = 0;
    if (!doc.setContent(xml, &message, &line)) {
        if (error)
            *error = QStringLiteral("line %1: %2").arg(line).arg(message);
        return false;
    }
    const QDomElement root = doc.documentElement();
    if (root.tagName() != QLatin1String("Reports")) {
        if (error)
            *error = QStringLiteral("the root element is not \"Reports\"");
        return false;
    }
    for (QDomElement e = root.firstChildElement(QStringLiteral("Report")); !e.isNull();
         e = e.nextSiblingElement(QStringLiteral("Report")))
        m_sections.append(readSection(e));
    return true;
}

bool TReportTemplate::load(const QString& fileName, QString* error)
{
    m_sections.clear();
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = file.errorString();
        return false;
    }
    return parse(file.readAll(), error);
}

TReportSection TReportTemplate::readSection(const QDomElement& e)
{
    TReportSection s;
    s.pageWidth = attrNumber(e, "pageWidth");
    s.pageHeight = attrNumber(e, "pageHeight");
    s.marginLeft = attrNumber(e, "marginsLeft");
    s.marginRight = attrNumber(e, "marginsRight");
    s.marginTop = attrNumber(e, "marginsTop");
    s.marginBottom = attrNumber(e, "marginsBottom");
    s.orientation = int(attrNumber(e, "orientation"));
    s.pageNo = int(attrNumber(e, "pageNo"));
    s.border = attrFlag(e, "border");
    s.borderColor = parseReportColor(e.attribute(QStringLiteral("borderColor")));
    s.borderStyle = e.attribute(QStringLiteral("borderStyle"));
    s.borderWidth = parseReportLength(e.attribute(QStringLiteral("borderWidth")));
    for (QDomElement b = e.firstChildElement(QStringLiteral("ReportBand")); !b.isNull();
         b = b.nextSiblingElement(QStringLiteral("ReportBand")))
        s.bands.append(readBand(b));
    return s;
}

TReportBand TReportTemplate::readBand(const QDomElement& e)
{
    TReportBand b;
    b.name = e.attribute(QStringLiteral("name"));
    b.kind = TReportBand::kindFromName(e.attribute(QStringLiteral("type")));
    b.height = attrNumber(e, "height");
    b.width = attrNumber(e, "width");
    b.showInGroup = attrFlag(e, "showInGroup");
    b.groupingField = e.attribute(QStringLiteral("groupingField"));
    b.startNewPage = attrFlag(e, "startNewPage");
    b.startNewNumeration = attrFlag(e, "startNewNumeration");
    for (QDomElement f = e.firstChildElement(QStringLiteral("TContainerField")); !f.isNull();
         f = f.nextSiblingElement(QStringLiteral("TContainerField"))) {
        TContainerField field;
        const QDomNamedNodeMap attrs = f.attributes();
        for (int i = 0; i < attrs.count(); ++i) {
            const QDomAttr a = attrs.item(i).toAttr();
            field.attributes.insert(a.name(), a.value());
        }
        b.fields.append(field);
    }
    return b;
}

QColor parseReportColor(const QString& text)
{
    const QString t = text.trimmed();
    if (t.isEmpty())
        return QColor();
    static const QRegularExpression rgba(QStringLiteral(
        "^rgba?\\s*\\(\\s*(\\d+)\\s*,\\s*(\\d+)\\s*,\\s*(\\d+)\\s*(?:,\\s*(\\d+)\\s*)?\\)$"));
    const QRegularExpressionMatch m = rgba.match(t);
    if (m.hasMatch()) {
        const int a = m.captured(4).isEmpty() ? 255 : m.captured(4).toInt();
        return QColor(qBound(0, m.captured(1).toInt(), 255), qBound(0, m.captured(2).toInt(), 255),
            qBound(0, m.captured(3).toInt(), 255), qBound(0, a, 255));
    }
    return QColor(t);
}

double parseReportLength(const QString& text)
{
    static const QRegularExpression number(QStringLiteral("^\\s*([-+]?[0-9]*\\.?[0-9]+)"));
    const QRegularExpressionMatch m = number.match(text);
    return m.hasMatch() ? m.captured(1).toDouble() : 0.0;
}
