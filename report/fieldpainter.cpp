#include "report/fieldpainter.h"

#include <QFontMetricsF>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>

namespace {

bool truthy(const QString& v)
{
    const QString t = v.trimmed().toLower();
    return t == QLatin1String("1") || t == QLatin1String("true");
}

// A side's border colour: "1" means the field's borderColor, "0" or empty means none.
QColor sideColor(const TContainerField& field, const QString& side)
{
    const QString v = field.attr(side).trimmed();
    if (v.isEmpty() || v == QLatin1String("0"))
        return QColor();
    if (v == QLatin1String("1")) {
        const QColor c = parseReportColor(field.attr(QStringLiteral("borderColor")));
        return c.isValid() ? c : QColor(Qt::black);
    }
    return parseReportColor(v);
}

QPen borderPen(const TContainerField& field, const QColor& color, double scale)
{
    double width = parseReportLength(field.attr(QStringLiteral("borderWidth")));
    if (width <= 0.0)
        width = 1.0;
    QPen pen(color, width * scale);
    pen.setStyle(reportPenStyle(field.attr(QStringLiteral("borderStyle"))));
    return pen;
}

} // namespace

Qt::PenStyle reportPenStyle(const QString& name)
{
    const QString n = name.trimmed();
    if (n == QLatin1String("dashed"))
        return Qt::DashLine;
    if (n == QLatin1String("dotted"))
        return Qt::DotLine;
    if (n == QLatin1String("dot-dash"))
        return Qt::DashDotLine;
    if (n == QLatin1String("dot-dot-dash"))
        return Qt::DashDotDotLine;
    return Qt::SolidLine;
}

FieldStyle FieldStyle::fromField(const TContainerField& field)
{
    FieldStyle s;
    const QString family = field.attr(QStringLiteral("fontFamily"));
    s.font = QFont(family.isEmpty() ? QStringLiteral("Helvetica") : family);
    const double size = field.number(QStringLiteral("fontSize"), 8.0);
    s.font.setPointSizeF(size > 0.0 ? size : 8.0);
    s.font.setBold(truthy(field.attr(QStringLiteral("fontBold"))));
    s.font.setItalic(truthy(field.attr(QStringLiteral("fontItalic"))));
    s.font.setUnderline(truthy(field.attr(QStringLiteral("fontUnderline"))));
    s.font.setStrikeOut(truthy(field.attr(QStringLiteral("fontStrikeout"))));
    const QColor fc = parseReportColor(field.attr(QStringLiteral("fontColor")));
    if (fc.isValid())
        s.fontColor = fc;
    s.backgroundColor = parseReportColor(field.attr(QStringLiteral("backgroundColor")));

    Qt::Alignment h = Qt::AlignLeft;
    const QString ah = field.attr(QStringLiteral("aligmentH"));
    if (ah == QLatin1String("hRight"))
        h = Qt::AlignRight;
    else if (ah == QLatin1String("hCenter"))
        h = Qt::AlignHCenter;
    else if (ah == QLatin1String("hJustify"))
        h = Qt::AlignJustify;
    Qt::Alignment v = Qt::AlignTop;
    const QString av = field.attr(QStringLiteral("aligmentV"));
    if (av == QLatin1String("vBottom"))
        v = Qt::AlignBottom;
    else if (av == QLatin1String("vCenter"))
        v = Qt::AlignVCenter;
    s.alignment = h | v;
    s.wrap = field.flag(QStringLiteral("textWrap")) || field.flag(QStringLiteral("autoHeight"));
    return s;
}

void FieldStyle::apply(const QString& setting, const QString& value)
{
    if (setting == QLatin1String("bold"))
        font.setBold(truthy(value));
    else if (setting == QLatin1String("italic"))
        font.setItalic(truthy(value));
    else if (setting == QLatin1String("underline"))
        font.setUnderline(truthy(value));
    else if (setting == QLatin1String("strikeout"))
        font.setStrikeOut(truthy(value));
    else if (setting == QLatin1String("fontColor"))
        fontColor = parseReportColor(value);
    else if (setting == QLatin1String("backgroundColor"))
        backgroundColor = parseReportColor(value);
}

