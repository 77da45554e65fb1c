#include "review/qbeatcelldisplay.h"

#include "display/beatthumbnailpainter.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QScrollBar>
#include <QTimer>

#include <algorithm>
#include <cmath>

QBeatCellDisplay::QBeatCellDisplay(int rows, int columns, QWidget* parent)
    : QWidget(parent)
    , m_rows(rows)
    , m_columns(columns)
    , m_page(std::make_unique<QPixmap>())
{
    m_colors[0] = QColor(128, 128, 128, 128);
    m_colors[1] = QColor(192, 192, 192, 128);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    m_scrollBar = new QScrollBar(Qt::Vertical, this);
    m_scrollBar->setFocusPolicy(Qt::ClickFocus);
    connect(m_scrollBar, &QScrollBar::valueChanged, this, &QBeatCellDisplay::scrollValueChanged);
    m_timer = new QTimer(this);
    m_timer->setInterval(0);
    connect(m_timer, &QTimer::timeout, this, &QBeatCellDisplay::drawNextThumbnail);
    // The list is the subclass's; it is empty until the subclass is given one.
    m_scrollBar->setRange(0, 0);
    m_scrollBar->setEnabled(false);
}

QBeatCellDisplay::~QBeatCellDisplay() = default;

void QBeatCellDisplay::setColor(int id, const QColor& colour)
{
    m_colors[id] = colour;
    changed();
}

QSizeF QBeatCellDisplay::pageArea() const
{
    const int bar = m_scrollBar->sizeHint().width();
    return QSizeF(std::max(0, width() - bar), std::max(0, height()));
}

BeatGridGeometry QBeatCellDisplay::gridGeometry() const
{
    return BeatGridGeometry(m_rows, m_columns, pageArea(), m_firstCell);
}

void QBeatCellDisplay::setPageShape(int rows, int columns)
{
    if (rows == m_rows && columns == m_columns)
        return;
    m_rows = rows;
    m_columns = columns;
    // Thumbnails are drawn to the size of a cell.
    m_thumbnails.clear();
    changed();
}

void QBeatCellDisplay::resetList()
{
    m_firstCell = 0;
    m_currentCell = -1;
    m_selection.clear();
    updateScrollBar();
    changed();
}

void QBeatCellDisplay::dropThumbnails()
{
    m_thumbnails.clear();
    m_pending.clear();
    changed();
}

void QBeatCellDisplay::changed()
{
    m_dirty = true;
    update();
}

void QBeatCellDisplay::scrollTo(int index)
{
    const int first = gridGeometry().firstCellShowing(index);
    if (first != m_firstCell) {
        m_firstCell = first;
        changed();
    }
    updateScrollBar();
}

void QBeatCellDisplay::updateScrollBar()
{
    const BeatGridGeometry g = gridGeometry();
    const QSignalBlocker block(m_scrollBar);
    const int maximum = g.maximumFirstRow(cellCount());
    m_scrollBar->setRange(0, maximum);
    m_scrollBar->setPageStep(std::max(1, m_rows));
    m_scrollBar->setSingleStep(1);
    m_scrollBar->setValue(m_columns > 0 ? m_firstCell / m_columns : 0);
    m_scrollBar->setEnabled(maximum > 0);
}

void QBeatCellDisplay::scrollValueChanged(int value)
{
    m_firstCell = value * m_columns;
    changed();
}

const QPixmap& QBeatCellDisplay::page()
{
    if (m_dirty)
        compose();
    return *m_page;
}

QRectF QBeatCellDisplay::cellArea(const BeatGridGeometry& g, int index) const
{
    // A pixel of white between rows as between columns; whole pixels, so that cached
    // thumbnails land on the grid they were drawn for.
    const QRectF r = g.thumbnailRect(index).adjusted(0, 1, 0, -1);
    return QRectF(QPointF(std::round(r.left()), std::round(r.top())),
        QSizeF(std::floor(r.width()), std::floor(r.height())));
}

void QBeatCellDisplay::compose()
{
    m_dirty = false;
    const QSize size = pageArea().toSize();
    if (size.isEmpty()) {
        *m_page = QPixmap();
        m_pending.clear();
        return;
    }
    if (m_page->size() != size)
        *m_page = QPixmap(size);
    m_page->fill(Qt::white);
    QPainter p(m_page.get());
    const BeatGridGeometry g = gridGeometry();
    m_pending.clear();
    const int end = std::min(cellCount(), m_firstCell + g.pageCells());
    if (m_thumbnails.size() > kThumbnailLimit) {
        // Over the limit only this page's thumbnails stay.
        QHash<qint64, QPixmap> kept;
        for (int i = m_firstCell; i < end; ++i) {
            const auto it = m_thumbnails.constFind(cellKey(i));
            if (it != m_thumbnails.constEnd())
                kept.insert(it.key(), it.value());
        }
        m_thumbnails.swap(kept);
    }
    for (int i = m_firstCell; i < end; ++i) {
        paintCell(&p, g, i);
        if (!m_thumbnails.contains(cellKey(i)))
            m_pending.append(i);
    }
    if (!m_pending.isEmpty())
        m_timer->start();
}

