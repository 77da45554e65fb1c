#include "review/qpiegraphic.h"

#include <QPainter>

QPieGraphic::QPieGraphic(QWidget* parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(60, 60);
}

void QPieGraphic::addSlice(const QString& name, double value, const QColor& color)
{
    m_names.append(name);
    m_pie.addSlice(value, color);
    repaintAll();
}

void QPieGraphic::clear()
{
    m_names.clear();
    m_pie.clear();
    repaintAll();
}

void QPieGraphic::repaintAll(bool now)
{
    m_dirty = true;
    if (now)
        rebuild();
    update();
}

QString QPieGraphic::sliceLabel(int index) const
{
    return QStringLiteral("%1 %2%").arg(m_names.value(index)).arg(m_pie.percent(index));
}

const QPixmap& QPieGraphic::picture()
{
    if (m_dirty || m_pixmap.size() != size())
        rebuild();
    return m_pixmap;
}

void QPieGraphic::rebuild()
{
    m_dirty = false;
    m_pixmap = QPixmap(size().expandedTo(QSize(1, 1)));
    m_pixmap.fill(Qt::white);
    // The labels are only known once every slice is in, so the painter gets a labelled copy.
    PiePainter labelled;
    for (int i = 0; i < m_pie.slices().size(); ++i)
        labelled.addSlice(m_pie.slices()[i].value, m_pie.slices()[i].color, sliceLabel(i));
    QPainter p(&m_pixmap);
    QFont font(QStringLiteral("Helvetica"));
    font.setPixelSize(11);
    font.setBold(true);
    labelled.paint(&p, rect().adjusted(4, 4, -4, -4), font);
}

void QPieGraphic::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.drawPixmap(0, 0, picture());
}

void QPieGraphic::resizeEvent(QResizeEvent*)
{
    m_dirty = true;
}
