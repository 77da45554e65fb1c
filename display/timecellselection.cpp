#include "display/timecellselection.h"

#include <algorithm>

void TimeCellSelection::reset(int cell)
{
    m_anchor = m_head = std::max(cell, 0);
}

void TimeCellSelection::move(int cells, int cellCount)
{
    if (cellCount <= 0)
        return;
    const int d = std::clamp(cells, -firstCell(), std::max(0, cellCount - 1 - lastCell()));
    m_anchor += d;
    m_head += d;
}

void TimeCellSelection::moveTo(int cell, int cellCount)
{
    move(cell - firstCell(), cellCount);
}

void TimeCellSelection::extend(int cells, int cellCount)
{
    extendTo(m_head + cells, cellCount);
}

void TimeCellSelection::extendTo(int cell, int cellCount)
{
    if (cellCount <= 0)
        return;
    m_head = std::clamp(cell, 0, cellCount - 1);
}
