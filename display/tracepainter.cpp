#include "display/tracepainter.h"

#include "display/stripgeometry.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <QLineF>
#include <QPainter>
#include <QPainterPath>
#include <QRegion>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// How far from the beats on either side a pale gap stops, seconds.
constexpr double kGapMarginSeconds = 0.2;
// Shortest column stroke, device pixels.
constexpr double kMinStrokePx = 1.0;

} // namespace

// One row's samples as read, and where they land.
struct TracePainter::Samples
{
    std::vector<double> values;
    qint64 first = 0; // sample index of values[0]
    double x0 = 0.0; // x of values[0], device pixels
    double pxPerSample = 0.0;
    double baselineY = 0.0;
    double baseline = 0.0; // sample units drawn at baselineY
    double pxPerUnit = 0.0;
    double yOf(double v) const { return baselineY - (v - baseline) * pxPerUnit; }
};

QColor TracePainter::typeColor(int beatType) const
{
    switch (beatType) {
    case BeatV:
        return m_style.ventricularColor;
    case BeatF:
        return m_style.fusionColor;
    case BeatS:
        return m_style.supraventricularColor;
    default:
        return QColor();
    }
}

TracePainter::Mode TracePainter::modeFor(const StripGeometry& g, int rate)
{
    return rate > 0 && g.pixelsPerSecond() < rate ? Mode::Columns : Mode::Polyline;
}

QVector<TracePainter::Stretch> TracePainter::stretches(
    BeatList* beats, const QVector<QPair<double, double>>& noise, double from, double to) const
{
    QVector<Stretch> out;
    Beat b;
    if (beats && (m_style.colorByBeatType || m_style.paleGaps) && beats->nearest(from, b)) {
        const int first = std::max(0, b.index - 1);
        Beat previous;
        bool havePrevious = beats->previousBeat(first, previous);
        for (int i = first; beats->get(i, b); ++i) {
            if (b.windowStartTime() >= to)
                break;
            if (!b.isBeat)
                continue;
            if (m_style.paleGaps && havePrevious && !(b.rr() > 0.0))
                out.append({ previous.windowStartTime() + kGapMarginSeconds,
                    b.windowStartTime() - kGapMarginSeconds, m_style.gapColor, false });
            const QColor color = typeColor(b.type);
            if (m_style.colorByBeatType && color.isValid())
                out.append({ b.windowStartTime(), b.windowStartTime() + b.span(), color, false });
            previous = b;
            havePrevious = true;
        }
    }
    for (const auto& n : noise) {
        if (n.second >= from && n.first < to)
            out.append({ n.first, n.second, m_style.noiseColor, true });
    }
    return out;
}

void TracePainter::paint(QPainter* painter, const QRectF& clip, const StripGeometry& geometry,
    SignalSource* source, BeatList* beats) const
{
    for (int row = 0; row < geometry.rows().size(); ++row)
        paintRow(painter, clip, geometry, row, source, beats);
}

void TracePainter::paintRow(QPainter* painter, const QRectF& clip, const StripGeometry& g, int row,
    SignalSource* source, BeatList* beats, double untilSeconds) const
{
    RowInput in;
    in.beats = beats;
    in.untilSeconds = untilSeconds;
    paintRow(painter, clip, g, row, source, in);
}

