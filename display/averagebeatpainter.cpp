#include "display/averagebeatpainter.h"

#include "display/gridpainter.h"

#include <QCoreApplication>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>

#include <algorithm>
#include <cmath>

namespace {

QString translated(const char* text)
{
    return QCoreApplication::translate("AverageBeatPainter", text);
}

QPen squarePen(const QColor& color, double width, Qt::PenStyle style = Qt::SolidLine)
{
    return QPen(QBrush(color), width, style, Qt::SquareCap, Qt::BevelJoin);
}

// Lanes of the bars, from the bottom up: the long QT alone, the contiguous intervals, then the
// short ones that would overlap those.
constexpr int kQtLane = 0;
constexpr int kChainLane = 1;
constexpr int kShortLane = 2;

const QColor kTextBackground(255, 255, 255, 200);

// A text centred on `centre` over a light background, so that it reads over grid and trace.
void textOnBackground(QPainter* p, const QPointF& centre, const QString& text)
{
    const QFontMetricsF fm(p->font());
    const QRectF box = fm.boundingRect(QRectF(0, 0, 1000, 1000), Qt::AlignCenter, text);
    QRectF r(0, 0, box.width() + 4, box.height());
    r.moveCenter(centre);
    p->fillRect(r, kTextBackground);
    p->drawText(r, Qt::AlignCenter, text);
}

} // namespace

QVector<AverageBeatPainter::Bar> AverageBeatPainter::measuringBars(
    const QVector<BeatMarker>& markers)
{
    struct Spec
    {
        const char* text;
        int from;
        int to;
        int lane;
    };
    static const Spec specs[] = {
        { QT_TRANSLATE_NOOP("AverageBeatPainter", "P %1"), POn, POff, kShortLane },
        { QT_TRANSLATE_NOOP("AverageBeatPainter", "PR\n%1"), POn, QrsOn, kChainLane },
        { QT_TRANSLATE_NOOP("AverageBeatPainter", "QRS\n%1"), QrsOn, QrsOff, kChainLane },
        { QT_TRANSLATE_NOOP("AverageBeatPainter", "ST %1"), QrsOff, TOn, kChainLane },
        { QT_TRANSLATE_NOOP("AverageBeatPainter", "QT %1"), QrsOn, TOff, kQtLane },
        { QT_TRANSLATE_NOOP("AverageBeatPainter", "T %1"), TOn, TOff, kChainLane },
        { QT_TRANSLATE_NOOP("AverageBeatPainter", "Tpf\n%1"), TPeak, TOff, kShortLane },
    };
    QVector<Bar> bars;
    for (const Spec& s : specs) {
        if (s.from >= markers.size() || s.to >= markers.size())
            continue;
        const double from = markers[s.from].time;
        const double to = markers[s.to].time;
        if (!(from > 0.0) || !(to > 0.0))
            continue;
        // Rounded: marker times come from pixels and sample counts, and 0.42 - 0.28 must read 140.
        const int ms = int(std::lround((to - from) * 1000.0));
        bars.append({ translated(s.text).arg(ms), from, to, s.lane });
    }
    return bars;
}

AverageBeatGeometry AverageBeatPainter::geometryFor(const QRect& area, const Scene& scene)
{
    return AverageBeatGeometry(area.width(), area.height(), scene.seconds, scene.millivoltsPerUnit);
}

void AverageBeatPainter::paint(QPainter* p, const QRect& area, const Scene& scene) const
{
    if (!p || area.isEmpty())
        return;
    p->save();
    p->setClipRect(area);
    p->translate(area.topLeft());
    const QRect local(QPoint(0, 0), area.size());
    p->fillRect(local, Qt::white);
    const AverageBeatGeometry g = geometryFor(area, scene);
    if (g.isValid())
        paintPaper(p, local, g);

    QFont lead("Helvetica", 16);
    lead.setWeight(75);
    p->setFont(lead);
    p->setPen(Qt::black);
    p->drawText(QPointF(10, QFontMetricsF(lead).height() + 10), scene.leadName);

    if (g.isValid()) {
        paintTrace(p, local, g, scene);
        paintMarkers(p, local, g, scene);
        paintBars(p, local, g, scene);
    }
    p->restore();
}

void AverageBeatPainter::paintPaper(
    QPainter* p, const QRect& area, const AverageBeatGeometry& g) const
{
    // The lined paper of the strip, its millimetre being a fifth of the stretched big square,
    // laid from the first line left of and above the area so that a big line crosses the centre.
    const double minor = g.minorPx();
    GridPainter::Style style;
    style.paper = GridPainter::Paper::Lined;
    style.background = false;
    style.majorColor = Qt::gray;
    style.minorColor = Qt::lightGray;
    style.majorWidthMm = 1.25 / minor;
    style.minorWidthMm = 0.75 / minor;
    style.antialias = true;
    const QPointF origin(g.firstVerticalLineX(), g.firstHorizontalLineY());
    GridPainter(style).paint(
        p, QRectF(origin, QPointF(area.width() + minor, area.height() + minor)), minor);
}

