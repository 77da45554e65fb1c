#pragma once

#include <QColor>
#include <QPair>
#include <QRectF>
#include <QVector>

#include <limits>

class BeatList;
class QPainter;
class SignalSource;
class StripGeometry;

// ECG traces on a strip geometry, the one trace path of the screen strip, the full-disclosure
// page and the printed strips. Where samples are sparser than device pixels the trace is a
// polyline through them; where several samples share a pixel column the column is one stroke
// from its lowest to its highest sample, so that a long strip keeps every spike.
class TracePainter
{
public:
    struct Style
    {
        QColor color = Qt::black;
        double widthMm = 0.2; // 0: a cosmetic one-pixel pen
        Qt::PenCapStyle cap = Qt::FlatCap;
        // For the polyline; column strokes are pixel-aligned and always drawn crisp.
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
        // Stretches marked as noise are drawn with this pen; its width is in device pixels
        // because only the screen marks noise.
        QColor noiseColor = QColor(255, 128, 0, 128);
        double noiseWidthPx = 2.0;
        // Draw each row about the mean of its samples rather than about 0 mV, so that a
        // wandering baseline keeps the trace in its row.
        bool centreOnMean = false;
        // Reading outside the recording gives zeros; a flat line there is only wanted where a
        // printed layout has always shown it.
        bool drawBeyondSignal = false;
        // A polyline through every sample however dense, for small thumbnails whose shape
        // matters more than single spikes.
        bool alwaysPolyline = false;
    };

    // What a row draws besides its geometry.
    struct RowInput
    {
        BeatList* beats = nullptr; // not owned; read only for type colours and gaps
        // The sample value (sample units) drawn on the row's baseline; unused when centring.
        double baselineUnits = 0.0;
        // Stretches marked as noise, seconds.
        QVector<QPair<double, double>> noiseSeconds;
        // Nothing is drawn from this time on.
        double untilSeconds = std::numeric_limits<double>::infinity();
    };

    // The two ways a row is drawn.
    enum class Mode { Polyline, Columns };

    TracePainter() = default;
    explicit TracePainter(const Style& style)
        : m_style(style)
    {
    }
    const Style& style() const { return m_style; }

    // Columns when more than one sample falls into a device pixel column.
    static Mode modeFor(const StripGeometry& geometry, int samplingRateHz);

    // Every channel row of the geometry, clipped to `clip` (none when empty).
    void paint(QPainter* painter, const QRectF& clip, const StripGeometry& geometry,
        SignalSource* source, BeatList* beats = nullptr) const;
    // One row, up to `untilSeconds` at most.
    void paintRow(QPainter* painter, const QRectF& clip, const StripGeometry& geometry, int row,
        SignalSource* source, BeatList* beats = nullptr,
        double untilSeconds = std::numeric_limits<double>::infinity()) const;
    void paintRow(QPainter* painter, const QRectF& clip, const StripGeometry& geometry, int row,
        SignalSource* source, const RowInput& input) const;

    // The colour a beat type draws in; invalid for the trace's own colour.
    QColor typeColor(int beatType) const;

    // A stretch of the trace drawn other than plain, seconds.
    struct Stretch
    {
        double fromSeconds = 0.0;
        double toSeconds = 0.0;
        QColor color;
        bool noise = false;
    };
    // The stretches over [fromSeconds, toSeconds) in drawing order (gaps, types, then noise),
    // as the style asks for them.
    QVector<Stretch> stretches(BeatList* beats, const QVector<QPair<double, double>>& noise,
        double fromSeconds, double toSeconds) const;

private:
    struct Samples;

    void paintPolyline(QPainter* painter, const StripGeometry& g, const Samples& s,
        const QVector<Stretch>& stretches) const;
    void paintColumns(QPainter* painter, const StripGeometry& g, const Samples& s,
        const QVector<Stretch>& stretches) const;

    Style m_style;
};
