#pragma once

#include <QColor>
#include <QFont>
#include <QRect>
#include <QString>
#include <QVector>

class QPainter;

// A pie of a few slices, each labelled in its middle at half the radius (a quarter of the
// diameter from the centre). Paper and screen draw it alike, each with its own font.
class PiePainter
{
public:
    struct Slice
    {
        double value;
        QColor color;
        QString label; // empty: the slice's whole percent
    };

    void addSlice(double value, const QColor& color, const QString& label = QString());
    void clear() { m_slices.clear(); }
    const QVector<Slice>& slices() const { return m_slices; }

    // Nothing is drawn unless the slices sum to a positive value.
    void paint(QPainter* painter, const QRect& bounds, const QFont& font) const;

    // Start and span of slice `index` in sixteenths of a degree, counter-clockwise from three
    // o'clock; both 0 when the sum is not positive.
    int startAngle(int index) const;
    int spanAngle(int index) const;
    // The whole percent of slice `index` in the sum; 0 when the sum is not positive.
    int percent(int index) const;

private:
    double total() const;
    QVector<Slice> m_slices;
};
