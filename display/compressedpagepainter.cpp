#include "display/compressedpagepainter.h"

#include "display/compressedpagegeometry.h"
#include "store/signalsource.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>

CompressedPagePainter::Style CompressedPagePainter::paperStyle()
{
    Style s;
    s.labelFont = QFont(QStringLiteral("Helvetica"));
    s.labelFont.setPointSizeF(6.0);
    s.labelFont.setBold(true);
    s.trace.widthMm = 0.15;
    s.trace.cap = Qt::SquareCap;
    s.trace.antialias = false;
    return s;
}

QString CompressedPagePainter::clockText(
    const QDateTime& recordingStart, double seconds, const QString& format)
{
    if (recordingStart.isValid())
        return recordingStart.addMSecs(qint64(seconds * 1000.0)).toString(format);
    return QTime(0, 0).addMSecs(int(std::fmod(seconds, 86400.0) * 1000.0)).toString(format);
}

void CompressedPagePainter::paint(QPainter* painter, const QRectF& bounds,
    const CompressedPageGeometry& g, SignalSource* source, int channel,
    const QDateTime& recordingStart, double untilSeconds, BeatList* beats) const
{
    if (!painter)
        return;
    painter->save();
    painter->setFont(m_style.labelFont);
    const QFontMetricsF fm(m_style.labelFont, painter->device());
    const double labelWidth = g.traceArea().left() - bounds.left();
    const TracePainter traces(m_style.trace);
    for (int row = 0; row < g.rowCount(); ++row) {
        const double rowStart = g.rowStartSeconds(row);
        if (rowStart >= untilSeconds)
            break;
        const double y0 = g.rowBaselineYPx(row);
        if (m_style.labelEvery > 0 && row % m_style.labelEvery == 0 && labelWidth > 0) {
            painter->setPen(m_style.labelColor);
            painter->drawText(QRectF(bounds.left(), y0 - fm.height() / 2, labelWidth, fm.height()),
                Qt::AlignLeft | Qt::AlignVCenter,
                clockText(recordingStart, rowStart, m_style.labelFormat));
        }
        traces.paintRow(
            painter, QRectF(), g.rowStrip(row, channel), 0, source, beats, untilSeconds);
    }
    painter->restore();
}

void CompressedPagePainter::paintIntervals(
    QPainter* painter, const CompressedPageGeometry& g, const QVector<Interval>& intervals) const
{
    if (!painter)
        return;
    painter->save();
    painter->setFont(m_style.labelFont);
    const QFontMetricsF fm(m_style.labelFont, painter->device());
    for (const Interval& interval : intervals) {
        const QVector<QRectF> rects = g.intervalRects(interval.fromSeconds, interval.toSeconds);
        for (const QRectF& r : rects)
            painter->fillRect(r, interval.color);
        int row = 0;
        double x = 0.0;
        if (interval.text.isEmpty() || !g.locate(interval.fromSeconds, &row, &x))
            continue;
        // The text sits on a tab of the same colour above the row's baseline.
        const double baseline = g.rowBaselineYPx(row);
        const double width = fm.horizontalAdvance(interval.text) + 3;
        painter->fillRect(QRectF(x, baseline - fm.height(), width, fm.height()), interval.color);
        painter->setPen(Qt::black);
        painter->drawText(QPointF(x + 2, baseline - fm.descent()), interval.text);
    }
    painter->restore();
}

void CompressedPagePainter::paintMinuteLabels(QPainter* painter, const CompressedPageGeometry& g,
    const QDateTime& recordingStart, const QFont& font)
{
    if (!painter)
        return;
    painter->save();
    painter->setFont(font);
    painter->setBackgroundMode(Qt::OpaqueMode);
    painter->setBackground(Qt::white);
    painter->setPen(Qt::gray);
    const QFontMetricsF fm(font, painter->device());
    const QDateTime origin
        = recordingStart.isValid() ? recordingStart : QDateTime(QDate(2000, 1, 1), QTime(0, 0));
    const qint64 startMs = qint64(std::llround(g.startSeconds() * 1000.0));
    if (recordingStart.isValid()) {
        const QString date = recordingStart.addSecs(qint64(std::floor(g.startSeconds())))
                                 .toString(QStringLiteral(" d MMM "));
        painter->drawText(QPointF(fm.horizontalAdvance(QStringLiteral(" 00:00 ")) + 10,
                              g.traceArea().top() + fm.height()),
            date);
    }
    for (int row = 0; row < g.rowCount(); ++row) {
        const QDateTime clock
            = origin.addMSecs(startMs + qint64(std::llround(row * g.rowSeconds() * 1000.0)));
        if (clock.time().second() != 0)
            continue;
        painter->drawText(QPointF(g.traceArea().left(), g.rowRect(row).top() + fm.height()),
            clock.toString(QStringLiteral(" HH:mm ")));
    }
    painter->restore();
}

void CompressedPagePainter::paintColumnRows(QPainter* painter, const CompressedPageGeometry& g,
    SignalSource* source, int channel, BeatList* beats,
    const QVector<QPair<double, double>>& noise) const
{
    if (!painter || !source || channel < 0 || channel >= source->channelCount()
        || g.rowSeconds() <= 0.0)
        return;
    TracePainter::Style style = m_style.trace;
    style.colorByBeatType = true;
    style.centreOnMean = true;
    style.drawBeyondSignal = false;
    const TracePainter traces(style);
    TracePainter::RowInput in;
    in.beats = beats;
    in.noiseSeconds = noise;
    for (int row = 0; row < g.rowCount(); ++row)
        traces.paintRow(painter, QRectF(), g.rowStrip(row, channel), 0, source, in);
}
