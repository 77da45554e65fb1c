#pragma once

#include "display/browsestriplayout.h"
#include "display/tracepainter.h"

#include <QColor>
#include <QDateTime>
#include <QMap>
#include <QPair>
#include <QRectF>
#include <QSet>
#include <QVector>

#include <vector>

class BeatList;
class QPainter;
class QPaintDevice;
class SignalSource;

// Draws the screen strip of all leads: paper, lead names, selection, traces, the average beat
// column, clock labels, beat marks and gap hatching, and the caliper. It holds no state of its
// own; the widget (or a report, or a test) hands it everything in a Scene.
class BrowseStripPainter
{
public:
    // Colour ids of the strip.
    enum ColorId {
        TraceColor = 0,
        BackgroundColor = 1,
        GridColor = 2,
        LabelColor = 3,
        AverageColor = 4,
        NoiseColor = 6,
        BeatMarkColor = 7,
        FocusedCurrentColor = 10,
        InsertionCursorColor = 11,
        SelectionColor = 12,
    };
    static QMap<int, QColor> defaultColors();

    struct Caliper
    {
        bool active = false;
        bool inAverage = false;
        bool dragging = false;
        int channel = 0;
        int fromSample = 0;
        int toSample = 0;
    };

    struct Scene
    {
        SignalSource* signal = nullptr; // not owned
        BeatList* beats = nullptr; // not owned; may be null
        // The running average beat per channel, in sample units; empty without one.
        std::vector<std::vector<double>> average;
        bool averageHasBeats = false;
        bool showInsertionPoints = true;
        bool clipTraces = false;
        int gridStyle = 0; // 0 dotted, 1 lined
        QDateTime startDateTime; // null: no clock labels' date, clock from midnight
        QMap<int, QColor> colors = defaultColors();
        QVector<int> channelBaseline; // per channel, sample units
        int selectedBeat = -1;
        QSet<int> selection;
        bool focused = false;
        bool caliperMode = false;
        Caliper caliper;
        // Stretches marked as noise (seconds); their columns use the noise pen.
        QVector<QPair<double, double>> noiseIntervals;
    };

    // The layout of a device for a scene: millimetres from the device's physical width.
    static BrowseStripLayout layoutFor(const QPaintDevice* device, const Scene& scene,
        double startSeconds, double speedMmPerSecond, double gainMmPerMillivolt,
        double averageSeconds, const QVector<int>& visibleChannels, int topMarginPx);
    // The integer mean of each visible channel's samples over the strip, indexed by channel.
    static QVector<int> channelBaselines(SignalSource* signal, const BrowseStripLayout& layout);

    // Background and grid over `area`, as cached by the screen.
    static void paintGrid(QPainter* painter, const QRectF& area, double pxPerCm, int gridStyle,
        const QMap<int, QColor>& colors);
    // Everything over the grid.
    static void paintContent(
        QPainter* painter, const BrowseStripLayout& layout, const Scene& scene);
    // Grid and content: the whole strip, as on screen.
    static void paint(QPainter* painter, const BrowseStripLayout& layout, const Scene& scene);

    // The traces' style: the scene's colours, a cosmetic pen, beats coloured by type.
    static TracePainter::Style traceStyle(const Scene& scene);

    // Where a caliper end lies, device pixels; false when it is off the curve.
    static bool caliperPoint(const BrowseStripLayout& layout, const Scene& scene, int sample,
        QPointF* point, double* value);

private:
    static void paintLeadNames(QPainter* p, const BrowseStripLayout& l, const Scene& s);
    static void paintSelection(QPainter* p, const BrowseStripLayout& l, const Scene& s);
    static void paintTraces(QPainter* p, const BrowseStripLayout& l, const Scene& s);
    static void paintAverage(QPainter* p, const BrowseStripLayout& l, const Scene& s);
    static void paintClock(QPainter* p, const BrowseStripLayout& l, const Scene& s);
    static void paintBeatMarks(QPainter* p, const BrowseStripLayout& l, const Scene& s);
    static void paintCaliper(QPainter* p, const BrowseStripLayout& l, const Scene& s);
};
