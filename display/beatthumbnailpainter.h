#pragma once

#include <QColor>
#include <QRectF>
#include <QString>
#include <QVector>

class QPainter;
class SignalSource;

// The cells of the beat grids: the selection's background, a class's mean shape with its size
// and prematurity, single beats or many overlaid cut from a signal around their R waves, the
// clock of a cell and the dotted line that stands in for a thumbnail still to come.
class BeatThumbnailPainter
{
public:
    // Seconds of signal shown before and after the R wave of a beat.
    static constexpr double kBeforeRSeconds = 0.3;
    static constexpr double kAfterRSeconds = 0.45;

    // What a cell shows of the selection.
    struct CellState
    {
        bool current = false;
        bool selected = false;
        bool focused = false;
    };
    // White, or a selection colour: `focusedColor` for the current cell of a focused grid,
    // `otherColor` for the current cell otherwise and for the other selected cells.
    static void paintBackground(QPainter* p, const QRectF& cell, const CellState& state,
        const QColor& focusedColor, const QColor& otherColor);

    // One scale for every thumbnail of a grid, so that amplitudes compare between cells.
    static double pixelsPerMillivolt(const QRectF& cell) { return cell.height() * 0.3; }

    // A wave in sample units, about 0, over the cell's width, centred on its middle.
    static void paintShape(
        QPainter* p, const QRectF& cell, const QVector<double>& shape, double pixelsPerUnit);
    static void paintMiddleLine(QPainter* p, const QRectF& cell);
    static void paintPlaceholder(QPainter* p, const QRectF& cell);
    // The number of beats of a class, for classes of more than one.
    static void paintCount(QPainter* p, const QRectF& cell, int members);
    static void paintClock(QPainter* p, const QRectF& cell, const QString& text);

    // How prematurity shows for a class's mean RR ratio q.
    struct Prematurity
    {
        enum Kind { None, Square, Bar } kind = None;
        double redWidthPx = 0.0; // of the 20 px bar
        int red = 0; // red value of the red part
    };
    static Prematurity prematurity(double meanRrRatio);
    static void paintPrematurity(QPainter* p, const QRectF& cell, double meanRrRatio);

    // A class cell: shape, middle line, count, prematurity, in that order.
    static void paintClass(QPainter* p, const QRectF& cell, const QVector<double>& shape,
        double millivoltsPerUnit, int members, double meanRrRatio);

    // The beats whose R waves stand at `rSeconds`, cut from `source`'s channel `lead` and drawn on
    // top of each other with R at the same x, each about its own mean: one beat is a thumbnail,
    // many an overlay. Antialiased thin black lines clipped to the cell.
    static void paintBeats(QPainter* p, const QRectF& cell, SignalSource* source, int lead,
        const QVector<double>& rSeconds);
};
