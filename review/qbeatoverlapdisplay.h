#pragma once

#include "display/timecellselection.h"
#include "review/qbeatcelldisplay.h"

#include <QDateTime>

class BeatList;
class SignalSource;

// The recording cut into cells of `interval` seconds, each overlaying all beats of one type in
// it on a common R wave: a change of shape over the day shows as a smeared cell. The selection
// is a run of whole cells in time, moved and stretched with mouse and keys.
class QBeatOverlapDisplay : public QBeatCellDisplay
{
    Q_OBJECT
public:
    explicit QBeatOverlapDisplay(QWidget* parent = nullptr);
    ~QBeatOverlapDisplay() override;

    // Not owned.
    void setSignal(SignalSource* source);
    void setBeats(BeatList* beats);
    // The clock of the first sample; without one the clock counts from midnight.
    void setStartDateTime(const QDateTime& dateTime);
    void setLead(int lead);
    // Both drop every image. A new interval keeps the selection at the same time of day, one
    // cell long.
    void setDisplayType(int type);
    void setInterval(int seconds);

    int lead() const { return m_lead; }
    int displayType() const { return m_displayType; }
    int interval() const { return m_interval; }
    double selectionStart() const { return m_selection.firstCell() * double(m_interval); }
    double selectionLength() const { return m_selection.lengthCells() * double(m_interval); }
    int selectionDirection() const { return m_selection.direction(); }
    // Seconds from the start of the recording where a cell begins.
    double cellStart(int index) const { return index * double(m_interval); }

signals:
    void selectedTimeChanged(double timeOffset, double timeInterval);

protected:
    int cellCount() const override;
    qint64 cellKey(int index) const override { return index; }
    void drawThumbnail(int index, QPainter* painter, const QRectF& rect) override;
    void paintPlaceholder(int index, QPainter* painter, const QRectF& rect) override;
    bool cellSelected(int index) const override;
    bool cellCurrent(int index) const override { return cellSelected(index); }
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    // "HH:mm" of a cell that starts on a whole minute; empty otherwise.
    QString clockOf(int index) const;
    // Scrolls to and announces a selection that differs from `before`.
    void selectionMoved(const TimeCellSelection& before);

    SignalSource* m_signal = nullptr; // not owned
    BeatList* m_beats = nullptr; // not owned
    QDateTime m_startDateTime;
    int m_lead = 0;
    int m_displayType = 1;
    int m_interval = 120; // seconds per cell
    TimeCellSelection m_selection;
};
