#include "report/signalcompressedgraphic.h"

#include "display/compressedpagegeometry.h"
#include "display/compressedpagepainter.h"
#include "display/paperscale.h"
#include "store/signalsource.h"

#include <QFontMetricsF>
#include <QPainter>

#include <cmath>

namespace {

const QString kLabelPattern = QStringLiteral(" 00:00:00  ");
const QString kDateFormat = QStringLiteral(" d MMM ");

} // namespace

double SignalCompressedGraphic::lineSeconds(QPainter* painter, const QRect& bounds) const
{
    const double pxPerMm = PaperScale(painter->device()).pixelsPerMillimetre();
    const QFontMetricsF fm(CompressedPagePainter::paperStyle().labelFont, painter->device());
    const double width = bounds.width() - fm.horizontalAdvance(kLabelPattern);
    return width > 0 ? width / (m_speed * pxPerMm) : 0.0;
}

double SignalCompressedGraphic::durationSeconds(double perLine) const
{
    return m_duration > 0 ? m_duration : perLine * 1000.0;
}

bool SignalCompressedGraphic::showsDate(double duration) const
{
    if (!m_recordingStart.isValid())
        return false;
    const QDate first = m_recordingStart.addSecs(qint64(m_startTime)).date();
    const QDate last = m_recordingStart.addSecs(qint64(m_startTime + duration)).date();
    return first != last;
}

CompressedPageGeometry SignalCompressedGraphic::geometry(
    QPainter* painter, const QRect& bounds) const
{
    const double perLine = lineSeconds(painter, bounds);
    if (perLine <= 0.0)
        return CompressedPageGeometry();
    const double pxPerMm = PaperScale(painter->device()).pixelsPerMillimetre();
    const QFontMetricsF fm(CompressedPagePainter::paperStyle().labelFont, painter->device());
    const double labelWidth = fm.horizontalAdvance(kLabelPattern);
    const double duration = durationSeconds(perLine);
    const double top = bounds.top() + (showsDate(duration) ? fm.height() : 0.0);
    const double height = bounds.bottom() + 1 - top;
    const int needed = qMax(1, int(std::ceil(duration / perLine - 1e-9)));
    const double pitch = qMax(fm.height(), height / needed);
    const int lines = qMin(needed, int(height / pitch + 1e-9));
    return CompressedPageGeometry(
        QRectF(bounds.left() + labelWidth, top, bounds.width() - labelWidth, pitch * lines),
        m_startTime, perLine, lines, m_amplitude * pxPerMm, pxPerMm);
}

void SignalCompressedGraphic::paint(QPainter* painter, const QRect& bounds) const
{
    if (!m_source || m_channel < 0 || m_channel >= m_source->channelCount())
        return;
    const CompressedPageGeometry g = geometry(painter, bounds);
    if (g.rowCount() < 1)
        return;
    CompressedPagePainter::Style style = CompressedPagePainter::paperStyle();
    style.trace.drawBeyondSignal = true; // the printed page has always run on at zero
    painter->save();
    const double duration = durationSeconds(g.rowSeconds());
    if (showsDate(duration)) {
        painter->setFont(style.labelFont);
        painter->setPen(style.labelColor);
        const QFontMetricsF fm(style.labelFont, painter->device());
        painter->drawText(QRectF(bounds.left(), bounds.top(), bounds.width(), fm.height()),
            Qt::AlignLeft | Qt::AlignTop,
            CompressedPagePainter::clockText(m_recordingStart, m_startTime, kDateFormat));
    }
    painter->setClipRect(bounds);
    CompressedPagePainter(style).paint(
        painter, bounds, g, m_source, m_channel, m_recordingStart, m_startTime + duration);
    painter->restore();
}
