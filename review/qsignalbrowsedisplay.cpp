#include "review/qsignalbrowsedisplay.h"

#include "analysis/recentbeatwindow.h"
#include "display/browsestrippainter.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <QPainter>
#include <QPixmap>
#include <QScrollBar>

#include <algorithm>
#include <cmath>

QSignalBrowseDisplay::QSignalBrowseDisplay(QWidget* parent)
    : QWidget(parent)
    , m_pixmap(std::make_unique<QPixmap>())
    , m_gridPixmap(std::make_unique<QPixmap>())
    , m_colors(BrowseStripPainter::defaultColors())
    , m_channelVisible(SignalSource::kMaxChannels, true)
    , m_channelBaseline(SignalSource::kMaxChannels, 0)
{
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    m_scrollBar = new QScrollBar(Qt::Horizontal, this);
    m_scrollBar->setFocusPolicy(Qt::ClickFocus);
    connect(
        m_scrollBar, &QScrollBar::valueChanged, this, &QSignalBrowseDisplay::scrollValueChanged);
    updateScrollBar();
}

QSignalBrowseDisplay::~QSignalBrowseDisplay() = default;

void QSignalBrowseDisplay::changed()
{
    m_dirty = true;
    update();
}

void QSignalBrowseDisplay::setSignal(SignalSource* source)
{
    m_signal = source;
    changed();
    updateScrollBar();
}

void QSignalBrowseDisplay::setBeats(BeatList* list)
{
    m_beats = list;
    m_topMargin = list ? 30 : 0;
    changed();
}

void QSignalBrowseDisplay::setAverageBeat(RecentBeatWindow* window)
{
    m_averageBeat = window;
    changed();
}

void QSignalBrowseDisplay::setStartDateTime(const QDateTime& dateTime)
{
    m_startDateTime = dateTime;
    changed();
}

void QSignalBrowseDisplay::setSpeed(double mmPerSec)
{
    if (mmPerSec <= 0.0)
        return;
    // The strip's centre stays where it was.
    const double centre = m_startTime + visibleSeconds() / 2.0;
    m_speed = mmPerSec;
    m_startTime = std::max(0.0, centre - visibleSeconds() / 2.0);
    changed();
    updateScrollBar();
}

void QSignalBrowseDisplay::setAmplitude(double mmPerMV)
{
    if (mmPerMV <= 0.0)
        return;
    m_amplitude = mmPerMV;
    changed();
}

void QSignalBrowseDisplay::setShowAverageBeat(bool show)
{
    m_showAverageBeat = show;
    changed();
    updateScrollBar();
}

void QSignalBrowseDisplay::setShowInsertionPoints(bool show)
{
    m_showInsertionPoints = show;
    changed();
}

void QSignalBrowseDisplay::setClipTraces(bool clip)
{
    m_clipTraces = clip;
    changed();
}

void QSignalBrowseDisplay::setChannelVisible(int channel, bool visible)
{
    if (channel < 0 || channel >= m_channelVisible.size())
        return;
    m_channelVisible[channel] = visible;
    changed();
}

void QSignalBrowseDisplay::setMode(int newMode)
{
    m_mode = newMode;
    // The caliper's tick follows the free pointer.
    if (m_mode == CaliperMode)
        setMouseTracking(true);
    m_caliperActive = false;
    m_caliperDragging = false;
    changed();
}

void QSignalBrowseDisplay::setStartTime(double seconds)
{
    m_startTime = std::max(0.0, seconds);
    changed();
    updateScrollBar();
}

void QSignalBrowseDisplay::setSelectedBeat(int id)
{
    m_selectedBeat = id;
    m_selection.clear();
    m_selection.insert(id);
    changed();
}

void QSignalBrowseDisplay::setSelection(const QList<int>& ids)
{
    m_selection = QSet<int>(ids.begin(), ids.end());
    changed();
}

void QSignalBrowseDisplay::setColor(int id, const QColor& colour)
{
    QColor c = colour;
    if (id == BrowseStripPainter::NoiseColor)
        c.setAlpha(128);
    m_colors[id] = c;
    if (id == BrowseStripPainter::BackgroundColor || id == BrowseStripPainter::GridColor)
        m_gridPixmap = std::make_unique<QPixmap>();
    changed();
}

void QSignalBrowseDisplay::setGridStyle(int style)
{
    m_gridStyle = style == 1 ? 1 : 0;
    m_gridPixmap = std::make_unique<QPixmap>();
    changed();
}

void QSignalBrowseDisplay::clearSelection()
{
    m_selection.clear();
    changed();
}

void QSignalBrowseDisplay::repaintAll()
{
    changed();
}

