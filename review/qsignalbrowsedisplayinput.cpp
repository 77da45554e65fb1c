// The strip's pointer and keys: picking and selecting beats, panning, the caliper, paging.
#include "review/qsignalbrowsedisplay.h"

#include "analysis/recentbeatwindow.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>
#include <QWheelEvent>

#include <algorithm>

namespace {

constexpr double kPickToleranceSeconds = 0.2;
// A beat moved to by a key stays this far inside the strip, seconds.
constexpr double kKeyMarginSeconds = 0.3;

} // namespace

int QSignalBrowseDisplay::recordNear(double x, bool realOnly) const
{
    if (!m_beats)
        return -1;
    const BrowseStripLayout l = layout();
    if (x < l.averageWidthPx() || l.timeAtX(x) <= 0.0)
        return -1;
    Beat b;
    if (!l.stripGeometry().beatAt(m_beats, x, kPickToleranceSeconds, &b,
            realOnly ? StripGeometry::Pick::RealBeats : StripGeometry::Pick::AnyRecord))
        return -1;
    return b.index;
}

int QSignalBrowseDisplay::recordAt(double x) const
{
    return recordNear(x, true);
}

void QSignalBrowseDisplay::selectUnderX(double x)
{
    const int id = recordNear(x, false);
    if (id == m_selectedBeat)
        return;
    m_selectedBeat = id;
    m_selection.clear();
    Beat b;
    if (id >= 0 && m_beats->get(id, b) && b.isBeat)
        m_selection.insert(id);
    changed();
    emit selectedBeatChanged(id);
    emit selectionChanged();
}

void QSignalBrowseDisplay::mousePressEvent(QMouseEvent* event)
{
    setFocus(Qt::MouseFocusReason);
    setMouseTracking(true);
    if (!m_signal)
        return;
    const BrowseStripLayout l = layout();
    const double x = event->pos().x();
    const bool overTraces = x >= l.averageWidthPx();
    if (event->button() == Qt::MiddleButton && overTraces) {
        m_panAnchor = l.timeAtX(x);
        return;
    }
    if (event->button() != Qt::LeftButton || m_mode != SelectionMode || !m_beats)
        return;
    if (event->modifiers() & Qt::ShiftModifier) {
        const int id = recordNear(x, false);
        if (id < 0 || m_selectedBeat < 0 || id == m_selectedBeat)
            return;
        Beat b;
        for (int i = std::min(id, m_selectedBeat); i <= std::max(id, m_selectedBeat); ++i)
            if (m_beats->get(i, b) && b.isBeat)
                m_selection.insert(i);
        setCurrent(id);
        changed();
        emit selectionChanged();
    } else if (event->modifiers() & Qt::ControlModifier) {
        const int id = recordAt(x);
        if (id < 0)
            return;
        if (m_selection.contains(id))
            m_selection.remove(id);
        else
            m_selection.insert(id);
        changed();
        emit selectionChanged();
    } else if (overTraces) {
        m_selectDragging = true;
        selectUnderX(x);
    }
}

void QSignalBrowseDisplay::setCurrent(int id)
{
    if (id == m_selectedBeat)
        return;
    m_selectedBeat = id;
    emit selectedBeatChanged(id);
}

void QSignalBrowseDisplay::mouseReleaseEvent(QMouseEvent*)
{
    m_panAnchor = 0.0;
    m_selectDragging = false;
}

void QSignalBrowseDisplay::mouseDoubleClickEvent(QMouseEvent*)
{
    if (m_selectedBeat >= 0)
        emit doubleClickBeat(m_selectedBeat);
}

void QSignalBrowseDisplay::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_signal)
        return;
    const BrowseStripLayout l = layout();
    const double x = event->pos().x();
    if ((event->buttons() & Qt::MiddleButton) && m_panAnchor > 0.0) {
        // The paper follows the hand.
        const double now = l.timeAtX(x);
        const double maxStart = std::max(0.0, duration() - l.visibleSeconds());
        const double start = std::clamp(m_startTime + m_panAnchor - now, 0.0, maxStart);
        m_startTime = start;
        m_panAnchor = layout().timeAtX(x);
        updateScrollBar();
        changed();
        emit startTimeChanged();
        return;
    }
    if (m_mode == SelectionMode && (event->buttons() & Qt::LeftButton) && m_selectDragging
        && x >= l.averageWidthPx()) {
        selectUnderX(x);
        return;
    }
    if (m_mode == CaliperMode)
        caliperMove(event);
}

void QSignalBrowseDisplay::caliperMove(QMouseEvent* event)
{
    const BrowseStripLayout l = layout();
    const double x = event->pos().x();
    const bool left = event->buttons() & Qt::LeftButton;
    if (!left)
        m_caliperInAverage = m_startTime > l.timeAtX(x);
    const int rate = m_signal->samplingRate();
    int sample = 0;
    bool outside = false;
    if (m_caliperInAverage) {
        const double t = l.averageTimeAtX(x);
        sample = int(t * rate);
        outside = t <= 0.0 || !m_averageBeat || sample >= m_averageBeat->length();
    } else {
        const double t = l.timeAtX(x);
        sample = int(stripSampleOf(t, rate));
        outside = t <= m_startTime || sample >= m_signal->sampleCount();
    }
    if (outside) {
        m_caliperActive = false;
        changed();
        return;
    }
    if (m_caliperActive && m_caliperDragging) {
        m_caliperDragging = left;
        if (m_caliperDragging)
            m_caliperToSample = sample;
        changed();
        return;
    }
    m_caliperActive = true;
    m_caliperChannel = l.channelAtY(event->pos().y());
    m_caliperFromSample = sample;
    m_caliperToSample = sample;
    m_caliperDragging = left;
    changed();
}

