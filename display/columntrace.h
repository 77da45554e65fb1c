#pragma once

#include <QColor>
#include <QPen>

#include <vector>

class BeatList;
class QPainter;
class SignalChannel;

// A long trace drawn one pixel column at a time: each column a vertical stroke from its lowest
// to its highest sample, the channel's reader answering the min-max query from its block
// summaries. Columns carry their own colour (beat types, unanalysed gaps) and a noise flag.
class ColumnTrace
{
public:
    // Fills `columns` columns over [firstSample, firstSample + sampleCount).
    ColumnTrace(const SignalChannel* channel, qint64 firstSample, qint64 sampleCount, int columns,
        const QColor& color);

    int columns() const { return int(m_lo.size()); }
    const std::vector<double>& minimum() const { return m_lo; }
    const std::vector<double>& maximum() const { return m_hi; }
    // Integer mean of the columns' mid-points, sample units.
    int midBaseline() const;

    // Columns whose span meets [fromColumn, toColumn) take `color` (or the noise flag).
    void paintColumns(double fromColumn, double toColumn, const QColor& color);
    void markNoisy(double fromColumn, double toColumn);

    // Colours beats by type between the column times `startSeconds` and
    // `startSeconds + columns * secondsPerColumn`; with `paleGaps`, the stretch before a beat
    // without an RR interval (0.2 s clear of the beats on either side) turns gray.
    void colourBeats(BeatList* beats, double startSeconds, double secondsPerColumn, bool paleGaps);

    // One stroke per column at x0 + column, y = centreY - (sample - baseline) * pxPerUnit; the
    // pen changes only where a column's colour or noise flag does.
    void draw(QPainter* painter, int x0, double centreY, double baseline, double pxPerUnit,
        const QPen& plainPen, const QPen& noisePen) const;

private:
    std::vector<double> m_lo;
    std::vector<double> m_hi;
    std::vector<QRgb> m_color;
    std::vector<char> m_noisy;
};
