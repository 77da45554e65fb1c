#pragma once

#include <QColor>
#include <QFont>
#include <QMap>
#include <QRectF>
#include <QSet>
#include <QString>

class BeatList;
class QPainter;
class StripGeometry;
struct Beat;

// The marks of the beats on a strip: type letters, RR intervals in milliseconds, and on the
// screen ticks, insertion points and a hatch over stretches the analysis left out.
class BeatLabelPainter
{
public:
    enum class Layout {
        Paper, // letters centred above each beat, RR at the foot between the two beats
        Screen // a tick at the top, RR beside it, the letter under it
    };

    struct Style
    {
        Layout layout = Layout::Paper;
        QFont letterFont;
        QFont rrFont;
        QColor textColor = Qt::gray;
        bool typeLetters = true;
        // Text per type code; a type not listed prints its one-letter name, an empty text
        // prints nothing.
        QMap<int, QString> letters;
        bool rrNumbers = true;
        // Intervals from this length on are pauses or gaps and print no number; seconds.
        double rrMaxSeconds = 2.0;
        // Below this paper speed the numbers crowd each other out.
        double rrMinSpeedMmPerSecond = 0.0;
        bool ticks = false;
        QColor tickColor = Qt::blue;
        double tickLengthPx = 10.0;
        double tickWidthPx = 2.0;
        bool insertionPoints = false;
        bool gapHatching = false;
        double hatchHeightPx = 10.0;
    };

    static Style paperStyle();
    static Style screenStyle();

    BeatLabelPainter()
        : m_style(paperStyle())
    {
    }
    explicit BeatLabelPainter(const Style& style)
        : m_style(style)
    {
    }
    const Style& style() const { return m_style; }

    // Labels for the beats whose time lies on the strip; `area` is the strip's rectangle. Leaves
    // the painter's font and pen as the labels had them.
    void paint(QPainter* painter, const QRectF& area, const StripGeometry& geometry,
        BeatList* beats) const;

    QString letter(int beatType) const;

    // Bars over the full height of `area`, `halfWidthSeconds` either side of each record whose id
    // is in `ids` and whose time lies on the strip: the selection of a review.
    static void paintBeatBars(QPainter* painter, const QRectF& area, const StripGeometry& geometry,
        BeatList* beats, const QSet<int>& ids, const QColor& color, double halfWidthSeconds = 0.2);

private:
    struct Walk;
    void paintPaperMarks(Walk& walk, const Beat& beat, double seconds) const;
    void paintScreenMarks(Walk& walk, const Beat& beat, double seconds) const;
    bool showsRr(const Walk& walk, const Beat& beat) const;
    void paintGaps(QPainter* painter, const QRectF& area, const StripGeometry& geometry,
        BeatList* beats) const;

    Style m_style;
};
