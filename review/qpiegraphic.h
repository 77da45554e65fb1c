#pragma once

#include "display/piepainter.h"

#include <QPixmap>
#include <QWidget>

// Shares of a whole as a pie, each slice labelled with its name and percent (LF against HF).
class QPieGraphic : public QWidget
{
    Q_OBJECT
public:
    explicit QPieGraphic(QWidget* parent = nullptr);

    // Slices in the order added; the values need not sum to anything.
    void addSlice(const QString& name, double value, const QColor& color);
    void clear();
    void repaintAll(bool now = false);

    const PiePainter& pie() const { return m_pie; }
    // The label of slice `index` as drawn: "name percent%".
    QString sliceLabel(int index) const;
    const QPixmap& picture();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void rebuild();

    QVector<QString> m_names;
    PiePainter m_pie;
    QPixmap m_pixmap;
    bool m_dirty = true;
};
