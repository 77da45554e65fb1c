#pragma once

#include <QPointF>
#include <QRectF>
#include <QSize>

#include <optional>

// A page of equal cells over a list of items, `columns` to a row, scrolled by whole rows: where a
// cell lies, which cell is under a point, where a key moves the current cell and which page
// keeps it in view. A plain value shared by the class, beat and overlap grids.
class BeatGridGeometry
{
public:
    // Space left and right of a thumbnail inside its cell, pixels.
    static constexpr double kSideMarginPx = 3.0;

    BeatGridGeometry() = default;
    BeatGridGeometry(int rows, int columns, const QSizeF& area, int firstCell = 0);

    int rows() const { return m_rows; }
    int columns() const { return m_columns; }
    int pageCells() const { return m_rows * m_columns; }
    int firstCell() const { return m_firstCell; }
    void setFirstCell(int cell) { m_firstCell = cell; }
    double cellWidth() const { return m_columns > 0 ? m_area.width() / m_columns : 0.0; }
    double cellHeight() const { return m_rows > 0 ? m_area.height() / m_rows : 0.0; }

    bool isOnPage(int index) const
    {
        return index >= m_firstCell && index < m_firstCell + pageCells();
    }
    // The whole cell of item `index` on the page; the thumbnail's part leaves kSideMarginPx each
    // side.
    QRectF cellRect(int index) const;
    QRectF thumbnailRect(int index) const;
    // The item under a point, -1 beyond the list of `count` items or outside the page.
    int indexAt(const QPointF& point, int count) const;

    // Where a navigation key takes the current item of a list of `count`, clamped to the list;
    // -1 for a key that doesn't navigate or an empty list. From no current item (-1) the keys
    // start at the first.
    int keyTarget(int key, int current, int count) const;
    // How far a navigation key moves in a grid of `columns` showing `pageCells` cells out of
    // `count` (Home and End move by the whole count); nothing for other keys.
    static std::optional<int> keyStep(int key, int columns, int pageCells, int count);
    // The first cell of the page that shows `index`: unchanged when it is on the page, else the
    // row of `index` comes first (moving up) or last (moving down).
    int firstCellShowing(int index) const;

    // Rows of the whole list, and the scroll bar's range in rows.
    int rowCount(int count) const
    {
        return m_columns > 0 ? (count + m_columns - 1) / m_columns : 0;
    }
    int maximumFirstRow(int count) const;

    // The page of a beat grid for `count` beats: rows by columns, as width() x height().
    static QSize pageFor(int count);

private:
    int m_rows = 0;
    int m_columns = 0;
    QSizeF m_area;
    int m_firstCell = 0;
};
