#pragma once

#include "display/beatgridgeometry.h"

#include <QColor>
#include <QHash>
#include <QList>
#include <QMap>
#include <QSet>
#include <QVector>
#include <QWidget>

#include <memory>

class QPainter;
class QPixmap;
class QScrollBar;
class QTimer;

// The scheme the beat grids share: a page of cells over a list, a vertical scroll bar in rows,
// a cache of finished thumbnails and a zero-interval timer that draws the missing ones one a
// tick, so that a page comes up at once and fills in. The page is composed into a pixmap from
// cached thumbnails; paintEvent only blits it. The current cell and a selection of cells are
// kept here, with the mouse and keys that move them; a grid whose selection is not a set of
// cells overrides those.
class QBeatCellDisplay : public QWidget
{
    Q_OBJECT
public:
    // Thumbnails kept at most: ten full pages of the smallest cells (about 35 MB), so that
    // paging through a day of beats doesn't hold every beat's image.
    static constexpr int kThumbnailLimit = 1600;

    ~QBeatCellDisplay() override;

    // Colour ids: 0 the current cell of a focused grid, 1 the other selected cells.
    void setColor(int id, const QColor& colour);
    QColor color(int id) const { return m_colors.value(id); }

    int rows() const { return m_rows; }
    int columns() const { return m_columns; }
    int firstCell() const { return m_firstCell; }
    int currentCell() const { return m_currentCell; }
    QSet<int> selection() const { return m_selection; }
    double cellWidth() const { return gridGeometry().cellWidth(); }
    double cellHeight() const { return gridGeometry().cellHeight(); }
    QScrollBar* scrollBarWidget() const { return m_scrollBar; }
    // The page's cells as they stand (named apart from QWidget::geometry()).
    BeatGridGeometry gridGeometry() const;

    // True while thumbnails of the page are still to be drawn.
    bool thumbnailsPending() const { return m_dirty || !m_pending.isEmpty(); }
    int cachedThumbnails() const { return m_thumbnails.size(); }
    // The page, composed now if it is out of date (for tests and the gallery).
    const QPixmap& page();

protected:
    QBeatCellDisplay(int rows, int columns, QWidget* parent);

    // The items of the list.
    virtual int cellCount() const = 0;
    // What a thumbnail is cached under, stable while the thumbnail stays valid.
    virtual qint64 cellKey(int index) const = 0;
    // Draws item `index` into `rect` of a transparent image (reads samples: timer ticks only).
    virtual void drawThumbnail(int index, QPainter* painter, const QRectF& rect) = 0;
    // Stands in for a thumbnail not drawn yet.
    virtual void paintPlaceholder(int index, QPainter* painter, const QRectF& rect);
    virtual bool cellSelected(int index) const { return m_selection.contains(index); }
    virtual bool cellCurrent(int index) const { return index == m_currentCell; }
    // The current cell moved by mouse or key.
    virtual void currentCellChanged() { }

    void setPageShape(int rows, int columns);
    // The list changed: back to the first page with nothing selected.
    void resetList();
    // Thumbnails no longer match their items (lead, type, interval, edits).
    void dropThumbnails();
    // The page needs composing again (selection, scrolling).
    void changed();
    // Scrolls so that `index` is on the page.
    void scrollTo(int index);
    void setCurrentCell(int index) { m_currentCell = index; }
    void setSelection(const QSet<int>& cells) { m_selection = cells; }

    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

    QSizeF pageArea() const;

private:
    void compose();
    void paintCell(QPainter* painter, const BeatGridGeometry& g, int index);
    QRectF cellArea(const BeatGridGeometry& g, int index) const;
    void drawNextThumbnail();
    void updateScrollBar();
    void scrollValueChanged(int value);
    // Moves the current cell to `index` as a press or key does; `extend` adds the cells between.
    void moveCurrent(int index, bool extend);

    int m_rows;
    int m_columns;
    int m_firstCell = 0;
    int m_currentCell = -1;
    QSet<int> m_selection;
    QMap<int, QColor> m_colors;
    QScrollBar* m_scrollBar = nullptr; // child
    QTimer* m_timer = nullptr; // child
    std::unique_ptr<QPixmap> m_page;
    bool m_dirty = true;
    QHash<qint64, QPixmap> m_thumbnails;
    QList<int> m_pending; // cells of the page still to draw, in page order
};
