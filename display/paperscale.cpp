#include "display/paperscale.h"

#include <QPaintDevice>

PaperScale::PaperScale(const QPaintDevice* device)
{
    if (!device)
        return;
    const int px = device->width();
    const int mm = device->widthMM();
    if (px > 0 && mm > 0)
        m_pxPerMm = double(px) / double(mm);
    else if (device->logicalDpiX() > 0)
        m_pxPerMm = device->logicalDpiX() / 25.4; // devices without a physical size
}