void TracePainter::paintRow(QPainter* painter, const QRectF& clip, const StripGeometry& g, int row,
    SignalSource* source, const RowInput& in) const
{
    if (!painter || !source || row < 0 || row >= g.rows().size() || source->samplingRate() <= 0)
        return;
    const int channel = g.rows()[row].channel;
    if (channel < 0 || channel >= source->channelCount())
        return;
    const int rate = source->samplingRate();
    const double seconds = std::min(g.visibleSeconds(), in.untilSeconds - g.startSeconds());
    qint64 count = qint64(std::ceil(seconds * rate));
    qint64 first = qint64(std::floor(g.startSeconds() * rate));
    if (!m_style.drawBeyondSignal) {
        const qint64 end = std::min(first + count, source->sampleCount() - 1);
        first = std::max<qint64>(first, 0);
        count = end - first;
    }
    Samples s;
    s.pxPerSample = g.pixelsPerSecond() / rate;
    if (count < 1 || s.pxPerSample <= 0.0)
        return;
    // One sample past the strip, so that the trace reaches its right edge.
    s.values.resize(size_t(count + 1));
    source->readSamples(channel, first, count + 1, s.values.data());
    s.first = first;
    s.x0 = g.mapTimeToX(double(first) / rate);
    s.baselineY = g.rows()[row].baselineYPx();
    s.pxPerUnit = source->gainStep() * g.pixelsPerMillivolt();
    s.baseline = in.baselineUnits;
    if (m_style.centreOnMean) {
        double sum = 0.0;
        for (double x : s.values)
            sum += x;
        s.baseline = sum / double(s.values.size());
    }
    const QVector<Stretch> marked = stretches(
        in.beats, in.noiseSeconds, g.startSeconds(), std::min(g.endSeconds(), in.untilSeconds));

    painter->save();
    if (!clip.isEmpty())
        painter->setClipRect(clip, Qt::IntersectClip);
    if (!m_style.alwaysPolyline && modeFor(g, rate) == Mode::Columns)
        paintColumns(painter, g, s, marked);
    else
        paintPolyline(painter, g, s, marked);
    painter->restore();
}

void TracePainter::paintPolyline(QPainter* painter, const StripGeometry& g, const Samples& s,
    const QVector<Stretch>& marked) const
{
    QPainterPath path;
    path.moveTo(s.x0, s.yOf(s.values[0]));
    for (size_t i = 1; i < s.values.size(); ++i)
        path.lineTo(s.x0 + double(i) * s.pxPerSample, s.yOf(s.values[i]));
    painter->setRenderHint(QPainter::Antialiasing, m_style.antialias);
    QPen pen(QBrush(m_style.color), m_style.widthMm * g.pixelsPerMillimetre(), Qt::SolidLine,
        m_style.cap, Qt::BevelJoin);
    if (marked.isEmpty()) {
        painter->setPen(pen);
        painter->drawPath(path);
        return;
    }
    // Each marked stretch is the same path again, clipped to the stretch; noise stretches are
    // kept clear of the other pens, so that the noise pen replaces the trace as a column does.
    const double pad = std::max({ pen.widthF(), m_style.noiseWidthPx, 1.0 }) + 1.0;
    const QRectF box = path.boundingRect().adjusted(0, -pad, 0, pad);
    auto span = [&](const Stretch& m) {
        const double x0 = std::max(g.mapTimeToX(m.fromSeconds), g.leftPx());
        const double x1 = std::min(g.mapTimeToX(m.toSeconds), g.leftPx() + g.widthPx());
        return x1 > x0 ? QRectF(x0, box.top(), x1 - x0, box.height()) : QRectF();
    };
    QRegion noise;
    for (const Stretch& m : marked) {
        if (m.noise && !span(m).isEmpty())
            noise += span(m).toAlignedRect();
    }
    auto draw = [&](const QRectF& clip, const QPen& p, bool keepOffNoise) {
        painter->save();
        if (!clip.isEmpty())
            painter->setClipRect(clip, Qt::IntersectClip);
        if (keepOffNoise && !noise.isEmpty())
            painter->setClipRegion(
                QRegion(box.toAlignedRect()).subtracted(noise), Qt::IntersectClip);
        painter->setPen(p);
        painter->drawPath(path);
        painter->restore();
    };
    draw(QRectF(), pen, true);
    const QPen noisePen(QBrush(m_style.noiseColor), m_style.noiseWidthPx, Qt::SolidLine,
        Qt::SquareCap, Qt::BevelJoin);
    for (const Stretch& m : marked) {
        const QRectF clip = span(m);
        if (clip.isEmpty())
            continue;
        if (m.noise) {
            draw(clip, noisePen, false);
        } else {
            pen.setColor(m.color);
            draw(clip, pen, true);
        }
    }
}

