#pragma once

#include "display/browsestriplayout.h"

#include <QColor>
#include <QDateTime>
#include <QList>
#include <QMap>
#include <QSet>
#include <QVector>
#include <QWidget>

#include <memory>

class BeatList;
class QPixmap;
class QScrollBar;
class RecentBeatWindow;
class SignalSource;
struct Beat;

// The ECG strip of a review: all leads on paper at a chosen speed and gain, with a scroll bar
// over the whole recording, beat marks, a current beat and a selection, the running average beat
// and a caliper. Drawing goes through BrowseStripPainter into a cached pixmap; paintEvent only
// blits it.
class QSignalBrowseDisplay : public QWidget
{
    Q_OBJECT
public:
    enum Mode { SelectionMode = 1, CaliperMode = 2 };

    explicit QSignalBrowseDisplay(QWidget* parent = nullptr);
    ~QSignalBrowseDisplay() override;

    void setSignal(SignalSource* source);
    void setBeats(BeatList* list);
    void setAverageBeat(RecentBeatWindow* window);
    void setStartDateTime(const QDateTime& dateTime);
    void setSpeed(double mmPerSec);
    void setAmplitude(double mmPerMV);
    void setShowAverageBeat(bool show);
    void setShowInsertionPoints(bool show);
    void setClipTraces(bool clip);
    void setChannelVisible(int channel, bool visible);
    void setMode(int newMode);
    void setStartTime(double seconds);
    void setSelectedBeat(int id);
    void setSelection(const QList<int>& ids);
    void setColor(int id, const QColor& colour);
    void setGridStyle(int style);
    void clearSelection();
    void repaintAll();

    double visibleSeconds() const;
    double startTime() const { return m_startTime; }
    int selectedBeat() const { return m_selectedBeat; }
    QSet<int> selection() const { return m_selection; }
    double speed() const { return m_speed; }
    double amplitude() const { return m_amplitude; }
    bool showAverageBeat() const { return m_showAverageBeat; }
    bool showInsertionPoints() const { return m_showInsertionPoints; }
    bool clipTraces() const { return m_clipTraces; }
    int mode() const { return m_mode; }
    QColor color(int id) const { return m_colors.value(id); }
    QScrollBar* scrollBarWidget() const { return m_scrollBar; }
    SignalSource* signal() const { return m_signal; }

    // The layout of the current pixmap: time under x, rows, scale.
    BrowseStripLayout layout() const;
    double timeAtX(double x) const { return layout().timeAtX(x); }
    double averageTimeAtX(double x) const { return layout().averageTimeAtX(x); }
    // The id of the real beat within 0.2 s of the time under x; -1 when none.
    int recordAt(double x) const;
    // The caliper's current reading; false when there is none.
    bool caliperReading(CaliperReading* reading) const;
    // Rebuilds the pixmap now if it is dirty, and answers it (for tests and the gallery).
    const QPixmap& strip();

signals:
    void startTimeChanged();
    void selectedBeatChanged(int selectedBeatId);
    void selectionChanged();
    void doubleClickBeat(int selectedBeatId);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void rebuild();
    void changed();
    void updateScrollBar();
    void scrollValueChanged(int value);
    double averageSeconds() const;
    double duration() const;
    QVector<int> visibleChannels() const;
    void selectUnderX(double x);
    int recordNear(double x, bool realOnly) const;
    bool moveCurrentByKey(int key, bool shift);
    void scrollByKey(int key);
    void caliperMove(QMouseEvent* event);
    void setCurrent(int id);

    SignalSource* m_signal = nullptr; // not owned
    BeatList* m_beats = nullptr; // not owned
    RecentBeatWindow* m_averageBeat = nullptr; // not owned
    bool m_showAverageBeat = false;
    bool m_showInsertionPoints = true;
    bool m_clipTraces = false;
    bool m_dirty = true;
    std::unique_ptr<QPixmap> m_pixmap;
    std::unique_ptr<QPixmap> m_gridPixmap;
    double m_startTime = 0.0; // seconds
    double m_speed = 25.0; // mm/s
    double m_amplitude = 10.0; // mm/mV
    QDateTime m_startDateTime;
    QMap<int, QColor> m_colors;
    QVector<bool> m_channelVisible;
    QScrollBar* m_scrollBar = nullptr; // child
    bool m_caliperInAverage = false;
    bool m_caliperActive = false;
    bool m_caliperDragging = false;
    int m_caliperChannel = 0;
    int m_caliperFromSample = 0;
    int m_caliperToSample = 0;
    QVector<int> m_channelBaseline; // sample units, per channel
    int m_topMargin = 0; // pixels
    double m_panAnchor = 0.0; // seconds
    int m_gridStyle = 0;
    bool m_selectDragging = false;
    int m_selectedBeat = -1;
    QSet<int> m_selection;
    int m_mode = SelectionMode;
};
