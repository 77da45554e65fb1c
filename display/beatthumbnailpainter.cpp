#include "display/beatthumbnailpainter.h"

#include "display/stripgeometry.h"
#include "display/tracepainter.h"
#include "store/signalsource.h"

#include <QFont>
#include <QPainter>
#include <QPolygonF>

#include <algorithm>

namespace {

QPen dottedGray()
{
    return QPen(QBrush(Qt::gray), 1.0, Qt::DotLine, Qt::SquareCap, Qt::BevelJoin);
}

const QColor kLabelColor(100, 100, 100, 255);

// Labels stand at a fixed baseline 12 px below the cell's top, so their size is in pixels.
QFont labelFont()
{
    QFont f(QStringLiteral("Helvetica"));
    f.setPixelSize(11);
    return f;
}

} // namespace

void BeatThumbnailPainter::paintBackground(QPainter* p, const QRectF& cell, const CellState& state,
    const QColor& focusedColor, const QColor& otherColor)
{
    p->fillRect(cell, Qt::white);
    if (state.current)
        p->fillRect(cell, state.focused ? focusedColor : otherColor);
    else if (state.selected)
        p->fillRect(cell, otherColor);
}

void BeatThumbnailPainter::paintShape(
    QPainter* p, const QRectF& cell, const QVector<double>& shape, double pixelsPerUnit)
{
    if (shape.size() < 2)
        return;
    const double dx = cell.width() / shape.size();
    const double mid = cell.center().y();
    QPolygonF line;
    line.reserve(shape.size());
    for (int i = 0; i < shape.size(); ++i)
        line.append(QPointF(cell.left() + i * dx, mid - shape[i] * pixelsPerUnit));
    p->save();
    p->setClipRect(cell, Qt::IntersectClip);
    p->setRenderHint(QPainter::Antialiasing, true);
    p->setPen(QPen(Qt::black, 1.0));
    p->drawPolyline(line);
    p->restore();
}

void BeatThumbnailPainter::paintMiddleLine(QPainter* p, const QRectF& cell)
{
    const double y = cell.center().y();
    p->setRenderHint(QPainter::Antialiasing, false);
    p->setPen(dottedGray());
    p->drawLine(QPointF(cell.left(), y), QPointF(cell.right() - 5, y));
}

void BeatThumbnailPainter::paintPlaceholder(QPainter* p, const QRectF& cell)
{
    const double y = cell.center().y();
    p->setRenderHint(QPainter::Antialiasing, false);
    p->setPen(dottedGray());
    p->drawLine(QPointF(cell.left() + 5, y), QPointF(cell.right() - 5, y));
}

void BeatThumbnailPainter::paintCount(QPainter* p, const QRectF& cell, int members)
{
    if (members <= 1)
        return;
    p->setPen(kLabelColor);
    p->setFont(labelFont());
    p->drawText(QPointF(cell.left() + 1, cell.top() + 12), QString::number(members));
}

void BeatThumbnailPainter::paintClock(QPainter* p, const QRectF& cell, const QString& text)
{
    p->setPen(kLabelColor);
    p->setFont(labelFont());
    p->drawText(QPointF(cell.left() + 1, cell.top() + 12), text);
}

BeatThumbnailPainter::Prematurity BeatThumbnailPainter::prematurity(double q)
{
    Prematurity out;
    if (q == 0.0) {
        out.kind = Prematurity::Square;
    } else if (q > 0.0 && q <= 0.9) {
        out.kind = Prematurity::Bar;
        out.redWidthPx = 20.0 * (1.0 - q);
        if (q <= 0.6)
            out.red = 250;
        else if (q >= 0.75)
            out.red = 100;
        else
            out.red = int(250.0 - (q - 0.6) * 1000.0);
    }
    return out;
}

void BeatThumbnailPainter::paintPrematurity(QPainter* p, const QRectF& cell, double q)
{
    const Prematurity m = prematurity(q);
    const double right = cell.right();
    const double top = cell.top();
    p->setRenderHint(QPainter::Antialiasing, false);
    if (m.kind == Prematurity::Square) {
        p->fillRect(QRectF(right - 8, top + 4, 7, 7), QBrush(Qt::blue, Qt::Dense4Pattern));
    } else if (m.kind == Prematurity::Bar) {
        p->fillRect(QRectF(right - 20, top + 4, 20, 4), QColor(0, 150, 0, 255));
        p->fillRect(QRectF(right - 20, top + 4, m.redWidthPx, 4), QColor(m.red, 0, 0, 255));
    }
}

void BeatThumbnailPainter::paintClass(QPainter* p, const QRectF& cell, const QVector<double>& shape,
    double millivoltsPerUnit, int members, double q)
{
    paintShape(p, cell, shape, millivoltsPerUnit * pixelsPerMillivolt(cell));
    paintMiddleLine(p, cell);
    paintCount(p, cell, members);
    paintPrematurity(p, cell, q);
}

void BeatThumbnailPainter::paintBeats(QPainter* p, const QRectF& cell, SignalSource* source,
    int lead, const QVector<double>& rSeconds)
{
    if (!source || lead < 0 || lead >= source->channelCount() || cell.isEmpty())
        return;
    TracePainter::Style style;
    style.widthMm = 0.0;
    style.cap = Qt::SquareCap;
    style.centreOnMean = true;
    style.alwaysPolyline = true;
    const TracePainter trace(style);
    const double span = kBeforeRSeconds + kAfterRSeconds;
    StripGeometry g = StripGeometry::fromPixelsPerMillimetre(
        1.0, cell.width() / span, pixelsPerMillivolt(cell));
    g.setTraceSpan(cell.left(), cell.width());
    g.setRows({ lead }, cell.top(), cell.height());
    for (double r : rSeconds) {
        g.setStartSeconds(r - kBeforeRSeconds);
        trace.paintRow(p, cell, g, 0, source);
    }
}
