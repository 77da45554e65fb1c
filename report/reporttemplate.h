#pragma once

#include <QColor>
#include <QHash>
#include <QString>
#include <QVector>

class QDomElement;

// One "TContainerField" of a band. Attributes are kept as text: a missing one reads as empty.
struct TContainerField
{
    QHash<QString, QString> attributes;

    QString attr(const QString& name) const { return attributes.value(name); }
    QString type() const { return attr(QStringLiteral("type")); }
    QString value() const { return attr(QStringLiteral("value")); }
    // Numeric attributes; empty or garbage reads as `fallback`.
    double number(const QString& name, double fallback = 0.0) const;
    bool flag(const QString& name) const { return attr(name).trimmed() == QLatin1String("1"); }
};

// One "ReportBand": a horizontal strip of fields of a known kind.
struct TReportBand
{
    enum Kind {
        Unknown,
        ReportTitle,
        PageHeader,
        MasterData,
        PageFooter,
        ReportSummary,
        MasterFooter,
        MasterHeader,
        DataGroupHeader,
        DataGroupFooter
    };

    QString name;
    Kind kind = Unknown;
    double height = 0.0; // template pixels
    double width = 0.0; // template pixels; 0 spans the page between the margins
    bool showInGroup = false;
    QString groupingField;
    bool startNewPage = false;
    bool startNewNumeration = false;
    QVector<TContainerField> fields;

    static Kind kindFromName(const QString& name);
};

// One "Report" element: a section with its own page geometry, printed in document order.
struct TReportSection
{
    double pageWidth = 0.0; // template pixels
    double pageHeight = 0.0;
    double marginLeft = 0.0;
    double marginRight = 0.0;
    double marginTop = 0.0;
    double marginBottom = 0.0;
    int orientation = 0; // 0 portrait
    int pageNo = 0;
    bool border = false;
    QColor borderColor;
    QString borderStyle;
    double borderWidth = 0.0;
    QVector<TReportBand> bands;

    // The first band of a kind, or null.
    const TReportBand* band(TReportBand::Kind kind) const;
    double contentWidth() const { return pageWidth - marginLeft - marginRight; }
};

// The parsed template: a "Reports" root with its "Report" sections.
class TReportTemplate
{
public:
    // Parses XML text; false on bad XML or a root that is not "Reports".
    bool parse(const QByteArray& xml, QString* error = nullptr);
    // Reads and parses a file (or a Qt resource); false when unreadable or bad.
    bool load(const QString& fileName, QString* error = nullptr);

    const QVector<TReportSection>& sections() const { return m_sections; }
    void clear() { m_sections.clear(); }

private:
    static TReportSection readSection(const QDomElement& element);
    static TReportBand readBand(const QDomElement& element);

    QVector<TReportSection> m_sections;
};

// Colours as the designer writes them: "rgba(r,g,b,a)", "rgb(r,g,b)", or any name QColor knows.
// Invalid for empty or unreadable text.
QColor parseReportColor(const QString& text);
// "1px", "2.5pt": the number with its unit stripped; 0 for nonsense.
double parseReportLength(const QString& text);
