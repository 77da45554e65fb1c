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

// What one walk over the strip's records needs to know.
struct BeatLabelPainter::Walk
{
    QPainter* painter;
    const QRectF& area;
    const StripGeometry& g;
    bool rrShown;
    double rrHeight; // of the RR font, device pixels
    double letterHeight;
    bool havePrevious = false;
    double previousX = 0.0;
};

void BeatLabelPainter::paint(
    QPainter* painter, const QRectF& area, const StripGeometry& g, BeatList* beats) const
{
    if (!painter || !beats)
        return;
    const bool paper = m_style.layout == Layout::Paper;
    painter->setFont(m_style.letterFont);
    painter->setPen(m_style.textColor);
    Walk walk { painter, area, g,
        m_style.rrNumbers && g.speedMmPerSecond() >= m_style.rrMinSpeedMmPerSecond,
        QFontMetricsF(m_style.rrFont, painter->device()).height(),
        QFontMetricsF(m_style.letterFont, painter->device()).height() };
    if (!paper) {
        painter->save();
        painter->setClipRect(area, Qt::IntersectClip);
        if (m_style.gapHatching)
            paintGaps(painter, area, g, beats);
    }
    Beat b;
    if (beats->nearest(g.startSeconds(), b)) {
        for (int i = b.index; beats->get(i, b); ++i) {
            const double t = beatTimeSeconds(b);
            if (t < g.startSeconds())
                continue;
            if (t >= g.endSeconds())
                break;
            if (paper)
                paintPaperMarks(walk, b, t);
            else
                paintScreenMarks(walk, b, t);
            if (b.isBeat) {
                walk.havePrevious = true;
                walk.previousX = g.mapTimeToX(t);
            }
        }
    }
    if (!paper)
        painter->restore();
}

// The letter centred above the beat, the interval's milliseconds at the foot of its middle.
void BeatLabelPainter::paintPaperMarks(Walk& w, const Beat& b, double t) const
{
    if (!b.isBeat)
        return;
    const double x = w.g.mapTimeToX(t);
    const double halfWidth = kPaperLabelHalfWidthMm * w.g.pixelsPerMillimetre();
    const QString mark = m_style.typeLetters ? letter(b.type) : QString();
    if (!mark.isEmpty()) {
        w.painter->drawText(QRectF(x - halfWidth, w.area.top(), 2 * halfWidth, w.letterHeight),
            Qt::AlignHCenter | Qt::AlignTop, mark);
    }
    const double mid = w.g.mapTimeToX(t - b.rr() / 2.0);
    if (showsRr(w, b) && mid > w.area.left()) {
        w.painter->setFont(m_style.rrFont);
        w.painter->drawText(
            QRectF(mid - halfWidth, w.area.bottom() - w.rrHeight, 2 * halfWidth, w.rrHeight),
            Qt::AlignHCenter | Qt::AlignBottom, QString::number(qRound(b.rr() * 1000.0)));
        w.painter->setFont(m_style.letterFont);
    }
}

// A tick at the top, the interval's milliseconds between the two beats, the letter under them;
// insertion points get a short, faint tick.
void BeatLabelPainter::paintScreenMarks(Walk& w, const Beat& b, double t) const
{
    const double x = w.g.mapTimeToX(t);
    const double top = w.area.top();
    const double h = w.rrHeight;
    if (!b.isBeat) {
        if (m_style.insertionPoints && x >= w.area.left()) {
            QColor c = m_style.tickColor;
            c.setAlpha(100);
            w.painter->setPen(QPen(c, m_style.tickWidthPx, Qt::SolidLine, Qt::SquareCap));
            w.painter->drawLine(QPointF(x, top + 2 * h - 6), QPointF(x, top + 2 * h - 1));
        }
        return;
    }
    if (m_style.ticks) {
        w.painter->setPen(
            QPen(m_style.tickColor, m_style.tickWidthPx, Qt::SolidLine, Qt::SquareCap));
        w.painter->drawLine(QPointF(x, top), QPointF(x, top + m_style.tickLengthPx));
    }
    w.painter->setPen(m_style.textColor);
    if (showsRr(w, b) && w.havePrevious) {
        const QString text = QString::number(qRound(b.rr() * 1000.0));
        w.painter->setFont(m_style.rrFont);
        const double width
            = QFontMetricsF(m_style.rrFont, w.painter->device()).horizontalAdvance(text);
        w.painter->drawText(QPointF((w.previousX + x - width) / 2.0, top + h), text);
    }
    const QString mark = m_style.typeLetters ? letter(b.type) : QString();
    if (!mark.isEmpty()) {
        w.painter->setFont(m_style.letterFont);
        w.painter->drawText(QPointF(x - 3, top + 2 * h), mark);
    }
}

bool BeatLabelPainter::showsRr(const Walk& w, const Beat& b) const
{
    return w.rrShown && b.rr() > 0.0 && b.rr() < m_style.rrMaxSeconds;
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