void QBeatCellDisplay::paintCell(QPainter* p, const BeatGridGeometry& g, int index)
{
    const QRectF r = cellArea(g, index);
    BeatThumbnailPainter::CellState state;
    state.current = cellCurrent(index);
    state.selected = cellSelected(index);
    state.focused = hasFocus();
    BeatThumbnailPainter::paintBackground(p, r, state, m_colors.value(0), m_colors.value(1));
    const auto it = m_thumbnails.constFind(cellKey(index));
    if (it != m_thumbnails.constEnd())
        p->drawPixmap(r.topLeft(), *it);
    else
        paintPlaceholder(index, p, r);
}

void QBeatCellDisplay::paintPlaceholder(int, QPainter* painter, const QRectF& rect)
{
    BeatThumbnailPainter::paintPlaceholder(painter, rect);
}

void QBeatCellDisplay::drawNextThumbnail()
{
    const BeatGridGeometry g = gridGeometry();
    while (!m_pending.isEmpty()) {
        const int index = m_pending.takeFirst();
        if (index >= cellCount() || !g.isOnPage(index) || m_thumbnails.contains(cellKey(index)))
            continue;
        const QRectF r = cellArea(g, index);
        if (r.width() < 1.0 || r.height() < 1.0)
            continue;
        QPixmap image(r.size().toSize());
        image.fill(Qt::transparent);
        {
            QPainter tp(&image);
            drawThumbnail(index, &tp, QRectF(QPointF(0, 0), r.size()));
        }
        m_thumbnails.insert(cellKey(index), image);
        if (!m_dirty && !m_page->isNull()) {
            QPainter p(m_page.get());
            paintCell(&p, g, index);
            update(r.toAlignedRect());
        }
        break;
    }
    if (m_pending.isEmpty())
        m_timer->stop();
}

void QBeatCellDisplay::paintEvent(QPaintEvent*)
{
    if (m_dirty)
        compose();
    QPainter p(this);
    const QRect area(QPoint(0, 0), pageArea().toSize());
    if (m_page->isNull())
        p.fillRect(area, Qt::white);
    else
        p.drawPixmap(0, 0, *m_page);
}

void QBeatCellDisplay::resizeEvent(QResizeEvent*)
{
    const int bar = m_scrollBar->sizeHint().width();
    m_scrollBar->setGeometry(width() - bar, 0, bar, height());
    m_thumbnails.clear();
    updateScrollBar();
    changed();
}

void QBeatCellDisplay::moveCurrent(int index, bool extend)
{
    if (extend) {
        const int from = m_currentCell >= 0 ? m_currentCell : index;
        for (int i = std::min(from, index); i <= std::max(from, index); ++i)
            m_selection.insert(i);
    } else {
        m_selection = { index };
    }
    const bool moved = index != m_currentCell;
    m_currentCell = index;
    scrollTo(index);
    changed();
    if (moved)
        currentCellChanged();
}

void QBeatCellDisplay::mousePressEvent(QMouseEvent* event)
{
    setFocus(Qt::MouseFocusReason);
    if (event->button() != Qt::LeftButton)
        return;
    const int index = gridGeometry().indexAt(event->localPos(), cellCount());
    if (index < 0)
        return;
    if (event->modifiers() & Qt::ControlModifier) {
        if (!m_selection.remove(index))
            m_selection.insert(index);
        const bool moved = index != m_currentCell;
        m_currentCell = index;
        changed();
        if (moved)
            currentCellChanged();
        return;
    }
    moveCurrent(index, event->modifiers() & Qt::ShiftModifier);
}

void QBeatCellDisplay::keyPressEvent(QKeyEvent* event)
{
    const int target = gridGeometry().keyTarget(event->key(), m_currentCell, cellCount());
    if (target < 0) {
        QWidget::keyPressEvent(event);
        return;
    }
    moveCurrent(target, event->modifiers() & Qt::ShiftModifier);
}

void QBeatCellDisplay::focusInEvent(QFocusEvent* event)
{
    changed();
    QWidget::focusInEvent(event);
}

void QBeatCellDisplay::focusOutEvent(QFocusEvent* event)
{
    changed();
    QWidget::focusOutEvent(event);
}
