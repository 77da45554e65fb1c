#include "report/signalcompressedgraphic.h"

#include "report/paperscale.h"
#include "report/signalgraphic.h"
#include "store/signalsource.h"

#include <QFontMetricsF>
#include <QPainter>

#include <cmath>

namespace {

QFont labelFont()
{
    QFont f(QStringLiteral("Helvetica"));
    f.setPointSizeF(6.0);
    f.setBold(true);
    return f;
}

const QString kLabelPattern = QStringLiteral(" 00:00:00  ");

} // namespace

SignalCompressedGraphic::SignalCompressedGraphic(QObject* parent)
    : QObject(parent)
{
}

double SignalCompressedGraphic::lineSeconds(QPainter* painter, const QRect& bounds) const
{
    const double pxPerMm = PaperScale(painter->device()).pixelsPerMillimetre();
    const QFontMetricsF fm(labelFont(), painter->device());
    const double width = bounds.width() - fm.horizontalAdvance(kLabelPattern);
    return width > 0 ? width / (m_speed * pxPerMm) : 0.0;
}

QString SignalCompressedGraphic::clockText(double seconds, const QString& format) const
{
    if (m_recordingStart.isValid())
        return m_recordingStart.addMSecs(qint64(seconds * 1000.0)).toString(format);
    return QTime(0, 0).addMSecs(int(std::fmod(seconds, 86400.0) * 1000.0)).toString(format);
}

void SignalCompressedGraphic::paint(QPainter* painter, const QRect& bounds) const
{
    if (!m_source || m_channel < 0 || m_channel >= m_source->channelCount())
        return;
    const double pxPerMm = PaperScale(painter->device()).pixelsPerMillimetre();
    const double perLine = lineSeconds(painter, bounds);
    if (perLine <= 0.0)
        return;
    painter->save();
    painter->setFont(labelFont());
    const QFontMetricsF fm(painter->font(), painter->device());
    const double labelWidth = fm.horizontalAdvance(kLabelPattern);
    double top = bounds.top();

    // The date heads the page when the strip crosses midnight.
    const double duration = m_duration > 0 ? m_duration : perLine * 1000.0;
    if (m_recordingStart.isValid()) {
        const QDate first = m_recordingStart.addSecs(qint64(m_startTime)).date();
        const QDate last = m_recordingStart.addSecs(qint64(m_startTime + duration)).date();
        if (first != last) {
            painter->setPen(Qt::gray);
            painter->drawText(QRectF(bounds.left(), top, bounds.width(), fm.height()),
                Qt::AlignLeft | Qt::AlignTop, clockText(m_startTime, QStringLiteral(" d MMM ")));
            top += fm.height();
        }
    }
    const double height = bounds.bottom() + 1 - top;
    // The pitch spreads the strip over the height, but lines never crowd closer than a label.
    const int needed = qMax(1, int(std::ceil(duration / perLine - 1e-9)));
    const double pitch = qMax(fm.height(), height / needed);
    const int lines = qMin(needed, int(height / pitch + 1e-9));
    const double pxPerSecond = m_speed * pxPerMm;
    const double pxPerUnit = m_source->gainStep() * m_amplitude * pxPerMm;
    const int rate = m_source->samplingRate();
    QPen tracePen(Qt::black, 0.15 * pxPerMm);
    painter->setClipRect(bounds);
    for (int i = 0; i < lines; ++i) {
        const double t0 = m_startTime + i * perLine;
        const double length = qMin(perLine, m_startTime + duration - t0);
        const double y0 = top + pitch * (i + 0.5);
        if (i % 2 == 0) {
            painter->setPen(Qt::gray);
            painter->drawText(QRectF(bounds.left(), y0 - fm.height() / 2, labelWidth, fm.height()),
                Qt::AlignLeft | Qt::AlignVCenter, clockText(t0, QStringLiteral(" HH:mm:ss ")));
        }
        painter->setPen(tracePen);
        paintTrace(painter, m_source, m_channel, t0 * rate, qint64(std::ceil(length * rate)),
            bounds.left() + labelWidth, pxPerSecond / rate, y0, pxPerUnit);
    }
    painter->restore();
}