void TracePainter::paintColumns(QPainter* painter, const StripGeometry& g, const Samples& s,
    const QVector<Stretch>& marked) const
{
    // Each device pixel column gathers the samples whose x falls inside it.
    const int firstColumn = int(std::floor(s.x0));
    const size_t n = s.values.size();
    const int columns = int(std::floor(s.x0 + double(n - 1) * s.pxPerSample)) - firstColumn + 1;
    if (columns < 1)
        return;
    std::vector<double> lo(size_t(columns), 0.0);
    std::vector<double> hi(size_t(columns), 0.0);
    std::vector<char> seen(size_t(columns), 0);
    // Column c holds the samples i with firstColumn + c <= x0 + i * pxPerSample < firstColumn
    // + c + 1; its bounds come from the column edges, so that the inner loop is a plain min-max.
    auto firstSampleOf = [&](int c) {
        const double i = std::ceil((firstColumn + c - s.x0) / s.pxPerSample);
        return size_t(std::clamp(i, 0.0, double(n)));
    };
    size_t a = firstSampleOf(0);
    for (int c = 0; c < columns; ++c) {
        const size_t b = c + 1 == columns ? n : std::max(a, firstSampleOf(c + 1));
        if (b > a) {
            double l = s.values[a];
            double h = l;
            for (size_t i = a + 1; i < b; ++i) {
                const double v = s.values[i];
                l = v < l ? v : l;
                h = v > h ? v : h;
            }
            lo[size_t(c)] = l;
            hi[size_t(c)] = h;
            seen[size_t(c)] = 1;
        }
        a = b;
    }
    // Each column reaches its neighbour's range, so that a steep QRS stays one unbroken stroke
    // when it jumps between columns. Walking right to left reads each neighbour unextended.
    for (size_t k = size_t(columns) - 1; k > 0; --k) {
        if (!seen[k - 1])
            continue;
        lo[k] = std::min(lo[k], hi[k - 1]);
        hi[k] = std::max(hi[k], lo[k - 1]);
    }

    // 0: plain, 1 + i: marked[i]; later stretches win, noise over everything.
    std::vector<int> mark(size_t(columns), 0);
    for (int i = 0; i < marked.size(); ++i) {
        const int a
            = std::max(0, int(std::floor(g.mapTimeToX(marked[i].fromSeconds))) - firstColumn);
        const int b
            = std::min(columns, int(std::ceil(g.mapTimeToX(marked[i].toSeconds))) - firstColumn);
        for (int c = a; c < b; ++c)
            mark[size_t(c)] = 1 + i;
    }

    painter->setRenderHint(QPainter::Antialiasing, false);
    const QPen plain(QBrush(m_style.color), m_style.widthMm * g.pixelsPerMillimetre(),
        Qt::SolidLine, m_style.cap, Qt::BevelJoin);
    const QPen noisePen(QBrush(m_style.noiseColor), m_style.noiseWidthPx, Qt::SolidLine,
        Qt::SquareCap, Qt::BevelJoin);
    auto penOf = [&](int m) {
        if (m == 0)
            return plain;
        const Stretch& st = marked[m - 1];
        if (st.noise)
            return noisePen;
        QPen p = plain;
        p.setColor(st.color);
        return p;
    };
    // The pen changes only where a column's mark does; each run is one batch of lines.
    QVector<QLineF> run;
    run.reserve(columns);
    int current = mark[0];
    auto flush = [&]() {
        if (run.isEmpty())
            return;
        painter->setPen(penOf(current));
        painter->drawLines(run);
        run.clear();
    };
    for (int c = 0; c < columns; ++c) {
        if (!seen[size_t(c)])
            continue;
        if (mark[size_t(c)] != current) {
            flush();
            current = mark[size_t(c)];
        }
        const double x = firstColumn + c;
        const double top = s.yOf(hi[size_t(c)]);
        // A flat column is still a dot: a zero-length line may draw nothing at all.
        const double bottom = std::max(s.yOf(lo[size_t(c)]), top + kMinStrokePx);
        run.append(QLineF(x, top, x, bottom));
    }
    flush();
}
