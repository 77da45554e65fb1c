#include "report/signalgraphic.h"

#include "display/beatlabelpainter.h"
#include "display/gridpainter.h"
#include "display/stripgeometry.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <QFont>
#include <QPainter>

namespace {

QFont labelFont()
{
    QFont f(QStringLiteral("Helvetica"));
    f.setPointSizeF(6.0);
    f.setBold(true);
    return f;
}

// Calibration pulse in the left margin, millimetres from the margin's left edge.
constexpr double kPulseFromMm = 1.0;
constexpr double kPulseToMm = 4.0;
constexpr double kTraceWidthMm = 0.2;

} // namespace

TracePainter::Style SignalGraphic::paperTraceStyle()
{
    TracePainter::Style style;
    style.widthMm = kTraceWidthMm;
    style.drawBeyondSignal = true; // the printed strip has always run on at zero
    return style;
}

StripGeometry SignalGraphic::geometry(QPainter* painter, const QRect& bounds) const
{
    StripGeometry g = StripGeometry::forDevice(painter->device(), m_speed, m_amplitude);
    const double margin = kMarginMm * g.pixelsPerMillimetre();
    g.setStartSeconds(m_startTime);
    g.setTraceSpan(bounds.left() + margin, bounds.width() - margin);
    QVector<int> shown;
    if (m_source) {
        for (int c = 0; c < m_source->channelCount(); ++c) {
            if (m_channels & (1u << c))
                shown.append(c);
        }
    }
    g.setRows(shown, bounds.top(), bounds.height());
    return g;
}

void SignalGraphic::paint(QPainter* painter, const QRect& bounds) const
{
    const StripGeometry g = geometry(painter, bounds);
    const QRectF strip(
        g.leftPx(), bounds.top(), bounds.width() - (g.leftPx() - bounds.left()), bounds.height());
    if (strip.width() <= 0 || strip.height() <= 0)
        return;
    const double pxPerMm = g.pixelsPerMillimetre();

    painter->save();
    GridPainter::Style grid = GridPainter::paperStyle();
    grid.grid = m_showGrid;
    GridPainter(grid).paint(painter, strip, pxPerMm);

    const TracePainter traces(m_trace);
    QPen pulsePen(Qt::black, kTraceWidthMm * pxPerMm);
    pulsePen.setCapStyle(Qt::FlatCap);
    for (int i = 0; i < g.rows().size(); ++i) {
        const StripGeometry::ChannelRow& row = g.rows()[i];
        if (m_showScale) {
            const double x0 = bounds.left() + kPulseFromMm * pxPerMm;
            const double x1 = bounds.left() + kPulseToMm * pxPerMm;
            const double zero = g.millivoltsToY(i, 0.0);
            const double one = g.millivoltsToY(i, 1.0);
            const QPointF pts[] = { { x0, zero }, { x0, one }, { x1, one }, { x1, zero } };
            painter->setPen(pulsePen);
            painter->drawPolyline(pts, 4);
        }
        traces.paintRow(painter, strip, g, i, m_source, m_beats);
        if (m_showLabels) {
            painter->setFont(labelFont());
            painter->setPen(Qt::gray);
            const QString name = QString::fromUtf8(m_source->channel(row.channel)->name());
            painter->drawText(
                QRectF(strip.left() + pxPerMm, row.topPx, strip.width() / 4, row.heightPx),
                Qt::AlignLeft | Qt::AlignTop, name);
        }
    }
    BeatLabelPainter::Style labels = BeatLabelPainter::paperStyle();
    labels.typeLetters = m_showLabels;
    BeatLabelPainter(labels).paint(painter, strip, g, m_beats);
    paintCaption(painter, strip, g);
    painter->restore();
}

void SignalGraphic::paintCaption(
    QPainter* painter, const QRectF& strip, const StripGeometry& g) const
{
    if (m_caption.isEmpty())
        return;
    painter->setFont(labelFont());
    painter->setPen(Qt::gray);
    const double hr = meanHeartRate(g.visibleSeconds());
    const QString text = m_caption.contains(QLatin1String("%1"))
        ? m_caption.arg(hr > 0.0 ? QString::number(hr, 'f', 0) : QStringLiteral("-"))
        : m_caption;
    painter->drawText(
        strip.adjusted(0, 0, -g.pixelsPerMillimetre(), 0), Qt::AlignRight | Qt::AlignTop, text);
}

double SignalGraphic::meanHeartRate(double seconds) const
{
    if (!m_beats)
        return 0.0;
    Beat b;
    if (!m_beats->nearest(m_startTime, b))
        return 0.0;
    double sum = 0.0;
    int n = 0;
    for (int i = b.index; m_beats->get(i, b); ++i) {
        const double t = beatTimeSeconds(b);
        if (t < m_startTime)
            continue;
        if (t >= m_startTime + seconds)
            break;
        if (b.isBeat && b.rr() > 0.0 && b.rr() < 2.0) {
            sum += b.rr();
            ++n;
        }
    }
    return n > 0 ? 60.0 / (sum / n) : 0.0;
}
