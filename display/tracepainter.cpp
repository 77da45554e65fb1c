#include "display/tracepainter.h"

#include "display/stripgeometry.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// How far from the beats on either side a pale gap stops, seconds.
constexpr double kGapMarginSeconds = 0.2;

} // namespace

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

QPainterPath TracePainter::tracePath(
    const StripGeometry& g, int row, SignalSource* source, double untilSeconds) const
{
    QPainterPath path;
    if (!source || row < 0 || row >= g.rows().size() || source->samplingRate() <= 0)
        return path;
    const int channel = g.rows()[row].channel;
    if (channel < 0 || channel >= source->channelCount())
        return path;
    const int rate = source->samplingRate();
    const double startSample = g.startSeconds() * rate;
    const double seconds = std::min(g.visibleSeconds(), untilSeconds - g.startSeconds());
    qint64 count = qint64(std::ceil(seconds * rate));
    qint64 first = qint64(std::floor(startSample));
    if (!m_style.drawBeyondSignal) {
        const qint64 end = std::min(first + count, source->sampleCount() - 1);
        first = std::max<qint64>(first, 0);
        count = end - first;
    }
    const double pxPerSample = g.pixelsPerSecond() / rate;
    if (count < 1 || pxPerSample <= 0.0)
        return path;
    std::vector<double> v(size_t(count + 1));
    source->readSamples(channel, first, count + 1, v.data());
    if (m_style.centreOnMean) {
        double sum = 0.0;
        for (double x : v)
            sum += x;
        const double mean = sum / double(v.size());
        for (double& x : v)
            x -= mean;
    }
    const double x0 = g.mapTimeToX(double(first) / rate);
    const double y0 = g.rows()[row].baselineYPx();
    const double pxPerUnit = source->gainStep() * g.pixelsPerMillivolt();
    auto yOf = [&](double s) { return y0 - s * pxPerUnit; };
    if (pxPerSample >= 1.0) {
        path.moveTo(x0, yOf(v[0]));
        for (qint64 i = 1; i <= count; ++i)
            path.lineTo(x0 + i * pxPerSample, yOf(v[size_t(i)]));
        return path;
    }
    // Several samples per pixel column: one vertical stroke per column, joined.
    const double samplesPerPx = 1.0 / pxPerSample;
    const int columns = int(std::ceil(count * pxPerSample));
    path.moveTo(x0, yOf(v[0]));
    for (int c = 0; c < columns; ++c) {
        const qint64 a = qint64(c * samplesPerPx);
        const qint64 b = std::min(count, qint64((c + 1) * samplesPerPx));
        if (a >= b)
            continue;
        const auto [lo, hi] = std::minmax_element(v.begin() + a, v.begin() + b);
        const double x = x0 + c;
        path.lineTo(x, yOf(v[size_t(a)]));
        path.moveTo(x, yOf(*lo));
        path.lineTo(x, yOf(*hi));
        path.moveTo(x, yOf(v[size_t(b - 1)]));
    }
    return path;
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
    if (!painter)
        return;
    const QPainterPath path = tracePath(g, row, source, untilSeconds);
    if (path.isEmpty())
        return;
    painter->save();
    if (!clip.isEmpty())
        painter->setClipRect(clip, Qt::IntersectClip);
    painter->setRenderHint(QPainter::Antialiasing, m_style.antialias);
    QPen pen(m_style.color, m_style.widthMm * g.pixelsPerMillimetre());
    pen.setCapStyle(m_style.cap);
    painter->setPen(pen);
    painter->drawPath(path);

    if ((m_style.colorByBeatType || m_style.paleGaps) && beats)
        paintBeatColours(painter, g, path, pen, beats);
    painter->restore();
}

void TracePainter::paintBeatColours(QPainter* painter, const StripGeometry& g,
    const QPainterPath& path, QPen pen, BeatList* beats) const
{
    Beat b;
    if (!beats->nearest(g.startSeconds(), b))
        return;
    // Each coloured stretch is the same path again, clipped to the stretch.
    const double pad = std::max(pen.widthF(), 1.0) + 1.0; // a flat line has no height
    const QRectF box = path.boundingRect().adjusted(0, -pad, 0, pad);
    auto overdraw = [&](double fromSeconds, double toSeconds, const QColor& color) {
        const double x0 = std::max(g.mapTimeToX(fromSeconds), g.leftPx());
        const double x1 = std::min(g.mapTimeToX(toSeconds), g.leftPx() + g.widthPx());
        if (x1 <= x0)
            return;
        painter->save();
        painter->setClipRect(QRectF(x0, box.top(), x1 - x0, box.height()), Qt::IntersectClip);
        pen.setColor(color);
        painter->setPen(pen);
        painter->drawPath(path);
        painter->restore();
    };
    const int first = std::max(0, b.index - 1);
    Beat previous;
    bool havePrevious = beats->previousBeat(first, previous);
    for (int i = first; beats->get(i, b); ++i) {
        if (b.windowStartTime() >= g.endSeconds())
            break;
        if (!b.isBeat)
            continue;
        if (m_style.paleGaps && havePrevious && !(b.rr() > 0.0))
            overdraw(previous.windowStartTime() + kGapMarginSeconds, b.windowStartTime() - kGapMarginSeconds,
                m_style.gapColor);
        const QColor color = typeColor(b.type);
        if (m_style.colorByBeatType && color.isValid())
            overdraw(b.windowStartTime(), b.windowStartTime() + b.span(), color);
        previous = b;
        havePrevious = true;
    }
}
