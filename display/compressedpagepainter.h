#pragma once

#include "display/tracepainter.h"

#include <QColor>
#include <QDateTime>
#include <QFont>
#include <QPair>
#include <QRectF>
#include <QString>
#include <QVector>

#include <limits>

class BeatList;
class CompressedPageGeometry;
class QPainter;
class SignalSource;

// Full disclosure: the rows of a compressed page with their clock labels in the margin left of
// the trace area, and coloured backgrounds for intervals such as arrhythmia episodes.
class CompressedPagePainter
{
public:
    struct Style
    {
        QFont labelFont;
        QColor labelColor = Qt::gray;
        // A label on every n-th row, starting with the first; 0 for none.
        int labelEvery = 2;
        QString labelFormat = QStringLiteral(" HH:mm:ss ");
        TracePainter::Style trace;
    };

    // An interval painted behind the traces, with its text at its start.
    struct Interval
    {
        double fromSeconds = 0.0;
        double toSeconds = 0.0;
        QColor color;
        QString text;
    };

    static Style paperStyle();

    CompressedPagePainter()
        : m_style(paperStyle())
    {
    }
    explicit CompressedPagePainter(const Style& style)
        : m_style(style)
    {
    }
    const Style& style() const { return m_style; }

    // Labels in [bounds.left(), trace area's left) and the traces of `channel`, up to
    // `untilSeconds` at most. The beats, when given, colour the traces by type if the trace style
    // asks for it.
    void paint(QPainter* painter, const QRectF& bounds, const CompressedPageGeometry& geometry,
        SignalSource* source, int channel, const QDateTime& recordingStart,
        double untilSeconds = std::numeric_limits<double>::infinity(),
        BeatList* beats = nullptr) const;

    // The screen's page: each row about the mean of its samples, beats coloured by type,
    // unanalysed stretches pale as the trace style asks, `noise` stretches (seconds) with the
    // noise pen. Rows past the recording's end stay empty.
    void paintColumnRows(QPainter* painter, const CompressedPageGeometry& geometry,
        SignalSource* source, int channel, BeatList* beats,
        const QVector<QPair<double, double>>& noise = {}) const;

    // Backgrounds over the rows each interval covers, its text above its start.
    void paintIntervals(QPainter* painter, const CompressedPageGeometry& geometry,
        const QVector<Interval>& intervals) const;

    // On screen: " HH:mm " at the left of each row that starts on a whole minute, and the date
    // " d MMM " on the first row, over an opaque white background. Without a recording start the
    // clock counts from midnight of 1 January 2000.
    static void paintMinuteLabels(QPainter* painter, const CompressedPageGeometry& geometry,
        const QDateTime& recordingStart, const QFont& font);

    // The wall clock of a recording time; with no recording start, the time of day from
    // midnight.
    static QString clockText(
        const QDateTime& recordingStart, double seconds, const QString& format);

private:
    Style m_style;
};
