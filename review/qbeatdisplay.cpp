#include "review/qbeatdisplay.h"

#include "analysis/recentbeatwindow.h"
#include "display/averagebeatpainter.h"
#include "store/signalsource.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>

QBeatDisplay::QBeatDisplay(QWidget* parent)
    : QWidget(parent)
    , m_pixmap(std::make_unique<QPixmap>())
{
    struct Row
    {
        const char* label;
        bool draggable;
    };
    static const Row rows[] = {
        { QT_TR_NOOP("P on"), true },
        { QT_TR_NOOP("P off"), false },
        { QT_TR_NOOP("QRS on"), true },
        { QT_TR_NOOP("QRS off"), true },
        { QT_TR_NOOP("T on"), false },
        { QT_TR_NOOP("T off"), true },
        { QT_TR_NOOP("T peak"), false },
    };
    for (const Row& r : rows) {
        BeatMarker m;
        m.draggable = r.draggable;
        m.label = tr(r.label);
        m_markers.append(m);
    }
    // The grab cursor shows over a marker before any button goes down.
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

QBeatDisplay::~QBeatDisplay() = default;

void QBeatDisplay::setAverageBeat(RecentBeatWindow* averageBeat)
{
    m_averageBeat = averageBeat;
    redraw();
}

void QBeatDisplay::setLead(int lead)
{
    m_lead = lead;
    redraw();
}

void QBeatDisplay::setMarker(int index, double seconds)
{
    if (index < 0 || index >= m_markers.size())
        return;
    m_markers[index].time = seconds;
    redraw();
}

double QBeatDisplay::averageSeconds() const
{
    SignalSource* source = m_averageBeat ? m_averageBeat->source() : nullptr;
    if (!source || source->samplingRate() <= 0)
        return 0.0;
    return double(m_averageBeat->length()) / source->samplingRate();
}

void QBeatDisplay::redraw()
{
    if (width() <= 0 || height() <= 0)
        return;
    if (m_pixmap->size() != size())
        *m_pixmap = QPixmap(size());
    AverageBeatPainter::Scene scene;
    scene.seconds = averageSeconds();
    scene.markers = m_markers.toVector();
    SignalSource* source = m_averageBeat ? m_averageBeat->source() : nullptr;
    if (source) {
        scene.millivoltsPerUnit = source->gainStep();
        if (SignalChannel* c = source->channel(m_lead))
            scene.leadName = QString::fromLatin1(c->name());
        if (m_averageBeat->count() > 0) {
            scene.average = m_averageBeat->average(m_lead);
            scene.meanRrSeconds = m_averageBeat->averageRR();
        }
    }
    QPainter p(m_pixmap.get());
    AverageBeatPainter().paint(&p, rect(), scene);
    p.end();
    repaint();
}

void QBeatDisplay::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    if (m_pixmap->isNull())
        p.fillRect(rect(), Qt::white);
    else
        p.drawPixmap(0, 0, *m_pixmap);
}

void QBeatDisplay::resizeEvent(QResizeEvent*)
{
    redraw();
}

void QBeatDisplay::mouseMoveEvent(QMouseEvent* event)
{
    const AverageBeatGeometry g(width(), height(), averageSeconds(), 0.0);
    if (!g.isValid())
        return;
    const double x = event->localPos().x();
    if (!(event->buttons() & Qt::LeftButton)) {
        m_dragged = g.markerAt(m_markers.toVector(), x);
        setCursor(m_dragged >= 0 ? Qt::SizeHorCursor : Qt::ArrowCursor);
        redraw();
        return;
    }
    if (m_dragged < 0)
        return;
    m_markers[m_dragged].time = g.timeOfX(x);
    redraw();
    emit cursorChanged();
}
