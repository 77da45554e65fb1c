#include "report/piegraphic.h"

void PieGraphic::paint(QPainter* painter, const QRect& bounds) const
{
    QFont font(QStringLiteral("Helvetica"));
    font.setPointSizeF(6.0);
    font.setBold(true);
    PiePainter::paint(painter, bounds, font);
}
