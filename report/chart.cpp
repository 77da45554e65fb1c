#include "report/chart.h"

#include "report/reporttemplate.h"

#include <QFontMetricsF>
#include <QPainter>

void Chart::addGraph(const QString& name, double value, const QColor& color)
{
    m_graphs.append(Graph { name, value, color });
}

void Chart::loadSampleData()
{
    m_title = QStringLiteral("Example 1");
    m_graphs.clear();
    addGraph(
        QStringLiteral("Graph 1"), 10, parseReportColor(QStringLiteral("rgba(255,255,0,255)")));
    addGraph(QStringLiteral("Graph 2"), 20, parseReportColor(QStringLiteral("rgba(0,255,0,255)")));
    addGraph(QStringLiteral("Graph 3"), 30, parseReportColor(QStringLiteral("rgba(0,0,255,255)")));
    addGraph(QStringLiteral("Graph 4"), 40, parseReportColor(QStringLiteral("rgba(255,0,0,255)")));
}

double Chart::percentage(int index) const
{
    double sum = 0.0;
    for (const Graph& g : m_graphs)
        sum += qMax(0.0, g.value);
    if (sum <= 0.0 || index < 0 || index >= m_graphs.size())
        return 0.0;
    return qMax(0.0, m_graphs[index].value) * 100.0 / sum;
}

void Chart::paint(QPainter* painter, const QRectF& bounds) const
{
    if (bounds.isEmpty())
        return;
    painter->save();
    QFont font(QStringLiteral("Helvetica"));
    font.setPointSizeF(7.0);
    painter->setFont(font);
    const QFontMetricsF fm(font, painter->device());
    QRectF area = bounds;
    if (!m_title.isEmpty()) {
        painter->setPen(Qt::black);
        painter->drawText(QRectF(area.left(), area.top(), area.width(), fm.height()),
            Qt::AlignHCenter | Qt::AlignTop, m_title);
        area.setTop(area.top() + fm.height() * 1.2);
    }
    // Captions below the bars, percentages above them.
    area.adjust(0, fm.height(), 0, -fm.height());
    double largest = 0.0;
    for (const Graph& g : m_graphs)
        largest = qMax(largest, g.value);
    if (m_graphs.isEmpty() || largest <= 0.0 || area.height() <= 0) {
        painter->restore();
        return;
    }
    const double slot = area.width() / m_graphs.size();
    for (int i = 0; i < m_graphs.size(); ++i) {
        const Graph& g = m_graphs[i];
        const double h = qMax(0.0, g.value) / largest * area.height();
        const QRectF bar(area.left() + slot * i + slot * 0.15, area.bottom() - h, slot * 0.7, h);
        painter->fillRect(bar, g.color.isValid() ? g.color : QColor(Qt::gray));
        painter->setPen(Qt::black);
        painter->drawText(QRectF(area.left() + slot * i, area.bottom(), slot, fm.height()),
            Qt::AlignHCenter | Qt::AlignTop, g.name);
        painter->drawText(
            QRectF(area.left() + slot * i, bar.top() - fm.height(), slot, fm.height()),
            Qt::AlignHCenter | Qt::AlignBottom,
            QString::number(percentage(i), 'f', 0) + QLatin1Char('%'));
    }
    painter->restore();
}
