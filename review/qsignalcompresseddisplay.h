#pragma once

#include <QDateTime>
#include <QPair>
#include <QVector>
#include <QWidget>

#include <memory>

class BeatList;
class CompressedPageGeometry;
class EventCatalog;
class QMenu;
class QPixmap;
class QScrollBar;
class SignalSource;

// Full disclosure: one lead of the whole recording in rows of a fixed number of seconds, with
// rhythm events as coloured backgrounds and a clock label at each whole minute. A press (or a
// drag) tells where in the recording it landed through clicked(). The page is drawn into a
// cached pixmap; paintEvent only blits it.
class QSignalCompressedDisplay : public QWidget
{
    Q_OBJECT
public:
    explicit QSignalCompressedDisplay(QWidget* parent = nullptr);
    ~QSignalCompressedDisplay() override;

    void setSignal(SignalSource* source);
    void setBeats(BeatList* list);
    void setEvents(EventCatalog* catalog);
    // Stretches to draw with the noise pen (seconds); none in the review window.
    void setNoiseIntervals(const QVector<QPair<double, double>>& intervals);
    void setStartDateTime(const QDateTime& dateTime);
    void setChannel(int channel);
    void setRows(int count);
    void setRowSeconds(double seconds);
    void setScale(double gain);
    // Moves to the row that holds `seconds`.
    void setStartTime(double seconds);
    void repaintAll();

    double startTime() const { return m_startTime; }
    int channel() const { return m_channel; }
    int rows() const { return m_rows; }
    double rowSeconds() const { return m_rowSeconds; }
    double scale() const { return m_scale; }
    QScrollBar* scrollBarWidget() const { return m_scrollBar; }
    // The gain multipliers the context menu offers.
    static QVector<double> scaleChoices();
    QMenu* scaleMenu() const { return m_scaleMenu; }

    // The page's geometry on the current pixmap.
    CompressedPageGeometry pageGeometry() const;
    // Rebuilds the pixmap now if it is dirty, and answers it (for tests and the gallery).
    const QPixmap& page();

signals:
    void resized();
    void clicked(double timeOffset);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void changed();
    void updateScrollBar();
    void rebuild();
    void emitTimeAt(const QPoint& pos);

    SignalSource* m_signal = nullptr; // not owned
    BeatList* m_beats = nullptr; // not owned
    QVector<QPair<double, double>> m_noiseIntervals; // seconds
    EventCatalog* m_events = nullptr; // not owned
    bool m_dirty = true;
    std::unique_ptr<QPixmap> m_pixmap;
    double m_startTime = 0.0; // seconds, a whole number of rows
    QDateTime m_startDateTime;
    int m_channel = 0;
    int m_rows = 15;
    double m_rowSeconds = 30.0;
    double m_scale = 1.0;
    QScrollBar* m_scrollBar = nullptr; // child, in rows
    QMenu* m_scaleMenu = nullptr; // child
};
