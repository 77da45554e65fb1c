#include "display/beatgridgeometry.h"

#include <QtGlobal>

#include <algorithm>
#include <cmath>

BeatGridGeometry::BeatGridGeometry(int rows, int columns, const QSizeF& area, int firstCell)
    : m_rows(std::max(rows, 0))
    , m_columns(std::max(columns, 0))
    , m_area(area)
    , m_firstCell(std::max(firstCell, 0))
{
}

QRectF BeatGridGeometry::cellRect(int index) const
{
    if (m_columns <= 0)
        return QRectF();
    const int k = index - m_firstCell;
    const int column = ((k % m_columns) + m_columns) % m_columns;
    const int row = (k - column) / m_columns;
    return QRectF(column * cellWidth(), row * cellHeight(), cellWidth(), cellHeight());
}

QRectF BeatGridGeometry::thumbnailRect(int index) const
{
    return cellRect(index).adjusted(kSideMarginPx, 0.0, -kSideMarginPx, 0.0);
}

int BeatGridGeometry::indexAt(const QPointF& point, int count) const
{
    if (m_rows <= 0 || m_columns <= 0 || m_area.isEmpty())
        return -1;
    if (point.x() < 0 || point.y() < 0 || point.x() >= m_area.width()
        || point.y() >= m_area.height())
        return -1;
    const int row = int(std::floor(point.y() * m_rows / m_area.height()));
    const int column = int(std::floor(point.x() * m_columns / m_area.width()));
    const int index = m_columns * row + m_firstCell + column;
    return index < count ? index : -1;
}

std::optional<int> BeatGridGeometry::keyStep(int key, int columns, int pageCells, int count)
{
    switch (key) {
    case Qt::Key_Right:
        return 1;
    case Qt::Key_Left:
        return -1;
    case Qt::Key_Down:
        return columns;
    case Qt::Key_Up:
        return -columns;
    case Qt::Key_PageDown:
        return pageCells;
    case Qt::Key_PageUp:
        return -pageCells;
    case Qt::Key_Home:
        return -count;
    case Qt::Key_End:
        return count;
    default:
        return std::nullopt;
    }
}

int BeatGridGeometry::keyTarget(int key, int current, int count) const
{
    if (count <= 0)
        return -1;
    const std::optional<int> step = keyStep(key, m_columns, pageCells(), count);
    if (!step)
        return -1;
    if (current < 0)
        return key == Qt::Key_End ? count - 1 : 0;
    return std::clamp(current + *step, 0, count - 1);
}

int BeatGridGeometry::firstCellShowing(int index) const
{
    if (m_columns <= 0 || index < 0 || isOnPage(index))
        return m_firstCell;
    const int row = index / m_columns;
    if (index < m_firstCell)
        return row * m_columns;
    return std::max(0, row - m_rows + 1) * m_columns;
}

int BeatGridGeometry::maximumFirstRow(int count) const
{
    return std::max(0, rowCount(count) - m_rows);
}

QSize BeatGridGeometry::pageFor(int count)
{
    // Rows by columns; the cells shrink as the list grows, up to 160 on a page.
    if (count <= 40)
        return QSize(8, 5);
    if (count <= 60)
        return QSize(10, 6);
    if (count <= 77)
        return QSize(11, 7);
    if (count <= 104)
        return QSize(13, 8);
    if (count <= 126)
        return QSize(14, 9);
    return QSize(16, 10);
}
