#include "review/qsignalcompresseddisplay.h"

#include "display/compressedpagegeometry.h"
#include "display/compressedpagepainter.h"
#include "results/eventcatalog.h"
#include "store/signalsource.h"

#include <QActionGroup>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QScrollBar>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

QSignalCompressedDisplay::QSignalCompressedDisplay(QWidget* parent)
    : QWidget(parent)
    , m_pixmap(std::make_unique<QPixmap>())
{
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    m_scrollBar = new QScrollBar(Qt::Vertical, this);
    connect(m_scrollBar, &QScrollBar::valueChanged, this, [this](int value) {
        m_startTime = value * m_rowSeconds;
        changed();
    });
    m_scaleMenu = new QMenu(this);
    auto* group = new QActionGroup(m_scaleMenu);
    for (double choice : scaleChoices()) {
        QAction* a = m_scaleMenu->addAction(tr("%1x").arg(choice));
        a->setCheckable(true);
        a->setChecked(choice == m_scale);
        a->setData(choice);
        group->addAction(a);
        connect(a, &QAction::triggered, this, [this, choice] { setScale(choice); });
    }
    updateScrollBar();
}

QSignalCompressedDisplay::~QSignalCompressedDisplay() = default;

QVector<double> QSignalCompressedDisplay::scaleChoices()
{
    return { 0.25, 0.5, 1.0, 2.0, 4.0 };
}

void QSignalCompressedDisplay::changed()
{
    m_dirty = true;
    update();
}

void QSignalCompressedDisplay::setSignal(SignalSource* source)
{
    m_signal = source;
    updateScrollBar();
    changed();
}

void QSignalCompressedDisplay::setBeats(BeatList* list)
{
    m_beats = list;
    changed();
}

void QSignalCompressedDisplay::setEvents(EventCatalog* catalog)
{
    m_events = catalog;
    changed();
}

void QSignalCompressedDisplay::setNoiseIntervals(const QVector<QPair<double, double>>& intervals)
{
    m_noiseIntervals = intervals;
    changed();
}

void QSignalCompressedDisplay::setStartDateTime(const QDateTime& dateTime)
{
    m_startDateTime = dateTime;
    changed();
}

void QSignalCompressedDisplay::setChannel(int channel)
{
    m_channel = std::max(0, channel);
    changed();
}

void QSignalCompressedDisplay::setRows(int count)
{
    m_rows = std::max(1, count);
    updateScrollBar();
    changed();
}

void QSignalCompressedDisplay::setRowSeconds(double seconds)
{
    if (seconds <= 0.0)
        return;
    m_rowSeconds = seconds;
    m_startTime = std::floor(m_startTime / m_rowSeconds) * m_rowSeconds;
    updateScrollBar();
    changed();
}

void QSignalCompressedDisplay::setScale(double gain)
{
    if (gain <= 0.0)
        return;
    m_scale = gain;
    for (QAction* a : m_scaleMenu->actions())
        a->setChecked(a->data().toDouble() == gain);
    changed();
}

void QSignalCompressedDisplay::setStartTime(double seconds)
{
    const int row = int(std::max(0.0, seconds) / m_rowSeconds);
    m_scrollBar->setValue(row);
    // A value the scroll bar already had still moves the page there.
    m_startTime = m_scrollBar->value() * m_rowSeconds;
    changed();
}

void QSignalCompressedDisplay::repaintAll()
{
    changed();
}

void QSignalCompressedDisplay::updateScrollBar()
{
    const double duration = m_signal ? m_signal->duration() : 0.0;
    const int total = int(std::ceil(duration / m_rowSeconds));
    const int maximum = std::max(0, total - m_rows);
    const QSignalBlocker block(m_scrollBar);
    m_scrollBar->setRange(0, maximum);
    m_scrollBar->setSingleStep(1);
    m_scrollBar->setPageStep(m_rows);
    m_scrollBar->setValue(int(std::floor(m_startTime / m_rowSeconds)));
    m_scrollBar->setEnabled(maximum > 0);
    m_startTime = m_scrollBar->value() * m_rowSeconds;
}

CompressedPageGeometry QSignalCompressedDisplay::pageGeometry() const
{
    const double w = m_pixmap->width();
    const double pxPerCm = m_pixmap->widthMM() > 0 ? w / (m_pixmap->widthMM() / 10.0) : 0.0;
    // At scale 1 a millivolt spans half a centimetre, whatever the row height.
    return CompressedPageGeometry(QRectF(0, 0, w, m_pixmap->height()), m_startTime, m_rowSeconds,
        m_rows, pxPerCm * 0.5 * m_scale, pxPerCm / 10.0);
}