void FieldPainter::paintText(QPainter* painter, const QRectF& rect, const TContainerField& field,
    const FieldStyle& style, const QString& text, double scale)
{
    painter->save();
    if (style.backgroundColor.isValid() && style.backgroundColor.alpha() > 0)
        painter->fillRect(rect, style.backgroundColor);
    painter->setFont(style.font);
    painter->setPen(style.fontColor.isValid() ? style.fontColor : QColor(Qt::black));
    int flags = int(style.alignment);
    if (style.wrap)
        flags |= Qt::TextWordWrap;
    painter->drawText(rect, flags, text);
    paintBorders(painter, rect, field, scale);
    painter->restore();
}

bool FieldPainter::isShape(const QString& type)
{
    return type == QLatin1String("reactangle") || type == QLatin1String("roundedReactangle")
        || type == QLatin1String("circle") || type == QLatin1String("triangle")
        || type == QLatin1String("rhombus");
}

void FieldPainter::paintShape(
    QPainter* painter, const QRectF& rect, const TContainerField& field, double scale)
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QColor fill = parseReportColor(field.attr(QStringLiteral("backgroundColor")));
    painter->setBrush(fill.isValid() ? QBrush(fill) : QBrush(Qt::NoBrush));
    QColor line = parseReportColor(field.attr(QStringLiteral("borderColor")));
    if (!line.isValid())
        line = Qt::black;
    painter->setPen(borderPen(field, line, scale));
    const QString type = field.type();
    if (type == QLatin1String("reactangle")) {
        painter->drawRect(rect);
    } else if (type == QLatin1String("roundedReactangle")) {
        const double r = qMin(rect.width(), rect.height()) * 0.15;
        painter->drawRoundedRect(rect, r, r);
    } else if (type == QLatin1String("circle")) {
        painter->drawEllipse(rect);
    } else if (type == QLatin1String("triangle")) {
        painter->drawPolygon(QPolygonF(
            { QPointF(rect.center().x(), rect.top()), rect.bottomRight(), rect.bottomLeft() }));
    } else if (type == QLatin1String("rhombus")) {
        const QPointF c = rect.center();
        painter->drawPolygon(QPolygonF({ QPointF(c.x(), rect.top()), QPointF(rect.right(), c.y()),
            QPointF(c.x(), rect.bottom()), QPointF(rect.left(), c.y()) }));
    }
    painter->restore();
}

void FieldPainter::paintImage(QPainter* painter, const QRectF& rect, const QImage& image)
{
    if (image.isNull() || rect.isEmpty())
        return;
    QSizeF size = image.size();
    size.scale(rect.size(), Qt::KeepAspectRatio);
    const QRectF target(rect.left() + (rect.width() - size.width()) / 2.0,
        rect.top() + (rect.height() - size.height()) / 2.0, size.width(), size.height());
    painter->save();
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(target, image);
    painter->restore();
}

double FieldPainter::textHeight(
    QPaintDevice* device, double width, const FieldStyle& style, const QString& text)
{
    const QFontMetricsF fm(style.font, device);
    int flags = int(style.alignment);
    if (style.wrap)
        flags |= Qt::TextWordWrap;
    return fm.boundingRect(QRectF(0, 0, width, 1e9), flags, text).height();
}

void FieldPainter::paintBorders(
    QPainter* painter, const QRectF& rect, const TContainerField& field, double scale)
{
    struct Side
    {
        const char* name;
        QLineF line;
    };
    const Side sides[] = {
        { "borderTop", QLineF(rect.topLeft(), rect.topRight()) },
        { "borderBottom", QLineF(rect.bottomLeft(), rect.bottomRight()) },
        { "borderLeft", QLineF(rect.topLeft(), rect.bottomLeft()) },
        { "borderRight", QLineF(rect.topRight(), rect.bottomRight()) },
    };
    for (const Side& side : sides) {
        const QColor c = sideColor(field, QLatin1String(side.name));
        if (!c.isValid() || c.alpha() == 0)
            continue;
        painter->setPen(borderPen(field, c, scale));
        painter->drawLine(side.line);
    }
}
