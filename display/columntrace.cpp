#include "display/columntrace.h"

#include "display/stripgeometry.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

// How far from the beats on either side a pale gap stops, seconds.
constexpr double kGapMarginSeconds = 0.2;

QColor typeColor(int type)
{
    switch (type) {
    case BeatV:
        return QColor::fromRgba(0xFFFF0000);
    case BeatF:
        return QColor::fromRgba(0xFF808000);
    case BeatS:
        return QColor::fromRgba(0xFF8000FF);
    default:
        return QColor();
    }
}

} // namespace

ColumnTrace::ColumnTrace(const SignalChannel* channel, qint64 firstSample, qint64 sampleCount,
    int columns, const QColor& color)
    : m_lo(size_t(std::max(columns, 0)), 0.0)
    , m_hi(m_lo.size(), 0.0)
    , m_color(m_lo.size(), color.rgba())
    , m_noisy(m_lo.size(), 0)
{
    if (!channel || columns <= 0 || sampleCount <= 0)
        return;
    channel->minMaxEnvelope(firstSample, sampleCount, m_lo.data(), m_hi.data(), 0, columns, false);
    // Each column reaches its neighbour's range, so that a steep QRS stays one unbroken stroke
    // when it jumps between columns.
    for (size_t k = m_lo.size() - 1; k > 0; --k) {
        m_lo[k] = std::min(m_lo[k], m_hi[k - 1]);
        m_hi[k] = std::max(m_hi[k], m_lo[k - 1]);
    }
}

int ColumnTrace::midBaseline() const
{
    if (m_lo.empty())
        return 0;
    qint64 sum = 0;
    for (size_t k = 0; k < m_lo.size(); ++k)
        sum += (qint64(m_lo[k]) + qint64(m_hi[k])) / 2;
    return int(sum / qint64(m_lo.size()));
}

void ColumnTrace::paintColumns(double from, double to, const QColor& color)
{
    const int a = std::max(0, int(std::floor(from)));
    const int b = std::min(columns(), int(std::floor(to)) + 1);
    for (int c = a; c < b; ++c)
        m_color[size_t(c)] = color.rgba();
}

void ColumnTrace::markNoisy(double from, double to)
{
    const int a = std::max(0, int(std::floor(from)));
    const int b = std::min(columns(), int(std::floor(to)) + 1);
    for (int c = a; c < b; ++c)
        m_noisy[size_t(c)] = 1;
}

void ColumnTrace::colourBeats(
    BeatList* beats, double startSeconds, double secondsPerColumn, bool paleGaps)
{
    Beat b;
    if (!beats || secondsPerColumn <= 0.0 || !beats->nearest(startSeconds, b))
        return;
    const double end = startSeconds + columns() * secondsPerColumn;
    auto col = [&](double t) { return (t - startSeconds) / secondsPerColumn; };
    Beat previous;
    bool havePrevious = beats->previousBeat(b.index, previous);
    for (int i = b.index; beats->get(i, b); ++i) {
        if (b.windowStartTime() >= end)
            break;
        if (!b.isBeat)
            continue;
        const double t = beatTimeSeconds(b);
        if (paleGaps && havePrevious && !(b.rr() > 0.0))
            paintColumns(col(beatTimeSeconds(previous) + kGapMarginSeconds),
                col(t - kGapMarginSeconds), QColor::fromRgba(0xFFC0C0C0));
        const QColor c = typeColor(b.type);
        if (c.isValid())
            paintColumns(col(b.windowStartTime()), col(b.windowStartTime() + b.span()), c);
        previous = b;
        havePrevious = true;
    }
}

void ColumnTrace::draw(QPainter* painter, int x0, double centreY, double baseline, double pxPerUnit,
    const QPen& plainPen, const QPen& noisePen) const
{
    if (!painter || m_lo.empty())
        return;
    QPen plain = plainPen;
    plain.setColor(QColor::fromRgba(m_color[0]));
    painter->setPen(plain);
    bool noisy = false;
    QRgb current = m_color[0];
    for (size_t c = 0; c < m_lo.size(); ++c) {
        if (bool(m_noisy[c]) != noisy) {
            noisy = m_noisy[c];
            painter->setPen(noisy ? noisePen : plain);
        }
        if (!noisy && m_color[c] != current) {
            current = m_color[c];
            plain.setColor(QColor::fromRgba(current));
            painter->setPen(plain);
        }
        const int x = x0 + int(c);
        painter->drawLine(x, int(centreY - (m_hi[c] - baseline) * pxPerUnit), x,
            int(centreY - (m_lo[c] - baseline) * pxPerUnit));
    }
}
