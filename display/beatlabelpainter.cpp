#include "display/beatlabelpainter.h"

#include "display/stripgeometry.h"
#include "store/beatlist.h"

#include <QFontMetricsF>
#include <QPainter>

#include <limits>

namespace {

QFont helvetica(double points, bool bold)
{
    QFont f(QStringLiteral("Helvetica"));
    f.setPointSizeF(points);
    f.setBold(bold);
    return f;
}

// Half the width of the box a paper label is centred in, millimetres.
constexpr double kPaperLabelHalfWidthMm = 10.0;
// How far from a gap's beats the hatch stops, seconds.
constexpr double kGapMarginSeconds = 0.2;

} // namespace

BeatLabelPainter::Style BeatLabelPainter::paperStyle()
{
    Style s;
    s.letterFont = helvetica(6.0, true);
    s.rrFont = s.letterFont;
    return s;
}

BeatLabelPainter::Style BeatLabelPainter::screenStyle()
{
    Style s;
    s.layout = Layout::Screen;
    s.letterFont = helvetica(10.0, true);
    s.rrFont = helvetica(8.0, false);
    s.textColor = Qt::black;
    s.letters = { { BeatN, QString() }, { BeatU, QStringLiteral("?") } };
    s.rrMaxSeconds = std::numeric_limits<double>::infinity();
    s.rrMinSpeedMmPerSecond = 25.0;
    s.ticks = true;
    s.insertionPoints = true;
    s.gapHatching = true;
    return s;
}

QString BeatLabelPainter::letter(int beatType) const
{
    const auto it = m_style.letters.constFind(beatType);
    if (it != m_style.letters.constEnd())
        return it.value();
    return QString::fromLatin1(BeatTypeNames::name(beatType));
}

void BeatLabelPainter::paint(
    QPainter* painter, const QRectF& area, const StripGeometry& g, BeatList* beats) const
{
    if (!painter || !beats)
        return;
    const bool paper = m_style.layout == Layout::Paper;
    const double halfWidth = kPaperLabelHalfWidthMm * g.pixelsPerMillimetre();
    const bool rrShown = m_style.rrNumbers && g.speedMmPerSecond() >= m_style.rrMinSpeedMmPerSecond;
    painter->setFont(m_style.letterFont);
    painter->setPen(m_style.textColor);
    const QFontMetricsF letterMetrics(m_style.letterFont, painter->device());
    const QFontMetricsF rrMetrics(m_style.rrFont, painter->device());
    const double h = rrMetrics.height();

    if (!paper) {
        painter->save();
        painter->setClipRect(area, Qt::IntersectClip);
        if (m_style.gapHatching)
            paintGaps(painter, area, g, beats);
    }
    Beat b;
    bool havePrevious = false;
    double previousX = 0.0;
    if (beats->nearest(g.startSeconds(), b)) {
        for (int i = b.index; beats->get(i, b); ++i) {
            const double t = beatTimeSeconds(b);
            if (t < g.startSeconds())
                continue;
            if (t >= g.endSeconds())
                break;
            const double x = g.mapTimeToX(t);
            if (!b.isBeat) {
                if (!paper && m_style.insertionPoints && x >= area.left()) {
                    QColor c = m_style.tickColor;
                    c.setAlpha(100);
                    painter->setPen(QPen(c, m_style.tickWidthPx, Qt::SolidLine, Qt::SquareCap));
                    painter->drawLine(
                        QPointF(x, area.top() + 2 * h - 6), QPointF(x, area.top() + 2 * h - 1));
                }
                continue;
            }
            const QString mark = m_style.typeLetters ? letter(b.type) : QString();
            const bool rr = rrShown && b.rr() > 0.0 && b.rr() < m_style.rrMaxSeconds;
            if (paper) {
                if (!mark.isEmpty()) {
                    painter->drawText(
                        QRectF(x - halfWidth, area.top(), 2 * halfWidth, letterMetrics.height()),
                        Qt::AlignHCenter | Qt::AlignTop, mark);
                }
                const double mid = g.mapTimeToX(t - b.rr() / 2.0);
                if (rr && mid > area.left()) {
                    painter->setFont(m_style.rrFont);
                    painter->drawText(QRectF(mid - halfWidth, area.bottom() - h, 2 * halfWidth, h),
                        Qt::AlignHCenter | Qt::AlignBottom,
                        QString::number(qRound(b.rr() * 1000.0)));
                    painter->setFont(m_style.letterFont);
                }
            } else {
                if (m_style.ticks) {
                    painter->setPen(
                        QPen(m_style.tickColor, m_style.tickWidthPx, Qt::SolidLine, Qt::SquareCap));
                    painter->drawLine(
                        QPointF(x, area.top()), QPointF(x, area.top() + m_style.tickLengthPx));
                }
                painter->setPen(m_style.textColor);
                if (rr && havePrevious) {
                    const QString text = QString::number(qRound(b.rr() * 1000.0));
                    painter->setFont(m_style.rrFont);
                    const double w = rrMetrics.horizontalAdvance(text);
                    painter->drawText(QPointF((previousX + x - w) / 2.0, area.top() + h), text);
                }
                if (!mark.isEmpty()) {
                    painter->setFont(m_style.letterFont);
                    painter->drawText(QPointF(x - 3, area.top() + 2 * h), mark);
                }
            }
            havePrevious = true;
            previousX = x;
        }
    }
    if (!paper)
        painter->restore();
}

void BeatLabelPainter::paintGaps(
    QPainter* painter, const QRectF& area, const StripGeometry& g, BeatList* beats) const
{
    const QBrush hatch(m_style.tickColor, Qt::BDiagPattern);
    auto band = [&](double fromX, double toX) {
        if (toX > fromX)
            painter->fillRect(QRectF(fromX, area.top(), toX - fromX, m_style.hatchHeightPx), hatch);
    };
    Beat b;
    if (!beats->nearest(g.startSeconds(), b))
        return;
    bool first = true;
    double previousTime = 0.0;
    for (int i = b.index; beats->get(i, b); ++i) {
        const double t = beatTimeSeconds(b);
        if (!b.isBeat || t < g.startSeconds())
            continue;
        // A real beat without an interval follows a stretch the analysis did not cover.
        const bool afterGap = !(b.rr() > 0.0);
        if (afterGap) {
            if (first)
                band(area.left(), g.mapTimeToX(t));
            else
                band(g.mapTimeToX(previousTime + kGapMarginSeconds),
                    g.mapTimeToX(t - kGapMarginSeconds));
        }
        if (t >= g.endSeconds())
            break;
        first = false;
        previousTime = t;
    }
}

void BeatLabelPainter::paintBeatBars(QPainter* painter, const QRectF& area, const StripGeometry& g,
    BeatList* beats, const QSet<int>& ids, const QColor& color, double halfWidthSeconds)
{
    if (!painter || !beats || ids.isEmpty())
        return;
    painter->save();
    painter->setClipRect(area, Qt::IntersectClip);
    Beat b;
    if (beats->nearest(g.startSeconds(), b)) {
        for (int i = b.index; beats->get(i, b); ++i) {
            const double t = beatTimeSeconds(b);
            if (t >= g.endSeconds())
                break;
            if (t < g.startSeconds() || !ids.contains(b.index))
                continue;
            const double x0 = g.mapTimeToX(t - halfWidthSeconds);
            const double x1 = g.mapTimeToX(t + halfWidthSeconds);
            painter->fillRect(QRectF(x0, area.top(), x1 - x0, area.height()), color);
        }
    }
    painter->restore();
}
