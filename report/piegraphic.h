#pragma once

#include "display/piepainter.h"

// The report's pie: the shared pie drawing in the report's label font.
class PieGraphic : public PiePainter
{
public:
    PieGraphic() = default;

    void paint(QPainter* painter, const QRect& bounds) const;
};