bool QSignalBrowseDisplay::caliperReading(CaliperReading* reading) const
{
    if (!m_caliperActive || !m_signal || !reading)
        return false;
    double from = 0.0, to = 0.0;
    if (m_caliperInAverage) {
        if (!m_averageBeat)
            return false;
        const std::vector<double>& v = m_averageBeat->average(m_caliperChannel);
        if (m_caliperFromSample >= int(v.size()) || m_caliperToSample >= int(v.size()))
            return false;
        from = v[size_t(m_caliperFromSample)];
        to = v[size_t(m_caliperToSample)];
    } else {
        from = m_signal->sampleAt(m_caliperChannel, m_caliperFromSample);
        to = m_signal->sampleAt(m_caliperChannel, m_caliperToSample);
    }
    *reading = ::caliperReading(m_caliperFromSample, m_caliperToSample, from, to,
        m_signal->samplingRate(), m_signal->gainStep());
    return true;
}

void QSignalBrowseDisplay::wheelEvent(QWheelEvent* event)
{
    const int steps = event->angleDelta().y() < 0 ? 3 : -3;
    m_scrollBar->setValue(m_scrollBar->value() + steps * m_scrollBar->singleStep());
    event->accept();
}

void QSignalBrowseDisplay::scrollByKey(int key)
{
    QScrollBar* s = m_scrollBar;
    switch (key) {
    case Qt::Key_PageDown:
        s->triggerAction(QAbstractSlider::SliderPageStepAdd);
        break;
    case Qt::Key_PageUp:
        s->triggerAction(QAbstractSlider::SliderPageStepSub);
        break;
    case Qt::Key_Right:
        s->triggerAction(QAbstractSlider::SliderSingleStepAdd);
        break;
    case Qt::Key_Left:
        s->triggerAction(QAbstractSlider::SliderSingleStepSub);
        break;
    case Qt::Key_Home:
        s->triggerAction(QAbstractSlider::SliderToMinimum);
        break;
    case Qt::Key_End:
        s->triggerAction(QAbstractSlider::SliderToMaximum);
        break;
    default:
        break;
    }
}

bool QSignalBrowseDisplay::moveCurrentByKey(int key, bool shift)
{
    Beat current, target, b;
    if (!m_beats->get(m_selectedBeat, current))
        return false;
    const double t = beatTimeSeconds(current);
    const double v = visibleSeconds();
    bool found = false;
    switch (key) {
    case Qt::Key_Right:
        found = m_beats->nextBeat(current.index, target) || m_beats->lastBeat(target);
        break;
    case Qt::Key_Left:
        found = m_beats->previousBeat(current.index, target) || m_beats->firstBeat(target);
        break;
    case Qt::Key_PageDown:
        if (m_beats->firstWithWindowAfter(current.windowStartTime() + v, b) || m_beats->last(b))
            found = b.isBeat ? (target = b, true)
                             : (m_beats->nextBeat(b.index, target) || m_beats->lastBeat(target));
        break;
    case Qt::Key_PageUp:
        if (m_beats->lastBelow(current.windowStartTime() - v, b) || m_beats->first(b))
            found = b.isBeat
                ? (target = b, true)
                : (m_beats->previousBeat(b.index, target) || m_beats->firstBeat(target));
        break;
    case Qt::Key_Home:
        found = m_beats->firstBeat(target);
        break;
    case Qt::Key_End:
        found = m_beats->lastBeat(target);
        break;
    default:
        return false;
    }
    if (!found)
        return true;
    const int old = m_selectedBeat;
    if (shift) {
        const int step = target.index >= old ? 1 : -1;
        for (int i = old + step; step > 0 ? i <= target.index : i >= target.index; i += step)
            if (m_beats->get(i, b) && b.isBeat)
                m_selection.insert(i);
    } else {
        m_selection = { target.index };
    }
    setCurrent(target.index);
    emit selectionChanged();
    changed();
    // Keep the beat in view.
    const double to = beatTimeSeconds(target);
    double start = m_startTime;
    if (to >= t && to + kKeyMarginSeconds > m_startTime + v)
        start = to + kKeyMarginSeconds - v;
    else if (to < t && m_startTime > to - kKeyMarginSeconds)
        start = to - kKeyMarginSeconds;
    if (start != m_startTime) {
        m_startTime = std::max(0.0, start);
        updateScrollBar();
        emit startTimeChanged();
    }
    return true;
}

void QSignalBrowseDisplay::keyPressEvent(QKeyEvent* event)
{
    if (m_signal) {
        const bool shift = event->modifiers() & Qt::ShiftModifier;
        if (!(m_beats && m_selectedBeat >= 0 && moveCurrentByKey(event->key(), shift)))
            scrollByKey(event->key());
    }
    QWidget::keyPressEvent(event);
}

void QSignalBrowseDisplay::focusInEvent(QFocusEvent* event)
{
    changed();
    QWidget::focusInEvent(event);
}

void QSignalBrowseDisplay::focusOutEvent(QFocusEvent* event)
{
    changed();
    QWidget::focusOutEvent(event);
}
