#pragma once

#include <QColor>
#include <QPainterPath>
#include <QRectF>

#include <limits>

class BeatList;
class QPainter;
class SignalSource;
class StripGeometry;

// ECG traces on a strip geometry. Where several samples share a pixel column the column is one
// stroke from its lowest to its highest sample, so a long strip keeps every spike.
class TracePainter
{
public:
    struct Style
    {
        QColor color = Qt::black;
        double widthMm = 0.2; // 0: a cosmetic one-pixel pen
        Qt::PenCapStyle cap = Qt::FlatCap;
        bool antialias = true;
        // Beats' spans take their type's colour: ventricular, fusion, supraventricular.
        bool colorByBeatType = false;
        QColor ventricularColor = QColor(0xFF, 0x00, 0x00);
        QColor fusionColor = QColor(0x80, 0x80, 0x00);
        QColor supraventricularColor = QColor(0x80, 0x00, 0xFF);
        // Signal the analysis left out (before a beat without an RR interval, 0.2 s clear of
        // the beats on either side) reads pale.
        bool paleGaps = false;
        QColor gapColor = QColor(0xC0, 0xC0, 0xC0);
        // Draw each row about the mean of its samples rather than about 0 mV, so that a
        // wandering baseline keeps the trace in its row.
        bool centreOnMean = false;
        // Reading outside the recording gives zeros; a flat line there is only wanted where a
        // printed layout has always shown it.
        bool drawBeyondSignal = false;
    };

    TracePainter() = default;
    explicit TracePainter(const Style& style)
        : m_style(style)
    {
    }
    const Style& style() const { return m_style; }

    // Every channel row of the geometry, clipped to `clip` (none when empty). The beats are
    // read only for type colours and gaps.
    void paint(QPainter* painter, const QRectF& clip, const StripGeometry& geometry,
        SignalSource* source, BeatList* beats = nullptr) const;
    // One row, up to `untilSeconds` at most.
    void paintRow(QPainter* painter, const QRectF& clip, const StripGeometry& geometry, int row,
        SignalSource* source, BeatList* beats = nullptr,
        double untilSeconds = std::numeric_limits<double>::infinity()) const;

    // The trace of one row as a path in device pixels; empty when there is nothing to draw.
    QPainterPath tracePath(const StripGeometry& geometry, int row, SignalSource* source,
        double untilSeconds = std::numeric_limits<double>::infinity()) const;

    // The colour a beat type draws in; invalid for the trace's own colour.
    QColor typeColor(int beatType) const;

private:
    void paintBeatColours(QPainter* painter, const StripGeometry& geometry,
        const QPainterPath& path, QPen pen, BeatList* beats) const;

    Style m_style;
};
