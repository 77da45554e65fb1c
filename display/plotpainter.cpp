#include "display/plotpainter.h"

#include "display/plotsource.h"

#include <QDateTime>
#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

QString formatted(const QString& format, double v)
{
    return QString::asprintf(format.toLatin1().constData(), v);
}

// Seconds that the local clock is ahead of UTC at `epochSeconds`, so clock ticks fall on whole
// local minutes and hours.
double clockPhase(double epochSeconds)
{
    return QDateTime::fromSecsSinceEpoch(qint64(epochSeconds)).offsetFromUtc();
}

// Consecutive points further apart than this draw no line between them: the usual spacing
// (median) times three, so a rejected stretch of a trend shows as a gap.
double gapLimit(const PlotSource& source)
{
    const int n = source.count();
    if (n < 3)
        return std::numeric_limits<double>::infinity();
    QVector<double> steps;
    steps.reserve(n - 1);
    for (int i = 1; i < n; ++i)
        steps.append(source.x(i) - source.x(i - 1));
    std::nth_element(steps.begin(), steps.begin() + steps.size() / 2, steps.end());
    const double median = steps[steps.size() / 2];
    return median > 0.0 ? 3.0 * median : std::numeric_limits<double>::infinity();
}

} // namespace

QFont PlotPainter::labelFont()
{
    QFont f(QStringLiteral("Helvetica"));
    f.setPixelSize(10);
    return f;
}

QFont PlotPainter::titleFont()
{
    QFont f(QStringLiteral("Helvetica"), 10);
    f.setWeight(75);
    return f;
}

QVector<double> PlotPainter::yTicks(const PlotFrame& frame, const QRect& bounds)
{
    const PlotAxes axes = frame.axes(bounds);
    if (!axes.hasYExtent() || axes.rect().height() <= 0)
        return {};
    const double lineHeight = QFontMetricsF(labelFont()).height();
    const double raw = std::max(lineHeight, frame.yStepPixels) / axes.yScale();
    return PlotAxes::ticks(frame.yMin, frame.yMax, PlotAxes::niceStep(raw));
}

QVector<double> PlotPainter::xTicks(const PlotFrame& frame, const QRect& bounds)
{
    const PlotAxes axes = frame.axes(bounds);
    if (!axes.hasXExtent() || axes.rect().width() <= 0)
        return {};
    const QFontMetricsF fm(labelFont());
    if (!frame.xTimeFormat.isEmpty()) {
        const double label = fm.horizontalAdvance(QTime(0, 0).toString(frame.xTimeFormat)) + 10.0;
        const double step = PlotAxes::timeStep(label / axes.xScale());
        return PlotAxes::ticks(frame.xMin, frame.xMax, step, clockPhase(frame.xMin));
    }
    const double label = std::max(fm.horizontalAdvance(xLabel(frame, frame.xMin)),
                             fm.horizontalAdvance(xLabel(frame, frame.xMax)))
        + 10.0;
    return PlotAxes::ticks(frame.xMin, frame.xMax, PlotAxes::niceStep(label / axes.xScale()));
}

QString PlotPainter::xLabel(const PlotFrame& frame, double x)
{
    if (!frame.xTimeFormat.isEmpty())
        return QDateTime::fromSecsSinceEpoch(qint64(std::floor(x + 0.5)))
            .toString(frame.xTimeFormat);
    return formatted(frame.xFormat, x);
}

void PlotPainter::paintFrame(QPainter* painter, const QRect& bounds, const PlotFrame& frame)
{
    painter->fillRect(bounds, Qt::white);
    const PlotAxes axes = frame.axes(bounds);
    const QRectF r = axes.rect();
    if (r.width() <= 0 || r.height() <= 0)
        return;
    painter->save();
    painter->setFont(labelFont());
    const QFontMetricsF fm(painter->font());
    const QPen gridPen(QColor(225, 225, 225), 1.0);
    const QColor labelColor(Qt::darkGray);

    for (double t : yTicks(frame, bounds)) {
        const double y = std::round(axes.yToPixel(t)) + 0.5;
        if (frame.showGrid) {
            painter->setPen(gridPen);
            painter->drawLine(QPointF(r.left(), y), QPointF(r.right(), y));
        }
        if (frame.showYLabels) {
            painter->setPen(labelColor);
            const double h = fm.height();
            // The labels at the ends of the axis stay whole inside the widget.
            const double top = std::clamp(y - h / 2, double(bounds.top()), bounds.bottom() + 1 - h);
            painter->drawText(QRectF(bounds.left(), top, r.left() - 5 - bounds.left(), h),
                Qt::AlignRight | Qt::AlignVCenter, formatted(frame.yFormat, t));
        }
    }
    for (double t : xTicks(frame, bounds)) {
        const double x = std::round(axes.xToPixel(t)) + 0.5;
        if (frame.showGrid) {
            painter->setPen(gridPen);
            painter->drawLine(QPointF(x, r.top()), QPointF(x, r.bottom()));
        }
        if (frame.showXLabels) {
            const QString text = xLabel(frame, t);
            const double w = fm.horizontalAdvance(text);
            // A label that the widget's edge would cut is left out rather than shown in part.
            if (x - w / 2 < bounds.left() || x + w / 2 > bounds.right() + 1)
                continue;
            painter->setPen(labelColor);
            painter->drawText(QRectF(x - w / 2 - 1, r.bottom() + 1, w + 2, fm.height()),
                Qt::AlignHCenter | Qt::AlignTop, text);
        }
    }
    painter->setPen(QPen(Qt::gray, 1.0));
    painter->setBrush(Qt::NoBrush);
    painter->drawRect(QRectF(r.left() + 0.5, r.top() + 0.5, r.width() - 1, r.height() - 1));
    painter->restore();
}

