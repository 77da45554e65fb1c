#include "display/piepainter.h"

#include <QFontMetricsF>
#include <QPainter>

#include <cmath>

void PiePainter::addSlice(double value, const QColor& color, const QString& label)
{
    m_slices.append(Slice { value, color, label });
}

double PiePainter::total() const
{
    double sum = 0.0;
    for (const Slice& s : m_slices)
        sum += qMax(0.0, s.value);
    return sum;
}

int PiePainter::startAngle(int index) const
{
    const double sum = total();
    if (sum <= 0.0)
        return 0;
    double before = 0.0;
    for (int i = 0; i < index && i < m_slices.size(); ++i)
        before += qMax(0.0, m_slices[i].value);
    return qRound(before / sum * 5760.0);
}

int PiePainter::spanAngle(int index) const
{
    const double sum = total();
    if (sum <= 0.0 || index < 0 || index >= m_slices.size())
        return 0;
    // From the rounded ends, so neighbouring slices meet without a gap.
    const int end = index + 1 < m_slices.size() ? startAngle(index + 1) : 5760;
    return end - startAngle(index);
}

int PiePainter::percent(int index) const
{
    const double sum = total();
    if (sum <= 0.0 || index < 0 || index >= m_slices.size())
        return 0;
    return qRound(qMax(0.0, m_slices[index].value) * 100.0 / sum);
}

void PiePainter::paint(QPainter* painter, const QRect& bounds, const QFont& font) const
{
    const double sum = total();
    if (sum <= 0.0)
        return;
    const double side = qMin(bounds.width(), bounds.height());
    const QRectF circle(bounds.left() + (bounds.width() - side) / 2.0,
        bounds.top() + (bounds.height() - side) / 2.0, side, side);
    const double radius = side / 2.0;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    for (int i = 0; i < m_slices.size(); ++i) {
        painter->setBrush(m_slices[i].color);
        painter->drawPie(circle, startAngle(i), spanAngle(i));
    }
    painter->setFont(font);
    painter->setPen(Qt::black);
    const QFontMetricsF fm(font, painter->device());
    for (int i = 0; i < m_slices.size(); ++i) {
        if (spanAngle(i) <= 0)
            continue;
        const double mid = (startAngle(i) + spanAngle(i) / 2.0) / 16.0 * M_PI / 180.0;
        // Qt's angles run counter-clockwise while y grows downwards.
        const QPointF at(circle.center().x() + std::cos(mid) * radius / 2.0,
            circle.center().y() - std::sin(mid) * radius / 2.0);
        const QString text = m_slices[i].label.isEmpty()
            ? QStringLiteral("%1%").arg(qRound(qMax(0.0, m_slices[i].value) * 100.0 / sum))
            : m_slices[i].label;
        const double w = fm.horizontalAdvance(text) + fm.height();
        painter->drawText(QRectF(at.x() - w / 2, at.y() - fm.height() / 2, w, fm.height()),
            Qt::AlignCenter, text);
    }
    painter->restore();
}
