#pragma once

#include "display/plotpainter.h"

#include <QPair>
#include <QPixmap>
#include <QWidget>

#include <memory>

class PlotSource;

// A two-axis plot of a data source: a trend against the study's clock, an hourly array, a
// histogram. Click or drag picks the point under the pointer and moves the cursor there; dragging
// on the axes pans the ranges (zooms with Control); Shift-drag highlights a span. The picture is
// drawn by PlotPainter into a pixmap behind a dirty flag; the cursor and highlight go on top.
class QPlotGraphic : public QWidget
{
    Q_OBJECT
public:
    explicit QPlotGraphic(QWidget* parent = nullptr);
    ~QPlotGraphic() override;

    // Takes ownership; clears the picked point.
    void setSource(std::unique_ptr<PlotSource> source);
    void setStyle(int style);
    void setColor(const QColor& color);
    void setTitle(const QString& title);
    void setXFormat(const QString& format);
    void setYFormat(const QString& format);
    // A QDateTime format: x is seconds since the epoch shown as a clock; empty: numeric x.
    void setXTimeFormat(const QString& format);
    void setXRange(double min, double max);
    void setYRange(double min, double max);
    // Least distance in pixels between two y ticks (one label line when 0).
    void setYStep(double pixels);
    void setShowXLabels(bool show);
    void setShowYLabels(bool show);
    void setShowGrid(bool show);
    void setLockX(bool lock) { m_lockX = lock; }
    void setLockY(bool lock) { m_lockY = lock; }
    void setSelectionEnabled(bool enabled) { m_selectionEnabled = enabled; }
    void setHighlightEnabled(bool enabled) { m_highlightEnabled = enabled; }
    // 1: the cursor stays where the pointer is instead of snapping to the picked point.
    void setCursorFree(int free) { m_cursorFree = free; }
    // Moves the cursor to `x`; picks nothing and raises no signal.
    void setSelectedValue(double x);
    // Marks the picture for a rebuild; `now` rebuilds before returning.
    void repaintAll(bool now = false);

    PlotSource* source() const { return m_source.get(); }
    const PlotFrame& frame() const { return m_frame; }
    int style() const { return m_style; }
    double selectedValue() const { return m_selectedValue; }
    double selectedY() const { return m_selectedY; }
    int selectedIndex() const { return m_selectedIndex; }
    bool hasCursor() const { return m_hasCursor; }
    QVector<QPair<double, double>> highlightSpans() const { return m_highlightSpans; }
    QRect plotRect() const { return m_frame.plotRect(rect()); }
    PlotAxes axes() const { return m_frame.axes(rect()); }
    // Rebuilds the picture now if it is dirty and answers it (tests, gallery).
    const QPixmap& picture();

signals:
    void selectedValueChanged();
    void scaleChanged();
    void highlightChanged();

protected:
    // The data inside the frame; subclasses draw theirs instead of the source's series.
    virtual void paintData(QPainter* painter, const PlotAxes& axes) const;
    // Whether there is anything to draw: an unconfigured plot paints only white.
    virtual bool hasData() const { return m_source != nullptr; }
    void changed();

    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    enum class Drag { None, Axis, Select, Highlight };
    void rebuild();
    void pickAt(double px);

    PlotFrame m_frame;
    std::unique_ptr<PlotSource> m_source;
    QPixmap m_pixmap;
    bool m_dirty = true;
    int m_style = PlotPainter::Line;
    bool m_lockX = false;
    bool m_lockY = false;
    bool m_selectionEnabled = true;
    bool m_highlightEnabled = false;
    int m_cursorFree = 0;
    bool m_hasCursor = false;
    double m_selectedValue = 0.0;
    double m_selectedY = 0.0;
    int m_selectedIndex = -1;
    QVector<QPair<double, double>> m_highlightSpans; // at most two (x values)
    Drag m_drag = Drag::None;
    QPoint m_anchor;
};
