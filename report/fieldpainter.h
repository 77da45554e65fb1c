#pragma once

#include "report/reporttemplate.h"

#include <QColor>
#include <QFont>
#include <QRectF>

class QImage;
class QPaintDevice;
class QPainter;

// How one field looks in one row: its attributes, possibly changed by highlighting rules.
struct FieldStyle
{
    QFont font;
    QColor fontColor = Qt::black;
    QColor backgroundColor; // invalid: none
    Qt::Alignment alignment = Qt::AlignLeft | Qt::AlignTop;
    bool wrap = false;

    static FieldStyle fromField(const TContainerField& field);
    // One highlighting setting ("bold", "fontColor", ...) with its value; unknown names do
    // nothing.
    void apply(const QString& setting, const QString& value);
};

// Paints the kinds of field the engine knows onto device pixels. `scale` converts template
// pixels (border widths) to device pixels.
class FieldPainter
{
public:
    static void paintText(QPainter* painter, const QRectF& rect, const TContainerField& field,
        const FieldStyle& style, const QString& text, double scale);
    // The shape types: "reactangle", "roundedReactangle", "circle", "triangle", "rhombus".
    static bool isShape(const QString& type);
    static void paintShape(
        QPainter* painter, const QRectF& rect, const TContainerField& field, double scale);
    // The image scaled into the rectangle with its aspect kept, centred.
    static void paintImage(QPainter* painter, const QRectF& rect, const QImage& image);
    // Height in device pixels that `text` needs at `width` device pixels on `device`.
    static double textHeight(
        QPaintDevice* device, double width, const FieldStyle& style, const QString& text);

private:
    static void paintBorders(
        QPainter* painter, const QRectF& rect, const TContainerField& field, double scale);
};

// "solid", "dashed", "dotted", "dot-dash", "dot-dot-dash"; anything else is solid.
Qt::PenStyle reportPenStyle(const QString& name);