void AverageBeatPainter::paintTrace(
    QPainter* p, const QRect&, const AverageBeatGeometry& g, const Scene& scene) const
{
    const size_t n = scene.average.size();
    if (n < 2)
        return;
    const double dx = g.widthPx() / double(n);
    QPolygonF line;
    line.reserve(int(n));
    for (size_t i = 0; i < n; ++i)
        line.append(QPointF(double(i) * dx, g.yOfValue(scene.average[i])));
    p->setRenderHint(QPainter::Antialiasing, true);
    p->setPen(squarePen(Qt::black, 2.0));
    p->drawPolyline(line);
}

void AverageBeatPainter::paintMarkers(
    QPainter* p, const QRect& area, const AverageBeatGeometry& g, const Scene& scene) const
{
    p->setRenderHint(QPainter::Antialiasing, false);
    QFont font = p->font();
    font.setPointSize(9);
    font.setWeight(QFont::Normal);
    p->setFont(font);
    const QFontMetricsF fm(font);
    for (int i = 0; i < scene.markers.size(); ++i) {
        const BeatMarker& m = scene.markers[i];
        // A marker at 0 is a limit the delineation did not find.
        if (!(m.time > 0.0))
            continue;
        const double x = std::round(g.xOfTime(m.time));
        p->setPen(squarePen(Qt::red, 1.0));
        p->drawLine(QPointF(x, 0), QPointF(x, area.height()));
        // The QRS limits read as brackets: "(QRS" begins at the onset, "QRS)" ends at the end,
        // one line lower so that a narrow QRS keeps both legible.
        QString text;
        QPointF at;
        if (i == QrsOn) {
            text = translated(QT_TRANSLATE_NOOP("AverageBeatPainter", "(QRS"));
            at = QPointF(x + 3, fm.ascent() + 2);
        } else if (i == QrsOff) {
            text = translated(QT_TRANSLATE_NOOP("AverageBeatPainter", "QRS)"));
            at = QPointF(x - 3 - fm.horizontalAdvance(text), fm.ascent() + fm.height() + 4);
        }
        if (!text.isEmpty()) {
            // The R wave often runs through them.
            p->fillRect(QRectF(at.x() - 1, at.y() - fm.ascent(), fm.horizontalAdvance(text) + 2,
                            fm.height()),
                kTextBackground);
            p->drawText(at, text);
        }
    }
}

void AverageBeatPainter::paintBars(
    QPainter* p, const QRect& area, const AverageBeatGeometry& g, const Scene& scene) const
{
    const QVector<Bar> bars = measuringBars(scene.markers);
    QFont font = p->font();
    font.setPointSize(9);
    p->setFont(font);
    const double fh = QFontMetricsF(font).height();
    auto laneY = [&](int lane) {
        const double bottom = area.height() - fh;
        return lane == kQtLane ? bottom
                               : (lane == kChainLane ? bottom - 2.4 * fh : bottom - 5.0 * fh);
    };
    p->setRenderHint(QPainter::Antialiasing, true);
    double rightmost = -1.0;
    for (const Bar& b : bars) {
        const double x0 = g.xOfTime(std::min(b.fromSeconds, b.toSeconds));
        const double x1 = g.xOfTime(std::max(b.fromSeconds, b.toSeconds));
        const double y = laneY(b.lane);
        p->setPen(squarePen(Qt::darkBlue, 1.0, Qt::DashLine));
        p->drawLine(QPointF(x0, y), QPointF(x1, y));
        // Arrow heads 5 px long and 10 px high, pointing outward.
        p->setPen(Qt::NoPen);
        p->setBrush(Qt::blue);
        p->drawPolygon(QPolygonF({ QPointF(x0 - 5, y), QPointF(x0, y - 5), QPointF(x0, y + 5) }));
        p->drawPolygon(QPolygonF({ QPointF(x1 + 5, y), QPointF(x1, y - 5), QPointF(x1, y + 5) }));
        p->setBrush(Qt::NoBrush);
        p->setPen(Qt::black);
        textOnBackground(p, QPointF((x0 + x1) / 2.0, y), b.text);
        rightmost = std::max(rightmost, x1);
    }
    if (scene.meanRrSeconds > 0.0) {
        const QString text = translated(QT_TRANSLATE_NOOP("AverageBeatPainter", "[RR %1]"))
                                 .arg(std::lround(scene.meanRrSeconds * 1000.0));
        const QFontMetricsF fm(font);
        const double w = fm.horizontalAdvance(text) + 4;
        double x = rightmost >= 0.0 ? rightmost + 10.0 : 10.0;
        x = std::min(x, area.width() - w - 2.0);
        const double y = laneY(kQtLane);
        const QRectF r(x, y - fh / 2.0, w, fh);
        p->fillRect(r, kTextBackground);
        p->setPen(Qt::black);
        p->drawText(r, Qt::AlignLeft | Qt::AlignVCenter, text);
    }
}