double QSignalBrowseDisplay::averageSeconds() const
{
    if (!m_showAverageBeat || !m_averageBeat || !m_signal || m_signal->samplingRate() <= 0)
        return 0.0;
    return double(m_averageBeat->length()) / m_signal->samplingRate();
}

double QSignalBrowseDisplay::duration() const
{
    return m_signal ? m_signal->duration() : 0.0;
}

QVector<int> QSignalBrowseDisplay::visibleChannels() const
{
    QVector<int> out;
    const int n = m_signal ? m_signal->channelCount() : 0;
    for (int c = 0; c < n && c < m_channelVisible.size(); ++c)
        if (m_channelVisible[c])
            out << c;
    return out;
}

BrowseStripLayout QSignalBrowseDisplay::layout() const
{
    BrowseStripPainter::Scene scene;
    scene.signal = m_signal;
    return BrowseStripPainter::layoutFor(m_pixmap.get(), scene, m_startTime, m_speed, m_amplitude,
        averageSeconds(), visibleChannels(), m_topMargin);
}

double QSignalBrowseDisplay::visibleSeconds() const
{
    return layout().visibleSeconds();
}

void QSignalBrowseDisplay::updateScrollBar()
{
    const BrowseStripLayout::ScrollRange r
        = BrowseStripLayout::scrollRange(duration(), visibleSeconds());
    const QSignalBlocker block(m_scrollBar);
    m_scrollBar->setRange(0, r.maximum);
    m_scrollBar->setSingleStep(r.singleStep);
    m_scrollBar->setPageStep(r.pageStep);
    m_scrollBar->setValue(int(std::lround(m_startTime * 100.0)));
    m_scrollBar->setEnabled(r.enabled);
}

void QSignalBrowseDisplay::scrollValueChanged(int value)
{
    m_startTime = value * 0.01;
    changed();
    emit startTimeChanged();
}

const QPixmap& QSignalBrowseDisplay::strip()
{
    if (m_dirty)
        rebuild();
    return *m_pixmap;
}

void QSignalBrowseDisplay::rebuild()
{
    m_dirty = false;
    if (m_pixmap->isNull() || m_pixmap->width() <= 0 || m_pixmap->height() <= 0)
        return;
    const BrowseStripLayout l = layout();
    if (l.visibleSeconds() <= 0.0)
        return;
    BrowseStripPainter::Scene scene;
    scene.signal = m_signal;
    scene.beats = m_beats;
    m_channelBaseline = BrowseStripPainter::channelBaselines(m_signal, l);
    scene.channelBaseline = m_channelBaseline;
    if (m_averageBeat && l.averageSeconds() > 0.0 && m_signal) {
        scene.averageHasBeats = m_averageBeat->count() > 0;
        for (int c = 0; c < m_signal->channelCount(); ++c)
            scene.average.push_back(m_averageBeat->average(c));
    }
    scene.showInsertionPoints = m_showInsertionPoints;
    scene.clipTraces = m_clipTraces;
    scene.gridStyle = m_gridStyle;
    scene.startDateTime = m_startDateTime;
    scene.colors = m_colors;
    scene.selectedBeat = m_selectedBeat;
    scene.selection = m_selection;
    scene.focused = hasFocus();
    scene.caliperMode = m_mode == CaliperMode;
    scene.caliper = { m_caliperActive, m_caliperInAverage, m_caliperDragging, m_caliperChannel,
        m_caliperFromSample, m_caliperToSample };

    if (m_gridPixmap->size() != m_pixmap->size()) {
        *m_gridPixmap = QPixmap(m_pixmap->size());
        QPainter gp(m_gridPixmap.get());
        BrowseStripPainter::paintGrid(&gp, QRectF(QPointF(0, 0), QSizeF(m_pixmap->size())),
            l.pxPerCm(), m_gridStyle, m_colors);
    }
    QPainter p(m_pixmap.get());
    p.drawPixmap(0, 0, *m_gridPixmap);
    BrowseStripPainter::paintContent(&p, l, scene);
}

void QSignalBrowseDisplay::paintEvent(QPaintEvent*)
{
    if (m_dirty)
        rebuild();
    QPainter p(this);
    p.drawPixmap(0, 0, *m_pixmap);
}

void QSignalBrowseDisplay::resizeEvent(QResizeEvent*)
{
    const int bar = m_scrollBar->sizeHint().height();
    const QSize size(width(), std::max(0, height() - bar));
    *m_pixmap = size.isEmpty() ? QPixmap() : QPixmap(size);
    if (!m_pixmap->isNull())
        m_pixmap->fill(m_colors.value(BrowseStripPainter::BackgroundColor));
    m_scrollBar->setGeometry(0, height() - bar, width(), bar);
    m_dirty = true;
    updateScrollBar();
}