QPainterPath PlotPainter::polylineWithGaps(const QVector<QPointF>& points)
{
    QPainterPath path;
    bool open = false;
    for (const QPointF& p : points) {
        if (!std::isfinite(p.y())) {
            open = false;
            continue;
        }
        if (open)
            path.lineTo(p);
        else
            path.moveTo(p);
        open = true;
    }
    return path;
}

void PlotPainter::paintSeries(QPainter* painter, const PlotAxes& axes, const PlotSource& source,
    int style, const QColor& color)
{
    const int n = source.count();
    if (n == 0 || !axes.hasXExtent() || !axes.hasYExtent())
        return;
    painter->save();
    painter->setClipRect(axes.rect());
    painter->setRenderHint(QPainter::Antialiasing);

    QVector<QPointF> points;
    points.reserve(n);
    const double gap = gapLimit(source);
    for (int i = 0; i < n; ++i) {
        if (i > 0 && source.x(i) - source.x(i - 1) > gap)
            points.append(QPointF(0.0, std::numeric_limits<double>::quiet_NaN()));
        points.append(QPointF(axes.xToPixel(source.x(i)), axes.yToPixel(source.y(i))));
    }
    auto squares = [&](double side) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(color);
        for (const QPointF& p : points)
            if (std::isfinite(p.y()))
                painter->drawRect(QRectF(p.x() - side / 2, p.y() - side / 2, side, side));
    };
    const double base = axes.yToPixel(std::clamp(0.0, axes.yMin(), axes.yMax()));

    switch (style) {
    case Points:
        squares(3.0);
        break;
    case Line:
    case LineAndPoints:
        painter->setPen(QPen(color, 1.5, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
        painter->setBrush(Qt::NoBrush);
        painter->drawPath(polylineWithGaps(points));
        if (style == LineAndPoints)
            squares(4.0);
        break;
    case Bars: {
        // Each bar spans to the next point (an hour of an hourly trend); the last one as wide as
        // the one before it.
        QColor fill = color;
        fill.setAlpha(110);
        painter->setPen(QPen(color, 1.5, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
        painter->setBrush(fill);
        for (int i = 0; i < n; ++i) {
            const double y = source.y(i);
            if (!std::isfinite(y))
                continue;
            double width = source.barWidth();
            if (width <= 0.0 && i + 1 < n)
                width = source.x(i + 1) - source.x(i);
            else if (width <= 0.0 && i > 0)
                width = source.x(i) - source.x(i - 1);
            const double left = axes.xToPixel(source.x(i));
            const double right = width > 0.0 ? axes.xToPixel(source.x(i) + width)
                                             : left + std::max(4.0, axes.rect().width() / 40);
            // A hair of white between neighbours keeps the bars apart when they are narrow.
            const double inset = (right - left) > 6.0 ? 1.0 : 0.0;
            painter->drawRect(
                QRectF(QPointF(left + inset, axes.yToPixel(y)), QPointF(right - inset, base))
                    .normalized());
        }
        break;
    }
    case Stems:
        painter->setPen(QPen(color, 2.0));
        for (const QPointF& p : points)
            if (std::isfinite(p.y()))
                painter->drawLine(QPointF(p.x(), base), p);
        squares(6.0);
        break;
    default:
        break;
    }
    painter->restore();
}

void PlotPainter::paintTitle(QPainter* painter, const QRect& bounds, const PlotFrame& frame)
{
    if (frame.title.isEmpty())
        return;
    const QRect r = frame.plotRect(bounds);
    painter->save();
    painter->setFont(titleFont());
    const QFontMetrics fm(painter->font());
    const QRect text(
        r.left() + 1, r.top() + 1, fm.horizontalAdvance(frame.title) + 8, fm.height() + 4);
    painter->fillRect(text, QColor(255, 255, 255, 150));
    painter->setPen(frame.color);
    painter->drawText(text, Qt::AlignCenter, frame.title);
    painter->restore();
}

void PlotPainter::paintCursor(QPainter* painter, const PlotAxes& axes, double x)
{
    if (!axes.hasXExtent() || x < axes.xMin() || x > axes.xMax())
        return;
    const double px = std::round(axes.xToPixel(x)) + 0.5;
    painter->save();
    painter->setPen(QPen(QColor(255, 0, 0, 200), 1.0));
    painter->drawLine(QPointF(px, axes.rect().top()), QPointF(px, axes.rect().bottom()));
    painter->restore();
}

void PlotPainter::paintHighlight(QPainter* painter, const PlotAxes& axes, double from, double to)
{
    if (!axes.hasXExtent())
        return;
    const double a = axes.xToPixel(std::min(from, to));
    const double b = axes.xToPixel(std::max(from, to));
    painter->save();
    painter->setClipRect(axes.rect());
    painter->fillRect(QRectF(a, axes.rect().top(), std::max(1.0, b - a), axes.rect().height()),
        QColor(255, 200, 0, 70));
    painter->restore();
}
