#include "display/gridpainter.h"

#include <QPainter>
#include <QVector>

namespace {

QPen gridPen(const QColor& color, double widthMm, double pxPerMm)
{
    return QPen(color, widthMm * pxPerMm);
}

} // namespace

GridPainter::Style GridPainter::screenStyle(Paper paper)
{
    Style s;
    s.paper = paper;
    s.majorColor = QColor(220, 200, 180);
    s.minorColor = paper == Paper::Lined ? s.majorColor.lighter(110) : s.majorColor;
    s.minorWidthMm = 0.0;
    s.majorWidthMm = 0.0;
    s.dotsOnMajorLines = false;
    s.antialias = paper == Paper::Lined;
    return s;
}

void GridPainter::paint(QPainter* painter, const QRectF& area, double pxPerMm) const
{
    if (!painter || area.width() <= 0 || area.height() <= 0 || pxPerMm <= 0.0)
        return;
    if (m_style.background)
        painter->fillRect(area, m_style.backgroundColor);
    if (!m_style.grid)
        return;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, m_style.antialias);
    if (m_style.paper == Paper::Dotted)
        paintDotted(painter, area, pxPerMm);
    else
        paintLined(painter, area, pxPerMm);
    painter->restore();
}

void GridPainter::paintDotted(QPainter* painter, const QRectF& area, double pxPerMm) const
{
    const int cols = int(area.width() / pxPerMm);
    const int rows = int(area.height() / pxPerMm);
    QVector<QPointF> dots;
    dots.reserve((cols + 1) * (rows + 1));
    for (int r = 0; r <= rows; ++r) {
        for (int c = 0; c <= cols; ++c) {
            if (!m_style.dotsOnMajorLines && (r % 5 == 0 || c % 5 == 0))
                continue;
            dots.append(QPointF(area.left() + c * pxPerMm, area.top() + r * pxPerMm));
        }
    }
    painter->setPen(gridPen(m_style.minorColor, m_style.minorWidthMm, pxPerMm));
    painter->drawPoints(dots.constData(), dots.size());
    painter->setPen(gridPen(m_style.majorColor, m_style.majorWidthMm, pxPerMm));
    for (int c = 0; c <= cols; c += 5) {
        const double x = area.left() + c * pxPerMm;
        painter->drawLine(QPointF(x, area.top()), QPointF(x, area.bottom()));
    }
    for (int r = 0; r <= rows; r += 5) {
        const double y = area.top() + r * pxPerMm;
        painter->drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
    }
}

void GridPainter::paintLined(QPainter* painter, const QRectF& area, double pxPerMm) const
{
    const int cols = int(area.width() / pxPerMm);
    const int rows = int(area.height() / pxPerMm);
    // Thin lines first so that the thick ones cover their crossings.
    for (int pass = 0; pass < 2; ++pass) {
        const bool major = pass == 1;
        painter->setPen(major ? gridPen(m_style.majorColor, m_style.majorWidthMm, pxPerMm)
                              : gridPen(m_style.minorColor, m_style.minorWidthMm, pxPerMm));
        for (int c = 0; c <= cols; ++c) {
            if ((c % 5 == 0) != major)
                continue;
            const double x = area.left() + c * pxPerMm;
            painter->drawLine(QPointF(x, area.top()), QPointF(x, area.bottom()));
        }
        for (int r = 0; r <= rows; ++r) {
            if ((r % 5 == 0) != major)
                continue;
            const double y = area.top() + r * pxPerMm;
            painter->drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
        }
    }
}
