#include "review/qbeatgriddisplay.h"

#include "display/beatthumbnailpainter.h"
#include "display/stripgeometry.h"
#include "store/beatclass.h"
#include "store/beatlist.h"

#include <algorithm>

QBeatGridDisplay::QBeatGridDisplay(QWidget* parent)
    : QBeatCellDisplay(5, 8, parent)
{
}

QBeatGridDisplay::~QBeatGridDisplay() = default;

void QBeatGridDisplay::setSignal(SignalSource* source)
{
    m_signal = source;
    dropThumbnails();
}

void QBeatGridDisplay::setBeats(BeatList* beats)
{
    m_beats = beats;
    showList({});
}

void QBeatGridDisplay::setClasses(BeatClassSet* classes)
{
    m_classes = classes;
}

void QBeatGridDisplay::setLead(int lead)
{
    if (lead == m_lead)
        return;
    m_lead = lead;
    dropThumbnails();
}

void QBeatGridDisplay::showList(QVector<int> ids)
{
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    m_beatIds = ids;
    const QSize page = BeatGridGeometry::pageFor(ids.size());
    setPageShape(page.height(), page.width());
    resetList();
}

void QBeatGridDisplay::showClasses(const QList<int>& classIds)
{
    QVector<int> ids;
    for (int id : classIds) {
        BeatClass* c = m_classes ? m_classes->find(id) : nullptr;
        if (c)
            ids += QVector<int>(c->members.begin(), c->members.end());
    }
    showList(ids);
}

void QBeatGridDisplay::showInterval(double offset, double length, int type)
{
    QVector<int> ids;
    Beat b;
    if (m_beats && length > 0.0) {
        // From the last entry before the stretch, the first in it is one step on.
        int i = m_beats->lastBelow(offset, b) ? b.index + 1 : 0;
        for (; m_beats->get(i, b) && b.windowStartTime() < offset + length; ++i) {
            if (b.isBeat && b.type == type && b.windowStartTime() >= offset)
                ids.append(b.index);
        }
    }
    showList(ids);
}

void QBeatGridDisplay::selectBeat(int id)
{
    const int index = m_beatIds.indexOf(id);
    if (index < 0)
        return;
    setCurrentCell(index);
    setSelection({ index });
    scrollTo(index);
    changed();
}

QList<int> QBeatGridDisplay::selectedIds() const
{
    QList<int> ids;
    const int current = currentCell();
    if (current >= 0 && current < m_beatIds.size())
        ids.append(m_beatIds[current]);
    QList<int> cells = selection().values();
    std::sort(cells.begin(), cells.end());
    for (int i : cells) {
        if (i != current && i >= 0 && i < m_beatIds.size())
            ids.append(m_beatIds[i]);
    }
    return ids;
}

void QBeatGridDisplay::refresh()
{
    dropThumbnails();
}

void QBeatGridDisplay::drawThumbnail(int index, QPainter* painter, const QRectF& rect)
{
    Beat b;
    if (!m_beats || !m_beats->get(m_beatIds.value(index), b))
        return;
    BeatThumbnailPainter::paintBeats(painter, rect, m_signal, m_lead, { beatTimeSeconds(b) });
}

void QBeatGridDisplay::currentCellChanged()
{
    const int current = currentCell();
    emit selectedBeatChanged(current >= 0 && current < m_beatIds.size() ? m_beatIds[current] : -1);
}
