#include "review/qbeatoverlapdisplay.h"

#include "display/beatgridgeometry.h"

#include "display/beatthumbnailpainter.h"
#include "display/stripgeometry.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <QKeyEvent>
#include <QMouseEvent>

#include <cmath>

QBeatOverlapDisplay::QBeatOverlapDisplay(QWidget* parent)
    : QBeatCellDisplay(5, 6, parent)
{
}

QBeatOverlapDisplay::~QBeatOverlapDisplay() = default;

void QBeatOverlapDisplay::setSignal(SignalSource* source)
{
    m_signal = source;
    m_selection.reset(0);
    resetList();
    dropThumbnails();
}

void QBeatOverlapDisplay::setBeats(BeatList* beats)
{
    m_beats = beats;
    dropThumbnails();
}

void QBeatOverlapDisplay::setStartDateTime(const QDateTime& dateTime)
{
    m_startDateTime = dateTime;
    dropThumbnails();
}

void QBeatOverlapDisplay::setLead(int lead)
{
    m_lead = lead;
    dropThumbnails();
}

void QBeatOverlapDisplay::setDisplayType(int type)
{
    m_displayType = type;
    dropThumbnails();
}

void QBeatOverlapDisplay::setInterval(int seconds)
{
    if (seconds <= 0)
        return;
    const double start = selectionStart();
    m_interval = seconds;
    m_selection.reset(int(std::floor(start / seconds)));
    dropThumbnails();
    scrollTo(m_selection.firstCell());
}

int QBeatOverlapDisplay::cellCount() const
{
    if (!m_signal || m_interval <= 0)
        return 0;
    return int(std::ceil(m_signal->duration() / m_interval));
}

bool QBeatOverlapDisplay::cellSelected(int index) const
{
    return cellCount() > 0 && index >= m_selection.firstCell() && index <= m_selection.lastCell();
}

QString QBeatOverlapDisplay::clockOf(int index) const
{
    const qint64 seconds = qint64(index) * m_interval;
    if (seconds % 60 != 0)
        return QString();
    const QDateTime origin
        = m_startDateTime.isValid() ? m_startDateTime : QDateTime(QDate(2000, 1, 1), QTime(0, 0));
    return origin.addSecs(seconds).toString(QStringLiteral("HH:mm"));
}

void QBeatOverlapDisplay::drawThumbnail(int index, QPainter* painter, const QRectF& rect)
{
    QVector<double> rTimes;
    const double from = cellStart(index);
    const double to = from + m_interval;
    Beat b;
    if (m_beats) {
        int i = m_beats->lastBelow(from, b) ? b.index + 1 : 0;
        for (; m_beats->get(i, b) && b.windowStartTime() < to; ++i) {
            if (b.isBeat && b.type == m_displayType && b.windowStartTime() >= from)
                rTimes.append(beatTimeSeconds(b));
        }
    }
    BeatThumbnailPainter::paintBeats(painter, rect, m_signal, m_lead, rTimes);
    BeatThumbnailPainter::paintClock(painter, rect, clockOf(index));
}

void QBeatOverlapDisplay::paintPlaceholder(int index, QPainter* painter, const QRectF& rect)
{
    BeatThumbnailPainter::paintPlaceholder(painter, rect);
    BeatThumbnailPainter::paintClock(painter, rect, clockOf(index));
}

void QBeatOverlapDisplay::selectionMoved(const TimeCellSelection& before)
{
    if (m_selection == before)
        return;
    scrollTo(m_selection.head());
    changed();
    emit selectedTimeChanged(selectionStart(), selectionLength());
}

void QBeatOverlapDisplay::mousePressEvent(QMouseEvent* event)
{
    setFocus(Qt::MouseFocusReason);
    if (event->button() != Qt::LeftButton)
        return;
    const int count = cellCount();
    const int index = gridGeometry().indexAt(event->localPos(), count);
    if (index < 0)
        return;
    const TimeCellSelection before = m_selection;
    if (event->modifiers() & Qt::ShiftModifier)
        m_selection.extendTo(index, count);
    else
        m_selection.moveTo(index, count);
    selectionMoved(before);
}

void QBeatOverlapDisplay::keyPressEvent(QKeyEvent* event)
{
    const int count = cellCount();
    const std::optional<int> step
        = BeatGridGeometry::keyStep(event->key(), columns(), rows() * columns(), count);
    if (!step) {
        QBeatCellDisplay::keyPressEvent(event);
        return;
    }
    if (count <= 0)
        return;
    const TimeCellSelection before = m_selection;
    if (event->modifiers() & Qt::ShiftModifier)
        m_selection.extend(*step, count);
    else
        m_selection.move(*step, count);
    selectionMoved(before);
}
