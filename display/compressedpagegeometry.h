#pragma once

#include "display/stripgeometry.h"

#include <QPointF>
#include <QRectF>
#include <QVector>

// A page of full disclosure: one channel laid out in rows of `rowSeconds` each, stacked from the
// top of the trace area at an even pitch. Maps time to a row and x, a point back to a time, and
// an interval to the rectangles it covers across rows. A plain value for screen and paper.
class CompressedPageGeometry
{
public:
    CompressedPageGeometry() = default;
    // `traceArea` holds the rows (labels, if any, stand outside it); device pixels.
    CompressedPageGeometry(const QRectF& traceArea, double startSeconds, double rowSeconds,
        int rowCount, double pxPerMillivolt, double pxPerMm = 1.0);

    const QRectF& traceArea() const { return m_area; }
    double startSeconds() const { return m_startSeconds; }
    double rowSeconds() const { return m_rowSeconds; }
    int rowCount() const { return m_rowCount; }
    double rowPitchPx() const { return m_rowCount > 0 ? m_area.height() / m_rowCount : 0.0; }
    double pixelsPerMillivolt() const { return m_pxPerMillivolt; }
    double pixelsPerMillimetre() const { return m_pxPerMm; }
    // The end of the last row.
    double endSeconds() const { return m_startSeconds + m_rowCount * m_rowSeconds; }

    double rowStartSeconds(int row) const { return m_startSeconds + row * m_rowSeconds; }
    QRectF rowRect(int row) const;
    double rowBaselineYPx(int row) const { return rowRect(row).center().y(); }

    // The strip geometry of one row, its single channel band being the row.
    StripGeometry rowStrip(int row, int channel) const;

    // The time at a point; points outside the area count as its nearest edge, so every press on
    // the page gives a time within it. The start time on an empty page.
    double timeAt(const QPointF& pointPx) const;
    // Row and x of a time; false when the time is outside the page.
    bool locate(double seconds, int* row, double* xPx) const;
    // The rectangles that [fromSeconds, toSeconds) covers, one per row touched, clipped to the
    // page; empty when the interval misses it.
    QVector<QRectF> intervalRects(double fromSeconds, double toSeconds) const;

    bool operator==(const CompressedPageGeometry& o) const;
    bool operator!=(const CompressedPageGeometry& o) const { return !(*this == o); }

private:
    double xOf(double secondsIntoRow) const;

    QRectF m_area;
    double m_startSeconds = 0.0;
    double m_rowSeconds = 0.0;
    int m_rowCount = 0;
    double m_pxPerMillivolt = 0.0;
    double m_pxPerMm = 1.0;
};
