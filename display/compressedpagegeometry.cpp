#include "display/compressedpagegeometry.h"

#include <QtGlobal>

#include <algorithm>
#include <cmath>

CompressedPageGeometry::CompressedPageGeometry(const QRectF& traceArea, double startSeconds,
    double rowSeconds, int rowCount, double pxPerMillivolt, double pxPerMm)
    : m_area(traceArea)
    , m_startSeconds(startSeconds)
    , m_rowSeconds(rowSeconds > 0.0 ? rowSeconds : 0.0)
    , m_rowCount(rowCount > 0 && rowSeconds > 0.0 ? rowCount : 0)
    , m_pxPerMillivolt(pxPerMillivolt)
    , m_pxPerMm(pxPerMm > 0.0 ? pxPerMm : 1.0)
{
}

QRectF CompressedPageGeometry::rowRect(int row) const
{
    const double pitch = rowPitchPx();
    return QRectF(m_area.left(), m_area.top() + row * pitch, m_area.width(), pitch);
}

StripGeometry CompressedPageGeometry::rowStrip(int row, int channel) const
{
    const double pxPerSecond = m_rowSeconds > 0.0 ? m_area.width() / m_rowSeconds : m_pxPerMm;
    StripGeometry g = StripGeometry::fromPixelsPerMillimetre(
        m_pxPerMm, pxPerSecond / m_pxPerMm, m_pxPerMillivolt / m_pxPerMm);
    g.setStartSeconds(rowStartSeconds(row));
    g.setTraceSpan(m_area.left(), m_area.width());
    const QRectF r = rowRect(row);
    g.setRows({ channel }, r.top(), r.height());
    return g;
}

double CompressedPageGeometry::xOf(double secondsIntoRow) const
{
    return m_area.left() + secondsIntoRow * m_area.width() / m_rowSeconds;
}

double CompressedPageGeometry::timeAt(const QPointF& pointPx) const
{
    if (m_rowCount < 1 || m_area.width() <= 0.0 || m_area.height() <= 0.0)
        return m_startSeconds;
    const double y = pointPx.y() - m_area.top();
    const int row = qBound(0, int(std::floor(y / rowPitchPx())), m_rowCount - 1);
    const double x = qBound(0.0, pointPx.x() - m_area.left(), m_area.width());
    // The right edge of a row is the next row's start; stay inside this row.
    const double into = std::min(x * m_rowSeconds / m_area.width(), m_rowSeconds);
    return rowStartSeconds(row) + into;
}

bool CompressedPageGeometry::locate(double seconds, int* row, double* xPx) const
{
    if (m_rowCount < 1 || seconds < m_startSeconds || seconds >= endSeconds())
        return false;
    const int r
        = std::min(int(std::floor((seconds - m_startSeconds) / m_rowSeconds)), m_rowCount - 1);
    if (row)
        *row = r;
    if (xPx)
        *xPx = xOf(seconds - rowStartSeconds(r));
    return true;
}

QVector<QRectF> CompressedPageGeometry::intervalRects(double fromSeconds, double toSeconds) const
{
    QVector<QRectF> rects;
    const double from = std::max(fromSeconds, m_startSeconds);
    const double to = std::min(toSeconds, endSeconds());
    if (m_rowCount < 1 || to <= from)
        return rects;
    int firstRow = 0;
    locate(from, &firstRow, nullptr);
    for (int row = firstRow; row < m_rowCount && rowStartSeconds(row) < to; ++row) {
        const double a = std::max(from, rowStartSeconds(row)) - rowStartSeconds(row);
        const double b = std::min(to, rowStartSeconds(row + 1)) - rowStartSeconds(row);
        const QRectF r = rowRect(row);
        rects.append(QRectF(QPointF(xOf(a), r.top()), QPointF(xOf(b), r.bottom())));
    }
    return rects;
}

bool CompressedPageGeometry::operator==(const CompressedPageGeometry& o) const
{
    return m_area == o.m_area && m_startSeconds == o.m_startSeconds
        && m_rowSeconds == o.m_rowSeconds && m_rowCount == o.m_rowCount
        && m_pxPerMillivolt == o.m_pxPerMillivolt && m_pxPerMm == o.m_pxPerMm;
}
