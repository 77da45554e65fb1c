#pragma once

#include <QColor>
#include <QRectF>

class QPainter;

// ECG paper: a background, and a grid of 1 mm and 5 mm steps measured in the device's
// millimetres, starting at the area's top left corner.
class GridPainter
{
public:
    enum class Paper {
        Dotted, // dots at each millimetre, lines every 5 mm
        Lined // thin lines each millimetre, thick ones every 5 mm
    };

    struct Style
    {
        Paper paper = Paper::Dotted;
        bool background = true;
        QColor backgroundColor = Qt::white;
        bool grid = true;
        QColor minorColor = Qt::gray; // dots, or the thin lines
        QColor majorColor = Qt::gray;
        // Pen widths in millimetres; 0 draws cosmetic one-pixel pens.
        double minorWidthMm = 0.15;
        double majorWidthMm = 0.2;
        // Dotted paper: also dot the millimetres that lie on a 5 mm line.
        bool dotsOnMajorLines = true;
        bool antialias = false;
    };

    // The look of the printed report.
    static Style paperStyle() { return Style(); }
    // The look of the screen: one-pixel pens in the paper's warm colour.
    static Style screenStyle(Paper paper);

    GridPainter() = default;
    explicit GridPainter(const Style& style)
        : m_style(style)
    {
    }
    const Style& style() const { return m_style; }

    void paint(QPainter* painter, const QRectF& area, double pxPerMm) const;

private:
    void paintDotted(QPainter* painter, const QRectF& area, double pxPerMm) const;
    void paintLined(QPainter* painter, const QRectF& area, double pxPerMm) const;

    Style m_style;
};