const QPixmap& QSignalCompressedDisplay::page()
{
    if (m_dirty)
        rebuild();
    return *m_pixmap;
}

void QSignalCompressedDisplay::rebuild()
{
    m_dirty = false;
    if (m_pixmap->isNull())
        return;
    m_pixmap->fill(Qt::white);
    QPainter p(m_pixmap.get());
    const CompressedPageGeometry g = pageGeometry();
    CompressedPagePainter::Style style;
    style.labelEvery = 0;
    style.trace.widthMm = 0.0;
    style.trace.antialias = false;
    style.trace.paleGaps = true;
    const CompressedPagePainter painter(style);
    if (m_events) {
        QVector<CompressedPagePainter::Interval> intervals;
        double from = m_startTime;
        CompressedPagePainter::Interval i;
        while (m_events->nextInterval(from, i.text, i.fromSeconds, i.toSeconds, i.color)
            && i.fromSeconds <= g.endSeconds()) {
            intervals << i;
            // An event without duration answers again from its own instant; step past it.
            from = i.toSeconds > from ? i.toSeconds : std::nextafter(from, 1e300) + 1e-6;
        }
        painter.paintIntervals(&p, g, intervals);
    }
    const int rate = m_signal ? m_signal->samplingRate() : 0;
    // A row with fewer samples than pixels is left without traces.
    if (m_signal && m_rowSeconds * rate > m_pixmap->width()
        && m_channel < m_signal->channelCount()) {
        painter.paintColumnRows(&p, g, m_signal, m_channel, m_beats, m_noiseIntervals);
    }
    QFont font(QStringLiteral("Helvetica"), 10);
    font.setWeight(QFont::Bold);
    CompressedPagePainter::paintMinuteLabels(&p, g, m_startDateTime, font);
}

void QSignalCompressedDisplay::paintEvent(QPaintEvent*)
{
    if (m_dirty)
        rebuild();
    QPainter p(this);
    p.fillRect(rect(), Qt::white);
    p.drawPixmap(0, 0, *m_pixmap);
}

void QSignalCompressedDisplay::resizeEvent(QResizeEvent*)
{
    const int bar = m_scrollBar->sizeHint().width();
    m_scrollBar->setGeometry(width() - bar, 0, bar, height());
    const QSize size(std::max(0, width() - bar), height());
    *m_pixmap = size.isEmpty() ? QPixmap() : QPixmap(size);
    updateScrollBar();
    changed();
    emit resized();
}

void QSignalCompressedDisplay::emitTimeAt(const QPoint& pos)
{
    if (m_pixmap->isNull())
        return;
    emit clicked(pageGeometry().timeAt(QPointF(pos)));
}

void QSignalCompressedDisplay::mousePressEvent(QMouseEvent* event)
{
    setFocus(Qt::MouseFocusReason);
    setMouseTracking(true);
    if (event->button() == Qt::LeftButton)
        emitTimeAt(event->pos());
}

void QSignalCompressedDisplay::mouseMoveEvent(QMouseEvent* event)
{
    // A drag sweeps the strip along.
    if (event->buttons() & Qt::LeftButton)
        emitTimeAt(event->pos());
}

void QSignalCompressedDisplay::keyPressEvent(QKeyEvent* event)
{
    QScrollBar* s = m_scrollBar;
    switch (event->key()) {
    case Qt::Key_PageDown:
        s->triggerAction(QAbstractSlider::SliderPageStepAdd);
        break;
    case Qt::Key_PageUp:
        s->triggerAction(QAbstractSlider::SliderPageStepSub);
        break;
    case Qt::Key_Down:
        s->triggerAction(QAbstractSlider::SliderSingleStepAdd);
        break;
    case Qt::Key_Up:
        s->triggerAction(QAbstractSlider::SliderSingleStepSub);
        break;
    case Qt::Key_Home:
        s->triggerAction(QAbstractSlider::SliderToMinimum);
        break;
    case Qt::Key_End:
        s->triggerAction(QAbstractSlider::SliderToMaximum);
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
}

void QSignalCompressedDisplay::wheelEvent(QWheelEvent* event)
{
    const int steps = event->angleDelta().y() < 0 ? 3 : -3;
    m_scrollBar->setValue(m_scrollBar->value() + steps);
    event->accept();
}

void QSignalCompressedDisplay::contextMenuEvent(QContextMenuEvent* event)
{
    m_scaleMenu->popup(event->globalPos());
}
