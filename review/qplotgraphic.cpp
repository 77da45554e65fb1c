#include "review/qplotgraphic.h"

#include "display/plotsource.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

QPlotGraphic::QPlotGraphic(QWidget* parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(60, 40);
}

QPlotGraphic::~QPlotGraphic() = default;

void QPlotGraphic::changed()
{
    m_dirty = true;
    update();
}

void QPlotGraphic::setSource(std::unique_ptr<PlotSource> source)
{
    m_source = std::move(source);
    m_selectedIndex = -1;
    changed();
}

void QPlotGraphic::setStyle(int style)
{
    m_style = style;
    changed();
}

void QPlotGraphic::setColor(const QColor& color)
{
    m_frame.color = color;
    changed();
}

void QPlotGraphic::setTitle(const QString& title)
{
    m_frame.title = title;
    changed();
}

void QPlotGraphic::setXFormat(const QString& format)
{
    m_frame.xFormat = format;
    changed();
}

void QPlotGraphic::setYFormat(const QString& format)
{
    m_frame.yFormat = format;
    changed();
}

void QPlotGraphic::setXTimeFormat(const QString& format)
{
    m_frame.xTimeFormat = format;
    changed();
}

void QPlotGraphic::setXRange(double min, double max)
{
    m_frame.xMin = min;
    m_frame.xMax = max;
    changed();
}

void QPlotGraphic::setYRange(double min, double max)
{
    m_frame.yMin = min;
    m_frame.yMax = max;
    changed();
}

void QPlotGraphic::setYStep(double pixels)
{
    m_frame.yStepPixels = pixels;
    changed();
}

void QPlotGraphic::setShowXLabels(bool show)
{
    m_frame.showXLabels = show;
    changed();
}

void QPlotGraphic::setShowYLabels(bool show)
{
    m_frame.showYLabels = show;
    changed();
}

void QPlotGraphic::setShowGrid(bool show)
{
    m_frame.showGrid = show;
    changed();
}

void QPlotGraphic::setSelectedValue(double x)
{
    m_selectedValue = x;
    m_hasCursor = true;
    // Only the overlay moves: the picture stays.
    update();
}

void QPlotGraphic::repaintAll(bool now)
{
    m_dirty = true;
    if (now)
        rebuild();
    update();
}

const QPixmap& QPlotGraphic::picture()
{
    if (m_dirty || m_pixmap.size() != size())
        rebuild();
    return m_pixmap;
}

void QPlotGraphic::rebuild()
{
    m_dirty = false;
    m_pixmap = QPixmap(size().expandedTo(QSize(1, 1)));
    m_pixmap.fill(Qt::white);
    if (!hasData())
        return;
    QPainter p(&m_pixmap);
    PlotPainter::paintFrame(&p, rect(), m_frame);
    paintData(&p, axes());
    PlotPainter::paintTitle(&p, rect(), m_frame);
}

void QPlotGraphic::paintData(QPainter* painter, const PlotAxes& axes) const
{
    if (m_source)
        PlotPainter::paintSeries(painter, axes, *m_source, m_style, m_frame.color);
}

void QPlotGraphic::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.drawPixmap(0, 0, picture());
    if (!hasData())
        return;
    const PlotAxes a = axes();
    for (const auto& span : m_highlightSpans)
        PlotPainter::paintHighlight(&p, a, span.first, span.second);
    if (m_hasCursor)
        PlotPainter::paintCursor(&p, a, m_selectedValue);
}

void QPlotGraphic::resizeEvent(QResizeEvent*)
{
    m_dirty = true;
}

void QPlotGraphic::pickAt(double px)
{
    const PlotAxes a = axes();
    const double x = a.pixelToX(std::clamp(px, a.rect().left(), a.rect().right()));
    const int index = m_source ? m_source->indexAtOrBefore(x) : -1;
    m_selectedIndex = index;
    if (index >= 0) {
        m_selectedValue = m_source->x(index);
        m_selectedY = m_source->y(index);
    } else {
        m_selectedValue = x;
        m_selectedY = 0.0;
    }
    // Without points to snap to (the heat map, the episode bands) the cursor follows the pointer.
    if (m_cursorFree == 1 || index < 0)
        m_selectedValue = x;
    m_hasCursor = true;
    update();
    emit selectedValueChanged();
}

void QPlotGraphic::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !hasData())
        return;
    const QPoint pos = event->pos();
    if (!plotRect().contains(pos)) {
        m_selectedIndex = -1;
        m_hasCursor = false;
        m_drag = Drag::Axis;
        m_anchor = pos;
        update();
        return;
    }
    if ((event->modifiers() & Qt::ShiftModifier) && m_highlightEnabled) {
        const double x = axes().pixelToX(pos.x());
        if (m_highlightSpans.size() == 2)
            m_highlightSpans.removeFirst();
        m_highlightSpans.append({ x, x });
        m_drag = Drag::Highlight;
        update();
        emit highlightChanged();
        return;
    }
    if (m_selectionEnabled) {
        m_drag = Drag::Select;
        pickAt(pos.x());
    }
}

void QPlotGraphic::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton))
        return;
    const QPoint pos = event->pos();
    switch (m_drag) {
    case Drag::Highlight:
        if ((event->modifiers() & Qt::ShiftModifier) && !m_highlightSpans.isEmpty()) {
            m_highlightSpans.last().second = axes().pixelToX(pos.x());
            update();
            emit highlightChanged();
        }
        break;
    case Drag::Select:
        pickAt(pos.x());
        break;
    case Drag::Axis: {
        const PlotAxes a = axes();
        const QPoint d = pos - m_anchor;
        const double dx = a.xScale() > 0 ? d.x() / a.xScale() : 0.0;
        const double dy = a.yScale() > 0 ? -d.y() / a.yScale() : 0.0;
        if (event->modifiers() & Qt::ControlModifier) {
            // Dragging right or up narrows the range: the plot zooms in.
            if (!m_lockX && m_frame.xMax - dx > m_frame.xMin + dx) {
                m_frame.xMin += dx;
                m_frame.xMax -= dx;
            }
            if (!m_lockY && m_frame.yMax - dy > m_frame.yMin + dy) {
                m_frame.yMin += dy;
                m_frame.yMax -= dy;
            }
        } else {
            if (!m_lockX) {
                m_frame.xMin -= dx;
                m_frame.xMax -= dx;
            }
            if (!m_lockY) {
                m_frame.yMin -= dy;
                m_frame.yMax -= dy;
            }
        }
        m_anchor = pos;
        changed();
        emit scaleChanged();
        break;
    }
    case Drag::None:
        break;
    }
}

void QPlotGraphic::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    if (m_drag == Drag::Highlight && !m_highlightSpans.isEmpty()
        && m_highlightSpans.last().first == m_highlightSpans.last().second) {
        m_highlightSpans.removeLast();
        update();
        emit highlightChanged();
    }
    m_drag = Drag::None;
}
